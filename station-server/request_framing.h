#ifndef TARNWAVE_STATION_SERVER_REQUEST_FRAMING_H
#define TARNWAVE_STATION_SERVER_REQUEST_FRAMING_H

#include <cstddef>
#include <string_view>

namespace station {

struct RequestLimits
{
    // The request line and headers with their blank line. The box's longest
    // request (a search with a long text) is well under 1 KiB.
    std::size_t headBytes = 8 * 1024;
    // A body announced by Content-Length; the control requests have none.
    std::size_t bodyBytes = 64 * 1024;
};

enum class RequestFraming {
    incomplete, // more is to come
    complete, // the head, and the body it announces, are there
    headTooLarge,
    bodyTooLarge,
    lengthRequired, // a body without Content-Length: none for a POST, PUT, PATCH or PRI, or chunked
    malformed, // a line that the worker would read otherwise than the gate, or not at all
};

// How far `received`, the bytes that have arrived on a connection for its
// next request, make up that request. The gate and the worker that serves the
// request must agree where it ends, so anything that leaves the end in doubt
// is refused: a line ended by a bare line feed, a header line without a name,
// an unreadable Content-Length or two different ones, and a body without a
// Content-Length (a chunked one, or one that would be read until the
// connection closes). A verdict on the first bytes of a request stands
// whatever follows them.
RequestFraming frameRequest(std::string_view received, const RequestLimits &limits);

// The request line, as far as it has arrived, without its line break.
std::string_view requestLineOf(std::string_view received);

} // namespace station

#endif
