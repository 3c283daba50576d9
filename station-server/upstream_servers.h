#ifndef TARNWAVE_STATION_SERVER_UPSTREAM_SERVERS_H
#define TARNWAVE_STATION_SERVER_UPSTREAM_SERVERS_H

// The servers of an upstream directory that has several mirrors, and the
// order in which the gateway asks them. The community directory names its
// mirrors in the DNS SRV record _api._tcp.radio-browser.info; a list given on
// the command line takes their place. The list is shuffled once, so that
// gateways spread over the mirrors; a request goes to the mirror that last
// answered and, when that one fails, to each of the others in turn, and the
// first that answers is asked first from then on. Thread-safe.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace station {

// The SRV record the community directory publishes its mirrors in.
inline constexpr std::string_view radioBrowserSrvName = "_api._tcp.radio-browser.info";

// "https://<target>" for each target of a DNS SRV answer (the raw message
// that res_query returns), in answer order, without duplicates. Empty for an
// answer that is broken or has no SRV records.
std::vector<std::string> serversFromSrvAnswer(const unsigned char *answer, std::size_t length);

// Asks the system's resolver for `name`'s SRV record; blocks. Empty with the
// reason in `error` when there is none.
std::vector<std::string> lookUpSrvServers(std::string_view name, std::string &error);

class ServerRotation
{
public:
    // `servers` are base addresses without a trailing "/" ("https://host"),
    // shuffled here with `random`.
    ServerRotation(std::vector<std::string> servers, std::mt19937 &random);

    // What one attempt on one server gave: ok, or one line saying why not.
    struct Attempt
    {
        bool ok = false;
        std::string error;
    };

    // Tries `attempt` with each server's base address, the last good one
    // first, until one succeeds. Returns the last attempt, whose `error`
    // names every server that failed when none succeeded.
    Attempt tryEach(const std::function<Attempt(const std::string &base)> &attempt);

    std::vector<std::string> servers() const { return servers_; }

private:
    const std::vector<std::string> servers_;
    std::mutex mutex_;
    std::size_t preferred_ = 0;
};

} // namespace station

#endif
