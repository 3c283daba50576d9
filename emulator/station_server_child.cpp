#include "station_server_child.h"

#include "base/whole_file.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace emulator {
namespace {

constexpr auto readyLimit = std::chrono::seconds(15);
constexpr std::string_view readyPrefix = "station-server: listening on ";

// The last non-empty line of the server's log: what it complained about.
std::string lastLogLine(const std::string &logFile)
{
    std::string contents;
    boxfile::readWholeFile(logFile, contents);
    while (!contents.empty() && contents.back() == '\n')
        contents.pop_back();
    const std::size_t start = contents.rfind('\n');
    return start == std::string::npos ? contents : contents.substr(start + 1);
}

} // namespace

StationServerChild::~StationServerChild()
{
    stop();
}

bool StationServerChild::start(const std::string &binary, const std::string &listen, const std::string &logFile,
                               std::string &error)
{
    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC) != 0) {
        error = std::string("cannot make a pipe: ") + std::strerror(errno);
        return false;
    }
    const int logFd = ::open(logFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (logFd < 0) {
        error = "cannot open " + logFile + ": " + std::strerror(errno);
        ::close(pipeFds[0]);
        ::close(pipeFds[1]);
        return false;
    }

    // Everything the child needs is made before fork(): after it, only calls
    // that are safe in a child of a threaded process.
    std::vector<std::string> arguments = {binary, "--listen", listen};
    std::vector<char *> argv;
    for (std::string &argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    const pid_t parent = ::getpid();

    const pid_t pid = ::fork();
    if (pid < 0) {
        error = std::string("cannot start station-server: ") + std::strerror(errno);
        ::close(pipeFds[0]);
        ::close(pipeFds[1]);
        ::close(logFd);
        return false;
    }
    if (pid == 0) {
        // Stop with the emulator, even when it is killed.
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (::getppid() != parent)
            ::_exit(127);
        ::dup2(pipeFds[1], STDOUT_FILENO);
        ::dup2(logFd, STDERR_FILENO);
        const int devNull = ::open("/dev/null", O_RDONLY);
        if (devNull >= 0)
            ::dup2(devNull, STDIN_FILENO);
        // Nothing else of the emulator's (its listening socket above all).
        ::close_range(3, ~0U, 0);
        sigset_t none;
        sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        ::signal(SIGPIPE, SIG_DFL);
        ::execv(binary.c_str(), argv.data());
        const char message[] = "station-server could not be run\n";
        [[maybe_unused]] const auto written = ::write(STDERR_FILENO, message, sizeof message - 1);
        ::_exit(127);
    }
    ::close(pipeFds[1]);
    ::close(logFd);
    m_pid = pid;
    m_output = pipeFds[0];

    // Waits for the ready line.
    std::string received;
    const auto deadline = std::chrono::steady_clock::now() + readyLimit;
    while (received.find('\n') == std::string::npos) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            error = "station-server did not say it was ready within " + std::to_string(readyLimit.count()) + " s";
            stop();
            return false;
        }
        pollfd watch{m_output, POLLIN, 0};
        if (::poll(&watch, 1, static_cast<int>(left.count())) < 0 && errno != EINTR)
            break;
        char buffer[512];
        const ssize_t got = ::read(m_output, buffer, sizeof buffer);
        if (got == 0)
            break;
        if (got > 0)
            received.append(buffer, static_cast<std::size_t>(got));
    }
    const std::size_t lineEnd = received.find('\n');
    const std::string line = lineEnd == std::string::npos ? received : received.substr(0, lineEnd);
    if (!line.starts_with(readyPrefix)) {
        stop();
        const std::string complaint = lastLogLine(logFile);
        error = "station-server did not start" + (complaint.empty() ? std::string() : ": " + complaint);
        return false;
    }
    m_url = line.substr(readyPrefix.size());
    while (!m_url.empty() && (m_url.back() == '\r' || m_url.back() == '/'))
        m_url.pop_back();
    m_drain = std::thread([this] { drainOutput(); });
    return true;
}

void StationServerChild::drainOutput()
{
    char buffer[512];
    for (;;) {
        const ssize_t got = ::read(m_output, buffer, sizeof buffer);
        if (got == 0 || (got < 0 && errno != EINTR))
            return;
    }
}

bool StationServerChild::reap(std::chrono::milliseconds limit)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        int status = 0;
        const pid_t done = ::waitpid(m_pid, &status, WNOHANG);
        if (done == m_pid || (done < 0 && errno == ECHILD))
            return true;
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        ::usleep(10'000);
    }
}

void StationServerChild::stop(std::chrono::milliseconds grace)
{
    if (m_pid > 0) {
        ::kill(m_pid, SIGTERM);
        if (!reap(grace)) {
            ::kill(m_pid, SIGKILL);
            reap(std::chrono::seconds(5));
        }
        m_pid = -1;
    }
    // The server's end of the pipe is closed now, so the drain sees its end.
    if (m_drain.joinable())
        m_drain.join();
    if (m_output >= 0) {
        ::close(m_output);
        m_output = -1;
    }
}

} // namespace emulator
