// What the main window shows: the full window and the compact bar with the
// status bar laid out in each, the list in front, the title with its entry
// count, and the sort order on the red key.

#include "plugin_test_support.h"

#include "plugin/ctarnwave.h"

#include "base/messages.h"
#include "system/plabel.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

eRect clientArea(const eWidget &window)
{
    return window.getClientRect().translated(window.getAbsolutePosition());
}

std::shared_ptr<Listentry> station(int index, const char *name, const char *bitrate)
{
    auto record = std::make_shared<Listentry>(index, name);
    record->type = Listentry::ENTRY_STATION;
    record->bitrate = bitrate;
    return record;
}

std::vector<int> indexesOf(eListBox<my_ListBox> *list)
{
    std::vector<int> indexes;
    list->forEachEntry([&](my_ListBox &row) {
        indexes.push_back(row.entry->index);
        return false;
    });
    return indexes;
}

class Views : public plugintest::ShownMainWindow
{
protected:
    // Three stations whose index, bitrate and name orders all differ.
    void fillStations(int list)
    {
        new my_ListBox(window->lists[list], station(1, "Mellow", "128"), false);
        new my_ListBox(window->lists[list], station(2, "Alpha", "64"), false);
        new my_ListBox(window->lists[list], station(3, "Zulu", "320"), false);
    }
};

TEST_F(Views, ThreeRedPressesNameBitrateNameIndexInTurnAndEndInIndexOrder)
{
    fillStations(0);
    eScreen::osd().handleKey("red");
    EXPECT_EQ(window->bt_red->getText(), "bitrate");
    EXPECT_EQ(Listentry::setSort, Listentry::SORT_BITRATE);
    EXPECT_EQ(indexesOf(window->lists[0]), (std::vector<int>{2, 3, 1})); // "64" > "320" > "128" as text

    eScreen::osd().handleKey("red");
    EXPECT_EQ(window->bt_red->getText(), "name");
    EXPECT_EQ(Listentry::setSort, Listentry::SORT_NAME);
    EXPECT_EQ(indexesOf(window->lists[0]), (std::vector<int>{2, 1, 3}));

    eScreen::osd().handleKey("red");
    EXPECT_EQ(window->bt_red->getText(), "index");
    EXPECT_EQ(Listentry::setSort, Listentry::SORT_INDEX);
    EXPECT_EQ(indexesOf(window->lists[0]), (std::vector<int>{1, 2, 3}));
}

TEST_F(Views, ResetInNameOrderShowsIndexAndSortsOnlyTheCurrentListByIndex)
{
    fillStations(0);
    fillStations(2);
    window->SortSet(false);
    window->SortSet(false);
    ASSERT_EQ(Listentry::setSort, Listentry::SORT_NAME);
    ASSERT_EQ(indexesOf(window->lists[0]), (std::vector<int>{2, 1, 3}));
    // Another list sorted by name while the mode is shared.
    window->currentList = 2;
    window->SortSet(false);
    window->SortSet(false);
    window->SortSet(false);
    ASSERT_EQ(indexesOf(window->lists[2]), (std::vector<int>{2, 1, 3}));
    window->currentList = 0;

    window->SortSet(true);

    EXPECT_EQ(Listentry::setSort, Listentry::SORT_INDEX);
    EXPECT_EQ(window->bt_red->getText(), "index");
    EXPECT_EQ(indexesOf(window->lists[0]), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(indexesOf(window->lists[2]), (std::vector<int>{2, 1, 3}));
}

TEST_F(Views, TheSortOrderNameIsTranslated)
{
    setMessageLanguage("de");
    window->SortSet(false);
    EXPECT_EQ(window->bt_red->getText(), "Bitrate");
    window->SortSet(true);
    EXPECT_EQ(window->bt_red->getText(), "Index");
}

TEST_F(Views, TheTitleOfAGenreRequestNamesItAfterTheTranslatedWordsSearchAndBy)
{
    window->currentList = 3;
    window->lastRequest = "Jazz";
    fillStations(3);
    window->lb_status->setText("Download...");

    window->set_Window_Title();
    EXPECT_EQ(window->getText(), "Tarnwave / search by Jazz   (3 entries)");
    EXPECT_EQ(window->lb_status->getText(), "");

    setMessageLanguage("de");
    window->set_Window_Title();
    EXPECT_EQ(window->getText(), "Tarnwave / Suche nach Jazz   (3 Einträge)");
}

TEST_F(Views, AnEmptyListShowsZeroEntriesInItsTitle)
{
    for (const auto &[list, title] :
         std::vector<std::pair<int, std::string>>{{0, "Tarnwave / Favourites   (0 entries)"},
                                                  {1, "Tarnwave / Genre List   (0 entries)"},
                                                  {2, "Tarnwave / Top List   (0 entries)"},
                                                  {3, "Tarnwave / search by    (0 entries)"}}) {
        window->currentList = list;
        window->set_Window_Title();
        EXPECT_EQ(window->getText(), title);
    }
    // The count follows the rows.
    window->currentList = 0;
    fillStations(0);
    window->set_Window_Title();
    EXPECT_EQ(window->getText(), "Tarnwave / Favourites   (3 entries)");
}

TEST_F(Views, TogglingTwiceRestoresTheWindowAndTheListIsHiddenExactlyWhileCompact)
{
    ASSERT_TRUE(window->fullView);
    const eRect full = clientArea(*window);
    EXPECT_EQ(full, eRect(ePoint(80, 90), eSize(560, 430)));
    EXPECT_TRUE(window->lists[0]->isVisible());

    window->switch_window(false);
    EXPECT_FALSE(window->fullView);
    EXPECT_EQ(clientArea(*window), eRect(ePoint(80, 420), eSize(560, 100)));
    EXPECT_FALSE(window->lists[0]->isShown());
    EXPECT_TRUE(window->isVisible());
    // The status bar fills the compact bar.
    EXPECT_EQ(window->statusBar->getPosition(), ePoint(0, 0));
    EXPECT_EQ(window->statusBar->getSize(), eSize(560, 100));

    window->idleTicks = 9;
    window->switch_window(false);
    EXPECT_TRUE(window->fullView);
    EXPECT_EQ(clientArea(*window), full);
    EXPECT_TRUE(window->lists[0]->isVisible());
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->statusBar->getPosition(), ePoint(0, 330));
    // Growing starts the idle count again.
    EXPECT_EQ(window->idleTicks, 0);
}

TEST_F(Views, TheCompactViewHidesTheListOnDisplayAndShowsTheStatusBar)
{
    window->lb_status->setText("status");
    eScreen::osd().compose();
    window->switch_window(false);
    eScreen::osd().compose();
    // Nothing of the window remains where the list was.
    const gRGB where = eScreen::osd().pixmap().colorAt(300, 200);
    EXPECT_EQ(where.a, 0);
    // The opaque status bar's colour inside the compact bar.
    const ePoint bar = window->statusBar->getAbsolutePosition();
    EXPECT_EQ(eScreen::osd().pixmap().colorAt(bar.x() + 300, bar.y() + 60),
              eSkin::getActive()->queryColor("blue_nontrans"));
}

TEST_F(Views, TheStatusBarIsLaidOutUnderTheListWithTheIconsHidden)
{
    const gFont titleFont = eSkin::getActive()->queryFont("epg.title");
    EXPECT_EQ(window->statusBar->getDeco(), "eStatusBar");
    EXPECT_TRUE(window->statusBar->decoration().valid);
    EXPECT_EQ(window->statusBar->getBackgroundColor(), eSkin::getActive()->queryColor("blue_nontrans"));

    struct Placed
    {
        eWidget *widget;
        ePoint position;
        eSize size;
    };
    const Placed placed[] = {
        {window->statusBar, {0, 330}, {560, 100}},  {window->lb_status, {5, 0}, {550, 24}},
        {window->ln_horizontal, {5, 24}, {550, 2}}, {window->lb_station, {5, 26}, {450, 24}},
        {window->lb_title, {5, 50}, {450, 25}},     {window->lb_info, {5, 75}, {450, 25}},
        {window->ln_vertical, {460, 24}, {2, 75}},  {window->px_key32, {505, 33}, {45, 22}},
        {window->px_key12, {505, 66}, {45, 22}},    {window->px_play, {475, 35}, {16, 16}},
        {window->px_pause, {475, 35}, {16, 16}},    {window->px_record, {477, 70}, {16, 16}},
    };
    for (const Placed &item : placed) {
        SCOPED_TRACE(item.widget->typeName());
        EXPECT_EQ(item.widget->getPosition(), item.position);
        EXPECT_EQ(item.widget->getSize(), item.size);
    }
    for (eLabel *line : {window->lb_status, window->lb_station, window->lb_title, window->lb_info})
        EXPECT_EQ(line->getFont(), titleFont);

    EXPECT_TRUE(window->px_key32->isVisible());
    for (eLabel *icon : {window->px_key12, window->px_play, window->px_pause, window->px_record}) {
        // Shown by a tick, hidden again by the next layout.
        icon->show();
        window->switch_window(false);
        EXPECT_FALSE(icon->isShown());
        window->switch_window(false);
        EXPECT_FALSE(icon->isShown());
    }
}

TEST_F(Views, ShowingTheCurrentListHidesTheOthersAndFocusesIt)
{
    fillStations(2);
    window->currentList = 2;
    window->lb_status->setText("Download...");

    window->showCurrList();

    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(window->lists[i]->isShown(), i == 2) << i;
    EXPECT_TRUE(window->lists[2]->hasFocus());
    EXPECT_EQ(window->getText(), "Tarnwave / Top List   (3 entries)");
    EXPECT_EQ(window->lb_status->getText(), "");
}

} // namespace
