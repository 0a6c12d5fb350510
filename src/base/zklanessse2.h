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
    void store(void *to) const { _mm_storeu_si128(static_cast<__m128i *>(to), m_lanes); }
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
