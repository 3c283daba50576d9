#ifndef TARNWAVE_HOST_GUI_PIXEL_BLEND_H
#define TARNWAVE_HOST_GUI_PIXEL_BLEND_H

// Straight-alpha "over" for 0xAARRGGBB pixels, internal to the drawing layer.
// The common cases (opaque or invisible source, opaque or empty destination)
// take short paths; only translucent over translucent pays a division.

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace boxgfx {

// x / 255 rounded to nearest, exact for 0 <= x <= 65535.
inline std::uint32_t div255(std::uint32_t x)
{
    x += 128;
    return (x + (x >> 8)) >> 8;
}

// The colour channels of `source` over an opaque `dest` at opacity `alpha`
// (1..254); two channels at a time. The result is opaque.
inline std::uint32_t mixOverOpaque(std::uint32_t dest, std::uint32_t source, std::uint32_t alpha)
{
    const std::uint32_t rest = 255 - alpha;
    std::uint32_t redBlue = (source & 0x00ff00ffu) * alpha + (dest & 0x00ff00ffu) * rest + 0x00800080u;
    redBlue = ((redBlue + ((redBlue >> 8) & 0x00ff00ffu)) >> 8) & 0x00ff00ffu;
    const std::uint32_t green = div255(((source >> 8) & 0xffu) * alpha + ((dest >> 8) & 0xffu) * rest);
    return 0xff000000u | redBlue | (green << 8);
}

// `source` over `dest` when both are translucent.
inline std::uint32_t mixOverTranslucent(std::uint32_t dest, std::uint32_t source, std::uint32_t sourceAlpha,
                                        std::uint32_t destAlpha)
{
    const std::uint32_t sourceWeight = sourceAlpha * 255;
    const std::uint32_t destWeight = destAlpha * (255 - sourceAlpha);
    const std::uint32_t total = sourceWeight + destWeight; // the result's alpha times 255
    const float inverse = 1.0f / static_cast<float>(total);
    auto channel = [&](int shift) {
        const std::uint32_t s = (source >> shift) & 0xffu;
        const std::uint32_t d = (dest >> shift) & 0xffu;
        return static_cast<std::uint32_t>(static_cast<float>(s * sourceWeight + d * destWeight) * inverse + 0.5f);
    };
    return (div255(total) << 24) | (channel(16) << 16) | (channel(8) << 8) | channel(0);
}

// `source`, with its alpha replaced by `alpha`, over `dest`.
inline std::uint32_t blendOver(std::uint32_t dest, std::uint32_t source, std::uint32_t alpha)
{
    if (alpha == 0)
        return dest;
    if (alpha == 255)
        return source | 0xff000000u;
    const std::uint32_t destAlpha = dest >> 24;
    if (destAlpha == 255)
        return mixOverOpaque(dest, source, alpha);
    if (destAlpha == 0)
        return (source & 0x00ffffffu) | (alpha << 24);
    return mixOverTranslucent(dest, source, alpha, destAlpha);
}

// `source` over `dest`, both straight alpha.
inline std::uint32_t blendOver(std::uint32_t dest, std::uint32_t source)
{
    return blendOver(dest, source, source >> 24);
}

// Whole runs of pixels. A run whose destination is all opaque (the TV picture,
// a window's own background) is blended without a branch per pixel, which the
// compiler turns into vector code (the drawing sources are built with the
// vectoriser on); the formula of mixOverOpaque is exact for alpha 0 and 255 too.

// Decides most runs at their first pixel, so that only a run that may pass is
// scanned whole.
inline bool allOpaque(const std::uint32_t *pixels, int count)
{
    if (count > 0 && (pixels[0] >> 24) != 255)
        return false;
    std::uint32_t all = 0xffffffffu;
    for (int i = 0; i < count; ++i)
        all &= pixels[i];
    return (all >> 24) == 255;
}

// Stores `argb` into a run. A value of four equal bytes (transparent, white)
// is a memset; any other is stored in blocks whose fixed size the compiler
// turns into wide stores.
inline void fillRun(std::uint32_t *pixels, int count, std::uint32_t argb)
{
    if (count <= 0)
        return;
    if (argb == (argb & 0xffu) * 0x01010101u) {
        std::memset(pixels, static_cast<int>(argb & 0xffu), static_cast<std::size_t>(count) * sizeof(std::uint32_t));
        return;
    }
    constexpr int block = 16;
    std::uint32_t pattern[block];
    std::fill(pattern, pattern + block, argb);
    int i = 0;
    for (; i + block <= count; i += block)
        std::memcpy(pixels + i, pattern, sizeof pattern);
    for (; i < count; ++i)
        pixels[i] = argb;
}

// `colour` at opacity `alpha` (1..254) over a run, in one pass of blocks of
// 16 pixels: a block of cleared pixels takes the colour as it is, an opaque
// block the branchless mix, anything else the full blend. The full blend meets
// mostly runs of one value (a title bar over its translucent window), so each
// value is blended once and reused while it repeats.
inline void blendColourRun(std::uint32_t *pixels, int count, std::uint32_t colour, std::uint32_t alpha)
{
    if (count <= 0)
        return;
    constexpr int block = 16;
    const std::uint32_t overTransparent = (colour & 0x00ffffffu) | (alpha << 24);
    std::uint32_t lastIn = ~pixels[0];
    std::uint32_t lastOut = 0;
    auto blendEach = [&](std::uint32_t *run, int length) {
        for (int i = 0; i < length; ++i) {
            if (run[i] != lastIn) {
                lastIn = run[i];
                lastOut = blendOver(lastIn, colour, alpha);
            }
            run[i] = lastOut;
        }
    };
    int done = 0;
    for (; done + block <= count; done += block) {
        std::uint32_t *run = pixels + done;
        // Two pixels at a time; each half of a pair keeps its alpha on top.
        std::uint64_t any = 0, all = ~std::uint64_t{0};
        for (int i = 0; i < block; i += 2) {
            std::uint64_t pair;
            std::memcpy(&pair, run + i, sizeof pair);
            any |= pair;
            all &= pair;
        }
        constexpr std::uint64_t alphas = 0xff000000ff000000u;
        if ((any & alphas) == 0) {
            for (int i = 0; i < block; ++i)
                run[i] = overTransparent;
        } else if ((all & alphas) == alphas) {
            for (int i = 0; i < block; ++i)
                run[i] = mixOverOpaque(run[i], colour, alpha);
        } else {
            blendEach(run, block);
        }
    }
    blendEach(pixels + done, count - done);
}

// `colour` at the opacities of a glyph's coverage over a target that is mostly
// one value where the glyphs land (a window's translucent fill). Blends over
// a translucent pixel are remembered by opacity for the last such value seen,
// so that the costly mix runs once per opacity rather than once per pixel.
class CoverageBlender
{
public:
    explicit CoverageBlender(std::uint32_t colour) : m_colour(colour & 0x00ffffffu) { }

    // `dest` with the colour over it at `alpha` (0..255).
    std::uint32_t over(std::uint32_t dest, std::uint32_t alpha)
    {
        const std::uint32_t destAlpha = dest >> 24;
        if (alpha == 0 || alpha == 255 || destAlpha == 0 || destAlpha == 255)
            return blendOver(dest, m_colour, alpha);
        if (dest != m_dest) {
            m_dest = dest;
            std::fill(m_known, m_known + 4, std::uint64_t{0});
        }
        std::uint64_t &known = m_known[alpha >> 6];
        const std::uint64_t bit = std::uint64_t{1} << (alpha & 63u);
        if ((known & bit) == 0) {
            m_results[alpha] = mixOverTranslucent(dest, m_colour, alpha, destAlpha);
            known |= bit;
        }
        return m_results[alpha];
    }

private:
    std::uint32_t m_colour;
    std::uint32_t m_dest = 0;
    std::uint64_t m_known[4] = {};
    std::uint32_t m_results[256];
};

// Every pixel of `source` over the run at `dest`.
inline void blendPixelRun(std::uint32_t *dest, const std::uint32_t *source, int count)
{
    if (allOpaque(dest, count)) {
        for (int i = 0; i < count; ++i)
            dest[i] = mixOverOpaque(dest[i], source[i], source[i] >> 24);
    } else {
        for (int i = 0; i < count; ++i)
            dest[i] = blendOver(dest[i], source[i]);
    }
}

} // namespace boxgfx

#endif
