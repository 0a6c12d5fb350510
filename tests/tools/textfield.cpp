// The text field that the hosts share: keys and clicks on a paragraph.

#include <canvas.h>
#include <textfield.h>

#include <gtest/gtest.h>

#include <string>

using host::Move;
using host::TextField;

namespace
{

class Field : public testing::Test
{
protected:
    Field()
    {
        m_field.paragraph().setChain(ZkFontChain(ZkTypeface::fromFile(ZK_FONT_DEJAVU)));
        m_field.paragraph().setFont(ZkFont(20, false, false, false, false));
        m_field.setOrigin(10, 30);
    }

    /// Middle of the character at `index`, on the surface.
    ZkPoint middle(int index)
    {
        const ZkVector<ZkRect> rects =
            m_field.paragraph().selection(index, m_field.paragraph().nextCluster(index));
        const ZkRect rect = rects.at(0);
        return ZkPoint(10 + (rect.left() + rect.right()) / 2,
                       30 + (rect.top() + rect.bottom()) / 2);
    }

    TextField m_field;
};

} // namespace

TEST(Utf8Of, PairsAreOneCharacterAndSingleSurrogatesAreReplaced)
{
    EXPECT_EQ(host::utf8Of(u""), "");
    EXPECT_EQ(host::utf8Of(u"a\u00E9\u4EBA\U0001F600"), "a\u00E9\u4EBA\U0001F600");
    const char16_t kHigh[] = {0xD83D, 'a'}, kLow[] = {0xDE00, 0xD83D};
    EXPECT_EQ(host::utf8Of(std::u16string_view(kHigh, 2)), "\uFFFDa");
    EXPECT_EQ(host::utf8Of(std::u16string_view(kLow, 2)), "\uFFFD\uFFFD");
}

TEST_F(Field, WritesAndErasesByCluster)
{
    m_field.setText("");
    m_field.insert("ae\u0301\U0001F600");
    EXPECT_EQ(m_field.text(), "ae\u0301\U0001F600");
    EXPECT_EQ(m_field.caretIndex(), 5);
    m_field.erase(false);
    EXPECT_EQ(m_field.text(), "ae\u0301");
    m_field.erase(false);
    EXPECT_EQ(m_field.text(), "a") << "the mark goes with its letter";
    m_field.erase(true);
    EXPECT_EQ(m_field.text(), "a") << "nothing is behind the caret";
    m_field.move(Move::TextStart);
    m_field.erase(false);
    m_field.erase(true);
    m_field.erase(true);
    EXPECT_EQ(m_field.text(), "");
}

TEST_F(Field, WordsAreErasedWhole)
{
    m_field.setText("one two three");
    m_field.erase(false, true);
    EXPECT_EQ(m_field.text(), "one two ");
    m_field.move(Move::TextStart);
    m_field.erase(true, true);
    EXPECT_EQ(m_field.text(), "two ");
}

TEST_F(Field, TypingReplacesTheSelection)
{
    m_field.setText("hello");
    m_field.selectAll();
    EXPECT_EQ(m_field.selectedText(), "hello");
    m_field.insert("ab");
    EXPECT_EQ(m_field.text(), "ab");
    EXPECT_FALSE(m_field.hasSelection());
    m_field.move(Move::Left, true);
    EXPECT_EQ(m_field.selectedText(), "b");
    m_field.erase(true);
    EXPECT_EQ(m_field.text(), "a");
    m_field.insert("b\xFF");
    EXPECT_EQ(m_field.text(), "ab\uFFFD");
}

TEST_F(Field, ArrowKeysFollowWhatIsSeen)
{
    m_field.setText("\u05D0\u05D1\u05D2");
    m_field.move(Move::TextStart);
    int x = m_field.caretRect().left();
    for (int i = 0; i < 3; ++i) {
        m_field.move(Move::Left);
        EXPECT_EQ(m_field.caretIndex(), i + 1) << "left is forward";
        EXPECT_LT(m_field.caretRect().left(), x);
        x = m_field.caretRect().left();
    }
    m_field.move(Move::Right);
    EXPECT_EQ(m_field.caretIndex(), 2);
}

TEST_F(Field, WordJumpsGoTowardsTheSideThatIsMeant)
{
    m_field.setText("one two");
    m_field.move(Move::WordLeft);
    EXPECT_EQ(m_field.caretIndex(), 4);
    m_field.move(Move::WordLeft);
    m_field.move(Move::WordRight);
    EXPECT_EQ(m_field.caretIndex(), 4);
    m_field.setText("\u05D0\u05D1 \u05D2\u05D3");
    m_field.move(Move::WordRight);
    EXPECT_EQ(m_field.caretIndex(), 3);
    m_field.move(Move::WordLeft);
    EXPECT_EQ(m_field.caretIndex(), 5);
}

TEST_F(Field, HomeAndEndStayInTheLine)
{
    m_field.setText("first\nsecond\r\nthird");
    m_field.move(Move::LineStart);
    EXPECT_EQ(m_field.caretIndex(), 14);
    m_field.move(Move::Up);
    m_field.move(Move::LineEnd);
    EXPECT_EQ(m_field.caretIndex(), 12) << "before the two units that end the line";
    m_field.move(Move::Up);
    m_field.move(Move::LineEnd);
    EXPECT_EQ(m_field.caretIndex(), 5);
    m_field.move(Move::LineStart);
    EXPECT_EQ(m_field.caretIndex(), 0);
    m_field.move(Move::TextEnd);
    EXPECT_EQ(m_field.caretIndex(), 19);
}

TEST_F(Field, EndOfASoftLineStaysOnIt)
{
    m_field.setText("wrapped words");
    m_field.paragraph().setWidth(90);
    ASSERT_EQ(m_field.paragraph().lineCount(), 2);
    m_field.move(Move::TextStart);
    m_field.move(Move::LineEnd);
    EXPECT_EQ(m_field.caretIndex(), 8);
    EXPECT_EQ(m_field.caretRect().top(), 30);
    m_field.move(Move::Right);
    EXPECT_GT(m_field.caretRect().top(), 30);
}

TEST_F(Field, UpAndDownKeepTheirColumn)
{
    m_field.setText("a long first line\nb\nanother long line");
    m_field.move(Move::TextEnd);
    const int x = m_field.caretRect().left();
    m_field.move(Move::Up);
    EXPECT_EQ(m_field.caretIndex(), 19) << "the short line's end";
    m_field.move(Move::Up);
    EXPECT_NEAR(m_field.caretRect().left(), x, 16);
    m_field.move(Move::Up);
    EXPECT_EQ(m_field.caretIndex(), 0) << "above the first line is its start";
    m_field.move(Move::Down);
    m_field.move(Move::Down);
    m_field.move(Move::Down);
    EXPECT_EQ(m_field.caretIndex(), m_field.paragraph().text().size());
}

TEST_F(Field, AMoveLeavesTheSelectionAtItsSide)
{
    m_field.setText("abcd");
    m_field.move(Move::TextStart);
    m_field.move(Move::Right);
    m_field.move(Move::Right, true);
    m_field.move(Move::Right, true);
    EXPECT_EQ(m_field.selectedText(), "bc");
    m_field.move(Move::Left);
    EXPECT_EQ(m_field.caretIndex(), 1);
    m_field.move(Move::Right, true);
    m_field.move(Move::Right, true);
    m_field.move(Move::Right);
    EXPECT_EQ(m_field.caretIndex(), 3);
}

TEST_F(Field, ClicksAndDragsSelectWhatLiesBetween)
{
    m_field.setText("click and drag");
    const ZkPoint from = middle(2), to = middle(8);
    m_field.press(from.x() - 3, from.y());
    EXPECT_EQ(m_field.caretIndex(), 2);
    m_field.drag(to.x() - 3, to.y());
    EXPECT_EQ(m_field.selectedText(), "ick an");
    m_field.drag(0, 0);
    EXPECT_EQ(m_field.selectedText(), "cl") << "the other way";
    m_field.press(to.x(), to.y());
    EXPECT_FALSE(m_field.hasSelection());
    m_field.pressWord(to.x(), to.y());
    EXPECT_EQ(m_field.selectedText(), "and ");
    m_field.press(-5000, -5000);
    m_field.press(5000, 5000);
    EXPECT_EQ(m_field.caretIndex(), 14);
}

TEST_F(Field, SpansMoveWithTheText)
{
    m_field.setText("one two");
    m_field.setSpan(4, 7, ZkFont(20, false, false, false, false), 9);
    m_field.move(Move::TextStart);
    m_field.insert("xx ");
    const ZkPlacedGlyph *glyphs = nullptr;
    const int count = m_field.paragraph().glyphs(0, &glyphs);
    ASSERT_GT(count, 0);
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(glyphs[i].tag, glyphs[i].cluster >= 7 ? 9 : 0) << glyphs[i].cluster;
    }
}

TEST_F(Field, SelectionAndCaretArePainted)
{
    host::Canvas canvas(200, 80, {255, 255, 255, 255});
    m_field.setText("ab");
    m_field.selectAll();
    host::FieldColors colors;
    m_field.paintSelection(canvas, colors);
    const ZkPoint inside = middle(0);
    EXPECT_EQ(canvas.pixel(inside.x(), inside.y()).blue, colors.selection.blue);
    EXPECT_EQ(canvas.pixel(5, inside.y()).blue, 255) << "left of the text";
    m_field.paintCaret(canvas, colors);
    const ZkRect caret = m_field.caretRect();
    EXPECT_EQ(caret.width(), 2);
    EXPECT_EQ(canvas.pixel(caret.left(), caret.top()).red, colors.caret.red);
}
