#include "plugin_library.h"

#include <cctype>
#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <sys/stat.h>

namespace emulator {

std::unique_ptr<PluginLibrary> PluginLibrary::load(const std::string &path, std::string &error)
{
    struct stat info
    {
    };
    if (::stat(path.c_str(), &info) != 0) {
        error = "plug-in not found: " + path + " (" + std::strerror(errno) + ")";
        return nullptr;
    }
    if (!S_ISREG(info.st_mode)) {
        error = "plug-in " + path + " is not a shared library: not a regular file";
        return nullptr;
    }
    // A path without a slash would make dlopen search the library path.
    const std::string loadPath = path.find('/') == std::string::npos ? "./" + path : path;
    // RTLD_NODELETE: the plug-in's code stays mapped for the life of the
    // process, whatever the host still holds of it (slots, static objects).
    void *handle = ::dlopen(loadPath.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (handle == nullptr) {
        const char *reason = ::dlerror();
        error = "plug-in " + path + " is not a loadable shared library: " + (reason != nullptr ? reason : "unknown");
        return nullptr;
    }
    ::dlerror();
    void *symbol = ::dlsym(handle, "gPlugin_exec");
    if (symbol == nullptr) {
        ::dlclose(handle);
        error = "plug-in " + path + " has no gPlugin_exec: it is not a box plug-in";
        return nullptr;
    }
    Entry entry = nullptr;
    static_assert(sizeof entry == sizeof symbol);
    std::memcpy(&entry, &symbol, sizeof entry);
    return std::unique_ptr<PluginLibrary>(new PluginLibrary(path, handle, entry));
}

PluginLibrary::PluginLibrary(std::string path, void *handle, Entry entry)
    : m_path(std::move(path)), m_handle(handle), m_entry(entry)
{
}

PluginLibrary::~PluginLibrary()
{
    ::dlclose(m_handle);
}

std::string PluginLibrary::displayName() const
{
    return pluginDisplayName(m_path);
}

std::string pluginDisplayName(const std::string &path)
{
    std::string name = std::filesystem::path(path).filename().string();
    if (name.ends_with(".so"))
        name.resize(name.size() - 3);
    if (!name.empty())
        name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
    return name;
}

} // namespace emulator
