#ifndef ZKPOWERS_H
#define ZKPOWERS_H

#include "zkwide.h"

/// Powers of ten for the conversions between doubles and text. Private to the
/// number conversions.

/// 10^k lies in [mantissa, mantissa + error) * 2^exponent; the mantissa's top bit
/// is set. An `error` of 0 means that the mantissa is exact.
struct ZkPower {
    ZkWide mantissa;
    int exponent;
    int error;
};

/// The powers that can be asked for: every one that a double needs with up to
/// 19 decimal digits beside it.
constexpr int kZkLowestPower = -364, kZkHighestPower = 363;

/// 10^k. `k` is in kZkLowestPower..kZkHighestPower; the error is at most 3.
ZkPower zkPowerOfTen(int k);

/// 5^k for k in 0..27, the powers that 64 bits hold.
extern const std::uint64_t kZkPowersOfFive[28];

/// 10^k for k in 0..19, the powers that 64 bits hold.
inline std::uint64_t zkSmallPowerOfTen(int k)
{
    return kZkPowersOfFive[k] << k;
}

#endif
