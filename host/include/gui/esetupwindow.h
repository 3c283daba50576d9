#ifndef TARNWAVE_HOST_GUI_ESETUPWINDOW_H
#define TARNWAVE_HOST_GUI_ESETUPWINDOW_H

// A menu window: a title bar and one list of menu rows (eListBoxEntryMenu,
// eListBoxEntryMenuSeparator, eListBoxEntryMulti) that fills the client area.
//
//   eSetupWindow menu("Menu", 10, 450);            // title, visible rows, width
//   new eListBoxEntryMenu(&menu.list, "search", "", 0, 3);
//   menu.list.selected.connect(...);              // OK on a row
//   menu.show();
//   int result = menu.exec();                     // -1: left with the exit key
//
// The client area is `width` wide and tall enough for `entries` rows of
// eListBoxEntryText::getEntryHeight() (plus the list's frame); the window is
// centred on its screen until moved. The list has the focus: up/down move the
// cursor, left/right change a choice row, OK emits the list's `selected` (the
// window does not close by itself: the handler closes it with the row's key),
// and the exit key rejects the window (-1).
//
// `list` is a member, not a pointer: it is destroyed before the window's own
// widget destructor runs (members go before bases), and leaves the window's
// children then, so it is never deleted twice. Its rows belong to it.

#include "gui/elistbox.h"
#include "gui/elistboxentrymenu.h"
#include "gui/ewindow.h"

class eSetupWindow : public eWindow
{
public:
    eSetupWindow(const char *title, int entries, int width);
    ~eSetupWindow() override;

    eListBox<eListBoxEntryMenu> list;

    // The number of rows the list shows at once.
    int visibleRows() const { return m_visibleRows; }

    const char *typeName() const override { return "eSetupWindow"; }

private:
    int m_visibleRows;
};

#endif
