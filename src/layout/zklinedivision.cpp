#include "layout/zklinedivision.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr int kLabel = 64; // so few characters may well be one line

// True when there are only letters of small codes and spaces, which most labels are made
// of. Looks at as many units at a time as fill a register.
bool isPlain(const ZkUcs2 *text, int n)
{
    constexpr int kUnits = sizeof(std::size_t) / sizeof(ZkUcs2);
    constexpr auto kOnes = static_cast<std::size_t>(0x0001000100010001U);
    // A newline becomes FFFF; of units that become less than 800 the largest is 80A,
    // a letter too.
    std::size_t bits = 0;
    int i = 0;
    for (; i + kUnits <= n; i += kUnits) {
        std::size_t units = 0;
        std::memcpy(&units, text + i, sizeof units);
        bits |= (units ^ kOnes * 0x0A) - kOnes;
    }
    for (; i < n; ++i) {
        bits |= (text[i] ^ 0x0AU) - 1U;
    }
    return (bits & kOnes * 0xF800) == 0;
}

} // namespace

// True when the text is one line, for a label that fits; adds up its width then. While
// widths only grow, no word passes a width that the whole text does not pass.
bool ZkFontMetrics::LineDivider::isOneLine()
{
    if (m_count > kLabel || !isPlain(m_units, m_count)) {
        return false;
    }
    int width = 0, signs = m_spacing;
    for (int i = 0; i < m_count; ++i) {
        const int advance = m_glyphs[i]->advance;
        width += advance;
        signs |= advance;
    }
    const std::int64_t whole = width + static_cast<std::int64_t>(m_spacing) * m_count;
    if (m_wordWrap && (signs < 0 || whole + m_spacing > m_wrapWidth)) {
        return false;
    }
    m_width = zkWrapped(whole);
    return true;
}

void ZkFontMetrics::LineDivider::run()
{
    int i = isOneLine() ? m_count : 0;
    while (i < m_count) {
        switch (zkBreakClass(m_units[i])) {
        case ZkBreakClass::Letter: i = addLetters(i); break;
        case ZkBreakClass::Thai: i = addThaiCluster(i); break;
        case ZkBreakClass::BreakAnywhere: i = addBreakAnywhere(i); break;
        case ZkBreakClass::Space:
            if (startsWord(i)) {
                wrapBefore(i, 0);
            }
            widen(static_cast<std::int64_t>(m_glyphs[i]->advance) + m_spacing);
            ++i;
            break;
        case ZkBreakClass::Newline: addNewline(i++); break;
        }
    }
    if (m_start < m_count) {
        emit(m_count, m_glyphs[m_count - 1]->advance);
    }
}

// Adds the letters from `i` to the next unit of another class, and wraps before
// them where their word passes the wrap width. Returns the place behind them.
int ZkFontMetrics::LineDivider::addLetters(int i)
{
    std::int64_t pixels = 0;
    int end = i;
    do {
        pixels += m_glyphs[end++]->advance;
    } while (end < m_count && zkIsLetter(m_units[end]));
    pixels += static_cast<std::int64_t>(m_spacing) * (end - i);

    if (startsWord(i)) {
        const bool wordGoesOn = end < m_count && zkBreakClass(m_units[end]) == ZkBreakClass::Thai;
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
    const int end = i + 1 + ZkThaiMarks(m_units + i).count();
    int widest = m_glyphs[i]->advance;
    for (int k = i + 1; k < end; ++k) {
        widest = std::max<int>(widest, m_glyphs[k]->advance);
    }
    widen(static_cast<std::int64_t>(widest) + m_spacing);
    return end;
}

// Adds the break-anywhere characters from `i` on. Each ends the line before it when
// it does not fit; the last one also ends its own line when the word that follows
// does not. Returns the place behind them.
int ZkFontMetrics::LineDivider::addBreakAnywhere(int i)
{
    int end = i;
    do {
        const int advance = m_glyphs[end]->advance;
        if (m_wordWrap && end > m_start &&
            static_cast<std::int64_t>(advance) + m_width + m_spacing > m_wrapWidth) {
            emit(end, advance);
        }
        widen(static_cast<std::int64_t>(advance) + m_spacing);
        ++end;
    } while (end < m_count && zkBreakClass(m_units[end]) == ZkBreakClass::BreakAnywhere);

    const std::int64_t width = m_width;
    if (m_wordWrap && end < m_count && width + wordWidth(end) > m_wrapWidth) {
        emit(end, m_glyphs[end - 1]->advance);
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
    widen(m_spacing);
    // Here the slant is computed from the columns of the last glyph's bitmap, not
    // from its advance as everywhere else.
    emit(i, i >= 1 ? m_glyphs[i - 1]->width : 0);
    m_start = i + 1;
}

bool ZkFontMetrics::LineDivider::startsWord(int i) const
{
    return m_wordWrap && i > m_start && zkBreakClass(m_units[i - 1]) == ZkBreakClass::Space;
}

// Ends the line before the word at `i` if the word does not fit. One spacing more
// than the word's own is asked for.
void ZkFontMetrics::LineDivider::wrapBefore(int i, int wordWidth)
{
    if (static_cast<std::int64_t>(wordWidth) + m_width + m_spacing > m_wrapWidth) {
        emit(i, m_glyphs[i]->advance);
    }
}

// Ends the line before `end`. A slanted line leans out by half of `slantedPixels`.
void ZkFontMetrics::LineDivider::emit(int end, int slantedPixels)
{
    if (m_slanted) {
        widen(slantedPixels / 2);
    }
    m_lines.append({m_start, end, m_width});
    m_start = end;
    m_width = 0;
}
