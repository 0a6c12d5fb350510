#ifndef ZKPLACEDGLYPH_H
#define ZKPLACEDGLYPH_H

#include "zkfont.h"

/// One glyph at its place: what a layout hands to a painter. Plain data; the record
/// and its pixels belong to whoever laid the text out.
struct ZkPlacedGlyph {
    const GlyphBitmap *glyph;
    int x;       ///< of the bitmap's first column
    int y;       ///< of the bitmap's first row
    int cluster; ///< index of the first unit of the text that the glyph stands for
    int tag;     ///< the host's, of the span that the glyph stands in; 0 without one
};

#endif
