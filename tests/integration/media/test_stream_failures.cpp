#include "stream_handler_fixture.h"

#include "support/log_lines.h"
#include "support/loopback_listener.h"

#include <gtest/gtest.h>

TEST_F(StreamHandlerTest, HtmlPageInsteadOfAudioFails)
{
    const auto before = boxlog::lastSequence();
    ASSERT_EQ(startPlaying(server.url("/page")), 0);
    EXPECT_TRUE(waitFor([&] { return handler->getState() != 0; }));
    EXPECT_EQ(handler->getState(), eServiceHandler::stateFailed);
    EXPECT_EQ(handler->getInfo(0), "");
    const auto warnings = warningsSince(before);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find("no audio that can be played"), std::string::npos) << warnings[0];
}

TEST_F(StreamHandlerTest, DeadServerFails)
{
    const int port = closedLoopbackPort();
    ASSERT_GT(port, 0);
    ASSERT_EQ(startPlaying("http://127.0.0.1:" + std::to_string(port) + "/radio"), 0);
    EXPECT_TRUE(waitFor([&] { return handler->getState() != 0; }));
    EXPECT_EQ(handler->getState(), eServiceHandler::stateFailed);
}

TEST_F(StreamHandlerTest, MissingStreamPathFails)
{
    ASSERT_EQ(startPlaying(server.url("/no-such-stream")), 0);
    EXPECT_TRUE(waitFor([&] { return handler->getState() != 0; }));
    EXPECT_EQ(handler->getState(), eServiceHandler::stateFailed);
}

// A station that never played is not reopened: a wrong address stays wrong.
TEST_F(StreamHandlerTest, StationOffTheAirFailsAtOnceWithoutReopening)
{
    server.planStation({.listenersServed = 0});
    const auto before = boxlog::lastSequence();
    ASSERT_EQ(startPlaying(server.url("/station")), 0);
    EXPECT_TRUE(waitFor([&] { return handler->getState() != 0; }));
    EXPECT_EQ(handler->getState(), eServiceHandler::stateFailed);
    runUntil(
        app, [] { return false; }, std::chrono::milliseconds(1500));
    EXPECT_EQ(handler->getState(), eServiceHandler::stateFailed);
    EXPECT_EQ(server.stationRequests(), 1);
    const auto warnings = warningsSince(before);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find(server.url("/station")), std::string::npos) << warnings[0];
}

TEST_F(StreamHandlerTest, AddressThatIsNoUrlFailsAtOnce)
{
    EXPECT_EQ(startPlaying("not an address"), -1);
    EXPECT_EQ(handler->getState(), eServiceHandler::stateFailed);
    EXPECT_EQ(handler->getInfo(0), "");
    EXPECT_EQ(startPlaying(""), -1);
    EXPECT_EQ(handler->getState(), eServiceHandler::stateFailed);
    handler->stop(0);
    EXPECT_EQ(handler->getState(), eServiceHandler::stateStopped);
}

// Only network streams are played: nothing from the box's disks, no other
// protocols. Each refusal is one warning that names the address and says why.
TEST_F(StreamHandlerTest, AddressesOfOtherSchemesAreRefusedAtOnceWithOneLogLine)
{
    const std::string withoutScheme = server.url("/radio").substr(std::string("http://").size());
    const struct
    {
        std::string address;
        std::string why;
    } refused[] = {
        {"file:///var/media/song.mp3", "file:"}, {"FILE:///var/media/song.mp3", "file:"},
        {"rtsp://127.0.0.1:554/live", "rtsp:"},  {withoutScheme, "no scheme"},
        {"/var/media/song.mp3", "no scheme"},
    };
    for (const auto &[address, why] : refused) {
        const auto before = boxlog::lastSequence();
        EXPECT_EQ(startPlaying(address), -1) << address;
        EXPECT_EQ(handler->getState(), eServiceHandler::stateFailed) << address;
        EXPECT_EQ(handler->getInfo(0), "") << address;
        const auto warnings = warningsSince(before);
        ASSERT_EQ(warnings.size(), 1u) << address;
        EXPECT_NE(warnings[0].find(address), std::string::npos) << warnings[0];
        EXPECT_NE(warnings[0].find(why), std::string::npos) << warnings[0];
        runUntil(
            app, [] { return false; }, std::chrono::milliseconds(100));
        EXPECT_EQ(handler->getState(), eServiceHandler::stateFailed) << address;
    }
}

TEST_F(StreamHandlerTest, ReferenceOfAnotherTypeIsRefused)
{
    const eServiceReference ref(1, 0, server.url("/radio"));
    EXPECT_EQ(handler->play(ref, 0), -1);
    EXPECT_NE(handler->getState(), 0);
}

TEST_F(StreamHandlerTest, FailedStreamCanBeFollowedByAGoodOne)
{
    ASSERT_EQ(startPlaying(server.url("/page")), 0);
    ASSERT_TRUE(waitFor([&] { return handler->getState() != 0; }));
    ASSERT_EQ(startPlaying(server.url("/radio")), 0);
    EXPECT_TRUE(waitFor([&] { return isPlaying(); }));
}
