#ifndef TARNWAVE_STATION_SERVER_REPLY_CACHE_H
#define TARNWAVE_STATION_SERVER_REPLY_CACHE_H

// The gateway's replies, kept so that the upstream directory is asked again
// only when a copy has grown old (the caller says how old: lists 10 minutes,
// the genre list an hour). When asking fails, the last good copy is served,
// however old; with none, the failure. At most `capacity` replies are kept
// (search texts come from clients): the one fetched longest ago goes first.
// Thread-safe; two clients asking at once for a missing reply may both fetch
// it, which costs a request and nothing else.

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace station {

class ReplyCache
{
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t defaultCapacity = 256;

    explicit ReplyCache(std::size_t capacity = defaultCapacity, std::function<Clock::time_point()> now = Clock::now);

    // What fetching a reply gave: the body, or one line saying why not.
    struct Fetched
    {
        bool ok = false;
        std::string body;
        std::string error;
    };
    // What is served: a body (fresh, or `stale` when the upstream failed and
    // an older copy stands in), or, when there is none, the error.
    struct Served
    {
        bool ok = false;
        bool stale = false;
        std::string body;
        std::string error;
    };

    Served get(const std::string &key, std::chrono::seconds freshFor, const std::function<Fetched()> &fetch);

private:
    struct Entry
    {
        std::string body;
        Clock::time_point fetchedAt;
    };
    void keep(const std::string &key, std::string body);

    const std::size_t capacity_;
    const std::function<Clock::time_point()> now_;
    std::mutex mutex_;
    std::map<std::string, Entry> entries_;
};

} // namespace station

#endif
