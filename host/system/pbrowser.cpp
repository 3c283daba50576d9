#include "system/pbrowser.h"

#include "base/boxpath.h"
#include "base/elog.h"
#include "base/messages.h"
#include "gui/eaction.h"
#include "gui/elabel.h"
#include "gui/eskin.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace {

constexpr int clientWidth = 500;
constexpr int visibleRows = 9;

// "/a/b/" for "/a/b", "a/b/" or "/a//b": absolute, one slash between parts,
// one at the end.
eString normalised(const eString &path)
{
    eString result = "/";
    for (const auto &part : fs::path(static_cast<const std::string &>(path))) {
        const std::string name = part.string();
        if (name.empty() || name == "/" || name == ".")
            continue;
        if (name == "..") {
            if (result.size() > 1)
                result.erase(result.find_last_of('/', result.size() - 2) + 1);
            continue;
        }
        result += name + "/";
    }
    return result;
}

eString parentOf(const eString &path)
{
    return normalised(path + "..");
}

bool isDirectory(const eString &path)
{
    std::error_code error;
    return fs::is_directory(boxPath(path), error);
}

} // namespace

pBrowser::pBrowser(const eString &path, int mode, const eString &title) : eWindow(0), m_mode(mode)
{
    const int fontSize = eSkin::getActive()->queryValue("fontsize", 20);
    const int rowHeight = eListBoxEntryText::getEntryHeight();
    const int listHeight = visibleRows * rowHeight;
    const int lineHeight = fontSize + 8;
    cresize(eSize(clientWidth, lineHeight + listHeight + lineHeight + 10));
    cmove(ePoint((720 - clientWidth) / 2, (576 - getClientSize().height()) / 2));
    setText(title.empty() ? eString(translated("Select directory")) : title);

    m_pathLabel = new eLabel(this, eLabel::flagVCenter | eLabel::flagNoWrap);
    m_pathLabel->move(ePoint(8, 0));
    m_pathLabel->resize(eSize(clientWidth - 16, lineHeight));

    m_list = new eListBox<eListBoxEntryText>(this);
    m_list->move(ePoint(0, lineHeight));
    m_list->resize(eSize(clientWidth, listHeight));
    m_list->loadDeco();
    m_list->selected.connect(sigc::mem_fun(*this, &pBrowser::rowSelected));

    m_help = new eLabel(this, eLabel::flagVCenter | eLabel::flagNoWrap);
    m_help->move(ePoint(8, lineHeight + listHeight + 5));
    m_help->resize(eSize(clientWidth - 16, lineHeight));
    m_help->setText(eString(translated("OK: open")) + "    " + translated("green: choose") + "    "
                    + translated("exit: cancel"));

    addActionMap(&i_shortcutActions->map);

    eString start = normalised(path);
    while (start != "/" && !isDirectory(start))
        start = parentOf(start);
    listDirectory(start);
    setFocus(m_list);
}

pBrowser::~pBrowser() = default;

void pBrowser::listDirectory(const eString &path)
{
    std::vector<std::pair<bool, eString>> names; // (is a directory, name)
    std::error_code error;
    for (fs::directory_iterator it(boxPath(path), error), end; !error && it != end; it.increment(error)) {
        std::error_code typeError;
        const bool directory = it->is_directory(typeError);
        if (!directory && m_mode == modeDirectories)
            continue;
        names.emplace_back(directory, it->path().filename().string());
    }
    if (error)
        eWarning("pBrowser: cannot list %s: %s", boxPath(path).c_str(), error.message().c_str());
    // Directories first, each group by name.
    std::sort(names.begin(), names.end(),
              [](const auto &a, const auto &b) { return a.first != b.first ? a.first : a.second < b.second; });

    m_path = path;
    m_pathLabel->setText(path);
    m_list->beginAtomic();
    m_list->clearList();
    if (path != "/")
        new eListBoxEntryText(m_list, "..");
    for (const auto &[directory, name] : names)
        new eListBoxEntryText(m_list, directory ? eString(name + "/") : name);
    m_list->endAtomic();
}

void pBrowser::rowSelected(eListBoxEntryText *row)
{
    if (!row)
        return;
    const eString text = row->getText();
    if (text == "..") {
        listDirectory(parentOf(m_path));
        return;
    }
    if (text.empty() || text.back() != '/')
        return; // a file: nothing to open
    const eString target = normalised(m_path + text);
    if (isDirectory(target))
        listDirectory(target);
    else
        listDirectory(m_path); // it went away meanwhile: show what is there now
}

int pBrowser::eventHandler(const eWidgetEvent &event)
{
    if (event.type == eWidgetEvent::evtAction && event.action == &i_shortcutActions->green) {
        close(1);
        return 1;
    }
    return eWindow::eventHandler(event);
}
