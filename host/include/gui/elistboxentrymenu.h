#ifndef TARNWAVE_HOST_GUI_ELISTBOXENTRYMENU_H
#define TARNWAVE_HOST_GUI_ELISTBOXENTRYMENU_H

// The rows of menus (eSetupWindow holds an eListBox<eListBoxEntryMenu>):
//  - eListBoxEntryMenu: an action row with an int key, which the menu acts on
//    when OK selects it;
//  - eListBoxEntryMenuSeparator: a line between groups; not selectable, key 0;
//  - eListBoxEntryMulti: a choice row, its title on the left and the current
//    choice on the right; left and right step through the choices, and its key
//    is the current choice's value.

#include "gui/elistboxentry.h"
#include "gui/listrow_text.h"

#include <memory>
#include <vector>

class gPixmap;

class eListBoxEntryMenu : public eListBoxEntryText
{
public:
    // `highlight` non-zero draws the text in the bold face of the list font.
    // `keytype` is kept for the menu's own use.
    eListBoxEntryMenu(eListBoxBase *listbox, const eString &text, const eString &helptext = "", int highlight = 0,
                      int key = 0, int keytype = 0);
    ~eListBoxEntryMenu() override;

    int getKey() const { return m_key; }
    int getKeyType() const { return m_keytype; }
    bool isHighlighted() const { return isEmphasised(); }

protected:
    eListBoxEntryMenu(eListBoxBase *listbox, const eString &text, int key, int selectable);
    void setKey(int key) { m_key = key; }

private:
    int m_key;
    int m_keytype = 0;
};

class eListBoxEntryMenuSeparator : public eListBoxEntryMenu
{
public:
    // Draws `image` (not owned; skin images live in the skin) centred in the
    // row, or a thin line across the row when it is null. `alphatest` draws
    // only the image's pixels of at least half opacity, as they are; `stretch`
    // scales the image to the row's width (less the margins).
    eListBoxEntryMenuSeparator(eListBoxBase *listbox, gPixmap *image, int alphatest = 0, bool stretch = false);
    ~eListBoxEntryMenuSeparator() override;

    const eString &redraw(gPainter *painter, const eRect &rect, gColor coActiveB, gColor coActiveF, gColor coNormalB,
                          gColor coNormalF, int state) override;

    gPixmap *getImage() const { return m_image; }

private:
    // The image scaled to `width` (made once per width).
    const gPixmap &stretched(int width);

    gPixmap *m_image;
    bool m_alphatest;
    bool m_stretch;
    std::unique_ptr<gPixmap> m_stretched;
};

class eListBoxEntryMulti : public eListBoxEntryMenu
{
public:
    eListBoxEntryMulti(eListBoxBase *listbox, const eString &title);
    ~eListBoxEntryMulti() override;

    // Adds a choice at the end. The first choice added becomes current when
    // nothing was set.
    void add(const eString &text, int value);
    // Makes the choice with `value` current (the first one when several have
    // it). A value that no choice has is kept as the key and shown as the
    // number; left and right then go to the nearest choice below or above it
    // by value. Does not emit selchanged.
    void setCurrent(int value);
    // The current value (also getKey()).
    int getCurrentValue() const { return getKey(); }
    // The text shown for the current value.
    const eString &getCurrentText() const { return m_shownValue; }

    // Left and right step to the previous or next choice, draw the row again
    // and make the list emit selchanged for it. At the first or last choice
    // nothing changes and nothing is emitted; the key is used all the same.
    int eventHandler(const eWidgetEvent &event) override;
    const eString &redraw(gPainter *painter, const eRect &rect, gColor coActiveB, gColor coActiveF, gColor coNormalB,
                          gColor coNormalF, int state) override;
    // The title, a tab, and the current choice's text.
    const eString &getText() const override;

private:
    struct Choice
    {
        eString text;
        int value;
    };

    // The choice `direction` (-1 left, +1 right) steps from the current value
    // to; -1 when there is none.
    int neighbourChoice(int direction) const;
    void show(int value);

    std::vector<Choice> m_choices;
    bool m_valueSet = false;
    eString m_shownValue;
    eString m_fullText;
    ListRowTextLine m_valueLine;
};

#endif
