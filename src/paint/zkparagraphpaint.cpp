#include "zkparagraph.h"
#include "zktextpainter.h"

/// The strips of one line: an underline that the font or the style asks for, and the
/// stroke through the letters that only a style can.
void ZkTextPainter::paintStretches(const ZkParagraph &paragraph, int line, int x, int y,
                                   Pass pass) const
{
    const ZkTextStretch *stretches = nullptr;
    const int count = paragraph.stretches(line, &stretches);
    for (const ZkTextStretch *at = stretches; at != stretches + count; ++at) {
        const unsigned lines = style(at->tag).lines;
        const int right = at->x + at->width - 1;
        const bool outlined = at->font.isOutline();
        if (at->font.isUnderLine() || (lines & Underline) != 0) {
            const Strip strip = {ZkRect(at->x, at->underlineTop, right,
                                        at->underlineTop + at->underlineThickness - 1),
                                 at->tag, outlined};
            paintStrips(&strip, 1, x, y, pass);
        }
        if ((lines & StrikeThrough) != 0) {
            const Strip strip = {
                ZkRect(at->x, at->strikeTop, right, at->strikeTop + at->strikeThickness - 1),
                at->tag, outlined};
            paintStrips(&strip, 1, x, y, pass);
        }
    }
}

void ZkTextPainter::paintLines(const ZkParagraph &paragraph, int x, int y, Pass pass) const
{
    for (int i = 0; i < paragraph.lineCount(); ++i) {
        const ZkTextLine &line = paragraph.line(i);
        // Marks may reach out of their line, by less than its height.
        const std::int64_t top = static_cast<std::int64_t>(y) + line.top();
        const int height = line.height();
        if (top + 2 * height <= m_bounds.top() || top - height > m_bounds.bottom()) {
            continue;
        }
        paintStretches(paragraph, i, x, y, pass);
        const ZkPlacedGlyph *glyphs = nullptr;
        const int count = paragraph.glyphs(i, &glyphs);
        paintGlyphs(glyphs, count, x, y, pass);
    }
}

void ZkTextPainter::paint(const ZkParagraph &paragraph, int x, int y) const
{
    if (paragraph.font().isOutline() || paragraph.spanCount() > 0) {
        paintLines(paragraph, x, y, HaloPass);
    }
    paintLines(paragraph, x, y, InkPass);
}
