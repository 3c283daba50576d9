#ifndef TARNWAVE_HOST_GUI_ESCREEN_H
#define TARNWAVE_HOST_GUI_ESCREEN_H

// A screen: a pixmap that top-level widgets are composed onto, in the order
// they were shown (the last shown on top and active: it gets the keys).
//
// Changes only mark damage; the next frame, run from the application's loop
// soon after the first damage (or by compose() directly), clears the damaged
// area to the screen's background and paints every visible window into it,
// clipped to it, in one pass.
//
// The box has two: the on-screen display over the TV picture (720x576,
// transparent where no window is) and the front-panel LCD.

#include "base/signals.h"
#include "gui/geometry.h"
#include "gui/grgb.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class eAction;
class eWidget;
class gPixmap;

class eScreen
{
public:
    eScreen(const char *name, eSize size, gColor background);
    ~eScreen();
    eScreen(const eScreen &) = delete;
    eScreen &operator=(const eScreen &) = delete;

    static eScreen &osd();
    static eScreen &lcd();

    const char *name() const { return m_name; }
    eSize size() const;
    // The composed picture. It is painted on the GUI thread; read it there
    // too (post the work to the loop), or hold the pixmap's lock, which makes
    // painting skip its blits meanwhile.
    gPixmap &pixmap() { return *m_pixmap; }
    const gPixmap &pixmap() const { return *m_pixmap; }

    // --- damage and frames
    void invalidate(const eRect &area);
    void invalidateAll() { invalidate(eRect(ePoint(0, 0), size())); }
    bool hasDamage() const { return !m_damage.empty(); }
    // Paints the damaged areas now; returns the number of areas painted.
    int compose();
    std::uint64_t frameCount() const { return m_frames; }
    // Emitted after each composed frame with the bounding box of what changed.
    SigC::Signal1<void, const eRect &> frameComposed;

    // --- windows
    // Bottom first; only shown ones.
    const std::vector<eWidget *> &windows() const { return m_windows; }
    // The window that gets the keys: the topmost shown one.
    eWidget *activeWindow() const;

    // --- input
    // One remote-control key by name (see eKeymap): each of its actions that
    // the active window or its focused widget has a map for goes to the
    // window's eventHandler, which passes on what it does not use itself.
    // Returns whether a widget used it. Unknown names are logged and ignored.
    bool handleKey(const std::string &key);
    // One typed character (a code point), for the active window and through
    // it its focused widget.
    bool handleCharacter(char32_t character);

    // --- description: JSON array of the shown windows, bottom first.
    std::string describe() const;

private:
    friend class eWidget;
    void windowShown(eWidget *window);
    void windowHidden(eWidget *window);
    void scheduleFrame();
    // Delivers the key's actions to the window, one after the other, until
    // one is used.
    bool deliver(eWidget *window, const eAction *const *actions, std::size_t count);

    const char *m_name;
    std::unique_ptr<gPixmap> m_pixmap;
    gColor m_background;
    std::vector<eWidget *> m_windows;
    std::vector<eRect> m_damage;
    std::uint64_t m_frameScheduledOn = 0; // the loop a frame is posted to, 0: none
    std::uint64_t m_frames = 0;
    std::shared_ptr<char> m_life = std::make_shared<char>(0);
};

#endif
