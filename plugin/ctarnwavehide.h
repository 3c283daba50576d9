#ifndef TARNWAVE_PLUGIN_CTARNWAVEHIDE_H
#define TARNWAVE_PLUGIN_CTARNWAVEHIDE_H

// The background-mode window: while the main window is hidden and the station
// plays on, this empty window holds the focus. The first remote-control
// action of any kind closes it (exec returns 0) and is used up here, so that
// it has no effect in the main window. It has no children and no size, and
// draws nothing.

#include "gui/ewindow.h"

class Ctarnwavehide : public eWindow
{
public:
    Ctarnwavehide();
    ~Ctarnwavehide() override;

    int eventHandler(const eWidgetEvent &event) override;
};

#endif
