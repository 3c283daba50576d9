#include "connection.h"

#include <arpa/inet.h>
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
// A request's bytes, or a client taking a reply's bytes, may pause this long.
constexpr std::chrono::milliseconds readTimeout(10000);
constexpr std::chrono::milliseconds writeTimeout(10000);
// A request line longer than this is passed on as it is (and refused there).
constexpr std::size_t longestRequestLine = 16 * 1024;

thread_local Connection *currentConnection = nullptr;

void addressOf(int socket, bool remote, std::string &ip, int &port)
{
    sockaddr_storage address{};
    socklen_t length = sizeof(address);
    auto *raw = reinterpret_cast<sockaddr *>(&address);
    const int result = remote ? getpeername(socket, raw, &length) : getsockname(socket, raw, &length);
    if (result != 0)
        return;
    char text[INET6_ADDRSTRLEN] = {};
    if (address.ss_family == AF_INET) {
        const auto *v4 = reinterpret_cast<const sockaddr_in *>(&address);
        inet_ntop(AF_INET, &v4->sin_addr, text, sizeof(text));
        port = ntohs(v4->sin_port);
    } else if (address.ss_family == AF_INET6) {
        const auto *v6 = reinterpret_cast<const sockaddr_in6 *>(&address);
        inet_ntop(AF_INET6, &v6->sin6_addr, text, sizeof(text));
        port = ntohs(v6->sin6_port);
    }
    ip = text;
}

} // namespace

Connection::Connection(int socket, const StopFlag &stop) : socket_(socket), stop_(stop)
{
    // Small replies go out at once instead of waiting for the client's
    // acknowledgement of the header segment.
    int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    addressOf(socket_, true, remoteIp_, remotePort_);
    addressOf(socket_, false, localIp_, localPort_);
    remoteAddress_ = (remoteIp_.find(':') != std::string::npos ? "[" + remoteIp_ + "]" : remoteIp_) + ":"
                     + std::to_string(remotePort_);
}

Connection::~Connection()
{
    shutdown(socket_, SHUT_RDWR);
    close(socket_);
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

bool Connection::fill()
{
    char chunk[4096];
    for (;;) {
        if (waitFor(POLLIN, readTimeout) != Wait::ready)
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
    return bufferPosition_ < buffer_.size() || waitFor(POLLIN, readTimeout) == Wait::ready;
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
    expectRequestLine_ = false;
    std::size_t end = buffer_.find('\n', bufferPosition_);
    while (end == std::string::npos && buffer_.size() - bufferPosition_ < longestRequestLine) {
        if (!fill())
            return;
        end = buffer_.find('\n', bufferPosition_);
    }
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

bool Connection::awaitRequest(std::chrono::milliseconds idle)
{
    if (bufferPosition_ < buffer_.size())
        return true;
    if (waitFor(POLLIN, idle) != Wait::ready)
        return false;
    char byte = 0;
    return recv(socket_, &byte, 1, MSG_PEEK | MSG_DONTWAIT) > 0;
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
    ip = remoteIp_;
    port = remotePort_;
}

void Connection::get_local_ip_and_port(std::string &ip, int &port) const
{
    ip = localIp_;
    port = localPort_;
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
