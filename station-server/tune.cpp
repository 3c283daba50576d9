#include "tune.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace station {
namespace {

// A small, well-mixed generator (splitmix64): the same id always gives the
// same tune, on every machine.
class IdRandom
{
public:
    explicit IdRandom(int seed) : state_(std::uint64_t{static_cast<std::uint32_t>(seed)} * golden) { }

    std::uint64_t next()
    {
        state_ += golden;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30)) * std::uint64_t{0xBF58476D1CE4E5B9u};
        z = (z ^ (z >> 27)) * std::uint64_t{0x94D049BB133111EBu};
        return z ^ (z >> 31);
    }

    int below(int bound) { return static_cast<int>(next() % static_cast<std::uint64_t>(bound)); }

private:
    static constexpr std::uint64_t golden = 0x9E3779B97F4A7C15u;
    std::uint64_t state_;
};

// Semitones of the major pentatonic scale over two octaves.
constexpr std::array<int, 10> pentatonic = {0, 2, 4, 7, 9, 12, 14, 16, 19, 21};

double frequencyOf(int semitonesAboveA3)
{
    return 220.0 * std::pow(2.0, semitonesAboveA3 / 12.0);
}

} // namespace

std::vector<std::int16_t> synthesiseTune(int stationId, int sampleRate, std::size_t samples)
{
    IdRandom random(stationId);
    const int root = random.below(7); // A3 up to E4
    std::array<double, notesPerTune> notes{};
    for (double &note : notes)
        note =
            frequencyOf(root + pentatonic[static_cast<std::size_t>(random.below(static_cast<int>(pentatonic.size())))]);

    std::vector<std::int16_t> pcm(samples);
    const std::size_t noteLength = samples / notesPerTune;
    const double rate = static_cast<double>(sampleRate);
    const double attack = 0.008 * rate;
    const double release = 0.02 * rate;
    const double decayPerSample = std::exp(-3.0 / rate); // falls to 5% in a second
    constexpr double loudness = 0.35 * 32767.0;
    for (std::size_t n = 0; n < notesPerTune; ++n) {
        const std::size_t begin = n * noteLength;
        const std::size_t end = n + 1 == notesPerTune ? samples : begin + noteLength;
        const double step = 2.0 * std::numbers::pi * notes[n] / rate;
        double decay = 1.0;
        for (std::size_t i = begin; i < end; ++i) {
            const double t = static_cast<double>(i - begin);
            const double left = static_cast<double>(end - i);
            const double envelope = std::min({1.0, t / attack, left / release}) * decay;
            const double tone = std::sin(step * t) + 0.3 * std::sin(2.0 * step * t);
            pcm[i] = static_cast<std::int16_t>(std::lround(loudness * envelope * tone / 1.3));
            decay *= decayPerSample;
        }
    }
    return pcm;
}

} // namespace station
