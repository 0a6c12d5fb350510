#include "placement.h"

#include <algorithm>

namespace host
{

namespace
{

typedef ZkVector<const GlyphBitmap *> Glyphs;

constexpr ZkUcs2 kSpace = 0x0020;
constexpr ZkUcs2 kSaraAm = 0x0E33;

/// Empty rows left between two marks of a cluster.
int markGap(const GlyphBitmap &glyph)
{
    return 1 + glyph.font.size / 32;
}

/// The flags of a Thai cluster, as the library reports them.
struct ThaiMarks {
    int tone = 0;
    int upper = 0;
    int lower = 0;
    int count() const { return (tone != 0) + (upper != 0) + (lower != 0); }
};

ThaiMarks thaiMarks(const Glyphs &glyphs, int i)
{
    ZkUcs2 units[3] = {0, 0, 0};
    for (int k = 0; k < 3 && i + k < glyphs.size(); ++k) {
        units[k] = glyphs.at(i + k)->unicode;
    }
    ThaiMarks marks;
    ZkFontMetrics::thaiFontCheck(units, &marks.tone, &marks.upper, &marks.lower);
    return marks;
}

/// True when a consonant and a tone mark, no vowel between them, stand at `i`.
bool hasBareTone(const Glyphs &glyphs, int i)
{
    return i >= 0 && thaiMarks(glyphs, i).tone == 1;
}

/// True when `glyph`, left of `next` on the screen, is the alef that `next`, a
/// lam-alef ligature, already shows.
bool isAlefOf(const GlyphBitmap &glyph, const GlyphBitmap &next)
{
    static const struct {
        ZkUcs2 alef;
        ZkUcs2 isolated;
        ZkUcs2 final;
    } kLigatures[] = {
        {0xFE82, 0xFEF5, 0xFEF6}, // ALEF WITH MADDA ABOVE
        {0xFE84, 0xFEF7, 0xFEF8}, // ALEF WITH HAMZA ABOVE
        {0xFE88, 0xFEF9, 0xFEFA}, // ALEF WITH HAMZA BELOW
        {0xFE8E, 0xFEFB, 0xFEFC}, // ALEF
    };
    return std::any_of(std::begin(kLigatures), std::end(kLigatures), [&](const auto &row) {
        return glyph.unicode == row.alef &&
               (next.unicode == row.isolated || next.unicode == row.final);
    });
}

/// The cells of a line from x = 0 on.
std::vector<Cell> cellsOf(const Glyphs &glyphs, const LineStyle &style)
{
    std::vector<Cell> cells;
    int x = 0;
    for (int i = 0; i < glyphs.size();) {
        Cell cell = {x, 0, i, 1 + thaiMarks(glyphs, i).count(), false};
        cell.leftOut =
            !style.bare && i + 1 < glyphs.size() && isAlefOf(*glyphs.at(i), *glyphs.at(i + 1));
        if (!cell.leftOut) {
            int advance = glyphs.at(i)->advance;
            for (int k = 1; k < cell.count; ++k) {
                advance = std::max<int>(advance, glyphs.at(i + k)->advance);
            }
            cell.width = advance + style.charSpacing;
        }
        cells.push_back(cell);
        x += cell.width;
        i += cell.count;
    }
    return cells;
}

/// Where a mark stands on a base whose pen is at `pen`.
int markX(const GlyphBitmap &base, const GlyphBitmap &mark, int pen, int cellAdvance)
{
    if (mark.advance == 0 && mark.left < 0) {
        return pen + base.advance + mark.left;
    }
    return pen + (cellAdvance - mark.width) / 2;
}

int lastColumn(const PlacedGlyph &placed)
{
    return placed.x + placed.glyph->width - 1;
}
int lastRow(const PlacedGlyph &placed)
{
    return placed.y + placed.glyph->height - 1;
}

bool shareColumns(const PlacedGlyph &a, const PlacedGlyph &b)
{
    return a.x <= lastColumn(b) && b.x <= lastColumn(a);
}

/// Moves `mark` up until it stands clear of `below`.
void raiseAbove(PlacedGlyph &mark, const PlacedGlyph &below)
{
    if (shareColumns(mark, below)) {
        mark.y -= std::max(0, lastRow(mark) + 1 + markGap(*mark.glyph) - below.y);
    }
}

/// Moves a lower mark down until it stands clear of a base that reaches as deep.
void dropBelow(PlacedGlyph &mark, const PlacedGlyph &base)
{
    if (shareColumns(mark, base) && mark.y <= lastRow(base)) {
        mark.y = lastRow(base) + 1 + markGap(*mark.glyph);
    }
}

/// How far an upper mark moves left so as not to cross the stem of a tall
/// consonant (PO PLA, FO FAN): the stem is ink in the right half of the base,
/// beside the rows of the mark.
int stemShift(const PlacedGlyph &mark, const PlacedGlyph &base)
{
    const GlyphBitmap &glyph = *base.glyph;
    const int rows = std::min<int>(glyph.height, lastRow(mark) + 1 - base.y);
    if (!glyph.pixels) {
        return 0;
    }
    for (int column = 0; column < glyph.width; ++column) {
        for (int row = 0; row < rows; ++row) {
            if (glyph.pixels[row * glyph.pitch + column] != 0) {
                const bool isStem = column >= glyph.width / 2;
                return isStem ? std::max(0, lastColumn(mark) + 1 - (base.x + column)) : 0;
            }
        }
    }
    return 0;
}

/// Puts the marks of a Thai cluster, which stands at `placed[0]`, on their base.
void settleMarks(PlacedGlyph *placed, const ThaiMarks &marks, const Cell &cell, int charSpacing)
{
    PlacedGlyph &base = placed[0];
    for (int k = 1; k < cell.count; ++k) {
        placed[k].x = markX(*base.glyph, *placed[k].glyph, cell.x, cell.width - charSpacing);
    }
    PlacedGlyph &first = placed[1];
    if (marks.lower) {
        dropBelow(first, base);
    }
    const int upperMark = marks.lower ? 2 : 1;
    if (upperMark < cell.count) {
        const int shift = stemShift(placed[upperMark], base);
        for (int k = upperMark; k < cell.count; ++k) {
            placed[k].x -= shift;
        }
    }
    if (marks.upper && cell.count == 3) {
        raiseAbove(placed[2], first);
    }
}

bool isArabicMark(const GlyphBitmap &glyph)
{
    const bool isMark = (glyph.unicode >= 0x064B && glyph.unicode <= 0x0655) || // FATHATAN on
                        glyph.unicode == 0x0670;                                // SUPERSCRIPT ALEF
    return isMark && glyph.advance == 0;
}

bool isBelowLetter(const GlyphBitmap &mark)
{
    return mark.unicode == 0x064D || mark.unicode == 0x0650 || // KASRATAN, KASRA
           mark.unicode == 0x0655;                             // HAMZA BELOW
}

/// Puts the Arabic marks of a line on their letters. Walks towards the left, from
/// a letter to its first mark, its second, and so on.
void settleArabicMarks(PlacedLine &line)
{
    const PlacedGlyph *letter = nullptr, *above = nullptr, *below = nullptr;
    for (std::size_t i = line.cells.size(); i-- > 0;) {
        const Cell &cell = line.cells[i];
        PlacedGlyph &placed = line.glyphs[static_cast<std::size_t>(cell.first)];
        if (cell.leftOut) {
            continue;
        }
        if (!isArabicMark(*placed.glyph) || !letter) {
            letter = above = below = &placed;
            continue;
        }
        placed.x = letter->x + (letter->glyph->width - placed.glyph->width) / 2;
        if (isBelowLetter(*placed.glyph)) {
            dropBelow(placed, *below);
            below = &placed;
        } else {
            raiseAbove(placed, *above);
            above = &placed;
        }
    }
}

/// The room that what is seen leaves of the record's width, on the left of it.
int indent(const PaintInfo &record, const std::vector<Cell> &cells, const LineStyle &style)
{
    int missing = 0;
    bool isTrailing = !style.bare;
    for (std::size_t i = cells.size(); i-- > 0;) {
        const GlyphBitmap &glyph = *record.glyphs.at(cells[i].first);
        isTrailing = isTrailing && glyph.unicode == kSpace;
        if (isTrailing || cells[i].leftOut) {
            missing += glyph.advance + style.charSpacing;
        }
    }
    switch (style.anchor) {
    case Anchor::Left: return 0;
    case Anchor::Center: return missing / 2;
    case Anchor::Right: return missing;
    }
    return 0;
}

} // namespace

TextMetrics measureText(const Glyphs &glyphs, int lineHeight)
{
    TextMetrics metrics;
    metrics.lineHeight = lineHeight;
    for (int i = 0; i < glyphs.size(); ++i) {
        metrics.ascent = std::max<int>(metrics.ascent, glyphs.at(i)->top);
        metrics.descent = std::max<int>(metrics.descent, glyphs.at(i)->descent);
    }
    return metrics;
}

int baselineOf(int bottom, const TextMetrics &metrics)
{
    const int room = metrics.lineHeight - metrics.ascent - metrics.descent;
    return bottom + 1 - metrics.descent - room / 2;
}

PlacedLine placeLine(const PaintInfo &record, const LineStyle &style)
{
    PlacedLine line;
    line.rect = ZkRect(record.left, record.bottom - style.metrics.lineHeight + 1, record.right,
                       record.bottom);
    const int origin = baselineOf(record.bottom, style.metrics);
    line.baseline = origin + (style.outlined ? 2 : 0);
    line.cells = cellsOf(record.glyphs, style);
    line.glyphs.resize(static_cast<std::size_t>(record.glyphs.size()));

    const int start = record.left + indent(record, line.cells, style);
    for (Cell &cell : line.cells) {
        cell.x += start;
        PlacedGlyph *placed = &line.glyphs[static_cast<std::size_t>(cell.first)];
        for (int k = 0; k < cell.count; ++k) {
            const GlyphBitmap *glyph = record.glyphs.at(cell.first + k);
            placed[k] = {glyph, cell.x + glyph->left, origin - glyph->top};
        }
        if (cell.count > 1) {
            settleMarks(placed, thaiMarks(record.glyphs, cell.first), cell, style.charSpacing);
        } else if (placed->glyph->unicode == kSaraAm &&
                   hasBareTone(record.glyphs, cell.first - 2)) {
            raiseAbove(placed[-1], *placed);
        }
    }
    settleArabicMarks(line);
    return line;
}

} // namespace host
