#include "zkstring.h"

#include "string/zkutf8blocks.h"
#include "string/zkutf8wide.h"

#include <cstring>

namespace
{

using Byte = unsigned char;

/// How far a text is encoded: the next unit and the place of its bytes.
struct Encoded {
    const ZkUcs2 *in;
    Byte *out;
};

/// Encodes one unit.
inline Encoded encodeOne(Encoded at)
{
    const unsigned unit = *at.in++;
    if (unit < 0x80) {
        *at.out++ = static_cast<Byte>(unit);
    } else if (unit < 0x800) {
        *at.out++ = static_cast<Byte>(0xC0 | unit >> 6);
        *at.out++ = static_cast<Byte>(0x80 | (unit & 0x3F));
    } else {
        *at.out++ = static_cast<Byte>(0xE0 | unit >> 12);
        *at.out++ = static_cast<Byte>(0x80 | (unit >> 6 & 0x3F));
        *at.out++ = static_cast<Byte>(0x80 | (unit & 0x3F));
    }
    return at;
}

#if ZK_HAS_BLOCKS

/// Encodes a text of 8 to 16 units that is nothing but ASCII; false for any other.
inline bool encodeFewAscii(Byte *out, const ZkUcs2 *in, int n)
{
    return n >= 8 && n <= 16 && *in < 0x80 && ZkUtf8Blocks::narrowFew(out, in, n);
}

/// Encodes from one unit of 800 or more to the first that is smaller. A block of
/// such writes two bytes more than it makes.
inline Encoded encodeTriples(Encoded at, const ZkUcs2 *end)
{
    while (end - at.in > ZkUtf8Blocks::kEncode && ZkUtf8Blocks::encodeTriples(at.out, at.in)) {
        at.in += ZkUtf8Blocks::kEncode;
        at.out += 3 * ZkUtf8Blocks::kEncode;
    }
    while (at.in < end && *at.in >= 0x800) {
        at = encodeOne(at);
    }
    return at;
}

/// Encodes as long as there are whole blocks. A block may write behind the bytes
/// that count: there is room, as every unit so far has made three at most.
inline Encoded encodeBlocks(Encoded at, const ZkUcs2 *end)
{
    if (kZkMayBeWide && end - at.in >= kZkWideBlock && zkIsWide()) {
        zkEncodeWide(&at.out, &at.in, end);
    }
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
                at = encodeOne(at);
            }
        }
    }
    return at;
}

#else

inline bool encodeFewAscii(Byte *out, const ZkUcs2 *in, int n)
{
    if constexpr (kZkMayHaveNeon) {
        return n >= 8 && n <= 16 && *in < 0x80 && zkHasNeon() && zkNarrowFew(out, in, n);
    }
    return false;
}

/// Encodes ASCII in blocks after some words of it.
inline Encoded encodeRun(Encoded at, const ZkUcs2 *end)
{
    if constexpr (kZkMayHaveNeon) {
        if (zkHasNeon()) {
            const std::ptrdiff_t done = zkNarrowAscii(at.out, at.in, end - at.in);
            return {at.in + done, at.out + done};
        }
    }
    return at;
}

/// Encodes one unit or, of 800 or more, as many as follow each other.
inline Encoded encodeOthers(Encoded at, const ZkUcs2 *end)
{
    constexpr std::ptrdiff_t kWorth = 16; // units that are worth a call
    if constexpr (kZkMayHaveNeon) {
        if (*at.in >= 0x800 && at.in[1] >= 0x800 && end - at.in >= kWorth && zkHasNeon()) {
            const std::ptrdiff_t done = zkEncodeTriples(at.out, at.in, end - at.in);
            at = {at.in + done, at.out + 3 * done};
            while (at.in < end && *at.in >= 0x800) {
                at = encodeOne(at);
            }
            return at;
        }
    }
    return encodeOne(at);
}

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

/// Encodes by words of two or four units, as long as there are some.
inline Encoded encodeBlocks(Encoded at, const ZkUcs2 *end)
{
    int words = 0; // of ASCII, one behind the other
    while (end - at.in >= 4) {
        if (encodeFourAscii(at.out, at.in)) {
            at = {at.in + 4, at.out + 4};
            if (kZkMayHaveNeon && ++words == kZkRunWords) {
                at = encodeRun(at, end);
                words = 0;
            }
            continue;
        }
        words = 0;
        if (encodeTwoPairs(at.out, at.in)) {
            at = {at.in + 2, at.out + 4};
        } else {
            at = encodeOthers(at, end);
        }
    }
    return at;
}

#endif

/// Encodes one unit after the other and returns the address behind the bytes.
inline Byte *encodeSingly(Encoded at, const ZkUcs2 *end)
{
    while (at.in < end) {
        at = encodeOne(at);
    }
    return at.out;
}

/// Encodes a text of a block or more and returns the number of bytes. Apart from
/// the short ones, which are most and need no room on the stack.
__attribute__((noinline)) int encodeLong(Byte *out, const ZkUcs2 *in, const ZkUcs2 *end)
{
    return static_cast<int>(encodeSingly(encodeBlocks({in, out}, end), end) - out);
}

} // namespace

int ZkString::ucs2ToUtf8(char *out, const ZkUcs2 *in, int n)
{
    if (out == nullptr || in == nullptr || n < 1) {
        return 0;
    }
    auto *const begin = reinterpret_cast<Byte *>(out);
    if (encodeFewAscii(begin, in, n)) {
        return n;
    }
    return n >= kZkUtf8Block ? encodeLong(begin, in, in + n)
                             : static_cast<int>(encodeSingly({in, begin}, in + n) - begin);
}
