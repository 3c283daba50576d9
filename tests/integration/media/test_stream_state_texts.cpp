#include "stream_handler_fixture.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// The state texts in the order they appeared, each once.
class StateTexts
{
public:
    explicit StateTexts(eServiceHandler &handler) : m_handler(handler) { }

    // Notes the current text; returns whether it is `text`.
    bool now(const std::string &text)
    {
        const std::string current = m_handler.getInfo(0);
        if (m_seen.empty() || m_seen.back() != current)
            m_seen.push_back(current);
        return current == text;
    }
    const std::vector<std::string> &seen() const { return m_seen; }

private:
    eServiceHandler &m_handler;
    std::vector<std::string> m_seen;
};

} // namespace

class StreamStateTextTest : public StreamHandlerTest, public ::testing::WithParamInterface<const char *>
{
protected:
    void SetUp() override
    {
        StreamHandlerTest::SetUp();
        initMessages();
        setMessageLanguage(GetParam());
    }
};

// A station that sends a moment of audio and then waits: the stream prerolls
// and plays that moment; once no sound has reached the sink for a while it
// says it buffers, for as long as the station waits; once the station sends
// on, it plays.
TEST_P(StreamStateTextTest, ConnectingThenBufferingWhileTheStationWaitsThenPlaying)
{
    const std::string connecting = translated("connecting...");
    const std::string buffering = translated("buffering...");
    const std::string playing = translated("playing...");
    server.planStation({.stallAfterAudio = 2000});
    ASSERT_EQ(startPlaying(server.url("/station")), 0);
    StateTexts texts(*handler);
    EXPECT_TRUE(texts.now(connecting));
    ASSERT_TRUE(waitFor([&] { return texts.now(playing); })) << "the moment of audio plays";
    EXPECT_TRUE(waitFor([&] { return texts.now(buffering) && handler->getState() == 0; }));
    // It waits for the station, and says so, for as long as the station waits.
    runUntil(
        app, [&] { return !texts.now(buffering); }, std::chrono::milliseconds(1000));
    EXPECT_EQ(handler->getInfo(0), buffering);
    server.resumeStation();
    EXPECT_TRUE(waitFor([&] { return texts.now(playing) && handler->getState() == 0; }));
    EXPECT_EQ(texts.seen().front(), connecting);
    EXPECT_EQ(texts.seen().back(), playing);
    EXPECT_EQ(server.stationRequests(), 1) << "waiting is no reason to reconnect";
}

// A station that stops sending after the stream played: the buffer runs dry,
// the stream waits for it to fill again and then plays on.
TEST_P(StreamStateTextTest, BufferingAgainWhenTheStationFallsSilentAfterPlaying)
{
    server.planStation({.stallAfterAudio = 24000});
    ASSERT_EQ(startPlaying(server.url("/station")), 0);
    ASSERT_TRUE(waitFor([&] { return runsSaying(translated("playing...")); }));
    EXPECT_TRUE(waitFor([&] { return runsSaying(translated("buffering...")); })) << handler->getInfo(0);
    server.resumeStation();
    EXPECT_TRUE(waitFor([&] { return runsSaying(translated("playing...")); })) << handler->getInfo(0);
    EXPECT_EQ(server.stationRequests(), 1);
}

TEST_P(StreamStateTextTest, NoTextWhileNothingRuns)
{
    EXPECT_EQ(handler->getInfo(0), "");
    ASSERT_EQ(startPlaying(server.url("/radio")), 0);
    ASSERT_TRUE(waitFor([&] { return runsSaying(translated("playing...")); }));
    handler->stop(0);
    EXPECT_EQ(handler->getInfo(0), "");
    ASSERT_EQ(startPlaying(server.url("/page")), 0);
    ASSERT_TRUE(waitFor([&] { return handler->getState() == eServiceHandler::stateFailed; }));
    EXPECT_EQ(handler->getInfo(0), "");
}

INSTANTIATE_TEST_SUITE_P(Languages, StreamStateTextTest, ::testing::Values("", "de"),
                         [](const ::testing::TestParamInfo<const char *> &language) {
                             return std::string(language.param).empty() ? std::string("English") : language.param;
                         });

// The German catalogue has the state texts the plug-in compares with.
TEST(StreamStateTextCatalogue, GermanHasEveryStateText)
{
    eApplication app;
    setMessageLanguage("de");
    EXPECT_STREQ(translated("connecting..."), "verbindet...");
    EXPECT_STREQ(translated("buffering..."), "puffert...");
    EXPECT_STREQ(translated("playing..."), "spielt...");
    setMessageLanguage("");
}
