#include "gui/gpixmap.h"

#include <algorithm>

gPixmap::gPixmap(eSize size)
    : m_size(std::max(size.width(), 0), std::max(size.height(), 0)),
      m_pixels(static_cast<std::size_t>(m_size.width()) * static_cast<std::size_t>(m_size.height()), 0u)
{
    if (m_pixels.empty())
        m_size = eSize(0, 0);
}

std::uint32_t gPixmap::pixel(int x, int y) const
{
    if (x < 0 || y < 0 || x >= width() || y >= height())
        return 0;
    return line(y)[x];
}

void gPixmap::setPixel(int x, int y, std::uint32_t argb)
{
    if (x < 0 || y < 0 || x >= width() || y >= height())
        return;
    line(y)[x] = argb;
}

void gPixmap::fillAll(std::uint32_t argb)
{
    std::fill(m_pixels.begin(), m_pixels.end(), argb);
}

std::unique_ptr<gPixmap> gPixmap::clone() const
{
    auto copy = std::make_unique<gPixmap>(m_size);
    copy->m_pixels = m_pixels;
    return copy;
}
