#include "mp3_frame.h"

#include <array>

namespace station {
namespace {

// kbit/s by bitrate index (1..14) for layer III.
constexpr std::array<int, 15> mpeg1Bitrates = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
constexpr std::array<int, 15> mpeg2Bitrates = {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
constexpr std::array<int, 3> mpeg1SampleRates = {44100, 48000, 32000};

} // namespace

std::optional<std::size_t> mp3FrameLength(std::span<const unsigned char> bytes)
{
    if (bytes.size() < 4 || bytes[0] != 0xFF || (bytes[1] & 0xE0) != 0xE0)
        return std::nullopt;
    const int version = (bytes[1] >> 3) & 0x3; // 3: MPEG-1, 2: MPEG-2, 0: MPEG-2.5
    const int layer = (bytes[1] >> 1) & 0x3; // 1: layer III
    const int bitrateIndex = (bytes[2] >> 4) & 0xF;
    const int sampleRateIndex = (bytes[2] >> 2) & 0x3;
    const int padding = (bytes[2] >> 1) & 0x1;
    if (version == 1 || layer != 1 || bitrateIndex == 0 || bitrateIndex == 15 || sampleRateIndex == 3)
        return std::nullopt;
    const bool mpeg1 = version == 3;
    const int divisor = version == 3 ? 1 : version == 2 ? 2 : 4;
    const int sampleRate = mpeg1SampleRates[static_cast<std::size_t>(sampleRateIndex)] / divisor;
    const auto index = static_cast<std::size_t>(bitrateIndex);
    const int bitsPerSecond = (mpeg1 ? mpeg1Bitrates[index] : mpeg2Bitrates[index]) * 1000;
    const int samplesPerFrame = mpeg1 ? 1152 : 576;
    return static_cast<std::size_t>(samplesPerFrame / 8 * bitsPerSecond / sampleRate + padding);
}

} // namespace station
