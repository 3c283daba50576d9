#include "gui/widgets/escreen.h"

#include "base/ebase.h"
#include "base/elog.h"
#include "gui/eaction.h"
#include "gui/ewidget.h"
#include "gui/gpainter.h"
#include "gui/gpixmap.h"
#include "gui/widgets/json_writer.h"

#include <algorithm>

namespace {

// Above this many separate areas a frame paints their bounding box instead.
constexpr std::size_t maxDamageAreas = 16;

} // namespace

eScreen::eScreen(const char *name, eSize size, gColor background)
    : m_name(name), m_pixmap(std::make_unique<gPixmap>(size)), m_background(background)
{
    invalidateAll();
}

eScreen::~eScreen()
{
    for (eWidget *window : m_windows)
        window->m_screen = nullptr;
}

eScreen &eScreen::osd()
{
    static eScreen screen("osd", eSize(720, 576), gColor(0, 0, 0, 0));
    return screen;
}

eScreen &eScreen::lcd()
{
    static eScreen screen("lcd", eSize(120, 64), gColor(0, 0, 0, 255));
    return screen;
}

eSize eScreen::size() const
{
    return m_pixmap->size();
}

void eScreen::invalidate(const eRect &area)
{
    eRect clipped = area & eRect(ePoint(0, 0), size());
    if (clipped.isEmpty())
        return;
    // Merge with every area it touches, so that the list stays disjoint enough
    // that no pixel is painted twice in a frame.
    bool merged = true;
    while (merged) {
        merged = false;
        for (auto it = m_damage.begin(); it != m_damage.end(); ++it) {
            if (it->intersects(clipped) || it->contains(clipped)) {
                clipped = clipped | *it;
                m_damage.erase(it);
                merged = true;
                break;
            }
        }
    }
    m_damage.push_back(clipped);
    if (m_damage.size() > maxDamageAreas) {
        eRect all;
        for (const eRect &rect : m_damage)
            all = all | rect;
        m_damage.assign(1, all);
    }
    scheduleFrame();
}

void eScreen::scheduleFrame()
{
    // A frame posted to a loop that has gone since never runs; plan anew then.
    if (!eApp || m_frameScheduledOn == eApp->instanceId())
        return;
    m_frameScheduledOn = eApp->instanceId();
    std::weak_ptr<char> alive = m_life;
    eApp->post([this, alive] {
        if (alive.expired())
            return;
        m_frameScheduledOn = 0;
        compose();
    });
}

int eScreen::compose()
{
    if (m_damage.empty())
        return 0;
    std::vector<eRect> areas;
    areas.swap(m_damage);
    eRect changed;
    {
        // Painting runs on the GUI thread without the pixmap's lock: a thread
        // that copies the picture takes the lock, and blits are skipped while
        // it holds it.
        gPainter painter(*m_pixmap);
        painter.setBackgroundColor(m_background);
        for (const eRect &area : areas) {
            painter.setOrigin(ePoint(0, 0));
            painter.clip(area);
            painter.clear(area);
            painter.clippop();
            for (eWidget *window : m_windows)
                window->paintTree(painter, area);
            changed = changed | area;
        }
    }
    ++m_frames;
    frameComposed(changed);
    return static_cast<int>(areas.size());
}

void eScreen::windowShown(eWidget *window)
{
    m_windows.erase(std::remove(m_windows.begin(), m_windows.end(), window), m_windows.end());
    m_windows.push_back(window);
    window->m_screen = this;
}

void eScreen::windowHidden(eWidget *window)
{
    m_windows.erase(std::remove(m_windows.begin(), m_windows.end(), window), m_windows.end());
}

eWidget *eScreen::activeWindow() const
{
    return m_windows.empty() ? nullptr : m_windows.back();
}

bool eScreen::handleKey(const std::string &key)
{
    const eKeymap &keymap = eKeymap::instance();
    if (!keymap.isKey(key)) {
        eWarning("gui: no remote-control key is called \"%s\"", key.c_str());
        return false;
    }
    eWidget *window = activeWindow();
    if (!window)
        return false;
    const auto &actions = keymap.actionsFor(key);
    return deliver(window, actions.data(), actions.size());
}

bool eScreen::deliver(eWidget *window, const eAction *const *actions, std::size_t count)
{
    std::weak_ptr<void> alive = window->lifeToken();
    for (std::size_t i = 0; i < count; ++i) {
        if (!window->focusChainHasMap(actions[i]->getMap()))
            continue;
        if (window->eventHandler(eWidgetEvent(eWidgetEvent::evtAction, 0, actions[i])))
            return true;
        if (alive.expired())
            return true;
    }
    return false;
}

bool eScreen::handleCharacter(char32_t character)
{
    eWidget *window = activeWindow();
    if (!window)
        return false;
    return window->eventHandler(eWidgetEvent(eWidgetEvent::evtCharacter, static_cast<int>(character))) != 0;
}

std::string eScreen::describe() const
{
    JsonWriter json;
    json.beginArray();
    for (const eWidget *window : m_windows)
        window->describe(json);
    json.endArray();
    return json.str();
}
