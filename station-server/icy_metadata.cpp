#include "icy_metadata.h"

#include <algorithm>

namespace station {
namespace {

constexpr std::size_t blockUnit = 16;
constexpr std::size_t largestBlock = 255 * blockUnit;
constexpr std::string_view prefix = "StreamTitle='";
constexpr std::string_view suffix = "';";

} // namespace

std::string icyMetadataBlock(std::string_view title)
{
    std::string text(prefix);
    const std::size_t room = largestBlock - prefix.size() - suffix.size();
    for (const char c : title.substr(0, std::min(title.size(), room)))
        text += (c == '\n' || c == '\r') ? ' ' : c;
    text += suffix;
    const std::size_t units = (text.size() + blockUnit - 1) / blockUnit;
    text.resize(units * blockUnit, '\0');
    return static_cast<char>(units) + text;
}

} // namespace station
