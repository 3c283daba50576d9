#ifndef TARNWAVE_STATION_SERVER_PLAYLIST_H
#define TARNWAVE_STATION_SERVER_PLAYLIST_H

#include "catalogue.h"

#include <string>
#include <string_view>

namespace station {

// The path of a station's stream: "/stream/<id>".
std::string streamPath(const Station &station);

// A PLS playlist of one entry: the stream `address` and its `title` (line
// breaks in the title become blanks).
std::string onePlaylist(std::string_view address, std::string_view title);

// A station's tune-in playlist in PLS form, its one entry pointing at
// http://<authority>/stream/<id>, where `authority` is the "host:port" the
// client reached this server by.
std::string tuneInPlaylist(const Station &station, std::string_view authority);

// The query the "hostile-address" fault adds to a playlist's stream address.
// A shell that is given the address carelessly runs a command that makes a
// file hostile-N in its working directory, whatever the mistake: unquoted,
// $(...) and the backquotes run; in single quotes, the first quote ends the
// quoting and ";" starts a command; in double quotes, the double quote ends
// the quoting and $(...) and the backquotes run. ${IFS} stands for the blank,
// which an address cannot hold.
inline constexpr std::string_view hostileAddressQuery =
    "q=';touch${IFS}hostile-1;'\"$(touch${IFS}hostile-2)\"`touch${IFS}hostile-3`";

// The query the "ampersand-address" fault adds: two parameters, as the
// addresses of many stations have them.
inline constexpr std::string_view ampersandAddressQuery = "a=1&b=2";

// `playlist` with `query` added to each stream address in it (the value of
// every FileN= line): after "?", or after "&" where the address has a query
// already. Other lines stay as they are.
std::string withAddressQuery(std::string_view playlist, std::string_view query);

} // namespace station

#endif
