#include "stream_format.h"

#include <array>
#include <charconv>

namespace station {
namespace {

// The bitrates MPEG-2 layer III has at 22050 Hz (from 24 up) and MPEG-1
// layer III at 44100 Hz (from 80 up), in kbit/s.
constexpr std::array<int, 14> mp3Rates = {24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256};
constexpr int highestRate = 320;
constexpr int highestMpeg2Rate = 64;

} // namespace

StreamFormat streamFormatFor(std::string_view catalogueBitrate)
{
    int wanted = 0;
    const char *begin = catalogueBitrate.data();
    const auto [stop, error] = std::from_chars(begin, begin + catalogueBitrate.size(), wanted);
    if (error != std::errc() || stop == begin || wanted <= 0)
        wanted = defaultKilobitsPerSecond;

    int chosen = mp3Rates.front();
    if (wanted >= highestRate) {
        chosen = highestRate;
    } else {
        for (const int rate : mp3Rates) {
            if (rate <= wanted)
                chosen = rate;
        }
    }

    StreamFormat format;
    format.kilobitsPerSecond = chosen;
    if (chosen <= highestMpeg2Rate) {
        format.sampleRate = 22050;
        format.samplesPerFrame = 576;
    } else {
        format.sampleRate = 44100;
        format.samplesPerFrame = 1152;
    }
    return format;
}

} // namespace station
