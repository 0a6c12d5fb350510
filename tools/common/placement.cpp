#include "placement.h"

namespace host
{

PlacedLine placeLine(const PaintInfo &record, const LineStyle &style)
{
    const ZkLinePlacement placed(record, style);
    return {placed.rect(),
            placed.baseline(),
            {placed.glyphs(), placed.glyphs() + placed.glyphCount()},
            {placed.cells(), placed.cells() + placed.cellCount()}};
}

} // namespace host
