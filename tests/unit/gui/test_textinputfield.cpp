// The text field: typed characters at the cursor, the maximum length (typed
// and set), multi-tap on the digit keys with its interval, the delete keys,
// UTF-8 text, the keys it leaves to its window, and the cursor kept in view.

#include "base/ebase.h"
#include "gui/ebutton.h"
#include "gui/elabel.h"
#include "gui/etextinputfield.h"
#include "gui/ewindow.h"
#include "gui/gpixmap.h"
#include "gui/widgets/escreen.h"

#include "support/run_loop.h"

#include "support/pixel_probes.h"

#include <gtest/gtest.h>

#include <chrono>
#include <initializer_list>
#include <string>

namespace {

// A shown search window: the field on top, a start button under it.
struct SearchWindow
{
    SearchWindow()
    {
        window.cmove(ePoint(140, 120));
        window.cresize(eSize(450, 100));
        field = new eTextInputField(&window, nullptr, nullptr, "eNumber");
        field->move(ePoint(5, 5));
        field->resize(eSize(440, 30));
        field->setMaxChars(100);
        button = new eButton(&window, nullptr, 1, "eButton");
        button->move(ePoint(120, 50));
        button->resize(eSize(170, 35));
        window.show();
    }
    ~SearchWindow() { window.hide(); }

    static void press(std::initializer_list<const char *> keys)
    {
        for (const char *key : keys)
            eScreen::osd().handleKey(key);
    }
    static void type(const std::u32string &characters)
    {
        for (char32_t character : characters)
            eScreen::osd().handleCharacter(character);
    }

    eWindow window;
    eTextInputField *field;
    eButton *button;
};

TEST(TextInputField, TakesTheFocusAndTypedCharactersGoInAtTheCursor)
{
    SearchWindow search;
    EXPECT_EQ(search.window.getFocus(), search.field);
    search.type(U"rock");
    EXPECT_EQ(search.field->getText(), "rock");
    EXPECT_EQ(search.field->getCursor(), 4);
    search.press({"left", "left"});
    search.type(U"-n-");
    EXPECT_EQ(search.field->getText(), "ro-n-ck");
    EXPECT_EQ(search.field->getCursor(), 5);
}

TEST(TextInputField, SetTextPutsTheCursorAtTheEnd)
{
    SearchWindow search;
    search.field->setText("disco");
    EXPECT_EQ(search.field->getCursor(), 5);
    search.type(U"!");
    EXPECT_EQ(search.field->getText(), "disco!");
}

TEST(TextInputField, TypingStopsAtTheMaximumLength)
{
    SearchWindow search;
    search.field->setMaxChars(5);
    EXPECT_EQ(search.field->getMaxChars(), 5);
    search.type(U"abcdefgh");
    EXPECT_EQ(search.field->getText(), "abcde");
    search.press({"4"});
    EXPECT_EQ(search.field->getText(), "abcde") << "multi-tap adds nothing to a full field";
}

TEST(TextInputField, SetTextIsCutToTheMaximumInCharacters)
{
    SearchWindow search;
    search.field->setMaxChars(4);
    search.field->setText("äöüßxyz");
    EXPECT_EQ(search.field->getText(), "äöüß");
    EXPECT_EQ(search.field->getCursor(), 4);

    // A hundred characters fit, the hundred and first does not.
    search.field->setMaxChars(100);
    search.field->setText(std::string(150, 'x'));
    EXPECT_EQ(search.field->getText(), std::string(100, 'x'));
}

TEST(TextInputField, SetMaxCharsCutsTheTextThere)
{
    SearchWindow search;
    search.field->setText("electronic");
    search.press({"left", "left", "left"});
    search.field->setMaxChars(3);
    EXPECT_EQ(search.field->getText(), "ele");
    EXPECT_EQ(search.field->getCursor(), 3);
}

TEST(TextInputField, MultiTapCyclesThroughTheKeysCharacters)
{
    SearchWindow search;
    const char *expected[] = {"a", "b", "c", "2", "A", "B", "C", "ä", "Ä", "a"};
    for (const char *text : expected) {
        search.press({"2"});
        EXPECT_EQ(search.field->getText(), text);
        EXPECT_EQ(search.field->getCursor(), 1);
    }
    EXPECT_TRUE(search.field->isMultiTapOpen());
}

TEST(TextInputField, AnotherDigitStartsTheNextCharacter)
{
    SearchWindow search;
    search.press({"7", "7", "7", "7", "2", "6", "6", "6", "0", "1"});
    EXPECT_EQ(search.field->getText(), "sao .");
}

TEST(TextInputField, MultiTapEndsAfterItsInterval)
{
    eApplication app;
    SearchWindow search;
    search.field->setMultiTapInterval(40);
    EXPECT_EQ(search.field->getMultiTapInterval(), 40);
    search.press({"2"});
    EXPECT_TRUE(search.field->isMultiTapOpen());
    const auto pressed = std::chrono::steady_clock::now();
    ASSERT_TRUE(runUntil(
        app, [&] { return !search.field->isMultiTapOpen(); }, std::chrono::seconds(2)));
    EXPECT_GE(std::chrono::steady_clock::now() - pressed, std::chrono::milliseconds(35));
    search.press({"2"});
    EXPECT_EQ(search.field->getText(), "aa");
}

TEST(TextInputField, OneSecondIsTheDefaultInterval)
{
    SearchWindow search;
    EXPECT_EQ(search.field->getMultiTapInterval(), 1000);
    search.press({"3", "3"});
    EXPECT_EQ(search.field->getText(), "e");
}

TEST(TextInputField, CursorMovesEndTheMultiTap)
{
    SearchWindow search;
    search.press({"2", "right", "2"});
    EXPECT_EQ(search.field->getText(), "aa");
}

TEST(TextInputField, BackspaceDeleteAndRed)
{
    SearchWindow search;
    search.field->setText("jazzfunk");
    search.type(U"\b");
    EXPECT_EQ(search.field->getText(), "jazzfun");
    search.press({"left", "left", "left"});
    search.type(std::u32string(1, char32_t{127}));
    EXPECT_EQ(search.field->getText(), "jazzun");
    EXPECT_EQ(search.field->getCursor(), 4);
    search.press({"red"});
    EXPECT_EQ(search.field->getText(), "jazun");
    EXPECT_EQ(search.field->getCursor(), 3);
    search.press({"left", "left", "left", "left"});
    EXPECT_EQ(search.field->getCursor(), 0);
    search.type(U"\b");
    search.press({"red"});
    EXPECT_EQ(search.field->getText(), "jazun") << "nothing before the cursor";
    search.press({"right", "right", "right", "right", "right", "right"});
    search.type(std::u32string(1, char32_t{127}));
    EXPECT_EQ(search.field->getText(), "jazun") << "nothing after the cursor";
}

TEST(TextInputField, Utf8CharactersAreWholeCharacters)
{
    SearchWindow search;
    search.type(U"Café € 😀");
    EXPECT_EQ(search.field->getText(), "Café € 😀");
    EXPECT_EQ(search.field->getCursor(), 8);
    search.type(U"\b");
    EXPECT_EQ(search.field->getText(), "Café € ");
    search.press({"left", "left", "left"});
    search.type(U"\b");
    EXPECT_EQ(search.field->getText(), "Caf € ");
    search.press({"6", "6", "6", "6", "6", "6", "6", "6"});
    EXPECT_EQ(search.field->getText(), "Cafö € ");
}

TEST(TextInputField, InvalidBytesAndControlCharactersAreCleaned)
{
    SearchWindow search;
    search.field->setText("a\xff"
                          "b\nc\td");
    EXPECT_EQ(search.field->getText(), "a\xEF\xBF\xBD"
                                       "b c d");
    EXPECT_EQ(search.field->getCursor(), 7);
    // Control characters typed are left to the window.
    EXPECT_FALSE(eScreen::osd().handleCharacter(U'\r'));
    EXPECT_EQ(search.field->getText(), "a\xEF\xBF\xBD"
                                       "b c d");
}

TEST(TextInputField, UpAndDownAreLeftToTheWindow)
{
    SearchWindow search;
    search.press({"down"});
    EXPECT_EQ(search.window.getFocus(), search.button);
    search.press({"up"});
    EXPECT_EQ(search.window.getFocus(), search.field);
    // Left and right stay in the field even at its ends.
    search.field->setText("x");
    search.press({"right"});
    EXPECT_EQ(search.window.getFocus(), search.field);
    search.press({"left", "left"});
    EXPECT_EQ(search.window.getFocus(), search.field);
}

TEST(TextInputField, OkEmitsSelectedAndGoesOnToTheWindow)
{
    SearchWindow search;
    int selected = 0;
    search.field->selected.connect([&selected] { ++selected; });
    EXPECT_FALSE(eScreen::osd().handleKey("ok")) << "no widget uses OK here";
    EXPECT_EQ(selected, 1);
}

TEST(TextInputField, TheSearchWindowsButtonAcceptsAndExitRejects)
{
    eApplication app;
    SearchWindow search;
    search.field->setText("disco");
    search.button->selected.connect([&search] { search.window.accept(); });
    app.post([] { SearchWindow::press({"2", "down", "ok"}); });
    EXPECT_EQ(search.window.exec(), 0);
    EXPECT_EQ(search.field->getText(), "discoa");
    search.window.setFocus(search.field);
    app.post([] { SearchWindow::press({"exit"}); });
    EXPECT_EQ(search.window.exec(), -1);
}

TEST(TextInputField, HelpWidgetShowsTheHelpWhileFocused)
{
    eWindow window;
    auto *help = new eLabel(&window);
    help->setText("choose");
    auto *button = new eButton(&window);
    button->resize(eSize(80, 30));
    auto *field = new eTextInputField(&window, nullptr, help);
    field->move(ePoint(0, 40));
    field->resize(eSize(200, 30));
    window.show();
    window.setFocus(field);
    EXPECT_NE(help->getText(), "choose");
    EXPECT_FALSE(help->getText().empty());
    window.setFocus(button);
    EXPECT_EQ(help->getText(), "choose");
    window.hide();
}

TEST(TextInputField, LongTextScrollsSoThatTheCursorStaysVisible)
{
    const gRGB green(0, 255, 0);
    eWindow window;
    window.move(ePoint(50, 50));
    window.resize(eSize(400, 150));
    auto *field = new eTextInputField(&window);
    field->resize(eSize(200, 30));
    field->setForegroundColor(green);
    window.show();

    const eRect rect = field->getAbsoluteRect();
    const eRect leftEnd(rect.topLeft(), eSize(12, rect.height()));
    const eRect rightEnd(ePoint(rect.right() - 12, rect.top()), eSize(12, rect.height()));

    field->setText("M");
    eScreen::osd().compose();
    EXPECT_GT(countPixels(leftEnd, green), 0) << "short text starts at the left";
    EXPECT_EQ(countPixels(rightEnd, green), 0);

    field->setText(std::string(60, 'M'));
    eScreen::osd().compose();
    EXPECT_GT(countPixels(rightEnd, green), 20) << "the end of the text and the cursor are in view";
    const eRect outside(ePoint(rect.right(), rect.top()), eSize(40, rect.height()));
    EXPECT_EQ(countPixels(outside, green), 0) << "nothing is drawn outside the field";

    field->setCursor(0);
    eScreen::osd().compose();
    const eRect cursorColumn(ePoint(rect.left(), rect.top() + 4), eSize(8, rect.height() - 8));
    EXPECT_GT(countPixels(cursorColumn, green), 10) << "back at the start, the cursor is in view";
    window.hide();
}

TEST(TextInputField, CursorIsDrawnOnlyWhileFocused)
{
    const gRGB green(0, 255, 0);
    eWindow window;
    window.move(ePoint(50, 50));
    window.resize(eSize(400, 150));
    auto *field = new eTextInputField(&window);
    field->resize(eSize(200, 30));
    field->setForegroundColor(green);
    auto *button = new eButton(&window);
    button->move(ePoint(0, 50));
    button->resize(eSize(80, 30));
    window.show();
    const eRect rect = field->getAbsoluteRect();
    eScreen::osd().compose();
    EXPECT_GT(countPixels(rect, green), 10) << "the cursor of the empty field";
    window.setFocus(button);
    eScreen::osd().compose();
    EXPECT_EQ(countPixels(rect, green), 0);
    window.hide();
}

} // namespace
