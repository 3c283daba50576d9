#include "upstream_servers.h"

#include <arpa/nameser.h>
#include <netinet/in.h>
#include <resolv.h>

#include <algorithm>

namespace station {

std::vector<std::string> serversFromSrvAnswer(const unsigned char *answer, std::size_t length)
{
    std::vector<std::string> servers;
    ns_msg message;
    if (answer == nullptr || ns_initparse(answer, static_cast<int>(length), &message) != 0)
        return servers;
    const int records = ns_msg_count(message, ns_s_an);
    for (int index = 0; index < records; ++index) {
        ns_rr record;
        if (ns_parserr(&message, ns_s_an, index, &record) != 0)
            return {};
        // Priority, weight and port (2 bytes each), then the target's name.
        if (ns_rr_type(record) != ns_t_srv || ns_rr_rdlen(record) < 7)
            continue;
        char target[NS_MAXDNAME];
        if (dn_expand(ns_msg_base(message), ns_msg_end(message), ns_rr_rdata(record) + 6, target, sizeof target) < 0)
            continue;
        std::string server = std::string("https://") + target;
        if (target[0] != '\0' && std::find(servers.begin(), servers.end(), server) == servers.end())
            servers.push_back(std::move(server));
    }
    return servers;
}

std::vector<std::string> lookUpSrvServers(std::string_view name, std::string &error)
{
    unsigned char answer[NS_PACKETSZ * 4];
    const std::string query(name);
    const int length = res_query(query.c_str(), ns_c_in, ns_t_srv, answer, sizeof answer);
    if (length < 0) {
        error = "no DNS SRV record " + query + " (no network, or no such name)";
        return {};
    }
    std::vector<std::string> servers = serversFromSrvAnswer(answer, static_cast<std::size_t>(length));
    if (servers.empty())
        error = "the DNS SRV record " + query + " names no server";
    return servers;
}

ServerRotation::ServerRotation(std::vector<std::string> servers, std::mt19937 &random)
    : servers_([&] {
          std::shuffle(servers.begin(), servers.end(), random);
          return servers;
      }())
{
}

ServerRotation::Attempt ServerRotation::tryEach(const std::function<Attempt(const std::string &base)> &attempt)
{
    std::size_t first = 0;
    {
        const std::lock_guard lock(mutex_);
        first = preferred_;
    }
    Attempt last{false, "no upstream server is known"};
    std::string failures;
    for (std::size_t step = 0; step < servers_.size(); ++step) {
        const std::size_t index = (first + step) % servers_.size();
        last = attempt(servers_[index]);
        if (last.ok) {
            const std::lock_guard lock(mutex_);
            preferred_ = index;
            return last;
        }
        failures += (failures.empty() ? "" : "; ") + last.error;
    }
    if (!servers_.empty())
        last.error = failures;
    return last;
}

} // namespace station
