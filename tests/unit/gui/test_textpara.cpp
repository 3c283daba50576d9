// Text paragraphs: layout, alignment, tabs, line breaks, wrapping, clipping
// and long texts, checked by probing the drawn pixels.

#include "gui/etextpara.h"
#include "gui/gpainter.h"

#include "support/pixel_probes.h"

#include <gtest/gtest.h>

#include <malloc.h>

#include <cstddef>
#include <memory>
#include <string>

namespace {

const gFont regular("Regular", 20);

struct ParagraphDestroyer
{
    void operator()(eTextPara *paragraph) const { paragraph->destroy(); }
};
using Paragraph = std::unique_ptr<eTextPara, ParagraphDestroyer>;

Paragraph layOut(const eRect &area, const std::string &text, int flags = 0, int align = eTextPara::dirLeft)
{
    Paragraph paragraph(new eTextPara(area));
    paragraph->setFont(regular);
    EXPECT_EQ(paragraph->renderString(text, flags), 0);
    paragraph->realign(align);
    return paragraph;
}

// The smallest rectangle holding every pixel that is not fully transparent.
eRect inkOf(const gPixmap &pixmap)
{
    eRect ink;
    for (int y = 0; y < pixmap.height(); ++y)
        for (int x = 0; x < pixmap.width(); ++x)
            if (pixmap.pixel(x, y) != 0)
                ink = ink | eRect(ePoint(x, y), eSize(1, 1));
    return ink;
}

int inkedPixels(const gPixmap &pixmap)
{
    int count = 0;
    for (int y = 0; y < pixmap.height(); ++y)
        for (int x = 0; x < pixmap.width(); ++x)
            count += pixmap.pixel(x, y) != 0;
    return count;
}

void draw(gPixmap &pixmap, eTextPara &paragraph, ePoint offset = ePoint(0, 0))
{
    gPainter painter(pixmap);
    painter.setForegroundColor(gRGB(255, 255, 255));
    painter.renderPara(paragraph, offset);
}

TEST(TextPara, InkLiesInsideTheAreaAndMatchesTheBoundBox)
{
    gPixmap pixmap(eSize(300, 100));
    const eRect area = eRect::fromEdges(20, 10, 220, 50);
    auto paragraph = layOut(area, "Hello, Tarnwave!");
    draw(pixmap, *paragraph);

    const eRect ink = inkOf(pixmap);
    ASSERT_FALSE(ink.isEmpty());
    EXPECT_GT(inkedPixels(pixmap), 100);
    EXPECT_TRUE(area.contains(ink));
    EXPECT_EQ(ink, paragraph->getBoundBox()) << "the bound box is the ink extent";
    EXPECT_LE(ink.left(), area.left() + 3);
    EXPECT_EQ(paragraph->lineCount(), 1);
    EXPECT_EQ(paragraph->area(), area);
    EXPECT_GT(paragraph->lineHeight(), 15);
    // The first baseline sits at the area's top plus the ascender: capitals
    // reach close to the top and stay above top + lineHeight.
    EXPECT_LE(ink.top(), area.top() + 6);
    EXPECT_LT(ink.bottom(), area.top() + paragraph->lineHeight() + 1);
}

TEST(TextPara, GlyphsOutsideTheAreaAreClipped)
{
    gPixmap pixmap(eSize(200, 100));
    const eRect area = eRect::fromEdges(50, 40, 90, 50); // narrower and lower than the text
    auto paragraph = layOut(area, "A long text that does not fit at all\nand a second line too");
    EXPECT_FALSE(area.contains(paragraph->getBoundBox())) << "the layout itself goes beyond the area";
    draw(pixmap, *paragraph);
    const eRect ink = inkOf(pixmap);
    ASSERT_FALSE(ink.isEmpty()) << "the part inside is drawn";
    EXPECT_TRUE(area.contains(ink)) << "ink at " << ink.left() << "," << ink.top() << " to " << ink.right() << ","
                                    << ink.bottom();
}

TEST(TextPara, DrawingIsClippedToThePainterClipAndMovedByTheOffset)
{
    gPixmap pixmap(eSize(300, 100));
    const eRect area = eRect::fromEdges(0, 0, 200, 40);
    auto paragraph = layOut(area, "MMMMMMMMMM");
    gPainter painter(pixmap);
    painter.setForegroundColor(gRGB(255, 255, 255));
    painter.setOrigin(ePoint(30, 20));
    painter.clip(eRect::fromEdges(10, 0, 60, 100)); // target x 40..90
    painter.renderPara(*paragraph, ePoint(5, 0));
    const eRect ink = inkOf(pixmap);
    ASSERT_FALSE(ink.isEmpty());
    EXPECT_GE(ink.left(), 40);
    EXPECT_LE(ink.right(), 90);
    EXPECT_GE(ink.top(), 20) << "the origin moved the text down";
    const eRect box = paragraph->getBoundBox().translated(ePoint(35, 20));
    EXPECT_EQ(ink.top(), box.top());
}

TEST(TextPara, RightAndCentreAlignmentMoveTheInk)
{
    const eRect area = eRect::fromEdges(10, 0, 410, 40);
    auto left = layOut(area, "1234", 0, eTextPara::dirLeft);
    auto right = layOut(area, "1234", 0, eTextPara::dirRight);
    auto centre = layOut(area, "1234", 0, eTextPara::dirCenter);
    const eRect leftBox = left->getBoundBox(), rightBox = right->getBoundBox(), centreBox = centre->getBoundBox();

    EXPECT_EQ(leftBox.width(), rightBox.width());
    EXPECT_LE(leftBox.left() - area.left(), 3);
    EXPECT_LE(area.right() - rightBox.right(), 3);
    EXPECT_GE(area.right() - rightBox.right(), 0);
    const int centreOfBox = (centreBox.left() + centreBox.right()) / 2;
    EXPECT_NEAR(centreOfBox, (area.left() + area.right()) / 2, 3);

    // Probe columns: drawn right-aligned, nothing lies in the left half.
    gPixmap pixmap(eSize(420, 40));
    draw(pixmap, *right);
    const eRect ink = inkOf(pixmap);
    EXPECT_GT(ink.left(), 300);
    EXPECT_LE(ink.right(), area.right());

    right->realign(eTextPara::dirLeft);
    EXPECT_EQ(right->getBoundBox(), leftBox) << "aligning left again undoes it";
}

TEST(TextPara, EachLineIsAlignedOnItsOwn)
{
    const eRect area = eRect::fromEdges(0, 0, 300, 100);
    auto paragraph = layOut(area, "short\na much longer line", 0, eTextPara::dirRight);
    gPixmap pixmap(eSize(300, 100));
    draw(pixmap, *paragraph);
    // Both lines end near the right edge: the first line's rows have ink there.
    const int firstLineRow = paragraph->ascender() - 5;
    bool inkNearRightEdge = false;
    for (int x = 285; x < 300; ++x)
        inkNearRightEdge |= pixmap.pixel(x, firstLineRow) != 0;
    EXPECT_TRUE(inkNearRightEdge);
    for (int x = 0; x < 150; ++x)
        EXPECT_EQ(pixmap.pixel(x, firstLineRow), 0u) << "the short line is not at the left, x=" << x;
}

TEST(TextPara, TabsAdvanceToTheNextStopWithAtLeastOneSpace)
{
    const eRect area = eRect::fromEdges(0, 0, 600, 40);
    const int space = textWidth(regular, "a b") - textWidth(regular, "ab");
    ASSERT_GT(space, 0);
    const int tab = 8 * space;
    const int xRightOffset = layOut(area, "X")->getBoundBox().right();

    for (std::string prefix; prefix.size() <= 24; prefix += 'i') {
        const int width = textWidth(regular, prefix);
        int stop = tab;
        while (stop - width < space)
            stop += tab;
        EXPECT_EQ(layOut(area, prefix + "\tX")->getBoundBox().right(), stop + xRightOffset)
            << "after \"" << prefix << "\" (" << width << " px, tab stops every " << tab << " px)";
    }
}

TEST(TextPara, NewlineStartsASecondLine)
{
    const eRect area = eRect::fromEdges(0, 0, 300, 100);
    auto paragraph = layOut(area, "first\nsecond");
    EXPECT_EQ(paragraph->lineCount(), 2);
    const eRect box = paragraph->getBoundBox();
    EXPECT_GT(box.height(), paragraph->lineHeight());

    gPixmap pixmap(eSize(300, 100));
    draw(pixmap, *paragraph);
    // Ink on the first line's row and on the second line's row, both starting at the left.
    auto rowHasInk = [&](int y) {
        for (int x = 0; x < 300; ++x)
            if (pixmap.pixel(x, y) != 0)
                return true;
        return false;
    };
    const int baseline = paragraph->ascender();
    EXPECT_TRUE(rowHasInk(baseline - 4));
    EXPECT_TRUE(rowHasInk(baseline + paragraph->lineHeight() - 4));
    EXPECT_EQ(layOut(area, "one line")->lineCount(), 1);
    EXPECT_EQ(layOut(area, "ends with a break\n")->lineCount(), 2);
}

TEST(TextPara, WrapBreaksAtBlanksInsideTheWidth)
{
    const eRect area = eRect::fromEdges(10, 0, 160, 200);
    const std::string text = "the quick brown fox jumps over the lazy dog";
    auto unwrapped = layOut(area, text);
    EXPECT_EQ(unwrapped->lineCount(), 1);
    EXPECT_GT(unwrapped->getBoundBox().right(), area.right());

    auto wrapped = layOut(area, text, eTextPara::RS_WRAP);
    EXPECT_GT(wrapped->lineCount(), 2);
    EXPECT_LE(wrapped->getBoundBox().right(), area.right());
    EXPECT_GE(wrapped->getBoundBox().left(), area.left() - 2) << "only a negative bearing (j) reaches left";
    EXPECT_LE(wrapped->textWidth(), area.width());

    // Each line starts with a word at the left edge: probing the first word of
    // the second line, "jumps" or the like, gives ink near the left.
    gPixmap pixmap(eSize(200, 200));
    draw(pixmap, *wrapped);
    EXPECT_TRUE(area.contains(inkOf(pixmap)));
    // The words are kept whole: wrapping "fox jumps" in a wide area gives one line.
    EXPECT_EQ(layOut(eRect::fromEdges(0, 0, 400, 100), "fox jumps", eTextPara::RS_WRAP)->lineCount(), 1);
}

TEST(TextPara, AWordWiderThanTheAreaIsBrokenBetweenCharacters)
{
    const eRect area = eRect::fromEdges(0, 0, 60, 300);
    auto paragraph = layOut(area, "WWWWWWWWWWWWWWWW", eTextPara::RS_WRAP);
    EXPECT_GT(paragraph->lineCount(), 3);
    EXPECT_LE(paragraph->getBoundBox().right(), area.right());
    EXPECT_GT(paragraph->getBoundBox().width(), 30) << "each line still holds several characters";
}

TEST(TextPara, InvalidUtf8RendersReplacementCharacters)
{
    const eRect area = eRect::fromEdges(0, 0, 300, 40);
    auto paragraph = layOut(area, std::string("ok \xff\xc3 \xed\xa0\x80 \xe2\x82", 12));
    gPixmap pixmap(eSize(300, 40));
    draw(pixmap, *paragraph);
    EXPECT_GT(inkOf(pixmap).width(), layOut(area, "ok")->getBoundBox().width() * 3)
        << "the invalid bytes are drawn as visible replacement glyphs";
}

TEST(TextPara, StartPointPlacesTheFirstBaseline)
{
    const eRect area = eRect::fromEdges(0, 0, 300, 100);
    Paragraph oneLine(new eTextPara(area, ePoint(40, 60)));
    oneLine->setFont(regular);
    oneLine->renderString("Hx");
    const eRect box = oneLine->getBoundBox();
    EXPECT_GE(box.left(), 40);
    EXPECT_LE(box.left(), 43);
    EXPECT_EQ(box.bottom(), 60) << "H and x stand on the baseline";

    gPixmap pixmap(eSize(300, 100));
    draw(pixmap, *oneLine);
    for (int x = 0; x < 300; ++x)
        EXPECT_EQ(pixmap.pixel(x, 60), 0u) << "nothing below the baseline, x=" << x;
    EXPECT_NE(pixmap.pixel(box.left(), 59), 0u) << "the left stem of H ends on the baseline";

    Paragraph twoLines(new eTextPara(area, ePoint(40, 30)));
    twoLines->setFont(regular);
    twoLines->renderString("Hx\nH");
    const eRect both = twoLines->getBoundBox();
    EXPECT_LE(both.left(), 3) << "the second line starts at the area's left edge";
    EXPECT_EQ(both.bottom(), 30 + twoLines->lineHeight());
}

TEST(TextPara, ClearDropsTheTextAndKeepsTheFont)
{
    const eRect area = eRect::fromEdges(0, 0, 300, 40);
    auto paragraph = layOut(area, "some text");
    const eRect before = paragraph->getBoundBox();
    paragraph->clear();
    EXPECT_EQ(paragraph->lineCount(), 0);
    EXPECT_TRUE(paragraph->getBoundBox().isEmpty());
    EXPECT_EQ(paragraph->renderString("some text"), 0);
    EXPECT_EQ(paragraph->getBoundBox(), before);
    EXPECT_EQ(paragraph->font(), regular);
}

TEST(TextPara, WithoutAUsableFontNothingIsLaidOut)
{
    Paragraph paragraph(new eTextPara(eRect::fromEdges(0, 0, 100, 40)));
    EXPECT_EQ(paragraph->renderString("text"), -1);
    EXPECT_TRUE(paragraph->getBoundBox().isEmpty());
    EXPECT_TRUE(layOut(eRect::fromEdges(0, 0, 100, 40), "")->getBoundBox().isEmpty());
    EXPECT_EQ(layOut(eRect::fromEdges(0, 0, 100, 40), "")->lineCount(), 0);
    EXPECT_TRUE(layOut(eRect::fromEdges(0, 0, 100, 40), "   ")->getBoundBox().isEmpty());
}

// How fast this is, bench_gui measures; here only that it comes out right.
TEST(TextPara, TenThousandCharactersLayOutAndDraw)
{
    std::string text;
    while (text.size() < 10000)
        text += "Station " + std::to_string(text.size()) + ": Jazz & Blues\t128 kbit/s ";
    text.resize(10000);

    gPixmap pixmap(eSize(720, 576));
    const eRect area = eRect::fromEdges(20, 20, 700, 556);
    auto wrapped = layOut(area, text, eTextPara::RS_WRAP, eTextPara::dirCenter);
    draw(pixmap, *wrapped);
    auto unwrapped = layOut(area, text);
    draw(pixmap, *unwrapped);
    Paragraph appended(new eTextPara(area));
    appended->setFont(regular);
    for (char character : text)
        appended->renderString(eString(1, character), eTextPara::RS_WRAP);

    EXPECT_GT(wrapped->lineCount(), 50);
    EXPECT_EQ(appended->lineCount(), wrapped->lineCount()) << "appending piece by piece lays out the same";
    EXPECT_LE(wrapped->getBoundBox().right(), area.right());
    EXPECT_TRUE(area.contains(inkOf(pixmap)));
}

} // namespace

namespace {

// Bytes handed out by malloc and not yet freed; 0 under an allocator that
// does not report them (a sanitizer's).
std::size_t heapInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

std::string words(std::size_t bytes)
{
    std::string text;
    while (text.size() < bytes)
        text += "Radio K\xc3\xb6ln ";
    return text;
}

TEST(TextPara, AMegabyteInASmallAreaKeepsOnlyWhatCanBeSeen)
{
    const std::string text = words(1'000'000);
    for (const int flags : {0, static_cast<int>(eTextPara::RS_WRAP)}) {
        const std::size_t before = heapInUse();
        if (before == 0)
            GTEST_SKIP() << "this allocator reports no heap figures";
        Paragraph paragraph = layOut(eRect(ePoint(0, 0), eSize(300, 60)), text, flags);
        const std::size_t growth = heapInUse() - before;
        EXPECT_LT(growth, std::size_t{64} << 10) << "flags " << flags << ": " << growth / 1024 << " KiB";
        gPixmap pixmap(eSize(300, 60));
        draw(pixmap, *paragraph);
        EXPECT_GT(inkedPixels(pixmap), 100) << "what can be seen is drawn";
    }
}

TEST(TextPara, LinesBelowTheAreaAreCountedAndMeasured)
{
    const std::string text = words(20'000) + "\n" + std::string(60, 'W');
    const Paragraph small = layOut(eRect(ePoint(0, 0), eSize(300, 60)), text, eTextPara::RS_WRAP);
    const Paragraph tall = layOut(eRect(ePoint(0, 0), eSize(300, 1 << 24)), text, eTextPara::RS_WRAP);
    EXPECT_GT(tall->lineCount(), 100);
    EXPECT_EQ(small->lineCount(), tall->lineCount());
    EXPECT_EQ(small->textWidth(), tall->textWidth());

    const Paragraph oneLine = layOut(eRect(ePoint(0, 0), eSize(300, 30)), words(20'000));
    const Paragraph unlimited = layOut(eRect(ePoint(0, 0), eSize(1 << 24, 30)), words(20'000));
    EXPECT_EQ(oneLine->textWidth(), unlimited->textWidth());
    EXPECT_GT(oneLine->textWidth(), 300);
}

TEST(TextPara, ALineWiderThanTheAreaShowsItsStartWhateverTheAlignment)
{
    const eRect area(ePoint(0, 0), eSize(200, 30));
    gPixmap left(area.size());
    draw(left, *layOut(area, words(2'000)));
    for (const int align : {static_cast<int>(eTextPara::dirCenter), static_cast<int>(eTextPara::dirRight)}) {
        gPixmap aligned(area.size());
        draw(aligned, *layOut(area, words(2'000), 0, align));
        EXPECT_EQ(inkOf(aligned), inkOf(left)) << "alignment " << align;
        EXPECT_EQ(inkedPixels(aligned), inkedPixels(left)) << "alignment " << align;
    }
}

} // namespace
