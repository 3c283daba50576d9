// Tarnwave in the emulator browsing today's live directory: the emulator's
// embedded station server is a gateway (--upstream radio-browser=URL) to a
// fake community radio directory on 127.0.0.1, whose station plays from a
// station server of the test's own. The genre list comes from the
// directory's tags, a genre's stations from its search, and OK plays the
// station through the address the directory gives, which counts a click.
// The same against a fake SHOUTcast directory (--upstream shoutcast=KEY@URL).

#include "emulator_process.h"
#include "fake_radio_directory.h"
#include "fake_shoutcast_directory.h"
#include "tarnwave_screen.h"

#include "support/station_server_process.h"

#include <gtest/gtest.h>

#include <string>

using tarnwave_e2e::Screen;
using tarnwave_e2e::textStartingWith;
using tarnwave_e2e::titleOf;

namespace {

const std::string songTitle = "Live Song - Through The Gateway";

class Gateway : public ::testing::Test
{
protected:
    StationServerProcess streams{{"--title", songTitle}};
    FakeRadioDirectory directory{{
        {"9f1c-0001", "Gateway Jazz Café", "jazz,swing", "MP3", 128, true, false, 70, "",
         streams.baseUrl() + "/stream/38869"},
        {"9f1c-0002", "Gateway Broken Jazz", "jazz", "MP3", 128, false, false, 900, "",
         streams.baseUrl() + "/stream/60415"},
        {"9f1c-0003", "Gateway Rock", "rock", "MP3", 192, true, false, 20, "", streams.baseUrl() + "/stream/60415"},
    }};
    EmulatorProcess emulator{{"--plugin", TARNWAVE_PLUGIN_PATH, "--upstream", "radio-browser=" + directory.baseUrl()}};
    Screen screen{emulator};
};

TEST_F(Gateway, TheGenreListComesFromTheDirectorysTags)
{
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / "));
    screen.key("yellow");
    ASSERT_TRUE(screen.waitForTitle("Tarnwave / Genre List")) << screen.widgets();
    EXPECT_EQ(titleOf(screen.widgets()), "Tarnwave / Genre List   (3 entries)");
    EXPECT_EQ(directory.requests("/json/tags"), 1);
}

TEST_F(Gateway, AGenreShowsItsWorkingStationsAndOkPlaysOneThroughTheDirectorysAddress)
{
    const std::string station = screen.playFirstStationOfFirstGenre();
    EXPECT_EQ(station, "Gateway Jazz Café");
    EXPECT_EQ(screen.widgets().find("Gateway Broken Jazz"), std::string::npos) << "a broken station is listed";
    ASSERT_TRUE(screen.waitForPlayIcon()) << screen.widgets();
    EXPECT_TRUE(screen.waitFor([](const std::string &widgets) {
        return textStartingWith(widgets, "title: ") == "title: " + songTitle;
    })) << screen.widgets();
    EXPECT_EQ(directory.requests("/json/url/9f1c-0001"), 1) << "starting a station counts one click";
}

} // namespace

namespace {

// The same through the SHOUTcast directory's keyed API: its lists pass
// through the gateway, and the playlist (with CRLF line ends, as the
// directory writes it) comes from its tune-in host by way of the gateway.
class ShoutcastGateway : public ::testing::Test
{
protected:
    StationServerProcess streams{{"--title", songTitle}};
    FakeShoutcastDirectory directory{
        "e2e-key",
        {{"3001", "Shoutcast Jazz & Co", "audio/mpeg", 128, "Jazz", 70, streams.baseUrl() + "/stream/38869"},
         {"3002", "Shoutcast Rock", "audio/mpeg", 192, "Rock", 20, streams.baseUrl() + "/stream/60415"}}};
    EmulatorProcess emulator{
        {"--plugin", TARNWAVE_PLUGIN_PATH, "--upstream", "shoutcast=e2e-key@" + directory.baseUrl()}};
    Screen screen{emulator};
};

TEST_F(ShoutcastGateway, AGenresStationPlaysThroughTheDirectorysPlaylist)
{
    const std::string station = screen.playFirstStationOfFirstGenre();
    EXPECT_EQ(station, "Shoutcast Jazz & Co");
    ASSERT_TRUE(screen.waitForPlayIcon()) << screen.widgets();
    EXPECT_TRUE(screen.waitFor([](const std::string &widgets) {
        return textStartingWith(widgets, "title: ") == "title: " + songTitle;
    })) << screen.widgets();
    EXPECT_EQ(directory.requestsFor("/legacy/genrelist"), 1);
    EXPECT_EQ(directory.requestsFor("/legacy/stationsearch"), 1); // a genre is searched for
    EXPECT_EQ(directory.requestsFor("/sbin/tunein-station.pls"), 1);
}

} // namespace
