#ifndef TARNWAVE_STATION_SERVER_TITLE_SCHEDULE_H
#define TARNWAVE_STATION_SERVER_TITLE_SCHEDULE_H

#include "catalogue.h"

#include <chrono>
#include <string>
#include <vector>

namespace station {

// What each station is "playing": every station walks through a pool of
// titles (the catalogue's, or the one title --title names) from its own
// starting point, moving on every `interval` since the server started. The
// directory's "ct" and the stream's StreamTitle both ask here, so they always
// agree.
class TitleSchedule
{
public:
    using Clock = std::chrono::steady_clock;

    TitleSchedule(std::vector<std::string> pool, std::chrono::milliseconds interval, Clock::time_point start);

    // The title at `when`; the station's name when the pool is empty.
    std::string titleAt(const Station &station, Clock::time_point when) const;
    std::chrono::milliseconds interval() const { return interval_; }

private:
    std::vector<std::string> pool_;
    std::chrono::milliseconds interval_;
    Clock::time_point start_;
};

} // namespace station

#endif
