#include "connection.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>

namespace station {
namespace {

// How long one wait lasts before the stop flag is looked at again.
constexpr std::chrono::milliseconds stopCheckInterval(100);
// A client taking a reply's bytes may pause this long.
constexpr std::chrono::milliseconds writeTimeout(10000);

thread_local Connection *currentConnection = nullptr;

} // namespace

Connection::Connection(int socket, const StopFlag &stop, std::string received,
                       std::chrono::steady_clock::time_point readDeadline)
    : socket_(socket), stop_(stop), buffer_(std::move(received)), readDeadline_(readDeadline),
      remote_(peerAddressOf(socket)), local_(localAddressOf(socket)), remoteAddress_(remote_.text())
{
    // Small replies go out at once instead of waiting for the client's
    // acknowledgement of the header segment.
    int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

Connection::~Connection()
{
    if (socket_ < 0)
        return;
    shutdown(socket_, SHUT_RDWR);
    close(socket_);
}

Connection::Released Connection::release()
{
    Released released{socket_, buffer_.substr(bufferPosition_)};
    socket_ = -1;
    buffer_.clear();
    bufferPosition_ = 0;
    return released;
}

Connection::Wait Connection::waitFor(short events, std::chrono::milliseconds limit) const
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        if (stop_.raised())
            return Wait::stopped;
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return Wait::timedOut;
        pollfd watched{socket_, events, 0};
        const int ready = poll(&watched, 1, static_cast<int>(std::min(left, stopCheckInterval).count()));
        if (ready < 0 && errno != EINTR)
            return Wait::failed;
        if (ready > 0)
            return (watched.revents & (events | POLLHUP | POLLERR)) != 0 ? Wait::ready : Wait::failed;
    }
}

std::chrono::milliseconds Connection::readTimeLeft() const
{
    return std::chrono::ceil<std::chrono::milliseconds>(readDeadline_ - std::chrono::steady_clock::now());
}

bool Connection::fill()
{
    char chunk[4096];
    for (;;) {
        if (waitFor(POLLIN, readTimeLeft()) != Wait::ready)
            return false;
        const ssize_t got = recv(socket_, chunk, sizeof(chunk), MSG_DONTWAIT);
        if (got > 0) {
            if (bufferPosition_ == buffer_.size()) {
                buffer_.clear();
                bufferPosition_ = 0;
            }
            buffer_.append(chunk, static_cast<std::size_t>(got));
            return true;
        }
        if (got == 0 || (errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK))
            return false;
    }
}

bool Connection::is_readable() const
{
    return bufferPosition_ < buffer_.size() || waitFor(POLLIN, readTimeLeft()) == Wait::ready;
}

bool Connection::is_writable() const
{
    return !takenOver_ && waitFor(POLLOUT, writeTimeout) == Wait::ready;
}

ssize_t Connection::read(char *data, size_t size)
{
    if (expectRequestLine_)
        repairRequestLine();
    if (bufferPosition_ == buffer_.size() && !fill())
        return -1;
    const std::size_t count = std::min(size, buffer_.size() - bufferPosition_);
    std::copy_n(buffer_.data() + bufferPosition_, count, data);
    bufferPosition_ += count;
    return static_cast<ssize_t>(count);
}

void Connection::repairRequestLine()
{
    // The whole request is in the buffer (RequestGate), its line first.
    expectRequestLine_ = false;
    const std::size_t end = buffer_.find('\n', bufferPosition_);
    if (end == std::string::npos)
        return;
    std::string_view line(buffer_.data() + bufferPosition_, end - bufferPosition_);
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    requestLine_ = std::string(line);

    // METHOD SP TARGET SP VERSION: blanks between the first and the last
    // separator belong to the target.
    const std::size_t methodEnd = line.find(' ');
    const std::size_t versionStart = line.rfind(' ');
    if (methodEnd == std::string_view::npos || versionStart == methodEnd
        || !line.substr(versionStart + 1).starts_with("HTTP/"))
        return;
    const std::string_view target = line.substr(methodEnd + 1, versionStart - methodEnd - 1);
    if (target.find(' ') == std::string_view::npos)
        return;
    std::string repaired(line.substr(0, methodEnd + 1));
    for (const char c : target) {
        if (c == ' ')
            repaired += "%20";
        else
            repaired += c;
    }
    repaired += line.substr(versionStart);
    repaired += "\r\n";
    buffer_ = repaired + buffer_.substr(end + 1);
    bufferPosition_ = 0;
}

ssize_t Connection::write(const char *data, size_t size)
{
    if (takenOver_)
        return static_cast<ssize_t>(size);
    if (!statusNoted_)
        noteStatusLine(std::string_view(data, size));
    return sendAll(std::string_view(data, size)) ? static_cast<ssize_t>(size) : -1;
}

void Connection::noteStatusLine(std::string_view head)
{
    // "HTTP/1.1 200 OK": the status is the second word.
    statusNoted_ = true;
    const std::size_t space = head.find(' ');
    if (space == std::string_view::npos || !head.starts_with("HTTP/"))
        return;
    const std::string_view code = head.substr(space + 1, 3);
    int status = 0;
    if (std::from_chars(code.data(), code.data() + code.size(), status).ec == std::errc())
        status_ = status;
}

bool Connection::sendAll(std::string_view bytes)
{
    while (!bytes.empty()) {
        if (waitFor(POLLOUT, writeTimeout) != Wait::ready)
            return false;
        const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0) {
            if (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)
                continue;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
        bytesSent_ += static_cast<std::size_t>(sent);
    }
    return true;
}

void Connection::takeOver(int status)
{
    takenOver_ = true;
    statusNoted_ = true;
    status_ = status;
}

bool Connection::clientHasClosed() const
{
    pollfd watched{socket_, POLLIN | POLLRDHUP, 0};
    if (poll(&watched, 1, 0) <= 0)
        return false;
    if ((watched.revents & (POLLRDHUP | POLLHUP | POLLERR | POLLNVAL)) != 0)
        return true;
    char byte = 0;
    return recv(socket_, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
}

void Connection::beginRequest()
{
    expectRequestLine_ = true;
    requestLine_.clear();
    status_ = 0;
    statusNoted_ = false;
    bytesSent_ = 0;
    userAgent.clear();
}

void Connection::get_remote_ip_and_port(std::string &ip, int &port) const
{
    ip = remote_.ip;
    port = remote_.port;
}

void Connection::get_local_ip_and_port(std::string &ip, int &port) const
{
    ip = local_.ip;
    port = local_.port;
}

Connection *Connection::current()
{
    return currentConnection;
}

CurrentConnection::CurrentConnection(Connection &connection) : previous_(currentConnection)
{
    currentConnection = &connection;
}

CurrentConnection::~CurrentConnection()
{
    currentConnection = previous_;
}

} // namespace station
