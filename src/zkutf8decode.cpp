#include "zkstring.h"

#include "zkutf8blocks.h"

#include <cstring>

namespace
{

using Byte = unsigned char;

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
    word = zkFirstByteLow(word);
    if (((word ^ 0x00C000C0) & 0x00E000E0) != 0) {
        return false;
    }
    word = (word & 0x001F001F) << 6 | (word >> 8 & 0x003F003F);
    std::memcpy(out, &word, sizeof word);
    return true;
}

#if ZK_HAS_LANES

/// Decodes all that is left, 8 to 16 bytes of ASCII; false if it is not.
inline bool decodeFewAscii(Decoded at, const Byte *end)
{
    const std::ptrdiff_t left = end - at.in;
    return left >= 8 && left <= 16 && *at.in < 0x80 && ZkUtf8Blocks::widenFew(at.out, at.in, left);
}

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

#else

inline bool decodeFewAscii(Decoded, const Byte *)
{
    return false;
}
inline Decoded decodeBlocks(Decoded at, const Byte *)
{
    return at;
}

#endif

/// Decodes what is too short for a block.
inline Decoded decodeRest(Decoded at, const Byte *end)
{
    while (end - at.in >= 4) {
        const unsigned lead = *at.in;
        if (lead < 0x80) {
            if (decodeFewAscii(at, end)) {
                return {end, at.out + (end - at.in)};
            }
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

} // namespace

int ZkString::utf8ToUcs2(ZkUcs2 *out, const char *in, int len)
{
    if (out == nullptr || in == nullptr || len < 1) {
        return 0;
    }
    const Byte *const begin = reinterpret_cast<const Byte *>(in);
    const Byte *const end = trimmedEnd(begin, begin + len);
    Decoded at = {begin, out};
    if (end - begin >= kZkUtf8Block) {
        at = decodeBlocks(at, end);
    }
    return static_cast<int>(decodeRest(at, end).out - out);
}
