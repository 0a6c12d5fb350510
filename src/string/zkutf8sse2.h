#ifndef ZKUTF8SSE2_H
#define ZKUTF8SSE2_H

#include "zkglobal.h"

#include <cstring>
#include <emmintrin.h>
#include <utility>

/// Blocks of SSE2 registers. The output of a step that returns failure is undefined:
/// the caller overwrites it.
class ZkUtf8Blocks
{
public:
    /// Bytes and units of a block of ASCII.
    static constexpr int kAscii = 16;

    static bool widen(ZkUcs2 *out, const unsigned char *in)
    {
        const __m128i bytes = load(in);
        store(out, _mm_unpacklo_epi8(bytes, zero()));
        store(out + 8, _mm_unpackhi_epi8(bytes, zero()));
        return mask(bytes) == 0;
    }

    /// The same for four blocks, with one test.
    static constexpr int kManyAscii = 4 * kAscii;

    static bool widenMany(ZkUcs2 *out, const unsigned char *in)
    {
        __m128i any = zero();
        for (int i = 0; i < kManyAscii; i += kAscii) {
            const __m128i bytes = load(in + i);
            store(out + i, _mm_unpacklo_epi8(bytes, zero()));
            store(out + i + 8, _mm_unpackhi_epi8(bytes, zero()));
            any = _mm_or_si128(any, bytes);
        }
        return mask(any) == 0;
    }

    /// The same for 8 to 16 characters: the first eight and the last eight.
    static bool widenFew(ZkUcs2 *out, const unsigned char *in, std::ptrdiff_t n)
    {
        const __m128i first = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(in));
        const __m128i last = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(in + n - 8));
        store(out, _mm_unpacklo_epi8(first, zero()));
        store(out + n - 8, _mm_unpacklo_epi8(last, zero()));
        return mask(_mm_or_si128(first, last)) == 0;
    }

    static bool narrow(unsigned char *out, const ZkUcs2 *in)
    {
        const __m128i low = load(in);
        const __m128i high = load(in + 8);
        store(out, _mm_packus_epi16(low, high));
        return allZero(_mm_and_si128(_mm_or_si128(low, high), all(0xFF80)));
    }

    /// The same the other way.
    static bool narrowFew(unsigned char *out, const ZkUcs2 *in, std::ptrdiff_t n)
    {
        const __m128i first = load(in);
        const __m128i last = load(in + n - 8);
        _mm_storel_epi64(reinterpret_cast<__m128i *>(out), _mm_packus_epi16(first, first));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(out + n - 8), _mm_packus_epi16(last, last));
        return allZero(_mm_and_si128(_mm_or_si128(first, last), all(0xFF80)));
    }

    /// Decodes four sequences of three bytes; false if one is not led by such a
    /// byte. Nothing else is read.
    static constexpr int kTriples = 4;

    static bool decodeTriples(ZkUcs2 *out, const unsigned char *in)
    {
        // A sequence in each 32-bit lane, under the first byte of the next one.
        const __m128i low = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(in));
        const __m128i high = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(in + 4));
        const __m128i twos = _mm_unpacklo_epi64(low, _mm_srli_epi64(high, 16));
        const __m128i lanes = _mm_or_si128(_mm_and_si128(twos, _mm_set1_epi64x(0xFFFFFFFF)),
                                           _mm_slli_epi64(_mm_srli_epi64(twos, 24), 32));
        const __m128i leads = _mm_and_si128(lanes, _mm_set1_epi32(0xF0));
        const __m128i b0 = _mm_slli_epi32(lanes, 12);
        const __m128i b1 = _mm_and_si128(_mm_srli_epi32(lanes, 2), _mm_set1_epi32(0xFC0));
        const __m128i b2 = _mm_and_si128(_mm_srli_epi32(lanes, 16), _mm_set1_epi32(0x3F));
        const __m128i units = _mm_or_si128(_mm_or_si128(b0, b1), b2);
        // Packing keeps what fits a signed half: make the upper halves so.
        const __m128i halves = _mm_srai_epi32(_mm_slli_epi32(units, 16), 16);
        _mm_storel_epi64(reinterpret_cast<__m128i *>(out), _mm_packs_epi32(halves, halves));
        return mask(_mm_cmpeq_epi32(leads, _mm_set1_epi32(0xE0))) == 0xFFFF;
    }

    /// Decodes the characters that begin in the 16 bytes at `in`, where one begins.
    /// 18 bytes are read and 17 units may be written; `out` moves behind what
    /// counts. Returns the bytes taken: 0 unless there are only whole sequences of
    /// one to three bytes.
    static constexpr int kDecode = 18;

    static int decode(ZkUcs2 *&out, const unsigned char *in)
    {
        const __m128i b0 = load(in);
        // Taken as signed, continuation bytes (80 to BF) lie below lead bytes.
        const __m128i isContinuation = _mm_cmplt_epi8(b0, _mm_set1_epi8(-0x40));
        const unsigned leads = mask(b0) & ~mask(isContinuation);
        const unsigned triples = leads & mask(_mm_cmpgt_epi8(b0, _mm_set1_epi8(-0x21)));
        const unsigned others = leads & mask(_mm_cmpgt_epi8(b0, _mm_set1_epi8(-0x11)));
        const unsigned follow = leads << 1 | triples << 2;
        if ((follow & 0xFFFF) != mask(isContinuation) || others != 0) {
            return 0;
        }
        const __m128i b1 = load(in + 1);
        __m128i low = pairs(_mm_unpacklo_epi8(b0, zero()), _mm_unpacklo_epi8(b1, zero()));
        __m128i high = pairs(_mm_unpackhi_epi8(b0, zero()), _mm_unpackhi_epi8(b1, zero()));
        if (triples != 0) {
            const __m128i b2 = load(in + 2);
            low = orTriples(low, _mm_unpacklo_epi8(b0, zero()), _mm_unpacklo_epi8(b1, zero()),
                            _mm_unpacklo_epi8(b2, zero()));
            high = orTriples(high, _mm_unpackhi_epi8(b0, zero()), _mm_unpackhi_epi8(b1, zero()),
                             _mm_unpackhi_epi8(b2, zero()));
        }
        out += gather(out, low, high, isContinuation);
        // What follows beyond the block belongs to its last character.
        return 16 + static_cast<int>((follow >> 16 & 1) + (follow >> 17));
    }

    /// Encodes 8 units below 800; 16 bytes are written. Returns how many count, 0
    /// when a unit is larger.
    static constexpr int kEncode = 8;

    static int encode(unsigned char *out, const ZkUcs2 *in)
    {
        const __m128i units = load(in);
        if (!allZero(_mm_and_si128(units, all(0xF800)))) {
            return 0;
        }
        const __m128i isAscii = _mm_cmpeq_epi16(_mm_and_si128(units, all(0x780)), zero());
        const __m128i lead = _mm_or_si128(_mm_srli_epi16(units, 6), all(0x80C0));
        const __m128i rest = _mm_slli_epi16(_mm_and_si128(units, all(0x3F)), 8);
        const __m128i words = choose(isAscii, units, _mm_or_si128(lead, rest));
        // Two units in each 32-bit lane: where the first is ASCII the second moves
        // up to it. The bytes of a lane end where the next lane's begin.
        const __m128i closed = _mm_or_si128(_mm_and_si128(words, _mm_set1_epi32(0xFF)),
                                            _mm_slli_epi32(_mm_srli_epi32(words, 16), 8));
        const __m128i lanes = choose(ofEvenLane(isAscii), closed, words);
        const __m128i sizes = _mm_add_epi16(isAscii, all(2));
        __m128i ends =
            _mm_add_epi32(_mm_and_si128(sizes, _mm_set1_epi32(0xFFFF)), _mm_srli_epi32(sizes, 16));
        ends = _mm_add_epi32(ends, _mm_slli_si128(ends, 4));
        ends = _mm_add_epi32(ends, _mm_slli_si128(ends, 8));
        std::uint32_t end[4];
        std::uint32_t bytes[4];
        store(end, ends);
        store(bytes, lanes);
        std::memcpy(out, bytes, 4);
        std::memcpy(out + end[0], bytes + 1, 4);
        std::memcpy(out + end[1], bytes + 2, 4);
        std::memcpy(out + end[2], bytes + 3, 4);
        return static_cast<int>(end[3]);
    }

    /// Encodes 8 units of 800 and above to 24 bytes; 26 are written.
    static bool encodeTriples(unsigned char *out, const ZkUcs2 *in)
    {
        const __m128i units = load(in);
        if (mask(_mm_cmpeq_epi16(_mm_and_si128(units, all(0xF800)), zero())) != 0) {
            return false;
        }
        const __m128i b0 = _mm_srli_epi16(units, 12);
        const __m128i b1 = _mm_and_si128(_mm_slli_epi16(units, 2), all(0x3F00));
        const __m128i first = _mm_or_si128(_mm_or_si128(b0, b1), all(0x80E0));
        const __m128i third = _mm_or_si128(_mm_and_si128(units, all(0x3F)), all(0x80));
        storeTriples(out, _mm_unpacklo_epi16(first, third));
        storeTriples(out + 12, _mm_unpackhi_epi16(first, third));
        return true;
    }

private:
    static __m128i load(const void *from)
    {
        return _mm_loadu_si128(static_cast<const __m128i *>(from));
    }
    static void store(void *to, __m128i value)
    {
        _mm_storeu_si128(static_cast<__m128i *>(to), value);
    }
    static __m128i zero() { return _mm_setzero_si128(); }
    static __m128i all(int unit) { return _mm_set1_epi16(static_cast<short>(unit)); }
    static unsigned mask(__m128i bytes) { return static_cast<unsigned>(_mm_movemask_epi8(bytes)); }
    static bool allZero(__m128i value) { return mask(_mm_cmpeq_epi8(value, zero())) == 0xFFFF; }
    static __m128i choose(__m128i condition, __m128i yes, __m128i no)
    {
        return _mm_or_si128(_mm_and_si128(condition, yes), _mm_andnot_si128(condition, no));
    }
    /// The condition of the lower 16 bits of each 32-bit lane, for all of it.
    static __m128i ofEvenLane(__m128i condition)
    {
        // no test can tell: its bits are alike
        return _mm_srai_epi32(_mm_slli_epi32(condition, 16), 16);
    }

    /// Lanes of a byte and its successor, as ASCII or a sequence of two.
    static __m128i pairs(__m128i b0, __m128i b1)
    {
        const __m128i high = _mm_slli_epi16(_mm_and_si128(b0, all(0x1F)), 6);
        const __m128i two = _mm_or_si128(high, _mm_and_si128(b1, all(0x3F)));
        return choose(_mm_cmpgt_epi16(b0, all(0x7F)), two, b0);
    }

    /// `units`, but where a byte leads three the unit of these.
    static __m128i orTriples(__m128i units, __m128i b0, __m128i b1, __m128i b2)
    {
        const __m128i middle = _mm_slli_epi16(_mm_and_si128(b1, all(0x3F)), 6);
        const __m128i low = _mm_and_si128(b2, all(0x3F));
        const __m128i three = _mm_or_si128(_mm_or_si128(_mm_slli_epi16(b0, 12), middle), low);
        return choose(_mm_cmpgt_epi16(b0, all(0xDF)), three, units);
    }

    /// Writes the units whose byte is not a continuation, close together, and
    /// returns their number. Two bytes make at most two units, so each pair is
    /// written as two units where the pairs before it end; what is too much of it
    /// the next pair overwrites.
    static int gather(ZkUcs2 *out, __m128i low, __m128i high, __m128i isContinuation)
    {
        std::uint32_t pairs[8];
        store(pairs, unitsFirst(low, _mm_unpacklo_epi8(isContinuation, isContinuation)));
        store(pairs + 4, unitsFirst(high, _mm_unpackhi_epi8(isContinuation, isContinuation)));

        const __m128i counts = _mm_add_epi8(isContinuation, _mm_set1_epi8(1));
        const __m128i own =
            _mm_add_epi16(_mm_and_si128(counts, all(0xFF)), _mm_srli_epi16(counts, 8));
        __m128i ends = _mm_add_epi16(own, _mm_slli_si128(own, 2));
        ends = _mm_add_epi16(ends, _mm_slli_si128(ends, 4));
        ends = _mm_add_epi16(ends, _mm_slli_si128(ends, 8));
        ZkUcs2 begin[8];
        store(begin, _mm_sub_epi16(ends, own));
        scatter(out, begin, pairs, std::make_integer_sequence<int, 8>());
        return _mm_extract_epi16(ends, 7);
    }

    /// Writes each pair at its place, in ascending order.
    template <int... I>
    static void scatter(ZkUcs2 *out, const ZkUcs2 *begin, const std::uint32_t *pairs,
                        std::integer_sequence<int, I...> /* 0 to 7 */)
    {
        (std::memcpy(out + begin[I], pairs + I, sizeof pairs[I]), ...);
    }

    /// In each 32-bit lane of two units, the second in place of a first that is no
    /// unit.
    static __m128i unitsFirst(__m128i units, __m128i isContinuation)
    {
        return choose(ofEvenLane(isContinuation), _mm_srli_epi32(units, 16), units);
    }

    /// Four sequences of three bytes, each in the lower part of a 32-bit lane, close
    /// together; 14 bytes are written.
    static void storeTriples(unsigned char *out, __m128i lanes)
    {
        const __m128i first = _mm_and_si128(lanes, _mm_set_epi32(0, 0xFFFFFF, 0, 0xFFFFFF));
        const __m128i six = _mm_or_si128(first, _mm_slli_epi64(_mm_srli_epi64(lanes, 32), 24));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(out), six);
        _mm_storel_epi64(reinterpret_cast<__m128i *>(out + 6), _mm_unpackhi_epi64(six, six));
    }
};

#endif
