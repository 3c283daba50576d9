// The plug-in's entry point, the one symbol the host looks up in tarnwave.so.

#include "plugin/ctarnwave.h"

#include "system/ezaplcd.h"
#include "system/gplugin.h"

GPLUGIN_ENTRY int gPlugin_exec(int command)
{
    // The LCD shows the menu page while the host is in here, whatever it asked for.
    eZapLCD *lcd = eZapLCD::getInstance();
    lcd->idlePage->hide();
    lcd->menuPage->show();

    if (command == gPluginRun) {
        Ctarnwave window;
        window.setLCD(lcd->menuPage->title, lcd->menuPage->content);
        window.show();
        window.exec();
        window.hide();
    }

    lcd->menuPage->hide();
    lcd->idlePage->show();
    return 0;
}
