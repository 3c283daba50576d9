// Reading the community radio directory's JSON replies: what is kept of a
// station and a tag, and how hostile replies are taken: a whole reply that is
// unusable says why in one line, a bad entry is skipped, a bad field reads as
// unknown.

#include "radio_browser_json.h"
#include "radio_browser_replies.h"
#include "text_encoding.h"

#include <gtest/gtest.h>

#include <limits>

using namespace station::radiobrowser;
using replies::Json;

namespace {

// The reply's one station, or a failure.
RemoteStation onlyStation(const Json &entry)
{
    const auto stations = parseStations(Json::array({entry}).dump());
    if (stations.size() != 1) {
        ADD_FAILURE() << "expected one station from " << entry.dump();
        return {};
    }
    return stations.front();
}

// The reason a reply is unusable; empty (and a failure) when it was used.
template <class Parse>
std::string refusal(Parse parse, const std::string &reply)
{
    try {
        parse(reply);
    } catch (const ReplyError &error) {
        const std::string reason = error.what();
        EXPECT_EQ(reason.find('\n'), std::string::npos) << reason;
        EXPECT_LT(reason.size(), 400u) << reason;
        return reason;
    }
    ADD_FAILURE() << "used: " << reply.substr(0, 80);
    return {};
}

std::string stationsRefusal(const std::string &reply)
{
    return refusal([](const std::string &text) { return parseStations(text); }, reply);
}

} // namespace

TEST(RadioBrowserJson, StationKeepsTheFieldsTheGatewayUses)
{
    Json entry = replies::station(7, "Radio Seven", 4711);
    entry["tags"] = "jazz,smooth jazz,lounge,bar";
    entry["codec"] = "AAC+";
    entry["bitrate"] = 64;
    const RemoteStation station = onlyStation(entry);
    EXPECT_EQ(station.uuid, replies::uuidOf(7));
    EXPECT_EQ(station.name, "Radio Seven");
    EXPECT_EQ(station.url, "http://stream.example/7.pls");
    EXPECT_EQ(station.resolvedUrl, "http://stream.example/7");
    EXPECT_EQ(station.tags, (std::vector<std::string>{"jazz", "smooth jazz", "lounge", "bar"}));
    EXPECT_EQ(station.codec, "AAC+");
    EXPECT_EQ(station.bitrate, 64);
    EXPECT_FALSE(station.hls);
    EXPECT_TRUE(station.lastCheckOk);
    EXPECT_EQ(station.clickCount, 4711);
}

TEST(RadioBrowserJson, TagsAreSplitAtCommasAndTrimmed)
{
    Json entry = replies::station(1, "x");
    entry["tags"] = " rock , pop,,indie rock ,\t, ";
    EXPECT_EQ(onlyStation(entry).tags, (std::vector<std::string>{"rock", "pop", "indie rock"}));
    entry["tags"] = "";
    EXPECT_TRUE(onlyStation(entry).tags.empty());
}

TEST(RadioBrowserJson, BrokenJsonIsUnusable)
{
    for (const std::string reply : {"", "[", "[{\"name\": }]", "not json", "[1,]", "{\"a\" 1}"}) {
        const std::string reason = stationsRefusal(reply);
        EXPECT_TRUE(reason.starts_with("the stations reply is not JSON: ")) << reason;
    }
    EXPECT_TRUE(refusal(parseTags, "[").starts_with("the tags reply is not JSON: "));
    EXPECT_TRUE(refusal(parseStationAddress, "{").starts_with("the url reply is not JSON: "));
}

TEST(RadioBrowserJson, AReplyOfTheWrongShapeIsUnusable)
{
    EXPECT_EQ(stationsRefusal(R"({"stations": []})"), "the stations reply is an object, not an array");
    EXPECT_EQ(stationsRefusal("null"), "the stations reply is a null, not an array");
    EXPECT_EQ(stationsRefusal("\"[]\""), "the stations reply is a string, not an array");
    EXPECT_EQ(stationsRefusal("42"), "the stations reply is a number, not an array");
    EXPECT_EQ(refusal(parseTags, "true"), "the tags reply is a boolean, not an array");
    EXPECT_EQ(refusal(parseStationAddress, "[]"), "the url reply is an array, not an object");
}

TEST(RadioBrowserJson, AnEmptyListIsUsable)
{
    EXPECT_TRUE(parseStations("[]").empty());
    EXPECT_TRUE(parseTags(" [ ] ").empty());
}

TEST(RadioBrowserJson, EntriesThatAreNotStationsAreSkipped)
{
    Json reply = Json::array({5, "station", nullptr, Json::array(), Json::object(), replies::station(2, "kept")});
    Json noUuid = replies::station(3, "no uuid");
    noUuid.erase("stationuuid");
    Json numberUuid = replies::station(4, "number uuid");
    numberUuid["stationuuid"] = 4;
    Json noName = replies::station(5, "");
    noName.erase("name");
    Json objectName = replies::station(6, "");
    objectName["name"] = Json{{"text", "six"}};
    for (const Json &bad : {noUuid, numberUuid, noName, objectName})
        reply.push_back(bad);
    const auto stations = parseStations(reply.dump());
    ASSERT_EQ(stations.size(), 1u);
    EXPECT_EQ(stations.front().name, "kept");
}

TEST(RadioBrowserJson, OnlyWellFormedUuidsAreTaken)
{
    EXPECT_TRUE(isStationUuid("96061c5a-0601-11e8-ae97-52543be04c81"));
    EXPECT_TRUE(isStationUuid("ABCDEF-0"));
    for (const std::string &bad :
         std::vector<std::string>{"", "../json", "a b", "x", "96061c5a?x=1", std::string(65, 'a')})
        EXPECT_FALSE(isStationUuid(bad)) << bad;
    Json entry = replies::station(1, "path");
    entry["stationuuid"] = "../../etc/passwd";
    EXPECT_TRUE(parseStations(Json::array({entry}).dump()).empty());
}

TEST(RadioBrowserJson, NumbersOfOtherFormsAreRead)
{
    Json entry = replies::station(1, "x");
    entry["bitrate"] = "128";
    entry["clickcount"] = 12.9;
    entry["lastcheckok"] = "1";
    entry["hls"] = true;
    const RemoteStation station = onlyStation(entry);
    EXPECT_EQ(station.bitrate, 128);
    EXPECT_EQ(station.clickCount, 12);
    EXPECT_TRUE(station.lastCheckOk);
    EXPECT_TRUE(station.hls);
}

TEST(RadioBrowserJson, FieldsOfTheWrongTypeReadAsUnknown)
{
    Json entry = replies::station(1, "wrong types");
    entry["url"] = 5;
    entry["url_resolved"] = Json::array({"http://a/"});
    entry["tags"] = Json{{"rock", 1}};
    entry["codec"] = nullptr;
    entry["bitrate"] = "fast";
    entry["hls"] = "maybe";
    entry["clickcount"] = Json::object();
    const RemoteStation station = onlyStation(entry);
    EXPECT_EQ(station.url, "");
    EXPECT_EQ(station.resolvedUrl, "");
    EXPECT_TRUE(station.tags.empty());
    EXPECT_EQ(station.codec, "");
    EXPECT_EQ(station.bitrate, 0);
    EXPECT_FALSE(station.hls);
    EXPECT_EQ(station.clickCount, 0);
}

TEST(RadioBrowserJson, AMissingOrUnreadableCheckCountsAsBroken)
{
    Json entry = replies::station(1, "unchecked");
    entry.erase("lastcheckok");
    EXPECT_FALSE(onlyStation(entry).lastCheckOk);
    for (const Json &odd : {Json(2), Json("yes"), Json(nullptr), Json(-1)}) {
        entry["lastcheckok"] = odd;
        EXPECT_FALSE(onlyStation(entry).lastCheckOk) << odd.dump();
    }
    entry["lastcheckok"] = 0;
    EXPECT_FALSE(onlyStation(entry).lastCheckOk);
}

TEST(RadioBrowserJson, HugeAndNegativeNumbersAreHeldInRange)
{
    constexpr long long largest = std::numeric_limits<long long>::max();
    Json entry = replies::station(1, "huge");
    for (const auto &[clicks, expected] :
         std::vector<std::pair<std::string, long long>>{{"18446744073709551615", largest},
                                                        {"99999999999999999999999999", largest},
                                                        {"1e300", largest},
                                                        {"-5", 0},
                                                        {"-1e300", 0},
                                                        {"9223372036854775807", largest}}) {
        const std::string reply =
            R"([{"stationuuid": "ab-1", "name": "n", "lastcheckok": 1, "clickcount": )" + clicks + "}]";
        const auto stations = parseStations(reply);
        ASSERT_EQ(stations.size(), 1u) << clicks;
        EXPECT_EQ(stations.front().clickCount, expected) << clicks;
    }
    for (const Json &bitrate : {Json(-128), Json(largestBitrate + 1), Json(1e300), Json(0)}) {
        entry["bitrate"] = bitrate;
        EXPECT_EQ(onlyStation(entry).bitrate, 0) << bitrate.dump();
    }
    entry["bitrate"] = largestBitrate;
    EXPECT_EQ(onlyStation(entry).bitrate, largestBitrate);
}

TEST(RadioBrowserJson, NumbersBeyondADoubleMakeTheReplyUnusable)
{
    const std::string reason = stationsRefusal(R"([{"stationuuid": "ab", "name": "n", "clickcount": 1e999}])");
    EXPECT_NE(reason.find("1e999"), std::string::npos) << reason;
}

TEST(RadioBrowserJson, InvalidUtf8CostsOnlyTheBadBytes)
{
    const std::string reply = "[{\"stationuuid\": \"ab-1\", \"name\": \"Caf\xE9 \xC3(\", \"tags\": \"k\xF6ln\"},"
                              "{\"stationuuid\": \"ab-2\", \"name\": \"B\\uFFFFx\\u0000y\"}]";
    const auto stations = parseStations(reply);
    ASSERT_EQ(stations.size(), 2u);
    EXPECT_EQ(stations[0].name, "Caf\uFFFD \uFFFD(");
    EXPECT_EQ(stations[0].tags, std::vector<std::string>{"k\uFFFDln"});
    EXPECT_EQ(stations[1].name, std::string("B\uFFFDx\0y", 7)) << "U+FFFF cannot go into XML";
    for (const RemoteStation &station : stations)
        EXPECT_TRUE(station::isUtf8(station.name));
}

TEST(RadioBrowserJson, DeepNestingIsNoHarm)
{
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_TRUE(parseStations(deep).empty());
    const std::string deepName =
        R"([{"stationuuid": "ab", "name": )" + deep + R"(}, {"stationuuid": "cd", "name": "flat"}])";
    const auto stations = parseStations(deepName);
    ASSERT_EQ(stations.size(), 1u);
    EXPECT_EQ(stations.front().name, "flat");
}

TEST(RadioBrowserJson, ALongBrokenTokenIsQuotedShort)
{
    const std::string reason = stationsRefusal("[\"" + std::string(100000, 'a') + "\x01\"]");
    EXPECT_NE(reason.find("..."), std::string::npos) << reason;
}

TEST(RadioBrowserJson, TagsWithNameAndCountAreKept)
{
    Json reply = Json::array({replies::tag("rock", 5000), replies::tag("pop", 4000)});
    reply.push_back(Json{{"name", "no count"}});
    reply.push_back(Json{{"stationcount", 10}});
    reply.push_back(Json{{"name", 12}, {"stationcount", 10}});
    reply.push_back(Json{{"name", "  "}, {"stationcount", 10}});
    reply.push_back(Json{{"name", "text count"}, {"stationcount", "many"}});
    reply.push_back(Json{{"name", "negative"}, {"stationcount", -3}});
    reply.push_back("jazz");
    const auto tags = parseTags(reply.dump());
    ASSERT_EQ(tags.size(), 3u);
    EXPECT_EQ(tags[0].name, "rock");
    EXPECT_EQ(tags[0].stationCount, 5000);
    EXPECT_EQ(tags[1].name, "pop");
    EXPECT_EQ(tags[2].name, "negative");
    EXPECT_EQ(tags[2].stationCount, 0);
}

TEST(RadioBrowserJson, AddressReplyGivesTheAddressAndName)
{
    const StationAddress address = parseStationAddress(
        R"({"ok": true, "message": "retrieved station url", "stationuuid": "ab", "name": "Radio A",
            "url": "https://stream.example/a?x=1&y=2"})");
    EXPECT_EQ(address.url, "https://stream.example/a?x=1&y=2");
    EXPECT_EQ(address.name, "Radio A");
    EXPECT_EQ(parseStationAddress(R"({"ok": 1, "url": " HTTP://a.example/b c "})").url, "HTTP://a.example/b%20c");
    EXPECT_EQ(parseStationAddress(R"({"ok": "true", "url": "http://a/", "name": 5})").name, "");
}

TEST(RadioBrowserJson, AddressReplyWithoutAUsableAddressIsUnusable)
{
    EXPECT_EQ(refusal(parseStationAddress, R"({"ok": false, "message": "station not found"})"),
              "the url reply does not say ok: station not found");
    EXPECT_EQ(refusal(parseStationAddress, R"({"url": "http://a/"})"), "the url reply does not say ok");
    EXPECT_EQ(refusal(parseStationAddress, R"({"ok": true})"), "the url reply has no url");
    EXPECT_EQ(refusal(parseStationAddress, R"({"ok": true, "url": 5})"), "the url reply has no url");
    for (const std::string url : {"", "   ", "ftp://a/b", "file:///etc/passwd", "http://", "http://a/\\nFile2=x",
                                  "http://a/\\u0007", "//a/b", "javascript:alert(1)"}) {
        const std::string reason = refusal(parseStationAddress, R"({"ok": true, "url": ")" + url + "\"}");
        EXPECT_TRUE(reason.starts_with("the url reply's address is not a usable http: or https: address"))
            << url << ": " << reason;
    }
}

TEST(RadioBrowserJson, OnlyAnAnswerAboutTheStationSaysItHasNoAddress)
{
    for (const std::string reply : {R"({"ok": false})", R"({"ok": true})", R"({"ok": true, "url": "ftp://a/"})"})
        EXPECT_THROW(parseStationAddress(reply), station::radiobrowser::NoStationAddress) << reply;
    for (const std::string reply : {"<html>maintenance</html>", "[]", "{\"ok\": true, \"url\": "}) {
        try {
            parseStationAddress(reply);
            ADD_FAILURE() << "used: " << reply;
        } catch (const station::radiobrowser::NoStationAddress &) {
            ADD_FAILURE() << "taken as an answer about the station: " << reply;
        } catch (const ReplyError &) {
        }
    }
}

TEST(RadioBrowserJson, StreamAddressesAreOneLineOfHttp)
{
    EXPECT_EQ(streamAddress("http://a.example:8000/live"), "http://a.example:8000/live");
    EXPECT_EQ(streamAddress("\t https://a.example/x y\r\n"), "https://a.example/x%20y");
    EXPECT_EQ(streamAddress("HtTpS://a"), "HtTpS://a");
    EXPECT_EQ(streamAddress("http://a/\x7F"), std::nullopt);
    EXPECT_EQ(streamAddress("http://a/\rb"), std::nullopt);
    EXPECT_EQ(streamAddress("icy://a/"), std::nullopt);
    EXPECT_EQ(streamAddress("https://"), std::nullopt);
}
