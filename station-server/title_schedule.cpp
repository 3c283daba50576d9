#include "title_schedule.h"

#include <algorithm>
#include <utility>

namespace station {

TitleSchedule::TitleSchedule(std::vector<std::string> pool, std::chrono::milliseconds interval, Clock::time_point start)
    : pool_(std::move(pool)), interval_(std::max(interval, std::chrono::milliseconds(1))), start_(start)
{
}

std::string TitleSchedule::titleAt(const Station &station, Clock::time_point when) const
{
    if (pool_.empty())
        return station.name;
    const auto elapsed = std::max(when - start_, Clock::duration::zero());
    const auto slot = static_cast<std::size_t>(elapsed / interval_);
    // A station's starting point in the pool, spread by a multiplicative hash
    // of its id so that neighbouring ids do not play neighbouring titles.
    const std::size_t first = static_cast<std::size_t>(static_cast<unsigned>(station.id) * 2654435761u);
    return pool_[(first + slot) % pool_.size()];
}

} // namespace station
