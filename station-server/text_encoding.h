#ifndef TARNWAVE_STATION_SERVER_TEXT_ENCODING_H
#define TARNWAVE_STATION_SERVER_TEXT_ENCODING_H

#include <string>
#include <string_view>

namespace station {

// True when `text` is well-formed UTF-8 (no overlong forms, no surrogates,
// nothing beyond U+10FFFF).
bool isUtf8(std::string_view text);

// `text` as well-formed UTF-8 that XML can carry: each byte that is no part
// of a well-formed sequence, and each U+FFFE and U+FFFF (which XML 1.0
// excludes), becomes U+FFFD, the replacement character. Well-formed text is
// returned unchanged.
std::string repairedUtf8(std::string_view text);

// `utf8` in ISO-8859-1, as many stations send their titles: one byte a
// character; a character outside Latin-1, or a byte that is no part of a
// well-formed UTF-8 sequence, becomes '?'.
std::string latin1FromUtf8(std::string_view utf8);

} // namespace station

#endif
