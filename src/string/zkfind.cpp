#include "string/zkfind.h"
#include "string/zkscan.h"
#include "zkstring.h"

#include <algorithm>

namespace
{

/// The index of the first two units that differ, or `n`.
int firstDifference(const ZkUcs2 *a, const ZkUcs2 *b, int n)
{
    constexpr int kWordUnits = sizeof(std::uintptr_t) / sizeof(ZkUcs2);
    int i = 0;
    for (; n - i >= kWordUnits; i += kWordUnits) {
        std::uintptr_t left;
        std::uintptr_t right;
        std::memcpy(&left, a + i, sizeof left);
        std::memcpy(&right, b + i, sizeof right);
        if (left != right) {
            break;
        }
    }
    while (i < n && a[i] == b[i]) {
        ++i;
    }
    return i;
}

} // namespace

int zkFindUnit(const ZkUcs2 *h, int hl, int from, ZkUcs2 c, Zk::CaseSensitivity cs)
{
    const int start = from < 0 ? std::max(from + hl, 0) : from;
    if (start >= hl) {
        return -1;
    }
    return zkScanUnits(h, hl, start,
                       cs == Zk::CaseSensitive ? ZkFoldClass{1, {c}}
                                               : zkUnitsFoldingTo(zkFolded(c)));
}

int zkFindString(const ZkUcs2 *haystack, int haystackLen, int from, const ZkUcs2 *needle,
                 int needleLen, Zk::CaseSensitivity cs)
{
    const int hl = haystack == nullptr ? 0 : std::max(haystackLen, 0);
    const int nl = needle == nullptr ? 0 : std::max(needleLen, 0);
    const int start = from < 0 ? from + hl : from;
    if (nl == 1) {
        return zkFindUnit(haystack, hl, std::max(start, 0), needle[0], cs);
    }
    // An empty needle is found where the search begins, even below 0.
    return nl == 0 && start < 0 ? start
                                : zkFindStringBoyerMoore(haystack, hl, start, needle, nl, cs);
}

int zkFindStringBoyerMoore(const ZkUcs2 *haystack, int haystackLen, int from, const ZkUcs2 *needle,
                           int needleLen, Zk::CaseSensitivity cs)
{
    const int hl = haystack == nullptr ? 0 : std::max(haystackLen, 0);
    const int nl = needle == nullptr ? 0 : std::max(needleLen, 0);
    const int start = std::max(from, 0);
    if (static_cast<std::int64_t>(start) + nl > hl) {
        return -1;
    }
    if (nl == 0) {
        return start;
    }
    return cs == Zk::CaseSensitive ? zkScanExact(haystack, hl, start, needle, nl)
                                   : zkScanFolded(haystack, hl, start, needle, nl);
}

bool zkEqualFolded(const ZkUcs2 *h, int at, const ZkUcs2 *n, int nl)
{
    for (int i = 0; i < nl; ++i) {
        const unsigned a = h[at + i];
        const unsigned b = n[i];
        // The usual: the same letter of ASCII, capital or not.
        const bool isLetter = (a | 0x20) - 'a' < 26; // no test can tell: the look-up says so too
        if (isLetter && (a | 0x20) == (b | 0x20)) {
            continue;
        }
        if (zkFoldedAt(h, at + i) != zkFoldedAt(n, i)) {
            return false;
        }
    }
    return true;
}

int zkCompareExact(const ZkUcs2 *a, int la, const ZkUcs2 *b, int lb)
{
    const int common = std::min(la, lb);
    const int i = a == b ? common : firstDifference(a, b, common);
    return i < common ? a[i] - b[i] : la - lb;
}

int zkCompareFolded(const ZkUcs2 *a, int la, const ZkUcs2 *b, int lb)
{
    if (a == b) {
        return la - lb;
    }
    // A text without a buffer comes behind every other one here, while the exact
    // comparison has it in front with the rest of the empty ones.
    if (a == nullptr || b == nullptr) {
        return a == nullptr ? 1 : -1;
    }
    for (int i = 0; i < std::min(la, lb); ++i) {
        if (const int difference = zkFoldedAt(a, i) - zkFoldedAt(b, i)) {
            return difference;
        }
    }
    return (la > lb) - (la < lb);
}
