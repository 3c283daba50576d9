// The directory's XML turned into rows: the genre rules (genre list and
// favourites) and the station rules (top list, search, a genre's stations)
// with their media-type and bitrate filters and the cap of 500 stations.

#include "directory_test_support.h"
#include "plugin_test_support.h"

#include "base/econfig.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using directorytest::entryOf;
using directorytest::namesOf;
using directorytest::parseInto;

namespace {

constexpr int favouritesList = 0;
constexpr int genreList = 1;
constexpr int topList = 2;
constexpr int searchList = 3;

std::string station(const std::string &name, const std::string &mediaType, const std::string &bitrate,
                    const std::string &id = "1", const std::string &genre = "Pop")
{
    return "<station name=\"" + name + "\" mt=\"" + mediaType + "\" id=\"" + id + "\" br=\"" + bitrate + "\" genre=\""
           + genre + "\" ct=\"Now playing\" lc=\"12\"/>\n";
}

std::string stationList(const std::string &children)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n<stationlist>\n"
           "<tunein base=\"/sbin/tunein-station.pls\"/>\n"
           + children + "</stationlist>\n";
}

class ParseDirectory : public ::testing::Test
{
protected:
    plugintest::Box box;
    Ctarnwave window;
};

TEST_F(ParseDirectory, WithoutMinimumKeyBitrate128IsListedAnd96IsNot)
{
    parseInto(window, topList,
              stationList(station("Ninety-six", "audio/mpeg", "96") + station("One-two-eight", "audio/mpeg", "128")
                          + station("One-two-seven", "audio/mpeg", "127")));
    EXPECT_EQ(namesOf(window, topList), std::vector<std::string>{"One-two-eight"});
}

TEST_F(ParseDirectory, MinimumZeroListsEveryWellFormedMpegStation)
{
    eConfig::getInstance()->setKey("/tarnwave/minbitrate", 0);
    parseInto(window, topList,
              stationList(station("Low", "audio/mpeg", "24") + station("Empty", "audio/mpeg", "")
                          + station("Words", "audio/mpeg", "fast") + "<station name=\"No br\" mt=\"audio/mpeg\"/>\n"
                          + station("High", "audio/mpeg", "320")));
    EXPECT_EQ(namesOf(window, topList), (std::vector<std::string>{"Low", "Empty", "Words", "No br", "High"}));
}

TEST_F(ParseDirectory, MinimumIsReadAnewAtEveryParse)
{
    const std::string document = stationList(station("A", "audio/mpeg", "64") + station("B", "audio/mpeg", "192"));
    parseInto(window, topList, document);
    EXPECT_EQ(namesOf(window, topList), std::vector<std::string>{"B"});
    eConfig::getInstance()->setKey("/tarnwave/minbitrate", 64);
    parseInto(window, topList, document);
    EXPECT_EQ(namesOf(window, topList), (std::vector<std::string>{"A", "B"}));
    eConfig::getInstance()->setKey("/tarnwave/minbitrate", 256);
    parseInto(window, topList, document);
    EXPECT_EQ(window.lists[topList]->getCount(), 0);
}

TEST_F(ParseDirectory, AacpIsNeverListedAndOtherLetterCaseIsNotAccepted)
{
    eConfig::getInstance()->setKey("/tarnwave/minbitrate", 0);
    parseInto(window, searchList,
              stationList(station("Aac", "audio/aacp", "320") + station("Capitals", "Audio/MPEG", "320")
                          + station("Blank", "audio/mpeg ", "320") + "<station name=\"No type\" br=\"320\"/>\n"
                          + station("Mpeg", "audio/mpeg", "320")));
    EXPECT_EQ(namesOf(window, searchList), std::vector<std::string>{"Mpeg"});
}

TEST_F(ParseDirectory, BitrateIsReadAsAtoiReadsIt)
{
    parseInto(window, topList,
              stationList(station("Kilo", "audio/mpeg", "128k") + station("Empty", "audio/mpeg", "")
                          + station("Blanks", "audio/mpeg", "  160") + station("Plus", "audio/mpeg", "+192")
                          + station("Letters first", "audio/mpeg", "k128") + station("Minus", "audio/mpeg", "-320")));
    EXPECT_EQ(namesOf(window, topList), (std::vector<std::string>{"Kilo", "Blanks", "Plus"}));
    // The text is kept as the directory wrote it.
    EXPECT_EQ(entryOf(window, topList, 0).bitrate, "128k");
    EXPECT_EQ(entryOf(window, topList, 1).bitrate, "  160");
}

TEST_F(ParseDirectory, SevenHundredQualifyingStationsGiveTheFirstFiveHundredNumberedOneToFiveHundred)
{
    // Stations that fail the filter stand between them and are not counted.
    std::string children;
    for (int i = 1; i <= 700; ++i) {
        children += station("Station " + std::to_string(i), "audio/mpeg", "128", std::to_string(i));
        if (i % 3 == 0)
            children += station("Filtered " + std::to_string(i), "audio/aacp", "128");
    }
    parseInto(window, topList, stationList(children));

    ASSERT_EQ(window.lists[topList]->getCount(), 500);
    for (int row = 0; row < 500; ++row) {
        EXPECT_EQ(entryOf(window, topList, row).index, row + 1);
        EXPECT_EQ(entryOf(window, topList, row).name, "Station " + std::to_string(row + 1));
    }
    EXPECT_EQ(window.getText(), "Tarnwave / Top List   (500 entries)");
}

TEST_F(ParseDirectory, TuneinBaseReachesOnlyTheStationsAfterIt)
{
    parseInto(window, searchList,
              "<stationlist>" + station("Before", "audio/mpeg", "128", "1")
                  + "<tunein base=\"/sbin/tunein-station.pls\"/>" + station("After", "audio/mpeg", "128", "2")
                  + "<tunein base=\"/other.pls\"/>" + station("Later", "audio/mpeg", "128", "3") + "<tunein/>"
                  + station("Last", "audio/mpeg", "128", "4") + "</stationlist>");
    ASSERT_EQ(window.lists[searchList]->getCount(), 4);
    EXPECT_EQ(entryOf(window, searchList, 0).tuneinBase, "");
    EXPECT_EQ(entryOf(window, searchList, 1).tuneinBase, "/sbin/tunein-station.pls");
    EXPECT_EQ(entryOf(window, searchList, 2).tuneinBase, "/other.pls");
    // A tunein without base empties it again.
    EXPECT_EQ(entryOf(window, searchList, 3).tuneinBase, "");
}

TEST_F(ParseDirectory, AcceptedStationCarriesItsAttributes)
{
    parseInto(window, topList, stationList(station("Smooth &amp; Jazz", "audio/mpeg", "192", "4711", "Jazz")));
    ASSERT_EQ(window.lists[topList]->getCount(), 1);
    const Listentry &entry = entryOf(window, topList, 0);
    EXPECT_EQ(entry.index, 1);
    EXPECT_EQ(entry.name, "Smooth & Jazz");
    EXPECT_EQ(entry.type, Listentry::ENTRY_STATION);
    EXPECT_EQ(entry.tuneinBase, "/sbin/tunein-station.pls");
    EXPECT_EQ(entry.bitrate, "192");
    EXPECT_EQ(entry.id, "4711");
    EXPECT_EQ(entry.genre, "Jazz");
    EXPECT_EQ(entry.url, "");
}

TEST_F(ParseDirectory, StationWithoutNameIsSkippedWithoutCounting)
{
    parseInto(
        window, topList,
        stationList("<station mt=\"audio/mpeg\" br=\"128\" id=\"1\"/>\n" + station("Named", "audio/mpeg", "128")));
    ASSERT_EQ(window.lists[topList]->getCount(), 1);
    EXPECT_EQ(entryOf(window, topList, 0).index, 1);
}

TEST_F(ParseDirectory, GenreWithUrlBecomesStationRowAndOneWithOnlyUrlIsSkipped)
{
    parseInto(window, genreList,
              "<genrelist><genre name=\"Jazz\"/><genre url=\"http://nameless/\"/>"
              "<genre name=\"Radio X\" url=\"http://radio.example/x\"/><genre name=\"Empty\" url=\"\"/></genrelist>");
    ASSERT_EQ(window.lists[genreList]->getCount(), 3);
    EXPECT_EQ(entryOf(window, genreList, 0).type, Listentry::ENTRY_GENRE);
    EXPECT_EQ(entryOf(window, genreList, 0).url, "");
    EXPECT_EQ(entryOf(window, genreList, 1).name, "Radio X");
    EXPECT_EQ(entryOf(window, genreList, 1).index, 2);
    EXPECT_EQ(entryOf(window, genreList, 1).type, Listentry::ENTRY_STATION);
    EXPECT_EQ(entryOf(window, genreList, 1).url, "http://radio.example/x");
    // A present but empty url still makes a station.
    EXPECT_EQ(entryOf(window, genreList, 2).type, Listentry::ENTRY_STATION);
    EXPECT_EQ(entryOf(window, genreList, 2).index, 3);
}

TEST_F(ParseDirectory, GenreDocumentWithRootOfAnyNameCountsOnlyGenreChildren)
{
    parseInto(window, genreList,
              "<anything><genre name=\"Rock\"><genre name=\"Nested\"/></genre><station name=\"Not a genre\"/>"
              "<Genre name=\"Capital\"/><genre name=\"Pop\"/></anything>");
    EXPECT_EQ(namesOf(window, genreList), (std::vector<std::string>{"Rock", "Pop"}));
    EXPECT_EQ(entryOf(window, genreList, 1).index, 2);
    EXPECT_EQ(window.getText(), "Tarnwave / Genre List   (2 entries)");
}

TEST_F(ParseDirectory, FavouritesFollowTheGenreRulesWithoutAnyBitrateFilter)
{
    eConfig::getInstance()->setKey("/tarnwave/minbitrate", 1000);
    parseInto(window, favouritesList,
              "<genrelist><genre name=\"Jazz\"/><genre name=\"Radio\" url=\"http://r/\"/>"
              "<station name=\"S\" mt=\"audio/mpeg\" br=\"2000\"/></genrelist>");
    EXPECT_EQ(namesOf(window, favouritesList), (std::vector<std::string>{"Jazz", "Radio"}));
}

TEST_F(ParseDirectory, StationDocumentInGenreListGivesNoRows)
{
    parseInto(window, genreList, stationList(station("S", "audio/mpeg", "128")));
    EXPECT_EQ(window.lists[genreList]->getCount(), 0);
}

TEST_F(ParseDirectory, ListIsRebuiltWholeNotMerged)
{
    parseInto(window, topList,
              stationList(station("Old one", "audio/mpeg", "128") + station("Old two", "audio/mpeg", "128")));
    parseInto(window, topList, stationList(station("New", "audio/mpeg", "128")));
    EXPECT_EQ(namesOf(window, topList), std::vector<std::string>{"New"});
    EXPECT_EQ(entryOf(window, topList, 0).index, 1);
}

TEST_F(ParseDirectory, RootWithoutUsableChildrenClearsAndShowsTheListEmpty)
{
    parseInto(window, topList, stationList(station("Old", "audio/mpeg", "128")));
    window.lb_status->setText("before");
    parseInto(window, topList, stationList(station("Filtered", "audio/aacp", "128")));
    EXPECT_EQ(window.lists[topList]->getCount(), 0);
    EXPECT_TRUE(window.lists[topList]->isShown());
    EXPECT_EQ(window.getText(), "Tarnwave / Top List   (0 entries)");
    // Nothing is said about an empty result.
    EXPECT_EQ(window.lb_status->getText(), "");
}

TEST_F(ParseDirectory, ParserWithoutRootShowsConfigfileParseErrorAndLeavesTheList)
{
    parseInto(window, genreList, "<genrelist><genre name=\"Kept\"/></genrelist>");
    const eString title = window.getText();

    window.currentList = genreList;
    delete window.xmlParser; // whatever parser was left behind
    window.xmlParser = new XMLTreeParser("UTF-8");
    window.parseXML();
    delete window.xmlParser;
    window.xmlParser = nullptr;

    EXPECT_EQ(window.lb_status->getText(), "Error: Configfile parse error");
    EXPECT_EQ(namesOf(window, genreList), std::vector<std::string>{"Kept"});
    EXPECT_EQ(window.getText(), title);
}

TEST_F(ParseDirectory, ParsedListIsShownFocusedWithItsTitle)
{
    parseInto(window, searchList, stationList(station("One", "audio/mpeg", "128")));
    for (int list = 0; list < 4; ++list)
        EXPECT_EQ(window.lists[list]->isShown(), list == searchList) << list;
    EXPECT_EQ(window.currentList, searchList);
    EXPECT_EQ(window.getText(), "Tarnwave / search by    (1 entries)");
}

} // namespace
