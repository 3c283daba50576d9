// The real recorder: streamripper records five seconds of a station into a
// directory, and what it wrote is a valid MP3 file.

#include "mp3_stream.h"
#include "raw_http.h"
#include "support/station_server_process.h"
#include "support/temp_dir.h"
#include "xml_document.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sys/wait.h>

namespace {

std::vector<std::filesystem::path> mp3FilesIn(const std::filesystem::path &directory)
{
    std::vector<std::filesystem::path> files;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file() && entry.path().extension() == ".mp3")
            files.push_back(entry.path());
    }
    return files;
}

} // namespace

TEST(StationServerStreamripper, RecordsFiveSecondsIntoAValidMp3File)
{
    StationServerProcess server;
    const auto stations =
        parseXml(httpGet(server.port(), "/sbin/newxml.phtml?genre=Top&mt=audio/mpeg").body).all("station");
    const auto station = std::find_if(stations.begin(), stations.end(),
                                      [](const XmlElement &candidate) { return candidate.at("br") == "128"; });
    ASSERT_NE(station, stations.end());
    TempDir recordings;
    // -a: one file for the whole recording; -A: no separate track files;
    // -s: straight into the directory; -l 5: stop after five seconds.
    const std::string command = "timeout 30 streamripper " + server.baseUrl() + "/stream/" + station->at("id") + " -d '"
                                + recordings.str() + "' -s -a -A -l 5 --quiet </dev/null >'" + recordings.str()
                                + "/streamripper.out' 2>&1";
    const int result = std::system(command.c_str());
    ASSERT_TRUE(WIFEXITED(result)) << command;
    EXPECT_EQ(WEXITSTATUS(result), 0) << readFile(recordings.path() / "streamripper.out");

    const auto files = mp3FilesIn(recordings.path());
    ASSERT_EQ(files.size(), 1u) << readFile(recordings.path() / "streamripper.out");
    const std::string recorded = readFile(files.front());
    const Mp3Scan scan = scanMp3(recorded);
    ASSERT_NE(scan.firstFrameAt, Mp3Scan::none) << "no MP3 frames in " << files.front();
    EXPECT_EQ(scan.brokenAt, Mp3Scan::none) << "broken at byte " << scan.brokenAt << " of " << recorded.size();
    EXPECT_EQ(scan.bitrates, std::set<int>{128});
    // Five seconds and the initial burst, with no ICY metadata left inside.
    const double seconds = static_cast<double>(scan.frames) * 1152.0 / 44100.0;
    EXPECT_GE(seconds, 4.5);
    EXPECT_LE(seconds, 10.0);
    EXPECT_GE(scan.bytesInFrames + scan.firstFrameAt + 128, recorded.size() * 99 / 100)
        << "more than frames in the file";
    EXPECT_TRUE(server.waitForLog("\"GET /stream/" + station->at("id"))) << server.log();
}
