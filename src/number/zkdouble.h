#ifndef ZKDOUBLE_H
#define ZKDOUBLE_H

#include <cstdint>
#include <cstring>

/// The bits of a double. Private to the number conversions.

constexpr int kZkMantissaBits = 52;      // stored; a normal number has one more
constexpr int kZkLowestExponent = -1074; // that of the last bit of a denormal
constexpr std::uint64_t kZkInfinityBits = 0x7FF0000000000000U;

inline std::uint64_t zkBitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

inline double zkDoubleOf(std::uint64_t bits)
{
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

inline bool zkSignOf(double value)
{
    return zkBitsOf(value) >> 63 != 0;
}

inline bool zkIsFinite(double value)
{
    return zkBitsOf(value) << 1 >> 1 < kZkInfinityBits;
}

/// A finite number without its sign: mantissa * 2^exponent.
struct ZkBinary {
    std::uint64_t mantissa; // below 2^53
    int exponent;
};

inline ZkBinary zkBinaryOf(double value)
{
    const std::uint64_t bits = zkBitsOf(value);
    constexpr auto kHidden = std::uint64_t(1) << kZkMantissaBits;
    const std::uint64_t fraction = bits & (kHidden - 1);
    const int biased = static_cast<int>(bits >> kZkMantissaBits & 0x7FF);
    if (biased == 0) {
        return {fraction, kZkLowestExponent};
    }
    return {fraction | kHidden, kZkLowestExponent + biased - 1};
}

#endif
