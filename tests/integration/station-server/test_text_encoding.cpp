// The text conversions of station-server: UTF-8 checked (--title), turned
// into ISO-8859-1 (the latin1-titles fault) and repaired (the gateway's
// replies).

#include "text_encoding.h"

#include <gtest/gtest.h>

using station::isUtf8;
using station::latin1FromUtf8;
using station::repairedUtf8;

TEST(StationServerTextEncoding, Latin1LettersBecomeOneByte)
{
    EXPECT_EQ(latin1FromUtf8("Café"), "Caf\xE9");
    EXPECT_EQ(latin1FromUtf8("Straße nach Köln"), "Stra\xDF"
                                                  "e nach K\xF6ln");
    EXPECT_EQ(latin1FromUtf8("Åsa ÿ ¡"), "\xC5sa \xFF \xA1");
    EXPECT_EQ(latin1FromUtf8("plain ASCII - 'quoted'"), "plain ASCII - 'quoted'");
    EXPECT_EQ(latin1FromUtf8(""), "");
}

TEST(StationServerTextEncoding, CharactersBeyondLatin1BecomeQuestionMarks)
{
    EXPECT_EQ(latin1FromUtf8("Łódź"), "?\xF3"
                                      "d?");
    EXPECT_EQ(latin1FromUtf8("東京"), "?"
                                      "?");
    EXPECT_EQ(latin1FromUtf8("Ночь"), "????");
    EXPECT_EQ(latin1FromUtf8("a\xF0\x9F\x8E\xB5z"), "a?z") << "a four-byte character is one '?'";
    EXPECT_EQ(latin1FromUtf8("€5"), "?5");
}

TEST(StationServerTextEncoding, MalformedBytesBecomeQuestionMarks)
{
    EXPECT_EQ(latin1FromUtf8("a\xC3"), "a?") << "cut short";
    EXPECT_EQ(latin1FromUtf8("\xC3(x"), "?(x") << "no continuation byte";
    EXPECT_EQ(latin1FromUtf8("\xC0\xAF"), "?"
                                          "?")
        << "overlong";
    EXPECT_EQ(latin1FromUtf8("\xA9"), "?") << "a stray continuation byte";
    EXPECT_EQ(latin1FromUtf8("\xFFok"), "?ok");
}

TEST(StationServerTextEncoding, Utf8IsRecognised)
{
    EXPECT_TRUE(isUtf8(""));
    EXPECT_TRUE(isUtf8("Jürgen Weiß - Ночной Трамвай 🎵"));
    EXPECT_FALSE(isUtf8("Caf\xE9"));
    EXPECT_FALSE(isUtf8("\xC3"));
    EXPECT_FALSE(isUtf8("\xC0\xAF")) << "overlong";
    EXPECT_FALSE(isUtf8("\xED\xA0\x80")) << "a surrogate";
    EXPECT_FALSE(isUtf8("\xF4\x90\x80\x80")) << "beyond U+10FFFF";
}

TEST(StationServerTextEncoding, RepairKeepsWellFormedText)
{
    EXPECT_EQ(repairedUtf8(""), "");
    EXPECT_EQ(repairedUtf8("Jürgen Weiß - Ночной Трамвай 🎵 \x01\x7F"), "Jürgen Weiß - Ночной Трамвай 🎵 \x01\x7F");
}

TEST(StationServerTextEncoding, RepairReplacesEachBadByte)
{
    EXPECT_EQ(repairedUtf8("Caf\xE9!"), "Caf\uFFFD!");
    EXPECT_EQ(repairedUtf8("a\xC3"), "a\uFFFD") << "cut short";
    EXPECT_EQ(repairedUtf8("\xC0\xAF"), "\uFFFD\uFFFD") << "overlong";
    EXPECT_EQ(repairedUtf8("\xED\xA0\x80x"), "\uFFFD\uFFFD\uFFFDx") << "a surrogate";
    EXPECT_EQ(repairedUtf8("\xF4\x90\x80\x80"), "\uFFFD\uFFFD\uFFFD\uFFFD") << "beyond U+10FFFF";
    EXPECT_TRUE(isUtf8(repairedUtf8("\xFF\xFE\xC3(\xE2\x82")));
}

TEST(StationServerTextEncoding, RepairReplacesWhatXmlCannotCarry)
{
    EXPECT_EQ(repairedUtf8("a\uFFFEb\uFFFFc\uFFFDd"), "a\uFFFDb\uFFFDc\uFFFDd");
}
