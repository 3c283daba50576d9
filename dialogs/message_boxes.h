#ifndef TARNWAVE_DIALOGS_MESSAGE_BOXES_H
#define TARNWAVE_DIALOGS_MESSAGE_BOXES_H

// The plug-in's two kinds of message box, each shown, run modally and hidden
// before it returns:
//   a question with the question icon and Yes and No, Yes the default
//   (flags 76, default button 4);
//   a notice with the information icon and one OK button (flags 17, default 1).

#include "base/estring.h"

// True when the user answered Yes.
bool askYesNo(const eString &text, const eString &caption);

void showNotice(const eString &text, const eString &caption);

#endif
