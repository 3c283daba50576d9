// A station's live stream as a client sees it on the wire: the ICY headers,
// MP3 frames at the station's bitrate, and StreamTitle blocks when asked.

#include "mp3_stream.h"
#include "raw_http.h"
#include "support/station_server_process.h"
#include "xml_document.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using namespace std::chrono_literals;

std::vector<XmlElement> allStations(const StationServerProcess &server)
{
    return parseXml(httpGet(server.port(), "/sbin/newxml.phtml?genre=Top").body).all("station");
}

XmlElement stationWithBitrate(const StationServerProcess &server, const std::string &bitrate)
{
    for (const XmlElement &station : allStations(server)) {
        if (station.at("br") == bitrate)
            return station;
    }
    throw std::runtime_error("no station with br=\"" + bitrate + "\"");
}

// Connects to a station's stream and reads for `duration`.
std::unique_ptr<RawConnection> listen(const StationServerProcess &server, const std::string &id, bool withMetadata,
                                      std::chrono::milliseconds duration)
{
    auto connection = std::make_unique<RawConnection>(server.port());
    connection->send("GET /stream/" + id + " HTTP/1.1\r\nHost: 127.0.0.1\r\nUser-Agent: test\r\n"
                     + (withMetadata ? std::string("Icy-MetaData: 1\r\n") : std::string()) + "\r\n");
    connection->receiveFor(duration);
    return connection;
}

} // namespace

TEST(StationServerStream, HeadersNameTheStation)
{
    StationServerProcess server;
    const XmlElement station = stationWithBitrate(server, "128");
    const auto connection = listen(server, station.at("id"), false, 500ms);
    const HttpReply reply = parseHttpReply(connection->received());
    ASSERT_TRUE(reply.complete);
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.header("content-type"), "audio/mpeg");
    EXPECT_EQ(reply.header("icy-name"), station.at("name"));
    EXPECT_EQ(reply.header("icy-genre"), station.at("genre"));
    EXPECT_EQ(reply.header("icy-br"), "128");
    EXPECT_EQ(reply.header("icy-metaint"), "") << "no metadata unless asked";
    EXPECT_FALSE(connection->closedByServer());
}

TEST(StationServerStream, BodyIsMp3FramesAtTheStationsBitrate)
{
    StationServerProcess server;
    for (const std::string bitrate : {"24", "64", "128", "320"}) {
        const XmlElement station = stationWithBitrate(server, bitrate);
        const auto connection = listen(server, station.at("id"), false, 300ms);
        const HttpReply reply = parseHttpReply(connection->received());
        const Mp3Scan scan = scanMp3(reply.body);
        EXPECT_EQ(scan.firstFrameAt, 0u) << bitrate;
        EXPECT_EQ(scan.brokenAt, Mp3Scan::none) << bitrate;
        EXPECT_GT(scan.frames, 20u) << bitrate;
        EXPECT_EQ(scan.bitrates, std::set<int>{std::stoi(bitrate)}) << bitrate;
    }
}

TEST(StationServerStream, OddBitratesStreamAtAStandardRate)
{
    StationServerProcess server;
    for (const std::string bitrate : {"128k", ""}) {
        const XmlElement station = stationWithBitrate(server, bitrate);
        const auto connection = listen(server, station.at("id"), false, 300ms);
        const HttpReply reply = parseHttpReply(connection->received());
        EXPECT_EQ(reply.header("icy-br"), "128") << "br=\"" << bitrate << "\"";
        const Mp3Scan scan = scanMp3(reply.body);
        EXPECT_EQ(scan.brokenAt, Mp3Scan::none);
        EXPECT_EQ(scan.bitrates, std::set<int>{128}) << "br=\"" << bitrate << "\"";
    }
}

TEST(StationServerStream, MetadataCarriesTheDirectorysCurrentTitle)
{
    // An hour between titles: the title cannot change during the test.
    StationServerProcess server({"--title-interval", "3600"});
    const XmlElement station = stationWithBitrate(server, "128");
    const auto connection = listen(server, station.at("id"), true, 1500ms);
    const HttpReply reply = parseHttpReply(connection->received());
    ASSERT_EQ(reply.header("icy-metaint"), "8192");
    const IcyStream stream = splitIcyStream(reply.body, 8192);
    EXPECT_TRUE(stream.consistent);
    EXPECT_GE(stream.blocks, 3u);
    ASSERT_EQ(stream.titles.size(), 1u) << "the title is announced once, then blocks say \"no change\"";
    EXPECT_EQ(stream.titles.front(), station.at("ct"));
    EXPECT_FALSE(stream.titles.front().empty());
    const Mp3Scan scan = scanMp3(stream.audio);
    EXPECT_EQ(scan.firstFrameAt, 0u);
    EXPECT_EQ(scan.brokenAt, Mp3Scan::none) << "metadata blocks were not where icy-metaint says";
}

TEST(StationServerStream, TitleChangesEveryInterval)
{
    StationServerProcess server({"--title-interval", "1", "--metaint", "2048"});
    const XmlElement station = stationWithBitrate(server, "128");
    const auto started = std::chrono::steady_clock::now();
    const auto connection = listen(server, station.at("id"), true, 3500ms);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    const IcyStream stream = splitIcyStream(parseHttpReply(connection->received()).body, 2048);
    EXPECT_TRUE(stream.consistent);
    // A new title each second: 3.5 s see four or five of them, each announced once.
    EXPECT_GE(stream.titles.size(), 3u);
    EXPECT_LE(static_cast<double>(stream.titles.size()), seconds + 2.0);
    for (std::size_t i = 1; i < stream.titles.size(); ++i)
        EXPECT_NE(stream.titles[i], stream.titles[i - 1]);
}

TEST(StationServerStream, DefaultTitleHoldsForMoreThanAFewSeconds)
{
    StationServerProcess server({"--metaint", "2048"});
    const XmlElement station = stationWithBitrate(server, "128");
    const auto connection = listen(server, station.at("id"), true, 3000ms);
    const IcyStream stream = splitIcyStream(parseHttpReply(connection->received()).body, 2048);
    EXPECT_GE(stream.blocks, 10u);
    // Twenty seconds a title: in three seconds at most one change.
    EXPECT_GE(stream.titles.size(), 1u);
    EXPECT_LE(stream.titles.size(), 2u);
}

TEST(StationServerStream, UnknownStationIsNotFound)
{
    StationServerProcess server;
    EXPECT_EQ(httpGet(server.port(), "/stream/1").status, 404);
    EXPECT_EQ(httpGet(server.port(), "/stream/abc").status, 404);
}

TEST(StationServerStream, StreamEndsWhenTheClientLeaves)
{
    StationServerProcess server;
    const XmlElement station = stationWithBitrate(server, "128");
    {
        const auto connection = listen(server, station.at("id"), false, 300ms);
    }
    // The stream's access log line is written when it has ended.
    EXPECT_TRUE(server.waitForLog("\"GET /stream/" + station.at("id") + " HTTP/1.1\" 200", 3s)) << server.log();
}
