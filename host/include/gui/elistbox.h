#ifndef TARNWAVE_HOST_GUI_ELISTBOX_H
#define TARNWAVE_HOST_GUI_ELISTBOX_H

// A list box: rows of equal height (eListBoxEntry and its subclasses) with a
// cursor on the current row, scrolled so that the current row stays in view.
//
//   auto *list = new eListBox<eListBoxEntryText>(window);
//   list->move(ePoint(0, 0));
//   list->resize(eSize(400, 300));
//   new eListBoxEntryText(list, "first");            // a row appends itself
//   list->selected.connect(...);                     // OK on a row
//
// Keys (i_cursorActions): up and down move one row; the channel keys (pageUp,
// pageDown) one page; left and right go to the current row first (a choice row
// uses them) and otherwise move one page, unless flagNoPageMovement is set;
// OK emits `selected`. The exit key is left to the window. Rows that are not
// selectable are skipped by the cursor.
//
// The current row of a focused list shows the selection bar; that of a list
// without the focus shows it dimmed (see eListBoxEntry::drawEntryRect).
//
// Colours from the skin: "eListBox.background" (transparent by default: the
// window shows through), "eListBox.foreground", "eListBox.selected.background"
// and "eListBox.selected.foreground".
//
// Changes mark damage only: a cursor move damages the two rows it changed (or
// the list when it scrolls), and changes between beginAtomic() and the
// outermost endAtomic() damage the list once, at that endAtomic(). Rows are
// only drawn while in view, so lists of 100,000 rows stay quick.
//
// When the current row changes and the window is bound to the LCD (setLCD),
// the list writes the current row's text into the LCD element while it has the
// focus.

#include "gui/edecowidget.h"
#include "gui/elistboxentry.h"

#include <type_traits>
#include <vector>

class eListBoxBase : public eDecoWidget
{
public:
    enum {
        flagNoPageMovement = 1, // left and right do not move a page (the channel keys still do)
        flagWrapAround = 2, // the cursor goes from the last row to the first and back
    };

    // `descr` is an optional widget that describes the list; it is only noted.
    // `itemHeight` 0 (or less) takes eListBoxEntryText::getEntryHeight().
    explicit eListBoxBase(eWidget *parent, const eWidget *descr = nullptr, int takefocus = 1, int itemHeight = 0,
                          const char *deco = "eListBox");
    ~eListBoxBase() override; // deletes its rows

    // --- rows
    // Adds `entry` at the end (or at the front). The current row stays current;
    // an empty list's first selectable row becomes current. When a row goes in
    // front, `holdCurrent` keeps the current row at its place on screen (the
    // view scrolls with it); otherwise the view keeps its first row index.
    void append(eListBoxEntry *entry, bool holdCurrent = false, bool front = false);
    // Removes `entry` WITHOUT deleting it. When it was the current row, the
    // next selectable row below becomes current (else the one above).
    // `holdCurrent` keeps the current row at its place on screen when a row
    // above it goes; otherwise the view keeps its first row index.
    void take(eListBoxEntry *entry, bool holdCurrent = false);
    // Deletes every row.
    void clearList();
    int getCount() const { return static_cast<int>(m_rows.size()); }
    // The rows in list order (for walks).
    const std::vector<eListBoxEntry *> &entries() const { return m_rows; }
    eListBoxEntry *entryAt(int index) const;
    // The position of `entry` in the list, -1 when it is not in it.
    int indexOf(const eListBoxEntry *entry) const;

    // --- updates: nested; the changes in between damage the list once, at the
    // outermost endAtomic(), and selchanged for cursor moves is emitted there
    // (once, for the row current then).
    void beginAtomic();
    void endAtomic();
    bool isAtomic() const { return m_atomicDepth > 0; }

    // Orders the rows by their operator< (std::stable_sort, so equal rows keep
    // their order); the current row stays current and in view.
    void sort();

    // --- the cursor. The go... operations return 0 when the cursor moved and
    // -1 when it did not (at the end without flagWrapAround, or no selectable
    // row); each move emits selchanged.
    int goNext();
    int goPrev();
    int goPageDown();
    int goPageUp();
    // Makes `entry` current and scrolls it into view; 0 when it is a selectable
    // row of this list, -1 otherwise. Emits selchanged only when asked to.
    int setCurrent(const eListBoxEntry *entry, bool sendSelChanged = false);
    eListBoxEntry *getCurrentEntry() const;
    // -1 when there is no current row.
    int getCurrentIndex() const { return m_current; }
    // The first row in view.
    int getTopIndex() const { return m_top; }
    // How many whole rows fit in the client area (at least 1): one page.
    int getPageSize() const;

    // --- look and behaviour
    void setFlags(int flags);
    void removeFlags(int flags);
    int getFlags() const { return m_flags; }
    // 0 (or less) takes eListBoxEntryText::getEntryHeight().
    void setItemHeight(int height);
    int getItemHeight() const { return m_itemHeight; }
    // The rectangle of row `index` in client coordinates (row i at top
    // (i - top) * itemHeight), whether or not it is in view.
    eRect getEntryRect(int index) const;
    const eWidget *getDescription() const { return m_descr; }

    int eventHandler(const eWidgetEvent &event) override;
    const char *typeName() const override { return "eListBox"; }

protected:
    // The typed signals live in eListBox<T>.
    virtual void emitSelected(eListBoxEntry *entry) = 0;
    virtual void emitSelChanged(eListBoxEntry *entry) = 0;

    // The decoration, then the rows in view that meet `area`, each with the
    // painter's origin at the client area's top-left corner and clipped to
    // its row.
    void redrawWidget(gPainter *painter, const eRect &area) override;
    // "rows": the texts of the first maxDescribedRows rows, "count": all rows,
    // "current": the current index or -1, "top": the first row in view.
    void describeContents(JsonWriter &json) const override;
    static constexpr int maxDescribedRows = 1000;

private:
    friend class eListBoxEntry;

    // Called by rows.
    void entryDestroyed(eListBoxEntry *entry);
    void entryNeedsRedraw(const eListBoxEntry *entry);
    void entryValueChanged(eListBoxEntry *entry);

    // The first selectable row from `index` on, stepping by `step`; -1 when none.
    int selectableFrom(int index, int step) const;
    // Moves the cursor to `index` (a selectable row), scrolling when needed;
    // `notify` emits selchanged.
    void moveCursor(int index, bool notify);
    // Moves by `rows` rows (a page when more than one); 0 when moved.
    int moveBy(int rows);
    // Sets the first row in view, within bounds; damages the list when it changes.
    void scrollTo(int top);
    void scrollToCurrent();
    int maxTop() const;
    // One past the last row in view: only whole rows are shown.
    int viewEnd() const { return m_top + getPageSize(); }
    // Where the rows in view are drawn (widget coordinates): the client area
    // down to the last whole row, or all of it when not even one row fits.
    eRect shownRowsArea() const;
    void damageAll();
    void damageRow(int index);
    // The current row changed: the LCD shows it, and with `notify` selchanged
    // is emitted (at the outermost endAtomic when inside an update).
    void selectionChanged(bool notify);
    void showCurrentOnLCD();
    void removeAt(int index, bool holdCurrent);
    // Emits selected for the current row (null when none).
    void emitSelectedCurrent();

    std::vector<eListBoxEntry *> m_rows;
    const eWidget *m_descr;
    int m_current = -1;
    int m_top = 0;
    int m_itemHeight = 0;
    int m_flags = 0;
    int m_atomicDepth = 0;
    bool m_damagedInAtomic = false;
    bool m_selChangedInAtomic = false;
};

template <class T>
class eListBox : public eListBoxBase
{
public:
    explicit eListBox(eWidget *parent, const eWidget *descr = nullptr, int takefocus = 1, int itemHeight = 0,
                      const char *deco = "eListBox")
        : eListBoxBase(parent, descr, takefocus, itemHeight, deco)
    {
    }

    // OK on a row (null when the list has no current row).
    SigC::Signal1<void, T *> selected;
    // The current row changed: a cursor move, setCurrent with sendSelChanged,
    // or a choice row's value.
    SigC::Signal1<void, T *> selchanged;

    // Every row of an eListBox<T> is a T.
    T *getCurrent() const { return static_cast<T *>(getCurrentEntry()); }
    T *getEntry(int index) const { return static_cast<T *>(entryAt(index)); }

    // Calls `functor` for each row from the top (with T&, or T* when it takes
    // that) and stops at the first row for which it returns true, which it
    // returns; null when it went through all rows. The functor may remove or
    // delete rows; the walk then goes on with the rows that are left.
    template <class F>
    T *forEachEntry(F functor)
    {
        std::size_t i = 0;
        while (i < entries().size()) {
            T *row = static_cast<T *>(entries()[i]);
            bool stop;
            if constexpr (std::is_invocable_v<F &, T &>)
                stop = static_cast<bool>(functor(*row));
            else
                stop = static_cast<bool>(functor(row));
            if (stop)
                return row;
            // When the functor removed this row, the next one has moved up to i.
            if (i < entries().size() && entries()[i] == row)
                ++i;
        }
        return nullptr;
    }

protected:
    void emitSelected(eListBoxEntry *entry) override { selected(static_cast<T *>(entry)); }
    void emitSelChanged(eListBoxEntry *entry) override { selchanged(static_cast<T *>(entry)); }
};

#endif
