#include "plugin/ctarnwavehide.h"

#include "gui/eaction.h"

Ctarnwavehide::Ctarnwavehide() : eWindow(1)
{
    // A window hears only the keys of the action maps it has: the cursor keys
    // come with eWindow, these two bring the digits, the colour keys, the
    // recorder key and the menu key, so that any key ends background mode.
    addActionMap(&i_shortcutActions->map);
    addActionMap(&i_epgSelectorActions->map);
}

Ctarnwavehide::~Ctarnwavehide() = default;

int Ctarnwavehide::eventHandler(const eWidgetEvent &event)
{
    if (event.type == eWidgetEvent::evtAction && event.action) {
        close(0);
        return 1;
    }
    return eWindow::eventHandler(event);
}
