#ifndef TARNWAVE_TESTS_UNIT_PLUGIN_SHELL_TEST_DOUBLES_H
#define TARNWAVE_TESTS_UNIT_PLUGIN_SHELL_TEST_DOUBLES_H

// Stand-ins for the main window's tests: a directory that takes connections
// and never answers (so that a transfer stays running for as long as a test
// needs it), and a service handler that only notes what it is told.

#include "media/eservice.h"
#include "support/loopback_listener.h"

#include <string>
#include <vector>

// A socket listening on a free loopback port that never accepts: the kernel
// completes the connections into its backlog, the request is sent and no reply
// ever comes.
class SilentDirectory
{
public:
    bool listening() const { return m_listener.listening(); }
    std::string baseUrl() const { return "http://127.0.0.1:" + std::to_string(m_listener.port()); }

private:
    LoopbackListener m_listener{16};
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
