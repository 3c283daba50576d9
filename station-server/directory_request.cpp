#include "directory_request.h"

#include "directory_xml.h"
#include "parse_number.h"
#include "station_query.h"

#include <algorithm>

namespace station {

DirectoryRequest readDirectoryRequest(const httplib::Request &request)
{
    DirectoryRequest asked;
    asked.mediaType = request.get_param_value("mt");
    asked.limit = longestStationList;
    if (const auto limit = parseNumber<std::size_t>(request.get_param_value("limit")))
        asked.limit = std::min(asked.limit, *limit);
    if (request.has_param("search")) {
        asked.kind = DirectoryRequest::Kind::search;
        asked.text = request.get_param_value("search");
    } else if (request.has_param("genre")) {
        asked.text = request.get_param_value("genre");
        asked.kind = foldCase(asked.text) == "top" ? DirectoryRequest::Kind::topList : DirectoryRequest::Kind::genre;
    }
    return asked;
}

} // namespace station
