#ifndef TARNWAVE_TESTS_FUZZ_FUZZ_SUPPORT_H
#define TARNWAVE_TESTS_FUZZ_FUZZ_SUPPORT_H

// What every fuzz target shares: a check that turns a broken invariant into a
// finding, a quiet host log, scratch directories in memory, and the input as
// text.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace fuzz {

// Reports `what` with the place it was checked and aborts, which libFuzzer
// records as a crash with the input that caused it.
[[noreturn]] void fail(const char *file, int line, const std::string &what);

// Silences the host log on stderr (it still keeps its ring), unless
// TARNWAVE_LOG asks for it, and puts temporary directories in /dev/shm when
// TMPDIR names none: the targets write files for every input.
void prepareProcess();

inline std::string_view text(const std::uint8_t *data, std::size_t size)
{
    return {reinterpret_cast<const char *>(data), size};
}

// A well-mixed number from the input's bytes, for decisions (such as piece
// sizes) that must repeat exactly when the input is run again.
std::uint64_t fingerprint(std::string_view bytes);

// The next number of a reproducible sequence started from `state`.
std::uint64_t nextRandom(std::uint64_t &state);

// `bytes` with the unprintable ones escaped, short, for failure messages.
std::string printable(std::string_view bytes);

} // namespace fuzz

// Checks an invariant of the code under test; a failure is a finding.
#define FUZZ_CHECK(condition, what)                                                                                    \
    do {                                                                                                               \
        if (!(condition))                                                                                              \
            ::fuzz::fail(__FILE__, __LINE__, std::string(#condition ": ") + (what));                                   \
    } while (false)

namespace fuzz {

// Checks why outside input was refused: one line of at most 300 bytes.
inline void checkRefusal(std::string_view reason)
{
    FUZZ_CHECK(!reason.empty() && reason.size() <= 300, printable(reason));
    FUZZ_CHECK(reason.find_first_of("\r\n") == std::string_view::npos, printable(reason));
}

} // namespace fuzz

#endif
