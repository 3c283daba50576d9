#include "gui/ewidget.h"

#include "base/ebase.h"
#include "base/elog.h"
#include "gui/eaction.h"
#include "gui/eskin.h"
#include "gui/gpainter.h"
#include "gui/widgets/escreen.h"
#include "gui/widgets/json_writer.h"

#include <algorithm>
#include <cstdio>

eWidget::eWidget(eWidget *parent, int takefocus)
    : m_parent(parent), m_shown(parent != nullptr), m_takefocus(takefocus != 0)
{
    if (m_parent)
        m_parent->addChild(this);
}

eWidget::~eWidget()
{
    if (m_execLevel)
        eWarning("gui: a %s was deleted while it ran modally", typeName());
    hide();
    // Children go first, newest first, so that each finds its parent intact.
    while (!m_children.empty())
        delete m_children.back();
    if (m_parent) {
        m_parent->removeChild(this);
        if (eWidget *top = m_parent->getTLW())
            top->forgetFocusOf(this);
    }
}

void eWidget::addChild(eWidget *child)
{
    m_children.push_back(child);
}

void eWidget::removeChild(eWidget *child)
{
    m_children.erase(std::remove(m_children.begin(), m_children.end(), child), m_children.end());
}

eWidget *eWidget::getTLW()
{
    eWidget *widget = this;
    while (widget->m_parent)
        widget = widget->m_parent;
    return widget;
}

const eWidget *eWidget::getTLW() const
{
    const eWidget *widget = this;
    while (widget->m_parent)
        widget = widget->m_parent;
    return widget;
}

eWidget *eWidget::search(const eString &name) const
{
    for (eWidget *child : m_children) {
        if (child->m_name == name)
            return child;
        if (eWidget *found = child->search(name))
            return found;
    }
    return nullptr;
}

// --- geometry

void eWidget::move(const ePoint &position)
{
    if (position == m_position)
        return;
    invalidate();
    m_position = position;
    invalidate();
    eventHandler(eWidgetEvent(eWidgetEvent::changedPosition));
}

void eWidget::resize(const eSize &size)
{
    if (size == m_size)
        return;
    invalidate();
    m_size = size;
    invalidate();
    eventHandler(eWidgetEvent(eWidgetEvent::changedSize));
}

void eWidget::cmove(const ePoint &position)
{
    move(position - getClientRect().topLeft());
}

void eWidget::cresize(const eSize &size)
{
    const eRect client = getClientRect();
    resize(eSize(size.width() + m_size.width() - client.width(), size.height() + m_size.height() - client.height()));
}

eRect eWidget::getClientRect() const
{
    return eRect(ePoint(0, 0), m_size);
}

ePoint eWidget::getAbsolutePosition() const
{
    if (!m_parent)
        return m_position;
    return m_parent->getAbsolutePosition() + m_parent->getClientRect().topLeft() + m_position;
}

eRect eWidget::getAbsoluteRect() const
{
    return eRect(getAbsolutePosition(), m_size);
}

eRect eWidget::visibleScreenRect() const
{
    eRect rect = getAbsoluteRect();
    for (const eWidget *ancestor = m_parent; ancestor; ancestor = ancestor->m_parent)
        rect = rect & ancestor->getClientRect().translated(ancestor->getAbsolutePosition());
    return rect;
}

// --- visibility

void eWidget::show()
{
    if (m_shown && (m_parent || m_screen))
        return;
    eventHandler(eWidgetEvent(eWidgetEvent::willShow));
    m_shown = true;
    if (!m_parent)
        getScreen()->windowShown(this);
    invalidate();
}

void eWidget::hide()
{
    if (!m_shown)
        return;
    invalidate();
    eventHandler(eWidgetEvent(eWidgetEvent::willHide));
    m_shown = false;
    if (!m_parent) {
        if (m_screen)
            m_screen->windowHidden(this);
    } else if (eWidget *top = getTLW(); top->m_focus && (top->m_focus == this || !top->m_focus->isVisible())) {
        top->setFocus(nullptr);
    }
}

bool eWidget::isVisible() const
{
    const eWidget *widget = this;
    for (; widget; widget = widget->m_parent) {
        if (!widget->m_shown)
            return false;
        if (!widget->m_parent)
            return widget->m_screen != nullptr;
    }
    return false;
}

// --- appearance

void eWidget::setText(const eString &text)
{
    if (text == m_text)
        return;
    m_text = text;
    invalidate();
    eventHandler(eWidgetEvent(eWidgetEvent::changedText));
}

void eWidget::setFont(const gFont &font)
{
    m_hasOwnFont = true;
    if (font == m_font)
        return;
    m_font = font;
    invalidate();
    eventHandler(eWidgetEvent(eWidgetEvent::changedFont));
}

void eWidget::setPixmap(gPixmap *pixmap)
{
    if (pixmap == m_pixmap)
        return;
    m_pixmap = pixmap;
    invalidate();
    eventHandler(eWidgetEvent(eWidgetEvent::changedPixmap));
}

void eWidget::setForegroundColor(const gColor &color)
{
    if (color == m_foregroundColor)
        return;
    m_foregroundColor = color;
    invalidate();
    eventHandler(eWidgetEvent(eWidgetEvent::changedForegroundColor));
}

void eWidget::setBackgroundColor(const gColor &color)
{
    if (color == m_backgroundColor)
        return;
    m_backgroundColor = color;
    invalidate();
    eventHandler(eWidgetEvent(eWidgetEvent::changedBackgroundColor));
}

namespace {

bool parsePair(const eString &value, int &first, int &second)
{
    char rest = 0;
    return std::sscanf(value.c_str(), " %d , %d %c", &first, &second, &rest) == 2;
}

} // namespace

int eWidget::setProperty(const eString &property, const eString &value)
{
    eSkin *skin = eSkin::getActive();
    if (property == "backgroundColor")
        setBackgroundColor(skin->queryColor(value));
    else if (property == "foregroundColor")
        setForegroundColor(skin->queryColor(value));
    else if (property == "font")
        setFont(skin->queryFont(value));
    else if (property == "name")
        setName(value);
    else if (property == "text")
        setText(value);
    else if (property == "position" || property == "size") {
        int first = 0;
        int second = 0;
        if (!parsePair(value, first, second)) {
            eWarning("gui: %s \"%s\" is not two numbers for %s", property.c_str(), value.c_str(), typeName());
            return -1;
        }
        if (property == "position")
            move(ePoint(first, second));
        else
            resize(eSize(first, second));
    } else {
        eWarning("gui: %s has no property \"%s\"", typeName(), property.c_str());
        return -1;
    }
    return 0;
}

// --- focus and actions

bool eWidget::acceptsFocus() const
{
    return m_takefocus && isVisible() && !m_size.isEmpty();
}

eWidget *eWidget::firstFocusable() const
{
    for (eWidget *child : m_children) {
        if (child->acceptsFocus())
            return child;
        if (child->m_shown)
            if (eWidget *found = child->firstFocusable())
                return found;
    }
    return nullptr;
}

void eWidget::setFocus(eWidget *widget)
{
    eWidget *top = getTLW();
    eWidget *before = top->getFocus();
    top->m_focus = widget;
    eWidget *after = top->getFocus();
    if (before == after)
        return;
    std::weak_ptr<void> afterAlive = after ? after->lifeToken() : std::weak_ptr<void>();
    if (before) {
        before->eventHandler(eWidgetEvent(eWidgetEvent::lostFocus));
        before->invalidate();
    }
    if (after && !afterAlive.expired()) {
        after->eventHandler(eWidgetEvent(eWidgetEvent::gotFocus));
        after->invalidate();
    }
}

eWidget *eWidget::getFocus() const
{
    const eWidget *top = getTLW();
    if (top->m_focus && top->m_focus->acceptsFocus())
        return top->m_focus;
    return top->firstFocusable();
}

bool eWidget::hasFocus() const
{
    return getFocus() == this;
}

void eWidget::forgetFocusOf(eWidget *widget)
{
    if (m_focus == widget)
        m_focus = nullptr;
}

void eWidget::addActionMap(const eActionMap *map)
{
    if (map && std::find(m_actionMaps.begin(), m_actionMaps.end(), map) == m_actionMaps.end())
        m_actionMaps.push_back(map);
}

void eWidget::removeActionMap(const eActionMap *map)
{
    m_actionMaps.erase(std::remove(m_actionMaps.begin(), m_actionMaps.end(), map), m_actionMaps.end());
}

int eWidget::eventHandler(const eWidgetEvent &event)
{
    // A top-level widget hands keys on to its focused widget.
    if (!m_parent && (event.type == eWidgetEvent::evtAction || event.type == eWidgetEvent::evtCharacter))
        return passToFocusChain(event);
    return 0;
}

int eWidget::passToFocusChain(const eWidgetEvent &event)
{
    // The chain from the focused widget up to, not including, this window,
    // each with a token that tells whether a handler deleted it on the way.
    std::vector<std::pair<eWidget *, std::weak_ptr<void>>> chain;
    for (eWidget *widget = getFocus(); widget && widget != this; widget = widget->m_parent)
        chain.emplace_back(widget, widget->lifeToken());
    for (auto &[widget, alive] : chain) {
        if (alive.expired())
            return 1;
        if (event.type == eWidgetEvent::evtAction) {
            const auto &maps = widget->m_actionMaps;
            if (std::find(maps.begin(), maps.end(), event.action->getMap()) == maps.end())
                continue;
        }
        if (int used = widget->eventHandler(event))
            return used;
        if (alive.expired())
            return 1;
    }
    return 0;
}

bool eWidget::focusChainHasMap(const eActionMap *map) const
{
    const auto has = [map](const eWidget *widget) {
        return std::find(widget->m_actionMaps.begin(), widget->m_actionMaps.end(), map) != widget->m_actionMaps.end();
    };
    if (has(this))
        return true;
    for (const eWidget *widget = getFocus(); widget && widget != this; widget = widget->m_parent)
        if (has(widget))
            return true;
    return false;
}

// --- modal runs

int eWidget::exec()
{
    if (!eApp) {
        eWarning("gui: exec of a %s without an application", typeName());
        return -1;
    }
    std::weak_ptr<void> alive = lifeToken();
    m_execLevel = eApp->loopLevel() + 1;
    eventHandler(eWidgetEvent(eWidgetEvent::execBegin));
    const int result = eApp->enter_loop();
    if (!alive.expired()) {
        m_execLevel = 0;
        eventHandler(eWidgetEvent(eWidgetEvent::execDone));
    }
    return result;
}

void eWidget::close(int result)
{
    if (!m_execLevel) {
        eDebug("gui: close(%d) of a %s that does not run modally", result, typeName());
        return;
    }
    if (m_execLevel != eApp->loopLevel()) {
        eWarning("gui: close(%d) of a %s under another modal window is ignored", result, typeName());
        return;
    }
    eApp->exit_loop(result);
}

// --- LCD

void eWidget::setLCD(eWidget *title, eWidget *element)
{
    m_lcdTitle = title;
    m_lcdElement = element;
    if (m_lcdTitle && !m_parent)
        m_lcdTitle->setText(m_text);
}

eWidget *eWidget::getLCDTitle() const
{
    for (const eWidget *widget = this; widget; widget = widget->m_parent)
        if (widget->m_lcdTitle)
            return widget->m_lcdTitle;
    return nullptr;
}

eWidget *eWidget::getLCDElement() const
{
    for (const eWidget *widget = this; widget; widget = widget->m_parent)
        if (widget->m_lcdElement)
            return widget->m_lcdElement;
    return nullptr;
}

// --- painting

void eWidget::invalidate(const eRect &area)
{
    if (!isVisible())
        return;
    eRect screenRect =
        area.isEmpty() ? visibleScreenRect() : area.translated(getAbsolutePosition()) & visibleScreenRect();
    invalidateScreenRect(screenRect);
}

void eWidget::invalidateScreenRect(const eRect &screenRect)
{
    if (screenRect.isEmpty())
        return;
    if (eScreen *screen = getTLW()->m_screen)
        screen->invalidate(screenRect);
}

void eWidget::redrawWidget(gPainter *painter, const eRect &area)
{
    if (m_backgroundColor.a) {
        painter->setForegroundColor(m_backgroundColor);
        painter->fill(area);
    }
}

void eWidget::paintTree(gPainter &painter, const eRect &screenArea)
{
    const eRect mine = visibleScreenRect() & screenArea;
    if (mine.isEmpty())
        return;
    const ePoint origin = getAbsolutePosition();
    painter.setOrigin(origin);
    const eRect local = mine.translated(ePoint(0, 0) - origin);
    painter.clip(local);
    redrawWidget(&painter, local);
    painter.clippop();
    for (eWidget *child : m_children)
        if (child->m_shown)
            child->paintTree(painter, mine);
}

// --- description

void eWidget::describe(JsonWriter &json) const
{
    const eRect rect = getAbsoluteRect();
    json.beginObject();
    json.key("type").value(typeName());
    json.key("name").value(m_name);
    json.key("text").value(m_text);
    json.key("geometry")
        .beginObject()
        .key("x")
        .value(rect.left())
        .key("y")
        .value(rect.top())
        .key("width")
        .value(rect.width())
        .key("height")
        .value(rect.height())
        .endObject();
    json.key("visible").value(isVisible());
    json.key("focused").value(isVisible() && hasFocus() && getTLW()->m_screen
                              && getTLW()->m_screen->activeWindow() == getTLW());
    if (m_pixmap) {
        // Which skin image it shows, so that a test can tell icons apart.
        const eSkin *skin = eSkin::getActive();
        json.key("image").value(skin ? skin->imageName(m_pixmap) : eString());
    }
    describeContents(json);
    json.key("children").beginArray();
    for (const eWidget *child : m_children)
        if (child->isVisible())
            child->describe(json);
    json.endArray();
    json.endObject();
}

void eWidget::describeContents(JsonWriter &) const
{
}

// --- screens

void eWidget::setScreen(eScreen *screen)
{
    if (m_parent || screen == m_screen)
        return;
    const bool wasShown = m_shown && m_screen;
    if (wasShown)
        hide();
    m_screen = screen;
    if (wasShown)
        show();
}

eScreen *eWidget::getScreen() const
{
    const eWidget *top = getTLW();
    if (!top->m_screen)
        const_cast<eWidget *>(top)->m_screen = &eScreen::osd();
    return top->m_screen;
}
