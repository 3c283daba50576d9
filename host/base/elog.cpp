#include "base/elog.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>

namespace boxlog {
namespace {

struct Log
{
    std::mutex mutex;
    std::deque<Line> ring;
    std::uint64_t sequence = 0;
    Level threshold = parseLevel(std::getenv("TARNWAVE_LOG"), Level::warning);
};

Log &log()
{
    static Log instance;
    return instance;
}

const char *prefixOf(Level level)
{
    switch (level) {
    case Level::warning: return "warning: ";
    case Level::error: return "error: ";
    default: return "";
    }
}

__attribute__((format(printf, 2, 0))) void write(Level level, const char *format, va_list args)
{
    char small[512];
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(small, sizeof small, format, args);
    std::string text;
    if (length >= 0 && static_cast<size_t>(length) < sizeof small) {
        text.assign(small, static_cast<size_t>(length));
    } else if (length >= 0) {
        text.resize(static_cast<size_t>(length) + 1);
        std::vsnprintf(text.data(), text.size(), format, again);
        text.resize(static_cast<size_t>(length));
    }
    va_end(again);
    while (!text.empty() && text.back() == '\n')
        text.pop_back();

    Log &state = log();
    std::lock_guard lock(state.mutex);
    if (level >= state.threshold && state.threshold != Level::quiet)
        std::fprintf(stderr, "%s%s\n", prefixOf(level), text.c_str());
    state.ring.push_back(Line{++state.sequence, level, std::move(text)});
    if (state.ring.size() > ringCapacity)
        state.ring.pop_front();
}

} // namespace

std::vector<Line> linesSince(std::uint64_t after)
{
    Log &state = log();
    std::lock_guard lock(state.mutex);
    std::vector<Line> lines;
    for (const Line &line : state.ring)
        if (line.sequence > after)
            lines.push_back(line);
    return lines;
}

std::uint64_t lastSequence()
{
    Log &state = log();
    std::lock_guard lock(state.mutex);
    return state.sequence;
}

Level stderrLevel()
{
    Log &state = log();
    std::lock_guard lock(state.mutex);
    return state.threshold;
}

void setStderrLevel(Level level)
{
    Log &state = log();
    std::lock_guard lock(state.mutex);
    state.threshold = level;
}

Level parseLevel(const char *name, Level fallback)
{
    if (name == nullptr)
        return fallback;
    static constexpr struct
    {
        const char *name;
        Level level;
    } names[] = {
        {"debug", Level::debug}, {"warning", Level::warning}, {"error", Level::error}, {"quiet", Level::quiet}};
    for (const auto &entry : names)
        if (std::strcmp(name, entry.name) == 0)
            return entry.level;
    return fallback;
}

} // namespace boxlog

void eDebug(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    boxlog::write(boxlog::Level::debug, format, args);
    va_end(args);
}

void eWarning(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    boxlog::write(boxlog::Level::warning, format, args);
    va_end(args);
}

void eError(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    boxlog::write(boxlog::Level::error, format, args);
    va_end(args);
}
