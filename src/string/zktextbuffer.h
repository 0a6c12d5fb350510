#ifndef ZKTEXTBUFFER_H
#define ZKTEXTBUFFER_H

#include "private/zkinlinearray.h"
#include "zkstring.h"

#include <algorithm>
#include <cstring>

/// A text under construction: units are added at the end, in the object itself until
/// they are too many for it. Makes the string once, at its final size.
class ZkTextBuffer
{
public:
    int size() const { return m_units.size(); }

    /// Unit `i` and those behind it, until the next unit is added.
    ZkUcs2 *at(int i) { return m_units.begin() + i; }
    const ZkUcs2 *at(int i) const { return m_units.begin() + i; }

    /// Adds `n` units for the caller to write and returns the first. A negative
    /// `n` adds none.
    ZkUcs2 *extend(std::int64_t n) { return m_units.extend(n); }

    /// Keeps the first `n` units, of which there are as many.
    void truncate(int n) { m_units.truncate(n); }

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
        std::fill(added, m_units.end(), c);
    }

    /// Puts `n` units `c` in front of unit `i`; none when `n` is negative.
    void insert(int i, std::int64_t n, ZkUcs2 c)
    {
        if (n > 0) {
            const int tail = size() - i;
            extend(n);
            ZkUcs2 *gap = at(i);
            std::memmove(gap + n, gap, static_cast<std::size_t>(tail) * sizeof(ZkUcs2));
            std::fill(gap, gap + n, c);
        }
    }

    ZkString toString() const { return ZkString(m_units.begin(), size()); }

private:
    ZkInlineArray<ZkUcs2, 128> m_units;
};

#endif
