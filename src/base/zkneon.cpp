#include "base/zkneon.h"

#if defined(ZK_CHOOSES_NEON)

#    include <asm/hwcap.h>
#    include <sys/auxv.h>

namespace
{

enum : unsigned char { Unknown, Lacks, Has };

// Two threads that ask first find the same.
unsigned char answer = Unknown;

} // namespace

bool zkHasNeon()
{
    unsigned char known = __atomic_load_n(&answer, __ATOMIC_RELAXED);
    if (known == Unknown) {
        known = (getauxval(AT_HWCAP) & HWCAP_NEON) != 0 ? Has : Lacks;
        __atomic_store_n(&answer, known, __ATOMIC_RELAXED);
    }
    return known == Has;
}

#endif
