#include "glyph/zktypefacedata.h"
#include "paragraph/zkparagraphdata.h"

#include <algorithm>

namespace
{

constexpr int kSpacesOfTab = 8;

/// Divides the hard lines of a text into the lines of a box.
class LineBreaker
{
public:
    explicit LineBreaker(ZkParagraphData *d)
        : m_d(*d), m_text(d->text.constData()), m_limit(d->limit())
    {
    }

    void breakAll();

private:
    bool breakHard(const ZkHardLine &hard);
    int fit(int first, const ZkHardLine &hard);
    bool isCutAnyway() const;
    int overflowAt(int first, const ZkHardLine &hard) const;
    int overflowOfHead() const;
    int allowedBefore(int first, int unit, const ZkHardLine &hard) const;
    int skipSpaces(int unit, const ZkHardLine &hard) const;
    bool isUnsafe(int unit) const { return m_d.isUnsafe(unit); }
    int clusterBefore(int unit) const;
    int settle(int first, int end, const ZkHardLine &hard);
    void dropHead(int patch, int glyph);
    void shapeHead(int first, const ZkHardLine &hard);
    ZkPen extent(int first, int last, const ZkHardLine &hard) const;
    void addLine(int first, int last, const ZkHardLine &hard);
    int measured(const ZkTextLine &line, const ZkHardLine &hard) const;
    int nextCluster(int unit, int end) const;

    ZkParagraphData &m_d;
    const ZkUcs2 *m_text;
    ZkPen m_limit;
    // The start of the line at work that was shaped again, what that took, and where its
    // patches and their glyphs begin.
    int m_headEnd = 0;
    ZkPen m_headLength = 0;
    int m_headPatch = 0, m_headGlyph = 0;
    bool m_isCut = false;       // the line at work is the last, and shortened
    ZkPen m_tailDifference = 0; // by which shaping its end again changed its length
};

int LineBreaker::nextCluster(int unit, int end) const
{
    const int glyph = m_d.glyphAt(unit);
    int next = glyph;
    while (next < m_d.glyphs.size() && m_d.glyphs[next].cluster == m_d.glyphs[glyph].cluster) {
        ++next;
    }
    return next < m_d.glyphs.size() ? std::min(m_d.glyphs[next].cluster, end) : end;
}

ZkPen LineBreaker::extent(int first, int last, const ZkHardLine &hard) const
{
    if (m_headEnd > first && last >= m_headEnd) {
        return m_headLength + m_d.extent(m_headEnd, last, hard);
    }
    return m_d.extent(first, last, hard);
}

// The first cluster that does not fit into a line from `first` on, `hard.last` when all do.
int LineBreaker::overflowAt(int first, const ZkHardLine &hard) const
{
    if (m_headEnd <= first) {
        return m_d.overflow(first, hard, m_limit);
    }
    return m_headLength > m_limit ? overflowOfHead()
                                  : m_d.overflow(m_headEnd, hard, m_limit - m_headLength);
}

// The first cluster of the line's start that does not fit, as that was shaped again.
int LineBreaker::overflowOfHead() const
{
    ZkPen pen = 0;
    int glyph = m_headGlyph;
    do {
        pen += m_d.patchGlyphs[glyph].advance;
    } while (pen <= m_limit && ++glyph < m_d.patchGlyphs.size());
    return m_d.patchGlyphs[glyph].cluster;
}

// The first unit from `unit` on that is no hanging space; a line end counts as one.
int LineBreaker::skipSpaces(int unit, const ZkHardLine &hard) const
{
    while (unit < hard.last && zkIsBlank(m_text[unit])) {
        ++unit;
    }
    return unit;
}

// The last place in `(first, unit]` where the line may end, `first` when there is none. A
// soft hyphen needs room for the hyphen that it shows.
int LineBreaker::allowedBefore(int first, int unit, const ZkHardLine &hard) const
{
    for (int i = unit; i > first; --i) {
        if (m_d.mayEndBefore(i) && (m_text[i - 1] != kZkSoftHyphen ||
                                    extent(first, i, hard) + m_d.hyphenAt(i) <= m_limit)) {
            return i;
        }
    }
    return first;
}

// The start of the glyphs' cluster before `unit`, or that `unit` stands in.
int LineBreaker::clusterBefore(int unit) const
{
    const int glyph = m_d.glyphAt(unit);
    const bool isInside = glyph < m_d.glyphs.size() && m_d.glyphs[glyph].cluster < unit;
    return m_d.glyphs[isInside ? glyph : glyph - 1].cluster;
}

// Where the line from `first` on ends.
int LineBreaker::fit(int first, const ZkHardLine &hard)
{
    const int over = overflowAt(first, hard);
    const int behind = skipSpaces(over, hard);
    if (behind == hard.last) {
        return hard.last;
    }
    if (over > first && isCutAnyway()) {
        m_isCut = true;
        return over;
    }
    if (behind > first && m_d.mayEndBefore(behind) &&
        (behind > over || m_text[behind - 1] != kZkSoftHyphen)) {
        return behind;
    }
    int end = allowedBefore(first, over, hard);
    if (end > first) {
        return end;
    }
    if (m_d.cutsWords) {
        end = over;
        if (end == first) { // not even the first glyph fits: a ligature is cut
            const int next = nextCluster(first, hard.last), part = m_d.clusterAt(next - 1);
            end = part > first ? part : next;
        }
        if (end > first + 1 && m_text[end - 1] == kZkSoftHyphen) {
            --end; // there is no room for its hyphen
        }
    } else {
        end = std::max(over, first + 1);
        while (end < hard.last && !m_d.mayEndBefore(end)) {
            ++end;
        }
    }
    const int next = skipSpaces(end, hard);
    return next == hard.last || m_d.mayEndBefore(next) ? next : end;
}

// Shapes the letters on both sides of `end` again where they depend on each other. When the
// line gets too long by that, it ends earlier: the place where it does end.
int LineBreaker::settle(int first, int end, const ZkHardLine &hard)
{
    m_tailDifference = 0;
    const int line = m_d.lines.size();
    while (end < hard.last && isUnsafe(end)) {
        int safe = end;
        while (safe > first && isUnsafe(safe)) {
            safe = clusterBefore(safe);
        }
        // The end of the start, when it is safe, may be kept as well as shaped again.
        const bool isWhole = safe < m_headEnd; // no test can tell: <= does
        if (isWhole) {
            safe = first;
        }
        const int patch = m_d.patches.size(), glyph = m_d.patchGlyphs.size();
        const ZkPen before = isWhole ? 0 : extent(first, safe, hard);
        const ZkPen length = before + m_d.shapeAgain(safe, end, first, end, line);
        const int earlier = length <= m_limit ? first : allowedBefore(first, end - 1, hard);
        const int cluster = m_d.clusterAt(end - 1);
        if (length <= m_limit || (earlier <= first && (!m_d.cutsWords || cluster <= first))) {
            m_tailDifference = length - extent(first, end, hard);
            if (isWhole) {
                dropHead(patch, glyph);
            }
            return end;
        }
        m_d.patches.truncate(patch);
        m_d.patchGlyphs.truncate(glyph);
        end = earlier > first ? earlier : cluster;
    }
    return end;
}

// The start of the line was shaped with all of it: what begins at `patch` and `glyph`
// takes its place.
void LineBreaker::dropHead(int patch, int glyph)
{
    for (int from = patch; from < m_d.patches.size(); ++from) {
        ZkPatch &kept = m_d.patches[m_headPatch + from - patch];
        kept = m_d.patches[from];
        kept.glyphFirst -= glyph - m_headGlyph;
        kept.glyphLast -= glyph - m_headGlyph;
    }
    m_d.patches.truncate(m_d.patches.size() - (patch - m_headPatch));
    const int count = m_d.patchGlyphs.size();
    for (int from = glyph; from < count; ++from) {
        m_d.patchGlyphs[m_headGlyph + from - glyph] = m_d.patchGlyphs[from];
    }
    m_d.patchGlyphs.truncate(count - (glyph - m_headGlyph));
}

// Shapes a line's start again where its letters depend on those before it: up to where
// they no longer do, or so much that the line ends in it.
void LineBreaker::shapeHead(int first, const ZkHardLine &hard)
{
    m_headEnd = first;
    m_headLength = 0;
    m_headPatch = m_d.patches.size();
    m_headGlyph = m_d.patchGlyphs.size();
    if (first == hard.last || !isUnsafe(first)) {
        return;
    }
    for (ZkPen room = m_limit;; room *= 2) {
        const int reach = m_d.overflow(first, hard, room);
        do {
            m_headEnd = nextCluster(m_headEnd, hard.last);
        } while (m_headEnd < hard.last && isUnsafe(m_headEnd) && m_headEnd <= reach);
        m_headLength = m_d.shapeAgain(first, m_headEnd, first, m_headEnd, m_d.lines.size());
        if (m_headLength > m_limit || m_headEnd == hard.last || !isUnsafe(m_headEnd)) {
            return;
        }
        m_d.patches.truncate(m_headPatch);
        m_d.patchGlyphs.truncate(m_headGlyph);
    }
}

// True when the next line is the last, and shortened unless all text fits: then it does not
// matter where words end.
bool LineBreaker::isCutAnyway() const
{
    return m_d.lines.size() + 1 == m_d.maximumLines && m_d.cutsWords &&
           m_d.ellipsis != ZkParagraph::EllipsisNone;
}

bool LineBreaker::breakHard(const ZkHardLine &hard)
{
    int first = hard.first; // where a run starts: no letter depends on those before it
    do {
        int end = fit(first, hard);
        if (!m_isCut) {
            end = settle(first, end, hard);
        }
        addLine(first, end, hard);
        if (m_d.lines.size() == m_d.maximumLines) {
            return false;
        }
        shapeHead(end, hard);
        first = end;
    } while (first < hard.last);
    return true;
}

void LineBreaker::addLine(int first, int last, const ZkHardLine &hard)
{
    ZkTextLine line = {};
    line.first = first;
    line.last = last;
    line.isRightToLeft = (hard.level & 1) != 0;
    line.endsHard = last == hard.last;
    if (!m_isCut) {
        line.width = measured(line, hard);
    }
    m_d.lines.append(line);
}

// What a line takes of the box.
inline int LineBreaker::measured(const ZkTextLine &line, const ZkHardLine &hard) const
{
    const int content = m_d.contentEnd(line.first, line.last);
    ZkPen width = extent(line.first, content, hard) + m_tailDifference;
    if (line.endsHard) { // spaces at the end count as far as there is room for them
        const ZkPen full = extent(line.first, line.last, hard);
        width = std::max(width, std::min(full, m_limit - 31));
    } else if (m_text[line.last - 1] == kZkSoftHyphen) {
        width += m_d.hyphenAt(line.last);
    }
    return zkPixels(width);
}

void LineBreaker::breakAll()
{
    for (const ZkHardLine &hard : m_d.hardLines) {
        if (!breakHard(hard)) {
            break;
        }
    }
}

} // namespace

int ZkParagraphData::overflow(int first, const ZkHardLine &hard, ZkPen room) const
{
    int low = glyphAt(first);
    const int end = glyphAt(hard.last);
    if (hard.hasTabs) {
        const ZkPen tab = ZkPen{tabPixels()} * 64;
        ZkPen pen = 0;
        for (; low < end; ++low) {
            pen = isTab(low) ? (pen / tab + 1) * tab : pen + advanceOf(low);
            if (pen > room) {
                return glyphs[low].cluster;
            }
        }
        return hard.last;
    }
    const ZkPen most = startOf(low) + room;
    // From where the line before ended, twice as far each time, then halving.
    const int start = low;
    int high = end;
    const int guess = std::min(low + lineGlyphs, end);
    if (guess < end && endOf(guess) <= most) {
        low = guess + 1;
        for (int step = 2; low + step < end; step *= 2) {
            if (endOf(low + step) > most) {
                high = low + step;
                break;
            }
            low += step + 1;
        }
    } else {
        high = guess;
        for (int step = 2; high - step > low; step *= 2) {
            if (endOf(high - step) <= most) {
                low = high - step + 1; // no test can tell: else more is halved
                break;
            }
            high -= step;
        }
    }
    while (low < high) {
        const int middle = low + (high - low) / 2;
        if (endOf(middle) <= most) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    lineGlyphs = low - start;
    return low == end ? hard.last : glyphs[low].cluster;
}

// True when the letters on both sides of `unit` depend on each other, or are one glyph.
bool ZkParagraphData::isUnsafe(int unit) const
{
    const int glyph = glyphAt(unit);
    const bool isSafe =
        glyph >= glyphs.size() || (glyphs[glyph].cluster == unit &&
                                   (glyphs[glyph].flags & ZkShapedGlyph::UnsafeToBreak) == 0);
    return !isSafe && runs[runAt(unit)].first != unit;
}

// What units `[first, last)` take as a line of their own.
ZkPen ZkParagraphData::pieceLength(int first, int last, const ZkHardLine &hard)
{
    if (first == last || hard.hasTabs || (!isUnsafe(first) && !isUnsafe(last))) {
        return extent(first, last, hard);
    }
    const int patch = patches.size(), glyph = patchGlyphs.size();
    const ZkPen length = shapeAgain(first, last, first, last, -1);
    patches.truncate(patch);
    patchGlyphs.truncate(glyph);
    return length;
}

// Whether the word `[first, last)` fits into lines of `room` that end at its soft hyphens.
bool ZkParagraphData::fitsHyphened(int first, int last, const ZkHardLine &hard, ZkPen room)
{
    while (pieceLength(first, last, hard) > room) {
        int end = first;
        for (int u = first + 1; u < last; ++u) {
            if (!mayEndBefore(u)) {
                continue;
            }
            const ZkPen length = pieceLength(first, u, hard);
            if (length > room) {
                break;
            }
            end = length + hyphenAt(u) <= room ? u : end; // one behind may be of a smaller font
        }
        if (end == first) {
            return false;
        }
        first = end;
    }
    return true;
}

// The least room, in whole pixels, that the word `[first, last)` fits into at its soft
// hyphens: more than `less`, unless it fits into that, and at most `whole`.
ZkPen ZkParagraphData::leastLength(int first, int last, const ZkHardLine &hard, ZkPen less,
                                   ZkPen whole)
{
    int low = zkPixels(less), high = zkPixels(whole);
    while (low < high) {
        const int middle = low + (high - low) / 2;
        if (fitsHyphened(first, last, hard, ZkPen{middle} * 64 + 31)) {
            high = middle;
        } else {
            low = middle + 1;
        }
    }
    return ZkPen{low} * 64;
}

// Asks what shaping remembers first.
ZkSign ZkParagraphData::signOf(int face, ZkFont wanted, char32_t c) const
{
    const ZkTypeface &typeface = faces.at(face);
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(typeface);
    ZkFontLetters *const letters = open != nullptr ? open->lettersOf(wanted) : nullptr;
    const std::uint32_t word = letters != nullptr ? letters->letter(c) : 0;
    if (ZkFontLetters::has(word, c)) {
        return {ZkFontLetters::indexOf(word), ZkPen{ZkFontLetters::advanceOf(word)} * 64};
    }
    const std::uint32_t index = typeface.glyphIndex(c);
    const ZkGlyph *const glyph = holder.glyph(typeface, index, wanted);
    const int advance = std::max<int>(glyph->bitmap.advance, 0);
    if (letters != nullptr && !glyph->isFailed()) {
        letters->enter(c, index, advance); // no test can tell: else it is asked again
    }
    return {index, ZkPen{advance} * 64};
}

ZkSign ZkParagraphData::hyphenOf(const ZkRun &run) const
{
    const ZkSign hyphen = signOf(run.face, run.font, 0x2010);
    return hyphen.index != 0 ? hyphen : signOf(run.face, run.font, '-');
}

int ZkParagraphData::tabPixels() const
{
    if (tabWidth > 0) {
        return tabWidth;
    }
    return std::max(zkPixels(signOf(0, font, ' ').advance) * kSpacesOfTab, 1);
}

ZkPen ZkParagraphData::extent(int first, int last, const ZkHardLine &hard) const
{
    const int from = glyphAt(first), to = glyphAt(last);
    if (!hard.hasTabs) {
        return startOf(to) - startOf(from);
    }
    const ZkPen tab = ZkPen{tabPixels()} * 64;
    ZkPen pen = 0;
    for (int i = from; i < to; ++i) {
        pen = isTab(i) ? (pen / tab + 1) * tab : pen + advanceOf(i);
    }
    return pen;
}

int ZkParagraphData::contentEnd(int first, int last) const
{
    const ZkUcs2 *const units = text.constData();
    int end = last;
    while (end > first && zkIsBlank(units[end - 1])) {
        --end;
    }
    while (end < last && !isCluster(end)) { // a sign before a space may make it its own
        ++end;
    }
    return end;
}

// What the hyphen of a soft hyphen before `end` takes.
ZkPen ZkParagraphData::hyphenAt(int end) const
{
    return hyphenOf(runs[runAt(end - 1)]).advance;
}

void ZkParagraphData::divide()
{
    lines.truncate(0);
    patches.truncate(0);
    patchGlyphs.truncate(0);
    unstretched.truncate(0);
    dots = ZkDots();
    LineBreaker(this).breakAll();
    shorten();
    stack();
    done = Divided;
}

// True for a space that a justified line may stretch.
bool ZkParagraphData::isStretched(int unit) const
{
    const ZkUcs2 c = text.constData()[unit];
    return (c == 0x20 || c == 0xA0) && isCluster(unit);
}

// The spaces that a justified line stretches: those behind its last tab.
ZkStretchedSpaces ZkParagraphData::stretchedSpaces(const ZkTextLine &line) const
{
    ZkStretchedSpaces spaces = {line.first, contentEnd(line.first, line.last), 0};
    if (alignment != ZkParagraph::AlignJustify || line.endsHard || boxWidth <= 0) {
        return spaces;
    }
    for (int u = spaces.last; u-- > spaces.first;) {
        if (text.constData()[u] == kZkTab) {
            spaces.first = u + 1;
            break;
        }
        spaces.count += isStretched(u) ? 1 : 0;
    }
    return spaces;
}

// Lines of justified text that have spaces are as wide as the box.
void ZkParagraphData::stretchLines()
{
    for (int i = 0; i < unstretched.size(); ++i) {
        lines[i].width = unstretched[i];
    }
    unstretched.truncate(0);
    if (alignment != ZkParagraph::AlignJustify || boxWidth <= 0) {
        return;
    }
    for (ZkTextLine &line : lines) {
        unstretched.append(line.width);
        if (line.width < boxWidth && stretchedSpaces(line).count > 0) {
            line.width = boxWidth;
        }
    }
}

// Sets the lines under each other and aligns them.
void ZkParagraphData::stack()
{
    stretchLines();
    widest = 0;
    std::int64_t top = 0;
    const ZkTypefaceMetrics &plain = metricsOf(font);
    const int plainAscent = plain.ascent, plainDescent = plain.descent + plain.gap;
    const ZkSpan *span = spans.begin();
    for (ZkTextLine &line : lines) {
        int ascent = 0, descent = 0, covered = line.first;
        while (span != spans.end() && span->last <= line.first) {
            ++span;
        }
        for (const ZkSpan *s = span; s != spans.end() && s->first < line.last; ++s) {
            const ZkTypefaceMetrics &other = metricsOf(s->font);
            ascent = std::max(ascent, other.ascent);
            descent = std::max(descent, other.descent + other.gap);
            covered = s->first <= covered ? std::max(covered, s->last) : covered;
        }
        if (covered < line.last || line.first == line.last) { // some text is in no span
            ascent = std::max(ascent, plainAscent);
            descent = std::max(descent, plainDescent);
        }
        line.ascent = ascent;
        line.descent = descent;
        line.baseline =
            static_cast<int>(std::clamp<std::int64_t>(top + ascent, INT32_MIN / 2, INT32_MAX / 2));
        top += ascent + descent + lineSpacing;
        widest = std::max(widest, line.width);
    }
    const int box = boxWidth > 0 ? boxWidth : widest;
    const bool isStart =
        alignment == ZkParagraph::AlignStart || alignment == ZkParagraph::AlignJustify;
    const bool isRight = alignment == ZkParagraph::AlignRight;
    const bool isRightIn[2] = {isRight || alignment == ZkParagraph::AlignEnd, isRight || isStart};
    for (ZkTextLine &line : lines) {
        const int room = box - line.width;
        line.x = isRightIn[line.isRightToLeft ? 1 : 0]   ? room
                 : alignment == ZkParagraph::AlignCenter ? room / 2
                                                         : 0;
    }
}
