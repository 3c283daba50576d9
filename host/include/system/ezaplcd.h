#ifndef TARNWAVE_HOST_SYSTEM_EZAPLCD_H
#define TARNWAVE_HOST_SYSTEM_EZAPLCD_H

// The front-panel LCD: two pages, of which the box shows one at a time. The
// idle page is up while no application runs; a plug-in shows the menu page
// while it runs and binds its windows to the page's two elements with
// eWidget::setLCD(page->title, page->content): the window's title then goes
// into `title` and the current row of its lists into `content`.

#include "gui/elabel.h"

class eZapLCDPage : public eWidget
{
public:
    eZapLCDPage();
    eLabel *title; // upper line
    eLabel *content; // lower lines
    const char *typeName() const override { return "eZapLCDPage"; }
};

class eZapLCD
{
public:
    static eZapLCD *getInstance();

    eZapLCDPage *idlePage;
    eZapLCDPage *menuPage;

    // JSON: both pages' texts and which one is shown ("idle", "menu" or "none").
    std::string describe() const;

private:
    eZapLCD();
};

#endif
