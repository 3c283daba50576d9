#ifndef TARNWAVE_TESTS_SUPPORT_LOOPBACK_LISTENER_H
#define TARNWAVE_TESTS_SUPPORT_LOOPBACK_LISTENER_H

// A TCP socket listening on a free loopback port, for the tests' own small
// servers. The listener owns the socket and closes it when destroyed.

class LoopbackListener
{
public:
    // Listens with room for `backlog` waiting connections; on failure fd() is
    // -1 and port() 0.
    explicit LoopbackListener(int backlog);
    ~LoopbackListener();
    LoopbackListener(const LoopbackListener &) = delete;
    LoopbackListener &operator=(const LoopbackListener &) = delete;

    bool listening() const { return m_port > 0; }
    int fd() const { return m_fd; }
    int port() const { return m_port; }

private:
    int m_fd = -1;
    int m_port = 0;
};

// A loopback port on which nothing listens: one a listener held a moment
// ago and let go. 0 when no port could be had.
int closedLoopbackPort();

#endif
