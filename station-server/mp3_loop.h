#ifndef TARNWAVE_STATION_SERVER_MP3_LOOP_H
#define TARNWAVE_STATION_SERVER_MP3_LOOP_H

#include "stream_format.h"

#include <stdexcept>
#include <vector>

namespace station {

// A station's tune encoded once as a run of MP3 frames that can be repeated
// without a seam: the frames are self-contained (no bit reservoir) and cover
// exactly one period of the tune, so the stream is the loop sent over and
// over.
struct Mp3Loop
{
    StreamFormat format;
    std::vector<unsigned char> bytes;
    int frames = 0;
};

// How many frames a loop holds: about 4.2 s at either sample rate.
inline constexpr int framesPerLoop = 160;

class EncodingError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Synthesises the station's tune and encodes it with libmp3lame at the
// format's rate. Throws EncodingError when the encoder refuses.
Mp3Loop encodeStationLoop(int stationId, const StreamFormat &format);

} // namespace station

#endif
