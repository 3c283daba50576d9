// The tool that starts, watches and stops the emulator's and the tests' child
// processes, with small shell commands as children.

#include "system/child_process.h"

#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using boxhost::ChildExit;
using boxhost::ChildLine;
using boxhost::ChildOptions;
using boxhost::ChildProcess;

// Generous: the children here answer at once, but a loaded machine is slow.
constexpr auto patience = 30s;

// A child running `command` in /bin/sh; the test fails when it does not start.
ChildProcess startShell(const std::string &command, const ChildOptions &options = {})
{
    ChildProcess child;
    std::string error;
    EXPECT_TRUE(child.start("/bin/sh", {"-c", command}, options, error)) << error;
    return child;
}

TEST(ChildProcess, FindsTheReadyLineAfterOtherLines)
{
    ChildProcess child = startShell("echo starting; echo 'ready: 42'; echo later; exec sleep 60");
    ASSERT_TRUE(child.running());
    const ChildLine ready = child.waitForLine("ready: ", patience);
    ASSERT_TRUE(ready.found()) << ready.before;
    EXPECT_EQ(ready.line, "ready: 42");
    EXPECT_EQ(ready.before, "starting\n");
    // What came after the ready line is there for the next wait.
    const ChildLine later = child.waitForLine([](std::string_view line) { return line == "later"; }, patience);
    EXPECT_TRUE(later.found());
    EXPECT_EQ(later.before, "");
    const ChildExit end = child.stop(patience);
    EXPECT_TRUE(end.known);
    EXPECT_EQ(end.signal, SIGTERM);
    EXPECT_FALSE(end.killed);
    EXPECT_FALSE(child.running());
}

TEST(ChildProcess, ALastLineWithoutItsEndCounts)
{
    ChildProcess child = startShell("printf 'ready'");
    const ChildLine ready = child.waitForLine("ready", patience);
    EXPECT_TRUE(ready.found());
    EXPECT_EQ(ready.line, "ready");
}

TEST(ChildProcess, TheLimitPassesWithoutTheReadyLine)
{
    ChildProcess child = startShell("echo 'something else'; exec sleep 60");
    const ChildLine ready = child.waitForLine("ready", 200ms);
    EXPECT_FALSE(ready.found());
    EXPECT_EQ(ready.outcome, ChildLine::Outcome::timedOut);
    EXPECT_EQ(ready.before, "something else\n");
    EXPECT_TRUE(child.running());
}

TEST(ChildProcess, AChildThatEndsWithoutTheReadyLine)
{
    ChildProcess child = startShell("echo 'no luck'; exit 3");
    const ChildLine ready = child.waitForLine("ready", patience);
    EXPECT_EQ(ready.outcome, ChildLine::Outcome::ended);
    EXPECT_EQ(ready.before, "no luck\n");
    const std::optional<ChildExit> end = child.waitForExit(patience);
    ASSERT_TRUE(end.has_value());
    EXPECT_TRUE(end->known);
    EXPECT_EQ(end->code, 3);
    EXPECT_EQ(end->shellStatus(), 3);
}

TEST(ChildProcess, AChildThatIgnoresSigtermIsKilledAfterTheGrace)
{
    // An ignored signal stays ignored across exec.
    ChildProcess child = startShell("trap '' TERM; echo ready; exec sleep 60");
    ASSERT_TRUE(child.waitForLine("ready", patience).found());
    const pid_t pid = child.pid();
    const ChildExit end = child.stop(200ms);
    EXPECT_TRUE(end.killed);
    EXPECT_TRUE(end.known);
    EXPECT_EQ(end.signal, SIGKILL);
    EXPECT_EQ(end.shellStatus(), 128 + SIGKILL);
    EXPECT_FALSE(child.running());
    EXPECT_NE(::kill(pid, 0), 0) << "reaped, so gone";
}

TEST(ChildProcess, ReportsHowTheChildEnded)
{
    ChildProcess exited = startShell("exit 7");
    const std::optional<ChildExit> exitedEnd = exited.waitForExit(patience);
    ASSERT_TRUE(exitedEnd.has_value());
    EXPECT_EQ(exitedEnd->code, 7);
    EXPECT_EQ(exitedEnd->signal, 0);
    EXPECT_FALSE(exited.running());

    ChildProcess signalled = startShell("kill -KILL $$");
    const std::optional<ChildExit> signalledEnd = signalled.waitForExit(patience);
    ASSERT_TRUE(signalledEnd.has_value());
    EXPECT_EQ(signalledEnd->signal, SIGKILL);
    EXPECT_EQ(signalledEnd->shellStatus(), 128 + SIGKILL);
    EXPECT_FALSE(signalledEnd->killed);
}

TEST(ChildProcess, WaitingForTheExitOfARunningChildGivesNothing)
{
    ChildProcess child = startShell("exec sleep 60");
    EXPECT_FALSE(child.waitForExit(50ms).has_value());
    EXPECT_TRUE(child.running());
}

TEST(ChildProcess, KeepsStderrReadableAfterTheEnd)
{
    ChildProcess child = startShell("echo first problem >&2; echo out; echo second problem >&2; exit 1");
    ASSERT_TRUE(child.waitForExit(patience).has_value());
    EXPECT_EQ(child.errors(), "first problem\nsecond problem\n");
    EXPECT_EQ(child.readOutputToEnd(patience), "out\n");
}

TEST(ChildProcess, AppendsStderrToAGivenFile)
{
    TempDir directory;
    const std::filesystem::path log = directory.file("child.log");
    writeFile(log, "from before\n");
    ChildOptions options;
    options.errorFile = log.string();
    ChildProcess child = startShell("echo complaint >&2", options);
    ASSERT_TRUE(child.waitForExit(patience).has_value());
    EXPECT_EQ(readFile(log), "from before\ncomplaint\n");
    EXPECT_EQ(child.errors(), "from before\ncomplaint\n");
}

TEST(ChildProcess, AProgramThatDoesNotExistIsAClearError)
{
    ChildProcess child;
    std::string error;
    EXPECT_FALSE(child.start("/nonexistent/tarnwave-program", {}, {}, error));
    EXPECT_EQ(error, "cannot start /nonexistent/tarnwave-program: No such file or directory");
    EXPECT_FALSE(child.running());
    EXPECT_EQ(child.pid(), -1);
}

TEST(ChildProcess, AWorkingDirectoryThatDoesNotExistIsAClearError)
{
    ChildOptions options;
    options.workingDirectory = "/nonexistent/tarnwave-directory";
    ChildProcess child;
    std::string error;
    EXPECT_FALSE(child.start("/bin/sh", {"-c", "true"}, options, error));
    EXPECT_EQ(error, "cannot start /bin/sh in /nonexistent/tarnwave-directory: No such file or directory");
}

TEST(ChildProcess, RunsWithTheGivenEnvironmentAndDirectory)
{
    TempDir directory;
    ChildOptions options;
    options.environment = {{"TARNWAVE_CHILD_TEST", "added"}, {"HOME", "/replaced"}};
    options.workingDirectory = directory.str();
    ChildProcess child = startShell("echo \"$TARNWAVE_CHILD_TEST $HOME $(pwd -P)\"", options);
    const std::string expected = "added /replaced " + std::filesystem::canonical(directory.path()).string() + "\n";
    EXPECT_EQ(child.readOutputToEnd(patience), expected);
}

TEST(ChildProcess, TheChildGetsNoOtherDescriptorOfTheParent)
{
    // Not close-on-exec: only the tool keeps it from the child.
    const int inherited = ::open("/dev/null", O_RDONLY);
    ASSERT_GE(inherited, 0);
    const std::string fd = std::to_string(inherited);
    ChildProcess child = startShell("if [ -e /proc/$$/fd/" + fd + " ]; then echo open; else echo closed; fi");
    EXPECT_EQ(child.readOutputToEnd(patience), "closed\n");
    ::close(inherited);
}

TEST(ChildProcess, DiscardedOutputNeverBlocksTheChild)
{
    // Far more than a pipe holds: without the drain the child would wait forever.
    ChildProcess child = startShell("echo ready; head -c 4000000 /dev/zero; exit 5");
    ASSERT_TRUE(child.waitForLine("ready", patience).found());
    child.discardOutput();
    const std::optional<ChildExit> end = child.waitForExit(patience);
    ASSERT_TRUE(end.has_value()) << "the child is stuck writing";
    EXPECT_EQ(end->code, 5);
}

TEST(ChildProcess, StopEndsTheDrainEvenWhenAGrandchildHoldsTheOutput)
{
    // The background sleep keeps the pipe open after the shell has gone.
    ChildProcess child = startShell("sleep 60 & echo \"ready $!\"; exec sleep 60");
    const ChildLine ready = child.waitForLine("ready ", patience);
    ASSERT_TRUE(ready.found());
    const pid_t grandchild = std::stoi(ready.line.substr(6));
    child.discardOutput();
    EXPECT_EQ(child.stop(patience).signal, SIGTERM);
    ::kill(grandchild, SIGKILL);
}

TEST(ChildProcess, AStartWhileAChildRunsIsRefused)
{
    ChildProcess child = startShell("exec sleep 60");
    const pid_t first = child.pid();
    std::string error;
    EXPECT_FALSE(child.start("/bin/sh", {"-c", "true"}, {}, error));
    EXPECT_EQ(error, "cannot start /bin/sh: the child started before still runs");
    EXPECT_EQ(child.pid(), first);
}

TEST(ChildProcess, MovesWithItsChild)
{
    ChildProcess child = startShell("echo ready; exec sleep 60");
    const pid_t pid = child.pid();
    ChildProcess moved = std::move(child);
    EXPECT_EQ(moved.pid(), pid);
    EXPECT_TRUE(moved.waitForLine("ready", patience).found());
    EXPECT_EQ(moved.stop(patience).signal, SIGTERM);
}

TEST(ChildProcess, WithoutAChildEverythingSaysSo)
{
    ChildProcess child;
    EXPECT_FALSE(child.running());
    EXPECT_EQ(child.waitForLine("ready", 10ms).outcome, ChildLine::Outcome::ended);
    EXPECT_EQ(child.readOutputToEnd(10ms), "");
    EXPECT_EQ(child.errors(), "");
    const ChildExit end = child.stop(10ms);
    EXPECT_FALSE(end.known);
    EXPECT_EQ(end.shellStatus(), -1);
}

} // namespace
