#include "text_encoding.h"

#include <optional>

namespace station {
namespace {

constexpr char32_t largestCodePoint = 0x10FFFF;

bool isContinuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

// Decodes the character at `position` and moves past it; nullopt (having
// moved past one byte) when no well-formed sequence starts there.
std::optional<char32_t> nextCodePoint(std::string_view text, std::size_t &position)
{
    const auto lead = static_cast<unsigned char>(text[position++]);
    if (lead < 0x80)
        return lead;
    std::size_t following = 0;
    char32_t codePoint = 0;
    char32_t smallest = 0;
    if ((lead & 0xE0) == 0xC0) {
        following = 1;
        codePoint = lead & 0x1F;
        smallest = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        following = 2;
        codePoint = lead & 0x0F;
        smallest = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        following = 3;
        codePoint = lead & 0x07;
        smallest = 0x10000;
    } else {
        return std::nullopt;
    }
    if (text.size() - position < following)
        return std::nullopt;
    for (std::size_t i = 0; i < following; ++i) {
        const auto byte = static_cast<unsigned char>(text[position + i]);
        if (!isContinuation(byte))
            return std::nullopt;
        codePoint = (codePoint << 6) | (byte & 0x3F);
    }
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint < smallest || codePoint > largestCodePoint || surrogate)
        return std::nullopt;
    position += following;
    return codePoint;
}

} // namespace

bool isUtf8(std::string_view text)
{
    std::size_t position = 0;
    while (position < text.size()) {
        if (!nextCodePoint(text, position))
            return false;
    }
    return true;
}

std::string repairedUtf8(std::string_view text)
{
    constexpr std::string_view replacement = "\xEF\xBF\xBD";
    std::string repaired;
    repaired.reserve(text.size());
    std::size_t position = 0;
    while (position < text.size()) {
        const std::size_t start = position;
        const auto codePoint = nextCodePoint(text, position);
        if (!codePoint || *codePoint == 0xFFFE || *codePoint == 0xFFFF)
            repaired += replacement;
        else
            repaired += text.substr(start, position - start);
    }
    return repaired;
}

std::string latin1FromUtf8(std::string_view utf8)
{
    std::string latin1;
    latin1.reserve(utf8.size());
    std::size_t position = 0;
    while (position < utf8.size()) {
        const auto codePoint = nextCodePoint(utf8, position);
        latin1 += codePoint && *codePoint <= 0xFF ? static_cast<char>(*codePoint) : '?';
    }
    return latin1;
}

} // namespace station
