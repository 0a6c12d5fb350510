#ifndef ZKPLAINARRAY_H
#define ZKPLAINARRAY_H

#include "zkglobal.h"

#include <cstdlib>
#include <cstring>
#include <type_traits>

/// Room for records in the array itself.
template <typename T, int Count>
struct ZkPlainRoom {
    T *records() { return reinterpret_cast<T *>(bytes); }
    alignas(T) unsigned char bytes[Count * sizeof(T)];
};
template <typename T>
struct ZkPlainRoom<T, 0> {
    T *records() { return nullptr; }
};

/// Plain records in one block that grows and is kept: emptying gives nothing back, so
/// filling it again up to the same size allocates nothing. The first `Inline` take none.
template <typename T, int Inline = 0>
class ZkPlainArray : private ZkPlainRoom<T, Inline>
{
public:
    ZkPlainArray() : m_data(this->records()) {}
    ~ZkPlainArray()
    {
        if (m_capacity > Inline) {
            std::free(m_data);
        }
    }
    ZkPlainArray(const ZkPlainArray &) = delete;
    ZkPlainArray &operator=(const ZkPlainArray &) = delete;

    int size() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }
    T *begin() { return m_data; }
    T *end() { return m_data + m_size; }
    const T *begin() const { return m_data; }
    const T *end() const { return m_data + m_size; }
    T &operator[](int i) { return m_data[i]; }
    const T &operator[](int i) const { return m_data[i]; }
    T &last() { return m_data[m_size - 1]; }
    const T &last() const { return m_data[m_size - 1]; }

    void append(const T &record)
    {
        const T copy = record; // may lie in this array
        *extend(1) = copy;
    }
    /// Adds `count` records for the caller to write; the first of them.
    T *extend(int count)
    {
        if (count > m_capacity - m_size) {
            grow(count);
        }
        m_size += count;
        return m_data + m_size - count;
    }
    void insert(int at, const T &record)
    {
        const T copy = record;
        extend(1);
        for (int i = m_size - 1; i > at; --i) {
            m_data[i] = m_data[i - 1];
        }
        m_data[at] = copy;
    }
    void truncate(int size) { m_size = size; }

    /// From `malloc`.
    std::size_t memoryBytes() const
    {
        return m_capacity > Inline ? static_cast<std::size_t>(m_capacity) * sizeof(T) : 0;
    }

private:
    static_assert(std::is_trivially_copyable<T>::value, "records are moved as bytes");

    static constexpr int kLeast = 16; // records in a block, so that a label takes one

    __attribute__((noinline)) void grow(int count)
    {
        const std::int64_t needed = static_cast<std::int64_t>(m_size) + count;
        const bool isFirst = m_capacity <= Inline;
        const std::int64_t capacity = isFirst && needed < kLeast ? kLeast
                                      : isFirst                  ? needed
                                                                 : needed + needed / 2;
        const std::int64_t size = capacity * static_cast<int>(sizeof(T));
        void *const grown = zkReallocate(isFirst ? nullptr : m_data, size); // INT_MAX at most
        if (isFirst && m_size > 0) {
            std::memcpy(grown, m_data, static_cast<std::size_t>(m_size) * sizeof(T));
        }
        m_data = static_cast<T *>(grown);
        m_capacity = static_cast<int>(capacity);
    }

    T *m_data;
    int m_size = 0, m_capacity = Inline;
};

#endif
