#ifndef TARNWAVE_STATION_SERVER_DIRECTORY_XML_H
#define TARNWAVE_STATION_SERVER_DIRECTORY_XML_H

#include "catalogue.h"
#include "title_schedule.h"

#include <string>
#include <string_view>
#include <vector>

namespace station {

// The directory's legacy XML, UTF-8 with a declaration:
//   <genrelist><genre name="..."/>...</genrelist>
//   <stationlist><tunein base="/sbin/tunein-station.pls"/>
//     <station name mt id br genre ct lc/>...</stationlist>

// The path that "tunein base" names, where a station's playlist is fetched.
inline constexpr std::string_view tuneInPath = "/sbin/tunein-station.pls";

std::string genreListXml(const Catalogue &catalogue);
// "ct" is each station's title at `when`.
std::string stationListXml(const std::vector<const Station *> &stations, const TitleSchedule &titles,
                           TitleSchedule::Clock::time_point when);

// The text escaped for a double-quoted attribute value: & < > " ' become
// entities, and control characters that XML 1.0 cannot carry are dropped.
std::string escapeAttribute(std::string_view text);

} // namespace station

#endif
