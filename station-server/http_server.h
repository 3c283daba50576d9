#ifndef TARNWAVE_STATION_SERVER_HTTP_SERVER_H
#define TARNWAVE_STATION_SERVER_HTTP_SERVER_H

#include "access_log.h"
#include "stop_flag.h"

#include <httplib.h>

#include <cstddef>

namespace station {

// cpp-httplib's server with this server's own connection handling: every
// accepted socket becomes a Connection (request-line repair, take-over by
// handlers, prompt reaction to the stop flag), its requests are served one
// after the other while the client keeps the connection, and each is written
// to the access log. Workers come from a BoundedWorkerPool.
class StationHttpServer final : public httplib::Server
{
public:
    StationHttpServer(const StopFlag &stop, AccessLog &log, std::size_t workers);

    // Call after binding: cpp-httplib listens with a backlog of five, so that
    // a crowd of clients connecting at once would see their connection
    // attempts dropped and retried a second or more later.
    void widenListenBacklog();

private:
    bool process_and_close_socket(socket_t socket) override;

    const StopFlag &stop_;
    AccessLog &log_;
};

} // namespace station

#endif
