#include "string/zkunits.h"
#include "zkstring.h"

#include <cstdlib>

namespace
{

/// The capacity after `steps` replacements have changed a text of `size` units by
/// `change` units each, every one of them sizing the buffer to its need.
std::int64_t capacityAfter(std::int64_t alloc, std::int64_t size, std::int64_t change, int steps)
{
    for (int i = 1; i <= steps; ++i) {
        const std::int64_t needed = size + change * i + 1;
        if (needed > alloc || alloc > 3 * needed) {
            alloc = needed;
        }
    }
    return alloc;
}

} // namespace

ZkString &ZkString::replace(const ZkString &before, const ZkString &after, Zk::CaseSensitivity cs)
{
    return replaceAll(before.d->data, before.d->size, after.d->data, after.d->size, cs);
}

ZkString &ZkString::replace(ZkUcs2 before, const ZkString &after, Zk::CaseSensitivity cs)
{
    return replaceAll(&before, 1, after.d->data, after.d->size, cs);
}

ZkString &ZkString::replace(ZkUcs2 before, ZkUcs2 after, Zk::CaseSensitivity cs)
{
    for (int at = indexOf(before, 0, cs); at != -1; at = indexOf(before, at + 1, cs)) {
        detachIfShared();
        d->data[at] = after;
    }
    return *this;
}

ZkString &ZkString::remove(const ZkString &s, Zk::CaseSensitivity cs)
{
    if (this == &s) {
        resize(0); // all of a text is the one place where it stands
        return *this;
    }
    return removeAll(s.d->data, s.d->size, cs);
}

ZkString &ZkString::remove(ZkUcs2 c, Zk::CaseSensitivity cs)
{
    return removeAll(&c, 1, cs);
}

/// Puts `after` in place of each `before`, in a new buffer: both may point into
/// this string. The capacity is that of replacing one occurrence at a time.
ZkString &ZkString::replaceAll(const ZkUcs2 *before, int beforeSize, const ZkUcs2 *after,
                               int afterSize, Zk::CaseSensitivity cs)
{
    const auto find = [&](int from) {
        return zkFindString(d->data, d->size, from, before, beforeSize, cs);
    };
    int matches = 0;
    for (int at = beforeSize == 0 ? -1 : find(0); at != -1; at = find(at + beforeSize)) {
        ++matches;
    }
    if (matches == 0) {
        return *this;
    }
    const std::int64_t change = static_cast<std::int64_t>(afterSize) - beforeSize;
    const bool shared = d.isShared();
    const std::int64_t alloc =
        capacityAfter(shared ? d->size + 1 : d->alloc, d->size, change, matches);
    auto *buffer =
        static_cast<ZkUcs2 *>(zkAllocate(alloc * static_cast<std::int64_t>(sizeof(ZkUcs2))));
    ZkUcs2 *out = buffer;
    int from = 0;
    for (int at = find(0); at != -1; at = find(from)) {
        zkCopyUnits(out, d->data + from, at - from);
        out += at - from;
        zkCopyUnits(out, after, afterSize);
        out += afterSize;
        from = at + beforeSize;
    }
    zkCopyUnits(out, d->data + from, d->size - from);

    const int size = static_cast<int>(d->size + change * matches);
    if (shared) {
        d.adopt(createData());
    } else {
        std::free(d->data);
    }
    d->data = buffer;
    d->alloc = static_cast<int>(alloc);
    setSize(size);
    return *this;
}

/// Takes out each `u`, which does not point into this string. Only where the last
/// one ends the text is the buffer sized anew.
ZkString &ZkString::removeAll(const ZkUcs2 *u, int size, Zk::CaseSensitivity cs)
{
    int at = size == 0 ? -1 : zkFindString(d->data, d->size, 0, u, size, cs);
    if (at == -1) {
        return *this;
    }
    detachIfShared();
    ZkUcs2 *out = d->data + at;
    int from = 0;
    // What is kept moves down behind the search, which looks one unit back at most.
    while (at != -1) {
        from = at + size;
        at = zkFindString(d->data, d->size, from, u, size, cs);
        const int kept = (at == -1 ? d->size : at) - from;
        zkMoveUnits(out, d->data + from, kept);
        out += kept;
    }
    const bool endsWithMatch = from == d->size;
    setSize(static_cast<int>(out - d->data));
    if (endsWithMatch) {
        Data::allocMemory(d, static_cast<std::int64_t>(d->size) + 1, false);
    }
    return *this;
}
