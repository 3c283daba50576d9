#include "media/eservice.h"

#include <gtest/gtest.h>

namespace {

// A handler that only records what it was asked.
class RecordingHandler : public eServiceHandler
{
public:
    int play(const eServiceReference &ref, int) override
    {
        played = ref;
        return 0;
    }
    int getState() override { return stateStopped; }
    eString getInfo(int) override { return {}; }
    int stop(int) override { return 0; }

    eServiceReference played;
};

} // namespace

TEST(ServiceReference, StreamReferenceHasTypeFlagsPathAndZeroDataWords)
{
    const eServiceReference ref(4096, 0, "http://127.0.0.1:8150/stream");
    EXPECT_EQ(ref.type, 4096);
    EXPECT_EQ(eServiceReference::idStream, 4096);
    EXPECT_EQ(ref.flags, 0);
    EXPECT_EQ(ref.path, "http://127.0.0.1:8150/stream");
    for (int word : ref.data)
        EXPECT_EQ(word, 0);
    EXPECT_EQ(sizeof ref.data / sizeof ref.data[0], 8u);
}

TEST(ServiceReference, DefaultReferenceIsEmpty)
{
    const eServiceReference ref;
    EXPECT_EQ(ref.type, 0);
    EXPECT_TRUE(ref.path.empty());
    EXPECT_EQ(ref, eServiceReference(0, 0, ""));
}

TEST(ServiceInterface, IsOneInstance)
{
    EXPECT_NE(eServiceInterface::getInstance(), nullptr);
    EXPECT_EQ(eServiceInterface::getInstance(), eServiceInterface::getInstance());
}

TEST(ServiceInterface, UnknownTypesHaveNoHandler)
{
    eServiceInterface *services = eServiceInterface::getInstance();
    EXPECT_EQ(services->getServiceHandler(4096), nullptr); // the media library is not loaded here
    EXPECT_EQ(services->getServiceHandler(0), nullptr);
    EXPECT_EQ(services->getServiceHandler(-1), nullptr);
    EXPECT_EQ(services->getServiceHandler(12345), nullptr);
}

TEST(ServiceInterface, RegisteredHandlerIsFoundForItsTypeOnly)
{
    RecordingHandler handler;
    eServiceInterface *services = eServiceInterface::getInstance();
    services->registerHandler(77, &handler);
    EXPECT_EQ(services->getServiceHandler(77), &handler);
    EXPECT_EQ(services->getServiceHandler(78), nullptr);
    services->registerHandler(77, &handler); // again: harmless
    EXPECT_EQ(services->getServiceHandler(77), &handler);

    const eServiceReference ref(77, 0, "x");
    EXPECT_EQ(services->getServiceHandler(77)->play(ref, 0), 0);
    EXPECT_EQ(handler.played, ref);

    services->unregisterHandler(77, &handler);
    EXPECT_EQ(services->getServiceHandler(77), nullptr);
}

TEST(ServiceInterface, NewerHandlerReplacesAndOnlyItsOwnerUnregisters)
{
    RecordingHandler first;
    RecordingHandler second;
    eServiceInterface *services = eServiceInterface::getInstance();
    services->registerHandler(90, &first);
    services->registerHandler(90, &second);
    EXPECT_EQ(services->getServiceHandler(90), &second);
    services->unregisterHandler(90, &first); // no longer registered: nothing happens
    EXPECT_EQ(services->getServiceHandler(90), &second);
    services->unregisterHandler(90, &second);
    EXPECT_EQ(services->getServiceHandler(90), nullptr);
}

TEST(ServiceInterface, NullHandlerIsNotRegistered)
{
    eServiceInterface *services = eServiceInterface::getInstance();
    services->registerHandler(91, nullptr);
    EXPECT_EQ(services->getServiceHandler(91), nullptr);
}

TEST(ServiceHandler, CountsReferencesPerPath)
{
    RecordingHandler handler;
    const eServiceReference a(4096, 0, "http://a/");
    const eServiceReference b(4096, 0, "http://b/");
    handler.addRef(a);
    handler.addRef(a);
    handler.addRef(b);
    EXPECT_EQ(handler.referenceCount(a), 2);
    EXPECT_EQ(handler.referenceCount(b), 1);
    handler.removeRef(a);
    EXPECT_EQ(handler.referenceCount(a), 1);
    handler.removeRef(b);
    handler.removeRef(b); // more releases than references: stays at zero
    EXPECT_EQ(handler.referenceCount(b), 0);
    handler.addRef(b);
    EXPECT_EQ(handler.referenceCount(b), 1);
}
