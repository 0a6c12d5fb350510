#include "zklanes.h"
#include "zkscan.h"

#include <algorithm>

#if ZK_HAS_LANES

namespace
{

/// Calls `accept` with each index of `from` to `last` whose lane is set in
/// `found(index of the first lane)`, in ascending order (an index may come twice),
/// until it returns true; returns that index or -1. At least one vector of
/// indices must fit.
template <typename Found, typename Accept>
inline int scanLanes(int from, int last, Found found, Accept accept)
{
    for (int p = from;; p += ZkLanes::kCount) {
        // The last step looks at the last whole vector, part of it again.
        const bool isLast = p >= last - (ZkLanes::kCount - 1);
        if (isLast) {
            p = last - (ZkLanes::kCount - 1);
        }
        for (ZkLanes::Mask mask = found(p).mask(); mask != 0; mask = ZkLanes::withoutLowest(mask)) {
            if (const int at = p + ZkLanes::lowest(mask); accept(at)) {
                return at;
            }
        }
        if (isLast) {
            return -1;
        }
    }
}

/// The same one index at a time, for less than a vector of them.
template <typename Accept>
inline int scanSingly(int from, int last, Accept accept)
{
    for (int at = from; at <= last; ++at) {
        if (accept(at)) {
            return at;
        }
    }
    return -1;
}

template <typename Found, typename Accept>
inline int scan(int from, int last, Found found, Accept accept)
{
    return last - from < ZkLanes::kCount - 1 ? scanSingly(from, last, accept)
                                             : scanLanes(from, last, found, accept);
}

/// The units of one folding in lanes to compare with; unused places repeat the first.
struct ClassLanes {
    explicit ClassLanes(const ZkFoldClass &units)
        : a(ZkLanes::all(units.units[0])),
          b(ZkLanes::all(units.units[units.count > 1 ? 1 : 0])),
          c(ZkLanes::all(units.units[units.count > 2 ? 2 : 0])),
          d(ZkLanes::all(units.units[units.count > 3 ? 3 : 0]))
    {
    }

    ZkLanes contains(ZkLanes units) const
    {
        return ((units == a) | (units == b)) | ((units == c) | (units == d));
    }

    ZkLanes a, b, c, d;
};

bool isLowSurrogate(ZkUcs2 unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

} // namespace

int zkScanUnits(const ZkUcs2 *h, int hl, int from, const ZkFoldClass &units)
{
    const auto isOneOf = [&](int at) {
        return std::find(units.units, units.units + units.count, h[at]) !=
               units.units + units.count;
    };
    if (units.count == 1) {
        const ZkLanes wanted = ZkLanes::all(units.units[0]);
        return scan(
            from, hl - 1, [&](int p) { return ZkLanes::load(h + p) == wanted; }, isOneOf);
    }
    const ClassLanes wanted(units);
    return scan(
        from, hl - 1, [&](int p) { return wanted.contains(ZkLanes::load(h + p)); }, isOneOf);
}

int zkScanExact(const ZkUcs2 *h, int hl, int from, const ZkUcs2 *n, int nl)
{
    // Two different units of the needle sift the places; the rest is compared
    // where both stand.
    int probe = nl - 1;
    while (probe > 1 && n[probe] == n[0]) {
        --probe;
    }
    const ZkLanes first = ZkLanes::all(n[0]);
    const ZkLanes second = ZkLanes::all(n[probe]);
    return scan(
        from, hl - nl,
        [&](int p) {
            return (ZkLanes::load(h + p) == first) & (ZkLanes::load(h + p + probe) == second);
        },
        [&](int at) { return zkEqualExact(h + at, n, nl); });
}

int zkScanFolded(const ZkUcs2 *h, int hl, int from, const ZkUcs2 *n, int nl)
{
    const auto matches = [&](int at) { return zkEqualFolded(h, at, n, nl); };
    // What a low surrogate folds to depends on its neighbour: such a unit cannot
    // be looked for, and one in the haystack may be anything.
    int probes[2] = {0, nl - 1};
    while (probes[0] < nl && isLowSurrogate(n[probes[0]])) {
        ++probes[0];
    }
    if (probes[0] == nl) {
        return scanSingly(from, hl - nl, matches);
    }
    const ZkUcs2 firstFolded = zkFolded(n[probes[0]]);
    while (probes[1] > probes[0] &&
           (isLowSurrogate(n[probes[1]]) || zkFolded(n[probes[1]]) == firstFolded)) {
        --probes[1];
    }
    const ClassLanes first(zkUnitsFoldingTo(firstFolded));
    const ClassLanes second(zkUnitsFoldingTo(zkFolded(n[probes[1]])));
    const ZkLanes surrogateBits = ZkLanes::all(0xFC00);
    const ZkLanes lowSurrogate = ZkLanes::all(0xDC00);
    const auto mayBe = [&](const ClassLanes &wanted, int p) {
        const ZkLanes units = ZkLanes::load(h + p);
        return wanted.contains(units) | ((units & surrogateBits) == lowSurrogate);
    };
    return scan(
        from, hl - nl,
        [&](int p) { return mayBe(first, p + probes[0]) & mayBe(second, p + probes[1]); }, matches);
}

#endif
