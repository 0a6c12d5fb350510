#include <zkparagraph.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace
{

/// Each rule of the layout by itself, in DejaVu Sans at 16 pixels: a space is 5 wide there.
class Paragraph : public testing::Test
{
protected:
    Paragraph()
    {
        ZkFontChain chain;
        chain.append(ZkTypeface::fromFile(ZK_FONT_DEJAVU));
        paragraph.setChain(chain);
        paragraph.setFont(font(16));
    }

    static ZkFont font(int size)
    {
        return ZkFont(static_cast<unsigned char>(size), false, false, false, false);
    }

    int widthOf(const char *text)
    {
        ZkParagraph other;
        other.setChain(paragraph.chain());
        other.setFont(paragraph.font());
        other.setUtf8(text);
        return other.width();
    }

    /// The units that each line ends before.
    std::vector<int> ends()
    {
        std::vector<int> result;
        for (int i = 0; i < paragraph.lineCount(); ++i) {
            result.push_back(paragraph.line(i).last);
        }
        return result;
    }

    /// First units of the placed glyphs of a line, from left to right.
    std::vector<int> clusters(int line = 0)
    {
        const ZkPlacedGlyph *glyphs = nullptr;
        const int count = paragraph.glyphs(line, &glyphs);
        std::vector<int> result;
        for (int i = 0; i < count; ++i) {
            result.push_back(glyphs[i].cluster);
        }
        return result;
    }

    ZkParagraph paragraph;
};

TEST_F(Paragraph, EmptyTextHasOneLineOfTheFontsHeight)
{
    EXPECT_EQ(paragraph.lineCount(), 1);
    EXPECT_EQ(paragraph.width(), 0);
    paragraph.setUtf8("x");
    const int height = paragraph.height();
    paragraph.setUtf8("");
    EXPECT_EQ(paragraph.height(), height);
    EXPECT_GT(height, 16);
    EXPECT_EQ(paragraph.caret(0).height, height);
    EXPECT_TRUE(paragraph.selection(0, 10).isEmpty());
}

TEST_F(Paragraph, HeightDoesNotDependOnTheLetters)
{
    paragraph.setUtf8("x");
    const int height = paragraph.height();
    for (const char *text : {"Ạg", "ÅÂ", "|", "語", "سلام"}) {
        SCOPED_TRACE(text);
        paragraph.setUtf8(text);
        EXPECT_EQ(paragraph.height(), height);
    }
}

TEST_F(Paragraph, EveryLineEndEndsALine)
{
    const struct {
        const char *what;
        const char *text;
        std::vector<int> ends;
    } kRows[] = {
        {"LF", "a\nb", {2, 3}},
        {"CR", "a\rb", {2, 3}},
        {"CR LF is one", "a\r\nb", {3, 4}},
        {"LF CR are two", "a\n\rb", {2, 3, 4}},
        {"VT", "a\vb", {2, 3}},
        {"FF", "a\fb", {2, 3}},
        {"NEL", "a\u0085b", {2, 3}},
        {"LINE SEPARATOR", "a\u2028b", {2, 3}},
        {"PARAGRAPH SEPARATOR", "a\u2029b", {2, 3}},
        {"at the end opens an empty line", "a\n", {2, 2}},
        {"alone", "\n", {1, 1}},
        {"a group separator ends none",
         "a\x1D"
         "b",
         {3}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        paragraph.setUtf8(row.text);
        EXPECT_EQ(ends(), row.ends);
        for (int i = 0; i < paragraph.lineCount(); ++i) {
            EXPECT_TRUE(paragraph.line(i).endsHard);
        }
    }
}

TEST_F(Paragraph, SpacesAtASoftEndHangOutside)
{
    paragraph.setUtf8("aaa   bbb");
    paragraph.setWidth(widthOf("aaa"));
    EXPECT_EQ(ends(), (std::vector<int>{6, 9}));
    EXPECT_EQ(paragraph.line(0).width, widthOf("aaa"));
    EXPECT_FALSE(paragraph.line(0).endsHard);
    paragraph.setAlignment(ZkParagraph::AlignRight);
    EXPECT_EQ(paragraph.line(0).x, 0);
}

TEST_F(Paragraph, NoBreakSpaceDoesNotHang)
{
    paragraph.setUtf8("aaa\u00A0bbb ccc");
    paragraph.setWidth(widthOf("aaa\u00A0bbb"));
    EXPECT_EQ(ends(), (std::vector<int>{8, 11}));
}

TEST_F(Paragraph, ASoftHyphenShowsAtItsBreakAlone)
{
    paragraph.setUtf8("wwww\u00ADab");
    EXPECT_EQ(paragraph.width(), widthOf("wwwwab"));
    EXPECT_EQ(clusters().size(), 6u);
    const int hyphen = widthOf("\u2010");
    paragraph.setWidth(widthOf("wwww") + hyphen);
    EXPECT_EQ(ends(), (std::vector<int>{5, 7}));
    EXPECT_EQ(paragraph.line(0).width, widthOf("wwww") + hyphen);
    EXPECT_EQ(clusters(0), (std::vector<int>{0, 1, 2, 3, 4}));
    paragraph.setWordCutting(false); // no room for it: the break is not taken there
    paragraph.setUtf8("x wwww\u00ADab");
    paragraph.setWidth(widthOf("x wwww"));
    EXPECT_EQ(paragraph.line(0).last, 2);
}

TEST_F(Paragraph, TabsGoToTheNextStopFromTheStartEdge)
{
    paragraph.setTabWidth(50);
    paragraph.setUtf8("a\tb\t\tc");
    EXPECT_EQ(paragraph.caret(2).x, 50);
    EXPECT_EQ(paragraph.caret(5).x, 150);
    paragraph.setUtf8("א\tב"); // from the right: the tab ends 50 pixels from the right edge
    EXPECT_EQ(paragraph.caret(2).x, paragraph.width() - 50 - 1);
    paragraph.setTabWidth(0);
    paragraph.setUtf8("\tx");
    EXPECT_EQ(paragraph.caret(1).x, 8 * widthOf(" "));
}

TEST_F(Paragraph, InvisibleCharactersTakeNoRoom)
{
    const int width = widthOf("ab");
    for (const char *text : {"a\u200Eb", "a\u200Bb", "a\u2060b",
                             "a\uFEFF"
                             "b",
                             "a\u2066"
                             "b\u2069",
                             "a\U000E0001"
                             "b",
                             "a\uFE0F"
                             "b",
                             "a\u00AD"
                             "b",
                             "a\x01"
                             "b"}) {
        SCOPED_TRACE(text);
        paragraph.setUtf8(text);
        EXPECT_EQ(paragraph.width(), width);
        EXPECT_EQ(clusters().size(), 2u);
    }
}

TEST_F(Paragraph, MirroredCharactersMirror)
{
    paragraph.setUtf8("א(");
    const ZkPlacedGlyph *glyphs = nullptr;
    ASSERT_EQ(paragraph.glyphs(0, &glyphs), 2);
    const GlyphBitmap *const opening = glyphs[0].glyph;
    ZkParagraph other;
    other.setChain(paragraph.chain());
    other.setFont(paragraph.font());
    other.setUtf8("a)");
    ASSERT_EQ(other.glyphs(0, &glyphs), 2);
    EXPECT_EQ(glyphs[1].glyph, opening);
}

TEST_F(Paragraph, AlignmentsByDirection)
{
    const struct {
        ZkParagraph::Alignment alignment;
        double latin, hebrew; // x as a share of the room
    } kRows[] = {
        {ZkParagraph::AlignStart, 0, 1},    {ZkParagraph::AlignEnd, 1, 0},
        {ZkParagraph::AlignLeft, 0, 0},     {ZkParagraph::AlignRight, 1, 1},
        {ZkParagraph::AlignCenter, .5, .5}, {ZkParagraph::AlignJustify, 0, 1},
    };
    paragraph.setWidth(201);
    for (const auto &row : kRows) {
        paragraph.setAlignment(row.alignment);
        paragraph.setUtf8("abc");
        int room = 201 - paragraph.width();
        EXPECT_EQ(paragraph.line(0).x, static_cast<int>(room * row.latin));
        paragraph.setUtf8("אבג");
        room = 201 - paragraph.width();
        EXPECT_EQ(paragraph.line(0).x, static_cast<int>(room * row.hebrew));
    }
}

TEST_F(Paragraph, NoMarkOfALetterIsLost)
{
    // A stroke through the letter composes with nothing and is in the way of no accent.
    const std::string stroke = "\u0335", acute = "\u0301";
    paragraph.setUtf8("\u00E1");
    const ZkPlacedGlyph *glyphs = nullptr;
    ASSERT_EQ(paragraph.glyphs(0, &glyphs), 1);
    const GlyphBitmap *const accented = glyphs[0].glyph;
    for (const int count : {1, 23, 24, 25, 48, 49, 1000}) {
        SCOPED_TRACE(count);
        std::string strokes, acutes;
        for (int i = 0; i < count; ++i) {
            strokes += stroke;
            acutes += acute;
        }
        paragraph.setUtf8(("x" + strokes).c_str());
        EXPECT_EQ(paragraph.glyphs(0, &glyphs), 1 + count);
        paragraph.setUtf8(("a" + strokes + acute).c_str());
        EXPECT_EQ(paragraph.glyphs(0, &glyphs), 1 + count);
        EXPECT_EQ(glyphs[0].glyph, accented) << "the last mark composes with the letter";
        paragraph.setUtf8(("a" + acutes).c_str());
        ASSERT_EQ(paragraph.glyphs(0, &glyphs), count);
        EXPECT_EQ(glyphs[0].glyph, accented);
        for (int i = 1; i < count; ++i) { // upwards, and no mark wraps to below
            EXPECT_LE(glyphs[i].y, glyphs[i - 1].y);
        }
        paragraph.setUtf8(("\u0644" + strokes + "\u0627" + strokes).c_str());
        EXPECT_EQ(paragraph.glyphs(0, &glyphs), 1 + 2 * count) << "lam and alef";
        paragraph.setUtf8((strokes + acutes).c_str());
        EXPECT_EQ(paragraph.glyphs(0, &glyphs), 2 * count) << "without a letter";
    }
}

TEST_F(Paragraph, JustifiedLinesTellTheWidthThatIsDrawn)
{
    paragraph.setUtf8("aa bb cc dd ee ff\ngg hh\nwordwordwordword");
    const int natural = widthOf("aa bb cc"), box = natural + 7;
    paragraph.setWidth(box);
    for (int round = 0; round < 2; ++round) {
        paragraph.setAlignment(ZkParagraph::AlignStart);
        ASSERT_GE(paragraph.lineCount(), 5);
        const int last = widthOf("dd ee ff");
        EXPECT_EQ(paragraph.line(0).width, natural);
        paragraph.setAlignment(ZkParagraph::AlignJustify);
        paragraph.setLineSpacing(round); // sets the lines anew
        EXPECT_EQ(paragraph.line(0).width, box);
        EXPECT_EQ(paragraph.line(0).x, 0);
        EXPECT_EQ(paragraph.line(1).width, last) << "ends hard";
        EXPECT_EQ(paragraph.line(3).endsHard, false);
        EXPECT_LT(paragraph.line(3).width, box) << "has no space to stretch";
        EXPECT_EQ(paragraph.width(), box);
        const ZkTextStretch *stretches = nullptr;
        ASSERT_EQ(paragraph.stretches(0, &stretches), 1);
        EXPECT_EQ(stretches[0].x + stretches[0].width, box + widthOf(" ")) << "a space hangs";
    }
    paragraph.setDirection(ZkParagraph::RightToLeft);
    EXPECT_EQ(paragraph.line(0).width, box);
    EXPECT_EQ(paragraph.line(0).x, 0);
    EXPECT_EQ(paragraph.caret(0).x, paragraph.selection(0, 1).at(0).left());
}

TEST_F(Paragraph, JustifiedLinesReachTheEdgeButTheLast)
{
    paragraph.setUtf8("aa bb cc dd ee ff\ngg hh");
    paragraph.setWidth(widthOf("aa bb cc") + 7);
    paragraph.setAlignment(ZkParagraph::AlignJustify);
    ASSERT_EQ(paragraph.lineCount(), 3);
    const ZkVector<ZkRect> first = paragraph.selection(0, 8);
    EXPECT_EQ(first.at(0).right(), paragraph.boxWidth() - 1);
    // 7 pixels over two spaces: 3 and 4.
    EXPECT_EQ(paragraph.caret(3).x - paragraph.caret(2).x, widthOf(" ") + 3);
    EXPECT_EQ(paragraph.caret(6).x - paragraph.caret(5).x, widthOf(" ") + 4);
    for (int i : {11, 14, 20}) { // the last line of either paragraph
        EXPECT_EQ(paragraph.caret(i + 1).x - paragraph.caret(i).x, widthOf(" ")) << i;
    }
}

TEST_F(Paragraph, ASpaceInsideAClusterDoesNotHang)
{
    // A number sign takes what follows, a space too, into its cluster.
    paragraph.setUtf8("\u0600 ");
    EXPECT_GT(paragraph.maxWidth(), 0);
    EXPECT_EQ(paragraph.minWidth(), paragraph.maxWidth());
    EXPECT_EQ(paragraph.width(), paragraph.maxWidth());
}

TEST_F(Paragraph, ASoftHyphenWiderThanTheRestIsNoEndOfTheLeastWidth)
{
    const struct {
        const char *text, *widest;
    } kRows[] = {
        {"i\u00ADi", "ii"}, // "i-" would be wider
        {"wwww\u00ADwwww", "wwww-"},
        {"ww\u00ADwwww\u00ADi", "wwwwi"}, // "wwww-" would be wider
        {"aa i\u00ADi", "aa"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.text);
        paragraph.setUtf8(row.text);
        EXPECT_EQ(paragraph.minWidth(), widthOf(row.widest));
        EXPECT_LE(paragraph.minWidth(), paragraph.maxWidth());
    }
}

TEST_F(Paragraph, AHyphenOfALargerFontHidesNoneBehindIt)
{
    paragraph.setUtf8("ww\u00ADi\u00ADww");
    paragraph.setSpan(2, 3, font(60), 0); // the first hyphen, wider than "i-"
    EXPECT_EQ(paragraph.minWidth(), widthOf("wwi-"));
    paragraph.setWidth(paragraph.minWidth());
    EXPECT_EQ(ends(), (std::vector<int>{5, 7}));
}

TEST_F(Paragraph, ALongWordIsCutBetweenClustersOrSticksOut)
{
    paragraph.setUtf8("iiiiiiiiii");
    paragraph.setWidth(widthOf("iii"));
    EXPECT_EQ(ends(), (std::vector<int>{3, 6, 9, 10}));
    paragraph.setWordCutting(false);
    EXPECT_EQ(ends(), (std::vector<int>{10}));
    EXPECT_EQ(paragraph.minWidth(), widthOf("iiiiiiiiii"));
    paragraph.setWordCutting(true);
    paragraph.setWidth(1); // one cluster a line
    EXPECT_EQ(paragraph.lineCount(), 10);
    paragraph.setAlignment(ZkParagraph::AlignRight);
    EXPECT_EQ(paragraph.line(0).x, 1 - widthOf("i")) << "a box of one pixel is one";
    paragraph.setAlignment(ZkParagraph::AlignStart);
    paragraph.setUtf8("e\u0301\u0323x");
    EXPECT_EQ(ends(), (std::vector<int>{3, 4}));
}

TEST_F(Paragraph, EllipsisStandsAtTheLogicalCut)
{
    const char *const text = "abcdefghijklmnop";
    const int dots = widthOf("\u2026");
    paragraph.setUtf8(text);
    paragraph.setMaximumLines(1);
    paragraph.setWidth(widthOf("abcd") + dots);
    EXPECT_GE(paragraph.line(0).last, 5); // without one as much as fits
    EXPECT_FALSE(paragraph.line(0).isShortened);
    paragraph.setEllipsis(ZkParagraph::EllipsisEnd);
    EXPECT_EQ(clusters(), (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_TRUE(paragraph.line(0).isShortened);
    EXPECT_LE(paragraph.width(), paragraph.boxWidth());
    paragraph.setEllipsis(ZkParagraph::EllipsisStart);
    EXPECT_EQ(clusters().front(), 0);
    EXPECT_EQ(clusters().back(), 15);
    EXPECT_LE(paragraph.width(), paragraph.boxWidth());
    paragraph.setEllipsis(ZkParagraph::EllipsisMiddle);
    EXPECT_EQ(clusters().front(), 0);
    EXPECT_EQ(clusters().back(), 15);
    EXPECT_LE(paragraph.width(), paragraph.boxWidth());
    paragraph.setWidth(widthOf(text)); // there is room for all
    EXPECT_FALSE(paragraph.line(0).isShortened);
    EXPECT_EQ(clusters().size(), 16u);
}

TEST_F(Paragraph, EllipsisOfRightToLeftTextStandsOnItsLeft)
{
    paragraph.setUtf8("אבגדהוזחטיכלמנ");
    paragraph.setMaximumLines(1);
    paragraph.setEllipsis(ZkParagraph::EllipsisEnd);
    paragraph.setWidth(widthOf("אבגד") + widthOf("\u2026"));
    const std::vector<int> seen = clusters();
    EXPECT_EQ(seen.back(), 0); // the first letter stands rightmost
    const ZkPlacedGlyph *glyphs = nullptr;
    const int count = paragraph.glyphs(0, &glyphs);
    EXPECT_EQ(glyphs[0].cluster, count - 1); // the dots, for what is hidden from there on
}

// Wide dots leave no room for the letters whose font they are of, narrow ones do: neither
// choice settles it, and the third one stays.
TEST_F(Paragraph, DotsOfTwoFontsAreChosenThreeTimes)
{
    paragraph.setUtf8("iiiiiiiiMMMM");
    paragraph.setSpan(8, 12, font(40), 0);
    paragraph.setMaximumLines(1);
    paragraph.setEllipsis(ZkParagraph::EllipsisEnd);
    const int narrow = widthOf("\u2026");
    paragraph.setWidth(widthOf("iiiiiiii") + 40 + narrow);
    const ZkPlacedGlyph *glyphs = nullptr;
    ASSERT_EQ(paragraph.glyphs(0, &glyphs), 10);
    EXPECT_EQ(glyphs[9].cluster, 9);
    EXPECT_EQ(glyphs[9].glyph->advance, narrow);
}

TEST_F(Paragraph, LettersOfALongTextStandEvenly)
{
    for (const std::string letter : {"a", "\u05D0"}) {
        SCOPED_TRACE(letter);
        std::string text;
        for (int i = 0; i < 2500; ++i) {
            text += letter;
        }
        paragraph.setUtf8(text.c_str());
        const int step = widthOf(letter.c_str());
        for (const int width : {0, 20 * step}) {
            paragraph.setWidth(width);
            EXPECT_EQ(paragraph.lineCount(), width == 0 ? 1 : 125);
            const ZkPlacedGlyph *glyphs = nullptr;
            ASSERT_GT(paragraph.glyphs(0, &glyphs), 0);
            const int left = glyphs[0].x;
            for (int line = 0; line < paragraph.lineCount(); ++line) {
                const int count = paragraph.glyphs(line, &glyphs);
                ASSERT_EQ(count, width == 0 ? 2500 : 20);
                for (int i = 0; i < count; ++i) {
                    ASSERT_EQ(glyphs[i].x, left + i * step) << i << " of line " << line;
                }
            }
        }
    }
}

TEST_F(Paragraph, EllipsisLeavesNoHalfCluster)
{
    paragraph.setUtf8("e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301");
    paragraph.setMaximumLines(1);
    paragraph.setEllipsis(ZkParagraph::EllipsisEnd);
    for (int width = 0; width < 80; ++width) {
        paragraph.setWidth(width);
        paragraph.lineCount();
        const ZkPlacedGlyph *glyphs = nullptr;
        const int count = paragraph.glyphs(0, &glyphs);
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(glyphs[i].cluster % 2, 0) << width;
        }
    }
}

TEST_F(Paragraph, LinesBeyondTheMaximumAreLeftOut)
{
    paragraph.setUtf8("a\nb\nc");
    paragraph.setMaximumLines(2);
    EXPECT_EQ(ends(), (std::vector<int>{2, 4}));
    paragraph.setEllipsis(ZkParagraph::EllipsisEnd);
    EXPECT_EQ(ends(), (std::vector<int>{2, 5}));
    EXPECT_EQ(clusters(1).front(), 2);
    EXPECT_EQ(clusters(1).size(), 2u); // "b" and the dots
}

TEST_F(Paragraph, SpansOverrideWhatWasThere)
{
    paragraph.setUtf8("abcdefgh");
    paragraph.setSpan(0, 8, font(16), 1);
    paragraph.setSpan(2, 4, font(16), 2);
    paragraph.setSpan(3, 6, font(24), 3);
    EXPECT_EQ(paragraph.spanCount(), 4);
    const ZkPlacedGlyph *glyphs = nullptr;
    ASSERT_EQ(paragraph.glyphs(0, &glyphs), 8);
    const int kTags[] = {1, 1, 2, 3, 3, 3, 1, 1};
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(glyphs[i].tag, kTags[i]) << i;
        EXPECT_EQ(glyphs[i].glyph->font.size, kTags[i] == 3 ? 24 : 16) << i;
    }
    const ZkTextStretch *stretches = nullptr;
    EXPECT_EQ(paragraph.stretches(0, &stretches), 4);
    EXPECT_EQ(stretches[2].tag, 3);
    EXPECT_EQ(stretches[0].x, 0);
    EXPECT_GT(stretches[0].underlineTop, stretches[0].baseline);
    EXPECT_LT(stretches[0].strikeTop, stretches[0].baseline);
    paragraph.setSpan(5, 5, font(30), 9);
    paragraph.setSpan(-5, 0, font(30), 9);
    EXPECT_EQ(paragraph.spanCount(), 4);
    paragraph.clearSpans();
    ASSERT_EQ(paragraph.glyphs(0, &glyphs), 8);
    EXPECT_EQ(glyphs[3].tag, 0);
}

TEST_F(Paragraph, ALargerSpanMakesItsLineHigher)
{
    paragraph.setUtf8("a\nb");
    const int height = paragraph.line(0).height();
    paragraph.setSpan(2, 3, font(32), 0);
    EXPECT_EQ(paragraph.line(0).height(), height);
    EXPECT_GT(paragraph.line(1).height(), height);
}

TEST_F(Paragraph, LineSpacingStandsBetweenLines)
{
    paragraph.setUtf8("a\nb");
    const int height = paragraph.height();
    paragraph.setLineSpacing(7);
    EXPECT_EQ(paragraph.height(), height + 7);
    paragraph.setUtf8("a");
    EXPECT_EQ(paragraph.height(), height / 2);
}

TEST_F(Paragraph, LetterSpacingStandsBehindEachCluster)
{
    paragraph.setKerning(false);
    paragraph.setUtf8("abc");
    const int width = paragraph.width();
    paragraph.setLetterSpacing(3);
    EXPECT_EQ(paragraph.width(), width + 9);
    paragraph.setLetterSpacing(-1000000);
    EXPECT_EQ(paragraph.letterSpacing(), -8191);
    EXPECT_EQ(paragraph.width(), 0);
}

TEST_F(Paragraph, KerningBringsLettersTogether)
{
    paragraph.setUtf8("AVAVAVAV");
    const int kerned = paragraph.width();
    paragraph.setKerning(false);
    EXPECT_LT(kerned, paragraph.width());
}

TEST_F(Paragraph, KerningIsThatOfTheFontForEveryPair)
{
    const struct {
        const char *pair;
        char32_t left, right;
    } kRows[] = {
        {"AV", 'A', 'V'},         {"L\u201D", 'L', 0x201D},       {"A\u201C", 'A', 0x201C},
        {"\u1EF2,", 0x1EF2, ','}, {"A\u1EF2", 'A', 0x1EF2},       {"F\u201E", 'F', 0x201E},
        {"AB", 'A', 'B'},         {"\u0391\u03A5", 0x391, 0x3A5}, // Greek ones have none here
        {"VA\u0301", 'V', 0xC1},  {"VA\u030D", 'V', 'A'},         // one sign, and two
    };
    paragraph.setFont(font(64));
    const ZkTypeface face = paragraph.chain().at(0);
    int kerned = 0;
    for (const auto &row : kRows) {
        paragraph.setUtf8(row.pair);
        paragraph.setKerning(false);
        const int apart = paragraph.width();
        paragraph.setKerning(true);
        const int nearer = face.kerning(face.glyphIndex(row.left), face.glyphIndex(row.right), 64);
        EXPECT_EQ(paragraph.width(), apart + nearer) << row.pair;
        kerned += nearer != 0 ? 1 : 0;
    }
    EXPECT_GE(kerned, 5) << "the font was chosen for its pairs";
}

// Letters of 200 pixels are wider than what is remembered of small ones; two A are moved
// apart at 20.
TEST_F(Paragraph, EveryLetterStandsWhereKerningPutsIt)
{
    const ZkTypeface face = paragraph.chain().at(0);
    for (const int size : {20, 200}) {
        SCOPED_TRACE(size);
        paragraph.setFont(font(size));
        for (const char *text : {"AAVAVATo", "VA\u030DVAV\u030DAVA"}) {
            paragraph.setUtf8(text);
            const ZkString units = paragraph.text();
            const ZkPlacedGlyph *glyphs = nullptr;
            ASSERT_EQ(paragraph.glyphs(0, &glyphs), units.size());
            ZkGlyphHolder holder;
            int pen = 0;
            std::uint32_t left = 0;
            for (int i = 0; i < units.size(); ++i) {
                const std::uint32_t index = face.glyphIndex(units.at(i));
                if (units.at(i) == 0x030D) {
                    left = 0; // what is behind a mark is not kerned
                    continue;
                }
                pen += left != 0 ? face.kerning(left, index, size) : 0;
                const GlyphBitmap &bitmap = holder.glyph(face, index, font(size))->bitmap;
                EXPECT_EQ(glyphs[i].x, pen + bitmap.left) << i;
                pen += bitmap.advance;
                left = index;
            }
            EXPECT_EQ(paragraph.width(), pen);
        }
    }
}

TEST_F(Paragraph, Utf8IsReadAsUnicodeSays)
{
    const struct {
        const char *what;
        std::string bytes;
        std::u16string units;
    } kRows[] = {
        {"above U+FFFF", "\xF0\x9F\x98\x80", u"\xD83D\xDE00"},
        {"the last code point", "\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF"},
        {"beyond it", "\xF4\x90\x80\x80", u"\xFFFD\xFFFD\xFFFD\xFFFD"},
        {"overlong two", "\xC0\x80", u"\xFFFD\xFFFD"},
        {"overlong three", "\xE0\x80\x80", u"\xFFFD\xFFFD\xFFFD"},
        {"an encoded surrogate", "\xED\xA0\x80", u"\xFFFD\xFFFD\xFFFD"},
        {"cut off after two of four", "\xF1\x80x", u"\xFFFDx"},
        {"a stray continuation", "a\x80z", u"a\xFFFDz"},
        {"cut at the end", "\xE2\x82", u"\xFFFD"},
        {"a maximal part each", "\x61\xF1\x80\x80\xE1\x80\xC2\x62",
         u"a\xFFFD\xFFFD\xFFFD"
         u"b"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        paragraph.setUtf8(row.bytes.data(), static_cast<int>(row.bytes.size()));
        EXPECT_TRUE(paragraph.text() == ZkString(std::u16string_view(row.units)));
    }
    paragraph.setUtf8(nullptr);
    EXPECT_EQ(paragraph.text().size(), 0);
    paragraph.setUtf8("a\0b", 3);
    EXPECT_EQ(paragraph.text().size(), 3);
}

TEST_F(Paragraph, LamAlefIsOneGlyphOfTwoClusters)
{
    paragraph.setUtf8("لا");
    EXPECT_EQ(clusters(), (std::vector<int>{0}));
    const int width = paragraph.width();
    EXPECT_EQ(paragraph.caret(0).x, width - 1);
    EXPECT_EQ(paragraph.caret(1).x, width / 2 - 1 + width % 2);
    EXPECT_EQ(paragraph.hit(width - 1, 0).index, 0);
    EXPECT_EQ(paragraph.hit(width / 2, 0).index, 1);
    EXPECT_EQ(paragraph.nextCluster(0), 1);
    paragraph.setUtf8("ل\u200Dا"); // a joiner between them keeps two letters
    EXPECT_EQ(clusters().size(), 2u);
}

TEST_F(Paragraph, CaretsInMixedText)
{
    paragraph.setUtf8("ab אב cd");
    for (int i = 0; i <= 8; ++i) {
        const ZkCaret caret = paragraph.caret(i);
        EXPECT_EQ(paragraph.hit(caret.x, caret.top).index, i) << i;
        EXPECT_EQ(caret.isRightToLeft, i == 3 || i == 4) << i;
    }
    EXPECT_GT(paragraph.caret(3).x, paragraph.caret(4).x);
    EXPECT_EQ(paragraph.caret(-3).x, paragraph.caret(0).x);
    EXPECT_EQ(paragraph.caret(99).x, paragraph.caret(8).x);
}

TEST_F(Paragraph, ASoftLineEndHasTwoCarets)
{
    paragraph.setUtf8("aaa bbb");
    paragraph.setWidth(widthOf("aaa"));
    EXPECT_EQ(paragraph.caret(4, ZkAffinity::Downstream).line, 1);
    EXPECT_EQ(paragraph.caret(4, ZkAffinity::Upstream).line, 0);
    EXPECT_EQ(paragraph.lineOf(4), 1);
    EXPECT_EQ(paragraph.lineOf(4, ZkAffinity::Upstream), 0);
    EXPECT_EQ(paragraph.hit(1000, 0).index, 4);
    EXPECT_EQ(paragraph.hit(1000, 0).affinity, ZkAffinity::Upstream);
}

TEST_F(Paragraph, SelectionHasARectangleForEachVisualRun)
{
    paragraph.setUtf8("ab אבג cd");
    EXPECT_EQ(paragraph.selection(0, 9).size(), 1);
    EXPECT_EQ(paragraph.selection(1, 4).size(), 2); // "b " and the rightmost Hebrew letter
    EXPECT_EQ(paragraph.selection(5, 5).size(), 0);
    EXPECT_EQ(paragraph.selection(6, 2).size(), 0);
    paragraph.setUtf8("aa\nbb\ncc");
    EXPECT_EQ(paragraph.selection(1, 7).size(), 3);
}

TEST_F(Paragraph, ArrowsMoveByWhatIsSeen)
{
    paragraph.setUtf8("ab אב cd");
    std::vector<int> columns;
    ZkTextPosition at = {0, ZkAffinity::Downstream};
    for (int i = 0; i < 8; ++i) {
        columns.push_back(paragraph.caret(at).x);
        const ZkTextPosition next = paragraph.right(at);
        EXPECT_TRUE(next != at);
        at = next;
    }
    EXPECT_EQ(paragraph.right(at), at);
    for (std::size_t i = 1; i < columns.size(); ++i) {
        EXPECT_GT(columns[i] + 1, columns[i - 1]) << i; // one pixel beside in right-to-left
    }
    for (int i = 0; i < 8; ++i) {
        at = paragraph.left(at);
    }
    EXPECT_EQ(at.index, 0);
}

TEST_F(Paragraph, ArrowsGoOnToTheNextLine)
{
    paragraph.setUtf8("ab\ncd");
    const ZkTextPosition end = {2, ZkAffinity::Downstream};
    EXPECT_EQ(paragraph.right(end).index, 3);
    EXPECT_EQ(paragraph.left({3, ZkAffinity::Downstream}).index, 2);
    paragraph.setUtf8("אב\nגד"); // leftwards is forwards here
    EXPECT_EQ(paragraph.left({2, ZkAffinity::Downstream}).index, 3);
    EXPECT_EQ(paragraph.right({3, ZkAffinity::Downstream}).index, 2);
}

TEST_F(Paragraph, WordsAndClusters)
{
    paragraph.setUtf8("one, two\U0001F600 e\u0301x");
    EXPECT_EQ(paragraph.nextWord(0), 5);
    EXPECT_EQ(paragraph.nextWord(5), 8);
    EXPECT_EQ(paragraph.previousWord(8), 5);
    EXPECT_EQ(paragraph.previousWord(3), 0);
    EXPECT_EQ(paragraph.nextCluster(8), 10);
    EXPECT_EQ(paragraph.previousCluster(10), 8);
    EXPECT_EQ(paragraph.nextCluster(11), 13);
    EXPECT_EQ(paragraph.nextCluster(14), 14);
    EXPECT_EQ(paragraph.previousCluster(0), 0);
    EXPECT_EQ(paragraph.nextWord(99), 14);
}

TEST_F(Paragraph, DirectionIsFoundOrGiven)
{
    paragraph.setUtf8("123 אב\nab אב");
    EXPECT_TRUE(paragraph.line(0).isRightToLeft);
    EXPECT_FALSE(paragraph.line(1).isRightToLeft);
    paragraph.setDirection(ZkParagraph::RightToLeft);
    EXPECT_TRUE(paragraph.line(1).isRightToLeft);
    paragraph.setDirection(ZkParagraph::LeftToRight);
    EXPECT_FALSE(paragraph.line(0).isRightToLeft);
}

TEST_F(Paragraph, ASecondFontStandsInForTheFirst)
{
    paragraph.setUtf8("a語b");
    const ZkPlacedGlyph *glyphs = nullptr;
    ASSERT_EQ(paragraph.glyphs(0, &glyphs), 3); // the box of the first
    const GlyphBitmap *const box = glyphs[1].glyph;
    ZkFontChain chain = paragraph.chain();
    chain.append(ZkTypeface::fromFile(ZK_FONT_MICROHEI));
    ASSERT_EQ(paragraph.glyphs(0, &glyphs), 3);
    EXPECT_NE(glyphs[1].glyph, box);
}

TEST_F(Paragraph, EachSettingIsToldAsItWasSet)
{
    EXPECT_EQ(paragraph.direction(), ZkParagraph::DirectionAuto);
    EXPECT_EQ(paragraph.alignment(), ZkParagraph::AlignStart);
    EXPECT_EQ(paragraph.ellipsis(), ZkParagraph::EllipsisNone);
    EXPECT_EQ(paragraph.lineSpacing() + paragraph.letterSpacing() + paragraph.maximumLines(), 0);
    EXPECT_TRUE(paragraph.kerning());
    paragraph.setDirection(ZkParagraph::RightToLeft);
    paragraph.setAlignment(ZkParagraph::AlignCenter);
    paragraph.setEllipsis(ZkParagraph::EllipsisMiddle);
    paragraph.setLineSpacing(-3);
    paragraph.setLetterSpacing(2);
    paragraph.setTabWidth(17);
    paragraph.setKerning(false);
    paragraph.setWidth(100);
    paragraph.setMaximumLines(4);
    paragraph.setWordCutting(false);
    for (int again = 0; again < 2; ++again) { // before the layout and behind it
        EXPECT_EQ(paragraph.direction(), ZkParagraph::RightToLeft);
        EXPECT_EQ(paragraph.alignment(), ZkParagraph::AlignCenter);
        EXPECT_EQ(paragraph.ellipsis(), ZkParagraph::EllipsisMiddle);
        EXPECT_EQ(paragraph.lineSpacing(), -3);
        EXPECT_EQ(paragraph.letterSpacing(), 2);
        EXPECT_EQ(paragraph.tabWidth(), 17);
        EXPECT_FALSE(paragraph.kerning());
        EXPECT_EQ(paragraph.boxWidth(), 100);
        EXPECT_EQ(paragraph.maximumLines(), 4);
        EXPECT_FALSE(paragraph.wordCutting());
        paragraph.setUtf8("text");
        paragraph.lineCount();
    }
    paragraph.setTabWidth(-1);
    paragraph.setWidth(-1);
    paragraph.setMaximumLines(-1);
    EXPECT_EQ(paragraph.tabWidth() + paragraph.boxWidth() + paragraph.maximumLines(), 0);
}

TEST_F(Paragraph, AChainThatNoneWasSetForCanBeFilled)
{
    ZkParagraph fresh;
    fresh.setFont(font(16));
    ZkFontChain chain = fresh.chain();
    EXPECT_EQ(chain.size(), 0);
    ASSERT_TRUE(chain.append(ZkTypeface::fromFile(ZK_FONT_DEJAVU)));
    fresh.setUtf8("word");
    EXPECT_EQ(fresh.width(), widthOf("word"));
    EXPECT_EQ(fresh.chain().size(), 1);
}

// Letters that are cut off from their neighbours take other forms, and may be wider.
TEST_F(Paragraph, ShortenedJoinedLettersFitWhereverTheCutIs)
{
    const char *const texts[] = {"\u0633\u0644\u0633\u0644\u0633\u0644\u0633\u0644\u0633",
                                 "\u0628\u0628\u0628 \u0647\u0647\u0647\u0647 \u0635\u0636\u0639",
                                 "\u0645\u0645\u0645\u0645\u0645\u0645\u0645\u0645\u0645\u0645"};
    paragraph.setMaximumLines(1);
    for (const char *text : texts) {
        SCOPED_TRACE(text);
        const int dots = widthOf("\u2026");
        paragraph.setUtf8(text);
        for (const auto ellipsis :
             {ZkParagraph::EllipsisEnd, ZkParagraph::EllipsisMiddle, ZkParagraph::EllipsisStart}) {
            paragraph.setEllipsis(ellipsis);
            for (int width = dots; width < widthOf(text); ++width) {
                paragraph.setWidth(width);
                EXPECT_TRUE(paragraph.line(0).isShortened) << width;
                EXPECT_LE(paragraph.width(), width) << ellipsis;
            }
        }
    }
}

TEST_F(Paragraph, LaoMarksBelowStandUnderTheirLetters)
{
    for (const char *text : {"\u0E81\u0EBC", "\u0E81\u0EBA"}) {
        SCOPED_TRACE(text);
        paragraph.setUtf8(text);
        const ZkPlacedGlyph *glyphs = nullptr;
        ASSERT_EQ(paragraph.glyphs(0, &glyphs), 2);
        const ZkPlacedGlyph &letter = glyphs[0], &mark = glyphs[1];
        EXPECT_GE(mark.y, letter.y + letter.glyph->height) << "under its lowest row";
        const int middle = 2 * letter.x + letter.glyph->width;
        EXPECT_LE(std::abs(2 * mark.x + mark.glyph->width - middle), 2);
        EXPECT_EQ(paragraph.width(), widthOf("\u0E81"));
    }
}

TEST_F(Paragraph, MarksOfEveryClassStandOnTheirSideOfTheLetter)
{
    const struct {
        const char *what, *text;
        bool isBelow;
    } kRows[] = {
        {"GREEK YPOGEGRAMMENI", "x\u0345", true},  {"COMBINING DOT BELOW", "x\u0323", true},
        {"COMBINING DIAERESIS", "q\u0308", false}, {"ARABIC KASRA", "\u0628\u0650", true},
        {"ARABIC FATHA", "\u0628\u064E", false},   {"HEBREW PATAH", "\u05D0\u05B7", true},
        {"HEBREW RAFE", "\u05D1\u05BF", false},
    };
    paragraph.setFont(font(32));
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        paragraph.setUtf8(row.text);
        const ZkPlacedGlyph *glyphs = nullptr;
        ASSERT_EQ(paragraph.glyphs(0, &glyphs), 2);
        const bool isLast = glyphs[0].glyph->height > glyphs[1].glyph->height;
        const ZkPlacedGlyph &letter = glyphs[isLast ? 0 : 1], &mark = glyphs[isLast ? 1 : 0];
        if (row.isBelow) {
            EXPECT_GE(mark.y, letter.y + letter.glyph->height);
        } else {
            EXPECT_LE(mark.y + mark.glyph->height, letter.y);
        }
    }
}

TEST_F(Paragraph, AMarkBelowAWideLetterStandsUnderItsMiddle)
{
    paragraph.setFont(font(40));
    for (const char *text : {"W\u0345", "W\u0325"}) {
        SCOPED_TRACE(text);
        paragraph.setUtf8(text);
        const ZkPlacedGlyph *glyphs = nullptr;
        ASSERT_EQ(paragraph.glyphs(0, &glyphs), 2);
        const int letter = 2 * glyphs[0].x + glyphs[0].glyph->width;
        const int mark = 2 * glyphs[1].x + glyphs[1].glyph->width;
        EXPECT_LE(std::abs(letter - mark), 2);
    }
}

TEST_F(Paragraph, NoTextHasNoWidth)
{
    for (const char *text : {"", "\n", "\u200B"}) {
        paragraph.setUtf8(text);
        EXPECT_EQ(paragraph.minWidth(), 0);
        EXPECT_EQ(paragraph.maxWidth(), 0);
    }
}

} // namespace
