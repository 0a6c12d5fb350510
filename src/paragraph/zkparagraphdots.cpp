#include "paragraph/zkparagraphdata.h"

#include <algorithm>

namespace
{

// The last line of a text that has more than may be shown.
class Shortener
{
public:
    explicit Shortener(ZkParagraphData *d)
        : m_d(*d),
          m_line(d->lines.last()),
          m_hard(d->hardLines[d->hardLineAt(m_line.first)]),
          m_limit(d->boxWidth > 0 ? ZkPen{d->boxWidth} * 64 + 31 : INT64_MAX / 4)
    {
    }

    void shorten();

private:
    bool chooseDots(int unit);
    ZkPen dotsLength() const { return m_d.dots.advance * m_d.dots.count; }
    int headEnd(ZkPen room) const;
    int tailStart(int least, ZkPen room) const;
    ZkPen lengthOfTail(int first) const;

    ZkParagraphData &m_d;
    ZkTextLine &m_line;
    const ZkHardLine &m_hard;
    ZkPen m_limit;
    int m_run = -1; // whose dots were chosen
};

// An ellipsis, or three stops, as the typeface at `unit` has it. False when that is the one
// chosen before.
bool Shortener::chooseDots(int unit)
{
    const int number = std::min(m_d.runAt(unit), m_d.runs.size() - 1);
    if (number == m_run) {
        return false;
    }
    m_run = number;
    const ZkRun &run = m_d.runs[number];
    const ZkTypeface &face = m_d.faces.at(run.face);
    ZkDots &dots = m_d.dots;
    dots.index = face.glyphIndex(0x2026);
    dots.count = dots.index != 0 ? 1 : 3;
    if (dots.index == 0) {
        dots.index = face.glyphIndex('.');
    }
    dots.face = run.face;
    dots.font = run.font;
    dots.advance =
        ZkPen{std::max<int>(m_d.holder.glyph(face, dots.index, run.font)->bitmap.advance, 0)} * 64;
    return true;
}

// How far the text from the line's start on may be shown in `room`, spaces before the dots
// left out.
int Shortener::headEnd(ZkPen room) const
{
    if (room < 0) {
        return m_line.first;
    }
    return m_d.contentEnd(m_line.first, m_d.overflow(m_line.first, m_hard, room));
}

// Where the end of the text begins that may be shown in `room`: in the last hard line, at
// `least` or behind.
int Shortener::tailStart(int least, ZkPen room) const
{
    const int end = m_d.text.size();
    const ZkHardLine &last = m_d.hardLines.last();
    least = std::max(least, last.first);
    if (room < 0 || least >= end) {
        return end;
    }
    const ZkPen from = m_d.startOf(m_d.glyphs.size()) - room;
    int low = m_d.glyphAt(least), high = m_d.glyphs.size();
    while (low < high) {
        const int middle = low + (high - low) / 2;
        if (m_d.startOf(middle) < from) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    while (low > 0 && low < m_d.glyphs.size() &&
           m_d.glyphs[low].cluster == m_d.glyphs[low - 1].cluster) {
        ++low; // not into a cluster
    }
    int start = low < m_d.glyphs.size() ? m_d.glyphs[low].cluster : end;
    while (start < end && zkHangs(m_d.text.constData()[start])) {
        ++start;
    }
    return start;
}

ZkPen Shortener::lengthOfTail(int first) const
{
    return m_d.startOf(m_d.glyphs.size()) - m_d.startOf(m_d.glyphAt(first));
}

void Shortener::shorten()
{
    const int end = m_d.text.size();
    chooseDots(m_line.first);
    int head = m_line.first, tail = end;
    // Another font at the cut gives other dots, and those another cut: the last choice stays.
    constexpr int kRounds = 3;
    for (int round = 1; round <= kRounds; ++round) {
        const ZkPen room = m_limit - dotsLength();
        switch (m_d.ellipsis) {
        case ZkParagraph::EllipsisStart: tail = tailStart(m_line.first, room); break;
        case ZkParagraph::EllipsisMiddle:
            head = headEnd(m_d.boxWidth > 0 ? room / 2 : room);
            tail = tailStart(head, room - m_d.extent(m_line.first, head, m_hard));
            break;
        default: head = headEnd(room); break;
        }
        if (round < kRounds &&
            !chooseDots(head > m_line.first ? head - 1 : std::min(tail, end - 1))) {
            break;
        }
    }
    m_d.dots.hiddenFirst = head;
    m_d.dots.hiddenLast = tail;
    m_line.last = end;
    m_line.isShortened = true;
    m_line.endsHard = true;
    m_line.width =
        zkPixels(m_d.extent(m_line.first, head, m_hard) + dotsLength() + lengthOfTail(tail));
}

} // namespace

void ZkParagraphData::shorten()
{
    if (maximumLines > 0 && lines.size() == maximumLines && lines.last().last < text.size() &&
        ellipsis != ZkParagraph::EllipsisNone) {
        Shortener(this).shorten();
    }
}
