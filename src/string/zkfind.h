#ifndef ZKFIND_H
#define ZKFIND_H

#include "zkglobal.h"

/// Search and comparison of ranges of units, for the members of `ZkString`.

/// The first index at or behind `from` that holds `c`, or -1. A negative `from`
/// counts from the end and stops at 0. Without regard to case each unit is folded
/// alone.
int zkFindUnit(const ZkUcs2 *h, int hl, int from, ZkUcs2 c, Zk::CaseSensitivity cs);

/// By the units: the difference of the first two that differ, else of the lengths.
int zkCompareExact(const ZkUcs2 *a, int la, const ZkUcs2 *b, int lb);

/// By the folded units, else 1 or -1 for the longer range. Null, a text without a
/// buffer, comes behind every other range.
int zkCompareFolded(const ZkUcs2 *a, int la, const ZkUcs2 *b, int lb);

/// Whether the `nl` units of `h` from `at` on fold to the same as those of `n`.
bool zkEqualFolded(const ZkUcs2 *h, int at, const ZkUcs2 *n, int nl);

#endif
