#ifndef TARNWAVE_TESTS_SUPPORT_LOG_LINES_H
#define TARNWAVE_TESTS_SUPPORT_LOG_LINES_H

#include "base/elog.h"

#include <cstdint>
#include <string>
#include <vector>

// The texts of the log lines at warning level or above written after the line
// numbered `sequence` (take it from boxlog::lastSequence() before the action).
inline std::vector<std::string> warningsSince(std::uint64_t sequence)
{
    std::vector<std::string> texts;
    for (const boxlog::Line &line : boxlog::linesSince(sequence))
        if (line.level >= boxlog::Level::warning)
            texts.push_back(line.text);
    return texts;
}

#endif
