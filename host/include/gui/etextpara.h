#ifndef TARNWAVE_HOST_GUI_ETEXTPARA_H
#define TARNWAVE_HOST_GUI_ETEXTPARA_H

// A laid-out text paragraph: created over an area (in the coordinates where it
// will be drawn, relative to the point passed to gPainter::renderPara), given a
// font, a text, then aligned. Created with new, released with destroy().
//
// Layout costs time linear in the text, and memory only for what can be seen:
// glyphs of lines below the area, and of the part of a line beyond its right
// edge, are measured but not kept, so a megabyte of text in a small area
// costs little. Drawing skips lines outside the area and the clip, and never
// draws outside the area.

#include "base/estring.h"
#include "gui/geometry.h"
#include "gui/gfont.h"
#include "gui/gpixmap.h"
#include "gui/grgb.h"

#include <cstddef>
#include <vector>

namespace boxgfx {
struct Glyph;
class SizedFace;
} // namespace boxgfx

class eTextPara
{
public:
    enum { dirLeft = 0, dirCenter = 1, dirRight = 2 }; // realign() values; 2 = right-aligned (number columns)
    enum { RS_WRAP = 1 }; // renderString flags; 0 = no wrapping

    // start (-1, -1): the first baseline lies at area top + ascender, the first
    // line starts at the area's left edge. Otherwise `start` is the pen position
    // (x, baseline) of the first character; later lines start at the left edge.
    explicit eTextPara(eRect area, ePoint start = ePoint(-1, -1));
    eTextPara(const eTextPara &) = delete;
    eTextPara &operator=(const eTextPara &) = delete;

    // The font for text appended from now on (the metrics of the first font
    // set decide the line height). An invalid or unloadable font draws nothing.
    void setFont(const gFont &font);
    const gFont &font() const { return m_font; }

    // Appends `text` (UTF-8; invalid bytes are shown as U+FFFD). '\n' starts a
    // new line; '\t' advances to the next tab stop (every 8 space widths from
    // the area's left edge, at least one space); other control characters are
    // ignored. With RS_WRAP, lines are broken at blanks to fit the area width,
    // and a word wider than the area is broken between characters.
    // Returns 0, or -1 when no usable font is set (nothing is appended then).
    int renderString(const eString &text, int flags = 0);

    // Places every line left, centred or right within the area width, by the
    // advance width of its text (trailing blanks not counted). A line wider
    // than the area stays at the left, so that its start is seen.
    void realign(int dir);

    // The ink extent of the glyphs kept (those that can be seen), in paragraph
    // coordinates; empty when there is no visible glyph.
    eRect getBoundBox() const;
    const eRect &area() const { return m_area; }
    int lineHeight() const { return m_lineHeight; }
    int ascender() const { return m_ascender; }
    // Lines laid out so far: 0 before any text, 2 for "a\n".
    int lineCount() const { return m_lineCount; }
    // The advance width of the widest line (trailing blanks not counted).
    int textWidth() const;

    // Drops the text, keeps area and font.
    void clear();
    // Deletes the paragraph.
    void destroy() { delete this; }

    // Draws the glyphs moved by `offset`, clipped to both the area (moved by
    // `offset`) and `clip` (target coordinates), in `colour`, blended by glyph
    // coverage. Used by gPainter::renderPara.
    void draw(gPixmap &target, ePoint offset, gRGB colour, const eRect &clip) const;

protected:
    ~eTextPara();

private:
    struct PlacedGlyph
    {
        const boxgfx::Glyph *glyph;
        int x; // pen position before alignment
    };
    struct Line
    {
        std::size_t first = 0; // index into m_glyphs
        std::size_t end = 0; //
        int baseline = 0;
        int startX = 0; // pen position where the line starts
        int endX = 0; // pen position after the last non-blank character
        int shift = 0; // added to every x by realign()
        bool visible = true; // not below the area: its glyphs are kept
        bool hasGlyph = false; // a glyph was appended (kept or not)
    };

    void newLine();
    void appendBlank(int advance);
    void appendGlyph(const boxgfx::Glyph &glyph, bool wrap);
    // Moves the glyphs after the last break opportunity to a new line.
    void wrapAtBreak();
    // How far beyond the area a glyph may still leave ink.
    int visibilityMargin() const;

    eRect m_area;
    ePoint m_start;
    gFont m_font;
    boxgfx::SizedFace *m_face = nullptr;
    int m_ascender = 0;
    int m_lineHeight = 0;
    int m_spaceAdvance = 0;
    int m_alignment = dirLeft;

    std::vector<PlacedGlyph> m_glyphs;
    std::vector<Line> m_lines; // the lines that can be seen, then at most one below the area
    int m_lineCount = 0;
    int m_widestHidden = 0; // the widest line whose record was reused
    int m_penX = 0;
    // Where the current line may be broken when RS_WRAP is given: the index of
    // the first glyph after the last blank run, and the pen position there.
    std::size_t m_breakGlyph = 0;
    int m_breakX = 0;
    int m_endXBeforeBreak = 0; // where the line ends when broken there
    bool m_hasBreak = false;
    bool m_glyphSinceBreak = false; // a glyph was appended after the break
    bool m_lastWasBlank = false;
};

#endif
