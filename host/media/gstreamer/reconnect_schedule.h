#ifndef TARNWAVE_HOST_MEDIA_GSTREAMER_RECONNECT_SCHEDULE_H
#define TARNWAVE_HOST_MEDIA_GSTREAMER_RECONNECT_SCHEDULE_H

// When the stream handler reopens a live stream that broke or ended after it
// played, and when it gives up.

#include <chrono>
#include <optional>
#include <string_view>

namespace boxmedia {

// The attempts that follow one break: the first 1 s after the break, the next
// ones 2, 4, 8 and 15 s after the previous attempt failed, then every 15 s,
// within a window that opens with the break. A wait that would end after the
// window closes is cut short, so the last attempt starts when it closes; once
// an attempt fails after the window has closed, the stream is given up. A
// value without clock: the caller says how long ago the break was.
class ReconnectSchedule
{
public:
    static constexpr std::chrono::seconds defaultWindow{300};

    explicit ReconnectSchedule(std::chrono::seconds window = defaultWindow) : m_window(window) { }

    // The wait before the next attempt, asked `sinceBreak` after the break;
    // plans that attempt. Empty when the window has closed: give up.
    std::optional<std::chrono::milliseconds> nextDelay(std::chrono::milliseconds sinceBreak);

    // How many attempts nextDelay has planned.
    int attemptsPlanned() const { return m_attemptsPlanned; }
    std::chrono::seconds window() const { return m_window; }

private:
    std::chrono::seconds m_window;
    int m_attemptsPlanned = 0;
};

// The window given as text, as in TARNWAVE_RECONNECT_WINDOW: a whole number of
// seconds from 0 to a year (31536000), nothing else; empty when the text is
// not one.
std::optional<std::chrono::seconds> parseReconnectWindow(std::string_view text);

// The window in use: the environment variable TARNWAVE_RECONNECT_WINDOW (whole
// seconds), the default of 300 s when it is unset or empty. An unusable value
// logs one warning each time it is read, and the default is used.
std::chrono::seconds configuredReconnectWindow();

} // namespace boxmedia

#endif
