#ifndef TARNWAVE_TESTS_SUPPORT_NAMED_SLEEPER_H
#define TARNWAVE_TESTS_SUPPORT_NAMED_SLEEPER_H

// A process that looks like another program in the process table: a copy of
// /bin/sleep under the given name, run for a minute, killed and reaped by the
// test. Tests that make one called "streamripper" take the CTest lock
// streamripper-process, so that no other test sees it.

#include "support/temp_dir.h"
#include "support/wait_for.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

class NamedSleeper
{
public:
    NamedSleeper(const TempDir &dir, const std::string &name) : m_program(dir.path() / name)
    {
        std::filesystem::copy_file("/bin/sleep", m_program, std::filesystem::copy_options::overwrite_existing);
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
    // The signal that ended the process, once it has ended by one within
    // `limit`; nothing when it still runs or ended otherwise. Reaps it.
    std::optional<int> endingSignal(std::chrono::milliseconds limit)
    {
        int status = 0;
        const bool ended = m_pid > 0 && within(limit, [&] { return waitpid(m_pid, &status, WNOHANG) == m_pid; });
        if (!ended)
            return std::nullopt;
        m_pid = -1;
        if (!WIFSIGNALED(status))
            return std::nullopt;
        return WTERMSIG(status);
    }

private:
    std::filesystem::path m_program;
    pid_t m_pid = -1;
};

#endif
