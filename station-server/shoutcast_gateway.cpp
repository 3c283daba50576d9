#include "shoutcast_gateway.h"

#include "directory_request.h"
#include "directory_xml.h"
#include "shoutcast_xml.h"
#include "station_query.h"
#include "upstream_fetch.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace station {
namespace {

using namespace std::chrono_literals;

constexpr auto genreListKept = 3600s;
// The most of a list that is fetched, and kept as it came: a list of 500
// stations is some 150 KB, and a cache of 256 lists stays within 1 GiB.
constexpr std::size_t largestList = 4 * 1024 * 1024;
constexpr auto stationListKept = 600s;

// The API request that answers one directory request, the root its reply
// has, and under which key and for how long that reply is kept.
struct ListRequest
{
    std::string path;
    std::string root = "stationlist";
    std::string key;
    std::chrono::seconds kept = stationListKept;
};

ListRequest listRequestFor(const DirectoryRequest &asked, const std::string &developerKey)
{
    using Kind = DirectoryRequest::Kind;
    httplib::Params query{{"k", developerKey}, {"limit", std::to_string(asked.limit)}};
    if (!asked.mediaType.empty())
        query.emplace("mt", asked.mediaType);
    const std::string suffix = "|mt=" + asked.mediaType + "|limit=" + std::to_string(asked.limit);
    ListRequest list;
    switch (asked.kind) {
    case Kind::search:
        query.emplace("search", asked.text);
        list.path = httplib::append_query_params("/legacy/stationsearch", query);
        list.key = "search=" + foldCase(asked.text) + suffix;
        break;
    case Kind::genre:
        query.emplace("genre", asked.text);
        list.path = httplib::append_query_params("/legacy/genresearch", query);
        list.key = "genre=" + foldCase(asked.text) + suffix;
        break;
    case Kind::topList:
        list.path = httplib::append_query_params("/legacy/Top500", query);
        list.key = "top" + suffix;
        break;
    case Kind::genreList:
        list.path = httplib::append_query_params("/legacy/genrelist", {{"k", developerKey}});
        list.root = "genrelist";
        list.key = "genres";
        list.kept = genreListKept;
        break;
    }
    return list;
}

GatewaySettings withLargestList(GatewaySettings settings)
{
    settings.fetch.largestBody = std::min(settings.fetch.largestBody, largestList);
    return settings;
}

} // namespace

ShoutcastGateway::ShoutcastGateway(ShoutcastUpstream upstream, GatewaySettings settings)
    : upstream_(std::move(upstream)), settings_(withLargestList(std::move(settings))),
      cache_(ReplyCache::defaultCapacity, settings_.now), tuneInBase_(shoutcast::defaultTuneInBase)
{
}

Reply ShoutcastGateway::directoryReply(const httplib::Request &request)
{
    const ListRequest list = listRequestFor(readDirectoryRequest(request), upstream_.key);
    return servedReply(
        cache_.get(list.key, list.kept, [&] { return fetchList(upstream_.apiUrl + list.path, list.root); }),
        declaredXmlType);
}

ReplyCache::Fetched ShoutcastGateway::fetchList(const std::string &url, const std::string &root)
{
    const FetchResult fetched = FetchBudget(settings_.fetch, settings_.perReply).fetch(url);
    if (!fetched.ok)
        return {false, {}, fetched.error};
    try {
        shoutcast::PassedReply passed = shoutcast::passOn(fetched.body, root, tuneInPath);
        if (!passed.tuneInBase.empty()) {
            const std::lock_guard lock(mutex_);
            tuneInBase_ = passed.tuneInBase;
        }
        return {true, std::move(passed.body), {}};
    } catch (const shoutcast::ReplyError &error) {
        return {false, {}, shownUrl(url) + " answered unusably: " + error.what()};
    }
}

Reply ShoutcastGateway::playlistReply(const httplib::Request &request)
{
    const std::string id = request.get_param_value("id");
    if (!shoutcast::isStationId(id))
        return textReply(404, "no station has the id \"" + id + "\"");
    std::string base;
    {
        const std::lock_guard lock(mutex_);
        base = tuneInBase_;
    }
    const std::string url = upstream_.tuneInUrl + base + "?id=" + id;
    FetchResult fetched = FetchBudget(settings_.fetch, settings_.perReply).fetch(url);
    if (fetched.status == 404)
        return textReply(404, "the directory knows no station with the id \"" + id + "\"");
    if (!fetched.ok)
        return textReply(502, fetched.error);
    if (!shoutcast::hasStreamLine(fetched.body))
        return textReply(502, "the directory's playlist holds no stream address: " + shownUrl(url));
    Reply reply;
    reply.contentType = playlistType;
    reply.body = std::move(fetched.body);
    return reply;
}

} // namespace station
