#include "raw_http.h"

#include <arpa/inet.h>
#include <cctype>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

std::string HttpReply::header(const std::string &lowerCaseName) const
{
    const auto found = headers.find(lowerCaseName);
    return found == headers.end() ? std::string() : found->second;
}

HttpReply parseHttpReply(const std::string &raw)
{
    HttpReply reply;
    const std::size_t headEnd = raw.find("\r\n\r\n");
    if (headEnd == std::string::npos)
        return reply;
    reply.complete = true;
    reply.body = raw.substr(headEnd + 4);
    std::size_t lineStart = 0;
    bool first = true;
    while (lineStart < headEnd) {
        std::size_t lineEnd = raw.find("\r\n", lineStart);
        const std::string line = raw.substr(lineStart, lineEnd - lineStart);
        lineStart = lineEnd + 2;
        if (first) {
            first = false;
            const std::size_t space = line.find(' ');
            reply.version = line.substr(0, space);
            if (space != std::string::npos)
                reply.status = std::atoi(line.substr(space + 1, 3).c_str());
            continue;
        }
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos)
            continue;
        std::string name = line.substr(0, colon);
        for (char &c : name)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        std::size_t valueStart = colon + 1;
        while (valueStart < line.size() && line[valueStart] == ' ')
            ++valueStart;
        reply.headers[name] = line.substr(valueStart);
    }
    return reply;
}

RawConnection::RawConnection(int port)
{
    socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket_ < 0)
        throw std::runtime_error("cannot create a socket");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(socket_, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        ::close(socket_);
        throw std::runtime_error("cannot connect to port " + std::to_string(port));
    }
    connectedAt_ = Clock::now();
}

RawConnection::~RawConnection()
{
    close();
}

void RawConnection::close()
{
    if (socket_ >= 0)
        ::close(socket_);
    socket_ = -1;
}

void RawConnection::send(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            throw std::runtime_error("cannot send the request");
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

bool RawConnection::receiveSome(std::chrono::milliseconds limit)
{
    if (socket_ < 0 || closedByServer_)
        return false;
    pollfd watched{socket_, POLLIN, 0};
    if (poll(&watched, 1, static_cast<int>(std::max<long long>(limit.count(), 0))) <= 0)
        return false;
    char chunk[16384];
    const ssize_t got = recv(socket_, chunk, sizeof(chunk), 0);
    if (got <= 0) {
        closedByServer_ = true;
        return false;
    }
    received_.append(chunk, static_cast<std::size_t>(got));
    arrivals_.push_back(Arrival{Clock::now(), static_cast<std::size_t>(got)});
    return true;
}

bool RawConnection::receiveUntilClosed(std::chrono::milliseconds limit)
{
    const auto deadline = Clock::now() + limit;
    while (!closedByServer_ && Clock::now() < deadline)
        receiveSome(std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()));
    return closedByServer_;
}

void RawConnection::receiveFor(std::chrono::milliseconds duration)
{
    receiveUntilClosed(duration);
}

bool RawConnection::receiveHead(std::chrono::milliseconds limit)
{
    const auto deadline = Clock::now() + limit;
    while (received_.find("\r\n\r\n") == std::string::npos) {
        if (closedByServer_ || Clock::now() >= deadline)
            return false;
        receiveSome(std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()));
    }
    return true;
}

HttpReply httpGet(int port, const std::string &target, const std::vector<std::string> &extraHeaders,
                  std::chrono::milliseconds limit)
{
    RawConnection connection(port);
    std::string request = "GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) + "\r\n";
    for (const std::string &header : extraHeaders)
        request += header + "\r\n";
    request += "Connection: close\r\n\r\n";
    connection.send(request);
    connection.receiveUntilClosed(limit);
    return parseHttpReply(connection.received());
}
