#include "media/gstreamer/title_text.h"

#include "gui/drawing/utf8.h"

#include <array>
#include <cstdint>

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

} // namespace

std::string titleAsUtf8(std::string_view title)
{
    std::string text;
    text.reserve(title.size());
    if (boxtext::isUtf8(title)) {
        for (const char32_t character : boxtext::decodeUtf8(title))
            boxtext::appendUtf8(text,
                                character <= 0x9F ? fromWindows1252(static_cast<std::uint8_t>(character)) : character);
    } else {
        for (const char byte : title)
            boxtext::appendUtf8(text, fromWindows1252(static_cast<std::uint8_t>(byte)));
    }
    return text;
}

} // namespace boxmedia
