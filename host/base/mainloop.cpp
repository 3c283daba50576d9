// eMainloop and eApplication: one poll() round at a time, dispatching ready
// fds, due timers and posted work, with nested modal levels on top.
//
// Any callback may stop, restart or delete any timer or watch, or run a nested
// level. A round therefore works from a snapshot of registrations, each with
// its own serial, and looks a registration up again before each call: one that
// was removed (or removed and made anew) since the snapshot is not called and
// its object is never touched.

#include "base/ebase.h"

#include "base/elog.h"
#include "base/messages.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <algorithm>
#include <mutex>
#include <climits>
#include <cstring>
#include <system_error>
#include <utility>

eApplication *eApp = nullptr;

namespace boxhost {

MonotonicTime monotonicNow()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

} // namespace boxhost

using boxhost::MonotonicTime;
using boxhost::monotonicNow;

namespace {

// poll() that resumes after a signal with the time that is left.
int pollRetryingInterrupts(std::vector<pollfd> &fds, int timeoutMs)
{
    const MonotonicTime deadline = monotonicNow() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        const int ready = poll(fds.data(), static_cast<nfds_t>(fds.size()), timeoutMs);
        if (ready >= 0 || errno != EINTR)
            return ready;
        if (timeoutMs > 0) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - monotonicNow());
            timeoutMs = left.count() > 0 ? static_cast<int>(left.count()) : 0;
        }
    }
}

} // namespace

namespace {

std::uint64_t nextLoopInstanceId()
{
    // 64 bits, so that an id is never handed out twice; under a lock, since
    // the box's 32-bit PowerPC has no 64-bit atomic instructions.
    static std::mutex lock;
    static std::uint64_t next = 1;
    std::lock_guard guard(lock);
    return next++;
}

} // namespace

eMainloop::eMainloop() : m_instanceId(nextLoopInstanceId()), m_wakeupFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (m_wakeupFd < 0)
        throw std::system_error(errno, std::generic_category(), "eMainloop: eventfd");
}

eMainloop::~eMainloop()
{
    // Timers and watches that outlive the loop stay inactive instead of
    // reaching back into it.
    for (eTimer *timer : std::exchange(m_attachedTimers, {}))
        timer->detachFromLoop();
    for (eSocketNotifier *notifier : std::exchange(m_attachedNotifiers, {}))
        notifier->detachFromLoop();
    close(m_wakeupFd);
}

int eMainloop::exec()
{
    if (m_levels.empty())
        m_quitting = false;
    return runLevel(false);
}

int eMainloop::enter_loop()
{
    return runLevel(true);
}

void eMainloop::exit_loop(int result)
{
    if (m_levels.empty() || !m_levels.back().modal) {
        eWarning("eMainloop::exit_loop(%d) without a running enter_loop()", result);
        return;
    }
    m_levels.back().leave = true;
    m_levels.back().result = result;
}

void eMainloop::quit(int result)
{
    if (m_levels.empty())
        return;
    m_quitting = true;
    m_quitResult = result;
}

int eMainloop::runLevel(bool modal)
{
    m_levels.push_back(Level{modal});
    const std::size_t index = m_levels.size() - 1;

    // Pops the level however it is left, a callback's exception included.
    struct LevelGuard
    {
        eMainloop &loop;
        ~LevelGuard()
        {
            loop.m_levels.pop_back();
            if (loop.m_levels.empty())
                loop.m_quitting = false;
        }
    } guard{*this};

    while (!m_levels[index].leave && !m_quitting)
        processOneEvent(-1);
    return m_levels[index].leave ? m_levels[index].result : m_quitResult;
}

int eMainloop::processOneEvent(int maxWaitMs)
{
    const std::uint64_t round = ++m_round;

    // The wake-up fd first, then every running watch in registration order;
    // serials[i] names the registration behind polled[i].
    std::vector<pollfd> polled;
    std::vector<std::uint64_t> serials;
    polled.reserve(m_watches.size() + 1);
    serials.reserve(m_watches.size() + 1);
    polled.push_back(pollfd{m_wakeupFd, POLLIN, 0});
    serials.push_back(0);
    for (auto &[serial, watch] : m_watches) {
        polled.push_back(pollfd{watch.notifier->getFD(), static_cast<short>(watch.notifier->getRequested()), 0});
        serials.push_back(serial);
        watch.polledInRound = round;
    }

    const int ready = pollRetryingInterrupts(polled, pollTimeout(maxWaitMs));
    if (ready < 0)
        eError("eMainloop: poll: %s", std::strerror(errno));

    int dispatched = 0;
    if (ready > 0) {
        if (polled[0].revents != 0)
            drainWakeup();
        dispatched += dispatchWatches(polled, serials, round);
    }
    dispatched += dispatchTimers();
    dispatched += dispatchPosted();
    return dispatched;
}

int eMainloop::pollTimeout(int maxWaitMs) const
{
    if (hasPostedWork())
        return 0;
    int timeout = maxWaitMs < 0 ? -1 : maxWaitMs;
    if (!m_timers.empty()) {
        // Rounded up: waking before the timer is due would only spin.
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(m_timers.begin()->due - monotonicNow());
        const long long waitMs = wait.count() < 0 ? 0 : std::min<long long>(wait.count(), INT_MAX);
        if (timeout < 0 || waitMs < timeout)
            timeout = static_cast<int>(waitMs);
    }
    return timeout;
}

int eMainloop::dispatchWatches(const std::vector<pollfd> &polled, const std::vector<std::uint64_t> &serials,
                               std::uint64_t round)
{
    int dispatched = 0;
    for (std::size_t i = 1; i < polled.size(); ++i) {
        if (polled[i].revents == 0)
            continue;
        // Gone since the poll, or polled again by a nested level in the
        // meantime (then these events are stale): not called.
        const auto found = m_watches.find(serials[i]);
        if (found == m_watches.end() || found->second.polledInRound != round)
            continue;
        eSocketNotifier *notifier = found->second.notifier;
        if ((polled[i].revents & POLLNVAL) != 0) {
            eWarning("eSocketNotifier: fd %d is not open; watch stopped", notifier->getFD());
            notifier->stop();
            continue;
        }
        const int events = polled[i].revents & (notifier->getRequested() | POLLERR | POLLHUP);
        if (events == 0)
            continue;
        notifier->activated(events);
        ++dispatched;
    }
    return dispatched;
}

int eMainloop::dispatchTimers()
{
    const MonotonicTime now = monotonicNow();
    std::vector<TimerEntry> due;
    for (auto it = m_timers.begin(); it != m_timers.end() && it->due <= now; ++it)
        due.push_back(*it);

    int dispatched = 0;
    for (const TimerEntry &entry : due) {
        // Stopped, restarted or deleted by an earlier callback: not called.
        const auto found = m_timers.find(entry);
        if (found == m_timers.end())
            continue;
        m_timers.erase(found);
        entry.timer->fire();
        ++dispatched;
    }
    return dispatched;
}

int eMainloop::dispatchPosted()
{
    // Only what was posted before this point; work posted by this work waits
    // for the next round. Items are taken one at a time so that a nested level
    // started by one of them goes on with the next in order.
    std::size_t count;
    {
        std::lock_guard lock(m_postedMutex);
        count = m_posted.size();
    }
    int dispatched = 0;
    for (; count > 0; --count) {
        std::function<void()> work;
        {
            std::lock_guard lock(m_postedMutex);
            if (m_posted.empty())
                break;
            work = std::move(m_posted.front());
            m_posted.pop_front();
        }
        work();
        ++dispatched;
    }
    return dispatched;
}

void eMainloop::post(std::function<void()> work)
{
    bool wasEmpty;
    {
        std::lock_guard lock(m_postedMutex);
        wasEmpty = m_posted.empty();
        m_posted.push_back(std::move(work));
    }
    // While work is pending a round does not wait, so only the first needs to wake it.
    if (wasEmpty)
        wake();
}

bool eMainloop::isIdle() const
{
    if (hasPostedWork())
        return false;
    return m_timers.empty() || m_timers.begin()->due > monotonicNow();
}

bool eMainloop::hasPostedWork() const
{
    std::lock_guard lock(m_postedMutex);
    return !m_posted.empty();
}

void eMainloop::wake()
{
    const std::uint64_t one = 1;
    // EAGAIN means the counter is already set: the loop wakes anyway.
    while (write(m_wakeupFd, &one, sizeof one) < 0 && errno == EINTR) { }
}

void eMainloop::drainWakeup()
{
    std::uint64_t count;
    while (read(m_wakeupFd, &count, sizeof count) < 0 && errno == EINTR) { }
}

eMainloop::TimerEntry eMainloop::addTimer(eTimer *timer, MonotonicTime due)
{
    const TimerEntry entry{due, m_nextSerial++, timer};
    m_timers.insert(entry);
    return entry;
}

void eMainloop::removeTimer(const TimerEntry &entry)
{
    m_timers.erase(entry);
}

std::uint64_t eMainloop::addWatch(eSocketNotifier *notifier)
{
    const std::uint64_t serial = m_nextSerial++;
    m_watches.emplace(serial, WatchEntry{notifier, 0});
    return serial;
}

void eMainloop::removeWatch(std::uint64_t serial)
{
    m_watches.erase(serial);
}

eApplication::eApplication()
{
    if (eApp != nullptr)
        eWarning("eApplication: another application exists; eApp now names the new one");
    eApp = this;
    // The application speaks the user's language from its start.
    initMessages();
}

eApplication::~eApplication()
{
    if (eApp == this)
        eApp = nullptr;
}
