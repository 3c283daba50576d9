// station-server's directory answers, timed from a client on an open
// connection as the box would ask: the genre list and the MPEG top list (the
// largest answer, about 40 KB of XML). Each is measured beside the same
// server's smallest answer (GET /control/ping, a fixed five-byte body) on the
// same kind of connection, which is what loopback HTTP and cpp-httplib cost
// without any directory work. The target is absolute: each answer within 5 ms.
// And the genre list beside 300 slow clients (150 idle connections, 150 that
// send a request head a byte every 100 ms), against the same request on a
// server that has none: slow clients cost a normal request little.

#include "support/ratio_report.h"

#include "slow_clients.h"
#include "support/station_server_process.h"

#include <httplib.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace {

StationServerProcess &server()
{
    // Started on first use, stopped when the program ends.
    static StationServerProcess process({"--log", "/dev/null"});
    return process;
}

using namespace std::chrono_literals;

constexpr std::size_t slowClientCount = 150;

// A second server, held by slow clients that do not reach their deadline
// during the run; made on first use.
struct CrowdedServer
{
    StationServerProcess process{{"--log", "/dev/null", "--request-timeout", "600"}};
    std::vector<std::unique_ptr<RawConnection>> idle = openIdleConnections(process, slowClientCount);
    TricklingClients trickling{process, slowClientCount, 100ms};
};

CrowdedServer &crowdedServer()
{
    static CrowdedServer crowded;
    return crowded;
}

void timeRequests(benchmark::State &state, const std::string &target, const StationServerProcess &on = server())
{
    httplib::Client client(on.host(), on.port());
    client.set_keep_alive(true);
    std::size_t bytes = 0;
    for (auto _ : state) {
        const auto result = client.Get(target);
        if (!result || result->status != 200) {
            state.SkipWithError(("no answer to " + target).c_str());
            break;
        }
        bytes += result->body.size();
        benchmark::DoNotOptimize(result->body.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}

void genreList(benchmark::State &state)
{
    timeRequests(state, "/sbin/newxml.phtml");
}

void topList(benchmark::State &state)
{
    timeRequests(state, "/sbin/newxml.phtml?genre=Top&mt=audio/mpeg");
}

void genreListBesideSlowClients(benchmark::State &state)
{
    timeRequests(state, "/sbin/newxml.phtml", crowdedServer().process);
}

void ping(benchmark::State &state)
{
    timeRequests(state, "/control/ping");
}

const bool registered = [] {
    bench::registerPair("directory/genre_list", genreList, ping);
    bench::registerPair("directory/top_list", topList, ping);
    bench::registerPair("directory/genre_list_beside_slow_clients", genreListBesideSlowClients, genreList);
    bench::targetAbsolute("directory/genre_list", 5000.0);
    bench::targetAbsolute("directory/top_list", 5000.0);
    // One thread takes the slow clients' bytes; the workers answer as before.
    bench::targetAtMost("directory/genre_list_beside_slow_clients", 1.5);
    return true;
}();

} // namespace

TARNWAVE_BENCH_MAIN()
