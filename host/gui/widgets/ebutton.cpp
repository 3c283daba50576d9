#include "gui/ebutton.h"

#include "gui/eaction.h"

eButton::eButton(eWidget *parent, eLabel *descr, int takefocus, const char *deco)
    : eLabel(parent, flagVCenter, takefocus, deco), m_descr(descr)
{
    setAlign(eTextPara::dirCenter);
    addActionMap(&i_cursorActions->map);
}

int eButton::eventHandler(const eWidgetEvent &event)
{
    if (event.type == eWidgetEvent::evtAction && event.action == &i_cursorActions->ok) {
        selected();
        return 1;
    }
    return eLabel::eventHandler(event);
}
