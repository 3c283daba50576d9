#ifndef TARNWAVE_HOST_GUI_GPIXMAP_H
#define TARNWAVE_HOST_GUI_GPIXMAP_H

// A 32-bit ARGB image: straight (not premultiplied) alpha, one 0xAARRGGBB
// value per pixel, rows stored one after the other without padding. The OSD
// frame, skin images and screenshots are all gPixmaps.

#include "gui/geometry.h"
#include "gui/grgb.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

class gPixmap
{
public:
    // Every pixel 0 (fully transparent). A negative extent counts as 0.
    explicit gPixmap(eSize size);
    gPixmap(const gPixmap &) = delete;
    gPixmap &operator=(const gPixmap &) = delete;

    eSize size() const { return m_size; }
    int width() const { return m_size.width(); }
    int height() const { return m_size.height(); }
    // (0, 0) to (width, height): the area that holds pixels.
    eRect rect() const { return eRect(ePoint(0, 0), m_size); }

    // The first pixel of row y (0 <= y < height()).
    std::uint32_t *line(int y) { return m_pixels.data() + rowOffset(y); }
    const std::uint32_t *line(int y) const { return m_pixels.data() + rowOffset(y); }
    // All pixels, row after row (width() * height() values).
    std::uint32_t *data() { return m_pixels.data(); }
    const std::uint32_t *data() const { return m_pixels.data(); }

    // 0 outside the image.
    std::uint32_t pixel(int x, int y) const;
    gRGB colorAt(int x, int y) const { return gRGB::fromArgb(pixel(x, y)); }
    // Ignored outside the image.
    void setPixel(int x, int y, std::uint32_t argb);
    // Stores `argb` into every pixel.
    void fillAll(std::uint32_t argb);

    std::unique_ptr<gPixmap> clone() const;

    // Guards the pixels against another thread that reads them (the emulator
    // copying a frame). lock() waits; tryLock() returns a lock that does not
    // own the mutex when someone else holds it. The mutex is not recursive:
    // a thread that holds lock() must not paint blits into this pixmap.
    std::unique_lock<std::mutex> lock() { return std::unique_lock<std::mutex>(m_mutex); }
    std::unique_lock<std::mutex> tryLock() { return std::unique_lock<std::mutex>(m_mutex, std::try_to_lock); }

private:
    std::size_t rowOffset(int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(m_size.width());
    }

    eSize m_size;
    std::vector<std::uint32_t> m_pixels;
    std::mutex m_mutex;
};

#endif
