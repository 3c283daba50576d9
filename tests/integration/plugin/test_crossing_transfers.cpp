// Transfers that overlap over real HTTP: a list request while another list is
// on its way, a list key while a station's playlist is on its way and the
// other way round, OK while a list loads, and a search overtaken by a list key;
// each with the first reply held back until the second has come, and with the
// first reply let go first. A list is only ever built from its own whole reply,
// a list that was abandoned stays empty (and is fetched anew when chosen
// again), and a playlist always plays its own address.

#include "directory_test_support.h"
#include "modal_script.h"
#include "plugin_test_support.h"

#include "scripted_http_server.h"

#include "gui/widgets/escreen.h"
#include "net/ehttpconnection.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using directorytest::namesOf;

namespace {

constexpr int favouritesList = 0;
constexpr int genreList = 1;
constexpr int topList = 2;
constexpr int searchList = 3;

const std::string streamAddress = "http://crossing.example:8000/stream";

const std::vector<std::string> genres = {"Ambient", "Blues", "Country", "Disco", "Electronic"};
const std::vector<std::string> topStations = {"Top One", "Top Two"};
const std::vector<std::string> foundStations = {"Found One", "Found Two", "Found Three"};

std::string genreDocument()
{
    std::string xml = "<genrelist>";
    for (const std::string &name : genres)
        xml += "<genre name=\"" + name + "\"/>";
    return xml + "</genrelist>";
}

std::string stationDocument(const std::vector<std::string> &names)
{
    std::string xml = "<stationlist><tunein base=\"/sbin/tunein-station.pls\"/>";
    int id = 100;
    for (const std::string &name : names)
        xml += "<station name=\"" + name + "\" mt=\"audio/mpeg\" id=\"" + std::to_string(++id)
               + "\" br=\"128\" genre=\"Test\"/>";
    return xml + "</stationlist>";
}

// The gate each kind of request waits at, named after what it fetches.
std::string gateOf(const std::string &target)
{
    if (target.find("tunein-station.pls") != std::string::npos)
        return "playlist";
    if (target.find("genre=Top") != std::string::npos)
        return "top";
    if (target.find("search=") != std::string::npos)
        return "search";
    return "genres";
}

// Every reply is held: lists after a third of their body (so a list cut off
// there would be short), a playlist before its first byte.
ScriptedReply heldReply(const ScriptedRequest &request)
{
    ScriptedReply reply;
    reply.gate = gateOf(request.target);
    if (reply.gate == "playlist") {
        reply.bodyPieces = {"[playlist]\nNumberOfEntries=1\nFile1=" + streamAddress + "\nTitle1=Crossing\n"};
        return reply;
    }
    const std::string body = reply.gate == "genres" ? genreDocument()
                             : reply.gate == "top"  ? stationDocument(topStations)
                                                    : stationDocument(foundStations);
    reply.bodyPieces = {body};
    reply.heldAfter = body.size() / 3;
    return reply;
}

bool press(const char *key)
{
    return eScreen::osd().handleKey(key);
}

class CrossingTransfers : public plugintest::ShownMainWindow
{
protected:
    CrossingTransfers() { box.directoryUrl(server.url("")); }

    // Waits until a request is held at `gate`, so that it surely runs.
    void awaitHeld(const std::string &gate)
    {
        ASSERT_TRUE(box.runUntil([&] { return server.waitingAt(gate) > 0; }, 10s)) << gate;
    }

    // Opens `gate` and runs the loop until the reply held there has gone out
    // and the window has had time to take it in.
    void letGo(const std::string &gate)
    {
        server.open(gate);
        ASSERT_TRUE(box.runUntil([&] { return server.waitingAt(gate) == 0; }, 10s)) << gate;
        box.runUntil([] { return false; }, 300ms);
    }

    // Runs the loop until no transfer of the window runs.
    void awaitIdle()
    {
        ASSERT_TRUE(box.runUntil([this] { return window->connection == nullptr; }, 20s));
    }

    int requestsAt(const std::string &gate)
    {
        int count = 0;
        for (const ScriptedRequest &request : server.received())
            count += gateOf(request.target) == gate;
        return count;
    }

    std::string title() const { return window->getText(); }

    // Station rows of the top list, shown in front, as if it had been loaded.
    void showLoadedTopList()
    {
        int id = 0;
        for (const char *name : {"Loaded One", "Loaded Two"}) {
            auto entry = directorytest::addRow(*window, topList, ++id, name);
            entry->type = Listentry::ENTRY_STATION;
            entry->tuneinBase = "/sbin/tunein-station.pls";
            entry->id = std::to_string(id);
        }
        window->currentList = topList;
        window->showCurrList();
    }

    // The genre list, chosen again, is fetched anew and arrives whole.
    void expectGenresFetchedWholeWhenChosenAgain()
    {
        server.open("genres");
        const int before = requestsAt("genres");
        press("yellow");
        awaitIdle();
        EXPECT_EQ(requestsAt("genres"), before + 1);
        EXPECT_EQ(namesOf(*window, genreList), genres);
        EXPECT_EQ(title(), "Tarnwave / Genre List   (5 entries)");
    }

    ScriptedHttpServer server{heldReply};
    directorytest::StreamPlayerDouble player;
};

TEST_F(CrossingTransfers, AListKeyWhileAListLoadsTheSecondReplyFirst)
{
    press("yellow");
    awaitHeld("genres");
    press("green");
    awaitHeld("top");

    letGo("top");
    EXPECT_EQ(namesOf(*window, topList), topStations);
    EXPECT_EQ(title(), "Tarnwave / Top List   (2 entries)");
    letGo("genres");
    awaitIdle();

    EXPECT_EQ(namesOf(*window, topList), topStations);
    EXPECT_EQ(window->lists[genreList]->getCount(), 0) << "no genre list from half a reply";
    EXPECT_EQ(window->currentList, topList);
    EXPECT_EQ(title(), "Tarnwave / Top List   (2 entries)");
    expectGenresFetchedWholeWhenChosenAgain();
}

TEST_F(CrossingTransfers, AListKeyWhileAListLoadsTheFirstReplyFirst)
{
    press("yellow");
    awaitHeld("genres");
    press("green");
    awaitHeld("top");

    letGo("genres");
    EXPECT_EQ(window->lists[genreList]->getCount(), 0);
    EXPECT_EQ(window->lists[topList]->getCount(), 0) << "the genres do not fill the top list";
    EXPECT_NE(window->connection, nullptr) << "the top list is still on its way";
    letGo("top");
    awaitIdle();

    EXPECT_EQ(namesOf(*window, topList), topStations);
    EXPECT_EQ(title(), "Tarnwave / Top List   (2 entries)");
    expectGenresFetchedWholeWhenChosenAgain();
}

TEST_F(CrossingTransfers, AListKeyWhileAPlaylistLoadsThePlaylistFirst)
{
    showLoadedTopList();
    press("ok");
    awaitHeld("playlist");
    press("yellow");
    awaitHeld("genres");

    letGo("playlist");
    EXPECT_EQ(player.playing, streamAddress);
    EXPECT_EQ(window->selectedEntry->entry->url, streamAddress);
    EXPECT_NE(window->connection, nullptr) << "the genre list is still on its way";
    letGo("genres");
    awaitIdle();

    EXPECT_EQ(namesOf(*window, genreList), genres);
    EXPECT_EQ(title(), "Tarnwave / Genre List   (5 entries)");
    EXPECT_EQ(player.playing, streamAddress);
}

TEST_F(CrossingTransfers, AListKeyWhileAPlaylistLoadsTheListFirst)
{
    showLoadedTopList();
    press("ok");
    awaitHeld("playlist");
    press("yellow");
    awaitHeld("genres");

    letGo("genres");
    EXPECT_EQ(namesOf(*window, genreList), genres);
    EXPECT_EQ(title(), "Tarnwave / Genre List   (5 entries)");
    EXPECT_NE(window->connection, nullptr) << "the playlist is still on its way";
    letGo("playlist");
    awaitIdle();

    EXPECT_EQ(player.playing, streamAddress);
    EXPECT_EQ(window->lists[topList]->getEntry(0)->entry->url, streamAddress) << "the chosen station has it";
    EXPECT_EQ(namesOf(*window, genreList), genres);
}

TEST_F(CrossingTransfers, OkWhileAListLoadsDoesNothing)
{
    showLoadedTopList();
    press("yellow");
    awaitHeld("genres");
    ASSERT_TRUE(window->lists[topList]->isVisible()) << "the loaded list stays in front meanwhile";

    press("ok");
    box.runUntil([] { return false; }, 300ms);
    EXPECT_EQ(requestsAt("playlist"), 0);
    EXPECT_EQ(window->selectedEntry, nullptr);

    letGo("genres");
    awaitIdle();
    EXPECT_EQ(namesOf(*window, genreList), genres);
    EXPECT_TRUE(player.playing.empty());
}

TEST_F(CrossingTransfers, OkAfterTheListHasArrivedOpensItsRow)
{
    server.open("genres");
    press("yellow");
    awaitIdle();
    ASSERT_EQ(namesOf(*window, genreList), genres);

    press("ok");
    awaitHeld("search");
    letGo("search");
    awaitIdle();
    EXPECT_EQ(namesOf(*window, searchList), foundStations);
    EXPECT_EQ(title(), "Tarnwave / search by Ambient   (3 entries)");
}

class CrossingSearch : public CrossingTransfers
{
protected:
    // The search of the menu for "rock", left running at its gate.
    void searchForRock()
    {
        script.expect("setup_menu", [](eWidget &) {
            press("down");
            press("ok");
        });
        script.expect("Ctarnwave_search", [](eWidget &searchWindow) {
            dynamic_cast<Ctarnwave_search &>(searchWindow).input->setText("rock");
            press("down");
            press("ok");
        });
        press("menu");
        ASSERT_TRUE(script.finished()) << script.problems();
        awaitHeld("search");
    }

    plugintest::ModalScript script{box.app};
};

TEST_F(CrossingSearch, AListKeyWhileASearchLoadsTheListFirst)
{
    searchForRock();
    press("green");
    awaitHeld("top");

    letGo("top");
    EXPECT_EQ(namesOf(*window, topList), topStations);
    letGo("search");
    awaitIdle();

    EXPECT_EQ(window->lists[searchList]->getCount(), 0) << "no search list from half a reply";
    EXPECT_EQ(namesOf(*window, topList), topStations);
    EXPECT_EQ(title(), "Tarnwave / Top List   (2 entries)");
}

TEST_F(CrossingSearch, AListKeyWhileASearchLoadsTheSearchFirst)
{
    searchForRock();
    press("green");
    awaitHeld("top");

    letGo("search");
    EXPECT_EQ(window->lists[searchList]->getCount(), 0);
    EXPECT_EQ(window->lists[topList]->getCount(), 0) << "the search does not fill the top list";
    letGo("top");
    awaitIdle();

    EXPECT_EQ(namesOf(*window, topList), topStations);
    EXPECT_EQ(title(), "Tarnwave / Top List   (2 entries)");
}

TEST_F(CrossingTransfers, ALoadedListChosenWhileAnotherLoadsKeepsItsRows)
{
    directorytest::addRow(*window, favouritesList, 1, "My Station", "http://mine.example/stream");
    press("yellow");
    awaitHeld("genres");
    press("blue");
    EXPECT_EQ(title(), "Tarnwave / Favourites   (1 entries)");

    letGo("genres");
    awaitIdle();
    EXPECT_EQ(namesOf(*window, favouritesList), std::vector<std::string>{"My Station"})
        << "the genres never land in the favourites";
    EXPECT_EQ(window->lists[genreList]->getCount(), 0);
    expectGenresFetchedWholeWhenChosenAgain();
}

} // namespace
