#include "gui/elistboxentry.h"

#include "gui/elistbox.h"
#include "gui/eskin.h"
#include "gui/gfont.h"
#include "gui/gpainter.h"
#include "gui/listrow_text.h"

#include <algorithm>

namespace {

const eString noText;

// The list font of text rows.
constexpr const char *listFontName = "eListBox.EntryText.normal";

} // namespace

// --- eListBoxEntry

eListBoxEntry::eListBoxEntry(eListBoxBase *listbox, const eString &helptext, int selectable)
    : m_listbox(listbox), m_helptext(helptext.empty() ? eString(" ") : helptext), m_selectable(selectable != 0)
{
    if (m_listbox)
        m_listbox->append(this, false, false);
}

eListBoxEntry::~eListBoxEntry()
{
    if (m_inList && m_listbox)
        m_listbox->entryDestroyed(this);
}

bool eListBoxEntry::operator<(const eListBoxEntry &) const
{
    return false;
}

int eListBoxEntry::eventHandler(const eWidgetEvent &)
{
    return 0;
}

const eString &eListBoxEntry::redraw(gPainter *painter, const eRect &rect, gColor coActiveB, gColor coActiveF,
                                     gColor coNormalB, gColor coNormalF, int state)
{
    drawEntryRect(painter, rect, coActiveB, coActiveF, coNormalB, coNormalF, state);
    return getText();
}

const eString &eListBoxEntry::getText() const
{
    return noText;
}

void eListBoxEntry::drawEntryRect(gPainter *painter, const eRect &rect, gColor coActiveB, gColor coActiveF,
                                  gColor coNormalB, gColor coNormalF, int state)
{
    const bool current = (state & stateCurrent) != 0;
    const bool focused = (state & stateFocused) != 0;
    if (current && focused) {
        painter->setForegroundColor(coActiveB);
        painter->fill(rect);
        painter->setForegroundColor(coActiveF);
        return;
    }
    if (coNormalB.a) {
        painter->setForegroundColor(coNormalB);
        painter->fill(rect);
    }
    if (current) {
        // The list has no focus: the bar stays visible, but dimmed, over the
        // normal background; the text keeps the normal colour.
        gColor dimmed = coActiveB;
        dimmed.a = static_cast<std::uint8_t>(coActiveB.a / 3);
        if (dimmed.a) {
            painter->setForegroundColor(dimmed);
            painter->fill(rect);
        }
    }
    painter->setForegroundColor(coNormalF);
}

void eListBoxEntry::invalidate()
{
    if (m_inList && m_listbox)
        m_listbox->entryNeedsRedraw(this);
}

void eListBoxEntry::valueChanged()
{
    if (m_inList && m_listbox)
        m_listbox->entryValueChanged(this);
}

// --- eListBoxEntryText

eListBoxEntryText::eListBoxEntryText(eListBoxBase *listbox, const eString &text, const eString &helptext, int align)
    : eListBoxEntryText(listbox, text, helptext, align, 1)
{
}

eListBoxEntryText::eListBoxEntryText(eListBoxBase *listbox, const eString &text, const eString &helptext, int align,
                                     int selectable)
    : eListBoxEntry(listbox, helptext, selectable), m_text(text), m_align(align)
{
    // The list took the row in before its text was set (the LCD may show it).
    invalidate();
}

eListBoxEntryText::~eListBoxEntryText() = default;

int eListBoxEntryText::getEntryHeight()
{
    const gFont font = eSkin::getActive()->queryFont(listFontName);
    const int lineHeight = fontMetrics(font).lineHeight;
    // A font that cannot be loaded has no metrics; its size still says how
    // much room a line would take.
    return std::max(1, lineHeight > 0 ? lineHeight : font.pointSize) + 2 * entryPadding;
}

const eString &eListBoxEntryText::getText() const
{
    return m_text;
}

void eListBoxEntryText::setText(const eString &text)
{
    if (text == m_text)
        return;
    m_text = text;
    invalidate();
}

gFont eListBoxEntryText::textFont() const
{
    gFont font = eSkin::getActive()->queryFont(listFontName);
    if (m_emphasised)
        font.family = "Bold";
    return font;
}

void eListBoxEntryText::setEmphasised(bool emphasised)
{
    if (emphasised == m_emphasised)
        return;
    m_emphasised = emphasised;
    invalidate();
}

void eListBoxEntryText::drawOwnText(gPainter *painter, const eRect &area)
{
    if (!m_line)
        m_line = std::make_unique<ListRowTextLine>();
    m_line->draw(*painter, m_text, textFont(), area, m_align);
}

const eString &eListBoxEntryText::redraw(gPainter *painter, const eRect &rect, gColor coActiveB, gColor coActiveF,
                                         gColor coNormalB, gColor coNormalF, int state)
{
    drawEntryRect(painter, rect, coActiveB, coActiveF, coNormalB, coNormalF, state);
    drawOwnText(painter,
                eRect::fromEdges(rect.left() + textMargin, rect.top(), rect.right() - textMargin, rect.bottom()));
    return m_text;
}
