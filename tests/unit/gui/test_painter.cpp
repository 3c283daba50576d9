// The painter: fills, clips, origin, lines, blending, clearing, blits and text,
// checked by probing pixels.

#include "gui/gpainter.h"

#include "support/pixel_probes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <future>
#include <thread>
#include <vector>

namespace {

constexpr std::uint32_t red = 0xffff0000u;
constexpr std::uint32_t blue = 0xff0000ffu;

int inkedPixels(const gPixmap &pixmap)
{
    int count = 0;
    for (int y = 0; y < pixmap.height(); ++y)
        for (int x = 0; x < pixmap.width(); ++x)
            count += pixmap.pixel(x, y) != 0;
    return count;
}

// Straight-alpha "over" worked out in floating point, for comparison.
gRGB expectedOver(gRGB dest, gRGB source)
{
    const double sa = source.a / 255.0, da = dest.a / 255.0;
    const double outA = sa + da * (1 - sa);
    auto channel = [&](int s, int d) { return static_cast<int>(std::lround((s * sa + d * da * (1 - sa)) / outA)); };
    return gRGB(channel(source.r, dest.r), channel(source.g, dest.g), channel(source.b, dest.b),
                static_cast<int>(std::lround(outA * 255)));
}

void expectNear(gRGB actual, gRGB expected)
{
    EXPECT_NEAR(actual.r, expected.r, 1);
    EXPECT_NEAR(actual.g, expected.g, 1);
    EXPECT_NEAR(actual.b, expected.b, 1);
    EXPECT_NEAR(actual.a, expected.a, 1);
}

TEST(Painter, FillsARectangleUpToItsExclusiveEdges)
{
    gPixmap pixmap(eSize(50, 50));
    gPainter painter(pixmap);
    painter.setForegroundColor(gRGB(255, 0, 0));
    painter.fill(eRect(ePoint(10, 10), eSize(20, 20)));
    EXPECT_EQ(pixmap.pixel(10, 10), red);
    EXPECT_EQ(pixmap.pixel(29, 29), red);
    EXPECT_EQ(pixmap.pixel(20, 15), red);
    EXPECT_EQ(pixmap.pixel(9, 10), 0u);
    EXPECT_EQ(pixmap.pixel(10, 9), 0u);
    EXPECT_EQ(pixmap.pixel(30, 29), 0u);
    EXPECT_EQ(pixmap.pixel(29, 30), 0u);
    EXPECT_EQ(inkedPixels(pixmap), 400);
}

TEST(Painter, FillBeyondTheTargetIsCut)
{
    gPixmap pixmap(eSize(10, 10));
    gPainter painter(pixmap);
    painter.setForegroundColor(gRGB(0, 0, 255));
    painter.fill(eRect::fromEdges(-100, -100, 1000, 5));
    EXPECT_EQ(pixmap.pixel(0, 0), blue);
    EXPECT_EQ(pixmap.pixel(9, 4), blue);
    EXPECT_EQ(pixmap.pixel(9, 5), 0u);
    EXPECT_EQ(inkedPixels(pixmap), 50);
}

TEST(Painter, ClipStackLimitsEveryDrawing)
{
    gPixmap pixmap(eSize(40, 40));
    gPainter painter(pixmap);
    EXPECT_EQ(painter.clipRect(), pixmap.rect());
    painter.clip(eRect::fromEdges(0, 0, 20, 20));
    painter.clip(eRect::fromEdges(10, 10, 30, 30));
    EXPECT_EQ(painter.clipRect(), eRect::fromEdges(10, 10, 20, 20)) << "a pushed clip is cut by the one below";
    painter.setForegroundColor(gRGB(255, 0, 0));
    painter.fill(pixmap.rect());
    EXPECT_EQ(inkedPixels(pixmap), 100);
    EXPECT_EQ(pixmap.pixel(10, 10), red);
    EXPECT_EQ(pixmap.pixel(19, 19), red);
    EXPECT_EQ(pixmap.pixel(20, 20), 0u);
    EXPECT_EQ(pixmap.pixel(9, 9), 0u);

    painter.clippop();
    EXPECT_EQ(painter.clipRect(), eRect::fromEdges(0, 0, 20, 20));
    painter.setForegroundColor(gRGB(0, 0, 255));
    painter.line(ePoint(0, 25), ePoint(39, 25));
    EXPECT_EQ(inkedPixels(pixmap), 100) << "a line outside the clip draws nothing";
    painter.fill(eRect::fromEdges(0, 0, 5, 40));
    EXPECT_EQ(pixmap.pixel(0, 19), blue);
    EXPECT_EQ(pixmap.pixel(0, 20), 0u);

    painter.clippop();
    painter.clippop(); // one more than pushed: the whole target stays
    EXPECT_EQ(painter.clipRect(), pixmap.rect());
}

TEST(Painter, InitialClipIsCutToTheTarget)
{
    gPixmap pixmap(eSize(20, 20));
    gPainter painter(pixmap, eRect::fromEdges(15, 15, 100, 100));
    EXPECT_EQ(painter.clipRect(), eRect::fromEdges(15, 15, 20, 20));
    painter.setForegroundColor(gRGB(255, 0, 0));
    painter.fill(pixmap.rect());
    EXPECT_EQ(inkedPixels(pixmap), 25);
}

TEST(Painter, OriginMovesEveryCoordinate)
{
    gPixmap pixmap(eSize(40, 40));
    gPainter painter(pixmap);
    painter.setOrigin(ePoint(5, 7));
    EXPECT_EQ(painter.origin(), ePoint(5, 7));
    painter.setForegroundColor(gRGB(255, 0, 0));
    painter.fill(eRect(ePoint(0, 0), eSize(2, 2)));
    EXPECT_EQ(pixmap.pixel(5, 7), red);
    EXPECT_EQ(pixmap.pixel(6, 8), red);
    EXPECT_EQ(pixmap.pixel(4, 7), 0u);
    EXPECT_EQ(inkedPixels(pixmap), 4);

    painter.moveOrigin(ePoint(10, 10));
    EXPECT_EQ(painter.origin(), ePoint(15, 17));
    painter.clip(eRect(ePoint(0, 0), eSize(3, 3))); // relative to the origin
    EXPECT_EQ(painter.clipRect(), eRect(ePoint(15, 17), eSize(3, 3)));
    painter.setForegroundColor(gRGB(0, 0, 255));
    painter.fill(eRect::fromEdges(-10, -10, 10, 10));
    EXPECT_EQ(pixmap.pixel(15, 17), blue);
    EXPECT_EQ(pixmap.pixel(17, 19), blue);
    EXPECT_EQ(pixmap.pixel(18, 19), 0u);
    painter.line(ePoint(1, -5), ePoint(1, 5));
    EXPECT_EQ(pixmap.pixel(16, 17), blue);
}

TEST(Painter, LinesIncludeBothEndPoints)
{
    gPixmap pixmap(eSize(20, 20));
    gPainter painter(pixmap);
    painter.setForegroundColor(gRGB(255, 0, 0));

    painter.line(ePoint(2, 5), ePoint(8, 5));
    for (int x = 2; x <= 8; ++x)
        EXPECT_EQ(pixmap.pixel(x, 5), red) << x;
    EXPECT_EQ(pixmap.pixel(1, 5), 0u);
    EXPECT_EQ(pixmap.pixel(9, 5), 0u);

    painter.line(ePoint(12, 9), ePoint(12, 2)); // upwards
    for (int y = 2; y <= 9; ++y)
        EXPECT_EQ(pixmap.pixel(12, y), red) << y;
    EXPECT_EQ(pixmap.pixel(12, 1), 0u);
    EXPECT_EQ(pixmap.pixel(12, 10), 0u);
    EXPECT_EQ(inkedPixels(pixmap), 7 + 8);

    pixmap.fillAll(0);
    painter.line(ePoint(19, 19), ePoint(10, 10)); // diagonal, right to left
    for (int k = 10; k <= 19; ++k)
        EXPECT_EQ(pixmap.pixel(k, k), red) << k;
    EXPECT_EQ(inkedPixels(pixmap), 10);

    pixmap.fillAll(0);
    painter.line(ePoint(1, 1), ePoint(4, 13)); // steep: one pixel per row
    EXPECT_EQ(pixmap.pixel(1, 1), red);
    EXPECT_EQ(pixmap.pixel(4, 13), red);
    EXPECT_EQ(inkedPixels(pixmap), 13);

    pixmap.fillAll(0);
    painter.line(ePoint(3, 3), ePoint(3, 3));
    EXPECT_EQ(pixmap.pixel(3, 3), red);
    EXPECT_EQ(inkedPixels(pixmap), 1);
}

TEST(Painter, LinesAreClipped)
{
    gPixmap pixmap(eSize(10, 10));
    gPainter painter(pixmap);
    painter.setForegroundColor(gRGB(255, 0, 0));
    painter.line(ePoint(-20, 5), ePoint(30, 5));
    EXPECT_EQ(inkedPixels(pixmap), 10);
    painter.line(ePoint(-1000000, -1000000), ePoint(-5, 7)); // wholly outside
    EXPECT_EQ(inkedPixels(pixmap), 10);
}

TEST(Painter, TranslucentFillOverOpaqueBlends)
{
    gPixmap pixmap(eSize(4, 4));
    pixmap.fillAll(blue);
    gPainter painter(pixmap);
    const gRGB source(255, 0, 0, 128);
    painter.setForegroundColor(source);
    painter.fill(pixmap.rect());
    const gRGB result = pixmap.colorAt(2, 2);
    EXPECT_EQ(result.a, 255);
    expectNear(result, gRGB(128, 0, 127, 255));
    expectNear(result, expectedOver(gRGB::fromArgb(blue), source));

    pixmap.fillAll(0xff204060u);
    painter.setForegroundColor(gRGB(200, 100, 50, 77));
    painter.fill(pixmap.rect());
    expectNear(pixmap.colorAt(0, 0), expectedOver(gRGB(0x20, 0x40, 0x60), gRGB(200, 100, 50, 77)));
}

TEST(Painter, TranslucentFillOverTranslucentBlendsStraightAlpha)
{
    gPixmap pixmap(eSize(4, 4));
    gPainter painter(pixmap);
    for (const auto &[dest, source] :
         {std::pair{gRGB(0, 0, 255, 128), gRGB(255, 0, 0, 128)},
          std::pair{gRGB(10, 200, 30, 40), gRGB(250, 20, 90, 200)},
          std::pair{gRGB(255, 255, 255, 1), gRGB(0, 0, 0, 254)}, std::pair{gRGB(90, 80, 70, 250), gRGB(1, 2, 3, 3)}}) {
        pixmap.fillAll(dest.argb());
        painter.setForegroundColor(source);
        painter.fill(pixmap.rect());
        SCOPED_TRACE(testing::Message() << "source alpha " << int{source.a} << " over " << int{dest.a});
        expectNear(pixmap.colorAt(1, 1), expectedOver(dest, source));
    }
}

TEST(Painter, FillOverTransparentStoresTheColourAndInvisibleFillDoesNothing)
{
    gPixmap pixmap(eSize(4, 4));
    gPainter painter(pixmap);
    painter.setForegroundColor(gRGB(10, 20, 30, 100));
    painter.fill(pixmap.rect());
    EXPECT_EQ(pixmap.colorAt(0, 0), gRGB(10, 20, 30, 100));
    painter.setForegroundColor(gRGB(255, 255, 255, 0));
    painter.fill(pixmap.rect());
    EXPECT_EQ(pixmap.colorAt(0, 0), gRGB(10, 20, 30, 100));
}

// A row of every kind of pixel, in stretches longer and shorter than the
// blocks that a fill classifies at once, and values that repeat and change.
TEST(Painter, FillOverMixedPixelsBlendsEachByItsOwnAlpha)
{
    constexpr int width = 83;
    gPixmap pixmap(eSize(width, 2));
    std::vector<gRGB> before;
    for (int x = 0; x < width; ++x) {
        gRGB dest(0, 0, 0, 0);
        if (x >= 16 && x < 32)
            dest = gRGB(0x20, 0x40, 0x60); // an opaque block
        else if (x >= 32 && x < 48)
            dest = gRGB(40, 50, 60, 224); // a translucent block of one value
        else if (x >= 48 && x < 64)
            dest = x % 3 == 0 ? gRGB(0, 0, 0, 0) : x % 3 == 1 ? gRGB(90, 0, 9, 255) : gRGB(1, 99, 7, 30 + x);
        else if (x >= 64)
            dest = gRGB(x, 255 - x, 7, x % 2 ? 255 : 128); // the tail, shorter than a block
        pixmap.setPixel(x, 1, dest.argb());
        before.push_back(dest);
    }
    gPainter painter(pixmap);
    const gRGB source(200, 100, 50, 150);
    painter.setForegroundColor(source);
    painter.fill(eRect::fromEdges(0, 1, width, 2));
    for (int x = 0; x < width; ++x) {
        SCOPED_TRACE(testing::Message() << "pixel " << x);
        if (before[static_cast<std::size_t>(x)].a == 0)
            EXPECT_EQ(pixmap.colorAt(x, 1), source);
        else
            expectNear(pixmap.colorAt(x, 1), expectedOver(before[static_cast<std::size_t>(x)], source));
    }
    EXPECT_EQ(pixmap.pixel(5, 0), 0u) << "the row above is left alone";
}

TEST(Painter, ClearReplacesWithoutBlending)
{
    gPixmap pixmap(eSize(10, 10));
    pixmap.fillAll(red);
    gPainter painter(pixmap);
    EXPECT_EQ(painter.backgroundColor(), gRGB(0, 0, 0, 0));
    painter.clear(eRect::fromEdges(0, 0, 5, 10));
    EXPECT_EQ(pixmap.pixel(0, 0), 0u) << "cleared to transparent";
    EXPECT_EQ(pixmap.pixel(4, 9), 0u);
    EXPECT_EQ(pixmap.pixel(5, 0), red);

    painter.setBackgroundColor(gRGB(0, 255, 0, 100));
    EXPECT_EQ(painter.backgroundColor(), gRGB(0, 255, 0, 100));
    painter.clear(pixmap.rect());
    EXPECT_EQ(pixmap.colorAt(7, 7), gRGB(0, 255, 0, 100)) << "stored as it is, not blended over red";
}

TEST(Painter, BlitBlendsBySourceAlpha)
{
    gPixmap source(eSize(4, 1));
    source.setPixel(0, 0, 0xff00ff00u);
    source.setPixel(1, 0, 0x00ffffffu);
    source.setPixel(2, 0, 0x80ff0000u);
    source.setPixel(3, 0, 0x40ffffffu);
    gPixmap target(eSize(10, 3));
    target.fillAll(blue);
    gPainter painter(target);
    painter.blit(source, ePoint(2, 1));
    EXPECT_EQ(target.pixel(1, 1), blue);
    EXPECT_EQ(target.pixel(2, 1), 0xff00ff00u);
    EXPECT_EQ(target.pixel(3, 1), blue) << "a transparent pixel leaves the target";
    expectNear(target.colorAt(4, 1), expectedOver(gRGB::fromArgb(blue), gRGB::fromArgb(0x80ff0000u)));
    expectNear(target.colorAt(5, 1), expectedOver(gRGB::fromArgb(blue), gRGB::fromArgb(0x40ffffffu)));
    EXPECT_EQ(target.pixel(6, 1), blue);
    EXPECT_EQ(target.pixel(2, 0), blue);
}

TEST(Painter, BlitAlphaTestSkipsMostlyTransparentPixels)
{
    gPixmap source(eSize(3, 1));
    source.setPixel(0, 0, 0x7fff0000u);
    source.setPixel(1, 0, 0x80ff0000u);
    source.setPixel(2, 0, 0xff00ff00u);
    gPixmap target(eSize(3, 1));
    target.fillAll(blue);
    gPainter painter(target);
    painter.blit(source, ePoint(0, 0), eRect(), gPainter::BF_ALPHA_TEST);
    EXPECT_EQ(target.pixel(0, 0), blue) << "alpha below 128 is skipped";
    EXPECT_EQ(target.pixel(1, 0), 0x80ff0000u) << "the rest is stored as it is";
    EXPECT_EQ(target.pixel(2, 0), 0xff00ff00u);
}

TEST(Painter, BlitWithoutFlagsCopies)
{
    gPixmap source(eSize(2, 1));
    source.setPixel(1, 0, 0x40112233u);
    gPixmap target(eSize(2, 1));
    target.fillAll(red);
    gPainter painter(target);
    painter.blit(source, ePoint(0, 0), eRect(), 0);
    EXPECT_EQ(target.pixel(0, 0), 0u);
    EXPECT_EQ(target.pixel(1, 0), 0x40112233u);
}

TEST(Painter, BlitTakesASourceAreaAndIsClipped)
{
    gPixmap source(eSize(10, 10));
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 10; ++x)
            source.setPixel(x, y, 0xff000000u | static_cast<std::uint32_t>(y * 16 + x));
    gPixmap target(eSize(8, 8));
    gPainter painter(target);
    painter.setOrigin(ePoint(1, 1));
    painter.clip(eRect::fromEdges(0, 0, 5, 5)); // target 1..6
    painter.blit(source, ePoint(-2, 0), eRect::fromEdges(3, 4, 9, 9), 0);
    // Source (3,4) would land at target (-1,1); (5,4) lands at (1,1).
    EXPECT_EQ(target.pixel(1, 1), 0xff000000u | (4 * 16 + 5));
    EXPECT_EQ(target.pixel(3, 4), 0xff000000u | (7 * 16 + 7));
    EXPECT_EQ(target.pixel(4, 5), 0xff000000u | (8 * 16 + 8));
    EXPECT_EQ(target.pixel(5, 5), 0u) << "beyond the source area's right edge";
    EXPECT_EQ(target.pixel(4, 6), 0u) << "outside the clip";
    EXPECT_EQ(target.pixel(0, 1), 0u) << "outside the clip";
    EXPECT_EQ(inkedPixels(target), 4 * 5);

    gPixmap other(eSize(4, 4));
    gPainter second(other);
    second.blit(source, ePoint(0, 0), eRect::fromEdges(8, 8, 12, 12), 0);
    EXPECT_EQ(other.pixel(0, 0), 0xff000000u | (8 * 16 + 8));
    EXPECT_EQ(other.pixel(1, 1), 0xff000000u | (9 * 16 + 9));
    EXPECT_EQ(inkedPixels(other), 4) << "the part beyond the source is left out";
}

TEST(Painter, BlitIsSkippedWhileAnotherThreadHoldsTheTarget)
{
    gPixmap source(eSize(2, 2));
    source.fillAll(red);
    gPixmap target(eSize(4, 4));
    gPainter painter(target);

    std::promise<void> locked, release;
    std::thread reader([&] {
        auto guard = target.lock();
        locked.set_value();
        release.get_future().wait();
    });
    locked.get_future().wait();
    painter.blit(source, ePoint(0, 0));
    release.set_value();
    reader.join();
    EXPECT_EQ(inkedPixels(target), 0) << "nothing drawn while the frame was being read";

    painter.blit(source, ePoint(0, 0));
    EXPECT_EQ(inkedPixels(target), 4);
}

TEST(Painter, BlitFromTheTargetIntoItself)
{
    gPixmap pixmap(eSize(4, 1));
    pixmap.setPixel(0, 0, red);
    pixmap.setPixel(1, 0, blue);
    gPainter painter(pixmap);
    painter.blit(pixmap, ePoint(1, 0), eRect::fromEdges(0, 0, 3, 1), 0);
    EXPECT_EQ(pixmap.pixel(1, 0), red);
    EXPECT_EQ(pixmap.pixel(2, 0), blue) << "read from the pixels as they were";
}

TEST(Painter, RenderTextDrawsInTheForegroundColourInsideTheArea)
{
    gPixmap pixmap(eSize(200, 60));
    gPainter painter(pixmap);
    painter.setForegroundColor(gRGB(255, 255, 0));
    const eRect area = eRect::fromEdges(10, 10, 190, 50);
    painter.renderText(area, "99", 0, eTextPara::dirRight);
    int ink = 0;
    bool pureColourSomewhere = false;
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 200; ++x) {
            const gRGB colour = pixmap.colorAt(x, y);
            if (colour.a == 0)
                continue;
            ++ink;
            EXPECT_TRUE(area.contains(ePoint(x, y)));
            EXPECT_GT(x, 150) << "right-aligned";
            EXPECT_EQ(colour.r, 255);
            EXPECT_EQ(colour.g, 255);
            EXPECT_EQ(colour.b, 0);
            pureColourSomewhere |= colour.a == 255;
        }
    EXPECT_GT(ink, 40);
    EXPECT_TRUE(pureColourSomewhere);
}

TEST(Painter, TextOverOpaqueBackgroundBlendsByCoverage)
{
    gPixmap pixmap(eSize(100, 40));
    pixmap.fillAll(0xff000000u);
    gPainter painter(pixmap);
    painter.setFont(gFont("Bold", 24));
    painter.setForegroundColor(gRGB(255, 255, 255));
    painter.renderText(pixmap.rect(), "Mg");
    int partial = 0, full = 0;
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 100; ++x) {
            const gRGB colour = pixmap.colorAt(x, y);
            EXPECT_EQ(colour.a, 255);
            EXPECT_EQ(colour.r, colour.b) << "grey between black and white";
            full += colour.r == 255;
            partial += colour.r > 0 && colour.r < 255;
        }
    EXPECT_GT(full, 50);
    EXPECT_GT(partial, 10) << "anti-aliased edges";
}

// Glyphs over a window's translucent fill, in places over a second value:
// each pixel is the text colour at its coverage over what was there.
TEST(Painter, TextOverTranslucentBackgroundBlendsByCoverage)
{
    const eRect area = eRect::fromEdges(0, 0, 100, 40);
    gPixmap coverage(eSize(100, 40));
    gPainter coveragePainter(coverage);
    coveragePainter.setFont(gFont("Bold", 24));
    const gRGB ink(255, 240, 100, 200);
    coveragePainter.setForegroundColor(gRGB(255, 240, 100));
    coveragePainter.renderText(area, "Mg");

    gPixmap pixmap(eSize(100, 40));
    const gRGB window(12, 20, 36, 224), stripe(90, 10, 10, 100);
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 100; ++x)
            pixmap.setPixel(x, y, (x % 7 == 0 ? stripe : window).argb());
    gPainter painter(pixmap);
    painter.setFont(gFont("Bold", 24));
    painter.setForegroundColor(ink);
    painter.renderText(area, "Mg");
    int inked = 0;
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 100; ++x) {
            const gRGB under = x % 7 == 0 ? stripe : window;
            const int cover = coverage.colorAt(x, y).a;
            if (cover == 0) {
                EXPECT_EQ(pixmap.colorAt(x, y), under);
                continue;
            }
            ++inked;
            SCOPED_TRACE(testing::Message() << "pixel " << x << "," << y << " coverage " << cover);
            const gRGB source(ink.r, ink.g, ink.b, static_cast<int>(std::lround(cover * ink.a / 255.0)));
            expectNear(pixmap.colorAt(x, y), expectedOver(under, source));
        }
    EXPECT_GT(inked, 50);
}

TEST(Painter, RoundRectLeavesTheCornersOut)
{
    gPixmap pixmap(eSize(40, 30));
    gPainter painter(pixmap);
    painter.setForegroundColor(gRGB(255, 0, 0));
    painter.fillRoundRect(eRect::fromEdges(0, 0, 40, 30), 10);
    EXPECT_EQ(pixmap.pixel(0, 0), 0u);
    EXPECT_EQ(pixmap.pixel(39, 0), 0u);
    EXPECT_EQ(pixmap.pixel(0, 29), 0u);
    EXPECT_EQ(pixmap.pixel(39, 29), 0u);
    EXPECT_EQ(pixmap.pixel(20, 0), red) << "the straight part of the top edge";
    EXPECT_EQ(pixmap.pixel(0, 15), red);
    EXPECT_EQ(pixmap.pixel(39, 15), red);
    EXPECT_EQ(pixmap.pixel(20, 15), red);
    const std::uint32_t edgeAlpha = pixmap.pixel(2, 3) >> 24; // on the corner's arc
    EXPECT_GT(edgeAlpha, 0u);
    EXPECT_LT(edgeAlpha, 255u) << "anti-aliased";
    EXPECT_EQ(pixmap.pixel(3, 3) >> 24, 255u) << "well inside the arc";
}

TEST(Painter, DrawRectFramesTheAreaAndBlendsEachPixelOnce)
{
    gPixmap pixmap(eSize(20, 20));
    pixmap.fillAll(blue);
    gPainter painter(pixmap);
    painter.setForegroundColor(gRGB(255, 0, 0, 128));
    painter.drawRect(eRect::fromEdges(2, 2, 18, 18), 2);
    const std::uint32_t once = pixmap.pixel(10, 2);
    EXPECT_NE(once, blue);
    EXPECT_EQ(pixmap.pixel(2, 2), once) << "corners blended once, like the edges";
    EXPECT_EQ(pixmap.pixel(17, 17), once);
    EXPECT_EQ(pixmap.pixel(3, 10), once);
    EXPECT_EQ(pixmap.pixel(16, 10), once);
    EXPECT_EQ(pixmap.pixel(4, 4), blue) << "inside the frame";
    EXPECT_EQ(pixmap.pixel(1, 1), blue) << "outside the frame";
}

// How fast this is, bench_gui measures; here only that it composes.
TEST(Painter, FullScreenOfTranslucentLayersComposes)
{
    gPixmap screen(eSize(720, 576));
    gPixmap osd(eSize(720, 576));
    screen.fillAll(0xff336699u);
    gPainter osdPainter(osd);
    osdPainter.setForegroundColor(gRGB(20, 30, 40, 200));
    osdPainter.fill(osd.rect());
    osdPainter.setForegroundColor(gRGB(200, 30, 40, 100));
    osdPainter.fill(eRect::fromEdges(100, 100, 620, 476)); // translucent over translucent
    gPainter screenPainter(screen);
    screenPainter.blit(osd, ePoint(0, 0));
    expectNear(screen.colorAt(50, 50), expectedOver(gRGB::fromArgb(0xff336699u), gRGB(20, 30, 40, 200)));
    expectNear(screen.colorAt(719, 575), expectedOver(gRGB::fromArgb(0xff336699u), gRGB(20, 30, 40, 200)));
    EXPECT_NE(screen.colorAt(300, 300), screen.colorAt(50, 50)) << "the inner layer shows";
}

} // namespace
