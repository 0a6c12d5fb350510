#include "zkregion.h"

#include "geometry/zkregionrecord.h"

#include <algorithm>

ZkRegion::Data ZkRegion::shared_empty = {1, nullptr}; // no test can tell: never 0

namespace
{

bool meet(const ZkRect &a, const ZkRect &b)
{
    return a.left() <= b.right() && b.left() <= a.right() && a.top() <= b.bottom() &&
           b.top() <= a.bottom();
}

ZkRect around(const ZkRect &a, const ZkRect &b)
{
    return ZkRect(std::min(a.left(), b.left()), std::min(a.top(), b.top()),
                  std::max(a.right(), b.right()), std::max(a.bottom(), b.bottom()));
}

// Whether a rectangle of one list meets one of the other. Both lists are walked
// in banded order; of two bands with common rows, spans from left to right.
bool anyMeet(ZkBands a, ZkBands b)
{
    a.begin = zkFirstReaching(a.begin, a.end, b.begin->top());
    if (a.begin != a.end) {
        b.begin = zkFirstReaching(b.begin, b.end, a.begin->top());
    }
    while (a.begin != a.end && b.begin != b.end) {
        const ZkRect *const aEnd = zkBandEnd(a.begin, a.end);
        const ZkRect *const bEnd = zkBandEnd(b.begin, b.end);
        if (a.begin->bottom() < b.begin->top()) {
            a.begin = aEnd;
            continue;
        }
        if (b.begin->bottom() < a.begin->top()) {
            b.begin = bEnd;
            continue;
        }
        const ZkRect *x = a.begin;
        const ZkRect *y = b.begin;
        while (x != aEnd && y != bEnd) {
            if (x->right() < y->left()) {
                ++x;
            } else if (y->right() < x->left()) {
                ++y;
            } else {
                return true;
            }
        }
        // Nothing that follows can meet the band that ends first.
        // no test can tell: where both end in one row, the other is passed over next
        const bool aEndsFirst = a.begin->bottom() <= b.begin->bottom();
        (aEndsFirst ? a : b).begin = aEndsFirst ? aEnd : bEnd;
    }
    return false;
}

// Whether the rectangles of `b` continue those of `a`: they start below an empty
// row, or to the right in the last band.
bool continues(const ZkBands &a, const ZkBands &b)
{
    const ZkRect &last = a.end[-1];
    const ZkRect &next = *b.begin;
    if (next.top() > last.bottom() && next.top() - 1 > last.bottom()) {
        return true;
    }
    return next.top() == last.top() && next.bottom() == last.bottom() && next.left() > last.right();
}

// How a union comes about, in the order of trial.
enum class UnionWay { First, Second, Append, Sweep };

UnionWay unionWay(const ZkRegion::Operand &a, const ZkRegion::Operand &b)
{
    if (zkCovers(a.innerRect, b.extents)) {
        return UnionWay::First;
    }
    if (zkCovers(b.innerRect, a.extents)) {
        return UnionWay::Second;
    }
    if (continues(a, b)) {
        return UnionWay::Append;
    }
    return a.equals(b) ? UnionWay::First : UnionWay::Sweep;
}

// Where the inner rectangle of a union starts from.
ZkInnerRect largerInner(const ZkRegion::Operand &a, const ZkRegion::Operand &b)
{
    return a.innerArea > b.innerArea ? a.inner() : b.inner();
}

// A record for the union of two lists.
ZkRegion::Record *united(const ZkRegion::Operand &a, const ZkRegion::Operand &b)
{
    ZkRegionSweep sweep(ZkRegionSweep::Joined);
    sweep.unite(a, b, largerInner(a, b));
    ZkRegion::Record *const record = ZkRegion::Record::of(&sweep);
    record->extents = around(a.extents, b.extents);
    return record;
}

} // namespace

inline ZkRegion::ZkRegion(Record *record) : d(record)
{
}

// Whether there is data with at least one rectangle.
void ZkRegion::release(Data *data)
{
    if (data->region != nullptr) {
        Record::giveBack(data->region);
    }
}

ZkRegion::ZkRegion(const ZkRect &r, RegionType type) : ZkRegion()
{
    if (!r.isValid()) {
        return;
    }
    if (type != Rectangle) {
        zkRegionStop();
    }
    ZkRegion(Record::of(r)).swap(*this);
}

ZkRegion::ZkRegion(int x, int y, int w, int h, RegionType type)
    : ZkRegion(w < 1 || h < 1 ? ZkRect()
                              : ZkRect(x, y, zkWrapped(static_cast<std::int64_t>(x) + w - 1),
                                       zkWrapped(static_cast<std::int64_t>(y) + h - 1)),
               type)
{
}

bool ZkRegion::isEmpty() const
{
    return !hasRects();
}

int ZkRegion::rectCount() const
{
    return d->region != nullptr ? d->region->numRects : 0;
}

ZkRect ZkRegion::boundingRect() const
{
    return hasRects() ? d->region->extents : ZkRect();
}

ZkVector<ZkRect> ZkRegion::rects() const
{
    if (d->region == nullptr) {
        return ZkVector<ZkRect>();
    }
    d->region->materialise();
    return d->region->rects;
}

void ZkRegion::setRects(const ZkRect *rects, int n)
{
    if (rects == nullptr || n <= 0) {
        *this = ZkRegion();
    } else if (n == 1) {
        *this = ZkRegion(*rects);
    } else {
        Record *const record = Record::take();
        record->rects.realloc(0, n);
        record->rects.append(rects, n);
        record->numRects = n;
        record->seams = zkSeamsOf(record->begin(), record->end());
        record->recompute();
        *this = ZkRegion(record);
    }
}

bool ZkRegion::intersects(const ZkRegion &r) const
{
    if (!hasRects() || !r.hasRects()) {
        return false;
    }
    const Operand a = d->region->operand();
    const Operand b = r.d->region->operand();
    return meet(a.extents, b.extents) && anyMeet(a, b);
}

bool ZkRegion::intersects(const ZkRect &r) const
{
    if (!hasRects() || !r.isValid()) {
        return false;
    }
    const Operand a = d->region->operand();
    return meet(a.extents, r) && anyMeet(a, Operand::of(r));
}

ZkRegion ZkRegion::unite(const ZkRegion &r) const
{
    if (!hasRects()) {
        return r;
    }
    if (!r.hasRects() || d == r.d) {
        return *this;
    }
    const Operand a = d->region->operand();
    const Operand b = r.d->region->operand();
    switch (unionWay(a, b)) {
    case UnionWay::First: return *this;
    case UnionWay::Second: return r;
    case UnionWay::Append: {
        Record *const joined = d->region->clone();
        joined->makeRoom(b.count());
        joined->append(b);
        return ZkRegion(joined);
    }
    case UnionWay::Sweep: break;
    }
    return ZkRegion(united(a, b));
}

// Unites in place; false when the result is simply `b`.
bool ZkRegion::absorb(const Operand &b)
{
    const Operand a = d->region->operand();
    switch (unionWay(a, b)) {
    case UnionWay::First: return true;
    case UnionWay::Second: return false;
    case UnionWay::Append:
        detach();
        d->region->append(b);
        return true;
    case UnionWay::Sweep: break;
    }
    if (d->ref != 1) {
        *this = ZkRegion(united(a, b));
        return true;
    }
    Record &record = *d->region;
    const ZkInnerRect inner = largerInner(a, b);
    record.extents = around(a.extents, b.extents);
    if (const ZkRect *const gap = zkGapFor(a, b)) {
        record.setInner(inner);
        record.insert(static_cast<int>(gap - a.begin), b);
    } else {
        ZkRegionSweep sweep(ZkRegionSweep::Apart);
        sweep.unite(a, b, inner);
        record.become(sweep);
    }
    return true;
}

ZkRegion &ZkRegion::operator+=(const ZkRegion &r)
{
    if (!hasRects() || (r.hasRects() && d != r.d && !absorb(r.d->region->operand()))) {
        *this = r;
    }
    return *this;
}

ZkRegion &ZkRegion::operator+=(const ZkRect &r)
{
    const ZkRect added = r; // may lie in this region's own vector
    if (!hasRects() || (added.isValid() && !absorb(Operand::of(added)))) {
        *this = ZkRegion(added);
    }
    return *this;
}

ZkRegion ZkRegion::intersect(const ZkRegion &r) const
{
    if (!hasRects() || !r.hasRects()) {
        return ZkRegion();
    }
    const Operand a = d->region->operand();
    const Operand b = r.d->region->operand();
    if (!meet(a.extents, b.extents)) {
        return ZkRegion();
    }
    if (zkCovers(b.innerRect, a.extents)) {
        return *this;
    }
    if (zkCovers(a.innerRect, b.extents)) {
        return r;
    }
    if (a.count() == 1 && b.count() == 1) {
        return ZkRegion(*a.begin & *b.begin);
    }
    ZkRegionSweep sweep(ZkRegionSweep::Joined);
    sweep.intersect(a, b);
    return ZkRegion(Record::of(&sweep));
}

ZkRegion ZkRegion::intersect(const ZkRect &r) const
{
    if (!r.isValid() || !hasRects() || !meet(d->region->extents, r)) {
        return ZkRegion();
    }
    const Record &record = *d->region;
    if (zkCovers(r, record.extents)) {
        return *this;
    }
    if (zkCovers(record.innerRect, r)) {
        return ZkRegion(r);
    }
    if (record.numRects == 1) {
        return ZkRegion(*record.begin() & r);
    }
    return ZkRegion(record.clipped(r));
}

ZkRegion ZkRegion::subtract(const ZkRegion &r) const
{
    if (!hasRects() || !r.hasRects()) {
        return *this;
    }
    const Operand a = d->region->operand();
    const Operand b = r.d->region->operand();
    if (!meet(a.extents, b.extents)) {
        return *this;
    }
    if (zkCovers(b.innerRect, a.extents) || a.equals(b)) {
        return ZkRegion();
    }
    ZkRegionSweep sweep(ZkRegionSweep::Joined);
    sweep.subtract(a, b);
    return ZkRegion(Record::of(&sweep));
}

ZkRegion ZkRegion::eor(const ZkRegion &r) const
{
    return subtract(r).unite(r.subtract(*this));
}

void ZkRegion::translate(int dx, int dy)
{
    if ((dx == 0 && dy == 0) || !hasRects()) {
        return;
    }
    detach();
    d->region->translate(dx, dy);
}

ZkRegion ZkRegion::translated(int dx, int dy) const
{
    ZkRegion moved = *this;
    moved.translate(dx, dy);
    return moved;
}

bool ZkRegion::operator==(const ZkRegion &r) const
{
    if (d == r.d) {
        return true;
    }
    // Data without rectangles is not the same as no data.
    return d->region != nullptr && r.d->region != nullptr &&
           d->region->operand().equals(r.d->region->operand());
}

ZkRegion ZkRegion::copy() const
{
    return d->region != nullptr ? ZkRegion(d->region->clone()) : *this;
}

void ZkRegion::detach()
{
    if (d->region != nullptr && d->ref != 1) {
        *this = copy();
    }
}

bool zk_region_strictContains(const ZkRegion &region, const ZkRect &r)
{
    return region.hasRects() && r.isValid() && zkCovers(region.d->region->innerRect, r);
}
