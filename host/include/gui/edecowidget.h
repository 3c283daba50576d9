#ifndef TARNWAVE_HOST_GUI_EDECOWIDGET_H
#define TARNWAVE_HOST_GUI_EDECOWIDGET_H

// A widget framed by a skin decoration: a border (rounded if the skin says so)
// and a background, both with their own colours while the widget has the
// focus. The decoration is named at construction ("eButton", "eListBox",
// "eNumber", "eStatusBar", "eLabel", ...) and read from the skin by loadDeco();
// until then, or when the skin has none of that name, nothing is drawn and the
// client area is the whole widget. A background colour set on the widget
// itself takes the place of the decoration's.

#include "gui/eskin.h"
#include "gui/ewidget.h"

class eDecoWidget : public eWidget
{
public:
    explicit eDecoWidget(eWidget *parent = nullptr, int takefocus = 0, const char *deco = "");

    void setDeco(const eString &name);
    const eString &getDeco() const { return m_decoName; }
    // Reads the named decoration from the active skin. 0 when the skin has it.
    int loadDeco();
    const eDecoration &decoration() const { return m_deco; }

    eRect getClientRect() const override;
    int setProperty(const eString &property, const eString &value) override;
    const char *typeName() const override { return "eDecoWidget"; }

protected:
    void redrawWidget(gPainter *painter, const eRect &area) override;
    // Border and background of the decoration (or of the widget's own colour).
    void drawDecoration(gPainter *painter);
    void describeContents(JsonWriter &json) const override;

private:
    eString m_decoName;
    eDecoration m_deco;
};

#endif
