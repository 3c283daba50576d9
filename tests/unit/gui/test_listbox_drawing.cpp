// What the list box paints, probed in the composed OSD frame: the selection
// bar, the text, the background, which rows are drawn and how much of the
// screen a change damages; and its JSON description.

#include "listbox_test_rows.h"

#include "gui/eskin.h"
#include "gui/gpainter.h"
#include "gui/gpixmap.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace {

using TextList = eListBox<CountedRow>;

constexpr gColor barColour{0, 200, 0};
constexpr gColor barTextColour{0, 0, 255};
constexpr gColor textColour{255, 0, 0};
constexpr gColor windowColour{0, 0, 0};

// A skin with plain, telling colours for the list and an opaque black window.
class ListSkin
{
public:
    explicit ListSkin(const std::string &extraColours = "")
    {
        const auto file = m_dir.file("skin.xml");
        std::ofstream(file) << "<skin><colors>"
                               "<color name=\"eListBox.selected.background\" value=\"#ff00c800\"/>"
                               "<color name=\"eListBox.selected.foreground\" value=\"#ff0000ff\"/>"
                               "<color name=\"eListBox.foreground\" value=\"#ffff0000\"/>"
                               "<color name=\"eWindow.background\" value=\"#ff000000\"/>"
                            << extraColours << "</colors></skin>";
        EXPECT_EQ(m_skin.load(file.c_str()), 0);
        m_skin.setActive();
    }

private:
    TempDir m_dir;
    eSkin m_skin;
};

gColor probe(ePoint point)
{
    return eScreen::osd().pixmap().colorAt(point.x(), point.y());
}

// How many pixels of the row's left half have a channel above `threshold` that the background lacks.
int inkPixels(const ListWindow<TextList> &shown, int row, bool blue)
{
    int count = 0;
    const int height = shown.list->getItemHeight();
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < ListWindow<TextList>::width / 2; ++x) {
            const gColor colour = probe(shown.screenPoint(row, x, y));
            if (blue ? colour.b > 128 : colour.r > 128)
                ++count;
        }
    return count;
}

TEST(ListBoxDrawing, SelectionBarIsBehindTheCurrentRow)
{
    ListSkin skin;
    ListWindow<TextList> shown(5, 30);
    new CountedRow(shown.list, "alpha");
    new CountedRow(shown.list, "beta");
    new CountedRow(shown.list, "gamma");
    eScreen::osd().compose();

    // The right end of a row has no text: it shows the bar or the window.
    EXPECT_EQ(probe(shown.screenPoint(0, 390)), barColour);
    EXPECT_EQ(probe(shown.screenPoint(1, 390)), windowColour);
    EXPECT_EQ(probe(shown.screenPoint(2, 390)), windowColour);

    eScreen::osd().handleKey("down");
    eScreen::osd().compose();
    EXPECT_EQ(probe(shown.screenPoint(0, 390)), windowColour);
    EXPECT_EQ(probe(shown.screenPoint(1, 390)), barColour);
    // The bar covers the whole row.
    EXPECT_EQ(probe(shown.screenPoint(1, 0, 0)), barColour);
    EXPECT_EQ(probe(shown.screenPoint(1, 399, 29)), barColour);
    EXPECT_EQ(probe(shown.screenPoint(2, 0, 0)), windowColour);
}

TEST(ListBoxDrawing, TextIsDrawnInTheColourOfItsRow)
{
    ListSkin skin;
    ListWindow<TextList> shown(5, 30);
    new CountedRow(shown.list, "Selected row");
    new CountedRow(shown.list, "Normal row");
    new CountedRow(shown.list, "");
    eScreen::osd().compose();
    EXPECT_GT(inkPixels(shown, 0, true), 20);
    EXPECT_EQ(inkPixels(shown, 0, false), 0);
    EXPECT_GT(inkPixels(shown, 1, false), 20);
    EXPECT_EQ(inkPixels(shown, 1, true), 0);
    EXPECT_EQ(inkPixels(shown, 2, false), 0);
}

TEST(ListBoxDrawing, OpaqueListBackgroundFillsTheRows)
{
    ListSkin skin("<color name=\"eListBox.background\" value=\"#ff323232\"/>");
    ListWindow<TextList> shown(5, 30);
    new CountedRow(shown.list, "one");
    new CountedRow(shown.list, "two");
    eScreen::osd().compose();
    EXPECT_EQ(probe(shown.screenPoint(1, 390)), gColor(50, 50, 50));
    // Below the last row the list draws nothing.
    EXPECT_EQ(probe(shown.screenPoint(3, 390)), windowColour);
}

TEST(ListBoxDrawing, ARowThatTheBottomEdgeWouldCutIsLeftOut)
{
    ListSkin skin("<color name=\"eListBox.background\" value=\"#ff323232\"/>");
    ListWindow<TextList> shown(5, 30);
    for (const char *name : {"one", "two", "three", "four"})
        new CountedRow(shown.list, name);
    shown.list->resize(eSize(ListWindow<TextList>::width, 75)); // two and a half rows
    eScreen::osd().invalidateAll();
    eScreen::osd().compose();
    EXPECT_EQ(shown.list->getPageSize(), 2);
    EXPECT_EQ(probe(shown.screenPoint(1, 390)), gColor(50, 50, 50));
    EXPECT_EQ(probe(shown.screenPoint(2, 390, 0)), windowColour) << "the third row would be cut: not drawn";
    EXPECT_EQ(probe(shown.screenPoint(2, 390, 14)), windowColour);

    // A list lower than one row still shows that row, cut.
    shown.list->resize(eSize(ListWindow<TextList>::width, 20));
    eScreen::osd().invalidateAll();
    eScreen::osd().compose();
    EXPECT_EQ(probe(shown.screenPoint(0, 390, 0)), barColour);
}

TEST(ListBoxDrawing, ListWithoutTheFocusDimsItsBar)
{
    ListSkin skin;
    ListWindow<TextList> shown(4, 30);
    new CountedRow(shown.list, "one");
    new CountedRow(shown.list, "two");
    // A second focusable list below the first one takes the focus.
    auto *other = new TextList(shown.window.get(), nullptr, 1, 30);
    shown.window->cresize(eSize(400, 8 * 30));
    other->move(ePoint(0, 4 * 30));
    other->resize(eSize(400, 4 * 30));
    new CountedRow(other, "three");
    shown.window->setFocus(other);
    eScreen::osd().compose();

    const gColor dimmed = probe(shown.screenPoint(0, 390));
    EXPECT_NE(dimmed, barColour);
    EXPECT_NE(dimmed, windowColour);
    EXPECT_GT(dimmed.g, 0); // a faint green bar
    EXPECT_LT(dimmed.g, barColour.g);
    EXPECT_EQ(probe(shown.screenPoint(1, 390)), windowColour);
    // The focused list shows the full bar.
    const ePoint otherRow = other->getAbsolutePosition() + ePoint(390, 15);
    EXPECT_EQ(probe(otherRow), barColour);
}

TEST(ListBoxDrawing, RowsStartInsideTheDecoration)
{
    ListSkin skin("</colors><decorations><deco name=\"eListBox\" border=\"4\" borderColor=\"#ffffffff\"/>"
                  "</decorations><colors>");
    ListWindow<TextList> shown(5, 30);
    ASSERT_EQ(shown.list->loadDeco(), 0);
    new CountedRow(shown.list, "one");
    new CountedRow(shown.list, "two");
    eScreen::osd().compose();
    const ePoint corner = shown.list->getAbsolutePosition();
    EXPECT_EQ(probe(corner), gColor(255, 255, 255));
    EXPECT_EQ(probe(corner + ePoint(3, 3)), gColor(255, 255, 255));
    // The bar fills the first row of the client area, within the border.
    EXPECT_EQ(probe(corner + ePoint(4, 4)), barColour);
    EXPECT_EQ(probe(corner + ePoint(395, 33)), barColour);
    EXPECT_EQ(probe(corner + ePoint(396, 33)), gColor(255, 255, 255));
    EXPECT_EQ(probe(corner + ePoint(395, 34)), windowColour);
    EXPECT_EQ(shown.list->getPageSize(), 4); // 150 - 2 * 4 pixels hold four whole rows
}

// A row that paints far beyond its rectangle, as rows drawing a separator line under themselves may.
class OverreachingRow : public eListBoxEntry
{
public:
    using eListBoxEntry::eListBoxEntry;
    const eString &redraw(gPainter *painter, const eRect &rect, gColor, gColor, gColor, gColor, int) override
    {
        ++draws;
        painter->setForegroundColor(gColor(255, 255, 255));
        painter->fill(eRect(rect.topLeft(), eSize(rect.width(), rect.height() * 3)));
        return getText();
    }
    static inline int draws = 0;
};

TEST(ListBoxDrawing, RowsAreClippedToTheirRectangle)
{
    ListSkin skin;
    ListWindow<eListBox<eListBoxEntry>> shown(5, 30);
    new OverreachingRow(shown.list);
    new eListBoxEntry(shown.list);
    eScreen::osd().compose();
    EXPECT_EQ(probe(shown.screenPoint(0, 390, 29)), gColor(255, 255, 255));
    EXPECT_EQ(probe(shown.screenPoint(1, 390, 0)), windowColour);
    EXPECT_EQ(probe(shown.screenPoint(2, 390, 0)), windowColour);
}

TEST(ListBoxDrawing, OnlyRowsInViewAreDrawn)
{
    ListWindow<eListBox<eListBoxEntry>> shown(10, 20);
    OverreachingRow::draws = 0;
    for (int i = 0; i < 200; ++i)
        new OverreachingRow(shown.list);
    eScreen::osd().compose();
    EXPECT_GE(OverreachingRow::draws, 10);
    EXPECT_LE(OverreachingRow::draws, 11);

    // A move within the page draws the two rows that changed.
    OverreachingRow::draws = 0;
    shown.list->goNext();
    eScreen::osd().compose();
    EXPECT_EQ(OverreachingRow::draws, 2);
}

TEST(ListBoxDrawing, CursorMoveDamagesTheTwoRowsThatChanged)
{
    ListWindow<TextList> shown(10, 20);
    for (int i = 0; i < 30; ++i)
        new CountedRow(shown.list, eString().setNum(i));
    eScreen::osd().compose();
    eRect changed;
    auto connection = eScreen::osd().frameComposed.connect([&changed](const eRect &rect) { changed = rect; });

    shown.list->goNext();
    EXPECT_EQ(eScreen::osd().compose(), 2);
    const eRect list = shown.list->getAbsoluteRect();
    EXPECT_EQ(changed, eRect(list.topLeft(), eSize(400, 40)));

    // A move that scrolls redraws the list.
    shown.list->setCurrent(shown.list->entryAt(9));
    eScreen::osd().compose();
    shown.list->goNext();
    eScreen::osd().compose();
    EXPECT_EQ(shown.list->getTopIndex(), 1);
    EXPECT_EQ(changed, list);
    connection.disconnect();
}

// A list that counts how often it is painted.
class CountingList : public TextList
{
public:
    using TextList::TextList;
    int paints = 0;

protected:
    void redrawWidget(gPainter *painter, const eRect &area) override
    {
        ++paints;
        TextList::redrawWidget(painter, area);
    }
};

TEST(ListBoxDrawing, AtomicUpdateRedrawsOnceAtItsEnd)
{
    ListWindow<CountingList> shown(10, 20);
    CountingList &list = *shown.list;
    new CountedRow(&list, "kept", 5);
    eScreen::osd().compose();
    list.paints = 0;

    list.beginAtomic();
    list.beginAtomic();
    auto *taken = new CountedRow(&list, "taken", 1);
    for (int i = 0; i < 20; ++i)
        new CountedRow(&list, eString().setNum(i), 20 - i);
    list.goNext();
    list.sort();
    list.take(taken);
    list.setCurrent(list.entryAt(3));
    list.getEntry(0)->setText("renamed");
    list.endAtomic();
    EXPECT_FALSE(eScreen::osd().hasDamage());
    list.endAtomic();
    EXPECT_TRUE(eScreen::osd().hasDamage());
    EXPECT_EQ(eScreen::osd().compose(), 1);
    EXPECT_EQ(list.paints, 1);
    delete taken;

    // An update that changes nothing draws nothing.
    list.beginAtomic();
    list.endAtomic();
    EXPECT_FALSE(eScreen::osd().hasDamage());
}

TEST(ListBoxDrawing, DescriptionListsRowsAndCurrent)
{
    ListWindow<TextList> shown;
    for (const char *text : {"alpha", "beta", "gamma"})
        new CountedRow(shown.list, text);
    shown.list->goNext();
    const std::string json = eScreen::osd().describe();
    EXPECT_NE(json.find("\"type\":\"eListBox\""), std::string::npos) << json;
    EXPECT_NE(json.find("\"rows\":[\"alpha\",\"beta\",\"gamma\"]"), std::string::npos) << json;
    EXPECT_NE(json.find("\"count\":3"), std::string::npos) << json;
    EXPECT_NE(json.find("\"current\":1"), std::string::npos) << json;
    EXPECT_NE(json.find("\"top\":0"), std::string::npos) << json;
}

TEST(ListBoxDrawing, DescriptionOfAnEmptyListHasNoCurrentRow)
{
    ListWindow<TextList> shown;
    const std::string json = eScreen::osd().describe();
    EXPECT_NE(json.find("\"rows\":[]"), std::string::npos) << json;
    EXPECT_NE(json.find("\"current\":-1"), std::string::npos) << json;
}

TEST(ListBoxDrawing, DescriptionOfAHugeListIsCapped)
{
    ListWindow<TextList> shown;
    shown.list->beginAtomic();
    for (int i = 0; i < 1500; ++i)
        new CountedRow(shown.list, eString().setNum(i));
    shown.list->endAtomic();
    const std::string json = eScreen::osd().describe();
    EXPECT_NE(json.find("\"999\"]"), std::string::npos);
    EXPECT_EQ(json.find("\"1000\""), std::string::npos);
    EXPECT_NE(json.find("\"count\":1500"), std::string::npos);
}

} // namespace
