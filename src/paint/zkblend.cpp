#include "paint/zkblend.h"

#include "base/zklanes.h"
#include "base/zkneon.h"

#if defined(__SSE2__)
#    include "paint/zkblendsse2.h"
#elif ZK_HAS_LANES
#    include "paint/zkblendneon.h"
#else
#    include "paint/zkblendplain.h"
#endif

#include <cstring>
#include <type_traits>

namespace
{

/// The shares of `N` pixels as one number, as they stand in memory.
template <int N>
using Shares =
    std::conditional_t<N == 8, std::uint64_t,
                       std::conditional_t<N == 4, std::uint32_t,
                                          std::conditional_t<N == 2, std::uint16_t, std::uint8_t>>>;

/// Mixes `N` pixels at once. Most groups of a glyph are empty or full.
template <int N, typename Mix>
inline void mixGroup(const Mix &mix, std::uint8_t *to, Shares<N> shares)
{
    if (shares == 0) {
        return;
    }
    if constexpr (Mix::kHasStore) {
        if (shares == Shares<N>(~Shares<N>(0))) {
            return mix.template store<N>(to);
        }
    }
    mix.template blend<N>(to, shares);
}

template <int N>
inline Shares<N> loadShares(const std::uint8_t *from)
{
    Shares<N> shares;
    std::memcpy(&shares, from, N);
    return shares;
}

/// The shares without those of the first `done` pixels.
template <int N>
inline Shares<N> withoutFirst(Shares<N> shares, int done)
{
    const int bits = done * 8;
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return static_cast<Shares<N>>(shares >> bits << bits);
#else
    return static_cast<Shares<N>>(Shares<N>(shares << bits) >> bits);
#endif
}

/// Rows of at least `N` pixels. What does not fill a group is mixed as the last `N`
/// pixels of the row, with a share of 0 for those that are done.
template <int N, typename Mix>
void mixRows(const Mix &mix, const ZkBlendArea &area)
{
    std::uint8_t *to = area.pixels;
    const std::uint8_t *shares = area.shares;
    const int rest = area.width % N;
    const int whole = area.width - rest;
    for (int row = area.height; row > 0; --row) {
        for (int x = 0; x < whole; x += N) {
            mixGroup<N>(mix, to + static_cast<std::ptrdiff_t>(x) * Mix::kBytes,
                        loadShares<N>(shares + x));
        }
        if (rest != 0) {
            const int x = area.width - N;
            mixGroup<N>(mix, to + static_cast<std::ptrdiff_t>(x) * Mix::kBytes,
                        withoutFirst<N>(loadShares<N>(shares + x), N - rest));
        }
        to += area.pixelStep;
        shares += area.shareStep;
    }
}

template <typename Mix>
void mixArea(const Mix &mix, const ZkBlendArea &area)
{
    if (Mix::kMost >= 8 && area.width >= 8) {
        mixRows<(Mix::kMost >= 8 ? 8 : 4)>(mix, area); // no test can tell: steps of 4 do
    } else if (area.width >= 4) {
        mixRows<4>(mix, area);
    } else if (area.width >= 2) {
        mixRows<2>(mix, area);
    } else {
        mixRows<1>(mix, area);
    }
}

} // namespace

void ZK_VARIANT(zkBlend)(ZkTextSurface::Format format, const ZkBlendArea &area, std::uint32_t color)
{
    if constexpr (kZkChoosesNeon && !kZkIsNeonVariant) {
        if (zkHasNeon()) {
            return zkBlendNeon(format, area, color);
        }
    }
    switch (format) {
    case ZkTextSurface::Coverage8: return mixArea(ZkMix8(), area);
    case ZkTextSurface::Rgb565: return mixArea(ZkMix565(color), area);
    case ZkTextSurface::Xrgb8888: return mixArea(ZkMix32(color, 0x00FFFFFF), area);
    case ZkTextSurface::Argb8888: return mixArea(ZkMix32(color, 0xFFFFFFFF), area);
    }
}
