#ifndef TARNWAVE_STATION_SERVER_DIRECTORY_REQUEST_H
#define TARNWAVE_STATION_SERVER_DIRECTORY_REQUEST_H

// What a request of /sbin/newxml.phtml asks for, read once from its
// parameters for every source of the directory (the catalogue, the gateway):
// "search=TEXT" before "genre=NAME", "genre=Top" in any case for the top
// list, nothing of these for the genre list; "mt" the media type (empty: all)
// and "limit" at most longestStationList.

#include <httplib.h>

#include <cstddef>
#include <string>

namespace station {

struct DirectoryRequest
{
    enum class Kind { genreList, topList, genre, search };
    Kind kind = Kind::genreList;
    std::string text; // the genre or the search text
    std::string mediaType;
    std::size_t limit = 0;
};

DirectoryRequest readDirectoryRequest(const httplib::Request &request);

} // namespace station

#endif
