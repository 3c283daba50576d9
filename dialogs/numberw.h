#ifndef TARNWAVE_DIALOGS_NUMBERW_H
#define TARNWAVE_DIALOGS_NUMBERW_H

// The number window: jumps to a row of the current list by its number. It
// opens with the digit that was pressed and takes more digits up to the
// length of the row count. OK returns the number at once; 3 seconds after the
// last digit it returns the number shown by itself; the exit key returns -1.

#include "base/ebase.h"
#include "gui/enumber.h"
#include "gui/ewindow.h"

class numberW : public eWindow
{
public:
    // `firstDigit` is the digit pressed (1 to 9), `maxNumber` the number of
    // rows of the current list.
    numberW(int firstDigit, int maxNumber);
    ~numberW() override;

    eNumber *number; // a child of the window
    eTimer *timer; // the 3-second wait after the last digit; owned

    void selected(int *value);
    void numberChanged();
    void timeout();
};

#endif
