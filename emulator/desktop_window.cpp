#include "desktop_window.h"

#include "remote_input.h"
#include "screen_composer.h"

#include "base/elog.h"
#include "gui/drawing/utf8.h"
#include "gui/gpixmap.h"
#include "gui/widgets/escreen.h"

#include <SDL.h>

#include <cstdlib>

namespace emulator {
namespace {

constexpr int screenWidth = 720;
constexpr int screenHeight = 576;
constexpr int panelHeight = 168; // the front panel under the TV, with the LCD
constexpr int lcdScale = 2;
constexpr int tickMs = 40; // 25 frames a second while the TV picture moves

// The remote key a desktop key stands for ("" for none). Backspace is handled
// as a typed character (it deletes in a text field, else it is "exit").
std::string remoteKeyFor(SDL_Keycode key)
{
    switch (key) {
    case SDLK_UP: return "up";
    case SDLK_DOWN: return "down";
    case SDLK_LEFT: return "left";
    case SDLK_RIGHT: return "right";
    case SDLK_RETURN:
    case SDLK_KP_ENTER: return "ok";
    case SDLK_ESCAPE: return "exit";
    case SDLK_F1: return "red";
    case SDLK_F2: return "green";
    case SDLK_F3: return "yellow";
    case SDLK_F4: return "blue";
    case SDLK_PAGEUP: return "channelup";
    case SDLK_PAGEDOWN: return "channeldown";
    default: break;
    }
    if (key >= SDLK_0 && key <= SDLK_9)
        return std::string(1, static_cast<char>('0' + (key - SDLK_0)));
    if (key >= SDLK_KP_1 && key <= SDLK_KP_9)
        return std::string(1, static_cast<char>('1' + (key - SDLK_KP_1)));
    if (key == SDLK_KP_0)
        return "0";
    return "";
}

// Key presses run as posted work: one that opens a modal window then runs
// that window's loop without holding up the window's own tick.
void postKey(const std::string &key)
{
    eApp->post([key] { pressRemoteKey(key); });
}

void postCharacter(char32_t character)
{
    eApp->post([character] { typeCharacter(character); });
}

void upload(SDL_Texture *texture, const gPixmap &picture)
{
    SDL_UpdateTexture(texture, nullptr, picture.data(), picture.width() * 4);
}

} // namespace

std::unique_ptr<DesktopWindow> DesktopWindow::open(ScreenComposer &composer, const std::string &title)
{
    const char *x11 = std::getenv("DISPLAY");
    const char *wayland = std::getenv("WAYLAND_DISPLAY");
    if ((x11 == nullptr || *x11 == '\0') && (wayland == nullptr || *wayland == '\0')) {
        eDebug("box-emulator: no display, so no window");
        return nullptr;
    }
    // The emulator handles SIGINT and SIGTERM itself; the sound is GStreamer's.
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    if (SDL_Init(SDL_INIT_VIDEO) != 0) {
        eWarning("box-emulator: no window: %s", SDL_GetError());
        return nullptr;
    }
    SDL_Window *window = SDL_CreateWindow(title.c_str(), SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, screenWidth,
                                          screenHeight + panelHeight, SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI);
    SDL_Renderer *renderer = window != nullptr ? SDL_CreateRenderer(window, -1, 0) : nullptr;
    if (renderer == nullptr) {
        eWarning("box-emulator: no window: %s", SDL_GetError());
        if (window != nullptr)
            SDL_DestroyWindow(window);
        SDL_Quit();
        return nullptr;
    }
    SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "linear");
    SDL_RenderSetLogicalSize(renderer, screenWidth, screenHeight + panelHeight);
    return std::unique_ptr<DesktopWindow>(new DesktopWindow(composer, window, renderer));
}

DesktopWindow::DesktopWindow(ScreenComposer &composer, SDL_Window *window, SDL_Renderer *renderer)
    : m_composer(composer), m_window(window), m_renderer(renderer), m_timer(eApp)
{
    m_screenTexture =
        SDL_CreateTexture(m_renderer, SDL_PIXELFORMAT_ARGB8888, SDL_TEXTUREACCESS_STREAMING, screenWidth, screenHeight);
    const eSize lcd = eScreen::lcd().size();
    m_lcdTexture =
        SDL_CreateTexture(m_renderer, SDL_PIXELFORMAT_ARGB8888, SDL_TEXTUREACCESS_STREAMING, lcd.width(), lcd.height());
    SDL_SetTextureScaleMode(m_lcdTexture, SDL_ScaleModeNearest);
    SDL_StartTextInput();
    CONNECT(m_timer.timeout, DesktopWindow::tick);
    m_timer.start(tickMs);
    eDebug("box-emulator: window open");
}

DesktopWindow::~DesktopWindow()
{
    m_timer.stop();
    SDL_StopTextInput();
    if (m_lcdTexture != nullptr)
        SDL_DestroyTexture(m_lcdTexture);
    if (m_screenTexture != nullptr)
        SDL_DestroyTexture(m_screenTexture);
    SDL_DestroyRenderer(m_renderer);
    SDL_DestroyWindow(m_window);
    SDL_Quit();
}

void DesktopWindow::tick()
{
    SDL_Event event;
    while (SDL_PollEvent(&event) != 0)
        handleEvent(event);
    ++m_ticks;
    const bool changed = m_exposed || eScreen::osd().frameCount() != m_osdFrames || eScreen::osd().hasDamage()
                         || eScreen::lcd().frameCount() != m_lcdFrames || eScreen::lcd().hasDamage();
    // A moving TV picture is shown at the tick rate; a still one when it changes,
    // and once a second for the clock.
    if (changed || m_composer.tvMoves() || m_ticks % (1000 / tickMs) == 0)
        present();
}

void DesktopWindow::handleEvent(const SDL_Event &event)
{
    switch (event.type) {
    case SDL_QUIT: eApp->quit(0); break;
    case SDL_WINDOWEVENT: m_exposed = true; break;
    case SDL_KEYDOWN:
        if (event.key.keysym.sym == SDLK_BACKSPACE) {
            postCharacter(8);
        } else if (const std::string key = remoteKeyFor(event.key.keysym.sym); !key.empty()) {
            postKey(key);
        }
        break;
    case SDL_TEXTINPUT:
        for (const char32_t character : boxtext::decodeUtf8(event.text.text)) {
            if (character < U'0' || character > U'9') // digits came as keys
                postCharacter(character);
        }
        break;
    default: break;
    }
}

void DesktopWindow::present()
{
    m_exposed = false;
    upload(m_screenTexture, m_composer.composeScreen());
    m_osdFrames = eScreen::osd().frameCount();
    upload(m_lcdTexture, m_composer.composeLcd());
    m_lcdFrames = eScreen::lcd().frameCount();

    SDL_SetRenderDrawColor(m_renderer, 0, 0, 0, 255);
    SDL_RenderClear(m_renderer);
    const SDL_Rect screen{0, 0, screenWidth, screenHeight};
    SDL_RenderCopy(m_renderer, m_screenTexture, nullptr, &screen);

    // The front panel: a dark strip with the LCD in a bezel.
    SDL_SetRenderDrawColor(m_renderer, 34, 36, 42, 255);
    const SDL_Rect panel{0, screenHeight, screenWidth, panelHeight};
    SDL_RenderFillRect(m_renderer, &panel);
    const eSize lcd = eScreen::lcd().size();
    const int lcdWidth = lcd.width() * lcdScale;
    const int lcdHeight = lcd.height() * lcdScale;
    const SDL_Rect lcdArea{(screenWidth - lcdWidth) / 2, screenHeight + (panelHeight - lcdHeight) / 2, lcdWidth,
                           lcdHeight};
    SDL_SetRenderDrawColor(m_renderer, 12, 12, 14, 255);
    const SDL_Rect bezel{lcdArea.x - 8, lcdArea.y - 8, lcdArea.w + 16, lcdArea.h + 16};
    SDL_RenderFillRect(m_renderer, &bezel);
    SDL_RenderCopy(m_renderer, m_lcdTexture, nullptr, &lcdArea);
    SDL_RenderPresent(m_renderer);
}

} // namespace emulator
