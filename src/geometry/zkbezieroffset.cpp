#include "zkbezier.h"

#include <algorithm>
#include <cmath>

// The offset of a cubic is no cubic, but a smooth function of the cubic's t:
//
//     O(t) = C(t) + offset * n(t)                n: the tangent T, turned to the left
//     O'(t) = T(t) * (|C'(t)| + offset * w(t))   w: how fast T turns, radians per t
//
// A piece of it is drawn as a cubic that has its end points, its tangents there and
// its middle; or, where that asks for strange arms, the derivatives at the ends.
// Either error falls with the fourth power of the piece's length. The speed turns
// negative by itself where a bend is tighter than the offset, so cusps of the offset
// need no care. Only where C' is 0, which is a cusp of the curve or an end without
// an arm, higher derivatives have to tell the direction.
//
// Computed in double precision: close to a cusp the normals depend on the last digits.

namespace
{

struct Vector {
    double x;
    double y;
};

Vector operator+(Vector a, Vector b)
{
    return {a.x + b.x, a.y + b.y};
}

Vector operator-(Vector a, Vector b)
{
    return {a.x - b.x, a.y - b.y};
}

Vector operator*(Vector a, double factor)
{
    return {a.x * factor, a.y * factor};
}

double dot(Vector a, Vector b)
{
    return a.x * b.x + a.y * b.y;
}

double cross(Vector a, Vector b)
{
    return a.x * b.y - a.y * b.x;
}

double length(Vector a)
{
    return std::sqrt(dot(a, a));
}

// A cubic in double precision.
struct Cubic {
    Vector p1, p2, p3, p4;

    Vector at(double t) const
    {
        const double s = 1 - t;
        return p1 * (s * s * s) + p2 * (3 * s * s * t) + p3 * (3 * s * t * t) + p4 * (t * t * t);
    }
    Vector first(double t) const
    {
        const double s = 1 - t;
        return ((p2 - p1) * (s * s) + (p3 - p2) * (2 * s * t) + (p4 - p3) * (t * t)) * 3;
    }
    Vector second(double t) const
    {
        return ((p3 - p2 * 2 + p1) * (1 - t) + (p4 - p3 * 2 + p2) * t) * 6;
    }
    Vector third() const { return (p4 - p1 + (p2 - p3) * 3) * 6; }
};

ZkBezier narrowed(const Cubic &c)
{
    const auto narrow = [](double value) { return static_cast<float>(value); };
    return {narrow(c.p1.x), narrow(c.p1.y), narrow(c.p2.x), narrow(c.p2.y),
            narrow(c.p3.x), narrow(c.p3.y), narrow(c.p4.x), narrow(c.p4.y)};
}

// From which side a t is looked at: the tangents differ in a cusp.
enum Side { FromBefore = -1, FromBehind = 1 };

// How a curve goes on at some t.
struct Motion {
    Vector tangent;
    double speed; // of the point, per t
    double turn;  // of the tangent, radians per t
};

// A place of the offset curve.
struct Place {
    Vector point;
    Vector tangent;
    double turn;  // of the tangent
    double speed; // along the tangent; negative when the offset runs backward
};

// The offset from t0 to t0 + span.
struct Part {
    double t0, span;
    Place from, to;
};

class OffsetWriter
{
public:
    OffsetWriter(const ZkBezier &curve, float offset, float threshold);

    // Writes the whole offset as at most `room` segments. Returns how many.
    int write(ZkBezier *segments, int room) const;

private:
    Motion motionAt(double t, Side side) const;
    Place placeAt(double t, Side side) const;
    double armOf(const Place &place, double span) const;
    Cubic cubicFor(const Part &part) const;
    bool isNear(Vector point, double t, const Part &part) const;
    bool isClose(const Cubic &piece, const Part &part) const;
    int writePart(const Part &part, ZkBezier *segments, int room) const;

    Cubic m_curve;
    double m_offset;
    double m_tolerance;
    double m_rest; // a speed up to this is no motion
};

OffsetWriter::OffsetWriter(const ZkBezier &c, float offset, float threshold)
    : m_curve{{c.x1, c.y1}, {c.x2, c.y2}, {c.x3, c.y3}, {c.x4, c.y4}},
      m_offset(offset),
      // A quarter is kept for what the error may rise to between the samples.
      m_tolerance(0.75 * threshold),
      m_rest(1e-9 * (length(m_curve.p2 - m_curve.p1) + length(m_curve.p3 - m_curve.p2) +
                     length(m_curve.p4 - m_curve.p3)))
{
}

Motion OffsetWriter::motionAt(double t, Side side) const
{
    const Vector first = m_curve.first(t);
    const double speed = length(first);
    const Vector second = m_curve.second(t);
    if (speed > m_rest) {
        return {first * (1 / speed), speed, cross(first, second) / (speed * speed)};
    }
    const Vector third = m_curve.third();
    const double force = length(second);
    if (force > m_rest) {
        // A moment before or behind, C' is the second derivative times that moment.
        return {second * (static_cast<double>(side) / force), 0,
                cross(second, third) / (2 * force * force)};
    }
    return {third * (1 / length(third)), 0, 0};
}

Place OffsetWriter::placeAt(double t, Side side) const
{
    const Motion motion = motionAt(t, side);
    const Vector normal = {motion.tangent.y, -motion.tangent.x};
    return {m_curve.at(t) + normal * m_offset, motion.tangent, motion.turn,
            motion.speed + m_offset * motion.turn};
}

// The length of the arm that gives a piece of `span` the derivative at `place`;
// negative when it points backward. A piece may be kept although it is not close to the
// curve, when there is no room for its halves: the turn is limited to half a circle, so
// that a tangent that turns quickly draws no spike.
double OffsetWriter::armOf(const Place &place, double span) const
{
    constexpr double kHalfTurn = 3.14159265358979323846;
    const double turn = place.turn * span;
    const double excess = turn - std::clamp(turn, -kHalfTurn, kHalfTurn);
    return (place.speed * span - m_offset * excess) / 3;
}

Cubic OffsetWriter::cubicFor(const Part &part) const
{
    const Place &from = part.from;
    const Place &to = part.to;
    double arm0 = armOf(from, part.span);
    double arm1 = armOf(to, part.span);

    // The arms a, b with which the piece meets the offset at its own 0.5:
    //     (from + to) / 2 + 3/8 (a T0 - b T1) = middle
    const Vector middle = placeAt(part.t0 + part.span / 2, FromBehind).point;
    const Vector way = (middle - (from.point + to.point) * 0.5) * (8.0 / 3);
    const double determinant = cross(to.tangent, from.tangent);
    const double fit0 = cross(to.tangent, way) / determinant;
    const double fit1 = cross(from.tangent, way) / determinant;
    // Parallel tangents have no such arms, and next to a cusp they are unusably long.
    const auto isSane = [](double fit, double arm) { return fit / arm > 0.5 && fit / arm < 2; };
    if (isSane(fit0, arm0) && isSane(fit1, arm1)) {
        arm0 = fit0;
        arm1 = fit1;
    }
    return {from.point, from.point + from.tangent * arm0, to.point - to.tangent * arm1, to.point};
}

// Whether `point`, thought to lie beside t, is near the part: near its place at t,
// or near the foot of the point if the two run at different speeds. Neither is nearer
// than the nearest point of the part. But in a part with a cusp it must be near the place
// at t, or the tip might be cut off. NaN counts as near: curves with such coordinates
// are not halved.
bool OffsetWriter::isNear(Vector point, double t, const Part &part) const
{
    const Place place = placeAt(t, FromBehind);
    const Vector away = point - place.point;
    if (!(length(away) > m_tolerance)) {
        return true;
    }
    if (!(place.speed * part.from.speed > 0 && place.speed * part.to.speed > 0)) {
        return false;
    }
    const double foot = t + dot(away, place.tangent) / place.speed;
    const double inside = std::clamp(foot, part.t0, part.t0 + part.span);
    return !(length(point - placeAt(inside, FromBehind).point) > m_tolerance);
}

bool OffsetWriter::isClose(const Cubic &piece, const Part &part) const
{
    for (const double share : {0.5, 0.25, 0.75, 0.125, 0.375, 0.625, 0.875}) {
        if (!isNear(piece.at(share), part.t0 + part.span * share, part)) {
            return false;
        }
    }
    return true;
}

int OffsetWriter::writePart(const Part &part, ZkBezier *segments, int room) const
{
    constexpr double kShortest = 1.0 / 65536;
    const Cubic piece = cubicFor(part);
    if (room == 1 || part.span <= kShortest || isClose(piece, part)) {
        *segments = narrowed(piece);
        return 1;
    }
    const double half = part.span / 2;
    const double middle = part.t0 + half;
    const Part first = {part.t0, half, part.from, placeAt(middle, FromBefore)};
    const Part second = {middle, half, placeAt(middle, FromBehind), part.to};
    const int count = writePart(first, segments, room - 1);
    return count + writePart(second, segments + count, room - count);
}

int OffsetWriter::write(ZkBezier *segments, int room) const
{
    const Part whole = {0, 1, placeAt(0, FromBehind), placeAt(1, FromBefore)};
    return writePart(whole, segments, room);
}

bool isPoint(const ZkBezier &c)
{
    return c.x1 == c.x2 && c.y1 == c.y2 && c.x1 == c.x3 && c.y1 == c.y3 && c.x1 == c.x4 &&
           c.y1 == c.y4;
}

} // namespace

int ZkBezier::shifted(ZkBezier *curveSegments, int maxSegments, float offset, float threshold) const
{
    constexpr const char *kFile = "./src/zkbezier";
    constexpr const char *kFunction = "int ZkBezier::shifted(ZkBezier*, int, float, float) const";
    ZK_CHECK_AT(maxSegments > 0, "maxSegments > 0", kFile, __LINE__, kFunction);
    ZK_CHECK_AT(curveSegments != nullptr, "curveSegments", kFile, __LINE__, kFunction);
    if (isPoint(*this)) {
        return 0;
    }
    const int count = OffsetWriter(*this, offset, threshold).write(curveSegments, maxSegments);
    const ZkBezier *o = curveSegments + count;
    ZK_CHECK_AT(o - curveSegments <= maxSegments, "o - curveSegments <= maxSegments", kFile,
                __LINE__, kFunction);
    return count;
}
