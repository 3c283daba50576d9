// Starting the plug-in's transfers: the directory's lists, a station's
// playlist, and the favourites file in place of a request for list 0; and the
// status line of a transfer that failed.

#include "plugin/ctarnwave.h"

#include "directory/directory_url.h"
#include "directory/ehttpdownloadstring.h"
#include "favourites/favourites_file.h"

#include "base/econfig.h"
#include "base/elog.h"
#include "base/messages.h"
#include "net/ehttpconnection.h"
#include "net/ehttpdownloadxml.h"
#include "net/xmltree.h"
#include "system/putils.h"

namespace {

// What the status line says while a transfer runs.
eString downloadNotice()
{
    return eString("Download...  ") + translated("One moment please...");
}

} // namespace

void Ctarnwave::start_download(eString request, bool playlist)
{
    int error = 0;

    if (!playlist) {
        // A list transfer still running is aborted first: its sink feeds the
        // parser that is about to go, and its reply is no longer wanted.
        abortListTransfer();

        // Every list gets a fresh parser, the favourites list included.
        if (xmlParser)
            delete xmlParser;
        xmlParser = new XMLTreeParser("UTF-8");

        // The favourites are a local file, read at once.
        if (currentList == 0) {
            read_genrelist(*this);
            return;
        }

        eString url = directoryBaseUrl();
        switch (currentList) {
        case 1: url += "/sbin/newxml.phtml"; break;
        case 2: url += "/sbin/newxml.phtml?genre=Top&mt=audio/mpeg"; break;
        case 3:
            // The text goes into the query as it is, blanks and all.
            url += "/sbin/newxml.phtml?search=" + request;
            lastRequest = request;
            break;
        default: break;
        }
        eDebug("[TWV] url=%s", url.c_str());
        lb_status->setText(downloadNotice());

        listTransfer = eHTTPConnection::doRequest(url.c_str(), eApp, &error);
        if (!listTransfer) {
            xml_TransferDone(error);
            return;
        }
        connection = listTransfer;
        CONNECT(listTransfer->transferDone, Ctarnwave::xml_TransferDone);
        CONNECT(listTransfer->createDataSink, Ctarnwave::create_XML_DataSink);
        listTransfer->local_header["User-Agent"] = pUtils::pUserAgent();
        listTransfer->start();
        return;
    }

    // A station's playlist: the request is the whole URL.
    playlistText = "";
    lb_status->setText(downloadNotice());
    eDebug("[TWV] Playlisturl=%s", request.c_str());

    playlistTransfer = eHTTPConnection::doRequest(request.c_str(), eApp, &error);
    if (!playlistTransfer) {
        str_TransferDone(error);
        return;
    }
    connection = playlistTransfer;
    CONNECT(playlistTransfer->transferDone, Ctarnwave::str_TransferDone);
    CONNECT(playlistTransfer->createDataSink, Ctarnwave::create_STR_DataSink);
    playlistTransfer->local_header["User-Agent"] = pUtils::pUserAgent();
    playlistTransfer->start();
}

void Ctarnwave::abortListTransfer()
{
    if (!listTransfer)
        return;
    // Deleting the connection stops it: neither its sink nor its completion
    // is heard of again. Its parser goes too.
    delete listTransfer;
    listTransfer = nullptr;
    xmlSink = nullptr;
    if (xmlParser) {
        delete xmlParser;
        xmlParser = nullptr;
    }
    connection = playlistTransfer;
}

eHTTPDataSource *Ctarnwave::create_XML_DataSink(eHTTPConnection *conn)
{
    // Each list transfer has its parser; without one the body is dropped.
    if (!xmlParser)
        return nullptr;
    xmlSink = new eHTTPDownloadXML(conn, *xmlParser);
    return xmlSink;
}

eHTTPDataSource *Ctarnwave::create_STR_DataSink(eHTTPConnection *conn)
{
    strSink = new eHTTPDownloadString(conn, &playlistText);
    return strSink;
}

void Ctarnwave::setError(int error)
{
    eString text;
    if (error == -2)
        text = translated("Can't resolve hostname!");
    else if (error == -3)
        text = translated("Can't connect! (check network settings)");
    else if (error == 0) {
        // A reply came, but not the one asked for.
        if (connection && connection->code != 200)
            text.sprintf("error: server replied %d %s", connection->code, connection->code_descr.c_str());
    } else
        text.sprintf(translated("unknown error %d"), error);
    lb_status->setText(text);
}
