// The status tick without a recorder: play and pause icons from the player's
// state text, the title line, the lines cleared while nothing plays, the
// automatic shrinking and hiding after a time without keys, background mode
// and the next tick planned after each one.

#include "directory_test_support.h"
#include "plugin_test_support.h"

#include "plugin/ctarnwave.h"

#include "base/econfig.h"
#include "base/messages.h"
#include "gui/widgets/escreen.h"
#include "system/decoder.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

using directorytest::addRow;
using directorytest::StreamPlayerDouble;

namespace {

constexpr int autohideNothing = 60;
constexpr int autohideSmaller = 61;
constexpr int autohideHide = 62;

// A shown main window whose ticks the test runs itself: the timer the window
// planned is stopped, so that only the test's calls of Sstatus count.
class StatusTick : public plugintest::ShownMainWindow
{
protected:
    void SetUp() override
    {
        ShownMainWindow::SetUp();
        stopTicks();
    }

    static void setAutohide(int value) { eConfig::getInstance()->setKey("/tarnwave/autohide", value); }

    // Plays a favourite with an address through the double.
    void playStation()
    {
        addRow(*window, 0, 1, "Smooth Radio", "http://smooth.example/live");
        window->play(window->lists[0]->getEntry(0));
        ASSERT_EQ(window->stream, &player);
    }

    void ticks(int count)
    {
        for (int i = 0; i < count; ++i)
            window->Sstatus();
    }

    // Runs one tick that opens background mode; `whileHidden` runs inside it
    // and must end it (with a key).
    void tickIntoBackground(std::function<void()> whileHidden)
    {
        box.app.post(std::move(whileHidden));
        window->statusTimer->stop(); // what earlier ticks planned
        window->Sstatus();
    }

    StreamPlayerDouble player;
};

TEST_F(StatusTick, PlayingStreamShowsThePlayIconAndTheTitleLine)
{
    playStation();
    player.stateText = "playing...";
    player.title = "Miles Ahead - Blue Room";
    window->Sstatus();
    EXPECT_TRUE(window->px_play->isVisible());
    EXPECT_FALSE(window->px_pause->isVisible());
    EXPECT_EQ(window->lb_info->getText(), "title: Miles Ahead - Blue Room");
    EXPECT_EQ(window->lb_station->getText(), "Smooth Radio") << "what play() wrote stays";
    EXPECT_EQ(window->lb_title->getText(), "URL: http://smooth.example/live");
}

TEST_F(StatusTick, AnyOtherStateTextShowsThePauseIcon)
{
    playStation();
    for (const char *text : {"connecting...", "buffering...", "", "Playing..."}) {
        player.stateText = text;
        window->Sstatus();
        EXPECT_TRUE(window->px_pause->isVisible()) << text;
        EXPECT_FALSE(window->px_play->isVisible()) << text;
    }
    player.stateText = "playing...";
    window->Sstatus();
    EXPECT_TRUE(window->px_play->isVisible());
    EXPECT_FALSE(window->px_pause->isVisible());
}

TEST_F(StatusTick, TheStateTextIsComparedWithTheTranslationOfPlaying)
{
    setMessageLanguage("de");
    playStation();
    player.stateText = translated("playing...");
    ASSERT_NE(player.stateText, "playing...") << "the German catalogue is built";
    window->Sstatus();
    EXPECT_TRUE(window->px_play->isVisible());
    EXPECT_EQ(window->lb_info->getText().rfind("Titel: ", 0), 0u) << window->lb_info->getText();

    // The English text is not what a German player says while it plays.
    player.stateText = "playing...";
    window->Sstatus();
    EXPECT_TRUE(window->px_pause->isVisible());
    EXPECT_FALSE(window->px_play->isVisible());
}

TEST_F(StatusTick, TheTitleLineFollowsTheStreamsTitle)
{
    playStation();
    player.stateText = "playing...";
    player.title = "First";
    window->Sstatus();
    EXPECT_EQ(window->lb_info->getText(), "title: First");
    player.title = "Second";
    window->Sstatus();
    EXPECT_EQ(window->lb_info->getText(), "title: Second");
    player.title = "";
    window->Sstatus();
    EXPECT_EQ(window->lb_info->getText(), "title: ");
}

TEST_F(StatusTick, WithoutPlaybackTheIconsGoAndTheThreeLinesAreCleared)
{
    window->px_play->show();
    window->px_pause->show();
    window->lb_station->setText("station");
    window->lb_title->setText("info");
    window->lb_info->setText("title: x");
    window->lb_status->setText("Tarnwave status");
    window->Sstatus();
    EXPECT_FALSE(window->px_play->isVisible());
    EXPECT_FALSE(window->px_pause->isVisible());
    EXPECT_EQ(window->lb_station->getText(), "");
    EXPECT_EQ(window->lb_title->getText(), "");
    EXPECT_EQ(window->lb_info->getText(), "");
    EXPECT_EQ(window->lb_status->getText(), "Tarnwave status") << "the message line is not the tick's";
}

TEST_F(StatusTick, AHandlerReportingTroubleClearsTheLinesAndIsAskedAgainNextTick)
{
    playStation();
    player.stateText = "playing...";
    player.title = "Song";
    window->Sstatus();
    ASSERT_TRUE(window->px_play->isVisible());

    player.runningState = eServiceHandler::stateFailed;
    const int asked = player.stateQueries;
    window->Sstatus();
    EXPECT_EQ(player.stateQueries, asked + 1);
    EXPECT_FALSE(window->px_play->isVisible());
    EXPECT_FALSE(window->px_pause->isVisible());
    EXPECT_EQ(window->lb_station->getText(), "");
    EXPECT_EQ(window->lb_title->getText(), "");
    EXPECT_EQ(window->lb_info->getText(), "");
    EXPECT_EQ(window->stream, &player) << "the handler is kept";

    // It recovers: the next tick asks again and shows it.
    player.runningState = eServiceHandler::stateRunning;
    window->Sstatus();
    EXPECT_EQ(player.stateQueries, asked + 2);
    EXPECT_TRUE(window->px_play->isVisible());
    EXPECT_EQ(window->lb_info->getText(), "title: Song");

    player.runningState = 1; // stopped
    window->Sstatus();
    EXPECT_FALSE(window->px_play->isVisible());
}

TEST_F(StatusTick, EveryTickPlansTheNextOne)
{
    ASSERT_FALSE(window->statusTimer->isActive());
    window->Sstatus();
    EXPECT_TRUE(window->statusTimer->isActive());
}

TEST_F(StatusTick, WithoutTheAutohideKeyNothingHappens)
{
    ticks(40);
    EXPECT_TRUE(window->fullView);
    EXPECT_TRUE(window->isVisible());
}

TEST_F(StatusTick, AutohideNothingNeverShrinksNorHides)
{
    setAutohide(autohideNothing);
    ticks(40);
    EXPECT_TRUE(window->fullView);
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->idleTicks, 0) << "nothing is counted";
}

TEST_F(StatusTick, AutohideSmallerShrinksOnTheSeventeenthTickNotTheSixteenth)
{
    setAutohide(autohideSmaller);
    ticks(16);
    EXPECT_TRUE(window->fullView);
    EXPECT_TRUE(window->lists[0]->isVisible());
    window->Sstatus();
    EXPECT_FALSE(window->fullView);
    EXPECT_FALSE(window->lists[0]->isVisible());
    EXPECT_TRUE(window->isVisible());
}

TEST_F(StatusTick, ACompactWindowStaysCompactAndKeepsCounting)
{
    setAutohide(autohideSmaller);
    ticks(17);
    ASSERT_FALSE(window->fullView);
    const int counted = window->idleTicks;
    ticks(20);
    EXPECT_FALSE(window->fullView);
    EXPECT_EQ(window->idleTicks, counted + 20);
}

TEST_F(StatusTick, AnyKeyRestoresTheShrunkWindowAndTheCountStartsAgain)
{
    setAutohide(autohideSmaller);
    ticks(17);
    ASSERT_FALSE(window->fullView);
    eScreen::osd().handleKey("down");
    EXPECT_TRUE(window->fullView);
    EXPECT_EQ(window->idleTicks, 0);
    ticks(16);
    EXPECT_TRUE(window->fullView);
    window->Sstatus();
    EXPECT_FALSE(window->fullView);
}

TEST_F(StatusTick, AKeyPostponesShrinking)
{
    setAutohide(autohideSmaller);
    ticks(10);
    eScreen::osd().handleKey("up");
    ticks(16);
    EXPECT_TRUE(window->fullView);
    window->Sstatus();
    EXPECT_FALSE(window->fullView);
}

TEST_F(StatusTick, WhileTheWindowIsHiddenNothingIsCountedNorShrunkNorHidden)
{
    for (const int setting : {autohideSmaller, autohideHide}) {
        setAutohide(setting);
        window->idleTicks = 0;
        window->hide();
        ticks(40);
        EXPECT_EQ(window->idleTicks, 0) << setting;
        EXPECT_TRUE(window->fullView) << setting;
        EXPECT_EQ(eScreen::osd().activeWindow(), nullptr) << "no background window opened";
        window->show();
    }
}

TEST_F(StatusTick, AutohideHideOpensBackgroundModeOnTheSeventeenthTick)
{
    setAutohide(autohideHide);
    ticks(16);
    EXPECT_TRUE(window->isVisible());

    bool mainHidden = false;
    bool tickPlanned = true;
    const eWidget *modal = nullptr;
    bool modalIsEmpty = false;
    tickIntoBackground([&] {
        mainHidden = !window->isVisible();
        tickPlanned = window->statusTimer->isActive();
        modal = eScreen::osd().activeWindow();
        modalIsEmpty = modal && modal->getText().empty() && modal->getChildren().empty();
        eScreen::osd().handleKey("ok");
    });
    EXPECT_TRUE(mainHidden);
    EXPECT_FALSE(tickPlanned) << "no tick runs in background mode";
    ASSERT_NE(modal, nullptr);
    EXPECT_NE(modal, window.get());
    EXPECT_TRUE(modalIsEmpty) << "an empty window without a title";

    // Back: the window as it was, the count from 0, the next tick planned.
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(window->fullView);
    EXPECT_EQ(window->idleTicks, 0);
    EXPECT_TRUE(window->statusTimer->isActive());
    EXPECT_EQ(eScreen::osd().activeWindow(), window.get());
}

TEST_F(StatusTick, AfterBackgroundModeTheNextHidingAgainTakesSeventeenTicks)
{
    setAutohide(autohideHide);
    ticks(16);
    tickIntoBackground([] { eScreen::osd().handleKey("ok"); });
    ASSERT_TRUE(window->isVisible());

    int openedAt = 0;
    for (int tick = 1; tick <= 17 && openedAt == 0; ++tick) {
        bool opened = false;
        box.app.post([&] {
            if (!window->isVisible()) {
                opened = true;
                eScreen::osd().handleKey("ok");
            }
        });
        window->Sstatus();
        box.app.processOneEvent(0); // the check posted for a tick that opened nothing
        if (opened)
            openedAt = tick;
    }
    EXPECT_EQ(openedAt, 17);
}

TEST_F(StatusTick, TheKeyThatEndsBackgroundModeIsUsedUp)
{
    new my_ListBox(window->lists[0], std::make_shared<Listentry>(1, "A"), false);
    setAutohide(autohideHide);
    ticks(16);
    for (const char *key : {"red", "blue", "yellow", "green", "menu", "record", "5", "0", "left", "down"}) {
        bool ended = false;
        window->idleTicks = 16;
        tickIntoBackground([&] { ended = eScreen::osd().handleKey(key); });
        EXPECT_TRUE(ended) << key << " ends background mode";
        EXPECT_TRUE(window->isVisible()) << key;
        EXPECT_EQ(Listentry::setSort, Listentry::SORT_INDEX) << key << " did not reach the main window";
        EXPECT_EQ(window->currentList, 0) << key;
        EXPECT_EQ(window->connection, nullptr) << key << " requested nothing";
    }
}

TEST_F(StatusTick, ExitInBackgroundModeReturnsToTheMainWindowAndDoesNotLeave)
{
    setAutohide(autohideHide);
    // The main window runs modally, as the host runs it; inside, seventeen
    // ticks open background mode, exit ends it, and the window is still there.
    bool stillRunning = false;
    box.app.post([&] {
        window->idleTicks = 16;
        tickIntoBackground([] { eScreen::osd().handleKey("exit"); });
        box.app.post([&] {
            stillRunning = window->isInExec() && window->isVisible();
            window->close(7);
        });
    });
    EXPECT_EQ(window->exec(), 7) << "exit did not close the main window";
    EXPECT_TRUE(stillRunning);
}

TEST_F(StatusTick, BackgroundModeKeepsTheCompactLayout)
{
    setAutohide(autohideHide);
    window->switch_window(false);
    ASSERT_FALSE(window->fullView);
    window->idleTicks = 16;
    tickIntoBackground([] { eScreen::osd().handleKey("ok"); });
    EXPECT_TRUE(window->isVisible());
    EXPECT_FALSE(window->fullView) << "background mode does not touch the layout";
}

TEST_F(StatusTick, PlaybackGoesOnThroughBackgroundMode)
{
    playStation();
    player.calls.clear();
    setAutohide(autohideHide);
    window->idleTicks = 16;
    tickIntoBackground([] { eScreen::osd().handleKey("ok"); });
    EXPECT_TRUE(player.calls.empty()) << "nothing stopped or started";
    EXPECT_EQ(window->stream, &player);
}

} // namespace
