#include "base/estring.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <string>

TEST(EString, SprintfFormatsIntoTheStringAndReturnsIt)
{
    eString text("old contents");
    eString &result = text.sprintf("%s=%d (%05.1f)", "bitrate", 128, 2.5);
    EXPECT_EQ(&result, &text);
    EXPECT_EQ(text, "bitrate=128 (002.5)");
}

TEST(EString, SprintfOfAnEmptyFormatEmptiesTheString)
{
    eString text("something");
    text.sprintf("%s", "");
    EXPECT_TRUE(text.empty());
}

TEST(EString, SprintfHandlesLongResults)
{
    const std::string longName(10000, 'x');
    eString text;
    text.sprintf("[%s]", longName.c_str());
    EXPECT_EQ(text.size(), 10002u);
    EXPECT_EQ(text.front(), '[');
    EXPECT_EQ(text.back(), ']');
}

TEST(EString, SprintfKeepsUtf8BytesAsTheyAre)
{
    eString text;
    text.sprintf("%s (%d entries)", "Caf\xC3\xA9 M\xC3\xBCller", 3);
    EXPECT_EQ(text, "Caf\xC3\xA9 M\xC3\xBCller (3 entries)");
}

TEST(EString, SetNumWritesDecimal)
{
    eString text("x");
    EXPECT_EQ(text.setNum(500, 10), "500");
    EXPECT_EQ(text.setNum(0, 10), "0");
    EXPECT_EQ(text.setNum(-42, 10), "-42");
    EXPECT_EQ(text.setNum(INT_MAX), "2147483647");
    EXPECT_EQ(text.setNum(INT_MIN), "-2147483648");
}

TEST(EString, SetNumWritesOtherBases)
{
    eString text;
    EXPECT_EQ(text.setNum(255, 16), "ff");
    EXPECT_EQ(text.setNum(5, 2), "101");
    EXPECT_EQ(text.setNum(35, 36), "z");
    EXPECT_EQ(text.setNum(-8, 8), "-10");
}

TEST(EString, SetNumWithAnInvalidBaseGivesAnEmptyText)
{
    eString text("keep?");
    EXPECT_TRUE(text.setNum(10, 1).empty());
    EXPECT_TRUE(text.setNum(10, 37).empty());
}

TEST(EString, ComparisonsAreByteWiseAndCaseSensitive)
{
    EXPECT_LT(eString("ABC Radio"), eString("abc radio"));
    EXPECT_LT(eString("Zeta"), eString("alpha"));
    EXPECT_NE(eString("jazz"), eString("Jazz"));
    // Bytes above 0x7F compare as unsigned values, after every ASCII byte.
    EXPECT_LT(eString("zz"), eString("\xC3\xA9"));
    EXPECT_LT(eString("128"), eString("96"));
    EXPECT_LT(eString(""), eString("24"));
    EXPECT_LT(eString("Radio"), eString("Radio One"));
}

TEST(EString, WorksWhereAStdStringIsExpected)
{
    const std::string standard = "Top List";
    const eString converted = standard;
    EXPECT_EQ(converted, standard);
    const eString joined = converted + "  (5 entries)";
    EXPECT_EQ(joined, "Top List  (5 entries)");
    EXPECT_EQ(std::string(eString("abc").c_str()), "abc");
}

TEST(EString, HeapCopyIsAnIndependentMallocCopy)
{
    const eString text("Caf\xC3\xA9");
    char *copy = text.heapCopy();
    ASSERT_NE(copy, nullptr);
    EXPECT_STREQ(copy, "Caf\xC3\xA9");
    copy[0] = 'X';
    EXPECT_EQ(text, "Caf\xC3\xA9");
    std::free(copy);
}

TEST(EString, HeapCopyToPointsTheTargetAtACopy)
{
    const eString text("jazz");
    char *target = nullptr;
    ASSERT_EQ(text.heapCopyTo(target), 0);
    ASSERT_NE(target, nullptr);
    EXPECT_STREQ(target, "jazz");
    EXPECT_NE(static_cast<const char *>(target), text.c_str());
    std::free(target);
}
