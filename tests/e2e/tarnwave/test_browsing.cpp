// Tarnwave in the emulator against the station server: the lists it opens on,
// the colour keys, a genre opened with OK, a list shown again without a new
// request, the status lines of a failing or missing directory, and leaving.

#include "emulator_process.h"
#include "support/station_server_process.h"
#include "support/wait_for.h"
#include "tarnwave_screen.h"
#include "widget_json.h"

#include <gtest/gtest.h>

#include <chrono>
#include <regex>
#include <string>
#include <thread>

using tarnwave_e2e::requestsFor;
using tarnwave_e2e::titleOf;

namespace {

class Browsing : public ::testing::Test
{
protected:
    std::string widgets() const { return screen.widgets(); }
    void key(const std::string &name) const { screen.key(name); }
    void settle() const { screen.settle(); }
    bool waitForTitle(const std::string &prefix) const { return screen.waitForTitle(prefix); }

    StationServerProcess server;
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()}};
    tarnwave_e2e::Screen screen{emulator};
};

TEST_F(Browsing, OpensOnTheEmptyFavourites)
{
    ASSERT_TRUE(waitForTitle("Tarnwave / ")) << widgets();
    EXPECT_EQ(titleOf(widgets()), "Tarnwave / Favourites   (0 entries)");
    EXPECT_TRUE(showsText(widgets(), "index")) << "the red caption names the order";
}

TEST_F(Browsing, YellowFillsTheGenreListWithTheServersCount)
{
    ASSERT_TRUE(waitForTitle("Tarnwave / Favourites"));
    key("yellow");
    ASSERT_TRUE(waitForTitle("Tarnwave / Genre List")) << widgets();
    const std::regex count("\\((\\d+) entries\\)");
    std::smatch match;
    const std::string title = titleOf(widgets());
    ASSERT_TRUE(std::regex_search(title, match, count)) << title;
    EXPECT_GE(std::stoi(match[1]), 30);
    EXPECT_EQ(title, "Tarnwave / Genre List   (" + match[1].str() + " entries)");
    EXPECT_NE(widgets().find("\"count\":" + match[1].str()), std::string::npos) << "the list holds them all";
}

TEST_F(Browsing, OkOnAGenreFillsTheStationList)
{
    ASSERT_TRUE(waitForTitle("Tarnwave / Favourites"));
    key("yellow");
    ASSERT_TRUE(waitForTitle("Tarnwave / Genre List"));
    const std::regex firstRow("\"rows\":\\[\"([^\"]+)\"");
    std::smatch match;
    const std::string shown = widgets();
    ASSERT_TRUE(std::regex_search(shown, match, firstRow)) << shown;
    const std::string genre = match[1].str();
    key("ok");
    ASSERT_TRUE(waitForTitle("Tarnwave / search by " + genre)) << widgets();
    EXPECT_NE(titleOf(widgets()).find("  ("), std::string::npos);
    EXPECT_GE(requestsFor(server, "/sbin/newxml.phtml?search="), 1);
}

TEST_F(Browsing, GreenFillsTheTopList)
{
    ASSERT_TRUE(waitForTitle("Tarnwave / Favourites"));
    key("green");
    ASSERT_TRUE(waitForTitle("Tarnwave / Top List")) << widgets();
    EXPECT_EQ(titleOf(widgets()).find("(0 entries)"), std::string::npos) << titleOf(widgets());
    EXPECT_EQ(requestsFor(server, "genre=Top&mt=audio/mpeg"), 1);
}

TEST_F(Browsing, ComingBackToALoadedListMakesNoNewRequest)
{
    ASSERT_TRUE(waitForTitle("Tarnwave / Favourites"));
    key("yellow");
    ASSERT_TRUE(waitForTitle("Tarnwave / Genre List"));
    const std::string genreTitle = titleOf(widgets());
    key("green");
    ASSERT_TRUE(waitForTitle("Tarnwave / Top List"));
    const int genreRequests = requestsFor(server, "/sbin/newxml.phtml ");
    key("yellow");
    settle();
    EXPECT_EQ(titleOf(widgets()), genreTitle);
    EXPECT_EQ(requestsFor(server, "/sbin/newxml.phtml "), genreRequests) << server.log();
}

TEST_F(Browsing, ExitReturnsToThePluginMenu)
{
    ASSERT_TRUE(waitForTitle("Tarnwave / Favourites"));
    key("exit");
    settle();
    const std::string shown = widgets();
    EXPECT_TRUE(showsWidget(shown, "plugin-menu")) << shown;
    EXPECT_EQ(titleOf(shown), "") << "the plug-in's window is gone";
}

// The genre list trickles in a byte at a time while green asks for the top
// list: the top list comes whole, and the abandoned genre list is fetched
// anew, whole, when yellow is pressed again.
TEST(BrowsingCrossing, AListKeyWhileAListTricklesInLeavesNoListCutShort)
{
    StationServerProcess server;
    server.addFault("/sbin/newxml.phtml", "trickle", 1);
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()}};
    tarnwave_e2e::Screen screen{emulator};
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Favourites"));
    screen.key("yellow");
    ASSERT_TRUE(emulator.waitForBody("/api/widgets", "Download...", std::chrono::seconds(10)));
    std::this_thread::sleep_for(std::chrono::milliseconds(1500)); // a part of the genre list has come
    screen.key("green");
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Top List")) << screen.widgets();
    const std::string topTitle = titleOf(screen.widgets());
    EXPECT_EQ(topTitle.find("(0 entries)"), std::string::npos) << topTitle;
    screen.settle();
    EXPECT_EQ(titleOf(screen.widgets()), topTitle) << "the genres did not land in the top list";

    screen.key("yellow");
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Genre List")) << screen.widgets();
    const std::regex count("\\((\\d+) entries\\)");
    std::smatch match;
    const std::string genreTitle = titleOf(screen.widgets());
    ASSERT_TRUE(std::regex_search(genreTitle, match, count)) << genreTitle;
    EXPECT_GE(std::stoi(match[1]), 30) << "the whole genre list";
    // The server logs a request when it is done: the abandoned one, once it
    // notices the client has gone.
    EXPECT_TRUE(within(std::chrono::seconds(10), [&] { return requestsFor(server, "/sbin/newxml.phtml ") == 2; }))
        << server.log();
}

TEST(BrowsingFailures, AServerAnswering503ShowsItsStatusLine)
{
    StationServerProcess server;
    server.addFault("/sbin/newxml.phtml", "status503");
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()}};
    ASSERT_TRUE(emulator.waitForBody("/api/widgets", "Tarnwave / Favourites", std::chrono::seconds(10)));
    ASSERT_EQ(emulator.post("/api/key/yellow").status, 200);
    EXPECT_TRUE(emulator.waitForBody("/api/widgets", "\"text\":\"error: server replied 503 Service Unavailable\"",
                                     std::chrono::seconds(10)))
        << emulator.get("/api/widgets").body;
}

TEST(BrowsingFailures, AServerThatIsDownShowsItsStatusLine)
{
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", unusedDirectory}};
    ASSERT_TRUE(emulator.waitForBody("/api/widgets", "Tarnwave / Favourites", std::chrono::seconds(10)));
    ASSERT_EQ(emulator.post("/api/key/green").status, 200);
    EXPECT_TRUE(emulator.waitForBody("/api/widgets", "\"text\":\"Can't connect! (check network settings)\"",
                                     std::chrono::seconds(15)))
        << emulator.get("/api/widgets").body;
}

} // namespace
