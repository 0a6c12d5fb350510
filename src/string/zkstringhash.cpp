#include "zkstring.h"

#include <algorithm>

namespace
{

// Takes in the next byte of a text. 28 bits are kept; what is above them is shifted out
// by the next byte, so only the last must be masked.
unsigned folded(unsigned h, unsigned byte)
{
    h = (h << 4) + byte;
    return h ^ ((h >> 23) & 0x1E0U);
}

} // namespace

unsigned zkHash(const ZkString &key)
{
    unsigned h = 0;
    int left = key.size(); // bytes that still count
    for (const ZkUcs2 *unit = key.constData(); left > 0; ++unit) {
        if (*unit - 1U < 0x7F) { // ASCII but 0: its own byte
            h = folded(h, *unit);
            --left;
            continue;
        }
        char bytes[3];
        const int count = std::min(ZkString::ucs2ToUtf8(bytes, unit, 1), left);
        for (int i = 0; i < count; ++i) {
            h = folded(h, static_cast<unsigned char>(bytes[i]));
        }
        left -= count;
    }
    return h & 0x0FFFFFFFU;
}
