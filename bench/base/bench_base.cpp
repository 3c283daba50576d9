// The host base layer on its hot paths, each beside the plain data structure
// or algorithm it is built on:
//  - work posted to the loop (what every web request of the emulator does),
//    against a locked queue of the same callbacks;
//  - timers fired by the loop, against an ordered map of the same deadlines;
//  - the list order of 500 stations, against sorting their bitrate texts alone;
//  - one look at the loop that must not wait (processOneEvent(0)), against a
//    poll() with no wait on one descriptor;
//  - handing a command to the daemon (send2pDaemon, which returns once the
//    command's process is on its own), against starting and reaping one child
//    that does nothing.

#include "support/ratio_report.h"

#include "base/ebase.h"
#include "model/listentry.h"
#include "system/putils.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int postedItems = 1000;
constexpr int timerCount = 300;
constexpr int stationCount = 500;

void postedWork(benchmark::State &state)
{
    eMainloop loop;
    long long ran = 0;
    for (auto _ : state) {
        for (int i = 0; i < postedItems; ++i)
            loop.post([&ran] { ++ran; });
        while (loop.processOneEvent(0) > 0) { }
    }
    benchmark::DoNotOptimize(ran);
    state.SetItemsProcessed(state.iterations() * postedItems);
}

void postedWorkReference(benchmark::State &state)
{
    std::mutex mutex;
    std::deque<std::function<void()>> queue;
    long long ran = 0;
    for (auto _ : state) {
        for (int i = 0; i < postedItems; ++i) {
            std::lock_guard lock(mutex);
            queue.push_back([&ran] { ++ran; });
        }
        for (;;) {
            std::function<void()> work;
            {
                std::lock_guard lock(mutex);
                if (queue.empty())
                    break;
                work = std::move(queue.front());
                queue.pop_front();
            }
            work();
        }
    }
    benchmark::DoNotOptimize(ran);
    state.SetItemsProcessed(state.iterations() * postedItems);
}

void timersFired(benchmark::State &state)
{
    eMainloop loop;
    std::vector<std::unique_ptr<eTimer>> timers;
    long long fired = 0;
    for (int i = 0; i < timerCount; ++i) {
        timers.push_back(std::make_unique<eTimer>(&loop));
        timers.back()->timeout.connect([&fired] { ++fired; });
    }
    for (auto _ : state) {
        for (auto &timer : timers)
            timer->start(0, true);
        while (loop.processOneEvent(0) > 0) { }
    }
    benchmark::DoNotOptimize(fired);
    state.SetItemsProcessed(state.iterations() * timerCount);
}

void timersFiredReference(benchmark::State &state)
{
    std::multimap<std::chrono::steady_clock::time_point, std::function<void()>> deadlines;
    long long fired = 0;
    for (auto _ : state) {
        for (int i = 0; i < timerCount; ++i)
            deadlines.emplace(std::chrono::steady_clock::now(), [&fired] { ++fired; });
        while (!deadlines.empty() && deadlines.begin()->first <= std::chrono::steady_clock::now()) {
            auto work = std::move(deadlines.begin()->second);
            deadlines.erase(deadlines.begin());
            work();
        }
    }
    benchmark::DoNotOptimize(fired);
    state.SetItemsProcessed(state.iterations() * timerCount);
}

std::vector<std::string> stationBitrates()
{
    static const char *const common[] = {"24",   "32",  "48",  "56",  "64",  "96", "128",
                                         "128k", "160", "192", "256", "320", ""};
    std::mt19937 random(150);
    std::uniform_int_distribution<std::size_t> pick(0, std::size(common) - 1);
    std::vector<std::string> bitrates;
    for (int i = 0; i < stationCount; ++i)
        bitrates.emplace_back(common[pick(random)]);
    return bitrates;
}

void sortByBitrate(benchmark::State &state)
{
    std::vector<Listentry> stations;
    int index = 0;
    for (const std::string &bitrate : stationBitrates()) {
        stations.emplace_back(++index, "Station");
        stations.back().type = Listentry::ENTRY_STATION;
        stations.back().bitrate = bitrate;
    }
    // A list box sorts its rows, which point to their records.
    std::vector<const Listentry *> rows;
    for (const Listentry &station : stations)
        rows.push_back(&station);
    Listentry::setSort = Listentry::SORT_BITRATE;
    for (auto _ : state) {
        std::vector<const Listentry *> list = rows;
        std::stable_sort(list.begin(), list.end(),
                         [](const Listentry *a, const Listentry *b) { return listentryComesBefore(*a, *b); });
        benchmark::DoNotOptimize(list.data());
    }
    Listentry::setSort = Listentry::SORT_INDEX;
}

void sortByBitrateReference(benchmark::State &state)
{
    // Pointers to the same texts with their indexes: the least any
    // bitrate-then-index order of rows has to do.
    std::vector<std::pair<std::string, int>> stations;
    int index = 0;
    for (const std::string &bitrate : stationBitrates())
        stations.emplace_back(bitrate, ++index);
    std::vector<const std::pair<std::string, int> *> rows;
    for (const auto &station : stations)
        rows.push_back(&station);
    for (auto _ : state) {
        auto list = rows;
        std::stable_sort(list.begin(), list.end(), [](const auto *a, const auto *b) {
            return a->first != b->first ? a->first > b->first : a->second < b->second;
        });
        benchmark::DoNotOptimize(list.data());
    }
}

void lookWithoutWaiting(benchmark::State &state)
{
    eMainloop loop;
    eTimer later(&loop);
    later.start(60'000, true); // a timer that is not due: the look must not wait for it
    for (auto _ : state)
        benchmark::DoNotOptimize(loop.processOneEvent(0));
}

void lookWithoutWaitingReference(benchmark::State &state)
{
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0) {
        state.SkipWithError("no pipe");
        return;
    }
    pollfd watched{pipeEnds[0], POLLIN, 0};
    for (auto _ : state)
        benchmark::DoNotOptimize(poll(&watched, 1, 0));
    close(pipeEnds[0]);
    close(pipeEnds[1]);
}

void commandToDaemon(benchmark::State &state)
{
    for (auto _ : state) {
        if (!pUtils::send2pDaemon("exit 0")) {
            state.SkipWithError("send2pDaemon failed");
            return;
        }
    }
}

void commandToDaemonReference(benchmark::State &state)
{
    for (auto _ : state) {
        const pid_t child = fork();
        if (child == 0)
            _exit(0);
        int status = 0;
        waitpid(child, &status, 0);
    }
}

const bool registered = [] {
    bench::registerPair("loop/posted_work_1000", postedWork, postedWorkReference);
    bench::registerPair("loop/timers_300", timersFired, timersFiredReference);
    bench::registerPair("model/sort_500_by_bitrate", sortByBitrate, sortByBitrateReference);
    bench::registerPair("loop/look_without_waiting", lookWithoutWaiting, lookWithoutWaitingReference);
    bench::registerPair("system/send2pdaemon", commandToDaemon, commandToDaemonReference);
    // Our own bounds: the loop's bookkeeping (serials, re-checks, the wake-up
    // fd) may cost a little over the bare structures, the list order a little
    // over comparing the texts directly.
    bench::targetAtMost("loop/posted_work_1000", 1.5);
    bench::targetAtMost("loop/timers_300", 2.0);
    bench::targetAtMost("model/sort_500_by_bitrate", 1.6);
    // A look at an idle loop polls its descriptors once and checks its timers.
    bench::targetAtMost("loop/look_without_waiting", 4.0);
    // The daemon's command is started through a child that forks it: two
    // processes where the reference starts one, and the command's environment.
    bench::targetAtMost("system/send2pdaemon", 4.0);
    return true;
}();

} // namespace

TARNWAVE_BENCH_MAIN()
