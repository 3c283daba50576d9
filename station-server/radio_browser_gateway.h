#ifndef TARNWAVE_STATION_SERVER_RADIO_BROWSER_GATEWAY_H
#define TARNWAVE_STATION_SERVER_RADIO_BROWSER_GATEWAY_H

// The gateway (directory_gateway.h) to the community radio directory: the
// legacy genre list, station lists and tune-in playlists, made from its JSON
// API (gateway_directory.h), asked of its mirrors in turn
// (upstream_servers.h). Lists are kept for 10 minutes and the genre list for
// an hour. A playlist is never kept: asking for it counts one click for the
// station, as the directory asks of clients whenever a user starts a station.

#include "directory_gateway.h"
#include "reply.h"
#include "reply_cache.h"
#include "upstream_servers.h"

#include <httplib.h>

#include <string>

namespace station {

class RadioBrowserGateway : public DirectoryGateway
{
public:
    explicit RadioBrowserGateway(ServerRotation &servers, GatewaySettings settings = {});

    Reply directoryReply(const httplib::Request &request) override;
    Reply playlistReply(const httplib::Request &request) override;

private:
    ServerRotation &servers_;
    const GatewaySettings settings_;
    ReplyCache cache_;
};

} // namespace station

#endif
