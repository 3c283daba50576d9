// Whether the recorder runs: the process table decides, and the image's
// shared recording flag mirrors the answer.

#include "record/recorder.h"

#include "support/named_sleeper.h"
#include "support/temp_dir.h"
#include "support/wait_for.h"
#include "system/pconfig.h"
#include "system/putils.h"

#include <gtest/gtest.h>

namespace {

TEST(Checksripper, FalseWithoutARecorderAndTheFlagFollows)
{
    pConfig::getInstance()->setRecording(true);
    EXPECT_FALSE(checksripper());
    EXPECT_FALSE(pConfig::getInstance()->isRecording());
}

TEST(Checksripper, TrueWhileAStreamripperRunsAndFalseOnceItEnded)
{
    TempDir dir;
    NamedSleeper recorder(dir, "streamripper");
    ASSERT_TRUE(recorder.started());
    ASSERT_TRUE(within(std::chrono::seconds(2), [] { return checksripper(); }));
    EXPECT_TRUE(pConfig::getInstance()->isRecording());

    recorder.kill();
    recorder.reap();
    EXPECT_FALSE(checksripper());
    EXPECT_FALSE(pConfig::getInstance()->isRecording());
}

TEST(Checksripper, AnotherProgramIsNoRecorder)
{
    TempDir dir;
    NamedSleeper other(dir, "streamripper2");
    ASSERT_TRUE(other.started());
    ASSERT_TRUE(within(std::chrono::seconds(2), [] { return pUtils::is_running("streamripper2"); }));
    EXPECT_FALSE(checksripper());
}

} // namespace
