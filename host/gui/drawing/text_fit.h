#ifndef TARNWAVE_HOST_GUI_TEXT_FIT_H
#define TARNWAVE_HOST_GUI_TEXT_FIT_H

// Fitting one line of text into a width, for titles and other single lines
// that must not run past their box: a text wider than the width is cut after
// a whole character and ends with "…", so that no letter is shown cut in half.

#include "base/estring.h"
#include "gui/gfont.h"

// The ellipsis that marks a shortened text (U+2026).
inline constexpr const char *textEllipsis = "\xE2\x80\xA6";

// `text` itself when it fits `width` in `font` (as textWidth() measures it);
// otherwise its longest start,
// ending at a character boundary and without trailing blanks, that fits with
// the ellipsis appended, and the ellipsis; empty when not even the ellipsis
// fits. The text's tail is not measured beyond what the width could hold, so
// a very long text costs about as much as a short one.
eString fitToWidth(const eString &text, const gFont &font, int width);

#endif
