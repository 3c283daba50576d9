// Shell assignment files that are missing, binary, huge or half-broken: no
// crash, no invented keys, and saving keeps what it does not understand.

#include "base/econfigfile.h"
#include "support/key_file_value.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

class KeyFileBadInput : public ::testing::Test
{
protected:
    fs::path write(const std::string &contents)
    {
        fs::path file = dir.file("script.sh");
        writeFile(file, contents);
        return file;
    }

    TempDir dir;
};

TEST_F(KeyFileBadInput, MissingFileIsNotOpenedAndNotCreated)
{
    const fs::path path = dir.path() / "var/script/streamripper_script.sh";
    eConfigFile file(path.string());
    EXPECT_FALSE(file.isOpen());
    EXPECT_FALSE(static_cast<bool>(file));
    eString value = "untouched";
    EXPECT_NE(file.getKey("STREAMDIR", value), 0);
    EXPECT_EQ(value, "untouched");
    EXPECT_NE(file.setKey("STREAMDIR", "/hdd"), 0);
    EXPECT_NE(file.saveConfig(), 0);
    EXPECT_FALSE(fs::exists(path));
    EXPECT_FALSE(fs::exists(path.parent_path()));
}

TEST_F(KeyFileBadInput, NullOrEmptyPathIsNotOpened)
{
    eConfigFile none(static_cast<const char *>(nullptr));
    EXPECT_FALSE(none.isOpen());
    EXPECT_NE(none.saveConfig(), 0);
    eConfigFile empty("");
    EXPECT_FALSE(empty.isOpen());
}

TEST_F(KeyFileBadInput, DirectoryIsNotOpened)
{
    eConfigFile file(dir.str());
    EXPECT_FALSE(file.isOpen());
    EXPECT_NE(file.saveConfig(), 0);
    EXPECT_TRUE(fs::is_directory(dir.path()));
}

TEST_F(KeyFileBadInput, BinaryFileGivesWhatLinesItCanAndSavingKeepsItsBytes)
{
    std::mt19937 random(7);
    std::string noise;
    for (int i = 0; i < 8192; ++i)
        noise += static_cast<char>(random() & 0xff);
    const std::string contents = "\x7f"
                                 "ELF\0\0\0\n"s
                                 + noise + "\nGOOD=yes\n" + "NUL=a\0b\n"s + "Q=\"a\0b\"\n"s + noise;
    const fs::path path = write(contents);

    eConfigFile file(path);
    ASSERT_TRUE(file.isOpen());
    EXPECT_EQ(keyOf(file, "GOOD"), "yes");
    EXPECT_EQ(keyOf(file, "NUL"), "<absent>");
    EXPECT_EQ(keyOf(file, "Q"), "<absent>");

    ASSERT_EQ(file.setKey("GOOD", "no"), 0);
    ASSERT_EQ(file.saveConfig(), 0);
    std::string expected = contents;
    expected.replace(expected.find("GOOD=yes"), 8, "GOOD=no");
    EXPECT_EQ(readFile(path), expected);
}

TEST_F(KeyFileBadInput, LineWithoutEqualsIsNoKey)
{
    const fs::path path = write("STREAMDIR\nSTREAMDIR /hdd\nDAEMON=/bin/d\n");
    eConfigFile file(path);
    EXPECT_EQ(keyOf(file, "STREAMDIR"), "<absent>");
    EXPECT_EQ(keyOf(file, "DAEMON"), "/bin/d");
    ASSERT_EQ(file.setKey("STREAMDIR", "/hdd"), 0);
    ASSERT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(readFile(path), "STREAMDIR\nSTREAMDIR /hdd\nDAEMON=/bin/d\nSTREAMDIR=/hdd\n");
}

TEST_F(KeyFileBadInput, MegabyteLineIsReadWhole)
{
    std::string big;
    for (std::size_t i = 0; big.size() < 1024 * 1024; ++i)
        big += static_cast<char>('a' + static_cast<char>(i % 26));
    const std::string contents = "# big\nBIG=\"" + big + "\"\nPLAIN=" + big + "\nAFTER=1\n";
    const fs::path path = write(contents);

    eConfigFile file(path);
    EXPECT_EQ(keyOf(file, "BIG"), big);
    EXPECT_EQ(keyOf(file, "PLAIN"), big);
    EXPECT_EQ(keyOf(file, "AFTER"), "1");

    ASSERT_EQ(file.setKey("AFTER", "2"), 0);
    ASSERT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(readFile(path), "# big\nBIG=\"" + big + "\"\nPLAIN=" + big + "\nAFTER=2\n");
}

TEST_F(KeyFileBadInput, UnterminatedQuoteIsNoAssignmentAndTheLineIsKept)
{
    const std::string contents = "A=\"never closed\nB='never closed either\nC=\"ok\"\nD=\"ends in backslash\\\"\n";
    const fs::path path = write(contents);
    eConfigFile file(path);
    ASSERT_TRUE(file.isOpen());
    EXPECT_EQ(keyOf(file, "A"), "<absent>");
    EXPECT_EQ(keyOf(file, "B"), "<absent>");
    EXPECT_EQ(keyOf(file, "C"), "ok");
    EXPECT_EQ(keyOf(file, "D"), "<absent>");

    ASSERT_EQ(file.setKey("A", "fixed"), 0);
    ASSERT_EQ(file.setKey("C", "changed"), 0);
    ASSERT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(readFile(path), "A=\"never closed\nB='never closed either\nC=\"changed\"\n"
                              "D=\"ends in backslash\\\"\nA=fixed\n");
}

TEST_F(KeyFileBadInput, WindowsLineEndsAreKept)
{
    const fs::path path = write("# edited elsewhere\r\nA=1\r\nB=\"2\"\r\n");
    eConfigFile file(path);
    EXPECT_EQ(keyOf(file, "A"), "1\r");
    EXPECT_EQ(keyOf(file, "B"), "<absent>");
    ASSERT_EQ(file.setKey("C", "3"), 0);
    ASSERT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(readFile(path), "# edited elsewhere\r\nA=1\r\nB=\"2\"\r\nC=3\n");
}

TEST_F(KeyFileBadInput, FailedSaveKeepsTheChangesAndTheFile)
{
    const fs::path path = write("A=1\n");
    eConfigFile file(path);
    ASSERT_EQ(file.setKey("A", "2"), 0);
    // Replace the file by a directory that is not empty: the rename over it fails.
    fs::remove(path);
    fs::create_directories(path / "inside");
    EXPECT_NE(file.saveConfig(), 0);
    EXPECT_EQ(keyOf(file, "A"), "2");
    EXPECT_TRUE(fs::is_directory(path / "inside"));
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 1);

    fs::remove_all(path);
    EXPECT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(readFile(path), "A=2\n");
}

} // namespace
