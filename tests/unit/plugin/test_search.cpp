// The search window and the search started from the menu: the proposal (the
// last search, or "disco"), the field's limit and the window's layout, the
// start button and the exit key, the refusal of a text shorter than three
// characters, and an accepted text stored and asked for.

#include "modal_script.h"
#include "plugin_test_support.h"
#include "shell_test_doubles.h"

#include "dialogs/ctarnwave_search.h"
#include "plugin/ctarnwave.h"

#include "base/econfig.h"
#include "gui/emessagebox.h"
#include "gui/widgets/escreen.h"

#include <gtest/gtest.h>

#include <string>

namespace {

bool press(const char *key)
{
    return eScreen::osd().handleKey(key);
}

std::string lastSearch()
{
    eString text = "(none)";
    eConfig::getInstance()->getKey("/tarnwave/lastsearch", text);
    return text;
}

eTextInputField &fieldOf(eWidget &window)
{
    return *dynamic_cast<Ctarnwave_search &>(window).input;
}

// The button is the window's child that is not the field.
eWidget *buttonOf(Ctarnwave_search &window)
{
    for (eWidget *child : window.getChildren())
        if (child != window.input)
            return child;
    return nullptr;
}

class SearchWindow : public ::testing::Test
{
protected:
    // The test skin has no "fontsize", so the default of 20 applies.
    plugintest::Box box{plugintest::testSkinPath()};
};

TEST_F(SearchWindow, ShowsTheTextItWasBuiltWith)
{
    Ctarnwave_search proposed("disco");
    EXPECT_EQ(proposed.input->getText(), "disco");
    Ctarnwave_search empty("");
    EXPECT_EQ(empty.input->getText(), "");
    EXPECT_EQ(empty.getText(), "search");
}

TEST_F(SearchWindow, TheFieldTakesAtMostOneHundredCharacters)
{
    Ctarnwave_search window(std::string(150, 'x'));
    EXPECT_EQ(window.input->getMaxChars(), 100);
    EXPECT_EQ(window.input->getText(), std::string(100, 'x'));
    window.show();
    window.input->setCursor(100);
    eScreen::osd().handleCharacter(U'y');
    EXPECT_EQ(window.input->getText(), std::string(100, 'x'));
}

TEST_F(SearchWindow, TheLayoutFollowsTheClientSizeAndTheFontSize)
{
    Ctarnwave_search window("disco");
    EXPECT_EQ(window.getPosition() + window.getClientRect().topLeft(), ePoint(140, 120));
    EXPECT_EQ(window.getClientSize(), eSize(450, 100));
    EXPECT_EQ(window.input->getPosition(), ePoint(5, 5));
    EXPECT_EQ(window.input->getSize(), eSize(440, 30));
    EXPECT_EQ(window.input->getDeco(), "eNumber") << "the number field's decoration";
    eWidget *button = buttonOf(window);
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(button->getText(), "start");
    EXPECT_EQ(button->getPosition(), ePoint(120, 50)) << "100 - 50";
    EXPECT_EQ(button->getSize(), eSize(170, 35));
}

TEST_F(SearchWindow, TheStartButtonAcceptsAndExitCancels)
{
    Ctarnwave_search accepted("disco");
    box.app.post([] {
        press("down");
        press("ok");
    });
    accepted.show();
    EXPECT_NE(accepted.exec(), -1);
    accepted.hide();

    Ctarnwave_search cancelled("disco");
    box.app.post([] { press("exit"); });
    cancelled.show();
    EXPECT_EQ(cancelled.exec(), -1);
    cancelled.hide();
}

// The search chosen in the main window's menu, against a directory that
// never answers (so that a request stays visible).
class Search : public plugintest::ShownMainWindow
{
protected:
    Search() { box.directoryUrl(directory.baseUrl()); }

    // Menu, its search row (the second on the favourites list), and in the
    // search window `typed` in place of the proposal, then the start button.
    void searchFor(const std::string &typed)
    {
        script.expect("setup_menu", [](eWidget &) {
            press("down");
            press("ok");
        });
        script.expect("Ctarnwave_search", [this, typed](eWidget &searchWindow) {
            proposal = fieldOf(searchWindow).getText();
            fieldOf(searchWindow).setText(typed);
            press("down");
            press("ok");
        });
    }

    SilentDirectory directory;
    plugintest::ModalScript script{box.app};
    std::string proposal = "(not shown)";
};

TEST_F(Search, WithNoSearchEverMadeDiscoIsProposed)
{
    searchFor("");
    press("menu");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(proposal, "disco");
}

TEST_F(Search, TheLastSearchIsProposed)
{
    eConfig::getInstance()->setKey("/tarnwave/lastsearch", "hip hop");
    searchFor("");
    press("menu");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(proposal, "hip hop");
}

TEST_F(Search, TwoCharactersAreRefusedAndNothingIsStoredOrAskedFor)
{
    searchFor("ab");
    std::string message, caption;
    std::vector<int> buttons;
    script.expect("eMessageBox", [&](eWidget &shown) {
        auto &messageBox = dynamic_cast<eMessageBox &>(shown);
        caption = messageBox.getText();
        const eWidget *text = messageBox.search("text");
        message = text ? text->getText() : "";
        buttons = messageBox.buttons();
        press("ok");
    });
    press("menu");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(message, "minimum 3 characters");
    EXPECT_EQ(caption, "Info");
    EXPECT_EQ(buttons, (std::vector<int>{eMessageBox::btOK}));
    EXPECT_EQ(lastSearch(), "(none)");
    EXPECT_EQ(window->currentList, 0);
    EXPECT_EQ(window->connection, nullptr);
}

TEST_F(Search, ThreeCharactersAreStoredAndAskedForInTheSearchList)
{
    searchFor("abc");
    press("menu");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(lastSearch(), "abc");
    EXPECT_EQ(window->currentList, 3);
    EXPECT_EQ(window->lastRequest, "abc");
    EXPECT_NE(window->connection, nullptr) << "the request runs";
    EXPECT_TRUE(window->isVisible());
}

TEST_F(Search, AnEmptyTextIsNoSearchAndNoMessage)
{
    eConfig::getInstance()->setKey("/tarnwave/lastsearch", "jazz");
    searchFor("");
    press("menu");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(lastSearch(), "jazz");
    EXPECT_EQ(window->connection, nullptr);
}

TEST_F(Search, LeavingTheSearchWindowWithExitSearchesNothing)
{
    script.expect("setup_menu", [](eWidget &) {
        press("down");
        press("ok");
    });
    script.expect("Ctarnwave_search", [](eWidget &) { press("exit"); });
    press("menu");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(lastSearch(), "(none)");
    EXPECT_EQ(window->currentList, 0);
    EXPECT_EQ(window->connection, nullptr);
}

TEST_F(Search, TypedCharactersReachTheField)
{
    script.expect("setup_menu", [](eWidget &) {
        press("down");
        press("ok");
    });
    script.expect("Ctarnwave_search", [](eWidget &searchWindow) {
        fieldOf(searchWindow).setText("");
        for (const char32_t c : std::u32string(U"Köln"))
            eScreen::osd().handleCharacter(c);
        press("down");
        press("ok");
    });
    press("menu");
    EXPECT_TRUE(script.finished()) << script.problems();
    EXPECT_EQ(lastSearch(), "Köln");
}

} // namespace
