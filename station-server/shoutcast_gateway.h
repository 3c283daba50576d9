#ifndef TARNWAVE_STATION_SERVER_SHOUTCAST_GATEWAY_H
#define TARNWAVE_STATION_SERVER_SHOUTCAST_GATEWAY_H

// The gateway (directory_gateway.h) to the SHOUTcast directory's keyed API,
// which needs a developer key of the user's own. Each directory request goes
// to the API's counterpart (genrelist, Top500, stationsearch, genresearch)
// and its reply is passed on as it came, but with the gateway's own tune-in
// base (shoutcast_xml.h). Lists are kept for 10 minutes and the genre list for
// an hour. A playlist is fetched from the directory's tune-in host under the
// base its lists named, and never kept. The key goes to the directory only:
// failures name the addresses without their queries (shownUrl).

#include "directory_gateway.h"
#include "reply.h"
#include "reply_cache.h"

#include <httplib.h>

#include <mutex>
#include <string>

namespace station {

struct ShoutcastUpstream
{
    std::string key;
    std::string apiUrl = "http://api.shoutcast.com";
    std::string tuneInUrl = "http://yp.shoutcast.com";
};

class ShoutcastGateway : public DirectoryGateway
{
public:
    explicit ShoutcastGateway(ShoutcastUpstream upstream, GatewaySettings settings = {});

    Reply directoryReply(const httplib::Request &request) override;
    Reply playlistReply(const httplib::Request &request) override;

private:
    ReplyCache::Fetched fetchList(const std::string &url, const std::string &root);

    const ShoutcastUpstream upstream_;
    const GatewaySettings settings_;
    ReplyCache cache_;
    std::mutex mutex_;
    std::string tuneInBase_; // the last the directory's lists named
};

} // namespace station

#endif
