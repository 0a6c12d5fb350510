#include "geometry/zkregionsweep.h"

#include <algorithm>
#include <climits>

namespace
{

// The spans of a band, with other rows.
inline ZkRect *copySpans(ZkRect *out, const ZkRect *begin, const ZkRect *end, int top, int bottom,
                         std::uint32_t *widest)
{
    for (; begin != end; ++begin, ++out) {
        *out = *begin;
        out->setTop(top);
        out->setBottom(bottom);
        *widest = std::max(*widest, zkDistance(begin->left(), begin->right()));
    }
    return out;
}

// Whether both bands, of equal length, have the same columns.
bool haveSameSpans(const ZkRect *a, const ZkRect *b, const ZkRect *bEnd)
{
    for (; b != bEnd; ++a, ++b) {
        if (a->left() != b->left() || a->right() != b->right()) {
            return false;
        }
    }
    return true;
}

// Whether the second band, which starts where the first one ends, could be part
// of it. Without a first band, `upper` is `lower`.
inline bool seamIsOpen(const ZkRect *upper, const ZkRect *lower, const ZkRect *lowerEnd)
{
    return lower - upper == lowerEnd - lower && upper->bottom() < lower->top() &&
           upper->bottom() == lower->top() - 1 && haveSameSpans(upper, lower, lowerEnd);
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

// Bands are of random length: a mispredicted end of the loop costs more than looking
// at a few rectangles too many.
inline const ZkRect *bandEndFrom(const ZkRect *band, const ZkRect *end)
{
    const int top = band->top();
    while (end - band > 4) { // no test can tell: but under a sanitizer
        const unsigned others = static_cast<unsigned>(band[1].top() != top) |
                                static_cast<unsigned>(band[2].top() != top) << 1 |
                                static_cast<unsigned>(band[3].top() != top) << 2 |
                                static_cast<unsigned>(band[4].top() != top) << 3;
        if (others != 0) {
            return band + 1 + __builtin_ctz(others);
        }
        band += 4;
    }
    while (band != end && band->top() == top) {
        ++band;
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

    Cursor(const ZkRect *begin, const ZkRect *listEnd) : band(begin), bandEnd(begin), end(listEnd)
    {
        open();
    }

    bool isAtEnd() const { return band == end; }

    void open()
    {
        if (band != end) {
            top = band->top();
            bottom = band->bottom();
            bandEnd = bandEndFrom(band, end);
        }
    }

    // Leaves out all rows above `row`.
    void skipTo(int row)
    {
        if (bottom < row) {
            band = bandEnd;
            while (band != end && band->bottom() < row) {
                ++band;
            }
            open();
        }
        top = std::max(top, row);
    }

    // Goes on behind row `row`, which is not below this band.
    void passRow(int row)
    {
        if (bottom == row) {
            band = bandEnd;
            open();
        } else if (top <= row) {
            top = row + 1;
        }
    }
};

// What a sweep does with two bands that share rows. For each rectangle it reads it
// writes one at most; `widest` is raised to the width, less one, of the widest.
struct Union {
    static constexpr bool kKeepsFirst = true;
    static constexpr bool kKeepsSecond = true;

    // Spans are gathered into one as long as they touch. The spans of one list do
    // not touch each other, so what continues a span of one list is in the other.
    static ZkRect *overlap(ZkRect *out, const ZkRect *a, const ZkRect *aEnd, const ZkRect *b,
                           const ZkRect *bEnd, int top, int bottom, std::uint32_t *widest)
    {
        while (a != aEnd && b != bEnd) {
            int left, right;
            if (a->left() < b->left()) {
                left = a->left();
                right = a->right();
                ++a;
                while (extends(&b, bEnd, &right) && extends(&a, aEnd, &right)) {
                }
            } else {
                left = b->left();
                right = b->right();
                ++b;
                while (extends(&a, aEnd, &right) && extends(&b, bEnd, &right)) {
                }
            }
            *widest = std::max(*widest, zkDistance(left, right));
            *out++ = ZkRect(left, top, right, bottom);
        }
        const ZkRect *const restEnd = a != aEnd ? aEnd : bEnd;
        return copySpans(out, a != aEnd ? a : b, restEnd, top, bottom, widest);
    }

    // Passes the spans that touch one which ends at `*right`, up to the first that
    // makes it longer; false when none does.
    static bool extends(const ZkRect **next, const ZkRect *end, int *right)
    {
        const int reach = *right == INT_MAX ? INT_MAX : *right + 1;
        const ZkRect *r = *next;
        while (r != end && r->left() <= reach) {
            const int ownRight = r->right();
            ++r;
            if (ownRight > *right) {
                *next = r;
                *right = ownRight;
                return true;
            }
        }
        *next = r;
        return false;
    }
};

struct Intersection {
    static constexpr bool kKeepsFirst = false;
    static constexpr bool kKeepsSecond = false;

    // Nothing that follows can meet the span that ends first. Spans of two lists end in
    // random order: while each list has one more, both are advanced without a branch, and
    // the ends of both next spans are read before it is known which one is next.
    static ZkRect *overlap(ZkRect *out, const ZkRect *a, const ZkRect *aEnd, const ZkRect *b,
                           const ZkRect *bEnd, int top, int bottom, std::uint32_t *widest)
    {
        int aRight = a->right();
        int bRight = b->right();
        while (a + 1 != aEnd && b + 1 != bEnd) {
            const int aNext = a[1].right();
            const int bNext = b[1].right();
            const int right = std::min(aRight, bRight);
            out = common(out, *a, *b, top, bottom, widest);
            const bool aEnds = aRight == right;
            const bool bEnds = bRight == right;
            a += aEnds;
            b += bEnds;
            aRight = aEnds ? aNext : aRight;
            bRight = bEnds ? bNext : bRight;
        }
        while (a != aEnd && b != bEnd) {
            out = common(out, *a, *b, top, bottom, widest);
            const int right = std::min(a->right(), b->right());
            a += a->right() == right;
            b += b->right() == right;
        }
        return out;
    }

    static ZkRect *common(ZkRect *out, const ZkRect &a, const ZkRect &b, int top, int bottom,
                          std::uint32_t *widest)
    {
        const int left = std::max(a.left(), b.left());
        const int right = std::min(a.right(), b.right());
        if (left <= right) {
            *widest = std::max(*widest, zkDistance(left, right));
            *out++ = ZkRect(left, top, right, bottom);
        }
        return out;
    }
};

struct Difference {
    static constexpr bool kKeepsFirst = true;
    static constexpr bool kKeepsSecond = false;

    // `left` is where the uncut rest of the first list's span begins. The sums do not
    // overflow: there is an edge beyond each edge to which 1 is added or subtracted.
    static ZkRect *overlap(ZkRect *out, const ZkRect *a, const ZkRect *aEnd, const ZkRect *b,
                           const ZkRect *bEnd, int top, int bottom, std::uint32_t *widest)
    {
        int left = a->left();
        while (b != bEnd) {
            const int right = a->right();
            if (b->right() < left) {
                ++b;
            } else if (b->left() > right) {
                *widest = std::max(*widest, zkDistance(left, right));
                *out++ = ZkRect(left, top, right, bottom);
                if (++a == aEnd) {
                    return out;
                }
                left = a->left();
            } else {
                if (left < b->left()) {
                    *widest = std::max(*widest, zkDistance(left, b->left() - 1));
                    *out++ = ZkRect(left, top, b->left() - 1, bottom);
                }
                if (b->right() < right) {
                    left = b->right() + 1;
                    ++b;
                } else {
                    if (++a == aEnd) {
                        return out;
                    }
                    left = a->left();
                }
            }
        }
        *widest = std::max(*widest, zkDistance(left, a->right()));
        *out++ = ZkRect(left, top, a->right(), bottom);
        return copySpans(out, a + 1, aEnd, top, bottom, widest);
    }
};

} // namespace

const ZkRect *zkBandEnd(const ZkRect *band, const ZkRect *end)
{
    return bandEndFrom(band, end);
}

const ZkRect *zkFirstReaching(const ZkRect *begin, const ZkRect *end, int y)
{
    return zkGallop(begin, end, [y](const ZkRect &r) { return r.bottom() < y; });
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

const ZkRect *zkGapFor(const ZkBands &a, const ZkBands &b)
{
    if (a.seams != ZkSeams::Closed || b.seams != ZkSeams::Closed) {
        return nullptr;
    }
    const std::int64_t top = static_cast<std::int64_t>(b.begin->top()) - 1;
    const std::int64_t bottom = static_cast<std::int64_t>(b.end[-1].bottom()) + 1;
    const ZkRect *const gap =
        zkGallop(a.begin, a.end, [top](const ZkRect &r) { return r.bottom() < top; });
    return gap == a.end || gap->top() > bottom ? gap : nullptr;
}

void ZkRegionSweep::unite(const ZkBands &a, const ZkBands &b, const ZkInnerRect &start)
{
    inner = start;
    m_measuresAll = false;
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
void ZkRegionSweep::run(const ZkBands &a, const ZkBands &b)
{
    m_sources[0] = &a;
    m_sources[1] = &b;
    m_joins = m_parts == Joined && a.count() + b.count() > kNear;
    const ZkRect *aBegin = a.begin;
    const ZkRect *bBegin = b.begin;
    if (aBegin->top() < bBegin->top()) {
        aBegin = passAbove(a, bBegin->top(), Operation::kKeepsFirst);
    } else if (bBegin->top() < aBegin->top()) {
        // no test can tell: the loop passes it too
        bBegin = passAbove(b, aBegin->top(), Operation::kKeepsSecond);
    }
    Cursor first(aBegin, a.end);
    Cursor second(bBegin, b.end);
    while (!first.isAtEnd() && !second.isAtEnd()) {
        int bottom;
        if (first.top < second.top) {
            if (!Operation::kKeepsFirst) {
                first.skipTo(second.top);
                continue;
            }
            bottom = std::min(first.bottom, second.top - 1);
            copyBand(first.band, first.bandEnd, first.top, bottom);
        } else if (second.top < first.top) {
            if (!Operation::kKeepsSecond) {
                second.skipTo(first.top);
                continue;
            }
            bottom = std::min(second.bottom, first.top - 1);
            copyBand(second.band, second.bandEnd, second.top, bottom);
        } else {
            bottom = std::min(first.bottom, second.bottom);
            std::uint32_t widest = 0;
            ZkRect *const start =
                room((first.bandEnd - first.band) + (second.bandEnd - second.band));
            ZkRect *const end = Operation::overlap(start, first.band, first.bandEnd, second.band,
                                                   second.bandEnd, first.top, bottom, &widest);
            if (start != end) {
                measureBand(start, end, widest);
                finishBand(end);
            }
        }
        first.passRow(bottom);
        second.passRow(bottom);
    }
    if (Operation::kKeepsFirst && !first.isAtEnd()) {
        copyRest(first.band, first.bandEnd, first.top, a);
    } else if (Operation::kKeepsSecond && !second.isAtEnd()) {
        copyRest(second.band, second.bandEnd, second.top, b);
    }
    finish();
}

// Puts the parts in place; with them the extents are known.
void ZkRegionSweep::finish()
{
    if (m_joins) {
        join(&below); // no test can tell: copied later, it is the same list
    }
    middle.begin = m_begin;
    middle.end = m_end;
    if (m_measuresAll && count() != 0) {
        const ZkRect &top = above.count() != 0    ? *above.begin
                            : middle.count() != 0 ? *middle.begin
                                                  : *below.begin;
        const ZkRect &bottom = below.count() != 0    ? below.end[-1]
                               : middle.count() != 0 ? middle.end[-1]
                                                     : above.end[-1];
        extents = ZkRect(m_left, top.top(), m_right, bottom.bottom());
    }
}

// Takes the bands above `row`, where the other list starts, out of a list that
// starts above it. Those which nothing can be merged with stay as they are: all,
// or all but the last one if it ends right above `row`, or but the last two if
// they may belong together. Returns the first band that reaches `row`.
const ZkRect *ZkRegionSweep::passAbove(const ZkBands &list, int row, bool keep)
{
    const ZkRect *const begin = list.begin;
    const ZkRect *const stop = zkFirstReaching(begin, list.end, row);
    if (!keep || begin == stop) {
        return stop;
    }
    const ZkRect *swept = begin;
    if (list.seams != ZkSeams::Unknown) {
        swept = stop;
        if (list.seams == ZkSeams::ClosedButLast || stop[-1].bottom() == row - 1) {
            swept = bandStart(begin, swept);
        }
        if (list.seams == ZkSeams::ClosedButLast && swept != begin) {
            swept = bandStart(begin, swept);
        }
        above.begin = begin;
        above.end = swept;
        if (m_measuresAll) {
            measure(above);
        }
        if (m_joins) {
            join(&above);
        }
    }
    copyBands(swept, stop);
    return stop;
}

// The list that is left when the other one has ended, from row `top` of `band`
// on. Only the first band can be merged with what stands above it.
void ZkRegionSweep::copyRest(const ZkRect *band, const ZkRect *bandEnd, int top,
                             const ZkBands &list)
{
    if (list.seams != ZkSeams::Closed) {
        copyBand(band, bandEnd, top, band->bottom());
        copyBands(bandEnd, list.end);
        return;
    }
    below.begin = band;
    below.end = list.end;
    const bool isCut = top != band->top();
    if (isCut || (m_band != m_end && m_end[-1].bottom() == top - 1)) {
        copyBand(band, bandEnd, top, band->bottom());
        below.begin = bandEnd;
    }
    if (m_measuresAll) {
        measure(below);
    }
}

void ZkRegionSweep::copyBand(const ZkRect *band, const ZkRect *bandEnd, int top, int bottom)
{
    ZkRect *const start = room(bandEnd - band);
    ZkRect *end = start;
    if (m_measuresAll) {
        std::uint32_t widest = 0;
        end = copySpans(start, band, bandEnd, top, bottom, &widest);
        measureBand(start, end, widest);
    } else {
        for (; band != bandEnd; ++band, ++end) {
            *end = ZkRect(band->left(), top, band->right(), bottom);
        }
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

void ZkRegionSweep::measure(const ZkBands &list)
{
    for (const ZkRect *r = list.begin; r != list.end; ++r) {
        m_left = std::min(m_left, r->left());
        m_right = std::max(m_right, r->right());
        inner.consider(*r);
    }
}

// Makes a part, with which nothing can be merged, the next rectangles.
void ZkRegionSweep::join(ZkBands *part)
{
    std::copy(part->begin, part->end, room(part->count()));
    m_end += part->count();
    m_band = m_end; // no test can tell: nothing fits to the band before either
    part->begin = part->end;
}

// Looks at a band before it may be merged with the one above; its widest
// rectangle is that wide, less one.
inline void ZkRegionSweep::measureBand(const ZkRect *start, const ZkRect *end, std::uint32_t widest)
{
    if (m_measuresAll) {
        m_left = std::min(m_left, start->left());
        m_right = std::max(m_right, end[-1].right());
    }
    if (zkArea(widest, zkDistance(start->top(), start->bottom())) > inner.area) {
        inner.consider(start, end);
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

// Makes room for what is to come if the rest of the lists gives as many
// rectangles for each of theirs as the part that was passed.
void ZkRegionSweep::grow(std::ptrdiff_t count)
{
    const std::ptrdiff_t used = m_end - m_begin;
    const std::ptrdiff_t band = m_band - m_begin;
    std::int64_t total = 0;
    std::int64_t passed = 1;
    for (const ZkBands *list : m_sources) {
        total += list->count(); // no test can tell: a guess at the room
        if (used != 0) {
            const int bottom = m_end[-1].bottom(); // no test can tell: a guess at the room
            passed += zkFirstReaching(list->begin, list->end, bottom) - list->begin;
        }
    }
    const std::int64_t likely = used * total / passed; // no test can tell: a guess at the room
    const std::int64_t least = used + used / 2 + count;
    const int slots = static_cast<int>(
        std::min<std::int64_t>(std::max(least, std::min(likely + likely / 8, 2 * total)), INT_MAX));
    ZkVector<ZkRect> wider;
    wider.realloc(0, slots);
    ZkRect *const begin = wider.appendUninitialized(slots);
    std::copy(m_begin, m_end, begin);
    m_far.swap(wider);
    m_begin = begin;
    m_stop = begin + slots;
    m_end = begin + used;
    m_band = begin + band;
}

void ZkRegionSweep::moveTo(ZkVector<ZkRect> *list)
{
    if (middle.begin == m_far.constData() && middle.count() == count()) {
        m_far.resize(middle.count());
        list->swap(m_far);
        return;
    }
    ZkVector<ZkRect> joined;
    joined.realloc(0, count());
    ZkRect *out = joined.appendUninitialized(count());
    out = std::copy(above.begin, above.end, out);
    out = std::copy(middle.begin, middle.end, out);
    std::copy(below.begin, below.end, out);
    list->swap(joined);
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
    inner.consider(m_band, m_end);
}
