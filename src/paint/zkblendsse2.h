#ifndef ZKBLENDSSE2_H
#define ZKBLENDSSE2_H

#include "zkglobal.h"

#include <emmintrin.h>

#include <cstring>

/// The kernels of zkblend.h with SSE2. Parts of 8 bits are mixed in lanes of 16: the
/// sum of two products and 128 is at most 65153, and t / 255, rounded to the nearest
/// whole number, is (t + 128) * 257 / 65536 for every t up to 65025.

/// `n` bytes from any address into the low end of a register, and back.
template <int n>
inline __m128i zkLoadBytes(const void *from)
{
    if (n == 16) {
        return _mm_loadu_si128(static_cast<const __m128i *>(from));
    }
    if (n == 8) {
        return _mm_loadl_epi64(static_cast<const __m128i *>(from));
    }
    int low = 0;
    std::memcpy(&low, from, n < 4 ? n : 4);
    return _mm_cvtsi32_si128(low);
}

template <int n>
inline void zkStoreBytes(void *to, __m128i bytes)
{
    if (n == 16) {
        _mm_storeu_si128(static_cast<__m128i *>(to), bytes);
    } else if (n == 8) {
        _mm_storel_epi64(static_cast<__m128i *>(to), bytes);
    } else {
        const int low = _mm_cvtsi128_si32(bytes);
        std::memcpy(to, &low, n < 4 ? n : 4);
    }
}

/// The number in every lane of 16 bits.
inline __m128i zkLanesOf(unsigned value)
{
    return _mm_set1_epi16(static_cast<short>(value));
}

/// Parts `below` and `above` mixed by `share`, eight at once.
inline __m128i zkMixed(__m128i below, __m128i above, __m128i share)
{
    const __m128i sum = _mm_add_epi16(_mm_mullo_epi16(below, _mm_xor_si128(share, zkLanesOf(255))),
                                      _mm_mullo_epi16(above, share));
    return _mm_mulhi_epu16(_mm_add_epi16(sum, zkLanesOf(128)), zkLanesOf(257));
}

/// Eight lanes of bytes.
inline __m128i zkWidened(__m128i bytes)
{
    return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
}

/// Pixels that are coverage alone.
class ZkMix8
{
public:
    static constexpr int kBytes = 1, kMost = 8;
    static constexpr bool kHasStore = true;

    template <int N>
    void store(std::uint8_t *to) const
    {
        std::memset(to, 255, N);
    }

    template <int N, typename Shares>
    void blend(std::uint8_t *to, Shares shares) const
    {
        const __m128i share = zkWidened(zkLoadBytes<N>(&shares));
        const __m128i mixed = zkMixed(zkWidened(zkLoadBytes<N>(to)), zkLanesOf(255), share);
        zkStoreBytes<N>(to, _mm_packus_epi16(mixed, mixed));
    }
};

/// Pixels of 32 bits. A part that `changed` has no bits for stays as it is.
class ZkMix32
{
public:
    static constexpr int kBytes = 4, kMost = 4;
    static constexpr bool kHasStore = true;

    ZkMix32(std::uint32_t color, std::uint32_t changed)
        : m_keepsAlpha(changed != 0xFFFFFFFF),
          m_pixels(_mm_set1_epi32(static_cast<int>(color | 0xFF000000))),
          m_parts(zkWidened(m_pixels)),
          m_changed(_mm_set1_epi32(static_cast<int>(changed)))
    {
    }

    template <int N>
    void store(std::uint8_t *to) const
    {
        if (m_keepsAlpha) {
            const __m128i kept = _mm_andnot_si128(m_changed, zkLoadBytes<N * 4>(to));
            zkStoreBytes<N * 4>(to, _mm_or_si128(kept, _mm_and_si128(m_changed, m_pixels)));
        } else {
            zkStoreBytes<N * 4>(to, m_pixels);
        }
    }

    template <int N, typename Shares>
    void blend(std::uint8_t *to, Shares shares) const
    {
        __m128i share = zkLoadBytes<N>(&shares);
        share = _mm_unpacklo_epi8(share, share);
        share = _mm_and_si128(_mm_unpacklo_epi16(share, share), m_changed);
        const __m128i below = zkLoadBytes<N * 4>(to);
        const __m128i low = zkMixed(zkWidened(below), m_parts, zkWidened(share));
        __m128i high = low;
        if (N == 4) {
            const __m128i zero = _mm_setzero_si128();
            high = zkMixed(_mm_unpackhi_epi8(below, zero), m_parts, _mm_unpackhi_epi8(share, zero));
        }
        zkStoreBytes<N * 4>(to, _mm_packus_epi16(low, high));
    }

private:
    bool m_keepsAlpha;
    __m128i m_pixels, m_parts, m_changed;
};

/// Pixels of 16 bits. Multiplied with these factors, the high halves are the parts
/// in 8 bits, with their high bits repeated below; the way back rounds to the nearest
/// step and leaves it at its place.
class ZkMix565
{
public:
    static constexpr int kBytes = 2, kMost = 8;
    static constexpr bool kHasStore = true;

    explicit ZkMix565(std::uint32_t color)
        : m_red(zkLanesOf(color >> 16 & 0xFF)),
          m_green(zkLanesOf(color >> 8 & 0xFF)),
          m_blue(zkLanesOf(color & 0xFF)),
          m_pixels(packed(m_red, m_green, m_blue))
    {
    }

    template <int N>
    void store(std::uint8_t *to) const
    {
        zkStoreBytes<N * 2>(to, m_pixels);
    }

    template <int N, typename Shares>
    void blend(std::uint8_t *to, Shares shares) const
    {
        const __m128i share = zkWidened(zkLoadBytes<N>(&shares));
        const __m128i below = zkLoadBytes<N * 2>(to);
        const __m128i five = zkLanesOf(264), six = zkLanesOf(8320);
        const __m128i red = _mm_mulhi_epu16(_mm_and_si128(below, zkLanesOf(0xF800)), five);
        const __m128i green = _mm_mulhi_epu16(_mm_and_si128(below, zkLanesOf(0x07E0)), six);
        const __m128i blue = _mm_mulhi_epu16(_mm_slli_epi16(below, 11), five);
        zkStoreBytes<N * 2>(to, packed(zkMixed(red, m_red, share), zkMixed(green, m_green, share),
                                       zkMixed(blue, m_blue, share)));
    }

private:
    static __m128i packed(__m128i red, __m128i green, __m128i blue)
    {
        const __m128i high = zkLanesOf(0xF800);
        const __m128i r = _mm_and_si128(steps5(red), high);
        const __m128i g = _mm_and_si128(_mm_srli_epi16(steps6(green), 5), zkLanesOf(0x07E0));
        const __m128i b = _mm_srli_epi16(steps5(blue), 11);
        return _mm_or_si128(_mm_or_si128(r, g), b);
    }
    // The nearest of 31 steps in the five highest bits, of 63 in the six highest.
    static __m128i steps5(__m128i part)
    {
        return _mm_add_epi16(_mm_mullo_epi16(part, zkLanesOf(249)), zkLanesOf(1014));
    }
    static __m128i steps6(__m128i part)
    {
        return _mm_add_epi16(_mm_mullo_epi16(part, zkLanesOf(253)), zkLanesOf(505));
    }

    __m128i m_red, m_green, m_blue, m_pixels;
};

#endif
