#ifndef TARNWAVE_TESTS_UNIT_PLUGIN_PLUGIN_LIBRARY_H
#define TARNWAVE_TESTS_UNIT_PLUGIN_PLUGIN_LIBRARY_H

// The built plug-in, loaded as the host loads it: with dlopen, looked up by
// its entry point's name.

#include "system/gplugin.h"

#include <dlfcn.h>

#include <string>

namespace plugintest {

inline std::string pluginLibraryPath()
{
    return std::string(TARNWAVE_BINARY_DIR) + "/plugin/tarnwave.so";
}

// The loaded tarnwave.so (loaded once, kept for the process), or null with the
// loader's words in `error`.
inline void *pluginLibrary(std::string *error = nullptr)
{
    static void *handle = dlopen(pluginLibraryPath().c_str(), RTLD_NOW | RTLD_LOCAL);
    static const std::string loadError = handle ? "" : dlerror();
    if (error)
        *error = loadError;
    return handle;
}

using PluginEntry = gPluginEntry;

// The library's gPlugin_exec, or null.
inline PluginEntry pluginEntry()
{
    void *handle = pluginLibrary();
    return handle ? reinterpret_cast<PluginEntry>(dlsym(handle, "gPlugin_exec")) : nullptr;
}

} // namespace plugintest

#endif
