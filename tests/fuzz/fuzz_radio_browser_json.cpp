// A reply of the community radio directory's JSON API, read as each of its
// three kinds (tags, stations, a station's address) and turned by the gateway
// into the legacy directory's genre list, station lists and playlist.
// Checked: an unusable reply says why in one line; what is read keeps its
// promises (well-formed ids, texts that XML can carry, numbers in range);
// every list is XML that the box's own parser reads back to the very names
// and ids, each station once, the most clicked first, of the media type and
// the search asked for, at most its limit, and all of them when fewer; a
// playlist is exactly one entry with an http: or https: address on one line.

#include "fuzz_support.h"

#include "gateway_directory.h"
#include "radio_browser_json.h"
#include "station_query.h"
#include "text_encoding.h"

#include "net/xmltree.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

using station::DirectoryEntry;
using station::radiobrowser::RemoteStation;
using station::radiobrowser::ReplyError;

constexpr std::size_t longestInput = 64 * 1024;

// Runs `parse`; a refusal must be one short line.
template <class Parse>
void tryParse(std::string_view reply, Parse parse)
{
    try {
        parse(reply);
    } catch (const ReplyError &error) {
        fuzz::checkRefusal(error.what());
    }
}

bool carriesInXml(std::string_view text)
{
    return station::repairedUtf8(text) == text;
}

void checkStation(const RemoteStation &station)
{
    FUZZ_CHECK(station::radiobrowser::isStationUuid(station.uuid), fuzz::printable(station.uuid));
    for (const std::string &text : {station.name, station.url, station.resolvedUrl, station.codec})
        FUZZ_CHECK(carriesInXml(text), fuzz::printable(text));
    for (const std::string &tag : station.tags) {
        FUZZ_CHECK(carriesInXml(tag) && !tag.empty() && tag.find(',') == std::string::npos, fuzz::printable(tag));
        FUZZ_CHECK(tag.front() != ' ' && tag.back() != ' ', "an untrimmed tag: " + fuzz::printable(tag));
    }
    FUZZ_CHECK(station.bitrate >= 0 && station.bitrate <= station::radiobrowser::largestBitrate,
               std::to_string(station.bitrate));
    FUZZ_CHECK(station.clickCount >= 0, std::to_string(station.clickCount));
}

// What the box reads back of an attribute: the text without the control
// characters XML cannot carry.
std::string readBackAs(std::string_view text)
{
    std::string kept;
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x20 || c == '\t' || c == '\n' || c == '\r')
            kept += c;
    }
    return kept;
}

std::string attribute(const XMLTreeNode &node, const char *name)
{
    const char *value = node.GetAttributeValue(name);
    FUZZ_CHECK(value != nullptr, std::string("no attribute ") + name);
    return value;
}

// Parses `xml` with the box's own parser and hands `root`'s children called
// `element` to `check`, one by one; returns how many there were.
template <class Check>
std::size_t readBack(const std::string &xml, std::string_view root, std::string_view element, Check check)
{
    XMLTreeParser parser(nullptr);
    FUZZ_CHECK(parser.Parse(xml.data(), static_cast<int>(xml.size()), 1) != 0,
               std::string(parser.ErrorString()) + " in " + fuzz::printable(xml));
    FUZZ_CHECK(parser.RootNode() != nullptr && parser.RootNode()->GetType() == root, "not a " + std::string(root));
    std::size_t count = 0;
    for (const XMLTreeNode *node = parser.RootNode()->GetChild(); node != nullptr; node = node->GetNext()) {
        if (node->GetType() == element)
            check(*node, count++);
    }
    return count;
}

void checkReadBack(const std::vector<DirectoryEntry> &entries)
{
    const std::size_t read =
        readBack(station::stationListXml(entries), "stationlist", "station",
                 [&entries](const XMLTreeNode &node, std::size_t index) {
                     FUZZ_CHECK(index < entries.size(), "more stations than written");
                     const DirectoryEntry &entry = entries[index];
                     FUZZ_CHECK(attribute(node, "name") == readBackAs(entry.name), fuzz::printable(entry.name));
                     FUZZ_CHECK(attribute(node, "id") == entry.id, fuzz::printable(entry.id));
                     FUZZ_CHECK(attribute(node, "mt") == readBackAs(entry.mediaType), fuzz::printable(entry.mediaType));
                     FUZZ_CHECK(attribute(node, "genre") == readBackAs(entry.genre), fuzz::printable(entry.genre));
                     FUZZ_CHECK(attribute(node, "ct").empty(), "a current title");
                 });
    FUZZ_CHECK(read == entries.size(), std::to_string(read) + " of " + std::to_string(entries.size()));
}

std::string lowered(std::string_view text)
{
    std::string lower(text);
    for (char &c : lower)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return lower;
}

// A list chosen from `stations` by `matches`: see the header comment.
template <class Matches>
void checkList(const std::vector<DirectoryEntry> &entries, const std::vector<RemoteStation> &stations,
               std::string_view mediaType, std::size_t limit, Matches matches)
{
    FUZZ_CHECK(entries.size() <= std::min(limit, station::longestStationList), std::to_string(entries.size()));
    std::map<std::string, const RemoteStation *> chosen;
    for (const RemoteStation &station : stations) {
        if (station::gateway::isListed(station)
            && (mediaType.empty() || station::gateway::mediaTypeOf(station.codec) == mediaType) && matches(station))
            chosen.emplace(lowered(station.uuid), &station);
    }
    std::set<std::string> shown;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        FUZZ_CHECK(shown.insert(lowered(entries[i].id)).second, "twice: " + entries[i].id);
        FUZZ_CHECK(chosen.contains(lowered(entries[i].id)), "not to be listed: " + entries[i].id);
        FUZZ_CHECK(i == 0 || entries[i - 1].listeners >= entries[i].listeners, "out of order at " + entries[i].id);
    }
    if (entries.size() < std::min(limit, station::longestStationList))
        FUZZ_CHECK(shown.size() == chosen.size(),
                   std::to_string(shown.size()) + " of " + std::to_string(chosen.size()));
    checkReadBack(entries);
}

void checkStations(std::string_view reply, std::uint64_t choice)
{
    const auto stations = station::radiobrowser::parseStations(reply);
    for (const RemoteStation &station : stations)
        checkStation(station);
    const std::size_t limit = static_cast<std::size_t>(choice % 700);
    const std::string_view mediaType = choice & 0x10000 ? "audio/mpeg" : "";
    checkList(station::gateway::topStations(stations, mediaType, limit), stations, mediaType, limit,
              [](const RemoteStation &) { return true; });
    // A text the reply holds: a station's first tag, or part of its name.
    std::string text = "a";
    if (!stations.empty() && !stations.front().tags.empty())
        text = stations.front().tags.front();
    else if (!stations.empty() && !stations.front().name.empty())
        text = stations.front().name.substr(0, 1 + choice % stations.front().name.size());
    const std::string folded = station::foldCase(text);
    const auto hasTag = [&folded](const RemoteStation &station) {
        return std::ranges::any_of(station.tags,
                                   [&folded](const std::string &tag) { return station::foldCase(tag) == folded; });
    };
    checkList(station::gateway::stationsOfGenre(stations, text, mediaType, limit), stations, mediaType, limit, hasTag);
    const bool blank = text.find_first_not_of(" \t") == std::string::npos;
    checkList(station::gateway::searchStations(stations, stations, text, mediaType, limit), stations, mediaType, limit,
              [&](const RemoteStation &station) {
                  return !blank
                         && (hasTag(station) || station::foldCase(station.name).find(folded) != std::string::npos);
              });
}

void checkGenres(std::string_view reply)
{
    const auto genres = station::gateway::genresOf(station::radiobrowser::parseTags(reply));
    FUZZ_CHECK(genres.size() <= station::gateway::longestGenreList, std::to_string(genres.size()));
    std::set<std::string> seen;
    for (const std::string &genre : genres) {
        FUZZ_CHECK(carriesInXml(genre) && genre.find_first_not_of(" \t\r\n") != std::string::npos,
                   fuzz::printable(genre));
        FUZZ_CHECK(seen.insert(station::foldCase(genre)).second, "twice: " + fuzz::printable(genre));
    }
    const std::size_t read = readBack(
        station::genreListXml(genres), "genrelist", "genre", [&genres](const XMLTreeNode &node, std::size_t index) {
            FUZZ_CHECK(index < genres.size(), "more genres than written");
            FUZZ_CHECK(attribute(node, "name") == readBackAs(genres[index]), fuzz::printable(genres[index]));
        });
    FUZZ_CHECK(read == genres.size(), std::to_string(read) + " of " + std::to_string(genres.size()));
}

void checkPlaylist(std::string_view reply)
{
    const std::string playlist = station::gateway::playlistReply(reply);
    const auto address = station::radiobrowser::parseStationAddress(reply);
    const std::string head = "[playlist]\nnumberofentries=1\nFile1=" + address.url + "\nTitle1=";
    const std::string tail = "\nLength1=-1\nVersion=2\n";
    FUZZ_CHECK(playlist.starts_with(head) && playlist.ends_with(tail), fuzz::printable(playlist));
    const std::string_view title(playlist.data() + head.size(), playlist.size() - head.size() - tail.size());
    FUZZ_CHECK(title.find_first_of("\r\n") == std::string_view::npos, fuzz::printable(title));
    const std::string scheme = lowered(address.url.substr(0, 8));
    FUZZ_CHECK(scheme.starts_with("http://") || scheme.starts_with("https://"), fuzz::printable(address.url));
    FUZZ_CHECK(
        std::ranges::none_of(address.url, [](char c) { return static_cast<unsigned char>(c) <= 0x20 || c == 0x7F; }),
        fuzz::printable(address.url));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::prepareProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size > longestInput)
        return 0;
    const std::string_view reply = fuzz::text(data, size);
    tryParse(reply, [&reply](std::string_view) { checkStations(reply, fuzz::fingerprint(reply)); });
    tryParse(reply, checkGenres);
    tryParse(reply, checkPlaylist);
    return 0;
}
