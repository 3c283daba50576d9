// The settings menu, opened with the menu key, and what its result asks the
// main window to do: delete or add a favourite, search, start or stop a
// recording, choose the recording directory.

#include "plugin/ctarnwave.h"

#include "dialogs/ctarnwave_search.h"
#include "dialogs/message_boxes.h"
#include "dialogs/setup_menu.h"
#include "record/recorder.h"

#include "base/boxpath.h"
#include "base/econfig.h"
#include "base/econfigfile.h"
#include "base/messages.h"
#include "system/pbrowser.h"

#include <cstdlib>
#include <cstring>

namespace {

// What the menu's action rows close it with.
enum MenuResult {
    menuDeleteFavourite = 1,
    menuAddFavourite = 2,
    menuSearch = 3,
    menuStartRecording = 4,
    menuStopRecording = 5,
    menuDirectoryCaption = 6,
    menuChooseDirectory = 7,
};

// A search text needs this many characters.
constexpr std::size_t minimumSearchLength = 3;

} // namespace

void Ctarnwave::openSetupMenu()
{
    hide();
    setup_menu menu(currentList, selectedEntry);
    menu.setLCD(getLCDTitle(), getLCDElement());
    menu.show();
    const int result = menu.exec();
    const eString recordingDirectory = menu.streamDir;
    // A moved background row is applied whatever the menu returned,
    // cancelled included.
    if (menu.backgroundChanged)
        set_Background();
    menu.hide();

    switch (result) {
    case menuDeleteFavourite: deleteCurrentFavourite(); break;
    case menuAddFavourite: addSelectedToFavourites(); break;
    case menuSearch: searchStations(); break;
    case menuStartRecording: startrecord(selectedEntry, recordingDirectory); break;
    case menuStopRecording: stoprecord(false); break;
    case menuChooseDirectory: chooseRecordingDirectory(); break;
    case menuDirectoryCaption:
    default:
        // A choice row's value, a cancel: nothing more.
        break;
    }
    show();
    // The menu goes when this returns.
}

void Ctarnwave::deleteCurrentFavourite()
{
    my_ListBox *row = lists[0]->getCurrent();
    if (!row)
        return;

    const eString question = eString(translated("Favourites")) + " " + translated("entry") + " " + translated("delete")
                             + "\n\n" + row->entry->name + "\n\n" + row->entry->url;
    if (!askYesNo(question, translated("Message")))
        return;

    // The cursor moves on to the next favourite before the row goes.
    lists[0]->beginAtomic();
    lists[0]->goNext();
    if (selectedEntry == row)
        selectedEntry = nullptr; // it must not outlive its row
    lists[0]->take(row);
    delete row;
    lists[0]->endAtomic();
    write_genrelist();
}

void Ctarnwave::addSelectedToFavourites()
{
    if (!selectedEntry)
        return;
    // The favourite shares the chosen row's record; the favourites cursor
    // moves one row down first.
    lists[0]->beginAtomic();
    lists[0]->goNext();
    new my_ListBox(lists[0], selectedEntry->entry, false);
    lists[0]->endAtomic();
    write_genrelist();
}

void Ctarnwave::searchStations()
{
    // The last search is proposed, or "disco" before the first one.
    char *proposal = nullptr;
    if (eConfig::getInstance()->getKey("/tarnwave/lastsearch", proposal))
        proposal = strdup("disco");

    eString text;
    {
        Ctarnwave_search window(proposal);
        std::free(proposal);
        window.show();
        if (window.exec() != -1 && !window.input->getText().empty()) {
            text = window.input->getText();
            if (text.length() < minimumSearchLength) {
                showNotice(translated("minimum 3 characters"), translated("Info"));
                text.clear();
            }
        }
        window.hide();
    }

    if (text.empty())
        return;
    eConfig::getInstance()->setKey("/tarnwave/lastsearch", text);
    currentList = 3;
    start_download(text, false);
}

void Ctarnwave::chooseRecordingDirectory()
{
    eConfigFile script(boxPath(recorderScriptPath));
    if (!script.isOpen())
        return;

    eString directory;
    script.getKey("STREAMDIR", directory);
    pBrowser browser(directory, pBrowser::modeDirectories, "");
    browser.setLCD(getLCDTitle(), getLCDElement());
    browser.show();
    if (browser.exec() > 0) {
        script.setKey("STREAMDIR", browser.getPath());
        script.saveConfig();
    }
    browser.hide();
}
