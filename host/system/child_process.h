#ifndef TARNWAVE_HOST_SYSTEM_CHILD_PROCESS_H
#define TARNWAVE_HOST_SYSTEM_CHILD_PROCESS_H

// A program run as a child by the programs around the box (the emulator, the
// tests), never by a plug-in. The child gets /dev/null as stdin, a pipe as
// stdout and a file as stderr, and nothing else of its parent's descriptors.
// The parent reads stdout line by line (a "ready" line, say) and can then have
// it drained, so that the child never blocks on a full pipe; stderr stays
// readable at any time, after the child has ended too. stop() asks with
// SIGTERM, kills with SIGKILL after a grace and reaps; the destructor does the
// same (3 s grace) for a child still running. Not thread-safe: one thread
// drives a ChildProcess. POSIX and Linux's libc only, so it builds for the box.

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace boxhost {

struct ChildOptions
{
    // Added to the parent's environment, each replacing a variable of the same name.
    std::vector<std::pair<std::string, std::string>> environment;
    // Where the child starts; empty: the parent's working directory.
    std::string workingDirectory;
    // The child gets SIGTERM when the parent ends, even when it is killed
    // (Linux counts the thread that started it: start from a lasting one).
    bool stopWithParent = false;
    // The file that the child's stderr is appended to, created when missing;
    // empty: an unnamed temporary file that goes with the ChildProcess.
    std::string errorFile;
};

// How a child ended.
struct ChildExit
{
    bool known = false; // false: it was reaped elsewhere, or not at all
    int code = -1; // its exit status, when it exited
    int signal = 0; // the signal that ended it, else 0
    bool killed = false; // it outlived the grace of stop() and got SIGKILL

    // As a shell says it: the exit status, 128 + the signal, or -1 when not known.
    int shellStatus() const;
};

// What waitForLine() saw.
struct ChildLine
{
    enum class Outcome { found, timedOut, ended };
    Outcome outcome = Outcome::ended;
    std::string line; // the line found, without its end
    std::string before; // what the child wrote before it, or all it wrote when none came

    bool found() const { return outcome == Outcome::found; }
};

class ChildProcess
{
public:
    ChildProcess();
    ~ChildProcess();
    ChildProcess(ChildProcess &&) noexcept;
    ChildProcess &operator=(ChildProcess &&) noexcept;

    // Runs `program` (a path: PATH is not searched) with `arguments` after
    // its name. Returns once the program runs, or false with the reason in
    // `error` ("cannot start PROGRAM: ...") when it does not: missing, not
    // executable, the working directory or the error file unusable. Refused
    // while an earlier child still runs.
    bool start(const std::string &program, const std::vector<std::string> &arguments, const ChildOptions &options,
               std::string &error);

    // Reads the child's stdout until a line that `wanted` accepts (lines
    // before it are passed over), the child closes its stdout, or `limit`
    // passes. A last line without its end counts when stdout closes.
    ChildLine waitForLine(const std::function<bool(std::string_view)> &wanted, std::chrono::milliseconds limit);
    // The same for the first line that starts with `prefix`.
    ChildLine waitForLine(std::string_view prefix, std::chrono::milliseconds limit);
    // From now on a thread of its own reads the child's stdout and drops it.
    void discardOutput();
    // Everything the child writes to stdout until it closes it or `limit`
    // passes; then the pipe is closed (a child writing more gets SIGPIPE).
    std::string readOutputToEnd(std::chrono::milliseconds limit);

    // Waits up to `limit` for the child to end by itself and reaps it: how it
    // ended, or nothing while it still runs. Without a child: an unknown end.
    std::optional<ChildExit> waitForExit(std::chrono::milliseconds limit);
    // SIGTERM, up to `grace` for the child to end, then SIGKILL; reaps it and
    // closes its stdout. Without a child: an unknown end.
    ChildExit stop(std::chrono::milliseconds grace);

    // -1 when no child runs (none started, or reaped).
    pid_t pid() const;
    // Started and not yet reaped.
    bool running() const { return pid() > 0; }
    // All of the child's stderr file so far.
    std::string errors() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace boxhost

#endif
