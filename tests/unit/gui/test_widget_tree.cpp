// The widget tree: ownership, geometry of client areas, visibility through
// parents, names, and setters that only mark damage when something changes.

#include "gui/elabel.h"
#include "gui/ewidget.h"
#include "gui/ewindow.h"
#include "gui/widgets/escreen.h"

#include <gtest/gtest.h>

namespace {

// Counts its own destruction, to check ownership.
class CountedWidget : public eWidget
{
public:
    CountedWidget(eWidget *parent, int &deaths) : eWidget(parent), m_deaths(deaths) { }
    ~CountedWidget() override { ++m_deaths; }

private:
    int &m_deaths;
};

TEST(WidgetTree, ParentDeletesItsChildren)
{
    int deaths = 0;
    auto *root = new eWidget;
    auto *child = new CountedWidget(root, deaths);
    new CountedWidget(child, deaths);
    new CountedWidget(root, deaths);
    EXPECT_EQ(root->getChildren().size(), 2u);
    delete root;
    EXPECT_EQ(deaths, 3);
}

TEST(WidgetTree, DeletedChildLeavesItsParent)
{
    eWidget root;
    int deaths = 0;
    auto *child = new CountedWidget(&root, deaths);
    delete child;
    EXPECT_TRUE(root.getChildren().empty());
    EXPECT_EQ(deaths, 1);
}

TEST(WidgetTree, ClientAreaOfAWindowLiesUnderItsTitleBar)
{
    eWindow window;
    window.cmove(ePoint(80, 90));
    window.cresize(eSize(560, 430));
    const eRect client = window.getClientRect();
    EXPECT_EQ(client.size(), eSize(560, 430));
    EXPECT_EQ(window.getPosition() + client.topLeft(), ePoint(80, 90));
    EXPECT_EQ(client.top(), window.borderWidth() + window.titleHeight());
    EXPECT_EQ(window.getSize(),
              eSize(560 + 2 * window.borderWidth(), 430 + 2 * window.borderWidth() + window.titleHeight()));
}

TEST(WidgetTree, ChildPositionsAreRelativeToTheParentsClientArea)
{
    eWindow window;
    window.cmove(ePoint(100, 50));
    window.cresize(eSize(300, 200));
    eLabel label(&window);
    label.move(ePoint(10, 20));
    label.resize(eSize(50, 30));
    EXPECT_EQ(label.getAbsolutePosition(), ePoint(110, 70));
    EXPECT_EQ(label.getAbsoluteRect(), eRect(ePoint(110, 70), eSize(50, 30)));
}

TEST(WidgetTree, CmoveOnAPlainWidgetIsAMove)
{
    eWidget root;
    eWidget child(&root);
    child.cmove(ePoint(7, 9));
    child.cresize(eSize(11, 13));
    EXPECT_EQ(child.getPosition(), ePoint(7, 9));
    EXPECT_EQ(child.getSize(), eSize(11, 13));
}

TEST(WidgetTree, VisibilityNeedsEveryParentShown)
{
    eWindow window;
    eWidget group(&window);
    eLabel label(&group);
    EXPECT_TRUE(label.isShown());
    EXPECT_FALSE(label.isVisible()) << "a window is hidden until shown";
    window.show();
    EXPECT_TRUE(label.isVisible());
    group.hide();
    EXPECT_FALSE(label.isVisible());
    EXPECT_TRUE(label.isShown());
    group.show();
    label.hide();
    EXPECT_FALSE(label.isVisible());
    EXPECT_TRUE(group.isVisible());
    window.hide();
    EXPECT_FALSE(group.isVisible());
}

TEST(WidgetTree, SearchFindsNamedDescendants)
{
    eWindow window;
    eWidget group(&window);
    eLabel first(&group);
    first.setName("key_red");
    eLabel second(&window);
    second.setName("key_blue");
    EXPECT_EQ(window.search("key_red"), &first);
    EXPECT_EQ(window.search("key_blue"), &second);
    EXPECT_EQ(window.search("key_green"), nullptr);
    EXPECT_EQ(group.search("key_blue"), nullptr) << "search looks among descendants only";
}

TEST(WidgetTree, SettersMarkDamageOnlyOnChange)
{
    eScreen &screen = eScreen::osd();
    eWindow window;
    window.cresize(eSize(200, 100));
    window.show();
    screen.compose();
    ASSERT_FALSE(screen.hasDamage());

    window.setText("Title");
    EXPECT_TRUE(screen.hasDamage());
    screen.compose();
    window.setText("Title");
    window.move(window.getPosition());
    window.resize(window.getSize());
    EXPECT_FALSE(screen.hasDamage()) << "nothing changed, nothing to paint";
}

TEST(WidgetTree, HiddenWidgetsMarkNoDamage)
{
    eScreen &screen = eScreen::osd();
    eWindow window;
    window.cresize(eSize(200, 100));
    screen.compose();
    window.setText("not shown");
    EXPECT_FALSE(screen.hasDamage());
}

} // namespace
