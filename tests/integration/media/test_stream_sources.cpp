#include "stream_handler_fixture.h"

#include "icy_status_server.h"

#include <gtest/gtest.h>

// Where stations really are: behind redirects, on old servers, with old schemes
// and titles in old encodings.

TEST_F(StreamHandlerTest, RedirectToTheStreamIsFollowed)
{
    ASSERT_EQ(startPlaying(server.url("/redirect")), 0);
    EXPECT_TRUE(waitFor([&] { return isPlaying() && handler->getInfo(1) == server.title(); }))
        << "state " << handler->getState() << ", text " << handler->getInfo(0) << ", title " << handler->getInfo(1);
    EXPECT_GE(server.metadataRequests(), 1);
}

TEST_F(StreamHandlerTest, OldServerThatAnswersIcy200OkPlaysWithItsTitle)
{
    const IcyStatusServer oldServer("Old Timer - Shoutcast Song");
    ASSERT_EQ(startPlaying(oldServer.url("/")), 0);
    EXPECT_TRUE(waitFor([&] { return isPlaying() && handler->getInfo(1) == "Old Timer - Shoutcast Song"; }))
        << "state " << handler->getState() << ", text " << handler->getInfo(0) << ", title " << handler->getInfo(1);
    EXPECT_GE(oldServer.metadataRequests(), 1);
}

TEST_F(StreamHandlerTest, IcyAndIcyxAddressesPlayOverHttp)
{
    for (const char *scheme : {"icy://", "icyx://"}) {
        const std::string address = scheme + server.url("/radio").substr(std::string("http://").size());
        ASSERT_EQ(startPlaying(address), 0) << address;
        EXPECT_TRUE(waitFor([&] { return isPlaying(); })) << address << ": state " << handler->getState();
    }
}

TEST_F(StreamHandlerTest, SchemeInCapitalsPlays)
{
    for (const char *scheme : {"HTTP://", "ICY://", "IcyX://"}) {
        const std::string address = scheme + server.url("/radio").substr(std::string("http://").size());
        ASSERT_EQ(startPlaying(address), 0) << address;
        EXPECT_TRUE(waitFor([&] { return isPlaying(); })) << address << ": state " << handler->getState();
    }
}

TEST_F(StreamHandlerTest, Latin1TitleArrivesAsUtf8)
{
    server.setTitle("Caf\xE9 del Mar - Ol\xE9 \xC0 la Mode");
    ASSERT_EQ(startPlaying(server.url("/radio")), 0);
    EXPECT_TRUE(waitFor([&] { return handler->getInfo(1) == "Café del Mar - Olé À la Mode"; })) << handler->getInfo(1);
}

TEST_F(StreamHandlerTest, Windows1252TitleArrivesWithItsQuotesAndDashes)
{
    server.setTitle("\x93"
                    "Blue\x94 \x96 Caf\xE9 Trio");
    ASSERT_EQ(startPlaying(server.url("/radio")), 0);
    EXPECT_TRUE(waitFor([&] { return handler->getInfo(1) == "“Blue” – Café Trio"; })) << handler->getInfo(1);
}
