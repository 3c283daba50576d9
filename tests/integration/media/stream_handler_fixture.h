#ifndef TARNWAVE_TESTS_INTEGRATION_MEDIA_STREAM_HANDLER_FIXTURE_H
#define TARNWAVE_TESTS_INTEGRATION_MEDIA_STREAM_HANDLER_FIXTURE_H

// The stream handler of libboxhost_media.so against the local test server,
// played into a silent sink that keeps real time.

#include "media_test_main.h"
#include "stream_test_server.h"

#include "base/ebase.h"
#include "base/messages.h"
#include "media/eservice.h"
#include "media/gstreamer/register_stream_handler.h"
#include "support/run_loop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>

class StreamHandlerTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { setenv("TARNWAVE_AUDIO_SINK", "fakesink sync=true", 1); }

    void SetUp() override
    {
        boxmedia::registerStreamHandler();
        handler = eServiceInterface::getInstance()->getServiceHandler(eServiceReference::idStream);
        ASSERT_NE(handler, nullptr);
        setMessageLanguage("");
    }

    void TearDown() override
    {
        if (handler != nullptr)
            handler->stop(0);
        setMessageLanguage("");
    }

    // Starts `url` the way the plug-in does: add reference, play, remove reference.
    int startPlaying(const std::string &url)
    {
        const eServiceReference ref(eServiceReference::idStream, 0, url);
        handler->addRef(ref);
        const int result = handler->play(ref, 0);
        handler->removeRef(ref);
        return result;
    }

    template <class Predicate>
    bool waitFor(Predicate done, std::chrono::milliseconds limit = std::chrono::seconds(5))
    {
        return runUntil(app, done, limit);
    }

    // Whether the handler runs in order and says `text`.
    bool runsSaying(const std::string &text) { return handler->getState() == 0 && handler->getInfo(0) == text; }
    bool isPlaying() { return runsSaying("playing..."); }
    bool isConnecting() { return runsSaying("connecting..."); }
    bool isBuffering() { return runsSaying("buffering..."); }

    eApplication app;
    StreamTestServer server;
    eServiceHandler *handler = nullptr;
};

#endif
