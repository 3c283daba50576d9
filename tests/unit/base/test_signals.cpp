#include "base/signals.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

int freeCalls = 0;
int twice(int value)
{
    ++freeCalls;
    return 2 * value;
}

// A plug-in style class: SigC::Object with SigC::ObjectBase as a virtual base.
class Receiver : public SigC::Object
{
public:
    explicit Receiver(std::vector<std::string> *calls) : m_calls(calls) { }

    void ping() { m_calls->push_back("ping"); }
    int count(int value)
    {
        m_calls->push_back("count " + std::to_string(value));
        return value + 1;
    }
    std::string join(const std::string &a, int b) { return a + std::to_string(b); }
    int sum3(int a, int b, int c) { return a + b + c; }
    int constant() const { return 42; }

private:
    std::vector<std::string> *m_calls;
};

// Two branches that both derive from SigC::Object meet in one object; they
// share the one virtual SigC::ObjectBase.
class Widget : public SigC::Object
{
public:
    virtual ~Widget() = default;
    void widgetSlot(int value) { widgetValues.push_back(value); }
    std::vector<int> widgetValues;
};

class Listener : public virtual SigC::ObjectBase
{
public:
    virtual ~Listener() = default;
    virtual void heard(int value) = 0;
};

class Dialog : public Widget, public Listener
{
public:
    void heard(int value) override { heardValues.push_back(value); }
    std::vector<int> heardValues;
};

// Connects with the macro from inside a member function, as plug-ins do.
class Window : public SigC::Object
{
public:
    explicit Window(SigC::Signal1<void, int> &source) { CONNECT(source, Window::onValue); }
    void onValue(int value) { values.push_back(value); }
    std::vector<int> values;
};

} // namespace

TEST(Signals, ZeroArgumentsVoid)
{
    std::vector<std::string> calls;
    Receiver receiver(&calls);
    SigC::Signal0<void> signal;
    signal.connect(SigC::slot(receiver, &Receiver::ping));
    signal.emit();
    signal();
    EXPECT_EQ(calls, (std::vector<std::string>{"ping", "ping"}));
}

TEST(Signals, ZeroArgumentsWithReturnValue)
{
    std::vector<std::string> calls;
    const Receiver receiver(&calls);
    SigC::Signal0<int> signal;
    signal.connect(SigC::slot(receiver, &Receiver::constant));
    EXPECT_EQ(signal.emit(), 42);
}

TEST(Signals, OneArgumentWithReturnValue)
{
    std::vector<std::string> calls;
    Receiver receiver(&calls);
    SigC::Signal1<int, int> signal;
    signal.connect(SigC::slot(&receiver, &Receiver::count));
    EXPECT_EQ(signal(6), 7);
    EXPECT_EQ(signal.emit(9), 10);
    EXPECT_EQ(calls, (std::vector<std::string>{"count 6", "count 9"}));
}

TEST(Signals, TwoAndThreeArguments)
{
    Receiver receiver(nullptr);
    SigC::Signal2<std::string, const std::string &, int> two;
    SigC::Signal3<int, int, int, int> three;
    two.connect(SigC::slot(receiver, &Receiver::join));
    three.connect(SigC::slot(receiver, &Receiver::sum3));
    EXPECT_EQ(two("track ", 3), "track 3");
    EXPECT_EQ(three.emit(1, 20, 300), 321);
}

TEST(Signals, FreeFunctionSlot)
{
    freeCalls = 0;
    SigC::Signal1<int, int> signal;
    signal.connect(SigC::slot(&twice));
    EXPECT_EQ(signal(21), 42);
    EXPECT_EQ(freeCalls, 1);
}

TEST(Signals, BindFixesTheLastArgument)
{
    Receiver receiver(nullptr);
    SigC::Signal2<int, int, int> signal;
    signal.connect(SigC::bind(SigC::slot(receiver, &Receiver::sum3), 100));
    EXPECT_EQ(signal(1, 2), 103);

    freeCalls = 0;
    SigC::Signal0<int> noArgs;
    noArgs.connect(SigC::bind(SigC::slot(&twice), 5));
    EXPECT_EQ(noArgs(), 10);
    EXPECT_EQ(freeCalls, 1);
}

TEST(Signals, EverySlotIsCalledInConnectionOrderAndTheLastValueReturned)
{
    std::vector<int> order;
    SigC::Signal1<int, int> signal;
    signal.connect([&](int v) {
        order.push_back(1);
        return v;
    });
    signal.connect([&](int v) {
        order.push_back(2);
        return v * 10;
    });
    EXPECT_EQ(signal(4), 40);
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(Signals, SlotOnDerivedClassWithVirtualBase)
{
    SigC::Signal1<void, int> signal;
    Dialog dialog;
    signal.connect(SigC::slot(dialog, &Dialog::heard));
    signal.connect(SigC::slot(dialog, &Widget::widgetSlot));
    // Through a pointer to the Listener branch: the virtual call reaches Dialog.
    Listener *listener = &dialog;
    signal.connect(SigC::slot(listener, &Listener::heard));
    signal(5);
    EXPECT_EQ(dialog.heardValues, (std::vector<int>{5, 5}));
    EXPECT_EQ(dialog.widgetValues, (std::vector<int>{5}));
}

TEST(Signals, ConnectMacroInsideMemberFunction)
{
    SigC::Signal1<void, int> source;
    Window window(source);
    source(3);
    source(4);
    EXPECT_EQ(window.values, (std::vector<int>{3, 4}));
}

TEST(Signals, DestroyedObjectIsDisconnected)
{
    SigC::Signal1<void, int> signal;
    int stillAlive = 0;
    signal.connect([&](int) { ++stillAlive; });
    {
        auto dialog = std::make_unique<Dialog>();
        signal.connect(SigC::slot(*dialog, &Dialog::heard));
        signal.connect(SigC::slot(*dialog, &Widget::widgetSlot));
        Listener *listener = dialog.get();
        signal.connect(SigC::slot(listener, &Listener::heard));
        EXPECT_EQ(signal.size(), 4u);
        signal(1);
        EXPECT_EQ(dialog->heardValues.size(), 2u);
    }
    EXPECT_EQ(signal.size(), 1u);
    signal(2); // under the sanitizers this would report a use after free
    EXPECT_EQ(stillAlive, 2);
}

TEST(Signals, DestroyedObjectDisconnectsBoundSlotToo)
{
    SigC::Signal0<int> signal;
    {
        Receiver receiver(nullptr);
        signal.connect(SigC::bind(SigC::slot(receiver, &Receiver::sum3), 1, 2, 3));
        EXPECT_EQ(signal(), 6);
    }
    EXPECT_EQ(signal(), 0); // no slot left: the default value
}

TEST(Signals, DestroyedMacroConnectionIsDisconnected)
{
    SigC::Signal1<void, int> source;
    auto window = std::make_unique<Window>(source);
    source(1);
    window.reset();
    EXPECT_TRUE(source.empty());
    source(2);
}

TEST(Signals, DisconnectInsideEmission)
{
    SigC::Signal0<void> signal;
    std::vector<std::string> calls;
    SigC::Connection second;
    SigC::Connection first = signal.connect([&] {
        calls.push_back("first");
        first.disconnect(); // itself
        second.disconnect(); // one that has not run yet in this emission
    });
    second = signal.connect([&] { calls.push_back("second"); });
    signal.connect([&] { calls.push_back("third"); });

    signal();
    EXPECT_EQ(calls, (std::vector<std::string>{"first", "third"}));
    signal();
    EXPECT_EQ(calls, (std::vector<std::string>{"first", "third", "third"}));
}

TEST(Signals, DestroyingTheObjectOfALaterSlotInsideEmission)
{
    SigC::Signal0<void> signal;
    std::vector<std::string> calls;
    auto receiver = std::make_unique<Receiver>(&calls);
    signal.connect([&] { receiver.reset(); });
    signal.connect(SigC::slot(*receiver, &Receiver::ping));
    signal();
    EXPECT_TRUE(calls.empty());
}

namespace {

int selfNotified = 0;

// Owns the signal it emits and listens to it itself; a slot deletes the owner
// while it emits.
class Download : public SigC::Object
{
public:
    Download() { CONNECT(finished, Download::noteFinished); }
    SigC::Signal1<void, int> finished;
    void complete() { finished(200); }
    void noteFinished(int) { ++selfNotified; }
};

} // namespace

TEST(Signals, DestroyingTheEmittersOwnerInsideASlotIsSafe)
{
    selfNotified = 0;
    auto download = std::make_unique<Download>();
    std::vector<int> seen;
    download->finished.connect([&](int status) {
        seen.push_back(status);
        download.reset(); // deletes the signal that is emitting right now
    });
    // Connected after the deleting slot and bound to the deleted object.
    download->finished.connect(SigC::slot(*download, &Download::noteFinished));
    download->complete();
    EXPECT_EQ(seen, (std::vector<int>{200}));
    EXPECT_FALSE(download);
    EXPECT_EQ(selfNotified, 1); // only the slot connected before the delete ran
}
