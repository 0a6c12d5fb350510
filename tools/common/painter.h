#ifndef HOST_PAINTER_H
#define HOST_PAINTER_H

#include "placement.h"
#include "surface.h"

/// From positions to pixels: the other half of painting.
///
/// A glyph's pixels are coverage: 0 leaves the picture as it is, 255 is the text
/// colour, what is between mixes the two. In the outlined style a coverage of 1
/// is the halo around the glyph, drawn in a colour of its own; ink is mixed with
/// that colour then, not with the picture, so that no gap shows between the two.
/// All halos of a line are drawn before any ink, or the halo of one letter would
/// cut into the letter it joins.
///
/// Underline is the host's affair. It is taken from the font that the host asked
/// with: `GlyphBitmap::font` remembers whoever asked for the glyph first.
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

/// Draws what the layout did over the text: the line rectangle (blue), the cells
/// (green, a tick at each boundary) and the baseline (red).
void paintGuides(Surface &surface, const PlacedLine &line);

} // namespace host

#endif
