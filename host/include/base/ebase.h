#ifndef TARNWAVE_HOST_BASE_EBASE_H
#define TARNWAVE_HOST_BASE_EBASE_H

// The host's main loop: timers (eTimer), file-descriptor watches
// (eSocketNotifier), work posted from other threads, and nested modal runs,
// all on one poll() on the GUI thread.
//
// Everything here except eMainloop::post() belongs to the thread that runs the
// loop. A loop must not be destroyed while one of its levels is running; timers
// and watches that outlive their loop are detached from it and stay inactive.

#include "base/signals.h"

#include <poll.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <unordered_set>
#include <vector>

class eTimer;
class eSocketNotifier;

namespace boxhost {
// Nanoseconds on CLOCK_MONOTONIC; what timers are planned in.
using MonotonicTime = std::chrono::nanoseconds;
MonotonicTime monotonicNow();
} // namespace boxhost

class eMainloop
{
public:
    eMainloop();
    virtual ~eMainloop();
    eMainloop(const eMainloop &) = delete;
    eMainloop &operator=(const eMainloop &) = delete;

    // Runs the outermost level until quit(); returns the value given to quit().
    // A quit() from before exec() started is forgotten.
    int exec();

    // A nested modal run (a dialog's exec()): dispatches timers, watches and
    // posted work until the matching exit_loop(), whose value it returns. A
    // quit() leaves it too; it then returns the value given to quit().
    int enter_loop();

    // Leaves the innermost running enter_loop() level when the current round
    // has dispatched what it found ready. Calling it again before that only
    // replaces the result. Without a running enter_loop() level it does
    // nothing but log a warning.
    void exit_loop(int result = 0);

    // Leaves every level, exec() included (application shutdown), when the
    // current round has finished. With no level running it does nothing.
    void quit(int result = 0);

    // How many levels run now: exec() and every enter_loop() count one each.
    int loopLevel() const { return static_cast<int>(m_levels.size()); }

    // One round: waits at most maxWaitMs (-1: until something happens) for a
    // watched fd, the earliest timer or posted work, then dispatches the ready
    // fds, the due timers and the posted work, in that order. Returns the
    // number of callbacks dispatched.
    int processOneEvent(int maxWaitMs);

    // Runs `work` on the loop's thread, in posting order, and wakes the loop.
    // Safe to call from any thread, the loop's own included; the loop must
    // outlive every thread that may still post. Work still waiting when the
    // loop is destroyed is dropped without running.
    void post(std::function<void()> work);

    // True when no timer is due now and no posted work waits: processing a
    // round without waiting would dispatch no timer and no posted work. Watched
    // fds are not looked at: a socket watched for writing is nearly always
    // ready, so whoever needs more (an HTTP client) adds its own condition.
    // Loop thread only.
    bool isIdle() const;

    // A number no other loop of this process had or will have, so that work
    // planned on a loop can tell it from a later one at the same address.
    std::uint64_t instanceId() const { return m_instanceId; }

private:
    friend class eTimer;
    friend class eSocketNotifier;

    // A planned timer; ordered by due time, then by the order it was planned.
    struct TimerEntry
    {
        boxhost::MonotonicTime due;
        std::uint64_t serial;
        eTimer *timer;
        bool operator<(const TimerEntry &other) const
        {
            return due != other.due ? due < other.due : serial < other.serial;
        }
    };

    struct WatchEntry
    {
        eSocketNotifier *notifier;
        std::uint64_t polledInRound; // the last round whose poll() included it
    };

    // One running level of exec() or enter_loop().
    struct Level
    {
        bool modal;
        bool leave = false;
        int result = 0;
    };

    int runLevel(bool modal);

    // Timers and watches call these; each registration gets a new serial, so a
    // registration seen earlier in a round can be told from a later one.
    void attach(eTimer *timer) { m_attachedTimers.insert(timer); }
    void detach(eTimer *timer) { m_attachedTimers.erase(timer); }
    void attach(eSocketNotifier *notifier) { m_attachedNotifiers.insert(notifier); }
    void detach(eSocketNotifier *notifier) { m_attachedNotifiers.erase(notifier); }
    TimerEntry addTimer(eTimer *timer, boxhost::MonotonicTime due);
    void removeTimer(const TimerEntry &entry);
    std::uint64_t addWatch(eSocketNotifier *notifier);
    void removeWatch(std::uint64_t serial);

    int pollTimeout(int maxWaitMs) const;
    int dispatchWatches(const std::vector<pollfd> &polled, const std::vector<std::uint64_t> &serials,
                        std::uint64_t round);
    int dispatchTimers();
    int dispatchPosted();
    void wake();
    void drainWakeup();
    bool hasPostedWork() const;

    std::set<TimerEntry> m_timers;
    std::map<std::uint64_t, WatchEntry> m_watches; // by serial: registration order
    std::unordered_set<eTimer *> m_attachedTimers;
    std::unordered_set<eSocketNotifier *> m_attachedNotifiers;
    std::uint64_t m_nextSerial = 1;
    std::uint64_t m_round = 0;

    std::vector<Level> m_levels;
    bool m_quitting = false;
    int m_quitResult = 0;

    std::uint64_t m_instanceId;
    int m_wakeupFd = -1;
    mutable std::mutex m_postedMutex;
    std::deque<std::function<void()>> m_posted;
};

// The application's loop. Constructing one makes it eApp and sets up the
// message catalogue (initMessages); destroying it clears eApp.
class eApplication : public eMainloop
{
public:
    eApplication();
    ~eApplication() override;
};

extern eApplication *eApp;

// A one-shot or periodic timer on a loop. A periodic timer is planned from the
// time it was due, not from when it fired, so it does not drift; when the loop
// fell behind by whole intervals the missed ones are skipped, not fired in a
// burst. Destroying the timer stops it.
class eTimer : public SigC::Object
{
public:
    explicit eTimer(eMainloop *loop);
    ~eTimer() override;
    eTimer(const eTimer &) = delete;
    eTimer &operator=(const eTimer &) = delete;

    // Plans the first timeout msek milliseconds from now; restarts an active timer.
    void start(long msek, bool singleShot = false);
    void stop();
    bool isActive() const { return m_active; }

    // Sets the interval. An active timer keeps the time it was last planned
    // from and becomes due one new interval after it (at once if that passed).
    void changeInterval(long msek);

    SigC::Signal0<void> timeout;

private:
    friend class eMainloop;

    void plan(boxhost::MonotonicTime due);
    void unplan();
    void fire(); // called by the loop when due, after it dropped the entry
    void detachFromLoop();

    eMainloop *m_loop;
    long m_intervalMs = 0;
    bool m_singleShot = false;
    bool m_active = false;
    eMainloop::TimerEntry m_entry{};
};

// Watches one file descriptor for the requested poll() events and emits
// `activated` with the events that occurred. POLLERR and POLLHUP are always
// reported. A watch on a descriptor that is not open (POLLNVAL) is stopped and
// logged. Destroying the watch stops it; closing the fd is up to its owner.
class eSocketNotifier : public SigC::Object
{
public:
    static constexpr int Read = POLLIN;
    static constexpr int Write = POLLOUT;
    static constexpr int Priority = POLLPRI;
    static constexpr int Error = POLLERR;
    static constexpr int Hungup = POLLHUP;

    eSocketNotifier(eMainloop *loop, int fd, int requested, bool startnow = true);
    ~eSocketNotifier() override;
    eSocketNotifier(const eSocketNotifier &) = delete;
    eSocketNotifier &operator=(const eSocketNotifier &) = delete;

    void start();
    void stop();
    bool isRunning() const { return m_serial != 0; }

    int getFD() const { return m_fd; }
    int getRequested() const { return m_requested; }
    // Takes effect from the next poll round.
    void setRequested(int requested) { m_requested = requested; }

    SigC::Signal1<void, int> activated;

private:
    friend class eMainloop;

    void detachFromLoop();

    eMainloop *m_loop;
    int m_fd;
    int m_requested;
    std::uint64_t m_serial = 0; // of the running registration, 0 when stopped
};

#endif
