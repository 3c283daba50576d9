// What the emulator cannot use ends it at once: one clear error line on
// stderr and exit status 2.

#include "emulator_process.h"

#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <httplib.h>

#include <algorithm>

namespace {

class BadInput : public ::testing::Test
{
protected:
    TempDir scratch;

    // A command line that would work but for `changes`.
    std::vector<std::string> arguments(std::vector<std::string> changes) const
    {
        std::vector<std::string> all = {"--headless",    "--root",      (scratch.path() / "box").string(),
                                        "--listen",      "127.0.0.1:0", "--directory",
                                        unusedDirectory, "--plugin",    testPluginPath()};
        all.insert(all.end(), changes.begin(), changes.end());
        return all;
    }

    static void expectOneErrorLine(const EmulatorExit &exit, const std::string &text)
    {
        EXPECT_EQ(exit.status, 2);
        EXPECT_EQ(std::count(exit.errors.begin(), exit.errors.end(), '\n'), 1) << exit.errors;
        EXPECT_TRUE(exit.errors.starts_with("box-emulator: ")) << exit.errors;
        EXPECT_NE(exit.errors.find(text), std::string::npos) << exit.errors;
        EXPECT_EQ(exit.output, "");
    }
};

TEST_F(BadInput, APluginPathThatDoesNotExist)
{
    const std::string missing = (scratch.path() / "nothing-here.so").string();
    expectOneErrorLine(runEmulatorToExit(arguments({"--plugin", missing})), "plug-in not found: " + missing);
}

TEST_F(BadInput, APluginThatIsNoSharedLibrary)
{
    const auto text = scratch.file("notes.so");
    writeFile(text, "this is not a library\n");
    expectOneErrorLine(runEmulatorToExit(arguments({"--plugin", text.string()})),
                       "plug-in " + text.string() + " is not a loadable shared library");
}

TEST_F(BadInput, APluginDirectory)
{
    expectOneErrorLine(runEmulatorToExit(arguments({"--plugin", scratch.str()})), "not a regular file");
}

TEST_F(BadInput, ALibraryWithoutTheEntryPoint)
{
    expectOneErrorLine(runEmulatorToExit(arguments({"--plugin", noEntryPluginPath()})), "has no gPlugin_exec");
}

TEST_F(BadInput, ABusyPort)
{
    httplib::Server other;
    const int port = other.bind_to_any_port("127.0.0.1");
    ASSERT_GT(port, 0);
    const std::string address = "127.0.0.1:" + std::to_string(port);
    expectOneErrorLine(runEmulatorToExit(arguments({"--listen", address})),
                       "cannot listen on " + address + ": Address already in use");
}

TEST_F(BadInput, ARootUnderAFile)
{
    const auto file = scratch.file("plain");
    writeFile(file, "x");
    const std::string root = (file / "box").string();
    expectOneErrorLine(runEmulatorToExit(arguments({"--root", root})), "cannot use " + root + " as the box root");
}

TEST_F(BadInput, AReadOnlyRoot)
{
    // Not even root may make files in /proc.
    expectOneErrorLine(runEmulatorToExit(arguments({"--root", "/proc/tarnwave-box"})),
                       "cannot use /proc/tarnwave-box as the box root");
}

TEST_F(BadInput, AnUnknownOption)
{
    expectOneErrorLine(runEmulatorToExit(arguments({"--volume", "11"})), "unknown option \"--volume\"");
}

TEST_F(BadInput, AnUpstreamBesideAnotherDirectory)
{
    expectOneErrorLine(
        runEmulatorToExit(arguments({"--directory", "http://127.0.0.1:9", "--upstream", "radio-browser"})),
        "--upstream goes to the embedded station server, which --directory replaces");
}

TEST_F(BadInput, AnUpstreamTheStationServerRefuses)
{
    // No --directory: the embedded station server is started, and refuses.
    const EmulatorExit exit =
        runEmulatorToExit({"--headless", "--root", (scratch.path() / "box").string(), "--listen", "127.0.0.1:0",
                           "--plugin", testPluginPath(), "--upstream", "radio-browser=ftp://mirror"});
    EXPECT_EQ(exit.status, 2);
    EXPECT_NE(exit.errors.find("cannot start the station server: station-server did not start: "), std::string::npos)
        << exit.errors;
    EXPECT_NE(exit.errors.find("--upstream needs radio-browser"), std::string::npos) << exit.errors;
}

TEST_F(BadInput, AScriptWithAnUnknownKey)
{
    const auto script = scratch.file("tour.script");
    writeFile(script, "# a tour\nok\nwait 100\npower\n");
    expectOneErrorLine(runEmulatorToExit(arguments({"--script", script.string()})),
                       "line 4: \"power\" is no remote-control key");
}

} // namespace
