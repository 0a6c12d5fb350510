#ifndef ZKSIZE_H
#define ZKSIZE_H

#include "zkglobal.h"

/// A width and a height in pixels. Plain data, 8 bytes, width first. Nothing
/// forbids a negative one.
class ZK_EXPORT ZkSize
{
public:
    /// 0 by 0.
    constexpr ZkSize() : m_width(0), m_height(0) {}
    constexpr ZkSize(int width, int height) : m_width(width), m_height(height) {}

    constexpr int width() const { return m_width; }
    constexpr int height() const { return m_height; }
    void setWidth(int width) { m_width = width; }
    void setHeight(int height) { m_height = height; }

    /// Fits this size to `box`. `Zk::KeepAspect` gives the largest size of this
    /// shape that fits inside, `Zk::KeepAspectExpanding` the smallest that covers
    /// it, `Zk::IgnoreAspect` the box itself; so does a size whose width or height
    /// is 0, which has no shape to keep. The side that follows is rounded toward 0
    /// and wraps to 32 bits: (200, 100) scaled to keep inside (50, 50) is (50, 25).
    void scale(const ZkSize &box, Zk::AspectRatioMode mode);

    friend constexpr bool operator==(const ZkSize &a, const ZkSize &b)
    {
        return a.m_width == b.m_width && a.m_height == b.m_height;
    }
    friend constexpr bool operator!=(const ZkSize &a, const ZkSize &b) { return !(a == b); }

private:
    int m_width;
    int m_height;
};

/// A width and a height in single precision. Plain data, 8 bytes, width first.
/// Comparison is exact.
class ZK_EXPORT ZkSizeF
{
public:
    /// 0 by 0.
    constexpr ZkSizeF() : m_width(0), m_height(0) {}
    constexpr ZkSizeF(float width, float height) : m_width(width), m_height(height) {}

    constexpr float width() const { return m_width; }
    constexpr float height() const { return m_height; }
    void setWidth(float width) { m_width = width; }
    void setHeight(float height) { m_height = height; }

    /// As `ZkSize::scale`, without rounding. Only +0 has no shape to keep: with
    /// -0 the division is done, and its infinity or NaN decides.
    void scale(const ZkSizeF &box, Zk::AspectRatioMode mode);

    friend constexpr bool operator==(const ZkSizeF &a, const ZkSizeF &b)
    {
        return a.m_width == b.m_width && a.m_height == b.m_height;
    }
    friend constexpr bool operator!=(const ZkSizeF &a, const ZkSizeF &b) { return !(a == b); }

private:
    float m_width;
    float m_height;
};

#endif
