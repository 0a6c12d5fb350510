// No text and no setting crashes, hangs or gives nonsense; time grows with the text.

#include "paragraphlaws.h"
#include "rounds.h"

#include <zkparagraph.h>

#include <gtest/gtest.h>

#include <climits>

namespace
{

ZkFontChain chain()
{
    static const ZkFontChain made = [] {
        ZkFontChain fonts(ZkTypeface::fromFile(ZK_FONT_DEJAVU));
        fonts.append(ZkTypeface::fromFile(ZK_FONT_UNIFONT));
        return fonts;
    }();
    return made;
}

ZkString repeated(const std::u16string &piece, int units)
{
    std::u16string text;
    while (static_cast<int>(text.size()) < units) {
        text += piece;
    }
    return ZkString(std::u16string_view(text));
}

const struct {
    const char *what;
    std::u16string piece;
} kPieces[] = {
    {"words", u"all human beings "},
    {"one word", u"a"},
    {"Arabic", u"\u0628\u0633\u0645 \u0627\u0644\u0644\u0647 "},
    {"vocalised Arabic", u"\u0628\u064E\u0651 "},
    {"mixed directions", u"abc \u05D0\u05D1 12 "},
    {"Thai", u"\u0E17\u0E35\u0E48\u0E19\u0E35\u0E48"},
    {"Chinese", u"\u4EBA\u751F"},
    {"only marks", u"\u0301\u064B\u0E48"},
    {"only controls", u"\x01\u200E\u202A\u202C\u200B"},
    {"only line ends", u"\n\r\n\u2028"},
    {"only spaces", u" "},
    {"tabs", u"a\tb"},
    {"only tabs", u"\t"},
    {"soft hyphens", u"a\u00AD"},
    {"lone surrogates", std::u16string{0xDC00, 0xD800, 0x61}},
    {"pairs", u"\U0001F600"},
    {"alternating directions of format characters", u"\u200F\u200E"},
    {"a letter and a thousand marks", u"a" + std::u16string(1000, 0x0301)},
    {"lam and alef", u"\u0644\u0627"},
    {"brackets", u"(\u05D0["},
};

void ask(const ZkParagraph &paragraph)
{
    const int size = paragraph.text().size();
    const int lines = paragraph.lineCount();
    ASSERT_GE(lines, 1);
    const ZkPlacedGlyph *glyphs = nullptr;
    const ZkTextStretch *stretches = nullptr;
    for (const int line : {0, lines / 2, lines - 1}) {
        EXPECT_GE(paragraph.glyphs(line, &glyphs), 0);
        EXPECT_GE(paragraph.stretches(line, &stretches), 0);
    }
    EXPECT_GE(paragraph.minWidth(), 0);
    EXPECT_GE(paragraph.maxWidth(), paragraph.minWidth());
    for (const int index : {INT_MIN, -1, 0, size / 2, size, size + 1, INT_MAX}) {
        const ZkCaret caret = paragraph.caret(index);
        EXPECT_GE(caret.line, 0);
        EXPECT_LT(caret.line, lines);
        for (const int position : {paragraph.nextCluster(index), paragraph.previousCluster(index),
                                   paragraph.nextWord(index), paragraph.previousWord(index),
                                   paragraph.left({index, ZkAffinity::Downstream}).index,
                                   paragraph.right({index, ZkAffinity::Upstream}).index}) {
            EXPECT_GE(position, 0);
            EXPECT_LE(position, size);
        }
    }
    for (const int x : {INT_MIN, -1, 0, 50, INT_MAX}) {
        for (const int y : {INT_MIN, -1, 0, 50, INT_MAX}) {
            const int index = paragraph.hit(x, y).index;
            EXPECT_GE(index, 0);
            EXPECT_LE(index, size);
        }
    }
}

TEST(ParagraphRobust, EveryTextAtEveryWidth)
{
    for (const auto &row : kPieces) {
        SCOPED_TRACE(row.what);
        for (const int width : {0, 1, 7, 200, INT_MAX}) {
            SCOPED_TRACE(width);
            ZkParagraph paragraph;
            paragraph.setChain(chain());
            paragraph.setText(repeated(row.piece, 300));
            paragraph.setWidth(width);
            ask(paragraph);
            EXPECT_EQ(paragraphlaws::linesFollowEachOther(paragraph), "");
        }
    }
}

TEST(ParagraphRobust, HugeSettings)
{
    for (const auto &row : kPieces) {
        SCOPED_TRACE(row.what);
        for (const int number : {INT_MIN, -100000, -1, 0, 1, 100000, INT_MAX}) {
            SCOPED_TRACE(number);
            ZkParagraph paragraph;
            paragraph.setChain(chain());
            paragraph.setText(repeated(row.piece, 60));
            paragraph.setLetterSpacing(number);
            paragraph.setLineSpacing(number);
            paragraph.setTabWidth(number);
            paragraph.setWidth(300);
            ask(paragraph);
            paragraph.setWidth(number);
            paragraph.setMaximumLines(number);
            paragraph.setEllipsis(ZkParagraph::EllipsisMiddle);
            ask(paragraph);
        }
    }
}

TEST(ParagraphRobust, SizesFromZeroToTheLargest)
{
    for (const int size : {0, 1, 2, 255}) {
        SCOPED_TRACE(size);
        ZkParagraph paragraph;
        paragraph.setChain(chain());
        paragraph.setFont(ZkFont(static_cast<unsigned char>(size), true, true, true, true));
        paragraph.setUtf8("abc \xD8\xA8\xD9\x8E");
        paragraph.setWidth(100);
        ask(paragraph);
    }
}

TEST(ParagraphRobust, NoFontAtAll)
{
    ZkParagraph paragraph;
    paragraph.setUtf8("abc \xD7\x90 def");
    paragraph.setWidth(10);
    ask(paragraph);
    paragraph.setChain(ZkFontChain(ZkTypeface()));
    ask(paragraph);
}

TEST(ParagraphRobust, AThousandSpans)
{
    ZkParagraph paragraph;
    paragraph.setChain(chain());
    paragraph.setText(repeated(u"abc \u0628\u0633\u0645 ", 3000));
    for (int i = 0; i < 1000; ++i) {
        paragraph.setSpan(
            i * 3, i * 3 + 2 + i % 4,
            ZkFont(static_cast<unsigned char>(8 + i % 20), false, false, false, false), i);
    }
    paragraph.setWidth(300);
    EXPECT_EQ(paragraphlaws::linesFollowEachOther(paragraph), "");
    EXPECT_EQ(paragraphlaws::glyphsBelong(paragraph), "");
    ask(paragraph);
}

TEST(ParagraphRobust, EmbeddingsAsDeepAsTheyGo)
{
    std::u16string text;
    for (int i = 0; i < 200; ++i) {
        text += i % 2 == 0 ? u'\u202B' : u'\u202A';
        text += u'a';
        text += u'\u05D0';
    }
    ZkParagraph paragraph;
    paragraph.setChain(chain());
    paragraph.setText(ZkString(std::u16string_view(text)));
    paragraph.setWidth(120);
    EXPECT_EQ(paragraphlaws::check(paragraph), "");
    ask(paragraph);
}

// A step whose time grew with the square of the text would not end within a test run.
TEST(ParagraphRobust, AMillionCharacters)
{
    const int units = kSlowTests ? 100000 : 1000000;
    for (const int row : {0, 1, 2, 4, 6}) {
        SCOPED_TRACE(kPieces[row].what);
        ZkParagraph paragraph;
        paragraph.setChain(chain());
        paragraph.setText(repeated(kPieces[row].piece, units));
        for (const int width : {400, 1, 0}) {
            paragraph.setWidth(width);
            ask(paragraph);
            int position = 0;
            for (int i = 0; i < paragraph.lineCount(); ++i) {
                ASSERT_EQ(paragraph.line(i).first, position);
                position = paragraph.line(i).last;
            }
            EXPECT_EQ(position, paragraph.text().size());
        }
    }
}

} // namespace
