// Clients that hold connections without finishing a request: 150 that send
// nothing and 150 that send their request head a byte at a time must not keep
// a normal client waiting: it is answered while they are all still open. Every
// request has a deadline (408 or a silent close when it passes), a head has a
// size limit, and such connections do not delay a stop. How long the answer
// takes beside them is measured by bench_station_server
// (directory/genre_list_beside_slow_clients).

#include "raw_http.h"
#include "slow_clients.h"
#include "support/station_server_process.h"
#include "xml_document.h"

#include <gtest/gtest.h>

#include <memory>
#include <sys/resource.h>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::size_t slowClientCount = 150;
// The deadline that the slow clients get where a test needs them to stay:
// a request that waited for them to be dropped would wait this long.
constexpr auto patientDeadline = "60";
// How long a normal request may take beside them: generous (the server
// answers within milliseconds), and far below the patient deadline, so that
// an answer within it came while the slow clients were still there.
constexpr auto answerLimit = 15s;
// The deadline the deadline tests give the server (--request-timeout), and
// the generous bound within which they expect it to act.
constexpr auto shortDeadline = 1s;
constexpr auto shortDeadlineBound = 5s;

std::string stationId(const StationServerProcess &server)
{
    const auto stations = parseXml(httpGet(server.port(), "/sbin/newxml.phtml?genre=Top&limit=1").body).all("station");
    if (stations.empty())
        throw std::runtime_error("the top list is empty");
    return stations.front().at("id");
}

struct TimedReply
{
    HttpReply reply;
    Clock::duration took{};
};

TimedReply timedGet(const StationServerProcess &server, const std::string &target)
{
    const Clock::time_point start = Clock::now();
    TimedReply timed;
    timed.reply = httpGet(server.port(), target, {}, answerLimit);
    timed.took = Clock::now() - start;
    return timed;
}

long long millisecondsOf(Clock::duration duration)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
}

// The genre list and a playlist are answered within the generous limit.
void expectDirectoryAndPlaylistAnswered(const StationServerProcess &server, const std::string &id)
{
    const TimedReply genres = timedGet(server, "/sbin/newxml.phtml");
    EXPECT_EQ(genres.reply.status, 200);
    EXPECT_NE(genres.reply.body.find("<genrelist>"), std::string::npos);
    EXPECT_LT(genres.took, answerLimit) << "the genre list took " << millisecondsOf(genres.took) << " ms";

    const TimedReply playlist = timedGet(server, "/sbin/tunein-station.pls?id=" + id);
    EXPECT_EQ(playlist.reply.status, 200);
    EXPECT_NE(playlist.reply.body.find("[playlist]"), std::string::npos);
    EXPECT_LT(playlist.took, answerLimit) << "the playlist took " << millisecondsOf(playlist.took) << " ms";
}

// None of `idle` has been closed by the server.
void expectAllStillOpen(const std::vector<std::unique_ptr<RawConnection>> &idle)
{
    std::size_t closed = 0;
    for (const auto &connection : idle)
        closed += connection->receiveUntilClosed(0ms) ? 1u : 0u;
    EXPECT_EQ(closed, 0u) << "the answers waited until slow clients were dropped";
}

// Sends `head` a byte every `pause` until the server answers or closes, then
// receives until it closes.
void trickleUntilAnswered(RawConnection &connection, const std::string &head, std::chrono::milliseconds pause)
{
    for (const char byte : head) {
        try {
            connection.send(std::string(1, byte));
        } catch (const std::runtime_error &) {
            break;
        }
        if (connection.receiveUntilClosed(pause))
            break;
    }
    connection.receiveUntilClosed(shortDeadlineBound);
}

} // namespace

TEST(StationServerSlowClients, DirectoryAndPlaylistAreAnsweredWhileIdleConnectionsWait)
{
    StationServerProcess server({"--request-timeout", patientDeadline});
    const std::string id = stationId(server);
    const auto idle = openIdleConnections(server, slowClientCount);
    std::this_thread::sleep_for(300ms); // the server has taken them
    expectDirectoryAndPlaylistAnswered(server, id);
    expectAllStillOpen(idle);
}

TEST(StationServerSlowClients, DirectoryAndPlaylistAreAnsweredWhileTricklingConnectionsWait)
{
    StationServerProcess server({"--request-timeout", patientDeadline});
    const std::string id = stationId(server);
    TricklingClients trickling(server, slowClientCount, 100ms);
    std::this_thread::sleep_for(500ms); // every one has sent a few bytes
    ASSERT_GT(trickling.bytesSent(), slowClientCount);
    expectDirectoryAndPlaylistAnswered(server, id);
    EXPECT_EQ(trickling.closedByServer(), 0u) << "the answers waited until slow clients were dropped";
}

TEST(StationServerSlowClients, BeyondTheWaitingLimitTheLongestWaitingConnectionMakesRoom)
{
    // The server keeps at most 1024 connections waiting for a request, or
    // half its descriptors when that is less; it inherits ours.
    constexpr std::size_t crowd = 1100;
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = std::max<rlim_t>(files.rlim_cur, std::min<rlim_t>(files.rlim_max, 4096));
    setrlimit(RLIMIT_NOFILE, &files);
    if (files.rlim_cur < 2 * crowd + 100)
        GTEST_SKIP() << "too few file descriptors allowed: " << files.rlim_cur;

    StationServerProcess server({"--request-timeout", "60"});
    const std::string id = stationId(server);
    std::vector<std::unique_ptr<RawConnection>> idle;
    for (std::size_t i = 0; i < crowd; ++i)
        idle.push_back(std::make_unique<RawConnection>(server.port()));
    EXPECT_TRUE(idle.front()->receiveUntilClosed(shortDeadlineBound)) << "the first one still waits";
    expectDirectoryAndPlaylistAnswered(server, id);
    EXPECT_FALSE(idle.back()->receiveUntilClosed(100ms)) << "the last one was closed";
}

TEST(StationServerSlowClients, RequestsBeyondTheWorkersQueueAreAnswered503)
{
    // Two workers, both playing a stream; 256 whole requests may wait for
    // them, and the rest are refused at once.
    StationServerProcess server({"--workers", "2"});
    const std::string id = stationId(server);
    std::vector<std::unique_ptr<RawConnection>> streams;
    for (int i = 0; i < 2; ++i) {
        streams.push_back(std::make_unique<RawConnection>(server.port()));
        streams.back()->send("GET /stream/" + id + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
        ASSERT_TRUE(streams.back()->receiveHead(shortDeadlineBound));
    }
    constexpr std::size_t requests = 300;
    std::vector<std::unique_ptr<RawConnection>> pings;
    for (std::size_t i = 0; i < requests; ++i) {
        pings.push_back(std::make_unique<RawConnection>(server.port()));
        pings.back()->send("GET /control/ping HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n");
    }
    // Refused while both workers still play their endless streams.
    ASSERT_TRUE(pings.back()->receiveUntilClosed(answerLimit)) << "no refusal";
    EXPECT_EQ(parseHttpReply(pings.back()->received()).status, 503);

    streams.clear(); // the workers are free again
    std::size_t served = 0;
    std::size_t refused = 0;
    for (const auto &ping : pings) {
        ping->receiveUntilClosed(shortDeadlineBound);
        const int status = parseHttpReply(ping->received()).status;
        served += status == 200 ? 1 : 0;
        refused += status == 503 ? 1 : 0;
    }
    EXPECT_EQ(served, 256u);
    EXPECT_EQ(refused, requests - 256);
}

TEST(StationServerSlowClients, IdleConnectionIsClosedAtItsDeadline)
{
    StationServerProcess server({"--request-timeout", "1"});
    RawConnection idle(server.port());
    const Clock::time_point start = Clock::now();
    ASSERT_TRUE(idle.receiveUntilClosed(shortDeadlineBound)) << "still open";
    EXPECT_GE(Clock::now() - start, shortDeadline / 2) << "closed long before its deadline";
    EXPECT_EQ(idle.received(), "") << "no request, no answer";
}

TEST(StationServerSlowClients, KeptAliveConnectionIsClosedAtItsDeadline)
{
    StationServerProcess server({"--request-timeout", "1"});
    RawConnection connection(server.port());
    connection.send("GET /control/ping HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    ASSERT_TRUE(connection.receiveHead(shortDeadlineBound));
    EXPECT_TRUE(connection.receiveUntilClosed(shortDeadlineBound)) << "still open";
    const HttpReply reply = parseHttpReply(connection.received());
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body, "pong\n");
}

TEST(StationServerSlowClients, TrickledHeadPastItsDeadlineIsAnswered408)
{
    StationServerProcess server({"--request-timeout", "1"});
    RawConnection connection(server.port());
    const Clock::time_point start = Clock::now();
    trickleUntilAnswered(connection, endlessHead(), 100ms);
    EXPECT_TRUE(connection.closedByServer());
    EXPECT_LT(Clock::now() - start, shortDeadlineBound);
    const HttpReply reply = parseHttpReply(connection.received());
    EXPECT_EQ(reply.status, 408) << connection.received();
    EXPECT_EQ(reply.header("connection"), "close");
    // Logged with the request line as far as it came.
    EXPECT_TRUE(server.waitForLog("\" 408 ")) << server.log();
    EXPECT_NE(server.log().find(" \"GET /"), std::string::npos) << server.log();
}

TEST(StationServerSlowClients, TrickledHeadWithinItsDeadlineIsServed)
{
    StationServerProcess server({"--request-timeout", "3"});
    RawConnection connection(server.port());
    // 66 bytes, 20 ms apart: about 1.3 s.
    trickleUntilAnswered(connection, "GET /control/ping HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n",
                         20ms);
    const HttpReply reply = parseHttpReply(connection.received());
    EXPECT_EQ(reply.status, 200) << connection.received();
    EXPECT_EQ(reply.body, "pong\n");
}

TEST(StationServerSlowClients, HeadAboveTheSizeLimitIsRefused)
{
    StationServerProcess server;
    const HttpReply large = httpGet(server.port(), "/control/ping", {"X-Filler: " + std::string(10 * 1024, 'a')});
    EXPECT_EQ(large.status, 431);
    const HttpReply manyLines =
        httpGet(server.port(), "/control/ping", std::vector<std::string>(200, "X-Filler: " + std::string(50, 'b')));
    EXPECT_EQ(manyLines.status, 431);
    // Below the limit, a large head is served.
    const HttpReply allowed = httpGet(server.port(), "/control/ping", {"X-Filler: " + std::string(6 * 1024, 'c')});
    EXPECT_EQ(allowed.status, 200);
    EXPECT_EQ(allowed.body, "pong\n");
}

TEST(StationServerSlowClients, BodyAboveTheSizeLimitIsRefused)
{
    StationServerProcess server;
    RawConnection connection(server.port());
    connection.send("POST /control/fault?path=/x&kind=close HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: "
                    "100000000\r\n\r\n");
    connection.receiveUntilClosed(shortDeadlineBound);
    EXPECT_EQ(parseHttpReply(connection.received()).status, 413) << connection.received();
}

TEST(StationServerSlowClients, PipelinedRequestsAreAllAnswered)
{
    StationServerProcess server;
    RawConnection connection(server.port());
    connection.send("GET /control/ping HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"
                    "GET /control/ping HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"
                    "GET /control/ping HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n");
    EXPECT_TRUE(connection.receiveUntilClosed(shortDeadlineBound));
    const std::string &received = connection.received();
    std::size_t replies = 0;
    for (std::size_t at = received.find("HTTP/1.1 200"); at != std::string::npos;
         at = received.find("HTTP/1.1 200", at + 1))
        ++replies;
    EXPECT_EQ(replies, 3u) << received;
}

TEST(StationServerSlowClients, StopsWithoutWaitingForSlowConnections)
{
    StationServerProcess server({"--request-timeout", patientDeadline});
    const auto idle = openIdleConnections(server, slowClientCount);
    TricklingClients trickling(server, slowClientCount, 100ms);
    std::this_thread::sleep_for(500ms);
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(server.stop(std::chrono::duration_cast<std::chrono::milliseconds>(answerLimit)), 0);
    // Long before the slow connections' deadline would have ended them.
    EXPECT_LT(Clock::now() - start, answerLimit);
}
