#include "faults.h"

#include "parse_number.h"

#include <array>
#include <utility>

namespace station {
namespace {

constexpr std::array<std::pair<FaultKind, std::string_view>, 14> kindNames = {{
    {FaultKind::status503, "status503"},
    {FaultKind::status404, "status404"},
    {FaultKind::malformedXml, "malformed-xml"},
    {FaultKind::truncated, "truncated"},
    {FaultKind::stall, "stall"},
    {FaultKind::trickle, "trickle"},
    {FaultKind::close, "close"},
    {FaultKind::empty200, "empty200"},
    {FaultKind::drop, "drop"},
    {FaultKind::icyStatus, "icy-status"},
    {FaultKind::latin1Titles, "latin1-titles"},
    {FaultKind::redirect, "redirect"},
    {FaultKind::hostileAddress, "hostile-address"},
    {FaultKind::ampersandAddress, "ampersand-address"},
}};

// "3", "2.5", "0.125": the shortest decimal form of whole milliseconds.
std::string secondsText(std::chrono::milliseconds duration)
{
    std::string text = std::to_string(duration.count() / 1000);
    const long long fraction = duration.count() % 1000;
    if (fraction == 0)
        return text;
    std::string digits = std::to_string(1000 + fraction).substr(1);
    while (digits.ends_with('0'))
        digits.pop_back();
    return text + "." + digits;
}

} // namespace

std::optional<FaultKind> parseFaultKind(std::string_view name)
{
    for (const auto &[kind, kindName] : kindNames) {
        if (kindName == name)
            return kind;
    }
    return std::nullopt;
}

std::string_view faultKindName(FaultKind kind)
{
    for (const auto &[known, kindName] : kindNames) {
        if (known == kind)
            return kindName;
    }
    return "unknown";
}

std::string faultKindNames()
{
    std::string names;
    for (const auto &[kind, kindName] : kindNames) {
        if (!names.empty())
            names += ", ";
        names += kindName;
    }
    return names;
}

std::optional<std::chrono::milliseconds> parseDropSeconds(std::string_view text)
{
    return parseSeconds(text, 0.0, longestDropSeconds);
}

std::optional<Fault> parseFault(std::string_view text)
{
    const std::size_t colon = text.find(':');
    const auto kind = parseFaultKind(text.substr(0, colon));
    if (!kind)
        return std::nullopt;
    Fault fault{*kind};
    if (colon == std::string_view::npos)
        return fault;
    const auto dropAfter = parseDropSeconds(text.substr(colon + 1));
    if (*kind != FaultKind::drop || !dropAfter)
        return std::nullopt;
    fault.dropAfter = *dropAfter;
    return fault;
}

std::string describeFault(const Fault &fault)
{
    std::string text(faultKindName(fault.kind));
    if (fault.kind == FaultKind::drop)
        text += ":" + secondsText(fault.dropAfter);
    return text;
}

bool FaultRule::matches(std::string_view requestPath) const
{
    if (path.ends_with('*'))
        return requestPath.starts_with(std::string_view(path).substr(0, path.size() - 1));
    return requestPath == path;
}

std::optional<FaultRule> parseFaultRule(std::string_view text)
{
    const std::size_t equals = text.rfind('=');
    if (equals == std::string_view::npos || equals == 0 || !text.starts_with('/'))
        return std::nullopt;
    const auto fault = parseFault(text.substr(equals + 1));
    if (!fault)
        return std::nullopt;
    return FaultRule{std::string(text.substr(0, equals)), *fault, std::nullopt};
}

void FaultTable::add(FaultRule rule)
{
    std::lock_guard lock(mutex_);
    rules_.push_back(std::move(rule));
}

void FaultTable::clear()
{
    std::lock_guard lock(mutex_);
    rules_.clear();
}

std::optional<Fault> FaultTable::take(std::string_view path)
{
    std::lock_guard lock(mutex_);
    for (auto rule = rules_.rbegin(); rule != rules_.rend(); ++rule) {
        if (!rule->matches(path))
            continue;
        const Fault fault = rule->fault;
        if (rule->remaining && --*rule->remaining <= 0)
            rules_.erase(std::next(rule).base());
        return fault;
    }
    return std::nullopt;
}

std::string FaultTable::describe() const
{
    std::lock_guard lock(mutex_);
    std::string lines;
    for (const FaultRule &rule : rules_) {
        lines += rule.path;
        lines += '=';
        lines += describeFault(rule.fault);
        if (rule.remaining)
            lines += " (" + std::to_string(*rule.remaining) + " more)";
        lines += '\n';
    }
    return lines;
}

} // namespace station
