// The settings menu: its rows, what OK on them returns, and the settings its
// choice rows store.

#include "dialogs/setup_menu.h"

#include "record/recorder.h"

#include "base/econfig.h"
#include "base/econfigfile.h"
#include "base/boxpath.h"
#include "base/messages.h"
#include "gui/eskin.h"
#include "system/putils.h"

setup_menu::setup_menu(int currentList, my_ListBox *selectedEntry)
    : eSetupWindow(translated("Menu"), 10, 450), backgroundEntry(nullptr), minBitrateEntry(nullptr),
      autoHideEntry(nullptr)
{
    cmove(ePoint(150, 115));
    backgroundChanged = false;

    if (pUtils::pFindFile(recorderScriptPath)) {
        eConfigFile script(boxPath(recorderScriptPath));
        if (script.isOpen()) {
            script.getKey("STREAMDIR", streamDir);
            script.getKey("DAEMON", daemonPath);
        }
    }

    CONNECT(list.selected, setup_menu::listeselected);
    CONNECT(list.selchanged, setup_menu::listeselchanged);
    list.setFlags(eListBoxBase::flagWrapAround);

    // An empty path exists nowhere.
    const bool recorderPresent = !daemonPath.empty() && pUtils::pFindFile(daemonPath);
    const bool directoryPresent = !streamDir.empty() && pUtils::pFindFile(streamDir);
    const bool recording = recorderPresent && checksripper();

    if (currentList == 0)
        new eListBoxEntryMenu(
            &list, eString(translated("Favourites")) + " " + translated("entry") + " " + translated("delete"), "", 0, 1,
            0);
    if (selectedEntry)
        new eListBoxEntryMenu(&list, translated("Add to favourites"), "", 0, 2, 0);
    new eListBoxEntryMenu(&list, translated("search"), "", 0, 3, 0);
    addSeparator();
    if (recorderPresent) {
        if (recording) {
            new eListBoxEntryMenu(&list, translated("Stop Record"), "", 0, 5, 0);
        } else {
            if (directoryPresent && selectedEntry)
                new eListBoxEntryMenu(&list, translated("Start recording"), "", 0, 4, 0);
            // A caption for the path under it, which OK does not act on.
            new eListBoxEntryMenu(&list, eString("Streamripper") + " " + translated("directory"), "", 0, 6, 0);
            new eListBoxEntryMenu(&list, streamDir, "", 0, 7, 0);
        }
        addSeparator();
    }

    // The marks show where more choices lie; the blanks keep the words in line.
    backgroundEntry = new eListBoxEntryMulti(&list, translated("show in the background (left, right)"));
    backgroundEntry->add(eString("  ") + translated("TV") + " >", 50);
    backgroundEntry->add(eString("<  ") + translated("MVI") + "  ", 51);

    minBitrateEntry = new eListBoxEntryMulti(&list, translated("Filters for minimum bitrate"));
    for (int i = 3; i <= 14; ++i) {
        eString text;
        text.sprintf("%d", i * 32);
        minBitrateEntry->add(text, i * 32);
    }

    autoHideEntry = new eListBoxEntryMulti(&list, translated("after 15 seconds"));
    autoHideEntry->add(eString("  ") + translated("nothing") + " >", 60);
    autoHideEntry->add(eString("< ") + translated("smaller") + " >", 61);
    autoHideEntry->add(eString("< ") + translated("hide") + "  ", 62);

    // A value that no choice has is passed on as it is.
    int value = 0;
    if (eConfig::getInstance()->getKey("/tarnwave/background", value))
        value = 50;
    backgroundEntry->setCurrent(value);
    if (eConfig::getInstance()->getKey("/tarnwave/minbitrate", value))
        value = 128;
    minBitrateEntry->setCurrent(value);
    if (eConfig::getInstance()->getKey("/tarnwave/autohide", value))
        value = 60;
    autoHideEntry->setCurrent(value);
}

setup_menu::~setup_menu() = default;

void setup_menu::addSeparator()
{
    new eListBoxEntryMenuSeparator(&list, eSkin::getActive()->queryImage("listbox.separator"), 0, true);
}

void setup_menu::listeselected(eListBoxEntryMenu *row)
{
    // The directory caption (key 6) is not an action. OK on a choice row
    // closes with its value, which the caller does not act on.
    if (!row || row->getKey() == 6)
        return;
    close(row->getKey());
}

void setup_menu::listeselchanged(eListBoxEntryMenu *row)
{
    // Written on every report, changed or not; cursor moves report other rows.
    if (!row)
        return;
    if (row == backgroundEntry) {
        eConfig::getInstance()->setKey("/tarnwave/background", row->getKey());
        backgroundChanged = true;
    } else if (row == minBitrateEntry) {
        eConfig::getInstance()->setKey("/tarnwave/minbitrate", row->getKey());
    } else if (row == autoHideEntry) {
        eConfig::getInstance()->setKey("/tarnwave/autohide", row->getKey());
    }
}
