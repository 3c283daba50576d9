#include "gui/etextpara.h"

#include "gui/drawing/glyph_cache.h"
#include "gui/drawing/pixel_blend.h"
#include "gui/drawing/utf8.h"

#include <algorithm>

namespace {

constexpr int spacesPerTab = 8;

} // namespace

eTextPara::eTextPara(eRect area, ePoint start) : m_area(area), m_start(start)
{
}

eTextPara::~eTextPara() = default;

void eTextPara::setFont(const gFont &font)
{
    m_font = font;
    m_face = nullptr;
    if (!font.isValid())
        return;
    boxgfx::GlyphCache &cache = boxgfx::GlyphCache::instance();
    m_face = cache.sizedFace(eFontRegistry::instance().fileOf(font.family), font.pointSize);
    if (!m_face)
        return;
    if (m_lines.empty()) {
        const boxgfx::FaceMetrics metrics = cache.metrics(*m_face);
        m_ascender = metrics.ascender;
        m_lineHeight = metrics.lineHeight;
    }
    m_spaceAdvance = cache.glyph(*m_face, U' ').advance;
    if (m_spaceAdvance <= 0)
        m_spaceAdvance = std::max(1, font.pointSize / 3);
}

void eTextPara::newLine()
{
    Line line;
    line.first = line.end = m_glyphs.size();
    if (m_lines.empty()) {
        const bool defaultStart = m_start == ePoint(-1, -1);
        line.baseline = defaultStart ? m_area.top() + m_ascender : m_start.y();
        line.startX = defaultStart ? m_area.left() : m_start.x();
    } else {
        line.baseline = m_lines.back().baseline + m_lineHeight;
        line.startX = m_area.left();
    }
    line.endX = line.startX;
    line.visible = line.baseline - visibilityMargin() < m_area.bottom();
    ++m_lineCount;
    if (!line.visible && !m_lines.empty() && !m_lines.back().visible) {
        // Below the area one record serves every line; only the widest is remembered.
        m_widestHidden = std::max(m_widestHidden, m_lines.back().endX - m_lines.back().startX);
        m_lines.back() = line;
    } else {
        m_lines.push_back(line);
    }
    m_penX = line.startX;
    m_hasBreak = false;
    m_lastWasBlank = false;
}

void eTextPara::appendBlank(int advance)
{
    m_penX += advance;
    m_lastWasBlank = true;
}

void eTextPara::wrapAtBreak()
{
    const std::size_t moved = m_breakGlyph;
    const int shift = m_breakX - m_area.left();
    const int penAfter = m_penX - shift;

    Line &broken = m_lines.back();
    broken.end = moved;
    broken.endX = m_endXBeforeBreak;
    newLine();
    Line &line = m_lines.back();
    line.first = moved;
    line.end = m_glyphs.size();
    for (std::size_t i = moved; i < m_glyphs.size(); ++i)
        m_glyphs[i].x -= shift;
    m_penX = penAfter;
    line.endX = penAfter;
    line.hasGlyph = m_glyphSinceBreak;
}

void eTextPara::appendGlyph(const boxgfx::Glyph &glyph, bool wrap)
{
    if (m_lastWasBlank && m_lines.back().hasGlyph) {
        // A blank run after a word: the line may be broken before this glyph.
        m_hasBreak = true;
        m_breakGlyph = m_glyphs.size();
        m_breakX = m_penX;
        m_endXBeforeBreak = m_lines.back().endX;
        m_glyphSinceBreak = false;
    }
    m_lastWasBlank = false;

    if (wrap) {
        auto overflows = [&] { return m_penX + std::max(glyph.advance, glyph.left + glyph.width) > m_area.right(); };
        if (overflows() && m_hasBreak)
            wrapAtBreak();
        if (overflows() && m_lines.back().hasGlyph)
            newLine(); // a word wider than the area: break between characters
    }

    // Only glyphs that can be seen are kept: a line below the area, or the
    // part of a line beyond its right edge, is measured but holds no glyphs.
    if (m_lines.back().visible && m_penX < m_area.right() + visibilityMargin())
        m_glyphs.push_back({&glyph, m_penX});
    m_penX += glyph.advance;
    Line &line = m_lines.back();
    line.end = m_glyphs.size();
    line.endX = m_penX;
    line.hasGlyph = true;
    m_glyphSinceBreak = true;
}

int eTextPara::visibilityMargin() const
{
    // Glyphs reach somewhat beyond their pen position and the line's ascender
    // and descender; two line heights cover any font.
    return 2 * std::max(m_lineHeight, 1);
}

int eTextPara::renderString(const eString &text, int flags)
{
    if (!m_face)
        return -1;
    if (text.empty())
        return 0;
    boxgfx::GlyphCache &cache = boxgfx::GlyphCache::instance();
    const bool wrap = (flags & RS_WRAP) != 0;
    if (m_lines.empty())
        newLine();

    const char *position = text.data();
    const char *end = position + text.size();
    while (position < end) {
        const char32_t codePoint = boxtext::decodeUtf8(position, end);
        if (codePoint == U'\n') {
            m_lines.back().end = m_glyphs.size();
            newLine();
        } else if (codePoint == U'\t') {
            const int tabWidth = spacesPerTab * m_spaceAdvance;
            const int column = std::max(0, m_penX - m_area.left());
            int stop = (column / tabWidth + 1) * tabWidth;
            if (stop - column < m_spaceAdvance)
                stop += tabWidth;
            appendBlank(m_area.left() + stop - m_penX);
        } else if (codePoint == U' ') {
            appendBlank(m_spaceAdvance);
        } else if (codePoint < 0x20 || codePoint == 0x7f) {
            continue; // other control characters have no glyph
        } else {
            appendGlyph(cache.glyph(*m_face, codePoint), wrap);
        }
    }
    return 0;
}

void eTextPara::realign(int dir)
{
    m_alignment = dir;
    for (Line &line : m_lines) {
        const int width = line.endX - line.startX;
        if (line.endX > m_area.right()) {
            line.shift = 0; // too wide: its start stays in view
            continue;
        }
        switch (dir) {
        case dirRight: line.shift = m_area.right() - line.endX; break;
        case dirCenter: line.shift = m_area.left() + (m_area.width() - width) / 2 - line.startX; break;
        default: line.shift = 0; break;
        }
    }
}

eRect eTextPara::getBoundBox() const
{
    eRect box;
    for (const Line &line : m_lines) {
        for (std::size_t i = line.first; i < line.end; ++i) {
            const boxgfx::Glyph &glyph = *m_glyphs[i].glyph;
            if (glyph.width <= 0 || glyph.height <= 0)
                continue;
            box = box
                  | eRect(ePoint(m_glyphs[i].x + line.shift + glyph.left, line.baseline - glyph.top),
                          eSize(glyph.width, glyph.height));
        }
    }
    return box;
}

int eTextPara::textWidth() const
{
    int width = m_widestHidden;
    for (const Line &line : m_lines)
        width = std::max(width, line.endX - line.startX);
    return width;
}

void eTextPara::clear()
{
    m_glyphs.clear();
    m_lines.clear();
    m_lineCount = 0;
    m_widestHidden = 0;
    m_penX = 0;
    m_hasBreak = false;
    m_lastWasBlank = false;
}

void eTextPara::draw(gPixmap &target, ePoint offset, gRGB colour, const eRect &clip) const
{
    if (colour.a == 0 || m_glyphs.empty())
        return;
    const eRect visible = m_area.translated(offset) & clip & target.rect();
    if (visible.isEmpty())
        return;
    boxgfx::CoverageBlender blender(colour.argb());
    const std::uint32_t colourAlpha = colour.a;
    const int margin = visibilityMargin();

    for (const Line &line : m_lines) {
        const int baseline = line.baseline + offset.y();
        if (baseline - margin >= visible.bottom())
            break; // this and every later line lie below
        if (baseline + margin <= visible.top())
            continue;
        for (std::size_t i = line.first; i < line.end; ++i) {
            const boxgfx::Glyph &glyph = *m_glyphs[i].glyph;
            if (glyph.width <= 0 || glyph.height <= 0)
                continue;
            const ePoint origin(offset.x() + m_glyphs[i].x + line.shift + glyph.left, baseline - glyph.top);
            const eRect drawn = eRect(origin, eSize(glyph.width, glyph.height)) & visible;
            if (drawn.isEmpty())
                continue;
            for (int y = drawn.top(); y < drawn.bottom(); ++y) {
                std::uint32_t *row = target.line(y);
                const std::uint8_t *coverage =
                    glyph.coverage.data()
                    + static_cast<std::size_t>(y - origin.y()) * static_cast<std::size_t>(glyph.width)
                    + static_cast<std::size_t>(drawn.left() - origin.x());
                for (int x = drawn.left(); x < drawn.right(); ++x, ++coverage) {
                    if (*coverage == 0)
                        continue;
                    const std::uint32_t alpha =
                        colourAlpha == 255 ? *coverage : boxgfx::div255(*coverage * colourAlpha);
                    row[x] = blender.over(row[x], alpha);
                }
            }
        }
    }
}
