#ifndef TARNWAVE_STATION_SERVER_FAULTS_H
#define TARNWAVE_STATION_SERVER_FAULTS_H

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace station {

// The ways a reply can go wrong on purpose, for the tests of clients.
enum class FaultKind {
    status503, // 503 Service Unavailable
    status404, // 404 Not Found
    malformedXml, // 200 with XML that is not well-formed (the real reply, cut off and garbled)
    truncated, // the real reply's headers promise more body than is sent, then the connection closes
    stall, // the real reply's headers, then nothing until the client gives up
    trickle, // the real reply, one byte every 100 ms
    close, // the connection closes without a reply
    empty200, // 200 with an empty body
    drop, // a stream plays for a while, then the connection closes (a station that breaks)
    icyStatus, // "ICY 200 OK" and the icy-* headers, as old stream servers answer
    latin1Titles, // a stream's titles in ISO-8859-1 instead of UTF-8
    redirect, // 302 Found to the same address
    hostileAddress, // a playlist's stream address carries a query that a careless shell would run
    ampersandAddress, // a playlist's stream address carries a query with "&" in it
};

// The names used on the command line and the control endpoint:
// "status503", "status404", "malformed-xml", "truncated", "stall", "trickle",
// "close", "empty200", "drop", "icy-status", "latin1-titles", "redirect",
// "hostile-address", "ampersand-address".
std::optional<FaultKind> parseFaultKind(std::string_view name);
std::string_view faultKindName(FaultKind kind);
// Every name, separated by commas, for error messages.
std::string faultKindNames();

// How long a dropped stream plays unless told otherwise, and the most it may.
inline constexpr std::chrono::milliseconds defaultDropAfter{3000};
inline constexpr double longestDropSeconds = 3600.0;

// One fault with its setting.
struct Fault
{
    FaultKind kind = FaultKind::status503;
    // drop: how long the reply goes on before the connection closes.
    std::chrono::milliseconds dropAfter = defaultDropAfter;

    bool operator==(const Fault &) const = default;
};

// The seconds a drop waits, "0" to "3600" with decimals ("2.5"); nullopt for
// anything else (a sign, blanks, "inf", too many).
std::optional<std::chrono::milliseconds> parseDropSeconds(std::string_view text);

// "KIND", or "drop:SECONDS" (what --fault takes after "="); nullopt when
// malformed, and for seconds after any kind but drop.
std::optional<Fault> parseFault(std::string_view text);
// The same form: "stall", "drop:2.5".
std::string describeFault(const Fault &fault);

// A fault for the requests to a path: either the exact path
// ("/sbin/newxml.phtml") or every path that starts with a prefix ("/stream/*").
// `remaining` counts the requests it still spoils; nullopt: until removed.
struct FaultRule
{
    std::string path;
    Fault fault;
    std::optional<int> remaining;

    bool matches(std::string_view requestPath) const;
};

// Parses "PATH=KIND" or "PATH=drop:SECONDS" (the --fault option); nullopt
// when malformed.
std::optional<FaultRule> parseFaultRule(std::string_view text);

// The faults in force, shared by every worker. The rule added last wins when
// several match.
class FaultTable
{
public:
    void add(FaultRule rule);
    void clear();
    // The fault to apply to a request for `path`, counting it down.
    std::optional<Fault> take(std::string_view path);
    // One "PATH=KIND" line per rule ("PATH=drop:SECONDS" for a drop), with
    // " (N more)" when limited.
    std::string describe() const;

private:
    mutable std::mutex mutex_;
    std::vector<FaultRule> rules_;
};

} // namespace station

#endif
