#ifndef ZKPLAINARRAY_H
#define ZKPLAINARRAY_H

#include "zkglobal.h"

#include <cstdlib>
#include <type_traits>

/// Plain records in one block that grows and is kept: emptying gives nothing back, so
/// filling it again up to the same size allocates nothing.
template <typename T>
class ZkPlainArray
{
public:
    ZkPlainArray() = default;
    ~ZkPlainArray() { std::free(m_data); }
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

    std::size_t memoryBytes() const { return static_cast<std::size_t>(m_capacity) * sizeof(T); }

private:
    static_assert(std::is_trivially_copyable<T>::value, "records are moved as bytes");

    __attribute__((noinline)) void grow(int count)
    {
        const std::int64_t needed = static_cast<std::int64_t>(m_size) + count;
        const std::int64_t capacity = needed + (m_capacity == 0 ? 0 : needed / 2);
        const std::int64_t bytes = capacity * static_cast<int>(sizeof(T));
        m_data = static_cast<T *>(zkReallocate(m_data, bytes)); // stops above INT_MAX bytes
        m_capacity = static_cast<int>(capacity);
    }

    T *m_data = nullptr;
    int m_size = 0, m_capacity = 0;
};

#endif
