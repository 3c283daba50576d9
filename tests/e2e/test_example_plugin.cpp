// The example plug-in of examples/hello_list, run in the emulator as a
// plug-in author would run it: its window and rows, the cursor, OK, the colour
// keys, the exit key, the front panel, and the setting it keeps.

#include "emulator_process.h"
#include "widget_json.h"

#include "base/whole_file.h"

#include <gtest/gtest.h>

#include <optional>
#include <regex>
#include <string>

namespace {

// What the fruit list shows: its rows' texts as the JSON array's inside
// ("\"Cherry\",\"Apple\""), and the current row's index.
struct ListState
{
    std::string rows;
    int current = -1;
};

std::optional<ListState> fruitList(const std::string &widgets)
{
    static const std::regex pattern(R"re("name":"fruit",.*?"rows":\[([^\]]*)\],"count":\d+,"current":(-?\d+))re");
    std::smatch match;
    if (!std::regex_search(widgets, match, pattern))
        return std::nullopt;
    return ListState{match[1], std::stoi(match[2])};
}

class ExamplePlugin : public ::testing::Test
{
protected:
    EmulatorProcess emulator{{"--plugin", TARNWAVE_EXAMPLE_PLUGIN, "--no-autostart", "--directory", unusedDirectory}};

    void SetUp() override { start(); }

    void start()
    {
        const HttpReply started = emulator.post("/api/plugin/start");
        ASSERT_EQ(started.status, 200) << started.body;
        ASSERT_EQ(started.body, R"({"started":true,"running":true,"window":"Hello list"})");
    }

    void press(const std::string &key)
    {
        const HttpReply reply = emulator.post("/api/key/" + key);
        ASSERT_EQ(reply.status, 200) << reply.body;
        ASSERT_EQ(reply.body, R"({"key":")" + key + R"(","used":true,"modal":false})");
    }

    // Presses exit and waits for the host's menu to be back.
    void leave()
    {
        press("exit");
        ASSERT_TRUE(emulator.waitForBody("/api/widgets", "\"name\":\"plugin-menu\"")) << widgets();
    }

    std::string widgets() const { return emulator.get("/api/widgets").body; }

    ListState list() const
    {
        const std::string shown = widgets();
        const std::optional<ListState> state = fruitList(shown);
        EXPECT_TRUE(state.has_value()) << shown;
        return state.value_or(ListState{});
    }
};

TEST_F(ExamplePlugin, ShowsItsWindowWithThreeRowsAndTheKeyCaptions)
{
    const std::string shown = widgets();
    EXPECT_TRUE(showsWidget(shown, "hello-list")) << shown;
    EXPECT_TRUE(showsText(shown, "Hello list")) << shown;
    EXPECT_FALSE(showsWidget(shown, "plugin-menu")) << shown;
    EXPECT_TRUE(showsText(shown, "Nothing chosen yet")) << shown;
    EXPECT_TRUE(showsText(shown, "Sort")) << shown;
    EXPECT_TRUE(showsText(shown, "Add")) << shown;
    // The list has the focus, with the cursor on its first row.
    EXPECT_TRUE(std::regex_search(shown, std::regex(R"("name":"fruit",[^{]*\{[^}]*\},"visible":true,"focused":true)")))
        << shown;
    const ListState state = list();
    EXPECT_EQ(state.rows, R"("Cherry","Apple","Banana")");
    EXPECT_EQ(state.current, 0);
}

TEST_F(ExamplePlugin, DownMovesTheCursorOneRow)
{
    press("down");
    EXPECT_EQ(list().current, 1);
    press("down");
    EXPECT_EQ(list().current, 2);
    press("up");
    EXPECT_EQ(list().current, 1);
    EXPECT_EQ(list().rows, R"("Cherry","Apple","Banana")");
}

TEST_F(ExamplePlugin, OkShowsTheRowUnderTheCursor)
{
    press("down");
    press("ok");
    EXPECT_TRUE(showsText(widgets(), "Chosen: Apple")) << widgets();
    press("down");
    press("ok");
    EXPECT_TRUE(showsText(widgets(), "Chosen: Banana")) << widgets();
}

TEST_F(ExamplePlugin, RedSortsTheRowsByNameAndTheCursorStaysOnItsRow)
{
    press("red");
    const ListState state = list();
    EXPECT_EQ(state.rows, R"("Apple","Banana","Cherry")");
    EXPECT_EQ(state.current, 2); // Cherry, where the cursor was
    press("ok");
    EXPECT_TRUE(showsText(widgets(), "Chosen: Cherry")) << widgets();
}

TEST_F(ExamplePlugin, GreenAddsARowAndPutsTheCursorOnIt)
{
    press("green");
    ListState state = list();
    EXPECT_EQ(state.rows, R"("Cherry","Apple","Banana","New fruit 1")");
    EXPECT_EQ(state.current, 3);
    press("green");
    state = list();
    EXPECT_EQ(state.rows, R"("Cherry","Apple","Banana","New fruit 1","New fruit 2")");
    EXPECT_EQ(state.current, 4);
    // Sorted, the new rows go after Cherry.
    press("red");
    EXPECT_EQ(list().rows, R"("Apple","Banana","Cherry","New fruit 1","New fruit 2")");
}

TEST_F(ExamplePlugin, ExitClosesTheWindowAndTheHostMenuComesBack)
{
    leave();
    const std::string shown = widgets();
    EXPECT_FALSE(showsWidget(shown, "hello-list")) << shown;
    EXPECT_FALSE(showsWidget(shown, "fruit")) << shown;
    // gPlugin_exec returned and gave the front panel back to the idle page.
    const HttpReply lcd = emulator.get("/api/lcd");
    EXPECT_NE(lcd.body.find(R"("shown":"idle")"), std::string::npos) << lcd.body;
    const HttpReply log = emulator.get("/api/log");
    EXPECT_NE(log.body.find("[hello_list] window closed with -1"), std::string::npos) << log.body;
    EXPECT_NE(log.body.find("the plug-in returned 0"), std::string::npos) << log.body;
}

TEST_F(ExamplePlugin, TheFrontPanelShowsTheTitleAndTheCurrentRow)
{
    press("down");
    const HttpReply lcd = emulator.get("/api/lcd");
    ASSERT_EQ(lcd.status, 200);
    EXPECT_NE(lcd.body.find(R"("shown":"menu")"), std::string::npos) << lcd.body;
    EXPECT_NE(lcd.body.find(R"("title":"Hello list")"), std::string::npos) << lcd.body;
    EXPECT_NE(lcd.body.find("Apple"), std::string::npos) << lcd.body;
}

TEST_F(ExamplePlugin, TheChoiceIsKeptInTheSettingsForTheNextStart)
{
    press("down");
    press("down");
    press("ok");
    leave();
    start();
    EXPECT_TRUE(showsText(widgets(), "Chosen last time: Banana")) << widgets();

    std::string store;
    ASSERT_EQ(boxfile::readWholeFile(emulator.boxFile("/var/tuxbox/config/boxhost.conf"), store), 0);
    EXPECT_NE(store.find("s:/hello_list/lastChosen=Banana\n"), std::string::npos) << store;
}

} // namespace
