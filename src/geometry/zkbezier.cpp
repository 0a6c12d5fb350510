#include "zkbezier.h"

#include "geometry/zkfuzzy.h"

#include <algorithm>
#include <cmath>
#include <limits>

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

// What ZkLineF::length gives: the calls took half the time of a measurement.
float distance(float x1, float y1, float x2, float y2)
{
    const float dx = x2 - x1;
    const float dy = y2 - y1;
    return std::sqrt(dx * dx + dy * dy);
}

float polygonLength(const ZkBezier &c)
{
    return distance(c.x1, c.y1, c.x2, c.y2) + distance(c.x2, c.y2, c.x3, c.y3) +
           distance(c.x3, c.y3, c.x4, c.y4);
}

float chordLength(const ZkBezier &c)
{
    return distance(c.x1, c.y1, c.x4, c.y4);
}

// If a polygon is longer than its chord by less than this, the difference is rounding
// and not curvature. Neighbouring floats near the largest coordinate differ by 2^-23 of
// it; coordinates off by that much lengthen a long piece by far less and a short one by
// more. With a limit below a 64th of it, halving would continue down to pieces of one
// such step, whose lengths add up to more than the curve.
float leastExcess(const ZkBezier &c)
{
    float largest = 0;
    for (const float value : {c.x1, c.y1, c.x2, c.y2, c.x3, c.y3, c.x4, c.y4}) {
        largest = std::max(largest, std::fabs(value));
    }
    return largest * 1.8626451e-9F; // 2^-29
}

// Adds the length of a piece that came about by `depth` halvings to `sum`. The first
// half is added first, for sums in single precision depend on the order.
void addLength(ZkBezier piece, float error, int depth, float *sum)
{
    // The limit ends the halving of pieces of a few neighbouring floats, of which one half
    // can be the piece itself. No other piece reaches it.
    constexpr int kDeepest = 256;
    for (;; ++depth) {
        const float polygon = polygonLength(piece);
        if (!(polygon - chordLength(piece) > error) || depth == kDeepest) {
            *sum += polygon;
            return;
        }
        ZkBezier first;
        piece.split(&first, &piece);
        addLength(first, error, depth + 1, sum);
    }
}

/// A curve cut in pieces in order, for a length that need not be known to the end.
/// A piece is done when addLength would add its polygon.
class Pieces
{
public:
    Pieces(const ZkBezier &curve, float error) : m_error(error), m_count(1)
    {
        m_pieces[0].curve = curve;
        measure(&m_pieces[0]);
    }

    /// What addLength would sum up, as it would, where that is within `near` of `len`,
    /// and else a number on the same side of `len` and as far from it. NaN when there
    /// are more pieces than fit here.
    float lengthNear(float len, float near)
    {
        for (;;) {
            double least = 0, most = 0; // of the sum, but for its rounding
            float sum = 0;
            bool isDone = true;
            for (int i = 0; i < m_count; ++i) {
                const Piece &piece = m_pieces[i];
                sum += piece.polygon;
                most += static_cast<double>(piece.polygon);
                least += static_cast<double>(piece.isDone ? piece.polygon : piece.chord);
                isDone = isDone && piece.isDone;
            }
            if (isDone) {
                return sum;
            }
            // Of the pieces that are to come, a thousand leave the sum so exact.
            const double wide = static_cast<double>(near) + most * 0.0001220703125; // 2^-13
            if (most < static_cast<double>(len) - wide) {
                return static_cast<float>(most);
            }
            if (least > static_cast<double>(len) + wide) {
                return static_cast<float>(least);
            }
            if (!halve()) {
                return std::numeric_limits<float>::quiet_NaN();
            }
        }
    }

private:
    struct Piece {
        ZkBezier curve;
        float polygon, chord;
        bool isDone;
    };
    static constexpr int kMost = 64;

    void measure(Piece *piece) const
    {
        piece->polygon = polygonLength(piece->curve);
        piece->chord = chordLength(piece->curve);
        piece->isDone = !(piece->polygon - piece->chord > m_error);
    }

    // Halves each piece that is not done; false when there is no room.
    bool halve()
    {
        int room = 0;
        for (int i = 0; i < m_count; ++i) {
            room += m_pieces[i].isDone ? 1 : 2;
        }
        if (room > kMost) {
            return false;
        }
        for (int from = m_count - 1, to = room - 1; from >= 0; --from) {
            const Piece whole = m_pieces[from];
            if (whole.isDone) {
                m_pieces[to--] = whole;
                continue;
            }
            whole.curve.split(&m_pieces[to - 1].curve, &m_pieces[to].curve);
            measure(&m_pieces[to--]);
            measure(&m_pieces[to--]);
        }
        m_count = room;
        return true;
    }

    float m_error;
    int m_count;
    Piece m_pieces[kMost];
};

// The length of `curve` as ZkBezier::length gives it, where that is within kLengthError
// of `len`; else a number on the same side of `len` that is no nearer. A search compares
// most lengths with one that is far off, for which a few pieces suffice.
float lengthNear(const ZkBezier &curve, float len)
{
    const float length =
        Pieces(curve, std::max(kLengthError, leastExcess(curve))).lengthNear(len, kLengthError);
    return std::isnan(length) ? curve.length(kLengthError) : length;
}

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
    float sum = 0;
    addLength(*this, std::max(error, leastExcess(*this)), 0, &sum); // a NaN stays a NaN
    return sum;
}

float ZkBezier::tAtLength(float len) const
{
    const float whole = length(kLengthError);
    if (whole < len || zkFuzzyEqual(len, whole)) {
        return 1;
    }
    float t = 0.5F;
    float high = 1;
    for (;;) {
        const float part = lengthNear(getSubRange(0, t), len);
        if (std::fabs(part - len) < kLengthError) {
            return t;
        }
        // A step that changes nothing has met the last place of t: on a large curve
        // neighbouring floats lie further apart than the error.
        if (len > part) {
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
