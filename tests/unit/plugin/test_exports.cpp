// tarnwave.so shows the host one symbol, its entry point, and keeps every
// other name inside.

#include "plugin_library.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <sstream>
#include <string>

namespace {

// The defined dynamic symbols of the built library, as the nm of its target
// architecture lists them.
std::set<std::string> exportedSymbols()
{
    std::set<std::string> names;
    const std::string command =
        std::string(TARNWAVE_NM) + " -D --defined-only '" + plugintest::pluginLibraryPath() + "' 2>/dev/null";
    FILE *listing = popen(command.c_str(), "r");
    if (!listing)
        return names;
    char line[1024];
    while (std::fgets(line, sizeof line, listing)) {
        std::istringstream fields(line);
        std::string address, type, name;
        if (fields >> address >> type >> name)
            names.insert(name);
    }
    pclose(listing);
    return names;
}

TEST(PluginExports, TheEntryPointCanBeLookedUpByItsPlainName)
{
    std::string error;
    void *library = plugintest::pluginLibrary(&error);
    ASSERT_NE(library, nullptr) << error;
    EXPECT_NE(dlsym(library, "gPlugin_exec"), nullptr);
}

TEST(PluginExports, TheWindowAndTheModelStayInside)
{
    void *library = plugintest::pluginLibrary();
    ASSERT_NE(library, nullptr);
    for (const char *name : {"_ZN9CtarnwaveC1Ev", "_ZN9CtarnwaveD1Ev", "_ZN9Ctarnwave12eventHandlerERK12eWidgetEvent",
                             "_ZN9Ctarnwave7SortSetEb", "_ZN10my_ListBox11EntryHeightE", "_ZN9Listentry7setSortE",
                             "_Z20listentryComesBeforeRK9ListentryS1_", "_ZTV9Ctarnwave", "_ZTV10my_ListBox"})
        EXPECT_EQ(dlsym(library, name), nullptr) << name;
}

TEST(PluginExports, GPluginExecIsTheOnlyDefinedDynamicSymbol)
{
    EXPECT_EQ(exportedSymbols(), std::set<std::string>{"gPlugin_exec"});
}

} // namespace
