#include "media/gstreamer/title_text.h"

#include <array>
#include <cstdint>
#include <optional>

namespace boxmedia {
namespace {

// The characters of Windows-1252 at the bytes 0x80 to 0x9F; zero where it has none.
constexpr std::array<char32_t, 32> windows1252High = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                      0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                                      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                      0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

// The character Windows-1252 means by `byte`, or by the C1 control of that number.
char32_t fromWindows1252(std::uint8_t byte)
{
    if (byte >= 0x80 && byte <= 0x9F && windows1252High[byte - 0x80] != 0)
        return windows1252High[byte - 0x80];
    return byte;
}

void appendUtf8(std::string &text, char32_t character)
{
    const auto unit = [](char32_t bits) { return static_cast<char>(bits); };
    if (character < 0x80) {
        text += unit(character);
    } else if (character < 0x800) {
        text += unit(0xC0 | (character >> 6));
        text += unit(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        text += unit(0xE0 | (character >> 12));
        text += unit(0x80 | ((character >> 6) & 0x3F));
        text += unit(0x80 | (character & 0x3F));
    } else {
        text += unit(0xF0 | (character >> 18));
        text += unit(0x80 | ((character >> 12) & 0x3F));
        text += unit(0x80 | ((character >> 6) & 0x3F));
        text += unit(0x80 | (character & 0x3F));
    }
}

// What the first byte of a UTF-8 sequence says: how many bytes the sequence
// has, the character bits it carries, and the smallest character that needs
// that many bytes (a longer form is not well-formed).
struct Utf8Lead
{
    std::size_t length;
    char32_t bits;
    char32_t smallest;
};

std::optional<Utf8Lead> utf8Lead(std::uint8_t byte)
{
    if (byte < 0x80)
        return Utf8Lead{1, byte, 0};
    if (byte >= 0xC2 && byte <= 0xDF)
        return Utf8Lead{2, byte & 0x1Fu, 0x80};
    if (byte >= 0xE0 && byte <= 0xEF)
        return Utf8Lead{3, byte & 0x0Fu, 0x800};
    if (byte >= 0xF0 && byte <= 0xF4)
        return Utf8Lead{4, byte & 0x07u, 0x10000};
    return std::nullopt;
}

// Reads one UTF-8 character at `position` and moves past it; empty (and
// `position` unchanged) when the bytes there are no well-formed UTF-8.
std::optional<char32_t> readUtf8(std::string_view text, std::size_t &position)
{
    const auto lead = utf8Lead(static_cast<std::uint8_t>(text[position]));
    if (!lead || position + lead->length > text.size())
        return std::nullopt;
    char32_t character = lead->bits;
    for (std::size_t i = 1; i < lead->length; ++i) {
        const auto continuation = static_cast<std::uint8_t>(text[position + i]);
        if ((continuation & 0xC0) != 0x80)
            return std::nullopt;
        character = (character << 6) | (continuation & 0x3Fu);
    }
    if (character < lead->smallest || character > 0x10FFFF || (character >= 0xD800 && character <= 0xDFFF))
        return std::nullopt;
    position += lead->length;
    return character;
}

std::optional<std::u32string> decodeUtf8(std::string_view text)
{
    std::u32string characters;
    for (std::size_t position = 0; position < text.size();) {
        const auto character = readUtf8(text, position);
        if (!character)
            return std::nullopt;
        characters += *character;
    }
    return characters;
}

} // namespace

std::string titleAsUtf8(std::string_view title)
{
    std::string text;
    text.reserve(title.size());
    if (const auto characters = decodeUtf8(title)) {
        for (const char32_t character : *characters)
            appendUtf8(text, character <= 0x9F ? fromWindows1252(static_cast<std::uint8_t>(character)) : character);
    } else {
        for (const char byte : title)
            appendUtf8(text, fromWindows1252(static_cast<std::uint8_t>(byte)));
    }
    return text;
}

} // namespace boxmedia
