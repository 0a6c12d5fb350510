#ifndef ZKMARKS_H
#define ZKMARKS_H

#include "zkplacedglyph.h"

#include <algorithm>

/// How marks are kept clear of each other and of their letter: by the ink of their
/// bitmaps. Rows count downwards.

/// Empty rows left between two marks of a cluster.
inline int zkMarkGap(const GlyphBitmap &glyph)
{
    return 1 + glyph.font.size / 32;
}

inline std::int64_t zkLastColumn(const ZkPlacedGlyph &placed)
{
    return static_cast<std::int64_t>(placed.x) + placed.glyph->width - 1;
}
inline std::int64_t zkLastRow(const ZkPlacedGlyph &placed)
{
    return static_cast<std::int64_t>(placed.y) + placed.glyph->height - 1;
}

inline bool zkShareColumns(const ZkPlacedGlyph &a, const ZkPlacedGlyph &b)
{
    return a.x <= zkLastColumn(b) && b.x <= zkLastColumn(a);
}

/// Moves `mark` up until it stands clear of `below`.
inline void zkRaiseAbove(ZkPlacedGlyph &mark, const ZkPlacedGlyph &below)
{
    if (zkShareColumns(mark, below)) {
        const std::int64_t crossed = zkLastRow(mark) + 1 + zkMarkGap(*mark.glyph) - below.y;
        mark.y = zkWrapped(mark.y - std::max<std::int64_t>(0, crossed));
    }
}

/// Moves a lower mark down until it stands clear of a base that reaches as deep.
inline void zkDropBelow(ZkPlacedGlyph &mark, const ZkPlacedGlyph &base)
{
    if (zkShareColumns(mark, base) && mark.y <= zkLastRow(base)) {
        mark.y = zkWrapped(zkLastRow(base) + 1 + zkMarkGap(*mark.glyph));
    }
}

/// How far an upper mark moves left so as not to cross the stem of a tall
/// Thai consonant (PO PLA, FO FAN): the stem is ink in the right half of the base,
/// beside the rows of the mark.
inline std::int64_t zkStemShift(const ZkPlacedGlyph &mark, const ZkPlacedGlyph &base)
{
    const GlyphBitmap &glyph = *base.glyph;
    const std::int64_t rows = std::min<std::int64_t>(glyph.height, zkLastRow(mark) + 1 - base.y);
    if (!glyph.pixels) {
        return 0;
    }
    for (int column = 0; column < glyph.width; ++column) {
        for (int row = 0; row < rows; ++row) {
            if (glyph.pixels[static_cast<std::ptrdiff_t>(row) * glyph.pitch + column] != 0) {
                const bool isStem = column >= glyph.width / 2;
                const std::int64_t stem = static_cast<std::int64_t>(base.x) + column;
                return isStem ? std::max<std::int64_t>(0, zkLastColumn(mark) + 1 - stem) : 0;
            }
        }
    }
    return 0;
}

/// Where a Thai mark stands on a base whose pen is at `pen`.
inline int zkThaiMarkX(const GlyphBitmap &base, const GlyphBitmap &mark, std::int64_t pen,
                       std::int64_t cellAdvance)
{
    if (mark.advance == 0 && mark.left < 0) {
        return zkWrapped(pen + base.advance + mark.left);
    }
    return zkWrapped(pen + (cellAdvance - mark.width) / 2);
}

#endif
