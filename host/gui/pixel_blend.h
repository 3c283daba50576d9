#ifndef TARNWAVE_HOST_GUI_PIXEL_BLEND_H
#define TARNWAVE_HOST_GUI_PIXEL_BLEND_H

// Straight-alpha "over" for 0xAARRGGBB pixels, internal to the drawing layer.
// The common cases (opaque or invisible source, opaque or empty destination)
// take short paths; only translucent over translucent pays a division.

#include <algorithm>
#include <cstdint>

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
// compiler turns into vector code; the formula of mixOverOpaque is exact for
// alpha 0 and 255 too.

// Both tests decide most runs at their first pixel (a window's translucent
// fill lands on cleared, transparent pixels), so that only a run that may
// pass is scanned whole.
inline bool allOpaque(const std::uint32_t *pixels, int count)
{
    if (count > 0 && (pixels[0] >> 24) != 255)
        return false;
    std::uint32_t all = 0xffffffffu;
    for (int i = 0; i < count; ++i)
        all &= pixels[i];
    return (all >> 24) == 255;
}

inline bool allTransparent(const std::uint32_t *pixels, int count)
{
    if (count > 0 && (pixels[0] >> 24) != 0)
        return false;
    std::uint32_t any = 0;
    for (int i = 0; i < count; ++i)
        any |= pixels[i];
    return (any >> 24) == 0;
}

// `colour` at opacity `alpha` (1..254) over a run.
inline void blendColourRun(std::uint32_t *pixels, int count, std::uint32_t colour, std::uint32_t alpha)
{
    if (allOpaque(pixels, count)) {
        for (int i = 0; i < count; ++i)
            pixels[i] = mixOverOpaque(pixels[i], colour, alpha);
    } else if (allTransparent(pixels, count)) {
        const std::uint32_t stored = (colour & 0x00ffffffu) | (alpha << 24);
        std::fill(pixels, pixels + count, stored);
    } else {
        for (int i = 0; i < count; ++i)
            pixels[i] = blendOver(pixels[i], colour, alpha);
    }
}

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
