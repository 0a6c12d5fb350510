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

namespace
{

const Color kRectangle = {40, 110, 230, 150};
const Color kCell = {20, 150, 60, 150};
const Color kBaseline = {220, 40, 40, 170};

} // namespace

void paintParagraph(Surface &surface, const ZkParagraph &paragraph, int x, int y,
                    const TextColors &colors)
{
    ZkTextPainter painter(surface.pixels());
    painter.setClip(surface.clip());
    painter.setColors(colors.text.argb(), colors.outline.argb());
    painter.paint(paragraph, x, y);
}

void paintGuides(Surface &surface, const ZkParagraph &paragraph, int x, int y)
{
    for (int i = 0; i < paragraph.lineCount(); ++i) {
        const ZkTextLine &line = paragraph.line(i);
        const int left = x + line.x, right = left + line.width - 1;
        const int top = y + line.top(), bottom = top + line.height() - 1;
        surface.frame(ZkRect(left, top, right, bottom), kRectangle);
        for (int at = line.first; at < line.last; at = paragraph.nextCluster(at)) {
            const int tick = x + paragraph.caret(at).x;
            surface.fill(ZkRect(tick, top + 1, tick, bottom - 1), kCell);
        }
        surface.fill(ZkRect(left, y + line.baseline, right, y + line.baseline), kBaseline);
    }
}

void paintGuides(Surface &surface, const PlacedLine &line)
{
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
