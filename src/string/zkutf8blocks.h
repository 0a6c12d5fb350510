#ifndef ZKUTF8BLOCKS_H
#define ZKUTF8BLOCKS_H

#include "base/zklanes.h"
#include "base/zkneon.h"
#include "zkglobal.h"

#include <cstddef>

/// What both directions of the UTF-8 conversion share. With SSE2 there is a class
/// `ZkUtf8Blocks` that converts many characters at once as they come. NEON moves little
/// between its lanes and the other registers without waiting: with it plain words find
/// the way, and whole blocks take over in runs of one kind (zkutf8runs.cpp).

#if defined(__SSE2__)
#    include "string/zkutf8sse2.h"
#    define ZK_HAS_BLOCKS 1
#else
#    define ZK_HAS_BLOCKS 0
#endif

/// Runs, in blocks of 16 characters of ASCII or 8 of three bytes: converts as many whole
/// blocks as begin at `in` and returns the number of characters. Only where
/// `zkHasNeon()`; `n` counts what is there to read.
std::ptrdiff_t zkWidenAscii(ZkUcs2 *out, const unsigned char *in, std::ptrdiff_t n);
std::ptrdiff_t zkNarrowAscii(unsigned char *out, const ZkUcs2 *in, std::ptrdiff_t n);
std::ptrdiff_t zkDecodeTriples(ZkUcs2 *out, const unsigned char *in, std::ptrdiff_t n);
std::ptrdiff_t zkEncodeTriples(unsigned char *out, const ZkUcs2 *in, std::ptrdiff_t n);

/// A text of 8 to 16 characters, if it is nothing but ASCII.
bool zkWidenFew(ZkUcs2 *out, const unsigned char *in, std::ptrdiff_t n);
bool zkNarrowFew(unsigned char *out, const ZkUcs2 *in, std::ptrdiff_t n);

/// So many words of four characters of ASCII make a run worth looking at.
constexpr int kZkRunWords = 8;

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
