// The list box's rows and cursor: order, taking and deleting rows, sorting,
// the walk, setCurrent, the keys and the signals.

#include "listbox_test_rows.h"

#include "gui/eaction.h"
#include "gui/elabel.h"
#include "gui/widgets/escreen.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using TextList = eListBox<CountedRow>;

std::vector<std::string> textsOf(const eListBoxBase &list)
{
    std::vector<std::string> texts;
    for (const eListBoxEntry *row : list.entries())
        texts.push_back(row->getText());
    return texts;
}

TEST(ListBox, RowsAppendThemselvesInOrder)
{
    TextList list(nullptr, nullptr, 1, 20);
    new CountedRow(&list, "one");
    new CountedRow(&list, "two");
    new CountedRow(&list, "three");
    EXPECT_EQ(list.getCount(), 3);
    EXPECT_EQ(textsOf(list), (std::vector<std::string>{"one", "two", "three"}));
    // The first row became current, and stays so.
    ASSERT_NE(list.getCurrent(), nullptr);
    EXPECT_EQ(list.getCurrent()->getText(), "one");
    EXPECT_EQ(list.getCurrentIndex(), 0);
}

TEST(ListBox, AppendInFrontKeepsTheCurrentRow)
{
    TextList list(nullptr, nullptr, 1, 20);
    new CountedRow(&list, "one");
    auto *front = new CountedRow(nullptr, "zero");
    list.append(front, false, true);
    EXPECT_EQ(textsOf(list), (std::vector<std::string>{"zero", "one"}));
    EXPECT_EQ(list.getCurrent()->getText(), "one");
    EXPECT_EQ(list.getCurrentIndex(), 1);
    EXPECT_TRUE(front->isInList());
}

TEST(ListBox, RowMadeWithoutListIsInNone)
{
    int destroyed = 0;
    auto *row = new CountedRow(nullptr, "alone", 0, &destroyed);
    EXPECT_EQ(row->getListBox(), nullptr);
    EXPECT_FALSE(row->isInList());
    EXPECT_EQ(row->getHelpText(), " "); // an empty help text becomes a blank
    delete row;
    EXPECT_EQ(destroyed, 1);
}

TEST(ListBox, TakeRemovesARowWithoutDeletingIt)
{
    int destroyed = 0;
    TextList list(nullptr, nullptr, 1, 20);
    auto *first = new CountedRow(&list, "first", 0, &destroyed);
    auto *second = new CountedRow(&list, "second", 0, &destroyed);
    auto *third = new CountedRow(&list, "third", 0, &destroyed);

    list.take(second);
    EXPECT_EQ(destroyed, 0);
    EXPECT_FALSE(second->isInList());
    EXPECT_EQ(textsOf(list), (std::vector<std::string>{"first", "third"}));
    EXPECT_EQ(list.getCurrent(), first);

    // Taking the current row moves the cursor to the row below it...
    list.take(first);
    EXPECT_EQ(list.getCurrent(), third);
    // ... or, at the end, above it; a list without rows has no current row.
    auto *fourth = new CountedRow(&list, "fourth", 0, &destroyed);
    list.goNext();
    ASSERT_EQ(list.getCurrent()->getText(), "fourth");
    list.take(list.getCurrent());
    EXPECT_EQ(list.getCurrent(), third);
    list.take(third);
    EXPECT_EQ(list.getCurrent(), nullptr);
    EXPECT_EQ(list.getCurrentIndex(), -1);
    EXPECT_EQ(destroyed, 0);

    // Taken rows are the caller's.
    delete first;
    delete second;
    delete third;
    delete fourth;
    EXPECT_EQ(destroyed, 4);
    EXPECT_EQ(list.getCount(), 0);
}

TEST(ListBox, ClearListDeletesEveryRow)
{
    int destroyed = 0;
    TextList list(nullptr, nullptr, 1, 20);
    for (int i = 0; i < 25; ++i)
        new CountedRow(&list, "row", i, &destroyed);
    list.clearList();
    EXPECT_EQ(destroyed, 25);
    EXPECT_EQ(list.getCount(), 0);
    EXPECT_EQ(list.getCurrent(), nullptr);
    EXPECT_EQ(list.getTopIndex(), 0);
    // The list fills again as before.
    new CountedRow(&list, "again", 0, &destroyed);
    EXPECT_EQ(list.getCurrentIndex(), 0);
}

TEST(ListBox, DeletingTheListDeletesItsRows)
{
    int destroyed = 0;
    {
        TextList list(nullptr, nullptr, 1, 20);
        for (int i = 0; i < 7; ++i)
            new CountedRow(&list, "row", i, &destroyed);
    }
    EXPECT_EQ(destroyed, 7);
}

TEST(ListBox, DeletedRowLeavesItsList)
{
    TextList list(nullptr, nullptr, 1, 20);
    new CountedRow(&list, "first");
    auto *second = new CountedRow(&list, "second");
    new CountedRow(&list, "third");
    list.setCurrent(second);
    delete second;
    EXPECT_EQ(textsOf(list), (std::vector<std::string>{"first", "third"}));
    EXPECT_EQ(list.getCurrent()->getText(), "third");
}

TEST(ListBox, SortIsStableByTheRowsOrder)
{
    TextList list(nullptr, nullptr, 1, 20);
    new CountedRow(&list, "c1", 3);
    new CountedRow(&list, "a1", 1);
    auto *b1 = new CountedRow(&list, "b1", 2);
    new CountedRow(&list, "a2", 1);
    new CountedRow(&list, "c2", 3);
    new CountedRow(&list, "b2", 2);
    new CountedRow(&list, "a3", 1);
    list.setCurrent(b1);

    list.beginAtomic();
    list.sort();
    list.endAtomic();

    EXPECT_EQ(textsOf(list), (std::vector<std::string>{"a1", "a2", "a3", "b1", "b2", "c1", "c2"}));
    EXPECT_EQ(list.getCurrent(), b1);
    EXPECT_EQ(list.getCurrentIndex(), 3);
}

TEST(ListBox, DefaultOrderKeepsRowsWhereTheyAre)
{
    eListBox<eListBoxEntryText> list(nullptr, nullptr, 1, 20);
    for (const char *text : {"zeta", "alpha", "mu"})
        new eListBoxEntryText(&list, text);
    list.sort();
    EXPECT_EQ(textsOf(list), (std::vector<std::string>{"zeta", "alpha", "mu"}));
}

TEST(ListBox, GoNextStopsAtTheEnd)
{
    TextList list(nullptr, nullptr, 1, 20);
    new CountedRow(&list, "one");
    new CountedRow(&list, "two");
    EXPECT_EQ(list.goNext(), 0);
    EXPECT_EQ(list.getCurrentIndex(), 1);
    EXPECT_EQ(list.goNext(), -1);
    EXPECT_EQ(list.getCurrentIndex(), 1);
    EXPECT_EQ(list.goPrev(), 0);
    EXPECT_EQ(list.goPrev(), -1);
    EXPECT_EQ(list.getCurrentIndex(), 0);
}

TEST(ListBox, WrapAroundGoesFromLastToFirstAndBack)
{
    TextList list(nullptr, nullptr, 1, 20);
    list.setFlags(eListBoxBase::flagWrapAround);
    EXPECT_EQ(list.getFlags(), eListBoxBase::flagWrapAround);
    new CountedRow(&list, "one");
    new CountedRow(&list, "two");
    new CountedRow(&list, "three");
    EXPECT_EQ(list.goPrev(), 0);
    EXPECT_EQ(list.getCurrentIndex(), 2);
    EXPECT_EQ(list.goNext(), 0);
    EXPECT_EQ(list.getCurrentIndex(), 0);
    list.removeFlags(eListBoxBase::flagWrapAround);
    EXPECT_EQ(list.goPrev(), -1);
}

TEST(ListBox, GoNextOnAnEmptyListDoesNothing)
{
    TextList list(nullptr, nullptr, 1, 20);
    EXPECT_EQ(list.goNext(), -1);
    EXPECT_EQ(list.goPrev(), -1);
    EXPECT_EQ(list.getCurrent(), nullptr);
}

TEST(ListBox, SetCurrentFindsTheRowAndScrollsToIt)
{
    ListWindow<TextList> shown(5, 20);
    TextList &list = *shown.list;
    std::vector<CountedRow *> rows;
    for (int i = 0; i < 30; ++i)
        rows.push_back(new CountedRow(&list, eString().setNum(i)));
    EXPECT_EQ(list.getPageSize(), 5);

    EXPECT_EQ(list.setCurrent(rows[17]), 0);
    EXPECT_EQ(list.getCurrent(), rows[17]);
    EXPECT_LE(list.getTopIndex(), 17);
    EXPECT_GT(list.getTopIndex() + list.getPageSize(), 17);

    EXPECT_EQ(list.setCurrent(rows[2]), 0);
    EXPECT_EQ(list.getTopIndex(), 2);

    CountedRow stranger(nullptr, "not in the list");
    EXPECT_EQ(list.setCurrent(&stranger), -1);
    EXPECT_EQ(list.setCurrent(nullptr), -1);
    EXPECT_EQ(list.getCurrent(), rows[2]);
}

TEST(ListBox, SetCurrentEmitsSelChangedOnlyWhenAsked)
{
    TextList list(nullptr, nullptr, 1, 20);
    auto *first = new CountedRow(&list, "first");
    auto *second = new CountedRow(&list, "second");
    std::vector<CountedRow *> reported;
    list.selchanged.connect([&reported](CountedRow *row) { reported.push_back(row); });
    list.setCurrent(second);
    EXPECT_TRUE(reported.empty());
    list.setCurrent(first, true);
    EXPECT_EQ(reported, std::vector<CountedRow *>{first});
}

TEST(ListBox, WalkStopsAtTheFirstMatch)
{
    TextList list(nullptr, nullptr, 1, 20);
    for (int i = 1; i <= 10; ++i)
        new CountedRow(&list, eString().setNum(i), i);
    int calls = 0;
    CountedRow *found = list.forEachEntry([&calls](CountedRow &row) {
        ++calls;
        return row.key == 4;
    });
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->key, 4);
    EXPECT_EQ(calls, 4);

    calls = 0;
    EXPECT_EQ(list.forEachEntry([&calls](CountedRow &) {
        ++calls;
        return false;
    }),
              nullptr);
    EXPECT_EQ(calls, 10);

    // A functor taking the row by pointer works as well.
    EXPECT_EQ(list.forEachEntry([](CountedRow *row) { return row->key == 9; })->getText(), "9");
}

TEST(ListBox, WalkGoesOnWhenTheFunctorDeletesRows)
{
    TextList list(nullptr, nullptr, 1, 20);
    for (int i = 1; i <= 6; ++i)
        new CountedRow(&list, eString().setNum(i), i);
    std::vector<int> seen;
    list.forEachEntry([&seen](CountedRow &row) {
        seen.push_back(row.key);
        if (row.key % 2 == 0)
            delete &row;
        return false;
    });
    EXPECT_EQ(seen, (std::vector<int>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(textsOf(list), (std::vector<std::string>{"1", "3", "5"}));
}

TEST(ListBox, OkEmitsSelectedWithTheCurrentRow)
{
    ListWindow<TextList> shown;
    TextList &list = *shown.list;
    std::vector<CountedRow *> selected;
    list.selected.connect([&selected](CountedRow *row) { selected.push_back(row); });

    // An empty list reports no row.
    EXPECT_TRUE(eScreen::osd().handleKey("ok"));
    ASSERT_EQ(selected.size(), 1u);
    EXPECT_EQ(selected[0], nullptr);

    new CountedRow(&list, "first");
    auto *second = new CountedRow(&list, "second");
    EXPECT_TRUE(eScreen::osd().handleKey("down"));
    EXPECT_TRUE(eScreen::osd().handleKey("ok"));
    ASSERT_EQ(selected.size(), 2u);
    EXPECT_EQ(selected[1], second);
}

TEST(ListBox, CursorKeysEmitSelChanged)
{
    ListWindow<TextList> shown;
    TextList &list = *shown.list;
    new CountedRow(&list, "first");
    auto *second = new CountedRow(&list, "second");
    std::vector<CountedRow *> changed;
    list.selchanged.connect([&changed](CountedRow *row) { changed.push_back(row); });

    EXPECT_TRUE(eScreen::osd().handleKey("down"));
    EXPECT_EQ(changed, std::vector<CountedRow *>{second});
    // At the end the cursor stays, nothing is emitted, and the key goes on to the window.
    EXPECT_FALSE(eScreen::osd().handleKey("down"));
    EXPECT_EQ(changed.size(), 1u);
    EXPECT_TRUE(eScreen::osd().handleKey("up"));
    EXPECT_EQ(changed.size(), 2u);
    EXPECT_EQ(list.getCurrentIndex(), 0);
}

TEST(ListBox, CursorMovesInsideAnUpdateReportOnceAtItsEnd)
{
    TextList list(nullptr, nullptr, 1, 20);
    for (int i = 0; i < 5; ++i)
        new CountedRow(&list, "row", i);
    std::vector<CountedRow *> changed;
    list.selchanged.connect([&changed](CountedRow *row) { changed.push_back(row); });
    list.beginAtomic();
    list.goNext();
    list.goNext();
    EXPECT_TRUE(changed.empty());
    list.endAtomic();
    ASSERT_EQ(changed.size(), 1u);
    EXPECT_EQ(changed[0]->key, 2);
}

TEST(ListBox, ChannelKeysMoveOnePage)
{
    ListWindow<TextList> shown(10, 20);
    TextList &list = *shown.list;
    for (int i = 0; i < 35; ++i)
        new CountedRow(&list, eString().setNum(i));
    ASSERT_EQ(list.getPageSize(), 10);

    EXPECT_TRUE(eScreen::osd().handleKey("channeldown"));
    EXPECT_EQ(list.getCurrentIndex(), 10);
    EXPECT_EQ(list.getTopIndex(), 10);
    EXPECT_TRUE(eScreen::osd().handleKey("channeldown"));
    EXPECT_TRUE(eScreen::osd().handleKey("channeldown"));
    // The last page shows the last ten rows; the cursor goes as far as the list.
    EXPECT_EQ(list.getCurrentIndex(), 30);
    EXPECT_EQ(list.getTopIndex(), 25);
    EXPECT_TRUE(eScreen::osd().handleKey("channeldown"));
    EXPECT_EQ(list.getCurrentIndex(), 34);
    EXPECT_FALSE(eScreen::osd().handleKey("channeldown"));
    EXPECT_EQ(list.getCurrentIndex(), 34);

    EXPECT_TRUE(eScreen::osd().handleKey("channelup"));
    EXPECT_EQ(list.getCurrentIndex(), 24);
    EXPECT_EQ(list.getTopIndex(), 15);
    EXPECT_TRUE(eScreen::osd().handleKey("channelup"));
    EXPECT_TRUE(eScreen::osd().handleKey("channelup"));
    EXPECT_TRUE(eScreen::osd().handleKey("channelup"));
    EXPECT_EQ(list.getCurrentIndex(), 0);
    EXPECT_EQ(list.getTopIndex(), 0);
}

TEST(ListBox, LeftAndRightPageUnlessTheListSaysNo)
{
    ListWindow<TextList> shown(4, 20);
    TextList &list = *shown.list;
    for (int i = 0; i < 12; ++i)
        new CountedRow(&list, eString().setNum(i));

    EXPECT_TRUE(eScreen::osd().handleKey("right"));
    EXPECT_EQ(list.getCurrentIndex(), 4);
    EXPECT_TRUE(eScreen::osd().handleKey("left"));
    EXPECT_EQ(list.getCurrentIndex(), 0);

    list.setFlags(eListBoxBase::flagNoPageMovement);
    eScreen::osd().handleKey("right");
    EXPECT_EQ(list.getCurrentIndex(), 0);
    // The channel keys still page.
    EXPECT_TRUE(eScreen::osd().handleKey("channeldown"));
    EXPECT_EQ(list.getCurrentIndex(), 4);
}

TEST(ListBox, SelectedHandlerMayClearTheList)
{
    ListWindow<TextList> shown;
    TextList &list = *shown.list;
    int destroyed = 0;
    for (int i = 0; i < 3; ++i)
        new CountedRow(&list, "row", i, &destroyed);
    list.selected.connect([&list](CountedRow *) { list.clearList(); });
    EXPECT_TRUE(eScreen::osd().handleKey("ok"));
    EXPECT_EQ(destroyed, 3);
    EXPECT_EQ(list.getCount(), 0);
    eScreen::osd().compose();
}

TEST(ListBox, SelChangedHandlerMayDeleteTheWindow)
{
    auto shown = std::make_unique<ListWindow<TextList>>();
    for (int i = 0; i < 3; ++i)
        new CountedRow(shown->list, "row", i);
    shown->list->selchanged.connect([&shown](CountedRow *) { shown->window.reset(); });
    EXPECT_TRUE(eScreen::osd().handleKey("down"));
    EXPECT_EQ(shown->window, nullptr);
    eScreen::osd().compose();
}

TEST(ListBox, CurrentRowIsWrittenToTheLcd)
{
    ListWindow<TextList> shown;
    eLabel title(nullptr);
    eLabel element(nullptr);
    shown.window->setLCD(&title, &element);
    new CountedRow(shown.list, "first");
    EXPECT_EQ(element.getText(), "first");
    auto *second = new CountedRow(shown.list, "second");
    eScreen::osd().handleKey("down");
    EXPECT_EQ(element.getText(), "second");
    // Renaming the current row shows the new name.
    second->setText("zwei");
    EXPECT_EQ(element.getText(), "zwei");
    shown.list->take(second);
    EXPECT_EQ(element.getText(), "first");
    delete second;
    delete shown.list->entryAt(0);
    EXPECT_EQ(element.getText(), "");
}

TEST(ListBox, ItemHeightZeroTakesTheTextRowHeight)
{
    TextList list(nullptr);
    EXPECT_EQ(list.getItemHeight(), eListBoxEntryText::getEntryHeight());
    list.setItemHeight(44);
    EXPECT_EQ(list.getItemHeight(), 44);
    list.setItemHeight(0);
    EXPECT_EQ(list.getItemHeight(), eListBoxEntryText::getEntryHeight());
}

TEST(ListBox, ShrinkingTheListKeepsTheCurrentRowInView)
{
    ListWindow<TextList> shown(10, 20);
    TextList &list = *shown.list;
    for (int i = 0; i < 20; ++i)
        new CountedRow(&list, "row", i);
    list.setCurrent(list.entryAt(9));
    EXPECT_EQ(list.getTopIndex(), 0);
    list.resize(eSize(400, 60));
    EXPECT_EQ(list.getPageSize(), 3);
    EXPECT_EQ(list.getTopIndex(), 7);
}

} // namespace
