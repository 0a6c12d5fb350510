#ifndef ZKTEXTLENGTH_H
#define ZKTEXTLENGTH_H

#include "zkglobal.h"

#include <climits>
#include <cstring>

/// How much of a caller's text is taken, for every constructor and member that
/// is given one by address.

/// The longest text that leaves room for a terminator in an int.
constexpr int kZkLongestText = INT_MAX - 1;

/// `length` as an int, cut to the longest text.
inline int zkClippedLength(std::size_t length)
{
    return length < static_cast<std::size_t>(kZkLongestText) ? static_cast<int>(length)
                                                             : kZkLongestText;
}

/// Bytes of the text at `s` before its 0 byte, at most `len` unless that is
/// negative; a null `s` has none. Looks at no byte past the bound.
inline int zkTextLength(const char *s, int len)
{
    if (s == nullptr) {
        return 0;
    }
    return zkClippedLength(len < 0 ? std::strlen(s) : strnlen(s, static_cast<std::size_t>(len)));
}

#endif
