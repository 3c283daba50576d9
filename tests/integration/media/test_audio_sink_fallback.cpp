#include "media_test_main.h"
#include "stream_test_server.h"

#include "base/ebase.h"
#include "media/eservice.h"
#include "media/gstreamer/register_stream_handler.h"
#include "support/log_lines.h"
#include "support/run_loop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

long warningsNaming(std::uint64_t since, const std::string &text)
{
    const auto warnings = warningsSince(since);
    return std::count_if(warnings.begin(), warnings.end(),
                         [&](const std::string &line) { return line.find(text) != std::string::npos; });
}

// Plays the test radio twice with the audio sink configured now; both times
// the stream must reach the playing state.
void playTwice()
{
    eApplication app;
    StreamTestServer server;
    boxmedia::registerStreamHandler();
    eServiceHandler *handler = eServiceInterface::getInstance()->getServiceHandler(eServiceReference::idStream);
    ASSERT_NE(handler, nullptr);
    for (int round = 0; round < 2; ++round) {
        ASSERT_EQ(handler->play(eServiceReference(eServiceReference::idStream, 0, server.url("/radio")), 0), 0);
        EXPECT_TRUE(runUntil(app, [&] { return handler->getState() == 0 && handler->getInfo(0) == "playing..."; }))
            << "round " << round << ": state " << handler->getState();
        handler->stop(0);
    }
}

} // namespace

// The stream plays silently, with one warning for the whole process, however
// often a stream starts.
TEST(AudioSinkFallback, SinkThatCannotBeMadeFallsBackToSilenceWithOneWarning)
{
    setenv("TARNWAVE_AUDIO_SINK", "nosuchaudiosink", 1);
    const auto before = boxlog::lastSequence();
    playTwice();
    EXPECT_EQ(warningsNaming(before, "nosuchaudiosink"), 1);
    EXPECT_EQ(warningsSince(before).size(), 1u);
}

TEST(AudioSinkFallback, SinkThatCannotOpenItsDeviceFallsBackToSilenceWithOneWarning)
{
    setenv("TARNWAVE_AUDIO_SINK", "pulsesink server=unix:/nonexistent/tarnwave-test/native", 1);
    const auto before = boxlog::lastSequence();
    playTwice();
    EXPECT_EQ(warningsNaming(before, "cannot open its audio device"), 1);
    EXPECT_EQ(warningsSince(before).size(), 1u);
}

TEST(AudioSinkFallback, AutomaticSinkWithoutAnyDeviceFallsBackToSilenceWithOneWarning)
{
    if (std::filesystem::exists("/dev/snd") || std::filesystem::exists("/dev/dsp"))
        GTEST_SKIP() << "this machine has a sound device";
    setenv("PULSE_SERVER", "unix:/nonexistent/tarnwave-test/native", 1);
    unsetenv("TARNWAVE_AUDIO_SINK"); // the default, autoaudiosink
    const auto before = boxlog::lastSequence();
    playTwice();
    EXPECT_EQ(warningsNaming(before, "no audio device was found"), 1);
    EXPECT_EQ(warningsSince(before).size(), 1u);
}

TEST(AudioSinkFallback, WorkingSinkGivesNoWarning)
{
    setenv("TARNWAVE_AUDIO_SINK", "audioconvert ! fakesink sync=true", 1);
    const auto before = boxlog::lastSequence();
    playTwice();
    EXPECT_TRUE(warningsSince(before).empty());
}
