#include "request_gate.h"

#include "reply.h"
#include "socket_address.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

namespace station {
namespace {

// The longest the gate sleeps before it looks at the stop flag again.
constexpr std::chrono::milliseconds stopCheckInterval(100);
// After a refusal, how long what the client still sends is read and
// dropped: closing with unread bytes would reset the connection, and the
// client could lose the refusal.
constexpr std::chrono::milliseconds lingerTime(2000);
constexpr std::size_t readChunk = 4096;
// Ready sockets taken from the poller at once; more wait for the next round.
constexpr int eventsAtOnce = 64;

void raiseWakeSignal(int eventFd)
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(eventFd, &one, sizeof(one));
}

void clearWakeSignal(int eventFd)
{
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = ::read(eventFd, &count, sizeof(count));
}

} // namespace

RequestGate::RequestGate(const StopFlag &stop, AccessLog &log, GateSettings settings, Handover handover)
    : stop_(stop), log_(log), settings_(settings), handover_(std::move(handover)),
      wakeSignal_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)), poller_(epoll_create1(EPOLL_CLOEXEC))
{
    watch(wakeSignal_);
    thread_ = std::thread([this] { run(); });
}

RequestGate::~RequestGate()
{
    stop();
    ::close(poller_);
    ::close(wakeSignal_);
}

void RequestGate::stop()
{
    stopRequested_ = true;
    raiseWakeSignal(wakeSignal_);
    if (thread_.joinable())
        thread_.join();
}

void RequestGate::admit(int socket)
{
    const Clock::time_point now = Clock::now();
    enter(Waiting{socket, {}, 0, Phase::idle, now, now + settings_.requestTimeout});
}

void RequestGate::readmit(int socket, std::string received, std::size_t served)
{
    const Clock::time_point now = Clock::now();
    const Phase phase = received.empty() ? Phase::idle : Phase::receiving;
    enter(Waiting{socket, std::move(received), served, phase, now, now + settings_.requestTimeout});
}

void RequestGate::enter(Waiting waiting)
{
    {
        std::lock_guard lock(newcomersMutex_);
        if (open_) {
            newcomers_.push_back(std::move(waiting));
            waiting.socket = -1;
        }
    }
    if (waiting.socket >= 0)
        ::close(waiting.socket);
    else
        raiseWakeSignal(wakeSignal_);
}

void RequestGate::run()
{
    std::vector<epoll_event> events(eventsAtOnce);
    while (!stopping()) {
        Clock::time_point now = Clock::now();
        takeNewcomers(now);
        const auto timeout = std::chrono::ceil<std::chrono::milliseconds>(nextDeadline(now) - now);
        const int ready =
            epoll_wait(poller_, events.data(), eventsAtOnce, static_cast<int>(std::max<long long>(timeout.count(), 0)));
        if (ready < 0 && errno != EINTR)
            break;
        now = Clock::now();
        for (int i = 0; i < ready; ++i) {
            const int socket = events[static_cast<std::size_t>(i)].data.fd;
            if (socket == wakeSignal_) {
                clearWakeSignal(wakeSignal_);
                continue;
            }
            const auto found = waiting_.find(socket);
            if (found != waiting_.end() && found->second.phase != Phase::done)
                receive(found->second, now);
        }
        for (auto &[socket, waiting] : waiting_) {
            if (waiting.phase != Phase::done && now >= waiting.deadline)
                expire(waiting, now);
        }
        eraseDone();
    }
    closeEverything();
}

RequestGate::Clock::time_point RequestGate::nextDeadline(Clock::time_point now) const
{
    Clock::time_point wakeAt = now + stopCheckInterval;
    for (const auto &[socket, waiting] : waiting_)
        wakeAt = std::min(wakeAt, waiting.deadline);
    return wakeAt;
}

void RequestGate::watch(int socket)
{
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = socket;
    if (epoll_ctl(poller_, EPOLL_CTL_ADD, socket, &event) != 0 && errno == EEXIST)
        epoll_ctl(poller_, EPOLL_CTL_MOD, socket, &event);
    // Any other failure leaves the connection to its deadline.
}

void RequestGate::unwatch(int socket)
{
    epoll_ctl(poller_, EPOLL_CTL_DEL, socket, nullptr);
}

void RequestGate::takeNewcomers(Clock::time_point now)
{
    std::vector<Waiting> arrived;
    {
        std::lock_guard lock(newcomersMutex_);
        arrived.swap(newcomers_);
    }
    for (Waiting &newcomer : arrived) {
        if (waiting_.size() >= settings_.mostWaiting)
            makeRoom();
        add(std::move(newcomer), now);
    }
    eraseDone();
}

void RequestGate::add(Waiting waiting, Clock::time_point now)
{
    const int socket = waiting.socket;
    // A number that a connection handed over this round left is free again.
    Waiting &added = waiting_.insert_or_assign(socket, std::move(waiting)).first->second;
    watch(socket);
    // A kept-alive connection may hold its next request already.
    if (added.phase == Phase::receiving)
        progress(added, now);
}

void RequestGate::eraseDone()
{
    std::erase_if(waiting_, [](const auto &entry) { return entry.second.phase == Phase::done; });
}

void RequestGate::makeRoom()
{
    eraseDone();
    const auto nearest = std::min_element(waiting_.begin(), waiting_.end(), [](const auto &a, const auto &b) {
        return a.second.deadline < b.second.deadline;
    });
    if (nearest == waiting_.end())
        return;
    closeNow(nearest->second);
    waiting_.erase(nearest);
}

void RequestGate::receive(Waiting &waiting, Clock::time_point now)
{
    char chunk[readChunk];
    const ssize_t got = recv(waiting.socket, chunk, sizeof(chunk), MSG_DONTWAIT);
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR))
        return;
    if (got <= 0) {
        closeNow(waiting); // the client has gone: nobody to answer
        return;
    }
    if (waiting.phase == Phase::lingering)
        return;
    if (waiting.phase == Phase::idle) {
        waiting.phase = Phase::receiving;
        waiting.begun = now;
        waiting.deadline = now + settings_.requestTimeout;
    }
    waiting.received.append(chunk, static_cast<std::size_t>(got));
    progress(waiting, now);
}

void RequestGate::progress(Waiting &waiting, Clock::time_point now)
{
    switch (frameRequest(waiting.received, settings_.limits)) {
    case RequestFraming::incomplete: return;
    case RequestFraming::headTooLarge: refuse(waiting, 431, now); return;
    case RequestFraming::bodyTooLarge: refuse(waiting, 413, now); return;
    case RequestFraming::lengthRequired: refuse(waiting, 411, now); return;
    case RequestFraming::malformed: refuse(waiting, 400, now); return;
    case RequestFraming::complete: break;
    }
    ArrivedRequest request{waiting.socket, std::move(waiting.received), waiting.deadline, waiting.served};
    // The worker owns the socket from the handover on; it may come back by readmit().
    unwatch(waiting.socket);
    if (handover_(request)) {
        waiting.phase = Phase::done;
        waiting.socket = -1;
        return;
    }
    watch(waiting.socket);
    waiting.received = std::move(request.received);
    refuse(waiting, 503, now);
}

void RequestGate::expire(Waiting &waiting, Clock::time_point now)
{
    if (waiting.phase == Phase::receiving)
        refuse(waiting, 408, now);
    else
        closeNow(waiting);
}

void RequestGate::refuse(Waiting &waiting, int status, Clock::time_point now)
{
    Reply reply;
    reply.status = status;
    reply.contentType = "text/plain";
    reply.body = std::string(reasonPhrase(status)) + "\n";
    const std::string text = replyHead(reply, reply.body.size()) + reply.body;
    const ssize_t sent = send(waiting.socket, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    log_.record(AccessRecord{peerAddressOf(waiting.socket).text(), std::string(requestLineOf(waiting.received)), status,
                             sent > 0 ? static_cast<std::size_t>(sent) : 0,
                             std::chrono::duration_cast<std::chrono::milliseconds>(now - waiting.begun), ""});
    shutdown(waiting.socket, SHUT_WR);
    waiting.phase = Phase::lingering;
    waiting.received.clear();
    waiting.deadline = now + lingerTime;
}

void RequestGate::closeNow(Waiting &waiting)
{
    ::close(waiting.socket);
    waiting.socket = -1;
    waiting.phase = Phase::done;
}

void RequestGate::closeEverything()
{
    std::vector<Waiting> arrived;
    {
        std::lock_guard lock(newcomersMutex_);
        open_ = false;
        arrived.swap(newcomers_);
    }
    for (Waiting &waiting : arrived)
        closeNow(waiting);
    for (auto &[socket, waiting] : waiting_) {
        if (waiting.phase != Phase::done)
            closeNow(waiting);
    }
    waiting_.clear();
}

} // namespace station
