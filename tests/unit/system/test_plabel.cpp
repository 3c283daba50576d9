// The divider label: a solid line that fills its rectangle, in the skin's
// divider colour unless it was given its own.

#include "gui/eskin.h"
#include "gui/ewindow.h"
#include "gui/gpixmap.h"
#include "gui/widgets/escreen.h"
#include "system/plabel.h"

#include <gtest/gtest.h>

namespace {

TEST(DividerLabel, FillsItsRectangleWithTheSkinsDividerColour)
{
    eSkin skin;
    ASSERT_EQ(skin.load((std::string(TARNWAVE_BINARY_DIR) + "/data/skin/default.xml").c_str()), 0);
    skin.setActive();
    const gColor divider = skin.queryColor("pLabel.line");

    eWindow window;
    window.cmove(ePoint(100, 100));
    window.cresize(eSize(200, 100));
    pLabel line(&window);
    line.move(ePoint(10, 20));
    line.resize(eSize(150, 2));
    window.show();
    eScreen::osd().compose();

    const ePoint corner = line.getAbsolutePosition();
    const gPixmap &screen = eScreen::osd().pixmap();
    EXPECT_EQ(screen.colorAt(corner.x(), corner.y()), divider);
    EXPECT_EQ(screen.colorAt(corner.x() + 149, corner.y() + 1), divider);
    EXPECT_NE(screen.colorAt(corner.x() + 150, corner.y()), divider);
    EXPECT_NE(screen.colorAt(corner.x(), corner.y() + 2), divider);
}

TEST(DividerLabel, AColourSetAsAPropertyWins)
{
    eWindow window;
    window.cresize(eSize(200, 100));
    pLabel line(&window);
    line.resize(eSize(2, 50));
    ASSERT_EQ(line.setProperty("foregroundColor", "#ff00ff00"), 0);
    window.show();
    eScreen::osd().compose();
    const ePoint corner = line.getAbsolutePosition();
    EXPECT_EQ(eScreen::osd().pixmap().colorAt(corner.x() + 1, corner.y() + 49), gRGB(0, 255, 0));
}

} // namespace
