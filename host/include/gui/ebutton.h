#ifndef TARNWAVE_HOST_GUI_EBUTTON_H
#define TARNWAVE_HOST_GUI_EBUTTON_H

// A label that can take the focus and be pressed with OK: it then emits
// `selected`. Its text is centred. `descr` is an optional label that describes
// the button; it is not owned and only noted.

#include "gui/elabel.h"

class eButton : public eLabel
{
public:
    explicit eButton(eWidget *parent = nullptr, eLabel *descr = nullptr, int takefocus = 1,
                     const char *deco = "eButton");

    SigC::Signal0<void> selected;

    int eventHandler(const eWidgetEvent &event) override;
    const char *typeName() const override { return "eButton"; }
    eLabel *getDescription() const { return m_descr; }

private:
    eLabel *m_descr;
};

#endif
