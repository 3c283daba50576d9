// eTimer: a registration in its loop's timer list while active.

#include "base/ebase.h"

#include "base/elog.h"

#include <algorithm>

using boxhost::MonotonicTime;
using boxhost::monotonicNow;

namespace {

MonotonicTime intervalOf(long msek)
{
    return std::chrono::milliseconds(std::max(msek, 0L));
}

} // namespace

eTimer::eTimer(eMainloop *loop) : m_loop(loop)
{
    if (m_loop != nullptr)
        m_loop->attach(this);
}

eTimer::~eTimer()
{
    stop();
    if (m_loop != nullptr)
        m_loop->detach(this);
}

void eTimer::start(long msek, bool singleShot)
{
    if (m_loop == nullptr) {
        eWarning("eTimer: started without a main loop");
        return;
    }
    unplan();
    m_intervalMs = msek;
    m_singleShot = singleShot;
    plan(monotonicNow() + intervalOf(msek));
}

void eTimer::stop()
{
    unplan();
}

void eTimer::changeInterval(long msek)
{
    if (!m_active) {
        m_intervalMs = msek;
        return;
    }
    const MonotonicTime plannedFrom = m_entry.due - intervalOf(m_intervalMs);
    unplan();
    m_intervalMs = msek;
    plan(plannedFrom + intervalOf(msek));
}

void eTimer::plan(MonotonicTime due)
{
    m_entry = m_loop->addTimer(this, due);
    m_active = true;
}

void eTimer::unplan()
{
    if (!m_active)
        return;
    m_active = false;
    if (m_loop != nullptr)
        m_loop->removeTimer(m_entry);
}

void eTimer::fire()
{
    if (m_singleShot) {
        m_active = false;
    } else {
        // The next time on the grid of this timer that is still ahead: no
        // drift, and ticks missed while the loop was busy are skipped.
        const MonotonicTime interval = intervalOf(m_intervalMs);
        const MonotonicTime now = monotonicNow();
        MonotonicTime next = m_entry.due + interval;
        if (next <= now)
            next = interval.count() == 0 ? now : next + ((now - next) / interval + 1) * interval;
        plan(next);
    }
    // The last thing done here: a slot may stop, restart or delete this timer.
    timeout();
}

void eTimer::detachFromLoop()
{
    m_active = false;
    m_loop = nullptr;
}
