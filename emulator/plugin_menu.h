#ifndef TARNWAVE_EMULATOR_PLUGIN_MENU_H
#define TARNWAVE_EMULATOR_PLUGIN_MENU_H

// The host's plug-in menu: a window "Plug-ins" with one row for the plug-in.
// OK on the row starts the plug-in with command 301, as the box's menu does;
// the menu hides while the plug-in runs and comes back when gPlugin_exec
// returns. Without a loadable plug-in, OK says so in a message box.
//
// GUI thread only; starts are posted to the loop, so that a plug-in never runs
// inside the key handling (or an HTTP thread) that asked for it.

#include "base/signals.h"

#include <cstdint>
#include <memory>
#include <string>

class eListBoxEntryText;
class eWindow;

namespace emulator {

class PluginLibrary;
class PluginMenuWindow;

class PluginMenu : public SigC::Object
{
public:
    // `plugin` may be null: then `pluginPath` names the plug-in that is missing.
    PluginMenu(const PluginLibrary *plugin, std::string pluginPath);
    ~PluginMenu() override;
    PluginMenu(const PluginMenu &) = delete;
    PluginMenu &operator=(const PluginMenu &) = delete;

    void show();

    // Plans a start of the plug-in on the loop, as OK in the menu does. False
    // (and nothing planned) while the plug-in runs or a start is planned.
    bool requestStart();

    bool pluginAvailable() const { return m_plugin != nullptr; }
    const std::string &pluginPath() const { return m_pluginPath; }
    bool running() const { return m_running; }
    bool startPlanned() const { return m_startPlanned; }
    // How many runs of the plug-in have begun, and ended.
    std::uint64_t runsBegun() const { return m_runsBegun; }
    std::uint64_t runsEnded() const { return m_runsEnded; }
    // The menu's window, to tell it from the plug-in's windows.
    const eWindow *window() const;

private:
    void rowSelected(eListBoxEntryText *row);
    void run();
    void sayPluginMissing();

    const PluginLibrary *m_plugin;
    std::string m_pluginPath;
    std::unique_ptr<PluginMenuWindow> m_window;
    bool m_running = false;
    bool m_startPlanned = false;
    std::uint64_t m_runsBegun = 0;
    std::uint64_t m_runsEnded = 0;
    std::shared_ptr<char> m_life = std::make_shared<char>(0);
};

} // namespace emulator

#endif
