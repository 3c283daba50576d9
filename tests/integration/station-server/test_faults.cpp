// Fault injection: every kind behaves as named, set on the command line or
// through the control endpoint, on the directory and on streams.

#include "mp3_stream.h"
#include "raw_http.h"
#include "support/station_server_process.h"
#include "xml_document.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

const std::string genreList = "/sbin/newxml.phtml";

std::string sendGet(RawConnection &connection, const std::string &target)
{
    connection.send("GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    return target;
}

std::string firstStationId(const StationServerProcess &server)
{
    const auto stations = parseXml(httpGet(server.port(), "/sbin/newxml.phtml?genre=Top&limit=1").body).all("station");
    return stations.empty() ? std::string() : stations.front().at("id");
}

} // namespace

TEST(StationServerFaults, Status503)
{
    StationServerProcess server;
    const std::string id = firstStationId(server);
    server.addFault(genreList, "status503");
    EXPECT_EQ(httpGet(server.port(), genreList).status, 503);
    EXPECT_EQ(httpGet(server.port(), "/sbin/newxml.phtml?genre=Top").status, 503) << "the query does not matter";
    EXPECT_EQ(httpGet(server.port(), "/sbin/tunein-station.pls?id=" + id).status, 200) << "other paths are untouched";
}

TEST(StationServerFaults, Status404)
{
    StationServerProcess server;
    server.addFault(genreList, "status404");
    EXPECT_EQ(httpGet(server.port(), genreList).status, 404);
}

TEST(StationServerFaults, MalformedXml)
{
    StationServerProcess server;
    const HttpReply good = httpGet(server.port(), genreList);
    server.addFault(genreList, "malformed-xml");
    const HttpReply reply = httpGet(server.port(), genreList);
    EXPECT_EQ(reply.status, 200);
    EXPECT_NE(reply.header("content-type").find("xml"), std::string::npos);
    EXPECT_FALSE(reply.body.empty());
    EXPECT_EQ(std::to_string(reply.body.size()), reply.header("content-length")) << "the XML is broken, not the HTTP";
    const XmlDocument document = parseXml(reply.body);
    EXPECT_FALSE(document.wellFormed);
    EXPECT_TRUE(parseXml(good.body).wellFormed);
    // It starts like the real answer.
    EXPECT_EQ(reply.body.substr(0, 100), good.body.substr(0, 100));
}

TEST(StationServerFaults, Truncated)
{
    StationServerProcess server;
    server.addFault(genreList, "truncated");
    RawConnection connection(server.port());
    sendGet(connection, genreList);
    EXPECT_TRUE(connection.receiveUntilClosed(5s)) << "the server closes after the partial body";
    const HttpReply reply = parseHttpReply(connection.received());
    ASSERT_TRUE(reply.complete);
    EXPECT_EQ(reply.status, 200);
    const std::size_t promised = std::stoul(reply.header("content-length"));
    EXPECT_GT(promised, 0u);
    EXPECT_GT(reply.body.size(), 0u);
    EXPECT_LT(reply.body.size(), promised);
}

TEST(StationServerFaults, Stall)
{
    StationServerProcess server;
    server.addFault(genreList, "stall");
    RawConnection connection(server.port());
    sendGet(connection, genreList);
    ASSERT_TRUE(connection.receiveHead(2s));
    const HttpReply head = parseHttpReply(connection.received());
    EXPECT_EQ(head.status, 200);
    EXPECT_GT(std::stoul(head.header("content-length")), 0u);
    connection.receiveFor(1500ms);
    EXPECT_FALSE(connection.closedByServer()) << "a stalled reply keeps the connection open";
    EXPECT_EQ(parseHttpReply(connection.received()).body, "") << "and sends nothing after the headers";
}

TEST(StationServerFaults, Trickle)
{
    StationServerProcess server;
    const std::string real = httpGet(server.port(), genreList).body;
    server.addFault(genreList, "trickle");
    RawConnection connection(server.port());
    sendGet(connection, genreList);
    ASSERT_TRUE(connection.receiveHead(2s));
    const std::size_t headArrivals = connection.arrivals().size();
    connection.receiveFor(1200ms);
    const std::string body = parseHttpReply(connection.received()).body;
    // A byte every 100 ms: about twelve in 1.2 s, one at a time, of the real answer.
    EXPECT_GE(body.size(), 5u);
    EXPECT_LE(body.size(), 20u);
    EXPECT_GE(connection.arrivals().size() - headArrivals, 4u);
    EXPECT_EQ(body, real.substr(0, body.size()));
    EXPECT_FALSE(connection.closedByServer());
}

TEST(StationServerFaults, CloseWithoutReply)
{
    StationServerProcess server;
    server.addFault(genreList, "close");
    RawConnection connection(server.port());
    sendGet(connection, genreList);
    EXPECT_TRUE(connection.receiveUntilClosed(3s));
    EXPECT_EQ(connection.received(), "");
}

TEST(StationServerFaults, Empty200)
{
    StationServerProcess server;
    server.addFault(genreList, "empty200");
    const HttpReply reply = httpGet(server.port(), genreList);
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.header("content-length"), "0");
    EXPECT_EQ(reply.body, "");
}

TEST(StationServerFaults, GivenOnTheCommandLine)
{
    StationServerProcess server({"--fault", "/sbin/tunein-station.pls=status503", "--fault", "/stream/*=close"});
    const std::string id = firstStationId(server);
    EXPECT_EQ(httpGet(server.port(), "/sbin/tunein-station.pls?id=" + id).status, 503);
    RawConnection stream(server.port());
    sendGet(stream, "/stream/" + id);
    EXPECT_TRUE(stream.receiveUntilClosed(3s));
    EXPECT_EQ(stream.received(), "");
    EXPECT_EQ(httpGet(server.port(), genreList).status, 200);
}

TEST(StationServerFaults, StreamStallSendsTheStreamHeadersOnly)
{
    StationServerProcess server;
    const std::string id = firstStationId(server);
    server.addFault("/stream/*", "stall");
    RawConnection stream(server.port());
    sendGet(stream, "/stream/" + id);
    ASSERT_TRUE(stream.receiveHead(3s));
    EXPECT_EQ(parseHttpReply(stream.received()).header("content-type"), "audio/mpeg");
    stream.receiveFor(1s);
    EXPECT_EQ(parseHttpReply(stream.received()).body, "");
    EXPECT_FALSE(stream.closedByServer());
}

TEST(StationServerFaults, TruncatedStreamEndsEarly)
{
    StationServerProcess server;
    const std::string id = firstStationId(server);
    server.addFault("/stream/*", "truncated");
    RawConnection stream(server.port());
    sendGet(stream, "/stream/" + id);
    EXPECT_TRUE(stream.receiveUntilClosed(3s));
    const std::string body = parseHttpReply(stream.received()).body;
    EXPECT_GT(body.size(), 0u);
    EXPECT_LT(body.size(), 32u * 1024u);
    EXPECT_EQ(scanMp3(body).firstFrameAt, 0u);
}

TEST(StationServerFaults, TimesLimitsAFault)
{
    StationServerProcess server;
    server.addFault(genreList, "status503", 2);
    EXPECT_EQ(httpGet(server.port(), genreList).status, 503);
    EXPECT_EQ(httpGet(server.port(), genreList).status, 503);
    EXPECT_EQ(httpGet(server.port(), genreList).status, 200);
}

TEST(StationServerFaults, ClearingEndsEveryFault)
{
    StationServerProcess server;
    server.addFault(genreList, "status503");
    server.addFault("/stream/*", "close");
    EXPECT_NE(httpGet(server.port(), "/control/faults").body.find("/stream/*=close"), std::string::npos);
    server.clearFaults();
    EXPECT_EQ(httpGet(server.port(), "/control/faults").body, "");
    EXPECT_EQ(httpGet(server.port(), genreList).status, 200);
}

TEST(StationServerFaults, UnknownKindIsRefused)
{
    StationServerProcess server;
    EXPECT_THROW(server.addFault(genreList, "explode"), std::runtime_error);
    EXPECT_THROW(server.addFault("no-slash", "status503"), std::runtime_error);
    EXPECT_EQ(httpGet(server.port(), genreList).status, 200);
}
