#ifndef TARNWAVE_TESTS_UNIT_PLUGIN_SHELL_TEST_DOUBLES_H
#define TARNWAVE_TESTS_UNIT_PLUGIN_SHELL_TEST_DOUBLES_H

// Stand-ins for the main window's tests: a directory that takes connections
// and never answers (so that a transfer stays running for as long as a test
// needs it), and a service handler that only notes what it is told.

#include "media/eservice.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <vector>

// A socket listening on a free loopback port that never accepts: the kernel
// completes the connections into its backlog, the request is sent and no reply
// ever comes.
class SilentDirectory
{
public:
    SilentDirectory()
    {
        m_fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = 0;
        if (m_fd < 0 || ::bind(m_fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0
            || ::listen(m_fd, 16) != 0)
            return;
        socklen_t length = sizeof address;
        if (::getsockname(m_fd, reinterpret_cast<sockaddr *>(&address), &length) == 0)
            m_port = ntohs(address.sin_port);
    }
    ~SilentDirectory()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    SilentDirectory(const SilentDirectory &) = delete;
    SilentDirectory &operator=(const SilentDirectory &) = delete;

    bool listening() const { return m_port > 0; }
    std::string baseUrl() const { return "http://127.0.0.1:" + std::to_string(m_port); }

private:
    int m_fd = -1;
    int m_port = 0;
};

// A media handler that plays nothing and remembers the calls.
class NotingServiceHandler : public eServiceHandler
{
public:
    int play(const eServiceReference &ref, int) override
    {
        played.push_back(ref.path);
        return 0;
    }
    int getState() override { return stateRunning; }
    eString getInfo(int) override { return ""; }
    int stop(int workaround) override
    {
        stops.push_back(workaround);
        return 0;
    }

    std::vector<std::string> played;
    std::vector<int> stops;
};

#endif
