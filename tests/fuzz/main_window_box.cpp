#include "main_window_box.h"

#include "fuzz_support.h"

#include "base/econfig.h"
#include "base/messages.h"

namespace fuzz {

MainWindowBox &MainWindowBox::instance()
{
    // Before the box root is made: it goes where the process puts temporary files.
    static const bool prepared = (prepareProcess(), true);
    static MainWindowBox box;
    (void)prepared;
    return box;
}

MainWindowBox::MainWindowBox()
{
    setMessageLanguage("");
    eConfig::reload();
    window_ = new Ctarnwave();
}

MainWindowBox::~MainWindowBox()
{
    delete window_;
    eConfig::reload();
}

void MainWindowBox::setMinimumBitrate(int kbits)
{
    eConfig::getInstance()->setKey("/tarnwave/minbitrate", kbits);
}

std::vector<const Listentry *> rowsOf(Ctarnwave &window, int list)
{
    std::vector<const Listentry *> rows;
    for (int row = 0; row < window.lists[list]->getCount(); ++row)
        rows.push_back(window.lists[list]->getEntry(row)->entry.get());
    return rows;
}

std::string describeRows(Ctarnwave &window, int list)
{
    std::string text = "list " + std::to_string(list) + ":";
    for (const Listentry *entry : rowsOf(window, list))
        text += " [" + std::to_string(entry->index) + " " + printable(entry->name) + "]";
    return text;
}

} // namespace fuzz
