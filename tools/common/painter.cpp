#include "painter.h"

namespace host
{

ZkRect underlineOf(const PlacedLine &line, const ZkFont &font, int charSpacing)
{
    return ZkLinePlacement::underline(line.cells.data(), static_cast<int>(line.cells.size()),
                                      line.glyphs.data(), line.baseline, font, charSpacing);
}

void paintLine(Surface &surface, const PlacedLine &line, const ZkFont &font, int charSpacing,
               const TextColors &colors)
{
    std::vector<ZkPlacedGlyph> seen;
    for (const Cell &cell : line.cells) {
        const auto first = line.glyphs.begin() + cell.first;
        seen.insert(seen.end(), first, first + (cell.leftOut ? 0 : cell.count));
    }
    const ZkTextPainter::Strip strip = {
        font.isUnderLine() ? underlineOf(line, font, charSpacing) : ZkRect(), 0, font.isOutline()};
    ZkTextPainter painter(surface.pixels());
    painter.setClip(surface.clip());
    painter.setColors(colors.text.argb(), colors.outline.argb());
    painter.paint(seen.data(), static_cast<int>(seen.size()), 0, 0, &strip, 1);
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
