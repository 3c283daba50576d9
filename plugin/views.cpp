// What the main window shows: the full window with its list or the compact
// status bar, the list in front, the title with its entry count, and the sort
// order named on the red key.

#include "plugin/ctarnwave.h"

#include "base/messages.h"
#include "gui/eskin.h"
#include "system/plabel.h"

void Ctarnwave::switch_window(bool initial)
{
    if (!initial)
        hide();

    if (fullView) {
        cmove(ePoint(80, 420));
        cresize(eSize(560, 100));
        fullView = false;
    } else {
        cmove(ePoint(80, 90));
        cresize(eSize(560, 430));
        fullView = true;
        // The idle count starts again whenever the window grows (it takes the
        // old value of fullView, which is false here).
        idleTicks = 0;
    }

    if (fullView)
        lists[currentList]->show();
    else
        lists[currentList]->hide();

    const gFont titleFont = eSkin::getActive()->queryFont("epg.title");

    // The status bar sits at the bottom of the client area: under the list in
    // the full window, filling the whole compact bar.
    const int W = getClientSize().width();
    const int H = getClientSize().height();

    statusBar->move(ePoint(0, H - 100));
    statusBar->resize(eSize(W, 100));
    statusBar->setDeco("eStatusBar");
    statusBar->loadDeco();
    statusBar->setProperty("backgroundColor", "blue_nontrans");

    lb_status->move(ePoint(5, 0));
    lb_status->resize(eSize(W - 10, 24));
    lb_status->setFont(titleFont);

    ln_horizontal->move(ePoint(5, 24));
    ln_horizontal->resize(eSize(W - 10, 2));

    lb_station->move(ePoint(5, 26));
    lb_station->resize(eSize(W - 110, 24));
    lb_station->setFont(titleFont);

    lb_title->move(ePoint(5, 50));
    lb_title->resize(eSize(W - 110, 25));
    lb_title->setFont(titleFont);

    lb_info->move(ePoint(5, 75));
    lb_info->resize(eSize(W - 110, 25));
    lb_info->setFont(titleFont);

    ln_vertical->move(ePoint(W - 100, 24));
    ln_vertical->resize(eSize(2, 75));

    px_key32->move(ePoint(W - 55, 33));
    px_key32->resize(eSize(45, 22));

    // The next status tick shows again those of these icons that apply.
    px_key12->move(ePoint(W - 55, 66));
    px_key12->resize(eSize(45, 22));
    px_key12->hide();

    px_play->move(ePoint(W - 85, 35));
    px_play->resize(eSize(16, 16));
    px_play->hide();

    px_pause->move(ePoint(W - 85, 35));
    px_pause->resize(eSize(16, 16));
    px_pause->hide();

    px_record->move(ePoint(W - 83, 70));
    px_record->resize(eSize(16, 16));
    px_record->hide();

    if (!initial)
        show();
}

void Ctarnwave::showCurrList()
{
    for (eListBox<my_ListBox> *list : lists)
        list->hide();
    lists[currentList]->show();
    setFocus(lists[currentList]);
    set_Window_Title();
}

void Ctarnwave::set_Window_Title()
{
    eString title = "Tarnwave / ";
    switch (currentList) {
    case 0: title += translated("Favourites"); break;
    case 1: title += translated("Genre List"); break;
    case 2: title += translated("Top List"); break;
    case 3:
        title += translated("search");
        title += " ";
        title += translated("by");
        title += " ";
        title += lastRequest;
        break;
    default: break;
    }
    // Two blanks before the count, whose own text starts with a third.
    eString entries;
    entries.sprintf(translated(" (%d entries)"), lists[currentList]->getCount());
    title += "  " + entries;
    setText(title);

    lb_status->setText("");
}

void Ctarnwave::SortSet(bool reset)
{
    if (!reset) {
        ++Listentry::setSort;
        if (Listentry::setSort == 13)
            Listentry::setSort = Listentry::SORT_INDEX;
    } else if (Listentry::setSort != Listentry::SORT_INDEX) {
        Listentry::setSort = Listentry::SORT_INDEX;
    }

    // The red key names the order shown now, not the one the next press brings.
    switch (Listentry::setSort) {
    case Listentry::SORT_BITRATE: bt_red->setText(translated("bitrate")); break;
    case Listentry::SORT_NAME: bt_red->setText(translated("name")); break;
    default: bt_red->setText(translated("index")); break;
    }

    // Only the list in front is sorted; the others keep their order until they are.
    lists[currentList]->beginAtomic();
    lists[currentList]->sort();
    lists[currentList]->endAtomic();
}
