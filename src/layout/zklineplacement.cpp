#include "zklineplacement.h"

#include "glyph/zkmarks.h"

#include <algorithm>
#include <iterator>

namespace
{

typedef ZkVector<const GlyphBitmap *> Glyphs;

constexpr ZkUcs2 kSpace = 0x0020;
constexpr ZkUcs2 kSaraAm = 0x0E33;

/// The flags of a Thai cluster, as the layout reports them.
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

/// Puts the marks of a Thai cluster, which stands at `placed[0]`, on their base.
void settleThaiMarks(ZkPlacedGlyph *placed, const ThaiMarks &marks, const ZkLineCell &cell,
                     int charSpacing)
{
    ZkPlacedGlyph &base = placed[0];
    for (int k = 1; k < cell.count; ++k) {
        placed[k].x = zkThaiMarkX(*base.glyph, *placed[k].glyph, cell.x,
                                  static_cast<std::int64_t>(cell.width) - charSpacing);
    }
    ZkPlacedGlyph &first = placed[1];
    if (marks.lower) {
        zkDropBelow(first, base);
    }
    const int upperMark = marks.lower ? 2 : 1;
    if (upperMark < cell.count) {
        const std::int64_t shift = zkStemShift(placed[upperMark], base);
        for (int k = upperMark; k < cell.count; ++k) {
            placed[k].x = zkWrapped(placed[k].x - shift);
        }
    }
    if (marks.upper && cell.count == 3) {
        zkRaiseAbove(placed[2], first);
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

/// The room that what is seen leaves of the record's width, on the left of it.
std::int64_t indent(const PaintInfo &record, const ZkLineCell *cells, int cellCount,
                    const ZkLineStyle &style)
{
    std::int64_t missing = 0;
    bool isTrailing = !style.bare;
    for (int i = cellCount; i-- > 0;) {
        const GlyphBitmap &glyph = *record.glyphs.at(cells[i].first);
        isTrailing = isTrailing && glyph.unicode == kSpace;
        if (isTrailing || cells[i].leftOut) {
            missing += static_cast<std::int64_t>(glyph.advance) + style.charSpacing;
        }
    }
    switch (style.anchor) {
    case ZkLineAnchor::Left: return 0;
    case ZkLineAnchor::Center: return missing / 2;
    case ZkLineAnchor::Right: return missing;
    }
    return 0; // unreachable: the cases above are all there are
}

} // namespace

ZkTextMetrics ZkTextMetrics::of(const Glyphs &glyphs, int lineHeight)
{
    ZkTextMetrics metrics;
    metrics.lineHeight = lineHeight;
    for (int i = 0; i < glyphs.size(); ++i) {
        metrics.ascent = std::max<int>(metrics.ascent, glyphs.at(i)->top);
        metrics.descent = std::max<int>(metrics.descent, glyphs.at(i)->descent);
    }
    return metrics;
}

int ZkTextMetrics::baseline(int bottom) const
{
    const std::int64_t room = static_cast<std::int64_t>(lineHeight) - ascent - descent;
    return zkWrapped(static_cast<std::int64_t>(bottom) + 1 - descent - room / 2);
}

/// The cells of a line from x = 0 on.
void ZkLinePlacement::makeCells(const PaintInfo &record, const ZkLineStyle &style)
{
    const Glyphs &glyphs = record.glyphs;
    int x = 0;
    for (int i = 0; i < glyphs.size();) {
        ZkLineCell cell = {x, 0, i, 1 + thaiMarks(glyphs, i).count(), false};
        cell.leftOut =
            !style.bare && i + 1 < glyphs.size() && isAlefOf(*glyphs.at(i), *glyphs.at(i + 1));
        if (!cell.leftOut) {
            int advance = glyphs.at(i)->advance;
            for (int k = 1; k < cell.count; ++k) {
                advance = std::max<int>(advance, glyphs.at(i + k)->advance);
            }
            cell.width = zkWrapped(static_cast<std::int64_t>(advance) + style.charSpacing);
        }
        m_cells.append(cell);
        x = zkWrapped(static_cast<std::int64_t>(x) + cell.width);
        i += cell.count;
    }
}

ZkLinePlacement::ZkLinePlacement(const PaintInfo &record, const ZkLineStyle &style)
    : m_rect(record.left,
             zkWrapped(static_cast<std::int64_t>(record.bottom) - style.metrics.lineHeight + 1),
             record.right, record.bottom),
      m_baseline(0),
      m_charSpacing(style.charSpacing)
{
    const int origin = style.metrics.baseline(record.bottom);
    m_baseline = zkWrapped(static_cast<std::int64_t>(origin) + (style.outlined ? 2 : 0));
    makeCells(record, style);
    for (int i = 0; i < record.glyphs.size(); ++i) {
        m_glyphs.append({record.glyphs.at(i), 0, 0, i, 0}); // no test can tell: its cell places it
    }
    const std::int64_t start = record.left + indent(record, m_cells.begin(), m_cells.size(), style);
    for (ZkLineCell &cell : m_cells) {
        cell.x = zkWrapped(start + cell.x);
        ZkPlacedGlyph *placed = m_glyphs.begin() + cell.first;
        for (int k = 0; k < cell.count; ++k) {
            placed[k].x = zkWrapped(static_cast<std::int64_t>(cell.x) + placed[k].glyph->left);
            placed[k].y = zkWrapped(static_cast<std::int64_t>(origin) - placed[k].glyph->top);
        }
        if (cell.count > 1) {
            settleThaiMarks(placed, thaiMarks(record.glyphs, cell.first), cell, style.charSpacing);
        } else if (placed->glyph->unicode == kSaraAm &&
                   hasBareTone(record.glyphs, cell.first - 2)) {
            zkRaiseAbove(placed[-1], *placed);
        }
    }
    settleArabicMarks();
}

/// Puts the Arabic marks of a line on their letters. Walks towards the left, from
/// a letter to its first mark, its second, and so on.
void ZkLinePlacement::settleArabicMarks()
{
    const ZkPlacedGlyph *letter = nullptr, *above = nullptr, *below = nullptr;
    for (int i = m_cells.size(); i-- > 0;) {
        ZkPlacedGlyph &placed = m_glyphs[m_cells[i].first];
        if (m_cells[i].leftOut) {
            continue;
        }
        if (!isArabicMark(*placed.glyph) || !letter) {
            letter = above = below = &placed;
            continue;
        }
        placed.x = zkWrapped(static_cast<std::int64_t>(letter->x) +
                             (letter->glyph->width - placed.glyph->width) / 2);
        if (isBelowLetter(*placed.glyph)) {
            zkDropBelow(placed, *below);
            below = &placed;
        } else {
            zkRaiseAbove(placed, *above);
            above = &placed;
        }
    }
}

ZkRect ZkLinePlacement::underline(const ZkFont &font) const
{
    return underline(cells(), cellCount(), glyphs(), m_baseline, font, m_charSpacing);
}

ZkRect ZkLinePlacement::underline(const ZkLineCell *cells, int cellCount,
                                  const ZkPlacedGlyph *glyphs, int baseline, const ZkFont &font,
                                  int charSpacing)
{
    const int size = font.fontSize();
    ZkRect strip;
    bool found = false;
    for (const ZkLineCell *at = cells; at != cells + cellCount; ++at) {
        const ZkLineCell &cell = *at;
        if (glyphs[cell.first].glyph->unicode == kSpace || cell.leftOut) {
            continue;
        }
        strip.setLeft(found ? strip.left() : cell.x);
        strip.setRight(zkWrapped(static_cast<std::int64_t>(cell.x) + cell.width - charSpacing - 1));
        found = true;
    }
    if (found) {
        const std::int64_t top = static_cast<std::int64_t>(baseline) + std::max(1, size / 12);
        strip.setTop(zkWrapped(top));
        strip.setBottom(zkWrapped(top + std::max(1, size / 16) - 1));
    }
    return strip;
}
