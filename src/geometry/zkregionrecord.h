#ifndef ZKREGIONRECORD_H
#define ZKREGIONRECORD_H

#include "geometry/zkregionsweep.h"
#include "zkregion.h"

/// Whether `outer` holds all of `inner`; both valid.
inline bool zkCovers(const ZkRect &outer, const ZkRect &inner)
{
    return outer.left() <= inner.left() && outer.top() <= inner.top() &&
           outer.right() >= inner.right() && outer.bottom() >= inner.bottom();
}

/// What an operation looks at: a list that is not empty, and what is known of it. That
/// is held by value, so that an operation in place may write it into the record and
/// still ask the operand.
struct ZkRegion::Operand : ZkBands {
    ZkRect extents;
    ZkRect innerRect;
    int innerArea;

    /// The valid rectangle `r`, which must outlive the operand.
    static Operand of(const ZkRect &r) { return {{&r, &r + 1, ZkSeams::Closed}, r, r, zkArea(r)}; }
    ZkInnerRect inner() const { return {innerRect, innerArea}; }
    bool equals(const Operand &other) const
    {
        return count() == other.count() && extents == other.extents &&
               std::equal(begin, end, other.begin);
    }
};

/// The rectangles of a region and what is known of them. Records come from a
/// pool of blocks that are never given back to the system.
struct ZK_HIDDEN ZkRegion::Record : ZkRegion::Data {
    int inVector; ///< 1: the rectangles are in `rects`; 0: there is one, `single`
    int numRects;
    ZkVector<ZkRect> rects; ///< may hold more than numRects; empty while the record is free
    union {
        ZkRect single; ///< while inVector is 0
        ZkSeams seams; ///< of the list, while inVector is 1; one rectangle has none
    };
    ZkRect extents;   ///< around all rectangles; not tight after `clipped`
    ZkRect innerRect; ///< lies inside the region: the largest rectangle met so far
    union {
        int innerArea;    ///< of innerRect, at most INT_MAX; -1 when there is none
        Record *nextFree; ///< while the record is free
    };

    /// A record with one owner and no rectangles. Without memory the process stops
    /// with the message of every other allocation.
    static Record *take();
    /// Back to the pool.
    static void giveBack(Record *record);

    /// A record for the valid rectangle `r`.
    static Record *of(const ZkRect &r);
    /// A record for what a sweep made, which gives up its list.
    static Record *of(ZkRegionSweep *sweep);
    /// The same contents. Both share the vector's block until one of them writes.
    Record *clone() const;
    /// What of these rectangles lies inside `r`, in a record of its own. Bands that
    /// become alike stay apart. The extents are the old ones clipped to `r`: they may be
    /// larger than the rectangles that are left.
    Record *clipped(const ZkRect &r) const;

    const ZkRect *begin() const { return inVector ? rects.constData() : &single; }
    const ZkRect *end() const { return begin() + numRects; }
    Operand operand() const
    {
        return {{begin(), end(), knownSeams()}, extents, innerRect, innerArea};
    }
    ZkSeams knownSeams() const { return inVector ? seams : ZkSeams::Closed; }

    /// Makes `r` the one rectangle, outside the vector.
    void setSingle(const ZkRect &r);
    void setInner(const ZkInnerRect &inner);

    /// Puts the list into a block of its own with room for `count` more.
    void makeRoom(int count);
    /// Makes the vector hold `count` elements at least, those behind numRects unwritten.
    void growTo(int count);
    /// Puts a single rectangle into the vector and sizes the vector to numRects.
    void materialise();
    /// Finds extents and inner rectangle anew. O(n); there is one rectangle at least.
    void recompute();
    void translate(int dx, int dy);

    /// Puts the rectangles of another region, which continue this list below an empty
    /// row or to the right in the last band, behind these. No bands are merged.
    void append(const Operand &other);
    /// Puts the rectangles of another region before number `place`, where the list
    /// leaves their rows free, and one row more above and below. No seam may be open.
    void insert(int place, const Operand &other);
    /// Replaces the list by the union with another one that a sweep made. What the
    /// sweep left unwalked of this list stays in its place or is moved as a whole.
    void become(const ZkRegionSweep &sweep);

private:
    Record();
};

/// Ends the process by a write through a null pointer.
[[noreturn]] void zkRegionStop() __attribute__((cold, noinline));

inline bool ZkRegion::hasRects() const
{
    return d->region != nullptr && d->region->numRects != 0;
}

#endif
