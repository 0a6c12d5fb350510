#ifndef ZKBLENDPLAIN_H
#define ZKBLENDPLAIN_H

#include "zkglobal.h"

#include <cstring>

/// The kernels of zkblend.h for processors without vector instructions: two parts in
/// the halves of one word, 16 bits for each.

constexpr std::uint32_t kBothParts = 0x00FF00FF;

/// Parts `below` and `above` mixed by `share`, two at once. The sum of the products
/// and 128 is at most 65153, so neither half carries over. t / 255, rounded to the
/// nearest whole number, is (t + 128 + (t + 128) / 256) / 256.
inline std::uint32_t zkMixed(std::uint32_t below, std::uint32_t above, std::uint32_t share)
{
    const std::uint32_t sum = below * (255 - share) + above * share + 0x00800080;
    return (sum + (sum >> 8 & kBothParts)) >> 8 & kBothParts;
}

/// Calls `mix(address, share)` for each of `N` pixels whose share is not 0.
template <int N, int kBytes, typename Shares, typename Mix>
inline void zkEachShare(std::uint8_t *to, Shares shares, Mix mix)
{
    std::uint8_t each[N];
    std::memcpy(each, &shares, N);
    for (int i = 0; i < N; ++i) {
        if (each[i] != 0) {
            mix(to + i * kBytes, static_cast<std::uint32_t>(each[i]));
        }
    }
}

template <typename Pixel>
inline Pixel zkLoadPixel(const std::uint8_t *from)
{
    Pixel pixel;
    std::memcpy(&pixel, from, sizeof pixel);
    return pixel;
}

template <typename Pixel>
inline void zkStorePixel(std::uint8_t *to, Pixel pixel)
{
    std::memcpy(to, &pixel, sizeof pixel);
}

/// Pixels that are coverage alone.
class ZkMix8
{
public:
    static constexpr int kBytes = 1, kMost = 4;
    static constexpr bool kHasStore = true;

    template <int N>
    void store(std::uint8_t *to) const
    {
        std::memset(to, 255, N);
    }

    template <int N, typename Shares>
    void blend(std::uint8_t *to, Shares shares) const
    {
        zkEachShare<N, kBytes>(to, shares, [](std::uint8_t *at, std::uint32_t share) {
            *at = static_cast<std::uint8_t>(zkMixed(*at, 255, share));
        });
    }
};

/// Pixels of 32 bits. A part that `changed` has no bits for stays as it is.
class ZkMix32
{
public:
    static constexpr int kBytes = 4, kMost = 4;
    static constexpr bool kHasStore = false;

    ZkMix32(std::uint32_t color, std::uint32_t changed)
        : m_redBlue(color & kBothParts),
          m_alphaGreen((color | 0xFF000000) >> 8 & kBothParts),
          m_changed(changed)
    {
    }

    template <int N, typename Shares>
    void blend(std::uint8_t *to, Shares shares) const
    {
        zkEachShare<N, kBytes>(to, shares, [this](std::uint8_t *at, std::uint32_t share) {
            const std::uint32_t below = zkLoadPixel<std::uint32_t>(at);
            std::uint32_t above = m_alphaGreen << 8 | m_redBlue;
            if (share != 255) {
                above = zkMixed(below >> 8 & kBothParts, m_alphaGreen, share) << 8 |
                        zkMixed(below & kBothParts, m_redBlue, share);
            }
            zkStorePixel(at, (above & m_changed) | (below & ~m_changed));
        });
    }

private:
    std::uint32_t m_redBlue, m_alphaGreen, m_changed;
};

/// Pixels of 16 bits. 33 / 4 of a part of five bits, 65 / 16 of one of six repeat
/// its high bits below it; the way back rounds to the nearest step.
class ZkMix565
{
public:
    static constexpr int kBytes = 2, kMost = 4;
    static constexpr bool kHasStore = false;

    explicit ZkMix565(std::uint32_t color)
        : m_redBlue(color & kBothParts),
          m_green(color >> 8 & 0xFF),
          m_pixel(packed(m_redBlue, m_green))
    {
    }

    template <int N, typename Shares>
    void blend(std::uint8_t *to, Shares shares) const
    {
        zkEachShare<N, kBytes>(to, shares, [this](std::uint8_t *at, std::uint32_t share) {
            zkStorePixel(at, share == 255 ? m_pixel : mixed(zkLoadPixel<std::uint16_t>(at), share));
        });
    }

private:
    std::uint16_t mixed(std::uint32_t below, std::uint32_t share) const
    {
        const std::uint32_t fives = (below << 5 & 0x001F0000) | (below & 0x1F);
        const std::uint32_t six = below >> 5 & 0x3F;
        return packed(zkMixed(fives * 33 >> 2 & kBothParts, m_redBlue, share),
                      zkMixed(six * 65 >> 4, m_green, share));
    }

    static std::uint16_t packed(std::uint32_t redBlue, std::uint32_t green)
    {
        const std::uint32_t fives = (redBlue * 249 + 0x03F603F6) >> 11; // 1014 in each half
        const std::uint32_t six = (green * 253 + 505) >> 10;
        return static_cast<std::uint16_t>((fives >> 5 & 0xF800) | six << 5 | (fives & 0x1F));
    }

    std::uint32_t m_redBlue, m_green;
    std::uint16_t m_pixel;
};

#endif
