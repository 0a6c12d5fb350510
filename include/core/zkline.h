#ifndef ZKLINE_H
#define ZKLINE_H

#include "zkpoint.h"

/// A line segment from point 1 to point 2 in single precision. Plain data, 16
/// bytes, in the order x1, y1, x2, y2.
///
/// Angles are in degrees and counter-clockwise as seen on a screen, where y
/// grows downward: (0, 0) to (1, 0) has angle 0, (0, 0) to (0, -1) has angle 90.
class ZK_EXPORT ZkLineF
{
public:
    /// Both points (0, 0).
    constexpr ZkLineF() : m_x1(0), m_y1(0), m_x2(0), m_y2(0) {}
    constexpr ZkLineF(float x1, float y1, float x2, float y2)
        : m_x1(x1), m_y1(y1), m_x2(x2), m_y2(y2)
    {
    }
    constexpr ZkLineF(const ZkPointF &p1, const ZkPointF &p2)
        : m_x1(p1.x()), m_y1(p1.y()), m_x2(p2.x()), m_y2(p2.y())
    {
    }

    /// The line from (0, 0) of that length in that direction.
    static ZkLineF fromPolar(float length, float degrees);

    constexpr float x1() const { return m_x1; }
    constexpr float y1() const { return m_y1; }
    constexpr float x2() const { return m_x2; }
    constexpr float y2() const { return m_y2; }
    constexpr ZkPointF p1() const { return ZkPointF(m_x1, m_y1); }
    constexpr ZkPointF p2() const { return ZkPointF(m_x2, m_y2); }
    constexpr float dx() const { return m_x2 - m_x1; }
    constexpr float dy() const { return m_y2 - m_y1; }

    /// Whether the two points are the same but for rounding: in x and in y they
    /// differ by at most 0.00001 times the smaller magnitude. Where a coordinate
    /// is 0, only 0 equals it.
    bool isNull() const;

    /// The distance of the two points; infinity when its square exceeds float.
    float length() const;

    /// The direction in [0, 360). Within 0.0036 below 360 it is 0.
    float angle() const;

    /// Turns the line about point 1, which stays, as does the length.
    void setAngle(float degrees);

    /// The line of length 1 from point 1 in the same direction. Coordinates are
    /// NaN when the length is 0.
    ZkLineF unitVector() const;

    /// The counter-clockwise turn from this line to `line`, in [0, 360): from
    /// pointing right to pointing down it is 270. 0 if either is null.
    float angleTo(const ZkLineF &line) const;

    /// The angle between the two directions, in [0, 180], whichever way round. 0 if
    /// either is null, or if rounding (or a NaN) leaves the range of the cosine.
    float angle(const ZkLineF &line) const;

    friend constexpr bool operator==(const ZkLineF &a, const ZkLineF &b)
    {
        return a.m_x1 == b.m_x1 && a.m_y1 == b.m_y1 && a.m_x2 == b.m_x2 && a.m_y2 == b.m_y2;
    }
    friend constexpr bool operator!=(const ZkLineF &a, const ZkLineF &b) { return !(a == b); }

private:
    float m_x1;
    float m_y1;
    float m_x2;
    float m_y2;
};

#endif
