#include "radio_browser_gateway.h"

#include "directory_request.h"
#include "gateway_directory.h"
#include "radio_browser_json.h"
#include "station_query.h"

#include <chrono>
#include <functional>
#include <utility>
#include <vector>

namespace station {
namespace {

using namespace std::chrono_literals;

constexpr auto genreListKept = 3600s;
constexpr auto stationListKept = 600s;
// More than a list shows: broken and HLS stations are left out here.
constexpr int stationsAsked = 1000;
constexpr int tagsAsked = 150;

// The search for working stations, most clicked first, with `conditions`.
std::string stationSearch(httplib::Params conditions)
{
    conditions.emplace("order", "clickcount");
    conditions.emplace("reverse", "true");
    conditions.emplace("hidebroken", "true");
    conditions.emplace("limit", std::to_string(stationsAsked));
    return httplib::append_query_params("/json/stations/search", conditions);
}

// How one directory request is answered from the upstream: the replies it
// needs (none: the answer needs no upstream), what is made of them, and
// under which key and for how long that is kept.
struct UpstreamPlan
{
    std::vector<std::string> paths;
    std::function<std::string(const std::vector<std::string> &bodies)> make;
    std::string key;
    std::chrono::seconds kept = stationListKept;
};

UpstreamPlan planFor(const DirectoryRequest &asked)
{
    using Kind = DirectoryRequest::Kind;
    const std::string suffix = "|mt=" + asked.mediaType + "|limit=" + std::to_string(asked.limit);
    UpstreamPlan plan;
    const bool byText = asked.kind == Kind::search || asked.kind == Kind::genre;
    if (byText && gateway::isBlank(asked.text)) {
        // Finds nothing, so nothing is asked (the directory would answer
        // its whole top list to an empty name).
        plan.make = [](const std::vector<std::string> &) { return stationListXml({}); };
        return plan;
    }
    switch (asked.kind) {
    case Kind::search:
        plan.key = "search=" + foldCase(asked.text) + suffix;
        plan.paths = {stationSearch({{"tag", asked.text}, {"tagExact", "true"}}),
                      stationSearch({{"name", asked.text}})};
        plan.make = [asked](const std::vector<std::string> &bodies) {
            return gateway::searchReply(bodies[0], bodies[1], asked.text, asked.mediaType, asked.limit);
        };
        break;
    case Kind::genre:
        plan.key = "genre=" + foldCase(asked.text) + suffix;
        plan.paths = {stationSearch({{"tag", asked.text}, {"tagExact", "true"}})};
        plan.make = [asked](const std::vector<std::string> &bodies) {
            return gateway::genreStationsReply(bodies[0], asked.text, asked.mediaType, asked.limit);
        };
        break;
    case Kind::topList: {
        plan.key = "top" + suffix;
        const std::vector<std::string> codecs = gateway::codecsOf(asked.mediaType);
        // A media type of no codec gives an empty list, without asking.
        if (asked.mediaType.empty())
            plan.paths = {stationSearch({})};
        for (const std::string &codec : codecs)
            plan.paths.push_back(stationSearch({{"codec", codec}}));
        plan.make = [asked](const std::vector<std::string> &bodies) {
            return gateway::topListReply(bodies, asked.mediaType, asked.limit);
        };
        break;
    }
    case Kind::genreList:
        plan.key = "genres";
        plan.kept = genreListKept;
        plan.paths = {"/json/tags?order=stationcount&reverse=true&hidebroken=true&limit=" + std::to_string(tagsAsked)};
        plan.make = [](const std::vector<std::string> &bodies) { return gateway::genreListReply(bodies[0]); };
        break;
    }
    return plan;
}

// Asks each mirror in turn for every path of the plan, until one answers all
// of them in a way the plan can use; what it made of the bodies, or why no
// mirror would do.
ReplyCache::Fetched askMirrors(ServerRotation &servers, const FetchBudget &budget, const UpstreamPlan &plan)
{
    std::string made;
    const ServerRotation::Attempt attempt = servers.tryEach([&](const std::string &base) {
        std::vector<std::string> bodies;
        for (const std::string &path : plan.paths) {
            FetchResult fetched = budget.fetch(base + path);
            if (!fetched.ok)
                return ServerRotation::Attempt{false, fetched.error};
            bodies.push_back(std::move(fetched.body));
        }
        try {
            made = plan.make(bodies);
        } catch (const radiobrowser::ReplyError &error) {
            return ServerRotation::Attempt{false, base + " answered unusably: " + error.what()};
        }
        return ServerRotation::Attempt{true, {}};
    });
    return ReplyCache::Fetched{attempt.ok, std::move(made), attempt.error};
}

} // namespace

RadioBrowserGateway::RadioBrowserGateway(ServerRotation &servers, GatewaySettings settings)
    : servers_(servers), settings_(std::move(settings)), cache_(ReplyCache::defaultCapacity, settings_.now)
{
}

Reply RadioBrowserGateway::directoryReply(const httplib::Request &request)
{
    const UpstreamPlan plan = planFor(readDirectoryRequest(request));
    if (plan.paths.empty())
        return servedReply(ReplyCache::Served{true, false, plan.make({}), {}}, xmlType);
    const FetchBudget budget(settings_.fetch, settings_.perReply);
    return servedReply(cache_.get(plan.key, plan.kept, [&] { return askMirrors(servers_, budget, plan); }), xmlType);
}

Reply RadioBrowserGateway::playlistReply(const httplib::Request &request)
{
    const std::string id = request.get_param_value("id");
    if (!radiobrowser::isStationUuid(id))
        return textReply(404, "no station has the id \"" + id + "\"");
    std::string playlist;
    std::string unknown; // why the mirror that answered has no address for the station
    const FetchBudget budget(settings_.fetch, settings_.perReply);
    const ServerRotation::Attempt attempt = servers_.tryEach([&](const std::string &base) {
        const FetchResult fetched = budget.fetch(base + "/json/url/" + id);
        if (!fetched.ok)
            return ServerRotation::Attempt{false, fetched.error};
        try {
            playlist = gateway::playlistReply(fetched.body);
        } catch (const radiobrowser::NoStationAddress &error) {
            unknown = error.what();
        } catch (const radiobrowser::ReplyError &error) {
            // Not an answer about the station: the next mirror may give one.
            return ServerRotation::Attempt{false, base + " answered unusably: " + error.what()};
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
