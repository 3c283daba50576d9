// station-server's directory answers, timed from a client on an open
// connection as the box would ask: the genre list and the MPEG top list (the
// largest answer, about 40 KB of XML). Each is measured beside the same
// server's smallest answer (GET /control/ping, a fixed five-byte body) on the
// same kind of connection, which is what loopback HTTP and cpp-httplib cost
// without any directory work. The target is absolute: each answer within 5 ms.

#include "support/ratio_report.h"

#include "support/station_server_process.h"

#include <httplib.h>

#include <memory>
#include <string>

namespace {

StationServerProcess &server()
{
    // Started on first use, stopped when the program ends.
    static StationServerProcess process({"--log", "/dev/null"});
    return process;
}

void timeRequests(benchmark::State &state, const std::string &target)
{
    httplib::Client client(server().host(), server().port());
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

void ping(benchmark::State &state)
{
    timeRequests(state, "/control/ping");
}

const bool registered = [] {
    benchmark::RegisterBenchmark("directory/genre_list", genreList)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("directory/genre_list/reference", ping)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("directory/top_list", topList)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("directory/top_list/reference", ping)->Unit(benchmark::kMicrosecond);
    bench::targetAbsolute("directory/genre_list", 5000.0);
    bench::targetAbsolute("directory/top_list", 5000.0);
    return true;
}();

} // namespace

TARNWAVE_BENCH_MAIN()
