#include "painter.h"

#include <algorithm>

namespace host
{

namespace
{

constexpr ZkUcs2 kSpace = 0x0020;
constexpr int kHalo = 1; // the coverage that marks a halo pixel

/// Calls `draw(x, y, coverage)` for each pixel of a glyph that is neither empty
/// nor outside `clip`.
template <typename Draw>
void eachPixel(const PlacedGlyph &placed, const ZkRect &clip, Draw draw)
{
    const GlyphBitmap &glyph = *placed.glyph;
    if (!glyph.pixels) {
        return;
    }
    const ZkRect inside = overlap(
        clip, ZkRect(placed.x, placed.y, placed.x + glyph.width - 1, placed.y + glyph.height - 1));
    for (int y = inside.top(); y <= inside.bottom(); ++y) {
        const std::uint8_t *row = glyph.pixels + (y - placed.y) * glyph.pitch;
        for (int x = inside.left(); x <= inside.right(); ++x) {
            if (row[x - placed.x] != 0) {
                draw(x, y, static_cast<int>(row[x - placed.x]));
            }
        }
    }
}

/// Calls `draw(glyph)` for each glyph of the line that is to be seen.
template <typename Draw>
void eachGlyph(const PlacedLine &line, Draw draw)
{
    for (const Cell &cell : line.cells) {
        for (int k = 0; k < cell.count && !cell.leftOut; ++k) {
            draw(line.glyphs[static_cast<std::size_t>(cell.first) + static_cast<std::size_t>(k)]);
        }
    }
}

} // namespace

ZkRect underlineOf(const PlacedLine &line, const ZkFont &font, int charSpacing)
{
    const int size = font.fontSize();
    const int top = line.baseline + std::max(1, size / 12);
    ZkRect strip(0, top, -1, top + std::max(1, size / 16) - 1);
    bool found = false;
    for (const Cell &cell : line.cells) {
        if (line.glyphs[static_cast<std::size_t>(cell.first)].glyph->unicode == kSpace ||
            cell.leftOut) {
            continue;
        }
        strip.setLeft(found ? strip.left() : cell.x);
        strip.setRight(cell.x + cell.width - charSpacing - 1);
        found = true;
    }
    return strip;
}

void paintLine(Surface &surface, const PlacedLine &line, const ZkFont &font, int charSpacing,
               const TextColors &colors)
{
    const ZkRect clip = surface.clip();
    const ZkRect strip = font.isUnderLine() ? underlineOf(line, font, charSpacing) : ZkRect();
    const bool outlined = font.isOutline();
    if (outlined) {
        if (strip.isValid()) {
            surface.fill(
                ZkRect(strip.left() - 1, strip.top() - 1, strip.right() + 1, strip.bottom() + 1),
                colors.outline);
        }
        eachGlyph(line, [&](const PlacedGlyph &placed) {
            eachPixel(placed, clip,
                      [&](int x, int y, int) { surface.blend(x, y, colors.outline); });
        });
    }
    surface.fill(strip, colors.text);
    eachGlyph(line, [&](const PlacedGlyph &placed) {
        eachPixel(placed, clip, [&](int x, int y, int coverage) {
            if (!outlined || coverage != kHalo) {
                surface.blend(x, y, colors.text, coverage);
            }
        });
    });
}

void paintGuides(Surface &surface, const PlacedLine &line)
{
    const Color kRectangle = {40, 110, 230, 150};
    const Color kCell = {20, 150, 60, 150};
    const Color kBaseline = {220, 40, 40, 170};
    surface.frame(line.rect, kRectangle);
    for (const Cell &cell : line.cells) {
        if (!cell.leftOut) {
            surface.fill(ZkRect(cell.x, line.rect.top() + 1, cell.x, line.rect.bottom() - 1),
                         kCell);
        }
    }
    surface.fill(ZkRect(line.rect.left(), line.baseline, line.rect.right(), line.baseline),
                 kBaseline);
}

} // namespace host
