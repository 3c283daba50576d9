#ifndef TARNWAVE_HOST_GUI_GPAINTER_H
#define TARNWAVE_HOST_GUI_GPAINTER_H

// Paints into a pixmap. Every coordinate given is relative to the current
// origin, and everything is clipped to the current clip rectangle (a stack).
// Colours are straight-alpha ARGB; "blended" means source-over.
// Only blit() looks at the target's lock (see gPixmap::lock()); whoever shares
// the target with another thread decides when the other drawing happens.
// A painter belongs to one thread.

#include "base/estring.h"
#include "gui/etextpara.h"
#include "gui/geometry.h"
#include "gui/gpixmap.h"
#include "gui/grgb.h"

#include <vector>

class gPainter
{
public:
    // An empty clip means the whole target; any clip is cut to the target.
    explicit gPainter(gPixmap &target, eRect clip = eRect());

    gPixmap &target() { return m_target; }

    void setOrigin(ePoint origin) { m_origin = origin; }
    ePoint origin() const { return m_origin; }
    void moveOrigin(ePoint delta) { m_origin += delta; }

    // Pushes the current clip intersected with `area` (relative to the origin).
    void clip(const eRect &area);
    // Pops the last pushed clip; the first one is never popped.
    void clippop();
    // The current clip, in target coordinates.
    eRect clipRect() const { return m_clips.back(); }

    void setForegroundColor(const gColor &c) { m_foreground = c; }
    void setBackgroundColor(const gColor &c) { m_background = c; }
    gColor foregroundColor() const { return m_foreground; }
    gColor backgroundColor() const { return m_background; }

    // The foreground colour blended over what is there (a plain store when opaque).
    void fill(const eRect &area);
    // The background colour stored as it is (no blending): clears to transparent.
    void clear(const eRect &area);
    // A frame `thickness` pixels wide just inside `area`, in the foreground colour.
    void drawRect(const eRect &area, int thickness = 1);
    // `area` filled in the foreground colour with its corners rounded by
    // `radius` pixels (edges anti-aliased), for the skin's buttons.
    void fillRoundRect(const eRect &area, int radius);
    // A 1-pixel line in the foreground colour, any direction (Bresenham), both
    // end points included.
    void line(ePoint from, ePoint to);

    enum { BF_ALPHA_BLEND = 1, BF_ALPHA_TEST = 2 }; // blit flags; 0 = copy pixels as they are
    // Draws `sourceArea` of `source` (empty: all of it) with its top-left corner
    // at `position`. BF_ALPHA_BLEND blends source-over; BF_ALPHA_TEST skips
    // source pixels whose alpha is below 128 and stores the others as they are
    // (with BF_ALPHA_BLEND too: skips those, blends the others); 0 copies.
    // Skipped, with nothing drawn, while another thread holds target().lock().
    void blit(const gPixmap &source, ePoint position, const eRect &sourceArea = eRect(), int flags = BF_ALPHA_BLEND);

    // The paragraph in the foreground colour, its coordinates moved by `offset`.
    void renderPara(eTextPara &para, ePoint offset = ePoint(0, 0));
    // Lays out `text` in `area` (flags as eTextPara::renderString, align as
    // realign) with the current font and draws it once.
    void renderText(const eRect &area, const eString &text, int flags = 0, int align = eTextPara::dirLeft);

    // The font renderText uses (default: "Regular", 20 pixels).
    void setFont(const gFont &font) { m_font = font; }
    const gFont &font() const { return m_font; }

private:
    // `area` moved to target coordinates and clipped.
    eRect toTarget(const eRect &area) const;

    gPixmap &m_target;
    ePoint m_origin;
    std::vector<eRect> m_clips;
    gColor m_foreground{255, 255, 255, 255};
    gColor m_background{0, 0, 0, 0};
    gFont m_font{"Regular", 20};
};

#endif
