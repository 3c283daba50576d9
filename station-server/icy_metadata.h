#ifndef TARNWAVE_STATION_SERVER_ICY_METADATA_H
#define TARNWAVE_STATION_SERVER_ICY_METADATA_H

#include <string>
#include <string_view>

namespace station {

// A client that sends "Icy-MetaData: 1" gets, after every "icy-metaint" bytes
// of audio, one metadata block: a length byte N, then N * 16 bytes holding
// "StreamTitle='...';" padded with NUL bytes. A block of length 0 (the single
// byte 0) means "no change".

inline constexpr std::size_t defaultMetadataInterval = 8192;

// The block announcing `title`; a title too long for a block (255 * 16 bytes)
// is cut, and line breaks become blanks.
std::string icyMetadataBlock(std::string_view title);
// The block that announces nothing new.
inline std::string unchangedMetadataBlock()
{
    return std::string(1, '\0');
}

} // namespace station

#endif
