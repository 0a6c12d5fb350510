#include "zkstring.h"

#include <algorithm>

namespace
{

// Takes in the next byte of a text; 28 bits are kept.
unsigned folded(unsigned h, unsigned byte)
{
    h = (h << 4) + byte;
    h ^= (h & 0xF0000000U) >> 23;
    return h & 0x0FFFFFFFU;
}

} // namespace

unsigned zkHash(const ZkString &key)
{
    unsigned h = 0;
    int left = key.size(); // bytes that still count
    for (const ZkUcs2 *unit = key.constData(); left > 0; ++unit) {
        char bytes[3];
        const int count = std::min(ZkString::ucs2ToUtf8(bytes, unit, 1), left);
        for (int i = 0; i < count; ++i) {
            h = folded(h, static_cast<unsigned char>(bytes[i]));
        }
        left -= count;
    }
    return h;
}
