// Fitting a line of text into a width: untouched when it fits, otherwise cut
// after a whole character with an ellipsis, never wider than the width.

#include "gui/drawing/text_fit.h"

#include "gui/drawing/utf8.h"
#include "gui/eskin.h"
#include "gui/ewindow.h"
#include "gui/gpixmap.h"
#include "gui/widgets/escreen.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

const gFont font("Bold", 22);

bool startsWith(const std::string &text, const std::string &start)
{
    return text.compare(0, start.size(), start) == 0;
}

// What the ellipsis follows in a shortened text.
std::string withoutEllipsis(const std::string &fitted)
{
    const std::string ellipsis = textEllipsis;
    EXPECT_GE(fitted.size(), ellipsis.size());
    EXPECT_EQ(fitted.substr(fitted.size() - ellipsis.size()), ellipsis);
    return fitted.substr(0, fitted.size() - ellipsis.size());
}

TEST(TextFit, ATextThatFitsIsLeftAsItIs)
{
    const eString title = "Tarnwave / Top List";
    const int width = textWidth(font, title);
    ASSERT_GT(width, 0);
    EXPECT_EQ(fitToWidth(title, font, width), title);
    EXPECT_EQ(fitToWidth(title, font, width + 100), title);
}

TEST(TextFit, ALongTextEndsWithAnEllipsisAfterTheLongestStartThatFits)
{
    const eString title = "Tarnwave / search by Ambient Chillout Lounge Downtempo   (3 entries)";
    const int width = 300;
    ASSERT_GT(textWidth(font, title), width);
    const eString fitted = fitToWidth(title, font, width);
    EXPECT_LE(textWidth(font, fitted), width);
    const std::string start = withoutEllipsis(fitted);
    EXPECT_TRUE(startsWith(title, start)) << fitted;
    EXPECT_GT(start.size(), 10u);
    // One character more, past any blanks (which the ellipsis drops), would not fit.
    std::size_t next = start.size();
    while (title[next] == ' ')
        ++next;
    const eString longer = title.substr(0, next + 1) + textEllipsis;
    EXPECT_GT(textWidth(font, longer), width) << fitted;
}

TEST(TextFit, NoCharacterIsCutInHalf)
{
    eString title;
    for (int i = 0; i < 20; ++i)
        title += "K\xC3\xB6ln \xE2\x99\xAB ";
    for (int width = 40; width < 400; width += 7) {
        const eString fitted = fitToWidth(title, font, width);
        SCOPED_TRACE(testing::Message() << "width " << width << ": " << fitted);
        EXPECT_TRUE(boxtext::isUtf8(fitted));
        EXPECT_LE(textWidth(font, fitted), width);
        EXPECT_TRUE(startsWith(title, withoutEllipsis(fitted)));
    }
}

TEST(TextFit, BlanksBeforeTheEllipsisAreDropped)
{
    const eString title = "aaaaaaaa                                                    bbbbbbbb";
    const int width = textWidth(font, eString("aaaaaaaa") + textEllipsis) + 2;
    EXPECT_EQ(fitToWidth(title, font, width), eString("aaaaaaaa") + textEllipsis);
}

TEST(TextFit, TooNarrowForTheEllipsisGivesNothing)
{
    EXPECT_EQ(fitToWidth("Tarnwave", font, 1), "");
    EXPECT_EQ(fitToWidth("Tarnwave", font, 0), "");
    EXPECT_EQ(fitToWidth("Tarnwave", font, -5), "");
    EXPECT_EQ(fitToWidth("", font, 100), "");
}

TEST(TextFit, AMegabyteOfTextIsCutToTheWidth)
{
    const std::string huge(1'000'000, 'x');
    const eString fitted = fitToWidth(huge, font, 500);
    EXPECT_LE(textWidth(font, fitted), 500);
    EXPECT_GT(withoutEllipsis(fitted).size(), 10u);
}

// The title bar of a window titled `title`, as composed on the screen.
std::vector<std::uint32_t> titleBarPixels(const eString &title)
{
    eWindow window;
    window.setText(title);
    window.cmove(ePoint(100, 100));
    window.cresize(eSize(240, 100));
    window.show();
    eScreen::osd().invalidateAll();
    eScreen::osd().compose();
    std::vector<std::uint32_t> pixels;
    const eRect bar(window.getPosition(), eSize(window.getSize().width(), window.getClientRect().top()));
    for (int y = bar.top(); y < bar.bottom(); ++y)
        for (int x = bar.left(); x < bar.right(); ++x)
            pixels.push_back(eScreen::osd().pixmap().pixel(x, y));
    window.hide();
    return pixels;
}

TEST(TextFit, AWindowTitleTooLongForItsBarEndsWithAnEllipsis)
{
    const eString title = "Tarnwave / search by a term far too long for this bar";
    const gFont titleFont = eSkin::getActive()->queryFont("eWindow.title");
    const int room = 240 - 2 * 12; // the title's room: the client width less its margins
    const eString fitted = fitToWidth(title, titleFont, room);
    ASSERT_NE(fitted, title);
    EXPECT_EQ(titleBarPixels(title), titleBarPixels(fitted)) << "the bar shows " << fitted;
    EXPECT_NE(titleBarPixels(title), titleBarPixels(title.substr(0, fitted.size()))) << "not the text cut short";
}

} // namespace
