#include "base/elog.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

std::vector<boxlog::Line> linesAfter(std::uint64_t mark)
{
    return boxlog::linesSince(mark);
}

} // namespace

TEST(Log, DebugAndWarningLinesGoIntoTheRingInOrder)
{
    const auto mark = boxlog::lastSequence();
    eDebug("[TWV] url=%s", "http://127.0.0.1:8150/sbin/newxml.phtml");
    eWarning("skin has undefined element: %s\n", "key_red");
    const auto lines = linesAfter(mark);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].text, "[TWV] url=http://127.0.0.1:8150/sbin/newxml.phtml");
    EXPECT_EQ(lines[0].level, boxlog::Level::debug);
    EXPECT_EQ(lines[1].text, "skin has undefined element: key_red");
    EXPECT_EQ(lines[1].level, boxlog::Level::warning);
    EXPECT_EQ(lines[1].sequence, lines[0].sequence + 1);
}

TEST(Log, StderrShowsOnlyLinesAtOrAboveTheLevel)
{
    const auto previous = boxlog::stderrLevel();
    boxlog::setStderrLevel(boxlog::Level::warning);
    testing::internal::CaptureStderr();
    eDebug("hidden detail %d", 1);
    eWarning("visible warning %d", 2);
    eError("visible error %d", 3);
    const std::string printed = testing::internal::GetCapturedStderr();
    boxlog::setStderrLevel(previous);
    EXPECT_EQ(printed, "warning: visible warning 2\nerror: visible error 3\n");
}

TEST(Log, QuietPrintsNothingButStillRecords)
{
    const auto previous = boxlog::stderrLevel();
    boxlog::setStderrLevel(boxlog::Level::quiet);
    const auto mark = boxlog::lastSequence();
    testing::internal::CaptureStderr();
    eError("recorded only");
    const std::string printed = testing::internal::GetCapturedStderr();
    boxlog::setStderrLevel(previous);
    EXPECT_TRUE(printed.empty());
    ASSERT_EQ(linesAfter(mark).size(), 1u);
    EXPECT_EQ(linesAfter(mark)[0].text, "recorded only");
}

TEST(Log, LevelNamesAreParsed)
{
    EXPECT_EQ(boxlog::parseLevel("debug", boxlog::Level::quiet), boxlog::Level::debug);
    EXPECT_EQ(boxlog::parseLevel("warning", boxlog::Level::quiet), boxlog::Level::warning);
    EXPECT_EQ(boxlog::parseLevel("error", boxlog::Level::quiet), boxlog::Level::error);
    EXPECT_EQ(boxlog::parseLevel("quiet", boxlog::Level::debug), boxlog::Level::quiet);
    EXPECT_EQ(boxlog::parseLevel("loud", boxlog::Level::error), boxlog::Level::error);
    EXPECT_EQ(boxlog::parseLevel(nullptr, boxlog::Level::warning), boxlog::Level::warning);
}

TEST(Log, TheRingKeepsOnlyTheNewestLines)
{
    const auto previous = boxlog::stderrLevel();
    boxlog::setStderrLevel(boxlog::Level::quiet);
    for (std::size_t i = 0; i < boxlog::ringCapacity + 10; ++i)
        eDebug("line %zu", i);
    boxlog::setStderrLevel(previous);
    const auto lines = boxlog::linesSince(0);
    ASSERT_EQ(lines.size(), boxlog::ringCapacity);
    EXPECT_EQ(lines.back().text, "line " + std::to_string(boxlog::ringCapacity + 9));
    EXPECT_EQ(lines.front().text, "line 10");
}

TEST(Log, VeryLongLinesAreKeptWhole)
{
    const std::string longText(20000, 'a');
    const auto mark = boxlog::lastSequence();
    eDebug("%s", longText.c_str());
    const auto lines = linesAfter(mark);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].text, longText);
}

TEST(Log, LinesFromManyThreadsAreAllRecorded)
{
    const auto previous = boxlog::stderrLevel();
    boxlog::setStderrLevel(boxlog::Level::quiet);
    const auto mark = boxlog::lastSequence();
    std::vector<std::thread> writers;
    for (int t = 0; t < 4; ++t)
        writers.emplace_back([t] {
            for (int i = 0; i < 250; ++i)
                eDebug("thread %d line %d", t, i);
        });
    for (auto &writer : writers)
        writer.join();
    boxlog::setStderrLevel(previous);
    EXPECT_EQ(boxlog::lastSequence() - mark, 1000u);
}
