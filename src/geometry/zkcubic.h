#ifndef ZKCUBIC_H
#define ZKCUBIC_H

#include "zkbezier.h"

#include <cmath>

#if defined(__SSE2__)
#    include <emmintrin.h>
#endif

/// What single precision measures of a curve.
struct ZkCubicLengths {
    float polygon; ///< of its four points
    float chord;   ///< from the first to the last
};

/// A curve that is halved and measured over and over: the same operations in the same
/// order as `ZkBezier::split` and `ZkLineF::length`, bit by bit; with SSE2 four at a time.
#if defined(__SSE2__)

class ZkCubic
{
public:
    ZkCubic() = default;
    explicit ZkCubic(const ZkBezier &c) : m_start(_mm_loadu_ps(&c.x1)), m_end(_mm_loadu_ps(&c.x3))
    {
    }

    ZkCubicLengths lengths() const
    {
        // 1 to 2 and 2 to 3, 3 to 4 and 1 to 4.
        const __m128 inner = _mm_sub_ps(middle(), m_start);
        const __m128 outer = _mm_sub_ps(_mm_shuffle_ps(m_end, m_end, _MM_SHUFFLE(3, 2, 3, 2)),
                                        _mm_shuffle_ps(m_end, m_start, _MM_SHUFFLE(1, 0, 1, 0)));
        const __m128 a = _mm_mul_ps(inner, inner), b = _mm_mul_ps(outer, outer);
        const __m128 squares = _mm_add_ps(_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0)),
                                          _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1)));
        float sides[4];
        _mm_storeu_ps(sides, _mm_sqrt_ps(squares));
        return {sides[0] + sides[1] + sides[2], sides[3]};
    }

    /// Halves the curve, of which the second half is left.
    ZkCubic takeFirstHalf()
    {
        const __m128 m = middle();
        const __m128 first = mean(m_start, m);                      // 12, 23
        const __m128 second = mean(m, m_end);                       // 23, 34
        const __m128 inner = mean(first, second);                   // 123, 234
        const __m128 at = mean(inner, _mm_movehl_ps(inner, inner)); // the middle itself
        const ZkCubic half(_mm_movelh_ps(m_start, first), _mm_movelh_ps(inner, at));
        m_start = _mm_shuffle_ps(at, inner, _MM_SHUFFLE(3, 2, 1, 0));
        m_end = _mm_shuffle_ps(second, m_end, _MM_SHUFFLE(3, 2, 3, 2));
        return half;
    }

    /// The curve up to t, but for rounding.
    ZkCubic upTo(float t) const
    {
        const __m128 at = _mm_set1_ps(t);
        const __m128 m = middle();
        const __m128 first = between(m_start, m, at);
        const __m128 inner = between(first, between(m, m_end, at), at);
        const __m128 last = between(inner, _mm_movehl_ps(inner, inner), at);
        return ZkCubic(_mm_movelh_ps(m_start, first), _mm_movelh_ps(inner, last));
    }

private:
    ZkCubic(__m128 start, __m128 end) : m_start(start), m_end(end) {}

    static __m128 mean(__m128 a, __m128 b)
    {
        return _mm_mul_ps(_mm_add_ps(a, b), _mm_set1_ps(0.5F));
    }
    static __m128 between(__m128 a, __m128 b, __m128 t)
    {
        return _mm_add_ps(a, _mm_mul_ps(t, _mm_sub_ps(b, a)));
    }
    __m128 middle() const { return _mm_shuffle_ps(m_start, m_end, _MM_SHUFFLE(1, 0, 3, 2)); }

    __m128 m_start, m_end; // x1, y1, x2, y2 and x3, y3, x4, y4
};

#else

// What is not inlined would stand three times.
class ZkCubic
{
public:
    ZkCubic() = default;
    explicit ZkCubic(const ZkBezier &c) : m_curve(c) {}

    __attribute__((noinline)) ZkCubicLengths lengths() const
    {
        const ZkBezier &c = m_curve;
        return {distance(c.x1, c.y1, c.x2, c.y2) + distance(c.x2, c.y2, c.x3, c.y3) +
                    distance(c.x3, c.y3, c.x4, c.y4),
                distance(c.x1, c.y1, c.x4, c.y4)};
    }

    ZkCubic takeFirstHalf()
    {
        ZkBezier &c = m_curve;
        const float x23 = mean(c.x2, c.x3), y23 = mean(c.y2, c.y3);
        const float x12 = mean(c.x1, c.x2), y12 = mean(c.y1, c.y2);
        const float x123 = mean(x12, x23), y123 = mean(y12, y23);
        c.x3 = mean(c.x3, c.x4), c.y3 = mean(c.y3, c.y4);
        c.x2 = mean(x23, c.x3), c.y2 = mean(y23, c.y3);
        const float x = mean(x123, c.x2), y = mean(y123, c.y2);
        const ZkBezier half = {c.x1, c.y1, x12, y12, x123, y123, x, y};
        c.x1 = x, c.y1 = y;
        return ZkCubic(half);
    }

    ZkCubic upTo(float t) const { return ZkCubic(m_curve.getSubRange(0, t)); }

private:
    static float mean(float a, float b) { return (a + b) * 0.5F; }

    // What ZkLineF::length gives: the calls took half the time of a measurement.
    static float distance(float x1, float y1, float x2, float y2)
    {
        const float dx = x2 - x1;
        const float dy = y2 - y1;
        return std::sqrt(dx * dx + dy * dy);
    }

    ZkBezier m_curve;
};

#endif

#endif
