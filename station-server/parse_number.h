#ifndef TARNWAVE_STATION_SERVER_PARSE_NUMBER_H
#define TARNWAVE_STATION_SERVER_PARSE_NUMBER_H

#include <charconv>
#include <chrono>
#include <cmath>
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

// A number of seconds from `least` to `most`, decimals allowed ("2.5"), to
// the millisecond; nullopt for anything else ("inf", "nan", out of range).
inline std::optional<std::chrono::milliseconds> parseSeconds(std::string_view text, double least, double most)
{
    const auto value = parseNumber<double>(text);
    if (!value || !std::isfinite(*value) || *value < least || *value > most)
        return std::nullopt;
    return std::chrono::milliseconds(std::llround(*value * 1000.0));
}

} // namespace station

#endif
