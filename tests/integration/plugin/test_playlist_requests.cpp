// A station's playlist over real HTTP: fetched from the tune-in address,
// joined from the pieces it arrives in, its first address played; and what a
// failed playlist request leaves.

#include "directory_test_support.h"
#include "plugin_test_support.h"

#include "scripted_http_server.h"
#include "support/station_server_process.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using directorytest::addRow;
using directorytest::StreamPlayerDouble;

namespace {

class PlaylistRequests : public ::testing::Test
{
protected:
    // Chooses a new station row of list 3 and fetches the playlist at `url`.
    std::shared_ptr<Listentry> fetchPlaylist(const std::string &url, const char *name = "Station")
    {
        auto entry = addRow(window, 3, window.lists[3]->getCount() + 1, name);
        entry->type = Listentry::ENTRY_STATION;
        window.selectedEntry = window.lists[3]->getEntry(window.lists[3]->getCount() - 1);
        window.start_download(url, true);
        EXPECT_TRUE(box.runUntil([this] { return window.connection == nullptr; }, 20s));
        return entry;
    }

    plugintest::Box box;
    StreamPlayerDouble player;
    Ctarnwave window;
};

TEST_F(PlaylistRequests, PlaylistArrivingInSeveralPiecesIsJoinedInOrder)
{
    ScriptedHttpServer server([](const ScriptedRequest &) {
        ScriptedReply reply;
        reply.bodyPieces = {"[playlist]\nNumberOfEntries=1\nFi", "le1=http://pieces.exa",
                            "mple:8000/stream\nTitle1=In pieces\n", "Length1=-1\nVersion=2\n"};
        reply.pauseAfterPiece = 30ms;
        return reply;
    });
    const std::uint64_t before = boxlog::lastSequence();

    auto entry = fetchPlaylist(server.url("/tunein.pls?id=1"));

    EXPECT_TRUE(directorytest::logHas(before, "[TWV] Playlisturl=" + server.url("/tunein.pls?id=1")));
    EXPECT_EQ(entry->url, "http://pieces.example:8000/stream");
    EXPECT_EQ(player.playing, "http://pieces.example:8000/stream");
    EXPECT_EQ(window.playlistText, "");
}

TEST_F(PlaylistRequests, StationOfTheServerIsResolvedAndPlayed)
{
    StationServerProcess server;
    box.directoryUrl(server.baseUrl());
    window.currentList = 3;
    window.start_download("Jazz", false);
    ASSERT_TRUE(box.runUntil([this] { return window.connection == nullptr; }, 20s));
    ASSERT_GT(window.lists[3]->getCount(), 0);
    my_ListBox *row = window.lists[3]->getEntry(0);
    const Listentry &station = *row->entry;

    window.selectedEntry = row;
    window.start_download(server.baseUrl() + station.tuneinBase + "?id=" + station.id, true);
    EXPECT_EQ(window.lb_status->getText(), "Download...  One moment please...");
    ASSERT_TRUE(box.runUntil([this] { return window.connection == nullptr; }, 20s));

    const std::string address = server.baseUrl() + "/stream/" + station.id;
    EXPECT_EQ(station.url, address);
    EXPECT_EQ(player.playing, address);
    EXPECT_EQ(window.lb_station->getText(), station.name);
    EXPECT_EQ(window.lb_title->getText(), "bitrate: " + station.bitrate + "\tgenre: " + station.genre);
}

TEST_F(PlaylistRequests, NotFoundKeepsThePreviousStreamPlaying)
{
    StationServerProcess server;
    addRow(window, 0, 1, "Playing", "http://playing.example/stream");
    window.play(window.lists[0]->getEntry(0));
    player.calls.clear();

    auto entry = fetchPlaylist(server.baseUrl() + "/sbin/tunein-station.pls?id=99999999");

    EXPECT_EQ(window.lb_status->getText(), "error: server replied 404 Not Found");
    EXPECT_EQ(player.playing, "http://playing.example/stream");
    EXPECT_TRUE(player.calls.empty());
    EXPECT_EQ(entry->url, "");
    EXPECT_EQ(window.playlistText, "");
}

TEST_F(PlaylistRequests, HostNameThatDoesNotResolveStopsNothing)
{
    addRow(window, 0, 1, "Playing", "http://playing.example/stream");
    window.play(window.lists[0]->getEntry(0));
    player.calls.clear();

    fetchPlaylist("http://tarnwave-no-such-host.invalid:8150/sbin/tunein-station.pls?id=1");

    EXPECT_EQ(window.lb_status->getText(), "Can't resolve hostname!");
    EXPECT_TRUE(player.calls.empty());
    EXPECT_EQ(window.connection, nullptr);
}

TEST_F(PlaylistRequests, PlaylistRequestLeavesTheListParserAndTheListAlone)
{
    ScriptedHttpServer server([](const ScriptedRequest &) {
        ScriptedReply reply;
        reply.bodyPieces = {"File1=http://p/\n"};
        return reply;
    });
    window.currentList = 1;
    delete window.xmlParser; // whatever parser was left behind
    auto *parser = new XMLTreeParser("UTF-8");
    window.xmlParser = parser;
    fetchPlaylist(server.url("/p.pls"));
    EXPECT_EQ(window.xmlParser, parser);
    EXPECT_EQ(window.currentList, 1);
    EXPECT_EQ(player.playing, "http://p/");
}

} // namespace
