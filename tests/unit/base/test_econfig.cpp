// The configuration store: typed keys, the file it writes, and writing failures.

#include "base/boxpath.h"
#include "base/econfig.h"
#include "base/elog.h"
#include "support/temp_dir.h"

#include "support/log_lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

// Every test gets a box root of its own and a store loaded afresh from it.
class ConfigStore : public ::testing::Test
{
protected:
    void SetUp() override { eConfig::reload(); }
    void TearDown() override { eConfig::reload(); }

    fs::path storeFile() const { return root.path() / "var/tuxbox/config/boxhost.conf"; }

    static std::vector<std::string> directoryEntries(const fs::path &directory)
    {
        std::vector<std::string> names;
        for (const fs::directory_entry &entry : fs::directory_iterator(directory))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    TempBoxRoot root;
};

TEST_F(ConfigStore, StoreLivesUnderTheBoxRoot)
{
    EXPECT_EQ(eConfig::getInstance()->path(), storeFile().string());
    EXPECT_EQ(eConfig::getInstance()->path(), boxPath("/var/tuxbox/config/boxhost.conf"));
}

TEST_F(ConfigStore, IntAndStringRoundTripThroughTheFile)
{
    eConfig *config = eConfig::getInstance();
    ASSERT_EQ(config->setKey("/tarnwave/minbitrate", 192), 0);
    ASSERT_EQ(config->setKey("/tarnwave/lastsearch", "jazz radio"), 0);
    ASSERT_EQ(config->setKey("/tarnwave/negative", INT_MIN), 0);
    ASSERT_EQ(config->setKey("/tarnwave/largest", INT_MAX), 0);

    eConfig::reload();
    config = eConfig::getInstance();
    int bitrate = 0;
    EXPECT_EQ(config->getKey("/tarnwave/minbitrate", bitrate), 0);
    EXPECT_EQ(bitrate, 192);
    eString search;
    EXPECT_EQ(config->getKey("/tarnwave/lastsearch", search), 0);
    EXPECT_EQ(search, "jazz radio");
    int number = 0;
    EXPECT_EQ(config->getKey("/tarnwave/negative", number), 0);
    EXPECT_EQ(number, INT_MIN);
    EXPECT_EQ(config->getKey("/tarnwave/largest", number), 0);
    EXPECT_EQ(number, INT_MAX);
}

TEST_F(ConfigStore, AbsentIntKeyLeavesTheValueUntouched)
{
    int value = 60;
    EXPECT_NE(eConfig::getInstance()->getKey("/tarnwave/autohide", value), 0);
    EXPECT_EQ(value, 60);
    EXPECT_NE(eConfig::getInstance()->getKey(nullptr, value), 0);
    EXPECT_EQ(value, 60);
}

TEST_F(ConfigStore, AbsentStringKeyLeavesTheValueUntouched)
{
    char sentinel[] = "untouched";
    char *text = sentinel;
    EXPECT_NE(eConfig::getInstance()->getKey("/tarnwave/lastsearch", text), 0);
    EXPECT_EQ(text, sentinel);
    eString search = "disco";
    EXPECT_NE(eConfig::getInstance()->getKey("/tarnwave/lastsearch", search), 0);
    EXPECT_EQ(search, "disco");
}

TEST_F(ConfigStore, KeyOfTheOtherTypeCountsAsAbsent)
{
    eConfig *config = eConfig::getInstance();
    ASSERT_EQ(config->setKey("/number", 5), 0);
    ASSERT_EQ(config->setKey("/text", "five"), 0);
    eString text = "before";
    EXPECT_NE(config->getKey("/number", text), 0);
    EXPECT_EQ(text, "before");
    int number = 7;
    EXPECT_NE(config->getKey("/text", number), 0);
    EXPECT_EQ(number, 7);
}

TEST_F(ConfigStore, SettingTheOtherTypeReplacesTheKey)
{
    eConfig *config = eConfig::getInstance();
    ASSERT_EQ(config->setKey("/tarnwave/background", "TV"), 0);
    ASSERT_EQ(config->setKey("/tarnwave/background", 50), 0);
    eString text;
    EXPECT_NE(config->getKey("/tarnwave/background", text), 0);
    int number = 0;
    EXPECT_EQ(config->getKey("/tarnwave/background", number), 0);
    EXPECT_EQ(number, 50);

    eConfig::reload();
    number = 0;
    EXPECT_EQ(eConfig::getInstance()->getKey("/tarnwave/background", number), 0);
    EXPECT_EQ(number, 50);
    EXPECT_NE(eConfig::getInstance()->getKey("/tarnwave/background", text), 0);
}

TEST_F(ConfigStore, StringGetterHandsBackAHeapCopy)
{
    eConfig *config = eConfig::getInstance();
    ASSERT_EQ(config->setKey("/tarnwave/lastsearch", "disco"), 0);
    char *first = nullptr;
    ASSERT_EQ(config->getKey("/tarnwave/lastsearch", first), 0);
    ASSERT_NE(first, nullptr);
    EXPECT_STREQ(first, "disco");
    first[0] = 'X';
    std::free(first);

    char *second = nullptr;
    ASSERT_EQ(config->getKey("/tarnwave/lastsearch", second), 0);
    EXPECT_STREQ(second, "disco");
    std::free(second);
}

TEST_F(ConfigStore, EveryChangeWritesTheWholeFileAtomically)
{
    eConfig *config = eConfig::getInstance();
    ASSERT_EQ(config->setKey("/tarnwave/minbitrate", 128), 0);
    EXPECT_EQ(readFile(storeFile()), "# boxhost configuration 1\n"
                                     "i:/tarnwave/minbitrate=128\n"
                                     "# end of boxhost configuration\n");
    EXPECT_EQ(directoryEntries(storeFile().parent_path()), std::vector<std::string>{"boxhost.conf"});

    ASSERT_EQ(config->setKey("/tarnwave/lastsearch", "disco"), 0);
    EXPECT_EQ(readFile(storeFile()), "# boxhost configuration 1\n"
                                     "s:/tarnwave/lastsearch=disco\n"
                                     "i:/tarnwave/minbitrate=128\n"
                                     "# end of boxhost configuration\n");
    EXPECT_EQ(directoryEntries(storeFile().parent_path()), std::vector<std::string>{"boxhost.conf"});

    ASSERT_EQ(config->setKey("/tarnwave/autohide", 62), 0);
    EXPECT_EQ(readFile(storeFile()), "# boxhost configuration 1\n"
                                     "i:/tarnwave/autohide=62\n"
                                     "s:/tarnwave/lastsearch=disco\n"
                                     "i:/tarnwave/minbitrate=128\n"
                                     "# end of boxhost configuration\n");

    ASSERT_EQ(config->delKey("/tarnwave/lastsearch"), 0);
    EXPECT_EQ(readFile(storeFile()), "# boxhost configuration 1\n"
                                     "i:/tarnwave/autohide=62\n"
                                     "i:/tarnwave/minbitrate=128\n"
                                     "# end of boxhost configuration\n");
    EXPECT_EQ(directoryEntries(storeFile().parent_path()), std::vector<std::string>{"boxhost.conf"});
}

TEST_F(ConfigStore, StoringTheSameValueDoesNotRewriteTheFile)
{
    eConfig *config = eConfig::getInstance();
    ASSERT_EQ(config->setKey("/tarnwave/autohide", 61), 0);
    ASSERT_EQ(config->setKey("/tarnwave/lastsearch", "disco"), 0);
    const ino_t written = inodeOf(storeFile());
    ASSERT_NE(written, 0u);

    EXPECT_EQ(config->setKey("/tarnwave/autohide", 61), 0);
    EXPECT_EQ(config->setKey("/tarnwave/lastsearch", "disco"), 0);
    EXPECT_EQ(inodeOf(storeFile()), written);

    EXPECT_EQ(config->setKey("/tarnwave/autohide", 62), 0);
    const ino_t rewritten = inodeOf(storeFile());
    EXPECT_NE(rewritten, 0u);
    EXPECT_NE(rewritten, written);
}

TEST_F(ConfigStore, DeletedKeyIsGoneAfterReload)
{
    eConfig *config = eConfig::getInstance();
    ASSERT_EQ(config->setKey("/a", 1), 0);
    ASSERT_EQ(config->setKey("/b", "two"), 0);
    EXPECT_EQ(config->delKey("/a"), 0);
    EXPECT_NE(config->delKey("/a"), 0);
    EXPECT_NE(config->delKey("/never"), 0);

    eConfig::reload();
    int number = 0;
    EXPECT_NE(eConfig::getInstance()->getKey("/a", number), 0);
    eString text;
    EXPECT_EQ(eConfig::getInstance()->getKey("/b", text), 0);
    EXPECT_EQ(text, "two");
}

TEST_F(ConfigStore, NewlinesControlBytesAndNonAsciiRoundTrip)
{
    std::string everyByte;
    for (int byte = 1; byte < 256; ++byte)
        everyByte += static_cast<char>(byte);
    const std::string lines = "first line\nsecond\r\n\tthird \\n not an escape\\";
    const std::string utf8 = "Radio Kln \xc3\xa4\xc3\xb6\xc3\xbc \xe2\x82\xac \xf0\x9f\x8e\xb5";

    eConfig *config = eConfig::getInstance();
    ASSERT_EQ(config->setKey("/bytes", everyByte), 0);
    ASSERT_EQ(config->setKey("/lines", lines.c_str()), 0);
    ASSERT_EQ(config->setKey("/utf8", utf8.c_str()), 0);
    ASSERT_EQ(config->setKey("/empty", ""), 0);

    eConfig::reload();
    config = eConfig::getInstance();
    eString value;
    ASSERT_EQ(config->getKey("/bytes", value), 0);
    EXPECT_EQ(value, everyByte);
    ASSERT_EQ(config->getKey("/lines", value), 0);
    EXPECT_EQ(value, lines);
    ASSERT_EQ(config->getKey("/utf8", value), 0);
    EXPECT_EQ(value, utf8);
    value = "not empty";
    ASSERT_EQ(config->getKey("/empty", value), 0);
    EXPECT_EQ(value, "");

    // The file stays line-based: every value is on its one line.
    const std::string text = readFile(storeFile());
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 6);
    EXPECT_NE(text.find(utf8), std::string::npos);
}

TEST_F(ConfigStore, KeysWithEqualsSignsAndControlBytesRoundTrip)
{
    const std::string oddKey = "/a=b\\c\nd e";
    eConfig *config = eConfig::getInstance();
    ASSERT_EQ(config->setKey(oddKey.c_str(), "x=y"), 0);
    ASSERT_EQ(config->setKey("/a", 1), 0);

    eConfig::reload();
    eString value;
    ASSERT_EQ(eConfig::getInstance()->getKey(oddKey.c_str(), value), 0);
    EXPECT_EQ(value, "x=y");
    int number = 0;
    EXPECT_EQ(eConfig::getInstance()->getKey("/a", number), 0);
    EXPECT_EQ(number, 1);
}

TEST_F(ConfigStore, BadArgumentsAreRefused)
{
    eConfig *config = eConfig::getInstance();
    EXPECT_NE(config->setKey(nullptr, 1), 0);
    EXPECT_NE(config->setKey("", 1), 0);
    EXPECT_NE(config->setKey("/text", static_cast<const char *>(nullptr)), 0);
    EXPECT_NE(config->setKey("/text", "a\0b"s), 0);
    EXPECT_NE(config->delKey(nullptr), 0);
    EXPECT_FALSE(fs::exists(storeFile()));
}

TEST_F(ConfigStore, MissingFileStartsEmptyWithADebugLineOnly)
{
    const std::uint64_t before = boxlog::lastSequence();
    eConfig *config = eConfig::getInstance();
    EXPECT_TRUE(warningsSince(before).empty()) << "a first start is not a problem";
    const std::vector<boxlog::Line> lines = boxlog::linesSince(before);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].text.find(storeFile().string()), std::string::npos) << lines[0].text;
    EXPECT_NE(lines[0].text.find("not found"), std::string::npos) << lines[0].text;
    int number = 3;
    EXPECT_NE(config->getKey("/tarnwave/autohide", number), 0);
    EXPECT_EQ(number, 3);
    // Loading creates nothing; the first change does.
    EXPECT_FALSE(fs::exists(storeFile()));
    EXPECT_EQ(config->setKey("/tarnwave/autohide", 61), 0);
    EXPECT_TRUE(fs::exists(storeFile()));
}

TEST_F(ConfigStore, UnwritableLocationKeepsTheValueInMemoryWithOneWarning)
{
    // A regular file where the directory should be stops the write even for root.
    writeFile(root.file("var/tuxbox/config"), "in the way\n");
    eConfig *config = eConfig::getInstance();

    const std::uint64_t before = boxlog::lastSequence();
    EXPECT_NE(config->setKey("/tarnwave/minbitrate", 256), 0);
    std::vector<std::string> warnings = warningsSince(before);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find(storeFile().string()), std::string::npos) << warnings[0];
    EXPECT_NE(warnings[0].find(std::strerror(ENOTDIR)), std::string::npos) << warnings[0];

    int number = 0;
    EXPECT_EQ(config->getKey("/tarnwave/minbitrate", number), 0);
    EXPECT_EQ(number, 256);

    const std::uint64_t second = boxlog::lastSequence();
    EXPECT_NE(config->setKey("/tarnwave/lastsearch", "rock"), 0);
    EXPECT_EQ(warningsSince(second).size(), 1u);
    eString text;
    EXPECT_EQ(config->getKey("/tarnwave/lastsearch", text), 0);
    EXPECT_EQ(text, "rock");
    EXPECT_EQ(readFile(root.path() / "var/tuxbox/config"), "in the way\n");
}

TEST_F(ConfigStore, SameValueIsWrittenAgainAfterAFailedWrite)
{
    writeFile(root.file("var/tuxbox/config"), "in the way\n");
    eConfig *config = eConfig::getInstance();
    EXPECT_NE(config->setKey("/tarnwave/autohide", 62), 0);

    fs::remove(root.path() / "var/tuxbox/config");
    EXPECT_EQ(config->setKey("/tarnwave/autohide", 62), 0);
    EXPECT_EQ(readFile(storeFile()), "# boxhost configuration 1\n"
                                     "i:/tarnwave/autohide=62\n"
                                     "# end of boxhost configuration\n");
}

TEST_F(ConfigStore, SymbolicLinkToTheStoreIsKept)
{
    writeFile(root.file("data/real.conf"), "# boxhost configuration 1\n"
                                           "i:/x=1\n"
                                           "# end of boxhost configuration\n");
    fs::create_directories(storeFile().parent_path());
    fs::create_symlink(root.path() / "data/real.conf", storeFile());

    ASSERT_EQ(eConfig::getInstance()->setKey("/x", 2), 0);
    EXPECT_TRUE(fs::is_symlink(storeFile()));
    EXPECT_EQ(readFile(root.path() / "data/real.conf"), "# boxhost configuration 1\n"
                                                        "i:/x=2\n"
                                                        "# end of boxhost configuration\n");
}

TEST_F(ConfigStore, ReloadFollowsTheCurrentBoxRoot)
{
    ASSERT_EQ(eConfig::getInstance()->setKey("/where", 1), 0);
    {
        TempBoxRoot other;
        eConfig::reload();
        int number = 0;
        EXPECT_NE(eConfig::getInstance()->getKey("/where", number), 0);
        EXPECT_EQ(eConfig::getInstance()->path(), (other.path() / "var/tuxbox/config/boxhost.conf").string());
        eConfig::reload();
    }
    int number = 0;
    EXPECT_EQ(eConfig::getInstance()->getKey("/where", number), 0);
    EXPECT_EQ(number, 1);
}

} // namespace
