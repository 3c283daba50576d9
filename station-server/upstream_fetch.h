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
#include <string_view>

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
    // wrong ("HTTP 503 from https://host/path", "no whole reply within 15 s
    // ...: https://host/path"), naming the address without its query.
    bool ok = false;
    long status = 0; // the HTTP status, 0 when no reply came
    std::string body;
    std::string error;
};

// `url` as a failure names it: without its query, which may hold a
// developer key or a client's search text of any length.
std::string shownUrl(std::string_view url);

// The User-Agent of every upstream request: "Tarnwave/<version> (station-server gateway)".
std::string gatewayUserAgent();

// Once per process, before the first fetch (libcurl's global set-up).
void curlGlobalInit();

FetchResult fetchUrl(const std::string &url, const FetchLimits &limits = {});

// The time that one reply of the gateway may spend on its upstream, shared by
// every request it makes there (several lists, several mirrors in turn). The
// box breaks a directory request off after 30 s without a byte, so a reply
// that needs more than one upstream request must still come well within
// that, be it only a 502 or a kept copy. Each fetch runs with `limits`, its
// whole time cut to what is left; once nothing is left, a fetch fails at
// once without asking.
class FetchBudget
{
public:
    using Clock = std::chrono::steady_clock;

    FetchBudget(const FetchLimits &limits, std::chrono::milliseconds total);

    FetchResult fetch(const std::string &url) const;

private:
    const FetchLimits limits_;
    const std::chrono::milliseconds total_;
    const Clock::time_point deadline_;
};

} // namespace station

#endif
