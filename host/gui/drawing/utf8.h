#ifndef TARNWAVE_HOST_GUI_UTF8_H
#define TARNWAVE_HOST_GUI_UTF8_H

// UTF-8 for the text the toolkit draws and edits. Decoding never fails: every
// byte that does not start a valid, complete, shortest-form sequence of a
// Unicode scalar value (no surrogates, nothing above U+10FFFF) becomes
// U+FFFD, one per offending byte or cut-off sequence, and decoding always
// advances by at least one byte and never reads past the end.

#include <cstddef>
#include <string>
#include <string_view>

namespace boxtext {

inline constexpr char32_t replacementCharacter = 0xFFFD;

// Decodes the code point that starts at `position` (< end) and moves
// `position` past it.
char32_t decodeUtf8(const char *&position, const char *end);

// Every code point of `text`.
std::u32string decodeUtf8(std::string_view text);

// Appends the UTF-8 form of `codePoint` (U+FFFD for a surrogate or a value
// above U+10FFFF).
void appendUtf8(std::string &out, char32_t codePoint);

// True when `text` is well-formed UTF-8 throughout: decodeUtf8 would replace
// nothing.
bool isUtf8(std::string_view text);

// The number of code points decodeUtf8 would give.
std::size_t utf8Length(std::string_view text);

// Where the code point that ends at `position` starts (for deleting the last
// typed character); 0 when position is 0.
std::size_t previousCodePointStart(std::string_view text, std::size_t position);

} // namespace boxtext

#endif
