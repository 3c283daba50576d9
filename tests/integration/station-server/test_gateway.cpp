// The station server as a gateway (--upstream radio-browser=URL): the legacy
// directory made from a fake community radio directory on 127.0.0.1.

#include "fake_radio_directory.h"
#include "raw_http.h"
#include "xml_document.h"

#include "support/loopback_listener.h"
#include "support/station_server_process.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <vector>

namespace {

std::vector<FakeStation> someStations()
{
    return {
        {"aaaa-0001", "Jazz & Blues <Café> \"Night\"", "jazz,blues,lounge,late", "MP3", 128, true, false, 50, "",
         "http://radio.example/jazz"},
        {"bbbb-0002", "Smooth Sounds", "Jazz,smooth", "AAC+", 64, true, false, 80, "", "http://radio.example/smooth"},
        {"cccc-0003", "Broken Jazz", "jazz", "MP3", 128, false, false, 999, "", "http://radio.example/broken"},
        {"dddd-0004", "HLS Rock", "rock", "MP3", 128, true, true, 500, "", "http://radio.example/hls.m3u8"},
        {"eeee-0005", "Rock Jazz Fusion", "rock,fusion", "MP3", 192, true, false, 30, "http://radio.example/fusion.pls",
         ""},
    };
}

// Where `text` first stands in `body`, or npos.
std::size_t at(const std::string &body, const std::string &text)
{
    return body.find(text);
}

int occurrences(const std::string &body, const std::string &text)
{
    int count = 0;
    for (std::size_t position = body.find(text); position != std::string::npos;
         position = body.find(text, position + 1))
        ++count;
    return count;
}

class Gateway : public ::testing::Test
{
protected:
    FakeRadioDirectory directory{someStations()};
    StationServerProcess server{{"--upstream", "radio-browser=" + directory.baseUrl()}};

    HttpReply get(const std::string &target) { return httpGet(server.port(), target); }
};

TEST_F(Gateway, TheGenreListIsTheTagsWithTheMostWorkingStationsFirst)
{
    const HttpReply reply = get("/sbin/newxml.phtml");
    ASSERT_EQ(reply.status, 200) << reply.body;
    EXPECT_EQ(reply.header("content-type"), "text/xml; charset=utf-8");
    // jazz: 2 working stations, rock: 2 (one of them HLS), the others 1.
    EXPECT_LT(at(reply.body, "<genre name=\"jazz\"/>"), at(reply.body, "<genre name=\"blues\"/>")) << reply.body;
    EXPECT_NE(at(reply.body, "<genre name=\"rock\"/>"), std::string::npos);
    EXPECT_EQ(occurrences(reply.body, "<genre name=\"jazz\"/>") + occurrences(reply.body, "<genre name=\"Jazz\"/>"), 1);
}

TEST_F(Gateway, TheTopListHasTheWorkingStationsOfOneMediaTypeMostClickedFirst)
{
    const HttpReply reply = get("/sbin/newxml.phtml?genre=Top&mt=audio/mpeg");
    ASSERT_EQ(reply.status, 200) << reply.body;
    EXPECT_NE(at(reply.body, "<tunein base=\"/sbin/tunein-station.pls\"/>"), std::string::npos);
    EXPECT_LT(at(reply.body, "id=\"aaaa-0001\""), at(reply.body, "id=\"eeee-0005\"")) << reply.body;
    EXPECT_EQ(at(reply.body, "cccc-0003"), std::string::npos) << "a broken station is listed";
    EXPECT_EQ(at(reply.body, "dddd-0004"), std::string::npos) << "an HLS station is listed";
    EXPECT_EQ(at(reply.body, "bbbb-0002"), std::string::npos) << "an AAC station is in the MP3 list";
    const std::vector<std::string> searches = directory.searches();
    ASSERT_EQ(searches.size(), 1u);
    EXPECT_NE(searches[0].find("codec=MP3"), std::string::npos) << searches[0];
    EXPECT_NE(searches[0].find("order=clickcount"), std::string::npos) << searches[0];
}

TEST_F(Gateway, AStationShowsItsIdBitrateFirstTagsAndClicks)
{
    const HttpReply reply = get("/sbin/newxml.phtml?genre=Top&mt=audio/mpeg");
    EXPECT_NE(at(reply.body, "name=\"Jazz &amp; Blues &lt;Café&gt; &quot;Night&quot;\" mt=\"audio/mpeg\" "
                             "id=\"aaaa-0001\" br=\"128\" genre=\"jazz blues lounge\""),
              std::string::npos)
        << reply.body;
    EXPECT_NE(at(reply.body, "lc=\"50\""), std::string::npos) << reply.body;
}

TEST_F(Gateway, AacStationsAreAskedForAsAacAndAacPlus)
{
    const HttpReply reply = get("/sbin/newxml.phtml?genre=Top&mt=audio/aacp");
    ASSERT_EQ(reply.status, 200) << reply.body;
    EXPECT_NE(at(reply.body, "id=\"bbbb-0002\""), std::string::npos) << reply.body;
    EXPECT_EQ(at(reply.body, "aaaa-0001"), std::string::npos);
    EXPECT_EQ(directory.searches().size(), 2u);
}

TEST_F(Gateway, ASearchMergesTagAndNameMatchesEachOnceMostClickedFirst)
{
    const HttpReply reply = get("/sbin/newxml.phtml?search=JAZZ");
    ASSERT_EQ(reply.status, 200) << reply.body;
    // Smooth Sounds by its tag, Jazz & Blues by both, Rock Jazz Fusion by its name.
    const std::size_t smooth = at(reply.body, "id=\"bbbb-0002\"");
    const std::size_t blues = at(reply.body, "id=\"aaaa-0001\"");
    const std::size_t fusion = at(reply.body, "id=\"eeee-0005\"");
    ASSERT_NE(fusion, std::string::npos) << reply.body;
    EXPECT_LT(smooth, blues);
    EXPECT_LT(blues, fusion);
    EXPECT_EQ(occurrences(reply.body, "id=\"aaaa-0001\""), 1);
    EXPECT_EQ(at(reply.body, "cccc-0003"), std::string::npos);
}

TEST_F(Gateway, AGenreListsTheStationsOfThatTag)
{
    const HttpReply reply = get("/sbin/newxml.phtml?genre=fusion");
    ASSERT_EQ(reply.status, 200) << reply.body;
    EXPECT_NE(at(reply.body, "id=\"eeee-0005\""), std::string::npos) << reply.body;
    EXPECT_EQ(occurrences(reply.body, "<station "), 1);
}

TEST_F(Gateway, APlaylistHasTheStationsAddressAndEveryOneCountsAClick)
{
    HttpReply reply = get("/sbin/tunein-station.pls?id=aaaa-0001");
    ASSERT_EQ(reply.status, 200) << reply.body;
    EXPECT_EQ(reply.header("content-type"), "audio/x-scpls");
    EXPECT_NE(at(reply.body, "File1=http://radio.example/jazz\n"), std::string::npos) << reply.body;
    EXPECT_EQ(directory.requests("/json/url/aaaa-0001"), 1);
    reply = get("/sbin/tunein-station.pls?id=aaaa-0001");
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(directory.requests("/json/url/aaaa-0001"), 2);
}

TEST_F(Gateway, AStationWithoutAResolvedAddressIsListedAndPlaysItsAddress)
{
    const HttpReply reply = get("/sbin/tunein-station.pls?id=eeee-0005");
    ASSERT_EQ(reply.status, 200) << reply.body;
    EXPECT_NE(at(reply.body, "File1=http://radio.example/fusion.pls\n"), std::string::npos) << reply.body;
}

TEST_F(Gateway, AnUnknownIdIs404)
{
    HttpReply reply = get("/sbin/tunein-station.pls?id=ffff-0009");
    EXPECT_EQ(reply.status, 404) << reply.body;
    EXPECT_EQ(directory.requests("/json/url/ffff-0009"), 1);
    // An id that is no uuid is never sent upstream.
    reply = get("/sbin/tunein-station.pls?id=..%2F..%2Fjson%2Ftags");
    EXPECT_EQ(reply.status, 404) << reply.body;
    EXPECT_EQ(directory.requests("/json/tags"), 0);
}

TEST_F(Gateway, APlaylistFromABrokenDirectoryIs502NotAnUnknownStation)
{
    directory.answerBroken("<html>maintenance</html>");
    const HttpReply reply = get("/sbin/tunein-station.pls?id=aaaa-0001");
    EXPECT_EQ(reply.status, 502) << reply.body;
    EXPECT_NE(at(reply.body, "answered unusably: the url reply is not JSON"), std::string::npos) << reply.body;
}

TEST_F(Gateway, ABlankSearchOrGenreIsAnEmptyListWithoutAsking)
{
    for (const std::string target :
         {"/sbin/newxml.phtml?search=", "/sbin/newxml.phtml?search=%20%20", "/sbin/newxml.phtml?genre=%09"}) {
        const HttpReply reply = get(target);
        EXPECT_EQ(reply.status, 200) << target << ": " << reply.body;
        EXPECT_TRUE(parseXml(reply.body).wellFormed) << reply.body;
        EXPECT_EQ(parseXml(reply.body).rootName(), "stationlist") << reply.body;
        EXPECT_TRUE(parseXml(reply.body).all("station").empty()) << reply.body;
    }
    EXPECT_TRUE(directory.searches().empty());
}

TEST_F(Gateway, AListIsKeptAndNotAskedForAgainAtOnce)
{
    EXPECT_EQ(get("/sbin/newxml.phtml").status, 200);
    EXPECT_EQ(get("/sbin/newxml.phtml").status, 200);
    EXPECT_EQ(get("/sbin/newxml.phtml?genre=Top&mt=audio/mpeg").status, 200);
    EXPECT_EQ(get("/sbin/newxml.phtml?genre=Top&mt=audio/mpeg").status, 200);
    EXPECT_EQ(directory.requests("/json/tags"), 1);
    EXPECT_EQ(directory.requests("/json/stations/search"), 1);
}

TEST_F(Gateway, BrokenJsonWithoutAKeptCopyIs502WithOneLine)
{
    directory.answerBroken("[{\"name\":");
    const HttpReply reply = get("/sbin/newxml.phtml");
    EXPECT_EQ(reply.status, 502) << reply.body;
    EXPECT_NE(at(reply.body, "answered unusably"), std::string::npos) << reply.body;
    EXPECT_EQ(occurrences(reply.body, "\n"), 1) << reply.body;
}

TEST_F(Gateway, AKeptCopyIsServedWhileTheUpstreamIsBroken)
{
    const HttpReply first = get("/sbin/newxml.phtml?search=jazz");
    ASSERT_EQ(first.status, 200);
    directory.answerBroken("<html>maintenance</html>");
    const HttpReply again = get("/sbin/newxml.phtml?search=jazz");
    EXPECT_EQ(again.status, 200);
    EXPECT_EQ(again.body, first.body);
}

TEST_F(Gateway, WhileTheUpstreamIsSlowOtherRequestsAreServed)
{
    directory.answerSlowly(std::chrono::seconds(2));
    auto slow = std::async(std::launch::async, [this] { return get("/sbin/newxml.phtml"); });
    ASSERT_TRUE(directory.waitForRequest("/json/tags"));
    EXPECT_EQ(get("/control/ping").status, 200);
    EXPECT_NE(slow.wait_for(std::chrono::seconds(0)), std::future_status::ready) << "answered before the upstream";
    const HttpReply reply = slow.get();
    EXPECT_EQ(reply.status, 200) << reply.body;
    EXPECT_NE(at(reply.body, "<genre name=\"jazz\"/>"), std::string::npos) << reply.body;
}

TEST(GatewayMirrors, AMirrorThatIsDownIsPassedOver)
{
    FakeRadioDirectory directory(someStations());
    const std::string down = "http://127.0.0.1:" + std::to_string(closedLoopbackPort());
    StationServerProcess server({"--upstream", "radio-browser=" + down + "," + directory.baseUrl()});
    for (int round = 0; round < 3; ++round) {
        const HttpReply reply = httpGet(server.port(), "/sbin/newxml.phtml?genre=Top&limit=" + std::to_string(round));
        EXPECT_EQ(reply.status, 200) << reply.body;
    }
}

TEST(GatewayMirrors, APlaylistIsAskedOfTheNextMirrorWhenOneAnswersBroken)
{
    FakeRadioDirectory broken(someStations());
    broken.answerBroken("<html>maintenance</html>");
    FakeRadioDirectory working(someStations());
    StationServerProcess server({"--upstream", "radio-browser=" + broken.baseUrl() + "," + working.baseUrl()});
    const HttpReply reply = httpGet(server.port(), "/sbin/tunein-station.pls?id=aaaa-0001");
    EXPECT_EQ(reply.status, 200) << reply.body;
    EXPECT_NE(at(reply.body, "File1=http://radio.example/jazz"), std::string::npos) << reply.body;
    EXPECT_EQ(working.requests("/json/url/aaaa-0001"), 1);
}

TEST(GatewayMirrors, WhenEveryMirrorIsDownTheReplyIs502NamingThem)
{
    const std::string first = "http://127.0.0.1:" + std::to_string(closedLoopbackPort());
    const std::string second = "http://127.0.0.1:" + std::to_string(closedLoopbackPort());
    StationServerProcess server({"--upstream", "radio-browser=" + first + "," + second});
    const HttpReply reply = httpGet(server.port(), "/sbin/newxml.phtml");
    EXPECT_EQ(reply.status, 502) << reply.body;
    EXPECT_EQ(reply.body.rfind("502 Bad Gateway: ", 0), 0u) << reply.body;
    EXPECT_NE(at(reply.body, first), std::string::npos) << reply.body;
    EXPECT_NE(at(reply.body, second), std::string::npos) << reply.body;
    EXPECT_EQ(occurrences(reply.body, "\n"), 1) << reply.body;
}

TEST(GatewayOptions, AnUpstreamThatIsNoWebAddressIsRefused)
{
    const StationServerExit exit =
        runStationServerToExit({"--listen", "127.0.0.1:0", "--upstream", "radio-browser=ftp://mirror"});
    EXPECT_EQ(exit.status, 2);
    EXPECT_NE(exit.errors.find("--upstream needs radio-browser"), std::string::npos) << exit.errors;
}

} // namespace
