// Hiding after a time without keys, in the emulator: "smaller" shrinks the
// window to the compact bar on the 17th status tick and any key brings it
// back; "hide" makes it disappear into background mode, any key (exit too)
// brings it back, and the next hiding again takes 17 ticks.

#include "emulator_process.h"
#include "tarnwave_screen.h"

#include "support/station_server_process.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <regex>
#include <string>

using namespace std::chrono_literals;
using tarnwave_e2e::Screen;

namespace {

// The height of the main window, or nothing while it is not shown.
std::optional<int> mainWindowHeight(const std::string &widgets)
{
    const std::regex pattern("\\{\"type\":\"eWindow\",\"name\":\"\",\"text\":\"Tarnwave[^\"]*\",\"geometry\":"
                             "\\{\"x\":-?\\d+,\"y\":-?\\d+,\"width\":\\d+,\"height\":(\\d+)\\}");
    std::smatch match;
    if (!std::regex_search(widgets, match, pattern))
        return std::nullopt;
    return std::stoi(match[1]);
}

// The compact bar is 100 high inside its frame, the full window 430.
bool isCompact(const std::string &widgets)
{
    const auto height = mainWindowHeight(widgets);
    return height && *height < 250;
}

bool isFull(const std::string &widgets)
{
    const auto height = mainWindowHeight(widgets);
    return height && *height >= 430;
}

bool isHidden(const std::string &widgets)
{
    return !mainWindowHeight(widgets);
}

// Ticks come a second apart, the first half a second after the start: the
// 17th comes 16.5 s after the idle count was last set to 0. Nothing of it
// may happen before 14 s; well before 40 s it must have happened.
constexpr auto quietFor = 14s;
constexpr auto happensWithin = 40s;

class Autohide : public ::testing::Test
{
protected:
    void start(int autohide)
    {
        BoxContents box;
        box.settings["/tarnwave/autohide"] = autohide;
        emulator.emplace(std::vector<std::string>{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()},
                         box);
        screen.emplace(*emulator);
        ASSERT_TRUE(screen->waitForTitle("Tarnwave / Favourites")) << screen->widgets();
    }

    StationServerProcess server;
    std::optional<EmulatorProcess> emulator;
    std::optional<Screen> screen;
};

TEST_F(Autohide, SmallerShrinksTheWindowOnTheSeventeenthTickAndAnyKeyRestoresIt)
{
    start(61);
    ASSERT_TRUE(isFull(screen->widgets())) << screen->widgets();
    EXPECT_FALSE(screen->waitFor(isCompact, quietFor)) << "shrunk before the 17th tick";
    ASSERT_TRUE(screen->waitFor(isCompact, happensWithin)) << screen->widgets();
    screen->key("down");
    EXPECT_TRUE(isFull(screen->widgets())) << screen->widgets();
    EXPECT_EQ(screen->title(), "Tarnwave / Favourites   (0 entries)") << "the key did nothing else";
}

TEST_F(Autohide, HideDisappearsAnyKeyBringsItBackAndTheNextHidingTakesSeventeenTicksAgain)
{
    start(62);
    EXPECT_FALSE(screen->waitFor(isHidden, quietFor)) << "hidden before the 17th tick";
    ASSERT_TRUE(screen->waitFor(isHidden, happensWithin)) << screen->widgets();

    // Exit ends background mode; it does not leave the plug-in.
    screen->key("exit");
    ASSERT_TRUE(screen->waitFor(isFull, 5s)) << screen->widgets();
    EXPECT_EQ(screen->title(), "Tarnwave / Favourites   (0 entries)");

    EXPECT_FALSE(screen->waitFor(isHidden, quietFor)) << "the idle count did not start from 0";
    ASSERT_TRUE(screen->waitFor(isHidden, happensWithin)) << screen->widgets();
    screen->key("red");
    ASSERT_TRUE(screen->waitFor(isFull, 5s)) << screen->widgets();
    EXPECT_TRUE(tarnwave_e2e::textStartingWith(screen->widgets(), "index") == "index")
        << "the key that ended background mode did not sort";
}

} // namespace
