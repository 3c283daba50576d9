#include "gateway_directory.h"

#include "playlist.h"
#include "station_query.h"

#include <algorithm>
#include <iterator>
#include <initializer_list>
#include <unordered_set>

namespace station::gateway {
namespace {

using radiobrowser::RemoteStation;

std::string asciiUpper(std::string_view text)
{
    std::string upper(text);
    std::ranges::transform(upper, upper.begin(),
                           [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return upper;
}

bool hasTag(const RemoteStation &station, const std::string &foldedTag)
{
    return std::ranges::any_of(station.tags,
                               [&foldedTag](const std::string &tag) { return foldCase(tag) == foldedTag; });
}

// The listed stations of the replies that `accept` takes and that are of
// `mediaType` (any when empty), each uuid once (its first time), the most
// clicked first (ties in reply order), at most `limit` and never more than
// longestStationList.
template <class Accept>
std::vector<DirectoryEntry> mostClicked(std::initializer_list<const std::vector<RemoteStation> *> replies,
                                        std::string_view mediaType, std::size_t limit, Accept accept)
{
    std::vector<const RemoteStation *> chosen;
    std::unordered_set<std::string> seen;
    for (const std::vector<RemoteStation> *reply : replies) {
        for (const RemoteStation &station : *reply) {
            if (isListed(station) && (mediaType.empty() || mediaTypeOf(station.codec) == mediaType) && accept(station)
                && seen.insert(foldCase(station.uuid)).second)
                chosen.push_back(&station);
        }
    }
    std::ranges::stable_sort(
        chosen, [](const RemoteStation *a, const RemoteStation *b) { return a->clickCount > b->clickCount; });
    limit = std::min(limit, longestStationList);
    if (chosen.size() > limit)
        chosen.resize(limit);
    std::vector<DirectoryEntry> entries;
    entries.reserve(chosen.size());
    for (const RemoteStation *station : chosen)
        entries.push_back(directoryEntry(*station));
    return entries;
}

} // namespace

bool isBlank(std::string_view text)
{
    return text.find_first_not_of(" \t") == std::string_view::npos;
}

std::string mediaTypeOf(std::string_view codec)
{
    const std::string lower = foldCase(codec);
    if (lower == "mp3")
        return "audio/mpeg";
    if (lower == "aac" || lower == "aac+")
        return "audio/aacp";
    return "audio/" + (lower.empty() ? std::string("unknown") : lower);
}

std::vector<std::string> codecsOf(std::string_view mediaType)
{
    constexpr std::string_view audio = "audio/";
    if (mediaType == "audio/mpeg")
        return {"MP3"};
    if (mediaType == "audio/aacp")
        return {"AAC", "AAC+"};
    if (mediaType.size() > audio.size() && mediaType.starts_with(audio))
        return {asciiUpper(mediaType.substr(audio.size()))};
    return {};
}

bool isListed(const RemoteStation &station)
{
    return station.lastCheckOk && !station.hls && !(station.resolvedUrl.empty() && station.url.empty());
}

DirectoryEntry directoryEntry(const RemoteStation &station)
{
    std::string genre;
    for (std::size_t i = 0; i < station.tags.size() && i < tagsInGenre; ++i)
        genre += (i == 0 ? "" : " ") + station.tags[i];
    return DirectoryEntry{.name = station.name,
                          .mediaType = mediaTypeOf(station.codec),
                          .id = station.uuid,
                          .bitrate = station.bitrate > 0 ? std::to_string(station.bitrate) : std::string(),
                          .genre = std::move(genre),
                          .currentTitle = {},
                          .listeners = station.clickCount};
}

std::vector<std::string> genresOf(const std::vector<radiobrowser::Tag> &tags)
{
    std::vector<const radiobrowser::Tag *> ranked;
    ranked.reserve(tags.size());
    for (const radiobrowser::Tag &tag : tags) {
        if (tag.stationCount > 0 && !isBlank(tag.name))
            ranked.push_back(&tag);
    }
    std::ranges::stable_sort(ranked, [](const radiobrowser::Tag *a, const radiobrowser::Tag *b) {
        return a->stationCount > b->stationCount;
    });
    std::vector<std::string> genres;
    std::unordered_set<std::string> seen;
    for (const radiobrowser::Tag *tag : ranked) {
        if (genres.size() == longestGenreList)
            break;
        if (seen.insert(foldCase(tag->name)).second)
            genres.push_back(tag->name);
    }
    return genres;
}

std::vector<DirectoryEntry> topStations(const std::vector<RemoteStation> &stations, std::string_view mediaType,
                                        std::size_t limit)
{
    return mostClicked({&stations}, mediaType, limit, [](const RemoteStation &) { return true; });
}

std::vector<DirectoryEntry> stationsOfGenre(const std::vector<RemoteStation> &stations, std::string_view genre,
                                            std::string_view mediaType, std::size_t limit)
{
    const std::string wanted = foldCase(genre);
    return mostClicked({&stations}, mediaType, limit,
                       [&wanted](const RemoteStation &station) { return hasTag(station, wanted); });
}

std::vector<DirectoryEntry> searchStations(const std::vector<RemoteStation> &byTag,
                                           const std::vector<RemoteStation> &byName, std::string_view text,
                                           std::string_view mediaType, std::size_t limit)
{
    if (isBlank(text))
        return {};
    const std::string wanted = foldCase(text);
    return mostClicked({&byTag, &byName}, mediaType, limit, [&wanted](const RemoteStation &station) {
        return hasTag(station, wanted) || foldCase(station.name).find(wanted) != std::string::npos;
    });
}

std::string genreListReply(std::string_view tagsJson)
{
    return genreListXml(genresOf(radiobrowser::parseTags(tagsJson)));
}

std::string topListReply(const std::vector<std::string> &stationsJsons, std::string_view mediaType, std::size_t limit)
{
    std::vector<radiobrowser::RemoteStation> stations;
    for (const std::string &json : stationsJsons) {
        std::vector<radiobrowser::RemoteStation> some = radiobrowser::parseStations(json);
        stations.insert(stations.end(), std::make_move_iterator(some.begin()), std::make_move_iterator(some.end()));
    }
    return stationListXml(topStations(stations, mediaType, limit));
}

std::string genreStationsReply(std::string_view stationsJson, std::string_view genre, std::string_view mediaType,
                               std::size_t limit)
{
    return stationListXml(stationsOfGenre(radiobrowser::parseStations(stationsJson), genre, mediaType, limit));
}

std::string searchReply(std::string_view byTagJson, std::string_view byNameJson, std::string_view text,
                        std::string_view mediaType, std::size_t limit)
{
    const auto byTag = radiobrowser::parseStations(byTagJson);
    const auto byName = radiobrowser::parseStations(byNameJson);
    return stationListXml(searchStations(byTag, byName, text, mediaType, limit));
}

std::string playlistReply(std::string_view urlJson)
{
    const radiobrowser::StationAddress address = radiobrowser::parseStationAddress(urlJson);
    return onePlaylist(address.url, address.name);
}

} // namespace station::gateway
