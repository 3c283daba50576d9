#include "gui/elabel.h"

#include "base/elog.h"
#include "gui/eskin.h"
#include "gui/gpainter.h"
#include "gui/gpixmap.h"

eLabel::eLabel(eWidget *parent, int flags, int takefocus, const char *deco)
    : eDecoWidget(parent, takefocus, deco), m_flags(flags)
{
}

eLabel::~eLabel() = default;

void eLabel::setAlign(int align)
{
    if (align == m_align)
        return;
    m_align = align;
    dropLayout();
}

void eLabel::setFlags(int flags)
{
    if (flags == m_flags)
        return;
    m_flags = flags;
    dropLayout();
}

int eLabel::setProperty(const eString &property, const eString &value)
{
    if (property == "align") {
        if (value == "left")
            setAlign(eTextPara::dirLeft);
        else if (value == "center" || value == "centre")
            setAlign(eTextPara::dirCenter);
        else if (value == "right")
            setAlign(eTextPara::dirRight);
        else {
            eWarning("gui: align \"%s\" is not left, center or right", value.c_str());
            return -1;
        }
        return 0;
    }
    if (property == "vcenter") {
        setFlags(m_flags | flagVCenter);
        return 0;
    }
    if (property == "wrap") {
        setFlags(value == "off" ? (m_flags | flagNoWrap) : (m_flags & ~flagNoWrap));
        return 0;
    }
    return eDecoWidget::setProperty(property, value);
}

int eLabel::eventHandler(const eWidgetEvent &event)
{
    switch (event.type) {
    case eWidgetEvent::changedText:
    case eWidgetEvent::changedFont:
    case eWidgetEvent::changedSize: dropLayout(); break;
    default: break;
    }
    return eDecoWidget::eventHandler(event);
}

void eLabel::dropLayout()
{
    m_para.reset();
    invalidate();
}

gFont eLabel::effectiveFont() const
{
    return hasOwnFont() ? getFont() : eSkin::getActive()->queryFont("eLabel");
}

const eTextPara *eLabel::textPara() const
{
    if (!m_para && !getText().empty()) {
        const eRect client = getClientRect();
        m_para.reset(new eTextPara(eRect(ePoint(0, 0), client.size())));
        m_para->setFont(effectiveFont());
        m_para->renderString(getText(), (m_flags & flagNoWrap) ? 0 : eTextPara::RS_WRAP);
        m_para->realign(m_align);
    }
    return m_para.get();
}

void eLabel::redrawWidget(gPainter *painter, const eRect &area)
{
    eDecoWidget::redrawWidget(painter, area);
    const eRect client = getClientRect();
    if (gPixmap *pixmap = getPixmap()) {
        const ePoint corner(client.left() + (client.width() - pixmap->width()) / 2,
                            client.top() + (client.height() - pixmap->height()) / 2);
        painter->blit(*pixmap, corner);
    }
    if (const eTextPara *para = textPara()) {
        ePoint offset = client.topLeft();
        if (m_flags & flagVCenter) {
            const int textHeight = para->lineHeight() * para->lineCount();
            if (textHeight < client.height())
                offset += ePoint(0, (client.height() - textHeight) / 2);
        }
        painter->setForegroundColor(getForegroundColor());
        painter->renderPara(*const_cast<eTextPara *>(para), offset);
    }
}
