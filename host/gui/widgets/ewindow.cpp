#include "gui/ewindow.h"

#include "gui/drawing/text_fit.h"
#include "gui/eaction.h"
#include "gui/eskin.h"
#include "gui/gpainter.h"

#include <algorithm>

eWindow::eWindow(int takefocus) : eWidget(nullptr, takefocus)
{
    const eSkin *skin = eSkin::getActive();
    m_titleHeight = std::max(0, skin->queryValue("eWindow.titleHeight", 36));
    m_border = std::max(0, skin->queryValue("eWindow.border", 2));
    addActionMap(&i_cursorActions->map);
}

eWindow::~eWindow() = default;

eRect eWindow::getClientRect() const
{
    const eSize size = getSize();
    return eRect::fromEdges(m_border, m_border + m_titleHeight, size.width() - m_border, size.height() - m_border);
}

namespace {

void collectFocusable(eWidget *widget, std::vector<eWidget *> &into)
{
    for (eWidget *child : widget->getChildren()) {
        if (child->acceptsFocus())
            into.push_back(child);
        else if (child->isShown())
            collectFocusable(child, into);
    }
}

} // namespace

bool eWindow::focusNext(int direction)
{
    std::vector<eWidget *> focusable;
    collectFocusable(this, focusable);
    if (focusable.size() < 2)
        return false;
    auto current = std::find(focusable.begin(), focusable.end(), getFocus());
    std::size_t index = current == focusable.end() ? 0 : static_cast<std::size_t>(current - focusable.begin());
    index = (index + focusable.size() + (direction > 0 ? 1 : focusable.size() - 1)) % focusable.size();
    setFocus(focusable[index]);
    return true;
}

int eWindow::eventHandler(const eWidgetEvent &event)
{
    switch (event.type) {
    case eWidgetEvent::evtCharacter: return passToFocusChain(event);
    case eWidgetEvent::evtAction:
        // The focused widget comes first: a list moves its cursor, a button
        // is pressed; what it leaves is the window's.
        if (int used = passToFocusChain(event))
            return used;
        // The window's own defaults answer only the maps it has itself.
        if (const auto &maps = getActionMaps();
            std::find(maps.begin(), maps.end(), event.action->getMap()) == maps.end())
            return 0;
        if (event.action == &i_cursorActions->cancel) {
            reject();
            return 1;
        }
        if (event.action == &i_cursorActions->down || event.action == &i_cursorActions->right)
            return focusNext(+1) ? 1 : 0;
        if (event.action == &i_cursorActions->up || event.action == &i_cursorActions->left)
            return focusNext(-1) ? 1 : 0;
        return 0;
    case eWidgetEvent::changedText:
    case eWidgetEvent::willShow:
        if (eWidget *lcdTitle = getLCDTitle())
            lcdTitle->setText(getText());
        return 0;
    default: return eWidget::eventHandler(event);
    }
}

void eWindow::redrawWidget(gPainter *painter, const eRect &area)
{
    const eSkin *skin = eSkin::getActive();
    const eSize size = getSize();
    const eRect whole(ePoint(0, 0), size);
    painter->setForegroundColor(skin->queryColor("eWindow.background", gColor(12, 20, 36, 224)));
    painter->fill(whole);
    if (m_titleHeight > 0) {
        const eRect titleBar = eRect::fromEdges(0, 0, size.width(), m_border + m_titleHeight);
        painter->setForegroundColor(skin->queryColor("eWindow.titleBar", gColor(28, 58, 110, 240)));
        painter->fill(titleBar);
    }
    if (m_titleHeight > 0 && area.intersects(eRect::fromEdges(0, 0, size.width(), m_border + m_titleHeight))) {
        const eRect titleText =
            eRect::fromEdges(m_border + 12, m_border, size.width() - m_border - 12, m_border + m_titleHeight);
        const gFont titleFont = skin->queryFont("eWindow.title");
        eTextPara *para = new eTextPara(titleText);
        para->setFont(titleFont);
        para->renderString(getText());
        // A title too long for its bar ends with an ellipsis after a whole letter.
        if (para->textWidth() > titleText.width()) {
            para->clear();
            para->renderString(fitToWidth(getText(), titleFont, titleText.width()));
        }
        // Centre the line vertically in the title bar.
        const eRect ink = para->getBoundBox();
        const int lineTop = (m_titleHeight - para->lineHeight()) / 2;
        painter->setForegroundColor(skin->queryColor("eWindow.titleText", gColor(255, 255, 255)));
        painter->renderPara(*para, ePoint(0, lineTop > 0 && ink.isValid() ? lineTop : 0));
        para->destroy();
    }
    if (m_border > 0) {
        painter->setForegroundColor(skin->queryColor("eWindow.border", gColor(90, 130, 190, 255)));
        painter->drawRect(whole, m_border);
    }
}
