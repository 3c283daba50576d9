// A station playing in the emulator with the real stream player against the
// station server: the play icon and the title the stream announces, a second
// station in place of the first, a stream that drops and comes back, a server
// that dies, an address the player refuses, the TV's sound back on leaving,
// and the German play icon.

#include "emulator_process.h"
#include "tarnwave_screen.h"

#include "gui/drawing/png_io.h"
#include "support/station_server_process.h"
#include "support/temp_dir.h"

#include <httplib.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

using namespace std::chrono_literals;
using tarnwave_e2e::Screen;
using tarnwave_e2e::showsImage;
using tarnwave_e2e::textStartingWith;

namespace {

const std::string firstTitle = "Zoë Café - Erster Titel";
const std::string secondTitle = "Second Title - Straße";

// The status bar shows nothing of a station: no icon, no station line, no
// information line and no title line.
bool statusBarIsEmpty(const std::string &widgets, const std::string &station)
{
    return !showsImage(widgets, "extra.play") && !showsImage(widgets, "extra.pause")
           && widgets.find("\"text\":\"" + station + "\"") == std::string::npos
           && textStartingWith(widgets, "title: ").empty() && textStartingWith(widgets, "bitrate: ").empty();
}

// Whether the TV picture behind the window carries the mark of its sound
// taken away (a red cross at the top right, outside the plug-in's window).
bool tvIsMuted(const EmulatorProcess &emulator)
{
    const auto screen = decodePNG(emulator.get("/api/screen.png").body);
    if (!screen)
        return false;
    const gRGB cross = screen->colorAt(660, 86);
    return cross.r > 200 && cross.b < 80;
}

class Playback : public ::testing::Test
{
protected:
    StationServerProcess server{{"--title", firstTitle, "--title", secondTitle, "--title-interval", "4"}};
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()}};
    Screen screen{emulator};
};

TEST_F(Playback, TheStationPlaysWithThePlayIconAndTheTitleItAnnounces)
{
    const std::string station = screen.playFirstStationOfFirstGenre();
    ASSERT_TRUE(screen.waitForPlayIcon()) << screen.widgets();
    const std::string shown = screen.widgets();
    EXPECT_FALSE(showsImage(shown, "extra.pause"));
    EXPECT_NE(shown.find("\"text\":\"" + station + "\""), std::string::npos) << "the station line";
    EXPECT_FALSE(textStartingWith(shown, "bitrate: ").empty()) << shown;

    // The title line follows the server's titles as they change.
    std::string first;
    ASSERT_TRUE(screen.waitFor([&](const std::string &widgets) {
        first = textStartingWith(widgets, "title: ");
        return first == "title: " + firstTitle || first == "title: " + secondTitle;
    })) << screen.widgets();
    const std::string next = first == "title: " + firstTitle ? "title: " + secondTitle : "title: " + firstTitle;
    EXPECT_TRUE(
        screen.waitFor([&](const std::string &widgets) { return textStartingWith(widgets, "title: ") == next; }, 15s))
        << screen.widgets();
}

TEST_F(Playback, OkOnASecondStationStopsTheFirst)
{
    screen.playFirstStationOfFirstGenre();
    ASSERT_TRUE(screen.waitForPlayIcon()) << screen.widgets();
    screen.key("down");
    screen.key("ok");
    ASSERT_TRUE(screen.waitFor([&](const std::string &) { return tarnwave_e2e::tunedInIds(server).size() >= 2; }));
    const auto ids = tarnwave_e2e::tunedInIds(server);
    ASSERT_NE(ids[0], ids[1]);
    // A stream's log line is written when it has ended.
    EXPECT_TRUE(server.waitForLog("\"GET /stream/" + ids[0], 10s)) << server.log();
    ASSERT_TRUE(screen.waitForPlayIcon()) << screen.widgets();
    EXPECT_EQ(server.log().find("\"GET /stream/" + ids[1]), std::string::npos) << "the second one plays on";
}

TEST_F(Playback, AStreamThatDropsShowsThePauseIconAndPlaysAgainByItself)
{
    server.addFault("/stream/*", "drop", 1, 3s);
    screen.playFirstStationOfFirstGenre();
    ASSERT_TRUE(screen.waitForPlayIcon()) << screen.widgets();
    ASSERT_TRUE(screen.waitFor([](const std::string &widgets) { return showsImage(widgets, "extra.pause"); }, 20s))
        << screen.widgets();
    EXPECT_TRUE(screen.waitForPlayIcon(5s)) << screen.widgets();
    EXPECT_EQ(tarnwave_e2e::requestsFor(server, "\"GET /stream/"), 1) << "the dropped one; the second still plays";
}

TEST_F(Playback, LeavingGivesTheTvItsSoundBack)
{
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / "));
    screen.settle();
    EXPECT_TRUE(tvIsMuted(emulator)) << "the radio takes the TV's sound away";
    screen.playFirstStationOfFirstGenre();
    ASSERT_TRUE(screen.waitForPlayIcon()) << screen.widgets();
    EXPECT_TRUE(tvIsMuted(emulator));
    screen.key("exit");
    screen.settle();
    EXPECT_EQ(screen.title(), "") << "the plug-in has ended";
    EXPECT_FALSE(tvIsMuted(emulator)) << "the TV service has its sound again";
}

TEST(PlaybackFailures, AfterTheServerDiedAndTheReconnectWindowPassedTheStatusBarIsEmpty)
{
    setenv("TARNWAVE_RECONNECT_WINDOW", "4", 1);
    StationServerProcess server;
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()}};
    Screen screen{emulator};
    const std::string station = screen.playFirstStationOfFirstGenre();
    ASSERT_TRUE(screen.waitForPlayIcon()) << screen.widgets();
    server.stop();
    // Meanwhile the player tries again: the pause icon, the lines kept.
    ASSERT_TRUE(screen.waitFor([](const std::string &widgets) { return showsImage(widgets, "extra.pause"); }, 40s))
        << screen.widgets();
    EXPECT_NE(screen.widgets().find("\"text\":\"" + station + "\""), std::string::npos);
    EXPECT_TRUE(screen.waitFor([&](const std::string &widgets) { return statusBarIsEmpty(widgets, station); }, 30s))
        << screen.widgets();
}

// The first `bytes` of a station's stream, as an MP3 file that a player
// could play.
std::string streamStart(const StationServerProcess &server, std::size_t bytes)
{
    httplib::Client client(server.host(), server.port());
    std::string audio;
    client.Get("/stream/38869", [&](const char *data, std::size_t length) {
        audio.append(data, length);
        return audio.size() < bytes;
    });
    return audio;
}

TEST(PlaybackFailures, AFileAddressPlaysNothing)
{
    StationServerProcess server;
    TempDir files;
    const std::filesystem::path song = files.file("song.mp3");
    writeFile(song, streamStart(server, 160000));
    ASSERT_GT(std::filesystem::file_size(song), 100000u);
    const std::string address = "file://" + song.string();

    BoxContents box;
    box.favourites = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n\n<genrelist>\n"
                     "\t<genre name=\"Local File\" url=\""
                     + address + "\" ></genre>\n</genrelist>\n";
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()}, box};
    Screen screen{emulator};
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Favourites   (1 entries)")) << screen.widgets();
    screen.key("ok");
    // The player says why, in a warning of its own.
    EXPECT_TRUE(screen.waitFor(
        [&](const std::string &) {
            for (const std::string &line : tarnwave_e2e::warningsOf(emulator.get("/api/log").body))
                if (line.find(address) != std::string::npos)
                    return true;
            return false;
        },
        5s))
        << emulator.get("/api/log").body;
    // The next tick finds nothing playing and clears what play() wrote, and
    // no icon ever shows.
    EXPECT_TRUE(screen.waitFor([&](const std::string &widgets) { return statusBarIsEmpty(widgets, "Local File"); }, 5s))
        << screen.widgets();
    EXPECT_FALSE(screen.waitFor(
        [](const std::string &widgets) {
            return showsImage(widgets, "extra.play") || showsImage(widgets, "extra.pause");
        },
        3s));
}

TEST(PlaybackInGerman, ThePlayIconShowsInGermanToo)
{
    setenv("TARNWAVE_LANGUAGE", "de", 1);
    StationServerProcess server{{"--title", firstTitle}};
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--directory", server.baseUrl()}};
    Screen screen{emulator};
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Favoriten")) << screen.widgets();
    screen.key("yellow");
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Genre-Liste")) << screen.widgets();
    screen.key("ok");
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Suche nach ")) << screen.widgets();
    screen.key("ok");
    EXPECT_TRUE(screen.waitForPlayIcon()) << screen.widgets();
    EXPECT_TRUE(screen.waitFor([](const std::string &widgets) {
        return textStartingWith(widgets, "Titel: ") == "Titel: " + firstTitle;
    })) << screen.widgets();
}

} // namespace
