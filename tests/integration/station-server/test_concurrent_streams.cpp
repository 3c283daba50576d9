// Thirty-two listeners at once, for ten seconds each: every one receives its
// station's bitrate without gaps, and the server needs less than one core.

#include "process_cpu.h"
#include "raw_http.h"
#include "support/station_server_process.h"
#include "xml_document.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <iostream>
#include <set>
#include <thread>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::size_t listeners = 32;
// Each client listens this long from its first byte.
constexpr auto listeningTime = 10s;
// The first connection to a station encodes its loop; 32 of them at once take
// a moment, more so in a sanitizer build on a busy machine.
constexpr auto startLimit = 5s;
// After the first byte, the initial burst (2 s of audio) has arrived within
// this; from then on the stream keeps to the bitrate.
constexpr auto settleTime = 1s;

struct Listener
{
    std::string id;
    std::string catalogueBitrate;
    int kilobitsPerSecond = 0; // from icy-br
    std::unique_ptr<RawConnection> connection;
};

// 32 different stations, every catalogue bitrate among them.
std::vector<XmlElement> pickStations(const StationServerProcess &server)
{
    const auto all = parseXml(httpGet(server.port(), "/sbin/newxml.phtml?genre=Top").body).all("station");
    std::vector<XmlElement> picked;
    std::set<std::string> bitrates;
    for (const XmlElement &station : all) {
        if (bitrates.insert(station.at("br")).second)
            picked.push_back(station);
    }
    for (const XmlElement &station : all) {
        if (picked.size() >= listeners)
            break;
        if (std::none_of(picked.begin(), picked.end(),
                         [&](const XmlElement &chosen) { return chosen.at("id") == station.at("id"); }))
            picked.push_back(station);
    }
    picked.resize(std::min(picked.size(), listeners));
    return picked;
}

std::vector<Listener> startListening(const StationServerProcess &server, bool withMetadata)
{
    std::vector<Listener> started;
    for (const XmlElement &station : pickStations(server)) {
        Listener listener;
        listener.id = station.at("id");
        listener.catalogueBitrate = station.at("br");
        listener.connection = std::make_unique<RawConnection>(server.port());
        listener.connection->send("GET /stream/" + listener.id + " HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                                  + (withMetadata && started.size() % 2 == 0 ? "Icy-MetaData: 1\r\n" : "") + "\r\n");
        started.push_back(std::move(listener));
    }
    return started;
}

// Every client at once, each for listeningTime from its first byte;
// `streaming` counts the clients whose stream has started.
std::vector<std::thread> receiveTogether(std::vector<Listener> &all, std::atomic<std::size_t> &streaming)
{
    std::vector<std::thread> threads;
    for (Listener &listener : all) {
        threads.emplace_back([&listener, &streaming] {
            RawConnection &connection = *listener.connection;
            if (!connection.receiveHead(startLimit))
                return;
            ++streaming;
            connection.receiveFor(listeningTime);
        });
    }
    return threads;
}

void joinAll(std::vector<std::thread> &threads)
{
    for (std::thread &thread : threads)
        thread.join();
}

} // namespace

TEST(StationServerConcurrentStreams, ThirtyTwoClientsForTenSecondsReceiveTheirBitrate)
{
    StationServerProcess server;
    std::vector<Listener> all = startListening(server, true);
    ASSERT_EQ(all.size(), listeners);
    std::atomic<std::size_t> streaming{0};
    std::vector<std::thread> threads = receiveTogether(all, streaming);
    joinAll(threads);

    double lowestRatio = 10.0;
    double highestRatio = 0.0;
    Clock::duration longestGapOfAll{};
    for (Listener &listener : all) {
        const RawConnection &connection = *listener.connection;
        const HttpReply reply = parseHttpReply(connection.received());
        ASSERT_EQ(reply.status, 200) << listener.id;
        EXPECT_FALSE(connection.closedByServer()) << listener.id;
        listener.kilobitsPerSecond = std::stoi(reply.header("icy-br"));
        const std::string &br = listener.catalogueBitrate;
        if (!br.empty() && std::all_of(br.begin(), br.end(), ::isdigit)) {
            EXPECT_EQ(std::to_string(listener.kilobitsPerSecond), br) << listener.id;
        }

        const auto &arrivals = connection.arrivals();
        ASSERT_FALSE(arrivals.empty()) << listener.id;
        const Clock::time_point first = arrivals.front().at;
        EXPECT_LT(first - connection.connectedAt(), startLimit) << listener.id << ": slow to start";
        Clock::duration longestGap{};
        for (std::size_t i = 1; i < arrivals.size(); ++i)
            longestGap = std::max(longestGap, arrivals[i].at - arrivals[i - 1].at);
        EXPECT_LT(longestGap, 1s) << listener.id << ": a gap of "
                                  << std::chrono::duration_cast<std::chrono::milliseconds>(longestGap).count() << " ms";

        // The rate once the burst is in: bytes after `settleTime` over the time they took.
        std::size_t bytes = 0;
        Clock::time_point from = first + settleTime;
        Clock::time_point last = from;
        for (const RawConnection::Arrival &arrival : arrivals) {
            if (arrival.at <= from)
                continue;
            bytes += arrival.bytes;
            last = arrival.at;
        }
        const double seconds = std::chrono::duration<double>(last - from).count();
        ASSERT_GT(seconds, 8.0) << listener.id;
        const double expected = listener.kilobitsPerSecond * 1000.0 / 8.0;
        const double measured = static_cast<double>(bytes) / seconds;
        EXPECT_NEAR(measured / expected, 1.0, 0.1)
            << listener.id << ": " << measured << " bytes/s for " << listener.kilobitsPerSecond << " kbit/s";
        lowestRatio = std::min(lowestRatio, measured / expected);
        highestRatio = std::max(highestRatio, measured / expected);
        longestGapOfAll = std::max(longestGapOfAll, longestGap);
    }
    std::cout << "32 streams: received " << lowestRatio << " to " << highestRatio << " times the bitrate; longest gap "
              << std::chrono::duration_cast<std::chrono::milliseconds>(longestGapOfAll).count() << " ms\n";
}

TEST(StationServerConcurrentStreams, ThirtyTwoStreamsUseLessThanOneCore)
{
    StationServerProcess server;
    std::vector<Listener> all = startListening(server, true);
    ASSERT_EQ(all.size(), listeners);
    // Measured once every stream has started (each station's loop encoded,
    // which is a one-off cost), over the rest of the ten seconds.
    std::atomic<std::size_t> streaming{0};
    std::vector<std::thread> threads = receiveTogether(all, streaming);
    const auto deadline = Clock::now() + startLimit;
    while (streaming < listeners && Clock::now() < deadline)
        std::this_thread::sleep_for(50ms);
    std::this_thread::sleep_for(500ms);
    const double cpuBefore = cpuSecondsOf(server.pid());
    const Clock::time_point wallBefore = Clock::now();
    joinAll(threads);
    const double cpu = cpuSecondsOf(server.pid()) - cpuBefore;
    const double wall = std::chrono::duration<double>(Clock::now() - wallBefore).count();
    for (const Listener &listener : all)
        EXPECT_FALSE(listener.connection->received().empty()) << listener.id;
    const double cores = cpu / wall;
    std::cout << "32 streams: " << cpu << " s of CPU in " << wall << " s, " << cores * 100.0 << "% of one core\n";
    RecordProperty("cpu_percent_of_one_core", std::to_string(cores * 100.0));
    EXPECT_LT(cores, 1.0);
}
