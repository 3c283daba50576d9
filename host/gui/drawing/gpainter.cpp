#include "gui/gpainter.h"

#include "gui/drawing/pixel_blend.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

// `colour` at opacity `alpha` over every pixel of `area` (target coordinates, already clipped).
void blendArea(gPixmap &target, const eRect &area, std::uint32_t colour, std::uint32_t alpha)
{
    if (alpha == 0 || area.isEmpty())
        return;
    if (alpha == 255) {
        for (int y = area.top(); y < area.bottom(); ++y)
            boxgfx::fillRun(target.line(y) + area.left(), area.width(), colour | 0xff000000u);
        return;
    }
    for (int y = area.top(); y < area.bottom(); ++y)
        boxgfx::blendColourRun(target.line(y) + area.left(), area.width(), colour, alpha);
}

struct ParagraphDestroyer
{
    void operator()(eTextPara *paragraph) const { paragraph->destroy(); }
};

} // namespace

gPainter::gPainter(gPixmap &target, eRect clip) : m_target(target)
{
    m_clips.push_back(clip.isEmpty() ? target.rect() : clip & target.rect());
}

void gPainter::clip(const eRect &area)
{
    m_clips.push_back(clipRect() & area.translated(m_origin));
}

void gPainter::clippop()
{
    if (m_clips.size() > 1)
        m_clips.pop_back();
}

eRect gPainter::toTarget(const eRect &area) const
{
    return area.translated(m_origin) & clipRect();
}

void gPainter::fill(const eRect &area)
{
    blendArea(m_target, toTarget(area), m_foreground.argb(), m_foreground.a);
}

void gPainter::clear(const eRect &area)
{
    const eRect drawn = toTarget(area);
    if (drawn.isEmpty())
        return;
    const std::uint32_t colour = m_background.argb();
    for (int y = drawn.top(); y < drawn.bottom(); ++y)
        boxgfx::fillRun(m_target.line(y) + drawn.left(), drawn.width(), colour);
}

void gPainter::drawRect(const eRect &area, int thickness)
{
    if (area.isEmpty() || thickness <= 0)
        return;
    const int horizontal = std::min(thickness, (area.height() + 1) / 2);
    const int vertical = std::min(thickness, (area.width() + 1) / 2);
    // Four bands that do not overlap, so a translucent frame is blended once everywhere.
    fill(eRect::fromEdges(area.left(), area.top(), area.right(), area.top() + horizontal));
    fill(eRect::fromEdges(area.left(), std::max(area.top() + horizontal, area.bottom() - horizontal), area.right(),
                          area.bottom()));
    fill(eRect::fromEdges(area.left(), area.top() + horizontal, area.left() + vertical, area.bottom() - horizontal));
    fill(eRect::fromEdges(std::max(area.left() + vertical, area.right() - vertical), area.top() + horizontal,
                          area.right(), area.bottom() - horizontal));
}

void gPainter::fillRoundRect(const eRect &area, int radius)
{
    radius = std::min(radius, std::min(area.width(), area.height()) / 2);
    if (radius <= 0) {
        fill(area);
        return;
    }
    const eRect target = area.translated(m_origin);
    const eRect drawn = target & clipRect();
    if (drawn.isEmpty() || m_foreground.a == 0)
        return;
    const std::uint32_t colour = m_foreground.argb();
    const float r = static_cast<float>(radius);
    const int innerLeft = target.left() + radius, innerRight = target.right() - radius;
    const int innerTop = target.top() + radius, innerBottom = target.bottom() - radius;

    for (int y = drawn.top(); y < drawn.bottom(); ++y) {
        std::uint32_t *row = m_target.line(y);
        const bool cornerRow = y < innerTop || y >= innerBottom;
        if (!cornerRow) {
            blendArea(m_target, eRect::fromEdges(drawn.left(), y, drawn.right(), y + 1), colour, m_foreground.a);
            continue;
        }
        const float centreY = static_cast<float>(y < innerTop ? innerTop : innerBottom);
        const float dy = static_cast<float>(y) + 0.5f - centreY;
        for (int x = drawn.left(); x < drawn.right(); ++x) {
            std::uint32_t alpha = m_foreground.a;
            if (x < innerLeft || x >= innerRight) {
                // Coverage of the pixel by the corner's quarter circle, from the
                // distance of the pixel centre to the circle's centre.
                const float centreX = static_cast<float>(x < innerLeft ? innerLeft : innerRight);
                const float dx = static_cast<float>(x) + 0.5f - centreX;
                const float coverage = std::clamp(r - std::sqrt(dx * dx + dy * dy) + 0.5f, 0.0f, 1.0f);
                alpha = static_cast<std::uint32_t>(coverage * static_cast<float>(alpha) + 0.5f);
            }
            row[x] = boxgfx::blendOver(row[x], colour, alpha);
        }
    }
}

void gPainter::line(ePoint from, ePoint to)
{
    if (m_foreground.a == 0)
        return;
    const eRect bounds = clipRect();
    if (bounds.isEmpty())
        return;
    const ePoint start = from + m_origin;
    const ePoint end = to + m_origin;
    // A line wholly to one side of the clip draws nothing.
    if ((start.x() < bounds.left() && end.x() < bounds.left())
        || (start.x() >= bounds.right() && end.x() >= bounds.right())
        || (start.y() < bounds.top() && end.y() < bounds.top())
        || (start.y() >= bounds.bottom() && end.y() >= bounds.bottom()))
        return;

    const std::uint32_t colour = m_foreground.argb();
    const std::uint32_t alpha = m_foreground.a;
    const long long dx = std::llabs(static_cast<long long>(end.x()) - start.x());
    const long long dy = -std::llabs(static_cast<long long>(end.y()) - start.y());
    const int stepX = start.x() < end.x() ? 1 : -1;
    const int stepY = start.y() < end.y() ? 1 : -1;
    long long error = dx + dy;
    int x = start.x(), y = start.y();
    for (;;) {
        if (bounds.contains(ePoint(x, y))) {
            std::uint32_t &pixel = m_target.line(y)[x];
            pixel = boxgfx::blendOver(pixel, colour, alpha);
        }
        if (x == end.x() && y == end.y())
            break;
        const long long doubled = 2 * error;
        if (doubled >= dy) {
            error += dy;
            x += stepX;
        }
        if (doubled <= dx) {
            error += dx;
            y += stepY;
        }
    }
}

void gPainter::blit(const gPixmap &source, ePoint position, const eRect &sourceArea, int flags)
{
    const eRect wanted = sourceArea.isEmpty() ? source.rect() : sourceArea;
    const eRect taken = wanted & source.rect();
    if (taken.isEmpty())
        return;
    // Where the taken part lands, and what of it survives the clip.
    const ePoint landing = position + m_origin + (taken.topLeft() - wanted.topLeft());
    const eRect drawn = eRect(landing, taken.size()) & clipRect();
    if (drawn.isEmpty())
        return;

    // Drawing from the target into itself reads from a copy.
    std::unique_ptr<gPixmap> copy;
    const gPixmap *from = &source;
    if (&source == &m_target) {
        copy = source.clone();
        from = copy.get();
    }

    const auto lock = m_target.tryLock();
    if (!lock.owns_lock())
        return; // another thread is reading the frame; this blit is left out

    const int sourceX = taken.left() + (drawn.left() - landing.x());
    const int sourceY = taken.top() + (drawn.top() - landing.y());
    const int width = drawn.width();
    const bool blend = (flags & BF_ALPHA_BLEND) != 0;
    const bool test = (flags & BF_ALPHA_TEST) != 0;

    for (int row = 0; row < drawn.height(); ++row) {
        const std::uint32_t *in = from->line(sourceY + row) + sourceX;
        std::uint32_t *out = m_target.line(drawn.top() + row) + drawn.left();
        if (!blend && !test) {
            std::memcpy(out, in, static_cast<std::size_t>(width) * sizeof(std::uint32_t));
        } else if (test) {
            for (int i = 0; i < width; ++i) {
                const std::uint32_t alpha = in[i] >> 24;
                if (alpha < 128)
                    continue;
                out[i] = blend ? boxgfx::blendOver(out[i], in[i], alpha) : in[i];
            }
        } else {
            boxgfx::blendPixelRun(out, in, width);
        }
    }
}

void gPainter::renderPara(eTextPara &para, ePoint offset)
{
    para.draw(m_target, m_origin + offset, m_foreground, clipRect());
}

void gPainter::renderText(const eRect &area, const eString &text, int flags, int align)
{
    std::unique_ptr<eTextPara, ParagraphDestroyer> paragraph(new eTextPara(area));
    paragraph->setFont(m_font);
    paragraph->renderString(text, flags);
    if (align != eTextPara::dirLeft)
        paragraph->realign(align);
    renderPara(*paragraph);
}
