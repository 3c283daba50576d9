#include "media/gstreamer/title_text.h"

#include <gtest/gtest.h>

using boxmedia::titleAsUtf8;

TEST(TitleText, KeepsAsciiAndUtf8)
{
    EXPECT_EQ(titleAsUtf8("Test Artist - Test Song"), "Test Artist - Test Song");
    EXPECT_EQ(titleAsUtf8("Café – Ümlaut ♫ 𝄞"), "Café – Ümlaut ♫ 𝄞");
    EXPECT_EQ(titleAsUtf8(""), "");
}

TEST(TitleText, ReadsLatin1AsSuch)
{
    EXPECT_EQ(titleAsUtf8("Caf\xE9"), "Café");
    EXPECT_EQ(titleAsUtf8("Die \xC4rzte - \xDC"
                          "ber \xDF"),
              "Die Ärzte - Über ß");
    EXPECT_EQ(titleAsUtf8("\xFF\xFE"), "ÿþ");
}

TEST(TitleText, ReadsTheWindows1252RangeAsItsCharacters)
{
    EXPECT_EQ(titleAsUtf8("\x93Quoted\x94 \x96 10 \x80"), "“Quoted” – 10 €");
    EXPECT_EQ(titleAsUtf8("Caf\xE9 \x85"), "Café …");
}

TEST(TitleText, KeepsTheBytesWindows1252LeavesUndefinedAsC1Controls)
{
    EXPECT_EQ(titleAsUtf8("a\x81z\xE9"), "a\xC2\x81z\xC3\xA9");
}

TEST(TitleText, MapsC1ControlsInUtf8ToWindows1252Characters)
{
    // Windows-1252 quotes that were read as Latin-1 before they got here.
    EXPECT_EQ(titleAsUtf8("\xC2\x93Hi\xC2\x94"), "“Hi”");
    EXPECT_EQ(titleAsUtf8("\xC2\x81"), "\xC2\x81");
}

TEST(TitleText, ReadsMalformedUtf8AsSingleBytes)
{
    EXPECT_EQ(titleAsUtf8("\xC3"), "Ã"); // cut short
    EXPECT_EQ(titleAsUtf8("\xC0\xAF"), "À¯"); // an overlong form
    EXPECT_EQ(titleAsUtf8("\xED\xA0\x80"), "í\xC2\xA0€"); // a surrogate
    EXPECT_EQ(titleAsUtf8("\xF4\x90\x80\x80"), "ô\xC2\x90€€"); // beyond U+10FFFF
}
