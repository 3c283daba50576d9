#ifndef TARNWAVE_STATION_SERVER_CONNECTION_H
#define TARNWAVE_STATION_SERVER_CONNECTION_H

#include "socket_address.h"
#include "stop_flag.h"

#include <httplib.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace station {

// One client connection while a worker serves a request on it, as the stream
// cpp-httplib reads the request from and writes the reply to. The request
// has arrived whole before (RequestGate); what remains to be read (a chunked
// body) must come by the request's deadline. On top of a plain socket stream
// it
//  - repairs the request line: the plug-in sends its search text unencoded,
//    so "GET /sbin/newxml.phtml?search=hip hop HTTP/1.1" arrives with a raw
//    blank, which becomes %20 before cpp-httplib (which would refuse it)
//    sees the line;
//  - lets a handler take the connection over and answer on the socket itself
//    (live streams, injected faults), after which cpp-httplib's own reply is
//    discarded and the connection closes;
//  - keeps what the access log needs: the raw request line, the status sent,
//    the bytes sent;
//  - never waits longer than a moment without looking at the stop flag.
class Connection final : public httplib::Stream
{
public:
    // `received`: the bytes that have arrived, the request first.
    Connection(int socket, const StopFlag &stop, std::string received,
               std::chrono::steady_clock::time_point readDeadline);
    ~Connection() override;
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    // httplib::Stream
    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char *data, size_t size) override;
    ssize_t write(const char *data, size_t size) override;
    void get_remote_ip_and_port(std::string &ip, int &port) const override;
    void get_local_ip_and_port(std::string &ip, int &port) const override;
    int socket() const override { return socket_; }

    // The next line read is the request line of a new request.
    void beginRequest();
    // Gives up the socket, to wait for the next request elsewhere; the bytes
    // received past this request. The connection is unusable afterwards.
    struct Released
    {
        int socket;
        std::string received;
    };
    Released release();

    // The connection whose request the calling thread is handling (set while
    // cpp-httplib runs a handler), or nullptr.
    static Connection *current();
    friend class CurrentConnection;

    // Sends every byte; false when the client is gone, has not taken any for
    // the write timeout, or the server stops.
    bool sendAll(std::string_view bytes);
    // From now on this handler answers on the socket itself; `status` is what
    // the access log shows (0: closed without a reply).
    void takeOver(int status);
    bool takenOver() const { return takenOver_; }
    // True once the client has closed its side (or the connection broke).
    bool clientHasClosed() const;
    const StopFlag &stopFlag() const { return stop_; }

    // Access log facts of the current request.
    bool hasRequestLine() const { return !requestLine_.empty(); }
    const std::string &requestLine() const { return requestLine_; }
    int status() const { return status_; }
    std::size_t bytesSent() const { return bytesSent_; }
    const std::string &remoteAddress() const { return remoteAddress_; }
    std::string userAgent;

private:
    enum class Wait { ready, timedOut, stopped, failed };
    Wait waitFor(short events, std::chrono::milliseconds limit) const;
    std::chrono::milliseconds readTimeLeft() const;
    // Reads what the socket has into the buffer; false at its end or on failure.
    bool fill();
    void repairRequestLine();
    void noteStatusLine(std::string_view head);

    int socket_;
    const StopFlag &stop_;
    std::string buffer_;
    std::size_t bufferPosition_ = 0;
    std::chrono::steady_clock::time_point readDeadline_;
    bool expectRequestLine_ = false;
    bool takenOver_ = false;
    std::string requestLine_;
    int status_ = 0;
    bool statusNoted_ = false;
    std::size_t bytesSent_ = 0;
    SocketAddress remote_;
    SocketAddress local_;
    std::string remoteAddress_;
};

// Marks `connection` as the calling thread's current one for its lifetime.
class CurrentConnection
{
public:
    explicit CurrentConnection(Connection &connection);
    ~CurrentConnection();
    CurrentConnection(const CurrentConnection &) = delete;
    CurrentConnection &operator=(const CurrentConnection &) = delete;

private:
    Connection *previous_;
};

} // namespace station

#endif
