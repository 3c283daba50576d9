// A list of 100,000 rows: filling, sorting, paging to the end, drawing and
// clearing it keep the rows, the order and the view right. How long it takes
// (only rows in view are drawn, nothing walks the whole list per row) is
// measured by bench_gui (gui/list_100000_rows).

#include "listbox_test_rows.h"

#include <gtest/gtest.h>

namespace {

using TextList = eListBox<CountedRow>;
constexpr int rowCount = 100000;

TEST(ListBoxLarge, HundredThousandRows)
{
    ListWindow<TextList> shown(12, 30);
    TextList &list = *shown.list;
    int destroyed = 0;

    // Filled in reverse key order, outside and inside an update.
    for (int i = 0; i < rowCount / 2; ++i)
        new CountedRow(&list, eString().setNum(i), rowCount - i, &destroyed);
    list.beginAtomic();
    for (int i = rowCount / 2; i < rowCount; ++i)
        new CountedRow(&list, eString().setNum(i), rowCount - i, &destroyed);
    list.endAtomic();
    ASSERT_EQ(list.getCount(), rowCount);
    eScreen::osd().compose();

    list.sort();
    EXPECT_EQ(list.getEntry(0)->key, 1);
    EXPECT_EQ(list.getEntry(rowCount - 1)->key, rowCount);
    // The row that was current (the first appended) is still current, now last.
    EXPECT_EQ(list.getCurrentIndex(), rowCount - 1);
    EXPECT_EQ(list.getTopIndex(), rowCount - list.getPageSize());

    list.setCurrent(list.getEntry(0));
    EXPECT_EQ(list.getTopIndex(), 0);
    int pages = 0;
    while (list.goPageDown() == 0) {
        ++pages;
        if (pages % 1000 == 0)
            eScreen::osd().compose();
    }
    EXPECT_EQ(pages, (rowCount - 1 + list.getPageSize() - 1) / list.getPageSize());
    EXPECT_EQ(list.getCurrentIndex(), rowCount - 1);
    EXPECT_EQ(list.getTopIndex(), rowCount - list.getPageSize());
    EXPECT_EQ(eScreen::osd().compose(), 1);

    list.clearList();
    EXPECT_EQ(destroyed, rowCount);
    eScreen::osd().compose();
}

} // namespace
