#ifndef TARNWAVE_STATION_SERVER_PARSE_NUMBER_H
#define TARNWAVE_STATION_SERVER_PARSE_NUMBER_H

#include <charconv>
#include <optional>
#include <string_view>

namespace station {

// The number that is the whole of `text` (no blanks, no sign for unsigned
// types), or nullopt.
template <class Number>
std::optional<Number> parseNumber(std::string_view text)
{
    Number value{};
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc() || stop != end)
        return std::nullopt;
    return value;
}

} // namespace station

#endif
