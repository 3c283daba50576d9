#include "model/listentry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

// Sets the global sort mode for one test and puts the default back afterwards.
class SortOrder : public ::testing::Test
{
protected:
    void TearDown() override { Listentry::setSort = Listentry::SORT_INDEX; }

    static std::vector<Listentry> stations(const std::vector<std::pair<const char *, const char *>> &nameAndBitrate)
    {
        std::vector<Listentry> list;
        int index = 0;
        for (const auto &[name, bitrate] : nameAndBitrate) {
            Listentry entry(++index, name);
            entry.type = Listentry::ENTRY_STATION;
            entry.bitrate = bitrate;
            list.push_back(entry);
        }
        return list;
    }

    // The order a stable sort with the list order gives, as the entries' indexes.
    static std::vector<int> sortedIndexes(std::vector<Listentry> list)
    {
        std::stable_sort(list.begin(), list.end(), listentryComesBefore);
        std::vector<int> indexes;
        for (const Listentry &entry : list)
            indexes.push_back(entry.index);
        return indexes;
    }

    static std::vector<std::string> sortedBitrates(std::vector<Listentry> list)
    {
        std::stable_sort(list.begin(), list.end(), listentryComesBefore);
        std::vector<std::string> bitrates;
        for (const Listentry &entry : list)
            bitrates.push_back(entry.bitrate);
        return bitrates;
    }

    static std::vector<std::string> sortedNames(std::vector<Listentry> list)
    {
        std::stable_sort(list.begin(), list.end(), listentryComesBefore);
        std::vector<std::string> names;
        for (const Listentry &entry : list)
            names.push_back(entry.name);
        return names;
    }
};

} // namespace

TEST(ListentryRecord, ConstructorSetsIndexNameAndGenreTypeAndLeavesTheRestEmpty)
{
    const Listentry jazz(5, "Jazz");
    EXPECT_EQ(jazz.name, "Jazz");
    EXPECT_EQ(jazz.index, 5);
    EXPECT_EQ(jazz.type, Listentry::ENTRY_GENRE);
    EXPECT_EQ(jazz.type, 1);
    EXPECT_TRUE(jazz.url.empty());
    EXPECT_TRUE(jazz.tuneinBase.empty());
    EXPECT_TRUE(jazz.bitrate.empty());
    EXPECT_TRUE(jazz.genre.empty());
    EXPECT_TRUE(jazz.id.empty());
}

TEST(ListentryRecord, NameIsACopyOfTheGivenText)
{
    char text[] = "Blues";
    const Listentry entry(1, text);
    text[0] = 'X';
    EXPECT_EQ(entry.name, "Blues");
}

TEST(ListentryRecord, NullNameGivesAnEmptyName)
{
    const Listentry entry(1, nullptr);
    EXPECT_TRUE(entry.name.empty());
}

TEST(ListentryRecord, SortModesHaveTheirNumbersAndStartAtIndex)
{
    EXPECT_EQ(Listentry::SORT_INDEX, 10);
    EXPECT_EQ(Listentry::SORT_BITRATE, 11);
    EXPECT_EQ(Listentry::SORT_NAME, 12);
    EXPECT_EQ(Listentry::setSort, Listentry::SORT_INDEX);
    EXPECT_EQ(Listentry::ENTRY_STATION, 0);
}

TEST_F(SortOrder, IndexOrderIsAscendingIndex)
{
    Listentry::setSort = Listentry::SORT_INDEX;
    std::vector<Listentry> list;
    for (int index : {4, -2, 9, 1, 3})
        list.emplace_back(index, "x");
    EXPECT_EQ(sortedIndexes(list), (std::vector<int>{-2, 1, 3, 4, 9}));
}

TEST_F(SortOrder, BitratesAreOrderedAsTextDescending)
{
    Listentry::setSort = Listentry::SORT_BITRATE;
    const auto list =
        stations({{"a", "96"}, {"b", "64"}, {"c", "320"}, {"d", "256"}, {"e", "192"}, {"f", "128"}, {"g", "24"}});
    EXPECT_EQ(sortedBitrates(list), (std::vector<std::string>{"96", "64", "320", "256", "24", "192", "128"}));
}

TEST_F(SortOrder, EqualBitratesAreOrderedByIndex)
{
    Listentry::setSort = Listentry::SORT_BITRATE;
    Listentry seven(7, "Seven");
    seven.bitrate = "128";
    Listentry three(3, "Three");
    three.bitrate = "128";
    EXPECT_TRUE(listentryComesBefore(three, seven));
    EXPECT_FALSE(listentryComesBefore(seven, three));
    EXPECT_EQ(sortedIndexes({seven, three}), (std::vector<int>{3, 7}));
}

TEST_F(SortOrder, SixtyFourComesBeforeOneHundredTwentyEight)
{
    Listentry::setSort = Listentry::SORT_BITRATE;
    Listentry slow(2, "Slow");
    slow.bitrate = "64";
    Listentry fast(1, "Fast");
    fast.bitrate = "128";
    EXPECT_TRUE(listentryComesBefore(slow, fast));
    EXPECT_FALSE(listentryComesBefore(fast, slow));
}

TEST_F(SortOrder, EmptyBitrateSortsLast)
{
    Listentry::setSort = Listentry::SORT_BITRATE;
    const auto list = stations({{"a", ""}, {"b", "24"}, {"c", "128k"}, {"d", "1"}});
    EXPECT_EQ(sortedBitrates(list), (std::vector<std::string>{"24", "128k", "1", ""}));
}

TEST_F(SortOrder, CapitalLettersComeBeforeSmallLetters)
{
    Listentry::setSort = Listentry::SORT_NAME;
    EXPECT_TRUE(listentryComesBefore(Listentry(2, "ABC Radio"), Listentry(1, "abc radio")));
    EXPECT_FALSE(listentryComesBefore(Listentry(1, "abc radio"), Listentry(2, "ABC Radio")));
    EXPECT_TRUE(listentryComesBefore(Listentry(2, "Zeta"), Listentry(1, "alpha")));
    std::vector<Listentry> list{Listentry(1, "alpha"), Listentry(2, "abc radio"), Listentry(3, "Zeta"),
                                Listentry(4, "ABC Radio")};
    EXPECT_EQ(sortedNames(list), (std::vector<std::string>{"ABC Radio", "Zeta", "abc radio", "alpha"}));
}

TEST_F(SortOrder, NamesCompareAsUnsignedBytesWithoutAccentFolding)
{
    Listentry::setSort = Listentry::SORT_NAME;
    // "é" is 0xC3 0xA9 in UTF-8: above every ASCII letter when bytes are unsigned.
    std::vector<Listentry> list{Listentry(1, "\xC3\xA9t\xC3\xA9"), Listentry(2, "zebra"), Listentry(3, "Eagle")};
    EXPECT_EQ(sortedNames(list), (std::vector<std::string>{"Eagle", "zebra", "\xC3\xA9t\xC3\xA9"}));
}

TEST_F(SortOrder, ShorterNameWithTheSamePrefixComesFirst)
{
    Listentry::setSort = Listentry::SORT_NAME;
    EXPECT_TRUE(listentryComesBefore(Listentry(2, "Radio"), Listentry(1, "Radio One")));
    EXPECT_FALSE(listentryComesBefore(Listentry(1, "Radio One"), Listentry(2, "Radio")));
}

TEST_F(SortOrder, EqualNamesAreNotOrdered)
{
    Listentry::setSort = Listentry::SORT_NAME;
    const Listentry first(1, "Same");
    const Listentry second(2, "Same");
    EXPECT_FALSE(listentryComesBefore(first, second));
    EXPECT_FALSE(listentryComesBefore(second, first));
    // With no tie-break a stable sort keeps them as they were.
    EXPECT_EQ(sortedIndexes({second, first}), (std::vector<int>{2, 1}));
}

TEST_F(SortOrder, UnexpectedModeSortsByIndex)
{
    for (int mode : {0, 9, 13, -1, 1000}) {
        Listentry::setSort = mode;
        auto list = stations({{"c", "64"}, {"a", "320"}, {"b", "128"}});
        std::reverse(list.begin(), list.end());
        EXPECT_EQ(sortedIndexes(list), (std::vector<int>{1, 2, 3})) << "mode " << mode;
    }
}

TEST_F(SortOrder, ModeIsReadAtEveryComparison)
{
    Listentry a(1, "b");
    a.bitrate = "64";
    Listentry b(2, "a");
    b.bitrate = "128";
    Listentry::setSort = Listentry::SORT_INDEX;
    EXPECT_TRUE(listentryComesBefore(a, b));
    Listentry::setSort = Listentry::SORT_NAME;
    EXPECT_FALSE(listentryComesBefore(a, b));
    Listentry::setSort = Listentry::SORT_BITRATE;
    EXPECT_TRUE(listentryComesBefore(a, b));
}
