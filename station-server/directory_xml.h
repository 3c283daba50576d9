#ifndef TARNWAVE_STATION_SERVER_DIRECTORY_XML_H
#define TARNWAVE_STATION_SERVER_DIRECTORY_XML_H

#include "catalogue.h"
#include "title_schedule.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace station {

// The directory's legacy XML, UTF-8 with a declaration:
//   <genrelist><genre name="..."/>...</genrelist>
//   <stationlist><tunein base="/sbin/tunein-station.pls"/>
//     <station name mt id br genre ct lc/>...</stationlist>
// One writer serves every source of stations (the catalogue, the gateway):
// each source turns its stations into DirectoryEntry rows first.

// The path that "tunein base" names, where a station's playlist is fetched.
inline constexpr std::string_view tuneInPath = "/sbin/tunein-station.pls";

// The most stations any one list holds.
inline constexpr std::size_t longestStationList = 500;

// One station as a station list shows it. The texts are raw; the writer
// escapes them.
struct DirectoryEntry
{
    std::string name;
    std::string mediaType;
    std::string id;
    std::string bitrate;
    std::string genre;
    // "ct", the title playing now; empty where none is known.
    std::string currentTitle;
    // "lc": how many listen (or have listened); the lists' order.
    long long listeners = 0;
};

std::string genreListXml(const std::vector<std::string> &genres);
std::string stationListXml(const std::vector<DirectoryEntry> &entries);

// The catalogue's genres, in catalogue order.
std::string genreListXml(const Catalogue &catalogue);
// A catalogue station as a list shows it at `when`: "ct" is its title then.
DirectoryEntry directoryEntry(const Station &station, const TitleSchedule &titles,
                              TitleSchedule::Clock::time_point when);
std::string stationListXml(const std::vector<const Station *> &stations, const TitleSchedule &titles,
                           TitleSchedule::Clock::time_point when);

// The text escaped for a double-quoted attribute value: & < > " ' become
// entities, and control characters that XML 1.0 cannot carry are dropped.
std::string escapeAttribute(std::string_view text);

} // namespace station

#endif
