#include "support/ratio_report.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <regex>
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

constexpr const char *referenceSuffix = "/reference";

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

double median(std::vector<double> values)
{
    if (values.empty())
        return 0.0;
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2.0;
}

// Keeps the console table and remembers each benchmark's time per iteration.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            if (run.error_occurred || run.run_type != Run::RT_Iteration)
                continue;
            microseconds_[run.benchmark_name()] = run.GetAdjustedRealTime()
                                                  * benchmark::GetTimeUnitMultiplier(benchmark::kMicrosecond)
                                                  / benchmark::GetTimeUnitMultiplier(run.time_unit);
        }
    }

    std::optional<double> microseconds(const std::string &name) const
    {
        const auto found = microseconds_.find(name);
        if (found == microseconds_.end())
            return std::nullopt;
        return found->second;
    }

    const std::map<std::string, double> &all() const { return microseconds_; }

private:
    std::map<std::string, double> microseconds_;
};

std::string verdict(bool met)
{
    return met ? "ok" : "MISSED";
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

namespace {

// Runs one interleaved case and prints its line; false when it misses its target.
bool runInterleaved(const InterleavedCase &timed, int rounds)
{
    std::vector<double> ratios;
    std::vector<double> measured;
    std::vector<double> reference;
    for (int round = 0; round < rounds; ++round) {
        reference.push_back(timed.reference());
        measured.push_back(timed.measured());
        if (reference.back() > 0.0)
            ratios.push_back(measured.back() / reference.back());
    }
    if (ratios.empty())
        return true;
    const double ratio = median(ratios);
    const auto [lowest, highest] = std::minmax_element(ratios.begin(), ratios.end());
    std::printf("ratio %s: median %.2fx the reference over %d rounds (spread %.2fx to %.2fx; median %.1f us, "
                "reference %.1f us",
                timed.name.c_str(), ratio, rounds, *lowest, *highest, median(measured), median(reference));
    const auto found = targets().find(timed.name);
    if (found == targets().end() || found->second.kind != TargetKind::atMost) {
        std::printf(")\n");
        return true;
    }
    const bool met = ratio <= found->second.value;
    std::printf("; target at most %.2fx) %s\n", found->second.value, verdict(met).c_str());
    return met;
}

} // namespace

int runAndReport(int argc, char **argv)
{
    // "--no-targets": print the ratios but do not judge them (smoke runs are
    // far too short for their figures to mean anything).
    bool judge = true;
    std::optional<int> rounds; // "--rounds=N": the interleaved cases' rounds
    std::optional<std::regex> filter;
    int kept = 0;
    for (int i = 0; i < argc; ++i) {
        const std::string argument = argv[i];
        if (i > 0 && argument == "--no-targets") {
            judge = false;
            continue;
        }
        if (i > 0 && argument.starts_with("--rounds=")) {
            rounds = std::max(1, std::atoi(argument.c_str() + 9));
            continue;
        }
        if (argument.starts_with("--benchmark_filter="))
            filter.emplace(argument.substr(19));
        argv[kept++] = argv[i];
    }
    argc = kept;

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();

    bool allMet = true;
    std::printf("\n");
    for (const InterleavedCase &timed : interleavedCases()) {
        if (filter && !std::regex_search(timed.name, *filter))
            continue;
        allMet = runInterleaved(timed, rounds.value_or(timed.rounds)) && allMet;
    }
    for (const auto &[name, measured] : reporter.all()) {
        if (name.ends_with(referenceSuffix))
            continue;
        const auto found = targets().find(name);
        const std::optional<double> reference = reporter.microseconds(name + referenceSuffix);
        if (found != targets().end() && found->second.kind == TargetKind::absolute) {
            const bool met = measured <= found->second.value;
            allMet = allMet && met;
            std::printf("time  %s: %.1f us (target at most %.1f us) %s", name.c_str(), measured, found->second.value,
                        verdict(met).c_str());
            if (reference && *reference > 0.0)
                std::printf("; %.2fx the reference (reference %.1f us)", measured / *reference, *reference);
            std::printf("\n");
            continue;
        }
        if (!reference || *reference <= 0.0)
            continue;
        const double ratio = measured / *reference;
        std::printf("ratio %s: %.2fx the reference (measured %.1f us, reference %.1f us", name.c_str(), ratio, measured,
                    *reference);
        if (found == targets().end()) {
            std::printf(")\n");
            continue;
        }
        bool met = true;
        if (found->second.kind == TargetKind::atMost) {
            met = ratio <= found->second.value;
            std::printf("; target at most %.2fx) %s\n", found->second.value, verdict(met).c_str());
        } else {
            met = ratio > 0.0 && 1.0 / ratio >= found->second.value;
            std::printf("; %.2fx faster, target at least %.2fx faster) %s\n", 1.0 / ratio, found->second.value,
                        verdict(met).c_str());
        }
        allMet = allMet && met;
    }
    if (!judge)
        return 0;
    if (!allMet)
        std::printf("some targets were missed\n");
    return allMet ? 0 : 1;
}

} // namespace bench
