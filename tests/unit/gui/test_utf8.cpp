// UTF-8 decoding that never fails, never stalls and never reads past the end.

#include "gui/drawing/utf8.h"
#include "support/random_input.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

constexpr char32_t bad = boxtext::replacementCharacter;

std::u32string decode(const std::string &bytes)
{
    return boxtext::decodeUtf8(bytes);
}

TEST(Utf8, DecodesAsciiAndEveryMultibyteLength)
{
    EXPECT_EQ(decode("Radio"), U"Radio");
    EXPECT_EQ(decode("\xc3\xa4"), std::u32string(1, 0xe4)); // ä
    EXPECT_EQ(decode("\xe2\x82\xac"), std::u32string(1, 0x20ac)); // €
    EXPECT_EQ(decode("\xf0\x9f\x8e\xb5"), std::u32string(1, 0x1f3b5)); // musical note
    EXPECT_EQ(decode("\xf4\x8f\xbf\xbf"), std::u32string(1, 0x10ffff)); // the last code point
    EXPECT_EQ(decode("\xed\x9f\xbf"), std::u32string(1, 0xd7ff)); // just below the surrogates
    EXPECT_EQ(decode("a\xc3\xa4z"), (std::u32string{U'a', 0xe4, U'z'}));
    EXPECT_EQ(decode(std::string("a\0b", 3)), (std::u32string{U'a', 0, U'b'}));
}

TEST(Utf8, StrayAndImpossibleBytesBecomeReplacementCharacters)
{
    EXPECT_EQ(decode("\x80"), std::u32string(1, bad));
    EXPECT_EQ(decode("a\xbf"
                     "b"),
              (std::u32string{U'a', bad, U'b'}));
    EXPECT_EQ(decode("\xff\xfe"), (std::u32string{bad, bad}));
    EXPECT_EQ(decode("\xf5\x80\x80\x80"), (std::u32string{bad, bad, bad, bad})) << "beyond U+10FFFF";
}

TEST(Utf8, OverlongFormsBecomeReplacementCharacters)
{
    EXPECT_EQ(decode("\xc0\xaf"), (std::u32string{bad, bad}));
    EXPECT_EQ(decode("\xc1\xbf"), (std::u32string{bad, bad}));
    EXPECT_EQ(decode("\xe0\x80\xaf"), (std::u32string{bad, bad, bad}));
    EXPECT_EQ(decode("\xf0\x80\x80\xaf"), (std::u32string{bad, bad, bad, bad}));
}

TEST(Utf8, SurrogatesAndValuesAboveTheRangeBecomeReplacementCharacters)
{
    EXPECT_EQ(decode("\xed\xa0\x80"), (std::u32string{bad, bad, bad}));
    EXPECT_EQ(decode("\xed\xbf\xbf"), (std::u32string{bad, bad, bad}));
    EXPECT_EQ(decode("\xf4\x90\x80\x80"), (std::u32string{bad, bad, bad, bad}));
}

TEST(Utf8, TruncatedSequencesBecomeOneReplacementAndDecodingGoesOn)
{
    EXPECT_EQ(decode("\xe2\x82"), std::u32string(1, bad));
    EXPECT_EQ(decode("\xe2\x82x"), (std::u32string{bad, U'x'}));
    EXPECT_EQ(decode("\xf0\x9f\x8e"), std::u32string(1, bad));
    EXPECT_EQ(decode("\xc3"), std::u32string(1, bad));
    EXPECT_EQ(decode("\xc3\xc3\xa4"), (std::u32string{bad, 0xe4}));
}

TEST(Utf8, NeverReadsPastTheEnd)
{
    // Exactly sized heap buffers, so that a read past the end is caught by the
    // address sanitizer.
    for (const std::string bytes : {"\xe2", "\xe2\x82", "\xf0", "\xf0\x9f", "\xf0\x9f\x8e", "\xc3", "\xed\xa0"}) {
        auto buffer = std::make_unique<char[]>(bytes.size());
        std::copy(bytes.begin(), bytes.end(), buffer.get());
        const char *position = buffer.get();
        const char *end = position + bytes.size();
        EXPECT_EQ(boxtext::decodeUtf8(position, end), bad);
        EXPECT_LE(position, end);
        EXPECT_GT(position, buffer.get());
    }
}

TEST(Utf8, AlwaysAdvancesOnRandomBytes)
{
    Random random(20240611);
    for (int round = 0; round < 2000; ++round) {
        std::vector<char> bytes(random.between(1, 12));
        for (char &byte : bytes)
            byte = random.chance(0.5) ? static_cast<char>(0x80 | random.between(0, 0x7f)) : random.byte();
        const char *position = bytes.data();
        const char *end = position + bytes.size();
        std::size_t decoded = 0;
        while (position < end) {
            const char *before = position;
            const char32_t codePoint = boxtext::decodeUtf8(position, end);
            ASSERT_GT(position, before) << printable(std::string(bytes.begin(), bytes.end()));
            ASSERT_LE(position, end);
            ASSERT_TRUE(codePoint <= 0x10ffff && !(codePoint >= 0xd800 && codePoint <= 0xdfff));
            ++decoded;
        }
        EXPECT_EQ(decoded, boxtext::utf8Length(std::string_view(bytes.data(), bytes.size())));
    }
}

TEST(Utf8, EncodesWhatItDecodes)
{
    std::string text;
    for (char32_t codePoint : {char32_t{0x41}, char32_t{0xe4}, char32_t{0x20ac}, char32_t{0x1f3b5}, char32_t{0x10ffff}})
        boxtext::appendUtf8(text, codePoint);
    EXPECT_EQ(text, "A\xc3\xa4\xe2\x82\xac\xf0\x9f\x8e\xb5\xf4\x8f\xbf\xbf");
    EXPECT_EQ(decode(text), (std::u32string{0x41, 0xe4, 0x20ac, 0x1f3b5, 0x10ffff}));

    std::string invalid;
    boxtext::appendUtf8(invalid, 0xd800);
    boxtext::appendUtf8(invalid, 0x110000);
    EXPECT_EQ(decode(invalid), (std::u32string{bad, bad}));
}

TEST(Utf8, TellsWellFormedTextFromDamagedText)
{
    EXPECT_TRUE(boxtext::isUtf8(""));
    EXPECT_TRUE(boxtext::isUtf8("plain ASCII"));
    EXPECT_TRUE(boxtext::isUtf8("Caf\xc3\xa9 \xe2\x99\xab \xf0\x9d\x84\x9e"));
    EXPECT_TRUE(boxtext::isUtf8("a real \xef\xbf\xbd stays"));
    EXPECT_FALSE(boxtext::isUtf8("Caf\xe9")) << "Latin-1";
    EXPECT_FALSE(boxtext::isUtf8("\xc0\xaf")) << "overlong";
    EXPECT_FALSE(boxtext::isUtf8("\xed\xa0\x80")) << "surrogate";
    EXPECT_FALSE(boxtext::isUtf8("cut \xe2\x99")) << "cut off";
    EXPECT_FALSE(boxtext::isUtf8("\xf0\x9d\x84")) << "cut off after three bytes";
}

TEST(Utf8, FindsTheStartOfTheLastCharacter)
{
    const std::string text = "a\xc3\xa4\xe2\x82\xac";
    EXPECT_EQ(boxtext::previousCodePointStart(text, text.size()), 3u);
    EXPECT_EQ(boxtext::previousCodePointStart(text, 3), 1u);
    EXPECT_EQ(boxtext::previousCodePointStart(text, 1), 0u);
    EXPECT_EQ(boxtext::previousCodePointStart(text, 0), 0u);
    EXPECT_EQ(boxtext::previousCodePointStart("ab\x80", 3), 2u) << "a stray byte is a character of its own";
    EXPECT_EQ(boxtext::utf8Length(text), 3u);
}

} // namespace
