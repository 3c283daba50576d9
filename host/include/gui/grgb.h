#ifndef TARNWAVE_HOST_GUI_GRGB_H
#define TARNWAVE_HOST_GUI_GRGB_H

// Colours. The screen is 32-bit ARGB, so a colour is its value: gRGB holds the
// four channels, alpha being opacity (255 opaque, 0 fully transparent).
// gColor is the name the widget interfaces use for the same thing.

#include <cstdint>

struct gRGB
{
    std::uint8_t b = 0, g = 0, r = 0, a = 255;

    constexpr gRGB() = default;
    constexpr gRGB(int red, int green, int blue, int alpha = 255)
        : b(static_cast<std::uint8_t>(blue)), g(static_cast<std::uint8_t>(green)), r(static_cast<std::uint8_t>(red)),
          a(static_cast<std::uint8_t>(alpha))
    {
    }
    // 0xAARRGGBB
    static constexpr gRGB fromArgb(std::uint32_t argb)
    {
        return gRGB(static_cast<int>((argb >> 16) & 0xff), static_cast<int>((argb >> 8) & 0xff),
                    static_cast<int>(argb & 0xff), static_cast<int>(argb >> 24));
    }
    constexpr std::uint32_t argb() const
    {
        return (std::uint32_t{a} << 24) | (std::uint32_t{r} << 16) | (std::uint32_t{g} << 8) | std::uint32_t{b};
    }
    constexpr bool operator==(const gRGB &) const = default;
};

using gColor = gRGB;

#endif
