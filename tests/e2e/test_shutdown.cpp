// SIGTERM and SIGINT stop the emulator and the station server it started,
// leaving no process behind.

#include "emulator_process.h"
#include "widget_json.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <sstream>

namespace {

std::string commandName(pid_t pid)
{
    std::ifstream in("/proc/" + std::to_string(pid) + "/comm");
    std::string name;
    std::getline(in, name);
    return name;
}

// The embedded station server the emulator started: its only child.
pid_t stationServerOf(const EmulatorProcess &emulator)
{
    const std::vector<pid_t> children = childrenOf(emulator.pid());
    for (const pid_t child : children)
        if (commandName(child) == "station-server")
            return child;
    return -1;
}

TEST(EmulatorShutdown, SigtermStopsItAndItsStationServer)
{
    EmulatorProcess emulator({"--plugin", testPluginPath()});
    const pid_t stationServer = stationServerOf(emulator);
    ASSERT_GT(stationServer, 0) << "no station-server among the emulator's children";
    // The plug-in runs (autostart) and the directory points at that server.
    ASSERT_TRUE(emulator.waitForBody("/api/widgets", "\"name\":\"test-plugin\""));
    std::ifstream store(emulator.root().path() / "box/var/tuxbox/config/boxhost.conf");
    std::stringstream contents;
    contents << store.rdbuf();
    EXPECT_NE(contents.str().find("s:/tarnwave/directory=http://127.0.0.1:"), std::string::npos) << contents.str();

    const pid_t emulatorPid = emulator.pid();
    EXPECT_EQ(emulator.stop(), 0);
    EXPECT_TRUE(processGone(stationServer));
    EXPECT_TRUE(processGone(emulatorPid));
}

TEST(EmulatorShutdown, SigintStopsItToo)
{
    EmulatorProcess emulator({"--plugin", testPluginPath(), "--no-autostart"});
    const pid_t stationServer = stationServerOf(emulator);
    ASSERT_GT(stationServer, 0);
    ASSERT_EQ(::kill(emulator.pid(), SIGINT), 0);
    EXPECT_EQ(emulator.waitForExit(), std::optional<int>(0));
    EXPECT_TRUE(processGone(stationServer));
}

TEST(EmulatorShutdown, WithADirectoryGivenNoStationServerIsStarted)
{
    EmulatorProcess emulator({"--plugin", testPluginPath(), "--no-autostart", "--directory", unusedDirectory});
    EXPECT_EQ(stationServerOf(emulator), -1);
    EXPECT_EQ(emulator.stop(), 0);
}

} // namespace
