// The settings menu in the emulator against the station server: its choice
// rows change with left and right and are stored at once, and are shown so
// after the plug-in was left and started again; a search fills the search
// list and is proposed next time; a search of two characters is refused
// with a message, and neither stored nor asked for.

#include "emulator_process.h"
#include "tarnwave_screen.h"

#include "support/station_server_process.h"
#include "support/temp_dir.h"
#include "support/wait_for.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <sstream>
#include <string>

using namespace std::chrono_literals;
using tarnwave_e2e::mainList;
using tarnwave_e2e::menuList;
using tarnwave_e2e::requestsFor;
using tarnwave_e2e::Screen;
using tarnwave_e2e::ShownList;
using tarnwave_e2e::ShownMessage;

namespace {

const std::string backgroundRow = "show in the background (left, right)\t";
const std::string bitrateRow = "Filters for minimum bitrate\t";
const std::string autohideRow = "after 15 seconds\t";

class Menu : public ::testing::Test
{
protected:
    // The value the box's configuration store file holds for `key`
    // ("i:/tarnwave/minbitrate=160" holds "160"); nothing when it has none.
    std::optional<std::string> stored(const std::string &key) const
    {
        std::istringstream lines(readFile(emulator.boxFile("/var/tuxbox/config/boxhost.conf")));
        for (std::string line; std::getline(lines, line);) {
            const std::size_t colon = line.find(':');
            if (colon != std::string::npos && line.compare(colon + 1, key.size() + 1, key + "=") == 0)
                return line.substr(colon + key.size() + 2);
        }
        return std::nullopt;
    }

    bool waitForStored(const std::string &key, const std::string &value) const
    {
        return within(5s, [&] { return stored(key) == value; });
    }

    // Waits until the menu's current row reads `row`.
    bool waitForMenuRow(const std::string &row) const
    {
        return screen.waitFor([&](const std::string &shown) { return menuList(shown).currentRow() == row; });
    }

    // Waits until the search window shows; its field's text.
    std::string searchFieldShown() const
    {
        std::optional<std::string> field;
        EXPECT_TRUE(screen.waitFor([&](const std::string &shown) {
            return (field = Screen::searchField(shown)).has_value();
        })) << screen.widgets();
        return field.value_or("<no search window>");
    }

    StationServerProcess server;
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()}};
    Screen screen{emulator};
};

TEST_F(Menu, ChoiceRowsChangeWithLeftAndRightAndAreStoredAtOnce)
{
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / ")) << screen.widgets();
    ASSERT_TRUE(screen.pointMenuAt(bitrateRow + "128")) << screen.widgets();
    screen.key("right");
    ASSERT_TRUE(waitForMenuRow(bitrateRow + "160")) << screen.widgets();
    EXPECT_TRUE(waitForStored("/tarnwave/minbitrate", "160")) << "stored while the menu is still open";
    screen.key("right");
    ASSERT_TRUE(waitForMenuRow(bitrateRow + "192"));
    EXPECT_TRUE(waitForStored("/tarnwave/minbitrate", "192"));
    screen.key("left");
    ASSERT_TRUE(waitForMenuRow(bitrateRow + "160"));
    EXPECT_TRUE(waitForStored("/tarnwave/minbitrate", "160"));

    ASSERT_TRUE(screen.moveCursorTo(backgroundRow + "  TV >", menuList)) << screen.widgets();
    screen.key("right");
    ASSERT_TRUE(waitForMenuRow(backgroundRow + "<  MVI  ")) << screen.widgets();
    EXPECT_TRUE(waitForStored("/tarnwave/background", "51"));

    ASSERT_TRUE(screen.moveCursorTo(autohideRow + "  nothing >", menuList)) << screen.widgets();
    screen.key("right");
    ASSERT_TRUE(waitForMenuRow(autohideRow + "< smaller >")) << screen.widgets();
    EXPECT_TRUE(waitForStored("/tarnwave/autohide", "61"));
    screen.key("right");
    ASSERT_TRUE(waitForMenuRow(autohideRow + "< hide  ")) << screen.widgets();
    EXPECT_TRUE(waitForStored("/tarnwave/autohide", "62"));
    screen.key("left");
    ASSERT_TRUE(waitForMenuRow(autohideRow + "< smaller >"));
    EXPECT_TRUE(waitForStored("/tarnwave/autohide", "61"));

    // Cancelled, the menu keeps what was changed; and so does the next start.
    screen.key("exit");
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Favourites")) << screen.widgets();
    ASSERT_TRUE(screen.leaveAndStartAgain()) << screen.widgets();
    screen.key("menu");
    ASSERT_TRUE(screen.waitForWindow(tarnwave_e2e::setupMenu)) << screen.widgets();
    const ShownList rows = menuList(screen.widgets());
    EXPECT_GE(rows.indexOf(backgroundRow + "<  MVI  "), 0) << screen.widgets();
    EXPECT_GE(rows.indexOf(bitrateRow + "160"), 0) << screen.widgets();
    EXPECT_GE(rows.indexOf(autohideRow + "< smaller >"), 0) << screen.widgets();
    screen.key("exit");
}

TEST_F(Menu, SearchFillsTheSearchListAndIsProposedWhenStartedAgain)
{
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / ")) << screen.widgets();
    const std::optional<std::string> proposal = screen.search("jazz");
    ASSERT_TRUE(proposal) << screen.widgets();
    EXPECT_EQ(*proposal, "disco") << "before the first search";

    // The title names the search and counts the stations found.
    ASSERT_TRUE(screen.waitFor([](const std::string &shown) {
        const std::size_t count = mainList(shown).rows.size();
        return count > 0
               && tarnwave_e2e::titleOf(shown) == "Tarnwave / search by jazz   (" + std::to_string(count) + " entries)";
    })) << screen.widgets();
    EXPECT_EQ(requestsFor(server, "\"GET /sbin/newxml.phtml?search=jazz "), 1) << server.log();
    EXPECT_TRUE(waitForStored("/tarnwave/lastsearch", "jazz"));

    ASSERT_TRUE(screen.leaveAndStartAgain()) << screen.widgets();
    ASSERT_TRUE(screen.chooseFromMenu("search")) << screen.widgets();
    EXPECT_EQ(searchFieldShown(), "jazz");
    // Cancelled, the search window asks for nothing.
    screen.key("exit");
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Favourites")) << screen.widgets();
    screen.settle();
    EXPECT_EQ(requestsFor(server, "search="), 1) << server.log();
}

TEST_F(Menu, SearchOfTwoCharactersIsRefusedAndNeitherStoredNorAskedFor)
{
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / ")) << screen.widgets();
    ASSERT_TRUE(screen.search("ab")) << screen.widgets();
    const ShownMessage message = screen.waitForMessage();
    ASSERT_TRUE(message.shown) << screen.widgets();
    EXPECT_EQ(message.caption, "Info");
    EXPECT_EQ(message.text, "minimum 3 characters");
    EXPECT_EQ(message.icon, "messagebox.info");
    ASSERT_TRUE(screen.answer("ok")) << screen.widgets();

    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Favourites")) << screen.widgets();
    screen.settle();
    EXPECT_EQ(requestsFor(server, "search="), 0) << server.log();
    EXPECT_EQ(stored("/tarnwave/lastsearch"), std::nullopt);
    ASSERT_TRUE(screen.chooseFromMenu("search")) << screen.widgets();
    EXPECT_EQ(searchFieldShown(), "disco") << "the proposal is as before";
    screen.key("exit");
}

} // namespace
