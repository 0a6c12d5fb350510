#include <zkparagraph.h>

#include "tinyfont.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

// For messages of failed tests.
static void PrintTo(const ZkTextPosition &position, std::ostream *out)
{
    *out << position.index << (position.affinity == ZkAffinity::Upstream ? " up" : " down");
}

namespace
{

constexpr ZkAffinity kUp = ZkAffinity::Upstream, kDown = ZkAffinity::Downstream;

/// What an editor asks for, in a font whose letters are all 10 pixels wide, Latin and Hebrew
/// ones, and whose space is 5.
class Editing : public testing::Test
{
protected:
    Editing()
    {
        TinyFont font;
        for (const char *c = "abcdefghnortw,"; *c != '\0'; ++c) {
            font.addBox(*c, 1, 0, 9, 8, 10);
        }
        for (int c = 0x5D0; c <= 0x5D5; ++c) {
            font.addBox(c, 1, 0, 9, 8, 10);
        }
        font.addEmpty(' ', 5);
        const std::string bytes = font.bytes();
        paragraph.setChain(ZkFontChain(ZkTypeface::fromMemory(bytes.data(), bytes.size())));
        paragraph.setFont(ZkFont(16, false, false, false, false));
    }

    // Where the arrow leads from `at` on until it leads nowhere.
    std::vector<ZkTextPosition> way(ZkTextPosition at, bool toRight) const
    {
        std::vector<ZkTextPosition> positions;
        for (int i = 0; i < 100; ++i) {
            const ZkTextPosition next = toRight ? paragraph.right(at) : paragraph.left(at);
            if (next == at) {
                return positions;
            }
            positions.push_back(next);
            at = next;
        }
        ADD_FAILURE() << "the way has no end";
        return positions;
    }

    ZkParagraph paragraph;
};

} // namespace

TEST_F(Editing, TheCaretOfALineWithoutLetters)
{
    const struct {
        const char *what;
        const char *text;
        ZkParagraph::Direction direction;
        ZkParagraph::Alignment alignment;
        int index, line, x;
    } kRows[] = {
        {"at its left edge", "", ZkParagraph::LeftToRight, ZkParagraph::AlignStart, 0, 0, 0},
        {"at its right edge", "", ZkParagraph::RightToLeft, ZkParagraph::AlignStart, 0, 0, 99},
        {"at the left end", "", ZkParagraph::RightToLeft, ZkParagraph::AlignEnd, 0, 0, -1},
        {"in the middle", "", ZkParagraph::LeftToRight, ZkParagraph::AlignCenter, 0, 0, 50},
        {"and to the left of it", "", ZkParagraph::RightToLeft, ZkParagraph::AlignCenter, 0, 0, 49},
        {"between lines", "ab\n\ncd", ZkParagraph::LeftToRight, ZkParagraph::AlignStart, 3, 1, 0},
        {"there from the right", "ab\n\ncd", ZkParagraph::RightToLeft, ZkParagraph::AlignStart, 3,
         1, 99},
        {"behind the last line", "ab\n", ZkParagraph::LeftToRight, ZkParagraph::AlignStart, 3, 1,
         0},
    };
    paragraph.setWidth(100);
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        paragraph.setUtf8(row.text);
        paragraph.setDirection(row.direction);
        paragraph.setAlignment(row.alignment);
        const ZkCaret caret = paragraph.caret(row.index);
        EXPECT_EQ(caret.line, row.line);
        EXPECT_EQ(caret.x, row.x);
        EXPECT_EQ(caret.top, paragraph.line(row.line).top());
        EXPECT_EQ(caret.height, paragraph.line(row.line).height());
        EXPECT_EQ(caret.isRightToLeft, row.direction == ZkParagraph::RightToLeft);
    }
}

TEST_F(Editing, CaretsStandAtTheLetterReadNextOrBehindTheOneReadBefore)
{
    paragraph.setUtf8("abאבcd"); // columns 0, 10 | 30, 20 | 40, 50
    const struct {
        int index;
        ZkAffinity affinity;
        int x;
        bool isRightToLeft;
    } kRows[] = {
        {-1, kDown, 0, false}, {0, kDown, 0, false},  {0, kUp, 0, false},   {1, kDown, 10, false},
        {1, kUp, 9, false},    {2, kDown, 39, true},  {2, kUp, 19, false},  {3, kDown, 29, true},
        {3, kUp, 30, true},    {4, kDown, 40, false}, {4, kUp, 20, true},   {5, kUp, 49, false},
        {6, kDown, 60, false}, {6, kUp, 60, false},   {99, kUp, 60, false},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(testing::PrintToString(ZkTextPosition{row.index, row.affinity}));
        const ZkCaret caret = paragraph.caret(row.index, row.affinity);
        EXPECT_EQ(caret.x, row.x);
        EXPECT_EQ(caret.isRightToLeft, row.isRightToLeft);
    }
}

TEST_F(Editing, AHitIsTheNearerEdgeOfTheLetterThatWasHit)
{
    paragraph.setUtf8("abאבcd"); // columns 0, 10 | 30, 20 | 40, 50
    const struct {
        int x;
        ZkTextPosition position;
    } kRows[] = {
        {-100, {0, kDown}}, {0, {0, kDown}},  {4, {0, kDown}},  {5, {1, kUp}},    {9, {1, kUp}},
        {10, {1, kDown}},   {14, {1, kDown}}, {15, {2, kUp}},   {19, {2, kUp}},   {20, {4, kUp}},
        {24, {4, kUp}},     {25, {3, kDown}}, {29, {3, kDown}}, {30, {3, kUp}},   {34, {3, kUp}},
        {35, {2, kDown}},   {39, {2, kDown}}, {40, {4, kDown}}, {44, {4, kDown}}, {45, {5, kUp}},
        {59, {6, kUp}},     {60, {6, kUp}},   {1000, {6, kUp}},
    };
    for (const auto &row : kRows) {
        EXPECT_EQ(paragraph.hit(row.x, 0), row.position) << row.x;
    }
}

TEST_F(Editing, AHitIsInTheLineOfItsRow)
{
    paragraph.setUtf8("ab\n\ncd");
    paragraph.setLineSpacing(6);
    const int second = paragraph.line(1).top(), third = paragraph.line(2).top();
    const struct {
        int y;
        ZkTextPosition position;
    } kRows[] = {
        {-100, {0, kDown}},      {second - 1, {0, kDown}}, {second, {3, kDown}},
        {third - 1, {3, kDown}}, {third, {4, kDown}},      {third + 1000, {4, kDown}},
    };
    for (const auto &row : kRows) {
        EXPECT_EQ(paragraph.hit(0, row.y), row.position) << row.y;
    }
}

TEST_F(Editing, ArrowsMoveFromLetterToLetterAsTheyAreSeen)
{
    const struct {
        const char *what;
        const char *text;
        int width; // 0: no wrapping
        ZkTextPosition first;
        std::vector<ZkTextPosition> right, left;
    } kRows[] = {
        {"both directions in a line",
         "abאבcd",
         0,
         {0, kDown},
         {{1, kUp}, {2, kUp}, {3, kDown}, {2, kDown}, {5, kUp}, {6, kUp}},
         {{5, kDown}, {4, kDown}, {3, kUp}, {4, kUp}, {1, kDown}, {0, kDown}}},
        {"a space at a soft end is a place outside",
         "ab cd",
         20,
         {0, kDown},
         {{1, kUp}, {2, kUp}, {3, kDown}, {4, kUp}, {5, kUp}},
         {{4, kDown}, {3, kDown}, {2, kDown}, {1, kDown}, {0, kDown}}},
        {"a soft end inside a word is one place",
         "abcd",
         20,
         {0, kDown},
         {{1, kUp}, {2, kDown}, {3, kUp}, {4, kUp}},
         {{3, kDown}, {2, kDown}, {1, kDown}, {0, kDown}}},
        {"what shows nothing is none",
         "a\u200Bb",
         0,
         {0, kDown},
         {{1, kUp}, {3, kUp}},
         {{2, kDown}, {0, kDown}}},
        {"an empty line is a place",
         "a\n\nb",
         0,
         {0, kDown},
         {{1, kUp}, {2, kDown}, {3, kDown}, {4, kUp}},
         {{3, kDown}, {2, kDown}, {1, kUp}, {0, kDown}}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        paragraph.setUtf8(row.text);
        paragraph.setWidth(row.width);
        EXPECT_EQ(way(row.first, true), row.right);
        EXPECT_EQ(way(row.right.back(), false), row.left);
        EXPECT_EQ(way({row.right.back().index, kDown}, false), row.left) << "the text's end";
    }
}

TEST_F(Editing, ArrowsGoOnToTheLeftFromRightToLeftLines)
{
    paragraph.setUtf8("אב גד");
    paragraph.setWidth(20);
    const std::vector<ZkTextPosition> left = {{1, kUp}, {2, kUp}, {3, kDown}, {4, kUp}, {5, kUp}};
    const std::vector<ZkTextPosition> right = {
        {4, kDown}, {3, kDown}, {2, kDown}, {1, kDown}, {0, kDown}};
    EXPECT_EQ(way({0, kDown}, false), left);
    EXPECT_EQ(way(left.back(), true), right);
}

TEST_F(Editing, SelectedLettersSideBySideAreOneRectangle)
{
    paragraph.setUtf8("abאבcd\nef"); // columns 0, 10 | 30, 20 | 40, 50
    const int top = paragraph.line(1).top(), bottom = top + paragraph.line(1).height() - 1;
    const struct {
        int first, last;
        std::vector<ZkRect> rects;
    } kRows[] = {
        {0, 6, {ZkRect(0, 0, 59, top - 1)}},
        {-5, 1, {ZkRect(0, 0, 9, top - 1)}},
        {1, 3, {ZkRect(10, 0, 19, top - 1), ZkRect(30, 0, 39, top - 1)}},
        {1, 4, {ZkRect(10, 0, 39, top - 1)}},
        {3, 5, {ZkRect(20, 0, 29, top - 1), ZkRect(40, 0, 49, top - 1)}},
        {5, 8, {ZkRect(50, 0, 59, top - 1), ZkRect(0, top, 9, bottom)}},
        {7, 99, {ZkRect(0, top, 19, bottom)}},
        {8, 9, {ZkRect(10, top, 19, bottom)}},
        {6, 7, {}},
        {9, 9, {}},
        {3, 2, {}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(testing::Message() << row.first << " to " << row.last);
        const ZkVector<ZkRect> rects = paragraph.selection(row.first, row.last);
        ASSERT_EQ(rects.size(), static_cast<int>(row.rects.size()));
        for (int i = 0; i < rects.size(); ++i) {
            EXPECT_TRUE(rects.at(i) == row.rects[static_cast<std::size_t>(i)]) << i;
        }
    }
}

TEST_F(Editing, WordsBeginBehindSpacesAndPunctuation)
{
    paragraph.setUtf8("one, two three"); // at 0, 5 and 9
    const struct {
        int index, next, previous;
    } kRows[] = {
        {-9, 0, 0}, {-1, 0, 0}, {0, 5, 0},  {1, 5, 0},   {3, 5, 0},   {4, 5, 0},   {5, 9, 0},
        {6, 9, 5},  {8, 9, 5},  {9, 14, 5}, {10, 14, 9}, {13, 14, 9}, {14, 14, 9}, {99, 14, 9},
    };
    for (const auto &row : kRows) {
        EXPECT_EQ(paragraph.nextWord(row.index), row.next) << row.index;
        EXPECT_EQ(paragraph.previousWord(row.index), row.previous) << row.index;
    }
}

TEST_F(Editing, ClustersAreStrungTogether)
{
    paragraph.setUtf8("ae\u0301b"); // at 0, 1 and 3
    const struct {
        int index, next, previous;
    } kRows[] = {
        {-9, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {1, 3, 0}, {2, 3, 1}, {3, 4, 1}, {4, 4, 3}, {99, 4, 3},
    };
    for (const auto &row : kRows) {
        EXPECT_EQ(paragraph.nextCluster(row.index), row.next) << row.index;
        EXPECT_EQ(paragraph.previousCluster(row.index), row.previous) << row.index;
    }
}
