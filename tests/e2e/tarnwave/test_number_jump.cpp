// The number jump in the emulator against the station server: on the top
// list sorted by name, a digit opens the number window, and once it has
// closed (by itself, or at once with OK after a second digit) the cursor is
// on the row that shows that number, the station the directory sent at that
// place, not the row at that place; on an empty list a digit opens nothing.

#include "emulator_process.h"
#include "tarnwave_screen.h"

#include "support/station_server_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using tarnwave_e2e::mainList;
using tarnwave_e2e::Screen;
using tarnwave_e2e::ShownList;
using tarnwave_e2e::titleOf;

namespace {

class NumberJump : public ::testing::Test
{
protected:
    // Green shows the top list in the order of its numbers; red twice sorts
    // it by name. The names in number order (the row numbered n is
    // byNumber[n - 1]) and the list as sorted.
    void showTopListByName()
    {
        ASSERT_TRUE(screen.waitForTitle("Tarnwave / ")) << screen.widgets();
        screen.key("green");
        ASSERT_TRUE(screen.waitFor([](const std::string &shown) {
            return titleOf(shown).starts_with("Tarnwave / Top List") && !mainList(shown).rows.empty();
        })) << screen.widgets();
        byNumber = mainList(screen.widgets()).rows;
        ASSERT_EQ(std::set<std::string>(byNumber.begin(), byNumber.end()).size(), byNumber.size())
            << "the names tell the rows apart";
        screen.key("red");
        screen.key("red");
        ASSERT_TRUE(screen.waitFor([](const std::string &shown) {
            return shown.find("\"name\":\"key_red\",\"text\":\"name\"") != std::string::npos;
        })) << screen.widgets();
        byName = mainList(screen.widgets());
        ASSERT_TRUE(std::is_sorted(byName.rows.begin(), byName.rows.end())) << screen.widgets();
        ASSERT_EQ(byName.rows.size(), byNumber.size());
    }

    // A number from `from` to `to` whose row is neither at that place in the
    // sorted list nor the current row, so that only a jump by the number
    // shown finds it; 0 when none is.
    int telltaleNumber(int from, int to) const
    {
        for (int number = from; number <= std::min(to, static_cast<int>(byNumber.size())); ++number) {
            const std::string &row = byNumber[static_cast<std::size_t>(number - 1)];
            if (number % 10 != 0 && row != byName.rows[static_cast<std::size_t>(number - 1)]
                && row != byName.currentRow())
                return number;
        }
        return 0;
    }

    void waitForTheNumberWindow() const
    {
        ASSERT_TRUE(screen.waitFor([](const std::string &shown) {
            return titleOf(shown) == "Title" && shown.find("\"type\":\"eNumber\"") != std::string::npos;
        })) << screen.widgets();
    }

    void waitForTheTopList() const { ASSERT_TRUE(screen.waitForTitle("Tarnwave / Top List", 15s)) << screen.widgets(); }

    StationServerProcess server;
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()}};
    Screen screen{emulator};
    std::vector<std::string> byNumber;
    ShownList byName;
};

TEST_F(NumberJump, ADigitJumpsToTheRowWithThatNumberWhenTheWindowClosesByItself)
{
    showTopListByName();
    const int number = telltaleNumber(1, 9);
    ASSERT_NE(number, 0) << screen.widgets();
    screen.key(std::to_string(number));
    waitForTheNumberWindow();
    waitForTheTopList();
    EXPECT_EQ(mainList(screen.widgets()).currentRow(), byNumber[static_cast<std::size_t>(number - 1)])
        << "number " << number << ": " << screen.widgets();
}

TEST_F(NumberJump, TwoDigitsAndOkJumpToTheRowWithThatNumber)
{
    showTopListByName();
    const int number = telltaleNumber(11, 99);
    ASSERT_NE(number, 0) << screen.widgets();
    screen.key(std::to_string(number / 10));
    waitForTheNumberWindow();
    screen.key(std::to_string(number % 10));
    screen.key("ok");
    waitForTheTopList();
    EXPECT_EQ(mainList(screen.widgets()).currentRow(), byNumber[static_cast<std::size_t>(number - 1)])
        << "number " << number << ": " << screen.widgets();
}

TEST_F(NumberJump, ADigitOnTheEmptyFavouritesOpensNothing)
{
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Favourites   (0 entries)")) << screen.widgets();
    screen.key("5");
    screen.settle();
    const std::string shown = screen.widgets();
    EXPECT_EQ(shown.find("\"type\":\"eNumber\""), std::string::npos) << shown;
    EXPECT_EQ(titleOf(shown), "Tarnwave / Favourites   (0 entries)");
}

} // namespace
