#include "system/putils.h"

#include "base/elog.h"
#include "support/temp_dir.h"

#include "support/wait_for.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

namespace {

bool loggedLineWith(std::uint64_t since, const std::string &text)
{
    for (const boxlog::Line &line : boxlog::linesSince(since))
        if (line.text.find(text) != std::string::npos)
            return true;
    return false;
}

} // namespace

TEST(Send2pDaemon, ReturnsAtOnceWhileTheCommandFinishesLater)
{
    TempBoxRoot root;
    const auto marker = root.path() / "tmp/daemon-done";
    std::filesystem::create_directories(marker.parent_path());

    // Returned before the command could have ended: its marker is not there
    // yet. How long the call takes is measured by bench_base (system/send2pdaemon).
    EXPECT_TRUE(pUtils::send2pDaemon("sleep 1; echo finished > " + marker.string()));
    EXPECT_FALSE(std::filesystem::exists(marker));
    EXPECT_TRUE(within(std::chrono::seconds(5), [&] { return readFile(marker) == "finished\n"; }));
}

TEST(Send2pDaemon, CommandSeesTheBoxRootAndRunsThere)
{
    TempBoxRoot root;
    const auto marker = root.path() / "environment";
    ASSERT_TRUE(pUtils::send2pDaemon("echo \"$TARNWAVE_ROOT|$BOX_ROOT|$(pwd)\" > environment.tmp && mv "
                                     "environment.tmp environment"));
    ASSERT_TRUE(within(std::chrono::seconds(5), [&] { return std::filesystem::exists(marker); }));
    const std::string canonicalRoot = std::filesystem::canonical(root.path()).string();
    EXPECT_EQ(readFile(marker), root.str() + "|" + root.str() + "|" + canonicalRoot + "\n");
}

TEST(Send2pDaemon, LogsTheCommandLine)
{
    TempBoxRoot root;
    const auto before = boxlog::lastSequence();
    ASSERT_TRUE(pUtils::send2pDaemon("true /var/script/streamripper_script.sh stop"));
    EXPECT_TRUE(loggedLineWith(before, "true /var/script/streamripper_script.sh stop"));
}

TEST(Send2pDaemon, LeavesNoChildToReap)
{
    TempBoxRoot root;
    const auto marker = root.path() / "done";
    ASSERT_TRUE(pUtils::send2pDaemon("touch done"));
    ASSERT_TRUE(within(std::chrono::seconds(5), [&] { return std::filesystem::exists(marker); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    // The command's process was never this program's child: nothing is left to wait for.
    errno = 0;
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(Send2pDaemon, CommandHoldsNoDescriptorOfTheHost)
{
    TempBoxRoot root;
    int fds[2];
    ASSERT_EQ(pipe(fds), 0); // inheritable on purpose
    ASSERT_TRUE(pUtils::send2pDaemon("sleep 2"));
    close(fds[1]);
    // With the only write end closed, the read end sees its end at once,
    // unless the command kept a copy of the write end.
    pollfd watch = {fds[0], POLLIN, 0};
    ASSERT_EQ(poll(&watch, 1, 1000), 1);
    char byte = 0;
    EXPECT_EQ(read(fds[0], &byte, 1), 0);
    close(fds[0]);
}

TEST(Send2pDaemon, CommandReadsNothingFromTheHostsInput)
{
    TempBoxRoot root;
    const auto marker = root.path() / "input";
    ASSERT_TRUE(pUtils::send2pDaemon("cat > input.tmp; mv input.tmp input"));
    EXPECT_TRUE(within(std::chrono::seconds(5), [&] { return std::filesystem::exists(marker); }));
    EXPECT_EQ(readFile(marker), "");
}

TEST(Send2pDaemon, CommandWritesNothingToTheHostsOutput)
{
    TempBoxRoot root;
    const auto marker = root.path() / "done";
    const auto before = boxlog::lastSequence();
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    ASSERT_TRUE(pUtils::send2pDaemon("echo to-stdout; echo to-stderr >&2; touch done"));
    const bool finished = within(std::chrono::seconds(5), [&] { return std::filesystem::exists(marker); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const std::string out = ::testing::internal::GetCapturedStdout();
    const std::string err = ::testing::internal::GetCapturedStderr();
    EXPECT_TRUE(finished);
    EXPECT_EQ(out.find("to-stdout"), std::string::npos);
    EXPECT_EQ(err.find("to-stderr"), std::string::npos);
    EXPECT_TRUE(loggedLineWith(before, "echo to-stdout"));
}

TEST(Send2pDaemon, FailingCommandDoesNotDisturbTheHost)
{
    TempBoxRoot root;
    EXPECT_TRUE(pUtils::send2pDaemon("exit 3"));
    EXPECT_TRUE(pUtils::send2pDaemon("no-such-command-anywhere 2>/dev/null"));
    EXPECT_TRUE(pUtils::send2pDaemon(""));
}
