#ifndef ZK_TESTS_BEZIERMODEL_H
#define ZK_TESTS_BEZIERMODEL_H

#include <zkbezier.h>

#include <cmath>
#include <ostream>

/// How a failed comparison shows a curve.
inline std::ostream &operator<<(std::ostream &out, const ZkBezier &c)
{
    out.precision(9);
    return out << '(' << c.x1 << ", " << c.y1 << ")(" << c.x2 << ", " << c.y2 << ")(" << c.x3
               << ", " << c.y3 << ")(" << c.x4 << ", " << c.y4 << ')';
}

/// Cubics in long double, told by the textbook.
namespace beziermodel
{

typedef long double Real;

struct Point {
    Real x, y;
};

inline Point operator+(Point a, Point b)
{
    return {a.x + b.x, a.y + b.y};
}

inline Point operator-(Point a, Point b)
{
    return {a.x - b.x, a.y - b.y};
}

inline Point operator*(Real factor, Point a)
{
    return {factor * a.x, factor * a.y};
}

inline Real square(Point a)
{
    return a.x * a.x + a.y * a.y;
}

inline Real distance(Point a, Point b)
{
    return std::sqrt(square(a - b));
}

inline Point mix(Point a, Point b, Real t)
{
    return (1 - t) * a + t * b;
}

/// The point at t, by de Casteljau's construction.
inline Point pointAt(const ZkBezier &c, Real t)
{
    Point p[4] = {{c.x1, c.y1}, {c.x2, c.y2}, {c.x3, c.y3}, {c.x4, c.y4}};
    for (int left = 3; left > 0; --left) {
        for (int i = 0; i < left; ++i) {
            p[i] = mix(p[i], p[i + 1], t);
        }
    }
    return p[0];
}

/// The change of the point per t.
inline Point speedAt(const ZkBezier &c, Real t)
{
    const Point p[4] = {{c.x1, c.y1}, {c.x2, c.y2}, {c.x3, c.y3}, {c.x4, c.y4}};
    const Point first = mix(p[1] - p[0], p[2] - p[1], t);
    const Point second = mix(p[2] - p[1], p[3] - p[2], t);
    return 3 * mix(first, second, t);
}

/// The point at the distance `offset` on the left, y growing downward. Not for a t
/// where the speed is 0.
inline Point offsetAt(const ZkBezier &c, Real t, Real offset)
{
    const Point speed = speedAt(c, t);
    const Real length = std::hypot(speed.x, speed.y);
    return pointAt(c, t) + (offset / length) * Point{speed.y, -speed.x};
}

inline Real gaussLength(const ZkBezier &c, Real t0, Real t1)
{
    const Real node[] = {0, 0.5384693101056830910363L, 0.9061798459386639927976L};
    const Real weight[] = {0.5688888888888888888889L, 0.4786286704993664680413L,
                           0.2369268850561890875143L};
    const auto rate = [&](Real u) {
        const Point speed = speedAt(c, (t0 + t1) / 2 + u * (t1 - t0) / 2);
        return std::hypot(speed.x, speed.y);
    };
    const Real sum = weight[0] * rate(0) + weight[1] * (rate(node[1]) + rate(-node[1])) +
                     weight[2] * (rate(node[2]) + rate(-node[2]));
    return sum * (t1 - t0) / 2;
}

inline Real lengthByHalves(const ZkBezier &c, Real t0, Real t1, Real whole, Real error, int depth)
{
    const Real middle = (t0 + t1) / 2;
    const Real first = gaussLength(c, t0, middle), second = gaussLength(c, middle, t1);
    if (depth == 0 || !(std::fabs(first + second - whole) > error)) {
        return first + second;
    }
    return lengthByHalves(c, t0, middle, first, error / 2, depth - 1) +
           lengthByHalves(c, middle, t1, second, error / 2, depth - 1);
}

/// The length from t0 to t1: the speed, integrated by Gauss's five nodes in each of
/// as many pieces as it takes.
inline Real lengthOf(const ZkBezier &c, Real t0 = 0, Real t1 = 1)
{
    const ZkRectF box = c.bounds();
    const Real size = Real(box.width()) + box.height();
    return lengthByHalves(c, t0, t1, gaussLength(c, t0, t1), size * 1e-9L, 24);
}

} // namespace beziermodel

#endif
