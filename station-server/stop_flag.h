#ifndef TARNWAVE_STATION_SERVER_STOP_FLAG_H
#define TARNWAVE_STATION_SERVER_STOP_FLAG_H

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace station {

// Raised once when the server shuts down. Every loop that waits (a stream
// pacing itself, a stalled reply, an idle connection) waits on it, so that all
// of them end within one wake-up of the signal.
class StopFlag
{
public:
    void raise()
    {
        {
            std::lock_guard lock(mutex_);
            raised_ = true;
        }
        changed_.notify_all();
    }

    bool raised() const
    {
        std::lock_guard lock(mutex_);
        return raised_;
    }

    // Sleeps for `duration` or until raised; true when raised.
    template <class Rep, class Period>
    bool waitFor(const std::chrono::duration<Rep, Period> &duration) const
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, duration, [this] { return raised_; });
    }

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    bool raised_ = false;
};

} // namespace station

#endif
