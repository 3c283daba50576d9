#ifndef TARNWAVE_BENCH_SUPPORT_RATIO_REPORT_H
#define TARNWAVE_BENCH_SUPPORT_RATIO_REPORT_H

// Every benchmark here is measured beside a reference that runs in the same
// process on the same data, so that the figure that counts is a ratio that
// does not depend on how fast the machine happens to be today.
//
// A pair is registered as "<case>" and "<case>/reference". After the run, the
// report prints one line per pair:
//
//   ratio <case>: 1.12x the reference (measured 13.1 us, reference 11.7 us; target at most 1.30x) ok
//
// and the program exits non-zero when a ratio misses its target, so that a
// regression is noticed (unless run with --no-targets). A case may also be timed against an absolute limit
// (a frame budget, say) instead of a reference.
//
// Cases that take long and vary from one run to the next (starting a stream,
// say) are timed outside Google Benchmark, alternately with their reference
// (A B A B ...), so that a slow moment hits both alike; the report gives the
// median of the rounds' ratios and their spread:
//
//   ratio <case>: median 1.08x the reference over 20 rounds (spread 0.96x to 1.31x; ...) ok
//
// "--rounds=N" on the command line overrides the number of rounds (the smoke
// runs use 2).

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace bench {

// The measured case must take at most `maxRatio` times its reference.
void targetAtMost(const std::string &caseName, double maxRatio);
// The measured case must be at least `minSpeedup` times faster than its reference.
void targetFasterThanReference(const std::string &caseName, double minSpeedup);
// The case must take at most `maxMicroseconds` per iteration.
void targetAbsolute(const std::string &caseName, double maxMicroseconds);

// One round of an interleaved case or its reference: does the work once and
// returns the microseconds that count (setting up and tidying up excluded).
using TimedRound = std::function<double()>;
// Registers a case timed in `rounds` alternate rounds of `measured` and
// `reference`, the reference first; a --benchmark_filter applies to its name.
// Targets are set with targetAtMost as for the other cases.
void registerInterleaved(const std::string &caseName, int rounds, TimedRound measured, TimedRound reference);

// Runs the registered benchmarks, prints the table and the ratios; returns the
// process exit status (1 when a target was missed). Use as main's body.
int runAndReport(int argc, char **argv);

} // namespace bench

#define TARNWAVE_BENCH_MAIN()                                                                                          \
    int main(int argc, char **argv)                                                                                    \
    {                                                                                                                  \
        return bench::runAndReport(argc, argv);                                                                        \
    }

#endif
