#ifndef ZKBLENDNEON_H
#define ZKBLENDNEON_H

#include "zkglobal.h"

#include <arm_neon.h>

#include <cstring>

/// A namespace of their own: the plain kernels have the same names, and a library that
/// chooses at run time has both.
inline namespace zkNeonKernels
{

/// The kernels of zkblend.h with the NEON registers of a little-endian ARM, eight
/// parts of 8 bits in each.

/// `n` bytes from any address into the low end of a register, and back.
template <int n>
inline uint8x8_t zkLoadBytes(const void *from)
{
    if (n == 8) {
        return vld1_u8(static_cast<const std::uint8_t *>(from));
    }
    std::uint32_t low = 0;
    std::memcpy(&low, from, n < 4 ? n : 4);
    return vreinterpret_u8_u32(vdup_n_u32(low));
}

template <int n>
inline void zkStoreBytes(void *to, uint8x8_t bytes)
{
    if (n == 8) {
        vst1_u8(static_cast<std::uint8_t *>(to), bytes);
    } else {
        const std::uint32_t low = vget_lane_u32(vreinterpret_u32_u8(bytes), 0);
        std::memcpy(to, &low, n < 4 ? n : 4);
    }
}

/// Parts `below` and `above` mixed by `share`, eight at once. The sum t of the two
/// products is at most 65025; (t + (t + 128) / 256 + 128) / 256 is t / 255, rounded
/// to the nearest whole number.
inline uint8x8_t zkMixed(uint8x8_t below, uint8x8_t above, uint8x8_t share)
{
    const uint16x8_t sum = vmlal_u8(vmull_u8(below, vmvn_u8(share)), above, share);
    return vraddhn_u16(sum, vrshrq_n_u16(sum, 8));
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
        zkStoreBytes<N>(to, zkMixed(zkLoadBytes<N>(to), vdup_n_u8(255), zkLoadBytes<N>(&shares)));
    }
};

/// Pixels of 32 bits. A part that `changed` has no bits for stays as it is.
class ZkMix32
{
public:
    static constexpr int kBytes = 4, kMost = 4;
    static constexpr bool kHasStore = true;

    ZkMix32(std::uint32_t color, std::uint32_t changed)
        : m_pixels(vreinterpret_u8_u32(vdup_n_u32(color | 0xFF000000))),
          m_changed(vreinterpret_u8_u32(vdup_n_u32(changed)))
    {
    }

    template <int N>
    void store(std::uint8_t *to) const
    {
        storePair<(N < 2 ? 4 : 8)>(to);
        if (N == 4) {
            storePair<8>(to + 8);
        }
    }

    template <int N, typename Shares>
    void blend(std::uint8_t *to, Shares shares) const
    {
        const uint8x8_t each = zkLoadBytes<N>(&shares);
        blendPair<(N < 2 ? 4 : 8)>(to, vtbl1_u8(each, vcreate_u8(0x0101010100000000)));
        if (N == 4) {
            blendPair<8>(to + 8, vtbl1_u8(each, vcreate_u8(0x0303030302020202)));
        }
    }

private:
    template <int n>
    void storePair(std::uint8_t *to) const
    {
        zkStoreBytes<n>(to, vbsl_u8(m_changed, m_pixels, zkLoadBytes<n>(to)));
    }

    template <int n>
    void blendPair(std::uint8_t *to, uint8x8_t share) const
    {
        zkStoreBytes<n>(to, zkMixed(zkLoadBytes<n>(to), m_pixels, vand_u8(share, m_changed)));
    }

    uint8x8_t m_pixels, m_changed;
};

/// Pixels of 16 bits. Shifted in behind itself, a part's high bits repeat below it;
/// the way back rounds to the nearest step.
class ZkMix565
{
public:
    static constexpr int kBytes = 2, kMost = 8;
    static constexpr bool kHasStore = true;

    explicit ZkMix565(std::uint32_t color)
        : m_red(vdup_n_u8(static_cast<std::uint8_t>(color >> 16))),
          m_green(vdup_n_u8(static_cast<std::uint8_t>(color >> 8))),
          m_blue(vdup_n_u8(static_cast<std::uint8_t>(color))),
          m_pixels(packed(m_red, m_green, m_blue))
    {
    }

    template <int N>
    void store(std::uint8_t *to) const
    {
        storePixels<N>(to, m_pixels);
    }

    template <int N, typename Shares>
    void blend(std::uint8_t *to, Shares shares) const
    {
        const uint8x8_t share = zkLoadBytes<N>(&shares);
        const uint16x8_t below = loadPixels<N>(to);
        const uint8x8_t r = vshrn_n_u16(below, 8);
        const uint8x8_t g = vshrn_n_u16(below, 3);
        const uint8x8_t b = vmovn_u16(vshlq_n_u16(below, 3));
        storePixels<N>(to, packed(zkMixed(vsri_n_u8(r, r, 5), m_red, share),
                                  zkMixed(vsri_n_u8(g, g, 6), m_green, share),
                                  zkMixed(vsri_n_u8(b, b, 5), m_blue, share)));
    }

private:
    template <int N>
    static uint16x8_t loadPixels(const std::uint8_t *from)
    {
        const uint8x8_t low = zkLoadBytes<(N < 4 ? N * 2 : 8)>(from);
        const uint8x8_t high = N == 8 ? vld1_u8(from + (N == 8 ? 8 : 0)) : low;
        return vreinterpretq_u16_u8(vcombine_u8(low, high));
    }
    template <int N>
    static void storePixels(std::uint8_t *to, uint16x8_t pixels)
    {
        const uint8x16_t bytes = vreinterpretq_u8_u16(pixels);
        zkStoreBytes<(N < 4 ? N * 2 : 8)>(to, vget_low_u8(bytes));
        if (N == 8) {
            vst1_u8(to + 8, vget_high_u8(bytes));
        }
    }

    // The nearest of 31 steps in the five highest bits, of 63 in the six highest;
    // green is shifted in behind red, blue behind green.
    static uint16x8_t packed(uint8x8_t red, uint8x8_t green, uint8x8_t blue)
    {
        const uint16x8_t r = vmlal_u8(vdupq_n_u16(1014), red, vdup_n_u8(249));
        const uint16x8_t g = vmlal_u8(vdupq_n_u16(505), green, vdup_n_u8(253));
        const uint16x8_t b = vmlal_u8(vdupq_n_u16(1014), blue, vdup_n_u8(249));
        return vsriq_n_u16(vsriq_n_u16(r, g, 5), b, 11);
    }

    uint8x8_t m_red, m_green, m_blue;
    uint16x8_t m_pixels;
};

} // namespace zkNeonKernels

#endif
