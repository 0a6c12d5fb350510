#ifndef ZKLANES_H
#define ZKLANES_H

/// Eight units side by side, where the processor that the library is built for
/// is sure to have vector instructions. Each header below defines the same class
/// `ZkLanes`; ZK_HAS_LANES is 0 where there is none, and the sources fall back
/// to words and single units.

#if defined(__SSE2__)
#    include "base/zklanessse2.h"
#    define ZK_HAS_LANES 1
#elif defined(__ARM_NEON) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#    include "base/zklanesneon.h"
#    define ZK_HAS_LANES 1
#else
#    define ZK_HAS_LANES 0
#endif

#endif
