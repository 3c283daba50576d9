// The gateway's mapping from the community radio directory's JSON replies to
// the legacy directory's XML and playlists: which stations each list shows,
// in which order, how each one shows, and the genre list.

#include "gateway_directory.h"
#include "radio_browser_replies.h"
#include "xml_document.h"

#include <gtest/gtest.h>

using namespace station::gateway;
using replies::Json;
using station::longestStationList;
using station::radiobrowser::ReplyError;

namespace {

// The stations of a station list, checked to be the legacy list's shape.
std::vector<XmlElement> stationsOf(const std::string &xml)
{
    const XmlDocument document = parseXml(xml);
    EXPECT_TRUE(document.wellFormed) << document.error;
    EXPECT_TRUE(document.hasDeclaration);
    EXPECT_EQ(document.rootName(), "stationlist");
    const auto tuneIn = document.all("tunein");
    EXPECT_EQ(tuneIn.size(), 1u);
    if (!tuneIn.empty()) {
        EXPECT_EQ(tuneIn.front().at("base"), "/sbin/tunein-station.pls");
    }
    return document.all("station");
}

std::vector<std::string> namesOf(const std::vector<XmlElement> &stations)
{
    std::vector<std::string> names;
    for (const XmlElement &station : stations)
        names.push_back(station.at("name"));
    return names;
}

std::vector<std::string> genreNames(const std::string &xml)
{
    const XmlDocument document = parseXml(xml);
    EXPECT_TRUE(document.wellFormed) << document.error;
    EXPECT_EQ(document.rootName(), "genrelist");
    std::vector<std::string> names;
    for (const XmlElement &genre : document.all("genre"))
        names.push_back(genre.at("name"));
    return names;
}

std::vector<std::string> topNames(const Json &reply, std::string_view mediaType = "",
                                  std::size_t limit = longestStationList)
{
    return namesOf(stationsOf(topListReply({reply.dump()}, mediaType, limit)));
}

// `shown` is the `kept` highest ranked of `count` made-up names (`prefix` and
// a number i, ranked rank(i), a permutation of 0 to count - 1), the highest
// first.
template <class Rank>
void expectTheHighestRanked(const std::vector<std::string> &shown, const std::string &prefix, int count,
                            std::size_t kept, Rank rank)
{
    ASSERT_EQ(shown.size(), kept);
    const int lowestKept = count - static_cast<int>(kept);
    for (int i = 0; i < count; ++i) {
        const std::string name = prefix + std::to_string(i);
        EXPECT_EQ(std::ranges::find(shown, name) != shown.end(), rank(i) >= lowestKept) << name;
        if (rank(i) == count - 1) {
            EXPECT_EQ(shown.front(), name);
        }
        if (rank(i) == lowestKept) {
            EXPECT_EQ(shown.back(), name);
        }
    }
}

Json withCodec(Json station, const std::string &codec)
{
    station["codec"] = codec;
    return station;
}

Json withTags(Json station, const std::string &tags)
{
    station["tags"] = tags;
    return station;
}

} // namespace

TEST(GatewayDirectory, GenresAreTheTagsWithTheMostStationsMostFirst)
{
    const Json reply = Json::array({replies::tag("pop", 4000), replies::tag("rock", 5000), replies::tag("jazz", 4000),
                                    replies::tag("empty", 0), replies::tag("Rock", 10), replies::tag("news", 900)});
    EXPECT_EQ(genreNames(genreListReply(reply.dump())), (std::vector<std::string>{"rock", "pop", "jazz", "news"}))
        << "ties in reply order; none without stations; a name in another case once";
}

TEST(GatewayDirectory, GenreListHoldsAtMostAHundred)
{
    const auto rank = [](int i) { return (i * 37) % 150; };
    Json reply = Json::array();
    for (int i = 0; i < 150; ++i)
        reply.push_back(replies::tag("tag" + std::to_string(i), 1000 + rank(i)));
    expectTheHighestRanked(genreNames(genreListReply(reply.dump())), "tag", 150, longestGenreList, rank);
}

TEST(GatewayDirectory, GenreNamesAreEscapedAsTheCatalogues)
{
    const Json reply = Json::array({replies::tag("r&b <soul> \"x\" 'y' électro", 3)});
    const std::string xml = genreListReply(reply.dump());
    EXPECT_EQ(xml, station::genreListXml(std::vector<std::string>{"r&b <soul> \"x\" 'y' électro"}));
    EXPECT_NE(xml.find("<genre name=\"r&amp;b &lt;soul&gt; &quot;x&quot; &apos;y&apos; électro\"/>"), std::string::npos)
        << xml;
}

TEST(GatewayDirectory, TopListIsMostClickedFirst)
{
    const Json reply =
        Json::array({replies::station(1, "one", 10), replies::station(2, "two", 300), replies::station(3, "three", 20),
                     replies::station(4, "four", 300), replies::station(5, "five", 0)});
    EXPECT_EQ(topNames(reply), (std::vector<std::string>{"two", "four", "three", "one", "five"}));
}

TEST(GatewayDirectory, TiesKeepTheRepliesOrder)
{
    Json reply = Json::array();
    Json tags = Json::array();
    std::vector<std::string> expected;
    for (int clicks = 2; clicks >= 0; --clicks) {
        for (int i = 0; i < 60; ++i) {
            if (i % 3 == clicks)
                expected.push_back(std::to_string(i));
        }
    }
    for (int i = 0; i < 60; ++i) {
        reply.push_back(replies::station(i, std::to_string(i), i % 3));
        tags.push_back(replies::tag(std::to_string(i), 1 + i % 3));
    }
    EXPECT_EQ(topNames(reply), expected);
    EXPECT_EQ(genreNames(genreListReply(tags.dump())), expected);
}

TEST(GatewayDirectory, TopListTakesOneMediaType)
{
    const Json reply = Json::array(
        {replies::station(1, "mp3", 10), withCodec(replies::station(2, "aac", 9), "AAC"),
         withCodec(replies::station(3, "aac+", 8), "AAC+"), withCodec(replies::station(4, "ogg", 7), "OGG"),
         withCodec(replies::station(5, "small mp3", 6), "mp3"), withCodec(replies::station(6, "no codec", 5), "")});
    EXPECT_EQ(topNames(reply, "audio/mpeg"), (std::vector<std::string>{"mp3", "small mp3"}));
    EXPECT_EQ(topNames(reply, "audio/aacp"), (std::vector<std::string>{"aac", "aac+"}));
    EXPECT_EQ(topNames(reply, "audio/ogg"), std::vector<std::string>{"ogg"});
    EXPECT_EQ(topNames(reply, "audio/unknown"), std::vector<std::string>{"no codec"});
    EXPECT_EQ(topNames(reply, "").size(), 6u) << "no media type: all of them";
    EXPECT_TRUE(topNames(reply, "video/mp4").empty()) << "a media type no station has";
}

TEST(GatewayDirectory, TopListHoldsAtMostFiveHundred)
{
    const auto rank = [](int i) { return (i * 7919) % 600; };
    Json reply = Json::array();
    for (int i = 0; i < 600; ++i)
        reply.push_back(replies::station(i, "s" + std::to_string(i), rank(i)));
    expectTheHighestRanked(topNames(reply), "s", 600, longestStationList, rank);
    EXPECT_EQ(topNames(reply, "audio/mpeg", 3).size(), 3u);
    EXPECT_EQ(topNames(reply, "audio/mpeg", 1000).size(), longestStationList) << "whatever the limit asked for";
}

TEST(GatewayDirectory, BrokenStationsAreLeftOut)
{
    Json broken = replies::station(2, "broken", 50);
    broken["lastcheckok"] = 0;
    Json unchecked = replies::station(3, "unchecked", 40);
    unchecked.erase("lastcheckok");
    const Json reply = Json::array({replies::station(1, "working", 10), broken, unchecked});
    EXPECT_EQ(topNames(reply), std::vector<std::string>{"working"});
}

TEST(GatewayDirectory, HlsStationsAreLeftOut)
{
    Json hls = replies::station(2, "hls", 50);
    hls["hls"] = 1;
    const Json reply = Json::array({replies::station(1, "plain", 10), hls});
    EXPECT_EQ(topNames(reply), std::vector<std::string>{"plain"});
}

TEST(GatewayDirectory, AStationWithoutAResolvedAddressNeedsItsOwn)
{
    Json unresolved = replies::station(1, "unresolved", 10);
    unresolved["url_resolved"] = "";
    Json nowhere = replies::station(2, "nowhere", 20);
    nowhere["url_resolved"] = "";
    nowhere["url"] = "";
    Json resolvedOnly = replies::station(3, "resolved only", 5);
    resolvedOnly["url"] = "";
    const Json reply = Json::array({unresolved, nowhere, resolvedOnly});
    EXPECT_EQ(topNames(reply), (std::vector<std::string>{"unresolved", "resolved only"}));
}

TEST(GatewayDirectory, AStationIsListedOnce)
{
    Json first = replies::station(1, "first", 5);
    first["stationuuid"] = "abcdef00-0000-4000-8000-000000000001";
    Json again = replies::station(1, "FIRST again", 999);
    again["stationuuid"] = "ABCDEF00-0000-4000-8000-000000000001";
    const Json reply = Json::array(
        {first, replies::station(10, "ten", 7), withCodec(replies::station(10, "ten again", 8), "mp3"), again});
    EXPECT_EQ(topNames(reply), (std::vector<std::string>{"ten", "first"}))
        << "the first time a uuid comes (in any case) counts";
}

TEST(GatewayDirectory, AStationShowsAsTheLegacyDirectoryShowedIt)
{
    Json entry = replies::station(42, "Radio 42", 1234);
    entry["tags"] = "jazz, smooth jazz ,lounge,bar";
    entry["bitrate"] = 192;
    Json unknownRate = withTags(replies::station(43, "Radio 43", 12), "");
    unknownRate["bitrate"] = 0;
    const auto stations = stationsOf(topListReply({Json::array({entry, unknownRate}).dump()}, "", 500));
    ASSERT_EQ(stations.size(), 2u);
    const XmlElement &shown = stations[0];
    EXPECT_EQ(shown.attributes, (std::map<std::string, std::string>{{"name", "Radio 42"},
                                                                    {"mt", "audio/mpeg"},
                                                                    {"id", replies::uuidOf(42)},
                                                                    {"br", "192"},
                                                                    {"genre", "jazz smooth jazz lounge"},
                                                                    {"ct", ""},
                                                                    {"lc", "1234"}}));
    EXPECT_EQ(stations[1].at("br"), "") << "an unknown bitrate shows as none";
    EXPECT_EQ(stations[1].at("genre"), "");
}

TEST(GatewayDirectory, NamesAreEscapedAsTheCatalogues)
{
    const std::string name = "Rock & Roll <Live> \"Best\" 'Hits' Café Müller ★";
    const std::string xml = topListReply({Json::array({replies::station(1, name, 1)}).dump()}, "", 500);
    EXPECT_NE(xml.find("name=\"Rock &amp; Roll &lt;Live&gt; &quot;Best&quot; &apos;Hits&apos; Café Müller ★\""),
              std::string::npos)
        << xml;
    const station::Station catalogued{1, name, "Rock", "audio/mpeg", "128", 1};
    const station::TitleSchedule titles({}, std::chrono::seconds(20), station::TitleSchedule::Clock::now());
    const std::string catalogueXml = station::stationListXml({&catalogued}, titles, {});
    const auto nameOf = [](const std::string &text) {
        const std::size_t start = text.find("name=\"");
        return text.substr(start, text.find("\" mt=") - start);
    };
    EXPECT_EQ(nameOf(xml), nameOf(catalogueXml));
    EXPECT_EQ(stationsOf(xml).front().at("name"), name);
}

TEST(GatewayDirectory, InvalidUtf8StillMakesWellFormedXml)
{
    const std::string reply = "[{\"stationuuid\": \"ab\", \"name\": \"Caf\xE9\\u0001\\uFFFE\", \"lastcheckok\": 1,"
                              " \"url\": \"http://a/\", \"tags\": \"\xFF\"}]";
    const auto stations = stationsOf(topListReply({reply}, "", 500));
    ASSERT_EQ(stations.size(), 1u);
    EXPECT_EQ(stations.front().at("name"), "Caf\uFFFD\uFFFD");
    EXPECT_EQ(stations.front().at("genre"), "\uFFFD");
}

TEST(GatewayDirectory, MediaTypesComeFromCodecs)
{
    EXPECT_EQ(mediaTypeOf("MP3"), "audio/mpeg");
    EXPECT_EQ(mediaTypeOf("mp3"), "audio/mpeg");
    EXPECT_EQ(mediaTypeOf("AAC"), "audio/aacp");
    EXPECT_EQ(mediaTypeOf("AAC+"), "audio/aacp");
    EXPECT_EQ(mediaTypeOf("aac+"), "audio/aacp");
    EXPECT_EQ(mediaTypeOf("OGG"), "audio/ogg");
    EXPECT_EQ(mediaTypeOf("FLAC"), "audio/flac");
    EXPECT_EQ(mediaTypeOf(""), "audio/unknown");
    EXPECT_EQ(codecsOf("audio/mpeg"), std::vector<std::string>{"MP3"});
    EXPECT_EQ(codecsOf("audio/aacp"), (std::vector<std::string>{"AAC", "AAC+"}));
    EXPECT_EQ(codecsOf("audio/ogg"), std::vector<std::string>{"OGG"});
    EXPECT_TRUE(codecsOf("").empty());
    EXPECT_TRUE(codecsOf("audio/").empty());
    EXPECT_TRUE(codecsOf("video/mp4").empty());
}

TEST(GatewayDirectory, SearchFindsByTagInAnyCaseAndByNameMostClickedFirst)
{
    const Json byTag = Json::array({withTags(replies::station(1, "Tagged", 50), "pop,Hip Hop"),
                                    withTags(replies::station(2, "Both", 70), "HIP HOP"),
                                    withTags(replies::station(3, "Loose match", 999), "hip hop classics")});
    const Json byName = Json::array({withTags(replies::station(2, "Both", 70), "HIP HOP"),
                                     withTags(replies::station(4, "Radio hIP hOP Nonstop", 60), "rap"),
                                     withTags(replies::station(5, "Unrelated", 80), "rap")});
    const auto names = namesOf(stationsOf(searchReply(byTag.dump(), byName.dump(), "hip hop", "", 500)));
    EXPECT_EQ(names, (std::vector<std::string>{"Both", "Radio hIP hOP Nonstop", "Tagged"}))
        << "each once; a station the directory gave that neither has the tag nor the text in its name is left out";
}

TEST(GatewayDirectory, SearchLeavesOutWhatAListLeavesOut)
{
    Json broken = replies::station(1, "jazz broken", 90);
    broken["lastcheckok"] = 0;
    Json hls = replies::station(2, "jazz hls", 80);
    hls["hls"] = 1;
    const Json byName = Json::array({broken, hls, replies::station(3, "jazz ok", 1)});
    EXPECT_EQ(namesOf(stationsOf(searchReply("[]", byName.dump(), "Jazz", "", 500))),
              std::vector<std::string>{"jazz ok"});
}

TEST(GatewayDirectory, SearchOfBlanksFindsNothing)
{
    const Json byName = Json::array({replies::station(1, "a b", 1)});
    EXPECT_TRUE(stationsOf(searchReply("[]", byName.dump(), " ", "", 500)).empty());
    EXPECT_TRUE(stationsOf(searchReply("[]", byName.dump(), "", "", 500)).empty());
}

TEST(GatewayDirectory, SearchHoldsAtMostFiveHundred)
{
    Json byTag = Json::array();
    Json byName = Json::array();
    for (int i = 0; i < 400; ++i) {
        byTag.push_back(withTags(replies::station(i, "t" + std::to_string(i), i), "news"));
        byName.push_back(replies::station(1000 + i, "news " + std::to_string(i), 1000 + i));
    }
    const auto names = namesOf(stationsOf(searchReply(byTag.dump(), byName.dump(), "news", "", 500)));
    ASSERT_EQ(names.size(), 500u);
    EXPECT_EQ(names.front(), "news 399");
    EXPECT_EQ(names[399], "news 0");
    EXPECT_EQ(names[400], "t399");
    EXPECT_EQ(names.back(), "t300");
}

TEST(GatewayDirectory, GenreStationsAreThoseWithTheTag)
{
    const Json reply = Json::array({withTags(replies::station(1, "a", 1), "Jazz,blues"),
                                    withTags(replies::station(2, "b", 2), "acid jazz"),
                                    withTags(replies::station(3, "c", 3), "blues, JAZZ")});
    EXPECT_EQ(namesOf(stationsOf(genreStationsReply(reply.dump(), "jazz", "", 500))),
              (std::vector<std::string>{"c", "a"}));
}

TEST(GatewayDirectory, PlaylistComesFromTheAddressReply)
{
    EXPECT_EQ(playlistReply(R"({"ok": true, "message": "retrieved station url", "stationuuid": "ab",
                                "name": "Radio A\nB", "url": "http://stream.example:8000/a?b=1&c=2"})"),
              "[playlist]\n"
              "numberofentries=1\n"
              "File1=http://stream.example:8000/a?b=1&c=2\n"
              "Title1=Radio A B\n"
              "Length1=-1\n"
              "Version=2\n");
    EXPECT_THROW(playlistReply(R"({"ok": true, "url": ""})"), ReplyError);
    EXPECT_THROW(playlistReply(R"({"ok": false, "url": "http://a/"})"), ReplyError);
}

TEST(GatewayDirectory, AnUnusableReplyIsAnError)
{
    EXPECT_THROW(genreListReply("{}"), ReplyError);
    EXPECT_THROW(topListReply({"[{]"}, "", 500), ReplyError);
    EXPECT_THROW(genreStationsReply("\"x\"", "rock", "", 500), ReplyError);
    EXPECT_THROW(searchReply("[]", "nope", "x", "", 500), ReplyError);
    EXPECT_THROW(searchReply("nope", "[]", "x", "", 500), ReplyError);
}

TEST(GatewayDirectory, BadEntriesAreSkippedAndTheRestIsListed)
{
    Json reply = Json::array({7, "x", nullptr, Json{{"name", "no id"}, {"lastcheckok", 1}, {"url", "http://a/"}}});
    Json wrongTypes = replies::station(2, "wrong types", 5);
    wrongTypes["clickcount"] = "lots";
    wrongTypes["bitrate"] = Json::array();
    reply.push_back(wrongTypes);
    reply.push_back(replies::station(1, "good", 10));
    const auto stations = stationsOf(topListReply({reply.dump()}, "", 500));
    EXPECT_EQ(namesOf(stations), (std::vector<std::string>{"good", "wrong types"}));
    EXPECT_EQ(stations[1].at("lc"), "0");
    EXPECT_EQ(stations[1].at("br"), "");
}
