#ifndef TARNWAVE_STATION_SERVER_FAULT_REPLY_H
#define TARNWAVE_STATION_SERVER_FAULT_REPLY_H

#include "connection.h"
#include "faults.h"
#include "reply.h"

namespace station {

// Answers a request with the fault `kind` instead of the `real` reply, on the
// socket itself: it takes the connection over, which closes afterwards. Waits
// (stall, trickle) end when the client closes or the server stops.
void sendFaultyReply(Connection &connection, FaultKind kind, const Reply &real);

// What "malformed-xml" sends in place of `xml`: its first two thirds, then an
// element that is never finished, with a bare ampersand. For a body that is no
// XML, a short broken station list.
std::string garbledXml(const Reply &real);

} // namespace station

#endif
