#include "textfield.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace host
{

namespace
{

bool isHighSurrogate(char32_t c)
{
    return (c & 0xFFFFFC00) == 0xD800;
}
bool isLowSurrogate(char32_t c)
{
    return (c & 0xFFFFFC00) == 0xDC00;
}

void appendUtf8(std::string &bytes, char32_t c)
{
    const auto add = [&](char32_t byte) {
        bytes += static_cast<char>(static_cast<unsigned char>(byte));
    };
    if (c < 0x80) {
        return add(c);
    }
    if (c < 0x800) {
        add(0xC0 | c >> 6);
    } else {
        if (c < 0x10000) {
            add(0xE0 | c >> 12);
        } else {
            add(0xF0 | c >> 18);
            add(0x80 | (c >> 12 & 0x3F));
        }
        add(0x80 | (c >> 6 & 0x3F));
    }
    add(0x80 | (c & 0x3F));
}

std::u16string unitsOf(const std::string &utf8)
{
    ZkParagraph reader;
    reader.setUtf8(utf8.data(), static_cast<int>(utf8.size()));
    return reader.text().toStdU16String();
}

/// LF, VT, FF, CR, NEL, LINE SEPARATOR, PARAGRAPH SEPARATOR.
bool endsLine(char16_t c)
{
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

} // namespace

std::string utf8Of(std::u16string_view units)
{
    std::string bytes;
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t c = units[i];
        if (isHighSurrogate(c) && i + 1 < units.size() && isLowSurrogate(units[i + 1])) {
            c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00U);
        } else if (isHighSurrogate(c) || isLowSurrogate(c)) {
            c = 0xFFFD; // REPLACEMENT CHARACTER
        }
        appendUtf8(bytes, c);
    }
    return bytes;
}

void TextField::setOrigin(int x, int y)
{
    m_x = x;
    m_y = y;
}

void TextField::setText(const std::string &utf8)
{
    clearSpans();
    m_paragraph.setUtf8(utf8.data(), static_cast<int>(utf8.size()));
    m_column = -1;
    place({m_paragraph.text().size(), ZkAffinity::Downstream}, false);
}

std::string TextField::text() const
{
    return utf8Of(m_paragraph.text().toStdU16String());
}

std::string TextField::selectedText() const
{
    const std::u16string units = m_paragraph.text().toStdU16String();
    const auto first = static_cast<std::size_t>(selectionFirst());
    return utf8Of(units.substr(first, static_cast<std::size_t>(selectionLast()) - first));
}

void TextField::setSpan(int first, int last, const ZkFont &font, int tag)
{
    m_spans.push_back({first, last, font, tag});
    m_paragraph.setSpan(first, last, font, tag);
}

void TextField::clearSpans()
{
    m_spans.clear();
    m_paragraph.clearSpans();
}

void TextField::applySpans()
{
    m_paragraph.clearSpans();
    for (const Span &span : m_spans) {
        m_paragraph.setSpan(span.first, span.last, span.font, span.tag);
    }
}

void TextField::replace(int first, int last, const std::u16string &units)
{
    std::u16string text = m_paragraph.text().toStdU16String();
    text.replace(static_cast<std::size_t>(first), static_cast<std::size_t>(last - first), units);
    const int added = static_cast<int>(units.size());
    // What lies behind moves along; an end inside the replaced part goes to its start.
    const auto moved = [&](int index) {
        return index >= last ? index + added - (last - first) : std::min(index, first);
    };
    for (Span &span : m_spans) {
        span.first = moved(span.first);
        span.last = moved(span.last);
    }
    m_paragraph.setText(ZkString(std::u16string_view(text)));
    applySpans();
    m_column = -1;
    place({first + added, ZkAffinity::Downstream}, false);
}

void TextField::insert(const std::string &utf8)
{
    replace(selectionFirst(), selectionLast(), unitsOf(utf8));
}

void TextField::erase(bool forward, bool word)
{
    int first = selectionFirst(), last = selectionLast();
    if (first == last) {
        if (forward) {
            last = word ? m_paragraph.nextWord(last) : m_paragraph.nextCluster(last);
        } else {
            first = word ? m_paragraph.previousWord(first) : m_paragraph.previousCluster(first);
        }
    }
    if (first != last) {
        replace(first, last, std::u16string());
    }
}

const ZkTextLine &TextField::caretLine() const
{
    return m_paragraph.line(m_paragraph.lineOf(m_caret.index, m_caret.affinity));
}

/// Behind the last character of the line that the caret stands in.
ZkTextPosition TextField::lineEnd() const
{
    const ZkTextLine &line = caretLine();
    const ZkString &text = m_paragraph.text();
    if (!line.endsHard) {
        return {line.last, ZkAffinity::Upstream};
    }
    const bool hasEnd = line.last > line.first && endsLine(text.at(line.last - 1));
    return {hasEnd ? m_paragraph.previousCluster(line.last) : line.last, ZkAffinity::Downstream};
}

/// The place nearest to the caret's column so many lines below.
ZkTextPosition TextField::beside(int lines) const
{
    const int line = m_paragraph.lineOf(m_caret.index, m_caret.affinity) + lines;
    if (line < 0) {
        return {0, ZkAffinity::Downstream};
    }
    if (line >= m_paragraph.lineCount()) {
        return {m_paragraph.text().size(), ZkAffinity::Downstream};
    }
    const ZkTextLine &there = m_paragraph.line(line);
    const int column = m_column >= 0 ? m_column : m_paragraph.caret(m_caret).x;
    return m_paragraph.hit(column, there.top() + there.height() / 2);
}

ZkTextPosition TextField::target(Move move) const
{
    const bool rightToLeft = caretLine().isRightToLeft;
    const ZkTextPosition wordBehind = {m_paragraph.nextWord(m_caret.index), ZkAffinity::Downstream};
    const ZkTextPosition wordBefore = {m_paragraph.previousWord(m_caret.index),
                                       ZkAffinity::Downstream};
    switch (move) {
    case Move::Left: return m_paragraph.left(m_caret);
    case Move::Right: return m_paragraph.right(m_caret);
    case Move::WordLeft: return rightToLeft ? wordBehind : wordBefore;
    case Move::WordRight: return rightToLeft ? wordBefore : wordBehind;
    case Move::Up: return beside(-1);
    case Move::Down: return beside(1);
    case Move::LineStart: return {caretLine().first, ZkAffinity::Downstream};
    case Move::LineEnd: return lineEnd();
    case Move::TextStart: return {0, ZkAffinity::Downstream};
    case Move::TextEnd: return {m_paragraph.text().size(), ZkAffinity::Downstream};
    }
    return m_caret;
}

void TextField::place(const ZkTextPosition &position, bool select)
{
    m_caret = position;
    if (!select) {
        m_anchor = position.index;
    }
}

void TextField::move(Move move, bool select)
{
    const bool isVertical = move == Move::Up || move == Move::Down;
    const int column = m_column >= 0 ? m_column : m_paragraph.caret(m_caret).x;
    if (hasSelection() && !select && (move == Move::Left || move == Move::Right)) {
        // To the end of the selection on that side of the screen.
        const ZkTextPosition other = {m_anchor, ZkAffinity::Downstream};
        const int here = m_paragraph.caret(m_caret).x, there = m_paragraph.caret(other).x;
        place((move == Move::Left) == (here <= there) ? m_caret : other, false);
    } else {
        place(target(move), select);
    }
    m_column = isVertical ? column : -1;
}

void TextField::selectAll()
{
    m_anchor = 0;
    place({m_paragraph.text().size(), ZkAffinity::Downstream}, true);
}

void TextField::press(int x, int y, bool select)
{
    m_column = -1;
    place(m_paragraph.hit(x - m_x, y - m_y), select);
}

void TextField::pressWord(int x, int y)
{
    const int index = m_paragraph.hit(x - m_x, y - m_y).index;
    const int last = m_paragraph.nextWord(index);
    m_anchor = m_paragraph.previousWord(last);
    m_column = -1;
    place({last, ZkAffinity::Downstream}, true);
}

int TextField::selectionFirst() const
{
    return std::min(m_anchor, m_caret.index);
}

int TextField::selectionLast() const
{
    return std::max(m_anchor, m_caret.index);
}

ZkRect TextField::caretRect() const
{
    const ZkCaret caret = m_paragraph.caret(m_caret);
    const int left = m_x + caret.x - (caret.isRightToLeft ? 0 : 1);
    return ZkRect(left, m_y + caret.top, left + 1, m_y + caret.top + caret.height - 1);
}

void TextField::paintSelection(Surface &surface, const FieldColors &colors) const
{
    const ZkVector<ZkRect> rects = m_paragraph.selection(selectionFirst(), selectionLast());
    for (int i = 0; i < rects.size(); ++i) {
        ZkRect rect = rects.at(i);
        rect.translate(m_x, m_y);
        surface.fill(rect, colors.selection);
    }
}

void TextField::paintCaret(Surface &surface, const FieldColors &colors) const
{
    surface.fill(caretRect(), colors.caret);
}

} // namespace host
