#ifndef TARNWAVE_HOST_GUI_ELISTBOXENTRY_H
#define TARNWAVE_HOST_GUI_ELISTBOXENTRY_H

// The rows of a list box (see elistbox.h). A row is made with new and, once
// appended, belongs to its list: the list deletes it in clearList() and in its
// own destructor. A row deleted by other code leaves its list first.
//
// The list draws a row by calling redraw() with the painter's origin at the
// list's client area and its clip set to the row, so a row may draw anywhere
// inside its rectangle and nothing it draws outside shows. A row usually
// starts with drawEntryRect(), which paints the background or the selection
// bar and leaves the matching text colour in the painter.
//
//   class StationRow : public eListBoxEntryText
//   {
//   public:
//       StationRow(eListBox<StationRow> *list, const eString &name) : eListBoxEntryText(list, name) {}
//       bool operator<(const eListBoxEntry &other) const override;
//   };

#include "base/estring.h"
#include "base/signals.h"
#include "gui/geometry.h"
#include "gui/gfont.h"
#include "gui/grgb.h"

#include <memory>

class eListBoxBase;
class ListRowTextLine;
class eWidgetEvent;
class gPainter;

class eListBoxEntry : public SigC::Object
{
public:
    // The `state` bits that redraw() and drawEntryRect() receive.
    enum {
        stateCurrent = 1, // the list's current row
        stateFocused = 2, // the list has the focus
    };

    // Appends itself to `listbox` when it is not null (append(this, false,
    // false)). An empty help text becomes " ". A row that is not selectable is
    // never made current: the cursor skips it.
    explicit eListBoxEntry(eListBoxBase *listbox, const eString &helptext = "", int selectable = 1);
    eListBoxEntry(const eListBoxEntry &) = delete;
    eListBoxEntry &operator=(const eListBoxEntry &) = delete;

    // The virtual operations, in this order (rows of plug-ins override them).
    ~eListBoxEntry() override;
    // The sort order of eListBoxBase::sort(); the default keeps the order.
    virtual bool operator<(const eListBoxEntry &other) const;
    // The list offers the current row each action first (left and right
    // change a choice row); non-zero when the row used it. Default 0.
    virtual int eventHandler(const eWidgetEvent &event);
    // Draws the row into `rect` (the list's client coordinates: left, top,
    // right, bottom). `state` holds the state bits above. The colours are the
    // list's: active (selection bar) background and text, normal background
    // and text. Returns the row's text. The default draws the background only.
    virtual const eString &redraw(gPainter *painter, const eRect &rect, gColor coActiveB, gColor coActiveF,
                                  gColor coNormalB, gColor coNormalF, int state);
    // The row's text (the list's description and the LCD show it); empty here.
    virtual const eString &getText() const;

    // Paints the row's background: the selection bar in the active background
    // when `state` says it is the current row of a focused list; the same bar
    // at a third of its opacity when it is the current row of a list without
    // the focus; otherwise the normal background, unless that is transparent.
    // Leaves the matching text colour (active or normal) as the painter's
    // foreground colour for the text and lines drawn next.
    void drawEntryRect(gPainter *painter, const eRect &rect, gColor coActiveB, gColor coActiveF, gColor coNormalB,
                       gColor coNormalF, int state);

    bool isSelectable() const { return m_selectable; }
    const eString &getHelpText() const { return m_helptext; }
    // The list the row was made for (null for none).
    eListBoxBase *getListBox() const { return m_listbox; }
    // Whether the row is in its list now (taken rows are not).
    bool isInList() const { return m_inList; }

protected:
    // Marks the row to be drawn again in the next frame (nothing when it is not
    // in a list or not on screen); the current row's text goes to the LCD again.
    void invalidate();
    // Tells the list that the user changed the row's value (a choice row): the
    // row is drawn again and the list emits selchanged for it. Call it last:
    // a selchanged handler may delete the row.
    void valueChanged();

private:
    friend class eListBoxBase;

    eListBoxBase *m_listbox;
    eString m_helptext;
    bool m_selectable;
    bool m_inList = false;
};

// A row that shows one line of text, vertically centred, in the skin's list
// font "eListBox.EntryText.normal".
class eListBoxEntryText : public eListBoxEntry
{
public:
    // `align` is an eTextPara direction: dirLeft, dirCenter or dirRight.
    eListBoxEntryText(eListBoxBase *listbox, const eString &text, const eString &helptext = "", int align = 0);
    ~eListBoxEntryText() override;

    // The height of a text row: the line height of the skin font
    // "eListBox.EntryText.normal" plus entryPadding above and below it. List
    // boxes made with item height 0 use it.
    static int getEntryHeight();
    static constexpr int entryPadding = 3;
    // The blank kept between the row's edges and its text.
    static constexpr int textMargin = 8;

    const eString &redraw(gPainter *painter, const eRect &rect, gColor coActiveB, gColor coActiveF, gColor coNormalB,
                          gColor coNormalF, int state) override;
    const eString &getText() const override;
    // Changes the text; the row is drawn again.
    void setText(const eString &text);
    int getAlign() const { return m_align; }

protected:
    // For rows that are not selectable (separators).
    eListBoxEntryText(eListBoxBase *listbox, const eString &text, const eString &helptext, int align, int selectable);

    // The row's text as set (subclasses may show more through getText()).
    const eString &ownText() const { return m_text; }
    // The font the text is drawn in: the skin's list font, in its bold face
    // when the row is emphasised.
    gFont textFont() const;
    void setEmphasised(bool emphasised);
    bool isEmphasised() const { return m_emphasised; }
    // Draws the row's own text, vertically centred in `area`, in the painter's
    // foreground colour.
    void drawOwnText(gPainter *painter, const eRect &area);

private:
    eString m_text;
    int m_align;
    bool m_emphasised = false;
    // Made on the first draw: most rows of a long list are never drawn.
    std::unique_ptr<ListRowTextLine> m_line;
};

#endif
