#ifndef ZKSTRINGLIST_H
#define ZKSTRINGLIST_H

#include "zklist.h"
#include "zkstring.h"

/// A list of strings, as `ZkString::split` makes and `join` takes apart.
///
/// Block, sharing and threads are those of `ZkList`: a copy shares the block, and
/// what changes the list makes a block of its own first. The strings in it share
/// their text with the strings they were copied from.
///
///     ZkStringList words = ZkString("one two").split(' ');
///     words.sort();
///     words.contains("TWO", Zk::CaseInsensitive);    // true
class ZK_EXPORT ZkStringList : public ZkList<ZkString>
{
public:
    using ZkList<ZkString>::ZkList;
    ZkStringList() = default;
    ZkStringList(const ZkList<ZkString> &list) : ZkList<ZkString>(list) {}
    ZkStringList(ZkList<ZkString> &&list) noexcept : ZkList<ZkString>(std::move(list)) {}

    /// All elements with `sep` between them, behind as many 0 units as that text is
    /// long: "a" and "b" with "," give a string of 6 units that ends in "a,b", so
    /// `right(size() / 2)` is the joined text. The shared empty string when that
    /// text is empty.
    ZkString join(const ZkString &sep) const;

    /// Whether an element has the size of `s` and compares equal to it.
    bool contains(const ZkString &s, Zk::CaseSensitivity cs = Zk::CaseSensitive) const;

    /// Puts the elements into ascending order of `operator<`. Equal ones keep no
    /// order among themselves. Takes n log n comparisons at worst; no string is copied.
    void sort();

    /// Calls `replace(before, after, cs)` on every element.
    ZkStringList &replaceInStrings(const ZkString &before, const ZkString &after,
                                   Zk::CaseSensitivity cs = Zk::CaseSensitive);
};

template <typename Char, ZkString::IfChar<Char>>
inline ZkStringList ZkString::split(Char sep, SplitBehavior behavior, Zk::CaseSensitivity cs) const
{
    return split(unitOf(sep), behavior, cs);
}

#endif
