#include "mp3_loop.h"

#include "mp3_frame.h"
#include "tune.h"

#include <lame.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace station {
namespace {

struct LameDeleter
{
    void operator()(lame_global_flags *flags) const { lame_close(flags); }
};
using LameHandle = std::unique_ptr<lame_global_flags, LameDeleter>;

// Frames encoded ahead of the loop so that the encoder is past its start-up
// delay and in its steady state when the kept frames begin.
constexpr int warmUpFrames = 4;
// Frames of tune fed after the loop so that its last kept frame has the
// look-ahead it needs.
constexpr int tailFrames = 3;

LameHandle configuredEncoder(const StreamFormat &format)
{
    LameHandle lame(lame_init());
    if (!lame)
        throw EncodingError("libmp3lame cannot be initialised");
    lame_set_in_samplerate(lame.get(), format.sampleRate);
    lame_set_out_samplerate(lame.get(), format.sampleRate);
    lame_set_num_channels(lame.get(), 1);
    lame_set_mode(lame.get(), MONO);
    lame_set_VBR(lame.get(), vbr_off);
    lame_set_brate(lame.get(), format.kilobitsPerSecond);
    lame_set_quality(lame.get(), 7);
    lame_set_disable_reservoir(lame.get(), 1);
    lame_set_bWriteVbrTag(lame.get(), 0);
    if (lame_init_params(lame.get()) < 0)
        throw EncodingError("libmp3lame refuses " + std::to_string(format.kilobitsPerSecond) + " kbit/s at "
                            + std::to_string(format.sampleRate) + " Hz");
    return lame;
}

// The periodic tune laid out as warm-up, one period and tail.
std::vector<std::int16_t> encoderInput(const std::vector<std::int16_t> &tune, std::size_t frameSamples)
{
    const std::size_t warmUp = warmUpFrames * frameSamples;
    const std::size_t tail = tailFrames * frameSamples;
    std::vector<std::int16_t> input;
    input.reserve(warmUp + tune.size() + tail);
    input.insert(input.end(), tune.end() - static_cast<std::ptrdiff_t>(warmUp), tune.end());
    input.insert(input.end(), tune.begin(), tune.end());
    input.insert(input.end(), tune.begin(), tune.begin() + static_cast<std::ptrdiff_t>(tail));
    return input;
}

} // namespace

Mp3Loop encodeStationLoop(int stationId, const StreamFormat &format)
{
    const auto frameSamples = static_cast<std::size_t>(format.samplesPerFrame);
    const std::vector<std::int16_t> tune = synthesiseTune(stationId, format.sampleRate, framesPerLoop * frameSamples);
    std::vector<std::int16_t> input = encoderInput(tune, frameSamples);

    LameHandle lame = configuredEncoder(format);
    std::vector<unsigned char> encoded(input.size() * 5 / 4 + 7200);
    const int written = lame_encode_buffer(lame.get(), input.data(), input.data(), static_cast<int>(input.size()),
                                           encoded.data(), static_cast<int>(encoded.size()));
    if (written < 0)
        throw EncodingError("libmp3lame failed to encode (" + std::to_string(written) + ")");
    std::vector<unsigned char> flushed(7200);
    const int rest = lame_encode_flush(lame.get(), flushed.data(), static_cast<int>(flushed.size()));
    if (rest < 0)
        throw EncodingError("libmp3lame failed to finish (" + std::to_string(rest) + ")");
    encoded.resize(static_cast<std::size_t>(written));
    encoded.insert(encoded.end(), flushed.begin(), flushed.begin() + rest);

    // Output frame k starts at input sample k * frameSamples less the
    // encoder's delay, so frames warmUpFrames .. warmUpFrames + framesPerLoop
    // cover one whole period of the tune.
    Mp3Loop loop;
    loop.format = format;
    std::size_t offset = 0;
    for (int frame = 0; frame < warmUpFrames + framesPerLoop; ++frame) {
        const auto length = mp3FrameLength(std::span(encoded).subspan(offset));
        if (!length || offset + *length > encoded.size())
            throw EncodingError("libmp3lame produced a broken frame at byte " + std::to_string(offset));
        if (frame >= warmUpFrames) {
            loop.bytes.insert(loop.bytes.end(), encoded.begin() + static_cast<std::ptrdiff_t>(offset),
                              encoded.begin() + static_cast<std::ptrdiff_t>(offset + *length));
            ++loop.frames;
        }
        offset += *length;
    }
    return loop;
}

} // namespace station
