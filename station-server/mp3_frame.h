#ifndef TARNWAVE_STATION_SERVER_MP3_FRAME_H
#define TARNWAVE_STATION_SERVER_MP3_FRAME_H

#include <cstddef>
#include <optional>
#include <span>

namespace station {

// The length in bytes of the MPEG audio layer III frame whose header starts
// `bytes` (MPEG-1, MPEG-2 and MPEG-2.5), or nullopt when the four bytes there
// are no valid layer III frame header.
std::optional<std::size_t> mp3FrameLength(std::span<const unsigned char> bytes);

} // namespace station

#endif
