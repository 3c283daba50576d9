#ifndef TARNWAVE_STATION_SERVER_UPSTREAM_FETCH_H
#define TARNWAVE_STATION_SERVER_UPSTREAM_FETCH_H

// One GET of an upstream directory, for the gateway: HTTP or HTTPS through
// libcurl, redirects followed, a User-Agent that names Tarnwave, and limits
// that keep a box waiting no longer than it waits itself (connect 5 s, the
// whole request 15 s) and a hostile upstream from filling the memory (the
// body stops at `largestBody`). Blocks the calling thread, which is one of
// the server's workers, never the box's GUI. Safe to call from many threads
// at once; curlGlobalInit() must have run first.

#include <chrono>
#include <cstddef>
#include <string>

namespace station {

struct FetchLimits
{
    std::chrono::milliseconds connect{5000};
    std::chrono::milliseconds whole{15000};
    std::size_t largestBody = 32 * 1024 * 1024;
};

struct FetchResult
{
    // True for a whole 2xx reply; otherwise `error` says in one line what went
    // wrong ("HTTP 503 from https://...", "timed out after 15 s: ...").
    bool ok = false;
    long status = 0; // the HTTP status, 0 when no reply came
    std::string body;
    std::string error;
};

// The User-Agent of every upstream request: "Tarnwave/<version> (station-server gateway)".
std::string gatewayUserAgent();

// Once per process, before the first fetch (libcurl's global set-up).
void curlGlobalInit();

FetchResult fetchUrl(const std::string &url, const FetchLimits &limits = {});

} // namespace station

#endif
