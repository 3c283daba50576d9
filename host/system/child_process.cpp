#include "system/child_process.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char **environ;

namespace boxhost {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto defaultGrace = std::chrono::seconds(3);
// SIGKILL cannot be caught; this only bounds the wait for a process stuck in the kernel.
constexpr auto killedReapLimit = std::chrono::seconds(5);
constexpr auto reapInterval = std::chrono::milliseconds(5);
// Where the child keeps the pipe that tells the parent why it could not run the program.
constexpr int failureDescriptor = 3;

// Closes the descriptor it holds when it goes.
class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : m_fd(fd) { }
    ~Descriptor() { reset(); }
    Descriptor(Descriptor &&other) noexcept : m_fd(std::exchange(other.m_fd, -1)) { }
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        if (this != &other) {
            reset();
            m_fd = std::exchange(other.m_fd, -1);
        }
        return *this;
    }

    int get() const { return m_fd; }
    bool valid() const { return m_fd >= 0; }
    void reset()
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = -1;
    }

private:
    int m_fd = -1;
};

struct Pipe
{
    Descriptor readEnd;
    Descriptor writeEnd;

    // Both ends close-on-exec; false with errno set when there is none.
    bool open()
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            return false;
        readEnd = Descriptor(ends[0]);
        writeEnd = Descriptor(ends[1]);
        return true;
    }
};

// What stopped the child before the program ran, as it tells the parent.
struct StartFailure
{
    enum Stage : int { redirecting, changingDirectory, executing };
    Stage stage = executing;
    int error = 0;
};

// Everything the child needs, made before fork(): after it, a child of a
// threaded parent may only make async-signal-safe calls, so it allocates nothing.
struct LaunchPlan
{
    LaunchPlan(const std::string &program, const std::vector<std::string> &arguments, const ChildOptions &options);
    LaunchPlan(const LaunchPlan &) = delete;
    LaunchPlan &operator=(const LaunchPlan &) = delete;

    std::string program;
    std::string workingDirectory;
    bool stopWithParent = false;
    pid_t parent = ::getpid();
    int lastDescriptor = 1023;
    std::vector<std::string> argumentText;
    std::vector<std::string> environmentText;
    std::vector<char *> argv;
    std::vector<char *> envp;
};

std::vector<char *> pointersTo(std::vector<std::string> &strings)
{
    std::vector<char *> pointers;
    for (std::string &text : strings)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// The parent's environment, with `additions` in place of variables of the same name.
std::vector<std::string> environmentWith(const std::vector<std::pair<std::string, std::string>> &additions)
{
    std::vector<std::string> entries;
    for (char **entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text(*entry);
        const std::string_view name = text.substr(0, text.find('='));
        if (std::none_of(additions.begin(), additions.end(), [&](const auto &added) { return added.first == name; }))
            entries.emplace_back(text);
    }
    for (const auto &[name, value] : additions)
        entries.push_back(name + "=" + value);
    return entries;
}

LaunchPlan::LaunchPlan(const std::string &programPath, const std::vector<std::string> &arguments,
                       const ChildOptions &options)
    : program(programPath), workingDirectory(options.workingDirectory), stopWithParent(options.stopWithParent),
      environmentText(environmentWith(options.environment))
{
    if (const long openMax = ::sysconf(_SC_OPEN_MAX); openMax > 0)
        lastDescriptor = static_cast<int>(std::min<long>(openMax, INT_MAX) - 1);
    argumentText.push_back(program);
    argumentText.insert(argumentText.end(), arguments.begin(), arguments.end());
    argv = pointersTo(argumentText);
    envp = pointersTo(environmentText);
}

[[noreturn]] void failInChild(int report, StartFailure::Stage stage)
{
    const StartFailure failure{stage, errno};
    [[maybe_unused]] const auto written = ::write(report, &failure, sizeof failure);
    ::_exit(127);
}

void closeDescriptorsFrom(int first, int last)
{
    if (::close_range(static_cast<unsigned>(first), ~0U, 0) == 0)
        return;
    for (int fd = first; fd <= last; ++fd)
        ::close(fd);
}

// The child between fork() and exec: its three standard descriptors, nothing
// else of the parent's (a listening socket above all), default signals.
[[noreturn]] void runInChild(const LaunchPlan &plan, int input, int output, int errors, int report)
{
    if (plan.stopWithParent) {
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        // The parent may have ended before prctl.
        if (::getppid() != plan.parent)
            ::_exit(127);
    }
    if (::dup2(input, STDIN_FILENO) < 0 || ::dup2(output, STDOUT_FILENO) < 0 || ::dup2(errors, STDERR_FILENO) < 0
        || ::dup2(report, failureDescriptor) < 0 || ::fcntl(failureDescriptor, F_SETFD, FD_CLOEXEC) < 0)
        failInChild(report, StartFailure::redirecting);
    closeDescriptorsFrom(failureDescriptor + 1, plan.lastDescriptor);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::signal(SIGPIPE, SIG_DFL);
    if (!plan.workingDirectory.empty() && ::chdir(plan.workingDirectory.c_str()) != 0)
        failInChild(failureDescriptor, StartFailure::changingDirectory);
    ::execve(plan.program.c_str(), plan.argv.data(), plan.envp.data());
    failInChild(failureDescriptor, StartFailure::executing);
}

// What the child said before exec closed its end; nothing when the program runs.
std::optional<StartFailure> readStartFailure(int report)
{
    StartFailure failure;
    ssize_t got = 0;
    while ((got = ::read(report, &failure, sizeof failure)) < 0 && errno == EINTR) { }
    if (got != static_cast<ssize_t>(sizeof failure))
        return std::nullopt;
    return failure;
}

std::string describeFailure(const LaunchPlan &plan, const StartFailure &failure)
{
    std::string what = "cannot start " + plan.program;
    if (failure.stage == StartFailure::changingDirectory)
        what += " in " + plan.workingDirectory;
    else if (failure.stage == StartFailure::redirecting)
        what += " with its input and output";
    return what + ": " + std::strerror(failure.error);
}

// The file the child's stderr goes to: the child appends, the parent reads.
Descriptor openErrorFile(const std::string &path)
{
    if (!path.empty())
        return Descriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
    const char *base = std::getenv("TMPDIR");
    std::string pattern = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/child-stderr-XXXXXX";
    Descriptor file(::mkostemp(pattern.data(), O_APPEND | O_CLOEXEC));
    if (file.valid())
        ::unlink(pattern.c_str());
    return file;
}

ChildExit exitFromStatus(int status)
{
    ChildExit end;
    end.known = WIFEXITED(status) || WIFSIGNALED(status);
    if (WIFEXITED(status))
        end.code = WEXITSTATUS(status);
    else if (WIFSIGNALED(status))
        end.signal = WTERMSIG(status);
    return end;
}

// Reads and drops what comes from `output` until it closes or `wake` is readable.
void dropOutput(int output, int wake)
{
    pollfd watched[2] = {{output, POLLIN, 0}, {wake, POLLIN, 0}};
    char buffer[4096];
    for (;;) {
        if (::poll(watched, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        if (watched[1].revents != 0)
            return;
        const ssize_t got = ::read(output, buffer, sizeof buffer);
        if (got == 0 || (got < 0 && errno != EINTR))
            return;
    }
}

} // namespace

int ChildExit::shellStatus() const
{
    if (!known)
        return -1;
    return signal != 0 ? 128 + signal : code;
}

struct ChildProcess::State
{
    enum class ReadResult { data, timedOut, ended };

    State() = default;
    State(const State &) = delete;
    State &operator=(const State &) = delete;
    ~State() { stop(defaultGrace); }

    bool launch(const std::string &program, const std::vector<std::string> &arguments, const ChildOptions &options,
                std::string &error);
    ReadResult readMore(Clock::time_point deadline);
    bool takeWantedLine(const std::function<bool(std::string_view)> &wanted, ChildLine &seen);
    ChildLine waitForLine(const std::function<bool(std::string_view)> &wanted, std::chrono::milliseconds limit);
    void discardOutput();
    void stopDraining();
    std::optional<ChildExit> waitForExit(std::chrono::milliseconds limit);
    ChildExit stop(std::chrono::milliseconds grace);
    std::string errorText() const;

    pid_t pid = -1;
    Descriptor output; // the read end of the child's stdout
    Descriptor errors; // the file of the child's stderr
    std::string pending; // read from stdout, not yet handed out
    std::thread drain; // reads stdout after discardOutput()
    Pipe drainWake; // written to end the drain
};

bool ChildProcess::State::launch(const std::string &program, const std::vector<std::string> &arguments,
                                 const ChildOptions &options, std::string &error)
{
    errors = openErrorFile(options.errorFile);
    if (!errors.valid()) {
        const int failure = errno;
        const std::string file = options.errorFile.empty() ? "a temporary file" : options.errorFile;
        error = "cannot start " + program + ": cannot open " + file + " for its errors: " + std::strerror(failure);
        return false;
    }
    const Descriptor input(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    Pipe stdoutPipe;
    Pipe report;
    if (!input.valid() || !stdoutPipe.open() || !report.open()) {
        error = "cannot start " + program + ": " + std::strerror(errno);
        return false;
    }
    const LaunchPlan plan(program, arguments, options);
    const pid_t child = ::fork();
    if (child < 0) {
        error = "cannot start " + program + ": " + std::strerror(errno);
        return false;
    }
    if (child == 0)
        runInChild(plan, input.get(), stdoutPipe.writeEnd.get(), errors.get(), report.writeEnd.get());
    stdoutPipe.writeEnd.reset();
    report.writeEnd.reset();
    pid = child;
    output = std::move(stdoutPipe.readEnd);
    if (const std::optional<StartFailure> failure = readStartFailure(report.readEnd.get())) {
        int status = 0;
        while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) { }
        pid = -1;
        error = describeFailure(plan, *failure);
        return false;
    }
    return true;
}

ChildProcess::State::ReadResult ChildProcess::State::readMore(Clock::time_point deadline)
{
    if (!output.valid() || drain.joinable())
        return ReadResult::ended;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0)
            return ReadResult::timedOut;
        pollfd watched{output.get(), POLLIN, 0};
        const int ready = ::poll(&watched, 1, static_cast<int>(std::min<decltype(left)>(left, INT_MAX)));
        if (ready < 0 && errno != EINTR)
            return ReadResult::ended;
        if (ready <= 0)
            continue;
        char buffer[4096];
        const ssize_t got = ::read(output.get(), buffer, sizeof buffer);
        if (got > 0) {
            pending.append(buffer, static_cast<std::size_t>(got));
            return ReadResult::data;
        }
        if (got == 0 || errno != EINTR)
            return ReadResult::ended;
    }
}

bool ChildProcess::State::takeWantedLine(const std::function<bool(std::string_view)> &wanted, ChildLine &seen)
{
    for (std::size_t end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
        std::string line = pending.substr(0, end);
        pending.erase(0, end + 1);
        if (wanted(line)) {
            seen.outcome = ChildLine::Outcome::found;
            seen.line = std::move(line);
            return true;
        }
        seen.before += line + '\n';
    }
    return false;
}

ChildLine ChildProcess::State::waitForLine(const std::function<bool(std::string_view)> &wanted,
                                           std::chrono::milliseconds limit)
{
    const auto deadline = Clock::now() + limit;
    ChildLine seen;
    ReadResult result = ReadResult::data;
    while (result == ReadResult::data) {
        if (takeWantedLine(wanted, seen))
            return seen;
        result = readMore(deadline);
    }
    if (result == ReadResult::ended) {
        // A last line without its end.
        std::string last = std::exchange(pending, {});
        if (!last.empty() && wanted(last)) {
            seen.outcome = ChildLine::Outcome::found;
            seen.line = std::move(last);
            return seen;
        }
        seen.before += last;
        seen.outcome = ChildLine::Outcome::ended;
    } else {
        // The start of a line stays for the next call.
        seen.before += pending;
        seen.outcome = ChildLine::Outcome::timedOut;
    }
    return seen;
}

void ChildProcess::State::discardOutput()
{
    if (!output.valid() || drain.joinable())
        return;
    pending.clear();
    // Without a pipe to wake it, the drain ends only when the child's stdout closes.
    drainWake.open();
    drain = std::thread([from = output.get(), wake = drainWake.readEnd.get()] { dropOutput(from, wake); });
}

void ChildProcess::State::stopDraining()
{
    if (!drain.joinable())
        return;
    // Both ends stay open until the drain has ended: the write never meets a closed pipe.
    const char stopNow = 0;
    if (drainWake.writeEnd.valid()) {
        [[maybe_unused]] const auto written = ::write(drainWake.writeEnd.get(), &stopNow, 1);
    }
    drain.join();
    drainWake = Pipe();
}

std::optional<ChildExit> ChildProcess::State::waitForExit(std::chrono::milliseconds limit)
{
    if (pid <= 0)
        return ChildExit{};
    const auto deadline = Clock::now() + limit;
    for (;;) {
        int status = 0;
        const pid_t done = ::waitpid(pid, &status, WNOHANG);
        if (done == pid) {
            pid = -1;
            return exitFromStatus(status);
        }
        if (done < 0 && errno != EINTR) {
            // Reaped by someone else.
            pid = -1;
            return ChildExit{};
        }
        if (Clock::now() >= deadline)
            return std::nullopt;
        std::this_thread::sleep_for(reapInterval);
    }
}

ChildExit ChildProcess::State::stop(std::chrono::milliseconds grace)
{
    // A child that has ended already is only reaped: its pid may be another
    // process's by the time a signal would arrive.
    ChildExit end = waitForExit(std::chrono::milliseconds(0)).value_or(ChildExit{});
    if (pid > 0) {
        ::kill(pid, SIGTERM);
        if (const std::optional<ChildExit> ended = waitForExit(grace)) {
            end = *ended;
        } else {
            ::kill(pid, SIGKILL);
            end = waitForExit(killedReapLimit).value_or(ChildExit{});
            end.killed = true;
            pid = -1;
        }
    }
    // The drain ran during the grace, so that a child writing as it ends never blocks.
    stopDraining();
    output.reset();
    pending.clear();
    return end;
}

std::string ChildProcess::State::errorText() const
{
    std::string text;
    char buffer[4096];
    off_t offset = 0;
    for (;;) {
        const ssize_t got = ::pread(errors.get(), buffer, sizeof buffer, offset);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return text;
        text.append(buffer, static_cast<std::size_t>(got));
        offset += got;
    }
}

ChildProcess::ChildProcess() = default;
ChildProcess::~ChildProcess() = default;
ChildProcess::ChildProcess(ChildProcess &&) noexcept = default;
ChildProcess &ChildProcess::operator=(ChildProcess &&) noexcept = default;

bool ChildProcess::start(const std::string &program, const std::vector<std::string> &arguments,
                         const ChildOptions &options, std::string &error)
{
    if (running()) {
        error = "cannot start " + program + ": the child started before still runs";
        return false;
    }
    auto state = std::make_unique<State>();
    if (!state->launch(program, arguments, options, error))
        return false;
    m_state = std::move(state);
    return true;
}

ChildLine ChildProcess::waitForLine(const std::function<bool(std::string_view)> &wanted,
                                    std::chrono::milliseconds limit)
{
    return m_state ? m_state->waitForLine(wanted, limit) : ChildLine{};
}

ChildLine ChildProcess::waitForLine(std::string_view prefix, std::chrono::milliseconds limit)
{
    return waitForLine([prefix](std::string_view line) { return line.starts_with(prefix); }, limit);
}

void ChildProcess::discardOutput()
{
    if (m_state)
        m_state->discardOutput();
}

std::string ChildProcess::readOutputToEnd(std::chrono::milliseconds limit)
{
    if (!m_state)
        return {};
    const auto deadline = Clock::now() + limit;
    while (m_state->readMore(deadline) == State::ReadResult::data) { }
    // A drain (discardOutput) may still be reading the pipe about to close.
    m_state->stopDraining();
    m_state->output.reset();
    return std::exchange(m_state->pending, {});
}

std::optional<ChildExit> ChildProcess::waitForExit(std::chrono::milliseconds limit)
{
    return m_state ? m_state->waitForExit(limit) : ChildExit{};
}

ChildExit ChildProcess::stop(std::chrono::milliseconds grace)
{
    return m_state ? m_state->stop(grace) : ChildExit{};
}

pid_t ChildProcess::pid() const
{
    return m_state ? m_state->pid : -1;
}

std::string ChildProcess::errors() const
{
    return m_state ? m_state->errorText() : std::string();
}

} // namespace boxhost
