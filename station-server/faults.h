#ifndef TARNWAVE_STATION_SERVER_FAULTS_H
#define TARNWAVE_STATION_SERVER_FAULTS_H

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
};

// The names used on the command line and the control endpoint:
// "status503", "status404", "malformed-xml", "truncated", "stall", "trickle",
// "close", "empty200".
std::optional<FaultKind> parseFaultKind(std::string_view name);
std::string_view faultKindName(FaultKind kind);
// Every name, one a line, for --help and error messages.
std::string faultKindNames();

// A fault for the requests to a path: either the exact path
// ("/sbin/newxml.phtml") or every path that starts with a prefix ("/stream/*").
// `remaining` counts the requests it still spoils; nullopt: until removed.
struct FaultRule
{
    std::string path;
    FaultKind kind = FaultKind::status503;
    std::optional<int> remaining;

    bool matches(std::string_view requestPath) const;
};

// Parses "PATH=KIND" (the --fault option); nullopt when malformed.
std::optional<FaultRule> parseFaultRule(std::string_view text);

// The faults in force, shared by every worker. The rule added last wins when
// several match.
class FaultTable
{
public:
    void add(FaultRule rule);
    void clear();
    // The fault to apply to a request for `path`, counting it down.
    std::optional<FaultKind> take(std::string_view path);
    // One "PATH=KIND" line per rule.
    std::string describe() const;

private:
    mutable std::mutex mutex_;
    std::vector<FaultRule> rules_;
};

} // namespace station

#endif
