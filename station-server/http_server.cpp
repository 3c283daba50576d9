#include "http_server.h"

#include "connection.h"
#include "worker_pool.h"

#include <sys/socket.h>

#include <chrono>

namespace station {
namespace {

constexpr std::size_t requestsPerConnection = 100;
constexpr std::chrono::milliseconds keepAliveIdle(5000);
// Accepted connections that may wait for a worker.
constexpr std::size_t waitingConnections = 256;

} // namespace

StationHttpServer::StationHttpServer(const StopFlag &stop, AccessLog &log, std::size_t workers) : stop_(stop), log_(log)
{
    // cpp-httplib takes the queue over and deletes it when it stops listening.
    new_task_queue = [workers] { return new BoundedWorkerPool(workers, waitingConnections); };
    // Only SO_REUSEADDR: a second server on a port that is in use must fail
    // to bind (cpp-httplib's default would also share the port).
    set_socket_options([](socket_t socket) {
        int on = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    });
    set_keep_alive_max_count(requestsPerConnection);
}

void StationHttpServer::widenListenBacklog()
{
    const socket_t listening = svr_sock_;
    if (listening != INVALID_SOCKET)
        ::listen(listening, SOMAXCONN);
}

bool StationHttpServer::process_and_close_socket(socket_t socket)
{
    Connection connection(socket, stop_);
    for (std::size_t served = 0; served < requestsPerConnection; ++served) {
        if (!connection.awaitRequest(keepAliveIdle))
            break;
        connection.beginRequest();
        const bool lastOne = served + 1 == requestsPerConnection || stop_.raised();
        bool clientCloses = false;
        const auto started = std::chrono::steady_clock::now();
        bool answered = false;
        {
            CurrentConnection current(connection);
            answered = process_request(connection, lastOne, clientCloses, [&connection](httplib::Request &request) {
                connection.userAgent = request.get_header_value("User-Agent");
            });
        }
        if (connection.hasRequestLine()) {
            log_.record(AccessRecord{
                connection.remoteAddress(), connection.requestLine(), connection.status(), connection.bytesSent(),
                std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - started),
                connection.userAgent});
        }
        if (!answered || lastOne || clientCloses || connection.takenOver())
            break;
    }
    return true;
}

} // namespace station
