#include "fuzz_support.h"

#include "base/elog.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace fuzz {

void fail(const char *file, int line, const std::string &what)
{
    std::fprintf(stderr, "\nfuzz check failed at %s:%d\n  %s\n", file, line, what.c_str());
    std::fflush(stderr);
    std::abort();
}

void prepareProcess()
{
    if (std::getenv("TARNWAVE_LOG") == nullptr)
        boxlog::setStderrLevel(boxlog::Level::quiet);
    // libFuzzer looks for leaks after every input that allocated more than
    // it freed, which is slow; an input that only logs should not count, so
    // the log's ring is full from the start and each new line frees an old one.
    for (std::size_t line = 0; line < boxlog::ringCapacity; ++line)
        eDebug("fuzz: filling the log ring");
    const char *temporary = std::getenv("TMPDIR");
    if ((temporary == nullptr || *temporary == '\0') && access("/dev/shm", W_OK | X_OK) == 0)
        setenv("TMPDIR", "/dev/shm", 1);
}

std::uint64_t fingerprint(std::string_view bytes)
{
    std::uint64_t hash = 0xcbf29ce484222325u; // FNV-1a
    for (const char c : bytes) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 0x100000001b3u;
    }
    return hash;
}

std::uint64_t nextRandom(std::uint64_t &state)
{
    std::uint64_t mixed = (state += 0x9e3779b97f4a7c15u); // splitmix64
    mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9u;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebu;
    return mixed ^ (mixed >> 31);
}

std::string printable(std::string_view bytes)
{
    static constexpr std::size_t longest = 200;
    std::string out;
    for (const char c : bytes.substr(0, longest)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7f && c != '\\') {
            out += c;
        } else {
            char escaped[5];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", byte);
            out += escaped;
        }
    }
    if (bytes.size() > longest)
        out += "...";
    return out;
}

} // namespace fuzz
