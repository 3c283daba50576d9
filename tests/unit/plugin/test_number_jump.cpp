// The number window and the jump it makes: the field sized to the row count,
// the first digit, the 3-second wait that accepts and starts again with each
// digit, OK and exit; and in the main window the jump to the row that shows
// the number (capped to the row count, also after a sort), nothing on an
// empty list, and the cursor kept when no row has the number.

#include "modal_script.h"
#include "plugin_test_support.h"

#include "dialogs/numberw.h"
#include "plugin/ctarnwave.h"

#include "gui/elabel.h"
#include "gui/widgets/escreen.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

using namespace std::chrono_literals;

namespace {

bool press(const char *key)
{
    return eScreen::osd().handleKey(key);
}

class NumberWindow : public ::testing::Test
{
protected:
    // The test skin has no "fontsize", so the default of 20 applies.
    plugintest::Box box{plugintest::testSkinPath()};

    // Runs the window; `during` runs `after` into the run.
    int run(numberW &window, std::chrono::milliseconds after = 0ms, std::function<void()> during = {})
    {
        eTimer later(eApp);
        if (during) {
            later.timeout.connect(during);
            later.start(static_cast<long>(after.count()), true);
        }
        window.show();
        const int result = window.exec();
        window.hide();
        return result;
    }
};

TEST_F(NumberWindow, WithSevenRowsTheFieldTakesOneDigitFromOneToSeven)
{
    numberW window(5, 7);
    EXPECT_EQ(window.getText(), "Title");
    EXPECT_EQ(window.number->getFieldCount(), 1);
    EXPECT_EQ(window.number->getMaxDigits(), 1);
    EXPECT_EQ(window.number->getMin(), 1);
    EXPECT_EQ(window.number->getMax(), 7);
    EXPECT_EQ(window.number->getNumber(), 5);
}

TEST_F(NumberWindow, WithOneHundredAndTwentyRowsItTakesThreeDigits)
{
    numberW window(1, 120);
    EXPECT_EQ(window.number->getMaxDigits(), 3);
    window.show();
    press("2");
    press("0");
    EXPECT_EQ(window.number->getNumber(), 120);
}

TEST_F(NumberWindow, TheLayoutIsPlainAndFollowsTheFontSize)
{
    numberW window(3, 40);
    EXPECT_EQ(window.getPosition(), ePoint(200, 140));
    EXPECT_EQ(window.getSize(), eSize(280, 120));
    auto *label = dynamic_cast<eLabel *>(window.number->getDescription());
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->getText(), "Number:");
    EXPECT_EQ(label->getPosition(), ePoint(50, 15));
    EXPECT_EQ(label->getSize(), eSize(110, 24));
    EXPECT_EQ(window.number->getPosition(), ePoint(160, 15));
    EXPECT_EQ(window.number->getSize(), eSize(60, 24));
}

TEST_F(NumberWindow, OkReturnsTheNumberAtOnceAndExitCancels)
{
    numberW accepted(5, 7);
    box.app.post([] { press("ok"); });
    EXPECT_EQ(run(accepted), 5);
    EXPECT_FALSE(accepted.timer->isActive()) << "the wait is over";

    numberW cancelled(5, 7);
    box.app.post([] { press("exit"); });
    EXPECT_EQ(run(cancelled), -1);
}

TEST_F(NumberWindow, WaitingThreeSecondsAcceptsTheNumberShown)
{
    numberW window(5, 7);
    bool openAfterTwoSeconds = false;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(run(window, 2s, [&] { openAfterTwoSeconds = window.isInExec(); }), 5);
    EXPECT_TRUE(openAfterTwoSeconds);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 3s);
}

TEST_F(NumberWindow, EachDigitStartsTheWaitAgain)
{
    numberW window(1, 120);
    bool openTwoSecondsAfterTheDigit = false;
    eTimer check(eApp);
    check.timeout.connect([&] { openTwoSecondsAfterTheDigit = window.isInExec(); });
    const auto start = std::chrono::steady_clock::now();
    // A digit 2 s in; 4 s in (more than 3 s after the start) the window is
    // still open, and it closes 3 s after the digit.
    const int result = run(window, 2s, [&] {
        press("2");
        check.start(2000, true);
    });
    EXPECT_EQ(result, 12);
    EXPECT_TRUE(openTwoSecondsAfterTheDigit);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 5s);
}

std::shared_ptr<Listentry> station(int index, const char *name)
{
    auto record = std::make_shared<Listentry>(index, name);
    record->type = Listentry::ENTRY_STATION;
    return record;
}

// The jump in the main window, on a list of stations numbered as the
// directory sent them.
class NumberJump : public plugintest::ShownMainWindow
{
protected:
    void fillTopList(const std::vector<std::pair<int, const char *>> &rows)
    {
        window->currentList = 2;
        for (const auto &[index, name] : rows)
            new my_ListBox(window->lists[2], station(index, name), false);
        window->showCurrList();
    }
    std::string currentName() const
    {
        const my_ListBox *row = window->lists[window->currentList]->getCurrent();
        return row ? row->entry->name : "(none)";
    }

    plugintest::ModalScript script{box.app};
};

TEST_F(NumberJump, SevenOnFiveRowsJumpsToTheRowNumberedFive)
{
    fillTopList({{1, "Alpha"}, {2, "Bravo"}, {3, "Charlie"}, {4, "Delta"}, {5, "Echo"}});
    int fieldMax = 0;
    bool mainWindowHidden = false;
    script.expect("numberW", [&](eWidget &shown) {
        fieldMax = dynamic_cast<numberW &>(shown).number->getMax();
        mainWindowHidden = !window->isVisible();
        press("ok");
    });
    EXPECT_TRUE(press("7"));
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(fieldMax, 5);
    EXPECT_TRUE(mainWindowHidden);
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(currentName(), "Echo");
}

TEST_F(NumberJump, AfterSortingByNameTheNumberStillNamesTheSameStation)
{
    fillTopList({{1, "Echo"}, {2, "Delta"}, {3, "Charlie"}, {4, "Bravo"}, {5, "Alpha"}});
    press("red");
    press("red");
    ASSERT_EQ(Listentry::setSort, Listentry::SORT_NAME);
    ASSERT_NE(currentName(), "Delta");
    script.expect("numberW", [](eWidget &) { press("ok"); });
    press("2");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(currentName(), "Delta");
    EXPECT_EQ(window->lists[2]->getCurrentIndex(), 3) << "fourth by name";
    // Capped to the row count: 7 is the row numbered 5.
    script.expect("numberW", [](eWidget &) { press("ok"); });
    press("7");
    EXPECT_EQ(currentName(), "Alpha");
}

TEST_F(NumberJump, MoreDigitsMakeALargerNumber)
{
    std::vector<std::pair<int, const char *>> rows;
    static const std::vector<std::string> names = [] {
        std::vector<std::string> made;
        for (int i = 1; i <= 30; ++i)
            made.push_back("Station " + std::to_string(i));
        return made;
    }();
    for (int i = 1; i <= 30; ++i)
        rows.emplace_back(i, names[static_cast<std::size_t>(i - 1)].c_str());
    fillTopList(rows);
    script.expect("numberW", [](eWidget &) {
        press("3");
        press("ok");
    });
    press("2");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(currentName(), "Station 23");
}

TEST_F(NumberJump, ADigitOnAnEmptyListOpensNothing)
{
    ASSERT_EQ(window->lists[0]->getCount(), 0);
    EXPECT_TRUE(press("4")) << "used all the same";
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_TRUE(script.seen().empty());
    EXPECT_TRUE(window->isVisible());
}

TEST_F(NumberJump, ANumberThatNoRowShowsLeavesTheCursor)
{
    fillTopList({{2, "Bravo"}, {4, "Delta"}, {6, "Foxtrot"}});
    window->lists[2]->goNext();
    ASSERT_EQ(currentName(), "Delta");
    script.expect("numberW", [](eWidget &) { press("ok"); });
    press("3");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(currentName(), "Delta");
}

TEST_F(NumberJump, ACancelledNumberLeavesTheCursor)
{
    fillTopList({{1, "Alpha"}, {2, "Bravo"}, {3, "Charlie"}});
    script.expect("numberW", [](eWidget &) { press("exit"); });
    press("3");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(currentName(), "Alpha");
    EXPECT_TRUE(window->isVisible());
}

} // namespace
