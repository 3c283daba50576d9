#include "plugin_menu.h"

#include "plugin_library.h"

#include "base/ebase.h"
#include "base/elog.h"
#include "gui/eaction.h"
#include "gui/elabel.h"
#include "gui/elistbox.h"
#include "gui/emessagebox.h"
#include "gui/ewindow.h"
#include "gui/widgets/escreen.h"
#include "system/gplugin.h"
#include "system/ezaplcd.h"

#include <libintl.h>

#include <clocale>
#include <filesystem>

namespace emulator {

// The menu's window: the exit key has nowhere to go back to, so it is kept.
class PluginMenuWindow : public eWindow
{
public:
    PluginMenuWindow(const std::string &rowText, const std::string &hint)
    {
        setName("plugin-menu");
        setText(dcgettext(nullptr, "Plug-ins", LC_MESSAGES));
        const int rowHeight = eListBoxEntryText::getEntryHeight();
        const eSize clientSize(420, rowHeight * 2 + 56);
        cresize(clientSize);
        const eSize screen = eScreen::osd().size();
        cmove(ePoint((screen.width() - clientSize.width()) / 2, (screen.height() - clientSize.height()) / 2));

        list = new eListBox<eListBoxEntryText>(this);
        list->setName("plugins");
        list->move(ePoint(10, 10));
        list->resize(eSize(clientSize.width() - 20, rowHeight * 2));
        new eListBoxEntryText(list, rowText, hint);

        auto *hintLabel = new eLabel(this, eLabel::flagVCenter);
        hintLabel->setName("hint");
        hintLabel->move(ePoint(10, rowHeight * 2 + 14));
        hintLabel->resize(eSize(clientSize.width() - 20, 32));
        hintLabel->setText(hint);
        hintLabel->setForegroundColor(gColor(190, 200, 215));
        setFocus(list);
    }

    int eventHandler(const eWidgetEvent &event) override
    {
        if (event.type == eWidgetEvent::evtAction && event.action == &i_cursorActions->cancel)
            return 1;
        return eWindow::eventHandler(event);
    }

    eListBox<eListBoxEntryText> *list;
};

PluginMenu::PluginMenu(const PluginLibrary *plugin, std::string pluginPath)
    : m_plugin(plugin), m_pluginPath(std::move(pluginPath))
{
    const std::string fileName = std::filesystem::path(m_pluginPath).filename().string();
    const std::string hint = eString().sprintf(
        dcgettext(nullptr, m_plugin != nullptr ? "OK starts %s" : "%s is missing", LC_MESSAGES), fileName.c_str());
    m_window = std::make_unique<PluginMenuWindow>(pluginDisplayName(m_pluginPath), hint);
    CONNECT(m_window->list->selected, PluginMenu::rowSelected);
    eZapLCDPage *idle = eZapLCD::getInstance()->idlePage;
    m_window->setLCD(idle->title, idle->content);
}

PluginMenu::~PluginMenu() = default;

void PluginMenu::show()
{
    m_window->show();
    // The LCD shows the current row once the cursor has been on it.
    if (const eListBoxEntryText *row = m_window->list->getCurrent())
        eZapLCD::getInstance()->idlePage->content->setText(row->getText());
}

const eWindow *PluginMenu::window() const
{
    return m_window.get();
}

void PluginMenu::rowSelected(eListBoxEntryText *row)
{
    if (row != nullptr)
        requestStart();
}

bool PluginMenu::requestStart()
{
    if (m_running || m_startPlanned)
        return false;
    m_startPlanned = true;
    std::weak_ptr<char> alive = m_life;
    eApp->post([this, alive] {
        if (!alive.expired())
            run();
    });
    return true;
}

void PluginMenu::run()
{
    m_startPlanned = false;
    if (m_plugin == nullptr) {
        sayPluginMissing();
        return;
    }
    m_running = true;
    ++m_runsBegun;
    m_window->hide();
    eDebug("box-emulator: starting %s with command %d", m_plugin->path().c_str(), gPluginRun);
    const int result = m_plugin->exec(gPluginRun);
    eDebug("box-emulator: the plug-in returned %d", result);
    m_running = false;
    ++m_runsEnded;
    show();
}

void PluginMenu::sayPluginMissing()
{
    eWarning("box-emulator: plug-in not found: %s", m_pluginPath.c_str());
    eMessageBox box(eString().sprintf(dcgettext(nullptr, "plug-in not found: %s", LC_MESSAGES), m_pluginPath.c_str()),
                    dcgettext(nullptr, "Plug-ins", LC_MESSAGES), eMessageBox::btOK | eMessageBox::iconError,
                    eMessageBox::btOK);
    box.show();
    box.exec();
    box.hide();
}

} // namespace emulator
