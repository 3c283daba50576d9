#ifndef TARNWAVE_TESTS_INTEGRATION_MEDIA_MP3_TONE_H
#define TARNWAVE_TESTS_INTEGRATION_MEDIA_MP3_TONE_H

// MP3 bytes for the media tests, made with libmp3lame: the repository holds no
// binary audio.

#include <lame/lame.h>

#include <cmath>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

// `seconds` of a 440 Hz sine, mono, 44.1 kHz, 64 kbit/s, without the bit
// reservoir so that the bytes can be repeated end to end as an endless stream.
inline std::string encodeToneMp3(double seconds)
{
    constexpr int sampleRate = 44100;
    lame_t encoder = lame_init();
    if (encoder == nullptr)
        throw std::runtime_error("lame_init");
    lame_set_in_samplerate(encoder, sampleRate);
    lame_set_out_samplerate(encoder, sampleRate);
    lame_set_num_channels(encoder, 1);
    lame_set_mode(encoder, MONO);
    lame_set_brate(encoder, 64);
    lame_set_disable_reservoir(encoder, 1);
    lame_set_bWriteVbrTag(encoder, 0);
    if (lame_init_params(encoder) < 0) {
        lame_close(encoder);
        throw std::runtime_error("lame_init_params");
    }

    const auto samples = static_cast<std::size_t>(seconds * sampleRate);
    std::vector<short> pcm(samples);
    for (std::size_t i = 0; i < samples; ++i)
        pcm[i] =
            static_cast<short>(8000.0 * std::sin(2.0 * std::numbers::pi * 440.0 * static_cast<double>(i) / sampleRate));

    std::vector<unsigned char> encoded(samples + samples / 4 + 7200);
    const int written = lame_encode_buffer(encoder, pcm.data(), pcm.data(), static_cast<int>(samples), encoded.data(),
                                           static_cast<int>(encoded.size()));
    if (written < 0) {
        lame_close(encoder);
        throw std::runtime_error("lame_encode_buffer");
    }
    const int flushed =
        lame_encode_flush(encoder, encoded.data() + written, static_cast<int>(encoded.size()) - written);
    lame_close(encoder);
    if (flushed < 0)
        throw std::runtime_error("lame_encode_flush");
    return std::string(reinterpret_cast<const char *>(encoded.data()), static_cast<std::size_t>(written + flushed));
}

#endif
