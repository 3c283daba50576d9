#ifndef TARNWAVE_STATION_SERVER_STATION_QUERY_H
#define TARNWAVE_STATION_SERVER_STATION_QUERY_H

#include "catalogue.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace station {

// The directory's lists. Each is sorted with the most listened station first
// (ties in catalogue order) and holds at most `limit` stations. An empty
// `mediaType` accepts every media type; otherwise only stations of that type
// are listed.

// The most listened stations.
std::vector<const Station *> topStations(const Catalogue &catalogue, std::string_view mediaType, std::size_t limit);
// The stations of one genre, its name compared without regard to case.
std::vector<const Station *> stationsOfGenre(const Catalogue &catalogue, std::string_view genre,
                                             std::string_view mediaType, std::size_t limit);
// The stations whose name or genre contains `text`, without regard to case.
// A text of blanks only matches nothing.
std::vector<const Station *> searchStations(const Catalogue &catalogue, std::string_view text,
                                            std::string_view mediaType, std::size_t limit);

// Lower case for comparing: ASCII letters and the accented Latin-1 capitals
// (U+00C0 to U+00DE, in UTF-8) are folded, every other byte is kept.
std::string foldCase(std::string_view text);

} // namespace station

#endif
