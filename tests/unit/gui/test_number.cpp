// The number field: digits typed into entries of at most maxdigits digits,
// values limited to the maximum, the signals for OK, exit and each digit,
// several fields, and the field drawn with its cursor.

#include "base/ebase.h"
#include "gui/ebutton.h"
#include "gui/enumber.h"
#include "gui/ewindow.h"
#include "gui/gpixmap.h"
#include "gui/widgets/escreen.h"

#include "support/pixel_probes.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace {

// The number of decimal digits of `maxNumber`, as the number window counts them.
int digitsOf(int maxNumber)
{
    eString text;
    return static_cast<int>(text.setNum(maxNumber).size());
}

// A shown window with one number field for rows 1 to `rows`.
struct NumberWindow
{
    explicit NumberWindow(int rows, int isactive = 1)
    {
        window.move(ePoint(200, 140));
        window.resize(eSize(280, 120));
        number = new eNumber(&window, 1, 1, rows, digitsOf(rows), nullptr, isactive, nullptr, 1, "eNumber");
        number->move(ePoint(160, 15));
        number->resize(eSize(60, 24));
        window.show();
    }
    ~NumberWindow() { window.hide(); }

    void press(std::initializer_list<const char *> keys)
    {
        for (const char *key : keys)
            eScreen::osd().handleKey(key);
    }

    eWindow window;
    eNumber *number;
};

TEST(Number, SevenRowsTakeOneDigit)
{
    NumberWindow input(7);
    EXPECT_EQ(input.number->getMaxDigits(), 1);
    input.number->setNumber(5);
    input.press({"3"});
    EXPECT_EQ(input.number->getNumber(), 3) << "a full entry is replaced by the next digit";
    input.press({"6"});
    EXPECT_EQ(input.number->getNumber(), 6);
}

TEST(Number, HundredTwentyRowsTakeThreeDigits)
{
    NumberWindow input(120);
    EXPECT_EQ(input.number->getMaxDigits(), 3);
    input.number->setNumber(1);
    input.press({"0"});
    EXPECT_EQ(input.number->getNumber(), 10);
    input.press({"7"});
    EXPECT_EQ(input.number->getNumber(), 107);
    input.press({"4"});
    EXPECT_EQ(input.number->getNumber(), 4) << "the fourth digit starts a new entry";
    input.press({"2"});
    EXPECT_EQ(input.number->getNumber(), 42);
}

TEST(Number, TypedValueAboveTheMaximumIsLimited)
{
    NumberWindow seven(7);
    seven.press({"9"});
    EXPECT_EQ(seven.number->getNumber(), 7);

    NumberWindow many(120);
    many.press({"9", "9"});
    EXPECT_EQ(many.number->getNumber(), 99);
    many.press({"9"});
    EXPECT_EQ(many.number->getNumber(), 120);
}

TEST(Number, SetNumberCountsAsTyped)
{
    eWindow window;
    eNumber number(&window, 1, 0, 99, 2, nullptr, 1);
    number.resize(eSize(60, 30));
    window.show();
    number.setNumber(5);
    eScreen::osd().handleKey("3");
    EXPECT_EQ(number.getNumber(), 53);
    window.hide();
}

TEST(Number, SetNumberShowsTheValueAsGiven)
{
    // A first digit above the row count, as the number window may pass it.
    NumberWindow input(5);
    input.number->setNumber(9);
    EXPECT_EQ(input.number->getNumber(), 9);
    input.press({"2"});
    EXPECT_EQ(input.number->getNumber(), 2);
}

TEST(Number, FullEntryBelowTheMinimumIsRaised)
{
    NumberWindow seven(7);
    seven.press({"0"});
    EXPECT_EQ(seven.number->getNumber(), 1);

    // A shorter entry may still grow into range and stays as typed.
    NumberWindow many(120);
    many.press({"0"});
    EXPECT_EQ(many.number->getNumber(), 0);
    many.press({"0", "0"});
    EXPECT_EQ(many.number->getNumber(), 1);
}

TEST(Number, NumberChangedIsEmittedForEachDigit)
{
    NumberWindow input(120);
    int changes = 0;
    input.number->numberChanged.connect([&changes] { ++changes; });
    input.number->setNumber(3);
    EXPECT_EQ(changes, 0) << "setNumber is not typing";
    input.press({"1", "2", "5"});
    EXPECT_EQ(changes, 3);
    input.press({"up", "ok"});
    EXPECT_EQ(changes, 3);
}

TEST(Number, OkEmitsSelectedWithTheValues)
{
    NumberWindow input(120);
    std::vector<int> received;
    int calls = 0;
    input.number->selected.connect([&](int *values) {
        ++calls;
        if (values)
            received.push_back(values[0]);
    });
    input.number->setNumber(1);
    input.press({"2", "ok"});
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(received, std::vector<int>{12});
    EXPECT_EQ(input.number->getNumber(), 12);
}

TEST(Number, ExitEmitsNullAndIsUsedUp)
{
    eApplication app;
    NumberWindow input(120);
    int calls = 0;
    bool gotNull = false;
    input.number->selected.connect([&](int *values) {
        ++calls;
        gotNull = values == nullptr;
    });
    bool used = false;
    app.post([&] { used = eScreen::osd().handleKey("exit"); });
    // Had the window seen the exit key, its run would have ended with -1 long before.
    eTimer closer(&app);
    closer.timeout.connect([&] { input.window.close(5); });
    closer.start(50, true);
    EXPECT_EQ(input.window.exec(), 5);
    EXPECT_TRUE(used);
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(gotNull);
}

TEST(Number, TheNumberWindowsFlow)
{
    // As the number window uses it: the field's signals close the modal run.
    eApplication app;
    NumberWindow input(120);
    input.number->setNumber(4);
    input.number->selected.connect([&](int *values) { input.window.close(values ? input.number->getNumber() : -1); });
    app.post([&] { input.press({"2", "ok"}); });
    EXPECT_EQ(input.window.exec(), 42);
    app.post([&] { input.press({"exit"}); });
    EXPECT_EQ(input.window.exec(), -1);
}

TEST(Number, SeveralFieldsWithLeftAndRight)
{
    eWindow window;
    int address[4] = {192, 168, 0, 1};
    eNumber number(&window, 4, 0, 255, 3, address, 1);
    number.resize(eSize(200, 30));
    window.show();
    EXPECT_EQ(number.getFieldCount(), 4);
    EXPECT_EQ(number.getNumber(1), 168);
    eScreen::osd().handleKey("right");
    EXPECT_EQ(number.getCurrentField(), 1);
    eScreen::osd().handleKey("1");
    eScreen::osd().handleKey("0");
    EXPECT_EQ(number.getNumber(1), 10) << "a full entry is replaced";
    eScreen::osd().handleKey("right");
    eScreen::osd().handleKey("right");
    EXPECT_EQ(number.getCurrentField(), 3);
    EXPECT_FALSE(eScreen::osd().handleKey("right")) << "at the last field the key is left to the window";
    std::vector<int> received;
    number.selected.connect([&](int *values) { received.assign(values, values + 4); });
    eScreen::osd().handleKey("ok");
    EXPECT_EQ(received, (std::vector<int>{192, 10, 0, 1}));
    window.hide();
}

TEST(Number, InactiveFieldStartsEditingWithOkOrADigit)
{
    eApplication app;
    NumberWindow input(120, 0);
    EXPECT_FALSE(input.number->isEditing());
    int calls = 0;
    input.number->selected.connect([&calls](int *) { ++calls; });
    input.press({"ok"});
    EXPECT_TRUE(input.number->isEditing());
    EXPECT_EQ(calls, 0);
    input.press({"ok"});
    EXPECT_FALSE(input.number->isEditing());
    EXPECT_EQ(calls, 1);
    input.press({"5"});
    EXPECT_TRUE(input.number->isEditing());
    EXPECT_EQ(input.number->getNumber(), 5);
    input.press({"exit"});
    EXPECT_FALSE(input.number->isEditing());
    EXPECT_EQ(calls, 2);
    // Not editing: the exit key goes on to the window.
    app.post([&] { input.press({"exit"}); });
    EXPECT_EQ(input.window.exec(), -1);
}

TEST(Number, GrabsTheFocusFromEarlierWidgets)
{
    eWindow window;
    auto *button = new eButton(&window);
    button->resize(eSize(80, 30));
    auto *number = new eNumber(&window, 1, 1, 9, 1, nullptr, 1);
    number->move(ePoint(100, 0));
    number->resize(eSize(60, 30));
    window.show();
    EXPECT_EQ(window.getFocus(), number);

    eWindow other;
    auto *first = new eButton(&other);
    first->resize(eSize(80, 30));
    auto *polite = new eNumber(&other, 1, 1, 9, 1, nullptr, 1, nullptr, 0);
    polite->move(ePoint(100, 0));
    polite->resize(eSize(60, 30));
    other.show();
    EXPECT_EQ(other.getFocus(), first);
    other.hide();
    window.hide();
}

TEST(Number, DrawsTheValueCentredWithAnUnderlineWhileFocused)
{
    const gRGB green(0, 255, 0);
    eWindow window;
    window.move(ePoint(100, 100));
    window.resize(eSize(300, 120));
    auto *number = new eNumber(&window, 1, 1, 120, 3, nullptr, 1);
    number->resize(eSize(120, 40));
    number->setForegroundColor(green);
    number->setNumber(88);
    auto *button = new eButton(&window);
    button->move(ePoint(0, 50));
    button->resize(eSize(80, 30));
    window.show();
    eScreen::osd().compose();

    const eRect field = number->getAbsoluteRect();
    const eRect leftQuarter(field.topLeft(), eSize(field.width() / 4, field.height()));
    const eRect middle(ePoint(field.left() + field.width() / 4, field.top()), eSize(field.width() / 2, field.height()));
    const int focusedInk = countPixels(middle, green);
    EXPECT_GT(focusedInk, 20) << "the digits are drawn in the middle";
    EXPECT_EQ(countPixels(leftQuarter, green), 0) << "and not at the left edge";

    window.setFocus(button);
    eScreen::osd().compose();
    const int unfocusedInk = countPixels(middle, green);
    EXPECT_GT(unfocusedInk, 20);
    EXPECT_GT(focusedInk - unfocusedInk, 10) << "the underline is drawn only while focused";
    window.hide();
}

} // namespace
