#ifndef ZK_TESTS_PARAGRAPHLAWS_H
#define ZK_TESTS_PARAGRAPHLAWS_H

#include <zkparagraph.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

/// What is true of every paragraph, whatever text and settings: for the tests and for the
/// fuzz target. Each check returns an empty string, or says what is broken and where.
namespace paragraphlaws
{

/// Random numbers that are the same everywhere.
class Dice
{
public:
    explicit Dice(unsigned seed) : m_state(seed * 2654435761u + 1) {}

    /// 0 to `sides` - 1.
    int roll(int sides)
    {
        m_state = m_state * 6364136223846793005u + 1442695040888963407u;
        return static_cast<int>((m_state >> 33) % static_cast<unsigned>(sides));
    }
    bool chance(int percent) { return roll(100) < percent; }

private:
    unsigned long long m_state;
};

/// A broken law in words.
template <typename... Numbers>
std::string broken(const char *law, Numbers... numbers)
{
    std::string text = law;
    for (const long long number : {static_cast<long long>(numbers)...}) {
        text += ' ' + std::to_string(number);
    }
    return text;
}

/// The clusters of a line as editing sees them.
inline std::vector<int> clusterStarts(const ZkParagraph &paragraph, const ZkTextLine &line)
{
    std::vector<int> starts;
    for (int i = line.first; i < line.last;) {
        starts.push_back(i);
        const int next = paragraph.nextCluster(i);
        i = next > i ? next : line.last;
    }
    return starts;
}

inline bool isLineEnd(ZkUcs2 c)
{
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

/// Spaces that may hang behind a line, and what else shows nothing at its end.
inline bool mayHang(ZkUcs2 c)
{
    return c == 0x09 || c == 0x20 || c == 0x1680 || (c >= 0x2000 && c <= 0x200F) || c == 0x205F ||
           c == 0x3000 || c == 0xAD || isLineEnd(c);
}

/// Every character stands in one line, lines follow each other and do not overlap.
inline std::string linesFollowEachOther(const ZkParagraph &paragraph)
{
    const int size = paragraph.text().size();
    const int count = paragraph.lineCount();
    if (count < 1) {
        return "no line";
    }
    int position = 0, bottom = 0, widest = 0;
    for (int i = 0; i < count; ++i) {
        const ZkTextLine &line = paragraph.line(i);
        if (line.first != position) {
            return broken("line does not start where the one before ends:", i, line.first,
                          position);
        }
        if (line.last < line.first || line.last > size ||
            (line.last == line.first && i + 1 < count)) {
            return broken("line is empty or ends outside:", i, line.first, line.last);
        }
        if (line.width < 0 || line.ascent < 0 || line.height() < 0) {
            return broken("line has a negative size:", i, line.width, line.ascent);
        }
        if (i > 0 && line.top() < bottom && paragraph.lineSpacing() >= 0) {
            return broken("line overlaps the one before:", i, line.top(), bottom);
        }
        bottom = line.top() + line.height();
        widest = std::max(widest, line.width);
        position = line.last;
    }
    if (paragraph.maximumLines() <= 0 && position != size) {
        return broken("the last line does not end the text:", position, size);
    }
    if (paragraph.maximumLines() > 0 && count > paragraph.maximumLines()) {
        return broken("too many lines:", count);
    }
    if (paragraph.width() != widest) {
        return broken("width() is not the widest line's:", paragraph.width(), widest);
    }
    return std::string();
}

/// Lines end where that is allowed, and only for want of room.
inline std::string breaksAreAllowed(const ZkParagraph &paragraph, ZkWordBreaker *breaker = nullptr)
{
    ZkTextBreaks breaks;
    breaks.setWordBreaker(breaker);
    constexpr unsigned kBoth = ZkTextBreaks::LineAllowed | ZkTextBreaks::Grapheme;
    const ZkString &text = paragraph.text();
    breaks.setText(text.constData(), text.size());
    for (int i = 0; i < paragraph.lineCount(); ++i) {
        const ZkTextLine &line = paragraph.line(i);
        const int end = line.last;
        if (line.isShortened || (i + 1 == paragraph.lineCount() && paragraph.maximumLines() > 0)) {
            continue;
        }
        const unsigned flags = breaks.flags()[end];
        if (text.size() > 0 && end > 0 && (flags & ZkTextBreaks::Grapheme) == 0 &&
            end != text.size()) {
            return broken("line ends inside a cluster:", i, end);
        }
        if (line.endsHard) {
            if (end != text.size() && (flags & ZkTextBreaks::LineMandatory) == 0) {
                return broken("hard end without a line end:", i, end);
            }
            continue;
        }
        if (paragraph.boxWidth() <= 0) {
            return broken("soft end without wrapping:", i, end);
        }
        if ((flags & ZkTextBreaks::LineAllowed) == 0) {
            if (!paragraph.wordCutting()) {
                return broken("word is cut although that is off:", i, end);
            }
            for (int k = line.first + 1; k < end; ++k) {
                // A soft hyphen may need more room for its hyphen than there is.
                if ((breaks.flags()[k] & kBoth) == kBoth && text.at(k - 1) != 0xAD) {
                    return broken("word is cut although the line could end before it:", i, k);
                }
            }
        }
        for (int k = line.first + 1; k < end; ++k) {
            if ((breaks.flags()[k] & ZkTextBreaks::LineMandatory) != 0) {
                return broken("line goes on behind a line end:", i, k);
            }
        }
    }
    return std::string();
}

/// No line is wider than the box unless it cannot be shorter.
inline std::string linesFit(const ZkParagraph &paragraph)
{
    const int box = paragraph.boxWidth();
    if (box <= 0 || !paragraph.wordCutting()) {
        return std::string();
    }
    for (int i = 0; i < paragraph.lineCount(); ++i) {
        const ZkTextLine &line = paragraph.line(i);
        if (line.width <= box) {
            continue;
        }
        // What takes no room stays with its line; all that the dots stand for is in one place.
        std::vector<int> places;
        for (const int start : clusterStarts(paragraph, line)) {
            if (mayHang(paragraph.text().at(start))) {
                continue;
            }
            for (const ZkRect &rect : paragraph.selection(start, paragraph.nextCluster(start))) {
                places.push_back(rect.left());
            }
        }
        std::sort(places.begin(), places.end());
        const auto visible = std::unique(places.begin(), places.end()) - places.begin();
        if (visible > 1) {
            return broken("line is too wide:", i, line.width, box, visible);
        }
    }
    return std::string();
}

/// The columns that units `[first, last)` take in a line.
inline int roomOf(const ZkParagraph &paragraph, int first, int last)
{
    int room = 0;
    for (const ZkRect &rect : paragraph.selection(first, last)) {
        room += rect.width();
    }
    return room;
}

/// A click on a caret gives the caret's place back.
inline std::string caretsAreHit(const ZkParagraph &paragraph, int step = 1)
{
    for (int l = 0; l < paragraph.lineCount(); l += step) {
        const ZkTextLine &line = paragraph.line(l);
        if (line.isShortened) {
            continue;
        }
        for (const int start : clusterStarts(paragraph, line)) {
            const int next = paragraph.nextCluster(start);
            if (roomOf(paragraph, start, next) <= 0 || isLineEnd(paragraph.text().at(start))) {
                continue;
            }
            const ZkCaret caret = paragraph.caret(start);
            if (caret.line != l) {
                return broken("caret is in another line:", start, caret.line, l);
            }
            const ZkTextPosition found = paragraph.hit(caret.x, caret.top);
            if (found.index != start) {
                return broken("caret is not hit (unit, x, found, line):", start, caret.x,
                              found.index, l);
            }
        }
    }
    return std::string();
}

/// The selection of a range is that of its clusters, none twice.
inline std::string selectionsAddUp(const ZkParagraph &paragraph, int first, int last)
{
    const auto rects = paragraph.selection(first, last);
    long sum = 0, parts = 0;
    for (const ZkRect &rect : rects) {
        if (!rect.isValid()) {
            return broken("empty selection rectangle:", first, last);
        }
        sum += rect.width();
    }
    for (int i = first; i < last;) {
        const int next = std::min(last, std::max(i + 1, paragraph.nextCluster(i)));
        parts += roomOf(paragraph, i, next);
        i = next;
    }
    if (sum != parts) {
        return broken("selection is not the sum of its clusters:", first, last, sum, parts);
    }
    for (int i = 1; i < rects.size(); ++i) {
        for (int k = std::max(0, i - 8); k < i; ++k) {
            const bool apart = rects.at(i).left() > rects.at(k).right() ||
                               rects.at(k).left() > rects.at(i).right() ||
                               rects.at(i).top() > rects.at(k).bottom() ||
                               rects.at(k).top() > rects.at(i).bottom();
            if (!apart && paragraph.lineSpacing() >= 0) {
                return broken("selection rectangles overlap:", first, last, k, i);
            }
        }
    }
    return std::string();
}

/// Glyphs belong to their line and carry the tag of their cluster.
inline std::string glyphsBelong(const ZkParagraph &paragraph)
{
    for (int i = 0; i < paragraph.lineCount(); ++i) {
        const ZkTextLine &line = paragraph.line(i);
        const ZkPlacedGlyph *glyphs = nullptr;
        const int count = paragraph.glyphs(i, &glyphs);
        for (int k = 0; k < count; ++k) {
            if (glyphs[k].glyph == nullptr || glyphs[k].glyph->pixels == nullptr) {
                return broken("glyph without a record:", i, k);
            }
            if (glyphs[k].cluster < line.first || glyphs[k].cluster > line.last ||
                (glyphs[k].cluster == line.last && !line.isShortened)) {
                return broken("glyph of another line:", i, k, glyphs[k].cluster);
            }
        }
        const ZkTextStretch *stretches = nullptr;
        const int stretchCount = paragraph.stretches(i, &stretches);
        for (int k = 1; k < stretchCount; ++k) {
            if (stretches[k].x < stretches[k - 1].x + stretches[k - 1].width) {
                return broken("stretches overlap:", i, k);
            }
        }
    }
    return std::string();
}

/// Walking by what is seen goes from edge to edge of the text and back, and every cluster
/// step is undone by the other.
inline std::string stepsAreUndone(const ZkParagraph &paragraph)
{
    const int size = paragraph.text().size();
    int i = 0;
    for (int guard = 0; i < size; ++guard) {
        const int next = paragraph.nextCluster(i);
        if (next <= i || next > size || guard > size) {
            return broken("nextCluster does not go on:", i, next);
        }
        if (paragraph.previousCluster(next) != i) {
            return broken("previousCluster does not undo:", i, next,
                          paragraph.previousCluster(next));
        }
        i = next;
    }
    for (int at = 0, guard = 0; at < size; ++guard) {
        const int next = paragraph.nextWord(at);
        if (next <= at || next > size || guard > size) {
            return broken("nextWord does not go on:", at, next);
        }
        const int back = paragraph.previousWord(next);
        if (back > at && at > 0 && back >= next) {
            return broken("previousWord does not go back:", at, next, back);
        }
        at = next;
    }
    return std::string();
}

/// All that came out, as text: equal texts, equal layouts.
inline std::string described(const ZkParagraph &paragraph)
{
    std::string text;
    char buffer[160];
    for (int i = 0; i < paragraph.lineCount(); ++i) {
        const ZkTextLine &line = paragraph.line(i);
        std::snprintf(buffer, sizeof buffer, "%d..%d x%d b%d a%d d%d w%d %c%c%c\n", line.first,
                      line.last, line.x, line.baseline, line.ascent, line.descent, line.width,
                      line.isRightToLeft ? 'R' : 'L', line.endsHard ? 'h' : 's',
                      line.isShortened ? '-' : ' ');
        text += buffer;
        const ZkPlacedGlyph *glyphs = nullptr;
        const int count = paragraph.glyphs(i, &glyphs);
        for (int k = 0; k < count; ++k) {
            const ZkGlyph *glyph = reinterpret_cast<const ZkGlyph *>(glyphs[k].glyph);
            std::snprintf(buffer, sizeof buffer, " %llx@%d,%d:%d#%d",
                          static_cast<unsigned long long>(glyph->key()), glyphs[k].x, glyphs[k].y,
                          glyphs[k].cluster, glyphs[k].tag);
            text += buffer;
        }
        const ZkTextStretch *stretches = nullptr;
        const int stretchCount = paragraph.stretches(i, &stretches);
        for (int k = 0; k < stretchCount; ++k) {
            std::snprintf(buffer, sizeof buffer, " [%d+%d#%d]", stretches[k].x, stretches[k].width,
                          stretches[k].tag);
            text += buffer;
        }
        text += '\n';
    }
    return text;
}

/// A width in between leaves no trace.
inline std::string widthsLeaveNoTrace(ZkParagraph &paragraph, int between)
{
    const int width = paragraph.boxWidth();
    const std::string before = described(paragraph);
    paragraph.setWidth(between);
    paragraph.height();
    paragraph.setWidth(width);
    return before == described(paragraph) ? std::string()
                                          : broken("another width left a trace:", width, between);
}

/// Both widths that a layout engine asks for are those found by trial.
inline std::string extremesAreTrue(ZkParagraph &paragraph)
{
    const int width = paragraph.boxWidth(), most = paragraph.maximumLines();
    const bool cutting = paragraph.wordCutting();
    const int minimum = paragraph.minWidth(), maximum = paragraph.maxWidth();
    std::string problem;
    paragraph.setMaximumLines(0);
    paragraph.setWordCutting(false);
    paragraph.setWidth(0);
    const int unwrapped = paragraph.lineCount();
    paragraph.setWidth(std::max(1, maximum));
    if (paragraph.lineCount() != unwrapped || paragraph.width() > std::max(1, maximum)) {
        problem = broken("lines wrap at maxWidth:", maximum, unwrapped, paragraph.lineCount());
    }
    if (problem.empty() && maximum > 1) {
        paragraph.setWidth(maximum - 1);
        if (paragraph.lineCount() == unwrapped && paragraph.width() < maximum) {
            problem = broken("maxWidth could be less:", maximum, paragraph.width());
        }
    }
    paragraph.setWidth(std::max(1, minimum));
    if (problem.empty() && paragraph.width() > std::max(1, minimum)) {
        problem = broken("a line is wider than minWidth:", minimum, paragraph.width());
    }
    if (problem.empty() && minimum > maximum) {
        problem = broken("minWidth is more than maxWidth:", minimum, maximum);
    }
    if (problem.empty() && minimum > 1) {
        paragraph.setWidth(minimum - 1);
        if (paragraph.width() < minimum) {
            problem = broken("minWidth could be less:", minimum, paragraph.width());
        }
    }
    paragraph.setWidth(width);
    paragraph.setMaximumLines(most);
    paragraph.setWordCutting(cutting);
    return problem;
}

/// All laws that a layout by itself must keep.
inline std::string check(const ZkParagraph &paragraph)
{
    for (const auto law : {linesFollowEachOther, linesFit, glyphsBelong, stepsAreUndone}) {
        const std::string problem = law(paragraph);
        if (!problem.empty()) {
            return problem;
        }
    }
    const std::string problem = breaksAreAllowed(paragraph);
    return problem.empty() ? caretsAreHit(paragraph) : problem;
}

// Random paragraphs.

/// A character of any kind: letters of all scripts that fonts of the tests have, marks,
/// numbers, spaces, controls of direction, line ends, joiners, emoji, lone surrogates.
inline void appendCharacter(std::vector<ZkUcs2> &text, Dice &dice, int script)
{
    static const struct {
        char32_t first, last;
    } kLetters[] = {{0x61, 0x7A},   {0x410, 0x44F},     {0x621, 0x64A},   {0x671, 0x6D3},
                    {0x5D0, 0x5EA}, {0xE01, 0xE4E},     {0x4E00, 0x4F00}, {0xAC00, 0xAD00},
                    {0x915, 0x94D}, {0xE81, 0xEB9},     {0x3041, 0x30FF}, {0x3B1, 0x3C9},
                    {0x700, 0x74A}, {0x1F600, 0x1F64F}, {0x1200, 0x1250}, {0x1780, 0x17D0}};
    static const char32_t kSigns[] = {
        0x20,    0x20,    0x20,    0x20,   0x20,   0x2E,   0x2C,   0x28,   0x29,   0x2D,   0x3A,
        0x31,    0x32,    0x660,   0x6F1,  0x0A,   0x0D,   0x09,   0xAD,   0x200C, 0x200D, 0x200E,
        0x200F,  0x202A,  0x202B,  0x202C, 0x202D, 0x202E, 0x2066, 0x2067, 0x2068, 0x2069, 0x300,
        0x301,   0x323,   0x64B,   0x651,  0x670,  0x5B0,  0x5C1,  0x640,  0x644,  0x627,  0x2028,
        0x2029,  0x0B,    0x0C,    0x85,   0xA0,   0x200B, 0x3000, 0x2007, 0xFE0F, 0xD800, 0xDC00,
        0x1F1E9, 0x1F1EA, 0x1F3FB, 0xFFFC, 0x00,   0x7F,   0xFFFF, 0xE33,  0xE48};
    const int kind = dice.roll(100);
    char32_t c = 0;
    if (kind < 70) {
        const auto &range = kLetters[script];
        c = range.first +
            static_cast<char32_t>(dice.roll(static_cast<int>(range.last - range.first + 1)));
    } else if (kind < 98) {
        c = kSigns[dice.roll(static_cast<int>(std::size(kSigns)))];
    } else {
        c = static_cast<char32_t>(dice.roll(0x110000));
    }
    if (c >= 0x10000) {
        text.push_back(static_cast<ZkUcs2>(0xD7C0 + (c >> 10)));
        text.push_back(static_cast<ZkUcs2>(0xDC00 + (c & 0x3FF)));
    } else {
        text.push_back(static_cast<ZkUcs2>(c));
    }
}

inline ZkString randomText(Dice &dice, int length)
{
    std::vector<ZkUcs2> text;
    int script = dice.roll(16);
    for (int i = 0; i < length; ++i) {
        if (dice.chance(8)) {
            script = dice.chance(50) ? dice.roll(16) : dice.roll(5);
        }
        appendCharacter(text, dice, script);
    }
    return ZkString(text.data(), static_cast<int>(text.size()));
}

inline ZkFont randomFont(Dice &dice)
{
    static const unsigned char kSizes[] = {8, 12, 16, 16, 16, 24, 33};
    ZkFontAttr attr = {}; // one roll after the other: compilers order arguments as they like
    attr.size = kSizes[dice.roll(7)];
    for (const unsigned flag :
         {ZkFontAttr::Slant, ZkFontAttr::Embolden, ZkFontAttr::Outline, ZkFontAttr::Underline}) {
        attr.flags = static_cast<std::uint8_t>(attr.flags | (dice.chance(10) ? flag : 0U));
    }
    return ZkFont(attr);
}

/// Settings of every kind, spans among them.
inline void setRandomly(ZkParagraph &paragraph, Dice &dice)
{
    paragraph.setFont(randomFont(dice));
    paragraph.setDirection(static_cast<ZkParagraph::Direction>(dice.roll(3)));
    paragraph.setAlignment(static_cast<ZkParagraph::Alignment>(dice.roll(6)));
    paragraph.setWidth(dice.chance(15) ? 0 : dice.chance(10) ? 1 : 20 + dice.roll(400));
    paragraph.setLineSpacing(dice.chance(70) ? 0 : dice.roll(9));
    paragraph.setLetterSpacing(dice.chance(70) ? 0 : dice.roll(9) - 3);
    paragraph.setTabWidth(dice.chance(50) ? 0 : dice.roll(90));
    paragraph.setKerning(dice.chance(50));
    paragraph.setWordCutting(!dice.chance(25));
    paragraph.setMaximumLines(dice.chance(70) ? 0 : 1 + dice.roll(4));
    paragraph.setEllipsis(static_cast<ZkParagraph::Ellipsis>(dice.roll(4)));
    paragraph.clearSpans();
    for (int i = dice.roll(5); i > 0; --i) {
        const int first = dice.roll(paragraph.text().size() + 2) - 1;
        const int last = first + dice.roll(30);
        const ZkFont font = randomFont(dice);
        paragraph.setSpan(first, last, font, dice.roll(5));
    }
}

} // namespace paragraphlaws

#endif
