#ifndef ZK_TESTS_UTF16_H
#define ZK_TESTS_UTF16_H

#include <zkglobal.h>

#include <string>
#include <vector>

/// Code points as UTF-16; a surrogate stays as it is.
inline std::vector<ZkUcs2> utf16Of(const std::u32string &text)
{
    std::vector<ZkUcs2> units;
    for (const char32_t c : text) {
        if (c >= 0x10000) {
            units.push_back(static_cast<ZkUcs2>(0xD7C0 + (c >> 10)));
            units.push_back(static_cast<ZkUcs2>(0xDC00 + (c & 0x3FF)));
        } else {
            units.push_back(static_cast<ZkUcs2>(c));
        }
    }
    return units;
}

/// For each code point, and the end, the unit it begins at.
inline std::vector<int> unitStarts(const std::u32string &text)
{
    std::vector<int> starts;
    int unit = 0;
    for (const char32_t c : text) {
        starts.push_back(unit);
        unit += c >= 0x10000 ? 2 : 1;
    }
    starts.push_back(unit);
    return starts;
}

#endif
