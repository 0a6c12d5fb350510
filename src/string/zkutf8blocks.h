#ifndef ZKUTF8BLOCKS_H
#define ZKUTF8BLOCKS_H

#include "base/zklanes.h"

/// What both directions of the UTF-8 conversion share. Where ZK_HAS_LANES is not
/// 0 there is a class `ZkUtf8Blocks` that converts many characters at once.

#if defined(__SSE2__)
#    include "string/zkutf8sse2.h"
#elif ZK_HAS_LANES
#    include "string/zkutf8neon.h"
#endif

/// Shorter texts are not looked at in blocks.
constexpr int kZkUtf8Block = 16;

/// The two 16-bit halves of a word as a little-endian machine reads them: the
/// first byte of each in the low bits.
constexpr std::uint32_t zkFirstByteLow(std::uint32_t word)
{
    return __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
               ? word
               : (word & 0x00FF00FF) << 8 | (word >> 8 & 0x00FF00FF);
}

#endif
