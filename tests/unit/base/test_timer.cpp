#include "base/ebase.h"
#include "base/elog.h"

#include "support/run_loop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsBetween(Clock::time_point from, Clock::time_point to)
{
    return std::chrono::duration<double, std::milli>(to - from).count();
}

} // namespace

TEST(Timer, SingleShotFiresOnceAfterItsInterval)
{
    eMainloop loop;
    eTimer timer(&loop);
    int fired = 0;
    timer.timeout.connect([&] { ++fired; });
    EXPECT_FALSE(timer.isActive());

    const auto start = Clock::now();
    timer.start(40, true);
    EXPECT_TRUE(timer.isActive());
    // The loop waits for the timer without being told how long.
    EXPECT_EQ(loop.processOneEvent(-1), 1);
    EXPECT_GE(millisecondsBetween(start, Clock::now()), 40.0);
    EXPECT_EQ(fired, 1);
    EXPECT_FALSE(timer.isActive());
    EXPECT_EQ(loop.processOneEvent(60), 0);
    EXPECT_EQ(fired, 1);
}

TEST(Timer, NotDueBeforeItsInterval)
{
    eMainloop loop;
    eTimer timer(&loop);
    int fired = 0;
    timer.timeout.connect([&] { ++fired; });
    timer.start(200, true);
    EXPECT_EQ(loop.processOneEvent(20), 0);
    EXPECT_EQ(fired, 0);
    EXPECT_TRUE(timer.isActive());
}

TEST(Timer, StopPreventsTheTimeout)
{
    eMainloop loop;
    eTimer timer(&loop);
    int fired = 0;
    timer.timeout.connect([&] { ++fired; });
    timer.start(5, true);
    timer.stop();
    EXPECT_FALSE(timer.isActive());
    std::this_thread::sleep_for(10ms);
    EXPECT_EQ(loop.processOneEvent(0), 0);
    EXPECT_EQ(fired, 0);
}

TEST(Timer, StartingAnActiveTimerRestartsIt)
{
    eMainloop loop;
    eTimer timer(&loop);
    int fired = 0;
    timer.timeout.connect([&] { ++fired; });
    timer.start(20, true);
    std::this_thread::sleep_for(10ms);
    const auto restarted = Clock::now();
    timer.start(40, true);
    EXPECT_EQ(loop.processOneEvent(-1), 1);
    EXPECT_GE(millisecondsBetween(restarted, Clock::now()), 40.0);
    EXPECT_EQ(fired, 1);
}

TEST(Timer, DestroyingAnActiveTimerStopsIt)
{
    eMainloop loop;
    int fired = 0;
    {
        eTimer timer(&loop);
        timer.timeout.connect([&] { ++fired; });
        timer.start(0, true);
    }
    EXPECT_TRUE(loop.isIdle());
    EXPECT_EQ(loop.processOneEvent(0), 0);
    EXPECT_EQ(fired, 0);
}

TEST(Timer, PeriodicTimerStoppedInsideItsCallback)
{
    eMainloop loop;
    eTimer timer(&loop);
    int fired = 0;
    timer.timeout.connect([&] {
        ++fired;
        timer.stop();
    });
    timer.start(1);
    ASSERT_TRUE(runUntil(loop, [&] { return fired == 1; }));
    EXPECT_FALSE(timer.isActive());
    EXPECT_EQ(loop.processOneEvent(30), 0);
    EXPECT_EQ(fired, 1);
}

TEST(Timer, TimerDeletedInsideItsCallback)
{
    eMainloop loop;
    auto timer = std::make_unique<eTimer>(&loop);
    auto other = std::make_unique<eTimer>(&loop);
    int fired = 0;
    int otherFired = 0;
    timer->timeout.connect([&] {
        ++fired;
        timer.reset();
    });
    other->timeout.connect([&] { ++otherFired; });
    timer->start(1); // periodic: the loop has already planned its next run
    other->start(1, true);
    std::this_thread::sleep_for(5ms);
    EXPECT_EQ(loop.processOneEvent(0), 2);
    EXPECT_EQ(fired, 1);
    EXPECT_EQ(otherFired, 1);
    EXPECT_FALSE(timer);
    EXPECT_TRUE(loop.isIdle());
    EXPECT_EQ(loop.processOneEvent(20), 0);
}

TEST(Timer, TimerRestartedInsideItsCallback)
{
    eMainloop loop;
    eTimer timer(&loop);
    std::vector<Clock::time_point> firedAt;
    timer.timeout.connect([&] {
        firedAt.push_back(Clock::now());
        if (firedAt.size() < 3)
            timer.start(30, true); // single shot made anew from inside
    });
    timer.start(1, true);
    ASSERT_TRUE(runUntil(loop, [&] { return firedAt.size() == 3; }));
    EXPECT_FALSE(timer.isActive());
    EXPECT_GE(millisecondsBetween(firedAt[0], firedAt[1]), 30.0);
    EXPECT_GE(millisecondsBetween(firedAt[1], firedAt[2]), 30.0);
    EXPECT_EQ(loop.processOneEvent(50), 0);
    EXPECT_EQ(firedAt.size(), 3u);
}

TEST(Timer, PeriodicTimerRestartedAsSingleShotInsideItsCallback)
{
    eMainloop loop;
    eTimer timer(&loop);
    int fired = 0;
    timer.timeout.connect([&] {
        if (++fired == 1)
            timer.start(5, true);
    });
    timer.start(1);
    ASSERT_TRUE(runUntil(loop, [&] { return fired == 2; }));
    EXPECT_FALSE(timer.isActive());
    EXPECT_EQ(loop.processOneEvent(30), 0);
    EXPECT_EQ(fired, 2);
}

TEST(Timer, TimerStoppedByAnEarlierCallbackOfTheSameRoundIsNotCalled)
{
    eMainloop loop;
    eTimer first(&loop);
    eTimer second(&loop);
    int secondFired = 0;
    first.timeout.connect([&] { second.stop(); });
    second.timeout.connect([&] { ++secondFired; });
    first.start(1, true);
    second.start(1, true);
    std::this_thread::sleep_for(5ms);
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_EQ(secondFired, 0);
}

TEST(Timer, TimersDueTogetherFireInStartOrder)
{
    eMainloop loop;
    std::vector<std::string> order;
    eTimer a(&loop);
    eTimer b(&loop);
    eTimer c(&loop);
    a.timeout.connect([&] { order.push_back("a"); });
    b.timeout.connect([&] { order.push_back("b"); });
    c.timeout.connect([&] { order.push_back("c"); });

    c.start(2, true);
    a.start(2, true);
    b.start(2, true);
    std::this_thread::sleep_for(10ms);
    EXPECT_EQ(loop.processOneEvent(0), 3);
    EXPECT_EQ(order, (std::vector<std::string>{"c", "a", "b"}));

    // A restart moves a timer behind the ones started after it.
    order.clear();
    a.start(2, true);
    b.start(2, true);
    a.start(2, true);
    std::this_thread::sleep_for(10ms);
    EXPECT_EQ(loop.processOneEvent(0), 2);
    EXPECT_EQ(order, (std::vector<std::string>{"b", "a"}));
}

TEST(Timer, PeriodicTimerKeepsItsRateWithoutDrift)
{
    // Re-planning from the firing time would add each round's wake-up delay
    // (0.1 ms or more) to every later tick, so ticks would fall further and
    // further behind their planned times. Planned from the due time, each tick
    // is only as late as its own wake-up; a late one (the scheduler's slack)
    // does not move the ones after it, and when a busy machine holds the loop
    // for more than an interval, the ticks missed are skipped. How late the
    // ticks are on a busy machine is not judged here.
    constexpr int ticks = 100;
    constexpr double intervalMs = 10.0;
    eMainloop loop;
    eTimer timer(&loop);
    std::vector<Clock::time_point> firedAt;
    timer.timeout.connect([&] { firedAt.push_back(Clock::now()); });

    const auto start = Clock::now();
    timer.start(static_cast<long>(intervalMs));
    ASSERT_TRUE(runUntil(loop, [&] { return firedAt.size() == ticks; }));
    timer.stop();

    // Each tick's place on the grid: the last grid point it came after, and
    // at least the one after the tick before. (Counting whole intervals
    // between two ticks instead loses a slot when a late tick follows another
    // late one, and then finds every later tick an interval late.)
    std::vector<double> lateness;
    double slot = 0.0;
    for (std::size_t k = 0; k < firedAt.size(); ++k) {
        const double elapsed = millisecondsBetween(start, firedAt[k]);
        slot = std::max(slot + 1.0, std::floor(elapsed / intervalMs));
        lateness.push_back(elapsed - slot * intervalMs);
        ASSERT_GE(lateness.back(), -0.01) << "tick " << k << " came early";
    }
    // A busy machine makes some ticks late, but some of the last ticks still
    // come on time: drift would have put every one of them 10 ms or more behind.
    EXPECT_LT(*std::min_element(lateness.end() - ticks / 5, lateness.end()), 3.0);
}

TEST(Timer, PeriodicTimerSkipsMissedTicksInsteadOfBursting)
{
    eMainloop loop;
    eTimer timer(&loop);
    int fired = 0;
    timer.timeout.connect([&] { ++fired; });

    const auto start = Clock::now();
    timer.start(50);
    std::this_thread::sleep_until(start + 110ms); // the loop was busy for two ticks
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_EQ(loop.processOneEvent(0), 0); // no catching up on the missed tick
    EXPECT_EQ(fired, 1);

    // The next tick keeps the timer's grid: 150 ms after the start, not 50 ms
    // after the late one.
    std::this_thread::sleep_until(start + 155ms);
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_EQ(fired, 2);
}

TEST(Timer, ChangeIntervalOfAnActiveTimerKeepsItsStartTime)
{
    eMainloop loop;
    eTimer timer(&loop);
    int fired = 0;
    timer.timeout.connect([&] { ++fired; });
    const auto start = Clock::now();
    timer.start(1000, true);
    timer.changeInterval(30);
    EXPECT_TRUE(timer.isActive());
    EXPECT_EQ(loop.processOneEvent(2000), 1);
    const double waited = millisecondsBetween(start, Clock::now());
    EXPECT_GE(waited, 30.0);
    EXPECT_LT(waited, 900.0);
    EXPECT_EQ(fired, 1);
}

TEST(Timer, ChangeIntervalOfAPeriodicTimer)
{
    eMainloop loop;
    eTimer timer(&loop);
    std::vector<Clock::time_point> firedAt;
    timer.timeout.connect([&] {
        firedAt.push_back(Clock::now());
        if (firedAt.size() == 1)
            timer.changeInterval(40);
    });
    const Clock::time_point started = Clock::now();
    timer.start(5);
    ASSERT_TRUE(runUntil(loop, [&] { return firedAt.size() == 3; }));
    // The ticks are planned from the first one's due time (5 ms), 40 ms apart;
    // a tick can come late under load but never early. Fire-to-fire gaps are
    // not compared: a late tick shortens the gap after it, as it should.
    EXPECT_GE(millisecondsBetween(started, firedAt[1]), 44.0);
    EXPECT_GE(millisecondsBetween(started, firedAt[2]), 84.0);
}

TEST(Timer, ChangeIntervalOfAStoppedTimerDoesNotStartIt)
{
    eMainloop loop;
    eTimer timer(&loop);
    timer.changeInterval(0);
    EXPECT_FALSE(timer.isActive());
    EXPECT_EQ(loop.processOneEvent(0), 0);
}

TEST(Timer, ZeroIntervalPeriodicTimerFiresOncePerRound)
{
    eMainloop loop;
    eTimer timer(&loop);
    int fired = 0;
    timer.timeout.connect([&] { ++fired; });
    timer.start(0);
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_EQ(fired, 2);
}

TEST(Timer, ManyTimersFireInDueOrder)
{
    eMainloop loop;
    std::vector<std::unique_ptr<eTimer>> timers;
    std::vector<int> order;
    for (int i = 0; i < 300; ++i) {
        timers.push_back(std::make_unique<eTimer>(&loop));
        timers.back()->timeout.connect([&order, i] { order.push_back(i); });
    }
    // Planned in reverse: timer i is due (300 - i) / 10 ms after its start.
    // Each start takes a moment, so a timer's due time is known to lie
    // between the clock read before and after its start.
    std::vector<boxhost::MonotonicTime> dueAtEarliest(300), dueAtLatest(300);
    for (std::size_t i = 0; i < 300; ++i) {
        const std::chrono::milliseconds interval((300 - static_cast<int>(i)) / 10);
        dueAtEarliest[i] = boxhost::monotonicNow() + interval;
        timers[i]->start(static_cast<long>(interval.count()), true);
        dueAtLatest[i] = boxhost::monotonicNow() + interval;
    }
    ASSERT_TRUE(runUntil(loop, [&] { return order.size() == 300; }));
    for (std::size_t k = 1; k < order.size(); ++k) {
        const auto previous = static_cast<std::size_t>(order[k - 1]);
        const auto current = static_cast<std::size_t>(order[k]);
        // None fires before one that was certainly due earlier; so timers
        // with equal intervals fire in start order.
        ASSERT_LE(dueAtEarliest[previous], dueAtLatest[current]) << previous << " before " << current;
    }
}

TEST(Timer, TimerOutlivingItsLoopStaysInactive)
{
    auto loop = std::make_unique<eMainloop>();
    eTimer timer(loop.get());
    timer.start(10);
    loop.reset();
    EXPECT_FALSE(timer.isActive());
    const auto mark = boxlog::lastSequence();
    timer.start(10);
    EXPECT_FALSE(timer.isActive());
    EXPECT_EQ(boxlog::linesSince(mark).size(), 1u);
}
