#include "radio_browser_gateway.h"

#include "directory_xml.h"
#include "gateway_directory.h"
#include "parse_number.h"
#include "radio_browser_json.h"
#include "station_query.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <vector>

namespace station {
namespace {

using namespace std::chrono_literals;

constexpr auto genreListKept = 3600s;
constexpr auto stationListKept = 600s;
// More than a list shows: broken and HLS stations are left out here.
constexpr int stationsAsked = 1000;
constexpr int tagsAsked = 150;

constexpr const char *xmlType = "text/xml; charset=utf-8";
constexpr const char *textType = "text/plain; charset=utf-8";
constexpr const char *playlistType = "audio/x-scpls";

Reply textReply(int status, const std::string &line)
{
    Reply reply;
    reply.status = status;
    reply.contentType = textType;
    reply.body = std::to_string(status) + " " + std::string(reasonPhrase(status)) + ": " + line + "\n";
    return reply;
}

// The search for working stations, most clicked first, with `conditions`.
std::string stationSearch(httplib::Params conditions)
{
    conditions.emplace("order", "clickcount");
    conditions.emplace("reverse", "true");
    conditions.emplace("hidebroken", "true");
    conditions.emplace("limit", std::to_string(stationsAsked));
    return httplib::append_query_params("/json/stations/search", conditions);
}

// Asks each mirror in turn for every path of `paths`, until one answers all
// of them in a way `make` can use; what `make` made of the bodies, or why no
// mirror would do.
ReplyCache::Fetched askMirrors(ServerRotation &servers, const FetchLimits &limits,
                               const std::vector<std::string> &paths,
                               const std::function<std::string(const std::vector<std::string> &)> &make)
{
    std::string made;
    const ServerRotation::Attempt attempt = servers.tryEach([&](const std::string &base) {
        std::vector<std::string> bodies;
        for (const std::string &path : paths) {
            FetchResult fetched = fetchUrl(base + path, limits);
            if (!fetched.ok)
                return ServerRotation::Attempt{false, fetched.error};
            bodies.push_back(std::move(fetched.body));
        }
        try {
            made = make(bodies);
        } catch (const radiobrowser::ReplyError &error) {
            return ServerRotation::Attempt{false, base + " answered unusably: " + error.what()};
        }
        return ServerRotation::Attempt{true, {}};
    });
    return ReplyCache::Fetched{attempt.ok, std::move(made), attempt.error};
}

// The station lists of every codec of `mediaType` in one reply's worth of
// stations (audio/aacp is asked for as AAC and as AAC+).
std::vector<radiobrowser::RemoteStation> stationsOfAll(const std::vector<std::string> &bodies)
{
    std::vector<radiobrowser::RemoteStation> stations;
    for (const std::string &body : bodies) {
        std::vector<radiobrowser::RemoteStation> some = radiobrowser::parseStations(body);
        stations.insert(stations.end(), std::make_move_iterator(some.begin()), std::make_move_iterator(some.end()));
    }
    return stations;
}

} // namespace

RadioBrowserGateway::RadioBrowserGateway(ServerRotation &servers, FetchLimits limits)
    : servers_(servers), limits_(limits)
{
}

Reply RadioBrowserGateway::directoryReply(const httplib::Request &request)
{
    const std::string mediaType = request.get_param_value("mt");
    std::size_t limit = longestStationList;
    if (const auto asked = parseNumber<std::size_t>(request.get_param_value("limit")))
        limit = std::min(limit, *asked);
    const std::string suffix = "|mt=" + mediaType + "|limit=" + std::to_string(limit);

    std::string key;
    std::chrono::seconds kept = stationListKept;
    std::vector<std::string> paths;
    std::function<std::string(const std::vector<std::string> &)> make;
    if (request.has_param("search")) {
        const std::string text = request.get_param_value("search");
        key = "search=" + foldCase(text) + suffix;
        paths = {stationSearch({{"tag", text}, {"tagExact", "true"}}), stationSearch({{"name", text}})};
        make = [=](const std::vector<std::string> &bodies) {
            return gateway::searchReply(bodies[0], bodies[1], text, mediaType, limit);
        };
    } else if (request.has_param("genre") && foldCase(request.get_param_value("genre")) != "top") {
        const std::string genre = request.get_param_value("genre");
        key = "genre=" + foldCase(genre) + suffix;
        paths = {stationSearch({{"tag", genre}, {"tagExact", "true"}})};
        make = [=](const std::vector<std::string> &bodies) {
            return gateway::genreStationsReply(bodies[0], genre, mediaType, limit);
        };
    } else if (request.has_param("genre")) {
        key = "top" + suffix;
        const std::vector<std::string> codecs = gateway::codecsOf(mediaType);
        if (!mediaType.empty() && codecs.empty())
            paths.clear(); // no codec has this media type: an empty list, without asking
        else if (codecs.empty())
            paths = {stationSearch({})};
        for (const std::string &codec : codecs)
            paths.push_back(stationSearch({{"codec", codec}}));
        make = [=](const std::vector<std::string> &bodies) {
            return stationListXml(gateway::topStations(stationsOfAll(bodies), mediaType, limit));
        };
    } else {
        key = "genres";
        kept = genreListKept;
        paths = {"/json/tags?order=stationcount&reverse=true&hidebroken=true&limit=" + std::to_string(tagsAsked)};
        make = [](const std::vector<std::string> &bodies) { return gateway::genreListReply(bodies[0]); };
    }

    const ReplyCache::Served served =
        paths.empty() ? ReplyCache::Served{true, false, make({}), {}}
                      : cache_.get(key, kept, [&] { return askMirrors(servers_, limits_, paths, make); });
    if (!served.ok)
        return textReply(502, served.error);
    Reply reply;
    reply.contentType = xmlType;
    reply.body = served.body;
    return reply;
}

Reply RadioBrowserGateway::playlistReply(const httplib::Request &request)
{
    const std::string id = request.get_param_value("id");
    if (!radiobrowser::isStationUuid(id))
        return textReply(404, "no station has the id \"" + id + "\"");
    std::string playlist;
    std::string unknown; // why the mirror that answered has no address for the station
    const ServerRotation::Attempt attempt = servers_.tryEach([&](const std::string &base) {
        const FetchResult fetched = fetchUrl(base + "/json/url/" + id, limits_);
        if (!fetched.ok)
            return ServerRotation::Attempt{false, fetched.error};
        try {
            playlist = gateway::playlistReply(fetched.body);
        } catch (const radiobrowser::ReplyError &error) {
            unknown = error.what();
        }
        return ServerRotation::Attempt{true, {}};
    });
    if (!attempt.ok)
        return textReply(502, attempt.error);
    if (!unknown.empty())
        return textReply(404, "no station has the id \"" + id + "\" (" + unknown + ")");
    Reply reply;
    reply.contentType = playlistType;
    reply.body = std::move(playlist);
    return reply;
}

} // namespace station
