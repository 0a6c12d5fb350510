// Curves of any eight floats, NaN and infinities among them, through every operation
// of ZkBezier: all of them end, stay in their ranges and agree with the textbook's
// curve in long double as far as single precision reaches. The input is a run of
// records of 48 bytes: an operation, the curve and three numbers.

#include <zkbezier.h>

#include "beziermodel.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

using namespace beziermodel;

struct Record {
    std::uint32_t operation;
    ZkBezier curve;
    float numbers[3];
};

static_assert(sizeof(Record) == 48, "no padding");

void require(bool holds, const char *what, const Record &r)
{
    if (!holds) {
        const ZkBezier &c = r.curve;
        std::fprintf(stderr, "%s: {%a, %a, %a, %a, %a, %a, %a, %a} %a %a %a\n", what, double(c.x1),
                     double(c.y1), double(c.x2), double(c.y2), double(c.x3), double(c.y3),
                     double(c.x4), double(c.y4), double(r.numbers[0]), double(r.numbers[1]),
                     double(r.numbers[2]));
        std::abort();
    }
}

/// Every float as a number of a screen: -4096 to 4096.
void bringToScreen(float *value)
{
    std::uint32_t bits;
    std::memcpy(&bits, value, sizeof bits);
    *value = static_cast<float>(bits >> 8) / 2048 - 4096;
}

/// Every float as a number from 0 to 1.
float share(float value)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return static_cast<float>(bits >> 8) / 16777216;
}

/// The largest coordinate; infinite when one is, or no number.
float sizeOf(const ZkBezier &c)
{
    float size = 0;
    for (const float value : {c.x1, c.y1, c.x2, c.y2, c.x3, c.y3, c.x4, c.y4}) {
        if (!std::isfinite(value)) {
            return HUGE_VALF;
        }
        size = std::max(size, std::fabs(value));
    }
    return size;
}

/// Far from overflow, and from where the last place of a result is too coarse.
bool isTame(const ZkBezier &c, float largest = 1e30F)
{
    const float size = sizeOf(c);
    return size <= largest && size >= 1e-30F;
}

Real lastPlace(const ZkBezier &c)
{
    return Real(sizeOf(c)) * FLT_EPSILON;
}

bool isInside(const ZkRectF &inner, const ZkRectF &outer)
{
    return inner.left() >= outer.left() && inner.top() >= outer.top() &&
           Real(inner.x()) + inner.width() <= Real(outer.x()) + outer.width() * (1 + 1e-6L) &&
           Real(inner.y()) + inner.height() <= Real(outer.y()) + outer.height() * (1 + 1e-6L);
}

void checkHalves(const Record &r)
{
    const ZkBezier &c = r.curve;
    ZkBezier first, second;
    c.split(&first, &second);
    const float ends[] = {first.x1, first.y1, second.x4, second.y4, second.x1, second.y1};
    const float expected[] = {c.x1, c.y1, c.x4, c.y4, first.x4, first.y4};
    require(std::memcmp(ends, expected, sizeof ends) == 0, "ends of the halves", r);
    if (isTame(c)) {
        require(isInside(first.bounds(), c.bounds()) && isInside(second.bounds(), c.bounds()),
                "halves inside the box", r);
        require(distance(pointAt(c, 0.5L), pointAt(first, 1)) <= 4 * lastPlace(c), "middle", r);
    }
}

void checkParts(const Record &r)
{
    const ZkBezier &c = r.curve;
    c.getSubRange(r.numbers[0], r.numbers[1]);
    c.bezierOnInterval(r.numbers[1], r.numbers[2]);
    const float a = share(r.numbers[0]), b = share(r.numbers[1]);
    const float t0 = std::min(a, b), t1 = std::max(a, b);
    const ZkBezier part = c.getSubRange(t0, t1);
    const ZkBezier same = c.bezierOnInterval(t0, t1);
    require(std::memcmp(&part, &same, sizeof part) == 0, "two names of a part", r);
    const ZkBezier before = c.getSubRange(0, t1), behind = c.getSubRange(t1, 1);
    if (t1 > 1e-12F && t1 < 1) {
        require(std::memcmp(&before.x4, &behind.x1, 8) == 0, "parts meet", r);
    }
    if (isTame(c) && t1 > 0) {
        for (const Real u : {0.0L, 0.5L, 1.0L}) {
            const Point expected = pointAt(c, t0 + u * (Real(t1) - t0));
            require(distance(pointAt(part, u), expected) <= 64 * lastPlace(c), "part", r);
        }
    }
}

Real polygonOf(const ZkBezier &c)
{
    const Point p[4] = {{c.x1, c.y1}, {c.x2, c.y2}, {c.x3, c.y3}, {c.x4, c.y4}};
    return distance(p[0], p[1]) + distance(p[1], p[2]) + distance(p[2], p[3]);
}

void checkLength(const Record &r)
{
    const ZkBezier &c = r.curve;
    const float length = c.length(r.numbers[0]);
    require(!(length < 0), "length below 0", r);
    if (!isTame(c, 1e18F) || sizeOf(c) < 1e-15F) {
        return; // squares beyond float
    }
    // Each piece may end a last place beside the curve.
    const Real polygon = polygonOf(c), chord = distance(pointAt(c, 0), pointAt(c, 1));
    const Real slack = polygon * 2e-3L + 20 * lastPlace(c);
    require(length >= chord - slack && length <= polygon + slack, "length", r);
}

void checkParameterAtLength(const Record &r)
{
    const ZkBezier &c = r.curve;
    const float wanted[] = {r.numbers[0], share(r.numbers[1]) * c.length(0.01F)};
    for (const float length : wanted) {
        const float t = c.tAtLength(length);
        require(t >= 0 && t <= 1, "range of the parameter", r);
        require(!(c.length(0.01F) < length) || t == 1, "beyond the end", r);
        if (sizeOf(c) <= 4096 && length >= 0.01F && t < 1) {
            const float part = c.getSubRange(0, t).length(0.01F);
            require(std::fabs(part - length) < 0.01F, "length before the parameter", r);
        }
    }
}

void checkParameterAtY(const Record &r)
{
    const ZkBezier &c = r.curve;
    const float t0 = share(r.numbers[0]), t1 = share(r.numbers[1]);
    const Real low = pointAt(c, t0).y, high = pointAt(c, t1).y;
    const float y = static_cast<float>(low + (high - low) * share(r.numbers[2]));
    const Real rounding = 16 * lastPlace(c);
    if (!isTame(c) || !(y > low + rounding && y < high - rounding)) {
        return; // not, or perhaps not, what the call asks for
    }
    const float t = c.tForY(t0, t1, y);
    require(t >= std::min(t0, t1) && t <= std::max(t0, t1), "range of the parameter", r);
    const Real step = std::max<Real>(t, 1e-18L) * FLT_EPSILON;
    const Real slope = std::fabs(speedAt(c, t).y) + 100 * sizeOf(c) * step;
    require(std::fabs(pointAt(c, t).y - y) <= rounding + slope * step, "y", r);
}

void checkStationaryPoints(const Record &r)
{
    const ZkBezier &c = r.curve;
    float t[2] = {0.5F, 0.5F};
    const int count = c.stationaryYPoints(t[0], t[1]);
    require(count >= 0 && count <= 2, "count", r);
    require(t[0] > 0 && t[0] < 1 && t[1] > 0 && t[1] < 1, "range of the parameters", r);
    require(count < 2 || t[0] <= t[1], "order", r);
    for (int i = 0; i < count; ++i) {
        if (isTame(c) && sizeOf(c) > 0.1F) {
            // 1e-12 in the discriminant moves a slope of 0 by as much as 1e-6.
            require(std::fabs(speedAt(c, t[i]).y) <= 1e-5L * sizeOf(c) + 1e-5L, "level", r);
        }
    }
}

void checkOffset(const Record &r)
{
    const ZkBezier &c = r.curve;
    const float offset = r.numbers[0], threshold = r.numbers[1];
    const int kMost = 64;
    const int room = 1 + static_cast<int>(share(r.numbers[2]) * (kMost - 1));
    ZkBezier segments[kMost + 1];
    ZkBezier mark;
    std::memset(static_cast<void *>(&mark), 0x5A, sizeof mark);
    std::fill(segments, segments + kMost + 1, mark);
    const int count = c.shifted(segments, room, offset, threshold);
    require(count >= 0 && count <= room, "count", r);
    for (int i = count; i <= kMost; ++i) {
        require(segments[i] == mark, "written behind the count", r);
    }
    const Real polygon = polygonOf(c);
    require((count == 0) == (sizeOf(c) < HUGE_VALF && polygon == 0), "nothing for a point", r);
    if (count == 0 || !isTame(c) || !(std::fabs(offset) <= 1e30F)) {
        return;
    }
    const Real slack = 8 * FLT_EPSILON * (Real(sizeOf(c)) + std::fabs(offset));
    const Point ends[2][2] = {{pointAt(c, 0), pointAt(segments[0], 0)},
                              {pointAt(c, 1), pointAt(segments[count - 1], 1)}};
    for (const auto &end : ends) {
        const Real away = distance(end[0], end[1]);
        require(std::fabs(away - std::fabs(Real(offset))) <= slack, "ends", r);
    }
    for (int i = 1; i < count; ++i) {
        const Real gap = distance(pointAt(segments[i - 1], 1), pointAt(segments[i], 0));
        require(gap == 0 || std::fabs(gap - 2 * std::fabs(Real(offset))) <= slack, "pieces meet",
                r);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Record record;
    for (; size >= sizeof record; data += sizeof record, size -= sizeof record) {
        std::memcpy(&record, data, sizeof record);
        if (record.operation & 0x100) {
            ZkBezier &c = record.curve;
            for (float *value : {&c.x1, &c.y1, &c.x2, &c.y2, &c.x3, &c.y3, &c.x4, &c.y4}) {
                bringToScreen(value);
            }
        }
        switch (record.operation % 7) {
        case 0: checkHalves(record); break;
        case 1: checkParts(record); break;
        case 2: checkLength(record); break;
        case 3: checkParameterAtLength(record); break;
        case 4: checkParameterAtY(record); break;
        case 5: checkStationaryPoints(record); break;
        default: checkOffset(record); break;
        }
    }
    return 0;
}
