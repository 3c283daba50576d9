#include "gui/gfont.h"

#include "base/elog.h"
#include "gui/drawing/glyph_cache.h"
#include "gui/etextpara.h"

#include <algorithm>
#include <cstdlib>

#ifndef TARNWAVE_FONT_DIR
#define TARNWAVE_FONT_DIR "/usr/share/fonts/truetype/dejavu"
#endif

eFontRegistry &eFontRegistry::instance()
{
    static eFontRegistry registry;
    return registry;
}

std::string eFontRegistry::fontDirectory()
{
    const char *fromEnvironment = std::getenv("TARNWAVE_FONT_DIR");
    if (fromEnvironment && *fromEnvironment)
        return fromEnvironment;
    return TARNWAVE_FONT_DIR;
}

eFontRegistry::eFontRegistry()
{
    // The preset files are checked when first drawn with, not here, so that a
    // missing font directory costs nothing until text is needed.
    const std::string directory = fontDirectory();
    m_files["Regular"] = directory + "/DejaVuSans.ttf";
    m_files["Bold"] = directory + "/DejaVuSans-Bold.ttf";
    m_files["Mono"] = directory + "/DejaVuSansMono.ttf";
}

bool eFontRegistry::addFace(const eString &family, const std::string &file)
{
    if (family.empty()) {
        eWarning("font registry: a face needs a name (file %s)", file.c_str());
        return false;
    }
    if (!boxgfx::GlyphCache::instance().isLoadableFont(file)) {
        eWarning("font registry: %s is not a loadable font; face \"%s\" not added", file.c_str(), family.c_str());
        return false;
    }
    std::lock_guard<std::mutex> guard(m_mutex);
    m_files[family] = file;
    return true;
}

bool eFontRegistry::hasFace(const eString &family) const
{
    std::lock_guard<std::mutex> guard(m_mutex);
    return m_files.count(family) != 0;
}

std::string eFontRegistry::fileOf(const eString &family)
{
    std::lock_guard<std::mutex> guard(m_mutex);
    if (auto found = m_files.find(family); found != m_files.end())
        return found->second;
    if (m_warnedUnknown.insert(family).second)
        eWarning("font registry: unknown font face \"%s\", using \"%s\"", family.c_str(), defaultFace);
    return m_files.at(defaultFace);
}

gFontMetrics fontMetrics(const gFont &font)
{
    if (!font.isValid())
        return {};
    boxgfx::GlyphCache &cache = boxgfx::GlyphCache::instance();
    boxgfx::SizedFace *face = cache.sizedFace(eFontRegistry::instance().fileOf(font.family), font.pointSize);
    if (!face)
        return {};
    const boxgfx::FaceMetrics metrics = cache.metrics(*face);
    return {metrics.ascender, metrics.descender, metrics.lineHeight};
}

int textWidth(const gFont &font, const eString &text)
{
    eString oneLine = text;
    oneLine.erase(std::remove(oneLine.begin(), oneLine.end(), '\n'), oneLine.end());
    // An area without width: the line is measured whole, and none of its
    // glyphs need keeping for drawing.
    auto *paragraph = new eTextPara(eRect(ePoint(0, 0), eSize(0, fontMetrics(font).lineHeight)));
    paragraph->setFont(font);
    paragraph->renderString(oneLine);
    const int width = paragraph->textWidth();
    paragraph->destroy();
    return width;
}
