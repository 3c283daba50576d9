#include "gui/edecowidget.h"

#include "gui/gpainter.h"
#include "gui/widgets/json_writer.h"

eDecoWidget::eDecoWidget(eWidget *parent, int takefocus, const char *deco)
    : eWidget(parent, takefocus), m_decoName(deco ? deco : "")
{
}

void eDecoWidget::setDeco(const eString &name)
{
    m_decoName = name;
}

int eDecoWidget::loadDeco()
{
    const eDecoration &found = eSkin::getActive()->queryDeco(m_decoName);
    invalidate();
    m_deco = found;
    invalidate();
    return found.valid ? 0 : -1;
}

eRect eDecoWidget::getClientRect() const
{
    const int border = m_deco.valid ? m_deco.borderWidth : 0;
    const eSize size = getSize();
    return eRect::fromEdges(border, border, size.width() - border, size.height() - border);
}

int eDecoWidget::setProperty(const eString &property, const eString &value)
{
    if (property == "deco") {
        setDeco(value);
        loadDeco();
        return 0;
    }
    return eWidget::setProperty(property, value);
}

void eDecoWidget::redrawWidget(gPainter *painter, const eRect &)
{
    drawDecoration(painter);
}

void eDecoWidget::drawDecoration(gPainter *painter)
{
    const eRect whole(ePoint(0, 0), getSize());
    const bool focused = hasFocus();
    gColor background = getBackgroundColor();
    if (!background.a && m_deco.valid)
        background = focused && m_deco.focusBackground.a ? m_deco.focusBackground : m_deco.background;
    if (background.a) {
        painter->setForegroundColor(background);
        if (m_deco.valid && m_deco.radius > 0)
            painter->fillRoundRect(whole, m_deco.radius);
        else
            painter->fill(whole);
    }
    if (m_deco.valid && m_deco.borderWidth > 0) {
        const gColor border = focused && m_deco.focusBorderColor.a ? m_deco.focusBorderColor : m_deco.borderColor;
        if (border.a) {
            painter->setForegroundColor(border);
            if (m_deco.radius > 0) {
                // The rounded shape, clipped to the four edge strips: a frame
                // that follows the rounded corners.
                const int b = m_deco.borderWidth;
                const int w = whole.width();
                const int h = whole.height();
                const eRect strips[] = {eRect::fromEdges(0, 0, w, b), eRect::fromEdges(0, h - b, w, h),
                                        eRect::fromEdges(0, b, b, h - b), eRect::fromEdges(w - b, b, w, h - b)};
                for (const eRect &strip : strips) {
                    painter->clip(strip);
                    painter->fillRoundRect(whole, m_deco.radius);
                    painter->clippop();
                }
            } else {
                painter->drawRect(whole, m_deco.borderWidth);
            }
        }
    }
}

void eDecoWidget::describeContents(JsonWriter &json) const
{
    if (!m_decoName.empty())
        json.key("deco").value(m_decoName);
}
