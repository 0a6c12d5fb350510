#ifndef ZKINLINEARRAY_H
#define ZKINLINEARRAY_H

#include "zkglobal.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

/// An array of plain records that grows at its end. The first `N` lie in the object
/// itself, so that short lists need no memory; more lie in one heap block. Unlike
/// a `ZkVector` it is never shared, and indices are not checked. Appending is O(1)
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
        if (m_size == m_capacity) {
            grow();
        }
        m_data[m_size++] = copy;
    }

    /// Adds `count` records, at most `room()`, for the caller to write; the first of them.
    T *extend(int count)
    {
        T *first = end();
        m_size += count;
        return first;
    }

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

    __attribute__((noinline)) void grow()
    {
        const bool inObject = m_data == m_inline;
        m_capacity *= 4;
        const std::int64_t bytes =
            static_cast<std::int64_t>(m_capacity) * static_cast<int>(sizeof(T));
        m_data = static_cast<T *>(zkReallocate(inObject ? nullptr : m_data, bytes));
        if (inObject) {
            std::memcpy(m_data, m_inline, sizeof m_inline);
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
