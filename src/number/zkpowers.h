#ifndef ZKPOWERS_H
#define ZKPOWERS_H

#include "number/zkwide.h"

/// Powers of ten for the conversions between doubles and text. Private to the
/// number conversions.

/// 10^k lies in [mantissa, mantissa + error) * 2^exponent; the mantissa has 127 or
/// 128 bits. An `error` of 0 means that it is exact.
struct ZkPower {
    ZkWide mantissa;
    int exponent;
    int error;
};

// The tables behind them: 128 bits of 10^(28 i), cut off, and 64 bits of 10^r for
// r below 28, which are exact.
constexpr int kZkPowerStep = 28;
extern const ZkWide kZkCoarsePowers[26];
extern const std::uint64_t kZkFinePowers[kZkPowerStep];

/// The powers that can be asked for: every one that a double needs with up to
/// 19 decimal digits beside it.
constexpr int kZkLowestPower = -13 * kZkPowerStep;
constexpr int kZkHighestPower = 13 * kZkPowerStep - 1;

/// The exponent of the top bit of 10^k: 217706 / 2^16 is log2(10) closely enough.
constexpr int zkPowerExponent(int k)
{
    return k * 217706 >> 16;
}

/// 10^k. `k` is in kZkLowestPower..kZkHighestPower.
inline ZkPower zkPowerOfTen(int k)
{
    // 5^54 is the last power of five that is sure of its place. Below 1 is lost with
    // the coarse power and below 1 with the product; the tables' generator checks
    // each k.
    constexpr int kLastExact = 54, kError = 2;
    const int row = (k - kZkLowestPower) / kZkPowerStep;
    const int step = (k - kZkLowestPower) % kZkPowerStep;
    const ZkTriple product = zkMultiply(kZkCoarsePowers[row], kZkFinePowers[step]);
    const int exponent = zkPowerExponent(k - step) + zkPowerExponent(step) - 126;
    return {{product.high, product.middle}, exponent, k >= 0 && k <= kLastExact ? 0 : kError};
}

/// The high word of the mantissa of 10^k, found with half the work; it may be one
/// too small. Its exponent is 64 more than that of `zkPowerOfTen`.
struct ZkRoughPower {
    std::uint64_t mantissa;
    int exponent;
};
inline ZkRoughPower zkRoughPowerOfTen(int k)
{
    const int row = (k - kZkLowestPower) / kZkPowerStep;
    const int step = (k - kZkLowestPower) % kZkPowerStep;
    const std::uint64_t high = zkMultiply(kZkCoarsePowers[row].high, kZkFinePowers[step]).high;
    return {high, zkPowerExponent(k - step) + zkPowerExponent(step) - 62};
}

/// 10^k for k in 0..19, the powers that 64 bits hold.
inline std::uint64_t zkSmallPowerOfTen(int k)
{
    return kZkFinePowers[k] >> (63 - zkPowerExponent(k));
}

#endif
