#ifndef ZKBIGINT_H
#define ZKBIGINT_H

#include <cstdint>

/// A natural number of up to 3072 bits on the stack: what the conversions
/// between doubles and text fall back on when 192 bits do not settle a rounding.
///
/// The largest numbers needed are 769 decimal digits (2555 bits) and what they
/// are compared with, a 54-bit mantissa times 5^1093 (2592 bits), which a shift
/// makes as long as each other.
class ZkBigInt
{
public:
    explicit ZkBigInt(std::uint64_t value);

    bool isZero() const { return m_size == 0; }

    /// -1, 0 or 1 as this is below, equal to or above `other`.
    int compare(const ZkBigInt &other) const;

    /// Multiplies by `factor` and adds `addend`.
    void multiplyAdd(std::uint32_t factor, std::uint32_t addend);

    /// Multiplies by 5^power; `power` is not negative.
    void multiplyPowerOfFive(int power);

    /// Multiplies by 2^bits; `bits` is not negative.
    void shiftLeft(int bits);

    /// How many bits to shift left so that the top bit of the top limb is set.
    int bitsToNormal() const;

    /// Divides by `divisor`, leaves the remainder here and returns the quotient,
    /// which is below 10^9. The divisor is normal (`bitsToNormal` 0).
    std::uint32_t divide(const ZkBigInt &divisor);

private:
    static constexpr int kLimbs = 96;

    void dropZeros();

    int m_size;                    // limbs in use; the top one is not 0
    std::uint32_t m_limbs[kLimbs]; // lowest first; only those in use are set
};

#endif
