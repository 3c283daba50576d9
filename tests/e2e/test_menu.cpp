// The host's plug-in menu: what GET /api/widgets shows before a plug-in runs,
// and that OK there starts the plug-in and the menu comes back after it.

#include "emulator_process.h"
#include "widget_json.h"

#include <gtest/gtest.h>

namespace {

TEST(EmulatorMenu, WidgetsShowThePluginMenu)
{
    EmulatorProcess emulator({"--plugin", testPluginPath(), "--no-autostart", "--directory", unusedDirectory});
    const HttpReply widgets = emulator.get("/api/widgets");
    ASSERT_EQ(widgets.status, 200);
    EXPECT_EQ(widgets.contentType, "application/json");
    EXPECT_TRUE(showsWidget(widgets.body, "plugin-menu")) << widgets.body;
    EXPECT_TRUE(showsText(widgets.body, "Plug-ins")) << widgets.body;
    // One row, named after the plug-in's file, with the cursor on it.
    EXPECT_NE(widgets.body.find("\"rows\":[\"Test_plugin\"]"), std::string::npos) << widgets.body;
    EXPECT_NE(widgets.body.find("\"current\":0"), std::string::npos) << widgets.body;
    EXPECT_FALSE(showsWidget(widgets.body, "test-plugin")) << widgets.body;
}

TEST(EmulatorMenu, OkInTheMenuStartsThePluginAndTheMenuComesBackAfterIt)
{
    EmulatorProcess emulator({"--plugin", testPluginPath(), "--no-autostart", "--directory", unusedDirectory});
    ASSERT_EQ(emulator.post("/api/key/ok").status, 200);
    ASSERT_TRUE(emulator.waitForBody("/api/widgets", "\"name\":\"test-plugin\""));
    EXPECT_FALSE(showsWidget(emulator.get("/api/widgets").body, "plugin-menu"));

    // The exit key closes the plug-in's window: gPlugin_exec returns.
    ASSERT_EQ(emulator.post("/api/key/exit").status, 200);
    ASSERT_TRUE(emulator.waitForBody("/api/widgets", "\"name\":\"plugin-menu\""));
    EXPECT_FALSE(showsWidget(emulator.get("/api/widgets").body, "test-plugin"));
    // And the emulator keeps running: the plug-in can be started again.
    EXPECT_EQ(emulator.post("/api/plugin/start").status, 200);
    EXPECT_TRUE(showsWidget(emulator.get("/api/widgets").body, "test-plugin"));
}

TEST(EmulatorMenu, AutostartStartsThePluginAtOnce)
{
    EmulatorProcess emulator({"--plugin", testPluginPath(), "--directory", unusedDirectory});
    EXPECT_TRUE(emulator.waitForBody("/api/widgets", "\"name\":\"test-plugin\""));
}

} // namespace
