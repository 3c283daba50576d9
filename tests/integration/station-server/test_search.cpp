// Searching the directory: the plug-in sends the text as typed, blanks and
// all; the answer lists the stations whose name or genre contains it, in any
// case.

#include "raw_http.h"
#include "support/station_server_process.h"
#include "xml_document.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

std::vector<XmlElement> search(const StationServerProcess &server, const std::string &rawText)
{
    const HttpReply reply = httpGet(server.port(), "/sbin/newxml.phtml?search=" + rawText);
    EXPECT_EQ(reply.status, 200) << rawText;
    const XmlDocument document = parseXml(reply.body);
    EXPECT_TRUE(document.wellFormed) << rawText << ": " << document.error;
    EXPECT_EQ(document.rootName(), "stationlist");
    EXPECT_EQ(document.all("tunein").size(), 1u);
    return document.all("station");
}

std::string lowerAscii(std::string text)
{
    for (char &c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::vector<std::string> idsOf(const std::vector<XmlElement> &stations)
{
    std::vector<std::string> ids;
    for (const XmlElement &station : stations)
        ids.push_back(station.at("id"));
    return ids;
}

} // namespace

TEST(StationServerSearch, RawBlankInTheTextWorks)
{
    StationServerProcess server;
    const auto found = search(server, "hip hop");
    ASSERT_GE(found.size(), 3u);
    for (const XmlElement &station : found) {
        const bool inName = lowerAscii(station.at("name")).find("hip hop") != std::string::npos;
        const bool inGenre = lowerAscii(station.at("genre")).find("hip hop") != std::string::npos;
        EXPECT_TRUE(inName || inGenre) << station.at("name") << " / " << station.at("genre");
    }
}

TEST(StationServerSearch, EncodedBlanksGiveTheSameStations)
{
    StationServerProcess server;
    const auto raw = idsOf(search(server, "hip hop"));
    EXPECT_EQ(idsOf(search(server, "hip%20hop")), raw);
    EXPECT_EQ(idsOf(search(server, "hip+hop")), raw);
}

TEST(StationServerSearch, CaseDoesNotMatter)
{
    StationServerProcess server;
    const auto lower = idsOf(search(server, "jazz"));
    ASSERT_FALSE(lower.empty());
    EXPECT_EQ(idsOf(search(server, "JAZZ")), lower);
    EXPECT_EQ(idsOf(search(server, "jAzZ")), lower);
    // Accented capitals fold too: "CAFÉ" finds "Café".
    const auto accented = search(server, "CAF%C3%89");
    ASSERT_FALSE(accented.empty());
    for (const XmlElement &station : accented)
        EXPECT_NE(station.at("name").find("Caf\xC3\xA9"), std::string::npos) << station.at("name");
}

TEST(StationServerSearch, MatchesNamesAndGenres)
{
    StationServerProcess server;
    // "Diner" is only in a name; "Oldies" is a genre (and in some names).
    const auto byName = search(server, "diner");
    ASSERT_FALSE(byName.empty());
    for (const XmlElement &station : byName) {
        EXPECT_NE(lowerAscii(station.at("name")).find("diner"), std::string::npos);
        EXPECT_EQ(lowerAscii(station.at("genre")).find("diner"), std::string::npos);
    }
    const auto byGenre = search(server, "oldies");
    ASSERT_FALSE(byGenre.empty());
    EXPECT_TRUE(std::any_of(byGenre.begin(), byGenre.end(), [](const XmlElement &station) {
        return station.at("genre") == "Oldies" && lowerAscii(station.at("name")).find("oldies") == std::string::npos;
    })) << "a station found by its genre alone";
}

TEST(StationServerSearch, MostListenedFirst)
{
    StationServerProcess server;
    const auto found = search(server, "radio");
    ASSERT_GE(found.size(), 10u);
    for (std::size_t i = 1; i < found.size(); ++i)
        EXPECT_GE(std::stol(found[i - 1].at("lc")), std::stol(found[i].at("lc")));
}

TEST(StationServerSearch, NoMatchGivesAnEmptyListWithItsTuneIn)
{
    StationServerProcess server;
    EXPECT_TRUE(search(server, "zzqqxx nothing like this").empty());
    EXPECT_TRUE(search(server, "%20%20").empty()) << "blanks alone match nothing";
}
