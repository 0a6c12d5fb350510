#ifndef HOST_PLACEMENT_H
#define HOST_PLACEMENT_H

#include <zkfontmetrics.h>

#include <vector>

/// From a layout record to positions: the half of painting that knows no pixels.
///
/// The library hands out one `PaintInfo` per line: a rectangle and the glyphs in
/// display order. What a painter has to add is told here once, for every host:
///
/// Baseline. The height of a line is 136 % of T + D, T the largest `top` and D
/// the largest `descent` of all glyphs of the *text* (not of the line), plus half
/// the line spacing. A record's `bottom` is the line's last row after vertical
/// alignment; its `top` is not aligned and of no use here. The room beyond T + D
/// is shared out above and below, so the baseline is `bottom + 1 - D` less half
/// of it. A glyph's first row is drawn `top` rows above the baseline. Outlined
/// glyphs come out two rows lower all together, for the row that the halo adds
/// makes their `top` one less, not one more; the baseline goes with them.
///
/// Cells. Glyphs are walked from left to right, right-to-left lines too: those
/// are in display order already. A cell is one glyph and takes its advance plus
/// the character spacing. A Thai consonant and its marks are one cell, as wide as
/// the widest advance among them. Advances alone place the cells; the bearing
/// `left` shifts the picture inside.
///
/// Thai marks. Most fonts give a mark no advance and a negative bearing, so that
/// it falls on the consonant when drawn behind it. A mark that does take room is
/// centred on the cell. Then what would collide is moved: an upper mark to the
/// left of a tall consonant's stem, a tone mark above an upper vowel (or above
/// the ring of a SARA AM that follows), a lower vowel below a deep consonant.
///
/// Arabic vowel marks stand left of their letter in display order and take no
/// room. Each is centred on the letter, above or below it and the marks before.
///
/// Lam-alef. The library puts the ligature in the place of the lam and leaves the
/// alef where it is, so that text and glyphs keep their number. A reader would
/// see the alef twice: it is neither drawn nor given room.
///
/// Trailing spaces. The space at which the library wraps stays on the line. It
/// hangs over the edge, so that right-aligned lines end with their last letter.
namespace host
{

/// Of a whole text, in pixels.
struct TextMetrics {
    int ascent = 0;     ///< largest `top`, at least 0
    int descent = 0;    ///< largest `descent`, at least 0
    int lineHeight = 0; ///< of the line rectangles
};

/// `glyphs` are those of the whole text, as `ZkFontMetrics::glyphBitmap` gives them.
TextMetrics measureText(const ZkVector<const GlyphBitmap *> &glyphs, int lineHeight);

/// The first row below the baseline of a line of plain glyphs whose last row is
/// `bottom`.
int baselineOf(int bottom, const TextMetrics &metrics);

/// On which side a line keeps its place when what is seen of it needs less room
/// than the line rectangle has: an alef is left out, or it ends in spaces.
enum class Anchor { Left, Center, Right };

struct LineStyle {
    TextMetrics metrics;
    int charSpacing = 0;
    bool outlined = false; ///< the glyphs were asked for with a halo
    Anchor anchor = Anchor::Left;
    bool bare = false; ///< just what the library tells: alefs drawn, spaces counted
};

/// One glyph at its place in the picture.
struct PlacedGlyph {
    const GlyphBitmap *glyph;
    int x; ///< of the first column
    int y; ///< of the first row
};

/// The room of one glyph or of one Thai cluster.
struct Cell {
    int x;
    int width;    ///< with the character spacing; 0 when left out
    int first;    ///< index of its first glyph
    int count;    ///< of its glyphs
    bool leftOut; ///< an alef that the ligature beside it already shows
};

struct PlacedLine {
    ZkRect rect;                     ///< as laid out, aligned in both directions
    int baseline;                    ///< the first row below it
    std::vector<PlacedGlyph> glyphs; ///< one for each glyph of the record, same order
    std::vector<Cell> cells;
};

/// The positions of one record of `ZkFontMetrics::paintInfoList`.
PlacedLine placeLine(const PaintInfo &record, const LineStyle &style);

} // namespace host

#endif
