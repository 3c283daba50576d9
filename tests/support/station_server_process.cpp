#include "support/station_server_process.h"

#include "support/sanitizer_report.h"

#include <arpa/inet.h>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char **environ;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds startLimit(30);
constexpr std::string_view readyMessage = "station-server: listening on http://";

struct SpawnedServer
{
    pid_t pid = -1;
    int output = -1;
};

// Starts the program with stdout on a pipe and stderr into `errorFile`.
SpawnedServer spawnServer(const std::vector<std::string> &arguments, const std::string &errorFile)
{
    int pipeEnds[2];
    if (pipe2(pipeEnds, O_CLOEXEC) != 0)
        throw std::runtime_error("cannot create a pipe for station-server");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);

    const std::string program = StationServerProcess::binaryPath();
    std::vector<std::string> all{program};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char *> argv;
    for (std::string &argument : all)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    SpawnedServer spawned;
    const int failed = posix_spawn(&spawned.pid, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeEnds[1]);
    if (failed != 0) {
        close(pipeEnds[0]);
        throw std::runtime_error("cannot start " + program + ": " + std::strerror(failed));
    }
    spawned.output = pipeEnds[0];
    return spawned;
}

// Waits for the process to end within `limit`; its status as described for
// stop(), or nullopt when it still runs.
std::optional<int> reap(pid_t pid, std::chrono::milliseconds limit)
{
    const auto deadline = Clock::now() + limit;
    for (;;) {
        int status = 0;
        const pid_t done = waitpid(pid, &status, WNOHANG);
        if (done == pid) {
            if (WIFEXITED(status))
                return WEXITSTATUS(status);
            if (WIFSIGNALED(status))
                return 128 + WTERMSIG(status);
            return -1;
        }
        if (done < 0 && errno != EINTR)
            return -1;
        if (Clock::now() > deadline)
            return std::nullopt;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

int killAndReap(pid_t pid, std::chrono::milliseconds limit)
{
    if (const auto status = reap(pid, limit))
        return *status;
    kill(pid, SIGKILL);
    reap(pid, std::chrono::seconds(10));
    return -1;
}

std::string readAll(int fd)
{
    std::string text;
    char chunk[4096];
    ssize_t got = 0;
    while ((got = read(fd, chunk, sizeof(chunk))) > 0)
        text.append(chunk, static_cast<std::size_t>(got));
    return text;
}

} // namespace

std::string StationServerProcess::binaryPath()
{
    return TARNWAVE_BINARY_DIR "/station-server/station-server";
}

StationServerProcess::StationServerProcess(std::vector<std::string> arguments)
{
    bool listenGiven = false;
    for (const std::string &argument : arguments)
        listenGiven = listenGiven || argument.starts_with("--listen");
    if (!listenGiven) {
        arguments.insert(arguments.begin(), "127.0.0.1:0");
        arguments.insert(arguments.begin(), "--listen");
    }
    const SpawnedServer spawned = spawnServer(arguments, directory_.file("server.log").string());
    pid_ = spawned.pid;
    output_ = spawned.output;
    try {
        waitUntilListening(startLimit);
    } catch (...) {
        stop();
        close(output_);
        throw;
    }
}

StationServerProcess::~StationServerProcess()
{
    if (running())
        stop();
    if (output_ >= 0)
        close(output_);
    // A finding of the sanitizers in the server fails the test (or benchmark)
    // that started it; this support code serves programs without GoogleTest too.
    if (const std::string report = sanitizerReport(log()); !report.empty()) {
        std::fprintf(stderr, "station-server had a sanitizer finding:\n%s\n", report.c_str());
        std::abort();
    }
}

void StationServerProcess::waitUntilListening(std::chrono::milliseconds limit)
{
    const auto deadline = Clock::now() + limit;
    std::string seen;
    for (;;) {
        const std::size_t lineEnd = seen.find('\n');
        if (lineEnd != std::string::npos) {
            const std::string line = seen.substr(0, lineEnd);
            const std::size_t at = line.find(readyMessage);
            const std::size_t colon = line.rfind(':');
            if (at == std::string::npos || colon == std::string::npos)
                throw std::runtime_error("station-server said \"" + line + "\" instead of where it listens");
            host_ = line.substr(at + readyMessage.size(), colon - at - readyMessage.size());
            port_ = std::stoi(line.substr(colon + 1));
            return;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0)
            throw std::runtime_error("station-server did not start listening in time; its log:\n" + log());
        pollfd watched{output_, POLLIN, 0};
        if (poll(&watched, 1, static_cast<int>(left.count())) <= 0)
            continue;
        char chunk[512];
        const ssize_t got = read(output_, chunk, sizeof(chunk));
        if (got <= 0) {
            // Give the messages a moment to reach the log file.
            reap(pid_, std::chrono::seconds(5));
            pid_ = -1;
            throw std::runtime_error("station-server ended before listening; its log:\n" + log());
        }
        seen.append(chunk, static_cast<std::size_t>(got));
    }
}

std::string StationServerProcess::baseUrl() const
{
    return "http://" + host_ + ":" + std::to_string(port_);
}

void StationServerProcess::addFault(const std::string &path, const std::string &kind, int times,
                                    std::optional<std::chrono::milliseconds> dropAfter)
{
    // The path goes into a query: a few characters need encoding.
    std::string encodedPath;
    for (const char c : path) {
        if (c == '*' || c == '/' || c == '.' || c == '-' || c == '_' || std::isalnum(static_cast<unsigned char>(c)))
            encodedPath += c;
        else {
            char escape[4];
            std::snprintf(escape, sizeof(escape), "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
            encodedPath += escape;
        }
    }
    std::string target = "/control/fault?path=" + encodedPath + "&kind=" + kind;
    if (times > 0)
        target += "&times=" + std::to_string(times);
    if (dropAfter) {
        char seconds[32];
        std::snprintf(seconds, sizeof(seconds), "%.3f", static_cast<double>(dropAfter->count()) / 1000.0);
        target += "&seconds=" + std::string(seconds);
    }
    const int status = plainHttpRequest(port_, "POST", target);
    if (status != 200)
        throw std::runtime_error("station-server refused the fault " + path + "=" + kind + " (status "
                                 + std::to_string(status) + ")");
}

void StationServerProcess::clearFaults()
{
    const int status = plainHttpRequest(port_, "DELETE", "/control/faults");
    if (status != 200)
        throw std::runtime_error("station-server did not clear its faults (status " + std::to_string(status) + ")");
}

int StationServerProcess::stop(std::chrono::milliseconds limit)
{
    if (!running())
        return -1;
    kill(pid_, SIGTERM);
    const int status = killAndReap(pid_, limit);
    pid_ = -1;
    return status;
}

std::string StationServerProcess::log() const
{
    return readFile(directory_.path() / "server.log");
}

bool StationServerProcess::waitForLog(const std::string &text, std::chrono::milliseconds limit) const
{
    const auto deadline = Clock::now() + limit;
    while (log().find(text) == std::string::npos) {
        if (Clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

StationServerExit runStationServerToExit(const std::vector<std::string> &arguments, std::chrono::milliseconds limit)
{
    TempDir directory;
    const std::string errorFile = directory.file("errors.txt").string();
    const SpawnedServer spawned = spawnServer(arguments, errorFile);
    // Reading to the end also ends when the program ends.
    pollfd watched{spawned.output, POLLIN, 0};
    StationServerExit outcome;
    const auto deadline = Clock::now() + limit;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0 || poll(&watched, 1, static_cast<int>(left.count())) <= 0)
            break;
        char chunk[4096];
        const ssize_t got = read(spawned.output, chunk, sizeof(chunk));
        if (got <= 0)
            break;
        outcome.output.append(chunk, static_cast<std::size_t>(got));
    }
    close(spawned.output);
    // Its stdout closed because it ended, or the time is up: a program still
    // running after that is killed.
    outcome.status = killAndReap(spawned.pid, std::chrono::seconds(5));
    outcome.errors = readFile(errorFile);
    return outcome;
}

int plainHttpRequest(int port, const std::string &method, const std::string &target)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return -1;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    timeval timeout{10, 0};
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
    setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof(timeout));
    if (connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        close(socket);
        return -1;
    }
    const std::string request = method + " " + target + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port)
                                + "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    if (send(socket, request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size())) {
        close(socket);
        return -1;
    }
    const std::string reply = readAll(socket);
    close(socket);
    // "HTTP/1.1 200 OK"
    if (reply.size() < 12 || !reply.starts_with("HTTP/"))
        return -1;
    return std::atoi(reply.substr(reply.find(' ') + 1, 3).c_str());
}
