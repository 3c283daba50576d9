#include "faults.h"

#include <array>
#include <utility>

namespace station {
namespace {

constexpr std::array<std::pair<FaultKind, std::string_view>, 8> kindNames = {{
    {FaultKind::status503, "status503"},
    {FaultKind::status404, "status404"},
    {FaultKind::malformedXml, "malformed-xml"},
    {FaultKind::truncated, "truncated"},
    {FaultKind::stall, "stall"},
    {FaultKind::trickle, "trickle"},
    {FaultKind::close, "close"},
    {FaultKind::empty200, "empty200"},
}};

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
    const auto kind = parseFaultKind(text.substr(equals + 1));
    if (!kind)
        return std::nullopt;
    return FaultRule{std::string(text.substr(0, equals)), *kind, std::nullopt};
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

std::optional<FaultKind> FaultTable::take(std::string_view path)
{
    std::lock_guard lock(mutex_);
    for (auto rule = rules_.rbegin(); rule != rules_.rend(); ++rule) {
        if (!rule->matches(path))
            continue;
        const FaultKind kind = rule->kind;
        if (rule->remaining && --*rule->remaining <= 0)
            rules_.erase(std::next(rule).base());
        return kind;
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
        lines += faultKindName(rule.kind);
        if (rule.remaining)
            lines += " (" + std::to_string(*rule.remaining) + " more)";
        lines += '\n';
    }
    return lines;
}

} // namespace station
