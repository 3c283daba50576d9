// Starting and stopping: refusals with exit status 2 and one clear line, a
// clean exit on SIGTERM and SIGINT while streams play, the access log, and a
// catalogue of one's own.

#include "raw_http.h"
#include "support/station_server_process.h"
#include "support/temp_dir.h"
#include "xml_document.h"

#include <gtest/gtest.h>

#include <csignal>

namespace {

using namespace std::chrono_literals;

std::size_t lineCount(const std::string &text)
{
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

void expectRefusal(const std::vector<std::string> &arguments, const std::string &mention)
{
    const StationServerExit outcome = runStationServerToExit(arguments);
    EXPECT_EQ(outcome.status, 2) << outcome.errors;
    EXPECT_EQ(lineCount(outcome.errors), 1u) << outcome.errors;
    EXPECT_TRUE(outcome.errors.starts_with("station-server: ")) << outcome.errors;
    EXPECT_NE(outcome.errors.find(mention), std::string::npos) << outcome.errors;
    EXPECT_EQ(outcome.output, "") << "never claims to listen";
}

const std::string smallCatalogue = R"(<?xml version="1.0" encoding="UTF-8"?>
<catalogue>
  <genre name="Polka"/>
  <genre name="Sea Shanties"/>
  <track title="The Crew - Haul Away"/>
  <station id="7" name="Polka &amp; Pretzels" genre="Polka" mt="audio/mpeg" br="64" listeners="5"/>
  <station id="8" name="Shanty Harbour" genre="Sea Shanties" mt="audio/aacp" br="32" listeners="50"/>
</catalogue>
)";

std::string catalogueFile(const TempDir &directory, const std::string &contents)
{
    const auto file = directory.file("catalogue.xml");
    writeFile(file, contents);
    return file.string();
}

std::unique_ptr<RawConnection> startStream(const StationServerProcess &server, const std::string &id)
{
    auto connection = std::make_unique<RawConnection>(server.port());
    connection->send("GET /stream/" + id + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    if (!connection->receiveHead(5s))
        throw std::runtime_error("the stream did not start");
    return connection;
}

} // namespace

TEST(StationServerLifecycle, BusyPortIsRefusedWithStatusTwo)
{
    StationServerProcess first;
    expectRefusal({"--listen", "127.0.0.1:" + std::to_string(first.port())}, std::to_string(first.port()));
    EXPECT_EQ(httpGet(first.port(), "/control/ping").status, 200) << "the first server is unharmed";
}

TEST(StationServerLifecycle, MissingCatalogueIsRefused)
{
    TempDir directory;
    expectRefusal({"--listen", "127.0.0.1:0", "--catalogue", directory.str() + "/none.xml"}, "none.xml");
}

TEST(StationServerLifecycle, BrokenCataloguesAreRefused)
{
    TempDir directory;
    const std::vector<std::pair<std::string, std::string>> broken = {
        {"<catalogue><genre name=\"A\"/><station id=\"1\"", "not well-formed"},
        {"<stations/>", "<catalogue>"},
        {"<catalogue><genre name=\"A\"/></catalogue>", "no stations"},
        {"<catalogue><genre name=\"A\"/><station id=\"1\" name=\"x\" genre=\"B\" mt=\"audio/mpeg\" br=\"64\" "
         "listeners=\"1\"/></catalogue>",
         "\"B\""},
        {"<catalogue><genre name=\"A\"/><station id=\"1\" name=\"x\" genre=\"A\" mt=\"audio/mpeg\" br=\"64\" "
         "listeners=\"1\"/><station id=\"1\" name=\"y\" genre=\"A\" mt=\"audio/mpeg\" br=\"64\" "
         "listeners=\"1\"/></catalogue>",
         "twice"},
        {"<catalogue><genre name=\"A\"/><station id=\"x1\" name=\"x\" genre=\"A\" mt=\"audio/mpeg\" br=\"64\" "
         "listeners=\"1\"/></catalogue>",
         "x1"},
        {"<catalogue><genre name=\"A\"/><station id=\"1\" genre=\"A\" mt=\"audio/mpeg\" br=\"64\" "
         "listeners=\"1\"/></catalogue>",
         "\"name\""},
    };
    for (const auto &[contents, mention] : broken) {
        SCOPED_TRACE(contents);
        expectRefusal({"--listen", "127.0.0.1:0", "--catalogue", catalogueFile(directory, contents)}, mention);
    }
}

TEST(StationServerLifecycle, BadArgumentsAreRefused)
{
    expectRefusal({"--no-such-option"}, "--no-such-option");
    expectRefusal({"--listen", "nowhere"}, "HOST:PORT");
    expectRefusal({"--listen", "127.0.0.1:99999"}, "99999");
    expectRefusal({"--fault", "/sbin/newxml.phtml=explode"}, "explode");
    expectRefusal({"--fault", "/stream/*=drop:abc"}, "drop:abc");
    expectRefusal({"--fault", "/stream/*=drop:-1"}, "drop:-1");
    expectRefusal({"--fault", "/stream/*=stall:5"}, "stall:5");
    expectRefusal({"--title", "Caf\xE9"}, "--title");
    expectRefusal({"--title-interval", "-1"}, "--title-interval");
    expectRefusal({"--workers"}, "--workers");
}

TEST(StationServerLifecycle, HelpNamesTheOptionsAndFaultKinds)
{
    const StationServerExit outcome = runStationServerToExit({"--help"});
    EXPECT_EQ(outcome.status, 0);
    for (const char *word :
         {"--listen",  "127.0.0.1:8150", "--catalogue",   "--fault",  "--title-interval", "--log",   "status503",
          "status404", "malformed-xml",  "truncated",     "stall",    "trickle",          "close",   "empty200",
          "drop",      "icy-status",     "latin1-titles", "redirect", "seconds=",         "--title", "/control/fault"})
        EXPECT_NE(outcome.output.find(word), std::string::npos) << word;
}

TEST(StationServerLifecycle, SigtermEndsStreamsAndExitsCleanly)
{
    StationServerProcess server;
    const auto stations = parseXml(httpGet(server.port(), "/sbin/newxml.phtml?genre=Top&limit=3").body).all("station");
    ASSERT_EQ(stations.size(), 3u);
    std::vector<std::unique_ptr<RawConnection>> streams;
    for (const XmlElement &station : stations)
        streams.push_back(startStream(server, station.at("id")));
    // A keep-alive connection idling between requests.
    RawConnection idle(server.port());
    idle.send("GET /control/ping HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    ASSERT_TRUE(idle.receiveHead(2s));

    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(server.stop(5s), 0) << server.log();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 2s);
    for (auto &stream : streams)
        EXPECT_TRUE(stream->receiveUntilClosed(1s)) << "the stream ended";
    EXPECT_NE(server.log().find("stopping on SIGTERM"), std::string::npos) << server.log();
}

TEST(StationServerLifecycle, SigintExitsCleanly)
{
    StationServerProcess server;
    const auto stream = startStream(
        server,
        parseXml(httpGet(server.port(), "/sbin/newxml.phtml?genre=Top&limit=1").body).all("station").at(0).at("id"));
    kill(server.pid(), SIGINT);
    // 0: it exited with status 0 (a signal would give 128 + it).
    EXPECT_EQ(server.waitForExit(5s), 0) << server.log();
    EXPECT_TRUE(stream->receiveUntilClosed(1s));
}

TEST(StationServerLifecycle, AccessLogRecordsEveryRequest)
{
    TempDir directory;
    const std::string logFile = directory.file("access.log").string();
    StationServerProcess server({"--log", logFile});
    httpGet(server.port(), "/sbin/newxml.phtml?search=hip hop", {"User-Agent: tarnwave-test"});
    httpGet(server.port(), "/sbin/tunein-station.pls?id=1");
    server.stop();
    const std::string log = readFile(logFile);
    EXPECT_NE(log.find("\"GET /sbin/newxml.phtml?search=hip hop HTTP/1.1\" 200 "), std::string::npos) << log;
    EXPECT_NE(log.find("\"tarnwave-test\""), std::string::npos) << log;
    EXPECT_NE(log.find("\"GET /sbin/tunein-station.pls?id=1 HTTP/1.1\" 404 "), std::string::npos) << log;
    EXPECT_NE(log.find("127.0.0.1:"), std::string::npos) << log;
    EXPECT_NE(log.find("station-server: stopped"), std::string::npos) << log;
}

TEST(StationServerLifecycle, ServesACatalogueOfOnesOwn)
{
    TempDir directory;
    StationServerProcess server({"--catalogue", catalogueFile(directory, smallCatalogue)});
    const auto genres = parseXml(httpGet(server.port(), "/sbin/newxml.phtml").body).all("genre");
    ASSERT_EQ(genres.size(), 2u);
    EXPECT_EQ(genres[0].at("name"), "Polka");
    EXPECT_EQ(genres[1].at("name"), "Sea Shanties");
    const auto top = parseXml(httpGet(server.port(), "/sbin/newxml.phtml?genre=Top").body).all("station");
    ASSERT_EQ(top.size(), 2u);
    EXPECT_EQ(top[0].at("name"), "Shanty Harbour");
    EXPECT_EQ(top[1].at("name"), "Polka & Pretzels");
    EXPECT_EQ(top[1].at("ct"), "The Crew - Haul Away");
    const auto mpeg =
        parseXml(httpGet(server.port(), "/sbin/newxml.phtml?genre=Top&mt=audio/mpeg").body).all("station");
    ASSERT_EQ(mpeg.size(), 1u);
    EXPECT_EQ(mpeg[0].at("id"), "7");
}
