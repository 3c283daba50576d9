#ifndef TARNWAVE_EMULATOR_PLUGIN_LIBRARY_H
#define TARNWAVE_EMULATOR_PLUGIN_LIBRARY_H

// A box plug-in: a shared library loaded with dlopen whose one entry point,
// extern "C" int gPlugin_exec(int command), the host calls to run it.

#include "system/gplugin.h"

#include <memory>
#include <string>

namespace emulator {

class PluginLibrary
{
public:
    using Entry = gPluginEntry;

    // Loads the library at `path`; null with a one-line reason in `error`
    // when the file is missing, is no loadable shared library, or lacks
    // gPlugin_exec.
    static std::unique_ptr<PluginLibrary> load(const std::string &path, std::string &error);

    ~PluginLibrary();
    PluginLibrary(const PluginLibrary &) = delete;
    PluginLibrary &operator=(const PluginLibrary &) = delete;

    const std::string &path() const { return m_path; }
    // The name the host's menu shows: the file name without ".so", capitalised.
    std::string displayName() const;
    // Runs the plug-in; returns when it has finished.
    int exec(int command) const { return m_entry(command); }

private:
    PluginLibrary(std::string path, void *handle, Entry entry);

    std::string m_path;
    void *m_handle;
    Entry m_entry;
};

// The menu's name for the plug-in file at `path`.
std::string pluginDisplayName(const std::string &path);

} // namespace emulator

#endif
