// The end of a list transfer and the turning of the directory's XML (or the
// favourites file) into the rows of the list that was asked for.

#include "plugin/ctarnwave.h"

#include "base/econfig.h"
#include "base/messages.h"
#include "net/ehttpconnection.h"
#include "net/ehttpdownloadxml.h"
#include "net/xmltree.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

// A station list holds at most this many stations, counted on the ones listed.
constexpr int maxStations = 500;

bool isElement(const XMLTreeNode *node, const char *name)
{
    return std::strcmp(node->GetType(), name) == 0;
}

// An absent attribute reads as the empty text.
const char *attributeOrEmpty(const XMLTreeNode *node, const char *name)
{
    const char *value = node->GetAttributeValue(name);
    return value ? value : "";
}

} // namespace

void Ctarnwave::xml_TransferDone(int error)
{
    // `connection` may name the playlist transfer running beside this one:
    // while this runs it names the list transfer that ended.
    if (listTransfer)
        connection = listTransfer;
    if (error == 0 && connection && connection->code == 200 && xmlSink && xmlSink->error == 0)
        parseXML();
    else if (error != 0)
        setError(error);
    else if (connection && connection->code != 200)
        setError(0);
    else if (xmlSink)
        lb_status->setText("XML parse error");
    // (200 without a body: no sink was made, and nothing is shown.)

    if (xmlParser) {
        delete xmlParser;
        xmlParser = nullptr;
    }
    // The sink goes with its connection; forgetting it here keeps the next
    // transfer from consulting it.
    xmlSink = nullptr;
    listTransfer = nullptr;
    connection = playlistTransfer;
}

void Ctarnwave::parseXML()
{
    int minBitrate = 128;
    eConfig::getInstance()->getKey("/tarnwave/minbitrate", minBitrate);

    XMLTreeNode *root = xmlParser ? xmlParser->RootNode() : nullptr;
    if (!root) {
        lb_status->setText(translated("Error: Configfile parse error"));
        return;
    }

    eListBox<my_ListBox> *target = lists[currentList];
    // The rows are about to go: selectedEntry must not outlive its row.
    if (selectedEntry && target->indexOf(selectedEntry) >= 0)
        selectedEntry = nullptr;
    target->beginAtomic();
    target->clearList();

    if (currentList == 0 || currentList == 1) {
        // Genres; an entry with its own address is a station.
        int counter = 0;
        for (XMLTreeNode *node = root->GetChild(); node; node = node->GetNext()) {
            if (!isElement(node, "genre"))
                continue;
            const char *name = node->GetAttributeValue("name");
            const char *url = node->GetAttributeValue("url");
            if (!name)
                continue;
            ++counter;
            auto entry = std::make_shared<Listentry>(counter, name);
            if (url) {
                entry->url = url;
                entry->type = Listentry::ENTRY_STATION;
            }
            new my_ListBox(target, entry, false);
        }
    } else if (currentList == 2 || currentList == 3) {
        // Stations: only MP3 streams at the minimum bitrate or above, the
        // first maxStations of them in document order.
        eString tuneinBase;
        int accepted = 0;
        for (XMLTreeNode *node = root->GetChild(); node; node = node->GetNext()) {
            if (isElement(node, "tunein"))
                tuneinBase = attributeOrEmpty(node, "base");
            if (isElement(node, "station") && accepted < maxStations) {
                const char *name = node->GetAttributeValue("name");
                const char *mediaType = node->GetAttributeValue("mt");
                if (name && mediaType && std::strcmp(mediaType, "audio/mpeg") == 0) {
                    const char *bitrate = attributeOrEmpty(node, "br");
                    if (std::atoi(bitrate) >= minBitrate) {
                        ++accepted;
                        auto entry = std::make_shared<Listentry>(accepted, name);
                        entry->type = Listentry::ENTRY_STATION;
                        entry->tuneinBase = tuneinBase;
                        entry->bitrate = bitrate;
                        entry->id = attributeOrEmpty(node, "id");
                        entry->genre = attributeOrEmpty(node, "genre");
                        new my_ListBox(target, entry, false);
                    }
                }
            }
        }
    }

    target->endAtomic();
    showCurrList();
}
