#ifndef ZK_TESTS_REGIONMODEL_H
#define ZK_TESTS_REGIONMODEL_H

#include <zkregion.h>

// Models look into records; nothing of them is exported or called.
#include "geometry/zkregionrecord.h"

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

struct ZkInspector {
    static const ZkRegion::Data *data(const ZkRegion &r) { return r.d; }
    static const ZkRegion::Record &record(const ZkRegion &r) { return *r.d->region; }
};

inline std::ostream &operator<<(std::ostream &out, const ZkRect &r)
{
    return out << '(' << r.left() << ", " << r.top() << ", " << r.right() << ", " << r.bottom()
               << ')';
}

inline std::ostream &operator<<(std::ostream &out, const ZkRegion &region)
{
    out << '{';
    for (const ZkRect &r : region.copy().rects()) {
        out << ' ' << r;
    }
    return out << " }";
}

/// Regions as sets of pixels, reckoned pixel by pixel, and what holds for a
/// record at any time; for tests and fuzz targets.
namespace regionmodel
{

typedef std::vector<ZkRect> Rects;

/// The rectangles, read without a change to the record.
inline Rects rawList(const ZkRegion &region)
{
    if (ZkInspector::data(region)->region == nullptr) {
        return Rects();
    }
    const ZkRegion::Record &record = ZkInspector::record(region);
    const ZkRect *begin = record.inVector ? record.rects.constData() : &record.single;
    return Rects(begin, begin + record.numRects);
}

constexpr int kLow = -32, kHigh = 31;

/// The pixels of a board of 64 by 64 around the origin, from kLow to kHigh.
class Board
{
public:
    Board() { std::fill(m_rows, m_rows + 64, 0); }

    static Board of(const Rects &rects)
    {
        Board board;
        for (const ZkRect &r : rects) {
            for (int y = r.top(); y <= r.bottom(); ++y) {
                board.row(y) |= columns(r.left(), r.right());
            }
        }
        return board;
    }

    std::uint64_t &row(int y) { return m_rows[y - kLow]; }
    std::uint64_t row(int y) const { return m_rows[y - kLow]; }
    bool has(int x, int y) const { return (row(y) >> (x - kLow)) & 1; }

    template <typename RowOperation>
    Board combined(const Board &other, RowOperation operation) const
    {
        Board result;
        for (int i = 0; i < 64; ++i) {
            result.m_rows[i] = operation(m_rows[i], other.m_rows[i]);
        }
        return result;
    }

    bool operator==(const Board &other) const
    {
        return std::equal(m_rows, m_rows + 64, other.m_rows);
    }

    /// The one list of merged bands that has these pixels.
    Rects canonicalList() const
    {
        Rects list;
        for (int y = kLow; y <= kHigh;) {
            int last = y;
            while (last < kHigh && row(last + 1) == row(y)) {
                ++last;
            }
            for (int x = kLow; x <= kHigh; ++x) {
                if (has(x, y) && (x == kLow || !has(x - 1, y))) {
                    int right = x;
                    while (right < kHigh && has(right + 1, y)) {
                        ++right;
                    }
                    list.push_back(ZkRect(x, y, right, last));
                }
            }
            y = last + 1;
        }
        return list;
    }

    static std::uint64_t columns(int left, int right)
    {
        const std::uint64_t from = ~std::uint64_t(0) << (left - kLow);
        const std::uint64_t to = ~std::uint64_t(0) >> (kHigh - right);
        return from & to;
    }

private:
    std::uint64_t m_rows[64];
};

/// What an operation does to a row of both boards.
struct Rows {
    static std::uint64_t unite(std::uint64_t a, std::uint64_t b) { return a | b; }
    static std::uint64_t common(std::uint64_t a, std::uint64_t b) { return a & b; }
    static std::uint64_t rest(std::uint64_t a, std::uint64_t b) { return a & ~b; }
    static std::uint64_t either(std::uint64_t a, std::uint64_t b) { return a ^ b; }
};

inline ZkRect boundsOf(const Rects &list)
{
    ZkRect bounds;
    for (const ZkRect &r : list) {
        bounds = bounds | r;
    }
    return bounds;
}

/// Which properties an operation may cost a region.
enum Looseness { Merged = 0, MayHaveOpenSeams = 1, MayHaveWideBounds = 2 };

/// The seams that are open, and whether the last one is.
struct OpenSeams {
    int count = 0;
    bool lastIsOpen = false;
};

inline OpenSeams openSeamsOf(const Rects &list)
{
    std::vector<Rects> bands;
    for (const ZkRect &r : list) {
        if (bands.empty() || bands.back().front().top() != r.top()) {
            bands.emplace_back();
        }
        bands.back().push_back(r);
    }
    OpenSeams open;
    for (std::size_t i = 1; i < bands.size(); ++i) {
        const Rects &upper = bands[i - 1];
        const Rects &lower = bands[i];
        open.lastIsOpen = upper.size() == lower.size() && upper[0].bottom() + 1 == lower[0].top() &&
                          std::equal(upper.begin(), upper.end(), lower.begin(),
                                     [](const ZkRect &a, const ZkRect &b) {
                                         return a.left() == b.left() && a.right() == b.right();
                                     });
        open.count += open.lastIsOpen;
    }
    return open;
}

/// What is wrong with the order of a list; empty when it is banded.
inline std::string orderProblem(const Rects &list)
{
    std::ostringstream problem;
    for (std::size_t i = 0; i < list.size() && problem.str().empty(); ++i) {
        const ZkRect &r = list[i];
        if (!r.isValid()) {
            problem << r << " is invalid";
        }
        if (i == 0) {
            continue;
        }
        const ZkRect &before = list[i - 1];
        const bool sameBand = before.top() == r.top();
        if (sameBand && (before.bottom() != r.bottom() || before.right() + 1 >= r.left())) {
            problem << before << ' ' << r << " in one band";
        }
        if (!sameBand && before.bottom() >= r.top()) {
            problem << before << ' ' << r << " overlap in y";
        }
    }
    return problem.str();
}

/// What is wrong with a region; empty when everything holds that holds for any
/// region at any time.
inline std::string problemOf(const ZkRegion &region, int looseness)
{
    const Rects list = rawList(region);
    if (region.rectCount() != static_cast<int>(list.size()) || region.isEmpty() != list.empty()) {
        return "the counts disagree";
    }
    if (list.empty()) {
        return region.boundingRect() == ZkRect(0, 0, -1, -1) ? "" : "an empty region has bounds";
    }
    const std::string order = orderProblem(list);
    if (!order.empty()) {
        return order;
    }
    const OpenSeams open = openSeamsOf(list);
    if (open.count != 0 && !(looseness & MayHaveOpenSeams)) {
        return "bands could be merged";
    }
    const ZkRegion::Record &record = ZkInspector::record(region);
    const ZkSeams seams = record.knownSeams();
    if ((seams == ZkSeams::Closed && open.count != 0) ||
        (seams == ZkSeams::ClosedButLast && open.count - open.lastIsOpen != 0)) {
        return "the record is wrong about its open seams";
    }
    const ZkRect bounds = boundsOf(list);
    if ((looseness & MayHaveWideBounds) ? !record.extents.contains(bounds)
                                        : record.extents != bounds) {
        std::ostringstream problem;
        problem << "bounds " << record.extents << " instead of " << bounds;
        return problem.str();
    }
    if (record.region != &record || record.ref < 1 || (record.inVector & ~1) != 0 ||
        (!record.inVector && record.numRects != 1) ||
        (record.inVector && record.rects.size() < record.numRects)) {
        return "the record's fields do not fit together";
    }
    return "";
}

/// What is wrong with the inner rectangle: it must lie on the region's pixels, and
/// its area must be right.
inline std::string innerProblem(const ZkRegion &region, const Board &pixels)
{
    const ZkRegion::Record &record = ZkInspector::record(region);
    const ZkRect &inner = record.innerRect;
    std::ostringstream problem;
    for (int y = inner.top(); y <= inner.bottom(); ++y) {
        const std::uint64_t columns = Board::columns(inner.left(), inner.right());
        if ((pixels.row(y) & columns) != columns) {
            problem << inner << " sticks out in row " << y << ". ";
        }
    }
    const int area = inner.isValid() ? inner.width() * inner.height() : 0;
    if (record.innerArea != area) {
        problem << "area " << record.innerArea << " of " << inner;
    }
    return problem.str();
}

} // namespace regionmodel

#endif
