// The list rows: the text row's height from the skin font, menu rows and
// their keys, separators, and choice rows stepped with left and right.

#include "listbox_test_rows.h"

#include "gui/eaction.h"
#include "gui/elistboxentrymenu.h"
#include "gui/eskin.h"
#include "gui/gfont.h"
#include "gui/gpixmap.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace {

using MenuList = eListBox<eListBoxEntryMenu>;

// A skin that only names the list font, at `size` pixels.
class FontSkin
{
public:
    explicit FontSkin(int size)
    {
        const auto file = m_dir.file("skin.xml");
        std::ofstream(file) << "<skin><fonts><font name=\"eListBox.EntryText.normal\" face=\"Regular\" size=\"" << size
                            << "\"/></fonts></skin>";
        EXPECT_EQ(m_skin.load(file.c_str()), 0);
        m_skin.setActive();
    }

private:
    TempDir m_dir;
    eSkin m_skin;
};

TEST(ListEntries, EntryHeightFollowsTheSkinFont)
{
    {
        FontSkin skin(30);
        const int lineHeight = fontMetrics(gFont("Regular", 30)).lineHeight;
        ASSERT_GT(lineHeight, 30);
        EXPECT_EQ(eListBoxEntryText::getEntryHeight(), lineHeight + 2 * eListBoxEntryText::entryPadding);
        // A list made with item height 0 takes it.
        MenuList list(nullptr);
        EXPECT_EQ(list.getItemHeight(), eListBoxEntryText::getEntryHeight());
    }
    {
        FontSkin skin(12);
        EXPECT_EQ(eListBoxEntryText::getEntryHeight(),
                  fontMetrics(gFont("Regular", 12)).lineHeight + 2 * eListBoxEntryText::entryPadding);
        EXPECT_LT(eListBoxEntryText::getEntryHeight(), 30);
    }
}

TEST(ListEntries, TextRowKeepsItsTextAndHelp)
{
    eListBox<eListBoxEntryText> list(nullptr, nullptr, 1, 20);
    auto *row = new eListBoxEntryText(&list, "Jazz", "stations of the genre", eTextPara::dirRight);
    EXPECT_EQ(row->getText(), "Jazz");
    EXPECT_EQ(row->getHelpText(), "stations of the genre");
    EXPECT_EQ(row->getAlign(), eTextPara::dirRight);
    EXPECT_EQ(row->getListBox(), &list);
    EXPECT_TRUE(row->isSelectable());
    row->setText("Blues");
    EXPECT_EQ(row->getText(), "Blues");
}

TEST(ListEntries, ChangedTextRedrawsTheRowOnly)
{
    ListWindow<eListBox<eListBoxEntryText>> shown(5, 30);
    new eListBoxEntryText(shown.list, "one");
    auto *second = new eListBoxEntryText(shown.list, "two");
    eScreen::osd().compose();
    second->setText("two");
    EXPECT_FALSE(eScreen::osd().hasDamage());
    eRect changed;
    auto connection = eScreen::osd().frameComposed.connect([&changed](const eRect &rect) { changed = rect; });
    second->setText("deux");
    EXPECT_EQ(eScreen::osd().compose(), 1);
    const eRect list = shown.list->getAbsoluteRect();
    EXPECT_EQ(changed, eRect(list.topLeft() + ePoint(0, 30), eSize(400, 30)));
    connection.disconnect();
}

TEST(ListEntries, MenuRowCarriesItsKey)
{
    MenuList list(nullptr, nullptr, 1, 20);
    auto *search = new eListBoxEntryMenu(&list, "search", "", 0, 3);
    auto *stop = new eListBoxEntryMenu(&list, "Stop Record", "", 1, 5, 2);
    EXPECT_EQ(search->getKey(), 3);
    EXPECT_EQ(search->getKeyType(), 0);
    EXPECT_FALSE(search->isHighlighted());
    EXPECT_EQ(stop->getKey(), 5);
    EXPECT_EQ(stop->getKeyType(), 2);
    EXPECT_TRUE(stop->isHighlighted());
    EXPECT_EQ(list.getCurrent(), search);
}

TEST(ListEntries, SeparatorIsSkippedByTheCursor)
{
    MenuList list(nullptr, nullptr, 1, 20);
    auto *leading = new eListBoxEntryMenuSeparator(&list, nullptr);
    auto *first = new eListBoxEntryMenu(&list, "first", "", 0, 1);
    auto *separator = new eListBoxEntryMenuSeparator(&list, nullptr);
    auto *second = new eListBoxEntryMenu(&list, "second", "", 0, 2);

    EXPECT_FALSE(separator->isSelectable());
    EXPECT_EQ(separator->getKey(), 0);
    EXPECT_EQ(separator->getText(), "");
    // A separator never becomes current.
    EXPECT_EQ(list.getCurrent(), first);
    EXPECT_EQ(list.goNext(), 0);
    EXPECT_EQ(list.getCurrent(), second);
    EXPECT_EQ(list.goPrev(), 0);
    EXPECT_EQ(list.getCurrent(), first);
    EXPECT_EQ(list.goPrev(), -1);
    EXPECT_EQ(list.setCurrent(separator), -1);
    EXPECT_EQ(list.setCurrent(leading), -1);
    EXPECT_EQ(list.getCurrent(), first);
    // Taking the current row never lands on a separator.
    list.take(first);
    EXPECT_EQ(list.getCurrent(), second);
    delete first;
}

TEST(ListEntries, WrapAroundSkipsSeparators)
{
    MenuList list(nullptr, nullptr, 1, 20);
    list.setFlags(eListBoxBase::flagWrapAround);
    new eListBoxEntryMenuSeparator(&list, nullptr);
    auto *only = new eListBoxEntryMenu(&list, "only", "", 0, 1);
    auto *other = new eListBoxEntryMenu(&list, "other", "", 0, 2);
    new eListBoxEntryMenuSeparator(&list, nullptr);
    EXPECT_EQ(list.goNext(), 0);
    EXPECT_EQ(list.getCurrent(), other);
    EXPECT_EQ(list.goNext(), 0);
    EXPECT_EQ(list.getCurrent(), only);
    EXPECT_EQ(list.goPrev(), 0);
    EXPECT_EQ(list.getCurrent(), other);
}

TEST(ListEntries, SeparatorDrawsItsImageCentred)
{
    ListWindow<MenuList> shown(3, 30);
    gPixmap image(eSize(40, 4));
    image.fillAll(0xffff00ffu);
    new eListBoxEntryMenu(shown.list, "first", "", 0, 1);
    new eListBoxEntryMenuSeparator(shown.list, &image);
    eScreen::osd().compose();
    const gPixmap &screen = eScreen::osd().pixmap();
    const ePoint centre = shown.screenPoint(1, 200, 15);
    EXPECT_EQ(screen.pixel(centre.x(), centre.y()), 0xffff00ffu);
    EXPECT_EQ(screen.pixel(centre.x() - 20, centre.y()), 0xffff00ffu);
    EXPECT_NE(screen.pixel(centre.x() - 21, centre.y()), 0xffff00ffu);
    EXPECT_NE(screen.pixel(centre.x(), centre.y() - 3), 0xffff00ffu);
}

TEST(ListEntries, StretchedSeparatorSpansTheRow)
{
    ListWindow<MenuList> shown(3, 30);
    gPixmap image(eSize(2, 2));
    image.fillAll(0xff00ffffu);
    new eListBoxEntryMenu(shown.list, "first", "", 0, 1);
    new eListBoxEntryMenuSeparator(shown.list, &image, 0, true);
    eScreen::osd().compose();
    const gPixmap &screen = eScreen::osd().pixmap();
    const int margin = eListBoxEntryText::textMargin;
    const ePoint left = shown.screenPoint(1, margin, 14);
    const ePoint right = shown.screenPoint(1, 399 - margin, 14);
    EXPECT_EQ(screen.pixel(left.x(), left.y()), 0xff00ffffu);
    EXPECT_EQ(screen.pixel(right.x(), right.y()), 0xff00ffffu);
    EXPECT_NE(screen.pixel(left.x() - 1, left.y()), 0xff00ffffu);
}

TEST(ListEntries, SeparatorWithoutImageDrawsAThinLine)
{
    ListWindow<MenuList> shown(3, 30);
    new eListBoxEntryMenu(shown.list, "first", "", 0, 1);
    new eListBoxEntryMenuSeparator(shown.list, nullptr);
    eScreen::osd().compose();
    const gColor onLine =
        eScreen::osd().pixmap().colorAt(shown.screenPoint(1, 200, 15).x(), shown.screenPoint(1, 200, 15).y());
    const gColor beside =
        eScreen::osd().pixmap().colorAt(shown.screenPoint(1, 200, 10).x(), shown.screenPoint(1, 200, 10).y());
    EXPECT_NE(onLine, beside);
    EXPECT_GT(onLine.r + onLine.g + onLine.b, beside.r + beside.g + beside.b);
}

// A shown menu list with one choice row "after 15 seconds" (60, 61, 62) under an action row.
class ChoiceRow : public ::testing::Test
{
protected:
    ChoiceRow() : shown(5, 30)
    {
        new eListBoxEntryMenu(shown.list, "search", "", 0, 3);
        multi = new eListBoxEntryMulti(shown.list, "after 15 seconds");
        multi->add("  nothing >", 60);
        multi->add("< smaller >", 61);
        multi->add("< hide  ", 62);
        shown.list->selchanged.connect([this](eListBoxEntryMenu *row) { reported.push_back(row); });
        shown.list->setCurrent(multi);
    }

    ListWindow<MenuList> shown;
    eListBoxEntryMulti *multi;
    std::vector<eListBoxEntryMenu *> reported;
};

TEST_F(ChoiceRow, StartsAtTheFirstChoice)
{
    EXPECT_EQ(multi->getKey(), 60);
    EXPECT_EQ(multi->getCurrentText(), "  nothing >");
    EXPECT_EQ(multi->getText(), "after 15 seconds\t  nothing >");
    EXPECT_TRUE(reported.empty());
}

TEST_F(ChoiceRow, RightAndLeftStepThroughTheChoices)
{
    multi->setCurrent(61);
    EXPECT_TRUE(reported.empty()); // setting a value is not a user's change

    EXPECT_TRUE(eScreen::osd().handleKey("right"));
    EXPECT_EQ(multi->getKey(), 62);
    EXPECT_EQ(multi->getCurrentText(), "< hide  ");
    ASSERT_EQ(reported.size(), 1u);
    EXPECT_EQ(reported[0], multi);

    // At the last choice nothing changes and nothing is reported; the cursor stays.
    EXPECT_TRUE(eScreen::osd().handleKey("right"));
    EXPECT_EQ(multi->getKey(), 62);
    EXPECT_EQ(reported.size(), 1u);
    EXPECT_EQ(shown.list->getCurrent(), multi);

    EXPECT_TRUE(eScreen::osd().handleKey("left"));
    EXPECT_TRUE(eScreen::osd().handleKey("left"));
    EXPECT_EQ(multi->getKey(), 60);
    EXPECT_EQ(reported.size(), 3u);
    EXPECT_TRUE(eScreen::osd().handleKey("left"));
    EXPECT_EQ(multi->getKey(), 60);
    EXPECT_EQ(reported.size(), 3u);
    EXPECT_EQ(shown.list->getCurrent(), multi);
}

TEST_F(ChoiceRow, OkSelectsTheChoiceRowWithItsValueAsKey)
{
    std::vector<int> keys;
    shown.list->selected.connect([&keys](eListBoxEntryMenu *row) { keys.push_back(row ? row->getKey() : -1); });
    eScreen::osd().handleKey("right");
    eScreen::osd().handleKey("ok");
    EXPECT_EQ(keys, std::vector<int>{61});
}

TEST_F(ChoiceRow, ChangedChoiceIsDrawnAgain)
{
    eScreen::osd().compose();
    eScreen::osd().handleKey("right");
    EXPECT_TRUE(eScreen::osd().hasDamage());
    eRect changed;
    auto connection = eScreen::osd().frameComposed.connect([&changed](const eRect &rect) { changed = rect; });
    eScreen::osd().compose();
    const eRect list = shown.list->getAbsoluteRect();
    EXPECT_EQ(changed, eRect(list.topLeft() + ePoint(0, 30), eSize(400, 30)));
    connection.disconnect();
}

TEST_F(ChoiceRow, HandlerMayDeleteTheRow)
{
    shown.list->selchanged.connect([](eListBoxEntryMenu *row) { delete row; });
    EXPECT_TRUE(eScreen::osd().handleKey("right"));
    EXPECT_EQ(shown.list->getCount(), 1);
    eScreen::osd().compose();
}

TEST(ListEntries, ChoiceRowKeepsAValueNoChoiceHas)
{
    MenuList list(nullptr, nullptr, 1, 20);
    auto *bitrate = new eListBoxEntryMulti(&list, "Filters for minimum bitrate");
    for (int i = 3; i <= 14; ++i)
        bitrate->add(eString().setNum(i * 32), i * 32);
    bitrate->setCurrent(100);
    EXPECT_EQ(bitrate->getKey(), 100);
    EXPECT_EQ(bitrate->getCurrentText(), "100");

    std::vector<eListBoxEntryMenu *> reported;
    list.selchanged.connect([&reported](eListBoxEntryMenu *row) { reported.push_back(row); });
    const eAction &right = i_cursorActions->right;
    const eAction &left = i_cursorActions->left;
    EXPECT_EQ(bitrate->eventHandler(eWidgetEvent(eWidgetEvent::evtAction, 0, &right)), 1);
    EXPECT_EQ(bitrate->getKey(), 128);
    bitrate->setCurrent(100);
    EXPECT_EQ(bitrate->eventHandler(eWidgetEvent(eWidgetEvent::evtAction, 0, &left)), 1);
    EXPECT_EQ(bitrate->getKey(), 96);
    EXPECT_EQ(reported.size(), 2u);

    // Below every choice, left has nowhere to go.
    bitrate->setCurrent(50);
    EXPECT_EQ(bitrate->eventHandler(eWidgetEvent(eWidgetEvent::evtAction, 0, &left)), 1);
    EXPECT_EQ(bitrate->getKey(), 50);
    EXPECT_EQ(reported.size(), 2u);
}

TEST(ListEntries, ChoiceSetBeforeItIsAddedShowsItsText)
{
    MenuList list(nullptr, nullptr, 1, 20);
    auto *background = new eListBoxEntryMulti(&list, "show in the background (left, right)");
    background->setCurrent(51);
    EXPECT_EQ(background->getCurrentText(), "51");
    background->add("  TV >", 50);
    background->add("<  MVI  ", 51);
    EXPECT_EQ(background->getKey(), 51);
    EXPECT_EQ(background->getCurrentText(), "<  MVI  ");
}

TEST(ListEntries, ChoiceRowIgnoresOtherActions)
{
    MenuList list(nullptr, nullptr, 1, 20);
    auto *multi = new eListBoxEntryMulti(&list, "title");
    multi->add("a", 1);
    multi->add("b", 2);
    const eAction &ok = i_cursorActions->ok;
    EXPECT_EQ(multi->eventHandler(eWidgetEvent(eWidgetEvent::evtAction, 0, &ok)), 0);
    EXPECT_EQ(multi->eventHandler(eWidgetEvent(eWidgetEvent::gotFocus)), 0);
    EXPECT_EQ(multi->getKey(), 1);
}

TEST(ListEntries, ChoiceRowDrawsTitleLeftAndChoiceRight)
{
    ListWindow<MenuList> shown(3, 30);
    auto *multi = new eListBoxEntryMulti(shown.list, "Title");
    multi->add("Value", 1);
    eScreen::osd().compose();
    // With the window's background as reference, the text leaves ink near
    // both ends of the row and none in the middle.
    const gPixmap &screen = eScreen::osd().pixmap();
    auto inkBetween = [&](int from, int to) {
        int ink = 0;
        for (int y = 0; y < 30; ++y)
            for (int x = from; x < to; ++x) {
                const ePoint point = shown.screenPoint(0, x, y);
                const ePoint reference = shown.screenPoint(0, 399, y);
                if (screen.pixel(point.x(), point.y()) != screen.pixel(reference.x(), reference.y()))
                    ++ink;
            }
        return ink;
    };
    EXPECT_GT(inkBetween(0, 100), 20);
    EXPECT_EQ(inkBetween(150, 250), 0);
    EXPECT_GT(inkBetween(300, 399), 20);
}

} // namespace
