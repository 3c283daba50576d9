#ifndef TARNWAVE_EMULATOR_DESKTOP_WINDOW_H
#define TARNWAVE_EMULATOR_DESKTOP_WINDOW_H

// The desktop front end: an SDL2 window that shows the composed TV screen with
// the front panel's LCD under it, scales with the window, and takes the
// desktop keyboard as the remote control (see remote_input.h and the key map
// in options.cpp). It is driven by a timer of the host loop, so it keeps
// working while a plug-in runs its own modal loops.

#include "base/ebase.h"

#include <cstdint>
#include <memory>
#include <string>

struct SDL_Window;
struct SDL_Renderer;
struct SDL_Texture;
union SDL_Event;

namespace emulator {

class ScreenComposer;

class DesktopWindow : public SigC::Object
{
public:
    // The window, or null when none can be opened here (no display, SDL
    // cannot start): then the reason is logged and the emulator runs without.
    static std::unique_ptr<DesktopWindow> open(ScreenComposer &composer, const std::string &title);
    ~DesktopWindow() override;
    DesktopWindow(const DesktopWindow &) = delete;
    DesktopWindow &operator=(const DesktopWindow &) = delete;

private:
    DesktopWindow(ScreenComposer &composer, SDL_Window *window, SDL_Renderer *renderer);
    void tick();
    void handleEvent(const SDL_Event &event);
    void present();

    ScreenComposer &m_composer;
    SDL_Window *m_window;
    SDL_Renderer *m_renderer;
    SDL_Texture *m_screenTexture = nullptr;
    SDL_Texture *m_lcdTexture = nullptr;
    eTimer m_timer;
    std::uint64_t m_osdFrames = ~std::uint64_t{0};
    std::uint64_t m_lcdFrames = ~std::uint64_t{0};
    std::uint64_t m_ticks = 0;
    bool m_exposed = true;
};

} // namespace emulator

#endif
