#include "zkbitarray.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace
{

typedef unsigned char Byte;

// The number of bytes that hold `n` bits.
int bytesFor(int n)
{
    return n / 8 + (n % 8 != 0);
}

// The n % 8 lowest bits: the used ones of a last byte that is not full.
Byte lowBits(int n)
{
    return static_cast<Byte>((1U << (n % 8)) - 1);
}

// `a` with the bits of `mask` taken from `b`.
Byte mixed(Byte a, Byte b, Byte mask)
{
    return static_cast<Byte>((a & ~mask) | (b & mask));
}

// Whether the first `n` bits at `data` are those of bytes that are all `byte`.
bool allAre(const Byte *data, int n, Byte byte)
{
    const int whole = n / 8;
    return std::all_of(data, data + whole, [byte](Byte b) { return b == byte; }) &&
           (n % 8 == 0 || ((data[whole] ^ byte) & lowBits(n)) == 0);
}

// Combines the first `n` bits at `from` into those at `to`.
template <typename Operation>
void combine(Byte *to, const Byte *from, int n, Operation operation)
{
    const int whole = n / 8;
    for (int i = 0; i < whole; ++i) {
        to[i] = static_cast<Byte>(operation(to[i], from[i]));
    }
    if (n % 8 != 0) {
        const Byte last = static_cast<Byte>(operation(to[whole], from[whole]));
        to[whole] = mixed(to[whole], last, lowBits(n));
    }
}

template <typename Operation>
void combineCommon(ZkVector<Byte> &to, int toSize, const ZkVector<Byte> &from, int fromSize,
                   Operation operation)
{
    const int n = std::min(toSize, fromSize);
    if (n > 0) {
        Byte *bytes = to.data(); // detaches: `from` may have been the same block
        combine(bytes, from.constData(), n, operation);
    }
}

// Combines the bytes that both arrays have into the front of `to`, which is all 0. The
// remaining bytes of the longer array are dropped, also by `|`; only the compound
// operators keep them.
template <typename Operation>
void combineBytes(ZkVector<Byte> &to, const ZkVector<Byte> &a, const ZkVector<Byte> &b,
                  Operation operation)
{
    const int n = std::min(a.size(), b.size());
    std::transform(a.begin(), a.begin() + n, b.begin(), to.begin(),
                   [operation](Byte x, Byte y) { return static_cast<Byte>(operation(x, y)); });
}

} // namespace

ZkBitArray::ZkBitArray(int size, bool value)
    : m_bytes(bytesFor(std::max(size, 0)), value ? 0xFF : 0), m_length(std::max(size, 0))
{
}

bool ZkBitArray::isSet(int i) const
{
    return i >= 0 && i < m_length && (constData()[i / 8] >> (i % 8) & 1) != 0;
}

void ZkBitArray::setBit(int i)
{
    if (i >= 0 && i < m_length) {
        m_bytes.data()[i / 8] |= static_cast<Byte>(1U << (i % 8));
    }
}

void ZkBitArray::clearBit(int i)
{
    if (i >= 0 && i < m_length) {
        m_bytes.data()[i / 8] &= static_cast<Byte>(~(1U << (i % 8)));
    }
}

bool ZkBitArray::allSet() const
{
    return allAre(constData(), m_length, 0xFF);
}

bool ZkBitArray::allCleared() const
{
    return allAre(constData(), m_length, 0);
}

ZkBitArray &ZkBitArray::operator|=(const ZkBitArray &other)
{
    combineCommon(m_bytes, m_length, other.m_bytes, other.m_length, std::bit_or<int>());
    return *this;
}

ZkBitArray &ZkBitArray::operator&=(const ZkBitArray &other)
{
    combineCommon(m_bytes, m_length, other.m_bytes, other.m_length, std::bit_and<int>());
    return *this;
}

ZkBitArray &ZkBitArray::operator^=(const ZkBitArray &other)
{
    combineCommon(m_bytes, m_length, other.m_bytes, other.m_length, std::bit_xor<int>());
    return *this;
}

ZkBitArray ZkBitArray::operator|(const ZkBitArray &other) const
{
    ZkBitArray result(std::max(m_length, other.m_length));
    combineBytes(result.m_bytes, m_bytes, other.m_bytes, std::bit_or<int>());
    return result;
}

ZkBitArray ZkBitArray::operator&(const ZkBitArray &other) const
{
    ZkBitArray result(std::max(m_length, other.m_length));
    combineBytes(result.m_bytes, m_bytes, other.m_bytes, std::bit_and<int>());
    return result;
}

ZkBitArray ZkBitArray::operator^(const ZkBitArray &other) const
{
    ZkBitArray result(std::max(m_length, other.m_length));
    combineBytes(result.m_bytes, m_bytes, other.m_bytes, std::bit_xor<int>());
    return result;
}

void ZkBitArray::fromRawBytes(const unsigned char *data, int n)
{
    if (data == nullptr) {
        return;
    }
    n = std::max(n, 0);
    // Bytes of this very array stay readable as long as a second owner keeps them.
    const std::less<const Byte *> before;
    const bool inside = !before(data, m_bytes.cbegin()) && before(data, m_bytes.cend());
    const ZkVector<Byte> keep = inside ? m_bytes : ZkVector<Byte>();

    m_length = n;
    m_bytes.resize(bytesFor(n));
    if (n > 0) {
        std::memcpy(m_bytes.data(), data, static_cast<std::size_t>(m_bytes.size()));
    }
    if (n % 8 != 0) {
        m_bytes.last() &= lowBits(n);
    }
}

void ZkBitArray::toRawBytes(unsigned char *out, int n) const
{
    if (out == nullptr) {
        return;
    }
    if (n < 0 || n > m_length) {
        n = m_length;
    }
    const int whole = n / 8;
    std::memmove(out, constData(), static_cast<std::size_t>(whole)); // `out` may be these bytes
    if (n % 8 != 0) {
        out[whole] = mixed(out[whole], constData()[whole], lowBits(n));
    }
}

bool operator==(const ZkBitArray &a, const ZkBitArray &b)
{
    const int whole = a.m_length / 8;
    return a.m_length == b.m_length &&
           std::memcmp(a.constData(), b.constData(), static_cast<std::size_t>(whole)) == 0 &&
           (a.m_length % 8 == 0 ||
            ((a.constData()[whole] ^ b.constData()[whole]) & lowBits(a.m_length)) == 0);
}
