// A stream title on its way from the station server to the status bar: the
// server packs it into an ICY metadata block (and, for the Latin-1 fault,
// into ISO-8859-1 first); the player turns whatever title the stream gives
// into UTF-8. The two UTF-8 readers (the server's and the toolkit's) must
// agree, and every title the player shows must be valid UTF-8.

#include "fuzz_support.h"

#include "gui/drawing/utf8.h"
#include "icy_metadata.h"
#include "media/gstreamer/title_text.h"
#include "text_encoding.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view titlePrefix = "StreamTitle='";
constexpr std::string_view titleSuffix = "';";
constexpr std::size_t blockUnit = 16;

// The title as a client reads it from a block: after the prefix, up to the
// first "';" or NUL.
std::string_view titleInBlock(std::string_view block)
{
    std::string_view text = block.substr(1 + titlePrefix.size());
    text = text.substr(0, std::min(text.find(titleSuffix), text.find('\0')));
    return text;
}

void checkBlock(std::string_view title, const std::string &block)
{
    FUZZ_CHECK(!block.empty(), "no length byte");
    const std::size_t units = static_cast<unsigned char>(block[0]);
    FUZZ_CHECK(units >= 1 && block.size() == 1 + units * blockUnit,
               "length byte " + std::to_string(units) + " for a block of " + std::to_string(block.size()));
    const std::string_view text(block.data() + 1, block.size() - 1);
    FUZZ_CHECK(text.starts_with(titlePrefix), fuzz::printable(text));
    FUZZ_CHECK(text.find_first_of("\r\n") == std::string_view::npos, "a line break in " + fuzz::printable(text));

    // The title, cut to fit, with the suffix after it and NUL padding only.
    const std::size_t kept = std::min(title.size(), 255 * blockUnit - titlePrefix.size() - titleSuffix.size());
    const std::string_view body = text.substr(titlePrefix.size(), kept);
    for (std::size_t i = 0; i < kept; ++i) {
        const char expected = title[i] == '\n' || title[i] == '\r' ? ' ' : title[i];
        FUZZ_CHECK(body[i] == expected, "title byte " + std::to_string(i) + " changed");
    }
    const std::string_view rest = text.substr(titlePrefix.size() + kept);
    FUZZ_CHECK(rest.starts_with(titleSuffix), fuzz::printable(rest));
    FUZZ_CHECK(rest.find_first_not_of('\0', titleSuffix.size()) == std::string_view::npos,
               "padding that is not NUL: " + fuzz::printable(rest));
    FUZZ_CHECK(rest.size() - titleSuffix.size() < blockUnit, "more padding than a block unit");
}

// The player's title is valid UTF-8 by both readers.
std::string shownTitle(std::string_view received)
{
    std::string shown = boxmedia::titleAsUtf8(received);
    FUZZ_CHECK(boxtext::isUtf8(shown), fuzz::printable(received) + " -> " + fuzz::printable(shown));
    FUZZ_CHECK(station::isUtf8(shown), fuzz::printable(received) + " -> " + fuzz::printable(shown));
    return shown;
}

bool hasC1Control(const std::u32string &characters)
{
    return std::any_of(characters.begin(), characters.end(), [](char32_t c) { return c >= 0x80 && c <= 0x9F; });
}

bool fitsLatin1(const std::u32string &characters)
{
    return std::all_of(characters.begin(), characters.end(), [](char32_t c) { return c <= 0xFF; });
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::prepareProcess();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string_view title = fuzz::text(data, size);

    const bool valid = station::isUtf8(title);
    FUZZ_CHECK(valid == boxtext::isUtf8(title), "the UTF-8 readers disagree on " + fuzz::printable(title));

    const std::string block = station::icyMetadataBlock(title);
    checkBlock(title, block);
    const std::string shown = shownTitle(title);
    shownTitle(titleInBlock(block));

    const std::string latin1 = station::latin1FromUtf8(title);
    FUZZ_CHECK(latin1.size() <= title.size(), fuzz::printable(title));
    const std::string shownLatin1 = shownTitle(latin1);

    if (valid) {
        const std::u32string characters = boxtext::decodeUtf8(title);
        FUZZ_CHECK(latin1.size() == characters.size(), "one Latin-1 byte a character: " + fuzz::printable(title));
        // UTF-8 without C1 controls is shown as it came; sent as Latin-1, it
        // comes back the same unless its Latin-1 bytes happen to be UTF-8.
        if (!hasC1Control(characters)) {
            FUZZ_CHECK(shown == title, fuzz::printable(title) + " -> " + fuzz::printable(shown));
            if (fitsLatin1(characters) && (!station::isUtf8(latin1) || latin1 == title))
                FUZZ_CHECK(shownLatin1 == title, fuzz::printable(title) + " -> " + fuzz::printable(shownLatin1));
        }
    }
    return 0;
}
