#ifndef ZKALIGNED_H
#define ZKALIGNED_H

#include "zkglobal.h"

#include <algorithm>
#include <cstdlib>

/// Memory at a multiple of an alignment that the allocator does not promise. The address
/// of the raw memory stands in the word before it, which is inside that memory: raw
/// addresses are multiples of a word, so the gap is at least one.

/// Up to this alignment the allocator's own is enough.
constexpr int kZkAllocatorAlignment = 8;

/// Where the address of the raw memory is kept.
inline void *&zkRawAddress(void *aligned)
{
    return static_cast<void **>(aligned)[-1];
}

/// The multiple of `alignment`, a power of two, in raw + 1 .. raw + alignment.
inline char *zkAlignedIn(void *raw, int alignment)
{
    const auto end = reinterpret_cast<std::uintptr_t>(raw) + static_cast<unsigned>(alignment);
    const auto past = static_cast<int>(end % static_cast<unsigned>(alignment));
    return static_cast<char *>(raw) + (alignment - past);
}

/// `bytes` at a multiple of `alignment` and of a word; never null.
inline char *zkAllocateAligned(std::int64_t bytes, int alignment)
{
    alignment = std::max(alignment, static_cast<int>(sizeof(void *)));
    void *raw = zkAllocate(bytes + alignment);
    char *aligned = zkAlignedIn(raw, alignment);
    zkRawAddress(aligned) = raw;
    return aligned;
}

inline void zkFreeAligned(void *aligned)
{
    std::free(zkRawAddress(aligned));
}

#endif
