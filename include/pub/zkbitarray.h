#ifndef ZKBITARRAY_H
#define ZKBITARRAY_H

#include "zkglobal.h"
#include "zkvector.h"

#include <utility>

/// A fixed number of bits, eight to a byte, in a block that copies share.
///
/// Bit i is bit i % 8, counted from the lowest, of byte i / 8. The bits of the last
/// byte at size() and above are padding: comparisons, tests and the compound operators
/// never look at them, but a filled array has them set, and `|`, `&` and `^` combine
/// them like any other bit.
///
/// Copying counts the new owner of the block; the first write through an array whose
/// block is shared copies the bytes ("detaches"). Reading and an index outside the
/// array never do.
///
///     ZkBitArray a(10, false);
///     a.setBit(9);
///     a.isSet(9);   // true
///     a.isSet(10);  // false: no such bit
class ZK_EXPORT ZkBitArray
{
public:
    ZkBitArray() = default;
    /// `size` bits, all `value`, padding included. A negative size counts as 0.
    explicit ZkBitArray(int size, bool value = false);
    ZkBitArray(const ZkBitArray &other) = default;
    /// Takes the block; `other` is left empty.
    ZkBitArray(ZkBitArray &&other) noexcept { swap(other); }
    ~ZkBitArray() = default;

    ZkBitArray &operator=(const ZkBitArray &other) = default;
    /// Exchanges the arrays.
    ZkBitArray &operator=(ZkBitArray &&other) noexcept;
    void swap(ZkBitArray &other) noexcept;
    friend void swap(ZkBitArray &a, ZkBitArray &b) noexcept { a.swap(b); }

    int size() const { return m_length; }
    bool isEmpty() const { return m_length == 0; }
    /// Bytes that the block has room for.
    int capacity() const { return m_bytes.capacity(); }
    /// The bytes, padding included; valid until the next write.
    const unsigned char *constData() const { return m_bytes.constData(); }
    bool isSharedWith(const ZkBitArray &other) const { return m_bytes.isSharedWith(other.m_bytes); }

    /// Becomes `ZkBitArray(size, value)`.
    void fill(int size, bool value) { *this = ZkBitArray(size, value); }

    /// Bit `i`, false outside 0..size()-1. There the writers do nothing.
    bool isSet(int i) const;
    void setBit(int i);
    void clearBit(int i);

    /// True when no bit is 0 (1); both hold for an empty array. O(size).
    bool allSet() const;
    bool allCleared() const;

    /// Combines the bits that both arrays have. This array's size and its bits beyond
    /// the size of `other` stay.
    ZkBitArray &operator|=(const ZkBitArray &other);
    ZkBitArray &operator&=(const ZkBitArray &other);
    ZkBitArray &operator^=(const ZkBitArray &other);

    /// An array of the longer size. Bytes that both have are combined as they are,
    /// padding included; every byte that only one has is 0 in the result.
    ZkBitArray operator|(const ZkBitArray &other) const;
    ZkBitArray operator&(const ZkBitArray &other) const;
    ZkBitArray operator^(const ZkBitArray &other) const;

    /// Becomes the first `n` bits at `data`, with clear padding; n below 0 counts as 0.
    /// A null `data` changes nothing. `data` may lie in this array.
    void fromRawBytes(const unsigned char *data, int n);
    /// Writes the first `n` bits (all, if n is negative or above size()) to `out`, and
    /// leaves the rest of the last byte there as it is. A null `out` is not written.
    void toRawBytes(unsigned char *out, int n) const;

    /// Equal sizes and equal bits.
    friend ZK_EXPORT bool operator==(const ZkBitArray &a, const ZkBitArray &b);
    friend bool operator!=(const ZkBitArray &a, const ZkBitArray &b) { return !(a == b); }

private:
    friend struct ZkInspector;

    ZkVector<unsigned char> m_bytes;
    int m_length = 0;
};

inline void ZkBitArray::swap(ZkBitArray &other) noexcept
{
    m_bytes.swap(other.m_bytes);
    std::swap(m_length, other.m_length);
}

inline ZkBitArray &ZkBitArray::operator=(ZkBitArray &&other) noexcept
{
    swap(other);
    return *this;
}

#endif
