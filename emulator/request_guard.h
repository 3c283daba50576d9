#ifndef TARNWAVE_EMULATOR_REQUEST_GUARD_H
#define TARNWAVE_EMULATOR_REQUEST_GUARD_H

// Which requests the emulator's page and control API answer. Another web page
// open in the user's browser must neither press the box's keys nor read its
// screen or log:
// - the Host header must name the listen address, or localhost, with the
//   port, so that a DNS name rebound to 127.0.0.1 is refused; on a wildcard
//   address (0.0.0.0, ::) any address written as digits, which no DNS
//   answer can stand behind, is accepted too;
// - a request that carries an Origin must come from the page itself, that is
//   from "http://" and the Host it was sent to.

#include <optional>
#include <string>

namespace emulator {

struct Refusal
{
    int status;
    std::string reason;
};

// Why a request with these headers is refused (403), or nothing when it may
// be served. `origin` is null when the request has no Origin header.
std::optional<Refusal> refuseForeignRequest(const std::string &listenHost, int listenPort,
                                            const std::string &hostHeader, const std::string *origin);

// True for 127.0.0.0/8, ::1 and "localhost": addresses only this machine reaches.
bool isLoopbackAddress(const std::string &host);

} // namespace emulator

#endif
