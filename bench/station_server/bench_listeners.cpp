// station-server under a crowd: 500 listeners of 128 kbit/s streams at once
// for 10 s, received by one client thread that watches every socket. Two
// figures from the same run, each held against an absolute target:
//  - streams/500_listeners/cpu: the server's CPU time (user and system) per
//    second of listening over the 10 s, at most one core; its spread is that
//    of the ten one-second windows;
//  - streams/500_listeners/longest_gap: the longest pause between two
//    arrivals on any one listener's connection, under 500 ms; its spread is
//    that of the listeners' own longest gaps;
//  - streams/500_listeners/rate_off_bitrate: how far the slowest or the
//    fastest listener's bytes are off the bitrate, at most 10 %.
// The window opens once every stream has started and its burst is in, so
// that encoding the stations' loops (a one-off cost) is not counted.

#include "support/ratio_report.h"

#include "process_cpu.h"
#include "support/station_server_process.h"

#include <httplib.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::size_t listenerCount = 500;
// Ten listeners a station: the fifty loops fit the server's loop cache.
constexpr std::size_t stationCount = 50;
constexpr auto listeningTime = 10s;
// A smoke run only checks that the crowd can be measured.
constexpr auto smokeListeningTime = 2s;
// Every stream has sent its head within this (fifty loops to encode first).
constexpr auto startLimit = 60s;
// The 2 s burst has arrived within this after a stream's head.
constexpr auto settleTime = 1s;
constexpr double bytesPerSecondAt128 = 128000.0 / 8.0;

struct CrowdFigures
{
    std::string error; // empty when the run went through
    double cpuSecondsPerSecond = 0.0;
    double lowestSecond = 0.0; // the one-second windows' CPU share, lowest and highest
    double highestSecond = 0.0;
    Clock::duration longestGap{};
    Clock::duration shortestLongestGap{}; // the listener whose longest gap was the shortest
    double lowestRate = 0.0; // bytes received over bytes due, the slowest listener
    double highestRate = 0.0; // and the fastest
};

struct Listener
{
    int socket = -1;
    std::string head; // until it is complete
    bool streaming = false;
    bool closed = false;
    Clock::time_point lastArrival;
    Clock::duration longestGap{};
    std::size_t windowBytes = 0;
};

// The ids of the first `count` 128 kbit/s MP3 stations of the top list.
std::vector<std::string> stationsAt128(const StationServerProcess &server, std::size_t count)
{
    httplib::Client client(server.host(), server.port());
    const auto reply = client.Get("/sbin/newxml.phtml?genre=Top&mt=audio/mpeg");
    std::vector<std::string> ids;
    if (!reply || reply->status != 200)
        return ids;
    const std::string &xml = reply->body;
    for (std::size_t at = xml.find("<station "); at != std::string::npos && ids.size() < count;
         at = xml.find("<station ", at + 1)) {
        const std::string element = xml.substr(at, xml.find('>', at) - at);
        const std::size_t id = element.find(" id=\"");
        if (element.find(" br=\"128\"") == std::string::npos || id == std::string::npos)
            continue;
        ids.push_back(element.substr(id + 5, element.find('"', id + 5) - id - 5));
    }
    return ids;
}

int connectTo(int port)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (socket < 0 || connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        if (socket >= 0)
            close(socket);
        return -1;
    }
    fcntl(socket, F_SETFL, fcntl(socket, F_GETFL) | O_NONBLOCK);
    return socket;
}

// The crowd's sockets, all received by the calling thread.
class Crowd
{
public:
    Crowd(const StationServerProcess &server, const std::vector<std::string> &stations)
    {
        listeners_.resize(listenerCount);
        for (std::size_t i = 0; i < listenerCount; ++i) {
            Listener &listener = listeners_[i];
            listener.socket = connectTo(server.port());
            const std::string request = "GET /stream/" + stations[i % stations.size()]
                                        + " HTTP/1.1\r\nHost: 127.0.0.1\r\nIcy-MetaData: 1\r\n\r\n";
            if (listener.socket < 0 || send(listener.socket, request.data(), request.size(), MSG_NOSIGNAL) < 0)
                listener.closed = true;
        }
    }

    ~Crowd()
    {
        for (const Listener &listener : listeners_) {
            if (listener.socket >= 0)
                close(listener.socket);
        }
    }

    Crowd(const Crowd &) = delete;
    Crowd &operator=(const Crowd &) = delete;

    std::size_t streaming() const
    {
        return static_cast<std::size_t>(
            std::count_if(listeners_.begin(), listeners_.end(), [](const Listener &l) { return l.streaming; }));
    }

    bool anyClosed() const
    {
        return std::any_of(listeners_.begin(), listeners_.end(), [](const Listener &l) { return l.closed; });
    }

    // Receives until `until`, or until every stream has started when `untilAllStream`.
    void receive(Clock::time_point until, bool untilAllStream)
    {
        std::vector<pollfd> watched;
        for (const Listener &listener : listeners_)
            watched.push_back(pollfd{listener.closed ? -1 : listener.socket, POLLIN, 0});
        while (Clock::now() < until && !(untilAllStream && streaming() == listeners_.size())) {
            if (poll(watched.data(), watched.size(), 20) <= 0)
                continue;
            const Clock::time_point now = Clock::now();
            for (std::size_t i = 0; i < watched.size(); ++i) {
                if (watched[i].revents != 0 && !take(listeners_[i], now))
                    watched[i].fd = -1;
            }
        }
    }

    // From now on, gaps and bytes count.
    void openWindow(Clock::time_point now)
    {
        for (Listener &listener : listeners_) {
            listener.lastArrival = now;
            listener.longestGap = {};
            listener.windowBytes = 0;
        }
    }

    // Closes the window at `now`; its figures.
    CrowdFigures figuresAt(Clock::time_point now, double windowSeconds) const
    {
        CrowdFigures figures;
        figures.lowestRate = 10.0;
        figures.shortestLongestGap = Clock::duration::max();
        for (const Listener &listener : listeners_) {
            const Clock::duration longest = std::max(listener.longestGap, now - listener.lastArrival);
            figures.longestGap = std::max(figures.longestGap, longest);
            figures.shortestLongestGap = std::min(figures.shortestLongestGap, longest);
            const double rate = static_cast<double>(listener.windowBytes) / (bytesPerSecondAt128 * windowSeconds);
            figures.lowestRate = std::min(figures.lowestRate, rate);
            figures.highestRate = std::max(figures.highestRate, rate);
        }
        return figures;
    }

private:
    // Reads what has arrived; false when the connection has ended.
    static bool take(Listener &listener, Clock::time_point now)
    {
        char chunk[65536];
        const ssize_t got = recv(listener.socket, chunk, sizeof(chunk), 0);
        if (got <= 0) {
            listener.closed = got == 0 || (errno != EAGAIN && errno != EINTR);
            return !listener.closed;
        }
        std::size_t audio = static_cast<std::size_t>(got);
        if (!listener.streaming) {
            listener.head.append(chunk, static_cast<std::size_t>(got));
            const std::size_t end = listener.head.find("\r\n\r\n");
            if (end == std::string::npos) {
                listener.closed = listener.head.size() > sizeof(chunk);
                return !listener.closed;
            }
            // "HTTP/1.0 200 OK"
            listener.streaming = listener.head.find(" 200 ") < listener.head.find("\r\n");
            listener.closed = !listener.streaming;
            if (listener.closed)
                return false;
            audio = listener.head.size() - end - 4;
        }
        listener.longestGap = std::max(listener.longestGap, now - listener.lastArrival);
        listener.lastArrival = now;
        listener.windowBytes += audio;
        return true;
    }

    std::vector<Listener> listeners_;
};

CrowdFigures measureCrowd()
{
    StationServerProcess server({"--log", "/dev/null", "--workers", std::to_string(listenerCount + 64)});
    const std::vector<std::string> stations = stationsAt128(server, stationCount);
    if (stations.empty())
        return CrowdFigures{"the top list has no 128 kbit/s MP3 station"};
    Crowd crowd(server, stations);
    crowd.receive(Clock::now() + startLimit, true);
    if (crowd.streaming() != listenerCount)
        return CrowdFigures{"only " + std::to_string(crowd.streaming()) + " of the streams started"};
    crowd.receive(Clock::now() + settleTime, false);

    const Clock::time_point opened = Clock::now();
    const double cpuBefore = cpuSecondsOf(server.pid());
    crowd.openWindow(opened);
    // One second at a time, for the spread of the CPU share.
    std::vector<double> perSecond;
    const Clock::time_point end = opened + (bench::judging() ? listeningTime : smokeListeningTime);
    Clock::time_point secondStarted = opened;
    double cpuAtSecond = cpuBefore;
    while (secondStarted < end) {
        crowd.receive(std::min(secondStarted + 1s, end), false);
        const Clock::time_point now = Clock::now();
        const double cpuNow = cpuSecondsOf(server.pid());
        perSecond.push_back((cpuNow - cpuAtSecond) / std::chrono::duration<double>(now - secondStarted).count());
        secondStarted = now;
        cpuAtSecond = cpuNow;
    }
    const Clock::time_point closed = Clock::now();
    const double cpu = cpuSecondsOf(server.pid()) - cpuBefore;
    const double windowSeconds = std::chrono::duration<double>(closed - opened).count();
    CrowdFigures figures = crowd.figuresAt(closed, windowSeconds);
    if (crowd.anyClosed())
        figures.error = "the server closed a stream";
    figures.cpuSecondsPerSecond = cpu / windowSeconds;
    const auto [lowest, highest] = std::minmax_element(perSecond.begin(), perSecond.end());
    figures.lowestSecond = *lowest;
    figures.highestSecond = *highest;
    std::printf(
        "crowd: %zu listeners on %zu stations for %.1f s: %.0f%% of one core, longest gap %lld ms, slowest "
        "listener %.2fx the bitrate, fastest %.2fx\n",
        listenerCount, stations.size(), windowSeconds, figures.cpuSecondsPerSecond * 100.0,
        static_cast<long long>(std::chrono::duration_cast<std::chrono::milliseconds>(figures.longestGap).count()),
        figures.lowestRate, figures.highestRate);
    return figures;
}

double milliseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

void reportCrowd()
{
    const CrowdFigures figures = measureCrowd();
    if (!figures.error.empty()) {
        bench::reportNotMeasured("streams/500_listeners/cpu", figures.error, "<= 1.00 cores");
        bench::reportNotMeasured("streams/500_listeners/longest_gap", figures.error, "< 500.00 ms");
        bench::reportNotMeasured("streams/500_listeners/rate_off_bitrate", figures.error, "<= 10.00 %");
        return;
    }
    bench::reportFigure(bench::Figure{
        "streams/500_listeners/cpu", figures.cpuSecondsPerSecond, figures.lowestSecond, figures.highestSecond, "cores",
        1.0, false, "the server's CPU time per second of listening; spread of its one-second windows"});
    bench::reportFigure(bench::Figure{"streams/500_listeners/longest_gap", milliseconds(figures.longestGap),
                                      milliseconds(figures.shortestLongestGap), milliseconds(figures.longestGap), "ms",
                                      500.0, true,
                                      "the longest pause on any connection; spread of each one's longest"});
    const double slowest = (figures.lowestRate - 1.0) * 100.0;
    const double fastest = (figures.highestRate - 1.0) * 100.0;
    bench::reportFigure(bench::Figure{"streams/500_listeners/rate_off_bitrate",
                                      std::max(std::abs(slowest), std::abs(fastest)), slowest, fastest, "%", 10.0,
                                      false,
                                      "the listener farthest off the bitrate; spread from the slowest to the "
                                      "fastest"});
}

const bool registered = [] {
    bench::registerMeasurement("streams/500_listeners", reportCrowd);
    return true;
}();

} // namespace
