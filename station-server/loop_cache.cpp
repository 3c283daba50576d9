#include "loop_cache.h"

#include "stream_format.h"

#include <algorithm>

namespace station {

LoopCache::LoopCache(std::size_t capacity) : capacity_(std::max<std::size_t>(capacity, 1))
{
}

std::shared_ptr<const Mp3Loop> LoopCache::loopFor(const Station &station)
{
    std::promise<std::shared_ptr<const Mp3Loop>> promise;
    SharedLoop loop;
    bool encodeHere = false;
    std::uint64_t serial = 0;
    {
        std::lock_guard lock(mutex_);
        auto found = entries_.find(station.id);
        if (found != entries_.end()) {
            recency_.splice(recency_.begin(), recency_, found->second.recency);
            loop = found->second.loop;
        } else {
            loop = promise.get_future().share();
            encodeHere = true;
            serial = ++nextSerial_;
            recency_.push_front(station.id);
            entries_.emplace(station.id, Entry{loop, recency_.begin(), serial});
            while (entries_.size() > capacity_) {
                entries_.erase(recency_.back());
                recency_.pop_back();
            }
        }
    }
    if (encodeHere) {
        try {
            promise.set_value(
                std::make_shared<const Mp3Loop>(encodeStationLoop(station.id, streamFormatFor(station.bitrate))));
        } catch (...) {
            promise.set_exception(std::current_exception());
            // Forget the failure so that a later listener tries again.
            std::lock_guard lock(mutex_);
            auto found = entries_.find(station.id);
            if (found != entries_.end() && found->second.serial == serial) {
                recency_.erase(found->second.recency);
                entries_.erase(found);
            }
        }
    }
    return loop.get();
}

std::size_t LoopCache::size() const
{
    std::lock_guard lock(mutex_);
    return entries_.size();
}

} // namespace station
