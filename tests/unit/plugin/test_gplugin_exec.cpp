// The entry point of the built tarnwave.so, called as the host calls it: any
// command shows the LCD's menu page while it runs; only 301 opens the main
// window, runs it until exit and takes it down again.

#include "plugin_library.h"
#include "plugin_test_support.h"

#include "base/elog.h"
#include "base/messages.h"
#include "support/log_lines.h"
#include "system/decoder.h"
#include "system/ezaplcd.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

class PluginEntryPoint : public ::testing::Test
{
protected:
    PluginEntryPoint()
    {
        setMessageLanguage("");
        Decoder::reset();
        pictureWatch = Decoder::pictureChanged().connect([this](TvPicture picture) { pictures.push_back(picture); });
    }
    ~PluginEntryPoint() override
    {
        pictureWatch.disconnect();
        Decoder::reset();
    }

    std::vector<TvPicture> pictures;
    SigC::Connection pictureWatch;
};

TEST_F(PluginEntryPoint, AnyOtherCommandOnlyFlipsTheLcdPagesAndReturnsZero)
{
    // The test skin would log four warnings if a window were built.
    plugintest::Box box(plugintest::testSkinPath());
    plugintest::PluginEntry entry = plugintest::pluginEntry();
    ASSERT_NE(entry, nullptr);
    eZapLCD *lcd = eZapLCD::getInstance();
    const std::size_t osdWindows = eScreen::osd().windows().size();

    for (int command : {0, 1, 300, 302, -301}) {
        SCOPED_TRACE(command);
        eScreen::lcd().compose();
        ASSERT_FALSE(eScreen::lcd().hasDamage());
        const std::uint64_t logBefore = boxlog::lastSequence();

        EXPECT_EQ(entry(command), 0);

        // The pages were hidden and shown again: the LCD has to be drawn anew.
        EXPECT_TRUE(eScreen::lcd().hasDamage());
        EXPECT_TRUE(lcd->idlePage->isVisible());
        EXPECT_FALSE(lcd->menuPage->isVisible());
        // No window: nothing shown, no skin looked at, the decoder left alone.
        EXPECT_EQ(eScreen::osd().windows().size(), osdWindows);
        EXPECT_TRUE(warningsSince(logBefore).empty());
        EXPECT_TRUE(pictures.empty());
    }
}

TEST_F(PluginEntryPoint, Command301RunsTheMainWindowOnTheMenuPageUntilExit)
{
    plugintest::Box box;
    plugintest::PluginEntry entry = plugintest::pluginEntry();
    ASSERT_NE(entry, nullptr);
    eZapLCD *lcd = eZapLCD::getInstance();
    const std::size_t osdWindows = eScreen::osd().windows().size();

    bool looked = false;
    bool menuPageShown = false;
    bool idlePageShown = true;
    std::string windowTitle;
    std::string lcdTitle;
    std::size_t windowsWhileRunning = 0;
    TvPicture pictureWhileRunning = TvPicture::blackScreen;
    eTimer look(eApp);
    look.timeout.connect([&] {
        looked = true;
        menuPageShown = lcd->menuPage->isVisible();
        idlePageShown = lcd->idlePage->isVisible();
        windowsWhileRunning = eScreen::osd().windows().size();
        if (eWidget *active = eScreen::osd().activeWindow())
            windowTitle = active->getText();
        lcdTitle = lcd->menuPage->title->getText();
        pictureWhileRunning = Decoder::picture();
        eScreen::osd().handleKey("exit");
    });
    eTimer safety(eApp);
    safety.timeout.connect([&] {
        if (eWidget *active = eScreen::osd().activeWindow())
            active->close(99);
    });
    look.start(100, true);
    safety.start(5000, true);

    EXPECT_EQ(entry(301), 0);

    ASSERT_TRUE(looked);
    EXPECT_TRUE(menuPageShown);
    EXPECT_FALSE(idlePageShown);
    EXPECT_EQ(windowsWhileRunning, osdWindows + 1);
    EXPECT_EQ(windowTitle, "Tarnwave / Favourites   (0 entries)");
    EXPECT_EQ(lcdTitle, "Tarnwave / Favourites   (0 entries)");
    EXPECT_EQ(pictureWhileRunning, TvPicture::testPictureMuted);

    // Back in the host: the window is gone, the idle page and the TV's sound are back.
    EXPECT_EQ(eScreen::osd().windows().size(), osdWindows);
    EXPECT_TRUE(lcd->idlePage->isVisible());
    EXPECT_FALSE(lcd->menuPage->isVisible());
    EXPECT_EQ(Decoder::picture(), TvPicture::testPictureWithSound);
}

} // namespace
