#include "support/ratio_report.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <optional>
#include <regex>
#include <stdexcept>
#include <vector>

namespace bench {
namespace {

enum class TargetKind { atMost, fasterBy, absolute };

struct Target
{
    TargetKind kind;
    double value;
};

std::map<std::string, Target> &targets()
{
    static std::map<std::string, Target> registered;
    return registered;
}

struct InterleavedCase
{
    std::string name;
    int rounds;
    TimedRound measured;
    TimedRound reference;
};

std::vector<InterleavedCase> &interleavedCases()
{
    static std::vector<InterleavedCase> registered;
    return registered;
}

std::vector<std::pair<std::string, std::function<void()>>> &measurements()
{
    static std::vector<std::pair<std::string, std::function<void()>>> registered;
    return registered;
}

bool judged = true;
bool anyMissed = false;
bool anyBroken = false; // a case could not be measured: fails smoke runs too

double median(std::vector<double> values)
{
    if (values.empty())
        return 0.0;
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2.0;
}

// `value` with `decimals` digits after the point.
std::string fixed(double value, int decimals)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

// Appends the case's line to the results file that bench/run reads, if any.
void record(const std::string &caseName, const std::string &figure, const std::string &spread,
            const std::string &target, bool met)
{
    anyMissed = anyMissed || !met;
    const char *path = std::getenv("TARNWAVE_BENCH_RESULTS");
    if (path == nullptr || *path == '\0' || !judged)
        return;
    if (std::FILE *file = std::fopen(path, "a")) {
        std::fprintf(file, "%s\t%s\t%s\t%s\t%s\n", caseName.c_str(), figure.c_str(), spread.c_str(), target.c_str(),
                     met ? "pass" : "FAIL");
        std::fclose(file);
    }
}

const char *verdict(bool met)
{
    return met ? "ok" : "MISSED";
}

// Takes each slice's time per iteration from Google Benchmark, printing nothing.
class SliceReporter : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context &) override { return true; }
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            if (run.error_occurred)
                error = run.error_message;
            else if (run.run_type == Run::RT_Iteration)
                microseconds = run.GetAdjustedRealTime() * benchmark::GetTimeUnitMultiplier(benchmark::kMicrosecond)
                               / benchmark::GetTimeUnitMultiplier(run.time_unit);
        }
    }

    std::optional<double> microseconds;
    std::string error;
};

std::string anchored(const std::string &name)
{
    static const std::regex special(R"([.^$|()\[\]{}*+?\\])");
    return "^" + std::regex_replace(name, special, R"(\$&)") + "$";
}

struct Rounds
{
    std::vector<double> ratios;
    std::vector<double> measured;
    std::vector<double> reference;
};

Rounds runRounds(const InterleavedCase &timed, int rounds)
{
    Rounds result;
    for (int round = 0; round < rounds; ++round) {
        const double reference = timed.reference();
        const double measured = timed.measured();
        result.reference.push_back(reference);
        result.measured.push_back(measured);
        if (reference > 0.0)
            result.ratios.push_back(measured / reference);
    }
    return result;
}

// Prints and records the case's line.
void reportRounds(const std::string &name, const Rounds &rounds)
{
    const double ratio = median(rounds.ratios);
    const auto [lowest, highest] = std::minmax_element(rounds.ratios.begin(), rounds.ratios.end());
    const double measured = median(rounds.measured);
    const double reference = median(rounds.reference);
    const auto found = targets().find(name);
    if (found != targets().end() && found->second.kind == TargetKind::absolute) {
        const auto [fastest, slowest] = std::minmax_element(rounds.measured.begin(), rounds.measured.end());
        const bool met = measured <= found->second.value;
        std::printf("time  %s: median %.1f us over %zu rounds (spread %.1f to %.1f us; %.2fx the reference, %.1f "
                    "us; target at most %.1f us) %s\n",
                    name.c_str(), measured, rounds.measured.size(), *fastest, *slowest, ratio, reference,
                    found->second.value, verdict(met));
        record(name, fixed(measured, 1) + " us", fixed(*fastest, 1) + " to " + fixed(*slowest, 1) + " us",
               "<= " + fixed(found->second.value, 0) + " us", met);
        return;
    }
    std::printf("ratio %s: median %.2fx the reference over %zu rounds (spread %.2fx to %.2fx; median %.1f us, "
                "reference %.1f us",
                name.c_str(), ratio, rounds.ratios.size(), *lowest, *highest, measured, reference);
    if (found == targets().end()) {
        std::printf(")\n");
        return;
    }
    if (found->second.kind == TargetKind::atMost) {
        const bool met = ratio <= found->second.value;
        std::printf("; target at most %.2fx) %s\n", found->second.value, verdict(met));
        record(name, fixed(ratio, 2) + "x", fixed(*lowest, 2) + "x to " + fixed(*highest, 2) + "x",
               "<= " + fixed(found->second.value, 2) + "x", met);
        return;
    }
    // Faster by: the reference's time over the case's.
    const double speedup = ratio > 0.0 ? 1.0 / ratio : 0.0;
    const bool met = speedup >= found->second.value;
    std::printf("; %.2fx faster, spread %.2fx to %.2fx faster; target at least %.2fx faster) %s\n", speedup,
                1.0 / *highest, 1.0 / *lowest, found->second.value, verdict(met));
    record(name, fixed(speedup, 2) + "x faster", fixed(1.0 / *highest, 2) + "x to " + fixed(1.0 / *lowest, 2) + "x",
           ">= " + fixed(found->second.value, 2) + "x faster", met);
}

std::string targetText(const std::string &caseName)
{
    const auto found = targets().find(caseName);
    if (found == targets().end())
        return "";
    switch (found->second.kind) {
    case TargetKind::atMost: return "<= " + fixed(found->second.value, 2) + "x";
    case TargetKind::fasterBy: return ">= " + fixed(found->second.value, 2) + "x faster";
    case TargetKind::absolute: return "<= " + fixed(found->second.value, 0) + " us";
    }
    return "";
}

} // namespace

void targetAtMost(const std::string &caseName, double maxRatio)
{
    targets()[caseName] = Target{TargetKind::atMost, maxRatio};
}

void targetFasterThanReference(const std::string &caseName, double minSpeedup)
{
    targets()[caseName] = Target{TargetKind::fasterBy, minSpeedup};
}

void targetAbsolute(const std::string &caseName, double maxMicroseconds)
{
    targets()[caseName] = Target{TargetKind::absolute, maxMicroseconds};
}

void registerInterleaved(const std::string &caseName, int rounds, TimedRound measured, TimedRound reference)
{
    interleavedCases().push_back(InterleavedCase{caseName, rounds, std::move(measured), std::move(reference)});
}

void registerPair(const std::string &caseName, BenchmarkFunction measured, BenchmarkFunction reference, int rounds)
{
    benchmark::RegisterBenchmark(caseName.c_str(), measured)->Unit(benchmark::kMicrosecond);
    const std::string referenceName = caseName + "/reference";
    benchmark::RegisterBenchmark(referenceName.c_str(), reference)->Unit(benchmark::kMicrosecond);
    registerInterleaved(
        caseName, rounds, [caseName] { return timeRegistered(caseName); },
        [referenceName] { return timeRegistered(referenceName); });
}

double timeRegistered(const std::string &name)
{
    SliceReporter reporter;
    const std::size_t ran = benchmark::RunSpecifiedBenchmarks(&reporter, anchored(name));
    if (!reporter.error.empty())
        throw std::runtime_error(name + ": " + reporter.error);
    if (ran == 0 || !reporter.microseconds)
        throw std::runtime_error(name + " did not run");
    return *reporter.microseconds;
}

void registerMeasurement(const std::string &name, std::function<void()> measure)
{
    measurements().emplace_back(name, std::move(measure));
}

bool reportFigure(const Figure &figure)
{
    const bool met = figure.strictlyBelow ? figure.value < figure.limit : figure.value <= figure.limit;
    const std::string unit = figure.unit.empty() ? "" : " " + figure.unit;
    const std::string comparison = figure.strictlyBelow ? "<" : "<=";
    std::printf("figure %s: %.2f%s (%s; spread %.2f to %.2f%s; target %s %.2f%s) %s\n", figure.caseName.c_str(),
                figure.value, unit.c_str(), figure.note.c_str(), figure.lowest, figure.highest, unit.c_str(),
                comparison.c_str(), figure.limit, unit.c_str(), verdict(met));
    record(figure.caseName, fixed(figure.value, 2) + unit,
           fixed(figure.lowest, 2) + " to " + fixed(figure.highest, 2) + unit,
           comparison + " " + fixed(figure.limit, 2) + unit, met);
    return met;
}

void reportNotMeasured(const std::string &caseName, const std::string &why, const std::string &target)
{
    std::printf("%s: not measured (%s)\n", caseName.c_str(), why.c_str());
    anyBroken = true;
    record(caseName, "not measured", why, target, false);
}

bool judging()
{
    return judged;
}

int runAndReport(int argc, char **argv)
{
    // "--no-targets": print the figures but do not judge them (smoke runs are
    // far too short for their figures to mean anything).
    std::optional<int> rounds; // "--rounds=N": every case's rounds
    std::optional<std::regex> filter;
    bool sliceGiven = false;
    std::vector<char *> kept;
    for (int i = 0; i < argc; ++i) {
        const std::string argument = argv[i];
        if (i > 0 && argument == "--no-targets") {
            judged = false;
            continue;
        }
        if (i > 0 && argument.starts_with("--rounds=")) {
            rounds = std::max(1, std::atoi(argument.c_str() + 9));
            continue;
        }
        if (argument.starts_with("--benchmark_filter=")) {
            filter.emplace(argument.substr(19));
            continue; // the cases are chosen here, Google Benchmark runs one slice at a time
        }
        sliceGiven = sliceGiven || argument.starts_with("--benchmark_min_time=");
        kept.push_back(argv[i]);
    }
    // A slice of a twentieth of a second: long enough for a steady figure,
    // short enough for many rounds.
    static char defaultSlice[] = "--benchmark_min_time=0.05";
    if (!sliceGiven)
        kept.push_back(defaultSlice);
    int keptCount = static_cast<int>(kept.size());
    benchmark::Initialize(&keptCount, kept.data());
    if (benchmark::ReportUnrecognizedArguments(keptCount, kept.data()))
        return 2;

    for (const InterleavedCase &timed : interleavedCases()) {
        if (filter && !std::regex_search(timed.name, *filter))
            continue;
        try {
            reportRounds(timed.name, runRounds(timed, rounds.value_or(timed.rounds)));
        } catch (const std::exception &error) {
            reportNotMeasured(timed.name, error.what(), targetText(timed.name));
        }
        std::fflush(stdout);
    }
    for (const auto &[name, measure] : measurements()) {
        if (filter && !std::regex_search(name, *filter))
            continue;
        try {
            measure();
        } catch (const std::exception &error) {
            reportNotMeasured(name, error.what(), "");
        }
        std::fflush(stdout);
    }
    benchmark::Shutdown();
    if (anyBroken)
        return 1;
    if (!judged)
        return 0;
    if (anyMissed)
        std::printf("some targets were missed\n");
    return anyMissed ? 1 : 0;
}

} // namespace bench
