#ifndef TARNWAVE_STATION_SERVER_DIRECTORY_GATEWAY_H
#define TARNWAVE_STATION_SERVER_DIRECTORY_GATEWAY_H

// A gateway (--upstream): the directory's requests (/sbin/newxml.phtml) and
// its tune-in playlists (/sbin/tunein-station.pls) answered from a live
// directory on the internet, in the same protocol as from the catalogue, so
// that a box pointed at this server browses and plays real stations. Lists
// are kept (reply_cache.h); when the upstream fails, the last good copy is
// served, and without one a 502 whose one line says why. Called from the
// server's workers; each call blocks its worker for as long as the upstream
// takes, at most GatewaySettings::perReply.

#include "reply.h"
#include "reply_cache.h"
#include "upstream_fetch.h"

#include <httplib.h>

#include <chrono>
#include <functional>

namespace station {

struct GatewaySettings
{
    FetchLimits fetch;
    // The most that one reply spends on the upstream, every request and
    // mirror together (FetchBudget): within the box's 30 s.
    std::chrono::milliseconds perReply{25000};
    // The clock by which kept replies age.
    std::function<ReplyCache::Clock::time_point()> now = ReplyCache::Clock::now;
};

class DirectoryGateway
{
public:
    virtual ~DirectoryGateway() = default;

    virtual Reply directoryReply(const httplib::Request &request) = 0;
    virtual Reply playlistReply(const httplib::Request &request) = 0;
};

// What the cache served as the directory's reply of `contentType`: the
// body, or 502 with the upstream's failure.
Reply servedReply(ReplyCache::Served served, const char *contentType);

} // namespace station

#endif
