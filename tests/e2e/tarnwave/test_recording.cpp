// Recording in the emulator with the real recorder script and streamripper,
// against the station server: a directory chosen in the browser, the start
// asked and confirmed, the blinking mark, the stop asked and confirmed, and a
// valid MP3 file in that directory; no message while the recorder has
// nothing to say; leaving while it records asks with the background note,
// and No leaves the recorder running.

#include "box_recorder.h"
#include "emulator_process.h"
#include "tarnwave_screen.h"

#include "support/station_server_process.h"
#include "support/temp_dir.h"
#include "support/wait_for.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <sys/types.h>

using namespace std::chrono_literals;
using tarnwave_e2e::mainWindow;
using tarnwave_e2e::messageOf;
using tarnwave_e2e::Screen;
using tarnwave_e2e::ShownMessage;
using tarnwave_e2e::showsImage;
using tarnwave_e2e::windowAt;

namespace {

namespace fs = std::filesystem;

const std::string recordingMark = "shortcut.red";

// Whether the recorder's messages show ("Streamripper", information icon).
bool showsRecorderMessage(const std::string &widgets)
{
    const ShownMessage message = messageOf(widgets);
    return message.shown && message.caption == "Streamripper" && message.icon == "messagebox.info";
}

class Recording : public ::testing::Test
{
protected:
    std::string boxRoot() const { return emulator.boxFile(""); }

    // Plays the first station and confirms "Start recording" with yes; the
    // question it was asked, and the address of the station.
    ShownMessage startRecording(std::string &address) const
    {
        screen.playFirstStationOfFirstGenre();
        EXPECT_TRUE(screen.waitForPlayIcon()) << screen.widgets();
        const auto ids = tarnwave_e2e::tunedInIds(server);
        address = ids.empty() ? std::string() : server.baseUrl() + "/stream/" + ids.back();
        EXPECT_TRUE(screen.chooseFromMenu("Start recording")) << screen.widgets();
        const ShownMessage question = screen.waitForMessage();
        EXPECT_TRUE(screen.answer("yes")) << screen.widgets();
        return question;
    }

    pid_t waitForRecorder() const
    {
        std::vector<pid_t> recorders;
        EXPECT_TRUE(within(15s, [&] { return !(recorders = tarnwave_e2e::recorderProcesses(boxRoot())).empty(); }))
            << "no streamripper runs for the box";
        return recorders.empty() ? -1 : recorders.front();
    }

    // The main window shows the recording mark in one look and not in a
    // later one; messages of the recorder, which the user would close, are
    // closed with OK.
    bool waitForTheMarkToBlink() const
    {
        bool shownOnce = false;
        return screen.waitFor(
            [&](const std::string &shown) {
                if (showsRecorderMessage(shown)) {
                    screen.key("ok");
                    return false;
                }
                if (windowAt(shown, mainWindow) == std::string::npos || messageOf(shown).shown)
                    return false;
                if (showsImage(shown, recordingMark)) {
                    shownOnce = true;
                    return false;
                }
                return shownOnce;
            },
            20s);
    }

    // The size of the largest MP3 file under the box directory `directory`.
    std::uintmax_t recordedBytes(const std::string &directory) const
    {
        const auto files = tarnwave_e2e::mp3FilesUnder(emulator.boxFile(directory));
        std::error_code error;
        return files.empty() ? 0 : fs::file_size(files.front(), error);
    }

    bool waitForRecordedBytes(const std::string &directory, std::uintmax_t bytes) const
    {
        return within(40s, [&] { return recordedBytes(directory) > bytes; });
    }

    StationServerProcess server;
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()}};
    tarnwave_e2e::BoxProcessesStopper stopper{emulator};
    Screen screen{emulator};
};

TEST_F(Recording, RecordsIntoTheChosenDirectoryWithABlinkingMarkUntilStopped)
{
    fs::create_directories(emulator.boxFile("/hdd/radio/test"));
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / ")) << screen.widgets();

    // The row that shows STREAMDIR opens the browser there.
    ASSERT_TRUE(screen.chooseFromMenu("/hdd/radio")) << screen.widgets();
    ASSERT_TRUE(screen.waitForWindow(tarnwave_e2e::directoryBrowser)) << screen.widgets();
    ASSERT_TRUE(screen.moveCursorTo("test/", tarnwave_e2e::browserList)) << screen.widgets();
    screen.key("ok");
    ASSERT_TRUE(screen.waitFor([](const std::string &shown) {
        return shown.find("\"text\":\"/hdd/radio/test/\"") != std::string::npos;
    })) << screen.widgets();
    screen.key("green");
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / ")) << screen.widgets();
    EXPECT_NE(readFile(emulator.boxFile("/var/script/streamripper_script.sh")).find("\nSTREAMDIR=/hdd/radio/test/\n"),
              std::string::npos);

    std::string address;
    const ShownMessage question = startRecording(address);
    EXPECT_EQ(question.caption, "Message");
    EXPECT_EQ(question.text, "Start recording from\n" + address + "\nto\n/hdd/radio/test/");
    EXPECT_EQ(question.focusedButton, "yes") << "yes is the default";
    const pid_t recorder = waitForRecorder();
    ASSERT_GT(recorder, 0);
    EXPECT_TRUE(waitForTheMarkToBlink()) << screen.widgets();
    ASSERT_TRUE(waitForRecordedBytes("/hdd/radio/test", 120 * 1024)) << recordedBytes("/hdd/radio/test");

    // While it records, the menu offers to stop it, and no directory.
    ASSERT_TRUE(screen.pointMenuAt("Stop Record")) << screen.widgets();
    const auto rows = tarnwave_e2e::menuList(screen.widgets());
    EXPECT_EQ(rows.indexOf("Start recording"), -1);
    EXPECT_EQ(rows.indexOf("Streamripper directory"), -1);
    EXPECT_EQ(rows.indexOf("/hdd/radio/test/"), -1);
    screen.key("ok");
    const ShownMessage stop = screen.waitForMessage();
    EXPECT_EQ(stop.caption, "Streamripper");
    EXPECT_EQ(stop.text, "Stop Record");
    EXPECT_EQ(stop.icon, "messagebox.question");
    ASSERT_TRUE(screen.answer("yes")) << screen.widgets();
    EXPECT_TRUE(tarnwave_e2e::waitForNoRecorder(boxRoot())) << "the script's stop ended it";
    EXPECT_TRUE(screen.waitFor([](const std::string &shown) {
        return windowAt(shown, mainWindow) != std::string::npos && !showsImage(shown, recordingMark);
    })) << screen.widgets();

    // An MP3 file, frame after frame, in the chosen directory.
    const auto files = tarnwave_e2e::mp3FilesUnder(emulator.boxFile("/hdd/radio/test"));
    ASSERT_FALSE(files.empty());
    EXPECT_EQ(tarnwave_e2e::mp3FilesUnder(emulator.boxFile("/hdd/radio")).size(), files.size())
        << "nothing recorded beside the chosen directory";
    const std::string recorded = readFile(files.front());
    EXPECT_GT(recorded.size(), 50u * 1024);
    const tarnwave_e2e::Mp3Frames frames = tarnwave_e2e::walkMp3Frames(recorded);
    EXPECT_LT(frames.firstAt, 4096u) << files.front();
    EXPECT_EQ(frames.brokenAt, tarnwave_e2e::Mp3Frames::none) << "of " << recorded.size() << " bytes";
    EXPECT_GT(frames.count, 100u);
}

TEST_F(Recording, LeavingWhileItRecordsAsksAndNoLeavesTheRecorderRunning)
{
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / ")) << screen.widgets();
    std::string address;
    startRecording(address);
    const pid_t recorder = waitForRecorder();
    ASSERT_GT(recorder, 0);
    ASSERT_TRUE(waitForTheMarkToBlink()) << screen.widgets();

    screen.key("exit");
    const ShownMessage question = screen.waitForMessage();
    EXPECT_EQ(question.caption, "Streamripper");
    EXPECT_EQ(question.text, "Stop Record\nTarnwave working in Background");
    EXPECT_EQ(question.focusedButton, "yes");
    ASSERT_TRUE(screen.answer("no")) << screen.widgets();
    ASSERT_TRUE(screen.waitFor([](const std::string &shown) {
        return windowAt(shown, mainWindow) == std::string::npos && !messageOf(shown).shown;
    })) << "the plug-in has ended: "
        << screen.widgets();

    // The same recorder goes on recording.
    EXPECT_EQ(tarnwave_e2e::recorderProcesses(boxRoot()), std::vector<pid_t>{recorder});
    const std::uintmax_t before = recordedBytes("/hdd/radio");
    EXPECT_TRUE(waitForRecordedBytes("/hdd/radio", before + 16 * 1024)) << before;
    EXPECT_EQ(tarnwave_e2e::recorderProcesses(boxRoot()), std::vector<pid_t>{recorder});
}

// While the recorder has nothing to say, no message box comes: the mark
// blinks from the first ticks on.
TEST_F(Recording, ARecorderWithNothingToSayShowsNoMessage)
{
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / ")) << screen.widgets();
    std::string address;
    startRecording(address);
    ASSERT_GT(waitForRecorder(), 0);
    ShownMessage seen;
    EXPECT_TRUE(screen.waitFor(
        [&](const std::string &shown) {
            if (messageOf(shown).shown)
                seen = messageOf(shown);
            return showsImage(shown, recordingMark);
        },
        10s))
        << screen.widgets();
    EXPECT_FALSE(seen.shown) << seen.caption << ": \"" << seen.text << "\"";
    EXPECT_FALSE(fs::exists(emulator.boxFile("/tmp/.streamdebug")));
}

} // namespace
