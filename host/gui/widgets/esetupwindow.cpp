#include "gui/esetupwindow.h"

#include "gui/widgets/escreen.h"

#include <algorithm>

eSetupWindow::eSetupWindow(const char *title, int entries, int width)
    : eWindow(0), list(this), m_visibleRows(std::max(1, entries))
{
    setText(title ? title : "");
    list.setName("list");
    list.loadDeco();

    const eDecoration &frame = list.decoration();
    const int border = frame.valid ? frame.borderWidth : 0;
    const eSize client(std::max(0, width), m_visibleRows * list.getItemHeight() + 2 * border);
    cresize(client);
    list.move(ePoint(0, 0));
    list.resize(client);
    setFocus(&list);

    const eSize screen = getScreen()->size();
    const eSize outer = getSize();
    move(
        ePoint(std::max(0, (screen.width() - outer.width()) / 2), std::max(0, (screen.height() - outer.height()) / 2)));
}

eSetupWindow::~eSetupWindow() = default;
