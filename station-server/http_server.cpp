#include "http_server.h"

#include "connection.h"

#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>

namespace station {
namespace {

constexpr std::size_t requestsPerConnection = 100;
// Whole requests that may wait for a worker (while every worker plays a
// stream, say); beyond them a request is answered 503.
constexpr std::size_t waitingRequests = 256;

// Connections that may wait for a request at once: 1024, or half of what the
// process may have open when that is less, so that the rest leaves room for
// the workers' connections.
std::size_t waitingConnectionLimit()
{
    constexpr std::size_t most = 1024;
    rlimit files{};
    if (getrlimit(RLIMIT_NOFILE, &files) != 0 || files.rlim_cur == RLIM_INFINITY)
        return most;
    return std::clamp<std::size_t>(files.rlim_cur / 2, 16, most);
}

// cpp-httplib hands every accepted socket to its task queue. This one runs
// the hand-over at once on the accepting thread, as it only admits the socket
// to the gate, and stops serving when listening ends.
class AdmitOnAcceptingThread final : public httplib::TaskQueue
{
public:
    explicit AdmitOnAcceptingThread(std::function<void()> stopServing) : stopServing_(std::move(stopServing)) { }

    void enqueue(std::function<void()> admit) override { admit(); }
    void shutdown() override { stopServing_(); }

private:
    std::function<void()> stopServing_;
};

} // namespace

StationHttpServer::StationHttpServer(const StopFlag &stop, AccessLog &log, std::size_t workers,
                                     std::chrono::milliseconds requestTimeout)
    : stop_(stop), log_(log), workers_(workers, waitingRequests),
      gate_(stop, log, GateSettings{requestTimeout, RequestLimits{}, waitingConnectionLimit()},
            [this](ArrivedRequest &request) { return handOver(request); })
{
    // cpp-httplib takes the queue over and deletes it when it stops listening.
    new_task_queue = [this] { return new AdmitOnAcceptingThread([this] { stopServing(); }); };
    // Only SO_REUSEADDR: a second server on a port that is in use must fail
    // to bind (cpp-httplib's default would also share the port).
    set_socket_options([](socket_t socket) {
        int on = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    });
    set_keep_alive_max_count(requestsPerConnection);
}

StationHttpServer::~StationHttpServer()
{
    stopServing();
}

void StationHttpServer::stopServing()
{
    // The gate first, so that no request reaches a worker any more; the
    // workers then finish what they have (every wait ends on the stop flag).
    gate_.stop();
    workers_.shutdown();
}

void StationHttpServer::widenListenBacklog()
{
    const socket_t listening = svr_sock_;
    if (listening != INVALID_SOCKET)
        ::listen(listening, SOMAXCONN);
}

bool StationHttpServer::process_and_close_socket(socket_t socket)
{
    gate_.admit(socket);
    return true;
}

bool StationHttpServer::handOver(ArrivedRequest &request)
{
    if (!workers_.hasRoom())
        return false;
    workers_.enqueue([this, request = std::move(request)]() mutable { serve(std::move(request)); });
    return true;
}

void StationHttpServer::serve(ArrivedRequest request)
{
    Connection connection(request.socket, stop_, std::move(request.received), request.deadline);
    connection.beginRequest();
    const bool lastOne = request.served + 1 >= requestsPerConnection || stop_.raised();
    bool clientCloses = false;
    const auto started = std::chrono::steady_clock::now();
    bool answered = false;
    {
        CurrentConnection current(connection);
        answered = process_request(connection, lastOne, clientCloses, [&connection](httplib::Request &parsed) {
            connection.userAgent = parsed.get_header_value("User-Agent");
        });
    }
    if (connection.hasRequestLine()) {
        log_.record(AccessRecord{
            connection.remoteAddress(), connection.requestLine(), connection.status(), connection.bytesSent(),
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - started),
            connection.userAgent});
    }
    if (!answered || lastOne || clientCloses || connection.takenOver())
        return;
    Connection::Released kept = connection.release();
    gate_.readmit(kept.socket, std::move(kept.received), request.served + 1);
}

} // namespace station
