#ifndef ZKBEZIER_H
#define ZKBEZIER_H

#include "zkpoint.h"
#include "zkrect.h"

/// A cubic Bezier segment in single precision: from point 1 to point 4, leaving
/// towards point 2 and arriving from point 3. The parameter t runs from 0 at point
/// 1 to 1 at point 4. Plain data, 32 bytes, in the order x1, y1, ... x4, y4.
///
/// The halves of a quarter circle and its length, each piece to a hundredth of a pixel:
///
///     const ZkBezier arc = ZkBezier::fromPoints({0, 0}, {0, 55}, {45, 100}, {100, 100});
///     ZkBezier first, second;
///     arc.split(&first, &second);
///     const float pixels = arc.length(0.01F); // 157.07
///
/// Any eight numbers are a curve, and every operation ends: with a NaN or an
/// infinity among them the results are numbers without meaning. Sums of two
/// coordinates are taken in single precision, so those beyond half of its range
/// give infinities.
class ZK_EXPORT ZkBezier
{
public:
    float x1 = 0, y1 = 0;
    float x2 = 0, y2 = 0;
    float x3 = 0, y3 = 0;
    float x4 = 0, y4 = 0;

    static ZkBezier fromPoints(const ZkPointF &p1, const ZkPointF &p2, const ZkPointF &p3,
                               const ZkPointF &p4);

    /// The box around the four points. The curve lies inside, most often without
    /// touching every side: the box of its own extremes can be smaller.
    ZkRectF bounds() const;

    /// The halves before and behind t = 0.5. Both pointers must not be null; either
    /// may be this curve itself.
    void split(ZkBezier *firstHalf, ZkBezier *secondHalf) const;

    /// The part from t0 to t1, 0 <= t0 <= t1 <= 1; from 0 to 1 it is the curve bit by
    /// bit. Parts that meet at some t share the bits of that point when one starts
    /// at 0 and the other ends at 1. A t1 of 0 with a t0 above it gives NaNs.
    ZkBezier getSubRange(float t0, float t1) const;

    /// The same part as `getSubRange`.
    ZkBezier bezierOnInterval(float t0, float t1) const;

    /// The length: the curve is halved until in every piece the control polygon is at
    /// most `error` longer than the chord, and the polygons are added. The sum is not
    /// short of the true length but for rounding. The work grows with 1 / sqrt(error).
    /// An error below 2^-29 of the largest coordinate, 0 and less included, counts as
    /// that much, for single precision tells no finer bends; it takes some 1000 pieces.
    /// A NaN takes the whole as one piece.
    float length(float error) const;

    /// The t up to which the curve is `len` long, to within 0.01 as `length(0.01)`
    /// measures it. 1 when the whole curve is no longer than `len`, or nearly as
    /// long; 0 or nearly 0 for a `len` of 0 or less. Where 0.01 is finer than the
    /// coordinates, the nearest t that the search meets.
    float tAtLength(float len) const;

    /// The t between t0 and t1 at which the curve has this y, to the last place of
    /// t. The y at t0 must lie below `y` and the y at t1 above it: a curve that falls
    /// from t0 to t1, or one that does not pass `y`, is a broken contract. Where the
    /// curve passes `y` several times, any of them.
    float tForY(float t0, float t1, float y) const;

    /// Where the curve runs level: the parameters between 0 and 1, both excluded, at
    /// which dy/dt is 0. Returns how many there are, 0 to 2, with the first in `t1`;
    /// what is not returned stays as it was. Coefficients and discriminants up to
    /// 1e-12 count as 0, so a curve whose y spans less than about 1e-6 may show one
    /// for two.
    int stationaryYPoints(float &t1, float &t2) const;

    /// Writes curves that run beside this one at the distance `offset`: on the left
    /// as seen on a screen, going from point 1 to point 4; on the right when it is
    /// negative. Returns how many were written, in the curve's order, at most
    /// `maxSegments`; `maxSegments` must be positive and `curveSegments` have room for
    /// as many.
    ///
    /// The curve is halved until each piece stays within `threshold` of the true
    /// offset, as long as there is room: a half leaves its neighbour one place, and the
    /// last place takes the whole rest as it is. No piece is shorter than a 65536th of
    /// the range of t. On the inside of a bend tighter than `offset` the offset runs
    /// backward, as the true one does.
    ///
    /// Each piece starts where the one before ends. But where the curve stops and turns
    /// round, in a cusp, the offset changes to the other side: with a gap when a piece
    /// ends there, through a piece of the shortest range when not.
    ///
    /// A curve of four equal points has no direction: nothing is written.
    int shifted(ZkBezier *curveSegments, int maxSegments, float offset, float threshold) const;

    friend constexpr bool operator==(const ZkBezier &a, const ZkBezier &b)
    {
        return a.x1 == b.x1 && a.y1 == b.y1 && a.x2 == b.x2 && a.y2 == b.y2 && a.x3 == b.x3 &&
               a.y3 == b.y3 && a.x4 == b.x4 && a.y4 == b.y4;
    }
    friend constexpr bool operator!=(const ZkBezier &a, const ZkBezier &b) { return !(a == b); }
};

inline void ZkBezier::split(ZkBezier *firstHalf, ZkBezier *secondHalf) const
{
    constexpr const char *kFile = "../include/core/zkbezier";
    constexpr const char *kFunction = "void ZkBezier::split(ZkBezier*, ZkBezier*) const";
    ZK_CHECK_AT(firstHalf != nullptr, "firstHalf", kFile, __LINE__, kFunction);
    ZK_CHECK_AT(secondHalf != nullptr, "secondHalf", kFile, __LINE__, kFunction);

    // All points are read before one is written.
    const auto mean = [](float a, float b) { return (a + b) * 0.5F; };
    const float x12 = mean(x1, x2), y12 = mean(y1, y2);
    const float x23 = mean(x2, x3), y23 = mean(y2, y3);
    const float x34 = mean(x3, x4), y34 = mean(y3, y4);
    const float x123 = mean(x12, x23), y123 = mean(y12, y23);
    const float x234 = mean(x23, x34), y234 = mean(y23, y34);
    const float x = mean(x123, x234), y = mean(y123, y234);
    const ZkBezier first = {x1, y1, x12, y12, x123, y123, x, y};
    const ZkBezier second = {x, y, x234, y234, x34, y34, x4, y4};
    *firstHalf = first;
    *secondHalf = second;
}

#endif
