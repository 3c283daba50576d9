// The faults that make a station behave like the rougher part of the
// internet: a stream that breaks after a while (drop), an old server's
// "ICY 200 OK" (icy-status), titles in Latin-1 (latin1-titles) and a
// redirect; and the control requests that set them up wrongly.

#include "mp3_stream.h"
#include "raw_http.h"
#include "support/station_server_process.h"
#include "xml_document.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

const std::string genreList = "/sbin/newxml.phtml";

XmlElement firstStation(const StationServerProcess &server)
{
    const auto stations = parseXml(httpGet(server.port(), "/sbin/newxml.phtml?genre=Top&limit=1").body).all("station");
    if (stations.empty())
        throw std::runtime_error("the server lists no station");
    return stations.front();
}

// Opens a station's stream with ICY metadata and starts reading.
std::unique_ptr<RawConnection> openStream(const StationServerProcess &server, const std::string &id)
{
    auto connection = std::make_unique<RawConnection>(server.port());
    connection->send("GET /stream/" + id + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.port())
                     + "\r\nIcy-MetaData: 1\r\n\r\n");
    return connection;
}

// A control request exactly as given, and the whole reply.
HttpReply postControl(const StationServerProcess &server, const std::string &target)
{
    RawConnection connection(server.port());
    connection.send("POST " + target
                    + " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    connection.receiveUntilClosed(5s);
    return parseHttpReply(connection.received());
}

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::string firstLine(const std::string &raw)
{
    return raw.substr(0, raw.find("\r\n"));
}

// The audio of a stream body with metadata every 8192 bytes, checked to be
// whole MP3 frames from the first byte on.
IcyStream expectPlayingStream(const HttpReply &reply)
{
    EXPECT_EQ(reply.header("icy-metaint"), "8192");
    IcyStream stream = splitIcyStream(reply.body, 8192);
    EXPECT_TRUE(stream.consistent);
    const Mp3Scan scan = scanMp3(stream.audio);
    EXPECT_EQ(scan.firstFrameAt, 0u);
    EXPECT_EQ(scan.brokenAt, Mp3Scan::none);
    EXPECT_GT(scan.frames, 20u);
    return stream;
}

} // namespace

TEST(StationServerRoughStations, DropClosesTheStreamAfterItsSecondsAndTheNextRequestPlays)
{
    StationServerProcess server;
    const std::string id = firstStation(server).at("id");
    server.addFault("/stream/" + id, "drop", 1, 2s);

    const auto broken = openStream(server, id);
    ASSERT_TRUE(broken->receiveUntilClosed(20s)) << "the server closes the stream";
    const double playedFor = secondsSince(broken->connectedAt());
    EXPECT_GE(playedFor, 1.8) << "it played for its two seconds first";
    EXPECT_LT(playedFor, 15.0);
    const HttpReply reply = parseHttpReply(broken->received());
    EXPECT_EQ(reply.status, 200);
    const IcyStream stream = expectPlayingStream(reply);
    EXPECT_EQ(stream.titles.size(), 1u);
    const auto bytesPerSecond = std::stoul(reply.header("icy-br")) * 1000 / 8;
    // The two-second burst at once, then more at the station's pace.
    EXPECT_GT(stream.audio.size(), 3 * bytesPerSecond);

    EXPECT_EQ(httpGet(server.port(), "/control/faults").body, "") << "times=1 is used up";
    const auto again = openStream(server, id);
    again->receiveFor(3500ms);
    EXPECT_FALSE(again->closedByServer()) << "a client that reconnects gets sound again";
    expectPlayingStream(parseHttpReply(again->received()));
}

TEST(StationServerRoughStations, DropSecondsOnTheCommandLineAndInTheFaultList)
{
    StationServerProcess server({"--fault", "/stream/*=drop:1", "--fault", "/sbin/tunein-station.pls=drop"});
    server.addFault(genreList, "drop", 2, 2500ms);
    EXPECT_EQ(httpGet(server.port(), "/control/faults").body,
              "/stream/*=drop:1\n/sbin/tunein-station.pls=drop:3\n/sbin/newxml.phtml=drop:2.5 (2 more)\n");

    server.clearFaults();
    server.addFault("/stream/*", "drop", 0, 1s);
    const auto stream = openStream(server, firstStation(server).at("id"));
    ASSERT_TRUE(stream->receiveUntilClosed(15s));
    EXPECT_GE(secondsSince(stream->connectedAt()), 0.9);
    expectPlayingStream(parseHttpReply(stream->received()));
}

TEST(StationServerRoughStations, DropOnTheDirectorySendsHalfTheReplyThenCloses)
{
    StationServerProcess server;
    const std::string real = httpGet(server.port(), genreList).body;
    server.addFault(genreList, "drop", 0, 1s);
    RawConnection connection(server.port());
    connection.send("GET " + genreList + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    ASSERT_TRUE(connection.receiveUntilClosed(15s));
    EXPECT_GE(secondsSince(connection.connectedAt()), 0.9);
    const HttpReply reply = parseHttpReply(connection.received());
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.header("content-length"), std::to_string(real.size()));
    EXPECT_GT(reply.body.size(), 0u);
    EXPECT_LT(reply.body.size(), real.size());
    EXPECT_EQ(reply.body, real.substr(0, reply.body.size()));
}

TEST(StationServerRoughStations, IcyStatusStreamStartsLikeAnOldServer)
{
    StationServerProcess server({"--title-interval", "3600"});
    const XmlElement station = firstStation(server);
    server.addFault("/stream/*", "icy-status");
    const auto connection = openStream(server, station.at("id"));
    connection->receiveFor(1500ms);
    EXPECT_FALSE(connection->closedByServer());
    EXPECT_EQ(firstLine(connection->received()), "ICY 200 OK");
    const HttpReply reply = parseHttpReply(connection->received());
    ASSERT_TRUE(reply.complete);
    EXPECT_EQ(reply.header("content-type"), "audio/mpeg");
    EXPECT_EQ(reply.header("icy-name"), station.at("name"));
    for (const auto &[name, value] : reply.headers)
        EXPECT_TRUE(name == "content-type" || name.starts_with("icy-")) << name << ": " << value;
    const IcyStream stream = expectPlayingStream(reply);
    ASSERT_EQ(stream.titles.size(), 1u);
    EXPECT_EQ(stream.titles.front(), station.at("ct"));
}

TEST(StationServerRoughStations, IcyStatusOnTheDirectoryKeepsTheBody)
{
    StationServerProcess server;
    const std::string real = httpGet(server.port(), genreList).body;
    server.addFault(genreList, "icy-status");
    RawConnection connection(server.port());
    connection.send("GET " + genreList + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    ASSERT_TRUE(connection.receiveUntilClosed(5s));
    EXPECT_EQ(firstLine(connection.received()), "ICY 200 OK");
    const HttpReply reply = parseHttpReply(connection.received());
    EXPECT_EQ(reply.header("content-length"), std::to_string(real.size()));
    EXPECT_EQ(reply.body, real);
}

TEST(StationServerRoughStations, Latin1TitlesSendOneByteACharacter)
{
    const std::string title = "Zoë Café - Straße nach Köln (東京)";
    StationServerProcess server({"--title", title});
    const XmlElement station = firstStation(server);
    EXPECT_EQ(station.at("ct"), title) << "the directory keeps UTF-8";

    const auto plain = openStream(server, station.at("id"));
    plain->receiveFor(500ms);
    const IcyStream utf8 = splitIcyStream(parseHttpReply(plain->received()).body, 8192);
    ASSERT_EQ(utf8.titles.size(), 1u);
    EXPECT_EQ(utf8.titles.front(), title) << "without the fault the title is UTF-8";

    server.addFault("/stream/*", "latin1-titles");
    const auto latin1 = openStream(server, station.at("id"));
    latin1->receiveFor(1500ms);
    const IcyStream stream = expectPlayingStream(parseHttpReply(latin1->received()));
    ASSERT_EQ(stream.titles.size(), 1u);
    const std::string &sent = stream.titles.front();
    // One '?' for each of the two characters beyond Latin-1.
    EXPECT_EQ(sent, "Zo\xEB Caf\xE9 - Stra\xDF"
                    "e nach K\xF6ln (?"
                    "?)");
    EXPECT_EQ(sent.find('\xC3'), std::string::npos) << "no UTF-8 sequence is left";
}

TEST(StationServerRoughStations, Latin1TitlesFromTheCatalogue)
{
    // The catalogue's own accented titles: a station playing one with é and
    // otherwise plain ASCII letters, held for an hour.
    StationServerProcess server({"--title-interval", "3600"});
    const auto stations = parseXml(httpGet(server.port(), "/sbin/newxml.phtml?genre=Top").body).all("station");
    const auto latin1Of = [](std::string title) {
        for (std::size_t at = title.find("é"); at != std::string::npos; at = title.find("é", at))
            title.replace(at, std::string("é").size(), "\xE9");
        return title;
    };
    const auto withAcute = std::find_if(stations.begin(), stations.end(), [&](const XmlElement &station) {
        const std::string latin1 = latin1Of(station.at("ct"));
        return latin1 != station.at("ct")
               && std::all_of(latin1.begin(), latin1.end(), [](char c) { return (c & 0x80) == 0 || c == '\xE9'; });
    });
    ASSERT_NE(withAcute, stations.end()) << "some station plays a title whose only accents are é";
    const std::string expected = latin1Of(withAcute->at("ct"));

    server.addFault("/stream/*", "latin1-titles");
    const auto connection = openStream(server, withAcute->at("id"));
    connection->receiveFor(1000ms);
    const IcyStream stream = splitIcyStream(parseHttpReply(connection->received()).body, 8192);
    ASSERT_EQ(stream.titles.size(), 1u);
    EXPECT_EQ(stream.titles.front(), expected);
}

TEST(StationServerRoughStations, RedirectPointsAtTheSameAddressThenTheRealReplyComes)
{
    StationServerProcess server;
    const std::string target = "/sbin/newxml.phtml?genre=Top&limit=3";
    server.addFault(genreList, "redirect", 2);

    const HttpReply redirect = httpGet(server.port(), target);
    EXPECT_EQ(redirect.status, 302);
    EXPECT_EQ(redirect.header("location"), server.baseUrl() + target);

    // The Location names the host the client asked for.
    RawConnection named(server.port());
    named.send("GET " + target + " HTTP/1.1\r\nHost: stations.example:8150\r\n\r\n");
    ASSERT_TRUE(named.receiveUntilClosed(5s));
    EXPECT_EQ(parseHttpReply(named.received()).header("location"), "http://stations.example:8150" + target);

    const HttpReply real = httpGet(server.port(), target);
    EXPECT_EQ(real.status, 200);
    EXPECT_EQ(parseXml(real.body).all("station").size(), 3u);
}

TEST(StationServerRoughStations, RedirectedStreamPlaysAtItsLocation)
{
    StationServerProcess server;
    const std::string id = firstStation(server).at("id");
    server.addFault("/stream/*", "redirect", 1);
    const HttpReply redirect = httpGet(server.port(), "/stream/" + id);
    EXPECT_EQ(redirect.status, 302);
    ASSERT_EQ(redirect.header("location"), server.baseUrl() + "/stream/" + id);

    const auto stream = openStream(server, id);
    stream->receiveFor(1000ms);
    const HttpReply reply = parseHttpReply(stream->received());
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.header("content-type"), "audio/mpeg");
    expectPlayingStream(reply);
}

TEST(StationServerRoughStations, BadFaultParametersAreRefusedAndTheServerGoesOn)
{
    StationServerProcess server;
    const std::string drop = "/control/fault?path=/stream/*&kind=drop";
    for (const std::string seconds : {"abc", "-1", "99999", "3600.5", "1e999", "inf", "nan", "", "5s", " 5"}) {
        SCOPED_TRACE("seconds=" + seconds);
        const HttpReply reply = postControl(server, drop + "&seconds=" + seconds);
        EXPECT_EQ(reply.status, 400);
        EXPECT_NE(reply.body.find("seconds= needs a number of seconds from 0 to 3600"), std::string::npos)
            << reply.body;
    }
    const HttpReply wrongKind = postControl(server, "/control/fault?path=/stream/*&kind=stall&seconds=2");
    EXPECT_EQ(wrongKind.status, 400);
    EXPECT_NE(wrongKind.body.find("kind=drop"), std::string::npos) << wrongKind.body;
    EXPECT_EQ(postControl(server, drop + "&times=0").status, 400);
    EXPECT_THROW(server.addFault("/stream/*", "redirect", 0, 2s), std::runtime_error);

    EXPECT_EQ(httpGet(server.port(), "/control/faults").body, "") << "nothing was added";
    EXPECT_EQ(httpGet(server.port(), "/control/ping").body, "pong\n");
    EXPECT_EQ(postControl(server, drop + "&seconds=3600").status, 200) << "the largest allowed";
}
