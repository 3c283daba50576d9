#ifndef TARNWAVE_DIALOGS_CTARNWAVE_SEARCH_H
#define TARNWAVE_DIALOGS_CTARNWAVE_SEARCH_H

// The search window: one text field, proposed with the last search, and a
// "start" button. It only collects the text: the caller runs it modally,
// reads `input`'s text afterwards, and checks, stores and sends it. The button
// accepts the window (exec returns 0); the exit key cancels it (-1).

#include "gui/etextinputfield.h"
#include "gui/ewindow.h"

#include <string>

class Ctarnwave_search : public eWindow
{
public:
    explicit Ctarnwave_search(std::string text);

    eTextInputField *input; // owned by the window as its child
};

#endif
