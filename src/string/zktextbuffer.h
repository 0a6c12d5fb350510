#ifndef ZKTEXTBUFFER_H
#define ZKTEXTBUFFER_H

#include "zkstring.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

/// A text under construction: units are added at the end, in memory of its own
/// until they are too many for it. Makes the string once, at its final size.
class ZkTextBuffer
{
public:
    ZkTextBuffer() : m_data(m_own), m_size(0), m_room(kOwn) {}

    ~ZkTextBuffer()
    {
        if (m_data != m_own) {
            std::free(m_data);
        }
    }

    ZkTextBuffer(const ZkTextBuffer &) = delete;
    ZkTextBuffer &operator=(const ZkTextBuffer &) = delete;

    int size() const { return m_size; }

    /// Unit `i` and those behind it, until the next unit is added.
    ZkUcs2 *at(int i) { return m_data + i; }
    const ZkUcs2 *at(int i) const { return m_data + i; }

    /// Adds `n` units for the caller to write and returns the first. A negative
    /// `n` adds none.
    ZkUcs2 *extend(std::int64_t n)
    {
        if (n > m_room - m_size) {
            grow(m_size + n);
        }
        ZkUcs2 *added = m_data + m_size;
        m_size += n > 0 ? static_cast<int>(n) : 0;
        return added;
    }

    /// Keeps the first `n` units, of which there are as many.
    void truncate(int n) { m_size = n; }

    void append(ZkUcs2 c) { *extend(1) = c; }

    void append(const ZkUcs2 *units, std::int64_t n)
    {
        ZkUcs2 *added = extend(n);
        if (n > 0) {
            std::memcpy(added, units, static_cast<std::size_t>(n) * sizeof(ZkUcs2));
        }
    }

    void appendAscii(const char *text)
    {
        for (; *text != '\0'; ++text) {
            append(static_cast<unsigned char>(*text));
        }
    }

    void fill(std::int64_t n, ZkUcs2 c)
    {
        ZkUcs2 *added = extend(n);
        std::fill(added, m_data + m_size, c);
    }

    /// Puts `n` units `c` in front of unit `i`; none when `n` is negative.
    void insert(int i, std::int64_t n, ZkUcs2 c)
    {
        if (n > 0) {
            const int tail = m_size - i;
            extend(n);
            ZkUcs2 *gap = m_data + i;
            std::memmove(gap + n, gap, static_cast<std::size_t>(tail) * sizeof(ZkUcs2));
            std::fill(gap, gap + n, c);
        }
    }

    ZkString toString() const { return ZkString(m_data, m_size); }

private:
    static constexpr int kOwn = 128;

    // Out of line in effect: rare, and what it takes would hide the common case.
    __attribute__((noinline)) void grow(std::int64_t needed)
    {
        const std::int64_t room = std::max(needed, std::int64_t(2) * m_room);
        const std::int64_t bytes = room * static_cast<int>(sizeof(ZkUcs2));
        ZkUcs2 *data =
            static_cast<ZkUcs2 *>(zkReallocate(m_data == m_own ? nullptr : m_data, bytes));
        if (m_data == m_own) {
            std::memcpy(data, m_own, static_cast<std::size_t>(m_size) * sizeof(ZkUcs2));
        }
        m_data = data;
        m_room = static_cast<int>(room);
    }

    ZkUcs2 *m_data;
    int m_size;
    int m_room;
    ZkUcs2 m_own[kOwn];
};

#endif
