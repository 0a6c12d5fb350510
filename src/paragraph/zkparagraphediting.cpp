#include "zkparagraph.h"

#include "paragraph/zkparagraphdata.h"
#include "unicode/zkcharactertables.h"

#include <algorithm>

namespace
{

bool hasRoom(const ZkTextCell &cell)
{
    return cell.right > cell.left;
}

/// The cells of a line as a reader sees them: boundaries between those that take room are
/// numbered from the left, 0 being the left edge of the line.
class SeenLine
{
public:
    SeenLine(ZkParagraphData *d, int line) : m_d(*d), m_line(line) { d->place(line, true); }

    const ZkTextLine &line() const { return m_d.lines[m_line]; }
    int count() const
    {
        return static_cast<int>(std::count_if(m_d.cells.begin(), m_d.cells.end(), hasRoom));
    }

    /// The cell that takes room with `number` such cells to its left.
    const ZkTextCell &at(int number) const
    {
        for (const ZkTextCell &cell : m_d.cells) {
            if (hasRoom(cell) && number-- == 0) {
                return cell;
            }
        }
        return m_d.cells.last(); // unreachable: who asks knows the count
    }

    /// The cell of unit `u`; null when the line shows none.
    const ZkTextCell *of(int u) const
    {
        for (const ZkTextCell &cell : m_d.cells) {
            if (cell.first <= u && u < cell.last) {
                return &cell;
            }
        }
        return nullptr;
    }

    int boundaryOf(const ZkTextPosition &position) const;
    ZkTextPosition leftOf(const ZkTextCell &cell) const
    {
        return cell.isRightToLeft ? behind(cell) : before(cell);
    }
    ZkTextPosition rightOf(const ZkTextCell &cell) const
    {
        return cell.isRightToLeft ? before(cell) : behind(cell);
    }
    bool isFreeAt(int x) const;

private:
    static ZkTextPosition before(const ZkTextCell &cell)
    {
        return {cell.first, ZkAffinity::Downstream};
    }
    static ZkTextPosition behind(const ZkTextCell &cell)
    {
        return {cell.last, ZkAffinity::Upstream};
    }

    ZkParagraphData &m_d;
    int m_line;
};

int SeenLine::boundaryOf(const ZkTextPosition &position) const
{
    const bool isUpstream = position.affinity == ZkAffinity::Upstream;
    const ZkTextCell *cell = of(isUpstream ? position.index - 1 : position.index);
    bool isBehind = isUpstream;
    if (cell == nullptr) { // at the end of the text
        cell = of(position.index - 1);
        isBehind = true;
        if (cell == nullptr) {
            return line().isRightToLeft ? count() : 0;
        }
    }
    int number = 0;
    for (const ZkTextCell *other = m_d.cells.begin(); other != cell; ++other) {
        number += hasRoom(*other) ? 1 : 0;
    }
    return number + (hasRoom(*cell) && isBehind != cell->isRightToLeft ? 1 : 0);
}

// True when no cell shows anything in column `x`.
bool SeenLine::isFreeAt(int x) const
{
    return std::none_of(m_d.cells.begin(), m_d.cells.end(),
                        [x](const ZkTextCell &cell) { return cell.left <= x && x < cell.right; });
}

// True where a word may begin: not at spaces and punctuation.
bool beginsWord(const ZkParagraphData &d, int u)
{
    const ZkCharacter &c = zkCharacter(d.characters.character(u));
    return c.category <= ZkCharacter::CategoryNo || c.isExtendedPictographic != 0;
}

} // namespace

int ZkParagraph::lineOf(int index, ZkAffinity affinity) const
{
    d->need(ZkParagraphData::Divided);
    const auto &lines = d->lines;
    const ZkTextLine *const found =
        std::upper_bound(lines.begin(), lines.end(), index,
                         [](int unit, const ZkTextLine &line) { return unit < line.last; });
    int line = static_cast<int>(found - lines.begin());
    line = std::min(line, lines.size() - 1);
    if (affinity == ZkAffinity::Upstream && line > 0 && index == lines[line].first &&
        !lines[line - 1].endsHard) {
        --line;
    }
    return line;
}

ZkCaret ZkParagraph::caret(int index, ZkAffinity affinity) const
{
    d->need(ZkParagraphData::Divided);
    const int unit = d->clusterAt(std::max(index, 0));
    const int number = lineOf(unit, affinity);
    const SeenLine seen(d, number);
    const ZkTextLine &line = seen.line();
    ZkCaret caret = {number, line.x, line.top(), line.height(), line.isRightToLeft};
    const bool wantsBefore = affinity == ZkAffinity::Upstream && unit > line.first;
    const ZkTextCell *cell = wantsBefore ? nullptr : seen.of(unit);
    if (cell != nullptr) {
        caret.isRightToLeft = cell->isRightToLeft;
        caret.x = cell->isRightToLeft ? cell->right - 1 : cell->left;
        return caret;
    }
    cell = seen.of(unit - 1);
    if (cell == nullptr) { // an empty line
        caret.x = line.isRightToLeft ? line.x + line.width - 1
                                     : line.x; // no test can tell: the width is 0
        return caret;
    }
    caret.isRightToLeft = cell->isRightToLeft;
    if (cell->isRightToLeft) {
        const bool isNarrow = cell->right - cell->left < 2 && seen.isFreeAt(cell->left - 1);
        caret.x = cell->left - (isNarrow ? 1 : 0);
    } else {
        caret.x = cell->right - (seen.isFreeAt(cell->right) ? 0 : 1);
    }
    return caret;
}

ZkTextPosition ZkParagraph::hit(int x, int y) const
{
    d->need(ZkParagraphData::Divided);
    const auto &lines = d->lines;
    int number = 0;
    while (number + 1 < lines.size() && y >= lines[number + 1].top()) {
        ++number;
    }
    const SeenLine seen(d, number);
    const ZkTextCell *nearest = nullptr;
    std::int64_t distance = INT64_MAX;
    for (const ZkTextCell &cell : d->cells) {
        const std::int64_t beside = x < cell.left ? static_cast<std::int64_t>(cell.left) - x
                                    : x >= cell.right
                                        ? static_cast<std::int64_t>(x) - cell.right + 1
                                        : 0;
        if (hasRoom(cell) && beside < distance) {
            nearest = &cell;
            distance = beside;
        }
    }
    if (nearest == nullptr) {
        return {seen.line().first, ZkAffinity::Downstream};
    }
    const std::int64_t width = nearest->right - nearest->left;
    const std::int64_t column = static_cast<std::int64_t>(x) - nearest->left;
    const bool isLeading = nearest->isRightToLeft ? 2 * (column + 1) > width : 2 * column < width;
    return isLeading != nearest->isRightToLeft ? seen.leftOf(*nearest) : seen.rightOf(*nearest);
}

ZkVector<ZkRect> ZkParagraph::selection(int first, int last) const
{
    d->need(ZkParagraphData::Divided);
    ZkVector<ZkRect> rects;
    first = d->clusterAt(std::max(first, 0));
    last = d->clusterAt(std::max(last, 0));
    if (first >= last) {
        return rects;
    }
    for (int i = lineOf(first); i < d->lines.size() && d->lines[i].first < last; ++i) {
        const SeenLine seen(d, i);
        const ZkTextLine &line = seen.line();
        bool isOpen = false;
        for (const ZkTextCell &cell : d->cells) {
            if (!hasRoom(cell)) {
                continue;
            }
            const bool isSelected = cell.first < last && cell.last > first;
            if (isSelected && isOpen) {
                rects.last().setRight(cell.right - 1);
            } else if (isSelected) {
                rects.append(
                    ZkRect(cell.left, line.top(), cell.right - 1, line.top() + line.height() - 1));
            }
            isOpen = isSelected;
        }
    }
    return rects;
}

// The unit behind `index`: the first when that is before the text.
static int unitBehind(int index, int end)
{
    return index < 0 ? 0 : std::min(index, end) + 1;
}

int ZkParagraph::nextCluster(int index) const
{
    d->need(ZkParagraphData::Analysed);
    const int end = d->text.size();
    int u = unitBehind(index, end);
    while (u < end && !d->isCluster(u)) {
        ++u;
    }
    return std::min(u, end);
}

int ZkParagraph::previousCluster(int index) const
{
    d->need(ZkParagraphData::Analysed);
    return d->clusterAt(std::max(std::clamp(index, 0, d->text.size()) - 1, 0));
}

int ZkParagraph::nextWord(int index) const
{
    d->need(ZkParagraphData::Analysed);
    const int end = d->text.size();
    int u = unitBehind(index, end);
    while (u < end && !((d->breaks.flags()[u] & ZkTextBreaks::Word) != 0 && beginsWord(*d, u))) {
        ++u;
    }
    return std::min(u, end);
}

int ZkParagraph::previousWord(int index) const
{
    d->need(ZkParagraphData::Analysed);
    int u = std::clamp(index, 0, d->text.size()) - 1;
    while (u > 0 && !((d->breaks.flags()[u] & ZkTextBreaks::Word) != 0 && beginsWord(*d, u))) {
        --u;
    }
    return std::max(u, 0);
}

ZkTextPosition ZkParagraph::left(const ZkTextPosition &position) const
{
    return step(position, false);
}

ZkTextPosition ZkParagraph::right(const ZkTextPosition &position) const
{
    return step(position, true);
}

ZkTextPosition ZkParagraph::step(const ZkTextPosition &position, bool toRight) const
{
    d->need(ZkParagraphData::Divided);
    ZkTextPosition at = {d->clusterAt(std::max(position.index, 0)), position.affinity};
    int number = lineOf(at.index, at.affinity);
    int boundary = SeenLine(d, number).boundaryOf(at);
    {
        const SeenLine seen(d, number);
        const int count = seen.count();
        if (toRight ? boundary == count : boundary == 0) { // on to another line
            const bool isForward = toRight != seen.line().isRightToLeft;
            const int next = number + (isForward ? 1 : -1);
            if (next < 0 || next >= d->lines.size()) {
                return at;
            }
            const SeenLine other(d, next);
            boundary = toRight ? 0 : other.count();
            // The edge of a soft line is the same place in the text as the next one's start.
            const bool isSame = !isForward && !other.line().endsHard;
            number = next;
            if (other.count() == 0) {
                return {other.line().first, ZkAffinity::Downstream};
            }
            if (!isSame) {
                return toRight ? other.leftOf(other.at(0)) : other.rightOf(other.at(boundary - 1));
            }
        }
    }
    const SeenLine seen(d, number);
    const ZkTextPosition next =
        toRight ? seen.rightOf(seen.at(boundary)) : seen.leftOf(seen.at(boundary - 1));
    const ZkTextLine &line = seen.line();
    if (next.affinity == ZkAffinity::Upstream && next.index == line.last && !line.endsHard) {
        return {next.index, ZkAffinity::Downstream}; // the next line's start
    }
    return next;
}

int ZkParagraph::minWidth() const
{
    d->need(ZkParagraphData::Shaped);
    if (d->minimum < 0) {
        ZkPen widest = 0; // no test can tell: a 64th of a pixel is rounded off
        for (const ZkHardLine &hard : d->hardLines) {
            int first = hard.first;
            bool hasHyphens = false; // of the word from `first` on
            for (int u = first + 1; u <= hard.last; ++u) {
                if (!d->mayEndBefore(u)) {
                    continue;
                }
                if (u < hard.last && d->text.constData()[u - 1] == kZkSoftHyphen) {
                    hasHyphens = true;
                    continue;
                }
                const int end = d->contentEnd(first, u);
                const ZkPen whole = d->pieceLength(first, end, hard);
                if (whole > widest) {
                    widest = hasHyphens ? d->leastLength(first, end, hard, widest, whole) : whole;
                }
                first = u;
                hasHyphens = false;
            }
        }
        d->minimum = zkPixels(widest);
    }
    return d->minimum;
}

int ZkParagraph::maxWidth() const
{
    d->need(ZkParagraphData::Shaped);
    if (d->maximum < 0) {
        ZkPen widest = 0; // no test can tell: a 64th of a pixel is rounded off
        for (const ZkHardLine &hard : d->hardLines) {
            widest =
                std::max(widest, d->extent(hard.first, d->contentEnd(hard.first, hard.last), hard));
        }
        d->maximum = zkPixels(widest);
    }
    return d->maximum;
}
