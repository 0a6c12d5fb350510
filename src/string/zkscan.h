#ifndef ZKSCAN_H
#define ZKSCAN_H

#include "string/zkunicodetables.h"

#include <cstring>

/// The scans behind every search, written once with vector lanes
/// (zkscanlanes.cpp) and once without (zkscanplain.cpp); the build takes one, or both
/// (base/zkneon.h).
/// A range is given by its start and length; -1 means "not found".

/// The first index of `from` to hl - 1 that holds one of `units`.
int zkScanUnits(const ZkUcs2 *h, int hl, int from, const ZkFoldClass &units);

/// The first index from `from` on where the `nl` units of `n` stand.
/// 0 <= from, 1 <= nl, from + nl <= hl.
int zkScanExact(const ZkUcs2 *h, int hl, int from, const ZkUcs2 *n, int nl);

/// The same without regard to case.
int zkScanFolded(const ZkUcs2 *h, int hl, int from, const ZkUcs2 *n, int nl);

/// The first three for processors with NEON, where that is found out at run time.
int zkScanUnitsNeon(const ZkUcs2 *h, int hl, int from, const ZkFoldClass &units);
int zkScanExactNeon(const ZkUcs2 *h, int hl, int from, const ZkUcs2 *n, int nl);
int zkScanFoldedNeon(const ZkUcs2 *h, int hl, int from, const ZkUcs2 *n, int nl);

/// Folds a character of ASCII without a look into the table.
inline ZkUcs2 zkFoldedAscii(unsigned c)
{
    return static_cast<ZkUcs2>(c - 'A' < 26 ? c + 0x20 : c);
}

/// Unit `i` of a text, folded. A low surrogate is paired with the unit before it
/// in the whole text, whichever part of the text is being compared.
inline ZkUcs2 zkFoldedAt(const ZkUcs2 *text, int i)
{
    const ZkUcs2 c = text[i];
    return c < 0x80 ? zkFoldedAscii(c) : i > 0 ? zkFoldedBehind(text[i - 1], c) : zkFolded(c);
}

inline bool zkEqualExact(const ZkUcs2 *a, const ZkUcs2 *b, int n)
{
    return std::memcmp(a, b, static_cast<std::size_t>(n) * sizeof(ZkUcs2)) == 0;
}

#endif
