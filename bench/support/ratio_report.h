#ifndef TARNWAVE_BENCH_SUPPORT_RATIO_REPORT_H
#define TARNWAVE_BENCH_SUPPORT_RATIO_REPORT_H

// Every benchmark here is measured beside a reference that runs in the same
// process on the same data, so that the figure that counts is a ratio that
// does not depend on how fast the machine happens to be today.
//
// A case and its reference are timed alternately (reference, case, reference,
// case, ...) in rounds, so that a slow moment of the machine hits both alike;
// each round gives one ratio, and the report gives the median of the rounds'
// ratios with their spread (the lowest and the highest), one line a case:
//
//   ratio <case>: median 1.08x the reference over 15 rounds (spread 0.96x to 1.31x; ...) ok
//
// A case is either a pair of Google Benchmark functions (registerPair: each
// round runs each for a short slice, --benchmark_min_time long) or a pair of
// functions that do the work once and say how long it took (registerInterleaved:
// for cases that take long, such as starting a stream). A case may also be
// held against an absolute limit (a frame budget, say): its median time must
// stay within it, and the ratio is still reported. Figures that are no time
// (heap, a CPU share) are reported with reportFigure.
//
// The program exits non-zero when a case misses its target, so that a
// regression is noticed (unless run with --no-targets). "--rounds=N" on the
// command line overrides every case's number of rounds (the smoke runs use 2).
// When the environment names a file in TARNWAVE_BENCH_RESULTS, every judged
// case also appends one tab-separated line to it: case, figure, spread,
// target, "pass" or "FAIL"; bench/run makes its summary table from them.

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace bench {

// The measured case must take at most `maxRatio` times its reference.
void targetAtMost(const std::string &caseName, double maxRatio);
// The measured case must be at least `minSpeedup` times faster than its reference.
void targetFasterThanReference(const std::string &caseName, double minSpeedup);
// The case's median must take at most `maxMicroseconds` per iteration.
void targetAbsolute(const std::string &caseName, double maxMicroseconds);

// One round of an interleaved case or its reference: does the work once and
// returns the microseconds that count (setting up and tidying up excluded).
using TimedRound = std::function<double()>;
// Registers a case timed in `rounds` alternate rounds of `reference` and
// `measured`; a --benchmark_filter applies to its name.
void registerInterleaved(const std::string &caseName, int rounds, TimedRound measured, TimedRound reference);

using BenchmarkFunction = void (*)(benchmark::State &);
// Registers "<case>" and "<case>/reference" with Google Benchmark, and the
// case as interleaved in `rounds` rounds of one slice each.
void registerPair(const std::string &caseName, BenchmarkFunction measured, BenchmarkFunction reference,
                  int rounds = 15);
// Runs the registered Google Benchmark `name` for one slice; its time per
// iteration in microseconds. Throws when it did not run or reported an error.
double timeRegistered(const std::string &name);

// A figure that is no time against a reference, held against an upper limit.
struct Figure
{
    std::string caseName;
    double value = 0.0; // the figure that is judged
    double lowest = 0.0; // its spread
    double highest = 0.0;
    std::string unit; // "KiB", "ms", "x one core", ...
    double limit = 0.0;
    bool strictlyBelow = false; // "< limit" rather than "<= limit"
    std::string note; // what the figure and its spread are, for the line
};
// Registers a measurement that runs after the timed cases and reports
// figures; a --benchmark_filter applies to `name`.
void registerMeasurement(const std::string &name, std::function<void()> measure);
// Prints the figure's line and records it; false when it misses its limit.
bool reportFigure(const Figure &figure);
// Records a case that could not be measured (it counts as missed).
void reportNotMeasured(const std::string &caseName, const std::string &why, const std::string &target);

// Whether targets are judged (not under --no-targets): cheap smoke runs may
// then do less work.
bool judging();

// Runs the registered cases, prints their lines; returns the process exit
// status (1 when a target was missed). Use as main's body.
int runAndReport(int argc, char **argv);

} // namespace bench

#define TARNWAVE_BENCH_MAIN()                                                                                          \
    int main(int argc, char **argv)                                                                                    \
    {                                                                                                                  \
        return bench::runAndReport(argc, argv);                                                                        \
    }

#endif
