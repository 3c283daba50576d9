#ifndef TARNWAVE_TESTS_UNIT_PLUGIN_PLUGIN_TEST_SUPPORT_H
#define TARNWAVE_TESTS_UNIT_PLUGIN_PLUGIN_TEST_SUPPORT_H

// What every test of the plug-in's windows needs: a temporary box root, the
// application loop, and the skin the box uses (the built default skin, or the
// test skin that lacks the colour-key captions and "fontsize").

#include "plugin/ctarnwave.h"

#include "base/ebase.h"
#include "base/econfig.h"
#include "base/messages.h"
#include "gui/eskin.h"
#include "gui/widgets/escreen.h"
#include "support/run_loop.h"
#include "support/temp_dir.h"
#include "system/decoder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace plugintest {

inline std::string defaultSkinPath()
{
    return std::string(TARNWAVE_BINARY_DIR) + "/data/skin/default.xml";
}

inline std::string testSkinPath()
{
    return std::string(TARNWAVE_BINARY_DIR) + "/data/skin-test/skin.xml";
}

// A box for one test: root, loop and active skin. Tests that talk to a
// directory set "/tarnwave/directory" with directoryUrl().
class Box
{
public:
    explicit Box(const std::string &skinPath = defaultSkinPath())
    {
        eConfig::reload();
        skin = std::make_unique<eSkin>();
        EXPECT_EQ(skin->load(skinPath.c_str()), 0) << skinPath;
        skin->setActive();
    }
    ~Box()
    {
        // Leave no damage behind for the next test on the shared screen.
        eScreen::osd().compose();
    }

    void directoryUrl(const std::string &url) { eConfig::getInstance()->setKey("/tarnwave/directory", url.c_str()); }

    // Runs the loop until `done` holds (false after `limit`).
    template <class Predicate>
    bool runUntil(Predicate done, std::chrono::milliseconds limit = std::chrono::seconds(5))
    {
        return ::runUntil(app, done, limit);
    }

    TempBoxRoot root;
    eApplication app;
    std::unique_ptr<eSkin> skin;
};

// A box with Tarnwave's main window shown on it, in English, on the TV service
// of a freshly started box. The window is made in SetUp, so that a derived
// fixture can prepare the box in its constructor, and goes in TearDown,
// before the derived fixture's members (a stand-in player, say). What the
// window changes of the process (language, sort order, decoder) is put back.
class ShownMainWindow : public ::testing::Test
{
protected:
    ShownMainWindow()
    {
        setMessageLanguage("");
        Decoder::reset();
    }
    ~ShownMainWindow() override
    {
        setMessageLanguage("");
        Listentry::setSort = Listentry::SORT_INDEX;
        Decoder::reset();
    }

    void SetUp() override
    {
        window = std::make_unique<Ctarnwave>();
        window->show();
    }
    void TearDown() override { window.reset(); }

    // For tests that run the status ticks themselves: the first tick that
    // the window planned does not come.
    void stopTicks() { window->statusTimer->stop(); }

    Box box;
    std::unique_ptr<Ctarnwave> window;
};

} // namespace plugintest

#endif
