#include "base/ebase.h"
#include "base/elog.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

namespace {

// A non-blocking pipe, closed on destruction.
class Pipe
{
public:
    Pipe()
    {
        int fds[2];
        if (pipe2(fds, O_NONBLOCK | O_CLOEXEC) != 0)
            throw std::runtime_error("pipe2");
        m_read = fds[0];
        m_write = fds[1];
    }
    ~Pipe()
    {
        closeRead();
        closeWrite();
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;

    int readEnd() const { return m_read; }
    int writeEnd() const { return m_write; }
    void put(const std::string &bytes) const
    {
        ASSERT_EQ(write(m_write, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    std::string take() const
    {
        char buffer[256];
        const ssize_t got = read(m_read, buffer, sizeof buffer);
        return got > 0 ? std::string(buffer, static_cast<std::size_t>(got)) : std::string();
    }
    void closeRead()
    {
        if (m_read >= 0)
            close(m_read);
        m_read = -1;
    }
    void closeWrite()
    {
        if (m_write >= 0)
            close(m_write);
        m_write = -1;
    }

private:
    int m_read = -1;
    int m_write = -1;
};

} // namespace

TEST(SocketNotifier, ConstantsArePollEvents)
{
    EXPECT_EQ(eSocketNotifier::Read, POLLIN);
    EXPECT_EQ(eSocketNotifier::Write, POLLOUT);
    EXPECT_EQ(eSocketNotifier::Priority, POLLPRI);
    EXPECT_EQ(eSocketNotifier::Error, POLLERR);
    EXPECT_EQ(eSocketNotifier::Hungup, POLLHUP);
}

TEST(SocketNotifier, ReportsReadableFdWithTheEventsThatOccurred)
{
    eMainloop loop;
    Pipe pipe;
    eSocketNotifier watch(&loop, pipe.readEnd(), eSocketNotifier::Read);
    EXPECT_TRUE(watch.isRunning());
    EXPECT_EQ(watch.getFD(), pipe.readEnd());
    EXPECT_EQ(watch.getRequested(), eSocketNotifier::Read);
    std::vector<int> events;
    watch.activated.connect([&](int what) {
        events.push_back(what);
        pipe.take();
    });

    EXPECT_EQ(loop.processOneEvent(0), 0);
    pipe.put("x");
    EXPECT_EQ(loop.processOneEvent(1000), 1);
    EXPECT_EQ(events, (std::vector<int>{eSocketNotifier::Read}));
    EXPECT_EQ(loop.processOneEvent(0), 0);
}

TEST(SocketNotifier, ReportsWritableFd)
{
    eMainloop loop;
    Pipe pipe;
    eSocketNotifier watch(&loop, pipe.writeEnd(), eSocketNotifier::Write);
    int events = 0;
    watch.activated.connect([&](int what) { events = what; });
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_EQ(events, eSocketNotifier::Write);
}

TEST(SocketNotifier, HangupIsReportedEvenWhenOnlyReadWasRequested)
{
    eMainloop loop;
    Pipe pipe;
    eSocketNotifier watch(&loop, pipe.readEnd(), eSocketNotifier::Read);
    int events = 0;
    watch.activated.connect([&](int what) { events = what; });
    pipe.closeWrite();
    EXPECT_EQ(loop.processOneEvent(1000), 1);
    EXPECT_NE(events & eSocketNotifier::Hungup, 0);
}

TEST(SocketNotifier, NotStartedUntilAskedAndStoppedWhenAsked)
{
    eMainloop loop;
    Pipe pipe;
    eSocketNotifier watch(&loop, pipe.readEnd(), eSocketNotifier::Read, false);
    int calls = 0;
    watch.activated.connect([&](int) { ++calls; });
    pipe.put("x");
    EXPECT_FALSE(watch.isRunning());
    EXPECT_EQ(loop.processOneEvent(0), 0);

    watch.start();
    EXPECT_TRUE(watch.isRunning());
    EXPECT_EQ(loop.processOneEvent(0), 1);

    watch.stop();
    EXPECT_FALSE(watch.isRunning());
    EXPECT_EQ(loop.processOneEvent(0), 0);
    EXPECT_EQ(calls, 1);
}

TEST(SocketNotifier, SetRequestedTakesEffectInTheNextRound)
{
    eMainloop loop;
    Pipe pipe;
    eSocketNotifier watch(&loop, pipe.writeEnd(), 0);
    int events = 0;
    watch.activated.connect([&](int what) { events = what; });
    EXPECT_EQ(loop.processOneEvent(0), 0);
    watch.setRequested(eSocketNotifier::Write);
    EXPECT_EQ(watch.getRequested(), eSocketNotifier::Write);
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_EQ(events, eSocketNotifier::Write);
}

TEST(SocketNotifier, DestroyingARunningWatchStopsIt)
{
    eMainloop loop;
    Pipe pipe;
    int calls = 0;
    {
        eSocketNotifier watch(&loop, pipe.readEnd(), eSocketNotifier::Read);
        watch.activated.connect([&](int) { ++calls; });
    }
    pipe.put("x");
    EXPECT_EQ(loop.processOneEvent(0), 0);
    EXPECT_EQ(calls, 0);
}

TEST(SocketNotifier, WatchStoppedAndDeletedInsideItsOwnCallback)
{
    eMainloop loop;
    Pipe pipe;
    auto watch = std::make_unique<eSocketNotifier>(&loop, pipe.readEnd(), eSocketNotifier::Read);
    int calls = 0;
    watch->activated.connect([&](int) {
        ++calls;
        watch->stop();
        watch.reset();
    });
    pipe.put("x");
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_FALSE(watch);
    EXPECT_EQ(loop.processOneEvent(0), 0); // the data is still there, nobody watches
    EXPECT_EQ(calls, 1);
}

TEST(SocketNotifier, WatchRemovedByAnotherReadyWatchOfTheSameRoundIsNotCalled)
{
    eMainloop loop;
    Pipe first;
    Pipe second;
    auto remover = std::make_unique<eSocketNotifier>(&loop, first.readEnd(), eSocketNotifier::Read);
    auto victim = std::make_unique<eSocketNotifier>(&loop, second.readEnd(), eSocketNotifier::Read);
    int victimCalls = 0;
    victim->activated.connect([&](int) { ++victimCalls; });
    remover->activated.connect([&](int) {
        first.take();
        victim.reset();
    });
    first.put("x");
    second.put("y");
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_EQ(victimCalls, 0);
    EXPECT_FALSE(victim);
}

TEST(SocketNotifier, WatchStoppedByAnotherReadyWatchOfTheSameRoundIsNotCalled)
{
    eMainloop loop;
    Pipe first;
    Pipe second;
    eSocketNotifier stopper(&loop, first.readEnd(), eSocketNotifier::Read);
    eSocketNotifier stopped(&loop, second.readEnd(), eSocketNotifier::Read);
    int stoppedCalls = 0;
    stopped.activated.connect([&](int) { ++stoppedCalls; });
    stopper.activated.connect([&](int) {
        first.take();
        stopped.stop();
    });
    first.put("x");
    second.put("y");
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_EQ(stoppedCalls, 0);
}

TEST(SocketNotifier, WatchRestartedByAnotherWaitsForTheNextRound)
{
    eMainloop loop;
    Pipe first;
    Pipe second;
    eSocketNotifier restarter(&loop, first.readEnd(), eSocketNotifier::Read);
    eSocketNotifier restarted(&loop, second.readEnd(), eSocketNotifier::Read);
    int restartedCalls = 0;
    restarted.activated.connect([&](int) {
        ++restartedCalls;
        second.take();
    });
    restarter.activated.connect([&](int) {
        first.take();
        restarted.stop();
        restarted.start();
    });
    first.put("x");
    second.put("y");
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_EQ(restartedCalls, 0);
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_EQ(restartedCalls, 1);
}

TEST(SocketNotifier, WatchServedByANestedLevelIsNotCalledAgainWithStaleEvents)
{
    eMainloop loop;
    Pipe trigger;
    Pipe data;
    eSocketNotifier opener(&loop, trigger.readEnd(), eSocketNotifier::Read);
    eSocketNotifier reader(&loop, data.readEnd(), eSocketNotifier::Read);
    std::vector<std::string> steps;
    reader.activated.connect([&](int) {
        steps.push_back("read " + data.take());
        if (loop.loopLevel() > 0)
            loop.exit_loop(1);
    });
    opener.activated.connect([&](int) {
        trigger.take();
        // A modal run from inside the round: it serves the reader, which the
        // outer round had also seen ready.
        steps.push_back("modal " + std::to_string(loop.enter_loop()));
    });
    trigger.put("t");
    data.put("d");
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_EQ(steps, (std::vector<std::string>{"read d", "modal 1"}));
}

TEST(SocketNotifier, TwoWatchesOnTheSameFd)
{
    eMainloop loop;
    Pipe pipe;
    eSocketNotifier firstWatch(&loop, pipe.writeEnd(), eSocketNotifier::Write);
    eSocketNotifier secondWatch(&loop, pipe.writeEnd(), eSocketNotifier::Write);
    std::vector<int> calls;
    firstWatch.activated.connect([&](int) { calls.push_back(1); });
    secondWatch.activated.connect([&](int) { calls.push_back(2); });
    EXPECT_EQ(loop.processOneEvent(0), 2);
    EXPECT_EQ(calls, (std::vector<int>{1, 2}));
}

TEST(SocketNotifier, WatchOnAClosedFdIsStoppedAndLogged)
{
    eMainloop loop;
    Pipe pipe;
    const int fd = pipe.readEnd();
    eSocketNotifier watch(&loop, fd, eSocketNotifier::Read);
    int calls = 0;
    watch.activated.connect([&](int) { ++calls; });
    pipe.closeRead();
    const auto mark = boxlog::lastSequence();
    EXPECT_EQ(loop.processOneEvent(0), 0);
    EXPECT_FALSE(watch.isRunning());
    EXPECT_EQ(calls, 0);
    const auto lines = boxlog::linesSince(mark);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, boxlog::Level::warning);
    EXPECT_NE(lines[0].text.find("fd " + std::to_string(fd)), std::string::npos);
}

TEST(SocketNotifier, WatchOutlivingItsLoopStaysStopped)
{
    Pipe pipe;
    auto loop = std::make_unique<eMainloop>();
    eSocketNotifier watch(loop.get(), pipe.readEnd(), eSocketNotifier::Read);
    loop.reset();
    EXPECT_FALSE(watch.isRunning());
    watch.start();
    EXPECT_FALSE(watch.isRunning());
}

TEST(SocketNotifier, ManyWatchesAllReported)
{
    eMainloop loop;
    std::vector<std::unique_ptr<Pipe>> pipes;
    std::vector<std::unique_ptr<eSocketNotifier>> watches;
    int calls = 0;
    for (int i = 0; i < 200; ++i) {
        pipes.push_back(std::make_unique<Pipe>());
        watches.push_back(std::make_unique<eSocketNotifier>(&loop, pipes.back()->readEnd(), eSocketNotifier::Read));
        watches.back()->activated.connect([&calls](int) { ++calls; });
    }
    for (std::size_t i = 0; i < pipes.size(); i += 2)
        pipes[i]->put("x");
    EXPECT_EQ(loop.processOneEvent(0), 100);
    EXPECT_EQ(calls, 100);
}
