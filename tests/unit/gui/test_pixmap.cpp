// The ARGB image: size, pixel access, copies and the lock against a frame reader.

#include "gui/gpixmap.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace {

TEST(Pixmap, HasItsSizeAndStartsTransparent)
{
    const gPixmap pixmap(eSize(7, 3));
    EXPECT_EQ(pixmap.size(), eSize(7, 3));
    EXPECT_EQ(pixmap.width(), 7);
    EXPECT_EQ(pixmap.height(), 3);
    EXPECT_EQ(pixmap.rect(), eRect::fromEdges(0, 0, 7, 3));
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 7; ++x)
            EXPECT_EQ(pixmap.pixel(x, y), 0u);
}

TEST(Pixmap, NegativeSizeIsEmpty)
{
    const gPixmap pixmap(eSize(-4, 10));
    EXPECT_EQ(pixmap.size(), eSize(0, 0));
    EXPECT_EQ(pixmap.pixel(0, 0), 0u);
}

TEST(Pixmap, StoresAndReadsPixels)
{
    gPixmap pixmap(eSize(4, 4));
    pixmap.setPixel(1, 2, 0x80112233u);
    EXPECT_EQ(pixmap.pixel(1, 2), 0x80112233u);
    EXPECT_EQ(pixmap.line(2)[1], 0x80112233u) << "rows are contiguous, x indexes within the row";
    EXPECT_EQ(pixmap.data()[2 * 4 + 1], 0x80112233u);
    EXPECT_EQ(pixmap.colorAt(1, 2), gRGB(0x11, 0x22, 0x33, 0x80));
    pixmap.line(3)[3] = 0xffffffffu;
    EXPECT_EQ(pixmap.pixel(3, 3), 0xffffffffu);
    EXPECT_EQ(pixmap.pixel(2, 2), 0u);
}

TEST(Pixmap, OutOfRangeReadsZeroAndWritesAreIgnored)
{
    gPixmap pixmap(eSize(3, 2));
    pixmap.fillAll(0xff00ff00u);
    EXPECT_EQ(pixmap.pixel(-1, 0), 0u);
    EXPECT_EQ(pixmap.pixel(0, -1), 0u);
    EXPECT_EQ(pixmap.pixel(3, 0), 0u);
    EXPECT_EQ(pixmap.pixel(0, 2), 0u);
    EXPECT_EQ(pixmap.colorAt(5, 5), gRGB(0, 0, 0, 0));
    pixmap.setPixel(3, 0, 0x12345678u);
    pixmap.setPixel(-1, 1, 0x12345678u);
    pixmap.setPixel(0, 2, 0x12345678u);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            EXPECT_EQ(pixmap.pixel(x, y), 0xff00ff00u);
}

TEST(Pixmap, CloneIsAnIndependentCopy)
{
    gPixmap pixmap(eSize(5, 5));
    pixmap.setPixel(4, 4, 0xff0000ffu);
    auto copy = pixmap.clone();
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->size(), pixmap.size());
    EXPECT_EQ(copy->pixel(4, 4), 0xff0000ffu);
    copy->setPixel(0, 0, 0xffffffffu);
    pixmap.setPixel(4, 4, 0u);
    EXPECT_EQ(pixmap.pixel(0, 0), 0u);
    EXPECT_EQ(copy->pixel(4, 4), 0xff0000ffu);
}

TEST(Pixmap, TryLockFailsWhileAnotherThreadHoldsTheLock)
{
    gPixmap pixmap(eSize(2, 2));
    std::promise<void> locked, release;
    std::thread reader([&] {
        auto guard = pixmap.lock();
        locked.set_value();
        release.get_future().wait();
    });
    locked.get_future().wait();
    {
        auto attempt = pixmap.tryLock();
        EXPECT_FALSE(attempt.owns_lock());
    }
    release.set_value();
    reader.join();

    auto attempt = pixmap.tryLock();
    EXPECT_TRUE(attempt.owns_lock()) << "free again once the other thread let go";
}

} // namespace
