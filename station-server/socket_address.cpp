#include "socket_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace station {
namespace {

SocketAddress addressOf(int socket, bool peer)
{
    sockaddr_storage address{};
    socklen_t length = sizeof(address);
    auto *raw = reinterpret_cast<sockaddr *>(&address);
    SocketAddress found;
    if ((peer ? getpeername(socket, raw, &length) : getsockname(socket, raw, &length)) != 0)
        return found;
    char text[INET6_ADDRSTRLEN] = {};
    if (address.ss_family == AF_INET) {
        const auto *v4 = reinterpret_cast<const sockaddr_in *>(&address);
        inet_ntop(AF_INET, &v4->sin_addr, text, sizeof(text));
        found.port = ntohs(v4->sin_port);
    } else if (address.ss_family == AF_INET6) {
        const auto *v6 = reinterpret_cast<const sockaddr_in6 *>(&address);
        inet_ntop(AF_INET6, &v6->sin6_addr, text, sizeof(text));
        found.port = ntohs(v6->sin6_port);
    }
    found.ip = text;
    return found;
}

} // namespace

std::string SocketAddress::text() const
{
    return (ip.find(':') != std::string::npos ? "[" + ip + "]" : ip) + ":" + std::to_string(port);
}

SocketAddress peerAddressOf(int socket)
{
    return addressOf(socket, true);
}

SocketAddress localAddressOf(int socket)
{
    return addressOf(socket, false);
}

} // namespace station
