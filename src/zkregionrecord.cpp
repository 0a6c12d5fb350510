#include "zkregionrecord.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

#if __SIZEOF_POINTER__ == 4
static_assert(sizeof(ZkRegion::Record) == 72, "a record is 72 bytes on the target");
#endif

namespace
{

constexpr int kRecordsPerBlock = 256;

// Read and written without a lock: regions belong to one thread.
ZkRegion::Record *freeRecords = nullptr;

// The area of a rectangle that may be the null one.
int areaOrZero(const ZkRect &r)
{
    return r.isValid() ? zkRectArea(r) : 0;
}

} // namespace

void zkRegionStop()
{
    // The pointer is volatile too, so that no compiler knows what it holds.
    volatile int *volatile nowhere = nullptr;
    *nowhere = 0; // NOLINT(clang-analyzer-core.NullDereference)
    std::abort();
}

ZkRegion::Record::Record() : Data{0, this}, inVector(0), seams(ZkSeams::Closed), numRects(0)
{
    nextFree = nullptr;
}

ZkRegion::Record *ZkRegion::Record::take()
{
    if (freeRecords == nullptr) {
        void *const block = std::malloc(kRecordsPerBlock * sizeof(Record));
        if (block == nullptr) {
            zkRegionStop();
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
    record->rects.clear();
    record->nextFree = freeRecords;
    freeRecords = record;
}

ZkRegion::Record *ZkRegion::Record::of(const ZkRect &r)
{
    Record *const record = take();
    record->inVector = 0;
    record->numRects = 1;
    record->single = r;
    record->extents = r;
    record->setInner({r, zkRectArea(r)});
    return record;
}

ZkRegion::Record *ZkRegion::Record::of(const ZkRegionSweep &sweep)
{
    Record *const record = take();
    record->numRects = sweep.count();
    const ZkBands parts[] = {sweep.above, sweep.middle, sweep.below};
    if (record->numRects == 1) {
        record->inVector = 0;
        for (const ZkBands &part : parts) {
            record->single = part.count() == 1 ? *part.begin : record->single;
        }
    } else {
        record->rects.realloc(0, record->numRects);
        for (const ZkBands &part : parts) {
            record->rects.append(part.begin, part.count());
        }
    }
    return record;
}

ZkRegion::Record *ZkRegion::Record::clone() const
{
    Record *const record = take();
    record->inVector = inVector;
    record->seams = seams;
    record->numRects = numRects;
    record->rects = rects;
    record->single = single;
    record->extents = extents;
    record->setInner(inner());
    return record;
}

ZkRegion::Record *ZkRegion::Record::clipped(const ZkRect &r) const
{
    Record *const record = take();
    record->extents = extents & r;
    record->innerRect = innerRect & r;
    record->innerArea = areaOrZero(record->innerRect);
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

void ZkRegion::Record::setInner(const ZkInnerRect &inner)
{
    innerRect = inner.rect;
    innerArea = inner.area;
}

void ZkRegion::Record::makeRoom(int count)
{
    ZkVector<ZkRect> roomy;
    roomy.realloc(0, zkWrapped(std::int64_t(numRects) + count));
    roomy.append(begin(), numRects);
    rects.swap(roomy);
    inVector = 1;
}

void ZkRegion::Record::materialise()
{
    if (!inVector) {
        rects.resize(1);
        rects[0] = single;
        inVector = 1;
    } else if (rects.size() != numRects) {
        rects.resize(numRects);
    }
}

void ZkRegion::Record::recompute()
{
    ZkInnerRect inner = {ZkRect(), -1};
    if (numRects == 0) {
        extents = ZkRect(0, 0, 0, 0);
        setInner(inner);
        return;
    }
    const ZkRect *band = begin();
    const ZkRect *const stop = end();
    int left = band->left();
    int right = (stop - 1)->right();
    extents = ZkRect(0, band->top(), 0, (stop - 1)->bottom());
    while (band != stop) {
        const ZkRect *const next = zkBandEnd(band, stop);
        left = std::min(left, band->left());
        right = std::max(right, (next - 1)->right());
        inner.considerBand(band, next);
        band = next;
    }
    extents.setLeft(left);
    extents.setRight(right);
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

bool ZkRegion::Record::takesAtEnd(const Record &other) const
{
    const ZkRect &last = *(end() - 1);
    const ZkRect &next = *other.begin();
    if (next.top() > last.bottom() && next.top() - 1 > last.bottom()) {
        return true;
    }
    return next.top() == last.top() && next.bottom() == last.bottom() && next.left() > last.right();
}

void ZkRegion::Record::append(const Record &other)
{
    // What the seams will be: below an empty row, the last seam so far becomes an
    // inner one; in the same band, it is the last one that may open.
    const bool sameBand = (end() - 1)->top() == other.begin()->top();
    const bool oneBand = other.begin()->top() == (other.end() - 1)->top();
    if (sameBand) {
        seams = oneBand ? std::min(seams, ZkSeams::ClosedButLast) : ZkSeams::Unknown;
    } else if (seams == ZkSeams::Closed ||
               (seams == ZkSeams::ClosedButLast && !zkLastSeamIsOpen(begin(), end()))) {
        seams = other.seams;
    } else {
        seams = ZkSeams::Unknown;
    }

    materialise();
    const ZkRect *added = other.begin();
    ZkInnerRect inner = this->inner();
    ZkRect &last = rects.last();
    if (sameBand && added->left() - 1 == last.right()) {
        last.setRight(added->right());
        inner.considerBand(&last, &last + 1);
        ++added;
    }
    if (other.innerArea > inner.area) {
        inner = other.inner();
    }
    setInner(inner);
    rects.append(added, static_cast<int>(other.end() - added));
    numRects = rects.size();
    extents = extents | other.extents;
}

void ZkRegion::Record::replaceWalked(const ZkRegionSweep &sweep)
{
    const int kept = sweep.above.count();
    const int written = sweep.middle.count();
    const int tail = sweep.below.count();
    const int oldTail = numRects - tail;
    const int count = kept + written + tail;
    if (rects.size() < count) {
        rects.resize(count);
    }
    ZkRect *const list = rects.data();
    std::memmove(list + kept + written, list + oldTail,
                 static_cast<std::size_t>(tail) * sizeof(ZkRect));
    std::copy(sweep.middle.begin, sweep.middle.end, list + kept);
    inVector = 1;
    seams = ZkSeams::Closed;
    numRects = count;
    if (std::max(count, 4) < rects.size() / 2) {
        rects.resize(count);
    }
}
