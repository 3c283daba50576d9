// The settings menu: which rows it offers in which condition, every choice
// text with its marks and blanks, the settings stored the moment a choice
// changes and kept when the menu is cancelled, a stored value that no choice
// has, and what OK on each kind of row does.

#include "modal_script.h"
#include "plugin_test_support.h"

#include "dialogs/setup_menu.h"
#include "plugin/ctarnwave.h"

#include "base/econfig.h"
#include "base/messages.h"
#include "gui/widgets/escreen.h"
#include "support/temp_dir.h"
#include "system/decoder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

const std::string separator = "----";

bool press(const char *key)
{
    return eScreen::osd().handleKey(key);
}

// The menu's rows as shown: a separator as "----", a choice row as its
// title, a tab and the current choice.
std::vector<std::string> rowsOf(setup_menu &menu)
{
    std::vector<std::string> rows;
    menu.list.forEachEntry([&](eListBoxEntryMenu &row) {
        rows.push_back(dynamic_cast<eListBoxEntryMenuSeparator *>(&row) ? separator : row.getText());
        return false;
    });
    return rows;
}

std::vector<int> keysOf(setup_menu &menu)
{
    std::vector<int> keys;
    menu.list.forEachEntry([&](eListBoxEntryMenu &row) {
        keys.push_back(row.getKey());
        return false;
    });
    return keys;
}

// The texts a choice row offers, from its first choice to its last.
std::vector<std::string> choicesOf(eListBoxEntryMulti &row, const std::vector<int> &values)
{
    std::vector<std::string> texts;
    for (const int value : values) {
        row.setCurrent(value);
        texts.push_back(row.getCurrentText());
    }
    return texts;
}

int storedInt(const char *key)
{
    int value = -1;
    return eConfig::getInstance()->getKey(key, value) == 0 ? value : -1;
}

const std::vector<std::string> choiceRowsByDefault = {
    "show in the background (left, right)\t  TV >",
    "Filters for minimum bitrate\t128",
    "after 15 seconds\t  nothing >",
};

std::vector<std::string> withChoiceRows(std::vector<std::string> rows)
{
    rows.insert(rows.end(), choiceRowsByDefault.begin(), choiceRowsByDefault.end());
    return rows;
}

// A box with the recorder script, the recorder program and the recordings
// directory, in English.
class SetupMenu : public ::testing::Test
{
protected:
    SetupMenu()
    {
        setMessageLanguage("");
        writeRecorderScript("/hdd/radio", "/usr/bin/streamripper");
        writeFile(box.root.file("usr/bin/streamripper"), "#!/bin/sh\n");
        std::filesystem::create_directories(box.root.file("hdd/radio"));
    }
    ~SetupMenu() override { setMessageLanguage(""); }

    void writeRecorderScript(const std::string &streamDir, const std::string &daemon)
    {
        writeFile(box.root.file("var/script/streamripper_script.sh"),
                  "#!/bin/sh\nSTREAMDIR=" + streamDir + "\nDAEMON=" + daemon + "\n");
    }

    // A station row to stand for the one chosen last in the main window.
    my_ListBox *chosenStation()
    {
        auto record = std::make_shared<Listentry>(1, "Radio One");
        record->type = Listentry::ENTRY_STATION;
        chosen = std::make_unique<my_ListBox>(nullptr, record, false);
        return chosen.get();
    }

    plugintest::Box box;
    std::unique_ptr<my_ListBox> chosen;
};

TEST_F(SetupMenu, OnTheFavouritesWithNoStationChosenThereIsNoAddRow)
{
    setup_menu menu(0, nullptr);
    EXPECT_EQ(rowsOf(menu), withChoiceRows({"Favourites entry delete", "search", separator, "Streamripper directory",
                                            "/hdd/radio", separator}));
    EXPECT_EQ(keysOf(menu), (std::vector<int>{1, 3, 0, 6, 7, 0, 50, 128, 60}));
    EXPECT_EQ(menu.streamDir, "/hdd/radio");
    EXPECT_EQ(menu.daemonPath, "/usr/bin/streamripper");
    EXPECT_FALSE(menu.backgroundChanged);
}

TEST_F(SetupMenu, WithAStationChosenOnAnotherListItCanBeAddedAndRecorded)
{
    setup_menu menu(2, chosenStation());
    EXPECT_EQ(rowsOf(menu), withChoiceRows({"Add to favourites", "search", separator, "Start recording",
                                            "Streamripper directory", "/hdd/radio", separator}));
    EXPECT_EQ(keysOf(menu), (std::vector<int>{2, 3, 0, 4, 6, 7, 0, 50, 128, 60}));
}

TEST_F(SetupMenu, AMissingRecordingsDirectoryLeavesOutOnlyStartRecording)
{
    std::filesystem::remove(box.root.file("hdd/radio"));
    setup_menu menu(0, chosenStation());
    EXPECT_EQ(rowsOf(menu), withChoiceRows({"Favourites entry delete", "Add to favourites", "search", separator,
                                            "Streamripper directory", "/hdd/radio", separator}));
}

TEST_F(SetupMenu, WithoutTheRecorderProgramThereAreNoRecordingRows)
{
    std::filesystem::remove(box.root.file("usr/bin/streamripper"));
    setup_menu menu(0, chosenStation());
    EXPECT_EQ(rowsOf(menu), withChoiceRows({"Favourites entry delete", "Add to favourites", "search", separator}));
    EXPECT_EQ(menu.streamDir, "/hdd/radio") << "read all the same";
}

TEST_F(SetupMenu, WithoutTheRecorderScriptThereAreNoRecordingRows)
{
    std::filesystem::remove(box.root.file("var/script/streamripper_script.sh"));
    setup_menu menu(3, nullptr);
    EXPECT_EQ(rowsOf(menu), withChoiceRows({"search", separator}));
    EXPECT_EQ(menu.streamDir, "");
    EXPECT_EQ(menu.daemonPath, "");
}

TEST_F(SetupMenu, AnEmptyDaemonAssignmentIsNoRecorder)
{
    writeRecorderScript("/hdd/radio", "");
    setup_menu menu(3, chosenStation());
    EXPECT_EQ(rowsOf(menu), withChoiceRows({"Add to favourites", "search", separator}));
}

TEST_F(SetupMenu, EveryChoiceTextWithItsMarksAndBlanks)
{
    setup_menu menu(1, nullptr);
    EXPECT_EQ(choicesOf(*menu.backgroundEntry, {50, 51}), (std::vector<std::string>{"  TV >", "<  MVI  "}));
    EXPECT_EQ(choicesOf(*menu.autoHideEntry, {60, 61, 62}),
              (std::vector<std::string>{"  nothing >", "< smaller >", "< hide  "}));
    std::vector<int> bitrates;
    std::vector<std::string> bitrateTexts;
    for (int rate = 96; rate <= 448; rate += 32) {
        bitrates.push_back(rate);
        bitrateTexts.push_back(std::to_string(rate));
    }
    EXPECT_EQ(bitrates.size(), 12u);
    EXPECT_EQ(choicesOf(*menu.minBitrateEntry, bitrates), bitrateTexts);
}

TEST_F(SetupMenu, InGermanTheWordsAreTranslatedAndTheMarksKept)
{
    setMessageLanguage("de");
    setup_menu menu(0, chosenStation());
    EXPECT_EQ(menu.getText(), "Menü");
    EXPECT_EQ(rowsOf(menu),
              (std::vector<std::string>{"Favoriten Eintrag löschen", "Zu Favoriten hinzufügen", "Suche", separator,
                                        "Aufnahme starten", "Streamripper Verzeichnis", "/hdd/radio", separator,
                                        "Hintergrund (links, rechts)\t  TV >", "Filter für minimale Bitrate\t128",
                                        "nach 15 Sekunden\t  nichts >"}));
    EXPECT_EQ(choicesOf(*menu.autoHideEntry, {60, 61, 62}),
              (std::vector<std::string>{"  nichts >", "< verkleinern >", "< ausblenden  "}));
}

TEST_F(SetupMenu, TheChoicesStartFromTheStoredSettings)
{
    eConfig::getInstance()->setKey("/tarnwave/background", 51);
    eConfig::getInstance()->setKey("/tarnwave/minbitrate", 256);
    eConfig::getInstance()->setKey("/tarnwave/autohide", 62);
    setup_menu menu(1, nullptr);
    EXPECT_EQ(menu.backgroundEntry->getCurrentValue(), 51);
    EXPECT_EQ(menu.minBitrateEntry->getCurrentValue(), 256);
    EXPECT_EQ(menu.autoHideEntry->getCurrentValue(), 62);
}

TEST_F(SetupMenu, AStoredValueThatNoChoiceHasIsPassedOnAsItIs)
{
    eConfig::getInstance()->setKey("/tarnwave/minbitrate", 100);
    setup_menu menu(1, nullptr);
    EXPECT_EQ(menu.minBitrateEntry->getCurrentValue(), 100);
    EXPECT_EQ(menu.minBitrateEntry->getCurrentText(), "100");
    EXPECT_EQ(storedInt("/tarnwave/minbitrate"), 100) << "nothing written by building the menu";
}

TEST_F(SetupMenu, TheWindowSitsWhereItShould)
{
    setup_menu menu(1, nullptr);
    EXPECT_EQ(menu.getPosition() + menu.getClientRect().topLeft(), ePoint(150, 115)) << "the client area's place";
    EXPECT_EQ(menu.getClientSize().width(), 450);
    EXPECT_EQ(menu.visibleRows(), 10);
    EXPECT_TRUE(menu.list.getFlags() & eListBoxBase::flagWrapAround);
}

// The menu run on its own, with keys pressed once its modal run has started.
class SetupMenuRun : public SetupMenu
{
protected:
    int run(setup_menu &menu, std::vector<std::string> keys)
    {
        box.app.post([keys] {
            for (const std::string &key : keys)
                press(key.c_str());
        });
        menu.show();
        const int result = menu.exec();
        menu.hide();
        return result;
    }
};

TEST_F(SetupMenuRun, OkOnAnActionRowClosesWithItsKey)
{
    setup_menu menu(0, chosenStation());
    EXPECT_EQ(run(menu, {"down", "down", "ok"}), 3) << "search";
}

TEST_F(SetupMenuRun, TheDirectoryCaptionDoesNotCloseTheMenuAndThePathRowDoes)
{
    setup_menu menu(1, nullptr);
    // search, separator (skipped), caption: OK there stays; the path row closes.
    EXPECT_EQ(run(menu, {"down", "ok", "down", "ok"}), 7);
}

TEST_F(SetupMenuRun, OkOnAChoiceRowClosesWithItsValue)
{
    setup_menu menu(1, nullptr);
    EXPECT_EQ(run(menu, {"up", "up", "ok"}), 128) << "the bitrate row, reached from the top by wrapping";
}

TEST_F(SetupMenuRun, AChangedChoiceIsStoredAtOnceAndKeptWhenTheMenuIsCancelled)
{
    setup_menu menu(1, nullptr);
    int storedWhileOpen = -1;
    box.app.post([&] {
        press("up");
        press("up");
        press("right");
        press("right");
        storedWhileOpen = storedInt("/tarnwave/minbitrate");
        press("exit");
    });
    menu.show();
    EXPECT_EQ(menu.exec(), -1);
    menu.hide();
    EXPECT_EQ(storedWhileOpen, 192);
    EXPECT_EQ(storedInt("/tarnwave/minbitrate"), 192);
    EXPECT_EQ(storedInt("/tarnwave/background"), -1) << "untouched rows write nothing";
    EXPECT_FALSE(menu.backgroundChanged);
}

TEST_F(SetupMenuRun, EachSettingGoesToItsOwnKey)
{
    setup_menu menu(1, nullptr);
    // From the top (search), up wraps to automatic hiding, then the bitrate,
    // then the background.
    run(menu, {"up", "right", "right", "up", "left", "up", "right", "exit"});
    EXPECT_EQ(storedInt("/tarnwave/autohide"), 62);
    EXPECT_EQ(storedInt("/tarnwave/minbitrate"), 96);
    EXPECT_EQ(storedInt("/tarnwave/background"), 51);
    EXPECT_TRUE(menu.backgroundChanged);
}

// The menu opened with the menu key from the main window.
class MenuKey : public plugintest::ShownMainWindow
{
protected:
    plugintest::ModalScript script{box.app};
};

TEST_F(MenuKey, MovingTheBackgroundAndCancellingStillAppliesIt)
{
    ASSERT_NE(Decoder::picture(), TvPicture::radioStill);
    bool mainWindowHidden = false;
    script.expect("setup_menu", [&](eWidget &) {
        mainWindowHidden = !window->isVisible();
        press("up");
        press("up");
        press("up");
        press("right");
        press("exit");
    });
    EXPECT_TRUE(press("menu"));
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_TRUE(mainWindowHidden) << "the main window is hidden while the menu runs";
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(storedInt("/tarnwave/background"), 51);
    EXPECT_EQ(Decoder::picture(), TvPicture::radioStill) << "the still picture of the MVI background";
}

TEST_F(MenuKey, OkOnAChoiceRowClosesTheMenuAndDoesNothingMore)
{
    script.expect("setup_menu", [](eWidget &) {
        press("up");
        press("up");
        press("ok");
    });
    EXPECT_TRUE(press("menu"));
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(script.seen(), (std::vector<std::string>{"setup_menu"}));
    EXPECT_EQ(window->currentList, 0);
    EXPECT_EQ(window->connection, nullptr);
    EXPECT_TRUE(window->isVisible());
}

TEST_F(MenuKey, TheMenuIsBoundToTheMainWindowsLcd)
{
    eLabel title(nullptr), element(nullptr);
    window->setLCD(&title, &element);
    bool sameLcd = false;
    script.expect("setup_menu", [&](eWidget &menu) {
        sameLcd = menu.getLCDTitle() == &title && menu.getLCDElement() == &element;
        press("exit");
    });
    press("menu");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_TRUE(sameLcd);
}

} // namespace
