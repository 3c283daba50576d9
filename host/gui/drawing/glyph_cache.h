#ifndef TARNWAVE_HOST_GUI_GLYPH_CACHE_H
#define TARNWAVE_HOST_GUI_GLYPH_CACHE_H

// The host's glyph cache, internal to the drawing layer (widgets use gFont and
// eTextPara). FreeType faces are loaded once per file; each glyph is
// rasterised once per (face, pixel size, code point) into 8-bit coverage and
// kept for the life of the process, so a Glyph reference stays valid and
// drawing a cached glyph never touches FreeType. A code point the face has no
// glyph for is drawn with the face's .notdef glyph.
//
// Safe to call from any thread (one mutex guards the tables).

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace boxgfx {

struct Glyph
{
    int width = 0; // of the coverage bitmap
    int height = 0; //
    int left = 0; // from the pen position to the bitmap's left column
    int top = 0; // from the baseline up to the bitmap's top row
    int advance = 0; // pen movement in whole pixels
    std::uint32_t index = 0; // the face's glyph index; 0 = .notdef
    std::vector<std::uint8_t> coverage; // width * height, row after row, 0 = none, 255 = full
};

struct FaceMetrics
{
    int ascender = 0; // above the baseline
    int descender = 0; // below the baseline, positive
    int lineHeight = 0; // baseline to baseline
};

// One face at one pixel size, with its glyphs. Owned by the cache.
class SizedFace;

class GlyphCache
{
public:
    static GlyphCache &instance();
    ~GlyphCache();
    GlyphCache(const GlyphCache &) = delete;
    GlyphCache &operator=(const GlyphCache &) = delete;

    // True when `file` holds a font FreeType can load (the face is kept loaded).
    bool isLoadableFont(const std::string &file);

    // The face in `file` at `pixelSize`; null when the file is not a loadable
    // font or the size is not from 1 to largestFontSize (gui/gfont.h). The
    // pointer stays valid for the life of the process.
    SizedFace *sizedFace(const std::string &file, int pixelSize);

    // The glyph of `codePoint`, rasterised on first use.
    const Glyph &glyph(SizedFace &face, char32_t codePoint);

    FaceMetrics metrics(const SizedFace &face) const;

    // How many glyphs FreeType has rasterised so far (for tests: a glyph
    // served from the cache does not change it).
    std::size_t rasterisedCount() const;

private:
    GlyphCache();
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace boxgfx

#endif
