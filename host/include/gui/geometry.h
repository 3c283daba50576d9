#ifndef TARNWAVE_HOST_GUI_GEOMETRY_H
#define TARNWAVE_HOST_GUI_GEOMETRY_H

// Points, sizes and rectangles in pixels. A rectangle covers the pixels from
// its left/top edge up to, but not including, its right/bottom edge, so
// width() == right() - left().

#include <algorithm>

class ePoint
{
public:
    constexpr ePoint() = default;
    constexpr ePoint(int x, int y) : m_x(x), m_y(y) {}

    constexpr int x() const { return m_x; }
    constexpr int y() const { return m_y; }
    constexpr void setX(int x) { m_x = x; }
    constexpr void setY(int y) { m_y = y; }

    constexpr ePoint operator+(const ePoint &other) const { return {m_x + other.m_x, m_y + other.m_y}; }
    constexpr ePoint operator-(const ePoint &other) const { return {m_x - other.m_x, m_y - other.m_y}; }
    constexpr ePoint &operator+=(const ePoint &other)
    {
        m_x += other.m_x;
        m_y += other.m_y;
        return *this;
    }
    constexpr ePoint &operator-=(const ePoint &other)
    {
        m_x -= other.m_x;
        m_y -= other.m_y;
        return *this;
    }
    constexpr bool operator==(const ePoint &) const = default;

private:
    int m_x = 0;
    int m_y = 0;
};

class eSize
{
public:
    constexpr eSize() = default;
    constexpr eSize(int width, int height) : m_width(width), m_height(height) {}

    constexpr int width() const { return m_width; }
    constexpr int height() const { return m_height; }
    constexpr void setWidth(int width) { m_width = width; }
    constexpr void setHeight(int height) { m_height = height; }
    constexpr bool isEmpty() const { return m_width <= 0 || m_height <= 0; }
    constexpr bool operator==(const eSize &) const = default;

private:
    int m_width = 0;
    int m_height = 0;
};

class eRect
{
public:
    constexpr eRect() = default;
    constexpr eRect(ePoint topLeft, eSize size)
        : m_left(topLeft.x()), m_top(topLeft.y()), m_right(topLeft.x() + size.width()),
          m_bottom(topLeft.y() + size.height())
    {
    }
    // From the top-left corner to the bottom-right edge (exclusive).
    constexpr eRect(ePoint topLeft, ePoint bottomRight)
        : m_left(topLeft.x()), m_top(topLeft.y()), m_right(bottomRight.x()), m_bottom(bottomRight.y())
    {
    }
    static constexpr eRect fromEdges(int left, int top, int right, int bottom)
    {
        return eRect(ePoint(left, top), ePoint(right, bottom));
    }

    constexpr int left() const { return m_left; }
    constexpr int top() const { return m_top; }
    constexpr int right() const { return m_right; }
    constexpr int bottom() const { return m_bottom; }
    constexpr int width() const { return m_right - m_left; }
    constexpr int height() const { return m_bottom - m_top; }
    constexpr eSize size() const { return {width(), height()}; }
    constexpr ePoint topLeft() const { return {m_left, m_top}; }
    constexpr ePoint bottomRight() const { return {m_right, m_bottom}; }
    constexpr bool isEmpty() const { return m_right <= m_left || m_bottom <= m_top; }
    constexpr bool isValid() const { return !isEmpty(); }

    constexpr bool contains(ePoint point) const
    {
        return point.x() >= m_left && point.x() < m_right && point.y() >= m_top && point.y() < m_bottom;
    }
    constexpr bool contains(const eRect &other) const
    {
        return other.isEmpty()
            || (other.m_left >= m_left && other.m_right <= m_right && other.m_top >= m_top
                && other.m_bottom <= m_bottom);
    }
    constexpr bool intersects(const eRect &other) const { return !(*this & other).isEmpty(); }

    // The common part; empty (possibly with negative extent) when there is none.
    constexpr eRect operator&(const eRect &other) const
    {
        return fromEdges(std::max(m_left, other.m_left), std::max(m_top, other.m_top),
                         std::min(m_right, other.m_right), std::min(m_bottom, other.m_bottom));
    }
    // The smallest rectangle holding both; an empty side is ignored.
    constexpr eRect operator|(const eRect &other) const
    {
        if (isEmpty())
            return other;
        if (other.isEmpty())
            return *this;
        return fromEdges(std::min(m_left, other.m_left), std::min(m_top, other.m_top),
                         std::max(m_right, other.m_right), std::max(m_bottom, other.m_bottom));
    }
    constexpr eRect translated(ePoint offset) const
    {
        return fromEdges(m_left + offset.x(), m_top + offset.y(), m_right + offset.x(), m_bottom + offset.y());
    }
    constexpr void moveBy(ePoint offset) { *this = translated(offset); }
    constexpr bool operator==(const eRect &) const = default;

private:
    int m_left = 0;
    int m_top = 0;
    int m_right = 0;
    int m_bottom = 0;
};

#endif
