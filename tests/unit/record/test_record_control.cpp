// Starting and stopping the recorder: the questions and the notice, what the
// recorder script is given (the station's address as one word, whatever it
// holds), the recording flag after a stop, the menu's recording rows while a
// recorder runs, the question when the main window closes, and choosing the
// recording directory in the browser.

#include "unit/plugin/modal_script.h"
#include "unit/plugin/plugin_test_support.h"

#include "dialogs/setup_menu.h"
#include "plugin/ctarnwave.h"
#include "record/recorder.h"

#include "base/econfigfile.h"
#include "gui/emessagebox.h"
#include "gui/widgets/escreen.h"
#include "support/named_sleeper.h"
#include "support/temp_dir.h"
#include "support/wait_for.h"
#include "system/pbrowser.h"
#include "system/pconfig.h"
#include "system/putils.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

using namespace std::chrono_literals;

namespace {

bool press(const char *key)
{
    return eScreen::osd().handleKey(key);
}

// What a message box showed.
struct Shown
{
    std::string caption;
    std::string text;
    std::vector<int> buttons;
    int defaultButton = 0;
};

Shown shownBy(eWidget &window)
{
    auto &box = dynamic_cast<eMessageBox &>(window);
    const eWidget *text = box.search("text");
    return {box.getText(), text ? text->getText() : "", box.buttons(), box.defaultButton()};
}

// A box whose recorder script only notes how it was called, one argument a
// line, each call ended by a line "--".
class RecordControl : public ::testing::Test
{
protected:
    RecordControl()
    {
        setMessageLanguage("");
        pConfig::getInstance()->setRecording(false);
        const std::filesystem::path scriptFile = box.root.file("var/script/streamripper_script.sh");
        writeFile(scriptFile, "#!/bin/sh\n"
                              "STREAMDIR=/hdd/radio\n"
                              "DAEMON=/usr/bin/streamripper\n"
                              "printf '%s\\n' \"$@\" -- >>\"$BOX_ROOT/script-calls\"\n");
        std::filesystem::permissions(scriptFile, std::filesystem::perms::owner_all);
        writeFile(box.root.file("usr/bin/streamripper"), "");
        std::filesystem::create_directories(box.root.file("hdd/radio"));
    }
    ~RecordControl() override
    {
        recorder.reset();
        pConfig::getInstance()->setRecording(false);
    }

    my_ListBox *stationRow(const std::string &url)
    {
        auto record = std::make_shared<Listentry>(1, "Radio One");
        record->type = Listentry::ENTRY_STATION;
        record->url = url;
        row = std::make_unique<my_ListBox>(nullptr, record, false);
        return row.get();
    }

    // The script's calls once `count` of them have come (the daemon runs it
    // in the background); what came when they do not.
    std::string scriptCalls(int count = 1) const
    {
        const std::filesystem::path calls = box.root.path() / "script-calls";
        within(5s, [&] {
            if (!std::filesystem::exists(calls))
                return false;
            const std::string text = readFile(calls);
            int ends = 0;
            for (std::size_t at = text.find("--\n"); at != std::string::npos; at = text.find("--\n", at + 1))
                ++ends;
            return ends >= count;
        });
        return std::filesystem::exists(calls) ? readFile(calls) : std::string();
    }

    // True when the script has not been run within a moment.
    bool scriptNotRun() const
    {
        return !within(500ms, [&] { return std::filesystem::exists(box.root.path() / "script-calls"); });
    }

    // The next window must be a message box: `shown` notes it, `keys` answer it.
    void answerBox(Shown &shown, std::vector<std::string> keys)
    {
        script.expect("eMessageBox", [&shown, keys](eWidget &window) {
            shown = shownBy(window);
            for (const std::string &key : keys)
                press(key.c_str());
        });
    }

    void startRecorder()
    {
        recorder.emplace(processDir, "streamripper");
        ASSERT_TRUE(recorder->started());
        ASSERT_TRUE(within(2s, [] { return pUtils::is_running("streamripper"); }));
    }

    plugintest::Box box;
    plugintest::ModalScript script{box.app};
    std::unique_ptr<my_ListBox> row;
    TempDir processDir;
    std::optional<NamedSleeper> recorder;
};

TEST_F(RecordControl, AMissingDirectoryShowsOnlyTheNotFoundNotice)
{
    Shown notice;
    answerBox(notice, {"ok"});
    startrecord(stationRow("http://one.example/stream"), "/hdd/missing");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(notice.caption, "Info");
    EXPECT_EQ(notice.text, "directory not found\n\n/hdd/missing");
    EXPECT_EQ(notice.buttons, (std::vector<int>{eMessageBox::btOK}));
    EXPECT_TRUE(scriptNotRun());
}

TEST_F(RecordControl, AMissingDirectoryShowsTheNoticeAlsoForAStationWithoutAddress)
{
    script.expect("eMessageBox", [](eWidget &) { press("ok"); });
    startrecord(stationRow(""), "/hdd/missing");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(script.seen().size(), 1u);
}

TEST_F(RecordControl, AStationWithoutAddressDoesNothing)
{
    startrecord(stationRow(""), "/hdd/radio");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_TRUE(script.seen().empty());
    EXPECT_TRUE(scriptNotRun());
}

TEST_F(RecordControl, AnsweredNoNothingIsStarted)
{
    Shown question;
    answerBox(question, {"right", "ok"});
    startrecord(stationRow("http://one.example/stream"), "/hdd/radio");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(question.caption, "Message");
    EXPECT_EQ(question.text, "Start recording from\nhttp://one.example/stream\nto\n/hdd/radio");
    EXPECT_EQ(question.buttons, (std::vector<int>{eMessageBox::btYes, eMessageBox::btNo}));
    EXPECT_EQ(question.defaultButton, eMessageBox::btYes);
    EXPECT_TRUE(scriptNotRun());
}

TEST_F(RecordControl, AnsweredYesTheScriptStartsWithTheAddressAndNotTheDirectory)
{
    script.expect("eMessageBox", [](eWidget &) { press("ok"); });
    startrecord(stationRow("http://one.example/stream"), "/hdd/radio");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(scriptCalls(), "start\nhttp://one.example/stream\n--\n");
    EXPECT_FALSE(pConfig::getInstance()->isRecording()) << "the next look at the process table sets it";
}

TEST_F(RecordControl, AHostileAddressReachesTheScriptAsOneWordAndRunsNothing)
{
    const std::string address = "http://evil.example/s?a=';touch quoted-single;'&b=\"$(touch dollar)\"&c=`touch "
                                "backquote`;touch semicolon|touch pipe\\ $HOME ${IFS} *";
    script.expect("eMessageBox", [](eWidget &) { press("ok"); });
    startrecord(stationRow(address), "/hdd/radio");
    EXPECT_EQ(scriptCalls(), "start\n" + address + "\n--\n");
    for (const char *name : {"quoted-single", "dollar", "backquote", "semicolon", "pipe"})
        EXPECT_FALSE(std::filesystem::exists(box.root.path() / name)) << name;
}

TEST_F(RecordControl, AnAddressWithANulByteIsNotRecorded)
{
    script.expect("eMessageBox", [](eWidget &) { press("ok"); });
    startrecord(stationRow(std::string("http://one.example/\0x", 21)), "/hdd/radio");
    EXPECT_TRUE(scriptNotRun());
}

TEST_F(RecordControl, StoppingWhileNoRecorderRunsShowsNothing)
{
    pConfig::getInstance()->setRecording(true);
    stoprecord(false);
    stoprecord(true);
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_TRUE(script.seen().empty());
    EXPECT_TRUE(scriptNotRun());
}

TEST_F(RecordControl, StoppingAsksAndYesStopsWithTheFlagClearedAtOnce)
{
    startRecorder();
    Shown question;
    answerBox(question, {"ok"});
    stoprecord(false);
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(question.caption, "Streamripper");
    EXPECT_EQ(question.text, "Stop Record");
    EXPECT_EQ(question.defaultButton, eMessageBox::btYes);
    EXPECT_FALSE(pConfig::getInstance()->isRecording()) << "at once, while the process still lives";
    EXPECT_TRUE(pUtils::is_running("streamripper"));
    EXPECT_EQ(scriptCalls(), "stop\n--\n");
    EXPECT_TRUE(checksripper()) << "the next look corrects the flag";
}

TEST_F(RecordControl, StoppingOnTheWayOutAddsTheBackgroundNoteAndNoKeepsTheRecorder)
{
    startRecorder();
    Shown question;
    answerBox(question, {"right", "ok"});
    stoprecord(true);
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(question.text, "Stop Record\nTarnwave working in Background");
    EXPECT_TRUE(pConfig::getInstance()->isRecording());
    EXPECT_TRUE(scriptNotRun());
}

TEST_F(RecordControl, WhileARecorderRunsTheMenuOffersStopAndNoDirectoryRows)
{
    startRecorder();
    setup_menu menu(1, stationRow("http://one.example/stream"));
    std::vector<int> keys;
    menu.list.forEachEntry([&](eListBoxEntryMenu &entry) {
        keys.push_back(entry.getKey());
        return false;
    });
    EXPECT_EQ(keys, (std::vector<int>{2, 3, 0, 5, 0, 50, 128, 60}));
    EXPECT_EQ(menu.list.entryAt(3)->getText(), "Stop Record");
}

// The main window with the recorder script of the fixture.
class RecordingFromTheMenu : public RecordControl
{
protected:
    RecordingFromTheMenu()
    {
        window = std::make_unique<Ctarnwave>();
        window->show();
    }
    // The recording ends first: the window would ask about it.
    ~RecordingFromTheMenu() override
    {
        recorder.reset();
        window.reset();
    }

    std::unique_ptr<Ctarnwave> window;
};

TEST_F(RecordingFromTheMenu, StartRecordingRecordsTheChosenStation)
{
    auto record = std::make_shared<Listentry>(3, "Radio Three");
    record->type = Listentry::ENTRY_STATION;
    record->url = "http://three.example/live";
    window->currentList = 2;
    my_ListBox *chosen = new my_ListBox(window->lists[2], record, false);
    window->selectedEntry = chosen;
    // Add, search, separator, start recording.
    script.expect("setup_menu", [](eWidget &) {
        press("down");
        press("down");
        press("ok");
    });
    script.expect("eMessageBox", [](eWidget &) { press("ok"); });
    press("menu");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(scriptCalls(), "start\nhttp://three.example/live\n--\n");
}

TEST_F(RecordingFromTheMenu, StopRecordFromTheMenuStopsWithoutTheBackgroundNote)
{
    startRecorder();
    Shown question;
    // Search, separator, stop record.
    script.expect("setup_menu", [](eWidget &) {
        press("down");
        press("down");
        press("ok");
    });
    answerBox(question, {"ok"});
    press("menu");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(question.text, "Stop Record");
    EXPECT_EQ(scriptCalls(), "stop\n--\n");
}

TEST_F(RecordingFromTheMenu, ClosingTheWindowAsksAndNoLeavesTheRecorderRunning)
{
    startRecorder();
    Shown question;
    answerBox(question, {"right", "ok"});
    window.reset();
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(question.text, "Stop Record\nTarnwave working in Background");
    EXPECT_TRUE(pUtils::is_running("streamripper"));
    EXPECT_TRUE(scriptNotRun());
}

TEST_F(RecordingFromTheMenu, TheBrowserChoosesANewRecordingsDirectory)
{
    std::filesystem::create_directories(box.root.file("hdd/radio/jazz"));
    std::string startPath;
    // Delete, search, separator, caption, the path row.
    script.expect("setup_menu", [](eWidget &) {
        for (const char *key : {"down", "down", "down", "ok"})
            press(key);
    });
    script.expect("pBrowser", [&](eWidget &shown) {
        startPath = dynamic_cast<pBrowser &>(shown).getPath();
        // "..", then "jazz": open it and choose it.
        press("down");
        press("ok");
        press("green");
    });
    press("menu");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(startPath, "/hdd/radio/");
    eString directory;
    eConfigFile saved(box.root.path() / "var/script/streamripper_script.sh");
    saved.getKey("STREAMDIR", directory);
    EXPECT_EQ(directory, "/hdd/radio/jazz/");
    EXPECT_TRUE(std::filesystem::perms::owner_exec
                == (std::filesystem::status(saved.path()).permissions() & std::filesystem::perms::owner_exec))
        << "the script can still be run";
}

TEST_F(RecordingFromTheMenu, ACancelledBrowserLeavesTheDirectory)
{
    const std::string before = readFile(box.root.path() / "var/script/streamripper_script.sh");
    script.expect("setup_menu", [](eWidget &) {
        for (const char *key : {"down", "down", "down", "ok"})
            press(key);
    });
    script.expect("pBrowser", [](eWidget &) { press("exit"); });
    press("menu");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(readFile(box.root.path() / "var/script/streamripper_script.sh"), before);
}

} // namespace
