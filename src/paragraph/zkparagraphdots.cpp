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
          m_limit(d->limit())
    {
    }

    void shorten();

private:
    bool chooseDots(int unit);
    ZkPen dotsLength() const { return m_d.dots.advance * m_d.dots.count; }
    int headEnd(ZkPen room) const;
    int tailStart(int least, ZkPen room) const;
    int withoutLast(int head) const;
    int withoutFirst(int tail) const;
    ZkPen settle(int *head, int *tail);
    ZkPen shapeEnds(int first, int last);
    ZkPen extent(int first, int last) const;

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
    ZkDots &dots = m_d.dots;
    ZkSign sign = m_d.signOf(run.face, run.font, 0x2026);
    dots.count = sign.index != 0 ? 1 : 3;
    if (sign.index == 0) {
        sign = m_d.signOf(run.face, run.font, '.');
    }
    dots.index = sign.index;
    dots.advance = sign.advance;
    dots.face = run.face;
    dots.font = run.font;
    return true;
}

// How far the text from the line's start on may be shown in `room`, spaces before the dots
// left out.
int Shortener::headEnd(ZkPen room) const
{
    if (room < 0) {
        return m_line.first;
    }
    const int over = m_d.overflow(m_line.first, m_hard, room);
    return m_d.contentEnd(m_line.first, std::max(over, m_line.first));
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
           (m_d.glyphs[low].cluster == m_d.glyphs[low - 1].cluster ||
            m_d.glyphs[low].cluster < least)) {
        ++low; // not into a cluster
    }
    int start = low < m_d.glyphs.size() ? m_d.glyphs[low].cluster : end;
    while (start < end && zkHangs(m_d.text.constData()[start])) {
        ++start; // no test can tell: else what does not fit is taken off again
    }
    return start;
}

// The head without its last cluster.
int Shortener::withoutLast(int head) const
{
    return m_d.contentEnd(m_line.first, std::max(m_d.clusterAt(head - 1), m_line.first));
}

// The tail without its first cluster.
int Shortener::withoutFirst(int tail) const
{
    const int end = m_d.text.size();
    do {
        ++tail;
    } while (tail < end && (!m_d.isCluster(tail) || zkHangs(m_d.text.constData()[tail])));
    return tail;
}

// Tabs behind the dots take no room.
ZkPen Shortener::extent(int first, int last) const
{
    return last < m_d.text.size() || first == m_line.first
               ? m_d.extent(first, last, m_hard)
               : m_d.startOf(m_d.glyphAt(last)) - m_d.startOf(m_d.glyphAt(first));
}

// Shapes both ends of `[first, last)` again where their letters depend on what is not
// shown. The length of all of it.
ZkPen Shortener::shapeEnds(int first, int last)
{
    const int line = m_d.lines.size() - 1;
    int start = first, end = last;
    while (start < last && m_d.isUnsafe(start)) {
        ++start;
    }
    if (last < m_d.text.size()) {
        while (end > start && m_d.isUnsafe(end)) {
            --end;
        }
    }
    if (end == start) {
        return first == last ? 0 : m_d.shapeAgain(first, last, first, last, line);
    }
    ZkPen length = extent(start, end);
    length += first == start ? 0 : m_d.shapeAgain(first, start, first, last, line);
    length += last == end ? 0 : m_d.shapeAgain(end, last, first, last, line);
    return length;
}

// Takes clusters away until what is shown fits as it is shaped there. Its length.
ZkPen Shortener::settle(int *head, int *tail)
{
    const ZkPen room = m_limit - dotsLength();
    while (m_d.patches.size() > 0 && m_d.patches.last().line == m_d.lines.size() - 1) {
        m_d.patchGlyphs.truncate(m_d.patches.last().glyphFirst);
        m_d.patches.truncate(m_d.patches.size() - 1);
    }
    const int patch = m_d.patches.size(), glyph = m_d.patchGlyphs.size();
    for (;;) {
        const ZkPen headLength = shapeEnds(m_line.first, *head);
        const ZkPen tailLength = shapeEnds(*tail, m_d.text.size());
        const bool hasHead = *head > m_line.first, hasTail = *tail < m_d.text.size();
        if (headLength + tailLength <= room || (!hasHead && !hasTail)) {
            return headLength + tailLength;
        }
        if (hasHead && (!hasTail || headLength > tailLength)) {
            *head = withoutLast(*head);
        } else {
            *tail = withoutFirst(*tail);
        }
        m_d.patches.truncate(patch);
        m_d.patchGlyphs.truncate(glyph);
    }
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
            head = headEnd(room / 2); // without a width that is more than enough, too
            tail = tailStart(head, room - m_d.extent(m_line.first, head, m_hard));
            break;
        default: head = headEnd(room); break;
        }
        if (round < kRounds &&
            !chooseDots(head > m_line.first ? head - 1 : std::min(tail, end - 1))) {
            break;
        }
    }
    const ZkPen shown = settle(&head, &tail);
    m_d.dots.hiddenFirst = head;
    m_d.dots.hiddenLast = tail;
    m_line.last = end;
    m_line.isShortened = true;
    m_line.endsHard = true;
    m_line.width = zkPixels(shown + dotsLength());
}

} // namespace

void ZkParagraphData::shorten()
{
    if (maximumLines > 0 && lines.size() == maximumLines && lines.last().last < text.size() &&
        ellipsis != ZkParagraph::EllipsisNone) {
        Shortener(this).shorten();
    }
}
