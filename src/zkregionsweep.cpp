#include "zkregionsweep.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace
{

// The difference of two edges, which as an unsigned number always fits.
std::uint32_t distance(int from, int to)
{
    return static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from);
}

int saturatedArea(std::uint32_t columns, std::uint32_t rows)
{
    const std::uint64_t limit = INT_MAX;
    const std::uint64_t w = std::min<std::uint64_t>(std::uint64_t(columns) + 1, limit);
    const std::uint64_t h = std::min<std::uint64_t>(std::uint64_t(rows) + 1, limit);
    return static_cast<int>(std::min(w * h, limit));
}

// Whether a span that starts at `left` continues one that ends at `right`:
// left - 1 <= right, without a number below INT_MIN.
bool touches(int right, int left)
{
    return left <= right || left - 1 == right;
}

// Whether the second band, which starts where the first one ends, could be
// part of it.
bool seamIsOpen(const ZkRect *upper, const ZkRect *lower, const ZkRect *lowerEnd)
{
    if (lower - upper != lowerEnd - lower || upper->bottom() >= lower->top() ||
        upper->bottom() != lower->top() - 1) {
        return false;
    }
    for (; lower != lowerEnd; ++upper, ++lower) {
        if (upper->left() != lower->left() || upper->right() != lower->right()) {
            return false;
        }
    }
    return true;
}

// The start of the band that ends at `bandEnd`; not for an empty list.
const ZkRect *bandStart(const ZkRect *begin, const ZkRect *bandEnd)
{
    const ZkRect *band = bandEnd - 1;
    while (band != begin && (band - 1)->top() == band->top()) {
        --band;
    }
    return band;
}

// One of the two lists: the band being looked at and its rows not yet done.
struct Cursor {
    const ZkRect *band;
    const ZkRect *bandEnd;
    const ZkRect *end;
    int top = 0;
    int bottom = 0;

    explicit Cursor(const ZkBands &list) : band(list.begin), bandEnd(list.begin), end(list.end)
    {
        open();
    }

    bool isAtEnd() const { return band == end; }

    void open()
    {
        if (band != end) {
            top = band->top();
            bottom = band->bottom();
            bandEnd = zkBandEnd(band, end);
        }
    }

    // Goes on behind row `row`, which is not below this band.
    void passRow(int row)
    {
        if (bottom != row) {
            top = row + 1;
        } else {
            band = bandEnd;
            open();
        }
    }
};

// What a sweep does with two bands that share rows: it writes at most one
// rectangle for each rectangle it reads, and may scribble over one more.
struct Union {
    static constexpr bool kKeepsFirst = true;
    static constexpr bool kKeepsSecond = true;

    // Spans are taken from the left; each either continues the one that is being
    // gathered or ends it.
    static ZkRect *overlap(ZkRect *out, const ZkRect *a, const ZkRect *aEnd, const ZkRect *b,
                           const ZkRect *bEnd, int top, int bottom)
    {
        const ZkRect *first = a->left() < b->left() ? a++ : b++;
        int left = first->left();
        int right = first->right();
        while (a != aEnd && b != bEnd) {
            const ZkRect *next = a->left() < b->left() ? a++ : b++;
            if (!touches(right, next->left())) {
                *out++ = ZkRect(left, top, right, bottom);
                left = next->left();
                right = next->right();
            } else if (next->right() > right) {
                right = next->right();
            }
        }
        const ZkRect *rest = a != aEnd ? a : b;
        const ZkRect *restEnd = a != aEnd ? aEnd : bEnd;
        for (; rest != restEnd && touches(right, rest->left()); ++rest) {
            right = std::max(right, rest->right());
        }
        *out++ = ZkRect(left, top, right, bottom);
        for (; rest != restEnd; ++rest) {
            *out++ = ZkRect(rest->left(), top, rest->right(), bottom);
        }
        return out;
    }
};

struct Intersection {
    static constexpr bool kKeepsFirst = false;
    static constexpr bool kKeepsSecond = false;

    // Whichever span ends first has met all it can.
    static ZkRect *overlap(ZkRect *out, const ZkRect *a, const ZkRect *aEnd, const ZkRect *b,
                           const ZkRect *bEnd, int top, int bottom)
    {
        while (a != aEnd && b != bEnd) {
            const int left = std::max(a->left(), b->left());
            const int aRight = a->right();
            const int bRight = b->right();
            *out = ZkRect(left, top, std::min(aRight, bRight), bottom);
            out += left <= std::min(aRight, bRight);
            a += aRight <= bRight;
            b += bRight <= aRight;
        }
        return out;
    }
};

struct Difference {
    static constexpr bool kKeepsFirst = true;
    static constexpr bool kKeepsSecond = false;

    // `left` is where the uncut rest of the first list's span begins. The sums are
    // made unsigned: where one would leave the range of int, its value is not used.
    static ZkRect *overlap(ZkRect *out, const ZkRect *a, const ZkRect *aEnd, const ZkRect *b,
                           const ZkRect *bEnd, int top, int bottom)
    {
        int left = a->left();
        while (b != bEnd) {
            const int right = a->right();
            const int beforeCut = zkWrapped(std::int64_t(b->left()) - 1);
            *out = ZkRect(left, top, std::min(right, beforeCut), bottom);
            out += left < b->left();
            if (b->right() < right) {
                left = std::max(left, zkWrapped(std::int64_t(b->right()) + 1));
                ++b;
            } else {
                if (++a == aEnd) {
                    return out;
                }
                left = a->left();
            }
        }
        *out++ = ZkRect(left, top, a->right(), bottom);
        for (++a; a != aEnd; ++a) {
            *out++ = ZkRect(a->left(), top, a->right(), bottom);
        }
        return out;
    }
};

} // namespace

int zkRectArea(const ZkRect &r)
{
    return saturatedArea(distance(r.left(), r.right()), distance(r.top(), r.bottom()));
}

void ZkInnerRect::considerBand(const ZkRect *begin, const ZkRect *end)
{
    std::uint32_t widest = 0;
    for (const ZkRect *r = begin; r != end; ++r) {
        widest = std::max(widest, distance(r->left(), r->right()));
    }
    const int largest = saturatedArea(widest, distance(begin->top(), begin->bottom()));
    if (largest > area) {
        while (distance(begin->left(), begin->right()) != widest) {
            ++begin;
        }
        rect = *begin;
        area = largest;
    }
}

const ZkRect *zkBandEnd(const ZkRect *band, const ZkRect *end)
{
    const int top = band->top();
    do {
        ++band;
    } while (band != end && band->top() == top);
    return band;
}

const ZkRect *zkFirstReaching(const ZkRect *begin, const ZkRect *end, int y)
{
    return std::partition_point(begin, end, [y](const ZkRect &r) { return r.bottom() < y; });
}

ZkSeams zkSeamsOf(const ZkRect *begin, const ZkRect *end)
{
    if (begin == end) {
        return ZkSeams::Closed;
    }
    const ZkRect *upper = begin;
    const ZkRect *lower = zkBandEnd(begin, end);
    while (lower != end) {
        const ZkRect *lowerEnd = zkBandEnd(lower, end);
        if (seamIsOpen(upper, lower, lowerEnd)) {
            return lowerEnd == end ? ZkSeams::ClosedButLast : ZkSeams::Unknown;
        }
        upper = lower;
        lower = lowerEnd;
    }
    return ZkSeams::Closed;
}

bool zkLastSeamIsOpen(const ZkRect *begin, const ZkRect *end)
{
    const ZkRect *lower = bandStart(begin, end);
    return lower != begin && seamIsOpen(bandStart(begin, lower), lower, end);
}

ZkRegionSweep::~ZkRegionSweep()
{
    if (m_begin != reinterpret_cast<ZkRect *>(m_near)) {
        std::free(m_begin);
    }
}

void ZkRegionSweep::unite(const ZkBands &a, const ZkBands &b, ZkInnerRect *inner)
{
    m_inner = inner;
    run<Union>(a, b);
}

void ZkRegionSweep::intersect(const ZkBands &a, const ZkBands &b)
{
    run<Intersection>(a, b);
}

void ZkRegionSweep::subtract(const ZkBands &a, const ZkBands &b)
{
    run<Difference>(a, b);
}

template <typename Operation>
void ZkRegionSweep::run(ZkBands a, ZkBands b)
{
    const int aTop = a.begin->top();
    const int bTop = b.begin->top();
    if (aTop < bTop) {
        passAbove(&a, bTop, Operation::kKeepsFirst);
    } else if (bTop < aTop) {
        passAbove(&b, aTop, Operation::kKeepsSecond);
    }
    Cursor first(a);
    Cursor second(b);
    while (!first.isAtEnd() && !second.isAtEnd()) {
        if (first.top < second.top) {
            const int bottom = std::min(first.bottom, second.top - 1);
            if (Operation::kKeepsFirst) {
                copyBand(first.band, first.bandEnd, first.top, bottom);
            }
            first.passRow(bottom);
        } else if (second.top < first.top) {
            const int bottom = std::min(second.bottom, first.top - 1);
            if (Operation::kKeepsSecond) {
                copyBand(second.band, second.bandEnd, second.top, bottom);
            }
            second.passRow(bottom);
        } else {
            const int bottom = std::min(first.bottom, second.bottom);
            ZkRect *const start =
                room((first.bandEnd - first.band) + (second.bandEnd - second.band) + 1);
            ZkRect *const end = Operation::overlap(start, first.band, first.bandEnd, second.band,
                                                   second.bandEnd, first.top, bottom);
            if (start != end) {
                if (m_inner != nullptr) {
                    m_inner->considerBand(start, end);
                }
                finishBand(end);
            }
            first.passRow(bottom);
            second.passRow(bottom);
        }
    }
    if (Operation::kKeepsFirst && !first.isAtEnd()) {
        copyRest(first.band, first.bandEnd, first.top, a);
    } else if (Operation::kKeepsSecond && !second.isAtEnd()) {
        copyRest(second.band, second.bandEnd, second.top, b);
    }
    middle.begin = m_begin;
    middle.end = m_end;
}

// Takes the bands above `row` out of a list that starts above it. The last two
// of them go through the sweep: one may be merged with the other, or with what
// the sweep makes first. The seams before those are known to be closed.
void ZkRegionSweep::passAbove(ZkBands *list, int row, bool keep)
{
    const ZkRect *const begin = list->begin;
    const ZkRect *const stop = zkFirstReaching(begin, list->end, row);
    list->begin = stop;
    if (!keep || begin == stop) {
        return;
    }
    const ZkRect *swept = begin;
    if (list->seams != ZkSeams::Unknown) {
        swept = bandStart(begin, stop);
        swept = swept == begin ? swept : bandStart(begin, swept);
        above.begin = begin;
        above.end = swept;
    }
    copyBands(swept, stop);
}

// The list that is left when the other one has ended, from row `top` of `band`
// on. Only the first band can be merged with what stands above it.
void ZkRegionSweep::copyRest(const ZkRect *band, const ZkRect *bandEnd, int top,
                             const ZkBands &list)
{
    copyBand(band, bandEnd, top, band->bottom());
    if (list.seams == ZkSeams::Closed) {
        below.begin = bandEnd;
        below.end = list.end;
    } else {
        copyBands(bandEnd, list.end);
    }
}

void ZkRegionSweep::copyBand(const ZkRect *band, const ZkRect *bandEnd, int top, int bottom)
{
    ZkRect *end = room(bandEnd - band);
    for (; band != bandEnd; ++band) {
        *end++ = ZkRect(band->left(), top, band->right(), bottom);
    }
    finishBand(end);
}

void ZkRegionSweep::copyBands(const ZkRect *begin, const ZkRect *end)
{
    while (begin != end) {
        const ZkRect *bandEnd = zkBandEnd(begin, end);
        copyBand(begin, bandEnd, begin->top(), begin->bottom());
        begin = bandEnd;
    }
}

// Where the next rectangles go: at least `count` fit.
inline ZkRect *ZkRegionSweep::room(std::ptrdiff_t count)
{
    if (m_stop - m_end < count) {
        grow(count);
    }
    return m_end;
}

void ZkRegionSweep::grow(std::ptrdiff_t count)
{
    const std::ptrdiff_t used = m_end - m_begin;
    const std::ptrdiff_t band = m_band - m_begin;
    const std::int64_t size =
        std::max<std::int64_t>(2 * std::int64_t(m_stop - m_begin), std::int64_t(used) + count);
    const std::int64_t bytes = size * static_cast<int>(sizeof(ZkRect));
    ZkRect *const near = reinterpret_cast<ZkRect *>(m_near);
    ZkRect *begin;
    if (m_begin == near) {
        begin = static_cast<ZkRect *>(zkAllocate(bytes));
        std::memcpy(begin, near, static_cast<std::size_t>(used) * sizeof(ZkRect));
    } else {
        begin = static_cast<ZkRect *>(zkReallocate(m_begin, bytes));
    }
    m_begin = begin;
    m_stop = begin + size;
    m_end = begin + used;
    m_band = begin + band;
}

// Takes the rectangles between m_end and `end` as the next band, or lets the
// band before them reach down to their last row.
inline void ZkRegionSweep::finishBand(ZkRect *end)
{
    if (!seamIsOpen(m_band, m_end, end)) {
        m_band = m_end;
        m_end = end;
        return;
    }
    const int bottom = m_end->bottom();
    for (ZkRect *r = m_band; r != m_end; ++r) {
        r->setBottom(bottom);
    }
    if (m_inner != nullptr) {
        m_inner->considerBand(m_band, m_end);
    }
}
