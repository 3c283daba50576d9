#ifndef TARNWAVE_STATION_SERVER_PLAYLIST_H
#define TARNWAVE_STATION_SERVER_PLAYLIST_H

#include "catalogue.h"

#include <string>
#include <string_view>

namespace station {

// The path of a station's stream: "/stream/<id>".
std::string streamPath(const Station &station);

// A station's tune-in playlist in PLS form, its one entry pointing at
// http://<authority>/stream/<id>, where `authority` is the "host:port" the
// client reached this server by.
std::string tuneInPlaylist(const Station &station, std::string_view authority);

} // namespace station

#endif
