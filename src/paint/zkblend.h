#ifndef ZKBLEND_H
#define ZKBLEND_H

#include "zktextpainter.h"

#include <cstddef>

/// One colour mixed into pixels, each by a share of 0 to 255 of its own: all that
/// reaches the memory of a surface. Every part of 8 bits becomes
///
///     (below * (255 - share) + part * share + 127) / 255
///
/// so a share of 0 changes nothing and one of 255 leaves the colour alone. How the
/// parts of each format come about is told in zktextpainter.h. All kernels give
/// these bytes, whatever vector instructions they use.

/// Bytes of one pixel.
constexpr int zkPixelBytes(ZkTextSurface::Format format)
{
    return format == ZkTextSurface::Coverage8 ? 1 : format == ZkTextSurface::Rgb565 ? 2 : 4;
}

/// A rectangle of pixels and of the shares that belong to them. Steps may be negative
/// or, for shares that are the same in every row, 0.
struct ZkBlendArea {
    std::uint8_t *pixels;
    std::ptrdiff_t pixelStep; ///< bytes from row to row
    const std::uint8_t *shares;
    std::ptrdiff_t shareStep;
    int width;
    int height;
};

/// Mixes `color` (0xRRGGBB, bits above ignored) into all pixels of the area. Reads
/// and writes nothing outside it; addresses need no alignment.
void zkBlend(ZkTextSurface::Format format, const ZkBlendArea &area, std::uint32_t color);

/// The same for processors with NEON, where that is found out at run time.
void zkBlendNeon(ZkTextSurface::Format format, const ZkBlendArea &area, std::uint32_t color);

#endif
