#include "gui/drawing/utf8.h"

namespace boxtext {

namespace {

bool isContinuation(unsigned char byte)
{
    return (byte & 0xc0) == 0x80;
}

} // namespace

char32_t decodeUtf8(const char *&position, const char *end)
{
    const auto lead = static_cast<unsigned char>(*position++);
    if (lead < 0x80)
        return lead;

    // The number of continuation bytes, and the smallest code point and the
    // range the second byte must lie in for a shortest-form, non-surrogate,
    // in-range sequence.
    int extra = 0;
    char32_t value = 0;
    unsigned char secondLow = 0x80, secondHigh = 0xbf;
    if (lead >= 0xc2 && lead <= 0xdf) {
        extra = 1;
        value = lead & 0x1fu;
    } else if (lead >= 0xe0 && lead <= 0xef) {
        extra = 2;
        value = lead & 0x0fu;
        if (lead == 0xe0)
            secondLow = 0xa0; // overlong below U+0800
        else if (lead == 0xed)
            secondHigh = 0x9f; // U+D800..U+DFFF are surrogates
    } else if (lead >= 0xf0 && lead <= 0xf4) {
        extra = 3;
        value = lead & 0x07u;
        if (lead == 0xf0)
            secondLow = 0x90; // overlong below U+10000
        else if (lead == 0xf4)
            secondHigh = 0x8f; // above U+10FFFF
    } else {
        return replacementCharacter; // a stray continuation byte, 0xc0, 0xc1, 0xf5..0xff
    }

    // A sequence that breaks off is replaced as a whole, and decoding goes on
    // at the byte that broke it.
    for (int i = 0; i < extra; ++i) {
        if (position == end)
            return replacementCharacter;
        const auto byte = static_cast<unsigned char>(*position);
        const bool valid = i == 0 ? (byte >= secondLow && byte <= secondHigh) : isContinuation(byte);
        if (!valid)
            return replacementCharacter;
        value = (value << 6) | (byte & 0x3fu);
        ++position;
    }
    return value;
}

std::u32string decodeUtf8(std::string_view text)
{
    std::u32string codePoints;
    codePoints.reserve(text.size());
    const char *position = text.data();
    const char *end = position + text.size();
    while (position < end)
        codePoints.push_back(decodeUtf8(position, end));
    return codePoints;
}

void appendUtf8(std::string &out, char32_t codePoint)
{
    if ((codePoint >= 0xd800 && codePoint <= 0xdfff) || codePoint > 0x10ffff)
        codePoint = replacementCharacter;
    auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (codePoint < 0x80) {
        put(codePoint);
    } else if (codePoint < 0x800) {
        put(0xc0 | (codePoint >> 6));
        put(0x80 | (codePoint & 0x3f));
    } else if (codePoint < 0x10000) {
        put(0xe0 | (codePoint >> 12));
        put(0x80 | ((codePoint >> 6) & 0x3f));
        put(0x80 | (codePoint & 0x3f));
    } else {
        put(0xf0 | (codePoint >> 18));
        put(0x80 | ((codePoint >> 12) & 0x3f));
        put(0x80 | ((codePoint >> 6) & 0x3f));
        put(0x80 | (codePoint & 0x3f));
    }
}

bool isUtf8(std::string_view text)
{
    static constexpr std::string_view encodedReplacement = "\xef\xbf\xbd";
    const char *position = text.data();
    const char *end = position + text.size();
    while (position < end) {
        const char *start = position;
        // A replacement stands for damage unless the text itself held U+FFFD.
        if (decodeUtf8(position, end) == replacementCharacter
            && std::string_view(start, static_cast<std::size_t>(position - start)) != encodedReplacement)
            return false;
    }
    return true;
}

std::size_t utf8Length(std::string_view text)
{
    std::size_t count = 0;
    const char *position = text.data();
    const char *end = position + text.size();
    while (position < end) {
        decodeUtf8(position, end);
        ++count;
    }
    return count;
}

std::size_t previousCodePointStart(std::string_view text, std::size_t position)
{
    if (position > text.size())
        position = text.size();
    // Decoding from the start (text fields are short) makes the answer agree
    // with decodeUtf8 even for damaged text.
    const char *base = text.data();
    const char *cursor = base;
    const char *end = base + position;
    std::size_t last = 0;
    while (cursor < end) {
        last = static_cast<std::size_t>(cursor - base);
        decodeUtf8(cursor, end);
    }
    return last;
}

} // namespace boxtext
