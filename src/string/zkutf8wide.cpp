#include "string/zkutf8wide.h"

#if ZK_CHOOSES_WIDE

#    if !defined(__clang__)
// GCC's header makes registers whose contents do not matter of variables without value.
#        pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#        pragma GCC diagnostic ignored "-Wuninitialized"
#    endif

#    include <cpuid.h>
#    include <immintrin.h>

#    define ZK_WIDE __attribute__((target("avx512f,avx512bw,avx512vbmi,avx512vbmi2,popcnt")))

namespace
{

constexpr int kBytes = 64;
constexpr int kUnits = 32;

enum : unsigned char { Unknown, Lacks, Has };

// Two threads that ask first find the same.
unsigned char answer = Unknown;

// What the processor has, and whether the system keeps its registers.
bool hasInstructions()
{
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    constexpr unsigned kKeepsRegisters = 1U << 27, kCounts = 1U << 23;
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0 || // no test can tell: other leaves may say so
        (ecx & (kKeepsRegisters | kCounts)) != (kKeepsRegisters | kCounts)) {
        return false; // unreachable: where the tests run on a processor with AVX
    }
    unsigned kept = 0;
    __asm__("xgetbv" : "=a"(kept), "=d"(edx) : "c"(0));
    constexpr unsigned kAllRegisters = 0xE6; // of SSE, AVX and the three kinds of AVX-512
    if ((kept & kAllRegisters) != kAllRegisters ||
        __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) == 0) {
        return false; // unreachable: where they run on one with AVX-512
    }
    constexpr unsigned kWords = 1U << 16 | 1U << 30;  // AVX-512 F and BW
    constexpr unsigned kBytesToo = 1U << 1 | 1U << 6; // VBMI and VBMI2
    return (ebx & kWords) == kWords && (ecx & kBytesToo) == kBytesToo;
}

ZK_WIDE inline __m512i units(int value)
{
    return _mm512_set1_epi16(static_cast<short>(value));
}

ZK_WIDE inline __m512i bytes(int value)
{
    return _mm512_set1_epi8(static_cast<char>(value));
}

// Any bit of `from` that is set in `bits`, and those of `to`.
ZK_WIDE inline __m512i orBits(__m512i to, __m512i from, __m512i bits)
{
    return _mm512_ternarylogic_epi32(to, from, bits, 0xF8);
}

// The units of 32 characters: their first bytes, and what follows those.
ZK_WIDE inline __m512i pairs(__m256i first, __m256i second)
{
    const __m512i b0 = _mm512_cvtepu8_epi16(first);
    const __m512i b1 = _mm512_cvtepu8_epi16(second);
    const __m512i lead = _mm512_and_si512(_mm512_slli_epi16(b0, 6), units(0x7C0));
    return _mm512_mask_mov_epi16(b0, _mm512_cmpge_epu16_mask(b0, units(0xC0)),
                                 orBits(lead, b1, units(0x3F)));
}

ZK_WIDE inline __m512i triples(__m256i first, __m256i second, __m256i third)
{
    const __m512i b0 = _mm512_cvtepu8_epi16(first);
    const __m512i b2 = _mm512_cvtepu8_epi16(third);
    const __m512i middle = _mm512_slli_epi16(_mm512_cvtepu8_epi16(second), 6);
    const __m512i high = orBits(_mm512_slli_epi16(b0, 12), middle, units(0xFC0));
    return _mm512_mask_mov_epi16(pairs(first, second), _mm512_cmpge_epu16_mask(b0, units(0xE0)),
                                 orBits(high, b2, units(0x3F)));
}

ZK_WIDE inline __m256i half(__m512i of, int index)
{
    return index == 0 ? _mm512_castsi512_si256(of) : _mm512_extracti64x4_epi64(of, 1);
}

// How far a text is decoded: the next block, the place of its first unit, and a bit for
// each byte of the block that belongs to a character that began before it.
struct Decoded {
    const unsigned char *in;
    ZkUcs2 *out;
    std::uint64_t begun;
};

// Write the units of the characters in a block at `out`.
ZK_WIDE inline void storePairs(ZkUcs2 *out, __m512i first, __m512i second)
{
    _mm512_storeu_si512(out, pairs(half(first, 0), half(second, 0)));
    _mm512_storeu_si512(out + kUnits, pairs(half(first, 1), half(second, 1)));
}

ZK_WIDE inline void storeTriples(ZkUcs2 *out, int count, __m512i first, __m512i second,
                                 __m512i third)
{
    _mm512_storeu_si512(out, triples(half(first, 0), half(second, 0), half(third, 0)));
    if (count > kUnits) {
        _mm512_storeu_si512(out + kUnits, triples(half(first, 1), half(second, 1), half(third, 1)));
    }
}

// Decodes what begins in a block; false, and nothing is done, for one that has other
// than whole sequences. The next block is always 64 bytes on: where it begins waits for
// nothing that is found in this one.
ZK_WIDE inline bool decodeBlock(Decoded *at)
{
    const __m512i b0 = _mm512_loadu_si512(at->in);
    const std::uint64_t isAbove = _mm512_movepi8_mask(b0);
    if ((isAbove | at->begun) == 0) {
        _mm512_storeu_si512(at->out, _mm512_cvtepu8_epi16(half(b0, 0)));
        _mm512_storeu_si512(at->out + kUnits, _mm512_cvtepu8_epi16(half(b0, 1)));
        at->in += kBytes;
        at->out += kBytes;
        return true;
    }
    const std::uint64_t isLead = _mm512_cmpge_epu8_mask(b0, bytes(0xC0));
    const std::uint64_t isTriple = _mm512_cmpge_epu8_mask(b0, bytes(0xE0));
    // no test can tell: what is not taken here is decoded by the plain loop
    const std::uint64_t isFollowing = isAbove & ~isLead;
    if ((isLead << 1 | isTriple << 2 | at->begun) != isFollowing) {
        return false;
    }
    // The first bytes of all characters close together, the second ones, the third.
    const std::uint64_t begins = ~isFollowing;
    const auto count = static_cast<int>(_mm_popcnt_u64(begins));
    const __m512i first = _mm512_maskz_compress_epi8(begins, b0);
    const __m512i second = _mm512_maskz_compress_epi8(begins, _mm512_loadu_si512(at->in + 1));
    if (isTriple == 0) {
        storePairs(at->out, first, second);
    } else if (_mm512_cmpge_epu8_mask(b0, bytes(0xF0)) == 0) {
        const __m512i third = _mm512_maskz_compress_epi8(begins, _mm512_loadu_si512(at->in + 2));
        storeTriples(at->out, count, first, second, third);
    } else {
        return false;
    }
    *at = {at->in + kBytes, at->out + count, isLead >> 63 | isTriple >> 62};
    return true;
}

// Encodes 16 units of any size; 64 bytes are written.
ZK_WIDE inline int encodeAny(unsigned char *out, __m256i from)
{
    const __m512i unit = _mm512_cvtepu16_epi32(from);
    const __mmask16 isPair = _mm512_cmpge_epu32_mask(unit, _mm512_set1_epi32(0x80));
    const __mmask16 isTriple = _mm512_cmpge_epu32_mask(unit, _mm512_set1_epi32(0x800));
    // In each lane the bytes in the order in which they are written, the unused one last.
    const __m512i last = _mm512_and_si512(unit, _mm512_set1_epi32(0x3F));
    const __m512i middle = _mm512_and_si512(_mm512_slli_epi32(unit, 2), _mm512_set1_epi32(0x3F00));
    const __m512i pair =
        _mm512_or_si512(_mm512_or_si512(_mm512_srli_epi32(unit, 6), _mm512_slli_epi32(last, 8)),
                        _mm512_set1_epi32(0x80C0));
    const __m512i triple =
        _mm512_or_si512(orBits(_mm512_or_si512(middle, _mm512_slli_epi32(last, 16)),
                               _mm512_srli_epi32(unit, 12), _mm512_set1_epi32(0x0F)),
                        _mm512_set1_epi32(0x8080E0));
    const __m512i lanes =
        _mm512_mask_mov_epi32(_mm512_mask_mov_epi32(unit, isPair, pair), isTriple, triple);
    __m512i kept = _mm512_set1_epi32(0xFF);
    kept = _mm512_mask_mov_epi32(kept, isPair, _mm512_set1_epi32(0xFFFF));
    kept = _mm512_mask_mov_epi32(kept, isTriple, _mm512_set1_epi32(0xFFFFFF));
    _mm512_storeu_si512(out, _mm512_maskz_compress_epi8(_mm512_movepi8_mask(kept), lanes));
    return 16 + static_cast<int>(_mm_popcnt_u32(isPair) + _mm_popcnt_u32(isTriple));
}

// Encodes 32 units; returns the bytes that count.
ZK_WIDE inline int encodeBlock(unsigned char *out, const ZkUcs2 *in)
{
    const __m512i unit = _mm512_loadu_si512(in);
    const __mmask32 isPair = _mm512_cmpge_epu16_mask(unit, units(0x80));
    if (isPair == 0) {
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(out), _mm512_cvtepi16_epi8(unit));
        return kUnits;
    }
    if (_mm512_cmpge_epu16_mask(unit, units(0x800)) != 0) {
        const int size = encodeAny(out, half(unit, 0));
        return size + encodeAny(out + size, half(unit, 1));
    }
    const __m512i lead = _mm512_or_si512(_mm512_srli_epi16(unit, 6), units(0x80C0));
    const __m512i pair = orBits(lead, _mm512_slli_epi16(unit, 8), units(0x3F00));
    const __m512i lanes = _mm512_mask_mov_epi16(unit, isPair, pair);
    // The upper byte of a lane is one where the unit takes two.
    const __mmask64 kept =
        _mm512_movepi8_mask(_mm512_or_si512(_mm512_movm_epi16(isPair), units(0xFF)));
    _mm512_storeu_si512(out, _mm512_maskz_compress_epi8(kept, lanes));
    return kUnits + static_cast<int>(_mm_popcnt_u32(isPair));
}

} // namespace

bool zkIsWide()
{
    unsigned char known = __atomic_load_n(&answer, __ATOMIC_RELAXED);
    if (known == Unknown) {
        known = hasInstructions() ? Has : Lacks;
        __atomic_store_n(&answer, known, __ATOMIC_RELAXED);
    }
    return known == Has;
}

ZK_WIDE void zkDecodeWide(ZkUcs2 **out, const unsigned char **in, const unsigned char *end)
{
    Decoded at = {*in, *out, 0};
    // Of the last character two bytes may lie behind the block.
    while (end - at.in >= kBytes + 2 && decodeBlock(&at)) {
    }
    *in = at.in + _mm_popcnt_u64(at.begun);
    *out = at.out;
}

ZK_WIDE void zkEncodeWide(unsigned char **out, const ZkUcs2 **in, const ZkUcs2 *end)
{
    const ZkUcs2 *from = *in;
    unsigned char *to = *out;
    // The second half of a block is written as 64 bytes behind 48 at most.
    for (; end - from >= kUnits + 8; from += kUnits) {
        to += encodeBlock(to, from);
    }
    *in = from;
    *out = to;
}

#endif
