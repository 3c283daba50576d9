#include "stream_handler_fixture.h"

#include "system/putils.h"

#include <gtest/gtest.h>

TEST(StreamHandlerRegistration, IsRegisteredForUrlStreamsWhenTheLibraryIsLoaded)
{
    eServiceHandler *loaded = eServiceInterface::getInstance()->getServiceHandler(4096);
    ASSERT_NE(loaded, nullptr);
    boxmedia::registerStreamHandler();
    boxmedia::registerStreamHandler();
    EXPECT_EQ(eServiceInterface::getInstance()->getServiceHandler(4096), loaded);
}

TEST_F(StreamHandlerTest, ConnectingStreamRunsInOrderAndSaysConnecting)
{
    EXPECT_EQ(handler->getState(), eServiceHandler::stateStopped);
    EXPECT_EQ(handler->getInfo(0), "");
    ASSERT_EQ(startPlaying(server.url("/radio")), 0);
    EXPECT_EQ(handler->getState(), 0);
    EXPECT_EQ(handler->getInfo(0), "connecting...");
    EXPECT_EQ(handler->getInfo(1), "");
}

TEST_F(StreamHandlerTest, PlaysIcyStreamAndReportsPlayingAndTheTitle)
{
    ASSERT_EQ(startPlaying(server.url("/radio")), 0);
    EXPECT_TRUE(waitFor([&] { return isPlaying() && handler->getInfo(1) == server.title(); }))
        << "state " << handler->getState() << ", text " << handler->getInfo(0) << ", title " << handler->getInfo(1);
    EXPECT_EQ(handler->getInfo(1), "Test Artist - Test Song");
    EXPECT_GE(server.metadataRequests(), 1);
    EXPECT_EQ(server.lastUserAgent(), pUtils::pUserAgent());
}

TEST_F(StreamHandlerTest, KeepsPlayingAfterTheReferenceIsReleased)
{
    ASSERT_EQ(startPlaying(server.url("/radio")), 0);
    ASSERT_TRUE(waitFor([&] { return isPlaying(); }));
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(1500);
    while (std::chrono::steady_clock::now() < until) {
        app.processOneEvent(50);
        ASSERT_EQ(handler->getState(), 0);
        ASSERT_EQ(handler->getInfo(0), "playing...");
    }
}

TEST_F(StreamHandlerTest, NewTitleReplacesTheOldOne)
{
    ASSERT_EQ(startPlaying(server.url("/radio")), 0);
    ASSERT_TRUE(waitFor([&] { return handler->getInfo(1) == "Test Artist - Test Song"; }));
    server.setTitle("Another Band - Ümlaut Song");
    EXPECT_TRUE(waitFor([&] { return handler->getInfo(1) == "Another Band - Ümlaut Song"; })) << handler->getInfo(1);
    EXPECT_EQ(handler->getState(), 0);
}

TEST_F(StreamHandlerTest, AddressWithCarriageReturnFromPlaylistPlays)
{
    ASSERT_EQ(startPlaying(server.url("/radio") + "\r"), 0);
    EXPECT_TRUE(waitFor([&] { return isPlaying(); }));
}

TEST_F(StreamHandlerTest, AddressWithABlankInItsQueryPlays)
{
    ASSERT_EQ(startPlaying(server.url("/radio?station=jazz radio&x=1")), 0);
    EXPECT_TRUE(waitFor([&] { return isPlaying(); })) << "state " << handler->getState();
    EXPECT_EQ(server.lastQueryStation(), "jazz radio");
}

TEST_F(StreamHandlerTest, StopEndsPlaybackAndTheStatusTurnsNonZero)
{
    ASSERT_EQ(startPlaying(server.url("/radio")), 0);
    ASSERT_TRUE(waitFor([&] { return isPlaying() && !handler->getInfo(1).empty(); }));
    EXPECT_EQ(handler->stop(0), 0);
    EXPECT_EQ(handler->getState(), eServiceHandler::stateStopped);
    EXPECT_EQ(handler->getInfo(0), "");
    EXPECT_EQ(handler->getInfo(1), "");
    EXPECT_EQ(handler->stop(0), 0); // stopping again does nothing
    EXPECT_EQ(handler->getState(), eServiceHandler::stateStopped);
}

TEST_F(StreamHandlerTest, PlayingAnotherStreamReplacesTheFirst)
{
    StreamTestServer other("Other Station - Other Song");
    ASSERT_EQ(startPlaying(server.url("/radio")), 0);
    ASSERT_TRUE(waitFor([&] { return handler->getInfo(1) == server.title(); }));
    ASSERT_EQ(startPlaying(other.url("/radio")), 0);
    EXPECT_EQ(handler->getInfo(1), ""); // the new stream has announced nothing yet
    EXPECT_TRUE(waitFor([&] { return isPlaying() && handler->getInfo(1) == "Other Station - Other Song"; }));
}

// A body of known length is a file, not a live stream: its end is final.
TEST_F(StreamHandlerTest, FileThatEndsReportsEndedAndIsNotReopened)
{
    ASSERT_EQ(startPlaying(server.url("/short")), 0);
    EXPECT_TRUE(waitFor([&] { return handler->getState() != 0; }));
    EXPECT_EQ(handler->getState(), eServiceHandler::stateEnded);
    EXPECT_EQ(handler->getInfo(0), "");
    runUntil(
        app, [] { return false; }, std::chrono::milliseconds(1500));
    EXPECT_EQ(handler->getState(), eServiceHandler::stateEnded);
    EXPECT_EQ(server.shortRequests(), 1);
}

TEST_F(StreamHandlerTest, ReferencesAreCountedByTheHandler)
{
    const eServiceReference ref(eServiceReference::idStream, 0, server.url("/radio"));
    handler->addRef(ref);
    handler->addRef(ref);
    EXPECT_EQ(handler->referenceCount(ref), 2);
    handler->removeRef(ref);
    handler->removeRef(ref);
    handler->removeRef(ref);
    EXPECT_EQ(handler->referenceCount(ref), 0);
}
