#include "base/zklanes.h"
#include "base/zkneon.h"
#include "string/zkfind.h"
#include "string/zkscan.h"

#include <algorithm>

#if ZK_HAS_LANES

namespace
{

/// Calls `accept` with the index of each lane in `mask`, the first of which stands
/// for `p`, until it returns true; returns that index or -1.
template <typename Accept>
inline int firstAccepted(int p, ZkLanes::Mask mask, Accept accept)
{
    for (; mask != 0; mask = ZkLanes::withoutLowest(mask)) {
        if (const int at = p + ZkLanes::lowest(mask); accept(at)) {
            return at;
        }
    }
    return -1;
}

/// Calls `accept` with each index of `from` to `last` whose lane is set in
/// `found(index of the first lane)`, in ascending order (an index may come twice),
/// until it returns true; returns that index or -1. At least one vector of
/// indices must fit.
template <typename Found, typename Accept>
inline int scanLanes(int from, int last, Found found, Accept accept)
{
    constexpr int kCount = ZkLanes::kCount;
    int p = from;
    for (; last - p >= 2 * kCount - 1; p += 2 * kCount) {
        const ZkLanes low = found(p);
        const ZkLanes high = found(p + kCount);
        if ((low | high).any()) {
            int at = firstAccepted(p, low.mask(), accept);
            if (at != -1 || (at = firstAccepted(p + kCount, high.mask(), accept)) != -1) {
                return at;
            }
        }
    }
    for (; p <= last; p += kCount) {
        // The last step looks at the last whole vector, part of it again.
        p = std::min(p, last - (kCount - 1));
        if (const int at = firstAccepted(p, found(p).mask(), accept); at != -1) {
            return at;
        }
    }
    return -1;
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

/// The units of one folding, each in all lanes; unused places repeat the first.
struct ClassLanes {
    explicit ClassLanes(const ZkFoldClass &units)
    {
        for (int i = 0; i < 4; ++i) {
            lanes[i] = ZkLanes::all(units.units[i < units.count ? i : 0]);
        }
    }

    ZkLanes contains(ZkLanes units) const
    {
        return ((units == lanes[0]) | (units == lanes[1])) |
               ((units == lanes[2]) | (units == lanes[3]));
    }

    ZkLanes lanes[4];
};

/// The same and all low surrogates, which may be equal to such a unit too.
struct SurrogateLanes {
    explicit SurrogateLanes(const ZkFoldClass &units)
        : others(units), bits(ZkLanes::all(0xFC00)), low(ZkLanes::all(0xDC00))
    {
    }

    ZkLanes contains(ZkLanes units) const
    {
        return others.contains(units) | ((units & bits) == low);
    }

    ClassLanes others;
    ZkLanes bits, low;
};

bool isLowSurrogate(ZkUcs2 unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

/// By what a small letter of ASCII differs from its capital.
constexpr unsigned kCaseBit = 0x20;

/// Whether no character but its capital and itself folds as `c` does, and the two
/// differ in the case bit at most. The Kelvin sign folds to 'k', the long s to 's'.
bool isPlain(ZkUcs2 c)
{
    return c < 0x80 && (c | kCaseBit) != 'k' && (c | kCaseBit) != 's';
}

/// All lanes of a plain unit and of what its capital differs by.
struct PlainLanes {
    explicit PlainLanes(ZkUcs2 c)
    {
        const bool isLetter = (c | kCaseBit) - 'a' < 26U;
        bit = ZkLanes::all(isLetter ? kCaseBit : 0);
        small = ZkLanes::all(zkFoldedAscii(c));
    }

    ZkLanes contains(ZkLanes units) const { return (units | bit) == small; }

    ZkLanes bit, small;
};

/// Sifts the places of `from` to `last` by what stands `a` and `b` units behind.
template <typename Lanes, typename Matches>
int scanProbes(const ZkUcs2 *h, int from, int last, int a, const Lanes &first, int b,
               const Lanes &second, Matches matches)
{
    return scan(
        from, last,
        [=](int p) {
            return first.contains(ZkLanes::load(h + p + a)) &
                   second.contains(ZkLanes::load(h + p + b));
        },
        matches);
}

/// Searches for a needle without two plain units, which few have.
__attribute__((noinline, cold)) int scanAnyFolded(const ZkUcs2 *h, int hl, int from,
                                                  const ZkUcs2 *n, int nl)
{
    const auto matches = [=](int at) { return zkEqualFolded(h, at, n, nl); };
    // What a low surrogate of the needle folds to depends on the unit before it,
    // in the haystack too: such a unit is no probe.
    int place = 0;
    while (place < nl && isLowSurrogate(n[place])) {
        ++place;
    }
    if (place == nl) {
        return scanSingly(from, hl - nl, matches);
    }
    const int first = place;
    const ZkFoldClass firstUnits = zkUnitsFoldingTo(zkFoldedAt(n, first));
    place = nl - 1;
    while (place > first &&
           (isLowSurrogate(n[place]) || zkFoldedAt(n, place) == firstUnits.units[0])) {
        --place;
    }
    const ZkFoldClass secondUnits = zkUnitsFoldingTo(zkFoldedAt(n, place));
    return zkMayBeFoldedSurrogate(firstUnits.units[0]) ||
                   zkMayBeFoldedSurrogate(secondUnits.units[0])
               ? scanProbes(h, from, hl - nl, first, SurrogateLanes(firstUnits), place,
                            SurrogateLanes(secondUnits), matches)
               : scanProbes(h, from, hl - nl, first, ClassLanes(firstUnits), place,
                            ClassLanes(secondUnits), matches);
}

} // namespace

int ZK_VARIANT(zkScanUnits)(const ZkUcs2 *h, int hl, int from, const ZkFoldClass &units)
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

int ZK_VARIANT(zkScanExact)(const ZkUcs2 *h, int hl, int from, const ZkUcs2 *n, int nl)
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

int ZK_VARIANT(zkScanFolded)(const ZkUcs2 *h, int hl, int from, const ZkUcs2 *n, int nl)
{
    int first = 0;
    int second = nl - 1;
    while (first < second && !isPlain(n[first])) {
        ++first;
    }
    while (second > first &&
           (!isPlain(n[second]) || (n[second] | kCaseBit) == (n[first] | kCaseBit))) {
        --second;
    }
    return first < second ? scanProbes(h, from, hl - nl, first, PlainLanes(n[first]), second,
                                       PlainLanes(n[second]),
                                       [=](int at) { return zkEqualFolded(h, at, n, nl); })
                          : scanAnyFolded(h, hl, from, n, nl);
}

#endif
