#include "base/ebase.h"
#include "base/elog.h"

#include "support/run_loop.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

long long millisecondsSince(Clock::time_point start)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

} // namespace

TEST(Mainloop, ApplicationIsEAppWhileItLives)
{
    EXPECT_EQ(eApp, nullptr);
    {
        eApplication app;
        EXPECT_EQ(eApp, &app);
        // As plug-ins write it.
        auto timer = std::make_unique<eTimer>(eApp);
        int fired = 0;
        timer->timeout.connect([&] { ++fired; });
        timer->start(0, true);
        EXPECT_EQ(eApp->processOneEvent(100), 1);
        EXPECT_EQ(fired, 1);
    }
    EXPECT_EQ(eApp, nullptr);
}

TEST(Mainloop, ExecRunsUntilQuitAndReturnsItsValue)
{
    eMainloop loop;
    EXPECT_EQ(loop.loopLevel(), 0);
    int levelInside = -1;
    loop.post([&] {
        levelInside = loop.loopLevel();
        loop.quit(7);
    });
    EXPECT_EQ(loop.exec(), 7);
    EXPECT_EQ(levelInside, 1);
    EXPECT_EQ(loop.loopLevel(), 0);
}

TEST(Mainloop, ExecCanRunAgainAfterQuit)
{
    eMainloop loop;
    loop.post([&] { loop.quit(1); });
    EXPECT_EQ(loop.exec(), 1);
    loop.post([&] { loop.quit(2); });
    EXPECT_EQ(loop.exec(), 2);
}

TEST(Mainloop, QuitWithoutRunningLevelIsForgotten)
{
    eMainloop loop;
    loop.quit(9);
    int ran = 0;
    loop.post([&] {
        ++ran;
        loop.exit_loop(4);
    });
    EXPECT_EQ(loop.enter_loop(), 4);
    EXPECT_EQ(ran, 1);
}

TEST(Mainloop, ExitLoopDoesNotLeaveExec)
{
    eMainloop loop;
    const auto mark = boxlog::lastSequence();
    std::vector<std::string> steps;
    loop.post([&] {
        steps.push_back("exit_loop");
        loop.exit_loop(3); // no enter_loop level runs: ignored, with a warning
        loop.post([&] {
            steps.push_back("still running");
            loop.quit(8);
        });
    });
    EXPECT_EQ(loop.exec(), 8);
    EXPECT_EQ(steps, (std::vector<std::string>{"exit_loop", "still running"}));
    const auto lines = boxlog::linesSince(mark);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, boxlog::Level::warning);
}

TEST(Mainloop, NestedLevelsEachReturnTheirOwnExitValue)
{
    eMainloop loop;
    eTimer outerTimer(&loop);
    eTimer innerTimer(&loop);
    eTimer innermostTimer(&loop);
    std::vector<std::string> steps;

    outerTimer.timeout.connect([&] {
        steps.push_back("outer timer at level " + std::to_string(loop.loopLevel()));
        innerTimer.start(1, true);
        const int result = loop.enter_loop();
        steps.push_back("level 2 returned " + std::to_string(result) + ", now at level "
                        + std::to_string(loop.loopLevel()));
        loop.exit_loop(10);
    });
    innerTimer.timeout.connect([&] {
        steps.push_back("inner timer at level " + std::to_string(loop.loopLevel()));
        innermostTimer.start(1, true);
        const int result = loop.enter_loop();
        steps.push_back("level 3 returned " + std::to_string(result) + ", now at level "
                        + std::to_string(loop.loopLevel()));
        loop.exit_loop(20);
    });
    innermostTimer.timeout.connect([&] {
        steps.push_back("innermost timer at level " + std::to_string(loop.loopLevel()));
        loop.exit_loop(30);
    });

    outerTimer.start(1, true);
    EXPECT_EQ(loop.enter_loop(), 10);
    EXPECT_EQ(loop.loopLevel(), 0);
    EXPECT_EQ(steps, (std::vector<std::string>{
                         "outer timer at level 1",
                         "inner timer at level 2",
                         "innermost timer at level 3",
                         "level 3 returned 30, now at level 2",
                         "level 2 returned 20, now at level 1",
                     }));
}

TEST(Mainloop, NestedLevelKeepsDispatchingTimersWatchesAndPostedWork)
{
    eMainloop loop;
    eTimer timer(&loop);
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    eSocketNotifier watch(&loop, fds[0], eSocketNotifier::Read, false);
    std::vector<std::string> steps;

    timer.timeout.connect([&] {
        steps.push_back("timer");
        EXPECT_EQ(write(fds[1], "x", 1), 1);
    });
    watch.activated.connect([&](int) {
        char byte;
        EXPECT_EQ(read(fds[0], &byte, 1), 1);
        steps.push_back("watch");
        loop.post([&] {
            steps.push_back("posted");
            loop.exit_loop(5);
        });
    });
    loop.post([&] {
        steps.push_back("dialog opens");
        watch.start();
        timer.start(2, true);
        const int result = loop.enter_loop();
        steps.push_back("dialog closed with " + std::to_string(result));
        loop.exit_loop(6);
    });
    EXPECT_EQ(loop.enter_loop(), 6);
    EXPECT_EQ(steps, (std::vector<std::string>{"dialog opens", "timer", "watch", "posted", "dialog closed with 5"}));
    close(fds[0]);
    close(fds[1]);
}

TEST(Mainloop, QuitLeavesEveryLevel)
{
    eMainloop loop;
    eTimer timer(&loop);
    std::vector<std::string> steps;
    timer.timeout.connect([&] { loop.quit(42); });
    loop.post([&] {
        loop.post([&] {
            timer.start(1, true);
            steps.push_back("modal " + std::to_string(loop.enter_loop()));
        });
        steps.push_back("dialog " + std::to_string(loop.enter_loop()));
    });
    EXPECT_EQ(loop.exec(), 42);
    EXPECT_EQ(steps, (std::vector<std::string>{"modal 42", "dialog 42"}));
    EXPECT_EQ(loop.loopLevel(), 0);
}

TEST(Mainloop, ProcessOneEventWaitsAtMostTheGivenTime)
{
    eMainloop loop;
    const auto start = Clock::now();
    EXPECT_EQ(loop.processOneEvent(30), 0);
    const auto waited = millisecondsSince(start);
    // The wait is the behaviour: not shorter than asked, and not long after.
    EXPECT_GE(waited, 29);
    EXPECT_LT(waited, 1000);
}

TEST(Mainloop, ProcessOneEventWithZeroDoesNotWaitForATimer)
{
    // How long such a look takes is measured by bench_base (loop/look_without_waiting).
    eMainloop loop;
    eTimer later(&loop);
    bool fired = false;
    later.timeout.connect([&] { fired = true; });
    later.start(5000, true);
    const auto start = Clock::now();
    EXPECT_EQ(loop.processOneEvent(0), 0);
    EXPECT_FALSE(fired);
    EXPECT_LT(millisecondsSince(start), 5000) << "it waited for the timer";
}

TEST(Mainloop, PostFromAnotherThreadWakesAWaitingLoop)
{
    eMainloop loop;
    std::atomic<bool> ran{false};
    std::thread poster([&] {
        std::this_thread::sleep_for(30ms);
        loop.post([&] { ran = true; });
    });
    const auto start = Clock::now();
    EXPECT_EQ(loop.processOneEvent(-1), 1);
    EXPECT_TRUE(ran);
    EXPECT_LT(millisecondsSince(start), 2000);
    poster.join();
}

TEST(Mainloop, PostedWorkRunsInOrderAndWorkPostedByWorkRunsNextRound)
{
    eMainloop loop;
    std::vector<int> order;
    loop.post([&] {
        order.push_back(1);
        loop.post([&] { order.push_back(3); });
    });
    loop.post([&] { order.push_back(2); });
    EXPECT_EQ(loop.processOneEvent(0), 2);
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(Mainloop, PostedOrderHoldsAcrossANestedLevel)
{
    eMainloop loop;
    std::vector<std::string> order;
    loop.post([&] {
        order.push_back("A");
        order.push_back("A returned " + std::to_string(loop.enter_loop()));
    });
    loop.post([&] { order.push_back("B"); });
    loop.post([&] {
        order.push_back("C");
        loop.exit_loop(3);
        loop.post([&] { order.push_back("F"); });
    });
    loop.post([&] { order.push_back("D"); });
    loop.post([&] { order.push_back("E"); });
    ASSERT_TRUE(runUntil(loop, [&] { return order.size() == 7; }));
    // The nested level finishes its round (D, E) before it returns; F, posted
    // during it, runs after it.
    EXPECT_EQ(order, (std::vector<std::string>{"A", "B", "C", "D", "E", "A returned 3", "F"}));
}

TEST(Mainloop, PostFromFourThreadsRunsEverythingInPerThreadOrderOnTheLoopThread)
{
    constexpr int threads = 4;
    constexpr int itemsPerThread = 1000;
    eMainloop loop;
    const auto loopThread = std::this_thread::get_id();
    std::vector<std::vector<int>> seen(threads);
    int total = 0;
    int onOtherThread = 0;

    std::vector<std::thread> posters;
    for (int t = 0; t < threads; ++t) {
        posters.emplace_back([&, t] {
            for (int i = 0; i < itemsPerThread; ++i) {
                loop.post([&, t, i] {
                    if (std::this_thread::get_id() != loopThread)
                        ++onOtherThread;
                    seen[static_cast<std::size_t>(t)].push_back(i);
                    ++total;
                });
            }
        });
    }
    const bool finished = runUntil(
        loop, [&] { return total == threads * itemsPerThread; }, 20s);
    for (auto &poster : posters)
        poster.join();
    ASSERT_TRUE(finished);
    EXPECT_EQ(onOtherThread, 0);
    for (int t = 0; t < threads; ++t) {
        const auto &items = seen[static_cast<std::size_t>(t)];
        ASSERT_EQ(items.size(), static_cast<std::size_t>(itemsPerThread));
        for (int i = 0; i < itemsPerThread; ++i)
            ASSERT_EQ(items[static_cast<std::size_t>(i)], i) << "thread " << t;
    }
    EXPECT_EQ(loop.processOneEvent(0), 0);
}

TEST(Mainloop, IsIdleWithNothingDueOrPosted)
{
    eMainloop loop;
    EXPECT_TRUE(loop.isIdle());

    loop.post([] {});
    EXPECT_FALSE(loop.isIdle());
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_TRUE(loop.isIdle());

    eTimer timer(&loop);
    timer.start(20, true);
    EXPECT_TRUE(loop.isIdle()); // planned, not yet due
    std::this_thread::sleep_for(25ms);
    EXPECT_FALSE(loop.isIdle());
    EXPECT_EQ(loop.processOneEvent(0), 1);
    EXPECT_TRUE(loop.isIdle());

    timer.start(0, true);
    EXPECT_FALSE(loop.isIdle());
    timer.stop();
    EXPECT_TRUE(loop.isIdle());
}

namespace {

void ignoreSignal(int)
{
}

} // namespace

TEST(Mainloop, PollInterruptedBySignalIsResumed)
{
    struct sigaction quiet
    {
    };
    quiet.sa_handler = ignoreSignal;
    sigemptyset(&quiet.sa_mask);
    struct sigaction previous
    {
    };
    ASSERT_EQ(sigaction(SIGUSR1, &quiet, &previous), 0);

    eMainloop loop;
    eTimer timer(&loop);
    int fired = 0;
    timer.timeout.connect([&] { ++fired; });
    const auto start = Clock::now();
    timer.start(150, true);

    const pthread_t loopThread = pthread_self();
    std::thread interrupter([&] {
        for (int i = 0; i < 3; ++i) {
            std::this_thread::sleep_for(20ms);
            pthread_kill(loopThread, SIGUSR1);
        }
    });
    const int dispatched = loop.processOneEvent(-1);
    const auto waited = millisecondsSince(start);
    interrupter.join();
    sigaction(SIGUSR1, &previous, nullptr);

    EXPECT_EQ(dispatched, 1);
    EXPECT_EQ(fired, 1);
    EXPECT_GE(waited, 149);
}
