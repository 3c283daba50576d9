#include "system/process_table.h"
#include "system/putils.h"

#include "support/named_sleeper.h"
#include "support/temp_dir.h"
#include "support/wait_for.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
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
    // This program's file name, longer than the 15 characters the kernel keeps.
    const std::string name = std::filesystem::read_symlink("/proc/self/exe").filename().string();
    ASSERT_GT(name.size(), 15u);
    EXPECT_TRUE(pUtils::is_running(name)) << name;
}

TEST(IsRunning, IsCheapEnoughForEveryStatusTick)
{
    const auto started = std::chrono::steady_clock::now();
    for (int i = 0; i < 20; ++i)
        pUtils::is_running("streamripper");
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(1));
}

TEST(IsRunning, AProcessThatRunsExecIsKnownByItsNewName)
{
    TempDir dir;
    const std::filesystem::path program = dir.path() / "tarnwave-exec-b";
    std::filesystem::copy_file("/bin/sleep", program);
    const std::filesystem::path launcher = dir.path() / "tarnwave-exec-a";
    writeFile(launcher, "#!/bin/sh\nread line\nexec " + program.string() + " 60\n");
    std::filesystem::permissions(launcher, std::filesystem::perms::owner_all);
    int toLauncher[2];
    ASSERT_EQ(pipe(toLauncher), 0);
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(toLauncher[0], STDIN_FILENO);
        close(toLauncher[1]);
        execl(launcher.c_str(), launcher.c_str(), static_cast<char *>(nullptr));
        _exit(127);
    }
    close(toLauncher[0]);
    // The table keeps the launcher's name file open from this look on.
    EXPECT_TRUE(within(std::chrono::seconds(2), [] { return pUtils::is_running("tarnwave-exec-a"); }));
    EXPECT_FALSE(pUtils::is_running("tarnwave-exec-b"));
    ASSERT_EQ(write(toLauncher[1], "go\n", 3), 3);
    EXPECT_TRUE(within(std::chrono::seconds(2), [] { return pUtils::is_running("tarnwave-exec-b"); }))
        << "the same process, a new name";
    EXPECT_FALSE(pUtils::is_running("tarnwave-exec-a"));
    close(toLauncher[1]);
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    EXPECT_FALSE(pUtils::is_running("tarnwave-exec-b"));
}

TEST(IsRunning, TheTableClosesTheFilesOfProcessesThatAreGone)
{
    boxhost::ProcessTable table;
    TempDir dir;
    table.hasProcessNamed("tarnwave-none");
    const std::size_t before = table.keptFiles();
    EXPECT_GT(before, 0u) << "this program and its neighbours are kept";
    EXPECT_LE(before, boxhost::ProcessTable::maxKeptFiles);
    {
        NamedSleeper process(dir, "tarnwave-gone");
        ASSERT_TRUE(within(std::chrono::seconds(2), [&] { return table.hasProcessNamed("tarnwave-gone"); }));
        EXPECT_GE(table.keptFiles(), before + 1);
    }
    EXPECT_FALSE(table.hasProcessNamed("tarnwave-gone"));
    EXPECT_LE(table.keptFiles(), before + 1) << "the ended process's file is closed";
}
