#ifndef TARNWAVE_TESTS_SUPPORT_PIXEL_PROBES_H
#define TARNWAVE_TESTS_SUPPORT_PIXEL_PROBES_H

#include "gui/geometry.h"
#include "gui/gpixmap.h"
#include "gui/grgb.h"
#include "gui/widgets/escreen.h"

// How many pixels of `rect` on the composed on-screen display have exactly
// `color`.
inline int countPixels(const eRect &rect, gRGB color)
{
    int count = 0;
    const gPixmap &screen = eScreen::osd().pixmap();
    for (int y = rect.top(); y < rect.bottom(); ++y)
        for (int x = rect.left(); x < rect.right(); ++x)
            if (screen.colorAt(x, y) == color)
                ++count;
    return count;
}

#endif
