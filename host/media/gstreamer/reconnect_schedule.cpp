#include "media/gstreamer/reconnect_schedule.h"

#include "base/elog.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace boxmedia {
namespace {

using std::chrono::seconds;

// The waits of the first attempts; every later one waits as long as the last of these.
constexpr std::array<seconds, 5> firstDelays = {seconds(1), seconds(2), seconds(4), seconds(8), seconds(15)};

// The longest window taken from the setting; a year keeps every sum of times in range.
constexpr seconds longestWindow = std::chrono::hours(24 * 365);

} // namespace

std::optional<std::chrono::milliseconds> ReconnectSchedule::nextDelay(std::chrono::milliseconds sinceBreak)
{
    if (sinceBreak >= m_window)
        return std::nullopt;
    const auto index = static_cast<std::size_t>(m_attemptsPlanned);
    const std::chrono::milliseconds delay = index < firstDelays.size() ? firstDelays[index] : firstDelays.back();
    ++m_attemptsPlanned;
    return std::min(delay, std::chrono::duration_cast<std::chrono::milliseconds>(m_window) - sinceBreak);
}

std::optional<std::chrono::seconds> parseReconnectWindow(std::string_view text)
{
    std::int64_t value = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc() || stop != end || value < 0 || value > longestWindow.count())
        return std::nullopt;
    return seconds(value);
}

std::chrono::seconds configuredReconnectWindow()
{
    const char *text = std::getenv("TARNWAVE_RECONNECT_WINDOW");
    if (text == nullptr || *text == '\0')
        return ReconnectSchedule::defaultWindow;
    if (const auto window = parseReconnectWindow(text))
        return *window;
    eWarning("media: TARNWAVE_RECONNECT_WINDOW \"%s\" is no whole number of seconds; using %lld", text,
             static_cast<long long>(ReconnectSchedule::defaultWindow.count()));
    return ReconnectSchedule::defaultWindow;
}

} // namespace boxmedia
