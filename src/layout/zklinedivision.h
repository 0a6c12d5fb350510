#ifndef ZKLINEDIVISION_H
#define ZKLINEDIVISION_H

#include "layout/zkwordwidth.h"
#include "zkfontengine.h"
#include "zkfontmetrics.h"

/// Walks the resolved text once and cuts it into lines. A line is always a stretch
/// of the text, [start, i), so a line "is empty" when start == i.
class ZK_HIDDEN ZkFontMetrics::LineDivider
{
public:
    LineDivider(const ZkFontMetrics &layout, ZkInlineArray<Line, 2> &found)
        : m_units(layout.m_engine.text().constData()),
          m_glyphs(layout.m_engine.glyphs().constData()),
          m_count(layout.m_engine.text().size()),
          m_spacing(layout.m_charSpacing),
          m_wrapWidth(layout.m_wrapWidth),
          m_wordWrap(layout.m_wordWrap),
          m_slanted(layout.m_boldFace),
          m_lines(found)
    {
    }

    /// Appends the lines.
    void run();

private:
    bool isOneLine();
    int addLetters(int i);
    int addThaiCluster(int i);
    int addBreakAnywhere(int i);
    void addNewline(int i);

    void wrapBefore(int i, int wordWidth);
    bool startsWord(int i) const;
    int wordWidth(int i) const
    {
        return zkWordWidth(m_units + i, m_glyphs + i, m_count - i, m_spacing);
    }
    void widen(std::int64_t pixels) { m_width = zkWrapped(m_width + pixels); }
    void emit(int end, int slantedPixels);

    const ZkUcs2 *m_units;
    const GlyphBitmap *const *m_glyphs;
    int m_count;
    int m_spacing;
    int m_wrapWidth;
    bool m_wordWrap;
    bool m_slanted;
    ZkInlineArray<Line, 2> &m_lines;
    int m_start = 0; // of the current line
    int m_width = 0; // of the current line
};

#endif
