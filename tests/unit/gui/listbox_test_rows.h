#ifndef TARNWAVE_TESTS_UNIT_GUI_LISTBOX_TEST_ROWS_H
#define TARNWAVE_TESTS_UNIT_GUI_LISTBOX_TEST_ROWS_H

// Rows and a window for the list box tests.

#include "gui/elistbox.h"
#include "gui/ewindow.h"
#include "gui/widgets/escreen.h"

#include <memory>

// A text row with a sort key that counts its destructions.
class CountedRow : public eListBoxEntryText
{
public:
    CountedRow(eListBoxBase *list, const eString &text, int sortKey = 0, int *destructions = nullptr)
        : eListBoxEntryText(list, text), key(sortKey), m_destructions(destructions)
    {
    }
    ~CountedRow() override
    {
        if (m_destructions)
            ++*m_destructions;
    }
    bool operator<(const eListBoxEntry &other) const override
    {
        return key < static_cast<const CountedRow &>(other).key;
    }

    int key;

private:
    int *m_destructions;
};

// A window on the OSD whose client area is filled by one focused list of
// `visibleRows` rows of `itemHeight` pixels, 400 pixels wide.
template <class List>
class ListWindow
{
public:
    static constexpr ePoint clientPosition{100, 80};
    static constexpr int width = 400;

    explicit ListWindow(int visibleRows = 10, int itemHeight = 30) : window(std::make_unique<eWindow>(0))
    {
        window->cmove(clientPosition);
        window->cresize(eSize(width, visibleRows * itemHeight));
        list = new List(window.get(), nullptr, 1, itemHeight);
        list->move(ePoint(0, 0));
        list->resize(window->getClientSize());
        window->show();
        eScreen::osd().compose();
    }

    // The screen position of a point in row `index` of the list's view, `x` pixels from its left edge.
    ePoint screenPoint(int row, int x, int y = -1) const
    {
        const eRect rect = list->getEntryRect(row);
        return list->getAbsolutePosition() + list->getClientRect().topLeft()
               + ePoint(rect.left() + x, rect.top() + (y < 0 ? rect.height() / 2 : y));
    }

    std::unique_ptr<eWindow> window;
    List *list = nullptr;
};

#endif
