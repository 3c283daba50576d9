// The rows of the plug-in's lists: a row on its record, the order the lists
// are sorted in, and what a row draws (number, name, music icon, info line),
// laid out once on the first draw.

#include "plugin_test_support.h"

#include "plugin/ctarnwave.h"

#include "base/messages.h"
#include "gui/etextpara.h"
#include "gui/gpainter.h"
#include "gui/gpixmap.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using RowList = eListBox<my_ListBox>;

constexpr int rowWidth = 500;
constexpr gColor ink{255, 255, 255};
constexpr gColor barBackground{0, 0, 255};
constexpr gColor barInk{255, 255, 0};
constexpr gColor noBackground{0, 0, 0, 0};

std::shared_ptr<Listentry> station(int index, const char *name, const char *bitrate = "", const char *genre = "",
                                   const char *url = "")
{
    auto record = std::make_shared<Listentry>(index, name);
    record->type = Listentry::ENTRY_STATION;
    record->bitrate = bitrate;
    record->genre = genre;
    record->url = url;
    return record;
}

// A bare list box with rows to sort, in a window that is never shown.
class SortedRows : public ::testing::Test
{
protected:
    void TearDown() override { Listentry::setSort = Listentry::SORT_INDEX; }

    my_ListBox *add(const std::shared_ptr<Listentry> &record) { return new my_ListBox(list, record, false); }

    std::vector<int> sortedIndexes()
    {
        list->sort();
        std::vector<int> indexes;
        list->forEachEntry([&](my_ListBox &row) {
            indexes.push_back(row.entry->index);
            return false;
        });
        return indexes;
    }

    std::vector<std::string> sortedNames()
    {
        list->sort();
        std::vector<std::string> names;
        list->forEachEntry([&](my_ListBox &row) {
            names.push_back(row.entry->name);
            return false;
        });
        return names;
    }

    plugintest::Box box;
    eWindow window{0};
    RowList *list = new RowList(&window, nullptr, 1, 40);
};

// Draws `row` as the list would, into a transparent pixmap of one row: not
// current, no background, white text.
std::unique_ptr<gPixmap> drawRow(my_ListBox &row)
{
    auto pixmap = std::make_unique<gPixmap>(eSize(rowWidth, my_ListBox::EntryHeight));
    gPainter painter(*pixmap);
    row.redraw(&painter, eRect(ePoint(0, 0), pixmap->size()), barBackground, barInk, noBackground, ink, 0);
    return pixmap;
}

// `text` laid out in `font` over `area` and drawn at (50, 0), as the reference
// for what a row should show there.
std::unique_ptr<gPixmap> drawText(const eString &text, const gFont &font, const eRect &area)
{
    auto pixmap = std::make_unique<gPixmap>(eSize(rowWidth, my_ListBox::EntryHeight));
    gPainter painter(*pixmap);
    painter.setForegroundColor(ink);
    eTextPara *para = new eTextPara(area);
    para->setFont(font);
    para->renderString(text, 0);
    para->realign(eTextPara::dirLeft);
    painter.renderPara(*para, ePoint(50, 0));
    para->destroy();
    return pixmap;
}

// The area the info line is drawn in, relative to its drawing point.
eRect infoArea()
{
    const int E = my_ListBox::EntryHeight;
    return eRect::fromEdges(0, E / 2, rowWidth - 50, E / 2 + E / 2);
}

// Whether the two pixmaps agree inside `area`, and how many pixels there hold ink.
struct Comparison
{
    bool same = true;
    int inked = 0;
};

Comparison compare(const gPixmap &a, const gPixmap &b, const eRect &area)
{
    Comparison result;
    for (int y = area.top(); y < area.bottom(); ++y)
        for (int x = area.left(); x < area.right(); ++x) {
            if (a.pixel(x, y) != b.pixel(x, y))
                result.same = false;
            if (a.pixel(x, y) != 0)
                ++result.inked;
        }
    return result;
}

// The info line's pixels: right of the number column, in the lower half, above
// the separator line.
eRect infoPixels()
{
    const int E = my_ListBox::EntryHeight;
    return eRect::fromEdges(50, E / 2, rowWidth, E - 1);
}

// Whether the skin's music icon stands with its top-left corner at `at`:
// every opaque pixel of the icon is there.
bool iconAt(const gPixmap &drawn, ePoint at)
{
    const gPixmap *icon = eSkin::getActive()->queryImage("extension.music");
    int opaque = 0;
    for (int y = 0; y < icon->height(); ++y)
        for (int x = 0; x < icon->width(); ++x) {
            if (icon->colorAt(x, y).a != 255)
                continue;
            ++opaque;
            if (drawn.pixel(at.x() + x, at.y() + y) != icon->pixel(x, y))
                return false;
        }
    return opaque > 0;
}

class RowDrawing : public ::testing::Test
{
protected:
    RowDrawing()
    {
        setMessageLanguage("");
        my_ListBox::EntryHeight = 2 * eListBoxEntryText::getEntryHeight();
    }
    ~RowDrawing() override { setMessageLanguage(""); }

    gFont stationFont() const { return eSkin::getActive()->queryFont("eStatusBar"); }

    plugintest::Box box;
};

// --- the row and its record

TEST(Rows, ARowShowsAFreshRecordByItsName)
{
    plugintest::Box box;
    eWindow window(0);
    auto *list = new RowList(&window, nullptr, 1, 40);
    auto record = std::make_shared<Listentry>(5, "Jazz");

    auto *row = new my_ListBox(list, record, false);

    EXPECT_EQ(record->url, "");
    EXPECT_EQ(record->tuneinBase, "");
    EXPECT_EQ(record->bitrate, "");
    EXPECT_EQ(record->genre, "");
    EXPECT_EQ(record->id, "");
    EXPECT_EQ(record->type, Listentry::ENTRY_GENRE);
    EXPECT_EQ(record->index, 5);
    EXPECT_EQ(row->entry, record);
    EXPECT_EQ(row->getText(), "Jazz");
    EXPECT_EQ(row->getHelpText(), " ");
    EXPECT_EQ(row->namePara, nullptr);
    EXPECT_EQ(row->indexPara, nullptr);
    EXPECT_EQ(row->infoPara, nullptr);
    ASSERT_EQ(list->getCount(), 1);
    EXPECT_EQ(list->getEntry(0), row);
}

TEST(Rows, ARowMadeWithoutAListBoxBelongsToNoList)
{
    plugintest::Box box;
    eWindow window(0);
    auto *list = new RowList(&window, nullptr, 1, 40);
    auto record = std::make_shared<Listentry>(1, "Rock");

    auto *row = new my_ListBox(nullptr, record, false);

    EXPECT_FALSE(row->isInList());
    EXPECT_EQ(row->getListBox(), nullptr);
    EXPECT_EQ(list->getCount(), 0);
    // The row does not own its record alone: the record outlives it.
    delete row;
    EXPECT_EQ(record.use_count(), 1);
    EXPECT_EQ(record->name, "Rock");
}

TEST(Rows, TwoRowsShareOneRecordThatLivesAsLongAsEither)
{
    plugintest::Box box;
    eWindow window(0);
    auto *directory = new RowList(&window, nullptr, 1, 40);
    auto *favourites = new RowList(&window, nullptr, 1, 40);
    std::weak_ptr<Listentry> watch;
    {
        auto record = station(1, "Radio One", "128", "Pop");
        watch = record;
        new my_ListBox(directory, record, false);
        new my_ListBox(favourites, record, false);
    }
    directory->clearList();
    ASSERT_FALSE(watch.expired());
    EXPECT_EQ(favourites->getEntry(0)->entry->name, "Radio One");
    favourites->clearList();
    EXPECT_TRUE(watch.expired());
}

// --- the sort order of the rows

TEST_F(SortedRows, EqualBitratesGoByIndexAndTheTextuallyGreaterBitrateFirst)
{
    Listentry::setSort = Listentry::SORT_BITRATE;
    add(station(7, "Seven", "128"));
    add(station(3, "Three", "128"));
    EXPECT_EQ(sortedIndexes(), (std::vector<int>{3, 7}));

    list->clearList();
    add(station(1, "One", "128"));
    add(station(2, "Two", "64"));
    EXPECT_EQ(sortedIndexes(), (std::vector<int>{2, 1}));
}

TEST_F(SortedRows, NamesGoByByteValueSoCapitalsComeFirst)
{
    Listentry::setSort = Listentry::SORT_NAME;
    add(station(1, "abc radio"));
    add(station(2, "ABC Radio"));
    add(station(3, "alpha"));
    add(station(4, "Zeta"));
    EXPECT_EQ(sortedNames(), (std::vector<std::string>{"ABC Radio", "Zeta", "abc radio", "alpha"}));
}

TEST_F(SortedRows, AnyOtherModeSortsByIndex)
{
    add(station(3, "c", "320"));
    add(station(1, "b", "96"));
    add(station(2, "a", "128"));
    for (int mode : {Listentry::SORT_INDEX, 0, 13, 42, -1}) {
        Listentry::setSort = mode;
        EXPECT_EQ(sortedIndexes(), (std::vector<int>{1, 2, 3})) << "mode " << mode;
        // Shuffle again with an order that is not the index order.
        Listentry::setSort = Listentry::SORT_NAME;
        list->sort();
    }
}

// --- drawing

TEST_F(RowDrawing, AStationShowsBitrateATabAndGenreInItsInfoLine)
{
    my_ListBox row(nullptr, station(1, "Jazz FM", "128", "Jazz"), false);
    const auto drawn = drawRow(row);

    const Comparison withTab =
        compare(*drawn, *drawText("bitrate: 128\tgenre: Jazz", stationFont(), infoArea()), infoPixels());
    EXPECT_TRUE(withTab.same);
    EXPECT_GT(withTab.inked, 0);
    // The comparison tells the tab from a blank.
    EXPECT_FALSE(compare(*drawn, *drawText("bitrate: 128 genre: Jazz", stationFont(), infoArea()), infoPixels()).same);
}

TEST_F(RowDrawing, TheInfoLineWordsAreTranslated)
{
    setMessageLanguage("de");
    my_ListBox row(nullptr, station(1, "Jazz FM", "128", "Jazz"), false);
    const auto drawn = drawRow(row);
    EXPECT_TRUE(compare(*drawn, *drawText("Bitrate: 128\tGenre: Jazz", stationFont(), infoArea()), infoPixels()).same);
}

TEST_F(RowDrawing, AStationWithoutBitrateShowsOnlyItsGenreWithoutALeadingTab)
{
    my_ListBox row(nullptr, station(1, "Jazz FM", "", "Jazz"), false);
    const auto drawn = drawRow(row);

    const Comparison genreOnly = compare(*drawn, *drawText("genre: Jazz", stationFont(), infoArea()), infoPixels());
    EXPECT_TRUE(genreOnly.same);
    EXPECT_GT(genreOnly.inked, 0);
    EXPECT_FALSE(compare(*drawn, *drawText("\tgenre: Jazz", stationFont(), infoArea()), infoPixels()).same);
}

TEST_F(RowDrawing, AFavouriteByAddressShowsItsUrlAndTheMusicIcon)
{
    auto record = station(1, "My Stream", "", "", "http://radio.example:8000/live");
    my_ListBox row(nullptr, record, false);
    const auto drawn = drawRow(row);

    const Comparison address =
        compare(*drawn, *drawText("URL: http://radio.example:8000/live", stationFont(), infoArea()), infoPixels());
    EXPECT_TRUE(address.same);
    EXPECT_GT(address.inked, 0);
    EXPECT_TRUE(iconAt(*drawn, ePoint(10, my_ListBox::EntryHeight / 2)));
}

TEST_F(RowDrawing, AStationShowsItsNumberRightAlignedAndItsNameInTheUpperHalf)
{
    my_ListBox row(nullptr, station(42, "Jazz FM", "128", "Jazz"), false);
    const auto drawn = drawRow(row);
    const int E = my_ListBox::EntryHeight;

    // The number, right-aligned in the first 40 pixels of the upper half.
    auto number = std::make_unique<gPixmap>(eSize(rowWidth, E));
    {
        gPainter painter(*number);
        painter.setForegroundColor(ink);
        eTextPara *para = new eTextPara(eRect::fromEdges(0, 0, 40, E / 2));
        para->setFont(stationFont());
        para->renderString("42", 0);
        para->realign(eTextPara::dirRight);
        painter.renderPara(*para, ePoint(0, 0));
        para->destroy();
    }
    const Comparison numberColumn = compare(*drawn, *number, eRect::fromEdges(0, 1, 40, E / 2));
    EXPECT_TRUE(numberColumn.same);
    EXPECT_GT(numberColumn.inked, 0);

    const Comparison name =
        compare(*drawn, *drawText("Jazz FM", stationFont(), eRect::fromEdges(0, 0, rowWidth - 50, E / 2)),
                eRect::fromEdges(50, 1, rowWidth, E / 2));
    EXPECT_TRUE(name.same);
    EXPECT_GT(name.inked, 0);
    // The separator under the row, in the text colour.
    EXPECT_EQ(drawn->colorAt(rowWidth / 2, E - 1), ink);
}

TEST_F(RowDrawing, AGenreShowsNumberAndNameInTheMiddleInTheListFontWithoutIconOrInfo)
{
    my_ListBox row(nullptr, std::make_shared<Listentry>(3, "Blues"), false);
    const auto drawn = drawRow(row);
    const int E = my_ListBox::EntryHeight;
    const gFont listFont = eSkin::getActive()->queryFont("eListBox.EntryText.normal");
    ASSERT_NE(listFont, stationFont());

    ASSERT_NE(row.indexPara, nullptr);
    ASSERT_NE(row.namePara, nullptr);
    EXPECT_EQ(row.infoPara, nullptr);
    EXPECT_EQ(row.indexPara->area(), eRect::fromEdges(0, E / 4, 40, E / 4 + E / 2));
    EXPECT_EQ(row.namePara->area(), eRect::fromEdges(0, E / 4, rowWidth - 50, E / 4 + E / 2));
    EXPECT_EQ(row.namePara->font(), listFont);
    EXPECT_EQ(row.indexPara->font(), listFont);

    const Comparison name =
        compare(*drawn, *drawText("Blues", listFont, eRect::fromEdges(0, E / 4, rowWidth - 50, E / 4 + E / 2)),
                eRect::fromEdges(50, 1, rowWidth, E - 1));
    EXPECT_TRUE(name.same);
    EXPECT_GT(name.inked, 0);
    EXPECT_FALSE(iconAt(*drawn, ePoint(10, E / 2)));
}

TEST_F(RowDrawing, ANameChangedAfterTheFirstDrawDoesNotChangeTheRow)
{
    auto record = station(1, "Jazz FM", "128", "Jazz");
    my_ListBox row(nullptr, record, false);
    const auto first = drawRow(row);

    record->name = "Rock Radio";
    record->bitrate = "320";
    const auto again = drawRow(row);
    const eRect whole(ePoint(0, 0), first->size());
    EXPECT_TRUE(compare(*first, *again, whole).same);

    // A new row on the changed record shows the change.
    my_ListBox fresh(nullptr, record, false);
    EXPECT_FALSE(compare(*first, *drawRow(fresh), whole).same);
}

// In the main window on screen: the current row of the favourites, probed in
// the composed frame for its number, its icon and its info line.
TEST_F(RowDrawing, TheMainWindowShowsAStationRowWithNumberIconAndInfoLine)
{
    Ctarnwave window;
    window.show();
    RowList *list = window.lists[0];
    new my_ListBox(list, station(7, "Jazz FM", "128", "Jazz"), false);
    new my_ListBox(list, std::make_shared<Listentry>(8, "Blues"), false);
    window.showCurrList();
    eScreen::osd().compose();

    const gPixmap &screen = eScreen::osd().pixmap();
    const ePoint origin = list->getAbsolutePosition() + list->getClientRect().topLeft();
    const eRect rowRect = list->getEntryRect(0).translated(origin);
    const int E = my_ListBox::EntryHeight;
    ASSERT_EQ(list->getItemHeight(), E);
    ASSERT_EQ(list->getCurrentIndex(), 0);
    const gRGB bar = eSkin::getActive()->queryColor("eListBox.selected.background");

    const auto inkIn = [&](const eRect &area) {
        int count = 0;
        for (int y = area.top(); y < area.bottom(); ++y)
            for (int x = area.left(); x < area.right(); ++x)
                if (screen.colorAt(x, y) != bar)
                    ++count;
        return count;
    };
    const int left = rowRect.left();
    const int top = rowRect.top();
    // The number: ink in the first 40 pixels of the upper half, none in the gap after it.
    EXPECT_GT(inkIn(eRect::fromEdges(left, top + 1, left + 40, top + E / 2)), 0);
    EXPECT_EQ(inkIn(eRect::fromEdges(left + 41, top + 1, left + 49, top + E / 2)), 0);
    // The info line: ink right of the number column in the lower half.
    EXPECT_GT(inkIn(eRect::fromEdges(left + 50, top + E / 2, left + 250, top + E - 1)), 0);
    // The music icon under the number, over the selection bar.
    const gPixmap *icon = eSkin::getActive()->queryImage("extension.music");
    int iconPixels = 0;
    for (int y = 0; y < icon->height(); ++y)
        for (int x = 0; x < icon->width(); ++x)
            if (icon->colorAt(x, y).a == 255) {
                ++iconPixels;
                EXPECT_EQ(screen.pixel(left + 10 + x, top + E / 2 + y), icon->pixel(x, y)) << x << "," << y;
            }
    EXPECT_GT(iconPixels, 0);
    // The genre row below has no icon there.
    const eRect genreRect = list->getEntryRect(1).translated(origin);
    int genreIconPixels = 0;
    for (int y = 0; y < icon->height(); ++y)
        for (int x = 0; x < icon->width(); ++x)
            if (icon->colorAt(x, y).a == 255
                && screen.pixel(genreRect.left() + 10 + x, genreRect.top() + E / 2 + y) == icon->pixel(x, y))
                ++genreIconPixels;
    EXPECT_EQ(genreIconPixels, 0);
}

TEST(Rows, TheWindowSetsTheRowHeightBeforeMakingItsLists)
{
    plugintest::Box box;
    my_ListBox::EntryHeight = 3;
    Ctarnwave window;
    EXPECT_EQ(my_ListBox::EntryHeight, 2 * eListBoxEntryText::getEntryHeight());
    for (RowList *list : window.lists)
        EXPECT_EQ(list->getItemHeight(), my_ListBox::EntryHeight);
}

} // namespace
