// The main window's answer to the remote control: the colour keys switch
// lists and the sort order, the recorder key signals the recorder, the menu
// key opens the settings menu (plugin/menu_actions.cpp), a digit jumps to a
// row by its number, exit leaves, any key brings the compact bar back to the
// full window; and OK on a row opens a genre or plays a station.

#include "plugin/ctarnwave.h"

#include "dialogs/numberw.h"
#include "directory/directory_url.h"

#include "base/econfig.h"
#include "base/elog.h"
#include "gui/eaction.h"

#include <algorithm>
#include <cstdlib>

int Ctarnwave::eventHandler(const eWidgetEvent &event)
{
    if (event.type != eWidgetEvent::evtAction)
        return eWindow::eventHandler(event);

    // Any key postpones automatic hiding.
    idleTicks = 0;

    // In the compact bar a key only brings the full window back.
    if (!fullView) {
        switch_window(false);
        return 1;
    }

    // A list chosen with a colour key comes in index order; one loaded before is
    // shown as it is, an empty one is fetched (or, the favourites, read). A
    // list transfer still running ends: its reply would fill the list in
    // front, no longer the one it was asked for.
    const auto showChosenList = [this] {
        abortListTransfer();
        SortSet(true);
        if (lists[currentList]->getCount() == 0)
            start_download("", false);
        else
            showCurrList();
    };

    const eAction *action = event.action;

    // Exit ends the modal run, and the event still goes on to the window below.
    if (action == &i_cursorActions->cancel)
        close(0);

    if (action == &i_shortcutActions->green) {
        currentList = 2;
        showChosenList();
    } else if (action == &i_shortcutActions->red) {
        SortSet(false);
    } else if (action == &i_shortcutActions->blue) {
        currentList = 0;
        showChosenList();
    } else if (action == &i_shortcutActions->yellow) {
        currentList = 1;
        showChosenList();
    } else if (action == &i_epgSelectorActions->record) {
        // The signal goes to every running recorder; killall returns at once.
        if (const int status = std::system("killall -SIGUSR1 streamripper"); status != 0)
            eDebug("[TWV] no recorder to signal (status %d)", status);
    } else if (action == &i_epgSelectorActions->menu) {
        openSetupMenu();
    } else if (const int digit = i_shortcutActions->digitOf(action); digit >= 1 && digit <= 9) {
        jumpToNumber(digit);
    } else {
        return eWindow::eventHandler(event);
    }
    return 1;
}

void Ctarnwave::jumpToNumber(int digit)
{
    eListBox<my_ListBox> *list = lists[currentList];
    const int rowCount = list->getCount();
    if (rowCount == 0)
        return;

    hide();
    int wanted = -1;
    {
        numberW input(digit, rowCount);
        input.show();
        wanted = input.exec();
        input.hide();
    }

    if (wanted > 0) {
        wanted = std::min(wanted, rowCount);
        // By the number the row shows, not by its place: after a sort by name
        // the row numbered 5 is still the fifth station the directory sent.
        list->beginAtomic();
        my_ListBox *numbered = list->forEachEntry([wanted](my_ListBox &row) { return row.entry->index == wanted; });
        if (numbered)
            list->setCurrent(numbered);
        list->endAtomic();
    }
    show();
}

void Ctarnwave::listeselected(my_ListBox *row)
{
    // A second OK while something loads does nothing.
    if (!row || connection)
        return;

    const Listentry &record = *row->entry;
    if (record.type == Listentry::ENTRY_GENRE) {
        // The genre's stations, asked for as a search by its name, fill list 3.
        currentList = 3;
        start_download(record.name, false);
    } else if (record.type == Listentry::ENTRY_STATION) {
        selectedEntry = row;
        if (!record.url.empty())
            play(row); // a favourite added by its address
        else
            start_download(directoryBaseUrl() + record.tuneinBase + "?id=" + record.id, true);
    }
}
