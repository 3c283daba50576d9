// GET /api/screen.png: the composed 720x576 screen, the TV picture with the
// plug-in's window over it.

#include "emulator_process.h"
#include "widget_json.h"

#include "gui/drawing/png_io.h"

#include <gtest/gtest.h>

namespace {

class ScreenPicture : public ::testing::Test
{
protected:
    EmulatorProcess emulator{{"--plugin", testPluginPath(), "--no-autostart", "--directory", unusedDirectory}};

    std::unique_ptr<gPixmap> screen() const
    {
        const HttpReply reply = emulator.get("/api/screen.png");
        EXPECT_EQ(reply.status, 200);
        EXPECT_EQ(reply.contentType, "image/png");
        std::string error;
        auto picture = decodePNG(reply.body, &error);
        EXPECT_NE(picture, nullptr) << error;
        return picture;
    }

    static gRGB centreColour(const gPixmap &picture, const eRect &area)
    {
        return picture.colorAt(area.left() + area.width() / 2, area.top() + area.height() / 2);
    }
};

TEST_F(ScreenPicture, IsA720x576Png)
{
    const auto picture = screen();
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->width(), 720);
    EXPECT_EQ(picture->height(), 576);
    // Opaque everywhere: the TV is behind everything.
    EXPECT_EQ(picture->colorAt(0, 0).a, 255);
    EXPECT_EQ(picture->colorAt(719, 575).a, 255);
}

TEST_F(ScreenPicture, ItsPixelsShowThePluginWindow)
{
    ASSERT_EQ(emulator.post("/api/plugin/start").status, 200);
    const std::string widgets = emulator.get("/api/widgets").body;
    const auto window = geometryOf(widgets, "test-plugin");
    const auto swatch = geometryOf(widgets, "swatch");
    ASSERT_TRUE(window && swatch) << widgets;

    auto picture = screen();
    ASSERT_NE(picture, nullptr);
    // The swatch is opaque grey until a colour key is pressed.
    EXPECT_EQ(centreColour(*picture, *swatch), gRGB(128, 128, 128));
    // Outside the window the TV's test picture shows: the first colour bar
    // (75 % white) at the top left.
    EXPECT_FALSE(window->contains(ePoint(20, 20)));
    EXPECT_EQ(picture->colorAt(20, 20), gRGB(191, 191, 191));
    // Inside the window, away from its children, the window's background
    // covers the bars: the pixel is not the bar's colour there.
    const ePoint inside(window->left() + 5, window->bottom() - 5);
    EXPECT_NE(picture->colorAt(inside.x(), inside.y()), gRGB(191, 191, 191));

    ASSERT_EQ(emulator.post("/api/key/green").status, 200);
    picture = screen();
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(centreColour(*picture, *swatch), gRGB(0, 255, 0));
    ASSERT_EQ(emulator.post("/api/key/blue").status, 200);
    picture = screen();
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(centreColour(*picture, *swatch), gRGB(0, 0, 255));
}

TEST_F(ScreenPicture, TheLcdIsAPictureToo)
{
    const HttpReply reply = emulator.get("/api/lcd.png");
    ASSERT_EQ(reply.status, 200);
    const auto picture = decodePNG(reply.body);
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->size(), eSize(120, 64));
}

} // namespace
