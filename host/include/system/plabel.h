#ifndef TARNWAVE_HOST_SYSTEM_PLABEL_H
#define TARNWAVE_HOST_SYSTEM_PLABEL_H

// The image's divider: a label drawn as a thin solid line that fills its whole
// rectangle (so its size says whether it is a horizontal or a vertical rule),
// in the skin colour "pLabel.line", or in its foreground colour when one is set.

#include "gui/elabel.h"

class pLabel : public eLabel
{
public:
    explicit pLabel(eWidget *parent = nullptr, int flags = 0, int takefocus = 0, const char *deco = "eLabel");
    int setProperty(const eString &property, const eString &value) override;
    const char *typeName() const override { return "pLabel"; }

protected:
    void redrawWidget(gPainter *painter, const eRect &area) override;

private:
    bool m_ownColor = false;
};

#endif
