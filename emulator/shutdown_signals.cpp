#include "shutdown_signals.h"

#include "base/elog.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace emulator {
namespace {

int wakeFds[2] = {-1, -1};
volatile std::sig_atomic_t signalsSeen = 0;
std::atomic<pid_t> childToStop{0};

extern "C" void onShutdownSignal(int signalNumber)
{
    signalsSeen = signalsSeen + 1;
    if (signalsSeen > 1) {
        // The loop did not finish in time: do what must not be left undone.
        const pid_t child = childToStop.load();
        if (child > 0)
            ::kill(child, SIGTERM);
        ::_exit(128 + signalNumber);
    }
    const char byte = static_cast<char>(signalNumber);
    [[maybe_unused]] const auto written = ::write(wakeFds[1], &byte, 1);
}

} // namespace

ShutdownSignals::ShutdownSignals(eMainloop &loop) : m_loop(loop)
{
    if (wakeFds[0] < 0 && ::pipe2(wakeFds, O_CLOEXEC | O_NONBLOCK) != 0)
        eWarning("box-emulator: no pipe for signals; Ctrl-C ends the emulator at once");
    m_notifier = std::make_unique<eSocketNotifier>(&m_loop, wakeFds[0], eSocketNotifier::Read);
    CONNECT(m_notifier->activated, ShutdownSignals::signalled);

    struct sigaction action
    {
    };
    action.sa_handler = onShutdownSignal;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    // A closed page or client must not end the process.
    ::signal(SIGPIPE, SIG_IGN);
}

ShutdownSignals::~ShutdownSignals()
{
    ::signal(SIGINT, SIG_DFL);
    ::signal(SIGTERM, SIG_DFL);
}

void ShutdownSignals::setChildToStop(pid_t pid)
{
    childToStop = pid;
}

void ShutdownSignals::signalled(int)
{
    char buffer[16];
    while (::read(wakeFds[0], buffer, sizeof buffer) > 0) { }
    eDebug("box-emulator: stopping on a signal");
    m_loop.quit(0);
}

} // namespace emulator
