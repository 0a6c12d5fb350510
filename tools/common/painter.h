#ifndef HOST_PAINTER_H
#define HOST_PAINTER_H

#include "placement.h"
#include "surface.h"

#include <zkparagraph.h>

/// From positions to pixels: the other half of painting, by the library's
/// `ZkTextPainter`.
///
/// Underline is taken from the font that the host asked with: `GlyphBitmap::font`
/// remembers whoever asked for the glyph first.
namespace host
{

struct TextColors {
    Color text = {0, 0, 0, 255};
    Color outline = {255, 255, 255, 255}; ///< of the halo, in the outlined style
};

/// The strip under the text of a line, from its first glyph that is no space to
/// its last; an empty rectangle (right left of left) when there is none.
ZkRect underlineOf(const PlacedLine &line, const ZkFont &font, int charSpacing);

/// Draws one line. `font` is the font of the request; glyphs whose pixels are
/// null are passed over. Nothing is drawn outside the surface's clip rectangle.
void paintLine(Surface &surface, const PlacedLine &line, const ZkFont &font, int charSpacing,
               const TextColors &colors);

/// Paints a paragraph whose box has its corner at (x, y).
void paintParagraph(Surface &surface, const ZkParagraph &paragraph, int x, int y,
                    const TextColors &colors);

/// Draws what its layout did over it: lines (blue), a tick at each caret (green),
/// baselines (red).
void paintGuides(Surface &surface, const ZkParagraph &paragraph, int x, int y);

/// Draws what the layout did over the text: the line rectangle (blue), the cells
/// (green, a tick at each boundary) and the baseline (red).
void paintGuides(Surface &surface, const PlacedLine &line);

} // namespace host

#endif
