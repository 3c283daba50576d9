#include "system/putils.h"

#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <regex>

TEST(PUtils, UserAgentNamesTheBoxAndItsVersion)
{
    const eString agent = pUtils::pUserAgent();
    EXPECT_TRUE(std::regex_match(agent, std::regex(R"(Tarnwave-Box/[0-9]+\.[0-9]+\.[0-9]+ \(boxhost; Linux\))")))
        << agent;
    EXPECT_EQ(pUtils::pUserAgent(), agent);
}

TEST(PUtils, FindFileLooksUnderTheBoxRoot)
{
    TempBoxRoot root;
    writeFile(root.file("var/script/streamripper_script.sh"), "STREAMDIR=/media/hdd/streams\n");
    std::filesystem::create_directories(root.path() / "media/hdd/streams");

    EXPECT_TRUE(pUtils::pFindFile("/var/script/streamripper_script.sh"));
    EXPECT_TRUE(pUtils::pFindFile("/media/hdd/streams"));
    EXPECT_TRUE(pUtils::pFindFile("/media/hdd/streams/"));
    EXPECT_FALSE(pUtils::pFindFile("/media/hdd/streams/missing"));
    EXPECT_FALSE(pUtils::pFindFile("/usr/bin/streamripper-not-installed"));
    EXPECT_FALSE(pUtils::pFindFile(""));
}

// A long recording passes 2 GiB; it is still a file that is there.
TEST(PUtils, FindFileFindsAFileOfOverTwoGibibytes)
{
    TempBoxRoot root;
    const std::filesystem::path recording = root.file("media/hdd/streams/long.mp3");
    writeFile(recording, "");
    std::filesystem::resize_file(recording, 3ULL << 30); // sparse: takes no space
    EXPECT_TRUE(pUtils::pFindFile("/media/hdd/streams/long.mp3"));
}

TEST(PUtils, FindFileDoesNotLookOutsideTheBoxRoot)
{
    TempDir outside;
    writeFile(outside.file("only-here"), "x");
    TempBoxRoot root;
    EXPECT_FALSE(pUtils::pFindFile(outside.str() + "/only-here")); // means <root><outside>/only-here
}
