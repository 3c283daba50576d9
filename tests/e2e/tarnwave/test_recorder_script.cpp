// The recorder script that the emulator puts into a new box: "start URL" runs
// the real streamripper into STREAMDIR in the background and "stop" ends it;
// what goes wrong is written to the recorder's message file, which stays
// absent while there is nothing to say.

#include "box_recorder.h"
#include "emulator_process.h"

#include "support/station_server_process.h"
#include "support/temp_dir.h"
#include "support/wait_for.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using tarnwave_e2e::boxProcesses;
using tarnwave_e2e::recorderProcesses;

namespace {

class RecorderScript : public ::testing::Test
{
protected:
    std::filesystem::path boxFile(const std::string &path) const { return emulator.boxFile(path); }

    // Runs the box's script as the image daemon does, in the box root with
    // BOX_ROOT set; its exit status.
    int run(std::vector<std::string> arguments) const
    {
        std::string shell = "/bin/sh";
        std::string script = boxFile("/var/script/streamripper_script.sh");
        std::vector<char *> argv{shell.data(), script.data()};
        for (std::string &argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            setenv("BOX_ROOT", boxRoot.c_str(), 1);
            if (chdir(boxRoot.c_str()) != 0)
                _exit(126);
            execv(shell.c_str(), argv.data());
            _exit(127);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    bool recording() const { return !recorderProcesses(boxRoot).empty(); }

    // The size of the largest MP3 file recorded so far.
    std::uintmax_t recordedBytes() const
    {
        const auto files = tarnwave_e2e::mp3FilesUnder(boxFile("/hdd/radio"));
        std::error_code error;
        return files.empty() ? 0 : std::filesystem::file_size(files.front(), error);
    }

    std::string messages() const
    {
        const std::filesystem::path file = boxFile("/tmp/.streamdebug");
        return std::filesystem::exists(file) ? readFile(file) : std::string("(no file)");
    }

    StationServerProcess server;
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()}};
    // Whatever a test left running ends with the test.
    tarnwave_e2e::BoxProcessesStopper stopper{emulator};
    const std::string boxRoot = emulator.boxFile("");
};

TEST_F(RecorderScript, StartRecordsIntoTheRecordingsDirectoryAndStopEndsIt)
{
    ASSERT_EQ(run({"start", server.baseUrl() + "/stream/38869"}), 0);
    ASSERT_TRUE(within(10s, [&] { return recording(); }));
    EXPECT_TRUE(within(20s, [&] { return recordedBytes() > 20000; })) << recordedBytes();

    ASSERT_EQ(run({"stop"}), 0);
    EXPECT_TRUE(within(10s, [&] { return !recording(); }));
    EXPECT_TRUE(within(5s, [&] { return boxProcesses(boxRoot).empty(); }))
        << "the script's watcher ends with the recorder";
    EXPECT_EQ(messages(), "(no file)") << "nothing to say, no file";
}

TEST_F(RecorderScript, AnAddressThatLooksLikeAnOptionIsRefused)
{
    EXPECT_EQ(run({"start", "-d/etc"}), 1);
    EXPECT_NE(messages().find("not a stream URL: -d/etc"), std::string::npos) << messages();
    EXPECT_FALSE(within(1s, [&] { return recording(); }));
}

TEST_F(RecorderScript, StartWithoutAnAddressSaysSo)
{
    EXPECT_EQ(run({"start"}), 1);
    EXPECT_NE(messages().find("start needs a stream URL"), std::string::npos) << messages();
}

TEST_F(RecorderScript, AMissingRecorderProgramIsReported)
{
    std::filesystem::remove(boxFile("/usr/bin/streamripper"));
    EXPECT_EQ(run({"start", server.baseUrl() + "/stream/38869"}), 1);
    EXPECT_NE(messages().find("the recorder /usr/bin/streamripper is missing"), std::string::npos) << messages();
}

TEST_F(RecorderScript, StopWithoutARecordingDoesNothing)
{
    EXPECT_EQ(run({"stop"}), 0);
    EXPECT_EQ(messages(), "(no file)");
}

} // namespace
