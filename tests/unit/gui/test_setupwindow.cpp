// The menu window: its size from rows and width, its list of menu rows, OK
// on a row reaching the list's selected signal, choice rows changed with left
// and right, the exit key, and the member list surviving the window's end.

#include "base/ebase.h"
#include "gui/elistbox.h"
#include "gui/elistboxentrymenu.h"
#include "gui/esetupwindow.h"
#include "gui/eskin.h"
#include "gui/widgets/escreen.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <vector>

namespace {

void press(std::initializer_list<const char *> keys)
{
    for (const char *key : keys)
        eScreen::osd().handleKey(key);
}

// A menu as the plug-in builds it: action rows, a separator, a choice row;
// OK closes it with the row's key.
class Menu : public eSetupWindow
{
public:
    Menu() : eSetupWindow("Menu", 10, 450)
    {
        new eListBoxEntryMenu(&list, "Add to favourites", "", 0, 2);
        new eListBoxEntryMenu(&list, "search", "", 0, 3);
        new eListBoxEntryMenuSeparator(&list, nullptr);
        new eListBoxEntryMenu(&list, "Streamripper directory", "", 0, 6);
        choice = new eListBoxEntryMulti(&list, "after 15 seconds");
        choice->add("  nothing >", 60);
        choice->add("< smaller >", 61);
        choice->add("< hide  ", 62);
        choice->setCurrent(60);
        list.setFlags(eListBoxBase::flagWrapAround);
        list.selected.connect([this](eListBoxEntryMenu *row) {
            if (row && row->getKey() != 6)
                close(row->getKey());
        });
    }

    eListBoxEntryMulti *choice;
};

TEST(SetupWindow, ClientAreaIsTheWidthAndTheRowsHigh)
{
    eSetupWindow menu("Menu", 10, 450);
    const int rowHeight = eListBoxEntryText::getEntryHeight();
    ASSERT_GT(rowHeight, 0);
    EXPECT_EQ(menu.getText(), "Menu");
    EXPECT_EQ(menu.visibleRows(), 10);
    EXPECT_EQ(menu.getClientSize().width(), 450);
    const int frame = menu.list.getSize().height() - menu.list.getClientRect().height();
    EXPECT_EQ(menu.getClientSize().height(), 10 * rowHeight + frame);
    EXPECT_EQ(menu.list.getPosition(), ePoint(0, 0));
    EXPECT_EQ(menu.list.getSize(), menu.getClientSize()) << "the list fills the client area";
    EXPECT_EQ(menu.list.getPageSize(), 10);
}

TEST(SetupWindow, WithTheDefaultSkinTheListsFrameIsPartOfTheClientArea)
{
    eSkin skin;
    ASSERT_EQ(skin.load(TARNWAVE_BINARY_DIR "/data/skin/default.xml"), 0);
    skin.setActive();
    eSetupWindow menu("Menu", 10, 450);
    const eDecoration &frame = menu.list.decoration();
    ASSERT_TRUE(frame.valid);
    EXPECT_EQ(menu.getClientSize(), eSize(450, 10 * eListBoxEntryText::getEntryHeight() + 2 * frame.borderWidth));
    EXPECT_EQ(menu.list.getPageSize(), 10) << "ten whole rows are in view";
}

TEST(SetupWindow, CentredUntilMovedByItsClientArea)
{
    eSetupWindow menu("Menu", 10, 450);
    const eRect rect = menu.getAbsoluteRect();
    EXPECT_NEAR(rect.left() + rect.width() / 2, 360, 1);
    EXPECT_NEAR(rect.top() + rect.height() / 2, 288, 1);
    menu.cmove(ePoint(150, 115));
    EXPECT_EQ(menu.list.getAbsolutePosition(), ePoint(150, 115));
}

TEST(SetupWindow, RowsAreTheListsInTheirOrder)
{
    Menu menu;
    ASSERT_EQ(menu.list.getCount(), 5);
    std::vector<int> keys;
    menu.list.forEachEntry([&keys](eListBoxEntryMenu &row) {
        keys.push_back(row.getKey());
        return false;
    });
    EXPECT_EQ(keys, (std::vector<int>{2, 3, 0, 6, 60}));
    EXPECT_EQ(menu.list.getEntry(1)->getText(), "search");
    EXPECT_FALSE(menu.list.getEntry(2)->isSelectable());
    EXPECT_EQ(menu.list.getCurrent(), menu.list.getEntry(0));
}

TEST(SetupWindow, TheListHasTheFocus)
{
    Menu menu;
    menu.show();
    EXPECT_EQ(menu.getFocus(), &menu.list);
    menu.hide();
}

TEST(SetupWindow, OkOnARowEmitsSelectedWithIt)
{
    eApplication app;
    Menu menu;
    menu.show();
    std::vector<eListBoxEntryMenu *> selected;
    menu.list.selected.connect([&selected](eListBoxEntryMenu *row) { selected.push_back(row); });
    app.post([] { press({"down", "ok"}); });
    EXPECT_EQ(menu.exec(), 3);
    ASSERT_EQ(selected.size(), 1u);
    EXPECT_EQ(selected[0], menu.list.getEntry(1));

    // The separator is skipped; the caption row does not close the menu.
    app.post([] { press({"down", "ok", "up", "ok"}); });
    EXPECT_EQ(menu.exec(), 3);
    menu.hide();
}

TEST(SetupWindow, ExitKeyReturnsMinusOne)
{
    eApplication app;
    Menu menu;
    menu.show();
    app.post([] { press({"down", "exit"}); });
    EXPECT_EQ(menu.exec(), -1);
    menu.hide();
}

TEST(SetupWindow, LeftAndRightChangeAChoiceRow)
{
    eApplication app;
    Menu menu;
    menu.show();
    std::vector<int> changedTo;
    menu.list.selchanged.connect([&](eListBoxEntryMenu *row) {
        if (row == menu.choice)
            changedTo.push_back(row->getKey());
    });
    app.post([] { press({"up", "right", "right", "right", "left", "ok"}); });
    // Up from the first row wraps to the choice row; OK there closes with its value.
    EXPECT_EQ(menu.exec(), 61);
    // The cursor arriving on the row reports it too; the step right at the
    // last choice changes nothing and reports nothing.
    EXPECT_EQ(changedTo, (std::vector<int>{60, 61, 62, 61}));
    EXPECT_EQ(menu.choice->getKey(), 61);
    menu.hide();
}

// A row that counts its deletion.
class CountedRow : public eListBoxEntryMenu
{
public:
    CountedRow(eListBoxBase *list, int &deleted) : eListBoxEntryMenu(list, "row", "", 0, 9), m_deleted(deleted) { }
    ~CountedRow() override { ++m_deleted; }

private:
    int &m_deleted;
};

TEST(SetupWindow, DeletingAShownMenuFreesTheListAndItsRows)
{
    auto menu = std::make_unique<Menu>();
    menu->show();
    press({"down"});
    ASSERT_EQ(menu->getFocus(), &menu->list);
    eScreen::osd().compose();
    const std::weak_ptr<void> listAlive = menu->list.lifeToken();
    int rowsDeleted = 0;
    new CountedRow(&menu->list, rowsDeleted);
    new CountedRow(&menu->list, rowsDeleted);
    menu.reset();
    EXPECT_TRUE(listAlive.expired());
    EXPECT_EQ(rowsDeleted, 2) << "the rows went with the list";
    for (eWidget *window : eScreen::osd().windows())
        EXPECT_STRNE(window->typeName(), "eSetupWindow");
    eScreen::osd().compose();
}

TEST(SetupWindow, DrawsTheRowsIntoTheScreen)
{
    Menu menu;
    menu.show();
    eScreen::osd().compose();
    // Some pixel of the first row differs from the window's background further down.
    const eRect list = menu.list.getAbsoluteRect();
    const gPixmap &screen = eScreen::osd().pixmap();
    const gRGB empty = screen.colorAt(list.left() + 5, list.bottom() - 5);
    int differing = 0;
    const int rowHeight = menu.list.getItemHeight();
    for (int y = list.top(); y < list.top() + rowHeight; ++y)
        for (int x = list.left(); x < list.right(); ++x)
            if (!(screen.colorAt(x, y) == empty))
                ++differing;
    EXPECT_GT(differing, 100) << "the first row (the selection bar and its text) is drawn";
    menu.hide();
}

} // namespace
