#ifndef HOST_TEXTBLOCK_H
#define HOST_TEXTBLOCK_H

#include "painter.h"

#include <memory>
#include <vector>

namespace host
{

/// The alignment flags of `ZkFontMetrics`, by name.
enum Align {
    AlignLeft = 1, ///< for right-to-left text the right edge, and the other way round
    AlignRight = 2,
    AlignHCenter = 4,
    AlignTop = 16,
    AlignBottom = 32,
    AlignVCenter = 64,
};

/// A text and how it is wanted.
struct TextRequest {
    ZkString text;
    ZkFont font;
    int lineSpacing = 0; ///< half of it is added to each line
    int charSpacing = 0; ///< added after each character
    int alignment = AlignLeft | AlignTop;
    int width = 0;        ///< of the text box, where lines wrap; below 1 as wide as the text
    bool wordWrap = true; ///< end lines between words; else at newlines alone
    bool bare = false;    ///< the library's own result: see `breakParagraphs` and `LineStyle`
};

/// A laid-out text, as a host uses the library: lay out, ask for the size, place
/// it somewhere, paint it.
///
///     host::TextBlock block({ZkString("Volume"), ZkFont(24, false, false, false, false)});
///     block.place(8, 8, block.size().height());
///     block.paint(canvas, colors);
///
/// The font file must have been set, and stay, for as long as the object lives.
class TextBlock
{
public:
    explicit TextBlock(const TextRequest &request);

    /// Width and height of the lines.
    ZkSize size() const { return m_size; }

    /// What the library found in the whole text.
    bool isRightToLeft() const { return m_metrics->isRightToLeft(); }
    int lineHeight() const { return m_lineStyle.metrics.lineHeight; }

    /// Aligns the lines in a box at (x, y) of the requested width and of `height`
    /// (less than 1: as high as the text). May be called again.
    void place(int x, int y, int height);

    /// The box and the lines as last placed; nothing before.
    const ZkRect &box() const { return m_box; }
    const std::vector<PlacedLine> &lines() const { return m_lines; }

    /// The text of line `i`, in display order.
    ZkString lineText(int i) const;

    void paint(Surface &surface, const TextColors &colors) const;

    /// Frames the box and draws the guides of each line over what is painted.
    void paintGuides(Surface &surface) const;

private:
    TextRequest m_request;
    std::unique_ptr<ZkFontMetrics> m_metrics;
    LineStyle m_lineStyle;
    ZkSize m_size;
    ZkRect m_box;
    std::vector<PlacedLine> m_lines;
};

} // namespace host

#endif
