// Tune-in playlists: a PLS file whose one entry points at the station's
// stream on the address the client used.

#include "raw_http.h"
#include "support/station_server_process.h"
#include "xml_document.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

std::vector<std::string> linesOf(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

XmlElement firstTopStation(const StationServerProcess &server)
{
    const auto stations =
        parseXml(httpGet(server.port(), "/sbin/newxml.phtml?genre=Top&mt=audio/mpeg").body).all("station");
    if (stations.empty())
        throw std::runtime_error("no station in the top list");
    return stations.front();
}

} // namespace

TEST(StationServerPlaylist, HasThePlsLinesForTheStation)
{
    StationServerProcess server;
    const XmlElement station = firstTopStation(server);
    const HttpReply reply = httpGet(server.port(), "/sbin/tunein-station.pls?id=" + station.at("id"));
    ASSERT_EQ(reply.status, 200);
    EXPECT_EQ(reply.header("content-type"), "audio/x-scpls");
    const std::vector<std::string> expected = {
        "[playlist]",
        "numberofentries=1",
        "File1=http://127.0.0.1:" + std::to_string(server.port()) + "/stream/" + station.at("id"),
        "Title1=" + station.at("name"),
        "Length1=-1",
        "Version=2",
    };
    EXPECT_EQ(linesOf(reply.body), expected);
}

TEST(StationServerPlaylist, StreamAddressUsesTheHostTheClientAskedFor)
{
    StationServerProcess server;
    const XmlElement station = firstTopStation(server);
    RawConnection connection(server.port());
    connection.send("GET /sbin/tunein-station.pls?id=" + station.at("id") + " HTTP/1.1\r\nHost: localhost:"
                    + std::to_string(server.port()) + "\r\nConnection: close\r\n\r\n");
    connection.receiveUntilClosed(std::chrono::seconds(5));
    const HttpReply reply = parseHttpReply(connection.received());
    const std::string expected =
        "File1=http://localhost:" + std::to_string(server.port()) + "/stream/" + station.at("id");
    EXPECT_NE(reply.body.find(expected + "\n"), std::string::npos) << reply.body;
}

TEST(StationServerPlaylist, UnknownOrMissingIdIsNotFound)
{
    StationServerProcess server;
    EXPECT_EQ(httpGet(server.port(), "/sbin/tunein-station.pls?id=1").status, 404);
    EXPECT_EQ(httpGet(server.port(), "/sbin/tunein-station.pls?id=abc").status, 404);
    EXPECT_EQ(httpGet(server.port(), "/sbin/tunein-station.pls").status, 404);
}

TEST(StationServerPlaylist, TheStreamItNamesPlays)
{
    StationServerProcess server;
    const XmlElement station = firstTopStation(server);
    const HttpReply playlist = httpGet(server.port(), "/sbin/tunein-station.pls?id=" + station.at("id"));
    const std::string prefix = "File1=http://127.0.0.1:" + std::to_string(server.port());
    const std::size_t at = playlist.body.find(prefix);
    ASSERT_NE(at, std::string::npos);
    const std::string path =
        playlist.body.substr(at + prefix.size(), playlist.body.find('\n', at) - at - prefix.size());
    RawConnection stream(server.port());
    stream.send("GET " + path + " HTTP/1.0\r\n\r\n");
    ASSERT_TRUE(stream.receiveHead(std::chrono::seconds(5)));
    EXPECT_EQ(parseHttpReply(stream.received()).status, 200);
    EXPECT_EQ(parseHttpReply(stream.received()).header("content-type"), "audio/mpeg");
}
