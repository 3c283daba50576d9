// The recorder script that the emulator puts into a new box: "start URL" runs
// the real streamripper into STREAMDIR in the background and "stop" ends it;
// what goes wrong is written to the recorder's message file, which stays
// absent while there is nothing to say.

#include "emulator_process.h"

#include "support/station_server_process.h"
#include "support/temp_dir.h"
#include "support/wait_for.h"
#include "system/putils.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

using namespace std::chrono_literals;

namespace {

class RecorderScript : public ::testing::Test
{
protected:
    ~RecorderScript() override
    {
        // Whatever a test left running ends with the test.
        run({"stop"});
        within(5s, [] { return !pUtils::is_running("streamripper"); });
    }

    std::filesystem::path boxFile(const std::string &path) const { return emulator.boxFile(path); }

    // Runs the box's script as the image daemon does, in the box root with
    // BOX_ROOT set; its exit status.
    int run(const std::vector<std::string> &arguments) const
    {
        const std::string script = boxFile("/var/script/streamripper_script.sh");
        std::string root = boxFile("/");
        root.pop_back();
        const pid_t child = fork();
        if (child == 0) {
            std::vector<char *> argv;
            std::string shell = "/bin/sh";
            argv.push_back(shell.data());
            std::string scriptPath = script;
            argv.push_back(scriptPath.data());
            std::vector<std::string> copies = arguments;
            for (std::string &argument : copies)
                argv.push_back(argument.data());
            argv.push_back(nullptr);
            setenv("BOX_ROOT", root.c_str(), 1);
            if (chdir(root.c_str()) != 0)
                _exit(126);
            execv("/bin/sh", argv.data());
            _exit(127);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // The bytes recorded into the recordings directory so far.
    std::uintmax_t recordedBytes() const
    {
        std::uintmax_t bytes = 0;
        std::error_code error;
        for (const auto &entry : std::filesystem::recursive_directory_iterator(boxFile("/hdd/radio"), error))
            if (entry.is_regular_file())
                bytes += entry.file_size();
        return bytes;
    }

    // How many processes run the box's script (its watcher of the recorder).
    int scriptProcesses() const
    {
        const std::string script = boxFile("/var/script/streamripper_script.sh");
        int count = 0;
        std::error_code error;
        for (const auto &entry : std::filesystem::directory_iterator("/proc", error)) {
            const std::string name = entry.path().filename();
            if (name.find_first_not_of("0123456789") != std::string::npos)
                continue;
            const std::string commandLine = readFile(entry.path() / "cmdline");
            if (commandLine.find(script) != std::string::npos)
                ++count;
        }
        return count;
    }

    std::string messages() const
    {
        const std::filesystem::path file = boxFile("/tmp/.streamdebug");
        return std::filesystem::exists(file) ? readFile(file) : std::string("(no file)");
    }

    StationServerProcess server;
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()}};
};

TEST_F(RecorderScript, StartRecordsIntoTheRecordingsDirectoryAndStopEndsIt)
{
    ASSERT_EQ(run({"start", server.baseUrl() + "/stream/38869"}), 0);
    ASSERT_TRUE(within(10s, [] { return pUtils::is_running("streamripper"); }));
    EXPECT_TRUE(within(20s, [&] { return recordedBytes() > 20000; })) << recordedBytes();

    ASSERT_EQ(run({"stop"}), 0);
    EXPECT_TRUE(within(10s, [] { return !pUtils::is_running("streamripper"); }));
    EXPECT_TRUE(within(5s, [&] { return scriptProcesses() == 0; })) << "the script's watcher ends with the recorder";
    EXPECT_EQ(messages(), "(no file)") << "nothing to say, no file";
}

TEST_F(RecorderScript, AnAddressThatLooksLikeAnOptionIsRefused)
{
    EXPECT_EQ(run({"start", "-d/etc"}), 1);
    EXPECT_NE(messages().find("not a stream URL: -d/etc"), std::string::npos) << messages();
    EXPECT_FALSE(within(1s, [] { return pUtils::is_running("streamripper"); }));
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
