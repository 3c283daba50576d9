// Modal runs: exec() returns what close() was given, nested runs return in
// order, and timers and posted work keep running inside them.

#include "base/ebase.h"
#include "gui/ewindow.h"
#include "gui/widgets/escreen.h"

#include <gtest/gtest.h>

namespace {

TEST(Modal, ExecReturnsTheValueGivenToClose)
{
    eApplication app;
    eWindow window;
    window.show();
    eTimer closer(&app);
    closer.timeout.connect([&window] { window.close(42); });
    closer.start(10, true);
    EXPECT_EQ(window.exec(), 42);
    EXPECT_FALSE(window.isInExec());
}

TEST(Modal, AcceptAndRejectGiveZeroAndMinusOne)
{
    eApplication app;
    eWindow window;
    window.show();
    eTimer closer(&app);
    closer.timeout.connect([&window] { window.accept(); });
    closer.start(1, true);
    EXPECT_EQ(window.exec(), 0);
    closer.timeout.connect([&window] { window.reject(); });
    closer.start(1, true);
    EXPECT_EQ(window.exec(), -1);
}

TEST(Modal, ExitKeyRejectsAWindow)
{
    eApplication app;
    eWindow window;
    window.show();
    app.post([] { eScreen::osd().handleKey("exit"); });
    EXPECT_EQ(window.exec(), -1);
}

TEST(Modal, TwoDeepWithATimerFiringInside)
{
    eApplication app;
    eWindow outer;
    eWindow inner;
    outer.show();
    int ticks = 0;
    int innerResult = 0;
    eTimer ticker(&app);
    ticker.timeout.connect([&ticks] { ++ticks; });
    ticker.start(5, false);

    eTimer openInner(&app);
    openInner.timeout.connect([&] {
        inner.show();
        eTimer closeInner(&app);
        closeInner.timeout.connect([&] { inner.close(7); });
        closeInner.start(60, true);
        innerResult = inner.exec();
        inner.hide();
        outer.close(3);
    });
    openInner.start(10, true);

    EXPECT_EQ(outer.exec(), 3);
    EXPECT_EQ(innerResult, 7);
    EXPECT_GE(ticks, 5) << "the timer kept firing inside the nested run";
}

TEST(Modal, CloseOfAnOuterWindowUnderAnInnerOneIsIgnored)
{
    eApplication app;
    eWindow outer;
    eWindow inner;
    outer.show();
    int innerResult = 0;
    eTimer openInner(&app);
    openInner.timeout.connect([&] {
        inner.show();
        app.post([&] {
            outer.close(1); // must not end the inner run
            inner.close(2);
        });
        innerResult = inner.exec();
        inner.hide();
        outer.close(5);
    });
    openInner.start(1, true);
    EXPECT_EQ(outer.exec(), 5);
    EXPECT_EQ(innerResult, 2);
}

TEST(Modal, CloseWithoutExecDoesNothing)
{
    eApplication app;
    eWindow window;
    window.close(3);
    EXPECT_FALSE(window.isInExec());
}

} // namespace
