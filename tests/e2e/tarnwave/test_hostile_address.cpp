// A station whose playlist gives a hostile stream address (the station
// server's hostile-address fault: a query that makes files hostile-N in the
// working directory of any shell given it carelessly), in the emulator with
// the real recorder script and streamripper. It plays, it records, and the
// address reaches streamripper whole as one argument: no command of it runs,
// no hostile-N file appears anywhere, the only processes are the script's and
// streamripper, and nothing is written outside the recordings directory but
// the script's own files in /tmp.

#include "box_recorder.h"
#include "emulator_process.h"
#include "tarnwave_screen.h"

#include "support/station_server_process.h"
#include "support/temp_dir.h"
#include "support/wait_for.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using tarnwave_e2e::Screen;
using tarnwave_e2e::ShownMessage;

namespace {

namespace fs = std::filesystem;

const std::string hostileQuery = "q=';touch${IFS}hostile-1;'\"$(touch${IFS}hostile-2)\"`touch${IFS}hostile-3`";

// What the recorder script runs: its own shell and subshells, the recorder,
// and the few tools it uses.
const std::set<std::string> scriptProcesses = {"sh", "streamripper_sc", "streamripper", "mkdir", "cat", "sed", "sleep",
                                               "rm"};

// What may appear in the box root while a recording runs, besides the
// recordings: the script's pid, message and complaint files (a normal
// recording writes exactly these).
const std::set<std::string> scriptFiles = {"tmp/.streamripper.pid", "tmp/.streamdebug", "tmp/.streamripper.err"};

// The files named hostile-* directly in `directory`.
std::vector<std::string> hostileFilesIn(const fs::path &directory)
{
    std::vector<std::string> found;
    std::error_code error;
    for (auto it = fs::directory_iterator(directory, error); !error && it != fs::directory_iterator();
         it.increment(error)) {
        if (it->path().filename().string().starts_with("hostile-"))
            found.push_back(it->path().string());
    }
    return found;
}

// Whether one line of `log` holds both texts.
bool hasLineWith(const std::string &log, const std::string &first, const std::string &second)
{
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        if (line.find(first) != std::string::npos && line.find(second) != std::string::npos)
            return true;
    }
    return false;
}

class HostileAddress : public ::testing::Test
{
protected:
    std::string boxRoot() const { return emulator.boxFile(""); }

    // What the daemon's processes for the box are called now; the arguments
    // of the streamripper among them, when it runs.
    void lookAtProcesses()
    {
        for (const pid_t pid : tarnwave_e2e::boxProcesses(boxRoot())) {
            const std::string name = tarnwave_e2e::processName(pid);
            if (name.empty())
                continue;
            processNames.insert(name);
            if (name == "streamripper")
                recorderArguments = tarnwave_e2e::processArguments(pid);
        }
    }

    // Looks at the processes every few milliseconds until `done()` holds;
    // false after `limit`.
    template <class Predicate>
    bool watchProcessesUntil(std::chrono::milliseconds limit, Predicate done)
    {
        const auto deadline = std::chrono::steady_clock::now() + limit;
        for (lookAtProcesses(); !done(); lookAtProcesses()) {
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            std::this_thread::sleep_for(20ms);
        }
        return true;
    }

    std::uintmax_t recordedBytes() const
    {
        const auto files = tarnwave_e2e::mp3FilesUnder(emulator.boxFile("/hdd/radio"));
        std::error_code error;
        return files.empty() ? 0 : fs::file_size(files.front(), error);
    }

    StationServerProcess server{{"--fault", "/sbin/tunein-station.pls=hostile-address"}};
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()}};
    tarnwave_e2e::BoxProcessesStopper stopper{emulator};
    Screen screen{emulator};
    std::set<std::string> processNames;
    std::vector<std::string> recorderArguments;
};

TEST_F(HostileAddress, RecordingItRunsOnlyTheRecorderAndWritesOnlyIntoItsDirectory)
{
    screen.playFirstStationOfFirstGenre();
    ASSERT_TRUE(screen.waitForPlayIcon()) << "the player asks for the address as it is: " << server.log();
    const auto ids = tarnwave_e2e::tunedInIds(server);
    ASSERT_FALSE(ids.empty());
    const std::string path = "/stream/" + ids.back() + "?" + hostileQuery;
    const std::string address = server.baseUrl() + path;
    const std::set<std::string> before = tarnwave_e2e::filesUnder(boxRoot());

    ASSERT_TRUE(screen.chooseFromMenu("Start recording")) << screen.widgets();
    const ShownMessage question = screen.waitForMessage();
    EXPECT_EQ(question.text, "Start recording from\n" + address + "\nto\n/hdd/radio");
    ASSERT_TRUE(screen.answer("yes")) << screen.widgets();

    // It records: the processes are looked at all the while.
    EXPECT_TRUE(watchProcessesUntil(40s, [&] { return !recorderArguments.empty() && recordedBytes() > 64 * 1024; }))
        << recordedBytes() << " bytes; " << server.log();
    ASSERT_GE(recorderArguments.size(), 2u);
    EXPECT_EQ(recorderArguments[1], address) << "the address reaches streamripper whole, as one argument";

    ASSERT_TRUE(screen.chooseFromMenu("Stop Record")) << screen.widgets();
    ASSERT_TRUE(screen.waitForMessage().shown) << screen.widgets();
    ASSERT_TRUE(screen.answer("yes")) << screen.widgets();
    EXPECT_TRUE(watchProcessesUntil(15s, [&] { return tarnwave_e2e::boxProcesses(boxRoot()).empty(); }))
        << "the recorder and the script's shells end";
    // The recorder asked for the address as it is (its log line comes when
    // its stream has ended).
    EXPECT_TRUE(within(10s, [&] {
        return hasLineWith(server.log(), "\"GET " + StationServerProcess::asLogged(path) + " HTTP/1.1\" 200",
                           "\"Streamripper");
    })) << server.log();

    for (const std::string &name : processNames)
        EXPECT_EQ(scriptProcesses.count(name), 1u) << "a process named " << name << " ran for the box";
    const std::set<std::string> after = tarnwave_e2e::filesUnder(boxRoot());
    for (const std::string &file : after) {
        EXPECT_FALSE(fs::path(file).filename().string().starts_with("hostile-")) << file;
        if (!before.contains(file)) {
            EXPECT_TRUE(file.starts_with("hdd/radio/") || scriptFiles.contains(file)) << "new: " << file;
        }
    }
    EXPECT_EQ(hostileFilesIn(emulator.root().path()), std::vector<std::string>{});
    EXPECT_EQ(hostileFilesIn(fs::temp_directory_path()), std::vector<std::string>{});
    EXPECT_EQ(hostileFilesIn("/tmp"), std::vector<std::string>{});
    EXPECT_EQ(hostileFilesIn(fs::current_path()), std::vector<std::string>{});

    // And what it recorded is an MP3 file.
    const auto files = tarnwave_e2e::mp3FilesUnder(emulator.boxFile("/hdd/radio"));
    ASSERT_FALSE(files.empty());
    const tarnwave_e2e::Mp3Frames frames = tarnwave_e2e::walkMp3Frames(readFile(files.front()));
    EXPECT_NE(frames.firstAt, tarnwave_e2e::Mp3Frames::none);
    EXPECT_EQ(frames.brokenAt, tarnwave_e2e::Mp3Frames::none);
    EXPECT_GT(frames.count, 100u);
}

} // namespace
