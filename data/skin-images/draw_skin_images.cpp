// Draws the skin's images (remote-key hints, player marks, the list icon and
// separator, the message-box icons) and writes them as PNG files into each
// directory named on the command line:
//
//   draw_skin_images DIR [DIR...]
//
// Shapes are drawn anti-aliased by sampling each pixel 4 x 4 times; letters
// come from the DejaVu faces through the toolkit's own text layout.

#include "gui/drawing/png_io.h"
#include "gui/etextpara.h"
#include "gui/gfont.h"
#include "gui/gpainter.h"
#include "gui/gpixmap.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace {

// Whether the point (x, y), in pixel units (pixel centres at .5), is inside a shape.
using Shape = std::function<bool(double x, double y)>;

constexpr int samplesPerAxis = 4;

// `colour` over every pixel, weighted by the part of the pixel inside `shape`.
void paintShape(gPixmap &pixmap, gColor colour, const Shape &shape)
{
    gPainter painter(pixmap);
    constexpr int samples = samplesPerAxis * samplesPerAxis;
    for (int y = 0; y < pixmap.height(); ++y)
        for (int x = 0; x < pixmap.width(); ++x) {
            int inside = 0;
            for (int sy = 0; sy < samplesPerAxis; ++sy)
                for (int sx = 0; sx < samplesPerAxis; ++sx)
                    if (shape(x + (sx + 0.5) / samplesPerAxis, y + (sy + 0.5) / samplesPerAxis))
                        ++inside;
            if (!inside)
                continue;
            gColor covered = colour;
            covered.a = static_cast<std::uint8_t>((colour.a * inside + samples / 2) / samples);
            painter.setForegroundColor(covered);
            painter.fill(eRect(ePoint(x, y), eSize(1, 1)));
        }
}

Shape circle(double centreX, double centreY, double radius)
{
    return [=](double x, double y) { return std::hypot(x - centreX, y - centreY) <= radius; };
}

Shape roundRect(double left, double top, double right, double bottom, double radius)
{
    return [=](double x, double y) {
        if (x < left || x > right || y < top || y > bottom)
            return false;
        const double nearestX = std::clamp(x, left + radius, right - radius);
        const double nearestY = std::clamp(y, top + radius, bottom - radius);
        return std::hypot(x - nearestX, y - nearestY) <= radius;
    };
}

// The points within `halfWidth` of the segment from (ax, ay) to (bx, by).
Shape stroke(double ax, double ay, double bx, double by, double halfWidth)
{
    return [=](double x, double y) {
        const double dx = bx - ax;
        const double dy = by - ay;
        const double lengthSquared = dx * dx + dy * dy;
        const double t = lengthSquared > 0 ? std::clamp(((x - ax) * dx + (y - ay) * dy) / lengthSquared, 0.0, 1.0) : 0;
        return std::hypot(x - (ax + t * dx), y - (ay + t * dy)) <= halfWidth;
    };
}

Shape triangle(double ax, double ay, double bx, double by, double cx, double cy)
{
    return [=](double x, double y) {
        const auto side = [&](double px, double py, double qx, double qy) {
            return (qx - px) * (y - py) - (qy - py) * (x - px);
        };
        const double first = side(ax, ay, bx, by);
        const double second = side(bx, by, cx, cy);
        const double third = side(cx, cy, ax, ay);
        return (first >= 0 && second >= 0 && third >= 0) || (first <= 0 && second <= 0 && third <= 0);
    };
}

// An ellipse with radii (rx, ry) turned by `degrees`.
Shape ellipse(double centreX, double centreY, double rx, double ry, double degrees)
{
    const double angle = degrees * 3.14159265358979 / 180;
    const double cosine = std::cos(angle);
    const double sine = std::sin(angle);
    return [=](double x, double y) {
        const double u = ((x - centreX) * cosine + (y - centreY) * sine) / rx;
        const double v = (-(x - centreX) * sine + (y - centreY) * cosine) / ry;
        return u * u + v * v <= 1;
    };
}

Shape either(Shape first, Shape second)
{
    return [=](double x, double y) { return first(x, y) || second(x, y); };
}

// `text` in `font`, its ink centred in `box`.
void drawCentredText(gPixmap &pixmap, const eRect &box, const eString &text, const gFont &font, gColor colour)
{
    struct ParaDeleter
    {
        void operator()(eTextPara *para) const { para->destroy(); }
    };
    std::unique_ptr<eTextPara, ParaDeleter> para(new eTextPara(eRect(ePoint(0, 0), pixmap.size())));
    para->setFont(font);
    if (para->renderString(text) != 0) {
        std::fprintf(stderr, "draw_skin_images: no usable font for \"%s\"\n", text.c_str());
        return;
    }
    const eRect ink = para->getBoundBox();
    if (ink.isEmpty())
        return;
    const ePoint offset(box.left() + (box.width() - ink.width()) / 2 - ink.left(),
                        box.top() + (box.height() - ink.height()) / 2 - ink.top());
    gPainter painter(pixmap);
    painter.setForegroundColor(colour);
    painter.renderPara(*para, offset);
}

std::unique_ptr<gPixmap> blank(int width, int height)
{
    return std::make_unique<gPixmap>(eSize(width, height));
}

// A light remote-control key cap, 45 x 22, with a darker rim and a shaded lower edge.
std::unique_ptr<gPixmap> keyCap()
{
    auto image = blank(45, 22);
    paintShape(*image, gColor(0x4a, 0x52, 0x5e), roundRect(0.5, 0.5, 44.5, 21.5, 5));
    paintShape(*image, gColor(0xe4, 0xe8, 0xee), roundRect(1.5, 1.5, 43.5, 20.5, 4));
    const Shape body = roundRect(1.5, 1.5, 43.5, 20.5, 4);
    paintShape(*image, gColor(0xa9, 0xb1, 0xbd), [body](double x, double y) { return y > 17.5 && body(x, y); });
    return image;
}

std::unique_ptr<gPixmap> menuKey()
{
    auto image = keyCap();
    drawCentredText(*image, eRect(ePoint(2, 1), eSize(41, 17)), "MENU", gFont("Bold", 10), gColor(0x1a, 0x23, 0x30));
    return image;
}

std::unique_ptr<gPixmap> recordKey()
{
    auto image = keyCap();
    paintShape(*image, gColor(0xd3, 0x1f, 0x1f), circle(10.5, 9.5, 4));
    drawCentredText(*image, eRect(ePoint(16, 1), eSize(26, 17)), "REC", gFont("Bold", 10), gColor(0x1a, 0x23, 0x30));
    return image;
}

const gColor iconWhite(0xf2, 0xf5, 0xfa);

std::unique_ptr<gPixmap> playMark()
{
    auto image = blank(16, 16);
    paintShape(*image, iconWhite, triangle(4, 2, 4, 14, 14, 8));
    return image;
}

std::unique_ptr<gPixmap> pauseMark()
{
    auto image = blank(16, 16);
    paintShape(*image, iconWhite, either(roundRect(3, 2, 6.5, 14, 0.8), roundRect(9.5, 2, 13, 14, 0.8)));
    return image;
}

std::unique_ptr<gPixmap> recordingMark()
{
    auto image = blank(16, 16);
    paintShape(*image, gColor(0x7a, 0x0c, 0x0c), circle(8, 8, 7.2));
    paintShape(*image, gColor(0xe5, 0x30, 0x30), circle(8, 8, 6));
    paintShape(*image, gColor(255, 255, 255, 100), circle(6, 6, 1.8));
    return image;
}

// An eighth note: an oval head, a stem and a curved flag.
std::unique_ptr<gPixmap> musicNote()
{
    auto image = blank(20, 20);
    const gColor ink(0xcf, 0xe0, 0xf5);
    paintShape(*image, ink, ellipse(7, 15, 3.7, 2.7, -20));
    paintShape(*image, ink, roundRect(9.4, 2.5, 10.9, 15, 0.3));
    // The flag follows a quadratic curve from the top of the stem, thinning out.
    const double fromX = 10.2, fromY = 3, controlX = 16.5, controlY = 5.5, toX = 15, toY = 11.5;
    Shape flag = [](double, double) { return false; };
    constexpr int pieces = 10;
    for (int i = 0; i < pieces; ++i) {
        const auto at = [&](double t, double from, double control, double to) {
            return (1 - t) * (1 - t) * from + 2 * (1 - t) * t * control + t * t * to;
        };
        const double t0 = static_cast<double>(i) / pieces;
        const double t1 = static_cast<double>(i + 1) / pieces;
        flag = either(flag, stroke(at(t0, fromX, controlX, toX), at(t0, fromY, controlY, toY),
                                   at(t1, fromX, controlX, toX), at(t1, fromY, controlY, toY), 1.3 - 0.7 * t0));
    }
    paintShape(*image, ink, flag);
    return image;
}

// A thin line, light above and dark below, that fades out towards both ends.
std::unique_ptr<gPixmap> separatorLine()
{
    auto image = blank(400, 4);
    gPainter painter(*image);
    constexpr int fade = 60;
    for (int x = 0; x < image->width(); ++x) {
        const int edge = std::min(x, image->width() - 1 - x);
        const int strength = std::min(255, 255 * (edge + 1) / fade);
        painter.setForegroundColor(gColor(0x8f, 0xb0, 0xdc, strength));
        painter.fill(eRect(ePoint(x, 1), eSize(1, 1)));
        painter.setForegroundColor(gColor(0x2c, 0x4a, 0x78, strength * 4 / 5));
        painter.fill(eRect(ePoint(x, 2), eSize(1, 1)));
    }
    return image;
}

// A round 32 x 32 message-box icon: a disc in `colour` with a sign on it.
std::unique_ptr<gPixmap> messageIcon(gColor colour, const char *sign, gColor signColour)
{
    auto image = blank(32, 32);
    paintShape(*image, gColor(0, 0, 0, 90), circle(16, 16.8, 15.2)); // a soft shadow under the disc
    paintShape(*image, colour, circle(16, 16, 15));
    if (sign)
        drawCentredText(*image, eRect(ePoint(0, 0), eSize(32, 32)), sign, gFont("Bold", 22), signColour);
    return image;
}

std::unique_ptr<gPixmap> errorIcon()
{
    auto image = messageIcon(gColor(0xd8, 0x3a, 0x3a), nullptr, iconWhite);
    paintShape(*image, iconWhite, either(stroke(10.5, 10.5, 21.5, 21.5, 2.1), stroke(21.5, 10.5, 10.5, 21.5, 2.1)));
    return image;
}

struct SkinImage
{
    const char *file;
    std::unique_ptr<gPixmap> pixmap;
};

std::vector<SkinImage> drawAll()
{
    std::vector<SkinImage> images;
    images.push_back({"key32.png", menuKey()});
    images.push_back({"key12.png", recordKey()});
    images.push_back({"extra_play.png", playMark()});
    images.push_back({"extra_pause.png", pauseMark()});
    images.push_back({"shortcut_red.png", recordingMark()});
    images.push_back({"extension_music.png", musicNote()});
    images.push_back({"listbox_separator.png", separatorLine()});
    images.push_back({"messagebox_info.png", messageIcon(gColor(0x2a, 0x78, 0xd6), "i", iconWhite)});
    images.push_back({"messagebox_question.png", messageIcon(gColor(0x2f, 0x9e, 0x8f), "?", iconWhite)});
    images.push_back({"messagebox_warning.png", messageIcon(gColor(0xf2, 0xa5, 0x16), "!", gColor(0x1a, 0x1a, 0x1a))});
    images.push_back({"messagebox_error.png", errorIcon()});
    return images;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s DIR [DIR...]\n", argv[0]);
        return 2;
    }
    const std::vector<SkinImage> images = drawAll();
    int failures = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path directory(argv[i]);
        std::error_code error;
        std::filesystem::create_directories(directory, error);
        if (error) {
            std::fprintf(stderr, "draw_skin_images: cannot create %s: %s\n", argv[i], error.message().c_str());
            ++failures;
            continue;
        }
        for (const SkinImage &image : images) {
            std::string reason;
            const std::string path = (directory / image.file).string();
            if (!savePNG(*image.pixmap, path, &reason)) {
                std::fprintf(stderr, "draw_skin_images: cannot write %s: %s\n", path.c_str(), reason.c_str());
                ++failures;
            }
        }
    }
    return failures ? 1 : 0;
}
