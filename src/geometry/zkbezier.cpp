#include "zkbezier.h"

#include "geometry/zkcubic.h"
#include "geometry/zkfuzzy.h"

#include <algorithm>
#include <cmath>

// Evaluation, parts, lengths and levels; offset curves are in zkbezieroffset.cpp.

namespace
{

// To what tAtLength measures, and the error it allows in t's place on the curve.
constexpr float kLengthError = 0.01F;

// What counts as 0 among parameters and coefficients.
constexpr float kTiny = 1e-12F;

// The weighted mean, exact at both ends; of two equal numbers it is that number.
float between(float a, float b, float t)
{
    return t < 0.5F ? a + t * (b - a) : b - (1 - t) * (b - a);
}

// The four coordinates of one axis, cut at t: `left` ends and `right` starts with
// the value there.
void cutAxis(const float (&points)[4], float t, float (&left)[4], float (&right)[4])
{
    const float p12 = between(points[0], points[1], t);
    const float p23 = between(points[1], points[2], t);
    const float p34 = between(points[2], points[3], t);
    const float p123 = between(p12, p23, t);
    const float p234 = between(p23, p34, t);
    const float middle = between(p123, p234, t);
    const float before[4] = {points[0], p12, p123, middle};
    const float behind[4] = {middle, p234, p34, points[3]};
    std::copy_n(before, 4, left);
    std::copy_n(behind, 4, right);
}

// The parts of `curve` before and behind t.
void cut(const ZkBezier &curve, float t, ZkBezier *left, ZkBezier *right)
{
    float xLeft[4], xRight[4], yLeft[4], yRight[4];
    cutAxis({curve.x1, curve.x2, curve.x3, curve.x4}, t, xLeft, xRight);
    cutAxis({curve.y1, curve.y2, curve.y3, curve.y4}, t, yLeft, yRight);
    *left = {xLeft[0], yLeft[0], xLeft[1], yLeft[1], xLeft[2], yLeft[2], xLeft[3], yLeft[3]};
    *right = {xRight[0], yRight[0], xRight[1], yRight[1],
              xRight[2], yRight[2], xRight[3], yRight[3]};
}

float yAt(const ZkBezier &curve, float t)
{
    float left[4], right[4];
    cutAxis({curve.y1, curve.y2, curve.y3, curve.y4}, t, left, right);
    return left[3];
}

float largestCoordinate(const ZkBezier &c)
{
    float largest = 0;
    for (const float value : {c.x1, c.y1, c.x2, c.y2, c.x3, c.y3, c.x4, c.y4}) {
        largest = std::max(largest, std::fabs(value));
    }
    return largest;
}

// If a polygon is longer than its chord by less than this, the difference is rounding
// and not curvature. Neighbouring floats near the largest coordinate differ by 2^-23 of
// it; coordinates off by that much lengthen a long piece by far less and a short one by
// more. With a limit below a 64th of it, halving would continue down to pieces of one
// such step, whose lengths add up to more than the curve.
float leastExcess(const ZkBezier &c)
{
    return largestCoordinate(c) * 1.8626451e-9F; // 2^-29
}

// The limit ends the halving of pieces of a few neighbouring floats, of which one half
// can be the piece itself. No other piece reaches it.
constexpr int kDeepest = 256;

// Adds the length of a piece that is to be halved, and came about by `depth` halvings, to
// `sum`. The first half is added first, for sums in single precision depend on the order.
// Both halves are measured before either is looked at: no processor foresees which are
// halved again, but the second one's answer stands ready.
float addHalves(float sum, ZkCubic piece, float error, int depth)
{
    for (;;) {
        ++depth;
        const ZkCubic half = piece.takeFirstHalf();
        const ZkCubicLengths first = half.lengths();
        const ZkCubicLengths second = piece.lengths();
        if (!(first.polygon - first.chord > error) || depth == kDeepest) {
            sum += first.polygon;
        } else {
            sum = addHalves(sum, half, error, depth);
        }
        if (!(second.polygon - second.chord > error) || depth == kDeepest) {
            return sum + second.polygon;
        }
    }
}

/// Between which numbers the length of a curve from its start to some t lies as
/// `ZkBezier::length(kLengthError)` would measure it: told from pieces that are cut once,
/// by those before t and the part of one.
///
/// The arc lies between chords and polygons. What is measured is the arc and by how much
/// the polygons of other pieces exceed their chords. Those that lie within one of ours do
/// not exceed it by more than ours in all, and each that lies across two by no more than
/// the error.
class LengthBounds
{
public:
    explicit LengthBounds(const ZkBezier &curve)
        : m_error(std::max(kLengthError, leastExcess(curve)))
    {
        add(ZkCubic(curve), 0, 1, 0);
        m_pieces[m_count].t = 2; // behind every t
        m_pieces[m_count].before = m_all;
        // Sums and places are rounded: of some pieces for each of ours, and at the largest
        // coordinate.
        const double largest = static_cast<double>(largestCoordinate(curve));
        m_rounding = static_cast<double>(kLengthError) +
                     (m_all.polygons + largest) * std::max(m_count, 8) * 0x1p-21;
        if (largest >= 0x1p62) { // a chord may be infinite and its polygon not: nothing is told
            m_rounding = HUGE_VAL;
        }
        // Where floats lie further apart than the error, pieces become stairs, which are
        // longer by up to the square root of 2.
        m_stairs = largest > static_cast<double>(kLengthError) * 0x1p23 ? 1.5 : 1;
    }

    /// The length of the whole curve.
    float wholeLength(const ZkBezier &curve) const
    {
        return m_isCut ? curve.length(kLengthError) : m_length;
    }

    /// 1 when that length is greater than `len`, by `kLengthError` or more, -1 when it is
    /// less; 0 when it may be either or near.
    int compare(float t, float len) const
    {
        int i = 0;
        for (int above = m_count; above - i > 1;) {
            const int middle = (i + above) / 2;
            (m_pieces[middle].t <= t ? i : above) = middle;
        }
        const Piece &piece = m_pieces[i];
        const int side = compare(piece.before, m_pieces[i + 1].before, i, len);
        if (side != 0) {
            return side;
        }
        const ZkCubicLengths is = piece.curve.upTo((t - piece.t) / piece.extent).lengths();
        const Sums upToT = {piece.before.chords + static_cast<double>(is.chord),
                            piece.before.polygons + static_cast<double>(is.polygon)};
        return compare(upToT, upToT, i, len);
    }

private:
    struct Sums {
        double chords, polygons;
    };
    struct Piece {
        ZkCubic curve;
        float t, extent;
        Sums before; // of all pieces before
    };
    static constexpr int kDeepest = 6; // there the bounds become wider

    // Compares what lies between two places in piece `i`.
    int compare(const Sums &first, const Sums &last, int i, float len) const
    {
        const double length = static_cast<double>(len);
        const double across = i * static_cast<double>(m_error);
        const double most = last.polygons + (last.polygons - last.chords) + across;
        return m_stairs * most + m_rounding < length ? -1 : first.chords - m_rounding > length;
    }

    // Appends the pieces of a part of the curve that is `extent` long from `t` on.
    void add(ZkCubic part, float t, float extent, int depth)
    {
        for (;; ++depth) {
            const ZkCubicLengths is = part.lengths();
            const bool isHalved = is.polygon - is.chord > m_error;
            if (!isHalved || depth == kDeepest) {
                m_isCut = m_isCut || isHalved;
                m_length += is.polygon;
                m_pieces[m_count++] = {part, t, extent, m_all};
                m_all.chords += static_cast<double>(is.chord);
                m_all.polygons += static_cast<double>(is.polygon);
                return;
            }
            extent /= 2;
            add(part.takeFirstHalf(), t, extent, depth + 1);
            t += extent;
        }
    }

    float m_error;
    float m_length = 0;   // in the order of ZkBezier::length
    bool m_isCut = false; // where a piece would be halved once more
    int m_count = 0;
    double m_rounding, m_stairs;
    Sums m_all = {0, 0};
    Piece m_pieces[(1 << kDeepest) + 1];
};

// Of the two, `at` or `other`, the one whose y is nearer to `y`.
float nearerInY(const ZkBezier &curve, float at, float other, float y)
{
    return std::fabs(yAt(curve, other) - y) < std::fabs(yAt(curve, at) - y) ? other : at;
}

} // namespace

ZkBezier ZkBezier::fromPoints(const ZkPointF &p1, const ZkPointF &p2, const ZkPointF &p3,
                              const ZkPointF &p4)
{
    return {p1.x(), p1.y(), p2.x(), p2.y(), p3.x(), p3.y(), p4.x(), p4.y()};
}

ZkRectF ZkBezier::bounds() const
{
    const auto x = std::minmax({x1, x2, x3, x4});
    const auto y = std::minmax({y1, y2, y3, y4});
    return ZkRectF(x.first, y.first, x.second - x.first, y.second - y.first);
}

ZkBezier ZkBezier::getSubRange(float t0, float t1) const
{
    ZkBezier part = *this;
    ZkBezier rest;
    if (!(std::fabs(t1 - 1) <= kTiny)) {
        cut(part, t1, &part, &rest);
    }
    if (!(std::fabs(t0) <= kTiny)) {
        cut(part, t0 / t1, &rest, &part);
    }
    return part;
}

ZkBezier ZkBezier::bezierOnInterval(float t0, float t1) const
{
    return t0 == 0 && t1 == 1 ? *this : getSubRange(t0, t1);
}

float ZkBezier::length(float error) const
{
    const float least = std::max(error, leastExcess(*this)); // a NaN stays a NaN
    const ZkCubic whole(*this);
    const ZkCubicLengths is = whole.lengths();
    return is.polygon - is.chord > least ? addHalves(0, whole, least, 0) : is.polygon;
}

float ZkBezier::tAtLength(float len) const
{
    const LengthBounds bounds(*this);
    const float whole = bounds.wholeLength(*this);
    if (whole < len || zkFuzzyEqual(len, whole)) {
        return 1;
    }
    float t = 0.5F;
    float high = 1;
    for (;;) {
        // Most steps are far off; only those near the length are measured.
        int side = bounds.compare(t, len);
        if (side == 0) {
            const float part = getSubRange(0, t).length(kLengthError);
            if (std::fabs(part - len) < kLengthError) {
                return t;
            }
            side = len > part ? -1 : 1;
        }
        // A step that changes nothing has met the last place of t: on a large curve
        // neighbouring floats lie further apart than the error.
        if (side < 0) {
            const float step = t + (high - t) / 2;
            if (step == t) {
                return t;
            }
            t = step;
        } else {
            if (high == t) {
                return t;
            }
            // The search starts again from 0, not from the last t that was too low: the
            // order in which values of t are tried decides the result.
            high = t;
            t /= 2;
        }
    }
}

float ZkBezier::tForY(float t0, float t1, float y) const
{
    constexpr const char *kFunction = "float ZkBezier::tForY(float, float, float) const";
    const float py0 = yAt(*this, t0);
    const float py1 = yAt(*this, t1);
    ZK_CHECK_AT(py0 <= py1, "py0 <= py1", "./src/zkbezier", __LINE__, kFunction);
    ZK_CHECK_AT(py0 < y && y < py1, "py0 < y && y < py1", "./src/zkbezier", __LINE__, kFunction);

    // Below `y` at `low`, at or above it at `high`, whatever the curve does between.
    float low = t0;
    float high = t1;
    for (int round = 0; round < 64; ++round) {
        const float t = (low + high) * 0.5F;
        if (t == low || t == high) {
            break;
        }
        const float at = yAt(*this, t);
        if (at == y) {
            return t;
        }
        (at < y ? low : high) = t;
    }
    return nearerInY(*this, low, high, y);
}

int ZkBezier::stationaryYPoints(float &t1, float &t2) const
{
    // dy/dt / 3 = a t^2 + b t + c. In double precision the squares cannot overflow,
    // and the sums keep all digits of the coordinates.
    const double a = static_cast<double>(y4) - y1 + 3 * (static_cast<double>(y2) - y3);
    const double b = 2 * (static_cast<double>(y1) - 2 * static_cast<double>(y2) + y3);
    const double c = static_cast<double>(y2) - y1;
    const auto isZero = [](double value) { return std::fabs(value) <= static_cast<double>(kTiny); };

    float roots[2];
    int count = 0;
    const auto report = [&](double root) {
        const float t = static_cast<float>(root);
        if (t > 0 && t < 1) {
            roots[count++] = t;
        }
    };
    const double discriminant = b * b - 4 * a * c;
    if (isZero(a)) {
        if (!isZero(b)) {
            report(-c / b);
        }
    } else if (isZero(discriminant)) {
        report(-b / (2 * a));
    } else if (discriminant > 0) {
        // The sum of two numbers of one sign loses no digits; the other root follows
        // from the product of both, c / a.
        const double sum = -(b + std::copysign(std::sqrt(discriminant), b)) / 2;
        report(sum / a);
        report(c / sum);
    }
    if (count > 0) {
        t1 = count == 2 ? std::min(roots[0], roots[1]) : roots[0];
    }
    if (count == 2) {
        t2 = std::max(roots[0], roots[1]);
    }
    return count;
}
