#ifndef ZKRECT_H
#define ZKRECT_H

#include "zkpoint.h"
#include "zksize.h"

/// A rectangle of pixels, kept as its first and last column and row:
///
///     x1 = left()   x2 = right()    width() == x2 - x1 + 1
///     y1 = top()    y2 = bottom()   height() == y2 - y1 + 1
///
/// The right column and the bottom row belong to the rectangle, so one pixel is
/// (3, 3, 3, 3) and (0, 0, 9, 9) is 10 by 10. Width and height 0, that is x2 ==
/// x1 - 1 and y2 == y1 - 1, make a *null* rectangle; the one that operations
/// return is (0, 0, -1, -1). With x2 < x1 - 1 the rectangle is *reversed* in x,
/// likewise in y: every test and operation first exchanges such a pair.
///
/// Plain data, 16 bytes on every platform, in the order x1, y1, x2, y2. Any four
/// numbers are a rectangle; sums and differences wrap to 32 bits.
class ZK_EXPORT ZkRect
{
public:
    /// The null rectangle (0, 0, -1, -1).
    constexpr ZkRect() : m_x1(0), m_y1(0), m_x2(-1), m_y2(-1) {}

    /// Corners, not extents: `x2` and `y2` are the last column and row.
    constexpr ZkRect(int x1, int y1, int x2, int y2) : m_x1(x1), m_y1(y1), m_x2(x2), m_y2(y2) {}

    constexpr int left() const { return m_x1; }
    constexpr int top() const { return m_y1; }
    constexpr int right() const { return m_x2; }
    constexpr int bottom() const { return m_y2; }
    constexpr int x() const { return m_x1; }
    constexpr int y() const { return m_y1; }

    /// Columns and rows; negative in a reversed rectangle.
    constexpr int width() const { return zkWrapped(static_cast<std::int64_t>(m_x2) - m_x1 + 1); }
    constexpr int height() const { return zkWrapped(static_cast<std::int64_t>(m_y2) - m_y1 + 1); }
    constexpr ZkSize size() const { return ZkSize(width(), height()); }

    /// Moves one edge; the other three stay where they are.
    void setLeft(int x) { m_x1 = x; }
    void setTop(int y) { m_y1 = y; }
    void setRight(int x) { m_x2 = x; }
    void setBottom(int y) { m_y2 = y; }

    /// Width and height both 0. A rectangle with one of them 0 is not null.
    constexpr bool isNull() const
    {
        return m_x2 == static_cast<std::int64_t>(m_x1) - 1 &&
               m_y2 == static_cast<std::int64_t>(m_y1) - 1;
    }

    /// At least one column and one row: x1 <= x2 and y1 <= y2.
    constexpr bool isValid() const { return m_x1 <= m_x2 && m_y1 <= m_y2; }

    /// The same corners the right way round. A plain exchange, so it changes the
    /// size: (10, 10, 0, 0), of width -9, becomes (0, 0, 10, 10), of width 11. The
    /// null rectangle (5, 5, 4, 4) is not reversed and stays.
    ZkRect normalized() const;

    /// Moves by (dx, dy).
    void translate(int dx, int dy);

    /// Moves so that `center` is the middle pixel; of an even number of columns or
    /// rows, the upper left one of the middle: (0, 0, 9, 9) to (100, 100) is
    /// (96, 96, 105, 105).
    void moveCenter(const ZkPoint &center);

    /// Whether the pixel lies inside; `proper` leaves the four edges out. Null
    /// rectangles get no special treatment here: none contains a pixel anyway.
    bool contains(const ZkPoint &p, bool proper = false) const;

    /// Whether `r` lies inside; with `proper` no edge may be shared. False if
    /// either is null.
    bool contains(const ZkRect &r, bool proper = false) const;

    /// Whether a pixel is common to both: inclusive edges, so (0, 0, 9, 9) meets
    /// (9, 9, 20, 20). False if either is null.
    bool intersects(const ZkRect &r) const;

    /// The smallest rectangle around both; of a null one and another, the other as
    /// it stands.
    ZkRect operator|(const ZkRect &r) const;

    /// The pixels common to both; (0, 0, -1, -1) if there are none.
    ZkRect operator&(const ZkRect &r) const;

    friend constexpr bool operator==(const ZkRect &a, const ZkRect &b)
    {
        return a.m_x1 == b.m_x1 && a.m_y1 == b.m_y1 && a.m_x2 == b.m_x2 && a.m_y2 == b.m_y2;
    }
    friend constexpr bool operator!=(const ZkRect &a, const ZkRect &b) { return !(a == b); }

private:
    int m_x1;
    int m_y1;
    int m_x2;
    int m_y2;
};

inline void ZkRect::translate(int dx, int dy)
{
    m_x1 = zkWrapped(static_cast<std::int64_t>(m_x1) + dx);
    m_y1 = zkWrapped(static_cast<std::int64_t>(m_y1) + dy);
    m_x2 = zkWrapped(static_cast<std::int64_t>(m_x2) + dx);
    m_y2 = zkWrapped(static_cast<std::int64_t>(m_y2) + dy);
}

/// A rectangle of the plane in single precision: origin and extent. Its spans
/// are [x, x + width] and [y, y + height], or [x + width, x] where the width is
/// negative; a span whose two ends are equal is empty, also when the width is
/// merely too small to move x. Unlike those of `ZkRect`, edges that touch do not
/// meet.
///
/// Plain data, 16 bytes, in the order x, y, width, height. Comparison is exact.
class ZK_EXPORT ZkRectF
{
public:
    /// (0, 0, 0, 0).
    constexpr ZkRectF() : m_x(0), m_y(0), m_width(0), m_height(0) {}

    /// Extents, not corners: the last two are width and height.
    constexpr ZkRectF(float x, float y, float width, float height)
        : m_x(x), m_y(y), m_width(width), m_height(height)
    {
    }

    constexpr float x() const { return m_x; }
    constexpr float y() const { return m_y; }
    constexpr float width() const { return m_width; }
    constexpr float height() const { return m_height; }
    constexpr ZkSizeF size() const { return ZkSizeF(m_width, m_height); }

    /// `left()` is x and `right()` x + width, whatever the sign of the width.
    constexpr float left() const { return m_x; }
    constexpr float top() const { return m_y; }
    constexpr float right() const { return m_x + m_width; }
    constexpr float bottom() const { return m_y + m_height; }

    /// The same area with width and height not negative.
    ZkRectF normalized() const;

    /// Whether the point lies inside or on an edge. False if a span is empty.
    bool contains(const ZkPointF &p) const;

    /// Whether `r` lies inside, shared edges allowed. False if any span is empty.
    bool contains(const ZkRectF &r) const;

    /// Whether both have an area in common; touching edges are not enough. False
    /// if any span is empty.
    bool intersects(const ZkRectF &r) const;

    /// The smallest normalised rectangle around both. One whose width and height
    /// are both 0 counts as nothing, wherever it lies.
    ZkRectF operator|(const ZkRectF &r) const;

    /// The common area; (0, 0, 0, 0) if there is none.
    ZkRectF operator&(const ZkRectF &r) const;

    /// The smallest pixel rectangle around this one: (0.5, 0.5, 1, 1) gives
    /// (0, 0, 1, 1). A negative extent is not turned round first. Coordinates
    /// outside the range of int become its nearest end, NaN becomes 0.
    ZkRect toAlignedRect() const;

    friend constexpr bool operator==(const ZkRectF &a, const ZkRectF &b)
    {
        return a.m_x == b.m_x && a.m_y == b.m_y && a.m_width == b.m_width &&
               a.m_height == b.m_height;
    }
    friend constexpr bool operator!=(const ZkRectF &a, const ZkRectF &b) { return !(a == b); }

private:
    float m_x;
    float m_y;
    float m_width;
    float m_height;
};

#endif
