#ifndef TARNWAVE_HOST_GUI_ETEXTINPUTFIELD_H
#define TARNWAVE_HOST_GUI_ETEXTINPUTFIELD_H

// A one-line text input. It is a label (it shows its text, wears a skin
// decoration, "eNumber" by default, and has an optional description label)
// that takes the focus and edits its text; the text is eWidget's text
// (setText/getText), UTF-8.
//
// Editing, while the field has the focus:
// - Typed characters (evtCharacter, from a desktop keyboard or the emulator)
//   are inserted at the cursor. Character 8 (backspace) deletes the character
//   before the cursor, 127 (delete) the one after it; other control
//   characters are left to the window.
// - On the remote control the digit keys type letters multi-tap: each press
//   of a digit inserts the first character of its row, and pressing the same
//   digit again within the multi-tap interval (1 s; setMultiTapInterval)
//   replaces the character just typed by the next one of the row, round and
//   round:
//     1  . , - ? ! ' & / 1         6  m n o 6 M N O ö Ö
//     2  a b c 2 A B C ä Ä         7  p q r s 7 P Q R S ß
//     3  d e f 3 D E F             8  t u v 8 T U V ü Ü
//     4  g h i 4 G H I             9  w x y z 9 W X Y Z
//     5  j k l 5 J K L             0  blank 0
//   While such a character can still change, it is underlined.
// - The red key deletes the character before the cursor.
// - left/right move the cursor by one character (at either end they do
//   nothing, and are still used, so that the focus stays in the field).
// - up/down are not used: the window moves the focus to the next widget.
// - OK is not used either: it emits `selected` and goes on to the window.
//
// The text never has more than maxChars characters (code points): typing
// beyond is ignored, and setText and setMaxChars cut a longer text. maxChars 0
// means no limit. In a text given to setText, bytes that are not valid UTF-8
// become U+FFFD and control characters (a line break, a tab) become blanks,
// since the field has one line. A text set from outside puts the cursor at
// its end.
//
// Drawn: the text on one line in the widget's font (else the skin font
// "eTextInputField", else "eNumber"), vertically centred, scrolled
// horizontally so that the cursor stays visible; a cursor bar while the field
// has the focus.
//
// `helpwidget`, when given, shows a short help on typing while the field has
// the focus, and gets its own text back when the focus leaves. Neither it nor
// the description is owned.

#include "gui/elabel.h"

#include <chrono>
#include <memory>
#include <string>

class eTimer;

class eTextInputField : public eLabel
{
public:
    explicit eTextInputField(eWidget *parent, eLabel *descr = nullptr, eWidget *helpwidget = nullptr,
                             const char *deco = "eNumber");
    ~eTextInputField() override;

    void setMaxChars(int maxChars);
    int getMaxChars() const { return m_maxChars; }

    // The cursor as a character (code point) index: 0 before the first one.
    int getCursor() const { return static_cast<int>(m_cursor); }
    void setCursor(int position);

    // How long a digit may be pressed again to change the character just
    // typed, in milliseconds.
    void setMultiTapInterval(int milliseconds);
    int getMultiTapInterval() const { return m_multiTapMs; }
    // Whether the character before the cursor may still change by multi-tap.
    bool isMultiTapOpen() const;

    eLabel *getDescription() const { return m_descr; }

    // OK was pressed in the field (the key still goes on to the window).
    SigC::Signal0<void> selected;

    int eventHandler(const eWidgetEvent &event) override;
    const char *typeName() const override { return "eTextInputField"; }

protected:
    void redrawWidget(gPainter *painter, const eRect &area) override;
    void describeContents(JsonWriter &json) const override;

private:
    // Replaces the text by `characters`, with the cursor at `cursor`.
    void edit(const std::u32string &characters, std::size_t cursor);
    bool insertCharacter(char32_t character);
    void deleteBefore();
    void deleteAfter();
    void multiTap(int digit);
    void endMultiTap();
    // Cuts and cleans a text set from outside; false when it was changed.
    bool normalizeText();
    void updateScroll();
    gFont effectiveFont() const;
    // The pen position after the first `count` characters of the text.
    int advanceOf(std::size_t count) const;
    void showHelp(bool focused);

    eLabel *m_descr;
    eWidget *m_helpWidget;
    std::weak_ptr<void> m_helpWidgetAlive;
    eString m_helpWidgetText; // its own text while it shows our help
    bool m_showingHelp = false;

    int m_maxChars = 0;
    std::size_t m_cursor = 0;
    bool m_ownEdit = false;
    int m_scroll = 0; // pixels of text hidden left of the client area

    int m_multiTapMs = 1000;
    int m_tapDigit = -1; // the digit whose character may still change
    std::size_t m_tapIndex = 0; // which of its characters was typed
    std::chrono::nanoseconds m_tapTime{}; // when it was typed, on the main loop's clock
    std::unique_ptr<eTimer> m_tapTimer; // redraws when the chance to change ends
};

#endif
