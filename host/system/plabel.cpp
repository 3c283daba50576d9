#include "system/plabel.h"

#include "gui/eskin.h"
#include "gui/gpainter.h"

pLabel::pLabel(eWidget *parent, int flags, int takefocus, const char *deco) : eLabel(parent, flags, takefocus, deco)
{
}

int pLabel::setProperty(const eString &property, const eString &value)
{
    if (property == "foregroundColor")
        m_ownColor = true;
    return eLabel::setProperty(property, value);
}

void pLabel::redrawWidget(gPainter *painter, const eRect &)
{
    painter->setForegroundColor(m_ownColor ? getForegroundColor()
                                           : eSkin::getActive()->queryColor("pLabel.line", gColor(120, 150, 200)));
    painter->fill(eRect(ePoint(0, 0), getSize()));
}
