#include "paragraph/zkparagraphdata.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr std::uint32_t kShown = ZkParagraphData::kShown;
constexpr int kMostAsked = 16;     // glyphs that the cache is asked for at once
constexpr std::uint32_t kFew = 32; // slots for a text that has no more

/// Places one line: its items in the order of the text, then as they are seen, then each
/// glyph and each cluster of them.
class LinePlacer
{
public:
    LinePlacer(ZkParagraphData *d, int line, bool withCells)
        : m_d(*d),
          m_line(d->lines[line]),
          m_number(line),
          m_hard(d->hardLines[d->hardLineAt(m_line.first)]),
          m_withCells(withCells),
          m_shown(d->shown)
    {
        // no test can tell: which memory holds the glyphs that were asked
        if (d->glyphs.size() <= kMostAsked) {
            m_shown = m_few;
            m_shownMask = kFew - 1;
            d->shownFace = ZkParagraphData::kNotShown;
        }
    }

    void place();

private:
    void addRange(int first, int last);
    void addPiece(int run, int first, int last, std::uint8_t level);
    void addItem(ZkLineItem::Kind kind, int run, int first, int last, int glyphFirst, int glyphLast,
                 std::uint8_t level);
    void addDots();
    void addHyphen();
    void findLevels(int first, int last);
    void findPatches();
    void stretchSpaces();
    ZkPen stretchBefore(int spaces) const
    {
        return m_spaces == 0 ? 0 : ZkPen{m_extra} * spaces / m_spaces * 64;
    }
    bool isStretched(int unit) const
    {
        return unit >= m_stretched.first && unit < m_stretched.last && m_d.isStretched(unit);
    }
    void reorder();
    void placeItem(const ZkLineItem &item, ZkPen left);
    void placeText(const ZkLineItem &item, ZkPen left);
    void addCell(const ZkLineItem &item, ZkPen left, ZkPen right);
    void addCells(const ZkLineItem &item, int first, int last, ZkPen left, ZkPen right);
    void addGlyph(const ZkShapedGlyph *glyphs, int i, int end, int step, ZkPen pen, int cluster,
                  int tag);
    void addSign(int face, ZkFont font, std::uint32_t index, ZkPen left, int cluster, int tag);
    void show(int face, ZkFont font);
    const ZkGlyph *find(const ZkShapedGlyph *glyphs, int i, int end, int step);
    const ZkGlyph *remembered(std::uint32_t index) const
    {
        const ZkGlyph *const glyph = m_shown[index & m_shownMask];
        return glyph != nullptr && glyph->index() == index ? glyph : nullptr;
    }
    static bool hasPixels(const GlyphBitmap &bitmap)
    {
        return bitmap.width != 0 && bitmap.height != 0;
    }
    // An outlined record tells a top that is two rows too low; its ink belongs where the
    // plain glyph has it.
    int lowering() const { return m_d.shownFont.isOutline() ? 2 : 0; }
    template <bool isRightToLeft>
    void addPlain(const ZkLineItem &item, ZkPen left);
    void addStretch(const ZkRun &run, ZkFont font, ZkPen left, ZkPen right);

    ZkParagraphData &m_d;
    const ZkTextLine &m_line;
    int m_number;
    const ZkHardLine &m_hard;
    bool m_withCells;
    int m_levelsFirst = 0; // unit of `levels[0]`
    ZkPen m_pen = 0;       // behind the last item, in the order of the text
    // Pixels that spaces are stretched by, and how many spaces.
    int m_extra = 0;  // no test can tell: no space is stretched by it
    int m_spaces = 0; // no test can tell: none is stretched by nothing
    ZkStretchedSpaces m_stretched = {};
    int m_patchFirst = 0, m_patchLast = 0; // of this line, a few at most
    const ZkGlyph **m_shown;               // those remembered; of a text of a few in `m_few`
    std::uint32_t m_shownMask = kShown - 1;
    const ZkGlyph *m_few[kFew];
};

// The levels of `[first, last)` as this line shows them; a line may hold several paragraphs
// of the direction algorithm, for separators that end no line.
void LinePlacer::findLevels(int first, int last)
{
    m_d.levels.truncate(0);
    m_d.levels.extend(last - first);
    m_levelsFirst = first;
    for (int from = first; from < last;) {
        const int to = std::min(m_d.bidi.paragraphOf(from).last, last);
        m_d.bidi.lineLevels(from, to, m_d.levels.begin() + (from - first));
        from = to;
    }
}

void LinePlacer::findPatches()
{
    const ZkPatch *const begin = m_d.patches.begin(), *const end = m_d.patches.end();
    const ZkPatch *const first = std::lower_bound(
        begin, end, m_number, [](const ZkPatch &patch, int line) { return patch.line < line; });
    m_patchFirst = m_patchLast = static_cast<int>(first - begin);
    while (m_patchLast < m_d.patches.size() && m_d.patches[m_patchLast].line == m_number) {
        ++m_patchLast;
    }
}

void LinePlacer::addRange(int first, int last)
{
    if (first >= last) {
        return;
    }
    const bool isLeftToRight = m_d.bidi.isLeftToRight();
    if (!isLeftToRight) {
        findLevels(first, last);
    }
    for (int r = m_d.runAt(first); r < m_d.runs.size() && m_d.runs[r].first < last; ++r) {
        const ZkRun &run = m_d.runs[r];
        int from = std::max(first, run.first);
        const int to = std::min(last, run.last);
        while (from < to) {
            int end = to;
            std::uint8_t level = 0;
            if (!isLeftToRight) {
                const std::uint8_t *const levels = m_d.levels.begin() - m_levelsFirst;
                level = levels[from];
                end = from + 1;
                while (end < to && (levels[end] == level || !m_d.isCluster(end))) {
                    ++end;
                }
            }
            addPiece(r, from, end, level);
            from = end;
        }
    }
}

// A piece of one level: divided at tabs and where it was shaped again.
void LinePlacer::addPiece(int run, int first, int last, std::uint8_t level)
{
    while (first < last) {
        int end = last;
        for (int i = m_patchFirst; i < m_patchLast; ++i) {
            const ZkPatch &patch = m_d.patches[i];
            if (patch.last <= first || patch.first >= end) {
                continue;
            }
            if (patch.first <= first) {
                addItem(ZkLineItem::Again, run, first, patch.last, patch.glyphFirst,
                        patch.glyphLast, level);
                first = patch.last;
            } else {
                end = patch.first;
            }
        }
        if (first >= end) {
            continue;
        }
        const int glyphEnd = m_d.glyphAt(end);
        int glyph = m_d.glyphAt(first);
        if (m_hard.hasTabs) {
            int tab = glyph;
            while (tab < glyphEnd && !m_d.isTab(tab)) {
                ++tab;
            }
            if (tab == glyph && tab < glyphEnd) {
                addItem(ZkLineItem::Tab, run, first, first + 1, tab, tab + 1, level);
                ++first;
                continue;
            }
            if (tab < glyphEnd) {
                end = m_d.glyphs[tab].cluster;
            }
        }
        addItem(ZkLineItem::Text, run, first, end, glyph, m_d.glyphAt(end), level);
        first = end;
    }
}

void LinePlacer::addItem(ZkLineItem::Kind kind, int run, int first, int last, int glyphFirst,
                         int glyphLast, std::uint8_t level)
{
    ZkLineItem item = {first, last, glyphFirst, glyphLast, run, m_spaces, kind, level, 0};
    switch (kind) {
    case ZkLineItem::Text: item.length = m_d.startOf(glyphLast) - m_d.startOf(glyphFirst); break;
    case ZkLineItem::Again:
        for (int i = glyphFirst; i < glyphLast; ++i) {
            item.length += m_d.patchGlyphs[i].advance;
        }
        break;
    case ZkLineItem::Tab: {
        const ZkPen tab = ZkPen{m_d.tabPixels()} * 64;
        item.length = m_line.isShortened && first >= m_d.dots.hiddenLast
                          ? 0
                          : (m_pen / tab + 1) * tab - m_pen;
        break;
    }
    case ZkLineItem::Dots: item.length = m_d.dots.advance * m_d.dots.count; break;
    case ZkLineItem::Hyphen: item.length = m_d.hyphenAt(last); break;
    }
    m_pen += item.length;
    m_d.items.append(item);
}

void LinePlacer::addDots()
{
    const ZkDots &dots = m_d.dots;
    const int run =
        std::min(m_d.runAt(std::min(dots.hiddenFirst, m_d.text.size() - 1)), m_d.runs.size() - 1);
    addItem(ZkLineItem::Dots, run, dots.hiddenFirst, dots.hiddenLast, 0, dots.count, m_hard.level);
}

void LinePlacer::addHyphen()
{
    const int end = m_line.last;
    if (m_line.endsHard || m_d.text.constData()[end - 1] != kZkSoftHyphen) {
        return;
    }
    const int run = m_d.runAt(end - 1);
    addItem(ZkLineItem::Hyphen, run, end - 1, end, 0, 1, m_d.runs[run].level);
}

// Spreads what is left of the width over the spaces of a justified line.
void LinePlacer::stretchSpaces()
{
    if (m_d.unstretched.isEmpty() || m_d.unstretched[m_number] == m_line.width) {
        return;
    }
    m_extra = m_line.width - m_d.unstretched[m_number];
    m_stretched = m_d.stretchedSpaces(m_line);
    int before = 0;
    for (ZkLineItem &item : m_d.items) {
        item.spaces = before;
        for (int u = item.first; item.kind <= ZkLineItem::Again && u < item.last; ++u) {
            before += isStretched(u) ? 1 : 0;
        }
    }
    m_spaces = before;
    for (int i = 0; i < m_d.items.size(); ++i) {
        ZkLineItem &item = m_d.items[i];
        const int behind = i + 1 < m_d.items.size() ? m_d.items[i + 1].spaces : m_spaces;
        item.length += stretchBefore(behind) - stretchBefore(item.spaces);
    }
}

// From the order of the text to what is seen: whatever is at a level or above is turned
// round, from the highest level down to the lowest odd one.
void LinePlacer::reorder()
{
    int highest = 0, lowestOdd = 255;
    for (const ZkLineItem &item : m_d.items) {
        highest = std::max<int>(highest, item.level);
        if ((item.level & 1) != 0) {
            lowestOdd = std::min<int>(lowestOdd, item.level);
        }
    }
    for (int level = highest; level >= lowestOdd; --level) {
        for (int i = 0; i < m_d.items.size();) { // no test can tell: a turn of none
            int end = i;
            while (end < m_d.items.size() && m_d.items[end].level >= level) {
                ++end;
            }
            std::reverse(m_d.items.begin() + i, m_d.items.begin() + end);
            i = std::max(end, i + 1);
        }
    }
}

// Readies the records that are remembered for glyphs of a typeface and font.
void LinePlacer::show(int face, ZkFont font)
{
    if (face == m_d.shownFace && font == m_d.shownFont) {
        return;
    }
    m_d.shownFace = face;
    m_d.shownFont = font;
    if (m_shown == nullptr) {
        m_shown = static_cast<const ZkGlyph **>(zkAllocate(kShown * sizeof(ZkGlyph *)));
        m_d.shown = m_shown;
    }
    std::memset(static_cast<void *>(m_shown), 0, (m_shownMask + 1) * sizeof(ZkGlyph *));
}

// The record of glyph `i` of an item, which is not remembered: asks for those behind it that
// are not either with it.
const ZkGlyph *LinePlacer::find(const ZkShapedGlyph *glyphs, int i, int end, int step)
{
    std::uint32_t indices[kMostAsked];
    const ZkGlyph *found[kMostAsked];
    int count = 0;
    for (int k = i, rest = kMostAsked; k != end && rest > 0; k += step, --rest) {
        const bool isSeen = (glyphs[k].flags & ZkShapedGlyph::Invisible) == 0;
        if (isSeen && remembered(glyphs[k].index) == nullptr) {
            indices[count++] = glyphs[k].index;
        }
    }
    m_d.holder.fetch(m_d.faces.at(m_d.shownFace), m_d.shownFont, indices, count, found);
    for (int k = 0; k < count; ++k) {
        m_shown[indices[k] & m_shownMask] = found[k];
    }
    return found[0];
}

inline void LinePlacer::addGlyph(const ZkShapedGlyph *glyphs, int i, int end, int step, ZkPen pen,
                                 int cluster, int tag)
{
    const ZkShapedGlyph &glyph = glyphs[i];
    if ((glyph.flags & ZkShapedGlyph::Invisible) != 0) {
        return;
    }
    const ZkGlyph *known = remembered(glyph.index);
    known = known != nullptr ? known : find(glyphs, i, end, step);
    const GlyphBitmap &bitmap = known->bitmap;
    if (hasPixels(bitmap)) {
        m_d.placed.append({&bitmap, zkPixels(pen + glyph.x) + bitmap.left,
                           m_line.baseline + zkPixels(glyph.y) - lowering() - bitmap.top, cluster,
                           tag});
    }
}

// One glyph that is not in the text.
void LinePlacer::addSign(int face, ZkFont font, std::uint32_t index, ZkPen left, int cluster,
                         int tag)
{
    const ZkShapedGlyph glyph = {index & 0xFFFFFF, 0, 0, 0, 0, cluster};
    show(face, font);
    addGlyph(&glyph, 0, 1, 1, left, cluster, tag);
}

void LinePlacer::addStretch(const ZkRun &run, ZkFont font, ZkPen left, ZkPen right)
{
    const int x = zkPixels(left), width = zkPixels(right) - x;
    auto &stretches = m_d.stretches;
    if (!stretches.isEmpty()) {
        ZkTextStretch &last = stretches.last();
        if (last.tag == run.tag && last.font == font && last.x + last.width == x) {
            last.width += width;
            return;
        }
    }
    const ZkTypefaceMetrics &metrics = m_d.metricsOf(font);
    stretches.append({x, width, m_line.baseline, font, run.tag,
                      m_line.baseline + metrics.underlineTop, metrics.underlineThickness,
                      m_line.baseline + metrics.strikeTop, metrics.strikeThickness});
}

// The cell of an item that a caret passes as a whole.
void LinePlacer::addCell(const ZkLineItem &item, ZkPen left, ZkPen right)
{
    if (m_withCells) {
        m_d.cells.append(
            {item.first, item.last, zkPixels(left), zkPixels(right), (item.level & 1) != 0});
    }
}

// The cells of the clusters in `[first, last)`, which share the room between `left` and
// `right` evenly.
void LinePlacer::addCells(const ZkLineItem &item, int first, int last, ZkPen left, ZkPen right)
{
    if (!m_withCells) {
        return;
    }
    const bool isRightToLeft = (item.level & 1) != 0;
    int count = 1;
    for (int u = first + 1; u < last; ++u) {
        count += m_d.isCluster(u) ? 1 : 0;
    }
    const ZkPen width = right - left;
    int from = first;
    for (int i = 0; i < count; ++i) {
        int to = from + 1;
        while (to < last && !m_d.isCluster(to)) {
            ++to;
        }
        const ZkPen start = width * i / count, end = width * (i + 1) / count;
        m_d.cells.append({from, to, zkPixels(isRightToLeft ? right - end : left + start),
                          zkPixels(isRightToLeft ? right - start : left + end), isRightToLeft});
        from = to;
    }
}

// The glyphs of text as it was shaped, of which places alone are wanted: their pens are
// known. From left to right, which is backwards in right-to-left text.
template <bool isRightToLeft>
void LinePlacer::addPlain(const ZkLineItem &item, ZkPen left)
{
    constexpr int kStep = isRightToLeft ? -1 : 1;
    constexpr int kPart = 1 << ZkParagraphData::kPenShift;
    const ZkShapedGlyph *const glyphs = &m_d.glyphs[0];
    const int from = isRightToLeft ? item.glyphLast - 1 : item.glyphFirst;
    const int end = isRightToLeft ? item.glyphFirst - 1 : item.glyphLast;
    const int baseline = m_line.baseline - lowering(), tag = m_d.runs[item.run].tag;
    const int before = m_d.placed.size();
    // no test can tell: how much more room than that there is
    ZkPlacedGlyph *placed = m_d.placed.extend(item.glyphLast - item.glyphFirst);
    // The caller knows that all pens are inside of 32 bits; half a pixel is added to each.
    const ZkPen origin = isRightToLeft ? left + m_d.endOf(from) : left - m_d.startOf(from);
    auto pen = static_cast<std::uint32_t>(left) + 32;
    for (int i = from; i != end;) {
        const int part = i / kPart;
        const int partEnd =
            isRightToLeft ? std::max(part * kPart - 1, end) : std::min(part * kPart + kPart, end);
        const auto base = static_cast<std::uint32_t>(isRightToLeft ? origin - m_d.penBases[part]
                                                                   : origin + m_d.penBases[part]) +
                          32;
        for (; i != partEnd; i += kStep) {
            const ZkShapedGlyph &glyph = glyphs[i];
            const auto behind = static_cast<std::uint32_t>(glyph.advance);
            pen = isRightToLeft ? base - behind : pen;
            if ((glyph.flags & ZkShapedGlyph::Invisible) == 0) {
                const ZkGlyph *known = remembered(glyph.index);
                known = known != nullptr ? known : find(glyphs, i, end, kStep);
                const GlyphBitmap &bitmap = known->bitmap;
                if (hasPixels(bitmap)) {
                    const auto x = static_cast<std::int32_t>(pen + static_cast<unsigned>(glyph.x));
                    placed->glyph = &bitmap;
                    placed->x = (x >> 6) + bitmap.left;
                    placed->y = baseline + ((glyph.y + 32) >> 6) - bitmap.top;
                    placed->cluster = glyph.cluster;
                    placed->tag = tag;
                    ++placed;
                }
            }
            pen = isRightToLeft ? pen : base + behind;
        }
    }
    m_d.placed.truncate(static_cast<int>(placed - m_d.placed.begin()));
    // A cluster that began in another piece is seen here from the start of this one on.
    for (int i = before; i < m_d.placed.size(); ++i) {
        ZkPlacedGlyph &first = m_d.placed[isRightToLeft ? m_d.placed.size() - 1 + before - i : i];
        if (first.cluster >= item.first) {
            break;
        }
        first.cluster = item.first; // unreachable: else it is shaped again from there on
    }
}

void LinePlacer::placeText(const ZkLineItem &item, ZkPen left)
{
    const bool isRightToLeft = (item.level & 1) != 0;
    const bool isAgain = item.kind == ZkLineItem::Again;
    const ZkRun &run = m_d.runs[item.run];
    constexpr ZkPen kMost = INT32_MAX / 2;
    const bool isPlain =
        !m_withCells && !isAgain && m_spaces == 0 && left > -kMost && left + item.length < kMost;
    addStretch(run, run.font, left, left + item.length);
    show(run.face, run.font);
    if (isPlain) {
        isRightToLeft ? addPlain<true>(item, left) : addPlain<false>(item, left);
        return;
    }
    const ZkShapedGlyph *const glyphs = isAgain ? &m_d.patchGlyphs[0] : &m_d.glyphs[0];
    const int firstCell = m_d.cells.size(), firstGlyph = m_d.placed.size();
    int spaces = item.spaces;
    ZkPen pen = isRightToLeft ? left + item.length : left;
    for (int i = item.glyphFirst; i < item.glyphLast;) {
        const int cluster = std::max(glyphs[i].cluster, item.first);
        const ZkPen start = pen;
        int next = i;
        for (; next < item.glyphLast && glyphs[next].cluster == glyphs[i].cluster; ++next) {
            const ZkShapedGlyph &glyph = glyphs[next];
            const ZkPen advance = isAgain ? ZkPen{glyph.advance} : m_d.advanceOf(next);
            if (isRightToLeft) {
                pen -= advance;
            }
            addGlyph(glyphs, next, item.glyphLast, 1, pen, cluster, run.tag);
            if (!isRightToLeft) {
                pen += advance;
            }
        }
        if (m_spaces > 0 && isStretched(cluster)) {
            const ZkPen stretch = stretchBefore(spaces + 1) - stretchBefore(spaces);
            pen += isRightToLeft ? -stretch : stretch;
            ++spaces;
        }
        const int end = next < item.glyphLast ? glyphs[next].cluster : item.last;
        addCells(item, cluster, end, std::min(start, pen), std::max(start, pen));
        i = next;
    }
    if (isRightToLeft) {
        std::reverse(m_d.cells.begin() + firstCell, m_d.cells.end());
        std::reverse(m_d.placed.begin() + firstGlyph, m_d.placed.end());
    }
}

void LinePlacer::placeItem(const ZkLineItem &item, ZkPen left)
{
    const ZkRun &run = m_d.runs[item.run];
    const ZkPen right = left + item.length;
    switch (item.kind) {
    case ZkLineItem::Text:
    case ZkLineItem::Again: placeText(item, left); break;
    case ZkLineItem::Tab:
        addCell(item, left, right);
        addStretch(run, run.font, left, right);
        break;
    case ZkLineItem::Dots: {
        const ZkDots &dots = m_d.dots;
        for (int i = 0; i < dots.count; ++i) {
            addSign(dots.face, dots.font, dots.index, left + dots.advance * i, item.first, run.tag);
        }
        addCell(item, left, right);
        addStretch(run, dots.font, left, right);
        break;
    }
    case ZkLineItem::Hyphen: {
        addSign(run.face, run.font, m_d.hyphenOf(run).index, left, item.first, run.tag);
        addStretch(run, run.font, left, right);
        break;
    }
    }
}

void LinePlacer::place()
{
    m_d.items.truncate(0);
    m_d.placed.truncate(0);
    m_d.stretches.truncate(0);
    m_d.cells.truncate(0);
    findPatches();
    if (m_line.isShortened) {
        addRange(m_line.first, m_d.dots.hiddenFirst);
        addDots();
        addRange(m_d.dots.hiddenLast, m_line.last);
    } else {
        addRange(m_line.first, m_line.last);
        addHyphen();
        stretchSpaces();
    }
    ZkPen length = 0;
    for (const ZkLineItem &item : m_d.items) {
        length += item.length;
    }
    reorder();
    // Spaces at the end hang over the edge where a reader finds the line's end.
    ZkPen pen = m_line.isRightToLeft ? (ZkPen{m_line.x} + m_line.width) * 64 - length
                                     : ZkPen{m_line.x} * 64;
    for (const ZkLineItem &item : m_d.items) {
        placeItem(item, pen);
        pen += item.length;
    }
}

} // namespace

void ZkParagraphData::place(int line, bool withCells)
{
    need(Divided);
    if (line != placedLine || (withCells && !hasCells)) {
        LinePlacer(this, line, withCells).place();
        placedLine = line;
        hasCells = withCells;
    }
}
