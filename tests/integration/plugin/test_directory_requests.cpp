// The plug-in's list requests over real HTTP: what goes out (paths, the
// unencoded search text, the user agent), what comes back from the station
// server, and the status line of every kind of failure.

#include "directory_test_support.h"
#include "plugin_test_support.h"

#include "scripted_http_server.h"
#include "support/loopback_listener.h"
#include "support/station_server_process.h"

#include "directory/ehttpdownloadstring.h"

#include "net/ehttpconnection.h"
#include "system/putils.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using directorytest::entryOf;
using directorytest::namesOf;

namespace {

constexpr int genreList = 1;
constexpr int topList = 2;
constexpr int searchList = 3;

const char *const downloadNotice = "Download...  One moment please...";

// A directory that answers every request with one station and records
// what it was asked.
class RecordingDirectory
{
public:
    ScriptedHttpServer server{[](const ScriptedRequest &) {
        ScriptedReply reply;
        reply.bodyPieces = {"<stationlist><tunein base=\"/t.pls\"/>"
                            "<station name=\"Found\" mt=\"audio/mpeg\" br=\"128\" id=\"1\" genre=\"Rock\"/>"
                            "</stationlist>"};
        return reply;
    }};

    std::vector<ScriptedRequest> received() { return server.received(); }
};

// The body of a GET, fetched with the host's client.
std::string fetchBody(eMainloop &loop, const std::string &url)
{
    int error = 0;
    eHTTPConnection *connection = eHTTPConnection::doRequest(url.c_str(), &loop, &error);
    if (!connection)
        return "";
    eString collected;
    bool done = false;
    connection->createDataSink.connect(
        [&collected](eHTTPConnection *c) -> eHTTPDataSource * { return new eHTTPDownloadString(c, &collected); });
    connection->transferDone.connect([&done](int) { done = true; });
    connection->start();
    if (!runUntil(
            loop, [&done] { return done; }, 20s))
        delete connection;
    return collected;
}

class DirectoryRequests : public ::testing::Test
{
protected:
    // Starts the list request for `list` and runs the loop until it ended.
    void request(int list, const std::string &text = "")
    {
        window.currentList = list;
        window.start_download(text, false);
        ASSERT_TRUE(box.runUntil([this] { return window.connection == nullptr; }, 20s));
    }

    plugintest::Box box;
    Ctarnwave window;
};

TEST_F(DirectoryRequests, SearchForTwoWordsSendsTheBlankUnencoded)
{
    RecordingDirectory directory;
    box.directoryUrl(directory.server.url(""));
    const std::uint64_t before = boxlog::lastSequence();

    request(searchList, "rock pop");

    const std::string url = directory.server.url("/sbin/newxml.phtml?search=rock pop");
    EXPECT_TRUE(directorytest::logHas(before, "[TWV] url=" + url));
    ASSERT_EQ(directory.received().size(), 1u);
    // The host's client writes the raw blank as %20 on the wire; the plug-in
    // has not encoded anything itself (that would arrive as %2520 or "+").
    EXPECT_EQ(directory.received()[0].target, "/sbin/newxml.phtml?search=rock%20pop");
    EXPECT_EQ(window.lastRequest, "rock pop");
    EXPECT_EQ(namesOf(window, searchList), std::vector<std::string>{"Found"});
}

TEST_F(DirectoryRequests, TopListIgnoresTheRequestText)
{
    RecordingDirectory directory;
    box.directoryUrl(directory.server.url(""));
    window.lastRequest = "Jazz";

    request(topList, "any text at all");

    ASSERT_EQ(directory.received().size(), 1u);
    EXPECT_EQ(directory.received()[0].target, "/sbin/newxml.phtml?genre=Top&mt=audio/mpeg");
    EXPECT_EQ(window.lastRequest, "Jazz");
}

TEST_F(DirectoryRequests, GenreListIsTheBarePathWithTheImagesUserAgent)
{
    RecordingDirectory directory;
    box.directoryUrl(directory.server.url(""));

    window.currentList = genreList;
    window.start_download("ignored", false);
    EXPECT_EQ(window.lb_status->getText(), downloadNotice);
    ASSERT_NE(window.connection, nullptr);
    EXPECT_EQ(window.connection->local_header["User-Agent"], pUtils::pUserAgent());
    ASSERT_TRUE(box.runUntil([this] { return window.connection == nullptr; }, 20s));

    ASSERT_EQ(directory.received().size(), 1u);
    EXPECT_EQ(directory.received()[0].target, "/sbin/newxml.phtml");
    EXPECT_EQ(directory.received()[0].headers["User-Agent"], pUtils::pUserAgent());
}

TEST_F(DirectoryRequests, FavouritesListMakesNoRequestAndWritesNoStatus)
{
    RecordingDirectory directory;
    box.directoryUrl(directory.server.url(""));
    window.lb_status->setText("");

    window.currentList = 0;
    window.start_download("", false);
    EXPECT_EQ(window.connection, nullptr);
    box.runUntil([] { return false; }, 200ms);

    EXPECT_TRUE(directory.received().empty());
    EXPECT_EQ(window.lb_status->getText(), "");
}

TEST_F(DirectoryRequests, HostNameThatDoesNotResolveSaysSo)
{
    box.directoryUrl("http://tarnwave-no-such-host.invalid:8150");
    request(genreList);
    EXPECT_EQ(window.lb_status->getText(), "Can't resolve hostname!");
    EXPECT_EQ(window.connection, nullptr);
    EXPECT_EQ(window.xmlParser, nullptr);
}

TEST_F(DirectoryRequests, RefusedConnectionSaysSo)
{
    const int port = closedLoopbackPort();
    ASSERT_GT(port, 0);
    box.directoryUrl("http://127.0.0.1:" + std::to_string(port));
    request(topList);
    EXPECT_EQ(window.lb_status->getText(), "Can't connect! (check network settings)");
    EXPECT_EQ(window.connection, nullptr);
}

TEST_F(DirectoryRequests, BaseUrlThatCannotBeFetchedFailsAtOnce)
{
    box.directoryUrl("gopher://127.0.0.1:70");
    window.currentList = genreList;
    window.start_download("", false);
    // doRequest refused it, and the end of the transfer ran straight away.
    EXPECT_EQ(window.lb_status->getText(), "unknown error -1");
    EXPECT_EQ(window.connection, nullptr);
    EXPECT_EQ(window.xmlParser, nullptr);
}

class StationServerRequests : public DirectoryRequests
{
protected:
    StationServerRequests() { box.directoryUrl(server.baseUrl()); }

    // The genre list, loaded as a start, with its rows' names.
    std::vector<std::string> loadGenres()
    {
        request(genreList);
        EXPECT_GT(window.lists[genreList]->getCount(), 0);
        return namesOf(window, genreList);
    }

    StationServerProcess server;
};

TEST_F(StationServerRequests, GenreListShowsEveryGenreOfTheServerWithItsCount)
{
    const std::string reply = fetchBody(box.app, server.baseUrl() + "/sbin/newxml.phtml");
    const std::regex genre("<genre ");
    const auto count = std::distance(std::sregex_iterator(reply.begin(), reply.end(), genre), std::sregex_iterator());
    ASSERT_GT(count, 0);

    request(genreList);
    EXPECT_EQ(window.lists[genreList]->getCount(), count);
    EXPECT_EQ(window.getText(), "Tarnwave / Genre List   (" + std::to_string(count) + " entries)");
    for (int row = 0; row < window.lists[genreList]->getCount(); ++row) {
        EXPECT_EQ(entryOf(window, genreList, row).index, row + 1);
        EXPECT_EQ(entryOf(window, genreList, row).type, Listentry::ENTRY_GENRE);
    }
}

TEST_F(StationServerRequests, TopListHoldsOnlyMpegStationsAtTheMinimumBitrate)
{
    request(topList);
    const int rows = window.lists[topList]->getCount();
    ASSERT_GT(rows, 0);
    EXPECT_LE(rows, 500);
    for (int row = 0; row < rows; ++row) {
        const Listentry &entry = entryOf(window, topList, row);
        EXPECT_EQ(entry.index, row + 1);
        EXPECT_EQ(entry.type, Listentry::ENTRY_STATION);
        EXPECT_GE(std::atoi(entry.bitrate.c_str()), 128) << entry.name;
        EXPECT_EQ(entry.tuneinBase, "/sbin/tunein-station.pls");
        EXPECT_FALSE(entry.id.empty());
    }
    EXPECT_EQ(window.getText(), "Tarnwave / Top List   (" + std::to_string(rows) + " entries)");
}

TEST_F(StationServerRequests, ServerAnswering503KeepsTheListAndSaysSo)
{
    const std::vector<std::string> genres = loadGenres();
    server.addFault("/sbin/newxml.phtml", "status503");
    request(genreList);
    EXPECT_EQ(window.lb_status->getText(), "error: server replied 503 Service Unavailable");
    EXPECT_EQ(namesOf(window, genreList), genres);
}

TEST_F(StationServerRequests, ServerAnswering404SaysSo)
{
    server.addFault("/sbin/newxml.phtml", "status404");
    request(searchList, "Jazz");
    EXPECT_EQ(window.lb_status->getText(), "error: server replied 404 Not Found");
    EXPECT_EQ(window.lists[searchList]->getCount(), 0);
}

TEST_F(StationServerRequests, ReplyThatDoesNotParseKeepsTheListAndSaysXmlParseError)
{
    const std::vector<std::string> genres = loadGenres();
    server.addFault("/sbin/newxml.phtml", "malformed-xml");
    request(genreList);
    EXPECT_EQ(window.lb_status->getText(), "XML parse error");
    EXPECT_EQ(namesOf(window, genreList), genres);
    EXPECT_EQ(window.xmlParser, nullptr);
}

TEST_F(StationServerRequests, EmptyReplyAfterALoadedListShowsNothingNew)
{
    const std::vector<std::string> genres = loadGenres();
    const eString title = window.getText();
    server.addFault("/sbin/newxml.phtml", "empty200");
    request(genreList);
    // The sink of the earlier transfer is not consulted: no parse error.
    EXPECT_EQ(window.lb_status->getText(), downloadNotice);
    EXPECT_EQ(namesOf(window, genreList), genres);
    EXPECT_EQ(window.getText(), title);
}

TEST_F(StationServerRequests, ReplyBrokenOffKeepsTheListAndShowsItsCode)
{
    const std::vector<std::string> genres = loadGenres();
    server.addFault("/sbin/newxml.phtml", "truncated");
    request(genreList);
    EXPECT_EQ(window.lb_status->getText(), "unknown error -4");
    EXPECT_EQ(namesOf(window, genreList), genres);
}

TEST_F(StationServerRequests, SearchFindsTheServersStations)
{
    request(searchList, "Jazz");
    ASSERT_GT(window.lists[searchList]->getCount(), 0);
    EXPECT_EQ(window.lastRequest, "Jazz");
    EXPECT_EQ(window.getText(),
              "Tarnwave / search by Jazz   (" + std::to_string(window.lists[searchList]->getCount()) + " entries)");
}

} // namespace
