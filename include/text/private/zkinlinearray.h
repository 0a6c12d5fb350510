#ifndef ZKINLINEARRAY_H
#define ZKINLINEARRAY_H

#include "zkglobal.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

/// An array of plain records that grows at its end. The first `N` lie in the object
/// itself, so that short ones need no memory; more lie in one heap block. Unlike
/// a `ZkVector` it is never shared, and indices are not checked. Adding is O(1)
/// on average and moves the records.
template <typename T, int N>
class ZkInlineArray
{
public:
    typedef T value_type;
    typedef T *iterator;
    typedef const T *const_iterator;

    ZkInlineArray() : m_data(m_inline), m_size(0), m_capacity(N) {}
    ~ZkInlineArray() { release(); }
    ZkInlineArray(const ZkInlineArray &) = delete;
    ZkInlineArray &operator=(const ZkInlineArray &) = delete;

    int size() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }
    /// Records that fit in without growing.
    int room() const { return m_capacity - m_size; }

    T &operator[](int i) { return m_data[i]; }
    const T &operator[](int i) const { return m_data[i]; }
    T *begin() { return m_data; }
    T *end() { return m_data + m_size; }
    const T *begin() const { return m_data; }
    const T *end() const { return m_data + m_size; }

    void append(const T &record)
    {
        const T copy = record; // may lie in this array
        *extend(1) = copy;
    }

    /// Adds `count` records for the caller to write and returns the first of them. A
    /// negative count adds none.
    T *extend(std::int64_t count)
    {
        if (count > m_capacity - m_size) {
            grow(m_size + count);
        }
        T *first = end();
        m_size += count > 0 ? static_cast<int>(count) : 0;
        return first;
    }

    /// Keeps the first `count` records, of which there are as many.
    void truncate(int count) { m_size = count; }

    /// Empties the array and gives its heap block back.
    void clear()
    {
        release();
        m_data = m_inline;
        m_size = 0;
        m_capacity = N;
    }

private:
    static_assert(std::is_trivially_copyable<T>::value, "records are moved as bytes");

    /// Up to here a block grows to four times its room, from here on to twice.
    static constexpr int kSmall = 64;

    // Out of line in effect: rare, and what it takes would hide the common case.
    __attribute__((noinline)) void grow(std::int64_t needed)
    {
        const bool inObject = m_data == m_inline;
        const std::int64_t room =
            static_cast<std::int64_t>(m_capacity) * (m_capacity < kSmall ? 4 : 2);
        needed = needed < room ? room : needed;
        m_data = static_cast<T *>(
            zkReallocate(inObject ? nullptr : m_data, needed * static_cast<int>(sizeof(T))));
        m_capacity = static_cast<int>(needed);
        if (inObject) {
            std::memcpy(m_data, m_inline, static_cast<std::size_t>(m_size) * sizeof(T));
        }
    }

    void release()
    {
        if (m_data != m_inline) {
            std::free(m_data);
        }
    }

    T *m_data; ///< `m_inline` or from `malloc`
    int m_size, m_capacity;
    T m_inline[N];
};

#endif
