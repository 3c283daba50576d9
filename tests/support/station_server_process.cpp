#include "support/station_server_process.h"

#include "support/sanitizer_report.h"

#include <arpa/inet.h>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <netinet/in.h>
#include <optional>
#include <stdexcept>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds startLimit(30);
constexpr std::string_view readyMessage = "station-server: listening on http://";

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
    server_ = startProgram(binaryPath(), arguments);
    waitUntilListening(startLimit);
    // What it prints later is read and dropped, so that it never blocks on a full pipe.
    server_.discardOutput();
}

StationServerProcess::~StationServerProcess()
{
    if (running())
        stop();
    // A finding of the sanitizers in the server fails the test (or benchmark)
    // that started it; this support code serves programs without GoogleTest too.
    if (const std::string report = sanitizerReport(log()); !report.empty()) {
        std::fprintf(stderr, "station-server had a sanitizer finding:\n%s\n", report.c_str());
        std::abort();
    }
}

void StationServerProcess::waitUntilListening(std::chrono::milliseconds limit)
{
    const boxhost::ChildLine ready = server_.waitForLine(readyMessage, limit);
    const std::string said = ready.before.empty() ? "" : "; it said:\n" + ready.before;
    if (ready.outcome == boxhost::ChildLine::Outcome::timedOut)
        throw std::runtime_error("station-server did not start listening in time" + said + "; its log:\n" + log());
    if (!ready.found()) {
        // Give the messages a moment to reach the log.
        server_.waitForExit(std::chrono::seconds(5));
        throw std::runtime_error("station-server ended before listening" + said + "; its log:\n" + log());
    }
    const std::string &line = ready.line;
    const std::size_t colon = line.rfind(':');
    if (colon == std::string::npos || colon < readyMessage.size())
        throw std::runtime_error("station-server said \"" + line + "\" instead of where it listens");
    host_ = line.substr(readyMessage.size(), colon - readyMessage.size());
    port_ = std::stoi(line.substr(colon + 1));
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
    return exitStatusOf(server_.stop(limit));
}

std::optional<int> StationServerProcess::waitForExit(std::chrono::milliseconds limit)
{
    if (!running())
        return std::nullopt;
    const std::optional<boxhost::ChildExit> end = server_.waitForExit(limit);
    if (!end)
        return std::nullopt;
    return exitStatusOf(*end);
}

std::string StationServerProcess::log() const
{
    return server_.errors();
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
    // One that goes on after closing its stdout has 5 s to end, then is killed.
    return runProgramToExit(StationServerProcess::binaryPath(), arguments, limit, std::chrono::seconds(5),
                            std::chrono::milliseconds(0));
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
