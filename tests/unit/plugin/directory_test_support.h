#ifndef TARNWAVE_TESTS_UNIT_PLUGIN_DIRECTORY_TEST_SUPPORT_H
#define TARNWAVE_TESTS_UNIT_PLUGIN_DIRECTORY_TEST_SUPPORT_H

// Helpers of the tests of the directory client and the favourites file: a
// document parsed into one of the window's lists the way a transfer does it,
// the rows of a list, a stand-in for the host's stream player, and the
// debug lines of the log.

#include "plugin/ctarnwave.h"

#include "base/elog.h"
#include "media/eservice.h"
#include "net/xmltree.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace directorytest {

// Feeds `xml` into a fresh parser of the window and runs parseXML for list
// `list`, as the end of a list transfer does; the parser goes afterwards.
inline void parseInto(Ctarnwave &window, int list, const std::string &xml)
{
    window.currentList = list;
    delete window.xmlParser;
    window.xmlParser = new XMLTreeParser("UTF-8");
    ASSERT_NE(window.xmlParser->Parse(xml.data(), static_cast<int>(xml.size()), 1), 0)
        << window.xmlParser->ErrorString();
    window.parseXML();
    delete window.xmlParser;
    window.xmlParser = nullptr;
}

inline Listentry &entryOf(Ctarnwave &window, int list, int row)
{
    return *window.lists[list]->getEntry(row)->entry;
}

// The names of a list's rows, top to bottom.
inline std::vector<std::string> namesOf(Ctarnwave &window, int list)
{
    std::vector<std::string> names;
    for (int row = 0; row < window.lists[list]->getCount(); ++row)
        names.push_back(entryOf(window, list, row).name);
    return names;
}

// Adds a row showing a new record to a list, as adding a favourite does.
inline std::shared_ptr<Listentry> addRow(Ctarnwave &window, int list, int index, const char *name, const char *url = "")
{
    auto entry = std::make_shared<Listentry>(index, name);
    entry->url = url;
    if (*url != '\0')
        entry->type = Listentry::ENTRY_STATION;
    new my_ListBox(window.lists[list], entry, false);
    return entry;
}

// The texts of the log lines written after `sequence`, any level.
inline std::vector<std::string> logSince(std::uint64_t sequence)
{
    std::vector<std::string> texts;
    for (const boxlog::Line &line : boxlog::linesSince(sequence))
        texts.push_back(line.text);
    return texts;
}

inline bool logHas(std::uint64_t sequence, const std::string &text)
{
    for (const std::string &line : logSince(sequence))
        if (line == text)
            return true;
    return false;
}

// Stands in for the host's player of URL streams (type 4096) while it lives:
// records what it is asked to do, in order, and answers the status and text
// queries with what a test set.
class StreamPlayerDouble : public eServiceHandler
{
public:
    StreamPlayerDouble() { eServiceInterface::getInstance()->registerHandler(eServiceReference::idStream, this); }
    ~StreamPlayerDouble() override
    {
        eServiceInterface::getInstance()->unregisterHandler(eServiceReference::idStream, this);
    }

    void addRef(const eServiceReference &ref) override
    {
        calls.push_back("addRef " + ref.path);
        references.push_back(ref);
        eServiceHandler::addRef(ref);
    }
    void removeRef(const eServiceReference &ref) override
    {
        calls.push_back("removeRef " + ref.path);
        eServiceHandler::removeRef(ref);
    }
    int play(const eServiceReference &ref, int workaround) override
    {
        calls.push_back("play " + ref.path + " " + std::to_string(workaround));
        references.push_back(ref);
        playing = ref.path;
        return 0;
    }
    int getState() override
    {
        ++stateQueries;
        return playing.empty() ? stateStopped : runningState;
    }
    eString getInfo(int selector) override
    {
        if (selector == infoStateText)
            return stateText;
        return selector == infoTitle ? title : eString();
    }
    int stop(int) override
    {
        calls.push_back("stop");
        playing.clear();
        return 0;
    }

    std::vector<std::string> calls;
    std::vector<eServiceReference> references;
    std::string playing; // the address playing now, empty when stopped
    int runningState = stateRunning; // what getState answers while something plays
    eString stateText; // getInfo(0)
    eString title; // getInfo(1)
    int stateQueries = 0;
};

} // namespace directorytest

#endif
