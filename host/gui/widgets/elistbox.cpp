#include "gui/elistbox.h"

#include "base/elog.h"
#include "gui/eaction.h"
#include "gui/eskin.h"
#include "gui/gpainter.h"
#include "gui/widgets/json_writer.h"

#include <algorithm>

namespace {

// The list's colours when the skin names none: a transparent background and
// white text, and a bright amber selection bar with near-black text.
constexpr gColor defaultBackground{0, 0, 0, 0};
constexpr gColor defaultForeground{255, 255, 255};
constexpr gColor defaultSelectedBackground{255, 190, 40};
constexpr gColor defaultSelectedForeground{16, 16, 16};

} // namespace

eListBoxBase::eListBoxBase(eWidget *parent, const eWidget *descr, int takefocus, int itemHeight, const char *deco)
    : eDecoWidget(parent, takefocus, deco), m_descr(descr),
      m_itemHeight(itemHeight > 0 ? itemHeight : eListBoxEntryText::getEntryHeight())
{
    addActionMap(&i_cursorActions->map);
}

eListBoxBase::~eListBoxBase()
{
    std::vector<eListBoxEntry *> rows;
    rows.swap(m_rows);
    m_current = -1;
    for (eListBoxEntry *row : rows) {
        row->m_inList = false;
        delete row;
    }
}

// --- rows

void eListBoxBase::append(eListBoxEntry *entry, bool holdCurrent, bool front)
{
    if (!entry)
        return;
    if (entry->m_inList) {
        if (entry->m_listbox == this)
            return;
        entry->m_listbox->take(entry);
    }
    entry->m_listbox = this;
    entry->m_inList = true;

    const int index = front ? 0 : getCount();
    m_rows.insert(m_rows.begin() + index, entry);
    if (m_current >= index)
        ++m_current;
    if (index < m_top || (holdCurrent && m_current >= 0 && index <= m_current))
        ++m_top; // what was in view stays in view (or the current row keeps its line)
    else if (index < viewEnd() && front)
        damageAll(); // the rows below it move down
    else
        damageRow(index);

    if (m_current < 0 && entry->isSelectable()) {
        m_current = index;
        damageRow(index);
        scrollToCurrent();
        selectionChanged(false);
    } else {
        scrollToCurrent();
    }
}

void eListBoxBase::take(eListBoxEntry *entry, bool holdCurrent)
{
    const int index = indexOf(entry);
    if (index < 0)
        return;
    removeAt(index, holdCurrent);
}

void eListBoxBase::removeAt(int index, bool holdCurrent)
{
    eListBoxEntry *entry = m_rows[static_cast<std::size_t>(index)];
    const bool wasCurrent = index == m_current;
    const bool wasInView = index >= m_top && index < viewEnd();
    m_rows.erase(m_rows.begin() + index);
    entry->m_inList = false;

    if (index < m_top || (holdCurrent && index < m_current && m_top > 0))
        --m_top;
    else if (wasInView)
        damageAll();
    if (m_current > index)
        --m_current;

    if (wasCurrent) {
        // The row below it takes its place; at the end, the one above.
        int next = selectableFrom(index, +1);
        if (next < 0)
            next = selectableFrom(index - 1, -1);
        m_current = next;
        damageRow(m_current);
        scrollToCurrent();
        selectionChanged(false);
    } else {
        scrollToCurrent();
    }
}

void eListBoxBase::clearList()
{
    std::vector<eListBoxEntry *> rows;
    rows.swap(m_rows);
    const bool hadCurrent = m_current >= 0;
    m_current = -1;
    m_top = 0;
    for (eListBoxEntry *row : rows) {
        row->m_inList = false;
        delete row;
    }
    if (!rows.empty())
        damageAll();
    if (hadCurrent)
        selectionChanged(false);
}

eListBoxEntry *eListBoxBase::entryAt(int index) const
{
    return index >= 0 && index < getCount() ? m_rows[static_cast<std::size_t>(index)] : nullptr;
}

int eListBoxBase::indexOf(const eListBoxEntry *entry) const
{
    if (!entry)
        return -1;
    if (m_current >= 0 && m_rows[static_cast<std::size_t>(m_current)] == entry)
        return m_current;
    auto found = std::find(m_rows.begin(), m_rows.end(), entry);
    return found == m_rows.end() ? -1 : static_cast<int>(found - m_rows.begin());
}

// --- updates

void eListBoxBase::beginAtomic()
{
    ++m_atomicDepth;
}

void eListBoxBase::endAtomic()
{
    if (m_atomicDepth == 0) {
        eWarning("gui: endAtomic without beginAtomic on a list box");
        return;
    }
    if (--m_atomicDepth > 0)
        return;
    if (m_damagedInAtomic) {
        m_damagedInAtomic = false;
        invalidate();
    }
    if (m_selChangedInAtomic) {
        m_selChangedInAtomic = false;
        if (eListBoxEntry *current = getCurrentEntry())
            emitSelChanged(current); // last: a handler may delete the list
    }
}

void eListBoxBase::sort()
{
    if (m_rows.size() < 2)
        return;
    eListBoxEntry *current = getCurrentEntry();
    std::stable_sort(m_rows.begin(), m_rows.end(),
                     [](const eListBoxEntry *a, const eListBoxEntry *b) { return *a < *b; });
    if (current)
        m_current = static_cast<int>(std::find(m_rows.begin(), m_rows.end(), current) - m_rows.begin());
    scrollToCurrent();
    damageAll();
}

// --- the cursor

int eListBoxBase::selectableFrom(int index, int step) const
{
    for (; index >= 0 && index < getCount(); index += step)
        if (m_rows[static_cast<std::size_t>(index)]->isSelectable())
            return index;
    return -1;
}

int eListBoxBase::goNext()
{
    return moveBy(+1);
}

int eListBoxBase::goPrev()
{
    return moveBy(-1);
}

int eListBoxBase::goPageDown()
{
    return moveBy(getPageSize());
}

int eListBoxBase::goPageUp()
{
    return moveBy(-getPageSize());
}

int eListBoxBase::moveBy(int rows)
{
    if (m_rows.empty() || rows == 0)
        return -1;
    const int step = rows > 0 ? +1 : -1;
    const int last = getCount() - 1;
    const int from = m_current;
    int target = -1;
    if (from < 0) {
        target = selectableFrom(step > 0 ? 0 : last, step);
    } else if (rows == step) {
        target = selectableFrom(from + step, step);
    } else {
        // A page away, or as far as the list goes.
        const int wanted = std::clamp(from + rows, 0, last);
        target = selectableFrom(wanted, step);
        if (target < 0)
            target = selectableFrom(wanted, -step);
        if (target == from)
            target = -1;
    }
    if (target < 0 && from >= 0 && (m_flags & flagWrapAround))
        target = selectableFrom(step > 0 ? 0 : last, step);
    if (target < 0 || target == from)
        return -1;
    if (from >= 0 && rows != step)
        scrollTo(m_top + (target - from)); // a page: the view moves with the cursor
    moveCursor(target, true);
    return 0;
}

void eListBoxBase::moveCursor(int index, bool notify)
{
    if (index == m_current) {
        scrollToCurrent();
        return;
    }
    const int previous = m_current;
    const int topBefore = m_top;
    m_current = index;
    scrollToCurrent();
    if (m_top == topBefore) {
        damageRow(previous);
        damageRow(m_current);
    }
    selectionChanged(notify);
}

int eListBoxBase::setCurrent(const eListBoxEntry *entry, bool sendSelChanged)
{
    const int index = indexOf(entry);
    if (index < 0 || !entry->isSelectable())
        return -1;
    moveCursor(index, sendSelChanged);
    return 0;
}

eListBoxEntry *eListBoxBase::getCurrentEntry() const
{
    return entryAt(m_current);
}

int eListBoxBase::getPageSize() const
{
    return m_itemHeight > 0 ? std::max(1, getClientRect().height() / m_itemHeight) : 1;
}

int eListBoxBase::maxTop() const
{
    return std::max(0, getCount() - getPageSize());
}

void eListBoxBase::scrollTo(int top)
{
    top = std::clamp(top, 0, maxTop());
    if (top == m_top)
        return;
    m_top = top;
    damageAll();
}

void eListBoxBase::scrollToCurrent()
{
    int top = m_top;
    if (m_current >= 0) {
        const int page = getPageSize();
        if (m_current < top)
            top = m_current;
        else if (m_current >= top + page)
            top = m_current - page + 1;
    }
    scrollTo(top);
}

void eListBoxBase::selectionChanged(bool notify)
{
    showCurrentOnLCD();
    if (!notify)
        return;
    if (isAtomic()) {
        m_selChangedInAtomic = true;
        return;
    }
    emitSelChanged(getCurrentEntry()); // last: a handler may delete the list
}

void eListBoxBase::showCurrentOnLCD()
{
    if (!hasFocus())
        return;
    if (eWidget *lcd = getLCDElement()) {
        const eListBoxEntry *current = getCurrentEntry();
        lcd->setText(current ? current->getText() : eString());
    }
}

// --- look and behaviour

void eListBoxBase::setFlags(int flags)
{
    m_flags |= flags;
}

void eListBoxBase::removeFlags(int flags)
{
    m_flags &= ~flags;
}

void eListBoxBase::setItemHeight(int height)
{
    if (height <= 0)
        height = eListBoxEntryText::getEntryHeight();
    if (height == m_itemHeight)
        return;
    m_itemHeight = height;
    scrollToCurrent();
    damageAll();
}

eRect eListBoxBase::getEntryRect(int index) const
{
    return eRect(ePoint(0, (index - m_top) * m_itemHeight), eSize(getClientRect().width(), m_itemHeight));
}

void eListBoxBase::damageAll()
{
    if (isAtomic())
        m_damagedInAtomic = true;
    else
        invalidate();
}

eRect eListBoxBase::shownRowsArea() const
{
    const eRect client = getClientRect();
    return eRect(client.topLeft(), eSize(client.width(), std::min(client.height(), getPageSize() * m_itemHeight)));
}

void eListBoxBase::damageRow(int index)
{
    if (index < 0)
        return;
    if (isAtomic()) {
        m_damagedInAtomic = true;
        return;
    }
    const eRect row = getEntryRect(index).translated(getClientRect().topLeft()) & shownRowsArea();
    if (!row.isEmpty()) // an empty area would mean the whole widget
        invalidate(row);
}

// --- rows report

void eListBoxBase::entryDestroyed(eListBoxEntry *entry)
{
    const int index = indexOf(entry);
    if (index >= 0)
        removeAt(index, false);
}

void eListBoxBase::entryNeedsRedraw(const eListBoxEntry *entry)
{
    if (entry == getCurrentEntry())
        showCurrentOnLCD(); // its text may have changed
    if (isAtomic()) {
        m_damagedInAtomic = true;
        return;
    }
    // Only rows in view need drawing.
    const int end = std::min(getCount(), viewEnd());
    for (int index = m_top; index < end; ++index)
        if (m_rows[static_cast<std::size_t>(index)] == entry) {
            damageRow(index);
            return;
        }
}

void eListBoxBase::entryValueChanged(eListBoxEntry *entry)
{
    entryNeedsRedraw(entry);
    if (isAtomic())
        m_selChangedInAtomic = true;
    else
        emitSelChanged(entry); // last: a handler may delete the list
}

// --- keys

int eListBoxBase::eventHandler(const eWidgetEvent &event)
{
    switch (event.type) {
    case eWidgetEvent::evtAction: {
        const eAction *action = event.action;
        if (action == &i_cursorActions->up)
            return goPrev() == 0;
        if (action == &i_cursorActions->down)
            return goNext() == 0;
        if (action == &i_cursorActions->pageUp)
            return goPageUp() == 0;
        if (action == &i_cursorActions->pageDown)
            return goPageDown() == 0;
        if (action == &i_cursorActions->left || action == &i_cursorActions->right) {
            if (eListBoxEntry *current = getCurrentEntry()) {
                std::weak_ptr<void> alive = lifeToken();
                if (current->eventHandler(event) || alive.expired())
                    return 1;
            }
            if (m_flags & flagNoPageMovement)
                return 0;
            return (action == &i_cursorActions->left ? goPageUp() : goPageDown()) == 0;
        }
        if (action == &i_cursorActions->ok) {
            emitSelected(getCurrentEntry()); // last: a handler may clear or delete the list
            return 1;
        }
        return 0;
    }
    case eWidgetEvent::changedSize: scrollToCurrent(); break;
    case eWidgetEvent::gotFocus: showCurrentOnLCD(); break;
    default: break;
    }
    return eDecoWidget::eventHandler(event);
}

// --- painting

void eListBoxBase::redrawWidget(gPainter *painter, const eRect &area)
{
    eDecoWidget::redrawWidget(painter, area);
    const eRect client = getClientRect();
    const eRect damaged = (area & shownRowsArea()).translated(ePoint(0, 0) - client.topLeft());
    if (m_rows.empty() || m_itemHeight <= 0 || damaged.isEmpty())
        return;

    const eSkin *skin = eSkin::getActive();
    const gColor activeBackground = skin->queryColor("eListBox.selected.background", defaultSelectedBackground);
    const gColor activeForeground = skin->queryColor("eListBox.selected.foreground", defaultSelectedForeground);
    const gColor normalBackground = skin->queryColor("eListBox.background", defaultBackground);
    const gColor normalForeground = skin->queryColor("eListBox.foreground", defaultForeground);
    const int focusState = hasFocus() ? eListBoxEntry::stateFocused : 0;

    const ePoint widgetOrigin = painter->origin();
    painter->moveOrigin(client.topLeft());
    painter->clip(damaged);
    const int first = m_top + std::max(0, damaged.top()) / m_itemHeight;
    const int last = m_top + (damaged.bottom() - 1) / m_itemHeight;
    for (int index = first; index <= last && index < getCount(); ++index) {
        const eRect row = getEntryRect(index);
        const int state = focusState | (index == m_current ? eListBoxEntry::stateCurrent : 0);
        painter->clip(row);
        m_rows[static_cast<std::size_t>(index)]->redraw(painter, row, activeBackground, activeForeground,
                                                        normalBackground, normalForeground, state);
        painter->clippop();
    }
    painter->clippop();
    painter->setOrigin(widgetOrigin);
}

void eListBoxBase::describeContents(JsonWriter &json) const
{
    eDecoWidget::describeContents(json);
    json.key("rows").beginArray();
    const int described = std::min(getCount(), maxDescribedRows);
    for (int index = 0; index < described; ++index)
        json.value(m_rows[static_cast<std::size_t>(index)]->getText());
    json.endArray();
    json.key("count").value(getCount());
    json.key("current").value(m_current);
    json.key("top").value(m_top);
}
