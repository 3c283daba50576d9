#include "stream_handler_fixture.h"

#include "icy_status_server.h"

#include "support/log_lines.h"

#include <gtest/gtest.h>

#include <cstdlib>

// Live streams that break or end after they played are opened again by the
// handler; streams that never played are not (see test_stream_failures.cpp).

namespace {

// What the station sends before it breaks: a second and a half of the 64 kbit/s
// tone, which the stream plays to its end before it notices the break.
constexpr std::size_t audioBeforeTheBreak = 12000;

} // namespace

class StreamReconnectTest : public StreamHandlerTest
{
protected:
    void TearDown() override
    {
        StreamHandlerTest::TearDown();
        unsetenv("TARNWAVE_RECONNECT_WINDOW");
    }

    // Waits until the stream broke after it played, checking that the handler
    // runs in order throughout: it says "connecting...", not that it failed.
    bool waitForTheBreak()
    {
        bool alwaysRunning = true;
        const bool broke = waitFor([&] {
            alwaysRunning = alwaysRunning && handler->getState() == 0;
            return !alwaysRunning || isConnecting();
        });
        return broke && alwaysRunning;
    }
};

TEST_F(StreamReconnectTest, StreamThatDropsAfterPlayingIsOpenedAgainAndPlays)
{
    server.planStation({.breakAfterAudio = audioBeforeTheBreak});
    ASSERT_EQ(startPlaying(server.url("/station")), 0);
    ASSERT_TRUE(waitFor([&] { return isPlaying() && handler->getInfo(1) == server.title(); }));
    const auto before = boxlog::lastSequence();
    EXPECT_TRUE(waitForTheBreak()) << "state " << handler->getState() << ", text " << handler->getInfo(0);
    EXPECT_EQ(handler->getInfo(1), server.title()); // the last title stays while it reconnects
    EXPECT_TRUE(waitFor([&] { return isPlaying(); })) << "state " << handler->getState();
    EXPECT_EQ(server.stationRequests(), 2);
    EXPECT_TRUE(warningsSince(before).empty()); // a break that heals is no news
}

TEST_F(StreamReconnectTest, LiveStreamThatEndsIsOpenedAgainAndPlays)
{
    server.planStation({.breakAfterAudio = audioBeforeTheBreak, .breakEndsBody = true});
    ASSERT_EQ(startPlaying(server.url("/station")), 0);
    ASSERT_TRUE(waitFor([&] { return isPlaying(); }));
    EXPECT_TRUE(waitForTheBreak()) << "state " << handler->getState() << ", text " << handler->getInfo(0);
    EXPECT_TRUE(waitFor([&] { return isPlaying(); })) << "state " << handler->getState();
    EXPECT_EQ(server.stationRequests(), 2);
}

// A reset connection is an error rather than an end, and heals the same way.
// GStreamer's HTTP source first tries on its own to resume where it was,
// which a live station cannot do; then the handler opens the stream anew.
TEST_F(StreamReconnectTest, StreamThatIsResetAfterPlayingIsOpenedAgainAndPlays)
{
    const IcyStatusServer station("Crashing Server - Song", 2 * audioBeforeTheBreak);
    ASSERT_EQ(startPlaying(station.url("/")), 0);
    ASSERT_TRUE(waitFor([&] { return isPlaying(); }));
    EXPECT_TRUE(waitForTheBreak()) << "state " << handler->getState() << ", text " << handler->getInfo(0);
    EXPECT_TRUE(waitFor([&] { return isPlaying(); })) << "state " << handler->getState();
    EXPECT_EQ(station.requests() - station.resumeRequests(), 2);
}

TEST_F(StreamReconnectTest, StationThatStaysDownIsGivenUpAfterTheWindow)
{
    setenv("TARNWAVE_RECONNECT_WINDOW", "3", 1);
    server.planStation({.breakAfterAudio = audioBeforeTheBreak, .listenersServed = 1});
    ASSERT_EQ(startPlaying(server.url("/station")), 0);
    ASSERT_TRUE(waitFor([&] { return isPlaying(); }));
    const auto before = boxlog::lastSequence();
    ASSERT_TRUE(waitForTheBreak()) << "state " << handler->getState() << ", text " << handler->getInfo(0);
    // Opened again after 1 s and, as the last chance, when the 3 s window closes.
    int requestsWhenGivenUp = 0;
    EXPECT_TRUE(waitFor(
        [&] {
            if (handler->getState() == 0)
                return false;
            requestsWhenGivenUp = server.stationRequests();
            return true;
        },
        std::chrono::seconds(15)));
    EXPECT_EQ(handler->getState(), eServiceHandler::stateFailed);
    EXPECT_EQ(handler->getInfo(0), "");
    EXPECT_EQ(requestsWhenGivenUp, 3);
    const auto warnings = warningsSince(before);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find("giving up"), std::string::npos) << warnings[0];
    EXPECT_NE(warnings[0].find(server.url("/station")), std::string::npos) << warnings[0];
    runUntil(
        app, [] { return false; }, std::chrono::milliseconds(1500));
    EXPECT_EQ(server.stationRequests(), 3);
}

// Each break after the stream played again opens a new window, so a station
// that breaks now and then is never given up.
TEST_F(StreamReconnectTest, BreakAfterPlayingAgainStartsAFreshWindow)
{
    setenv("TARNWAVE_RECONNECT_WINDOW", "2", 1);
    server.planStation({.breakAfterAudio = audioBeforeTheBreak, .breakingListeners = 2});
    ASSERT_EQ(startPlaying(server.url("/station")), 0);
    for (int listener = 1; listener <= 3; ++listener) {
        ASSERT_TRUE(waitFor([&] { return isPlaying(); })) << "listener " << listener;
        EXPECT_EQ(server.stationRequests(), listener);
        if (listener < 3) {
            ASSERT_TRUE(waitForTheBreak()) << "listener " << listener << ": state " << handler->getState();
        }
    }
}

TEST_F(StreamReconnectTest, StopWhileWaitingToReopenMakesNoFurtherConnection)
{
    server.planStation({.breakAfterAudio = audioBeforeTheBreak});
    ASSERT_EQ(startPlaying(server.url("/station")), 0);
    ASSERT_TRUE(waitFor([&] { return isPlaying(); }));
    ASSERT_TRUE(waitForTheBreak());
    ASSERT_EQ(server.stationRequests(), 1); // the reopen is still pending
    handler->stop(0);
    EXPECT_EQ(handler->getState(), eServiceHandler::stateStopped);
    EXPECT_EQ(handler->getInfo(0), "");
    EXPECT_EQ(handler->getInfo(1), "");
    runUntil(
        app, [] { return false; }, std::chrono::milliseconds(2500));
    EXPECT_EQ(server.stationRequests(), 1);
    EXPECT_EQ(handler->getState(), eServiceHandler::stateStopped);
}

TEST_F(StreamReconnectTest, UnusableWindowSettingIsNamedOnceAndTheDefaultUsed)
{
    setenv("TARNWAVE_RECONNECT_WINDOW", "soon", 1);
    server.planStation({.breakAfterAudio = audioBeforeTheBreak});
    ASSERT_EQ(startPlaying(server.url("/station")), 0);
    ASSERT_TRUE(waitFor([&] { return isPlaying(); }));
    const auto before = boxlog::lastSequence();
    ASSERT_TRUE(waitForTheBreak());
    EXPECT_TRUE(waitFor([&] { return isPlaying(); }));
    const auto warnings = warningsSince(before);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find("soon"), std::string::npos) << warnings[0];
}
