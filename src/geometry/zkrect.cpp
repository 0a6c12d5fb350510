#include "zkrect.h"

#include <climits>
#include <cmath>
#include <type_traits>
#include <utility>

static_assert(sizeof(ZkRect) == 16 && std::is_trivially_copyable<ZkRect>::value,
              "rectangles are copied byte by byte in lists and regions");

namespace
{

// One axis of a rectangle, `low` to `high`, both belonging to it.
struct Span {
    int low;
    int high;
};

// The span between two edges: exchanged only when reversed, so that the edges
// of an empty span (last == first - 1) stay as they are.
Span span(int first, int last)
{
    return last < static_cast<std::int64_t>(first) - 1 ? Span{last, first} : Span{first, last};
}

bool holds(const Span &s, int value, bool proper)
{
    return proper ? s.low < value && value < s.high : s.low <= value && value <= s.high;
}

bool holds(const Span &outer, const Span &inner, bool proper)
{
    return proper ? outer.low < inner.low && outer.high > inner.high
                  : outer.low <= inner.low && outer.high >= inner.high;
}

bool meet(const Span &a, const Span &b)
{
    return a.low <= b.high && b.low <= a.high;
}

// One axis of a `ZkRectF`, from `low` to `high`.
struct SpanF {
    float low;
    float high;

    bool isEmpty() const { return low == high; }
};

SpanF spanF(float origin, float extent)
{
    return extent < 0 ? SpanF{origin + extent, origin} : SpanF{origin, origin + extent};
}

// Touching ends do not overlap.
bool overlap(const SpanF &a, const SpanF &b)
{
    return !(a.low >= b.high || a.high <= b.low);
}

int saturated(float value)
{
    // 2^31, the first float past INT_MAX; INT_MIN is a float itself.
    constexpr float kPastInt = 2147483648.0F;
    if (value >= kPastInt) {
        return INT_MAX;
    }
    if (value < -kPastInt) {
        return INT_MIN;
    }
    return std::isnan(value) ? 0 : static_cast<int>(value);
}

// The smaller and the larger of two; the second where they do not compare.
template <typename Number>
Number smaller(Number a, Number b)
{
    return a < b ? a : b;
}

template <typename Number>
Number larger(Number a, Number b)
{
    return a > b ? a : b;
}

} // namespace

ZkRect ZkRect::normalized() const
{
    const Span h = span(m_x1, m_x2);
    const Span v = span(m_y1, m_y2);
    return ZkRect(h.low, v.low, h.high, v.high);
}

void ZkRect::moveCenter(const ZkPoint &center)
{
    // The distance of the edges, one less than the size: halving the size itself
    // would put even-sized rectangles one pixel further up and left.
    const int w = zkWrapped(static_cast<std::int64_t>(m_x2) - m_x1);
    const int h = zkWrapped(static_cast<std::int64_t>(m_y2) - m_y1);
    m_x1 = zkWrapped(static_cast<std::int64_t>(center.x()) - w / 2);
    m_x2 = zkWrapped(static_cast<std::int64_t>(m_x1) + w);
    m_y1 = zkWrapped(static_cast<std::int64_t>(center.y()) - h / 2);
    m_y2 = zkWrapped(static_cast<std::int64_t>(m_y1) + h);
}

bool ZkRect::contains(const ZkPoint &p, bool proper) const
{
    return holds(span(m_x1, m_x2), p.x(), proper) && holds(span(m_y1, m_y2), p.y(), proper);
}

bool ZkRect::contains(const ZkRect &r, bool proper) const
{
    if (isNull() || r.isNull()) {
        return false;
    }
    return holds(span(m_x1, m_x2), span(r.m_x1, r.m_x2), proper) &&
           holds(span(m_y1, m_y2), span(r.m_y1, r.m_y2), proper);
}

bool ZkRect::intersects(const ZkRect &r) const
{
    if (isNull() || r.isNull()) {
        return false;
    }
    return meet(span(m_x1, m_x2), span(r.m_x1, r.m_x2)) &&
           meet(span(m_y1, m_y2), span(r.m_y1, r.m_y2));
}

ZkRect ZkRect::operator|(const ZkRect &r) const
{
    if (isNull()) {
        return r;
    }
    if (r.isNull()) {
        return *this;
    }
    const ZkRect a = normalized();
    const ZkRect b = r.normalized();
    return ZkRect(smaller(a.m_x1, b.m_x1), smaller(a.m_y1, b.m_y1), larger(a.m_x2, b.m_x2),
                  larger(a.m_y2, b.m_y2));
}

ZkRect ZkRect::operator&(const ZkRect &r) const
{
    if (!intersects(r)) {
        return ZkRect();
    }
    const ZkRect a = normalized();
    const ZkRect b = r.normalized();
    return ZkRect(larger(a.m_x1, b.m_x1), larger(a.m_y1, b.m_y1), smaller(a.m_x2, b.m_x2),
                  smaller(a.m_y2, b.m_y2));
}

ZkRectF ZkRectF::normalized() const
{
    ZkRectF result = *this;
    if (m_width < 0) {
        result.m_x = m_x + m_width;
        result.m_width = -m_width;
    }
    if (m_height < 0) {
        result.m_y = m_y + m_height;
        result.m_height = -m_height;
    }
    return result;
}

bool ZkRectF::contains(const ZkPointF &p) const
{
    const SpanF h = spanF(m_x, m_width);
    const SpanF v = spanF(m_y, m_height);
    if (h.isEmpty() || v.isEmpty()) {
        return false;
    }
    return h.low <= p.x() && p.x() <= h.high && v.low <= p.y() && p.y() <= v.high;
}

bool ZkRectF::contains(const ZkRectF &r) const
{
    const SpanF h1 = spanF(m_x, m_width), h2 = spanF(r.m_x, r.m_width);
    const SpanF v1 = spanF(m_y, m_height), v2 = spanF(r.m_y, r.m_height);
    if (h1.isEmpty() || h2.isEmpty() || v1.isEmpty() || v2.isEmpty()) {
        return false;
    }
    return h1.low <= h2.low && h1.high >= h2.high && v1.low <= v2.low && v1.high >= v2.high;
}

bool ZkRectF::intersects(const ZkRectF &r) const
{
    const SpanF h1 = spanF(m_x, m_width), h2 = spanF(r.m_x, r.m_width);
    const SpanF v1 = spanF(m_y, m_height), v2 = spanF(r.m_y, r.m_height);
    if (h1.isEmpty() || h2.isEmpty() || v1.isEmpty() || v2.isEmpty()) {
        return false;
    }
    return overlap(h1, h2) && overlap(v1, v2);
}

ZkRectF ZkRectF::operator|(const ZkRectF &r) const
{
    if (m_width == 0 && m_height == 0) {
        return r;
    }
    if (r.m_width == 0 && r.m_height == 0) {
        return *this;
    }
    const SpanF h1 = spanF(m_x, m_width), h2 = spanF(r.m_x, r.m_width);
    const SpanF v1 = spanF(m_y, m_height), v2 = spanF(r.m_y, r.m_height);
    const float x = smaller(h1.low, h2.low);
    const float y = smaller(v1.low, v2.low);
    return ZkRectF(x, y, larger(h1.high, h2.high) - x, larger(v1.high, v2.high) - y);
}

ZkRectF ZkRectF::operator&(const ZkRectF &r) const
{
    if (!intersects(r)) {
        return ZkRectF();
    }
    const SpanF h1 = spanF(m_x, m_width), h2 = spanF(r.m_x, r.m_width);
    const SpanF v1 = spanF(m_y, m_height), v2 = spanF(r.m_y, r.m_height);
    const float x = larger(h1.low, h2.low);
    const float y = larger(v1.low, v2.low);
    return ZkRectF(x, y, smaller(h1.high, h2.high) - x, smaller(v1.high, v2.high) - y);
}

ZkRect ZkRectF::toAlignedRect() const
{
    // One is taken off before the conversion: off INT_MAX it would be lost.
    return ZkRect(saturated(std::floor(m_x)), saturated(std::floor(m_y)),
                  saturated(std::ceil(m_x + m_width) - 1.0F),
                  saturated(std::ceil(m_y + m_height) - 1.0F));
}
