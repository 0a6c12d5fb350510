#include "geometry/zkregionrecord.h"

#include "base/zkmemory.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(ZkRegion::Record) == 72, "a record is 72 bytes on the target");
#endif

namespace
{

constexpr int kRecordsPerBlock = 256;

// Room in the vector of a region that grows from a single rectangle.
constexpr int kFewRects = 8;

// Read and written without a lock: regions belong to one thread.
ZkRegion::Record *freeRecords = nullptr;

} // namespace

void zkRegionStop()
{
    // The pointer is volatile too, so that no compiler knows what it holds.
    volatile int *volatile nowhere = nullptr;
    *nowhere = 0; // NOLINT(clang-analyzer-core.NullDereference)
    std::abort();
}

ZkRegion::Record::Record() : Data{0, this}, inVector(1), numRects(0), seams(ZkSeams::Closed)
{
    nextFree = nullptr;
}

ZkRegion::Record *ZkRegion::Record::take()
{
    if (freeRecords == nullptr) {
        void *const block = std::malloc(kRecordsPerBlock * sizeof(Record));
        if (block == nullptr) {
            zkReportNoMemory(kRecordsPerBlock * sizeof(Record));
            zkRegionStop(); // no test can tell: what follows ends it too
        }
        Record *const first = static_cast<Record *>(block);
        for (int i = kRecordsPerBlock - 1; i >= 0; --i) {
            Record *const record = new (first + i) Record;
            record->nextFree = freeRecords;
            freeRecords = record;
        }
    }
    Record *const record = freeRecords;
    freeRecords = record->nextFree;
    record->ref = 1;
    record->inVector = 1;
    record->seams = ZkSeams::Closed;
    record->numRects = 0;
    return record;
}

void ZkRegion::Record::giveBack(Record *record)
{
    if (record->rects.capacity() != 0) {
        record->rects.clear();
    }
    record->nextFree = freeRecords;
    freeRecords = record;
}

ZkRegion::Record *ZkRegion::Record::of(const ZkRect &r)
{
    Record *const record = take();
    record->setSingle(r);
    record->extents = r;
    record->setInner({r, zkArea(r)});
    return record;
}

ZkRegion::Record *ZkRegion::Record::of(ZkRegionSweep *sweep)
{
    Record *const record = take();
    record->numRects = sweep->count();
    if (record->numRects == 1) {
        for (const ZkBands *part : {&sweep->above, &sweep->middle, &sweep->below}) {
            if (part->count() == 1) {
                record->setSingle(*part->begin);
            }
        }
    } else if (record->numRects != 0) {
        sweep->moveTo(&record->rects);
    }
    record->setInner(sweep->inner);
    record->extents = sweep->extents;
    return record;
}

ZkRegion::Record *ZkRegion::Record::clone() const
{
    Record *const record = take();
    if (inVector) {
        record->seams = seams;
        record->numRects = numRects;
        record->rects = rects;
    } else {
        record->setSingle(single);
    }
    record->extents = extents;
    record->setInner({innerRect, innerArea});
    return record;
}

ZkRegion::Record *ZkRegion::Record::clipped(const ZkRect &r) const
{
    Record *const record = take();
    record->extents = extents & r;
    record->innerRect = innerRect & r;
    record->innerArea = record->innerRect.isValid() ? zkArea(record->innerRect) : 0;
    const ZkRect *const first = zkFirstReaching(begin(), end(), r.top());
    const ZkRect *const last =
        std::partition_point(first, end(), [&r](const ZkRect &x) { return x.top() <= r.bottom(); });
    record->rects.realloc(0, static_cast<int>(last - first));
    for (const ZkRect *x = first; x != last; ++x) {
        const ZkRect part(std::max(x->left(), r.left()), std::max(x->top(), r.top()),
                          std::min(x->right(), r.right()), std::min(x->bottom(), r.bottom()));
        if (part.isValid()) {
            record->rects.append(part);
        }
    }
    record->numRects = record->rects.size();
    record->seams = zkSeamsOf(record->begin(), record->end());
    return record;
}

void ZkRegion::Record::setSingle(const ZkRect &r)
{
    inVector = 0;
    numRects = 1;
    new (&single) ZkRect(r);
}

void ZkRegion::Record::setInner(const ZkInnerRect &inner)
{
    innerRect = inner.rect;
    innerArea = inner.area;
}

void ZkRegion::Record::makeRoom(int count)
{
    ZkVector<ZkRect> roomy;
    roomy.realloc(0, zkWrapped(static_cast<std::int64_t>(numRects) + count));
    roomy.append(begin(), numRects);
    rects.swap(roomy);
    seams = knownSeams();
    inVector = 1;
}

void ZkRegion::Record::growTo(int count)
{
    if (!inVector) {
        makeRoom(std::max(count, kFewRects) - numRects);
    }
    if (rects.capacity() < count) {
        rects.realloc(numRects, std::max(count, 2 * numRects));
    }
    if (rects.size() < count) {
        rects.appendUninitialized(count - rects.size());
    }
}

void ZkRegion::Record::materialise()
{
    if (!inVector) {
        rects.resize(1);
        rects[0] = single;
        seams = ZkSeams::Closed;
        inVector = 1;
    } else if (rects.size() != numRects) {
        rects.resize(numRects);
    }
}

void ZkRegion::Record::recompute()
{
    ZkInnerRect inner = {ZkRect(), -1};
    const ZkRect &first = *begin();
    const ZkRect &last = *(end() - 1);
    int left = first.left();
    int right = last.right();
    for (const ZkRect *r = begin(); r != end(); ++r) {
        left = std::min(left, r->left());
        right = std::max(right, r->right());
        inner.consider(*r);
    }
    extents = ZkRect(left, first.top(), right, last.bottom());
    setInner(inner);
}

void ZkRegion::Record::translate(int dx, int dy)
{
    if (inVector) {
        ZkRect *const moved = rects.data();
        for (int i = 0; i < numRects; ++i) {
            moved[i].translate(dx, dy);
        }
    } else {
        single.translate(dx, dy);
    }
    extents.translate(dx, dy);
    innerRect.translate(dx, dy);
}

void ZkRegion::Record::append(const Operand &other)
{
    if (!inVector) {
        makeRoom(std::max(other.count(), kFewRects - 1));
    }
    materialise();
    // What the seams will be: below an empty row, the last seam so far becomes an
    // inner one; in the same band, it is the last one that may open.
    const bool sameBand = (end() - 1)->top() == other.begin->top();
    const bool oneBand = other.begin->top() == (other.end - 1)->top();
    if (sameBand) {
        seams = oneBand ? std::min(seams, ZkSeams::ClosedButLast) : ZkSeams::Unknown;
    } else if (seams == ZkSeams::Closed ||
               (seams == ZkSeams::ClosedButLast && !zkLastSeamIsOpen(begin(), end()))) {
        seams = other.seams;
    } else {
        seams = ZkSeams::Unknown;
    }

    const ZkRect *added = other.begin;
    ZkInnerRect inner = {innerRect, innerArea};
    ZkRect &last = rects.last();
    if (sameBand && added->left() - 1 == last.right()) {
        last.setRight(added->right());
        inner.consider(last);
        ++added;
    }
    if (other.innerArea > inner.area) {
        inner = other.inner();
    }
    setInner(inner);
    rects.append(added, static_cast<int>(other.end - added));
    numRects = rects.size();
    extents = extents | other.extents;
}

void ZkRegion::Record::insert(int place, const Operand &other)
{
    const int added = other.count();
    growTo(numRects + added);
    ZkRect *const gap = rects.data() + place;
    std::memmove(gap + added, gap, static_cast<std::size_t>(numRects - place) * sizeof(ZkRect));
    std::copy(other.begin, other.end, gap);
    numRects += added;
}

void ZkRegion::Record::become(const ZkRegionSweep &sweep)
{
    const bool ownsAbove = sweep.above.begin == begin();
    const bool ownsBelow = sweep.below.end == end();
    const int head = ownsAbove ? sweep.above.count() : 0;
    const int tail = ownsBelow ? sweep.below.count() : 0;
    const int count = sweep.count();
    growTo(count);
    ZkRect *const list = rects.data();
    if (count != numRects) {
        std::memmove(list + count - tail, list + numRects - tail,
                     static_cast<std::size_t>(tail) * sizeof(ZkRect));
    }
    ZkRect *out = list + head;
    if (!ownsAbove) {
        out = std::copy(sweep.above.begin, sweep.above.end, out);
    }
    out = std::copy(sweep.middle.begin, sweep.middle.end, out);
    if (!ownsBelow) {
        std::copy(sweep.below.begin, sweep.below.end, out);
    }
    seams = ZkSeams::Closed; // no test can tell: else all seams are looked at, and none is open
    numRects = count;
    setInner(sweep.inner);
    if (std::max(count, 4) < rects.size() / 2) {
        rects.resize(count);
    }
}
