#include "system/putils.h"

#include "support/named_sleeper.h"
#include "support/temp_dir.h"
#include "support/wait_for.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

TEST(IsRunning, TrueWhileAStreamripperRunsAndFalseAfterItEnds)
{
    TempDir dir;
    EXPECT_FALSE(pUtils::is_running("streamripper"));
    NamedSleeper recorder(dir, "streamripper");
    ASSERT_TRUE(recorder.started());
    EXPECT_TRUE(within(std::chrono::seconds(2), [] { return pUtils::is_running("streamripper"); }));
    recorder.kill();
    recorder.reap();
    EXPECT_FALSE(pUtils::is_running("streamripper"));
}

TEST(IsRunning, EndedButUnreapedProcessDoesNotCount)
{
    TempDir dir;
    NamedSleeper recorder(dir, "streamripper");
    ASSERT_TRUE(within(std::chrono::seconds(2), [] { return pUtils::is_running("streamripper"); }));
    recorder.kill();
    recorder.waitUntilEnded();
    EXPECT_FALSE(pUtils::is_running("streamripper"));
}

TEST(IsRunning, NamesLongerThanTheKernelKeepsAreFoundByTheirProgramName)
{
    TempDir dir;
    const std::string longName = "tarnwave-recorder-with-a-long-name";
    NamedSleeper process(dir, longName);
    EXPECT_TRUE(within(std::chrono::seconds(2), [&] { return pUtils::is_running(longName); }));
    EXPECT_FALSE(pUtils::is_running(longName + "-other"));
}

TEST(IsRunning, OnlyTheWholeNameCounts)
{
    TempDir dir;
    NamedSleeper process(dir, "streamripper");
    ASSERT_TRUE(within(std::chrono::seconds(2), [] { return pUtils::is_running("streamripper"); }));
    EXPECT_FALSE(pUtils::is_running("stream"));
    EXPECT_FALSE(pUtils::is_running("ripper"));
    EXPECT_FALSE(pUtils::is_running("streamripper2"));
    EXPECT_FALSE(pUtils::is_running(""));
}

TEST(IsRunning, FindsThisTestProgram)
{
    EXPECT_TRUE(pUtils::is_running("system_is_running"));
}

TEST(IsRunning, IsCheapEnoughForEveryStatusTick)
{
    const auto started = std::chrono::steady_clock::now();
    for (int i = 0; i < 20; ++i)
        pUtils::is_running("streamripper");
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(1));
}
