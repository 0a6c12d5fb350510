#ifndef ZKWIDE_H
#define ZKWIDE_H

#include <cstdint>

/// 64-bit arithmetic that needs twice the width, for machines with and without a
/// 128-bit type. Private to the number conversions.

struct ZkWide {
    std::uint64_t high;
    std::uint64_t low;
};

/// The full product of two 64-bit numbers.
#if defined(__SIZEOF_INT128__)
inline ZkWide zkMultiply(std::uint64_t a, std::uint64_t b)
{
    __extension__ typedef unsigned __int128 Product;
    const Product product = static_cast<Product>(a) * b;
    return {static_cast<std::uint64_t>(product >> 64), static_cast<std::uint64_t>(product)};
}
#else
inline ZkWide zkMultiply(std::uint64_t a, std::uint64_t b)
{
    const std::uint32_t a1 = static_cast<std::uint32_t>(a >> 32),
                        a0 = static_cast<std::uint32_t>(a);
    const std::uint32_t b1 = static_cast<std::uint32_t>(b >> 32),
                        b0 = static_cast<std::uint32_t>(b);
    const std::uint64_t low = static_cast<std::uint64_t>(a0) * b0;
    // Neither sum overflows: (2^32 - 1)^2 + 2 * (2^32 - 1) is 2^64 - 1.
    const std::uint64_t middle = static_cast<std::uint64_t>(a1) * b0 + (low >> 32);
    const std::uint64_t cross =
        static_cast<std::uint64_t>(a0) * b1 + static_cast<std::uint32_t>(middle);
    const std::uint64_t high = static_cast<std::uint64_t>(a1) * b1 + (middle >> 32) + (cross >> 32);
    return {high, (cross << 32) | static_cast<std::uint32_t>(low)};
}
#endif

/// A number of 192 bits.
struct ZkTriple {
    std::uint64_t high;
    std::uint64_t middle;
    std::uint64_t low;
};

/// The full product of 128 and 64 bits.
inline ZkTriple zkMultiply(const ZkWide &a, std::uint64_t b)
{
    const ZkWide low = zkMultiply(a.low, b);
    const ZkWide high = zkMultiply(a.high, b);
    const std::uint64_t middle = high.low + low.high;
    return {high.high + (middle < high.low), middle, low.low};
}

/// `value` shifted left by 0 to 63 bits; what leaves it at the top is lost.
inline ZkTriple zkShiftLeft(const ZkTriple &value, int bits)
{
    // Two steps to the right, as a shift by 64 is none.
    // no test can tell: whoever asks leaves a margin of more than what comes into the last bits
    return {value.high << bits | value.middle >> 1 >> (63 - bits),
            value.middle << bits | value.low >> 1 >> (63 - bits), value.low << bits};
}

/// `value / 100000000`, without the library call that a 32-bit machine makes
/// for a 64-bit division. Exact for every value: the multiplier times 10^8
/// exceeds 2^90 by less than 2^26.
inline std::uint64_t zkDivideBy1e8(std::uint64_t value)
{
    return zkMultiply(value, 0xABCC77118461CEFDU).high >> 26;
}

/// The number of zero bits above the highest one. `value` is not 0.
inline int zkLeadingZeros(std::uint64_t value)
{
    return __builtin_clzll(value);
}

#endif
