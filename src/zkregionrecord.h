#ifndef ZKREGIONRECORD_H
#define ZKREGIONRECORD_H

#include "zkregion.h"
#include "zkregionsweep.h"

/// The rectangles of a region and what is known of them. Records come from a
/// pool of blocks that are never given back to the system.
struct ZkRegion::Record : ZkRegion::Data {
    std::int16_t inVector; ///< 1: the rectangles are in `rects`; 0: there is one, `single`
    ZkSeams seams;         ///< of the list
    int numRects;
    ZkVector<ZkRect> rects; ///< may hold more than numRects; empty while the record is free
    ZkRect single;
    ZkRect extents;   ///< around all rectangles
    ZkRect innerRect; ///< lies inside the region: the largest rectangle met so far
    union {
        int innerArea;    ///< of innerRect, at most INT_MAX; -1 when there is none
        Record *nextFree; ///< while the record is free
    };

    /// A record with one owner and no rectangles. Without memory the process stops.
    static Record *take();
    /// Back to the pool.
    static void giveBack(Record *record);

    /// A record for the valid rectangle `r`.
    static Record *of(const ZkRect &r);
    /// A record for the list that a sweep made; extents and inner rectangle are open.
    static Record *of(const ZkRegionSweep &sweep);
    /// The same contents. Both share the vector's block until one of them writes.
    Record *clone() const;
    /// What of these rectangles lies inside `r`, in a record of its own. Bands that
    /// become alike stay apart, and the extents are clipped like a rectangle.
    Record *clipped(const ZkRect &r) const;

    const ZkRect *begin() const { return inVector ? rects.constData() : &single; }
    const ZkRect *end() const { return begin() + numRects; }
    ZkBands bands() const { return {begin(), end(), seams}; }
    ZkInnerRect inner() const { return {innerRect, innerArea}; }
    void setInner(const ZkInnerRect &inner);

    /// Puts the list into a block of its own with room for `count` more.
    void makeRoom(int count);
    /// Puts a single rectangle into the vector and sizes the vector to numRects.
    void materialise();
    /// Finds extents and inner rectangle anew. O(n).
    void recompute();
    void translate(int dx, int dy);

    /// Whether the rectangles of `other` continue this list: they start below an
    /// empty row, or to the right in the last band. Neither may be empty.
    bool takesAtEnd(const Record &other) const;
    /// Puts the rectangles of another record behind these, merging no bands.
    void append(const Record &other);
    /// Takes over the list that a sweep made of this one and another; what the
    /// sweep left unwalked must be this record's.
    void replaceWalked(const ZkRegionSweep &sweep);

private:
    Record();
};

/// Ends the process by a write through a null pointer.
[[noreturn]] void zkRegionStop() __attribute__((cold, noinline));

#endif
