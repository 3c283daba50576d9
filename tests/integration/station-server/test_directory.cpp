// The directory's XML answers of station-server: genre list, top list and
// genre lists, read with expat as the plug-in reads them.

#include "raw_http.h"
#include "support/station_server_process.h"
#include "xml_document.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

const std::set<std::string> stationAttributes = {"name", "mt", "id", "br", "genre", "ct", "lc"};

XmlDocument fetchXml(const StationServerProcess &server, const std::string &target)
{
    const HttpReply reply = httpGet(server.port(), target);
    EXPECT_EQ(reply.status, 200) << target;
    EXPECT_NE(reply.header("content-type").find("xml"), std::string::npos) << target;
    XmlDocument document = parseXml(reply.body);
    EXPECT_TRUE(document.wellFormed) << target << ": " << document.error;
    EXPECT_TRUE(document.hasDeclaration) << target;
    EXPECT_EQ(document.encoding, "UTF-8") << target;
    return document;
}

void expectStationList(const XmlDocument &document)
{
    ASSERT_GE(document.elements.size(), 2u);
    EXPECT_EQ(document.rootName(), "stationlist");
    EXPECT_EQ(document.elements[1].name, "tunein");
    EXPECT_EQ(document.elements[1].at("base"), "/sbin/tunein-station.pls");
    for (const XmlElement &station : document.all("station")) {
        std::set<std::string> names;
        for (const auto &[name, value] : station.attributes)
            names.insert(name);
        EXPECT_EQ(names, stationAttributes) << station.at("name");
        EXPECT_FALSE(station.at("name").empty());
        EXPECT_GT(std::stol(station.at("id")), 0);
        EXPECT_GE(std::stol(station.at("lc")), 0);
        EXPECT_EQ(station.depth, 2);
    }
}

void expectMostListenedFirst(const std::vector<XmlElement> &stations)
{
    for (std::size_t i = 1; i < stations.size(); ++i)
        EXPECT_GE(std::stol(stations[i - 1].at("lc")), std::stol(stations[i].at("lc"))) << "at " << i;
}

bool isOneWord(const std::string &text)
{
    return text.find(' ') == std::string::npos;
}

} // namespace

TEST(StationServerDirectory, GenreListNamesEveryGenre)
{
    StationServerProcess server;
    const XmlDocument document = fetchXml(server, "/sbin/newxml.phtml");
    EXPECT_EQ(document.rootName(), "genrelist");
    const auto genres = document.all("genre");
    EXPECT_GE(genres.size(), 30u);
    std::set<std::string> names;
    for (const XmlElement &genre : genres) {
        EXPECT_FALSE(genre.at("name").empty());
        EXPECT_EQ(genre.depth, 2);
        names.insert(genre.at("name"));
    }
    EXPECT_EQ(names.size(), genres.size()) << "a genre is listed twice";
    EXPECT_TRUE(std::any_of(names.begin(), names.end(), isOneWord));
    EXPECT_TRUE(std::any_of(names.begin(), names.end(), [](const std::string &name) { return !isOneWord(name); }));
    EXPECT_TRUE(names.contains("News & Talk")) << "an escaped ampersand is read back";
}

TEST(StationServerDirectory, TopListHasTheTuneInBaseAndEveryStationAttribute)
{
    StationServerProcess server;
    const XmlDocument document = fetchXml(server, "/sbin/newxml.phtml?genre=Top&mt=audio/mpeg");
    expectStationList(document);
    EXPECT_GT(document.all("station").size(), 100u);
}

TEST(StationServerDirectory, MpegTopListHoldsOnlyMpegStationsMostListenedFirst)
{
    StationServerProcess server;
    const auto stations = fetchXml(server, "/sbin/newxml.phtml?genre=Top&mt=audio/mpeg").all("station");
    ASSERT_FALSE(stations.empty());
    EXPECT_LE(stations.size(), 500u);
    for (const XmlElement &station : stations)
        EXPECT_EQ(station.at("mt"), "audio/mpeg") << station.at("name");
    expectMostListenedFirst(stations);
}

TEST(StationServerDirectory, TopListWithoutMediaTypeHoldsBothKinds)
{
    StationServerProcess server;
    const auto stations = fetchXml(server, "/sbin/newxml.phtml?genre=Top").all("station");
    std::set<std::string> types;
    for (const XmlElement &station : stations)
        types.insert(station.at("mt"));
    EXPECT_EQ(types, (std::set<std::string>{"audio/mpeg", "audio/aacp"}));
    expectMostListenedFirst(stations);
    const auto mpegOnly = fetchXml(server, "/sbin/newxml.phtml?genre=Top&mt=audio/mpeg").all("station");
    EXPECT_LT(mpegOnly.size(), stations.size());
}

TEST(StationServerDirectory, CatalogueHasARealisticSpread)
{
    StationServerProcess server;
    const auto stations = fetchXml(server, "/sbin/newxml.phtml?genre=Top").all("station");
    EXPECT_GE(stations.size(), 300u);
    std::set<std::string> genres;
    std::set<std::string> bitrates;
    std::set<std::string> ids;
    bool ampersand = false;
    bool quote = false;
    bool accented = false;
    bool veryLong = false;
    for (const XmlElement &station : stations) {
        const std::string name = station.at("name");
        genres.insert(station.at("genre"));
        bitrates.insert(station.at("br"));
        ids.insert(station.at("id"));
        ampersand = ampersand || name.find('&') != std::string::npos;
        quote = quote || name.find('"') != std::string::npos;
        accented = accented || name.find("\xC3\xA9") != std::string::npos; // é
        veryLong = veryLong || name.size() > 120;
    }
    EXPECT_EQ(ids.size(), stations.size()) << "station ids repeat";
    EXPECT_GE(genres.size(), 30u);
    EXPECT_TRUE(std::any_of(genres.begin(), genres.end(), isOneWord));
    EXPECT_TRUE(std::any_of(genres.begin(), genres.end(), [](const std::string &genre) { return !isOneWord(genre); }));
    for (const char *bitrate : {"24", "64", "128", "320", "128k", ""})
        EXPECT_TRUE(bitrates.contains(bitrate)) << "no station with br=\"" << bitrate << "\"";
    EXPECT_TRUE(ampersand);
    EXPECT_TRUE(quote);
    EXPECT_TRUE(accented);
    EXPECT_TRUE(veryLong);
}

TEST(StationServerDirectory, MarkupCharactersInNamesAreEscaped)
{
    StationServerProcess server;
    const HttpReply reply = httpGet(server.port(), "/sbin/newxml.phtml?genre=Top");
    for (const char *entity : {"&amp;", "&quot;", "&lt;", "&gt;", "&apos;"})
        EXPECT_NE(reply.body.find(entity), std::string::npos) << entity;
    const auto stations = parseXml(reply.body).all("station");
    EXPECT_TRUE(std::any_of(stations.begin(), stations.end(), [](const XmlElement &station) {
        return station.at("name").find('<') != std::string::npos && station.at("name").find('>') != std::string::npos;
    }));
}

TEST(StationServerDirectory, GenreRequestListsThatGenreOnlyInAnyCase)
{
    StationServerProcess server;
    const auto jazz = fetchXml(server, "/sbin/newxml.phtml?genre=Jazz").all("station");
    ASSERT_GE(jazz.size(), 3u);
    for (const XmlElement &station : jazz)
        EXPECT_EQ(station.at("genre"), "Jazz");
    expectMostListenedFirst(jazz);
    EXPECT_EQ(fetchXml(server, "/sbin/newxml.phtml?genre=jAZZ").all("station").size(), jazz.size());

    const auto classicRock = fetchXml(server, "/sbin/newxml.phtml?genre=Classic%20Rock").all("station");
    ASSERT_FALSE(classicRock.empty());
    for (const XmlElement &station : classicRock)
        EXPECT_EQ(station.at("genre"), "Classic Rock");
}

TEST(StationServerDirectory, LimitShortensAList)
{
    StationServerProcess server;
    const auto five = fetchXml(server, "/sbin/newxml.phtml?genre=Top&mt=audio/mpeg&limit=5").all("station");
    const auto all = fetchXml(server, "/sbin/newxml.phtml?genre=Top&mt=audio/mpeg").all("station");
    ASSERT_EQ(five.size(), 5u);
    for (std::size_t i = 0; i < five.size(); ++i)
        EXPECT_EQ(five[i].at("id"), all[i].at("id"));
}

TEST(StationServerDirectory, EveryStationInTheTopListHasAPlaylist)
{
    StationServerProcess server;
    const auto stations = fetchXml(server, "/sbin/newxml.phtml?genre=Top&limit=20").all("station");
    ASSERT_EQ(stations.size(), 20u);
    for (const XmlElement &station : stations) {
        const HttpReply playlist = httpGet(server.port(), "/sbin/tunein-station.pls?id=" + station.at("id"));
        EXPECT_EQ(playlist.status, 200) << station.at("id");
    }
}
