#ifndef ZKREGIONSWEEP_H
#define ZKREGIONSWEEP_H

#include "zkrect.h"
#include "zkvector.h"

#include <algorithm>
#include <climits>
#include <cstddef>
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

/// The difference of two edges, which as an unsigned number always fits.
inline std::uint32_t zkDistance(int from, int to)
{
    return static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from);
}

/// Columns times rows, at most INT_MAX, of a rectangle whose edges are that far
/// apart. Less one, the product fits 64 bits even for all the pixels there are.
inline int zkArea(std::uint32_t across, std::uint32_t down)
{
    const std::uint64_t lessOne =
        (static_cast<std::uint64_t>(across) + 1) * (static_cast<std::uint64_t>(down) + 1) - 1;
    return static_cast<int>(std::min<std::uint64_t>(lessOne, INT_MAX - 1)) + 1;
}

/// The same of a valid rectangle.
inline int zkArea(const ZkRect &r)
{
    return zkArea(zkDistance(r.left(), r.right()), zkDistance(r.top(), r.bottom()));
}

/// The largest rectangle met so far, the first of equals; area -1 when none was.
struct ZkInnerRect {
    ZkRect rect;
    int area;

    void consider(const ZkRect &r)
    {
        const int ownArea = zkArea(r);
        if (ownArea > area) {
            rect = r;
            area = ownArea;
        }
    }

    void consider(const ZkRect *begin, const ZkRect *end)
    {
        for (; begin != end; ++begin) {
            consider(*begin);
        }
    }
};

/// The first rectangle from `begin` on that `holds` is false for; it is true for
/// all before that one. Steps double until one goes too far, so the cost is the
/// logarithm of the way, however much follows.
template <typename Predicate>
inline const ZkRect *zkGallop(const ZkRect *begin, const ZkRect *end, const Predicate &holds)
{
    std::ptrdiff_t step = 1; // no test can tell: any first step finds it
    while (step <= end - begin && holds(begin[step - 1])) {
        begin += step;
        step *= 2;
    }
    return std::partition_point(begin, begin + std::min(step - 1, end - begin), holds);
}

/// The end of the band that starts at `band`. O(log of the band's length).
const ZkRect *zkBandEnd(const ZkRect *band, const ZkRect *end);

/// The first rectangle that reaches down to row `y` or further. O(log of its place).
const ZkRect *zkFirstReaching(const ZkRect *begin, const ZkRect *end, int y);

/// Looks at every seam (the last one, two bands). O(n).
ZkSeams zkSeamsOf(const ZkRect *begin, const ZkRect *end);
bool zkLastSeamIsOpen(const ZkRect *begin, const ZkRect *end);

/// Where all of `b` stands in rows that `a` leaves free, one row more above and below,
/// so that `b` can be put there as it is: before the returned rectangle of `a`, which
/// may be its end. Null when that is not so, or when a seam may be open.
const ZkRect *zkGapFor(const ZkBands &a, const ZkBands &b);

/// The band sweep: walks two lists from top to bottom and makes the list of their
/// union, intersection or difference. Neither list may be empty.
///
/// What lies above or below all of the other list is not walked: the result is
/// `above`, then `middle`, then `below`, where `above` and `below` are parts of
/// the source lists. If a source list is not in banded order, the contents of the
/// result are undefined, but no memory outside of it is read or written.
class ZkRegionSweep
{
public:
    /// Apart: the caller keeps a source list and replaces what has changed in it. Joined:
    /// the caller wants a list of its own; the result of long lists is then all in
    /// `middle`, so that it is written once.
    enum Parts { Apart, Joined };

    explicit ZkRegionSweep(Parts parts) : m_parts(parts) {}
    ZkRegionSweep(const ZkRegionSweep &) = delete;
    ZkRegionSweep &operator=(const ZkRegionSweep &) = delete;

    /// `inner` is where the union's largest rectangle starts from. Rectangles that
    /// stand in the result as they stood in a list are not looked at.
    void unite(const ZkBands &a, const ZkBands &b, const ZkInnerRect &start);
    /// These two find the largest rectangle and the extents of the result.
    void intersect(const ZkBands &a, const ZkBands &b);
    void subtract(const ZkBands &a, const ZkBands &b);

    ZkInnerRect inner = {ZkRect(), -1};
    ZkRect extents = ZkRect(0, 0, 0, 0); ///< as it stands when there is no rectangle
    ZkBands above = {nullptr, nullptr, ZkSeams::Closed};
    ZkBands middle = {nullptr, nullptr, ZkSeams::Closed};
    ZkBands below = {nullptr, nullptr, ZkSeams::Closed};

    int count() const { return above.count() + middle.count() + below.count(); }

    /// Makes `list` the whole result; the parts are invalid afterwards.
    void moveTo(ZkVector<ZkRect> *list);

private:
    template <typename Operation>
    void run(const ZkBands &a, const ZkBands &b);
    void finish();
    const ZkRect *passAbove(const ZkBands &list, int row, bool keep);
    void copyRest(const ZkRect *band, const ZkRect *bandEnd, int top, const ZkBands &list);
    void copyBand(const ZkRect *band, const ZkRect *bandEnd, int top, int bottom);
    void copyBands(const ZkRect *begin, const ZkRect *end);
    void measure(const ZkBands &list);
    void join(ZkBands *part);
    void measureBand(const ZkRect *start, const ZkRect *end, std::uint32_t widest);
    ZkRect *room(std::ptrdiff_t count);
    void grow(std::ptrdiff_t count);
    void finishBand(ZkRect *end);

    // Most sweeps make few rectangles: those need no heap until the list is moved.
    static constexpr int kNear = 64;
    alignas(ZkRect) unsigned char m_near[kNear * sizeof(ZkRect)];
    ZkVector<ZkRect> m_far;
    ZkRect *m_begin = reinterpret_cast<ZkRect *>(m_near);
    ZkRect *m_stop = m_begin + kNear;
    ZkRect *m_end = m_begin;  // what is finished ends here
    ZkRect *m_band = m_begin; // the last finished band; m_end when there is none
    const Parts m_parts;
    bool m_joins = false;             // puts all into `middle`
    const ZkBands *m_sources[2] = {}; // to reckon how much is still to come
    bool m_measuresAll = true;        // copied rectangles too, and the extents
    int m_left = INT_MAX;             // of the rectangles that were measured
    int m_right = INT_MIN;
};

#endif
