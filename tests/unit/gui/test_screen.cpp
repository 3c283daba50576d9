// The screen: composing frames from damage, the order of windows, key
// delivery to the focused widget and up to its window, and the JSON
// description of what is shown.

#include "gui/eaction.h"
#include "gui/ebutton.h"
#include "gui/elabel.h"
#include "gui/ewindow.h"
#include "gui/gpixmap.h"
#include "gui/widgets/escreen.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// A window that records the actions it receives and may consume them.
class RecordingWindow : public eWindow
{
public:
    explicit RecordingWindow(bool consume = true) : m_consume(consume) { addActionMap(&i_shortcutActions->map); }
    int eventHandler(const eWidgetEvent &event) override
    {
        if (event.type == eWidgetEvent::evtAction) {
            received.push_back(event.action->getIdentifier());
            if (m_consume && event.action != &i_cursorActions->cancel)
                return 1;
        }
        return eWindow::eventHandler(event);
    }
    std::vector<std::string> received;

private:
    bool m_consume;
};

// A focusable widget that takes only the cursor map and records what it gets.
class RecordingChild : public eWidget
{
public:
    explicit RecordingChild(eWidget *parent) : eWidget(parent, 1) { addActionMap(&i_cursorActions->map); }
    int eventHandler(const eWidgetEvent &event) override
    {
        if (event.type == eWidgetEvent::evtAction) {
            received.push_back(event.action->getIdentifier());
            return event.action == &i_cursorActions->up ? 1 : 0;
        }
        return eWidget::eventHandler(event);
    }
    std::vector<std::string> received;
};

TEST(Screen, OsdIsAFullTvFrame)
{
    EXPECT_EQ(eScreen::osd().size(), eSize(720, 576));
    EXPECT_EQ(eScreen::osd().pixmap().size(), eSize(720, 576));
}

TEST(Screen, ComposedWindowShowsItsBackgroundAndTransparencyElsewhere)
{
    eScreen &screen = eScreen::osd();
    eWindow window;
    window.move(ePoint(100, 100));
    window.resize(eSize(200, 150));
    window.show();
    screen.compose();
    const gRGB inside = screen.pixmap().colorAt(200, 200);
    EXPECT_GT(inside.a, 0) << "the window's panel is drawn";
    EXPECT_EQ(screen.pixmap().colorAt(50, 50).a, 0) << "the TV shows where no window is";
    window.hide();
    screen.compose();
    EXPECT_EQ(screen.pixmap().colorAt(200, 200).a, 0) << "a hidden window is erased";
}

TEST(Screen, LabelBackgroundIsPaintedInsideItsRectangleOnly)
{
    eScreen &screen = eScreen::osd();
    eWindow window;
    window.cmove(ePoint(0, 100));
    window.cresize(eSize(400, 200));
    eLabel label(&window);
    label.move(ePoint(10, 10));
    label.resize(eSize(50, 20));
    label.setBackgroundColor(gColor(255, 0, 0));
    window.show();
    screen.compose();
    const ePoint corner = label.getAbsolutePosition();
    EXPECT_EQ(screen.pixmap().colorAt(corner.x() + 25, corner.y() + 10), gRGB(255, 0, 0));
    EXPECT_EQ(screen.pixmap().colorAt(corner.x() + 49, corner.y() + 19), gRGB(255, 0, 0));
    EXPECT_NE(screen.pixmap().colorAt(corner.x() + 50, corner.y() + 10), gRGB(255, 0, 0));
    EXPECT_NE(screen.pixmap().colorAt(corner.x() + 25, corner.y() + 20), gRGB(255, 0, 0));
}

TEST(Screen, ChildrenAreClippedToTheirParentsClientArea)
{
    eScreen &screen = eScreen::osd();
    eWindow window;
    window.cmove(ePoint(300, 300));
    window.cresize(eSize(100, 100));
    eLabel label(&window);
    label.move(ePoint(50, 50));
    label.resize(eSize(200, 200)); // reaches beyond the window
    label.setBackgroundColor(gColor(0, 255, 0));
    window.show();
    screen.compose();
    EXPECT_EQ(screen.pixmap().colorAt(380, 380), gRGB(0, 255, 0));
    EXPECT_NE(screen.pixmap().colorAt(420, 420), gRGB(0, 255, 0));
}

TEST(Screen, TheLastShownWindowIsActive)
{
    eScreen &screen = eScreen::osd();
    eWindow first;
    eWindow second;
    first.show();
    second.show();
    EXPECT_EQ(screen.activeWindow(), &second);
    second.hide();
    EXPECT_EQ(screen.activeWindow(), &first);
    first.hide();
    EXPECT_EQ(screen.activeWindow(), nullptr);
}

TEST(Screen, KeysReachTheActiveWindowsMapsOnly)
{
    eScreen &screen = eScreen::osd();
    RecordingWindow window;
    window.show();
    EXPECT_TRUE(screen.handleKey("red"));
    EXPECT_TRUE(screen.handleKey("7"));
    EXPECT_FALSE(screen.handleKey("menu")) << "the window did not add the menu's map";
    EXPECT_EQ(window.received, (std::vector<std::string>{"red", "number7"}));
}

TEST(Screen, KeysGoToTheWindowWhichOffersThemToItsFocusedChildFirst)
{
    eScreen &screen = eScreen::osd();
    RecordingWindow window(false);
    window.cresize(eSize(300, 200));
    RecordingChild child(&window);
    child.resize(eSize(100, 30));
    window.show();
    window.setFocus(&child);
    ASSERT_TRUE(child.hasFocus());

    EXPECT_TRUE(screen.handleKey("up")); // the child uses it
    screen.handleKey("ok"); // the child leaves it
    EXPECT_EQ(window.received, (std::vector<std::string>{"up", "ok"})) << "the window sees every key first";
    EXPECT_EQ(child.received, (std::vector<std::string>{"up", "ok"}));
}

TEST(Screen, AWindowThatUsesAKeyKeepsItFromItsFocusedChild)
{
    eScreen &screen = eScreen::osd();
    RecordingWindow window(true);
    window.cresize(eSize(300, 200));
    RecordingChild child(&window);
    child.resize(eSize(100, 30));
    window.show();
    window.setFocus(&child);
    EXPECT_TRUE(screen.handleKey("up"));
    EXPECT_EQ(window.received, (std::vector<std::string>{"up"}));
    EXPECT_TRUE(child.received.empty());
}

TEST(Screen, ActionsOfMapsOnlyTheFocusedChildHasReachTheWindowToo)
{
    eScreen &screen = eScreen::osd();
    eWindow window; // cursor map only
    window.cresize(eSize(300, 200));
    RecordingChild child(&window);
    child.resize(eSize(100, 30));
    child.addActionMap(&i_epgSelectorActions->map);
    window.show();
    screen.handleKey("menu");
    EXPECT_EQ(child.received, (std::vector<std::string>{"menu"}));
}

TEST(Screen, HiddenOrEmptyWidgetsCannotHoldTheFocus)
{
    eWindow window;
    window.cresize(eSize(300, 200));
    RecordingChild empty(&window); // zero size
    RecordingChild list(&window);
    list.resize(eSize(100, 100));
    window.show();
    EXPECT_EQ(window.getFocus(), &list);
    window.setFocus(&list);
    list.hide();
    EXPECT_EQ(window.getFocus(), nullptr);
    list.show();
    EXPECT_EQ(window.getFocus(), &list);
}

TEST(Screen, UnknownKeyNamesAreIgnored)
{
    RecordingWindow window;
    window.show();
    EXPECT_FALSE(eScreen::osd().handleKey("self-destruct"));
    EXPECT_TRUE(window.received.empty());
}

TEST(Screen, DescriptionListsVisibleWindowsWithTheirChildren)
{
    eWindow window;
    window.setText("Quoted \"title\"\n");
    window.cmove(ePoint(80, 90));
    window.cresize(eSize(200, 100));
    eLabel label(&window);
    label.setName("key_red");
    label.setText("index");
    label.resize(eSize(50, 20));
    eLabel hidden(&window);
    hidden.setName("hidden");
    hidden.hide();
    window.show();
    const std::string json = eScreen::osd().describe();
    EXPECT_NE(json.find("\"type\":\"eWindow\""), std::string::npos) << json;
    EXPECT_NE(json.find("\"text\":\"Quoted \\\"title\\\"\\n\""), std::string::npos) << json;
    EXPECT_NE(json.find("\"name\":\"key_red\""), std::string::npos) << json;
    EXPECT_NE(json.find("\"text\":\"index\""), std::string::npos) << json;
    EXPECT_EQ(json.find("\"name\":\"hidden\""), std::string::npos) << json;
}

TEST(Screen, DescriptionOfInvalidUtf8IsStillValidText)
{
    eWindow window;
    window.setText(std::string("bad \xff\xfe bytes"));
    window.show();
    const std::string json = eScreen::osd().describe();
    EXPECT_NE(json.find("bad \xef\xbf\xbd\xef\xbf\xbd bytes"), std::string::npos) << json;
}

TEST(Screen, ButtonPressedWithOk)
{
    eWindow window;
    window.cresize(eSize(300, 200));
    eButton button(&window);
    button.resize(eSize(100, 30));
    int presses = 0;
    button.selected.connect([&presses] { ++presses; });
    window.show();
    EXPECT_TRUE(eScreen::osd().handleKey("ok"));
    EXPECT_EQ(presses, 1);
}

TEST(Screen, CursorKeysMoveTheFocusBetweenButtons)
{
    eWindow window;
    window.cresize(eSize(300, 200));
    eButton first(&window);
    first.resize(eSize(100, 30));
    eButton second(&window);
    second.move(ePoint(0, 40));
    second.resize(eSize(100, 30));
    window.show();
    EXPECT_TRUE(first.hasFocus());
    eScreen::osd().handleKey("down");
    EXPECT_TRUE(second.hasFocus());
    eScreen::osd().handleKey("up");
    EXPECT_TRUE(first.hasFocus());
}

} // namespace
