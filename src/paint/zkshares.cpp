#include "paint/zkshares.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr int kHalo = 1;      // the coverage that marks a halo pixel
constexpr int kBytes = 1024;  // turned into shares at a time
constexpr int kColumns = 256; // no test can tell: of them in a row at most
constexpr int kAtOnce = 16;   // rows are padded to this, so that loops have no rest

/// `share` of each byte in place; `count` is a multiple of `kAtOnce`.
template <typename Share>
inline void each(std::uint8_t *bytes, int count, Share share)
{
    for (int i = 0; i < count; i += kAtOnce) {
        for (int k = 0; k < kAtOnce; ++k) {
            bytes[i + k] = static_cast<std::uint8_t>(share(bytes[i + k]));
        }
    }
}

void toShares(std::uint8_t *bytes, int count, unsigned alpha, ZkCoverageKind kind)
{
    if (kind == ZkCoverageKind::Silhouette) {
        return each(bytes, count, [=](unsigned c) { return c != 0 ? alpha : 0; });
    }
    if (kind == ZkCoverageKind::InkInHalo) {
        each(bytes, count, [](unsigned c) { return c != kHalo ? c : 0; });
    }
    if (alpha != 255) {
        // zkShare without a division: t / 255 is (t + 128 + (t + 128) / 256) / 256.
        each(bytes, count, [=](unsigned c) {
            const auto t = static_cast<std::uint16_t>(c * alpha + 128);
            return static_cast<std::uint16_t>(t + (t >> 8)) >> 8;
        });
    }
}

} // namespace

void zkBlendCoverage(ZkTextSurface::Format format, const ZkBlendArea &area, std::uint32_t color,
                     ZkCoverageKind kind)
{
    std::uint8_t shares[kBytes];
    for (int x = 0; x < area.width; x += kColumns) {
        const int width = std::min(kColumns, area.width - x);
        // no test can tell: wider steps do
        const int step = (width + kAtOnce - 1) / kAtOnce * kAtOnce;
        const int most = kBytes / step;
        for (int y = 0; y < area.height; y += most) {
            const int rows = std::min(most, area.height - y);
            // no test can tell: what stands behind the columns is not drawn
            std::memset(shares, 0, static_cast<std::size_t>(rows * step));
            for (int row = 0; row < rows; ++row) {
                std::memcpy(shares + row * step, area.shares + (y + row) * area.shareStep + x,
                            static_cast<std::size_t>(width));
            }
            toShares(shares, rows * step, color >> 24, kind);
            zkBlend(format,
                    {area.pixels + y * area.pixelStep +
                         static_cast<std::ptrdiff_t>(x) * zkPixelBytes(format),
                     area.pixelStep, shares, step, width, rows},
                    color);
        }
    }
}
