// The plug-in's entry point, the one symbol the host looks up in tarnwave.so.

#include "plugin/ctarnwave.h"

#include "system/ezaplcd.h"

// The host's command to run the plug-in; every other command is only answered.
static constexpr int commandRun = 301;

extern "C" __attribute__((visibility("default"))) int gPlugin_exec(int command)
{
    // The LCD shows the menu page while the host is in here, whatever it asked for.
    eZapLCD *lcd = eZapLCD::getInstance();
    lcd->idlePage->hide();
    lcd->menuPage->show();

    if (command == commandRun) {
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
