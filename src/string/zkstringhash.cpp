#include "zkstring.h"

#include <algorithm>

namespace
{

// A hash of 28 bits takes in the next byte of a text. It is kept four bits to the left, as
// the byte needs it: so what falls out at the top is folded in beside the shift.
unsigned folded(unsigned shifted, unsigned byte)
{
    const unsigned sum = shifted + byte;
    return sum << 4 ^ (sum >> 19 & 0x1E00U);
}

} // namespace

unsigned zkHash(const ZkString &key)
{
    unsigned shifted = 0;
    int left = key.size(); // bytes that still count
    for (const ZkUcs2 *unit = key.constData(); left > 0; ++unit) {
        if (*unit - 1U < 0x7F) { // ASCII but 0: its own byte
            shifted = folded(shifted, *unit);
            --left;
            continue;
        }
        char bytes[3];
        const int count = std::min(ZkString::ucs2ToUtf8(bytes, unit, 1), left);
        for (int i = 0; i < count; ++i) {
            shifted = folded(shifted, static_cast<unsigned char>(bytes[i]));
        }
        left -= count;
    }
    return shifted >> 4;
}
