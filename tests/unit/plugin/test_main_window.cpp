// The main window as it is built and torn down: the screen it opens on, the
// colour-key captions from the skin or made in code, the widget tree, the TV
// decoder's background and its restoration, and a transfer cut off by leaving.

#include "plugin_test_support.h"
#include "shell_test_doubles.h"

#include "plugin/ctarnwave.h"

#include "base/elog.h"
#include "base/messages.h"
#include "gui/ebutton.h"
#include "net/ehttpconnection.h"
#include "support/log_lines.h"
#include "system/decoder.h"
#include "system/plabel.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

namespace {

// Where a window's client area lies on the screen.
eRect clientArea(const eWidget &window)
{
    return window.getClientRect().translated(window.getAbsolutePosition());
}

std::vector<std::string> undefinedElementWarnings(std::uint64_t since)
{
    std::vector<std::string> lines;
    for (const std::string &line : warningsSince(since))
        if (line.find("skin has undefined element") != std::string::npos)
            lines.push_back(line);
    return lines;
}

// Each test starts with the TV service of a freshly started box, in English.
class MainWindow : public ::testing::Test
{
protected:
    MainWindow()
    {
        setMessageLanguage("");
        Decoder::reset();
    }
    ~MainWindow() override
    {
        setMessageLanguage("");
        Decoder::reset();
    }
};

TEST_F(MainWindow, OpensOnTheFavouritesInTheFullViewWithTheRedCaptionReadingIndex)
{
    plugintest::Box box;
    Ctarnwave window;
    window.show();

    EXPECT_EQ(window.currentList, 0);
    EXPECT_TRUE(window.fullView);
    EXPECT_EQ(window.getText(), "Tarnwave / Favourites   (0 entries)");
    EXPECT_EQ(clientArea(window), eRect(ePoint(80, 90), eSize(560, 430)));
    EXPECT_TRUE(window.lists[0]->isVisible());
    EXPECT_EQ(window.bt_red->getText(), "index");
    EXPECT_EQ(window.bt_green->getText(), "Top List");
    EXPECT_EQ(window.bt_yellow->getText(), "Genre List");
    EXPECT_EQ(window.bt_blue->getText(), "Favourites");
    // The default skin brings the captions: they are its own elements.
    EXPECT_EQ(window.bt_red->getName(), "key_red");
    EXPECT_EQ(window.bt_blue->getName(), "key_blue");
    EXPECT_EQ(window.idleTicks, 0);
    EXPECT_EQ(window.lastRequest, "");
    EXPECT_EQ(window.stream, nullptr);
    EXPECT_EQ(window.selectedEntry, nullptr);
    EXPECT_EQ(window.connection, nullptr);
}

TEST_F(MainWindow, CaptionsAndTitleAreTranslated)
{
    plugintest::Box box;
    setMessageLanguage("de");
    Ctarnwave window;
    EXPECT_EQ(window.bt_red->getText(), "Index");
    EXPECT_EQ(window.bt_green->getText(), "Top-Liste");
    EXPECT_EQ(window.bt_yellow->getText(), "Genre-Liste");
    EXPECT_EQ(window.bt_blue->getText(), "Favoriten");
    EXPECT_EQ(window.getText(), "Tarnwave / Favoriten   (0 Einträge)");
}

TEST_F(MainWindow, ASkinWithoutTheKeyElementsGetsFourCentredColouredCaptionsAndFourWarnings)
{
    plugintest::Box box(plugintest::testSkinPath());
    const std::uint64_t before = boxlog::lastSequence();
    Ctarnwave window;
    window.show();

    EXPECT_EQ(
        undefinedElementWarnings(before),
        (std::vector<std::string>{"skin has undefined element: key_red", "skin has undefined element: key_green",
                                  "skin has undefined element: key_yellow", "skin has undefined element: key_blue"}));

    struct Expected
    {
        eLabel *caption;
        int x;
        const char *colour;
        const char *text;
    };
    const Expected captions[] = {{window.bt_red, 0, "std_dred", "index"},
                                 {window.bt_green, 140, "std_dgreen", "Top List"},
                                 {window.bt_yellow, 280, "std_dyellow", "Genre List"},
                                 {window.bt_blue, 420, "std_dblue", "Favourites"}};
    eScreen::osd().compose();
    for (const Expected &expected : captions) {
        SCOPED_TRACE(expected.text);
        eLabel *caption = expected.caption;
        ASSERT_NE(caption, nullptr);
        EXPECT_EQ(caption->getParent(), &window);
        EXPECT_EQ(caption->getName(), "");
        EXPECT_EQ(caption->getPosition(), ePoint(expected.x, 0));
        EXPECT_EQ(caption->getSize().width(), 140);
        EXPECT_EQ(caption->getAlign(), eTextPara::dirCenter);
        EXPECT_NE(caption->getFlags() & eLabel::flagVCenter, 0);
        EXPECT_EQ(caption->getDeco(), "eButton");
        EXPECT_TRUE(caption->decoration().valid);
        const gColor colour = eSkin::getActive()->queryColor(expected.colour);
        EXPECT_EQ(caption->getBackgroundColor(), colour);
        EXPECT_EQ(caption->getText(), expected.text);
        // Its colour on screen, inside the border and clear of the centred text.
        const ePoint corner = caption->getAbsolutePosition();
        EXPECT_EQ(eScreen::osd().pixmap().colorAt(corner.x() + 4, corner.y() + 3), colour);
    }

    // The four first fallbacks stay behind, unused, as children of the window.
    int strayLabels = 0;
    for (eWidget *child : window.getChildren())
        if (std::string(child->typeName()) == "eLabel" && child != window.statusBar && child != window.bt_red
            && child != window.bt_green && child != window.bt_yellow && child != window.bt_blue)
            ++strayLabels;
    EXPECT_EQ(strayLabels, 4);
}

TEST_F(MainWindow, WithoutFontsizeInTheSkinTheCaptionsAreFortyHigh)
{
    plugintest::Box box(plugintest::testSkinPath());
    ASSERT_FALSE(eSkin::getActive()->hasValue("fontsize"));
    Ctarnwave window;
    for (eLabel *caption : {window.bt_red, window.bt_green, window.bt_yellow, window.bt_blue})
        EXPECT_EQ(caption->getSize(), eSize(140, 40));
}

TEST_F(MainWindow, CaptionsMadeInCodeAreTwentyHigherThanTheSkinsFontsize)
{
    plugintest::Box box(plugintest::testSkinPath());
    TempDir skinDir;
    std::ofstream(skinDir.file("skin.xml")) << "<skin><values><value name=\"fontsize\" value=\"26\"/></values>"
                                               "<windows><window name=\"rss.weather\"/></windows></skin>";
    eSkin skin;
    ASSERT_EQ(skin.load(skinDir.file("skin.xml").c_str()), 0);
    skin.setActive();
    {
        Ctarnwave window;
        for (eLabel *caption : {window.bt_red, window.bt_green, window.bt_yellow, window.bt_blue})
            EXPECT_EQ(caption->getSize(), eSize(140, 46));
    }
    box.skin->setActive();
}

TEST_F(MainWindow, HoldsItsListsStatusBarIconsAndTheUnusedButton)
{
    plugintest::Box box;
    Ctarnwave window;

    for (eListBox<my_ListBox> *list : window.lists) {
        ASSERT_NE(list, nullptr);
        EXPECT_EQ(list->getParent(), &window);
        EXPECT_EQ(list->getPosition(), ePoint(0, 50));
        EXPECT_EQ(list->getSize(), eSize(560, 430 - 140));
        EXPECT_EQ(list->getItemHeight(), my_ListBox::EntryHeight);
        EXPECT_EQ(list->getDeco(), "eListBox");
        EXPECT_EQ(list->getCount(), 0);
    }

    // One button that nothing refers to, never given a size.
    int buttons = 0;
    for (eWidget *child : window.getChildren())
        if (dynamic_cast<eButton *>(child)) {
            ++buttons;
            EXPECT_TRUE(child->getSize().isEmpty());
        }
    EXPECT_EQ(buttons, 1);

    // The status bar's children, in the order they were made.
    const std::vector<eWidget *> expected{window.ln_horizontal, window.ln_vertical, window.lb_status, window.lb_station,
                                          window.lb_title,      window.lb_info,     window.px_key32,  window.px_key12,
                                          window.px_play,       window.px_pause,    window.px_record};
    EXPECT_EQ(window.statusBar->getChildren(), expected);
    EXPECT_EQ(window.statusBar->getParent(), &window);
    EXPECT_NE(dynamic_cast<pLabel *>(static_cast<eWidget *>(window.ln_horizontal)), nullptr);

    const eSkin *skin = eSkin::getActive();
    EXPECT_EQ(window.px_key32->getPixmap(), skin->queryImage("key.32"));
    EXPECT_EQ(window.px_key12->getPixmap(), skin->queryImage("key.12"));
    EXPECT_EQ(window.px_play->getPixmap(), skin->queryImage("extra.play"));
    EXPECT_EQ(window.px_pause->getPixmap(), skin->queryImage("extra.pause"));
    EXPECT_EQ(window.px_record->getPixmap(), skin->queryImage("shortcut.red"));
    EXPECT_NE(window.px_key32->getPixmap(), nullptr);
    EXPECT_NE(window.statusTimer, nullptr);
}

TEST_F(MainWindow, LeavingWhileAStationPlaysStopsItAndRestoresTheDecoderFoundAtStart)
{
    plugintest::Box box;
    Decoder::parms.vpid = 0x0200;
    Decoder::parms.apid = 0x0201;
    Decoder::parms.mode = 3;
    Decoder::Set();
    NotingServiceHandler handler;
    {
        Ctarnwave window;
        EXPECT_EQ(window.savedDecoderParms[0], 0x0200);
        EXPECT_EQ(window.savedDecoderParms[1], 0x0201);
        EXPECT_EQ(window.savedDecoderParms[2], 3);
        // The default background: the TV picture without its sound.
        EXPECT_EQ(Decoder::picture(), TvPicture::testPictureMuted);
        EXPECT_EQ(Decoder::applied().vpid, 0x0200);
        EXPECT_EQ(Decoder::applied().apid, 8190);
        EXPECT_EQ(Decoder::applied().mode, 0);
        window.stream = &handler;
    }
    EXPECT_EQ(handler.stops, std::vector<int>{0});
    EXPECT_EQ(Decoder::picture(), TvPicture::testPictureWithSound);
    EXPECT_EQ(Decoder::applied().vpid, 0x0200);
    EXPECT_EQ(Decoder::applied().apid, 0x0201);
    EXPECT_EQ(Decoder::applied().mode, 3);
}

TEST_F(MainWindow, TheStillPictureBackgroundIsShownAndTheTvComesBackOnLeaving)
{
    plugintest::Box box;
    eConfig::getInstance()->setKey("/tarnwave/background", 51);
    {
        Ctarnwave window;
        EXPECT_EQ(Decoder::picture(), TvPicture::radioStill);
    }
    EXPECT_EQ(Decoder::picture(), TvPicture::testPictureWithSound);
    EXPECT_EQ(Decoder::applied().apid, 0x0101);
}

TEST_F(MainWindow, AnyOtherBackgroundLeavesTheDecoderAlone)
{
    plugintest::Box box;
    eConfig::getInstance()->setKey("/tarnwave/background", 52);
    std::vector<TvPicture> changes;
    SigC::Connection watch = Decoder::pictureChanged().connect([&](TvPicture picture) { changes.push_back(picture); });
    {
        Ctarnwave window;
        EXPECT_TRUE(changes.empty());
        EXPECT_EQ(Decoder::applied().apid, 0x0101);
        window.Stop(false);
        EXPECT_TRUE(changes.empty());
    }
    watch.disconnect();
    EXPECT_TRUE(changes.empty());
    EXPECT_EQ(Decoder::picture(), TvPicture::testPictureWithSound);
}

TEST_F(MainWindow, StopClearsTheStatusLineForgetsTheStreamAndSetsTheBackground)
{
    plugintest::Box box;
    NotingServiceHandler handler;
    Ctarnwave window;
    Decoder::reset();
    window.stream = &handler;
    window.lb_status->setText("something");

    window.Stop(false);

    EXPECT_EQ(window.lb_status->getText(), "");
    EXPECT_EQ(window.stream, nullptr);
    EXPECT_EQ(handler.stops, std::vector<int>{0});
    EXPECT_EQ(Decoder::picture(), TvPicture::testPictureMuted);
}

TEST_F(MainWindow, LeavingDuringATransferAbortsIt)
{
    plugintest::Box box;
    SilentDirectory directory;
    ASSERT_TRUE(directory.listening());
    box.directoryUrl(directory.baseUrl());
    const int before = eHTTPConnection::activeTransfers();
    {
        Ctarnwave window;
        window.show();
        eScreen::osd().handleKey("yellow");
        ASSERT_NE(window.connection, nullptr);
        EXPECT_EQ(eHTTPConnection::activeTransfers(), before + 1);
        // Let the request go out; no reply comes.
        box.runUntil([] { return false; }, std::chrono::milliseconds(100));
        ASSERT_NE(window.connection, nullptr);
    }
    EXPECT_EQ(eHTTPConnection::activeTransfers(), before);
    // Nothing of the aborted transfer arrives afterwards.
    box.runUntil([] { return false; }, std::chrono::milliseconds(100));
}

TEST_F(MainWindow, TheStatusTickComesAfterHalfASecondAndThenEverySecond)
{
    using Clock = std::chrono::steady_clock;
    plugintest::Box box;
    std::vector<Clock::time_point> ticks;
    const Clock::time_point start = Clock::now();
    Ctarnwave window;
    window.statusTimer->timeout.connect([&] { ticks.push_back(Clock::now()); });

    box.runUntil([&] { return ticks.size() >= 2; }, std::chrono::seconds(3));

    ASSERT_EQ(ticks.size(), 2u);
    EXPECT_GE(ticks[0] - start, std::chrono::milliseconds(450));
    EXPECT_LT(ticks[0] - start, std::chrono::milliseconds(1000));
    EXPECT_GE(ticks[1] - ticks[0], std::chrono::milliseconds(950));
    // Each tick plans the next one.
    EXPECT_TRUE(window.statusTimer->isActive());
}

} // namespace
