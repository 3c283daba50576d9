// A station's playlist: the first stream address in it, and the start of
// playback through the host's media service.

#include "plugin/ctarnwave.h"

#include "base/elog.h"
#include "base/messages.h"
#include "media/eservice.h"
#include "net/ehttpconnection.h"

namespace {

// The service type of a stream played from its URL.
constexpr int streamServiceType = 4096;

} // namespace

void Ctarnwave::str_TransferDone(int error)
{
    // `connection` may name the list transfer running beside this one:
    // while this runs it names the playlist transfer that ended.
    if (playlistTransfer)
        connection = playlistTransfer;
    if (error != 0) {
        setError(error);
    } else if (connection && connection->code == 200 && !playlistText.empty()) {
        // The first line that mentions "File" (File1=...) holds the address
        // after its first "="; a carriage return before the line feed stays.
        eString::size_type lineStart = 0;
        while (lineStart < playlistText.size()) {
            eString::size_type lineEnd = playlistText.find('\n', lineStart);
            if (lineEnd == eString::npos)
                lineEnd = playlistText.size();
            const eString line(playlistText.substr(lineStart, lineEnd - lineStart));
            if (line.find("File") != eString::npos) {
                const eString::size_type equals = line.find('=');
                const eString address = equals == eString::npos ? line : eString(line.substr(equals + 1));
                // A row deleted while the playlist was on its way has taken
                // selectedEntry with it: then nothing is played.
                if (selectedEntry) {
                    selectedEntry->entry->url = address;
                    play(selectedEntry);
                }
                break;
            }
            lineStart = lineEnd + 1;
        }
    } else if (connection && connection->code == 200) {
        // An empty playlist: nothing to play, nothing to say.
    } else if (connection) {
        setError(0);
    }

    playlistText = "";
    playlistTransfer = nullptr;
    connection = listTransfer;
}

void Ctarnwave::play(my_ListBox *row)
{
    Stop(false);

    const Listentry &entry = *row->entry;
    const eServiceReference reference(streamServiceType, 0, entry.url);
    stream = eServiceInterface::getInstance()->getServiceHandler(streamServiceType);
    if (!stream)
        return;

    stream->addRef(reference);
    stream->play(reference, 0);
    stream->removeRef(reference);
    eDebug("[TWV] play=%s", entry.url.c_str());

    lb_station->setText(entry.name);

    eString info;
    if (!entry.bitrate.empty())
        info += eString(translated("bitrate")) + ": " + entry.bitrate + "\t";
    if (!entry.genre.empty())
        info += eString(translated("genre")) + ": " + entry.genre;
    if (info.empty())
        info = "URL: " + entry.url;
    lb_title->setText(info);
}
