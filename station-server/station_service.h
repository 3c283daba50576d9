#ifndef TARNWAVE_STATION_SERVER_STATION_SERVICE_H
#define TARNWAVE_STATION_SERVER_STATION_SERVICE_H

#include "catalogue.h"
#include "directory_xml.h"
#include "faults.h"
#include "live_stream.h"
#include "loop_cache.h"
#include "reply.h"
#include "title_schedule.h"

#include <httplib.h>

namespace station {

class DirectoryGateway;

// The server's requests (listed in --help): the directory, tune-in
// playlists, live streams and the fault control endpoint. Every request except
// the control ones first asks the fault table whether it is to be spoilt.
class StationService
{
public:
    StationService(const Catalogue &catalogue, const TitleSchedule &titles, LoopCache &loops, FaultTable &faults,
                   LiveStreamSettings streams);

    void installOn(httplib::Server &server);
    // From now on the directory and its playlists come from `gateway`, not
    // from the catalogue (--upstream); streams and faults stay as they are.
    void useGateway(DirectoryGateway &gateway) { gateway_ = &gateway; }

    // The replies as they are when nothing is spoilt.
    Reply directoryReply(const httplib::Request &request) const;
    Reply playlistReply(const httplib::Request &request) const;

private:
    void answer(const httplib::Request &request, httplib::Response &response, const Reply &reply);
    void serveStream(const httplib::Request &request, httplib::Response &response);
    void addFault(const httplib::Request &request, httplib::Response &response);

    const Catalogue &catalogue_;
    const TitleSchedule &titles_;
    LoopCache &loops_;
    FaultTable &faults_;
    LiveStreamSettings streams_;
    DirectoryGateway *gateway_ = nullptr;
};

} // namespace station

#endif
