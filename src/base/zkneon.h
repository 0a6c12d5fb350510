#ifndef ZKNEON_H
#define ZKNEON_H

/// NEON on 32-bit ARM. A library that is built for processors with it uses it at once
/// (ZK_HAS_LANES). One built for ARM that may lack it, as Debian's is, has some sources
/// compiled for NEON beside the plain ones, and asks the processor. Those define nothing
/// that others may define too, no template instance and no inline function of a shared
/// header: the linker could take the one with NEON for all.

#if defined(ZK_CHOOSES_NEON)
constexpr bool kZkChoosesNeon = true, kZkMayHaveNeon = true;

/// Whether this processor has NEON.
bool zkHasNeon();

#elif defined(__ARM_NEON)
constexpr bool kZkChoosesNeon = false, kZkMayHaveNeon = true;
constexpr bool zkHasNeon()
{
    return true;
}

#else
constexpr bool kZkChoosesNeon = false, kZkMayHaveNeon = false;
constexpr bool zkHasNeon()
{
    return false;
}
#endif

/// The name of a function in a source that is compiled both ways: zkThing, and in the
/// second zkThingNeon.
#if defined(ZK_NEON_VARIANT)
#    define ZK_VARIANT(name) name##Neon
constexpr bool kZkIsNeonVariant = true;
#else
#    define ZK_VARIANT(name) name
constexpr bool kZkIsNeonVariant = false;
#endif

#endif
