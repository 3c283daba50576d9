#ifndef TARNWAVE_HOST_GUI_LISTROW_TEXT_H
#define TARNWAVE_HOST_GUI_LISTROW_TEXT_H

// One line of text of a list row, laid out on first use and kept until its
// text, font, width or alignment changes: rows are drawn on every cursor move,
// and laying out text is the costly part of drawing them.

#include "base/estring.h"
#include "gui/etextpara.h"
#include "gui/geometry.h"
#include "gui/gfont.h"

#include <memory>

class gPainter;

class ListRowTextLine
{
public:
    ListRowTextLine() = default;
    ListRowTextLine(const ListRowTextLine &) = delete;
    ListRowTextLine &operator=(const ListRowTextLine &) = delete;

    // Draws `text` in `area` (the painter's coordinates), aligned horizontally
    // by `align` (an eTextPara direction) and centred vertically, in the
    // painter's foreground colour. Nothing is drawn outside `area`.
    void draw(gPainter &painter, const eString &text, const gFont &font, const eRect &area, int align);
    // Forgets the layout (the next draw makes it again).
    void reset() { m_para.reset(); }
    bool isLaidOut() const { return m_para != nullptr; }

private:
    struct ParaDestroyer
    {
        void operator()(eTextPara *para) const { para->destroy(); }
    };

    std::unique_ptr<eTextPara, ParaDestroyer> m_para;
    eString m_text;
    gFont m_font;
    eSize m_size;
    int m_align = eTextPara::dirLeft;
};

#endif
