// The LCD: two pages, and windows bound to the menu page writing their title
// and their list's current row into it.

#include "gui/elistbox.h"
#include "gui/ewindow.h"
#include "gui/widgets/escreen.h"
#include "system/ezaplcd.h"

#include <gtest/gtest.h>

namespace {

TEST(Lcd, StartsOnTheIdlePage)
{
    eZapLCD *lcd = eZapLCD::getInstance();
    ASSERT_NE(lcd, nullptr);
    EXPECT_EQ(lcd, eZapLCD::getInstance());
    EXPECT_TRUE(lcd->idlePage->isVisible());
    EXPECT_FALSE(lcd->menuPage->isVisible());
    EXPECT_EQ(lcd->idlePage->getScreen(), &eScreen::lcd());
}

TEST(Lcd, PagesAreSwitchedByShowAndHide)
{
    eZapLCD *lcd = eZapLCD::getInstance();
    lcd->idlePage->hide();
    lcd->menuPage->show();
    EXPECT_NE(lcd->describe().find("\"shown\":\"menu\""), std::string::npos) << lcd->describe();
    lcd->menuPage->hide();
    lcd->idlePage->show();
    EXPECT_NE(lcd->describe().find("\"shown\":\"idle\""), std::string::npos) << lcd->describe();
}

TEST(Lcd, BoundWindowWritesItsTitleAndCurrentRow)
{
    eZapLCD *lcd = eZapLCD::getInstance();
    eWindow window;
    window.cresize(eSize(300, 200));
    window.setText("Tarnwave / Favourites");
    window.setLCD(lcd->menuPage->title, lcd->menuPage->content);
    auto *list = new eListBox<eListBoxEntryText>(&window);
    list->resize(eSize(300, 150));
    new eListBoxEntryText(list, "Jazz");
    auto *second = new eListBoxEntryText(list, "Rock");
    window.show();
    EXPECT_EQ(lcd->menuPage->title->getText(), "Tarnwave / Favourites");

    window.setText("Tarnwave / Top List");
    EXPECT_EQ(lcd->menuPage->title->getText(), "Tarnwave / Top List");

    window.setFocus(list);
    eScreen::osd().handleKey("down");
    EXPECT_EQ(list->getCurrent(), second);
    EXPECT_EQ(lcd->menuPage->content->getText(), "Rock");
}

TEST(Lcd, PageIsDrawnOnTheLcdScreen)
{
    eZapLCD *lcd = eZapLCD::getInstance();
    lcd->idlePage->title->setText("Radio");
    eScreen::lcd().compose();
    const gPixmap &picture = eScreen::lcd().pixmap();
    int lit = 0;
    for (int y = 0; y < 22; ++y)
        for (int x = 0; x < picture.width(); ++x)
            lit += picture.colorAt(x, y).r > 128 ? 1 : 0;
    EXPECT_GT(lit, 10) << "the title's text lights pixels in the upper line";
}

} // namespace
