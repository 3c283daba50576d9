#ifndef TARNWAVE_EMULATOR_STATION_SERVER_CHILD_H
#define TARNWAVE_EMULATOR_STATION_SERVER_CHILD_H

// The embedded station server: a station-server process that the emulator
// starts when no --directory is given and stops (SIGTERM, then waits) when it
// ends. The child is also told to stop should the emulator die unexpectedly.

#include "system/child_process.h"

#include <chrono>
#include <string>
#include <sys/types.h>

namespace emulator {

class StationServerChild
{
public:
    // Starts `binary` listening on `listen` ("127.0.0.1:8150"), a gateway to
    // `upstream` unless that is empty, its access log and complaints going to
    // `logFile`, and waits for the line that says it is ready. False with the
    // reason in `error` when it does not start.
    bool start(const std::string &binary, const std::string &listen, const std::string &upstream,
               const std::string &logFile, std::string &error);

    // "http://127.0.0.1:PORT", as the server announced it.
    const std::string &url() const { return m_url; }
    pid_t pid() const { return m_process.pid(); }
    bool running() const { return m_process.running(); }

    // SIGTERM, then waits; SIGKILL when it has not ended after `grace`.
    void stop(std::chrono::milliseconds grace = std::chrono::seconds(3)) { m_process.stop(grace); }

private:
    boxhost::ChildProcess m_process;
    std::string m_url;
};

} // namespace emulator

#endif
