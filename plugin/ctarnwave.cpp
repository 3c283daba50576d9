// The main window's construction and teardown: the screen built from the skin
// and in code, the first list, the title and the status timer; on the way out
// a recording (the user decides whether it goes on), the timer, playback, the
// TV decoder and a transfer still running.

#include "plugin/ctarnwave.h"

#include "record/recorder.h"

#include "base/messages.h"
#include "gui/eaction.h"
#include "gui/ebutton.h"
#include "gui/eskin.h"
#include "net/ehttpconnection.h"
#include "net/xmltree.h"
#include "system/decoder.h"
#include "system/plabel.h"

#include "base/elog.h"

namespace {

// One colour-key caption: the skin's element `name` when the skin built it;
// otherwise a centred label in `colour` made here at `position`, 140 wide and
// `height` high. A skin element that is not a label counts as missing.
eLabel *keyCaption(eWidget *window, const char *name, ePoint position, int height, const char *colour, const char *text)
{
    eLabel *caption = dynamic_cast<eLabel *>(window->search(name));
    if (!caption) {
        eWarning("skin has undefined element: %s", name);
        caption = new eLabel(window, 0, 0, "eLabel");
    }
    if (caption->getName().empty()) {
        // The fallback above stays behind as an unused child of the window.
        caption = new eLabel(window, 0, 0, "eLabel");
        caption->move(position);
        caption->resize(eSize(140, height));
        caption->setProperty("backgroundColor", colour);
        caption->setProperty("vcenter", "");
        caption->setProperty("align", "center");
        caption->setDeco("eButton");
        caption->loadDeco();
    }
    caption->setText(translated(text));
    return caption;
}

} // namespace

Ctarnwave::Ctarnwave()
    : eWindow(0), lists{}, bt_red(nullptr), bt_green(nullptr), bt_yellow(nullptr), bt_blue(nullptr), statusBar(nullptr),
      lb_status(nullptr), lb_station(nullptr), lb_title(nullptr), lb_info(nullptr), px_key32(nullptr),
      px_key12(nullptr), px_play(nullptr), px_pause(nullptr), px_record(nullptr), ln_horizontal(nullptr),
      ln_vertical(nullptr), statusTimer(nullptr), xmlSink(nullptr), strSink(nullptr)
{
    // The full-size layout; switch_window() knows the compact one.
    cmove(ePoint(80, 90));
    cresize(eSize(560, 430));

    const int fontsize = eSkin::getActive()->queryValue("fontsize", 20);

    fullView = false;
    connection = nullptr;
    xmlParser = nullptr;
    currentList = 0;
    idleTicks = 0;
    stream = nullptr;
    selectedEntry = nullptr;
    favouritesUnparsed = false;
    // What the TV service that ran before us had, to be handed back at the end.
    savedDecoderParms[0] = Decoder::parms.vpid;
    savedDecoderParms[1] = Decoder::parms.apid;
    savedDecoderParms[2] = Decoder::parms.mode;

    set_Background();

    // The plug-in has no skin entry of its own: it borrows this one for the
    // colour-key captions.
    eSkin::getActive()->build(this, "rss.weather");

    addActionMap(&i_shortcutActions->map);
    addActionMap(&i_epgSelectorActions->map);

    bt_red = keyCaption(this, "key_red", ePoint(0, 0), fontsize + 20, "std_dred", "index");
    bt_green = keyCaption(this, "key_green", ePoint(140, 0), fontsize + 20, "std_dgreen", "Top List");
    bt_yellow = keyCaption(this, "key_yellow", ePoint(280, 0), fontsize + 20, "std_dyellow", "Genre List");
    bt_blue = keyCaption(this, "key_blue", ePoint(420, 0), fontsize + 20, "std_dblue", "Favourites");

    for (int i = 0; i < 4; ++i) {
        my_ListBox::EntryHeight = 2 * eListBoxEntryText::getEntryHeight();
        lists[i] = new eListBox<my_ListBox>(this, nullptr, 1, my_ListBox::EntryHeight, "eListBox");
        lists[i]->move(ePoint(0, 50));
        lists[i]->resize(eSize(getClientSize().width(), getClientSize().height() - 140));
        CONNECT(lists[i]->selected, Ctarnwave::listeselected);
    }

    // Part of the window's widget tree although nothing shows or uses it.
    new eButton(this, nullptr, 1, "eButton");

    statusBar = new eLabel(this, 0, 0, "eLabel");
    ln_horizontal = new pLabel(statusBar, 0, 0, "eLabel");
    ln_vertical = new pLabel(statusBar, 0, 0, "eLabel");
    lb_status = new eLabel(statusBar, 0, 0, "eLabel");
    lb_station = new eLabel(statusBar, 0, 0, "eLabel");
    lb_title = new eLabel(statusBar, 0, 0, "eLabel");
    lb_info = new eLabel(statusBar, 0, 0, "eLabel");
    px_key32 = new eLabel(statusBar, 0, 0, "eLabel");
    px_key12 = new eLabel(statusBar, 0, 0, "eLabel");
    px_play = new eLabel(statusBar, 0, 0, "eLabel");
    px_pause = new eLabel(statusBar, 0, 0, "eLabel");
    px_record = new eLabel(statusBar, 0, 0, "eLabel");

    px_key32->setPixmap(eSkin::getActive()->queryImage("key.32"));
    px_key12->setPixmap(eSkin::getActive()->queryImage("key.12"));
    px_play->setPixmap(eSkin::getActive()->queryImage("extra.play"));
    px_pause->setPixmap(eSkin::getActive()->queryImage("extra.pause"));
    px_record->setPixmap(eSkin::getActive()->queryImage("shortcut.red"));

    switch_window(true);

    // With list 0 and no request this reads the favourites: the plug-in opens on them.
    start_download("", false);

    set_Window_Title();

    // The first status tick comes soon; each tick plans the next one.
    statusTimer = new eTimer(eApp);
    CONNECT(statusTimer->timeout, Ctarnwave::Sstatus);
    statusTimer->start(500, true);
}

Ctarnwave::~Ctarnwave()
{
    // A recording that still runs is dealt with first: the user is asked
    // whether to stop it, and one that is kept goes on after we have ended.
    stoprecord(true);

    if (statusTimer->isActive())
        statusTimer->stop();
    delete statusTimer;
    statusTimer = nullptr;

    Stop(true);

    // Transfers still running are aborted, so that none of their signals
    // reaches a window that is gone; a connection frees its sinks.
    abortListTransfer();
    if (playlistTransfer) {
        delete playlistTransfer;
        playlistTransfer = nullptr;
    }
    connection = nullptr;
    // The window owns the parser: one fed by an aborted transfer, or the one a
    // missing favourites file left behind.
    if (xmlParser) {
        delete xmlParser;
        xmlParser = nullptr;
    }
    // playlistText, lastRequest and the child widgets go with the window.
}
