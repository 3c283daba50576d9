#ifndef TARNWAVE_TESTS_STATION_SERVER_MP3_STREAM_H
#define TARNWAVE_TESTS_STATION_SERVER_MP3_STREAM_H

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

// A stream body with ICY metadata taken apart: the audio bytes alone and the
// titles of the non-empty metadata blocks, in order. `consistent` is false
// when a block's contents are not "StreamTitle='...';" padded with NULs.
struct IcyStream
{
    std::string audio;
    std::vector<std::string> titles;
    std::size_t blocks = 0;
    bool consistent = true;
};

IcyStream splitIcyStream(std::string_view body, std::size_t metadataInterval);

// MPEG audio layer III frames found in a byte sequence: after an optional
// ID3v2 tag, the first place where two valid frame headers follow each other,
// then frame after frame. `brokenAt` is where a frame should have started but
// no valid header was (npos: none; a last frame cut short by the end of the
// bytes and an ID3v1 tag at the end are not breaks).
struct Mp3Scan
{
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    std::size_t frames = 0;
    std::size_t firstFrameAt = none;
    std::size_t brokenAt = none;
    std::size_t bytesInFrames = 0;
    std::set<int> bitrates; // kbit/s
    std::set<int> sampleRates; // Hz
};

Mp3Scan scanMp3(std::string_view bytes);

#endif
