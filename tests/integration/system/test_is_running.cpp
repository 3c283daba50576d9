#include "system/putils.h"

#include "support/temp_dir.h"

#include "support/wait_for.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

namespace {

// A copy of /bin/sleep under the given name, run for a minute, killed and
// reaped by the test.
class NamedSleeper
{
public:
    NamedSleeper(const TempDir &dir, const std::string &name) : m_program(dir.path() / name)
    {
        std::filesystem::copy_file("/bin/sleep", m_program);
        std::filesystem::permissions(m_program, std::filesystem::perms::owner_all);
        m_pid = fork();
        if (m_pid == 0) {
            execl(m_program.c_str(), m_program.c_str(), "60", static_cast<char *>(nullptr));
            _exit(127);
        }
    }
    ~NamedSleeper()
    {
        kill();
        reap();
    }
    NamedSleeper(const NamedSleeper &) = delete;
    NamedSleeper &operator=(const NamedSleeper &) = delete;

    bool started() const { return m_pid > 0; }
    void kill() const
    {
        if (m_pid > 0)
            ::kill(m_pid, SIGKILL);
    }
    // Waits until the process has ended; it stays in the table (a zombie) until reap().
    void waitUntilEnded() const
    {
        siginfo_t info = {};
        if (m_pid > 0)
            waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOWAIT);
    }
    void reap()
    {
        if (m_pid > 0)
            waitpid(m_pid, nullptr, 0);
        m_pid = -1;
    }

private:
    std::filesystem::path m_program;
    pid_t m_pid = -1;
};

} // namespace

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
