#include "zkstring.h"

#include "string/zkutf8blocks.h"
#include "string/zkutf8wide.h"

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
    return byte - 0xC0 < 0x20; // what is less wraps round
}

bool isTripleLead(unsigned byte)
{
    return byte - 0xE0 < 0x10;
}

// What follows a lead byte is taken as it stands.

ZkUcs2 unitOfPair(unsigned b0, unsigned b1)
{
    return static_cast<ZkUcs2>((b0 - 0xC0) << 6 | (b1 & 0x3F));
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

/// Decodes sequences of three bytes one by one, as many as follow each other.
inline Decoded decodeTriplesSingly(Decoded at, const Byte *end)
{
    while (end - at.in >= 3 && isTripleLead(*at.in)) {
        *at.out++ = unitOfTriple(at.in[0], at.in[1], at.in[2]);
        at.in += 3;
    }
    return at;
}

#if ZK_HAS_BLOCKS

/// Decodes a text of 8 to 16 bytes that is nothing but ASCII; false for any other.
inline bool decodeFewAscii(ZkUcs2 *out, const Byte *in, int len)
{
    return len >= 8 && len <= 16 && *in < 0x80 && ZkUtf8Blocks::widenFew(out, in, len);
}

/// Decodes sequences of three bytes, as many as follow each other.
inline Decoded decodeTriples(Decoded at, const Byte *end)
{
    while (end - at.in >= 3 * ZkUtf8Blocks::kTriples &&
           ZkUtf8Blocks::decodeTriples(at.out, at.in)) {
        at.in += 3 * ZkUtf8Blocks::kTriples;
        at.out += ZkUtf8Blocks::kTriples;
    }
    return decodeTriplesSingly(at, end);
}

#else

inline bool decodeFewAscii(ZkUcs2 *out, const Byte *in, int len)
{
    if constexpr (kZkMayHaveNeon) {
        return len >= 8 && len <= 16 && *in < 0x80 && zkHasNeon() && zkWidenFew(out, in, len);
    }
    return false;
}

/// Decodes sequences of three bytes, as many as follow each other.
inline Decoded decodeTriples(Decoded at, const Byte *end)
{
    constexpr std::ptrdiff_t kWorth = 3 * 16; // bytes that are worth a call
    if constexpr (kZkMayHaveNeon) {
        if (end - at.in >= kWorth && isTripleLead(at.in[3]) && zkHasNeon()) {
            const std::ptrdiff_t done = zkDecodeTriples(at.out, at.in, end - at.in);
            at = {at.in + 3 * done, at.out + done};
        }
    }
    return decodeTriplesSingly(at, end);
}

#endif

/// Decodes the characters that begin before `stop` in a trimmed text that ends at
/// `end`. Its last byte leads no sequence, so all that can be missing is the third
/// byte of three: it is 0.
__attribute__((always_inline)) inline Decoded decodeSingly(Decoded at, const Byte *stop,
                                                           const Byte *end)
{
    while (at.in < stop) {
        const unsigned lead = *at.in;
        if (lead < 0x80) {
            *at.out++ = static_cast<ZkUcs2>(lead);
            ++at.in;
        } else if (isPairLead(lead)) {
            *at.out++ = unitOfPair(lead, at.in[1]);
            at.in += 2;
        } else if (!isTripleLead(lead)) {
            ++at.in;
        } else if (end - at.in >= 3) {
            at = decodeTriples(at, end);
        } else {
            *at.out++ = unitOfTriple(lead, at.in[1], 0);
            at.in = end;
        }
    }
    return at;
}

#if ZK_HAS_BLOCKS

/// Decodes from a block of ASCII to the first that is not.
inline Decoded decodeAscii(Decoded at, const Byte *end)
{
    while (end - at.in >= ZkUtf8Blocks::kManyAscii && ZkUtf8Blocks::widenMany(at.out, at.in)) {
        at.in += ZkUtf8Blocks::kManyAscii;
        at.out += ZkUtf8Blocks::kManyAscii;
    }
    while (end - at.in >= ZkUtf8Blocks::kAscii && ZkUtf8Blocks::widen(at.out, at.in)) {
        at.in += ZkUtf8Blocks::kAscii;
        at.out += ZkUtf8Blocks::kAscii;
    }
    return at;
}

/// Decodes as long as there are whole blocks. A block may write behind the units
/// that it yields: there is room, as every byte so far has yielded one at most.
inline Decoded decodeBlocks(Decoded at, const Byte *end)
{
    const bool isWide = kZkMayBeWide && end - at.in >= kZkWideBlock && zkIsWide();
    if (isWide) {
        zkDecodeWide(&at.out, &at.in, end);
    }
    while (end - at.in >= ZkUtf8Blocks::kDecode) {
        if (ZkUtf8Blocks::widen(at.out, at.in)) {
            at = decodeAscii({at.in + ZkUtf8Blocks::kAscii, at.out + ZkUtf8Blocks::kAscii}, end);
        } else if (isTripleLead(*at.in)) {
            at = decodeTriples(at, end);
        } else if (const int n = ZkUtf8Blocks::decode(at.out, at.in)) {
            at.in += n;
        } else {
            // A malformed text would stop at every block: go through this one singly.
            at = decodeSingly(at, at.in + ZkUtf8Blocks::kAscii, end);
        }
        if (isWide) {
            zkDecodeWide(&at.out, &at.in, end);
        }
    }
    return at;
}

#else

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

/// Decodes ASCII in blocks after some words of it.
inline Decoded decodeRun(Decoded at, const Byte *end)
{
    if constexpr (kZkMayHaveNeon) {
        if (zkHasNeon()) {
            const std::ptrdiff_t done = zkWidenAscii(at.out, at.in, end - at.in);
            return {at.in + done, at.out + done};
        }
    }
    return at;
}

/// Decodes by words of four bytes, as long as there are some.
inline Decoded decodeBlocks(Decoded at, const Byte *end)
{
    int words = 0; // of ASCII, one behind the other
    while (end - at.in >= 4) {
        if (decodeFourAscii(at.out, at.in)) {
            at = {at.in + 4, at.out + 4};
            if (kZkMayHaveNeon && ++words == kZkRunWords) {
                at = decodeRun(at, end);
                words = 0;
            }
            continue;
        }
        words = 0;
        if (decodeTwoPairs(at.out, at.in)) {
            at = {at.in + 4, at.out + 2};
        } else {
            at = decodeSingly(at, at.in + 1, end);
        }
    }
    return at;
}

#endif

/// Decodes a trimmed text of a block or more and returns the number of units.
/// Apart from the short ones, which are most and need no room on the stack.
__attribute__((noinline)) int decodeLong(ZkUcs2 *out, const Byte *begin, const Byte *end)
{
    const Decoded at = decodeBlocks({begin, out}, end);
    return static_cast<int>(decodeSingly(at, end, end).out - out);
}

} // namespace

int ZkString::utf8ToUcs2(ZkUcs2 *out, const char *in, int len)
{
    if (out == nullptr || in == nullptr || len < 1) {
        return 0;
    }
    const Byte *const begin = reinterpret_cast<const Byte *>(in);
    if (decodeFewAscii(out, begin, len)) {
        return len;
    }
    const Byte *const end = trimmedEnd(begin, begin + len);
    return end - begin >= kZkUtf8Block // no test can tell: both ways say the same
               ? decodeLong(out, begin, end)
               : static_cast<int>(decodeSingly({begin, out}, end, end).out - out);
}
