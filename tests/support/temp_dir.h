#ifndef TARNWAVE_TESTS_SUPPORT_TEMP_DIR_H
#define TARNWAVE_TESTS_SUPPORT_TEMP_DIR_H

#include <filesystem>
#include <string>
#include <sys/types.h>

// A fresh directory under $TMPDIR (or /tmp), removed with everything in it when
// the object goes out of scope.
class TempDir
{
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    const std::filesystem::path &path() const { return path_; }
    std::string str() const { return path_.string(); }
    // path() / relative, with the parent directories created.
    std::filesystem::path file(const std::string &relative) const;

private:
    std::filesystem::path path_;
};

// A temporary box root: setBoxRoot points at it for the lifetime of the object
// and is restored afterwards.
class TempBoxRoot : public TempDir
{
public:
    TempBoxRoot();
    ~TempBoxRoot();

private:
    std::string previous_;
};

// Whole-file helpers for tests.
std::string readFile(const std::filesystem::path &path);
void writeFile(const std::filesystem::path &path, const std::string &contents);

// The permission bits and the inode of a file (a rewritten file has a new
// inode); (mode_t)-1 and 0 when it cannot be looked at, so that any
// expectation on them fails.
mode_t permissionsOf(const std::filesystem::path &path);
ino_t inodeOf(const std::filesystem::path &path);

#endif
