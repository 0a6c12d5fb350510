#ifndef ZKTEXTSOURCE_H
#define ZKTEXTSOURCE_H

#include "zkglobal.h"

/// A text as UTF-16 or as code points, whichever is not null.
struct ZkTextSource {
    const ZkUcs2 *units;
    const char32_t *points;

    /// The unit or code point at `i`.
    char32_t at(int i) const
    {
        return units != nullptr ? static_cast<char32_t>(units[i]) : points[i];
    }
    /// The same text from `i` on.
    ZkTextSource from(int i) const
    {
        return units != nullptr ? ZkTextSource{units + i, nullptr}
                                : ZkTextSource{nullptr, points + i};
    }
};

inline ZkTextSource zkSourceOf(const ZkUcs2 *text)
{
    return {text, nullptr};
}

inline ZkTextSource zkSourceOf(const char32_t *text)
{
    return {nullptr, text};
}

#endif
