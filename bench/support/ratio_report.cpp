#include "support/ratio_report.h"

#include <cstdio>
#include <map>
#include <optional>
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

int runAndReport(int argc, char **argv)
{
    // "--no-targets": print the ratios but do not judge them (smoke runs are
    // far too short for their figures to mean anything).
    bool judge = true;
    int kept = 0;
    for (int i = 0; i < argc; ++i) {
        if (i > 0 && std::string(argv[i]) == "--no-targets")
            judge = false;
        else
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
