#ifndef TARNWAVE_HOST_BASE_ELOG_H
#define TARNWAVE_HOST_BASE_ELOG_H

#include <cstdint>
#include <string>
#include <vector>

// The host log. eDebug and eWarning take printf-style arguments and write one
// line each (a trailing newline in the format is optional). Every line goes into
// an in-memory ring of recent lines; lines at or above the level named by the
// environment variable TARNWAVE_LOG ("debug", "warning" (the default), "error"
// or "quiet") are also written to stderr.
void eDebug(const char *format, ...) __attribute__((format(printf, 1, 2)));
void eWarning(const char *format, ...) __attribute__((format(printf, 1, 2)));
void eError(const char *format, ...) __attribute__((format(printf, 1, 2)));

namespace boxlog {

enum class Level { debug = 0, warning = 1, error = 2, quiet = 3 };

struct Line
{
    std::uint64_t sequence; // 1 for the first line since the process started
    Level level;
    std::string text; // without the trailing newline
};

// How many lines the ring keeps; older lines are dropped first.
inline constexpr std::size_t ringCapacity = 4096;

// The kept lines whose sequence number is greater than `after`, oldest first.
// Safe to call from any thread.
std::vector<Line> linesSince(std::uint64_t after = 0);

// The sequence number of the newest line, 0 before the first.
std::uint64_t lastSequence();

// The stderr threshold; initialised from TARNWAVE_LOG, changeable at run time.
Level stderrLevel();
void setStderrLevel(Level level);

// "debug", "warning", "error", "quiet" -> level; anything else gives `fallback`.
Level parseLevel(const char *name, Level fallback);

} // namespace boxlog

#endif
