#ifndef TARNWAVE_STATION_SERVER_LOOP_CACHE_H
#define TARNWAVE_STATION_SERVER_LOOP_CACHE_H

#include "catalogue.h"
#include "mp3_loop.h"

#include <cstddef>
#include <cstdint>
#include <future>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace station {

// The stations' encoded loops, made when a station is first listened to and
// kept for the next listeners. At most `capacity` loops are kept (a 320 kbit/s
// loop is about 170 KB); the one unused the longest makes room. A loop being
// encoded is encoded once, however many listeners ask for it meanwhile, and a
// listener keeps its loop alive even after the cache has let go of it.
class LoopCache
{
public:
    explicit LoopCache(std::size_t capacity);

    // Throws EncodingError when the encoder refuses.
    std::shared_ptr<const Mp3Loop> loopFor(const Station &station);

    std::size_t size() const;

private:
    using SharedLoop = std::shared_future<std::shared_ptr<const Mp3Loop>>;
    struct Entry
    {
        SharedLoop loop;
        std::list<int>::iterator recency;
        std::uint64_t serial = 0;
    };

    std::size_t capacity_;
    mutable std::mutex mutex_;
    std::unordered_map<int, Entry> entries_;
    std::list<int> recency_; // most recently used first
    std::uint64_t nextSerial_ = 0;
};

} // namespace station

#endif
