#ifndef TARNWAVE_HOST_GUI_ELABEL_H
#define TARNWAVE_HOST_GUI_ELABEL_H

// A decorated widget that shows a text, a pixmap, or both. The text is laid
// out once per change and wrapped at blanks to the client width; lines that
// do not fit are cut off. The pixmap is centred in the client area.
//
// Properties besides those of every widget: "align" ("left", "center" or
// "right"), "vcenter" (any value: the text is centred vertically) and "wrap"
// ("off" keeps each line whole, cut at the right edge).

#include "gui/edecowidget.h"
#include "gui/etextpara.h"

#include <memory>

class eLabel : public eDecoWidget
{
public:
    enum {
        flagVCenter = 1, // centre the text vertically
        flagNoWrap = 2, // do not wrap the text
    };

    explicit eLabel(eWidget *parent = nullptr, int flags = 0, int takefocus = 0, const char *deco = "eLabel");
    ~eLabel() override;

    void setAlign(int align); // eTextPara::dirLeft, dirCenter or dirRight
    int getAlign() const { return m_align; }
    void setFlags(int flags);
    int getFlags() const { return m_flags; }

    int setProperty(const eString &property, const eString &value) override;
    int eventHandler(const eWidgetEvent &event) override;
    const char *typeName() const override { return "eLabel"; }

    // The laid-out text (made on demand), for tests and subclasses.
    const eTextPara *textPara() const;

protected:
    void redrawWidget(gPainter *painter, const eRect &area) override;
    // The font the text is drawn in: the widget's own, else the skin's "eLabel".
    gFont effectiveFont() const;

private:
    struct ParaDeleter
    {
        void operator()(eTextPara *para) const { para->destroy(); }
    };
    void dropLayout();

    int m_flags;
    int m_align = eTextPara::dirLeft;
    mutable std::unique_ptr<eTextPara, ParaDeleter> m_para;
};

#endif
