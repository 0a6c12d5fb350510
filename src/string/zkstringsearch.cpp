#include "string/zkfind.h"
#include "string/zkscan.h"
#include "zkstring.h"

#include <algorithm>

namespace
{

/// A unit as it is compared.
ZkUcs2 comparable(ZkUcs2 c, Zk::CaseSensitivity cs)
{
    return cs == Zk::CaseSensitive ? c : zkFolded(c);
}

/// Whether the `n` units of `text` from `at` on, 1 at least, are those of `part`.
bool equalAt(const ZkUcs2 *text, int at, const ZkUcs2 *part, int n, Zk::CaseSensitivity cs)
{
    return cs == Zk::CaseSensitive ? text[at] == part[0] && zkEqualExact(text + at, part, n)
                                   : zkEqualFolded(text, at, part, n);
}

} // namespace

int ZkString::indexOf(ZkUcs2 c, int from, Zk::CaseSensitivity cs) const
{
    return zkFindUnit(d->data, d->size, from, c, cs);
}

int ZkString::indexOf(const ZkString &s, int from, Zk::CaseSensitivity cs) const
{
    return zkFindString(d->data, d->size, from, s.d->data, s.d->size, cs);
}

int ZkString::lastIndexOf(ZkUcs2 c, int from, Zk::CaseSensitivity cs) const
{
    int at = from < 0 ? from + d->size : from;
    if (at >= d->size) {
        return -1;
    }
    const ZkUcs2 wanted = comparable(c, cs);
    while (at >= 0 && comparable(d->data[at], cs) != wanted) {
        --at;
    }
    return std::max(at, -1);
}

int ZkString::lastIndexOf(const ZkString &s, int from, Zk::CaseSensitivity cs) const
{
    if (s.d->size == 1) {
        return lastIndexOf(s.d->data[0], from, cs);
    }
    const int start = from < 0 ? from + d->size : from;
    if (start == d->size && s.d->size == 0) {
        return start;
    }
    const int last = d->size - s.d->size;
    if (start < 0 || start >= d->size || last < 0) {
        return -1;
    }
    int at = std::min(start, last);
    while (at >= 0 && !(s.d->size == 0 || equalAt(d->data, at, s.d->data, s.d->size, cs))) {
        --at;
    }
    return at;
}

int ZkString::count(ZkUcs2 c, Zk::CaseSensitivity cs) const
{
    const ZkUcs2 wanted = comparable(c, cs);
    return static_cast<int>(
        std::count_if(begin(), end(), [=](ZkUcs2 unit) { return comparable(unit, cs) == wanted; }));
}

int ZkString::count(const ZkString &s, Zk::CaseSensitivity cs) const
{
    // Each search starts one unit behind the start of the last match, so matches may
    // overlap. The first one starts at index 1: a match at index 0 is never counted.
    int found = 0;
    for (int at = 0; (at = indexOf(s, at + 1, cs)) != -1;) {
        ++found;
    }
    return found;
}

bool ZkString::startsWith(const ZkString &s, Zk::CaseSensitivity cs) const
{
    if (d->data == nullptr) {
        return s.d->data == nullptr;
    }
    return s.d->size <= d->size && (s.d->size == 0 || s.d->data == d->data ||
                                    equalAt(d->data, 0, s.d->data, s.d->size, cs));
}

bool ZkString::startsWith(ZkUcs2 c, Zk::CaseSensitivity cs) const
{
    return d->size > 0 && comparable(d->data[0], cs) == comparable(c, cs);
}

bool ZkString::endsWith(const ZkString &s, Zk::CaseSensitivity cs) const
{
    if (d->data == nullptr) {
        return s.d->data == nullptr;
    }
    return s.d->size <= d->size &&
           (s.d->size == 0 || s.d->data == d->data ||
            equalAt(d->data, d->size - s.d->size, s.d->data, s.d->size, cs));
}

bool ZkString::endsWith(ZkUcs2 c, Zk::CaseSensitivity cs) const
{
    return d->size > 0 && comparable(d->data[d->size - 1], cs) == comparable(c, cs);
}

int ZkString::compare(const ZkString &s, Zk::CaseSensitivity cs) const
{
    return cs == Zk::CaseSensitive ? zkCompareExact(d->data, d->size, s.d->data, s.d->size)
                                   : zkCompareFolded(d->data, d->size, s.d->data, s.d->size);
}
