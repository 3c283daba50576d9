#include "gui/enumber.h"

#include "gui/eaction.h"
#include "gui/eskin.h"
#include "gui/etextpara.h"
#include "gui/gpainter.h"
#include "gui/widgets/json_writer.h"

#include <algorithm>

namespace {

// At most nine digits, so that a typed value always fits in an int.
constexpr int maxSupportedDigits = 9;
constexpr int underlineThickness = 2;

int decimalDigits(int value)
{
    int digits = 1;
    for (long long rest = value < 0 ? -static_cast<long long>(value) : value; rest >= 10; rest /= 10)
        ++digits;
    return digits;
}

} // namespace

eNumber::eNumber(eWidget *parent, int len, int min, int max, int maxdigits, int *init, int isactive, eWidget *descr,
                 int grabfocus, const char *deco)
    : eDecoWidget(parent, 1, deco), m_values(static_cast<std::size_t>(std::max(1, len)), min),
      m_typedDigits(m_values.size(), 0), m_min(min), m_max(std::max(min, max)),
      m_maxDigits(std::clamp(maxdigits, 1, maxSupportedDigits)), m_alwaysEditing(isactive != 0),
      m_editing(isactive != 0), m_grabFocus(grabfocus != 0), m_descr(descr)
{
    addActionMap(&i_cursorActions->map);
    addActionMap(&i_shortcutActions->map);
    if (init)
        for (std::size_t field = 0; field < m_values.size(); ++field)
            setNumber(static_cast<int>(field), init[field]);
    if (m_grabFocus)
        setFocus(this);
}

eNumber::~eNumber() = default;

void eNumber::setNumber(int field, int value)
{
    if (field < 0 || field >= getFieldCount())
        return;
    const auto index = static_cast<std::size_t>(field);
    // A negative value cannot be extended by digits: the next digit starts anew.
    const int typed = value < 0 ? m_maxDigits : std::min(decimalDigits(value), m_maxDigits);
    if (m_values[index] == value && m_typedDigits[index] == typed)
        return;
    m_values[index] = value;
    m_typedDigits[index] = typed;
    invalidate();
}

int eNumber::getNumber(int field) const
{
    if (field < 0 || field >= getFieldCount())
        return 0;
    return m_values[static_cast<std::size_t>(field)];
}

void eNumber::setCurrentField(int field)
{
    field = std::clamp(field, 0, getFieldCount() - 1);
    if (field == m_currentField)
        return;
    // Leaving a field ends its entry.
    keepAboveMin(m_currentField);
    m_typedDigits[static_cast<std::size_t>(m_currentField)] = m_maxDigits;
    m_currentField = field;
    invalidate();
}

void eNumber::keepAboveMin(int field)
{
    int &value = m_values[static_cast<std::size_t>(field)];
    if (value < m_min) {
        value = m_min;
        invalidate();
    }
}

void eNumber::typeDigit(int digit)
{
    const auto index = static_cast<std::size_t>(m_currentField);
    int &value = m_values[index];
    int &typed = m_typedDigits[index];
    if (typed == 0 || typed >= m_maxDigits) {
        value = digit;
        typed = 1;
    } else {
        // typed < maxDigits <= 9 keeps value below 10^8 here: no overflow.
        value = value * 10 + digit;
        ++typed;
    }
    if (value > m_max)
        value = m_max;
    if (typed >= m_maxDigits)
        keepAboveMin(m_currentField);
    m_editing = true;
    invalidate();
    numberChanged();
}

void eNumber::finishEditing(bool accepted)
{
    if (accepted)
        for (int field = 0; field < getFieldCount(); ++field)
            keepAboveMin(field);
    // The next digit starts a new entry.
    std::fill(m_typedDigits.begin(), m_typedDigits.end(), m_maxDigits);
    m_editing = m_alwaysEditing;
    invalidate();
    // Last: a handler may close or delete the window.
    selected(accepted ? m_values.data() : nullptr);
}

int eNumber::eventHandler(const eWidgetEvent &event)
{
    switch (event.type) {
    case eWidgetEvent::evtAction: {
        const int digit = i_shortcutActions->digitOf(event.action);
        if (digit >= 0) {
            typeDigit(digit);
            return 1;
        }
        if (event.action == &i_cursorActions->ok) {
            if (!m_editing) {
                m_editing = true;
                invalidate();
            } else {
                finishEditing(true);
            }
            return 1;
        }
        if (event.action == &i_cursorActions->cancel) {
            if (!m_editing)
                return 0;
            finishEditing(false);
            return 1;
        }
        const bool left = event.action == &i_cursorActions->left;
        const bool right = event.action == &i_cursorActions->right;
        if ((left || right) && m_editing) {
            const int next = m_currentField + (right ? 1 : -1);
            if (next < 0 || next >= getFieldCount())
                return 0;
            setCurrentField(next);
            return 1;
        }
        return 0;
    }
    case eWidgetEvent::willShow:
        if (m_grabFocus)
            setFocus(this);
        break;
    case eWidgetEvent::changedFont:
    case eWidgetEvent::changedSize: invalidate(); break;
    default: break;
    }
    return eDecoWidget::eventHandler(event);
}

gFont eNumber::effectiveFont() const
{
    return hasOwnFont() ? getFont() : eSkin::getActive()->queryFont("eNumber");
}

eRect eNumber::fieldRect(int field) const
{
    const eRect client = getClientRect();
    const int count = getFieldCount();
    const int left = client.left() + client.width() * field / count;
    const int right = client.left() + client.width() * (field + 1) / count;
    return eRect::fromEdges(left, client.top(), right, client.bottom());
}

void eNumber::redrawWidget(gPainter *painter, const eRect &)
{
    drawDecoration(painter);
    const gFont font = effectiveFont();
    const bool showCursor = m_editing && hasFocus();
    painter->setForegroundColor(getForegroundColor());
    for (int field = 0; field < getFieldCount(); ++field) {
        const eRect rect = fieldRect(field);
        if (rect.isEmpty())
            continue;
        eString text;
        text.setNum(getNumber(field));
        auto *para = new eTextPara(rect);
        para->setFont(font);
        para->renderString(text);
        para->realign(eTextPara::dirCenter);
        const int lineTop = std::max(0, (rect.height() - para->lineHeight()) / 2);
        painter->renderPara(*para, ePoint(0, lineTop));
        if (showCursor && field == m_currentField) {
            const int width = para->textWidth();
            const int left = rect.left() + (rect.width() - width) / 2;
            const int top = std::min(rect.top() + lineTop + para->ascender() + 2, rect.bottom() - underlineThickness);
            painter->fill(eRect(ePoint(left, top), eSize(std::max(width, 1), underlineThickness)));
        }
        para->destroy();
    }
}

void eNumber::describeContents(JsonWriter &json) const
{
    eDecoWidget::describeContents(json);
    json.key("numbers").beginArray();
    for (int value : m_values)
        json.value(value);
    json.endArray();
    json.key("currentField").value(m_currentField);
    json.key("editing").value(m_editing);
}
