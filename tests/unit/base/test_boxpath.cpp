#include "base/boxpath.h"

#include "support/temp_dir.h"

#include <gtest/gtest.h>

namespace {

class BoxPath : public ::testing::Test
{
protected:
    void SetUp() override { saved = boxRoot(); }
    void TearDown() override { setBoxRoot(saved); }
    std::string saved;
};

} // namespace

TEST_F(BoxPath, EmptyRootLeavesPathsAsTheyAre)
{
    setBoxRoot("");
    EXPECT_EQ(boxPath("/var/tuxbox/config/genrelist.xml"), "/var/tuxbox/config/genrelist.xml");
}

TEST_F(BoxPath, RootIsPutInFrontOfAbsolutePaths)
{
    setBoxRoot("/home/user/box");
    EXPECT_EQ(boxPath("/var/script/streamripper_script.sh"), "/home/user/box/var/script/streamripper_script.sh");
    EXPECT_EQ(boxPath("/tmp/.streamdebug"), "/home/user/box/tmp/.streamdebug");
}

TEST_F(BoxPath, TrailingSlashesOfTheRootAreDropped)
{
    setBoxRoot("/srv/box///");
    EXPECT_EQ(boxRoot(), "/srv/box");
    EXPECT_EQ(boxPath("/tmp/x"), "/srv/box/tmp/x");
}

TEST_F(BoxPath, RelativeAndEmptyPathsAreNotMapped)
{
    setBoxRoot("/srv/box");
    EXPECT_EQ(boxPath("relative/file"), "relative/file");
    EXPECT_EQ(boxPath(""), "");
}

TEST_F(BoxPath, TempBoxRootPointsAtItsDirectoryAndRestoresThePrevious)
{
    setBoxRoot("/previous");
    {
        TempBoxRoot root;
        EXPECT_EQ(boxRoot(), root.str());
        EXPECT_EQ(boxPath("/var"), root.str() + "/var");
    }
    EXPECT_EQ(boxRoot(), "/previous");
}
