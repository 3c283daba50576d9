#ifndef TARNWAVE_STATION_SERVER_SOCKET_ADDRESS_H
#define TARNWAVE_STATION_SERVER_SOCKET_ADDRESS_H

#include <string>

namespace station {

// One end of a connected socket.
struct SocketAddress
{
    std::string ip; // empty when unknown
    int port = 0;

    // "127.0.0.1:43512", "[::1]:43512": as the access log names a client.
    std::string text() const;
};

SocketAddress peerAddressOf(int socket);
SocketAddress localAddressOf(int socket);

} // namespace station

#endif
