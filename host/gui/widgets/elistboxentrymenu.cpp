#include "gui/elistboxentrymenu.h"

#include "gui/eaction.h"
#include "gui/ewidget.h"
#include "gui/gfont.h"
#include "gui/gpainter.h"
#include "gui/gpixmap.h"

#include <algorithm>

// --- eListBoxEntryMenu

eListBoxEntryMenu::eListBoxEntryMenu(eListBoxBase *listbox, const eString &text, const eString &helptext, int highlight,
                                     int key, int keytype)
    : eListBoxEntryText(listbox, text, helptext, eTextPara::dirLeft, 1), m_key(key), m_keytype(keytype)
{
    setEmphasised(highlight != 0);
}

eListBoxEntryMenu::eListBoxEntryMenu(eListBoxBase *listbox, const eString &text, int key, int selectable)
    : eListBoxEntryText(listbox, text, "", eTextPara::dirLeft, selectable), m_key(key)
{
}

eListBoxEntryMenu::~eListBoxEntryMenu() = default;

// --- eListBoxEntryMenuSeparator

eListBoxEntryMenuSeparator::eListBoxEntryMenuSeparator(eListBoxBase *listbox, gPixmap *image, int alphatest,
                                                       bool stretch)
    : eListBoxEntryMenu(listbox, "", 0, 0), m_image(image), m_alphatest(alphatest != 0), m_stretch(stretch)
{
}

eListBoxEntryMenuSeparator::~eListBoxEntryMenuSeparator() = default;

const gPixmap &eListBoxEntryMenuSeparator::stretched(int width)
{
    if (!m_stretched || m_stretched->width() != width) {
        // Nearest neighbour across; the height stays.
        const gPixmap &source = *m_image;
        m_stretched = std::make_unique<gPixmap>(eSize(width, source.height()));
        for (int y = 0; y < source.height(); ++y) {
            const std::uint32_t *from = source.line(y);
            std::uint32_t *to = m_stretched->line(y);
            for (int x = 0; x < width; ++x)
                to[x] = from[static_cast<long long>(x) * source.width() / width];
        }
    }
    return *m_stretched;
}

const eString &eListBoxEntryMenuSeparator::redraw(gPainter *painter, const eRect &rect, gColor coActiveB,
                                                  gColor coActiveF, gColor coNormalB, gColor coNormalF, int state)
{
    drawEntryRect(painter, rect, coActiveB, coActiveF, coNormalB, coNormalF, state);
    const int middle = rect.top() + rect.height() / 2;
    const int width = rect.width() - 2 * textMargin;
    if (m_image && m_image->width() > 0 && m_image->height() > 0) {
        const int flags = m_alphatest ? gPainter::BF_ALPHA_TEST : gPainter::BF_ALPHA_BLEND;
        const gPixmap &image = m_stretch && width > 0 ? stretched(width) : *m_image;
        const ePoint corner(rect.left() + (rect.width() - image.width()) / 2, middle - image.height() / 2);
        painter->blit(image, corner, eRect(), flags);
    } else if (width > 0) {
        // A faint line in the text colour.
        gColor line = painter->foregroundColor();
        line.a = static_cast<std::uint8_t>(line.a / 2);
        painter->setForegroundColor(line);
        painter->fill(eRect(ePoint(rect.left() + textMargin, middle), eSize(width, 1)));
    }
    return getText();
}

// --- eListBoxEntryMulti

namespace {

// The blank between a choice row's title and its value.
constexpr int valueGap = 12;

} // namespace

eListBoxEntryMulti::eListBoxEntryMulti(eListBoxBase *listbox, const eString &title)
    : eListBoxEntryMenu(listbox, title, 0, 1)
{
    show(0);
}

eListBoxEntryMulti::~eListBoxEntryMulti() = default;

void eListBoxEntryMulti::add(const eString &text, int value)
{
    m_choices.push_back(Choice{text, value});
    if (!m_valueSet) {
        m_valueSet = true;
        show(value);
    } else if (value == getKey()) {
        show(value); // a value set before its choice was added now has its text
    }
}

void eListBoxEntryMulti::setCurrent(int value)
{
    m_valueSet = true;
    show(value);
}

void eListBoxEntryMulti::show(int value)
{
    setKey(value);
    auto choice = std::find_if(m_choices.begin(), m_choices.end(),
                               [value](const Choice &candidate) { return candidate.value == value; });
    if (choice != m_choices.end())
        m_shownValue = choice->text;
    else if (m_valueSet)
        m_shownValue.setNum(value);
    else
        m_shownValue.clear();
    m_fullText = ownText() + "\t" + m_shownValue;
    invalidate();
}

int eListBoxEntryMulti::neighbourChoice(int direction) const
{
    const int value = getKey();
    auto current = std::find_if(m_choices.begin(), m_choices.end(),
                                [value](const Choice &candidate) { return candidate.value == value; });
    if (current != m_choices.end()) {
        const long long index = (current - m_choices.begin()) + direction;
        return index >= 0 && index < static_cast<long long>(m_choices.size()) ? static_cast<int>(index) : -1;
    }
    // A value no choice has: the nearest choice below or above it by value.
    int found = -1;
    for (std::size_t i = 0; i < m_choices.size(); ++i) {
        const int candidate = m_choices[i].value;
        const bool onTheSide = direction < 0 ? candidate < value : candidate > value;
        if (!onTheSide)
            continue;
        if (found < 0
            || (direction < 0 ? candidate > m_choices[static_cast<std::size_t>(found)].value
                              : candidate < m_choices[static_cast<std::size_t>(found)].value))
            found = static_cast<int>(i);
    }
    return found;
}

int eListBoxEntryMulti::eventHandler(const eWidgetEvent &event)
{
    if (event.type != eWidgetEvent::evtAction)
        return 0;
    int direction = 0;
    if (event.action == &i_cursorActions->left)
        direction = -1;
    else if (event.action == &i_cursorActions->right)
        direction = +1;
    else
        return 0;
    const int next = neighbourChoice(direction);
    if (next < 0)
        return 1; // at the end: nothing changes, but the key is ours
    show(m_choices[static_cast<std::size_t>(next)].value);
    valueChanged(); // last: a selchanged handler may delete this row
    return 1;
}

const eString &eListBoxEntryMulti::redraw(gPainter *painter, const eRect &rect, gColor coActiveB, gColor coActiveF,
                                          gColor coNormalB, gColor coNormalF, int state)
{
    drawEntryRect(painter, rect, coActiveB, coActiveF, coNormalB, coNormalF, state);
    const eRect inner =
        eRect::fromEdges(rect.left() + textMargin, rect.top(), rect.right() - textMargin, rect.bottom());
    const gFont font = textFont();
    const int valueWidth = m_shownValue.empty() ? 0 : textWidth(font, m_shownValue);
    const int titleRight = std::max(inner.left(), inner.right() - (valueWidth ? valueWidth + valueGap : 0));
    drawOwnText(painter, eRect::fromEdges(inner.left(), inner.top(), titleRight, inner.bottom()));
    m_valueLine.draw(*painter, m_shownValue, font, inner, eTextPara::dirRight);
    return m_fullText;
}

const eString &eListBoxEntryMulti::getText() const
{
    return m_fullText;
}
