#ifndef TARNWAVE_HOST_GUI_EMESSAGEBOX_H
#define TARNWAVE_HOST_GUI_EMESSAGEBOX_H

// A modal question or notice: the caption in the title bar, an optional icon
// on the left, the message wrapped at 560 pixels, and a row of buttons under
// it. The window is sized to its contents and centred on its screen.
//
//   eMessageBox box(text, caption, eMessageBox::btYes | eMessageBox::btNo | eMessageBox::iconQuestion,
//                   eMessageBox::btYes);
//   box.show();
//   if (box.exec() == eMessageBox::btYes) ...
//   box.hide();
//
// flags: the buttons (btOK, btCancel, btYes, btNo; shown in the order Yes, No,
// OK, Cancel; no button at all gives an OK button) plus at most one icon
// (iconInfo, iconWarning, iconQuestion, iconError: the skin images
// "messagebox.info", "messagebox.warning", "messagebox.question",
// "messagebox.error"; without the image no icon is shown). When several icon
// bits are given, the gravest wins (error, warning, question, info).
//
// def: the button that has the focus at first; when the box has no such
// button, the first button is the default instead.
//
// Keys: left/right (and up/down) move the focus between the buttons, OK
// presses the focused one, the exit key leaves the box.
//
// exec() returns the button pressed (1, 2, 4 or 8), or -1 when the box was
// left with the exit key. A box that is not shown when exec() starts shows
// itself for the run and hides again afterwards.
//
// timeout: when > 0, the box closes by itself that many seconds after exec()
// started, as if the default button had been pressed (exec() returns it);
// 0 means the box waits for a key.

#include "gui/ewindow.h"

#include <memory>
#include <vector>

class eButton;
class eLabel;
class eTimer;

class eMessageBox : public eWindow
{
public:
    enum {
        btOK = 1,
        btCancel = 2,
        btYes = 4,
        btNo = 8,
        btMax = 15,
        iconInfo = 16,
        iconWarning = 32,
        iconQuestion = 64,
        iconError = 128
    };

    eMessageBox(eString message, eString caption, int flags = btOK, int def = btOK, int timeout = 0);
    ~eMessageBox() override;

    // The button that has the focus at first and that a timeout presses.
    int defaultButton() const { return m_defaultButton; }
    // The buttons shown, in their order on screen.
    std::vector<int> buttons() const;
    // The image shown as icon, or null.
    gPixmap *icon() const;
    int timeoutSeconds() const { return m_timeoutSeconds; }

    int eventHandler(const eWidgetEvent &event) override;
    const char *typeName() const override { return "eMessageBox"; }

protected:
    void describeContents(JsonWriter &json) const override;

private:
    struct Button
    {
        int id;
        eButton *widget;
    };

    void press(int button);
    void layout(const eString &message);

    eLabel *m_iconLabel = nullptr;
    eLabel *m_messageLabel = nullptr;
    std::vector<Button> m_buttons;
    int m_defaultButton = btOK;
    int m_timeoutSeconds;
    std::unique_ptr<eTimer> m_timeoutTimer;
    bool m_shownForExec = false;
};

#endif
