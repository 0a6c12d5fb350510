#ifndef ZKLANESSSE2_H
#define ZKLANESSSE2_H

#include "zkglobal.h"

#include <emmintrin.h>

/// Eight 16-bit lanes in an SSE2 register. A comparison gives all ones or all
/// zeros per lane; addresses need no alignment.
class ZkLanes
{
public:
    static constexpr int kCount = 8;

    /// The lanes in which a comparison held, lowest first: two bits for each.
    using Mask = unsigned;
    static int lowest(Mask mask) { return __builtin_ctz(mask) / 2; }
    static Mask withoutLowest(Mask mask)
    {
        const Mask second = mask & (mask - 1);
        return second & (second - 1);
    }

    ZkLanes() = default; ///< lanes of no value

    static ZkLanes load(const void *from)
    {
        return ZkLanes(_mm_loadu_si128(static_cast<const __m128i *>(from)));
    }
    static ZkLanes all(unsigned unit) { return ZkLanes(_mm_set1_epi16(static_cast<short>(unit))); }
    /// The units `at(0)` to `at(7)`.
    template <typename At>
    static ZkLanes of(At at)
    {
        const auto unit = [&at](int i) { return static_cast<short>(at(i)); };
        return ZkLanes(
            _mm_setr_epi16(unit(0), unit(1), unit(2), unit(3), unit(4), unit(5), unit(6), unit(7)));
    }
    /// Of the numbers `at(0)` to `at(7)` the lower and the upper halves.
    template <typename At>
    static void halvesOf(At at, ZkLanes *lower, ZkLanes *upper)
    {
        // Two at once: a register takes less long to be put together from few.
        const auto words = [&at](int i) {
            const std::uint64_t one = at(i), next = at(i + 1);
            return static_cast<long long>(next << 32 | one);
        };
        const __m128i first = _mm_set_epi64x(words(2), words(0));
        const __m128i second = _mm_set_epi64x(words(6), words(4));
        const auto low = [](__m128i four) { return _mm_srai_epi32(_mm_slli_epi32(four, 16), 16); };
        *lower = ZkLanes(_mm_packs_epi32(low(first), low(second)));
        *upper = ZkLanes(_mm_packs_epi32(_mm_srai_epi32(first, 16), _mm_srai_epi32(second, 16)));
    }
    void store(void *to) const { _mm_storeu_si128(static_cast<__m128i *>(to), m_lanes); }
    /// Calls `use(i, unit)` for each lane.
    template <typename Use>
    void forEach(Use use) const
    {
        std::uint64_t halves[2];
        store(halves);
        const auto unit = [&](int i) { return static_cast<ZkUcs2>(halves[i / 4] >> i % 4 * 16); };
        use(0, unit(0)), use(1, unit(1)), use(2, unit(2)), use(3, unit(3));
        use(4, unit(4)), use(5, unit(5)), use(6, unit(6)), use(7, unit(7));
    }
    /// A byte for each lane, whose value is at most 255.
    void storeBytes(void *to) const
    {
        _mm_storel_epi64(static_cast<__m128i *>(to), _mm_packus_epi16(m_lanes, m_lanes));
    }

    Mask mask() const { return static_cast<Mask>(_mm_movemask_epi8(m_lanes)); }
    bool any() const { return mask() != 0; }
    bool every() const { return mask() == 0xFFFF; }

    friend ZkLanes operator==(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(_mm_cmpeq_epi16(a.m_lanes, b.m_lanes));
    }
    friend ZkLanes operator&(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(_mm_and_si128(a.m_lanes, b.m_lanes));
    }
    friend ZkLanes operator|(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(_mm_or_si128(a.m_lanes, b.m_lanes));
    }
    friend ZkLanes operator+(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(_mm_add_epi16(a.m_lanes, b.m_lanes));
    }
    friend ZkLanes operator-(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(_mm_sub_epi16(a.m_lanes, b.m_lanes));
    }
    friend ZkLanes operator*(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(_mm_mullo_epi16(a.m_lanes, b.m_lanes));
    }
    /// The upper halves of the products.
    static ZkLanes timesUpper(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(_mm_mulhi_epu16(a.m_lanes, b.m_lanes));
    }
    friend ZkLanes operator^(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(_mm_xor_si128(a.m_lanes, b.m_lanes));
    }
    /// The bits that `mask` does not have.
    ZkLanes without(ZkLanes mask) const { return ZkLanes(_mm_andnot_si128(mask.m_lanes, m_lanes)); }
    /// The bits of `a` that `mask` has and of `b` that it has not.
    static ZkLanes either(ZkLanes mask, ZkLanes a, ZkLanes b)
    {
        return (a & mask) | b.without(mask);
    }
    template <int bits>
    ZkLanes shiftedLeft() const
    {
        return ZkLanes(_mm_slli_epi16(m_lanes, bits));
    }
    template <int bits>
    ZkLanes shiftedRight() const
    {
        return ZkLanes(_mm_srli_epi16(m_lanes, bits));
    }
    /// The lesser of two units, both below 32768.
    static ZkLanes least(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(_mm_min_epi16(a.m_lanes, b.m_lanes));
    }
    /// Lanes whose unit is `first` to `last`.
    static ZkLanes within(ZkLanes a, unsigned first, unsigned last)
    {
        return within(a, all(first), all(last - first));
    }
    /// Lanes whose unit is `first` or at most `distance` above it.
    static ZkLanes within(ZkLanes a, ZkLanes first, ZkLanes distance)
    {
        // Modulo 65536.
        const __m128i above =
            _mm_subs_epu16(_mm_sub_epi16(a.m_lanes, first.m_lanes), distance.m_lanes);
        return ZkLanes(_mm_cmpeq_epi16(above, _mm_setzero_si128()));
    }

private:
    explicit ZkLanes(__m128i value) : m_lanes(value) {}

    __m128i m_lanes;
};

#endif
