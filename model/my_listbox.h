#ifndef TARNWAVE_MODEL_MY_LISTBOX_H
#define TARNWAVE_MODEL_MY_LISTBOX_H

// One row of the plug-in's lists: a double-height text row showing one
// Listentry (number, name, and for stations a music icon and an info line).
// Creating a row on a list box appends it to that list box.

#include "gui/elistbox.h"
#include "gui/elistboxentry.h"
#include "model/listentry.h"

#include <memory>

class eTextPara;

class my_ListBox : public eListBoxEntryText
{
public:
    // `listbox` may be null: the row then belongs to no list. The third
    // argument is accepted and ignored.
    my_ListBox(eListBox<my_ListBox> *listbox, std::shared_ptr<Listentry> entry, bool);
    ~my_ListBox() override;

    bool operator<(const eListBoxEntry &other) const override;
    const eString &redraw(gPainter *painter, const eRect &rect, gColor coActiveB, gColor coActiveF, gColor coNormalB,
                          gColor coNormalF, int state) override;

    eTextPara *namePara;
    eTextPara *indexPara;
    eTextPara *infoPara;
    std::shared_ptr<Listentry> entry;

    // The height of every row of the plug-in's lists: twice a host text row.
    static int EntryHeight;
};

#endif
