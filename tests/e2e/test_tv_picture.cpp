// The TV picture behind the on-screen display follows the decoder: the test
// picture, the same with a mute mark, the radio still, black.

#include "emulator_process.h"

#include "gui/drawing/png_io.h"

#include <gtest/gtest.h>

namespace {

class TvPicture : public ::testing::Test
{
protected:
    EmulatorProcess emulator{{"--plugin", testPluginPath(), "--no-autostart", "--directory", unusedDirectory}};

    void SetUp() override { ASSERT_EQ(emulator.post("/api/plugin/start").status, 200); }

    // The screen after the test plug-in got `digit` (see its decoder keys).
    std::unique_ptr<gPixmap> screenAfter(const std::string &digit) const
    {
        EXPECT_EQ(emulator.post("/api/key/" + digit).status, 200);
        auto picture = decodePNG(emulator.get("/api/screen.png").body);
        EXPECT_NE(picture, nullptr);
        return picture;
    }
};

// The window covers the middle; these points are TV picture only.
constexpr ePoint topLeft(20, 20); // the first colour bar
constexpr ePoint topRight(700, 20); // the last colour bar, under the mute mark's corner
constexpr ePoint muteCross(646, 72); // the middle of the mute mark's cross

TEST_F(TvPicture, ShowsTheTestPictureWithSoundAtFirst)
{
    const auto picture = screenAfter("0");
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->colorAt(topLeft.x(), topLeft.y()), gRGB(191, 191, 191));
    EXPECT_EQ(picture->colorAt(muteCross.x(), muteCross.y()), gRGB(0, 0, 191));
}

TEST_F(TvPicture, MarksTheSoundTakenAway)
{
    const auto picture = screenAfter("1");
    ASSERT_NE(picture, nullptr);
    // The bars stay; a red cross lies over the blue bar.
    EXPECT_EQ(picture->colorAt(topLeft.x(), topLeft.y()), gRGB(191, 191, 191));
    const gRGB cross = picture->colorAt(muteCross.x(), muteCross.y());
    EXPECT_GT(cross.r, 200);
    EXPECT_LT(cross.b, 80);
}

TEST_F(TvPicture, ShowsTheRadioStill)
{
    const auto picture = screenAfter("2");
    ASSERT_NE(picture, nullptr);
    // A dark blue background, no colour bars.
    const gRGB corner = picture->colorAt(topLeft.x(), topLeft.y());
    EXPECT_LT(corner.r, 60);
    EXPECT_GT(corner.b, corner.r);
    EXPECT_NE(picture->colorAt(topRight.x(), topRight.y()), gRGB(0, 0, 191));
}

TEST_F(TvPicture, IsBlackWithoutAPicture)
{
    const auto picture = screenAfter("3");
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->colorAt(topLeft.x(), topLeft.y()), gRGB(0, 0, 0));
    EXPECT_EQ(picture->colorAt(topRight.x(), topRight.y()), gRGB(0, 0, 0));
}

TEST_F(TvPicture, ComesBackWhenThePluginEnds)
{
    screenAfter("3");
    ASSERT_EQ(emulator.post("/api/key/exit").status, 200);
    ASSERT_TRUE(emulator.waitForBody("/api/widgets", "\"name\":\"plugin-menu\""));
    const auto picture = decodePNG(emulator.get("/api/screen.png").body);
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->colorAt(topLeft.x(), topLeft.y()), gRGB(191, 191, 191));
}

} // namespace
