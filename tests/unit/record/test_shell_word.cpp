// One shell word: whatever a text holds, the shell hands it on byte for byte
// as one argument and runs nothing of it.

#include "record/shell_word.h"

#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace {

// What /bin/sh passes on as the arguments of printf for `commandLine`, one
// argument a line.
std::string argumentsAfterShell(const std::string &commandLine)
{
    const std::string command = "printf '%s\\n' " + commandLine;
    std::FILE *shell = popen(command.c_str(), "r");
    if (!shell)
        return "(no shell)";
    std::string output;
    char buffer[4096];
    std::size_t length;
    while ((length = std::fread(buffer, 1, sizeof buffer, shell)) > 0)
        output.append(buffer, length);
    const int status = pclose(shell);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? output : "(failed)";
}

TEST(ShellWord, PlainTextIsQuotedAsItIs)
{
    EXPECT_EQ(shellWord("http://radio.example/live"), "'http://radio.example/live'");
    EXPECT_EQ(shellWord(""), "''");
    EXPECT_EQ(shellWord("it's"), "'it'\\''s'");
}

TEST(ShellWord, TheShellHandsOnEveryByteOfOneWord)
{
    std::string everyByte;
    for (int c = 1; c < 256; ++c)
        everyByte += static_cast<char>(c);
    for (const std::string &text :
         {std::string("a b\tc"), std::string("';touch x;'"), std::string("\"$(touch x)\""), std::string("`touch x`"),
          std::string("$HOME ${IFS} * ? [a] ~ !"), std::string("a\\b\\'c"), std::string("line\nbreak"),
          std::string("''''"), std::string("--help"), everyByte}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(argumentsAfterShell(shellWord(text)), text + "\n");
    }
}

TEST(ShellWord, NothingInTheWordIsRun)
{
    TempDir dir;
    const std::string marker = (dir.path() / "ran").string();
    for (const std::string &attack :
         {"';touch " + marker + ";'", "\"$(touch " + marker + ")\"", "`touch " + marker + "`", "x;touch " + marker,
          "x|touch " + marker, "x&&touch " + marker, "x\ntouch " + marker}) {
        SCOPED_TRACE(attack);
        argumentsAfterShell(shellWord(attack));
        EXPECT_FALSE(std::filesystem::exists(marker));
    }
}

} // namespace
