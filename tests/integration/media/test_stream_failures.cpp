#include "stream_handler_fixture.h"

#include "support/log_lines.h"

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// A loopback port that nothing listens on.
int closedPort()
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0
        || getsockname(fd, reinterpret_cast<sockaddr *>(&address), &length) != 0) {
        if (fd >= 0)
            close(fd);
        return 9; // discard: not served here
    }
    close(fd);
    return ntohs(address.sin_port);
}

} // namespace

TEST_F(StreamHandlerTest, HtmlPageInsteadOfAudioFails)
{
    const auto before = boxlog::lastSequence();
    ASSERT_EQ(startPlaying(server.url("/page")), 0);
    EXPECT_TRUE(waitFor([&] { return handler->getState() != 0; }));
    EXPECT_EQ(handler->getState(), eServiceHandler::stateFailed);
    EXPECT_EQ(handler->getInfo(0), "paused...");
    const auto warnings = warningsSince(before);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find("no audio that can be played"), std::string::npos) << warnings[0];
}

TEST_F(StreamHandlerTest, DeadServerFails)
{
    ASSERT_EQ(startPlaying("http://127.0.0.1:" + std::to_string(closedPort()) + "/radio"), 0);
    EXPECT_TRUE(waitFor([&] { return handler->getState() != 0; }));
    EXPECT_EQ(handler->getState(), eServiceHandler::stateFailed);
}

TEST_F(StreamHandlerTest, MissingStreamPathFails)
{
    ASSERT_EQ(startPlaying(server.url("/no-such-stream")), 0);
    EXPECT_TRUE(waitFor([&] { return handler->getState() != 0; }));
    EXPECT_EQ(handler->getState(), eServiceHandler::stateFailed);
}

TEST_F(StreamHandlerTest, StreamThatDiesIsNotReconnected)
{
    ASSERT_EQ(startPlaying(server.url("/broken")), 0);
    EXPECT_TRUE(waitFor([&] { return handler->getState() != 0; }));
    // It stays down: no new connection brings it back.
    runUntil(
        app, [] { return false; }, std::chrono::milliseconds(500));
    EXPECT_NE(handler->getState(), 0);
}

TEST_F(StreamHandlerTest, AddressThatIsNoUrlFailsAtOnce)
{
    EXPECT_EQ(startPlaying("not an address"), -1);
    EXPECT_EQ(handler->getState(), eServiceHandler::stateFailed);
    EXPECT_EQ(startPlaying(""), -1);
    EXPECT_EQ(handler->getState(), eServiceHandler::stateFailed);
    handler->stop(0);
    EXPECT_EQ(handler->getState(), eServiceHandler::stateStopped);
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
