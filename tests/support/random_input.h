#ifndef TARNWAVE_TESTS_SUPPORT_RANDOM_INPUT_H
#define TARNWAVE_TESTS_SUPPORT_RANDOM_INPUT_H

// Seeded random input for property tests, and a printable form of it for
// failure messages, so that a failing case can be read and replayed.

#include <climits>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

class Random
{
public:
    explicit Random(std::uint32_t seed) : engine_(seed) { }

    // Uniform in [low, high].
    std::size_t between(std::size_t low, std::size_t high)
    {
        return std::uniform_int_distribution<std::size_t>(low, high)(engine_);
    }
    bool chance(double probability) { return std::bernoulli_distribution(probability)(engine_); }
    char byte() { return static_cast<char>(between(0, 255)); }
    char oneOf(std::string_view set) { return set[between(0, set.size() - 1)]; }
    template <class T>
    const T &oneOf(const std::vector<T> &items)
    {
        return items[between(0, items.size() - 1)];
    }
    int number()
    {
        switch (between(0, 3)) {
        case 0: return oneOf(std::vector<int>{0, -1, 1, INT_MIN, INT_MAX, INT_MIN + 1, INT_MAX - 1});
        case 1: return static_cast<int>(between(0, 200)) - 100;
        default: return std::uniform_int_distribution<int>(INT_MIN, INT_MAX)(engine_);
        }
    }

private:
    std::mt19937 engine_;
};

// `text` with every byte that is not printable ASCII written as \xHH, cut to
// `limit` bytes, for failure messages.
inline std::string printable(std::string_view text, std::size_t limit = 3000)
{
    static constexpr char hexDigits[] = "0123456789abcdef";
    std::string out;
    for (std::size_t i = 0; i < text.size() && i < limit; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte >= 0x20 && byte < 0x7f && byte != '\\') {
            out += text[i];
        } else {
            out += "\\x";
            out += hexDigits[byte >> 4];
            out += hexDigits[byte & 0x0f];
        }
    }
    if (text.size() > limit)
        out += "... (" + std::to_string(text.size()) + " bytes)";
    return out;
}

#endif
