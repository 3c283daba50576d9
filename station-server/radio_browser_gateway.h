#ifndef TARNWAVE_STATION_SERVER_RADIO_BROWSER_GATEWAY_H
#define TARNWAVE_STATION_SERVER_RADIO_BROWSER_GATEWAY_H

// The directory's requests answered from the community radio directory: the
// legacy genre list, station lists and tune-in playlists, made from its JSON
// API (gateway_directory.h), asked of its mirrors in turn
// (upstream_servers.h). Lists are kept for 10 minutes and the genre list for
// an hour; when no mirror answers usably, the last good copy is served, and
// without one a 502 whose one line says why. A playlist is never kept: asking
// for it counts one click for the station, as the directory asks of clients
// whenever a user starts a station. Called from the server's workers; each
// call blocks its worker for as long as the upstream takes (at most its own
// limits).

#include "reply.h"
#include "reply_cache.h"
#include "upstream_fetch.h"
#include "upstream_servers.h"

#include <httplib.h>

#include <string>

namespace station {

class RadioBrowserGateway
{
public:
    RadioBrowserGateway(ServerRotation &servers, FetchLimits limits = {});

    Reply directoryReply(const httplib::Request &request);
    Reply playlistReply(const httplib::Request &request);

private:
    ServerRotation &servers_;
    const FetchLimits limits_;
    ReplyCache cache_;
};

} // namespace station

#endif
