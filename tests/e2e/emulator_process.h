#ifndef TARNWAVE_TESTS_E2E_EMULATOR_PROCESS_H
#define TARNWAVE_TESTS_E2E_EMULATOR_PROCESS_H

// The built box-emulator, running headless for one test: in a temporary box
// root, on a free loopback port; the constructor returns once it listens, and
// the destructor stops it (SIGTERM, then SIGKILL) and reaps it, so that no
// test leaves a process behind. Throws std::runtime_error when it does not
// start.

#include "support/program_run.h"
#include "support/temp_dir.h"
#include "system/child_process.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

// Where the build put the programs and the test plug-ins.
std::string emulatorBinary();
std::string testPluginPath(); // the small test plug-in (one window)
std::string noEntryPluginPath(); // a shared library without gPlugin_exec

// A --directory that nothing answers at, for tests that make no request.
inline const char *unusedDirectory = "http://127.0.0.1:9";

// What the box holds before the emulator starts on it, as a user's box would.
struct BoxContents
{
    // Integer keys of the configuration store ("/tarnwave/autohide" = 61, ...).
    std::map<std::string, int> settings;
    // The favourites file, as its bytes; empty: no file.
    std::string favourites;
};

struct HttpReply
{
    int status = -1; // -1: no reply
    std::string body;
    std::string contentType;
};

class EmulatorProcess
{
public:
    // Starts "box-emulator --headless --root TEMP --listen 127.0.0.1:0" and
    // `arguments`, on a box root that holds `contents`.
    explicit EmulatorProcess(std::vector<std::string> arguments, const BoxContents &contents = {});
    ~EmulatorProcess();
    EmulatorProcess(const EmulatorProcess &) = delete;
    EmulatorProcess &operator=(const EmulatorProcess &) = delete;

    int port() const { return m_port; }
    pid_t pid() const { return m_emulator.pid(); }
    const TempDir &root() const { return m_root; }
    // Where a box path ("/var/tuxbox/config/genrelist.xml") lies on this PC.
    std::string boxFile(const std::string &boxPath) const;

    HttpReply get(const std::string &path) const;
    HttpReply post(const std::string &path, const std::string &body = "") const;
    // A GET or POST with these extra headers (a "Host" among them replaces the
    // one the client would send).
    using Headers = std::vector<std::pair<std::string, std::string>>;
    HttpReply send(const std::string &method, const std::string &path, const Headers &headers,
                   const std::string &body = "") const;

    // Polls GET `path` until its body contains `text`; false after `limit`.
    bool waitForBody(const std::string &path, const std::string &text,
                     std::chrono::milliseconds limit = std::chrono::seconds(5)) const;

    // SIGTERM and waits: the exit status, 128 + signal, or -1 when it had to
    // be killed after `limit`.
    int stop(std::chrono::milliseconds limit = std::chrono::seconds(10));
    // Waits for the emulator to end by itself (after a signal the test sent):
    // its exit status as for stop(), or nothing after `limit`.
    std::optional<int> waitForExit(std::chrono::milliseconds limit = std::chrono::seconds(10));
    // What the emulator wrote to stderr.
    std::string errors() const;

private:
    TempDir m_root;
    boxhost::ChildProcess m_emulator;
    int m_port = 0;
};

// How a run of box-emulator that ends by itself went; the status is -1 when
// it had to be killed after the limit.
using EmulatorExit = ProgramExit;

// Runs box-emulator with exactly `arguments` until it ends by itself.
EmulatorExit runEmulatorToExit(const std::vector<std::string> &arguments,
                               std::chrono::milliseconds limit = std::chrono::seconds(20));

// Waits up to `limit` for the process to be gone (or a zombie that is not ours
// to reap); true when it is.
bool processGone(pid_t pid, std::chrono::milliseconds limit = std::chrono::seconds(3));

// The children of a process (from /proc), for checking what it started.
std::vector<pid_t> childrenOf(pid_t pid);

#endif
