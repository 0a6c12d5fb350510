#include "base/zklanes.h"
#include "base/zkneon.h"
#include "string/zkfind.h"
#include "string/zkscan.h"

#include <algorithm>

#if !ZK_HAS_LANES

namespace
{

// Beyond these lengths the table of skips is worth setting up.
constexpr int kLongHaystack = 500;
constexpr int kShortNeedle = 5;

// What an entry of the table of skips can say.
constexpr int kLongestSkip = 255;

/// The texts of a search as they stand.
struct Exact {
    static ZkUcs2 unit(const ZkUcs2 *text, int i) { return text[i]; }
    static bool equal(const ZkUcs2 *h, int at, const ZkUcs2 *n, int nl)
    {
        return zkEqualExact(h + at, n, nl);
    }
};

/// The texts of a search without regard to case.
struct Folded {
    static ZkUcs2 unit(const ZkUcs2 *text, int i) { return zkFoldedAt(text, i); }
    static bool equal(const ZkUcs2 *h, int at, const ZkUcs2 *n, int nl)
    {
        return zkEqualFolded(h, at, n, nl);
    }
};

/// One place after the other, sifted by the needle's first and last unit.
template <typename Text>
int scanShort(const ZkUcs2 *h, int hl, int from, const ZkUcs2 *n, int nl)
{
    const ZkUcs2 first = Text::unit(n, 0);
    const ZkUcs2 last = Text::unit(n, nl - 1);
    for (int at = from; at <= hl - nl; ++at) {
        if (Text::unit(h, at) == first && Text::unit(h, at + nl - 1) == last &&
            Text::equal(h, at, n, nl)) {
            return at;
        }
    }
    return -1;
}

/// Skips by the low byte of the unit under the needle's end. A byte of the needle
/// allows the distance of its last place to the end, any other the whole needle;
/// of a needle longer than the longest skip only the end is entered.
template <typename Text>
int scanLong(const ZkUcs2 *h, int hl, int from, const ZkUcs2 *n, int nl)
{
    unsigned char skips[256];
    const int entered = std::min(nl, kLongestSkip);
    std::fill_n(skips, 256, static_cast<unsigned char>(entered));
    for (int i = nl - entered; i < nl; ++i) {
        skips[Text::unit(n, i) & 0xFF] = static_cast<unsigned char>(nl - 1 - i);
    }
    for (int end = from + nl - 1; end < hl;) {
        const int skip = skips[Text::unit(h, end) & 0xFF];
        if (skip == 0 && Text::equal(h, end - (nl - 1), n, nl)) {
            return end - (nl - 1);
        }
        end += std::min(std::max(skip, 1), hl - end);
    }
    return -1;
}

template <typename Text>
int scan(const ZkUcs2 *h, int hl, int from, const ZkUcs2 *n, int nl)
{
    return hl > kLongHaystack && nl > kShortNeedle ? scanLong<Text>(h, hl, from, n, nl)
                                                   : scanShort<Text>(h, hl, from, n, nl);
}

} // namespace

int zkScanUnits(const ZkUcs2 *h, int hl, int from, const ZkFoldClass &units)
{
    if constexpr (kZkChoosesNeon) {
        if (zkHasNeon()) {
            return zkScanUnitsNeon(h, hl, from, units);
        }
    }
    const ZkUcs2 *end = h + hl;
    const ZkUcs2 *found = std::find_first_of(h + from, end, units.units, units.units + units.count);
    return found == end ? -1 : static_cast<int>(found - h);
}

int zkScanExact(const ZkUcs2 *h, int hl, int from, const ZkUcs2 *n, int nl)
{
    if constexpr (kZkChoosesNeon) {
        if (zkHasNeon()) {
            return zkScanExactNeon(h, hl, from, n, nl);
        }
    }
    return scan<Exact>(h, hl, from, n, nl);
}

int zkScanFolded(const ZkUcs2 *h, int hl, int from, const ZkUcs2 *n, int nl)
{
    if constexpr (kZkChoosesNeon) {
        if (zkHasNeon()) {
            return zkScanFoldedNeon(h, hl, from, n, nl);
        }
    }
    return scan<Folded>(h, hl, from, n, nl);
}

#endif
