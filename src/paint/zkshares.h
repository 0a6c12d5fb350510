#ifndef ZKSHARES_H
#define ZKSHARES_H

#include "paint/zkblend.h"

/// From coverage to shares, where the two differ.

/// What a glyph's coverage bytes mean to a pass of painting.
enum class ZkCoverageKind {
    Ink,        ///< coverage
    InkInHalo,  ///< the same, but 1 marks the halo and is no ink
    Silhouette, ///< anything but 0 is covered
};

/// What `coverage` makes of `alpha`, both 0 to 255, rounded to the nearest.
constexpr unsigned zkShare(unsigned coverage, unsigned alpha)
{
    return (coverage * alpha + 127) / 255;
}

/// `zkBlend` with coverage in the place of shares and the alpha of `color` (0xAARRGGBB).
void zkBlendCoverage(ZkTextSurface::Format format, const ZkBlendArea &area, std::uint32_t color,
                     ZkCoverageKind kind);

#endif
