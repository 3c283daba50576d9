#ifndef TARNWAVE_TESTS_SUPPORT_SANITIZER_REPORT_H
#define TARNWAVE_TESTS_SUPPORT_SANITIZER_REPORT_H

// Finds what AddressSanitizer, LeakSanitizer or UndefinedBehaviorSanitizer
// wrote into a program's standard error, so that a test that started the
// program (the emulator, the station server) fails when the program had a
// finding, even if it went on or exited cleanly.

#include <algorithm>
#include <string>
#include <string_view>

// The report, from its first line to the end of `errors`; empty when there is none.
inline std::string sanitizerReport(const std::string &errors)
{
    static constexpr std::string_view markers[] = {"ERROR: AddressSanitizer", "ERROR: LeakSanitizer",
                                                   "runtime error:", "WARNING: AddressSanitizer",
                                                   "ERROR: UndefinedBehaviorSanitizer"};
    std::size_t first = std::string::npos;
    for (const std::string_view marker : markers)
        first = std::min(first, errors.find(marker));
    if (first == std::string::npos)
        return {};
    const std::size_t lineStart = errors.rfind('\n', first);
    return errors.substr(lineStart == std::string::npos ? 0 : lineStart + 1);
}

#endif
