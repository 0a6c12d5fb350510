#ifndef ZKREGIONSWEEP_H
#define ZKREGIONSWEEP_H

#include "zkrect.h"

#include <cstdint>

/// What is known of the seams of a list, the places where one band ends and the
/// next begins. A seam is open when the two bands meet and have the same columns,
/// so that they could be one; a sweep closes every open seam it passes.
enum class ZkSeams : std::int16_t {
    Unknown,
    ClosedButLast, ///< the last two bands alone may be mergeable
    Closed,
};

/// Rectangles in banded order, in somebody's memory.
struct ZkBands {
    const ZkRect *begin;
    const ZkRect *end;
    ZkSeams seams;

    int count() const { return static_cast<int>(end - begin); }
};

/// Columns times rows of a valid rectangle, at most INT_MAX.
int zkRectArea(const ZkRect &r);

/// The largest rectangle met so far, the first of equals.
struct ZkInnerRect {
    ZkRect rect;
    int area;

    /// Looks at rectangles that have the same rows. O(n).
    void considerBand(const ZkRect *begin, const ZkRect *end);
};

/// The end of the band that starts at `band`.
const ZkRect *zkBandEnd(const ZkRect *band, const ZkRect *end);

/// The first rectangle that reaches down to row `y` or further. O(log n).
const ZkRect *zkFirstReaching(const ZkRect *begin, const ZkRect *end, int y);

/// Looks at every seam (the last one, two bands). O(n).
ZkSeams zkSeamsOf(const ZkRect *begin, const ZkRect *end);
bool zkLastSeamIsOpen(const ZkRect *begin, const ZkRect *end);

/// The band sweep: walks two lists from top to bottom and makes the list of their
/// union, intersection or difference. Neither list may be empty.
///
/// What lies above or below all of the other list is not walked: the result is
/// `above`, then `middle`, then `below`, where `above` and `below` are parts of
/// the source lists. A list in any order but the banded one gives a list that
/// means nothing, in memory that is still good.
class ZkRegionSweep
{
public:
    ZkRegionSweep() = default;
    ~ZkRegionSweep();
    ZkRegionSweep(const ZkRegionSweep &) = delete;
    ZkRegionSweep &operator=(const ZkRegionSweep &) = delete;

    /// `inner` starts as the larger one of the two lists and is carried on.
    void unite(const ZkBands &a, const ZkBands &b, ZkInnerRect *inner);
    void intersect(const ZkBands &a, const ZkBands &b);
    void subtract(const ZkBands &a, const ZkBands &b);

    ZkBands above = {nullptr, nullptr, ZkSeams::Closed};
    ZkBands middle = {nullptr, nullptr, ZkSeams::Closed};
    ZkBands below = {nullptr, nullptr, ZkSeams::Closed};

    int count() const { return above.count() + middle.count() + below.count(); }

private:
    template <typename Operation>
    void run(ZkBands a, ZkBands b);
    void passAbove(ZkBands *list, int row, bool keep);
    void copyRest(const ZkRect *band, const ZkRect *bandEnd, int top, const ZkBands &list);
    void copyBand(const ZkRect *band, const ZkRect *bandEnd, int top, int bottom);
    void copyBands(const ZkRect *begin, const ZkRect *end);
    ZkRect *room(std::ptrdiff_t count);
    void grow(std::ptrdiff_t count);
    void finishBand(ZkRect *end);

    // Most sweeps make few rectangles and need no heap.
    static constexpr int kNear = 64;
    alignas(ZkRect) unsigned char m_near[kNear * sizeof(ZkRect)];
    ZkRect *m_begin = reinterpret_cast<ZkRect *>(m_near);
    ZkRect *m_stop = m_begin + kNear;
    ZkRect *m_end = m_begin;  // what is finished ends here
    ZkRect *m_band = m_begin; // the last finished band; m_end when there is none
    ZkInnerRect *m_inner = nullptr;
};

#endif
