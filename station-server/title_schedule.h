#ifndef TARNWAVE_STATION_SERVER_TITLE_SCHEDULE_H
#define TARNWAVE_STATION_SERVER_TITLE_SCHEDULE_H

#include "catalogue.h"

#include <chrono>
#include <string>

namespace station {

// What each station is "playing": every station walks through the catalogue's
// pool of titles from its own starting point, moving on every `interval` since
// the server started. The directory's "ct" and the stream's StreamTitle both
// ask here, so they always agree.
class TitleSchedule
{
public:
    using Clock = std::chrono::steady_clock;

    TitleSchedule(const Catalogue &catalogue, std::chrono::milliseconds interval, Clock::time_point start);

    // The title at `when`; the station's name when the pool is empty.
    std::string titleAt(const Station &station, Clock::time_point when) const;
    std::chrono::milliseconds interval() const { return interval_; }

private:
    const Catalogue &catalogue_;
    std::chrono::milliseconds interval_;
    Clock::time_point start_;
};

} // namespace station

#endif
