// The configuration store with a damaged, cut-off or unreadable file: it starts
// empty, says so once, and keeps the damaged file aside.

#include "base/econfig.h"
#include "base/elog.h"
#include "support/temp_dir.h"

#include "support/log_lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

const std::string validStore = "# boxhost configuration 1\n"
                               "i:/tarnwave/autohide=61\n"
                               "s:/tarnwave/lastsearch=jazz\\tand\\nblues\n"
                               "i:/tarnwave/minbitrate=-128\n"
                               "# end of boxhost configuration\n";

class DamagedStore : public ::testing::Test
{
protected:
    void SetUp() override { eConfig::reload(); }
    void TearDown() override { eConfig::reload(); }

    fs::path storeFile() const { return root.path() / "var/tuxbox/config/boxhost.conf"; }
    fs::path asideFile() const { return root.path() / "var/tuxbox/config/boxhost.conf.corrupt"; }

    void writeStore(const std::string &contents) { writeFile(root.file("var/tuxbox/config/boxhost.conf"), contents); }

    static bool isEmpty(const eConfig &config)
    {
        int number = 0;
        eString text;
        return config.getKey("/tarnwave/autohide", number) != 0 && config.getKey("/tarnwave/lastsearch", text) != 0
               && config.getKey("/tarnwave/minbitrate", number) != 0;
    }

    // Loads the store from `contents` and checks the one warning that a damaged
    // file gives: it names the file, the line, and where the file was kept.
    void expectDamagedAt(const std::string &contents, std::size_t line, const std::string &reason = "")
    {
        expectDamagedAtOneOf(contents, {line}, reason);
    }

    // As above, for a damage that may be reported on any of `lines`.
    void expectDamagedAtOneOf(const std::string &contents, const std::vector<std::size_t> &lines,
                              const std::string &reason = "")
    {
        eConfig::reload();
        fs::remove(asideFile());
        writeStore(contents);
        const std::uint64_t before = boxlog::lastSequence();
        eConfig *config = eConfig::getInstance();
        const std::vector<std::string> warnings = warningsSince(before);
        ASSERT_EQ(warnings.size(), 1u);
        const std::string &warning = warnings[0];
        EXPECT_NE(warning.find(storeFile().string()), std::string::npos) << warning;
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [&](std::size_t line) {
            return warning.find("line " + std::to_string(line) + " ") != std::string::npos;
        })) << warning;
        EXPECT_NE(warning.find("kept as " + asideFile().string()), std::string::npos) << warning;
        if (!reason.empty()) {
            EXPECT_NE(warning.find(reason), std::string::npos) << warning;
        }
        EXPECT_TRUE(isEmpty(*config));
        EXPECT_FALSE(fs::exists(storeFile()));
        EXPECT_EQ(readFile(asideFile()), contents);
    }

    TempBoxRoot root;
};

TEST_F(DamagedStore, ValidFileLoadsWithoutWarnings)
{
    writeStore(validStore);
    const std::uint64_t before = boxlog::lastSequence();
    eConfig *config = eConfig::getInstance();
    EXPECT_TRUE(warningsSince(before).empty());
    int number = 0;
    EXPECT_EQ(config->getKey("/tarnwave/minbitrate", number), 0);
    EXPECT_EQ(number, -128);
    eString text;
    EXPECT_EQ(config->getKey("/tarnwave/lastsearch", text), 0);
    EXPECT_EQ(text, "jazz\tand\nblues");
}

TEST_F(DamagedStore, EmptyLinesAndCommentsAreAllowed)
{
    writeStore("# boxhost configuration 1\n\n# written by hand\ni:/x=1\n\n# end of boxhost configuration\n");
    const std::uint64_t before = boxlog::lastSequence();
    int number = 0;
    EXPECT_EQ(eConfig::getInstance()->getKey("/x", number), 0);
    EXPECT_EQ(number, 1);
    EXPECT_TRUE(warningsSince(before).empty());
}

TEST_F(DamagedStore, EndMarkerWithoutFinalNewlineIsComplete)
{
    writeStore(validStore.substr(0, validStore.size() - 1));
    const std::uint64_t before = boxlog::lastSequence();
    int number = 0;
    EXPECT_EQ(eConfig::getInstance()->getKey("/tarnwave/autohide", number), 0);
    EXPECT_EQ(number, 61);
    EXPECT_TRUE(warningsSince(before).empty());
}

TEST_F(DamagedStore, FileCutOffAnywhereStartsEmptyWithOneWarning)
{
    // Every cut before the end marker is complete, the empty file included.
    const std::size_t complete = validStore.size() - 1;
    for (std::size_t length = 0; length < complete; ++length) {
        SCOPED_TRACE("cut after " + std::to_string(length) + " bytes");
        const std::string cut = validStore.substr(0, length);
        std::size_t lines = static_cast<std::size_t>(std::count(cut.begin(), cut.end(), '\n'));
        if (!cut.empty() && cut.back() != '\n')
            ++lines;
        // A cut header is reported on line 1. A cut at the end of a line leaves
        // the end marker missing after the last line; a cut within a line may
        // also leave that line malformed.
        const std::size_t header = std::string("# boxhost configuration 1").size();
        if (length < header)
            expectDamagedAt(cut, 1);
        else if (cut.back() == '\n')
            expectDamagedAt(cut, lines + 1, "end marker missing");
        else
            expectDamagedAtOneOf(cut, {lines, lines + 1});
    }
}

TEST_F(DamagedStore, BadHeader)
{
    expectDamagedAt("# other program 1\ni:/x=1\n# end of boxhost configuration\n", 1, "header");
}

TEST_F(DamagedStore, UnsupportedVersion)
{
    expectDamagedAt("# boxhost configuration 2\ni:/x=1\n# end of boxhost configuration\n", 1, "version");
}

TEST_F(DamagedStore, MalformedLine)
{
    expectDamagedAt("# boxhost configuration 1\ni:/x=1\nx:/y=2\n# end of boxhost configuration\n", 3);
    expectDamagedAt("# boxhost configuration 1\ni:/x=1\ns:/y\n# end of boxhost configuration\n", 3, "'='");
    expectDamagedAt("# boxhost configuration 1\ns:=2\n# end of boxhost configuration\n", 2, "empty key");
}

TEST_F(DamagedStore, BadEscape)
{
    expectDamagedAt("# boxhost configuration 1\ns:/x=a\\qb\n# end of boxhost configuration\n", 2, "escape");
    expectDamagedAt("# boxhost configuration 1\ns:/x=a\\x4\n# end of boxhost configuration\n", 2, "escape");
    expectDamagedAt("# boxhost configuration 1\ns:/x=a\\xzz\n# end of boxhost configuration\n", 2, "escape");
    expectDamagedAt("# boxhost configuration 1\ns:/x=trailing\\\n# end of boxhost configuration\n", 2, "escape");
    expectDamagedAt("# boxhost configuration 1\ns:/x=nul\\x00\n# end of boxhost configuration\n", 2, "escape");
    expectDamagedAt("# boxhost configuration 1\ns:/\\k=1\n# end of boxhost configuration\n", 2, "escape");
}

TEST_F(DamagedStore, NumberOutOfIntRange)
{
    expectDamagedAt("# boxhost configuration 1\ni:/x=2147483648\n# end of boxhost configuration\n", 2, "range");
    expectDamagedAt("# boxhost configuration 1\ni:/x=-2147483649\n# end of boxhost configuration\n", 2, "range");
}

TEST_F(DamagedStore, BadNumber)
{
    expectDamagedAt("# boxhost configuration 1\ni:/x=\n# end of boxhost configuration\n", 2, "number");
    expectDamagedAt("# boxhost configuration 1\ni:/x=12a\n# end of boxhost configuration\n", 2, "number");
    expectDamagedAt("# boxhost configuration 1\ni:/x= 12\n# end of boxhost configuration\n", 2, "number");
    expectDamagedAt("# boxhost configuration 1\ni:/x=+12\n# end of boxhost configuration\n", 2, "number");
}

TEST_F(DamagedStore, NulByte)
{
    expectDamagedAt("# boxhost configuration 1\ni:/x=1\ns:/y=a\0b\n# end of boxhost configuration\n"s, 3, "NUL");
}

TEST_F(DamagedStore, KeyTwice)
{
    expectDamagedAt("# boxhost configuration 1\ni:/x=1\ns:/x=a\n# end of boxhost configuration\n", 3, "twice");
}

TEST_F(DamagedStore, DataAfterTheEndMarker)
{
    expectDamagedAt(validStore + "i:/late=1\n", 6, "after the end marker");
}

TEST_F(DamagedStore, GarbageAndBinaryFile)
{
    std::mt19937 random(20240611);
    std::string garbage;
    for (int i = 0; i < 4096; ++i)
        garbage += static_cast<char>(random() & 0xff);
    expectDamagedAt(garbage, 1);
    expectDamagedAt("\x7f"
                    "ELF\x02\x01\x01\0\0\0"s,
                    1);
}

TEST_F(DamagedStore, EarlierDamagedCopyIsNotOverwritten)
{
    writeStore("newer damage\n");
    writeFile(asideFile(), "older damage\n");
    const std::uint64_t before = boxlog::lastSequence();
    eConfig::getInstance();
    const std::vector<std::string> warnings = warningsSince(before);
    ASSERT_EQ(warnings.size(), 1u);
    const fs::path second = asideFile().string() + ".1";
    EXPECT_NE(warnings[0].find("kept as " + second.string()), std::string::npos) << warnings[0];
    EXPECT_EQ(readFile(asideFile()), "older damage\n");
    EXPECT_EQ(readFile(second), "newer damage\n");
}

TEST_F(DamagedStore, StoreStartedEmptyIsWrittenAfresh)
{
    writeStore("garbage\n");
    eConfig *config = eConfig::getInstance();
    ASSERT_EQ(config->setKey("/x", 1), 0);
    EXPECT_EQ(readFile(storeFile()), "# boxhost configuration 1\ni:/x=1\n# end of boxhost configuration\n");
    EXPECT_EQ(readFile(asideFile()), "garbage\n");
}

TEST_F(DamagedStore, UnreadableStoreStartsEmptyWithOneWarning)
{
    // A directory in the store's place cannot be read, not even by root.
    fs::create_directories(storeFile());
    const std::uint64_t before = boxlog::lastSequence();
    eConfig *config = eConfig::getInstance();
    const std::vector<std::string> warnings = warningsSince(before);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find(storeFile().string()), std::string::npos) << warnings[0];
    EXPECT_NE(warnings[0].find("starting empty"), std::string::npos) << warnings[0];
    EXPECT_TRUE(isEmpty(*config));
    EXPECT_TRUE(fs::is_directory(storeFile()));
}

} // namespace
