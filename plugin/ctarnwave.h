#ifndef TARNWAVE_PLUGIN_CTARNWAVE_H
#define TARNWAVE_PLUGIN_CTARNWAVE_H

// The plug-in's main window: four lists (favourites, genre list, top list,
// stations of a genre or a search), the four colour-key captions, a status bar,
// the running transfer and the running stream, and the one status timer.
//
// The member functions live beside the subsystem they belong to:
//   plugin/      construction, teardown, the views and the remote-control keys
//   directory/   requests, the directory's XML, playlists, playback, the TV
//                decoder and the status tick
//   favourites/  the favourites file
// The background-mode window is Ctarnwavehide (plugin/ctarnwavehide.h); the
// recorder control is in record/; the settings menu, the search window and the
// number window are in dialogs/.

#include "gui/elabel.h"
#include "gui/elistbox.h"
#include "gui/ewindow.h"
#include "model/my_listbox.h"

#include "base/ebase.h"

class eHTTPConnection;
class eHTTPDataSource;
class eHTTPDownloadXML;
class eHTTPDownloadString;
class eServiceHandler;
class XMLTreeParser;
class pLabel;

class Ctarnwave : public eWindow
{
public:
    Ctarnwave();
    ~Ctarnwave() override;

    int eventHandler(const eWidgetEvent &event) override;

    // --- fields, in this order
    bool fullView; // full window with the list (true) or the compact status bar (false)
    int savedDecoderParms[3]; // 1st, 2nd and 6th int of Decoder::parms as found at start
    int currentList; // the list shown: 0 favourites, 1 genres, 2 top list, 3 search or genre
    int idleTicks; // status ticks since the last remote-control action
    eString lastRequest; // the text of the last search or opened genre (list 3)
    eServiceHandler *stream; // the handler playing the station; borrowed; null when nothing plays
    my_ListBox *selectedEntry; // the station row last chosen with OK; null once that row is deleted
    eListBox<my_ListBox> *lists[4];
    eLabel *bt_red, *bt_green, *bt_yellow, *bt_blue;
    eLabel *statusBar;
    eLabel *lb_status, *lb_station, *lb_title, *lb_info;
    eLabel *px_key32, *px_key12, *px_play, *px_pause, *px_record;
    pLabel *ln_horizontal, *ln_vertical;
    eTimer *statusTimer;
    eHTTPConnection *connection; // a running transfer (the one completing, in its handler); null when none runs
    XMLTreeParser *xmlParser; // the parser of the running list request
    eHTTPDownloadXML *xmlSink; // the sink of the running list transfer
    eHTTPDownloadString *strSink; // the sink of the running playlist transfer
    eString playlistText; // the body of the last playlist transfer
    bool favouritesUnparsed; // the favourites file did not parse when read: put it aside before writing

    // --- operations
    void SortSet(bool reset);
    void Sstatus();
    void Stop(bool restore);
    eHTTPDataSource *create_STR_DataSink(eHTTPConnection *conn);
    eHTTPDataSource *create_XML_DataSink(eHTTPConnection *conn);
    void listeselected(my_ListBox *row);
    void parseXML();
    void play(my_ListBox *row);
    void setError(int error);
    void set_Background();
    void set_Decoder(int vpid, int apid, int mode);
    void set_Window_Title();
    void showCurrList();
    void start_download(eString request, bool playlist);
    void str_TransferDone(int error);
    void switch_window(bool initial);
    void write_genrelist();
    void xml_TransferDone(int error);

private:
    // The two transfers that may run side by side: at most one list and one
    // playlist. A new list request, or a colour key, aborts the running list
    // transfer, so no list is built from half a reply or from the parser of
    // another request; a playlist transfer always ends on its own.
    eHTTPConnection *listTransfer = nullptr;
    eHTTPConnection *playlistTransfer = nullptr;
    void abortListTransfer();

    // The settings menu and what its result asks for (plugin/menu_actions.cpp).
    void openSetupMenu();
    void deleteCurrentFavourite();
    void addSelectedToFavourites();
    void searchStations();
    void chooseRecordingDirectory();
    // The number window opened with `digit`, and the jump to the row it names.
    void jumpToNumber(int digit);
};

#endif
