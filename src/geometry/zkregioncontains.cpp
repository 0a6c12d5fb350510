#include "zkregion.h"

#include "geometry/zkregionrecord.h"

#include <algorithm>

namespace
{

// The first rectangle that reaches down to row `y`, the last one when none does: the
// extents of a clipped region may be larger than its rectangles. A branch could not be
// predicted, so the list is halved without one.
const ZkRect *firstReachingAnywhere(const ZkRect *begin, int count, int y)
{
    while (count > 1) {
        const int half = count / 2;
        const ZkRect *const later = begin + half;
        if (later[-1].bottom() < y) { // a conditional move
            begin = later;
        }
        count -= half;
    }
    return begin;
}

} // namespace

bool ZkRegion::contains(const ZkPoint &p) const
{
    // A region without data is not tested for: the caller has asked isEmpty() before.
    const Record &record = *d->region;
    if (!record.inVector) {
        return record.single.contains(p);
    }
    const ZkRect pixel(p.x(), p.y(), p.x(), p.y());
    if (record.numRects == 0 || !zkCovers(record.extents, pixel)) {
        return false;
    }
    if (zkCovers(record.innerRect, pixel)) {
        return true;
    }
    const ZkRect *const end = record.end();
    const ZkRect *r = firstReachingAnywhere(record.begin(), record.numRects, p.y());
    if (r->top() > p.y()) {
        return false; // between two bands
    }
    r = zkGallop(r, end, [&p](const ZkRect &x) { return x.top() <= p.y() && x.right() < p.x(); });
    return r != end && zkCovers(*r, pixel);
}

bool ZkRegion::contains(const ZkRect &r) const
{
    if (!hasRects()) {
        return false;
    }
    const Record &record = *d->region;
    if (record.numRects == 1) {
        return record.begin()->contains(r);
    }
    if (!r.isValid() || !zkCovers(record.extents, r)) {
        return false;
    }
    const ZkRect *const end = record.end();
    const ZkRect *band = zkFirstReaching(record.begin(), end, r.top());
    for (int y = r.top(); band != end && band->top() <= y; ++y) {
        const ZkRect *const bandEnd = zkBandEnd(band, end);
        const ZkRect *const candidate = std::partition_point(
            band, bandEnd, [&r](const ZkRect &x) { return x.right() < r.left(); });
        if (candidate == bandEnd || candidate->left() > r.left() ||
            candidate->right() < r.right()) {
            return false;
        }
        y = band->bottom();
        if (y >= r.bottom()) {
            return true;
        }
        band = bandEnd;
    }
    return false;
}
