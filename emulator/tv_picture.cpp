#include "tv_picture.h"

#include "gui/gpainter.h"
#include "gui/gpixmap.h"

#include <array>
#include <ctime>

namespace emulator {
namespace {

// The classic bars at 75 %: white, yellow, cyan, green, magenta, red, blue.
constexpr std::array<gColor, 7> colourBars = {gColor(191, 191, 191), gColor(191, 191, 0), gColor(0, 191, 191),
                                              gColor(0, 191, 0),     gColor(191, 0, 191), gColor(191, 0, 0),
                                              gColor(0, 0, 191)};
// The row under them: blue, black, magenta, black, cyan, black, white.
constexpr std::array<gColor, 7> castellations = {gColor(0, 0, 191),    gColor(16, 16, 16),  gColor(191, 0, 191),
                                                 gColor(16, 16, 16),   gColor(0, 191, 191), gColor(16, 16, 16),
                                                 gColor(191, 191, 191)};

void fillRect(gPainter &painter, const eRect &area, gColor colour)
{
    painter.setForegroundColor(colour);
    painter.fill(area);
}

// A thick line: several one-pixel lines side by side.
void thickLine(gPainter &painter, ePoint from, ePoint to, int thickness)
{
    for (int offset = -thickness / 2; offset <= thickness / 2; ++offset) {
        painter.line(from + ePoint(offset, 0), to + ePoint(offset, 0));
        painter.line(from + ePoint(0, offset), to + ePoint(0, offset));
    }
}

void paintBars(gPainter &painter, eSize size, int barsBottom, int castellationBottom)
{
    const int count = static_cast<int>(colourBars.size());
    for (int i = 0; i < count; ++i) {
        const int left = size.width() * i / count;
        const int right = size.width() * (i + 1) / count;
        fillRect(painter, eRect::fromEdges(left, 0, right, barsBottom), colourBars[static_cast<std::size_t>(i)]);
        fillRect(painter, eRect::fromEdges(left, barsBottom, right, castellationBottom),
                 castellations[static_cast<std::size_t>(i)]);
    }
}

std::string clockText(std::chrono::system_clock::time_point clock)
{
    const std::time_t seconds = std::chrono::system_clock::to_time_t(clock);
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[16];
    std::strftime(text, sizeof text, "%H:%M:%S", &local);
    return text;
}

void paintTestPicture(gPainter &painter, eSize size, std::chrono::milliseconds running,
                      std::chrono::system_clock::time_point clock)
{
    const int barsBottom = size.height() * 2 / 3;
    const int castellationBottom = barsBottom + size.height() / 12;
    paintBars(painter, size, barsBottom, castellationBottom);
    const eRect strip = eRect::fromEdges(0, castellationBottom, size.width(), size.height());
    fillRect(painter, strip, gColor(24, 24, 28));

    // A marker that sweeps to the right and back every four seconds.
    constexpr long period = 4000;
    const long phase = running.count() % period;
    const long travel = phase < period / 2 ? phase : period - phase;
    const int markerSize = 28;
    const int span = size.width() - 2 * 24 - markerSize;
    const int markerX = 24 + static_cast<int>(static_cast<long>(span) * travel / (period / 2));
    fillRect(painter, eRect(ePoint(markerX, castellationBottom + 14), eSize(markerSize, markerSize)),
             gColor(240, 240, 240));

    // The clock, in a black box under the marker's track.
    const eRect clockBox(ePoint(size.width() / 2 - 110, castellationBottom + 56), eSize(220, 56));
    fillRect(painter, clockBox, gColor(0, 0, 0));
    painter.setForegroundColor(gColor(240, 240, 240));
    painter.setFont(gFont("Mono", 40));
    painter.renderText(clockBox.translated(ePoint(0, 4)), clockText(clock), 0, eTextPara::dirCenter);
    painter.setFont(gFont("Bold", 16));
    painter.setForegroundColor(gColor(150, 150, 160));
    painter.renderText(eRect::fromEdges(24, clockBox.top() + 18, clockBox.left() - 10, clockBox.bottom()), "BOX TV", 0,
                       eTextPara::dirLeft);
}

// A speaker with a red cross over it, in a dark rounded box at the top right.
void paintMuteMark(gPainter &painter, eSize size)
{
    const eRect box(ePoint(size.width() - 110, 36), eSize(72, 72));
    painter.setForegroundColor(gColor(0, 0, 0, 180));
    painter.fillRoundRect(box, 12);
    const ePoint origin = box.topLeft();
    painter.setForegroundColor(gColor(245, 245, 245));
    painter.fill(eRect(origin + ePoint(14, 27), eSize(12, 18)));
    for (int column = 0; column < 16; ++column) // the cone widens to the right
        painter.fill(eRect(origin + ePoint(26 + column, 27 - column), eSize(1, 18 + 2 * column)));
    painter.setForegroundColor(gColor(230, 30, 30));
    thickLine(painter, origin + ePoint(12, 12), origin + ePoint(60, 60), 5);
    thickLine(painter, origin + ePoint(60, 12), origin + ePoint(12, 60), 5);
}

void paintRadioStill(gPainter &painter, eSize size)
{
    // A deep gradient from navy to violet.
    for (int y = 0; y < size.height(); y += 4) {
        const int shade = y * 255 / size.height();
        fillRect(painter, eRect(ePoint(0, y), eSize(size.width(), 4)),
                 gColor(18 + shade / 6, 16 + shade / 14, 52 + shade / 5));
    }
    // A large pair of notes.
    const ePoint centre(size.width() / 2, size.height() / 2 - 40);
    painter.setForegroundColor(gColor(235, 225, 255));
    painter.fillRoundRect(eRect(centre + ePoint(-62, 40), eSize(44, 32)), 16);
    painter.fillRoundRect(eRect(centre + ePoint(30, 24), eSize(44, 32)), 16);
    painter.fill(eRect(centre + ePoint(-26, -70), eSize(8, 126)));
    painter.fill(eRect(centre + ePoint(66, -86), eSize(8, 126)));
    for (int column = 0; column < 100; ++column) // the beam, rising to the right
        painter.fill(eRect(centre + ePoint(-26 + column, -70 - column * 16 / 100), eSize(1, 16)));
    painter.setFont(gFont("Bold", 44));
    painter.renderText(eRect(ePoint(0, centre.y() + 100), eSize(size.width(), 60)), "RADIO", 0, eTextPara::dirCenter);
}

} // namespace

bool tvPictureMoves(TvPicture picture)
{
    return picture == TvPicture::testPictureWithSound || picture == TvPicture::testPictureMuted;
}

void paintTvPicture(gPixmap &target, TvPicture picture, std::chrono::milliseconds running,
                    std::chrono::system_clock::time_point clock)
{
    gPainter painter(target);
    const eSize size = target.size();
    switch (picture) {
    case TvPicture::testPictureWithSound: paintTestPicture(painter, size, running, clock); break;
    case TvPicture::testPictureMuted:
        paintTestPicture(painter, size, running, clock);
        paintMuteMark(painter, size);
        break;
    case TvPicture::radioStill: paintRadioStill(painter, size); break;
    case TvPicture::blackScreen: target.fillAll(0xff000000u); break;
    }
}

} // namespace emulator
