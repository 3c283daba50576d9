#include "support/loopback_listener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

LoopbackListener::LoopbackListener(int backlog)
{
    m_fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (m_fd < 0 || ::bind(m_fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0
        || ::listen(m_fd, backlog) != 0 || ::getsockname(m_fd, reinterpret_cast<sockaddr *>(&address), &length) != 0) {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = -1;
        return;
    }
    m_port = ntohs(address.sin_port);
}

LoopbackListener::~LoopbackListener()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

int closedLoopbackPort()
{
    const LoopbackListener listener(1);
    return listener.port();
}
