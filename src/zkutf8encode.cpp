#include "zkstring.h"

#include "zkutf8blocks.h"

#include <cstring>

namespace
{

using Byte = unsigned char;

/// Writes one unit as UTF-8 and returns the address behind it.
inline Byte *encodeOne(Byte *out, unsigned unit)
{
    if (unit < 0x80) {
        *out++ = static_cast<Byte>(unit);
    } else if (unit < 0x800) {
        *out++ = static_cast<Byte>(0xC0 | unit >> 6);
        *out++ = static_cast<Byte>(0x80 | (unit & 0x3F));
    } else {
        *out++ = static_cast<Byte>(0xE0 | unit >> 12);
        *out++ = static_cast<Byte>(0x80 | (unit >> 6 & 0x3F));
        *out++ = static_cast<Byte>(0x80 | (unit & 0x3F));
    }
    return out;
}

/// How far a text is encoded: the next unit and the place of its bytes.
struct Encoded {
    const ZkUcs2 *in;
    Byte *out;
};

/// Encodes four units of ASCII; false if one is not.
inline bool encodeFourAscii(Byte *out, const ZkUcs2 *in)
{
    std::uint64_t units;
    std::memcpy(&units, in, sizeof units);
    if ((units & 0xFF80FF80FF80FF80) != 0) {
        return false;
    }
    units = (units | units >> 8) & 0x0000FFFF0000FFFF;
    const auto word = static_cast<std::uint32_t>(units | units >> 16);
    std::memcpy(out, &word, sizeof word);
    return true;
}

/// Encodes two units of 80 to 7FF; false if one is not.
inline bool encodeTwoPairs(Byte *out, const ZkUcs2 *in)
{
    std::uint32_t units;
    std::memcpy(&units, in, sizeof units);
    if ((units & 0xF800F800) != 0 || (units & 0x0780) == 0 || (units & 0x07800000) == 0) {
        return false;
    }
    const std::uint32_t word =
        zkFirstByteLow((units >> 6 & 0x001F001F) | (units & 0x003F003F) << 8 | 0x80C080C0);
    std::memcpy(out, &word, sizeof word);
    return true;
}

#if ZK_HAS_LANES

/// Encodes from one unit of 800 or more to the first that is smaller. A block of
/// such writes two bytes more than it makes.
inline Encoded encodeTriples(Encoded at, const ZkUcs2 *end)
{
    while (end - at.in > ZkUtf8Blocks::kEncode && ZkUtf8Blocks::encodeTriples(at.out, at.in)) {
        at.in += ZkUtf8Blocks::kEncode;
        at.out += 3 * ZkUtf8Blocks::kEncode;
    }
    while (at.in < end && *at.in >= 0x800) {
        at.out = encodeOne(at.out, *at.in++);
    }
    return at;
}

/// Encodes as long as there are whole blocks. A block may write behind the bytes
/// that count: there is room, as every unit so far has made three at most.
__attribute__((noinline)) Encoded encodeBlocks(Encoded at, const ZkUcs2 *end)
{
    while (end - at.in >= ZkUtf8Blocks::kAscii) {
        if (ZkUtf8Blocks::narrow(at.out, at.in)) {
            at.in += ZkUtf8Blocks::kAscii;
            at.out += ZkUtf8Blocks::kAscii;
        } else if (*at.in >= 0x800) {
            at = encodeTriples(at, end);
        } else if (const int n = ZkUtf8Blocks::encode(at.out, at.in)) {
            at.in += ZkUtf8Blocks::kEncode;
            at.out += n;
        } else {
            const ZkUcs2 *const stop = at.in + ZkUtf8Blocks::kAscii;
            while (at.in < stop && *at.in < 0x800) {
                at.out = encodeOne(at.out, *at.in++);
            }
        }
    }
    return at;
}

#else

inline Encoded encodeBlocks(Encoded at, const ZkUcs2 *)
{
    return at;
}

#endif

/// Encodes what is too short for a block and returns the address behind it.
inline Byte *encodeRest(Encoded at, const ZkUcs2 *end)
{
    while (end - at.in >= 4) {
        if (*at.in < 0x80 && encodeFourAscii(at.out, at.in)) {
            at = {at.in + 4, at.out + 4};
        } else if (encodeTwoPairs(at.out, at.in)) {
            at = {at.in + 2, at.out + 4};
        } else {
            at.out = encodeOne(at.out, *at.in++);
        }
    }
    while (at.in < end) {
        at.out = encodeOne(at.out, *at.in++);
    }
    return at.out;
}

} // namespace

int ZkString::ucs2ToUtf8(char *out, const ZkUcs2 *in, int n)
{
    if (out == nullptr || in == nullptr || n < 1) {
        return 0;
    }
    auto *const begin = reinterpret_cast<Byte *>(out);
    const ZkUcs2 *const end = in + n;
    Encoded at = {in, begin};
    if (n >= kZkUtf8Block) {
        at = encodeBlocks(at, end);
    }
    return static_cast<int>(encodeRest(at, end) - begin);
}
