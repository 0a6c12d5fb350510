#ifndef ZKLETTER_H
#define ZKLETTER_H

#include "zkglobal.h"

#include <cstring>

/// True when an ASCII letter, given as the small one, stands somewhere in `size`
/// units, capital or not. Four units are looked at together: a lane that holds the
/// letter becomes 0, and the top bit of some lane survives the test below when,
/// and only when, there is a lane of 0.
inline bool zkHasLetter(const ZkUcs2 *p, int size, char smallLetter)
{
    constexpr std::uint64_t kOnes = 0x0001000100010001;
    const auto letter = static_cast<unsigned char>(smallLetter);
    for (; size >= 4; size -= 4, p += 4) {
        std::uint64_t lanes;
        std::memcpy(&lanes, p, sizeof lanes);
        lanes = (lanes | kOnes * 0x20) ^ kOnes * letter;
        if (((lanes - kOnes) & ~lanes & kOnes * 0x8000) != 0) {
            return true;
        }
    }
    for (; size > 0; --size, ++p) {
        if ((*p | 0x20) == letter) {
            return true;
        }
    }
    return false;
}

#endif
