#include "textblock.h"

#include "paragraph.h"

#include <algorithm>

namespace host
{

namespace
{

/// The side on which the lines of a text stand.
Anchor anchorOf(int alignment, bool rightToLeft)
{
    switch (alignment & 7) {
    case AlignHCenter: return Anchor::Center;
    case AlignRight: return rightToLeft ? Anchor::Left : Anchor::Right;
    default: return rightToLeft ? Anchor::Right : Anchor::Left;
    }
}

} // namespace

TextBlock::TextBlock(const TextRequest &request) : m_request(request)
{
    const bool wraps = request.wordWrap && request.width > 0;
    const bool breaksHere = wraps && !request.bare && host::isRightToLeft(request.text);
    const ZkString text =
        breaksHere ? breakParagraphs(request.text, request.font, request.charSpacing, request.width)
                   : request.text;
    m_metrics = std::make_unique<ZkFontMetrics>(text, request.font, request.lineSpacing,
                                                request.charSpacing);
    m_metrics->setWorpWrap(wraps && !breaksHere);
    m_metrics->setAlignment(request.alignment);
    m_metrics->setTextMinRect(0, 0, request.width, 1);
    m_size = m_metrics->sizeHint();

    const int lineHeight = m_metrics->textPixelSize() + request.lineSpacing / 2;
    m_lineStyle.metrics = measureText(m_metrics->glyphBitmap(), lineHeight);
    m_lineStyle.charSpacing = request.charSpacing;
    m_lineStyle.outlined = request.font.isOutline();
    m_lineStyle.anchor = anchorOf(request.alignment, isRightToLeft());
    m_lineStyle.bare = request.bare;
}

void TextBlock::place(int x, int y, int height)
{
    const int width = m_request.width > 0 ? m_request.width : m_size.width();
    const int rows = height > 0 ? height : m_size.height();
    m_box = ZkRect(x, y, x + width - 1, y + rows - 1);
    m_lines.clear();
    // Divides again, which also matters here: each paintInfoList() of one division
    // moves the lines further down.
    m_metrics->setTextMinRect(x, y, std::max(width, 1), rows);
    const ZkVector<PaintInfo> &records = m_metrics->paintInfoList();
    for (int i = 0; i < records.size(); ++i) {
        m_lines.push_back(placeLine(records.at(i), m_lineStyle));
    }
}

ZkString TextBlock::lineText(int i) const
{
    return m_metrics->subText().at(i);
}

void TextBlock::paint(Surface &surface, const TextColors &colors) const
{
    for (const PlacedLine &line : m_lines) {
        paintLine(surface, line, m_request.font, m_request.charSpacing, colors);
    }
}

void TextBlock::paintGuides(Surface &surface) const
{
    surface.frame(m_box, {120, 120, 120, 160});
    for (const PlacedLine &line : m_lines) {
        host::paintGuides(surface, line);
    }
}

} // namespace host
