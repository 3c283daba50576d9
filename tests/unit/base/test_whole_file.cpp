// Whole-file replacement through a temporary file and rename.

#include "base/whole_file.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <sys/stat.h>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

long entriesIn(const fs::path &directory)
{
    return std::distance(fs::directory_iterator(directory), fs::directory_iterator());
}

TEST(WholeFile, WritesNewFileAndReplacesItWhole)
{
    TempDir dir;
    const fs::path file = dir.path() / "data.txt";
    ASSERT_EQ(boxfile::writeFileAtomically(file.string(), "first version, rather long\n"), 0);
    EXPECT_EQ(readFile(file), "first version, rather long\n");
    ASSERT_EQ(boxfile::writeFileAtomically(file.string(), "second\n"), 0);
    EXPECT_EQ(readFile(file), "second\n");
    ASSERT_EQ(boxfile::writeFileAtomically(file.string(), "with\0nul"s), 0);
    EXPECT_EQ(readFile(file), "with\0nul"s);
    EXPECT_EQ(entriesIn(dir.path()), 1);
}

TEST(WholeFile, KeepsTheModeOfTheReplacedFile)
{
    TempDir dir;
    const fs::path file = dir.path() / "script.sh";
    writeFile(file, "#!/bin/sh\n");
    fs::permissions(file, static_cast<fs::perms>(0750));
    ASSERT_EQ(boxfile::writeFileAtomically(file.string(), "#!/bin/sh\necho\n"), 0);
    EXPECT_EQ(permissionsOf(file), 0750u);
}

TEST(WholeFile, GivenModeIsSetExactly)
{
    TempDir dir;
    const fs::path file = dir.path() / "private";
    boxfile::AtomicWriteOptions options;
    options.mode = 0600;
    ASSERT_EQ(boxfile::writeFileAtomically(file.string(), "secret\n", options), 0);
    EXPECT_EQ(permissionsOf(file), 0600u);
    options.mode = 0755;
    ASSERT_EQ(boxfile::writeFileAtomically(file.string(), "secret\n", options), 0);
    EXPECT_EQ(permissionsOf(file), 0755u);
}

TEST(WholeFile, CreatesMissingDirectoriesOnlyWhenAsked)
{
    TempDir dir;
    const fs::path file = dir.path() / "a/b/c/file";
    EXPECT_EQ(boxfile::writeFileAtomically(file.string(), "x"), ENOENT);
    EXPECT_FALSE(fs::exists(dir.path() / "a"));
    boxfile::AtomicWriteOptions options;
    options.createDirectories = true;
    ASSERT_EQ(boxfile::writeFileAtomically(file.string(), "x", options), 0);
    EXPECT_EQ(readFile(file), "x");
}

TEST(WholeFile, FailureLeavesTheOldFileAndNoTemporaryFile)
{
    TempDir dir;
    // The target is a directory with something in it: the rename must fail.
    const fs::path target = dir.path() / "target";
    fs::create_directories(target / "inside");
    EXPECT_NE(boxfile::writeFileAtomically(target.string(), "x"), 0);
    EXPECT_TRUE(fs::is_directory(target / "inside"));
    EXPECT_EQ(entriesIn(dir.path()), 1);
}

TEST(WholeFile, RegularFileInThePathIsReported)
{
    TempDir dir;
    writeFile(dir.path() / "blocker", "file, not a directory\n");
    boxfile::AtomicWriteOptions options;
    options.createDirectories = true;
    EXPECT_NE(boxfile::writeFileAtomically((dir.path() / "blocker/store.conf").string(), "x", options), 0);
    EXPECT_EQ(boxfile::writeFileAtomically((dir.path() / "blocker/store.conf").string(), "x"), ENOTDIR);
    EXPECT_EQ(readFile(dir.path() / "blocker"), "file, not a directory\n");
}

TEST(WholeFile, SymbolicLinkIsFollowed)
{
    TempDir dir;
    const fs::path real = dir.path() / "real";
    const fs::path link = dir.path() / "link";
    writeFile(real, "old\n");
    fs::create_symlink(real, link);
    ASSERT_EQ(boxfile::writeFileAtomically(link.string(), "new\n"), 0);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(readFile(real), "new\n");
    EXPECT_EQ(entriesIn(dir.path()), 2);
}

TEST(WholeFile, EmptyPathIsRefused)
{
    EXPECT_EQ(boxfile::writeFileAtomically("", "x"), EINVAL);
}

} // namespace

TEST(WholeFile, ReadsEveryByteOfAFileLargerThanOneBuffer)
{
    TempDir dir;
    std::string contents(200000, '\0');
    for (std::size_t i = 0; i < contents.size(); ++i)
        contents[i] = static_cast<char>(i * 7 % 256);
    writeFile(dir.path() / "data", contents);
    std::string read = "kept:";
    EXPECT_EQ(boxfile::readWholeFile((dir.path() / "data").string(), read), 0);
    EXPECT_EQ(read, "kept:" + contents);
}

TEST(WholeFile, ReadingAMissingFileOrADirectoryGivesTheError)
{
    TempDir dir;
    std::string read;
    EXPECT_EQ(boxfile::readWholeFile((dir.path() / "absent").string(), read), ENOENT);
    EXPECT_EQ(boxfile::readWholeFile(dir.str(), read), EISDIR);
    EXPECT_TRUE(read.empty());
}

TEST(WholeFile, AFifoOrADeviceIsNoFileAndIsNotWaitedFor)
{
    TempDir dir;
    const std::string fifo = (dir.path() / "fifo").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::string read;
    EXPECT_EQ(boxfile::readWholeFile(fifo, read), EINVAL) << "nobody writes to it: it would wait for ever";
    EXPECT_EQ(boxfile::readWholeFile("/dev/zero", read), EINVAL) << "it would never end";
    EXPECT_TRUE(read.empty());
}
