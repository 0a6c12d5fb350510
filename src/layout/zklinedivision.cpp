#include "layout/zkwordwidth.h"
#include "zkfontengine.h"
#include "zkfontmetrics.h"

#include <algorithm>

// Walks the resolved text once and cuts it into lines. A line is always a stretch
// of the text, [start, i), so a line "is empty" when start == i.
class ZK_HIDDEN ZkFontMetrics::LineDivider
{
public:
    LineDivider(const ZkFontMetrics &layout, ZkInlineArray<Line, 2> &found)
        : units(layout.engine->text().constData()),
          glyphs(layout.engine->glyphs().constData()),
          count(layout.engine->text().size()),
          spacing(layout.charSpacing),
          wrapWidth(layout.wrapWidth),
          wordWrap(layout.wordWrap),
          slanted(layout.boldFace),
          lines(found)
    {
    }

    void run();

private:
    int addLetters(int i);
    int addThaiCluster(int i);
    int addBreakAnywhere(int i);
    void addNewline(int i);

    void wrapBefore(int i, int wordWidth);
    bool startsWord(int i) const;
    int wordWidth(int i) const { return zkWordWidth(units + i, glyphs + i, count - i, spacing); }
    void widen(std::int64_t pixels) { width = zkWrapped(width + pixels); }
    void emit(int end, int slantedPixels);

    const ZkUcs2 *units;
    const GlyphBitmap *const *glyphs;
    int count;
    int spacing;
    int wrapWidth;
    bool wordWrap;
    bool slanted;
    ZkInlineArray<Line, 2> &lines;
    int start = 0; // of the current line
    int width = 0; // of the current line
};

void ZkFontMetrics::LineDivider::run()
{
    int i = 0;
    while (i < count) {
        switch (zkBreakClass(units[i])) {
        case ZkBreakClass::Letter: i = addLetters(i); break;
        case ZkBreakClass::Thai: i = addThaiCluster(i); break;
        case ZkBreakClass::BreakAnywhere: i = addBreakAnywhere(i); break;
        case ZkBreakClass::Space:
            if (startsWord(i)) {
                wrapBefore(i, 0);
            }
            widen(std::int64_t(glyphs[i]->advance) + spacing);
            ++i;
            break;
        case ZkBreakClass::Newline: addNewline(i++); break;
        }
    }
    if (start < count) {
        emit(count, glyphs[count - 1]->advance);
    }
}

// Adds the letters from `i` to the next unit of another class, and wraps before
// them where their word passes the wrap width. Returns the place behind them.
int ZkFontMetrics::LineDivider::addLetters(int i)
{
    std::int64_t pixels = 0;
    int end = i;
    do {
        pixels += glyphs[end++]->advance;
    } while (end < count && zkIsLetter(units[end]));
    pixels += std::int64_t(spacing) * (end - i);

    if (startsWord(i)) {
        const bool wordGoesOn = end < count && zkBreakClass(units[end]) == ZkBreakClass::Thai;
        wrapBefore(i, zkWrapped(pixels + (wordGoesOn ? wordWidth(end) : 0)));
    }
    widen(pixels);
    return end;
}

// Adds a Thai unit with all its marks, which therefore never part.
int ZkFontMetrics::LineDivider::addThaiCluster(int i)
{
    if (startsWord(i)) {
        wrapBefore(i, wordWidth(i));
    }
    const int end = i + 1 + ZkThaiMarks(units + i).count();
    int widest = glyphs[i]->advance;
    for (int k = i + 1; k < end; ++k) {
        widest = std::max<int>(widest, glyphs[k]->advance);
    }
    widen(std::int64_t(widest) + spacing);
    return end;
}

// Adds the break-anywhere characters from `i` on. Each ends the line before it when
// it does not fit; the last one also ends its own line when the word that follows
// does not. Returns the place behind them.
int ZkFontMetrics::LineDivider::addBreakAnywhere(int i)
{
    int end = i;
    do {
        const int advance = glyphs[end]->advance;
        if (wordWrap && end > start && std::int64_t(advance) + width + spacing > wrapWidth) {
            emit(end, advance);
        }
        widen(std::int64_t(advance) + spacing);
        ++end;
    } while (end < count && zkBreakClass(units[end]) == ZkBreakClass::BreakAnywhere);

    if (wordWrap && end < count && std::int64_t(width) + wordWidth(end) > wrapWidth) {
        emit(end, glyphs[end - 1]->advance);
    }
    return end;
}

// The newline ends the line and is no part of it, but the spacing after it stays in
// the width. Being measured as a word it can even wrap first, which leaves an empty
// line between: hosts see "ab \n" in a box it just fills take two lines.
void ZkFontMetrics::LineDivider::addNewline(int i)
{
    if (startsWord(i)) {
        wrapBefore(i, wordWidth(i));
    }
    widen(spacing);
    // Here the slant is reckoned from the columns of the last glyph's bitmap, not
    // from its advance as everywhere else.
    emit(i, i >= 1 ? glyphs[i - 1]->width : 0);
    start = i + 1;
}

bool ZkFontMetrics::LineDivider::startsWord(int i) const
{
    return wordWrap && i > start && zkBreakClass(units[i - 1]) == ZkBreakClass::Space;
}

// Ends the line before the word at `i` if the word does not fit. One spacing more
// than the word's own is asked for.
void ZkFontMetrics::LineDivider::wrapBefore(int i, int wordWidth)
{
    if (std::int64_t(wordWidth) + width + spacing > wrapWidth) {
        emit(i, glyphs[i]->advance);
    }
}

// Ends the line before `end`. A slanted line leans out by half of `slantedPixels`.
void ZkFontMetrics::LineDivider::emit(int end, int slantedPixels)
{
    if (slanted) {
        widen(slantedPixels / 2);
    }
    lines.append({start, end, width});
    start = end;
    width = 0;
}

int ZkFontMetrics::divideText()
{
    dirty = false;
    if (engine->text().isEmpty()) {
        return -1;
    }
    subTexts.clear();
    lineGlyphs.clear();
    paintInfos.clear();
    rects.clear();
    lines.clear();
    LineDivider(*this, lines).run();
    for (int i = 0; i < lines.size(); ++i) {
        const ZkRect rect = lineRect(i);
        paintInfos.append({rect.left(), rect.top(), rect.right(), rect.bottom(), cutGlyphs(i)});
    }
    return 0;
}
