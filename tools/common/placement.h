#ifndef HOST_PLACEMENT_H
#define HOST_PLACEMENT_H

#include <zklineplacement.h>

#include <vector>

/// From a layout record to positions, by the library's `ZkLinePlacement`, which tells
/// where everything stands and why.
namespace host
{

using TextMetrics = ZkTextMetrics;
using LineStyle = ZkLineStyle;
using Anchor = ZkLineAnchor;
using PlacedGlyph = ZkPlacedGlyph;
using Cell = ZkLineCell;

/// One line of the classic engine that outlives its record.
struct PlacedLine {
    ZkRect rect;                     ///< as laid out, aligned in both directions
    int baseline;                    ///< the first row below it
    std::vector<PlacedGlyph> glyphs; ///< one for each glyph of the record, same order
    std::vector<Cell> cells;
};

/// `glyphs` are those of the whole text, as `ZkFontMetrics::glyphBitmap` gives them.
inline TextMetrics measureText(const ZkVector<const GlyphBitmap *> &glyphs, int lineHeight)
{
    return TextMetrics::of(glyphs, lineHeight);
}

/// The first row below the baseline of a line of plain glyphs whose last row is
/// `bottom`.
inline int baselineOf(int bottom, const TextMetrics &metrics)
{
    return metrics.baseline(bottom);
}

/// The positions of one record of `ZkFontMetrics::paintInfoList`.
PlacedLine placeLine(const PaintInfo &record, const LineStyle &style);

} // namespace host

#endif
