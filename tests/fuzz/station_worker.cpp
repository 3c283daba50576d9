#include "station_worker.h"

#include "connection.h"

#include <chrono>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace fuzz {
namespace {

// A byte waiting on the socket behind the request: it is gone when the
// worker read from the socket, wanting more than it was handed.
constexpr char beyondTheRequest = '\x7f';

std::string drain(int socket)
{
    std::string bytes;
    char chunk[4096];
    for (ssize_t got; (got = recv(socket, chunk, sizeof chunk, MSG_DONTWAIT)) > 0;)
        bytes.append(chunk, static_cast<std::size_t>(got));
    return bytes;
}

} // namespace

StationWorker::StationWorker()
    : catalogue_(station::loadCatalogue(TARNWAVE_SOURCE_DIR "/data/catalogue/stations.xml")),
      titles_(catalogue_.titles(), std::chrono::seconds(20), station::TitleSchedule::Clock::now()), loops_(1),
      service_(catalogue_, titles_, loops_, faults_, station::LiveStreamSettings{})
{
    service_.installOn(*this);
}

ServedRequest StationWorker::serve(const std::string &received)
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
        throw std::runtime_error("no socket pair");
    const int client = ends[1];
    send(client, &beyondTheRequest, 1, MSG_NOSIGNAL);

    ServedRequest served;
    // The request's deadline is near: a worker that wants more bytes than it
    // was given finds the one behind the request at once, then no more.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(10);
    station::Connection connection(ends[0], stop_, received, deadline);
    connection.beginRequest();
    bool clientCloses = false;
    process_request(connection, true, clientCloses, [&served](httplib::Request &parsed) { served.parsed = parsed; });
    served.requestLine = connection.requestLine();
    faults_.clear();

    const station::Connection::Released kept = connection.release();
    served.readPastTheEnd = drain(kept.socket).empty();
    close(kept.socket);
    served.reply = drain(client);
    close(client);
    return served;
}

} // namespace fuzz
