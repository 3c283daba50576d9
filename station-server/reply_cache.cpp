#include "reply_cache.h"

#include <algorithm>
#include <optional>

namespace station {

ReplyCache::ReplyCache(std::size_t capacity, std::function<Clock::time_point()> now)
    : capacity_(std::max<std::size_t>(capacity, 1)), now_(std::move(now))
{
}

ReplyCache::Served ReplyCache::get(const std::string &key, std::chrono::seconds freshFor,
                                   const std::function<Fetched()> &fetch)
{
    std::optional<std::string> kept;
    {
        const std::lock_guard lock(mutex_);
        if (const auto found = entries_.find(key); found != entries_.end()) {
            if (now_() - found->second.fetchedAt < freshFor)
                return Served{true, false, found->second.body, {}};
            kept = found->second.body;
        }
    }
    Fetched fetched = fetch(); // unlocked: it may take the upstream's whole time
    if (fetched.ok) {
        keep(key, fetched.body);
        return Served{true, false, std::move(fetched.body), {}};
    }
    if (kept)
        return Served{true, true, std::move(*kept), {}};
    return Served{false, false, {}, std::move(fetched.error)};
}

void ReplyCache::keep(const std::string &key, std::string body)
{
    const std::lock_guard lock(mutex_);
    entries_[key] = Entry{std::move(body), now_()};
    while (entries_.size() > capacity_) {
        const auto oldest = std::min_element(entries_.begin(), entries_.end(), [](const auto &a, const auto &b) {
            return a.second.fetchedAt < b.second.fetchedAt;
        });
        entries_.erase(oldest);
    }
}

} // namespace station
