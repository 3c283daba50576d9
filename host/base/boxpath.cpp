#include "base/boxpath.h"

#include <cstdlib>

namespace {

std::string normalisedRoot(std::string root)
{
    while (!root.empty() && root.back() == '/')
        root.pop_back();
    return root;
}

std::string &rootStorage()
{
    static std::string root = [] {
        const char *fromEnvironment = std::getenv("TARNWAVE_ROOT");
        return normalisedRoot(fromEnvironment != nullptr ? fromEnvironment : "");
    }();
    return root;
}

} // namespace

const std::string &boxRoot()
{
    return rootStorage();
}

void setBoxRoot(std::string root)
{
    rootStorage() = normalisedRoot(std::move(root));
}

std::string boxPath(const std::string &path)
{
    if (path.empty() || path.front() != '/')
        return path;
    return rootStorage() + path;
}
