#ifndef TARNWAVE_TESTS_E2E_TARNWAVE_SOAK_PLAN_H
#define TARNWAVE_TESTS_E2E_TARNWAVE_SOAK_PLAN_H

// What one soak run does, drawn in advance from its seed: the remote keys in
// order and the station server's faults between them. Nothing here depends
// on what the plug-in shows, so one seed always gives the same keys and
// faults, and a failing run can be replayed with its seed.

#include "support/random_input.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarnwave_soak {

// The run's size; the defaults make the short run of ./test, and
// TARNWAVE_SOAK_SEED, TARNWAVE_SOAK_KEYS and TARNWAVE_SOAK_MINUTES change it.
struct SoakSettings
{
    std::uint32_t seed = 20240611;
    int keys = 100;
    std::chrono::milliseconds duration{60'000};
};

// The environment variable `name`, nothing when it is unset or empty.
inline std::optional<std::string> fromEnvironment(const char *name)
{
    const char *text = std::getenv(name);
    if (text == nullptr || *text == '\0')
        return std::nullopt;
    return std::string(text);
}

// The variable `name`'s text read as a whole number from 0 to `most`, or as
// a number above 0; either throws, naming the variable, for anything else.
inline unsigned long long wholeNumber(const char *name, const std::string &text, unsigned long long most)
{
    char *end = nullptr;
    const unsigned long long value = std::strtoull(text.c_str(), &end, 10);
    if (text.find_first_not_of("0123456789") != std::string::npos || *end != '\0' || value > most)
        throw std::invalid_argument(std::string(name) + "=\"" + text + "\" is not a whole number up to "
                                    + std::to_string(most));
    return value;
}

inline double positiveNumber(const char *name, const std::string &text)
{
    char *end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (*end != '\0' || !(value > 0) || value > 10'000)
        throw std::invalid_argument(std::string(name) + "=\"" + text + "\" is not a number above 0");
    return value;
}

inline SoakSettings settingsFromEnvironment()
{
    SoakSettings settings;
    if (const auto seed = fromEnvironment("TARNWAVE_SOAK_SEED"))
        settings.seed = static_cast<std::uint32_t>(wholeNumber("TARNWAVE_SOAK_SEED", *seed, UINT32_MAX));
    if (const auto keys = fromEnvironment("TARNWAVE_SOAK_KEYS"))
        settings.keys = static_cast<int>(wholeNumber("TARNWAVE_SOAK_KEYS", *keys, 1'000'000));
    if (const auto minutes = fromEnvironment("TARNWAVE_SOAK_MINUTES"))
        settings.duration = std::chrono::milliseconds(
            static_cast<long long>(positiveNumber("TARNWAVE_SOAK_MINUTES", *minutes) * 60'000));
    if (settings.keys < 1)
        throw std::invalid_argument("TARNWAVE_SOAK_KEYS must be at least 1");
    return settings;
}

// A fault rule for the station server, or, with `clear`, the end of all.
struct FaultStep
{
    std::size_t beforeKey = 0; // applied just before this key (0-based)
    bool clear = false;
    std::string path;
    std::string kind;
    int times = 1;
    std::optional<std::chrono::milliseconds> dropAfter;

    std::string describe() const
    {
        if (clear)
            return "clear every fault";
        std::string text = path + "=" + kind;
        if (dropAfter)
            text += ":" + std::to_string(dropAfter->count()) + "ms";
        return text + " for " + std::to_string(times) + " request" + (times == 1 ? "" : "s");
    }
};

struct SoakPlan
{
    std::vector<std::string> keys;
    std::vector<FaultStep> faults;
};

namespace detail {

struct WeightedKey
{
    const char *name;
    std::size_t weight;
};

// Every key of the remote (host/gui/widgets/eaction.cpp). OK and the cursor keys
// weigh most, as they move through lists, the menu and its dialogs; exit
// weighs enough to leave each of them again (and now and then the plug-in).
inline constexpr WeightedKey remoteKeys[] = {
    {"ok", 14},       {"down", 12},       {"up", 8},    {"left", 4},   {"right", 4}, {"menu", 8},
    {"exit", 6},      {"red", 3},         {"green", 5}, {"yellow", 5}, {"blue", 3},  {"record", 1},
    {"channelup", 2}, {"channeldown", 2}, {"0", 1},     {"1", 1},      {"2", 1},     {"3", 1},
    {"4", 1},         {"5", 1},           {"6", 1},     {"7", 1},      {"8", 1},     {"9", 1},
};

inline std::string weightedKey(Random &random)
{
    std::size_t total = 0;
    for (const WeightedKey &key : remoteKeys)
        total += key.weight;
    std::size_t pick = random.between(0, total - 1);
    for (const WeightedKey &key : remoteKeys) {
        if (pick < key.weight)
            return key.name;
        pick -= key.weight;
    }
    return "ok";
}

// Where faults go: the directory's lists, the tune-in playlists and the
// streams.
inline const std::vector<std::string> faultPaths = {"/sbin/newxml.phtml", "/sbin/tunein-station.pls", "/stream/*"};

// Every kind the station server has (station-server/faults.h). The two that
// change a playlist's address act only on the playlists.
inline const std::vector<std::string> faultKinds = {
    "status503", "status404", "malformed-xml", "truncated", "stall",         "trickle",         "close",
    "empty200",  "drop",      "icy-status",    "redirect",  "latin1-titles", "hostile-address", "ampersand-address",
};

inline FaultStep drawFault(Random &random, std::size_t beforeKey)
{
    FaultStep step;
    step.beforeKey = beforeKey;
    if (random.chance(0.1)) {
        step.clear = true;
        return step;
    }
    step.kind = random.oneOf(faultKinds);
    step.path = step.kind.ends_with("-address") ? faultPaths[1] : random.oneOf(faultPaths);
    step.times = static_cast<int>(random.between(1, 3));
    if (step.kind == "drop")
        step.dropAfter = std::chrono::milliseconds(random.between(5, 60) * 100);
    return step;
}

} // namespace detail

// The keys and faults of a run with `keyCount` keys. Now and then a key is
// a visit to the settings menu: menu, the cursor a few rows down, and OK on
// that row, which acts on it or opens its dialog (the question about a
// favourite or a recording, the search window, the directory browser), and
// every other time one more OK, which takes a question's default. A
// fault comes before one key in fifteen, on average.
inline SoakPlan drawPlan(std::uint32_t seed, int keyCount)
{
    Random random(seed);
    SoakPlan plan;
    const auto count = static_cast<std::size_t>(keyCount);
    while (plan.keys.size() < count) {
        if (random.chance(0.06)) {
            plan.keys.emplace_back("menu");
            for (std::size_t rows = random.between(0, 8); rows > 0; --rows)
                plan.keys.emplace_back("down");
            plan.keys.emplace_back("ok");
            if (random.chance(0.5))
                plan.keys.emplace_back("ok"); // the dialog's default: yes to a question
        } else {
            plan.keys.push_back(detail::weightedKey(random));
        }
    }
    plan.keys.resize(count);
    for (std::size_t key = 0; key < count; ++key) {
        if (random.chance(1.0 / 15))
            plan.faults.push_back(detail::drawFault(random, key));
    }
    return plan;
}

} // namespace tarnwave_soak

#endif
