#ifndef ZKLINEPLACEMENT_H
#define ZKLINEPLACEMENT_H

#include "private/zkinlinearray.h"
#include "zkfontmetrics.h"
#include "zkplacedglyph.h"
#include "zkrect.h"

/// Of a whole text of the classic engine, in pixels.
struct ZkTextMetrics {
    int ascent = 0;     ///< largest `top`, at least 0
    int descent = 0;    ///< largest `descent`, at least 0
    int lineHeight = 0; ///< of the line rectangles

    /// `glyphs` are those of the whole text, as `ZkFontMetrics::glyphBitmap` gives them.
    ZK_EXPORT static ZkTextMetrics of(const ZkVector<const GlyphBitmap *> &glyphs, int lineHeight);

    /// The first row below the baseline of a line of plain glyphs whose last row is
    /// `bottom`.
    ZK_EXPORT int baseline(int bottom) const;
};

/// On which side a line keeps its place when what is seen of it needs less room
/// than the line rectangle has: an alef is left out, or it ends in spaces.
enum class ZkLineAnchor { Left, Center, Right };

/// What a line of the classic engine is placed with beside its record.
struct ZkLineStyle {
    ZkTextMetrics metrics;
    int charSpacing = 0;
    bool outlined = false; ///< the glyphs were asked for with a halo
    ZkLineAnchor anchor = ZkLineAnchor::Left;
    bool bare = false; ///< just what the layout tells: alefs drawn, spaces counted
};

/// The room of one glyph or of one Thai cluster.
struct ZkLineCell {
    int x;
    int width;    ///< with the character spacing; 0 when left out
    int first;    ///< index of its first glyph
    int count;    ///< of its glyphs
    bool leftOut; ///< an alef that the ligature beside it already shows
};

/// One line of the classic engine with each glyph at its place: what is between a
/// `PaintInfo` and a painter.
///
///     ZkLineStyle style;
///     style.metrics = ZkTextMetrics::of(layout.glyphBitmap(), layout.textPixelSize());
///     for (const PaintInfo &record : layout.paintInfoList()) {
///         painter.paint(ZkLinePlacement(record, style), font);
///     }
///
/// `ZkFontMetrics` hands out one record per line: a rectangle and the glyphs in
/// display order. What a painter has to add is this:
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
/// Lam-alef. The layout puts the ligature in the place of the lam and leaves the
/// alef where it is, so that text and glyphs keep their number. A reader would
/// see the alef twice: it is neither drawn nor given room.
///
/// Trailing spaces. The space at which the layout wraps stays on the line. It
/// hangs over the edge, so that right-aligned lines end with their last letter.
///
/// Up to 32 glyphs need no memory. An object belongs to one thread and holds no use
/// of its glyphs: the layout that gave the record must live.
class ZK_EXPORT ZkLinePlacement
{
public:
    /// Places the glyphs of one record of `ZkFontMetrics::paintInfoList`, none of
    /// which may be null. Coordinates wrap to 32 bits.
    ZkLinePlacement(const PaintInfo &record, const ZkLineStyle &style);
    ZkLinePlacement(const ZkLinePlacement &) = delete;
    ZkLinePlacement &operator=(const ZkLinePlacement &) = delete;

    /// As laid out, aligned in both directions.
    const ZkRect &rect() const { return m_rect; }
    /// The first row below it.
    int baseline() const { return m_baseline; }

    /// One for each glyph of the record, in its order.
    const ZkPlacedGlyph *glyphs() const { return m_glyphs.begin(); }
    int glyphCount() const { return m_glyphs.size(); }

    /// From left to right.
    const ZkLineCell *cells() const { return m_cells.begin(); }
    int cellCount() const { return m_cells.size(); }

    /// The strip under the text, from its first glyph that is no space to its last:
    /// as thick as the size over 16, and below the baseline by the size over 12, each
    /// at least a pixel. Null when there is no such glyph.
    ZkRect underline(const ZkFont &font) const;

    /// The same for glyphs and cells that somebody else keeps.
    static ZkRect underline(const ZkLineCell *cells, int cellCount, const ZkPlacedGlyph *glyphs,
                            int baseline, const ZkFont &font, int charSpacing);

private:
    void makeCells(const PaintInfo &record, const ZkLineStyle &style);
    void settleArabicMarks();

    ZkRect m_rect;
    int m_baseline;
    int m_charSpacing;
    ZkInlineArray<ZkPlacedGlyph, 32> m_glyphs;
    ZkInlineArray<ZkLineCell, 32> m_cells;
};

#endif
