// The station server as a gateway to the SHOUTcast directory's keyed API
// (--upstream shoutcast=KEY@URL): its legacy replies passed on with the
// gateway's own tune-in base, against a fake directory on 127.0.0.1.

#include "fake_shoutcast_directory.h"
#include "raw_http.h"
#include "xml_document.h"

#include "support/loopback_listener.h"
#include "support/station_server_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

const std::string developerKey = "Tw-test.key_42";

std::vector<FakeShoutcastStation> someStations()
{
    return {
        {"1001", "Jazz & Blues <Café> \"Night\"", "audio/mpeg", 128, "Jazz", 50, "http://radio.example/jazz"},
        {"1002", "Smooth Sounds", "audio/aacp", 64, "Jazz", 80, "http://radio.example/smooth"},
        {"1003", "Rock Jazz Fusion", "audio/mpeg", 192, "Rock", 30, "http://radio.example/fusion"},
    };
}

bool contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

class ShoutcastGateway : public ::testing::Test
{
protected:
    FakeShoutcastDirectory directory{developerKey, someStations()};
    StationServerProcess server{{"--upstream", "shoutcast=" + developerKey + "@" + directory.baseUrl()}};

    HttpReply get(const std::string &target) { return httpGet(server.port(), target); }
};

TEST_F(ShoutcastGateway, TheGenreListIsTheDirectorysAsItCame)
{
    const HttpReply reply = get("/sbin/newxml.phtml");
    ASSERT_EQ(reply.status, 200) << reply.body;
    EXPECT_EQ(reply.header("content-type"), "text/xml");
    EXPECT_TRUE(contains(reply.body, "<genrelist>\n<genre name=\"Jazz\"></genre>\n<genre name=\"Rock\"></genre>"))
        << reply.body;
    EXPECT_EQ(directory.requests(), std::vector<std::string>{"/legacy/genrelist?k=" + developerKey});
}

TEST_F(ShoutcastGateway, TheTopListAsksForTheMediaTypeWithTheKey)
{
    const HttpReply reply = get("/sbin/newxml.phtml?genre=Top&mt=audio/mpeg");
    ASSERT_EQ(reply.status, 200) << reply.body;
    const std::vector<XmlElement> stations = parseXml(reply.body).all("station");
    ASSERT_EQ(stations.size(), 2u) << reply.body;
    EXPECT_EQ(stations[0].at("id"), "1001");
    EXPECT_EQ(stations[1].at("id"), "1003");
    ASSERT_EQ(directory.requestsFor("/legacy/Top500"), 1);
    const std::string asked = directory.requests().front();
    EXPECT_TRUE(contains(asked, "k=" + developerKey)) << asked;
    EXPECT_TRUE(contains(asked, "mt=audio%2Fmpeg")) << asked;
}

TEST_F(ShoutcastGateway, StationListsNameTheGatewaysOwnTuneInBaseAndNothingElseChanges)
{
    const HttpReply reply = get("/sbin/newxml.phtml?genre=Top");
    ASSERT_EQ(reply.status, 200) << reply.body;
    EXPECT_TRUE(contains(reply.body, "<stationlist>\n<tunein base=\"/sbin/tunein-station.pls\"/>\n<station name="))
        << reply.body;
    EXPECT_FALSE(contains(reply.body, "base-m3u")) << reply.body;
    // Names stay escaped as the directory escaped them.
    EXPECT_TRUE(contains(reply.body, "name=\"Jazz &amp; Blues &lt;Café&gt; &quot;Night&quot;\"")) << reply.body;
}

TEST_F(ShoutcastGateway, ASearchAndAGenreGoToTheirOwnRequests)
{
    const HttpReply search = get("/sbin/newxml.phtml?search=Blues <Café");
    ASSERT_EQ(search.status, 200) << search.body;
    EXPECT_TRUE(contains(search.body, "id=\"1001\"")) << search.body;
    EXPECT_FALSE(contains(search.body, "id=\"1003\"")) << search.body;
    const HttpReply genre = get("/sbin/newxml.phtml?genre=Rock");
    ASSERT_EQ(genre.status, 200) << genre.body;
    EXPECT_TRUE(contains(genre.body, "id=\"1003\"")) << genre.body;
    EXPECT_FALSE(contains(genre.body, "id=\"1001\"")) << genre.body;
    ASSERT_EQ(directory.requestsFor("/legacy/stationsearch"), 1);
    ASSERT_EQ(directory.requestsFor("/legacy/genresearch"), 1);
    EXPECT_TRUE(contains(directory.requests()[0], "search=Blues%20%3CCaf%C3%A9")) << directory.requests()[0];
}

TEST_F(ShoutcastGateway, ListsInLatin1ArePassedOnInTheirOwnEncoding)
{
    directory.answerInLatin1();
    const HttpReply reply = get("/sbin/newxml.phtml?genre=Jazz&mt=audio/mpeg");
    ASSERT_EQ(reply.status, 200) << reply.body;
    EXPECT_TRUE(contains(reply.body, "encoding=\"ISO-8859-1\"")) << reply.body;
    EXPECT_TRUE(contains(reply.body, "Caf\xE9")) << reply.body;
    const std::vector<XmlElement> stations = parseXml(reply.body).all("station");
    ASSERT_EQ(stations.size(), 1u) << reply.body;
    EXPECT_EQ(stations[0].at("name"), "Jazz & Blues <Café> \"Night\"");
}

TEST_F(ShoutcastGateway, APlaylistComesFromTheTuneInHost)
{
    const HttpReply reply = get("/sbin/tunein-station.pls?id=1003");
    ASSERT_EQ(reply.status, 200) << reply.body;
    EXPECT_EQ(reply.header("content-type"), "audio/x-scpls");
    EXPECT_TRUE(contains(reply.body, "File1=http://radio.example/fusion\r\n")) << reply.body;
    EXPECT_EQ(directory.requests(), std::vector<std::string>{"/sbin/tunein-station.pls?id=1003"});
}

TEST_F(ShoutcastGateway, AnIdTheDirectoryDoesNotKnowIs404)
{
    EXPECT_EQ(get("/sbin/tunein-station.pls?id=4242").status, 404);
    const HttpReply notAnId = get("/sbin/tunein-station.pls?id=../../etc/passwd");
    EXPECT_EQ(notAnId.status, 404) << notAnId.body;
    EXPECT_EQ(directory.requests(), std::vector<std::string>{"/sbin/tunein-station.pls?id=4242"});
}

TEST_F(ShoutcastGateway, BrokenXmlWithoutAKeptCopyIs502WithOneLine)
{
    directory.answerBroken("<stationlist><station name=\"x\"");
    const HttpReply reply = get("/sbin/newxml.phtml?genre=Top");
    EXPECT_EQ(reply.status, 502) << reply.body;
    EXPECT_TRUE(contains(reply.body, "answered unusably: no well-formed XML")) << reply.body;
    EXPECT_EQ(std::count(reply.body.begin(), reply.body.end(), '\n'), 1) << reply.body;
}

TEST_F(ShoutcastGateway, AReplyThatIsNotTheListAskedForIs502)
{
    directory.answerBroken("<?xml version=\"1.0\"?><response><statusCode>500</statusCode></response>");
    const HttpReply reply = get("/sbin/newxml.phtml");
    EXPECT_EQ(reply.status, 502) << reply.body;
    EXPECT_TRUE(contains(reply.body, "the reply is <response>, not <genrelist>")) << reply.body;
}

TEST_F(ShoutcastGateway, AKeptCopyIsServedWhileTheDirectoryIsBroken)
{
    const HttpReply first = get("/sbin/newxml.phtml?search=jazz");
    ASSERT_EQ(first.status, 200) << first.body;
    directory.answerBroken("<html>maintenance</html>");
    const HttpReply again = get("/sbin/newxml.phtml?search=JAZZ");
    EXPECT_EQ(again.status, 200) << again.body;
    EXPECT_EQ(again.body, first.body);
    EXPECT_EQ(directory.requestsFor("/legacy/stationsearch"), 1); // still fresh: not asked again
}

TEST(ShoutcastGatewayKey, AWrongKeyIs502ThatNeverShowsTheKey)
{
    FakeShoutcastDirectory directory("the-right-key", someStations());
    StationServerProcess server({"--upstream", "shoutcast=wrongkey123@" + directory.baseUrl()});
    const HttpReply reply = httpGet(server.port(), "/sbin/newxml.phtml?genre=Top");
    EXPECT_EQ(reply.status, 502) << reply.body;
    EXPECT_EQ(reply.body, "502 Bad Gateway: HTTP 401 from " + directory.baseUrl() + "/legacy/Top500\n");
    EXPECT_FALSE(contains(reply.body, "wrongkey123")) << reply.body;
    EXPECT_FALSE(contains(server.log(), "wrongkey123")) << server.log();
}

TEST(ShoutcastGatewayKey, ADirectoryThatIsDownIs502SayingWhere)
{
    const std::string down = "http://127.0.0.1:" + std::to_string(closedLoopbackPort());
    StationServerProcess server({"--upstream", "shoutcast=key1@" + down});
    const HttpReply reply = httpGet(server.port(), "/sbin/newxml.phtml");
    EXPECT_EQ(reply.status, 502) << reply.body;
    EXPECT_TRUE(contains(reply.body, down + "/legacy/genrelist")) << reply.body;
    EXPECT_FALSE(contains(reply.body, "key1")) << reply.body;
    const HttpReply playlist = httpGet(server.port(), "/sbin/tunein-station.pls?id=1");
    EXPECT_EQ(playlist.status, 502) << playlist.body;
}

TEST_F(ShoutcastGateway, AListOfMoreThan4MiBIsRefused)
{
    directory.answerBroken("<stationlist>" + std::string(4 * 1024 * 1024, ' ') + "</stationlist>");
    const HttpReply reply = get("/sbin/newxml.phtml?genre=Top");
    EXPECT_EQ(reply.status, 502) << reply.body.substr(0, 200);
    EXPECT_TRUE(contains(reply.body, "the reply is larger than 4 MiB")) << reply.body.substr(0, 200);
}

TEST(ShoutcastGatewayKey, APlaylistIsFetchedUnderTheBaseTheListsNamed)
{
    FakeShoutcastDirectory directory(developerKey, someStations(), "/yp/tune.pls");
    StationServerProcess server({"--upstream", "shoutcast=" + developerKey + "@" + directory.baseUrl()});
    const HttpReply list = httpGet(server.port(), "/sbin/newxml.phtml?genre=Top");
    ASSERT_EQ(list.status, 200) << list.body;
    EXPECT_TRUE(contains(list.body, "<tunein base=\"/sbin/tunein-station.pls\"/>")) << list.body;
    const HttpReply playlist = httpGet(server.port(), "/sbin/tunein-station.pls?id=1001");
    EXPECT_EQ(playlist.status, 200) << playlist.body;
    EXPECT_TRUE(contains(playlist.body, "File1=http://radio.example/jazz")) << playlist.body;
}

TEST(ShoutcastGatewayOptions, AKeyThatCannotGoIntoAQueryIsRefused)
{
    for (const std::string &upstream :
         {std::string("shoutcast="), std::string("shoutcast=a&b=c"), std::string("shoutcast=key@ftp://directory")}) {
        const StationServerExit exit = runStationServerToExit({"--listen", "127.0.0.1:0", "--upstream", upstream});
        EXPECT_EQ(exit.status, 2) << upstream;
        EXPECT_TRUE(contains(exit.errors, "--upstream needs radio-browser[=URL,...] or shoutcast=KEY[@URL]"))
            << exit.errors;
    }
}

} // namespace
