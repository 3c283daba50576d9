// Shell assignment files: reading the keys, and saving changes with every other
// byte of the file kept.

#include "base/econfigfile.h"
#include "support/key_file_value.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/stat.h>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

const std::string recorderScript = "#!/bin/sh\n"
                                   "# recorder for the radio plug-in\n"
                                   "STREAMDIR=/hdd/movie\n"
                                   "DAEMON='/usr/bin/streamripper'\n"
                                   "OPTIONS=\"-a -A  --quiet\"   # passed on as they are\n"
                                   "\n"
                                   "case \"$1\" in\n"
                                   "  start)\n"
                                   "    $DAEMON \"$2\" -d \"$STREAMDIR\" $OPTIONS 2>/tmp/.streamdebug &\n"
                                   "    ;;\n"
                                   "  stop)\n"
                                   "    killall streamripper\n"
                                   "    ;;\n"
                                   "esac\n";

class KeyFile : public ::testing::Test
{
protected:
    fs::path write(const std::string &contents, const std::string &name = "script.sh")
    {
        fs::path file = dir.file(name);
        writeFile(file, contents);
        return file;
    }

    // What /bin/sh makes of `key` after sourcing `file`.
    static std::string shellValue(const fs::path &file, const std::string &key)
    {
        const std::string command = "sh -c '. \"$0\"; printf %s \"$" + key + "\"' '" + file.string() + "'";
        std::FILE *pipe = ::popen(command.c_str(), "r");
        if (pipe == nullptr)
            return "<popen failed>";
        std::string output;
        char buffer[256];
        std::size_t got = 0;
        while ((got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
            output.append(buffer, got);
        ::pclose(pipe);
        return output;
    }

    TempDir dir;
};

TEST_F(KeyFile, ReadsPlainValue)
{
    eConfigFile file(write("STREAMDIR=/hdd/movie\nEMPTY=\nTAIL=/x # a comment\nSEMI=/y; echo hi\n"));
    ASSERT_TRUE(file.isOpen());
    EXPECT_TRUE(static_cast<bool>(file));
    EXPECT_EQ(keyOf(file, "STREAMDIR"), "/hdd/movie");
    EXPECT_EQ(keyOf(file, "EMPTY"), "");
    EXPECT_EQ(keyOf(file, "TAIL"), "/x");
    EXPECT_EQ(keyOf(file, "SEMI"), "/y");
}

TEST_F(KeyFile, ReadsSingleQuotedValue)
{
    eConfigFile file(write("DAEMON='/usr/bin/stream ripper'\nRAW='a \\\" $HOME `x` \\\\'  # comment\nNONE=''\n"));
    ASSERT_TRUE(file.isOpen());
    EXPECT_EQ(keyOf(file, "DAEMON"), "/usr/bin/stream ripper");
    EXPECT_EQ(keyOf(file, "RAW"), "a \\\" $HOME `x` \\\\");
    EXPECT_EQ(keyOf(file, "NONE"), "");
}

TEST_F(KeyFile, ReadsDoubleQuotedValueWithEscapes)
{
    eConfigFile file(write("TITLE=\"say \\\"hi\\\" for \\$5 \\`now\\` \\\\ \\n # not a comment\" # a comment\n"
                           "HASH=\"#1\"\n"));
    ASSERT_TRUE(file.isOpen());
    EXPECT_EQ(keyOf(file, "TITLE"), "say \"hi\" for $5 `now` \\ \\n # not a comment");
    EXPECT_EQ(keyOf(file, "HASH"), "#1");
}

TEST_F(KeyFile, ExportPrefixAndIndentation)
{
    eConfigFile file(write("export STREAMDIR=/hdd\n\t  export\tDAEMON=\"/bin/d\"\n   INDENTED=yes\nexport=odd\n"));
    EXPECT_EQ(keyOf(file, "STREAMDIR"), "/hdd");
    EXPECT_EQ(keyOf(file, "DAEMON"), "/bin/d");
    EXPECT_EQ(keyOf(file, "INDENTED"), "yes");
    EXPECT_EQ(keyOf(file, "export"), "odd");
}

TEST_F(KeyFile, FirstAssignmentWins)
{
    const fs::path path = write("KEY=first\nKEY=second\n");
    eConfigFile file(path);
    EXPECT_EQ(keyOf(file, "KEY"), "first");
    ASSERT_EQ(file.setKey("KEY", "changed"), 0);
    ASSERT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(readFile(path), "KEY=changed\nKEY=second\n");
}

TEST_F(KeyFile, ShellCodeAndOtherLinesHoldNoKeys)
{
    eConfigFile file(write("if [ -x \"$DAEMON\" ]; then\n"
                           "case $1 in\n"
                           "LANG=C ls\n"
                           "GLUED=\"a\"b\n"
                           "SUB=$(date)\n"
                           "TICK=`date`\n"
                           "# COMMENTED=1\n"
                           "1BAD=x\n"
                           "BAD-NAME=x\n"
                           "SPACED = x\n"
                           "fi\n"));
    ASSERT_TRUE(file.isOpen());
    for (const char *key : {"LANG", "GLUED", "SUB", "TICK", "COMMENTED", "1BAD", "BAD", "BAD-NAME", "SPACED", "if"})
        EXPECT_EQ(keyOf(file, key), "<absent>") << key;
}

TEST_F(KeyFile, GetKeyHandsBackAHeapCopy)
{
    eConfigFile file(write("STREAMDIR=/hdd/movie\n"));
    char *value = nullptr;
    ASSERT_EQ(file.getKey("STREAMDIR", value), 0);
    ASSERT_NE(value, nullptr);
    EXPECT_STREQ(value, "/hdd/movie");
    value[0] = 'X';
    std::free(value);
    EXPECT_EQ(keyOf(file, "STREAMDIR"), "/hdd/movie");

    char sentinel[] = "kept";
    char *absent = sentinel;
    EXPECT_NE(file.getKey("NOPE", absent), 0);
    EXPECT_EQ(absent, sentinel);
    EXPECT_NE(file.getKey(nullptr, absent), 0);
}

TEST_F(KeyFile, AbsentKeyLeavesTheValueUntouched)
{
    eConfigFile file(write("A=1\n"));
    eString value = "untouched";
    EXPECT_NE(file.getKey("B", value), 0);
    EXPECT_EQ(value, "untouched");
}

TEST_F(KeyFile, SaveKeepsCommentsOrderOtherLinesAndTheRunBit)
{
    const fs::path path = write(recorderScript);
    fs::permissions(path, static_cast<fs::perms>(0755));
    eConfigFile file(path);
    ASSERT_EQ(file.setKey("STREAMDIR", "/media/usb/records"), 0);
    ASSERT_EQ(file.saveConfig(), 0);

    std::string expected = recorderScript;
    expected.replace(expected.find("/hdd/movie"), std::string("/hdd/movie").size(), "/media/usb/records");
    EXPECT_EQ(readFile(path), expected);
    EXPECT_EQ(permissionsOf(path), 0755u);
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 1);
}

TEST_F(KeyFile, ChangingOneOfThreeKeysRewritesOnlyThatLine)
{
    const std::string original = "# three keys\n"
                                 "ONE=1   # first\n"
                                 "  export TWO='two'\n"
                                 "THREE=\"three\"; echo done\n";
    const fs::path path = write(original);
    eConfigFile file(path);
    ASSERT_EQ(file.setKey("TWO", "zwei"), 0);
    ASSERT_EQ(file.setKey("THREE", "three"), 0); // unchanged value
    ASSERT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(readFile(path), "# three keys\n"
                              "ONE=1   # first\n"
                              "  export TWO='zwei'\n"
                              "THREE=\"three\"; echo done\n");

    ASSERT_EQ(file.setKey("ONE", "uno"), 0);
    ASSERT_EQ(file.setKey("THREE", "tres"), 0);
    ASSERT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(readFile(path), "# three keys\n"
                              "ONE=uno   # first\n"
                              "  export TWO='zwei'\n"
                              "THREE=\"tres\"; echo done\n");
}

TEST_F(KeyFile, AppendsANewKeyAtTheEnd)
{
    const fs::path path = write("# settings\nA=1\n");
    eConfigFile file(path);
    ASSERT_EQ(file.setKey("STREAMDIR", "/hdd/movie"), 0);
    ASSERT_EQ(file.setKey("LABEL", "two words"), 0);
    ASSERT_EQ(file.setKey("NOTHING", ""), 0);
    EXPECT_EQ(keyOf(file, "STREAMDIR"), "/hdd/movie");
    ASSERT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(readFile(path), "# settings\nA=1\nSTREAMDIR=/hdd/movie\nLABEL=\"two words\"\nNOTHING=\"\"\n");

    eConfigFile again(path);
    EXPECT_EQ(keyOf(again, "STREAMDIR"), "/hdd/movie");
    EXPECT_EQ(keyOf(again, "LABEL"), "two words");
    EXPECT_EQ(keyOf(again, "NOTHING"), "");
}

TEST_F(KeyFile, AppendsAfterALastLineWithoutNewline)
{
    const fs::path path = write("A=1");
    eConfigFile file(path);
    ASSERT_EQ(file.setKey("B", "2"), 0);
    ASSERT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(readFile(path), "A=1\nB=2\n");
}

TEST_F(KeyFile, LastLineWithoutNewlineStaysSo)
{
    const fs::path path = write("# no newline at the end\nA=1");
    eConfigFile file(path);
    ASSERT_EQ(file.setKey("A", "2"), 0);
    ASSERT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(readFile(path), "# no newline at the end\nA=2");
}

TEST_F(KeyFile, EmptyFileGetsItsFirstKey)
{
    const fs::path path = write("");
    eConfigFile file(path);
    ASSERT_TRUE(file.isOpen());
    ASSERT_EQ(file.setKey("A", "1"), 0);
    ASSERT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(readFile(path), "A=1\n");
}

TEST_F(KeyFile, QuotingStyleIsKeptWhenTheValueFits)
{
    const fs::path path = write("PLAIN=a\nSINGLE='b'\nDOUBLE=\"c\"\n");
    eConfigFile file(path);
    ASSERT_EQ(file.setKey("PLAIN", "/x/y-z_1.2:3"), 0);
    ASSERT_EQ(file.setKey("SINGLE", "with $dollar and \"quotes\""), 0);
    ASSERT_EQ(file.setKey("DOUBLE", "plain"), 0);
    ASSERT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(readFile(path), "PLAIN=/x/y-z_1.2:3\nSINGLE='with $dollar and \"quotes\"'\nDOUBLE=\"plain\"\n");

    ASSERT_EQ(file.setKey("PLAIN", "a b"), 0);
    ASSERT_EQ(file.setKey("SINGLE", "it's"), 0);
    ASSERT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(readFile(path), "PLAIN=\"a b\"\nSINGLE=\"it's\"\nDOUBLE=\"plain\"\n");
}

TEST_F(KeyFile, ValueWithBlankQuoteAndDollarRoundTrips)
{
    const std::string tricky = "My \"Radio\" costs $5 `now` \\ it's ~/x; #1 & more";
    const fs::path path = write("#!/bin/sh\nSTREAMDIR=/hdd\nDAEMON='/bin/d'\n");
    {
        eConfigFile file(path);
        ASSERT_EQ(file.setKey("STREAMDIR", tricky), 0);
        ASSERT_EQ(file.setKey("DAEMON", tricky), 0);
        ASSERT_EQ(file.setKey("FRESH", tricky), 0);
        EXPECT_EQ(keyOf(file, "STREAMDIR"), tricky);
        ASSERT_EQ(file.saveConfig(), 0);
        // The values read back the same from the object after saving, too.
        EXPECT_EQ(keyOf(file, "DAEMON"), tricky);
    }
    eConfigFile reloaded(path);
    EXPECT_EQ(keyOf(reloaded, "STREAMDIR"), tricky);
    EXPECT_EQ(keyOf(reloaded, "DAEMON"), tricky);
    EXPECT_EQ(keyOf(reloaded, "FRESH"), tricky);
    // And the shell that runs the script sees the same text.
    EXPECT_EQ(shellValue(path, "STREAMDIR"), tricky);
    EXPECT_EQ(shellValue(path, "DAEMON"), tricky);
    EXPECT_EQ(shellValue(path, "FRESH"), tricky);
}

TEST_F(KeyFile, ShellSeesTheSameValuesAsTheReader)
{
    const fs::path path = write(recorderScript.substr(0, recorderScript.find("\ncase")) + "\n");
    eConfigFile file(path);
    for (const char *key : {"STREAMDIR", "DAEMON", "OPTIONS"})
        EXPECT_EQ(shellValue(path, key), keyOf(file, key)) << key;
}

TEST_F(KeyFile, SaveWithoutChangesLeavesTheFileAlone)
{
    const fs::path path = write(recorderScript);
    const ino_t before = inodeOf(path);
    ASSERT_NE(before, 0u);
    eConfigFile file(path);
    ASSERT_EQ(file.setKey("STREAMDIR", "/hdd/movie"), 0); // the value it has
    EXPECT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(inodeOf(path), before);
    EXPECT_EQ(readFile(path), recorderScript);
}

TEST_F(KeyFile, BadKeysAndValuesAreRefused)
{
    const fs::path path = write("A=1\n");
    eConfigFile file(path);
    EXPECT_NE(file.setKey(nullptr, "x"), 0);
    EXPECT_NE(file.setKey("", "x"), 0);
    EXPECT_NE(file.setKey("1A", "x"), 0);
    EXPECT_NE(file.setKey("A B", "x"), 0);
    EXPECT_NE(file.setKey("A=", "x"), 0);
    EXPECT_NE(file.setKey("A", static_cast<const char *>(nullptr)), 0);
    EXPECT_NE(file.setKey("A", "two\nlines"), 0);
    EXPECT_NE(file.setKey("A", "nul\0byte"s), 0);
    EXPECT_EQ(keyOf(file, "A"), "1");
    EXPECT_EQ(file.saveConfig(), 0);
    EXPECT_EQ(readFile(path), "A=1\n");
}

TEST_F(KeyFile, SymbolicLinkToTheScriptIsKept)
{
    const fs::path real = write("A=1\n", "real.sh");
    const fs::path link = dir.path() / "link.sh";
    fs::create_symlink(real, link);
    eConfigFile file(link.string());
    ASSERT_EQ(file.setKey("A", "2"), 0);
    ASSERT_EQ(file.saveConfig(), 0);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(readFile(real), "A=2\n");
}

} // namespace
