#include "gui/listrow_text.h"

#include "gui/gpainter.h"

#include <algorithm>

void ListRowTextLine::draw(gPainter &painter, const eString &text, const gFont &font, const eRect &area, int align)
{
    if (area.isEmpty() || text.empty())
        return;
    if (!m_para || text != m_text || !(font == m_font) || area.size() != m_size || align != m_align) {
        // At least one line high, so that a row lower than its font still shows the line's middle.
        const int height = std::max(area.height(), fontMetrics(font).lineHeight);
        m_para.reset(new eTextPara(eRect(ePoint(0, 0), eSize(area.width(), height))));
        m_para->setFont(font);
        m_para->renderString(text, 0);
        if (align != eTextPara::dirLeft)
            m_para->realign(align);
        m_text = text;
        m_font = font;
        m_size = area.size();
        m_align = align;
    }
    // Centre the line in the area; a line taller than the area keeps its middle in view.
    const int lineTop = (area.height() - m_para->lineHeight()) / 2;
    painter.clip(area);
    painter.renderPara(*m_para, area.topLeft() + ePoint(0, lineTop));
    painter.clippop();
}
