#ifndef TARNWAVE_STATION_SERVER_FAULT_REPLY_H
#define TARNWAVE_STATION_SERVER_FAULT_REPLY_H

#include "connection.h"
#include "faults.h"
#include "reply.h"

#include <string_view>

namespace station {

// Answers a request with `fault` instead of the `real` reply, on the socket
// itself: it takes the connection over, which closes afterwards. Waits
// (stall, trickle, drop) end when the client closes or the server stops.
// `requestUrl` is the request's own absolute address, where "redirect" sends
// the client. A live stream's drop, icy-status and latin1-titles are played
// by serveLiveStream instead; here they apply to the finite reply (or the
// stream's first bytes): drop sends half the body and closes after its time,
// icy-status writes the head as old stream servers do, and latin1-titles
// leaves the reply as it is. hostile-address and ampersand-address add their
// query to the stream addresses of a playlist and leave any other reply as
// it is; a stream under them plays as usual.
void sendFaultyReply(Connection &connection, const Fault &fault, const Reply &real, std::string_view requestUrl);

// Whether a stream still plays under `kind` (changed as StreamManner says).
bool playsStream(FaultKind kind);

// What "malformed-xml" sends in place of `xml`: its first two thirds, then an
// element that is never finished, with a bare ampersand. For a body that is no
// XML, a short broken station list.
std::string garbledXml(const Reply &real);

} // namespace station

#endif
