#ifndef ZKREGION_H
#define ZKREGION_H

#include "zkrect.h"
#include "zkvector.h"

#include <utility>

/// A set of pixels, kept as rectangles that do not overlap.
///
/// The rectangles stand in *banded order*, from top to bottom and from left to
/// right. Rectangles with the same first row form a band and end in the same
/// row; inside a band no two touch. Two bands that meet and have the same columns
/// are one band:
///
///     +--+  +--+      (0, 0, 2, 1) (5, 0, 7, 1)   a band of two
///     |  |  |  |
///     +--+--+--+
///     |        |      (0, 2, 7, 3)                a band of one
///     +--------+
///
/// so a set of pixels has one list of rectangles, and `==` compares lists. Two
/// operations leave bands that could be merged, and say so: clipping to a
/// rectangle, and a union that merely appends.
///
/// A region is one pointer to a record that copies share; records come from a
/// pool that never shrinks. Copying counts the new owner, in a plain int. The
/// first change through a region whose record is shared makes its own; set
/// operations that find one operand to be the result return that operand's record.
/// A single rectangle needs no vector.
///
///     ZkRegion frame = ZkRegion(0, 0, 10, 10) - ZkRegion(3, 3, 4, 4);
///     frame.rectCount();                // 4, in three bands
///     frame.contains(ZkPoint(5, 5));    // false
///
/// Use regions on one thread of the process: two threads race on the pool even
/// when their regions have nothing in common.
class ZK_EXPORT ZkRegion
{
public:
    /// What a region is made of. Only rectangles are supported.
    enum RegionType { Rectangle = 0, Ellipse = 1 };

    struct Operand;
    struct Record;
    /// What a region points to: the head of a record, or `shared_empty`.
    struct Data {
        int ref;        ///< regions that point here; not atomic
        Record *region; ///< this same record, null in `shared_empty`
    };

    /// The empty region. Allocates nothing.
    ZkRegion() : d(&shared_empty) { ++d->ref; }

    /// The pixels of `r`; none if it is invalid (x1 > x2 or y1 > y2). A valid
    /// rectangle with any type but `Rectangle` stops the process.
    ZkRegion(const ZkRect &r, RegionType type = Rectangle);

    /// The same with an extent: `w` columns from `x` on, `h` rows from `y` on.
    ZkRegion(int x, int y, int w, int h, RegionType type = Rectangle);

    ZkRegion(const ZkRegion &other) : d(other.d) { ++d->ref; }
    ZkRegion(ZkRegion &&other) noexcept : ZkRegion() { swap(other); }
    ~ZkRegion();

    ZkRegion &operator=(const ZkRegion &other);
    /// Exchanges the records.
    ZkRegion &operator=(ZkRegion &&other) noexcept;
    void swap(ZkRegion &other) noexcept { std::swap(d, other.d); }
    friend void swap(ZkRegion &a, ZkRegion &b) noexcept { a.swap(b); }

    bool isEmpty() const;
    int rectCount() const;

    /// The smallest rectangle that a set operation knows to hold all pixels;
    /// (0, 0, -1, -1) when empty. After clipping to a rectangle it may be larger
    /// than what is left: see `intersect`.
    ZkRect boundingRect() const;

    /// All rectangles in banded order. Shares the region's own vector, so it costs
    /// nothing unless a single rectangle must be put into one first.
    ZkVector<ZkRect> rects() const;

    /// Replaces the contents by `n` valid rectangles, which must be in banded
    /// order; they may lie in this region's own vector. A null pointer or n < 1
    /// empties the region. What the set operations make of a list in another
    /// order is unspecified.
    void setRects(const ZkRect *rects, int n);

    /// Whether the pixel belongs to the region. O(log n). Ask `isEmpty()` first: a
    /// default-constructed region has no data to look at, and the process stops.
    bool contains(const ZkPoint &p) const;

    /// Whether all pixels of `r` belong to the region, even if no single one of its
    /// rectangles holds them. False for an invalid `r`.
    bool contains(const ZkRect &r) const;

    /// Whether a pixel is common to both. False for an invalid `r`.
    bool intersects(const ZkRegion &r) const;
    bool intersects(const ZkRect &r) const;

    /// The pixels of either. An operand that covers the other is returned as it
    /// is. When `r` starts below the last row with an empty row between, or
    /// continues the last band to the right, its rectangles are appended and no
    /// bands are merged: {(0,0,9,4), (0,5,4,9)} and (5,5,9,9) unite to two
    /// rectangles, the other way round to one, and the two results are not equal.
    ZkRegion unite(const ZkRegion &r) const;
    ZkRegion unite(const ZkRect &r) const { return unite(ZkRegion(r)); }
    ZkRegion operator+(const ZkRegion &r) const { return unite(r); }
    ZkRegion operator+(const ZkRect &r) const { return unite(ZkRegion(r)); }
    ZkRegion operator|(const ZkRegion &r) const { return unite(r); }
    ZkRegion operator|(const ZkRect &r) const { return unite(ZkRegion(r)); }

    /// The same in place. Rectangles above and below the other operand stay where
    /// they are, so adding small parts to a large region is cheap.
    ZkRegion &operator+=(const ZkRegion &r);
    ZkRegion &operator+=(const ZkRect &r);
    ZkRegion &operator|=(const ZkRegion &r) { return *this += r; }
    ZkRegion &operator|=(const ZkRect &r) { return *this += r; }

    /// The pixels of both. An operand that the other covers is returned as it is.
    ZkRegion intersect(const ZkRegion &r) const;
    ZkRegion operator&(const ZkRegion &r) const { return intersect(r); }
    ZkRegion &operator&=(const ZkRegion &r) { return *this = intersect(r); }

    /// The pixels inside `r`, by clipping each rectangle. Bands that become alike
    /// are not merged, and the bounding rectangle is clipped, not tightened:
    /// {(0,0,4,4), (0,10,20,14)} clipped to (10,0,15,20) bounds (10,0,15,14).
    ZkRegion intersect(const ZkRect &r) const;
    ZkRegion operator&(const ZkRect &r) const { return intersect(r); }
    ZkRegion &operator&=(const ZkRect &r) { return *this = intersect(r); }

    /// The pixels that `r` does not have.
    ZkRegion subtract(const ZkRegion &r) const;
    ZkRegion operator-(const ZkRegion &r) const { return subtract(r); }
    ZkRegion &operator-=(const ZkRegion &r) { return *this = subtract(r); }

    /// The pixels of exactly one of the two.
    ZkRegion eor(const ZkRegion &r) const;
    ZkRegion operator^(const ZkRegion &r) const { return eor(r); }
    ZkRegion &operator^=(const ZkRegion &r) { return *this = eor(r); }

    /// Moves by (dx, dy). (0, 0) and empty regions change nothing and share on.
    /// Coordinates wrap to 32 bits; a region that crosses the end so loses its order.
    void translate(int dx, int dy);
    ZkRegion translated(int dx, int dy) const;

    /// Whether both are the same list of rectangles with the same bounds. A region
    /// that an operation emptied still has a record and so does not equal a
    /// default-constructed one: ask `isEmpty()`.
    bool operator==(const ZkRegion &r) const;
    bool operator!=(const ZkRegion &r) const { return !(*this == r); }

    /// The same rectangles in a record of its own. The empty region without data
    /// has nothing to copy and is shared.
    ZkRegion copy() const;
    /// Gives up a shared record for a copy of its own.
    void detach();
    /// Whether both use one record; so do all default-constructed regions.
    bool isSharedWith(const ZkRegion &other) const { return d == other.d; }

private:
    friend struct ZkInspector;
    friend ZK_EXPORT bool zk_region_strictContains(const ZkRegion &region, const ZkRect &r);

    explicit ZkRegion(Record *record);
    static void release(Data *data);
    bool hasRects() const;
    bool absorb(const Operand &b);

    /// What every region without data points to; starts with one owner of its own.
    static Data shared_empty;

    Data *d;
};

/// Whether `r` lies inside one rectangle known to belong to the region: the largest
/// one that came up while it was made. True is certain, false is not. False for an
/// invalid `r`.
ZK_EXPORT bool zk_region_strictContains(const ZkRegion &region, const ZkRect &r);

inline ZkRegion::~ZkRegion()
{
    if (--d->ref == 0) {
        release(d);
    }
}

inline ZkRegion &ZkRegion::operator=(const ZkRegion &other)
{
    ZkRegion(other).swap(*this);
    return *this;
}

inline ZkRegion &ZkRegion::operator=(ZkRegion &&other) noexcept
{
    swap(other);
    return *this;
}

#endif
