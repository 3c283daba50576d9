// The glyph cache and the font registry: glyphs rasterised once, metrics,
// .notdef for missing glyphs, face names, fallbacks and bad font files.

#include "gui/drawing/glyph_cache.h"
#include "gui/gfont.h"
#include "support/log_lines.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <string>

namespace {

boxgfx::SizedFace &regularFace(int pixelSize)
{
    boxgfx::SizedFace *face =
        boxgfx::GlyphCache::instance().sizedFace(eFontRegistry::instance().fileOf("Regular"), pixelSize);
    if (!face)
        throw std::runtime_error("the Regular face does not load; is fonts-dejavu-core installed?");
    return *face;
}

bool anyWarningMentions(const std::vector<std::string> &warnings, const std::string &text)
{
    return std::any_of(warnings.begin(), warnings.end(),
                       [&](const std::string &line) { return line.find(text) != std::string::npos; });
}

TEST(GlyphCache, TheSameGlyphTwiceIsServedFromTheCache)
{
    boxgfx::GlyphCache &cache = boxgfx::GlyphCache::instance();
    boxgfx::SizedFace &face = regularFace(23);
    for (char32_t codePoint : {U'Q', char32_t{0x20ac}}) {
        const std::size_t before = cache.rasterisedCount();
        const boxgfx::Glyph &first = cache.glyph(face, codePoint);
        EXPECT_EQ(cache.rasterisedCount(), before + 1) << "rasterised on first use";
        const boxgfx::Glyph &second = cache.glyph(face, codePoint);
        EXPECT_EQ(&first, &second);
        EXPECT_EQ(cache.rasterisedCount(), before + 1) << "the second time does not reach FreeType";
    }
    EXPECT_EQ(cache.sizedFace(eFontRegistry::instance().fileOf("Regular"), 23), &face) << "faces are kept too";
}

TEST(GlyphCache, GlyphsHaveCoverageAndAdvance)
{
    const boxgfx::Glyph &glyph = boxgfx::GlyphCache::instance().glyph(regularFace(20), U'M');
    EXPECT_NE(glyph.index, 0u);
    EXPECT_GT(glyph.width, 0);
    EXPECT_GT(glyph.height, 0);
    EXPECT_GT(glyph.advance, glyph.width / 2);
    EXPECT_GT(glyph.top, 0) << "a capital stands on the baseline";
    ASSERT_EQ(glyph.coverage.size(), static_cast<std::size_t>(glyph.width * glyph.height));
    EXPECT_EQ(*std::max_element(glyph.coverage.begin(), glyph.coverage.end()), 255) << "full coverage in the stems";

    const boxgfx::Glyph &space = boxgfx::GlyphCache::instance().glyph(regularFace(20), U' ');
    EXPECT_GT(space.advance, 0);
    EXPECT_TRUE(space.coverage.empty());
}

TEST(GlyphCache, LargerSizesGiveLargerGlyphsAndMetrics)
{
    boxgfx::GlyphCache &cache = boxgfx::GlyphCache::instance();
    const boxgfx::Glyph &small = cache.glyph(regularFace(12), U'H');
    const boxgfx::Glyph &large = cache.glyph(regularFace(36), U'H');
    EXPECT_GT(large.height, 2 * small.height);
    EXPECT_GT(large.advance, 2 * small.advance);

    const boxgfx::FaceMetrics metrics = cache.metrics(regularFace(20));
    EXPECT_GT(metrics.ascender, 10);
    EXPECT_GT(metrics.descender, 0);
    EXPECT_GE(metrics.lineHeight, metrics.ascender + metrics.descender);
    EXPECT_LT(metrics.lineHeight, 40);
}

TEST(GlyphCache, MissingGlyphDrawsTheNotdefGlyph)
{
    const boxgfx::Glyph &missing = boxgfx::GlyphCache::instance().glyph(regularFace(20), char32_t{0x10fffd});
    EXPECT_EQ(missing.index, 0u);
    EXPECT_GT(missing.width, 0) << "DejaVu's .notdef is a visible box";
    EXPECT_GT(missing.advance, 0);
}

TEST(GlyphCache, RefusesFilesThatAreNotFonts)
{
    TempDir dir;
    writeFile(dir.path() / "fake.ttf", "definitely not a font\n");
    boxgfx::GlyphCache &cache = boxgfx::GlyphCache::instance();
    EXPECT_FALSE(cache.isLoadableFont((dir.path() / "fake.ttf").string()));
    EXPECT_FALSE(cache.isLoadableFont((dir.path() / "missing.ttf").string()));
    EXPECT_EQ(cache.sizedFace((dir.path() / "fake.ttf").string(), 20), nullptr);
    EXPECT_EQ(cache.sizedFace(eFontRegistry::instance().fileOf("Regular"), 0), nullptr);
}

TEST(GlyphCache, RefusesSizesAboveTheLargestFontSize)
{
    boxgfx::GlyphCache &cache = boxgfx::GlyphCache::instance();
    const std::string regular = eFontRegistry::instance().fileOf("Regular");
    EXPECT_NE(cache.sizedFace(regular, largestFontSize), nullptr);
    EXPECT_EQ(cache.sizedFace(regular, largestFontSize + 1), nullptr);
    EXPECT_EQ(cache.sizedFace(regular, std::numeric_limits<int>::max()), nullptr);
}

TEST(FontRegistry, PresetFacesUseTheDejaVuFiles)
{
    eFontRegistry &registry = eFontRegistry::instance();
    EXPECT_TRUE(registry.hasFace("Regular"));
    EXPECT_TRUE(registry.hasFace("Bold"));
    EXPECT_TRUE(registry.hasFace("Mono"));
    EXPECT_EQ(std::filesystem::path(registry.fileOf("Regular")).filename(), "DejaVuSans.ttf");
    EXPECT_EQ(std::filesystem::path(registry.fileOf("Bold")).filename(), "DejaVuSans-Bold.ttf");
    EXPECT_EQ(std::filesystem::path(registry.fileOf("Mono")).filename(), "DejaVuSansMono.ttf");
    for (const char *face : {"Regular", "Bold", "Mono"})
        EXPECT_TRUE(boxgfx::GlyphCache::instance().isLoadableFont(registry.fileOf(face))) << face;
}

TEST(FontRegistry, FontDirectoryFollowsTheEnvironment)
{
    const char *previous = std::getenv("TARNWAVE_FONT_DIR");
    const std::string saved = previous ? previous : "";
    setenv("TARNWAVE_FONT_DIR", "/somewhere/fonts", 1);
    EXPECT_EQ(eFontRegistry::fontDirectory(), "/somewhere/fonts");
    unsetenv("TARNWAVE_FONT_DIR");
    EXPECT_EQ(eFontRegistry::fontDirectory(), "/usr/share/fonts/truetype/dejavu");
    if (previous)
        setenv("TARNWAVE_FONT_DIR", saved.c_str(), 1);
}

TEST(FontRegistry, UnknownFamilyFallsBackToRegularWithOneWarning)
{
    eFontRegistry &registry = eFontRegistry::instance();
    const std::uint64_t start = boxlog::lastSequence();
    EXPECT_FALSE(registry.hasFace("NoSuchFace"));
    EXPECT_EQ(registry.fileOf("NoSuchFace"), registry.fileOf("Regular"));
    EXPECT_EQ(registry.fileOf("NoSuchFace"), registry.fileOf("Regular"));
    const gFontMetrics fallback = fontMetrics(gFont("NoSuchFace", 20));
    const gFontMetrics regular = fontMetrics(gFont("Regular", 20));
    EXPECT_EQ(fallback.lineHeight, regular.lineHeight);
    EXPECT_GT(regular.lineHeight, 0);
    const auto warnings = warningsSince(start);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find("NoSuchFace"), std::string::npos) << warnings[0];

    EXPECT_EQ(registry.fileOf("AnotherUnknownFace"), registry.fileOf("Regular"));
    EXPECT_EQ(warningsSince(start).size(), 2u) << "one warning per unknown name";
}

TEST(FontRegistry, AddFaceRefusesAFileThatIsNotAFont)
{
    TempDir dir;
    writeFile(dir.path() / "broken.ttf", std::string(4096, 'x'));
    const std::uint64_t start = boxlog::lastSequence();
    EXPECT_FALSE(eFontRegistry::instance().addFace("Broken", (dir.path() / "broken.ttf").string()));
    EXPECT_FALSE(eFontRegistry::instance().hasFace("Broken"));
    EXPECT_TRUE(anyWarningMentions(warningsSince(start), "broken.ttf"));
    EXPECT_FALSE(eFontRegistry::instance().addFace("Broken", (dir.path() / "absent.ttf").string()));
}

TEST(FontRegistry, AddFaceRegistersALoadableFont)
{
    TempDir dir;
    const std::filesystem::path copy = dir.path() / "skin-mono.ttf";
    std::filesystem::copy_file(eFontRegistry::instance().fileOf("Mono"), copy);
    ASSERT_TRUE(eFontRegistry::instance().addFace("SkinMono", copy.string()));
    EXPECT_TRUE(eFontRegistry::instance().hasFace("SkinMono"));
    EXPECT_EQ(eFontRegistry::instance().fileOf("SkinMono"), copy.string());
    // A monospaced face: 'i' and 'W' advance alike, unlike in the proportional default.
    EXPECT_EQ(textWidth(gFont("SkinMono", 20), "iiii"), textWidth(gFont("SkinMono", 20), "WWWW"));
    EXPECT_LT(textWidth(gFont("Regular", 20), "iiii"), textWidth(gFont("Regular", 20), "WWWW"));
}

TEST(Font, DefaultConstructedFontIsInvalidAndMeasuresNothing)
{
    EXPECT_FALSE(gFont().isValid());
    EXPECT_FALSE(gFont("Regular", 0).isValid());
    EXPECT_TRUE(gFont("Regular", 20).isValid());
    EXPECT_EQ(gFont("Regular", 20), gFont("Regular", 20));
    EXPECT_FALSE(gFont("Regular", 20) == gFont("Bold", 20));
    EXPECT_EQ(fontMetrics(gFont()).lineHeight, 0);
    EXPECT_EQ(textWidth(gFont(), "text"), 0);
    EXPECT_GT(textWidth(gFont("Regular", 20), "text"), 20);
}

} // namespace
