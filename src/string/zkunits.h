#ifndef ZKUNITS_H
#define ZKUNITS_H

#include "zkglobal.h"

#include <cstring>

/// Copies `n` units between ranges that do not overlap. With no units either
/// address may be null.
inline void zkCopyUnits(ZkUcs2 *to, const ZkUcs2 *from, int n)
{
    if (n > 0) {
        std::memcpy(to, from, static_cast<std::size_t>(n) * sizeof(ZkUcs2));
    }
}

/// The same for ranges that may overlap.
inline void zkMoveUnits(ZkUcs2 *to, const ZkUcs2 *from, int n)
{
    if (n > 0) {
        std::memmove(to, from, static_cast<std::size_t>(n) * sizeof(ZkUcs2));
    }
}

#endif
