#ifndef TARNWAVE_STATION_SERVER_GATEWAY_DIRECTORY_H
#define TARNWAVE_STATION_SERVER_GATEWAY_DIRECTORY_H

#include "directory_xml.h"
#include "radio_browser_json.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace station::gateway {

// The legacy directory's replies made from the community radio directory's
// JSON replies (radio_browser_json.h): which stations a list shows, in which
// order, and how each one shows. No networking here: the caller fetches the
// replies and serves what this makes of them.
//
// A list shows only the stations the box can play (isListed), each station
// (by uuid, in any case) once, the most clicked first (ties in the order the
// replies gave them), at most `limit` and never more than longestStationList.
// An empty `mediaType` accepts every media type, as the catalogue's lists do;
// any other accepts only stations of exactly that one, so one that no codec
// maps to gives an empty list.

// The most genres the genre list holds.
inline constexpr std::size_t longestGenreList = 100;
// How many of a station's tags make its "genre": the first three, joined by
// blanks, as the legacy directory's genre attribute read ("Rock Pop Indie").
inline constexpr std::size_t tagsInGenre = 3;

// The media type ("mt") of a codec, in any case: MP3 is audio/mpeg, AAC and
// AAC+ audio/aacp, any other "audio/" and the codec in lower case; an empty
// codec counts as "unknown".
std::string mediaTypeOf(std::string_view codec);
// The codecs (as the directory writes them) of a media type, for asking the
// directory for one: audio/mpeg is MP3, audio/aacp AAC and AAC+, audio/x is
// X in upper case; none for an empty or non-audio media type.
std::vector<std::string> codecsOf(std::string_view mediaType);

// True for a station a list may show: the directory's last check found it
// playing, it is not HLS (which the box cannot play), and it has an address.
bool isListed(const radiobrowser::RemoteStation &station);
// A station as a list shows it: "id" its uuid, "br" its bitrate (empty when
// unknown, so that the box says nothing rather than 0), "genre" its first
// tags, no "ct" (the directory does not know what plays), "lc" its clicks.
DirectoryEntry directoryEntry(const radiobrowser::RemoteStation &station);

// True for a search text or genre of blanks (or none), which finds nothing:
// no station has such a tag, and every name contains it.
bool isBlank(std::string_view text);

// The genre list: the tags carrying the most stations, most first, each name
// (in any case) once, none without stations, at most longestGenreList.
std::vector<std::string> genresOf(const std::vector<radiobrowser::Tag> &tags);
// The most clicked stations.
std::vector<DirectoryEntry> topStations(const std::vector<radiobrowser::RemoteStation> &stations,
                                        std::string_view mediaType, std::size_t limit);
// The stations one of whose tags is `genre` (in any case).
std::vector<DirectoryEntry> stationsOfGenre(const std::vector<radiobrowser::RemoteStation> &stations,
                                            std::string_view genre, std::string_view mediaType, std::size_t limit);
// The stations one of whose tags is `text` or whose name contains it (in any
// case), from both replies (the directory's search by tag and by name)
// together. A text of blanks finds nothing.
std::vector<DirectoryEntry> searchStations(const std::vector<radiobrowser::RemoteStation> &byTag,
                                           const std::vector<radiobrowser::RemoteStation> &byName,
                                           std::string_view text, std::string_view mediaType, std::size_t limit);

// The same from the replies' JSON to the legacy XML or playlist. Each throws
// radiobrowser::ReplyError when a reply is unusable.
std::string genreListReply(std::string_view tagsJson);
// The top list from the replies of one search a codec (audio/aacp is asked
// for as AAC and as AAC+), taken together.
std::string topListReply(const std::vector<std::string> &stationsJsons, std::string_view mediaType, std::size_t limit);
std::string genreStationsReply(std::string_view stationsJson, std::string_view genre, std::string_view mediaType,
                               std::size_t limit);
std::string searchReply(std::string_view byTagJson, std::string_view byNameJson, std::string_view text,
                        std::string_view mediaType, std::size_t limit);
// The tune-in playlist from GET /json/url/UUID's reply: File1= its address,
// Title1= its station's name.
std::string playlistReply(std::string_view urlJson);

} // namespace station::gateway

#endif
