#ifndef TARNWAVE_STATION_SERVER_HTTP_SERVER_H
#define TARNWAVE_STATION_SERVER_HTTP_SERVER_H

#include "access_log.h"
#include "request_gate.h"
#include "stop_flag.h"
#include "worker_pool.h"

#include <httplib.h>

#include <chrono>
#include <cstddef>

namespace station {

// cpp-httplib's server with this server's own connection handling. Every
// accepted socket goes to a RequestGate, which waits for its requests without
// holding a worker; a request that has arrived whole is served by a worker of
// a WorkerPool as a Connection (request-line repair, take-over by handlers,
// prompt reaction to the stop flag) and written to the access log; a
// connection the client keeps goes back to the gate for its next request.
class StationHttpServer final : public httplib::Server
{
public:
    StationHttpServer(const StopFlag &stop, AccessLog &log, std::size_t workers,
                      std::chrono::milliseconds requestTimeout);
    ~StationHttpServer() override;

    // Call after binding: cpp-httplib listens with a backlog of five, so that
    // a crowd of clients connecting at once would see their connection
    // attempts dropped and retried a second or more later.
    void widenListenBacklog();

private:
    bool process_and_close_socket(socket_t socket) override;
    bool handOver(ArrivedRequest &request);
    void serve(ArrivedRequest request);
    void stopServing();

    const StopFlag &stop_;
    AccessLog &log_;
    WorkerPool workers_;
    RequestGate gate_;
};

} // namespace station

#endif
