#ifndef TARNWAVE_STATION_SERVER_STREAM_FORMAT_H
#define TARNWAVE_STATION_SERVER_STREAM_FORMAT_H

#include <string_view>

namespace station {

// How a station's MP3 stream is encoded. The catalogue's bitrate text is what
// the directory reports; the stream needs a rate that MP3 has:
//  - the leading number is read ("128k" is 128); empty or unreadable text
//    means 128 kbit/s;
//  - it is clamped to 24..320 and lowered to the nearest MP3 rate;
//  - up to 64 kbit/s the stream is MPEG-2 at 22050 Hz, above that MPEG-1 at
//    44100 Hz; always mono (the tunes are).
struct StreamFormat
{
    int kilobitsPerSecond = 128;
    int sampleRate = 44100;
    int samplesPerFrame = 1152;

    int bytesPerSecond() const { return kilobitsPerSecond * 1000 / 8; }
};

inline constexpr int defaultKilobitsPerSecond = 128;

StreamFormat streamFormatFor(std::string_view catalogueBitrate);

} // namespace station

#endif
