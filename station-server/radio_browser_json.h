#ifndef TARNWAVE_STATION_SERVER_RADIO_BROWSER_JSON_H
#define TARNWAVE_STATION_SERVER_RADIO_BROWSER_JSON_H

#include "upstream_reply_error.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace station::radiobrowser {

// The replies of the community radio directory's JSON API, read into plain
// values. The replies come from outside and are treated as hostile: each
// parse either returns what it could use or throws ReplyError with one line
// saying why the whole reply is unusable (not JSON, not the expected shape).
// An entry of a list that is unusable on its own (not an object, without a
// string name or a well-formed id) is skipped; a field of the wrong type or
// out of range reads as unknown. Every text is well-formed UTF-8 that XML can
// carry (text_encoding.h, repairedUtf8); nothing else about it is promised.
// Numbers beyond the range of a double are refused by the JSON library, and
// with them the whole reply.

using ReplyError = UpstreamReplyError;

// A reply that is usable but says the station has no address to play: the
// directory does not know it ("ok" not true), or gives none or none usable.
class NoStationAddress : public ReplyError
{
public:
    using ReplyError::ReplyError;
};

// One entry of GET /json/tags: a tag and how many stations carry it.
struct Tag
{
    std::string name;
    long long stationCount = 0;
};

// One entry of GET /json/stations/search, the fields the gateway uses.
struct RemoteStation
{
    // "stationuuid": hex digits and dashes (isStationUuid).
    std::string uuid;
    std::string name;
    std::string url;
    // "url_resolved": the address with playlists and redirects followed;
    // may be empty.
    std::string resolvedUrl;
    // "tags", split at the commas, blanks around each trimmed, empty ones left out.
    std::vector<std::string> tags;
    // "codec" as given ("MP3", "AAC", "AAC+", "OGG", ...); empty when unknown.
    std::string codec;
    // kbit/s; 0 when unknown, negative or absurd (above largestBitrate).
    long bitrate = 0;
    // "hls": an HLS stream, which the box cannot play.
    bool hls = false;
    // "lastcheckok": the directory's last check found it playing. Missing or
    // unreadable counts as broken.
    bool lastCheckOk = false;
    // "clickcount", at least 0.
    long long clickCount = 0;
};

// What GET /json/url/STATIONUUID answers for a station that has an address.
struct StationAddress
{
    std::string url;
    // "name", when the reply gives one; else empty.
    std::string name;
};

// The largest bitrate believed, in kbit/s; above it the bitrate is unknown.
inline constexpr long largestBitrate = 100000;

// True when `text` can be a station's uuid: 1 to 64 hex digits and dashes.
// Only such ids are taken from replies, so one can go into a request path or
// query as it is.
bool isStationUuid(std::string_view text);

// `text` as a stream address for a playlist line: blanks around it trimmed,
// blanks inside it as %20; nullopt unless it is an http: or https: address
// (the scheme in any case) without control characters.
std::optional<std::string> streamAddress(std::string_view text);

// Each throws ReplyError when the whole reply is unusable.
std::vector<Tag> parseTags(std::string_view json);
std::vector<RemoteStation> parseStations(std::string_view json);
// Throws NoStationAddress when the reply says "ok" is not true, or its
// "url" is not a usable streamAddress.
StationAddress parseStationAddress(std::string_view json);

} // namespace station::radiobrowser

#endif
