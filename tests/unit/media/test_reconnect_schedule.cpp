#include "media/gstreamer/reconnect_schedule.h"

#include "support/log_lines.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

using boxmedia::ReconnectSchedule;
using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

// The waits a schedule gives when every attempt fails at once: each is asked
// for right when the previous wait ended. Stops when the schedule gives up.
std::vector<milliseconds> waitsWithInstantFailures(ReconnectSchedule schedule)
{
    std::vector<milliseconds> waits;
    milliseconds sinceBreak{0};
    while (const auto delay = schedule.nextDelay(sinceBreak)) {
        waits.push_back(*delay);
        sinceBreak += *delay;
    }
    return waits;
}

} // namespace

TEST(ReconnectSchedule, WaitsOneTwoFourEightAndFifteenSecondsThenEveryFifteen)
{
    ReconnectSchedule schedule;
    const std::vector<milliseconds> expected = {seconds(1),  seconds(2),  seconds(4), seconds(8),
                                                seconds(15), seconds(15), seconds(15)};
    milliseconds sinceBreak{0};
    for (const milliseconds wait : expected) {
        EXPECT_EQ(schedule.nextDelay(sinceBreak), wait) << "after " << sinceBreak.count() << " ms";
        sinceBreak += wait;
    }
    EXPECT_EQ(schedule.attemptsPlanned(), 7);
}

TEST(ReconnectSchedule, TriesForFiveMinutesByDefaultWithTheLastAttemptWhenTheWindowCloses)
{
    const auto waits = waitsWithInstantFailures(ReconnectSchedule());
    // 1 + 2 + 4 + 8 + 15 is 30 s; eighteen waits of 15 s reach 300 s.
    ASSERT_EQ(waits.size(), 23u);
    milliseconds total{0};
    for (const milliseconds wait : waits)
        total += wait;
    EXPECT_EQ(total, seconds(300));
}

TEST(ReconnectSchedule, CutsTheLastWaitShortAtTheEndOfTheWindow)
{
    ReconnectSchedule schedule(seconds(3));
    EXPECT_EQ(schedule.nextDelay(milliseconds(0)), seconds(1));
    // The first attempt failed 200 ms after it began: the 2 s wait would end 200 ms late.
    EXPECT_EQ(schedule.nextDelay(milliseconds(1200)), milliseconds(1800));
    EXPECT_EQ(schedule.nextDelay(milliseconds(3000)), std::nullopt);
    EXPECT_EQ(schedule.attemptsPlanned(), 2);
}

TEST(ReconnectSchedule, AttemptThatFailsLateAfterTheWindowGivesUp)
{
    ReconnectSchedule schedule(seconds(20));
    EXPECT_EQ(schedule.nextDelay(milliseconds(0)), seconds(1));
    EXPECT_EQ(schedule.nextDelay(milliseconds(19'000)), seconds(1)); // a slow attempt: the window nearly passed
    EXPECT_EQ(schedule.nextDelay(milliseconds(35'000)), std::nullopt); // that one timed out long after it
}

TEST(ReconnectSchedule, EmptyWindowGivesUpAtOnce)
{
    EXPECT_TRUE(waitsWithInstantFailures(ReconnectSchedule(seconds(0))).empty());
}

TEST(ReconnectWindowSetting, AcceptsWholeSeconds)
{
    EXPECT_EQ(boxmedia::parseReconnectWindow("300"), seconds(300));
    EXPECT_EQ(boxmedia::parseReconnectWindow("3"), seconds(3));
    EXPECT_EQ(boxmedia::parseReconnectWindow("0"), seconds(0));
    EXPECT_EQ(boxmedia::parseReconnectWindow("31536000"), seconds(31'536'000));
}

TEST(ReconnectWindowSetting, RefusesAnythingElse)
{
    for (const char *text : {"", "-1", "2.5", "5s", " 5", "5 ", "+5", "five", "31536001", "99999999999999999999"})
        EXPECT_EQ(boxmedia::parseReconnectWindow(text), std::nullopt) << '"' << text << '"';
}

TEST(ReconnectWindowSetting, ComesFromTheEnvironmentWithFiveMinutesAsDefault)
{
    unsetenv("TARNWAVE_RECONNECT_WINDOW");
    EXPECT_EQ(boxmedia::configuredReconnectWindow(), seconds(300));
    setenv("TARNWAVE_RECONNECT_WINDOW", "", 1);
    EXPECT_EQ(boxmedia::configuredReconnectWindow(), seconds(300));
    setenv("TARNWAVE_RECONNECT_WINDOW", "12", 1);
    const auto before = boxlog::lastSequence();
    EXPECT_EQ(boxmedia::configuredReconnectWindow(), seconds(12));
    EXPECT_TRUE(warningsSince(before).empty());
    unsetenv("TARNWAVE_RECONNECT_WINDOW");
}

TEST(ReconnectWindowSetting, UnusableValueGivesOneWarningAndTheDefault)
{
    setenv("TARNWAVE_RECONNECT_WINDOW", "ten minutes", 1);
    const auto before = boxlog::lastSequence();
    EXPECT_EQ(boxmedia::configuredReconnectWindow(), seconds(300));
    const auto warnings = warningsSince(before);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find("TARNWAVE_RECONNECT_WINDOW"), std::string::npos) << warnings[0];
    EXPECT_NE(warnings[0].find("ten minutes"), std::string::npos) << warnings[0];
    unsetenv("TARNWAVE_RECONNECT_WINDOW");
}
