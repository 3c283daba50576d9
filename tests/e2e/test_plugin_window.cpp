// POST /api/plugin/start shows the plug-in's window, and keys posted to the
// control API reach it as remote-control keys.

#include "emulator_process.h"
#include "widget_json.h"

#include <gtest/gtest.h>

namespace {

class PluginWindow : public ::testing::Test
{
protected:
    EmulatorProcess emulator{{"--plugin", testPluginPath(), "--no-autostart", "--directory", unusedDirectory}};

    std::string widgets() const { return emulator.get("/api/widgets").body; }
};

TEST_F(PluginWindow, StartShowsItsWindow)
{
    const HttpReply started = emulator.post("/api/plugin/start");
    ASSERT_EQ(started.status, 200) << started.body;
    EXPECT_EQ(started.body, R"({"started":true,"running":true,"window":"Test plug-in"})");
    // The reply comes once the window is up: no waiting needed.
    const std::string shown = widgets();
    EXPECT_TRUE(showsWidget(shown, "test-plugin")) << shown;
    EXPECT_TRUE(showsText(shown, "key: none")) << shown;
    EXPECT_FALSE(showsWidget(shown, "plugin-menu")) << shown;
}

TEST_F(PluginWindow, KeysReachIt)
{
    ASSERT_EQ(emulator.post("/api/plugin/start").status, 200);

    const HttpReply green = emulator.post("/api/key/green");
    ASSERT_EQ(green.status, 200);
    EXPECT_EQ(green.body, R"({"key":"green","used":true,"modal":false})");
    EXPECT_TRUE(showsText(widgets(), "key: green"));

    ASSERT_EQ(emulator.post("/api/key/5").status, 200);
    EXPECT_TRUE(showsText(widgets(), "key: number5"));

    // up and down move the list's cursor; OK picks the row.
    ASSERT_EQ(emulator.post("/api/key/down").status, 200);
    EXPECT_NE(widgets().find("\"rows\":[\"first\",\"second\",\"third\"],\"count\":3,\"current\":1"), std::string::npos)
        << widgets();
    ASSERT_EQ(emulator.post("/api/key/ok").status, 200);
    EXPECT_TRUE(showsText(widgets(), "chosen: second"));

    // Typed characters go to the focused widget's window.
    ASSERT_EQ(emulator.post("/api/text", "x").status, 200);
    EXPECT_TRUE(showsText(widgets(), "typed: x"));
}

TEST_F(PluginWindow, AnUnknownKeyIsRefused)
{
    ASSERT_EQ(emulator.post("/api/plugin/start").status, 200);
    const HttpReply reply = emulator.post("/api/key/power");
    EXPECT_EQ(reply.status, 404);
    EXPECT_NE(reply.body.find("no remote-control key is called \\\"power\\\""), std::string::npos) << reply.body;
    EXPECT_TRUE(showsText(widgets(), "key: none"));
}

TEST_F(PluginWindow, ASecondStartWhileItRunsIsRefused)
{
    ASSERT_EQ(emulator.post("/api/plugin/start").status, 200);
    const HttpReply again = emulator.post("/api/plugin/start");
    EXPECT_EQ(again.status, 409);
    EXPECT_EQ(again.body, R"({"error":"the plug-in runs already"})");
}

TEST_F(PluginWindow, ItsTitleIsOnTheLcd)
{
    ASSERT_EQ(emulator.post("/api/plugin/start").status, 200);
    const HttpReply lcd = emulator.get("/api/lcd");
    ASSERT_EQ(lcd.status, 200);
    EXPECT_NE(lcd.body.find(R"("shown":"menu")"), std::string::npos) << lcd.body;
    EXPECT_NE(lcd.body.find(R"("title":"Test plug-in")"), std::string::npos) << lcd.body;
}

} // namespace
