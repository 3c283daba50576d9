// The faults that give a playlist's stream address a query of their own: a
// hostile one that a careless shell would run (hostile-address), and one
// with an ampersand (ampersand-address). The query is what a shell would run,
// the stream plays whatever query it is asked with, and the real recorder
// records it.

#include "mp3_stream.h"
#include "raw_http.h"
#include "support/station_server_process.h"
#include "support/temp_dir.h"
#include "xml_document.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <sys/wait.h>

namespace {

using namespace std::chrono_literals;

const std::string playlistPath = "/sbin/tunein-station.pls";
const std::string hostileQuery = "q=';touch${IFS}hostile-1;'\"$(touch${IFS}hostile-2)\"`touch${IFS}hostile-3`";

std::string firstStationId(const StationServerProcess &server)
{
    const auto stations =
        parseXml(httpGet(server.port(), "/sbin/newxml.phtml?genre=Top&mt=audio/mpeg&limit=1").body).all("station");
    if (stations.empty())
        throw std::runtime_error("no station in the top list");
    return stations.front().at("id");
}

// The value of the playlist's File1= line.
std::string fileAddress(const std::string &playlist)
{
    std::istringstream in(playlist);
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with("File1="))
            return line.substr(6);
    }
    return {};
}

// `text` as one word for a shell: in single quotes, each quote as '\''.
std::string shellQuoted(const std::string &text)
{
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

struct ShellRun
{
    std::string output;
    std::vector<std::string> madeFiles; // the names of the files it left
};

// Runs `command` with /bin/sh in a fresh directory, as the recorder's shell
// would run it in the box root.
ShellRun runShellIn(const std::string &command)
{
    TempDir directory;
    ShellRun run;
    FILE *pipe = popen(("cd " + shellQuoted(directory.str()) + " && " + command).c_str(), "r");
    if (pipe == nullptr)
        return run;
    char buffer[512];
    while (const std::size_t got = std::fread(buffer, 1, sizeof buffer, pipe))
        run.output.append(buffer, got);
    pclose(pipe);
    for (const auto &entry : std::filesystem::directory_iterator(directory.path()))
        run.madeFiles.push_back(entry.path().filename().string());
    std::sort(run.madeFiles.begin(), run.madeFiles.end());
    return run;
}

// A stream body without metadata: whole MP3 frames from its first byte.
void expectMp3Audio(const HttpReply &reply)
{
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.header("content-type"), "audio/mpeg");
    const Mp3Scan scan = scanMp3(reply.body);
    EXPECT_EQ(scan.firstFrameAt, 0u);
    EXPECT_EQ(scan.brokenAt, Mp3Scan::none);
    EXPECT_GT(scan.frames, 20u);
}

} // namespace

TEST(StationServerAddressFaults, HostileAddressAddsItsQueryToTheStreamAddressOnly)
{
    StationServerProcess server;
    const std::string id = firstStationId(server);
    const std::string real = httpGet(server.port(), playlistPath + "?id=" + id).body;
    const std::string genres = httpGet(server.port(), "/sbin/newxml.phtml").body;
    server.addFault(playlistPath, "hostile-address");
    server.addFault("/sbin/newxml.phtml", "hostile-address");

    const HttpReply reply = httpGet(server.port(), playlistPath + "?id=" + id);
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.header("content-type"), "audio/x-scpls");
    const std::string address = "http://127.0.0.1:" + std::to_string(server.port()) + "/stream/" + id;
    EXPECT_EQ(fileAddress(reply.body), address + "?" + hostileQuery);
    std::string expected = real;
    expected.insert(expected.find(address) + address.size(), "?" + hostileQuery);
    EXPECT_EQ(reply.body, expected) << "every other line as it was";
    EXPECT_EQ(reply.header("content-length"), std::to_string(expected.size()));
    EXPECT_EQ(httpGet(server.port(), "/sbin/newxml.phtml").body, genres) << "a reply that is no playlist";
}

TEST(StationServerAddressFaults, ACarelessShellRunsTheHostileQueryAndACarefulOneDoesNot)
{
    StationServerProcess server({"--fault", playlistPath + "=hostile-address"});
    const std::string address =
        fileAddress(httpGet(server.port(), playlistPath + "?id=" + firstStationId(server)).body);
    ASSERT_NE(address.find(hostileQuery), std::string::npos) << address;

    const ShellRun unquoted = runShellIn("printf '%s' " + address);
    EXPECT_EQ(unquoted.madeFiles, (std::vector<std::string>{"hostile-2", "hostile-3"}));
    const ShellRun singleQuoted = runShellIn("printf '%s' '" + address + "'");
    EXPECT_EQ(singleQuoted.madeFiles, std::vector<std::string>{"hostile-1"});
    const ShellRun doubleQuoted = runShellIn("printf '%s' \"" + address + "\"");
    EXPECT_EQ(doubleQuoted.madeFiles, (std::vector<std::string>{"hostile-2", "hostile-3"}));

    const ShellRun careful = runShellIn("printf '%s' " + shellQuoted(address));
    EXPECT_TRUE(careful.madeFiles.empty());
    EXPECT_EQ(careful.output, address) << "the address arrives whole";
}

TEST(StationServerAddressFaults, TheStreamPlaysWithTheHostileQueryRawOrPercentEncoded)
{
    StationServerProcess server({"--fault", "/stream/*=hostile-address"});
    const std::string id = firstStationId(server);
    // As streamripper and GStreamer send it: quotes, "$", braces and
    // backquotes raw in the request line.
    const std::string raw = "/stream/" + id + "?" + hostileQuery;
    expectMp3Audio(httpGet(server.port(), raw, {}, 1500ms));
    EXPECT_TRUE(server.waitForLog("\"GET " + StationServerProcess::asLogged(raw) + " HTTP/1.1\" 200")) << server.log();

    const std::string encoded = "/stream/" + id
                                + "?q=%27%3Btouch%24%7BIFS%7Dhostile-1%3B%27%22%24%28touch%24%7BIFS%7Dhostile-2%29%22"
                                  "%60touch%24%7BIFS%7Dhostile-3%60";
    expectMp3Audio(httpGet(server.port(), encoded, {}, 1500ms));
}

TEST(StationServerAddressFaults, AmpersandAddressGivesTheStreamAddressTwoParameters)
{
    StationServerProcess server({"--fault", playlistPath + "=ampersand-address"});
    const std::string id = firstStationId(server);
    const std::string address = fileAddress(httpGet(server.port(), playlistPath + "?id=" + id).body);
    EXPECT_EQ(address, "http://127.0.0.1:" + std::to_string(server.port()) + "/stream/" + id + "?a=1&b=2");
    expectMp3Audio(httpGet(server.port(), "/stream/" + id + "?a=1&b=2", {}, 1500ms));
}

TEST(StationServerAddressFaults, StreamripperRecordsTheHostileAddress)
{
    StationServerProcess server({"--fault", playlistPath + "=hostile-address"});
    const std::string address =
        fileAddress(httpGet(server.port(), playlistPath + "?id=" + firstStationId(server)).body);
    ASSERT_NE(address.find(hostileQuery), std::string::npos) << address;

    TempDir recordings;
    // -a: one file; -A: no track files; -s: straight into the directory;
    // -l 3: three seconds.
    const ShellRun run = runShellIn("timeout 30 streamripper " + shellQuoted(address) + " -d "
                                    + shellQuoted(recordings.str()) + " -s -a -A -l 3 --quiet </dev/null 2>&1");
    EXPECT_TRUE(run.madeFiles.empty()) << run.output;

    std::vector<std::filesystem::path> files;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(recordings.path())) {
        if (entry.is_regular_file() && entry.path().extension() == ".mp3")
            files.push_back(entry.path());
    }
    ASSERT_EQ(files.size(), 1u) << run.output;
    const std::string recorded = readFile(files.front());
    const Mp3Scan scan = scanMp3(recorded);
    EXPECT_NE(scan.firstFrameAt, Mp3Scan::none);
    EXPECT_EQ(scan.brokenAt, Mp3Scan::none);
    EXPECT_GT(scan.frames, 50u);
    const std::string path = address.substr(address.find("/stream/"));
    EXPECT_TRUE(server.waitForLog("\"GET " + StationServerProcess::asLogged(path) + " HTTP/1.")) << server.log();
}
