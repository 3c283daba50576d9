#include "gui/drawing/glyph_cache.h"

#include "base/elog.h"
#include "gui/gfont.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace boxgfx {

namespace {

// 26.6 fixed point to whole pixels.
int roundToPixels(FT_Pos value)
{
    return static_cast<int>((value + 32) >> 6);
}
int ceilToPixels(FT_Pos value)
{
    return static_cast<int>((value + 63) >> 6);
}

// A loaded font file; several SizedFaces share it and select their size on it.
struct LoadedFace
{
    FT_Face face = nullptr;
    int selectedSize = 0;
    ~LoadedFace()
    {
        if (face)
            FT_Done_Face(face);
    }
};

} // namespace

class SizedFace
{
public:
    LoadedFace *loaded = nullptr;
    int pixelSize = 0;
    FaceMetrics metrics;
    // Latin-1 is looked up by index, everything else by hash.
    std::array<std::unique_ptr<Glyph>, 256> latin1;
    std::unordered_map<char32_t, std::unique_ptr<Glyph>> others;
};

class GlyphCache::Impl
{
public:
    Impl()
    {
        if (FT_Init_FreeType(&library) != 0) {
            library = nullptr;
            eError("glyph cache: FreeType could not be initialised; no text will be drawn");
        }
    }
    ~Impl()
    {
        sizedFaces.clear();
        faces.clear();
        if (library)
            FT_Done_FreeType(library);
    }
    Impl(const Impl &) = delete;
    Impl &operator=(const Impl &) = delete;

    // The face in `file`, loaded on first use; null when it cannot be.
    LoadedFace *face(const std::string &file)
    {
        if (auto found = faces.find(file); found != faces.end())
            return found->second.get();
        if (!library)
            return nullptr;
        FT_Face face = nullptr;
        if (FT_New_Face(library, file.c_str(), 0, &face) != 0 || !face)
            return nullptr;
        if (!FT_IS_SCALABLE(face)) {
            FT_Done_Face(face);
            return nullptr;
        }
        auto loaded = std::make_unique<LoadedFace>();
        loaded->face = face;
        return faces.emplace(file, std::move(loaded)).first->second.get();
    }

    bool selectSize(LoadedFace &loaded, int pixelSize)
    {
        if (loaded.selectedSize == pixelSize)
            return true;
        if (FT_Set_Pixel_Sizes(loaded.face, 0, static_cast<FT_UInt>(pixelSize)) != 0)
            return false;
        loaded.selectedSize = pixelSize;
        return true;
    }

    std::unique_ptr<Glyph> rasterise(SizedFace &sized, char32_t codePoint)
    {
        auto glyph = std::make_unique<Glyph>();
        glyph->advance = (sized.pixelSize + 1) / 2; // what a glyph that fails to load moves the pen by
        LoadedFace &loaded = *sized.loaded;
        if (!selectSize(loaded, sized.pixelSize))
            return glyph;
        FT_Face face = loaded.face;
        glyph->index = FT_Get_Char_Index(face, codePoint); // 0, the .notdef glyph, when the face has none
        if (FT_Load_Glyph(face, glyph->index, FT_LOAD_DEFAULT) != 0
            || FT_Render_Glyph(face->glyph, FT_RENDER_MODE_NORMAL) != 0)
            return glyph;
        ++rasterised;

        const FT_GlyphSlot slot = face->glyph;
        glyph->advance = roundToPixels(slot->advance.x);
        glyph->left = slot->bitmap_left;
        glyph->top = slot->bitmap_top;
        const FT_Bitmap &bitmap = slot->bitmap;
        if (bitmap.pixel_mode != FT_PIXEL_MODE_GRAY || bitmap.width == 0 || bitmap.rows == 0)
            return glyph;
        glyph->width = static_cast<int>(bitmap.width);
        glyph->height = static_cast<int>(bitmap.rows);
        glyph->coverage.resize(static_cast<std::size_t>(bitmap.width) * bitmap.rows);
        const int levels = bitmap.num_grays > 1 ? bitmap.num_grays - 1 : 255;
        for (unsigned row = 0; row < bitmap.rows; ++row) {
            const unsigned char *source = bitmap.buffer + static_cast<std::ptrdiff_t>(row) * bitmap.pitch;
            std::uint8_t *target = glyph->coverage.data() + static_cast<std::size_t>(row) * bitmap.width;
            for (unsigned column = 0; column < bitmap.width; ++column)
                target[column] =
                    levels == 255 ? source[column] : static_cast<std::uint8_t>(source[column] * 255 / levels);
        }
        return glyph;
    }

    FT_Library library = nullptr;
    std::map<std::string, std::unique_ptr<LoadedFace>> faces;
    std::map<std::pair<std::string, int>, std::unique_ptr<SizedFace>> sizedFaces;
    std::size_t rasterised = 0;
    mutable std::mutex mutex;
};

GlyphCache &GlyphCache::instance()
{
    static GlyphCache cache;
    return cache;
}

GlyphCache::GlyphCache() : m_impl(std::make_unique<Impl>())
{
}

GlyphCache::~GlyphCache() = default;

bool GlyphCache::isLoadableFont(const std::string &file)
{
    std::lock_guard<std::mutex> guard(m_impl->mutex);
    return m_impl->face(file) != nullptr;
}

SizedFace *GlyphCache::sizedFace(const std::string &file, int pixelSize)
{
    if (pixelSize <= 0 || pixelSize > largestFontSize)
        return nullptr;
    std::lock_guard<std::mutex> guard(m_impl->mutex);
    auto key = std::make_pair(file, pixelSize);
    if (auto found = m_impl->sizedFaces.find(key); found != m_impl->sizedFaces.end())
        return found->second.get();
    LoadedFace *loaded = m_impl->face(file);
    if (!loaded || !m_impl->selectSize(*loaded, pixelSize))
        return nullptr;

    auto sized = std::make_unique<SizedFace>();
    sized->loaded = loaded;
    sized->pixelSize = pixelSize;
    const FT_Size_Metrics &metrics = loaded->face->size->metrics;
    sized->metrics.ascender = ceilToPixels(metrics.ascender);
    sized->metrics.descender = ceilToPixels(-metrics.descender);
    sized->metrics.lineHeight =
        std::max(roundToPixels(metrics.height), sized->metrics.ascender + sized->metrics.descender);
    return m_impl->sizedFaces.emplace(std::move(key), std::move(sized)).first->second.get();
}

const Glyph &GlyphCache::glyph(SizedFace &face, char32_t codePoint)
{
    std::lock_guard<std::mutex> guard(m_impl->mutex);
    std::unique_ptr<Glyph> &slot = codePoint < face.latin1.size() ? face.latin1[codePoint] : face.others[codePoint];
    if (!slot)
        slot = m_impl->rasterise(face, codePoint);
    return *slot;
}

FaceMetrics GlyphCache::metrics(const SizedFace &face) const
{
    return face.metrics;
}

std::size_t GlyphCache::rasterisedCount() const
{
    std::lock_guard<std::mutex> guard(m_impl->mutex);
    return m_impl->rasterised;
}

} // namespace boxgfx
