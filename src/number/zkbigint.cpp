#include "number/zkbigint.h"

#include "number/zkpowers.h"

#include <algorithm>
#include <cstring>

ZkBigInt::ZkBigInt(std::uint64_t value) : m_size(2)
{
    m_limbs[0] = static_cast<std::uint32_t>(value);
    m_limbs[1] = static_cast<std::uint32_t>(value >> 32);
    dropZeros();
}

int ZkBigInt::compare(const ZkBigInt &other) const
{
    if (m_size != other.m_size) {
        return m_size < other.m_size ? -1 : 1;
    }
    for (int i = m_size - 1; i >= 0; --i) {
        if (m_limbs[i] != other.m_limbs[i]) {
            return m_limbs[i] < other.m_limbs[i] ? -1 : 1;
        }
    }
    return 0;
}

void ZkBigInt::multiplyAdd(std::uint32_t factor, std::uint32_t addend)
{
    std::uint64_t carry = addend;
    for (int i = 0; i < m_size; ++i) {
        carry += static_cast<std::uint64_t>(m_limbs[i]) * factor;
        m_limbs[i] = static_cast<std::uint32_t>(carry);
        carry >>= 32;
    }
    if (carry != 0) {
        m_limbs[m_size++] = static_cast<std::uint32_t>(carry);
    }
}

void ZkBigInt::multiplyPowerOfFive(int power)
{
    constexpr int kStep = 13; // 5^13 is the last power in 32 bits
    for (int left = power; left > 0; left -= kStep) {
        const int step = std::min(left, kStep);
        multiplyAdd(static_cast<std::uint32_t>(zkSmallPowerOfTen(step) >> step), 0);
    }
}

void ZkBigInt::shiftLeft(int bits)
{
    if (m_size == 0) {
        return;
    }
    const int limbs = bits / 32, rest = bits % 32;
    std::uint32_t carry = 0;
    if (rest != 0) {
        for (int i = 0; i < m_size; ++i) {
            const std::uint32_t limb = m_limbs[i];
            m_limbs[i] = limb << rest | carry;
            carry = limb >> (32 - rest);
        }
    }
    if (carry != 0) {
        m_limbs[m_size++] = carry;
    }
    if (limbs != 0) {
        std::memmove(m_limbs + limbs, m_limbs, static_cast<unsigned>(m_size) * sizeof m_limbs[0]);
        std::memset(m_limbs, 0, static_cast<unsigned>(limbs) * sizeof m_limbs[0]);
        m_size += limbs;
    }
}

int ZkBigInt::bitsToNormal() const
{
    return m_size == 0 ? 0 : __builtin_clz(m_limbs[m_size - 1]);
}

std::uint32_t ZkBigInt::divide(const ZkBigInt &divisor)
{
    const int top = divisor.m_size;
    if (m_size < top) {
        return 0;
    }
    if (m_size == top) {
        m_limbs[m_size++] = 0;
    }
    // The quotient of the leading limbs is at most 2 too large, because the
    // divisor is normal; each excess is found as a borrow and added back.
    const std::uint64_t leading = static_cast<std::uint64_t>(m_limbs[top]) << 32 | m_limbs[top - 1];
    std::uint32_t quotient = static_cast<std::uint32_t>(leading / divisor.m_limbs[top - 1]);
    std::uint64_t carry = 0, borrow = 0;
    for (int i = 0; i < top; ++i) {
        carry += static_cast<std::uint64_t>(divisor.m_limbs[i]) * quotient;
        const std::uint64_t difference =
            static_cast<std::uint64_t>(m_limbs[i]) - static_cast<std::uint32_t>(carry) - borrow;
        m_limbs[i] = static_cast<std::uint32_t>(difference);
        borrow = difference >> 63;
        carry >>= 32;
    }
    std::uint32_t high = static_cast<std::uint32_t>(m_limbs[top] - carry - borrow);
    while (high != 0) { // all ones, or one less: the remainder is negative
        --quotient;
        carry = 0;
        for (int i = 0; i < top; ++i) {
            carry += static_cast<std::uint64_t>(m_limbs[i]) + divisor.m_limbs[i];
            m_limbs[i] = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        high += static_cast<std::uint32_t>(carry);
    }
    m_size = top;
    dropZeros();
    return quotient;
}

void ZkBigInt::dropZeros()
{
    while (m_size > 0 && m_limbs[m_size - 1] == 0) {
        --m_size;
    }
}
