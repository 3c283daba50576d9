#ifndef TARNWAVE_HOST_GUI_ENUMBER_H
#define TARNWAVE_HOST_GUI_ENUMBER_H

// A number input of one or more fields (a row number, the parts of an
// address), typed with the digit keys of the remote control.
//
// Typing: each digit (the number0..number9 actions) is appended to the
// current field's entry until the entry has `maxdigits` digits; the digit
// after that starts a new entry. A value set with setNumber counts as typed:
// with maxdigits 2, setNumber(5) and then the digit 3 give 53. A typed value
// above `max` becomes `max`. A full entry (one that no digit can extend any
// more) below `min` becomes `min`, and so does any value below `min` when OK
// ends the entry; a shorter entry is shown as typed, since it may still be on
// its way to a valid number (typing 1, 2 towards 12 with min 10). A value set
// with setNumber is shown as given, in or out of range. numberChanged is
// emitted after each typed digit.
//
// Keys: OK emits `selected` with a pointer to the values (field 0 first); the
// exit key emits `selected` with null (a cancel) and is used up, so the window
// does not see it. left/right move between the fields when there are several;
// at the first or last field they are left to the window.
//
// Active and inactive: a field made with isactive is always being edited. One
// made without it shows its value, leaves OK, exit and left/right to its
// window, and starts editing with OK or the first digit typed; OK or the exit
// key then end the editing again (emitting `selected` as above).
//
// Focus: the field can always take the focus; with grabfocus it is the
// window's focused widget from the start (and again whenever it is shown).
//
// Drawn: the values in the widget's font (the skin font "eNumber", else the
// default font), centred, each field in its own equal share of the width;
// while editing and focused, the current field is underlined.
//
// `descr` is an optional widget that describes the field; it is not owned and
// only noted.

#include "gui/edecowidget.h"

#include <vector>

class eNumber : public eDecoWidget
{
public:
    eNumber(eWidget *parent, int len, int min, int max, int maxdigits, int *init, int isactive = 0,
            eWidget *descr = nullptr, int grabfocus = 1, const char *deco = "eNumber");
    ~eNumber() override;

    void setNumber(int field, int value);
    void setNumber(int value) { setNumber(0, value); }
    int getNumber(int field = 0) const;

    int getFieldCount() const { return static_cast<int>(m_values.size()); }
    int getCurrentField() const { return m_currentField; }
    void setCurrentField(int field);
    int getMin() const { return m_min; }
    int getMax() const { return m_max; }
    int getMaxDigits() const { return m_maxDigits; }
    bool isEditing() const { return m_editing; }
    eWidget *getDescription() const { return m_descr; }

    // OK: the values, field 0 first; exit: null.
    SigC::Signal1<void, int *> selected;
    // After each typed digit.
    SigC::Signal0<void> numberChanged;

    int eventHandler(const eWidgetEvent &event) override;
    const char *typeName() const override { return "eNumber"; }

protected:
    void redrawWidget(gPainter *painter, const eRect &area) override;
    void describeContents(JsonWriter &json) const override;

private:
    void typeDigit(int digit);
    // Raises a field's value below the minimum to it.
    void keepAboveMin(int field);
    void finishEditing(bool accepted);
    gFont effectiveFont() const;
    // The part of the client area the field is drawn in.
    eRect fieldRect(int field) const;

    std::vector<int> m_values;
    // Digits in each field's current entry; maxDigits means full.
    std::vector<int> m_typedDigits;
    int m_min;
    int m_max;
    int m_maxDigits;
    int m_currentField = 0;
    bool m_alwaysEditing;
    bool m_editing;
    bool m_grabFocus;
    eWidget *m_descr;
};

#endif
