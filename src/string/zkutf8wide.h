#ifndef ZKUTF8WIDE_H
#define ZKUTF8WIDE_H

#include "zkglobal.h"

/// UTF-8 in blocks of 64 bytes, for processors of x86-64 that gather bytes and units by a
/// mask (AVX-512 VBMI2). The library is built for all, and asks.

#if defined(__x86_64__)
#    define ZK_CHOOSES_WIDE 1
constexpr bool kZkMayBeWide = true;
#else
#    define ZK_CHOOSES_WIDE 0
constexpr bool kZkMayBeWide = false;
#endif

/// Whether this processor has the instructions, as far as `kZkMayBeWide`. All below
/// may be called only then.
bool zkIsWide();

/// Shorter texts are not worth it.
constexpr int kZkWideBlock = 128;

/// Decodes whole blocks as long as they have only whole sequences of one to three bytes.
/// A character begins at `*in`; both pointers move behind what is done. Behind each unit
/// as many are written as there are bytes left to read.
void zkDecodeWide(ZkUcs2 **out, const unsigned char **in, const unsigned char *end);

/// Encodes whole blocks, all but the last units. Less is written than three bytes for
/// each unit make.
void zkEncodeWide(unsigned char **out, const ZkUcs2 **in, const ZkUcs2 *end);

#endif
