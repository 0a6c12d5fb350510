#include "zkstring.h"

#include "zklanes.h"

#include <cstring>

#if defined(__SSE2__)
#    include "zkutf8sse2.h"
#elif ZK_HAS_LANES
#    include "zkutf8neon.h"
#endif

namespace
{

using Byte = unsigned char;

/// Shorter texts are not looked at in blocks.
constexpr int kLong = 16;

/// Leading one bits of a byte: 0 for ASCII, 1 for a continuation byte, else the
/// length that a lead byte promises.
int leadingOnes(unsigned byte)
{
    return __builtin_clz(~(byte << 24));
}

bool isContinuation(unsigned byte)
{
    return byte >> 6 == 2;
}

bool isPairLead(unsigned byte)
{
    return byte >> 5 == 6;
}

bool isTripleLead(unsigned byte)
{
    return byte >> 4 == 14;
}

// What follows a lead byte is taken as it stands.

ZkUcs2 unitOfPair(unsigned b0, unsigned b1)
{
    return static_cast<ZkUcs2>((b0 & 0x1F) << 6 | (b1 & 0x3F));
}

ZkUcs2 unitOfTriple(unsigned b0, unsigned b1, unsigned b2)
{
    return static_cast<ZkUcs2>(b0 << 12 | (b1 & 0x3F) << 6 | (b2 & 0x3F));
}

/// The end of the text at `begin` without sequences that are cut off. A lead byte
/// that is followed by more continuation bytes than it promises counts as cut off
/// too: the bytes C3 A9 A9 leave nothing.
const Byte *endBeforeCut(const Byte *begin, const Byte *end)
{
    for (const Byte *p = end; p != begin;) {
        const int ones = leadingOnes(*--p);
        if (ones == 0 || (ones > 1 && end - p == ones)) {
            break;
        }
        if (ones > 1) {
            end = p;
        }
    }
    return end;
}

/// The same for a text of one byte at least, with the usual endings seen at once.
inline const Byte *trimmedEnd(const Byte *begin, const Byte *end)
{
    if (end[-1] < 0x80) {
        return end;
    }
    if (end - begin >= 3 && isContinuation(end[-1]) &&
        (isPairLead(end[-2]) || (isContinuation(end[-2]) && isTripleLead(end[-3])))) {
        return end;
    }
    return endBeforeCut(begin, end);
}

/// The two 16-bit halves of a word as a little-endian machine reads them: the
/// first byte of each in the low bits.
constexpr std::uint32_t leadByteLow(std::uint32_t word)
{
    return __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
               ? word
               : (word & 0x00FF00FF) << 8 | (word >> 8 & 0x00FF00FF);
}

/// How far a text is decoded: the next byte and the place of its unit.
struct Decoded {
    const Byte *in;
    ZkUcs2 *out;
};

/// Decodes the character at `at.in`, which ends at `end` if need be: missing
/// bytes are 0.
inline Decoded decodeOne(Decoded at, const Byte *end)
{
    const unsigned lead = *at.in;
    const unsigned b1 = end - at.in > 1 ? at.in[1] : 0;
    const unsigned b2 = end - at.in > 2 ? at.in[2] : 0;
    if (lead < 0x80) {
        *at.out = static_cast<ZkUcs2>(lead);
        return {at.in + 1, at.out + 1};
    }
    if (isPairLead(lead)) {
        *at.out = unitOfPair(lead, b1);
        return {at.in + 2, at.out + 1};
    }
    if (isTripleLead(lead)) {
        *at.out = unitOfTriple(lead, b1, b2);
        return {at.in + 3, at.out + 1};
    }
    return {at.in + 1, at.out};
}

/// Decodes from one lead byte of three to the first that is another; three bytes
/// at least are there.
inline Decoded decodeTriples(Decoded at, const Byte *end)
{
    do {
        *at.out++ = unitOfTriple(at.in[0], at.in[1], at.in[2]);
        at.in += 3;
    } while (end - at.in >= 3 && isTripleLead(*at.in));
    return at;
}

/// Decodes four bytes of ASCII at `in`; false if one is not.
inline bool decodeFourAscii(ZkUcs2 *out, const Byte *in)
{
    std::uint32_t word;
    std::memcpy(&word, in, sizeof word);
    if ((word & 0x80808080) != 0) {
        return false;
    }
    std::uint64_t units = word;
    units = (units | units << 16) & 0x0000FFFF0000FFFF;
    units = (units | units << 8) & 0x00FF00FF00FF00FF;
    std::memcpy(out, &units, sizeof units);
    return true;
}

/// Decodes two sequences of two bytes at `in`; false if one is not.
inline bool decodeTwoPairs(ZkUcs2 *out, const Byte *in)
{
    std::uint32_t word;
    std::memcpy(&word, in, sizeof word);
    word = leadByteLow(word);
    if (((word ^ 0x00C000C0) & 0x00E000E0) != 0) {
        return false;
    }
    word = (word & 0x001F001F) << 6 | (word >> 8 & 0x003F003F);
    std::memcpy(out, &word, sizeof word);
    return true;
}

/// Decodes what is too short for a block.
inline Decoded decodeRest(Decoded at, const Byte *end)
{
    while (end - at.in >= 4) {
        const unsigned lead = *at.in;
        if (lead < 0x80) {
            at = decodeFourAscii(at.out, at.in) ? Decoded{at.in + 4, at.out + 4}
                                                : decodeOne(at, end);
        } else if (isPairLead(lead)) {
            at =
                decodeTwoPairs(at.out, at.in) ? Decoded{at.in + 4, at.out + 2} : decodeOne(at, end);
        } else if (isTripleLead(lead)) {
            at = decodeTriples(at, end);
        } else {
            ++at.in;
        }
    }
    while (at.in < end) {
        at = decodeOne(at, end);
    }
    return at;
}

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
        leadByteLow((units >> 6 & 0x001F001F) | (units & 0x003F003F) << 8 | 0x80C080C0);
    std::memcpy(out, &word, sizeof word);
    return true;
}

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

#if ZK_HAS_LANES

/// Decodes as long as there are whole blocks. A block may write behind the units
/// that it yields: there is room, as every byte so far has yielded one at most.
__attribute__((noinline)) Decoded decodeBlocks(Decoded at, const Byte *end)
{
    while (end - at.in >= ZkUtf8Blocks::kDecode) {
        if (ZkUtf8Blocks::widen(at.out, at.in)) {
            do {
                at.in += ZkUtf8Blocks::kAscii;
                at.out += ZkUtf8Blocks::kAscii;
            } while (end - at.in >= ZkUtf8Blocks::kAscii && ZkUtf8Blocks::widen(at.out, at.in));
        } else if (isTripleLead(*at.in)) {
            at = decodeTriples(at, end);
        } else if (const int n = ZkUtf8Blocks::decode(at.out, at.in)) {
            at.in += n;
        } else {
            // A malformed text would stop at every block: go through this one singly.
            for (const Byte *const stop = at.in + ZkUtf8Blocks::kAscii; at.in < stop;) {
                at = decodeOne(at, end);
            }
        }
    }
    return at;
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

inline Decoded decodeBlocks(Decoded at, const Byte *)
{
    return at;
}
inline Encoded encodeBlocks(Encoded at, const ZkUcs2 *)
{
    return at;
}

#endif

} // namespace

int ZkString::utf8ToUcs2(ZkUcs2 *out, const char *in, int len)
{
    if (out == nullptr || in == nullptr || len < 1) {
        return 0;
    }
    const Byte *const begin = reinterpret_cast<const Byte *>(in);
    const Byte *const end = trimmedEnd(begin, begin + len);
    Decoded at = {begin, out};
    if (end - begin >= kLong) {
        at = decodeBlocks(at, end);
    }
    return static_cast<int>(decodeRest(at, end).out - out);
}

int ZkString::ucs2ToUtf8(char *out, const ZkUcs2 *in, int n)
{
    if (out == nullptr || in == nullptr || n < 1) {
        return 0;
    }
    auto *const begin = reinterpret_cast<Byte *>(out);
    const ZkUcs2 *const end = in + n;
    Encoded at = {in, begin};
    if (n >= kLong) {
        at = encodeBlocks(at, end);
    }
    return static_cast<int>(encodeRest(at, end) - begin);
}
