#include "support/temp_dir.h"

#include "base/boxpath.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

TempDir::TempDir()
{
    const char *base = std::getenv("TMPDIR");
    std::string pattern = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/tarnwave-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("cannot create a temporary directory from " + pattern);
    path_ = pattern;
}

TempDir::~TempDir()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path TempDir::file(const std::string &relative) const
{
    std::filesystem::path full = path_ / std::filesystem::path(relative).relative_path();
    std::filesystem::create_directories(full.parent_path());
    return full;
}

TempBoxRoot::TempBoxRoot() : previous_(boxRoot())
{
    setBoxRoot(str());
}

TempBoxRoot::~TempBoxRoot()
{
    setBoxRoot(previous_);
}

std::string readFile(const std::filesystem::path &path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream contents;
    contents << in.rdbuf();
    return contents.str();
}

void writeFile(const std::filesystem::path &path, const std::string &contents)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << contents;
}

mode_t permissionsOf(const std::filesystem::path &path)
{
    struct stat info = {};
    if (::stat(path.c_str(), &info) != 0)
        return static_cast<mode_t>(-1);
    return info.st_mode & 07777;
}

ino_t inodeOf(const std::filesystem::path &path)
{
    struct stat info = {};
    if (::stat(path.c_str(), &info) != 0)
        return 0;
    return info.st_ino;
}
