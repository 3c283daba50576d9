#ifndef TARNWAVE_TESTS_SUPPORT_STATION_SERVER_PROCESS_H
#define TARNWAVE_TESTS_SUPPORT_STATION_SERVER_PROCESS_H

#include "support/program_run.h"
#include "system/child_process.h"

#include <chrono>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

// The built station-server, running for one test: started on a free loopback
// port ("--listen 127.0.0.1:0" unless the arguments say otherwise) with its
// access log and messages kept for log(); the constructor returns
// once it listens, and the destructor stops it with SIGTERM and reaps it.
// Throws std::runtime_error (with the server's own words) when it does not
// start.
class StationServerProcess
{
public:
    explicit StationServerProcess(std::vector<std::string> arguments = {});
    ~StationServerProcess();
    StationServerProcess(const StationServerProcess &) = delete;
    StationServerProcess &operator=(const StationServerProcess &) = delete;

    const std::string &host() const { return host_; }
    int port() const { return port_; }
    // "http://127.0.0.1:PORT", no slash at the end.
    std::string baseUrl() const;
    pid_t pid() const { return server_.pid(); }

    // Spoils the requests for `path` (exact, or a prefix ending in "*") with
    // the fault `kind` (see station-server --help), for `times` requests or,
    // with 0, until cleared. `dropAfter`: how long a "drop" plays before the
    // connection closes (the server's default when not given). Throws when
    // the server refuses.
    void addFault(const std::string &path, const std::string &kind, int times = 0,
                  std::optional<std::chrono::milliseconds> dropAfter = std::nullopt);
    void clearFaults();

    // Sends SIGTERM and waits for the exit: the exit status, 128 + the signal
    // when a signal ended it, or -1 when it had to be killed after `limit`.
    int stop(std::chrono::milliseconds limit = std::chrono::seconds(10));
    // Waits for an exit that something else caused (a signal the test sent):
    // the exit status as stop() gives it, or nothing while it still runs
    // after `limit`. The process is reaped here, never by the test itself.
    std::optional<int> waitForExit(std::chrono::milliseconds limit = std::chrono::seconds(5));
    bool running() const { return server_.running(); }
    // Everything the server wrote to stderr (its messages and access log).
    std::string log() const;
    // Waits until the log holds `text` (a stream's access log line, for
    // example, is written when the stream has ended); false after `limit`.
    bool waitForLog(const std::string &text, std::chrono::milliseconds limit = std::chrono::seconds(5)) const;

    // A request target as the access log shows it: quotes and backslashes
    // escaped.
    static std::string asLogged(const std::string &target)
    {
        std::string logged;
        for (const char c : target) {
            if (c == '"' || c == '\\')
                logged += '\\';
            logged += c;
        }
        return logged;
    }

    // Where the build put the station-server program.
    static std::string binaryPath();

private:
    void waitUntilListening(std::chrono::milliseconds limit);

    boxhost::ChildProcess server_;
    std::string host_ = "127.0.0.1";
    int port_ = 0;
};

// The outcome of a station-server run that is expected to end by itself (bad
// arguments, a busy port, a broken catalogue, --help); the status is -1 when
// it had to be killed after `limit`.
using StationServerExit = ProgramExit;

StationServerExit runStationServerToExit(const std::vector<std::string> &arguments,
                                         std::chrono::milliseconds limit = std::chrono::seconds(10));

// Sends one request over a fresh connection to a loopback port and returns
// the status code of the reply, or -1 when none came. For tests that need no
// HTTP library.
int plainHttpRequest(int port, const std::string &method, const std::string &target);

#endif
