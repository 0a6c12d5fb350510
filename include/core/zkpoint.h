#ifndef ZKPOINT_H
#define ZKPOINT_H

#include "zkglobal.h"

/// A pixel of the integer grid. Plain data, 8 bytes, x before y; y grows downward.
/// Sums and differences wrap to 32 bits.
class ZkPoint
{
public:
    /// (0, 0).
    constexpr ZkPoint() : m_x(0), m_y(0) {}
    constexpr ZkPoint(int x, int y) : m_x(x), m_y(y) {}

    constexpr int x() const { return m_x; }
    constexpr int y() const { return m_y; }
    void setX(int x) { m_x = x; }
    void setY(int y) { m_y = y; }

    friend constexpr bool operator==(const ZkPoint &a, const ZkPoint &b)
    {
        return a.m_x == b.m_x && a.m_y == b.m_y;
    }
    friend constexpr bool operator!=(const ZkPoint &a, const ZkPoint &b) { return !(a == b); }

    friend constexpr ZkPoint operator+(const ZkPoint &a, const ZkPoint &b)
    {
        return ZkPoint(zkWrapped(static_cast<std::int64_t>(a.m_x) + b.m_x),
                       zkWrapped(static_cast<std::int64_t>(a.m_y) + b.m_y));
    }
    friend constexpr ZkPoint operator-(const ZkPoint &a, const ZkPoint &b)
    {
        return ZkPoint(zkWrapped(static_cast<std::int64_t>(a.m_x) - b.m_x),
                       zkWrapped(static_cast<std::int64_t>(a.m_y) - b.m_y));
    }

private:
    int m_x;
    int m_y;
};

/// A point, or a vector, of the plane in single precision. Plain data, 8 bytes,
/// x before y. Comparison is exact: no two different bit patterns are equal but
/// the two zeros, and a NaN equals nothing.
class ZkPointF
{
public:
    /// (0, 0).
    constexpr ZkPointF() : m_x(0), m_y(0) {}
    constexpr ZkPointF(float x, float y) : m_x(x), m_y(y) {}

    constexpr float x() const { return m_x; }
    constexpr float y() const { return m_y; }
    void setX(float x) { m_x = x; }
    void setY(float y) { m_y = y; }

    friend constexpr bool operator==(const ZkPointF &a, const ZkPointF &b)
    {
        return a.m_x == b.m_x && a.m_y == b.m_y;
    }
    friend constexpr bool operator!=(const ZkPointF &a, const ZkPointF &b) { return !(a == b); }

    friend constexpr ZkPointF operator+(const ZkPointF &a, const ZkPointF &b)
    {
        return ZkPointF(a.m_x + b.m_x, a.m_y + b.m_y);
    }
    friend constexpr ZkPointF operator-(const ZkPointF &a, const ZkPointF &b)
    {
        return ZkPointF(a.m_x - b.m_x, a.m_y - b.m_y);
    }
    friend constexpr ZkPointF operator*(const ZkPointF &p, float factor)
    {
        return ZkPointF(p.m_x * factor, p.m_y * factor);
    }
    friend constexpr ZkPointF operator*(float factor, const ZkPointF &p) { return p * factor; }

private:
    float m_x;
    float m_y;
};

#endif
