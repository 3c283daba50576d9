#ifndef TARNWAVE_STATION_SERVER_REQUEST_GATE_H
#define TARNWAVE_STATION_SERVER_REQUEST_GATE_H

#include "access_log.h"
#include "request_framing.h"
#include "stop_flag.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace station {

// A connection whose next request has arrived whole.
struct ArrivedRequest
{
    int socket = -1;
    std::string received; // the request, and whatever the client sent after it
    // What is still to be read of the request (a chunked body) must arrive by then.
    std::chrono::steady_clock::time_point deadline;
    std::size_t served = 0; // requests answered before on this connection
};

struct GateSettings
{
    // How long a connection may wait to begin its next request, and then how
    // long that request may take to arrive whole.
    std::chrono::milliseconds requestTimeout{5000};
    RequestLimits limits;
    // Connections waiting at once; one more closes the one nearest its deadline.
    std::size_t mostWaiting = 1024;
};

// Waits for the requests of every connection on one thread, so that clients
// that send nothing or send slowly hold no worker: a connection reaches a
// worker only once its request has arrived whole. The connections stay
// registered with one epoll instance, so that a wake-up costs what is ready,
// not what waits: hundreds of idle clients cost a normal request little. A connection that sends
// nothing before its deadline is closed; a request that is not whole by its
// deadline gets 408, one too large 431 or 413, and each of these is closed.
class RequestGate
{
public:
    // Takes a whole request, or returns false, leaving it as it was, when no
    // worker can take it (the client then gets 503).
    using Handover = std::function<bool(ArrivedRequest &)>;

    RequestGate(const StopFlag &stop, AccessLog &log, GateSettings settings, Handover handover);
    ~RequestGate();
    RequestGate(const RequestGate &) = delete;
    RequestGate &operator=(const RequestGate &) = delete;

    // A connection just accepted; the gate owns it from now on.
    void admit(int socket);
    // A connection whose reply has been sent and that stays open, with the
    // bytes already received past its last request.
    void readmit(int socket, std::string received, std::size_t served);
    // Closes every waiting connection; any admitted later is closed at once.
    void stop();

private:
    using Clock = std::chrono::steady_clock;
    enum class Phase {
        idle, // nothing of the next request yet
        receiving, // part of it has arrived
        lingering, // refused: what the client still sends is read and dropped until it closes
        done, // handed over or closed
    };
    struct Waiting
    {
        int socket = -1;
        std::string received;
        std::size_t served = 0;
        Phase phase = Phase::idle;
        Clock::time_point begun; // when the wait or the request began
        Clock::time_point deadline;
    };

    void enter(Waiting waiting);
    void run();
    // Watches the socket of a connection the gate holds, until it is
    // handed over or closed.
    void watch(int socket);
    void unwatch(int socket);
    void add(Waiting waiting, Clock::time_point now);
    void eraseDone();
    Clock::time_point nextDeadline(Clock::time_point now) const;
    void takeNewcomers(Clock::time_point now);
    void makeRoom();
    void receive(Waiting &waiting, Clock::time_point now);
    void progress(Waiting &waiting, Clock::time_point now);
    void expire(Waiting &waiting, Clock::time_point now);
    void refuse(Waiting &waiting, int status, Clock::time_point now);
    static void closeNow(Waiting &waiting);
    void closeEverything();
    bool stopping() const { return stopRequested_ || stop_.raised(); }

    const StopFlag &stop_;
    AccessLog &log_;
    const GateSettings settings_;
    const Handover handover_;
    const int wakeSignal_; // an eventfd: newcomers or stop
    const int poller_; // epoll: the wake signal and every waiting socket
    std::atomic<bool> stopRequested_{false};
    std::mutex newcomersMutex_;
    std::vector<Waiting> newcomers_;
    bool open_ = true; // false once the gate has stopped; under newcomersMutex_
    std::unordered_map<int, Waiting> waiting_; // by socket; the gate thread's own
    std::thread thread_;
};

} // namespace station

#endif
