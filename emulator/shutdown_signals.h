#ifndef TARNWAVE_EMULATOR_SHUTDOWN_SIGNALS_H
#define TARNWAVE_EMULATOR_SHUTDOWN_SIGNALS_H

// SIGINT and SIGTERM end the emulator cleanly: the signal handler only wakes
// the host loop (a self-pipe), which then quits, so that the plug-in is left
// and the station server stopped in order. A second signal while that has
// not finished stops the station server at once and exits.

#include "base/ebase.h"

#include <memory>
#include <sys/types.h>

namespace emulator {

class ShutdownSignals : public SigC::Object
{
public:
    explicit ShutdownSignals(eMainloop &loop);
    ~ShutdownSignals() override;
    ShutdownSignals(const ShutdownSignals &) = delete;
    ShutdownSignals &operator=(const ShutdownSignals &) = delete;

    // The process a second signal stops before exiting (the station server).
    static void setChildToStop(pid_t pid);

private:
    void signalled(int events);

    eMainloop &m_loop;
    std::unique_ptr<eSocketNotifier> m_notifier;
};

} // namespace emulator

#endif
