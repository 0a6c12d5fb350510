#include "zkpowers.h"

#include "zkpowertables.h"

namespace
{

// Two tables' cut-offs: below 2 from the coarse entry once the product is
// shifted, below 1 from the product's own. The generator checks each power.
constexpr int kError = 3;

// 5^55 is the last power of five that 128 bits hold.
constexpr int kLastExact = 55;

static_assert(kFirst * kStep == kZkLowestPower, "the tables start at the lowest power");
static_assert((kLast + 1) * kStep - 1 == kZkHighestPower, "the tables end at the highest power");

} // namespace

ZkPower zkPowerOfTen(int k)
{
    const int row = (k - kZkLowestPower) / kStep;
    const int step = (k - kZkLowestPower) % kStep;
    const std::uint64_t fine = kZkPowersOfFive[step] << zkLeadingZeros(kZkPowersOfFive[step]);
    ZkTriple product = zkMultiply(kCoarse[row], fine);
    product = zkShiftLeft(product, zkLeadingZeros(product.high)); // by 0 or 1
    // 217706 / 2^16 is log2(10) closely enough for the floor of every k here.
    const int exponent = (k * 217706 >> 16) - 127;
    return {{product.high, product.middle}, exponent, k >= 0 && k <= kLastExact ? 0 : kError};
}
