#ifndef TARNWAVE_HOST_GUI_EWINDOW_H
#define TARNWAVE_HOST_GUI_EWINDOW_H

// A top-level window: a translucent panel with a border and a title bar that
// shows the window's text. It takes the cursor actions: the exit key rejects
// it (close(-1)), and up/down/left/right move the focus between its children
// when the focused child does not use them. A window bound to the LCD
// (setLCD) shows its title there.
//
// The look comes from the skin: colours "eWindow.background",
// "eWindow.titleBar", "eWindow.titleText", "eWindow.border", the font
// "eWindow.title" and the values "eWindow.titleHeight" and "eWindow.border".

#include "gui/ewidget.h"

class eWindow : public eWidget
{
public:
    explicit eWindow(int takefocus = 0);
    ~eWindow() override;

    eRect getClientRect() const override;
    int eventHandler(const eWidgetEvent &event) override;
    const char *typeName() const override { return "eWindow"; }

    int titleHeight() const { return m_titleHeight; }
    int borderWidth() const { return m_border; }

protected:
    void redrawWidget(gPainter *painter, const eRect &area) override;
    // Moves the focus to the next (or previous) child that can take it;
    // returns whether it moved.
    bool focusNext(int direction);

private:
    int m_titleHeight;
    int m_border;
};

#endif
