#ifndef TARNWAVE_DIALOGS_SETUP_MENU_H
#define TARNWAVE_DIALOGS_SETUP_MENU_H

// The plug-in's one menu, opened with the menu key. Its action rows close it
// with a number that the main window carries out:
//   1 delete the current favourite    2 add the chosen station to the favourites
//   3 search                          4 start recording the chosen station
//   5 stop the recording              7 choose the recording directory
// Its three choice rows (background, minimum bitrate, automatic hiding) are
// changed with left and right and store their value the moment it changes;
// nothing is written when the menu closes, so a cancelled menu keeps them.
//
// The recording rows come from the recorder script: its DAEMON must exist for
// any of them, and its STREAMDIR is handed back in streamDir for the caller.

#include "gui/esetupwindow.h"

class my_ListBox;

class setup_menu : public eSetupWindow
{
public:
    // `currentList` is the list the main window shows (0: the favourites) and
    // `selectedEntry` the station row last chosen there (may be null); they
    // only decide which action rows the menu offers.
    setup_menu(int currentList, my_ListBox *selectedEntry);
    ~setup_menu() override;

    eListBoxEntryMulti *backgroundEntry;
    eListBoxEntryMulti *minBitrateEntry;
    eListBoxEntryMulti *autoHideEntry;
    bool backgroundChanged; // the background row reported a change: re-apply it
    eString daemonPath; // the script's DAEMON; empty without a script
    eString streamDir; // the script's STREAMDIR, for startrecord

    void listeselected(eListBoxEntryMenu *row);
    void listeselchanged(eListBoxEntryMenu *row);

private:
    void addSeparator();
};

#endif
