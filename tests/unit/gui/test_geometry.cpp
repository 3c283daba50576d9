// Points, sizes and rectangles with exclusive right and bottom edges.

#include "gui/geometry.h"

#include <gtest/gtest.h>

namespace {

TEST(Geometry, RectangleEdgesAreExclusive)
{
    const eRect rect(ePoint(10, 20), eSize(30, 40));
    EXPECT_EQ(rect.left(), 10);
    EXPECT_EQ(rect.top(), 20);
    EXPECT_EQ(rect.right(), 40);
    EXPECT_EQ(rect.bottom(), 60);
    EXPECT_EQ(rect.width(), 30);
    EXPECT_EQ(rect.height(), 40);
    EXPECT_EQ(rect, eRect(ePoint(10, 20), ePoint(40, 60)));
    EXPECT_EQ(rect, eRect::fromEdges(10, 20, 40, 60));
    EXPECT_EQ(rect.size(), eSize(30, 40));
}

TEST(Geometry, ContainsPointsUpToButNotIncludingTheFarEdges)
{
    const eRect rect(ePoint(0, 0), eSize(10, 5));
    EXPECT_TRUE(rect.contains(ePoint(0, 0)));
    EXPECT_TRUE(rect.contains(ePoint(9, 4)));
    EXPECT_FALSE(rect.contains(ePoint(10, 4)));
    EXPECT_FALSE(rect.contains(ePoint(9, 5)));
    EXPECT_FALSE(rect.contains(ePoint(-1, 0)));
}

TEST(Geometry, ContainsRectangles)
{
    const eRect outer = eRect::fromEdges(0, 0, 100, 100);
    EXPECT_TRUE(outer.contains(eRect::fromEdges(0, 0, 100, 100)));
    EXPECT_TRUE(outer.contains(eRect::fromEdges(10, 10, 20, 20)));
    EXPECT_FALSE(outer.contains(eRect::fromEdges(90, 90, 101, 100)));
    EXPECT_TRUE(outer.contains(eRect())) << "an empty rectangle lies in every rectangle";
}

TEST(Geometry, IntersectionIsTheCommonPart)
{
    const eRect a = eRect::fromEdges(0, 0, 50, 50);
    const eRect b = eRect::fromEdges(30, 20, 80, 40);
    EXPECT_EQ(a & b, eRect::fromEdges(30, 20, 50, 40));
    EXPECT_EQ(b & a, a & b);
    EXPECT_TRUE(a.intersects(b));

    const eRect apart = eRect::fromEdges(60, 60, 70, 70);
    EXPECT_TRUE((a & apart).isEmpty());
    EXPECT_FALSE(a.intersects(apart));
    const eRect touching = eRect::fromEdges(50, 0, 60, 50);
    EXPECT_TRUE((a & touching).isEmpty()) << "rectangles that share only an edge have no pixel in common";
}

TEST(Geometry, UnionHoldsBothAndIgnoresEmptySides)
{
    const eRect a = eRect::fromEdges(0, 0, 10, 10);
    const eRect b = eRect::fromEdges(20, 5, 30, 40);
    EXPECT_EQ(a | b, eRect::fromEdges(0, 0, 30, 40));
    EXPECT_EQ(a | eRect(), a);
    EXPECT_EQ(eRect() | b, b);
    EXPECT_EQ(eRect::fromEdges(100, 100, 90, 90) | a, a) << "an inverted rectangle is empty";
}

TEST(Geometry, TranslatedMovesWithoutResizing)
{
    const eRect rect = eRect::fromEdges(1, 2, 11, 22);
    EXPECT_EQ(rect.translated(ePoint(5, -2)), eRect::fromEdges(6, 0, 16, 20));
    eRect moved = rect;
    moved.moveBy(ePoint(-1, -2));
    EXPECT_EQ(moved, eRect(ePoint(0, 0), eSize(10, 20)));
    EXPECT_EQ(ePoint(3, 4) + ePoint(1, 1), ePoint(4, 5));
    EXPECT_EQ(ePoint(3, 4) - ePoint(1, 1), ePoint(2, 3));
}

TEST(Geometry, EmptyRectangles)
{
    EXPECT_TRUE(eRect().isEmpty());
    EXPECT_FALSE(eRect().isValid());
    EXPECT_TRUE(eRect(ePoint(5, 5), eSize(0, 10)).isEmpty());
    EXPECT_TRUE(eRect(ePoint(5, 5), eSize(10, -1)).isEmpty());
    EXPECT_FALSE(eRect(ePoint(5, 5), eSize(1, 1)).isEmpty());
    EXPECT_FALSE(eRect().contains(ePoint(0, 0)));
    EXPECT_TRUE(eSize(0, 3).isEmpty());
    EXPECT_FALSE(eSize(1, 3).isEmpty());
}

} // namespace
