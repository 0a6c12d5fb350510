#ifndef HOST_TEXTFIELD_H
#define HOST_TEXTFIELD_H

#include "surface.h"

#include <zkparagraph.h>

#include <string>
#include <string_view>
#include <vector>

namespace host
{

/// UTF-16 as UTF-8: pairs of surrogates are one character, one alone is U+FFFD.
std::string utf8Of(std::u16string_view units);

/// What a key does to the caret of a text field.
enum class Move {
    Left, ///< by what is seen
    Right,
    WordLeft, ///< by words, towards the side that is meant on the screen
    WordRight,
    Up,
    Down,
    LineStart, ///< where reading of the line starts
    LineEnd,
    TextStart,
    TextEnd,
};

struct FieldColors {
    Color text = {31, 41, 55, 255};
    Color outline = {255, 255, 255, 255};
    Color selection = {147, 197, 253, 255};
    Color caret = {220, 38, 38, 255};
};

/// A text that is written, clicked into and selected: what is left to do beside
/// `ZkParagraph`, which knows where carets stand. Fonts, width, alignment and the rest
/// are set on `paragraph()` itself.
///
/// Coordinates are those of the surface; the paragraph's box has its upper left corner
/// at `origin`.
class TextField
{
public:
    ZkParagraph &paragraph() { return m_paragraph; }
    const ZkParagraph &paragraph() const { return m_paragraph; }

    void setOrigin(int x, int y);

    /// Replaces the text; the caret goes to its end.
    void setText(const std::string &utf8);

    /// The text in UTF-8, and the selected part of it.
    std::string text() const;
    std::string selectedText() const;

    /// Gives units `[first, last)` a font and a tag; spans move along with the text.
    void setSpan(int first, int last, const ZkFont &font, int tag);
    void clearSpans();

    /// Puts characters in the place of the selection.
    void insert(const std::string &utf8);
    /// Takes the selection away, else the cluster (or word) before or behind the caret.
    void erase(bool forward, bool word = false);

    /// Moves the caret; `select` keeps the other end of the selection.
    void move(Move move, bool select = false);
    void selectAll();

    /// The pointer goes down and moves while it is down. `select` extends.
    void press(int x, int y, bool select = false);
    void drag(int x, int y) { press(x, y, true); }
    /// Selects the word at a point, as a double click does.
    void pressWord(int x, int y);

    int caretIndex() const { return m_caret.index; }
    int selectionFirst() const;
    int selectionLast() const;
    bool hasSelection() const { return selectionFirst() != selectionLast(); }

    /// Columns and rows of the caret on the surface.
    ZkRect caretRect() const;

    void paintSelection(Surface &surface, const FieldColors &colors) const;
    void paintCaret(Surface &surface, const FieldColors &colors) const;

private:
    struct Span {
        int first, last;
        ZkFont font;
        int tag;
    };

    const ZkTextLine &caretLine() const;
    ZkTextPosition target(Move move) const;
    ZkTextPosition lineEnd() const;
    ZkTextPosition beside(int lines) const;
    void place(const ZkTextPosition &position, bool select);
    void replace(int first, int last, const std::u16string &units);
    void applySpans();

    ZkParagraph m_paragraph;
    std::vector<Span> m_spans;
    ZkTextPosition m_caret = {0, ZkAffinity::Downstream};
    int m_anchor = 0;  ///< the other end of the selection
    int m_column = -1; ///< that Up and Down keep to, -1 before
    int m_x = 0, m_y = 0;
};

} // namespace host

#endif
