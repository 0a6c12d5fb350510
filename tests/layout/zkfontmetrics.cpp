#include <zkfontcache.h>
#include <zkfontengine.h>
#include <zkfontmetrics.h>

#include "divisionmodel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <string>
#include <vector>

// The private state that no accessor shows.
struct ZkInspector {
    static int alignment(const ZkFontMetrics &layout) { return layout.m_alignment; }
    static int wrapWidth(const ZkFontMetrics &layout) { return layout.m_wrapWidth; }
    static ZkRect box(const ZkFontMetrics &layout) { return layout.m_box; }
    static ZkPoint origin(const ZkFontMetrics &layout) { return layout.m_origin; }
};

namespace
{

using Glyphs = std::vector<const GlyphBitmap *>;

class FontEnvironment : public testing::Environment
{
    void SetUp() override { ZkFontMetrics::setFontFile(ZK_FONT_FREESERIF); }
};
const auto *const kFont = testing::AddGlobalTestEnvironment(new FontEnvironment);

ZkString text16(const std::u16string &units)
{
    return ZkString(std::u16string_view(units));
}

std::u16string units16(const ZkString &text)
{
    return text.toStdU16String();
}

ZkFont fontOf(unsigned char size, bool slanted = false)
{
    return ZkFont(size, slanted, false, false, false);
}

Glyphs glyphsOf(const ZkVector<const GlyphBitmap *> &glyphs)
{
    return Glyphs(glyphs.begin(), glyphs.end());
}

int advanceOf(char16_t c, const ZkFont &font = ZkFont())
{
    ZkFontMetrics one(text16(std::u16string(1, c)), font);
    return one.glyphBitmap()[0]->advance;
}

int advanceOf(const std::u16string &text, const ZkFont &font = ZkFont())
{
    int sum = 0;
    for (const char16_t c : text) {
        sum += advanceOf(c, font);
    }
    return sum;
}

std::vector<std::string> linesOf(ZkFontMetrics &layout)
{
    std::vector<std::string> lines;
    for (const ZkString &line : layout.subText()) {
        lines.push_back(line.toStdString());
    }
    return lines;
}

using Strings = std::vector<std::string>;

} // namespace

// Measuring the text as one line

TEST(ZkFontMetrics, LengthIsTheSumOfAdvancesAndSpacingLessOne)
{
    for (const int spacing : {0, 1, 3, -2}) {
        SCOPED_TRACE(spacing);
        ZkFontMetrics layout("Hello, world", ZkFont(), 0, spacing);
        EXPECT_EQ(layout.lengthForPixel(), advanceOf(u"Hello, world") + 12 * spacing - 1);
        EXPECT_EQ(layout.lengthForPixel(), advanceOf(u"Hello, world") + 12 * spacing - 1);
    }
}

TEST(ZkFontMetrics, AnEmptyTextHasLengthMinusOneAndNoLines)
{
    ZkFontMetrics layout("", ZkFont());
    EXPECT_EQ(layout.lengthForPixel(), -1);
    EXPECT_EQ(layout.divideText(), -1);
    EXPECT_TRUE(layout.subText().isEmpty());
    EXPECT_TRUE(layout.lineRects().isEmpty());
    EXPECT_TRUE(layout.subGlyphBitmap().isEmpty());
    EXPECT_TRUE(layout.glyphBitmap().isEmpty());
    EXPECT_TRUE(layout.charCombinationNum().isEmpty());
    EXPECT_EQ(layout.sizeHint(), ZkSize(0, 0));
    EXPECT_EQ(layout.textPixelSize(), 0);
    EXPECT_FALSE(layout.isRightToLeft());
}

TEST(ZkFontMetrics, AskingForTheLengthAgainDirectlyAddsOnAndDoublesTheCells)
{
    ZkFontMetrics layout("abc", ZkFont());
    const int sum = advanceOf(u"abc");
    EXPECT_EQ(layout.calcTextLength(), sum - 1);
    EXPECT_EQ(layout.charCombinationNum().size(), 3);
    EXPECT_EQ(layout.calcTextLength(), 2 * sum - 1);
    EXPECT_EQ(layout.charCombinationNum().size(), 6);
    EXPECT_EQ(layout.characterWidth().size(), 6);
}

TEST(ZkFontMetrics, ASumOfZeroIsTakenForNotMeasured)
{
    const int a = advanceOf(u'a');
    ZkFontMetrics layout("aa", ZkFont(), 0, -a);
    EXPECT_EQ(layout.lengthForPixel(), -1);
    EXPECT_EQ(layout.characterWidth().size(), 2);
    EXPECT_EQ(layout.lengthForPixel(), -1);
    EXPECT_EQ(layout.characterWidth().size(), 4);
}

TEST(ZkFontMetrics, CellsCombineThaiMarksWithTheirConsonant)
{
    // KO KAI + SARA II + MAI EK, KO KAI + MAI EK, RU + MAI EK (carries no marks), a Latin letter.
    const std::u16string text = u"\u0E01\u0E35\u0E48\u0E01\u0E48\u0E24\u0E48x";
    ZkFontMetrics layout(text16(text), ZkFont());
    const ZkVector<int> counts = layout.charCombinationNum();
    const std::vector<int> expected = {3, 2, 1, 1, 1};
    EXPECT_EQ(std::vector<int>(counts.begin(), counts.end()), expected);

    const ZkVector<int> widths = layout.characterWidth();
    ASSERT_EQ(widths.size(), 5);
    EXPECT_EQ(widths[0], std::max(advanceOf(u'\u0E01'), advanceOf(u'\u0E48')));
    EXPECT_EQ(widths[4], advanceOf(u'x'));
    int sum = 0;
    for (const int width : widths) {
        sum += width;
    }
    EXPECT_EQ(layout.lengthForPixel(), sum - 1);
}

TEST(ZkFontMetrics, BytesOfAUnitCountTwoForEveryHebrewAndArabicForm)
{
    for (int c = 0; c <= 0xFFFF; ++c) {
        const bool two =
            (c >= 0x0590 && c < 0x0700) || !((c + 1200) % 65536 >= 688 && (c + 400) % 65536 > 143);
        const int expected = two ? 2 : c < 0x80 ? 1 : c < 0x800 ? 2 : 3;
        ASSERT_EQ(ZkFontMetrics::unicodeByteSize(ZkUcs2(c)), expected) << std::hex << c;
    }
    EXPECT_EQ(ZkFontMetrics::unicodeByteSize(0x05D0), 2);
    EXPECT_EQ(ZkFontMetrics::unicodeByteSize(0x0041), 1);
    EXPECT_EQ(ZkFontMetrics::unicodeByteSize(0x4E2D), 3);
    EXPECT_EQ(ZkFontMetrics::unicodeByteSize(0xFEFC), 2);
}

TEST(ZkFontMetrics, ThaiCheckNeedsAllItsPointers)
{
    const ZkUcs2 text[] = {0x0E01, 0x0E35, 0x0E48, 0};
    int a = 0, b = 0, c = 0;
    ZkFontMetrics::thaiFontCheck(nullptr, &a, &b, &c);
    ZkFontMetrics::thaiFontCheck(text, nullptr, &b, &c);
    ZkFontMetrics::thaiFontCheck(text, &a, nullptr, &c);
    ZkFontMetrics::thaiFontCheck(text, &a, &b, nullptr);
    EXPECT_EQ(a + b + c, 0);
    ZkFontMetrics::thaiFontCheck(text, &a, &b, &c);
    EXPECT_EQ(a, 2);
    EXPECT_EQ(b, 1);
    EXPECT_EQ(c, 0);
}

TEST(ZkFontMetrics, LineHeightIsThatOfTheEngine)
{
    ZkFontMetrics layout("Agy", fontOf(20));
    ZkFontEngine engine;
    engine.resloveText("Agy", fontOf(20));
    EXPECT_GT(layout.textPixelSize(), 20);
    EXPECT_EQ(layout.textPixelSize(), engine.textPixelSize());
    EXPECT_EQ(ZkFontMetrics::textPixelSize("Agy", fontOf(20)), engine.textPixelSize());
}

// Words

TEST(NextWordSize, MeasuresToTheNextBreak)
{
    const int spacing = 2;
    const struct {
        const char *what;
        std::u16string text, word;
    } kRows[] = {
        {"up to a space", u"ab cd", u"ab"},
        {"up to a newline", u"ab\ncd", u"ab"},
        {"up to an ideograph", u"ab\u4E2Dcd", u"ab"},
        {"up to Katakana", u"ab\u30A2", u"ab"},
        {"up to a Hangul syllable", u"ab\uAC00", u"ab"},
        {"an ideograph alone", u"\u4E2D\u4E2D", u"\u4E2D"},
        {"the last ideograph", u"\u9FCFab", u"\u9FCF"},
        {"behind the last ideograph", u"\u9FD0ab", u"\u9FD0ab"},
        {"a newline alone", u"\nab", u"\n"},
        {"nothing at a space", u" ab", u""},
        {"Hiragana is a letter", u"\u3042\u3044 x", u"\u3042\u3044"},
        {"a tab is a letter", u"a\tb c", u"a\tb"},
        {"to the end", u"abc", u"abc"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        ZkFontMetrics layout(text16(row.text), ZkFont(), 0, spacing);
        const ZkVector<const GlyphBitmap *> glyphs = layout.glyphBitmap();
        EXPECT_EQ(layout.nextWordSize(text16(row.text).constData(), int(row.text.size()),
                                      glyphs.constData(), false),
                  advanceOf(row.word) + spacing * int(row.word.size()));
    }
}

TEST(NextWordSize, BackwardStopsOnlyAtASpace)
{
    const struct {
        std::u16string text, word;
    } kRows[] = {{u"ab cd", u"cd"}, {u"ab ", u""}, {u"a\u4E2D\nb", u"a\u4E2D\nb"}, {u"x", u"x"}};
    for (const auto &row : kRows) {
        const ZkString text = text16(row.text);
        SCOPED_TRACE(text.toStdString());
        ZkFontMetrics layout(text, ZkFont(), 0, 1);
        EXPECT_EQ(layout.nextWordSize(text.constData(), text.size(),
                                      layout.glyphBitmap().constData(), true),
                  advanceOf(row.word) + int(row.word.size()));
    }
}

TEST(NextWordSize, NothingToMeasureIsZero)
{
    ZkFontMetrics layout("abc", ZkFont());
    const ZkUcs2 *units = ZkString("abc").constData();
    const ZkVector<const GlyphBitmap *> glyphs = layout.glyphBitmap();
    for (const bool backward : {false, true}) {
        EXPECT_EQ(layout.nextWordSize(nullptr, 3, glyphs.constData(), backward), 0);
        EXPECT_EQ(layout.nextWordSize(units, 3, nullptr, backward), 0);
        EXPECT_EQ(layout.nextWordSize(units, 0, glyphs.constData(), backward), 0);
        EXPECT_EQ(layout.nextWordSize(units, INT_MIN, glyphs.constData(), backward), 0);
    }
}

// The consonant takes the widest of its marks, and the marks are measured again.
TEST(NextWordSize, ThaiMarksCountWithTheirConsonantAndByThemselves)
{
    const std::u16string text = u"\u0E01\u0E35\u0E48";
    ZkFontMetrics layout(text16(text), ZkFont());
    const int widest = std::max({advanceOf(text[0]), advanceOf(text[1]), advanceOf(text[2])});
    EXPECT_EQ(
        layout.nextWordSize(text16(text).constData(), 3, layout.glyphBitmap().constData(), false),
        widest + advanceOf(text[1]) + advanceOf(text[2]));
}

// Exactly n units and glyphs may be read, also of a cluster that goes on behind them.
TEST(NextWordSize, LooksAtNothingBehindN)
{
    const std::u16string text = u"\u0E01\u0E35\u0E48";
    ZkFontMetrics layout(text16(text), ZkFont());
    for (int n = 1; n <= 3; ++n) {
        const std::vector<ZkUcs2> units(text.begin(), text.begin() + n);
        Glyphs glyphs = glyphsOf(layout.glyphBitmap());
        glyphs.resize(std::size_t(n));
        int expected = 0;
        for (const GlyphBitmap *glyph : glyphs) {
            expected += glyph->advance; // marks of this font are not wider than the consonant
            ASSERT_LE(glyph->advance, glyphs[0]->advance);
        }
        EXPECT_EQ(layout.nextWordSize(units.data(), n, glyphs.data(), false), expected) << n;
    }
}

// Division into lines

TEST(DivideText, NewlinesEndLines)
{
    const struct {
        const char *text;
        Strings lines;
    } kRows[] = {
        {"ab\ncd", {"ab", "cd"}}, {"ab\n", {"ab"}},     {"\n", {""}},
        {"\n\n", {"", ""}},       {"\nab", {"", "ab"}}, {"ab\n\ncd", {"ab", "", "cd"}},
        {"ab", {"ab"}},           {" ", {" "}},         {"ab \n cd", {"ab ", " cd"}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        ZkFontMetrics layout(row.text, ZkFont());
        EXPECT_EQ(linesOf(layout), row.lines);
        const ZkList<ZkRect> rects = layout.lineRects();
        const int height = layout.textPixelSize();
        for (int i = 0; i < rects.size(); ++i) {
            EXPECT_EQ(rects.at(i).top(), i * height);
            EXPECT_EQ(rects.at(i).bottom(), (i + 1) * height - 1);
            EXPECT_EQ(rects.at(i).left(), 0);
        }
        EXPECT_EQ(layout.subGlyphBitmap().size(), rects.size());
    }
}

TEST(DivideText, TheSpacingOfANewlineStaysInTheWidth)
{
    const struct {
        const char *text;
        int spacing, right;
    } kRows[] = {{"\n", 3, 2}, {"\n", 0, -1}, {"a\n", 3, advanceOf(u'a') + 3 + 3 - 1}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        ZkFontMetrics layout(row.text, ZkFont(), 0, row.spacing);
        EXPECT_EQ(layout.lineRects().at(0).right(), row.right);
    }
}

TEST(DivideText, HalfTheLineSpacingIsAddedToEveryLine)
{
    const struct {
        int spacing, added;
    } kRows[] = {{0, 0}, {1, 0}, {2, 1}, {7, 3}, {-1, 0}, {-3, -1}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.spacing);
        ZkFontMetrics layout("a\nb", ZkFont(), row.spacing);
        EXPECT_EQ(layout.lineRects().at(1).top(), layout.textPixelSize() + row.added);
    }
}

TEST(DivideText, WordsWrapAtTheWidthAndKeepTheirSpaceBehind)
{
    const std::string word(5, 'm');
    const int wordWidth = 5 * advanceOf(u'm'), space = advanceOf(u' ');
    const ZkString text = ZkString((word + " " + word + " " + word).c_str());
    const Strings two = {word + " " + word + " ", word}, three = {word + " ", word + " ", word};
    const struct {
        const char *what;
        int width;
        Strings lines;
    } kRows[] = {
        {"two words fit exactly", 2 * wordWidth + space, two},
        {"one pixel less", 2 * wordWidth + space - 1, three},
        {"one pixel more", 2 * wordWidth + space + 1, two},
        {"all fit", 3 * wordWidth + 2 * space, {word + " " + word + " " + word}},
        {"a word wider than the line overflows it", 5, three},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        ZkFontMetrics layout(text, ZkFont());
        layout.setWorpWrap(true);
        layout.setTextMinRect(0, 0, row.width, 100);
        EXPECT_EQ(linesOf(layout), row.lines);
        layout.setWorpWrap(false);
        EXPECT_EQ(linesOf(layout).size(), 1U) << "off: only newlines end a line";
    }
}

TEST(DivideText, WithoutAWidthEveryWordAfterTheFirstStartsALine)
{
    ZkFontMetrics layout("aa bb cc", ZkFont());
    layout.setWorpWrap(true);
    EXPECT_EQ(linesOf(layout), (Strings{"aa ", "bb ", "cc"}));
}

TEST(DivideText, IdeographsWrapAnywhere)
{
    const std::u16string text = u"\u4E2D\u6587\u5B57\u30A2\uAC00";
    const int width = advanceOf(u'\u4E2D');
    ZkFontMetrics layout(text16(text), ZkFont());
    layout.setWorpWrap(true);
    layout.setTextMinRect(0, 0, 2 * width, 100);
    for (const PaintInfo &line : layout.paintInfoList()) {
        EXPECT_LE(line.right - line.left + 1, 2 * width);
    }
    ZkFontMetrics bare(text16(text), ZkFont());
    bare.setTextMinRect(0, 0, 2 * width, 100);
    EXPECT_EQ(bare.subText().size(), 1);
}

TEST(DivideText, ANewlineThatDoesNotFitLeavesALineBetween)
{
    const int exact = advanceOf(u"ab ");
    ZkFontMetrics layout("ab \nc", ZkFont());
    layout.setWorpWrap(true);
    layout.setTextMinRect(0, 0, exact, 100);
    EXPECT_EQ(linesOf(layout), (Strings{"ab ", "", "c"}));
    layout.setTextMinRect(0, 0, exact + advanceOf(u'\n'), 100);
    EXPECT_EQ(linesOf(layout), (Strings{"ab ", "c"}));
}

// A slanted line leans out, by different glyphs at different ends.
TEST(DivideText, SlantedLinesAreWider)
{
    const ZkFont font = fontOf(24, true);
    const auto glyph = [&font](char16_t c) {
        return ZkFontMetrics(text16(std::u16string(1, c)), font).glyphBitmap()[0];
    };
    {
        ZkFontMetrics layout("ab", font);
        EXPECT_EQ(layout.lineRects().at(0).width(),
                  advanceOf(u"ab", font) + glyph(u'b')->advance / 2)
            << "the last line: half the last advance";
    }
    {
        ZkFontMetrics layout("ab\nc", font);
        EXPECT_EQ(layout.lineRects().at(0).width(), advanceOf(u"ab", font) + glyph(u'b')->width / 2)
            << "a newline: half the last bitmap's columns";
    }
    {
        ZkFontMetrics layout("\nc", font);
        EXPECT_EQ(layout.lineRects().at(0).width(), 0) << "a newline at the start: nothing";
    }
    {
        ZkFontMetrics layout("ab mm", font);
        layout.setWorpWrap(true);
        layout.setTextMinRect(0, 0, 1, 1);
        EXPECT_EQ(layout.lineRects().at(0).width(),
                  advanceOf(u"ab ", font) + glyph(u'm')->advance / 2)
            << "a wrap: half the advance of the word's first glyph";
    }
    {
        ZkFontMetrics layout("ab ", font);
        EXPECT_EQ(layout.lineRects().at(0).width(),
                  advanceOf(u"ab ", font) + glyph(u' ')->advance / 2);
    }
}

TEST(DivideText, AThaiClusterNeverParts)
{
    const std::u16string text = u"\u0E01\u0E35\u0E48 \u0E01\u0E39\u0E49";
    ZkFontMetrics layout(text16(text), ZkFont());
    layout.setWorpWrap(true);
    layout.setTextMinRect(0, 0, 1, 1);
    const ZkList<ZkString> lines = layout.subText();
    ASSERT_EQ(lines.size(), 2);
    EXPECT_EQ(units16(lines.at(0)), text.substr(0, 4));
    EXPECT_EQ(units16(lines.at(1)), text.substr(4));
}

TEST(DivideText, RunsOnlyAfterASetterThatChangesLines)
{
    ZkFontMetrics layout("aa bb", ZkFont());
    EXPECT_EQ(layout.subText().size(), 1);
    const ZkVector<ZkVector<const GlyphBitmap *>> before = layout.subGlyphBitmap();
    layout.setAlignment(17);
    EXPECT_TRUE(layout.subGlyphBitmap().isSharedWith(before)) << "alignment divides nothing";

    layout.setWorpWrap(true);
    EXPECT_EQ(layout.subGlyphBitmap().size(), 1) << "stale until something else divides";
    EXPECT_EQ(layout.subText().size(), 2);
    EXPECT_EQ(layout.subGlyphBitmap().size(), 2);
}

namespace
{

std::u16string randomText(std::mt19937 &random)
{
    static const std::u16string pieces[] = {
        u"a",
        u"m",
        u"Wi",
        u"hello",
        u" ",
        u" ",
        u"  ",
        u"\n",
        u" \n",
        u"1",
        u",",
        u"\u4E2D",
        u"\u6587\u5B57",
        u"\u30A2",
        u"\uAC00",
        u"\u3042",
        u"\u0E01",
        u"\u0E01\u0E35",
        u"\u0E01\u0E35\u0E48",
        u"\u0E01\u0E48",
        u"\u0E1B\u0E39\u0E49",
        u"\u0E48",
        u"\u0E24\u0E48",
        u"\u0E1B\u0E38\u0E4C",
        u"\u0E44",
        u"\u05D0\u05D1",
        u"\u0628\u0627",
        u"\u0644\u0627",
        u"-",
    };
    std::u16string text;
    for (auto count = random() % 30; count > 0; --count) {
        text += pieces[random() % std::size(pieces)];
    }
    return text;
}

} // namespace

namespace
{

struct DivisionCase {
    std::u16string text;
    ZkFont font;
    int spacing, lineSpacing, wrapWidth; // INT_MAX for no wrapping
    bool wordWrap;
};

void expectPlainDivision(const DivisionCase &given)
{
    ZkFontEngine engine;
    engine.resloveText(text16(given.text), given.font);
    DivisionModel model;
    model.text = units16(engine.text());
    model.glyphs = glyphsOf(engine.glyphs());
    model.spacing = given.spacing;
    model.wordWrap = given.wordWrap;
    model.slanted = given.font.isBoldFace();
    model.wrapWidth = given.wrapWidth;
    model.divide();

    ZkFontMetrics layout(text16(given.text), given.font, given.lineSpacing, given.spacing);
    layout.setWorpWrap(given.wordWrap);
    layout.setTextMinRect(3, 4, given.wrapWidth == INT_MAX ? 0 : given.wrapWidth, 50);
    const ZkList<ZkString> texts = layout.subText();
    const ZkVector<ZkVector<const GlyphBitmap *>> glyphs = layout.subGlyphBitmap();
    const ZkList<ZkRect> rects = layout.lineRects();
    const ZkVector<PaintInfo> &infos = layout.paintInfoList();
    ASSERT_EQ(texts.size(), int(model.lines.size()));
    ASSERT_EQ(glyphs.size(), texts.size());
    ASSERT_EQ(rects.size(), texts.size());
    ASSERT_EQ(infos.size(), texts.size());
    ZkVector<PaintInfo> oneByOne;
    for (int i = 0; i < texts.size(); ++i) {
        const DivisionModel::Line &line = model.lines[std::size_t(i)];
        ASSERT_EQ(units16(texts.at(i)), line.text);
        ASSERT_EQ(glyphsOf(glyphs[i]), line.glyphs);
        ASSERT_EQ(rects.at(i).width(), line.width);
        ASSERT_EQ(infos[i].right - infos[i].left + 1, line.width);
        ASSERT_TRUE(infos[i].glyphs.isSharedWith(glyphs[i]));
        oneByOne.append(infos[i]);
    }
    ASSERT_EQ(infos.capacity(), oneByOne.capacity());
}

} // namespace

TEST(DivideText, AgreesWithAPlainModelOnRandomTexts)
{
    std::mt19937 random(20240611);
    for (int round = 0; round < 4000; ++round) {
        const std::u16string text = randomText(random);
        SCOPED_TRACE(text16(text).toStdString() + " round " + std::to_string(round));
        const ZkFont font = fontOf(static_cast<unsigned char>(8 + random() % 20), random() % 2);
        const int spacing = int(random() % 6) - 2;
        const bool wordWrap = random() % 4 != 0;
        const int wrapWidth = random() % 8 == 0 ? INT_MAX : int(1 + random() % 160);
        expectPlainDivision({text, font, spacing, int(random() % 9) - 4, wrapWidth, wordWrap});
    }
}

// A label that fits is told by one look at its units, in blocks, and at its width.
TEST(DivideText, LabelsAgreeWithAPlainModelAtEveryWidthNearTheirOwn)
{
    static const char16_t kUnits[] = u"aWim.  \n\u0009\u000B\u00E9\u07FF\u0800\u080A\u0E01\u4E2D";
    std::mt19937 random(20261122);
    for (int round = 0; round < 3000; ++round) {
        // Most have letters and spaces alone.
        const std::size_t kinds = random() % 4 == 0 ? std::size(kUnits) - 1 : 7;
        std::u16string text;
        for (std::size_t count = 1 + random() % 70; count > 0; --count) {
            text += kUnits[random() % kinds];
        }
        SCOPED_TRACE(text16(text).toStdString() + " round " + std::to_string(round));
        static const int kSpacings[] = {0, 0, 0, 1, 3, -1, -9, 32768, 20000000, -20000000};
        const int spacing = kSpacings[random() % std::size(kSpacings)];
        const ZkFont font = fontOf(16, random() % 2);
        ZkFontMetrics probe(text16(text), font, 0, spacing);
        const std::int64_t near =
            std::int64_t(probe.lengthForPixel()) + 1 + spacing + std::int64_t(random() % 5) - 2;
        const int wrapWidth = int(std::clamp<std::int64_t>(near, 1, INT_MAX));
        expectPlainDivision({text, font, spacing, 0, wrapWidth, random() % 8 != 0});
    }
}

// Placing the lines in the box

TEST(PaintInfoList, ALineIsPlacedByTheFlags)
{
    enum { Box = 100, Rows = 50, X = 10, Y = 20 };
    ZkFontMetrics probe("abc", ZkFont());
    const int width = advanceOf(u"abc"), height = probe.textPixelSize(), bottom = height - 1;
    const struct {
        const char *what;
        int flags, left, bottom;
    } kRows[] = {
        {"left and top", 1 | 16, X, Y + bottom},
        {"right and top", 2 | 16, X + Box - width, Y + bottom},
        {"centred across", 4 | 16, X + (Box - width) / 2, Y + bottom},
        {"left and bottom: one row below flush", 1 | 32, X, Y + Rows},
        {"left, centred down", 1 | 64, X, bottom + Y + (Rows - bottom) / 2},
        {"nothing is left and top", 0, X, Y + bottom},
        {"two horizontal flags are left", 3 | 16, X, Y + bottom},
        {"top and bottom are top", 1 | 48, X, Y + bottom},
        {"bottom and centre are top", 1 | 96, X, Y + bottom},
        {"other bits are not looked at", 0x700 | 2 | 32, X + Box - width, Y + Rows},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        ZkFontMetrics layout("abc", ZkFont());
        layout.setTextMinRect(X, Y, Box, Rows);
        layout.setAlignment(row.flags);
        const ZkVector<PaintInfo> &infos = layout.paintInfoList();
        ASSERT_EQ(infos.size(), 1);
        EXPECT_EQ(infos[0].left, row.left);
        EXPECT_EQ(infos[0].right, row.left + width - 1);
        EXPECT_EQ(infos[0].top, 0) << "the top keeps its layout value";
        EXPECT_EQ(infos[0].bottom, row.bottom);
    }
}

TEST(PaintInfoList, RightToLeftTextSwapsLeftAndRight)
{
    const ZkString hebrew = text16(u"\u05D0\u05D1\u05D2");
    const int width = ZkFontMetrics(hebrew, ZkFont()).lengthForPixel() + 1;
    const struct {
        int flags, left;
    } kRows[] = {{1 | 16, 10 + 200 - width}, {2 | 16, 10}, {4 | 16, 10 + (200 - width) / 2}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.flags);
        ZkFontMetrics layout(hebrew, ZkFont());
        EXPECT_TRUE(layout.isRightToLeft());
        layout.setTextMinRect(10, 0, 200, 50);
        layout.setAlignment(row.flags);
        EXPECT_EQ(layout.paintInfoList()[0].left, row.left);
    }
}

TEST(PaintInfoList, MissingFlagsAreStored)
{
    const struct {
        const char *text;
        int flags, stored;
    } kRows[] = {{"a", 0, 17}, {"a", 2, 18}, {"a", 64, 65}, {"a", 68, 68}, {"", 0, 0}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.flags);
        ZkFontMetrics layout(row.text, ZkFont());
        layout.setAlignment(row.flags);
        layout.paintInfoList();
        EXPECT_EQ(ZkInspector::alignment(layout), row.stored);
    }
    EXPECT_EQ(ZkInspector::alignment(ZkFontMetrics("a", ZkFont())), 68);
}

TEST(PaintInfoList, EachCallMovesDownOnceMore)
{
    ZkFontMetrics layout("a", ZkFont());
    layout.setTextMinRect(10, 20, 100, 50);
    const int bottom = layout.lineRects().at(0).bottom();
    const int dy = 20 + (50 - bottom) / 2;
    const int left = layout.paintInfoList()[0].left;
    EXPECT_EQ(layout.paintInfoList()[0].bottom, bottom + 2 * dy);
    EXPECT_EQ(layout.paintInfoList()[0].bottom, bottom + 3 * dy);
    EXPECT_EQ(layout.paintInfoList()[0].left, left);
    layout.setTextMinRect(10, 20, 100, 50);
    EXPECT_EQ(layout.paintInfoList()[0].bottom, bottom + dy) << "a new division starts anew";
}

TEST(PaintInfoList, BelongsToTheObject)
{
    ZkFontMetrics layout("a", ZkFont());
    ZkVector<PaintInfo> &infos = layout.paintInfoList();
    EXPECT_EQ(&infos, &layout.paintInfoList());
    const ZkVector<PaintInfo> copy = infos;
    const int bottom = copy[0].bottom;
    layout.setTextMinRect(0, 100, 50, 50);
    layout.paintInfoList();
    EXPECT_EQ(copy[0].bottom, bottom) << "a host's copy is its own";
    infos.clear();
    EXPECT_EQ(layout.paintInfoList().size(), 0) << "what the host emptied stays empty";
    EXPECT_EQ(layout.subGlyphBitmap().size(), 1);
}

TEST(SizeHint, IsTheWidestLineAndAllLines)
{
    ZkFontMetrics layout("ab\nabcd\na", ZkFont());
    EXPECT_EQ(layout.sizeHint(), ZkSize(advanceOf(u"abcd"), 3 * layout.textPixelSize()));
    ZkFontMetrics narrow("\n", ZkFont(), 0, -5);
    EXPECT_EQ(narrow.sizeHint().width(), -5);
}

// Box and setters

TEST(SetTextMinRect, TakesBoxAndWrapWidth)
{
    ZkFontMetrics layout("a", ZkFont());
    EXPECT_EQ(ZkInspector::wrapWidth(layout), 0);
    EXPECT_EQ(ZkInspector::box(layout), ZkRect(0, 0, -1, -1));
    layout.setTextMinRect(10, 20, 100, 50);
    EXPECT_EQ(ZkInspector::box(layout), ZkRect(10, 20, 109, 69));
    EXPECT_EQ(ZkInspector::origin(layout), ZkPoint(10, 20));
    EXPECT_EQ(ZkInspector::wrapWidth(layout), 100);
    for (const int width : {0, -1, INT_MIN}) {
        layout.setTextMinRect(1, 2, width, 3);
        EXPECT_EQ(ZkInspector::box(layout), ZkRect(10, 20, 109, 69)) << "keeps the box";
        EXPECT_EQ(ZkInspector::origin(layout), ZkPoint(10, 20));
        EXPECT_EQ(ZkInspector::wrapWidth(layout), INT_MAX);
    }
}

TEST(SetTextMinRect, ExtremeBoxesAndSpacingsWrapAround)
{
    for (const int extreme : {INT_MAX, INT_MIN}) {
        ZkFontMetrics layout("ab cd\n\u4E2D ef", ZkFont(), extreme, extreme);
        layout.setWorpWrap(true);
        layout.setTextMinRect(extreme, extreme, INT_MAX, INT_MAX);
        EXPECT_GE(layout.paintInfoList().size(), 2);
        layout.sizeHint();
        layout.lengthForPixel();
    }
}

// Sharing

TEST(ZkFontMetrics, HoldsItsGlyphsAsLongAsItLives)
{
    ZkFontCache *cache = ZkFontCache::instance();
    const GlyphBitmap *glyph = nullptr;
    {
        ZkFontMetrics layout("\u00DE\u00DE", ZkFont());
        glyph = layout.glyphBitmap()[0];
        EXPECT_EQ(glyph->useCount, 2U);
        EXPECT_TRUE(ZkFontMetrics::clearFontCache());
        EXPECT_NE(glyph->pixels, nullptr);
    }
    EXPECT_EQ(glyph->useCount, 0U);
    cache->cleanCache(true);
    EXPECT_EQ(glyph->pixels, nullptr);
}

TEST(ZkFontMetrics, NeverWritesTheCallersText)
{
    const ZkString arabic = text16(u"\u0628\u0627");
    ZkFontMetrics layout(arabic, ZkFont());
    EXPECT_EQ(units16(arabic), u"\u0628\u0627");
    EXPECT_EQ(units16(layout.subText().at(0)), u"\uFE8E\uFE91");
}

TEST(ZkFontMetrics, CellsAreThereWhicheverIsAskedForFirst)
{
    ZkFontMetrics counts("abc", ZkFont()), widths("abc", ZkFont());
    const ZkVector<int> numbers = counts.charCombinationNum();
    const ZkVector<int> advances = widths.characterWidth();
    ASSERT_EQ(numbers.size(), 3);
    ASSERT_EQ(advances.size(), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(numbers.at(i), 1);
        EXPECT_EQ(advances.at(i), advanceOf(u"abc"[i]));
    }
    EXPECT_EQ(counts.characterWidth().size(), 3) << "measured once";
    EXPECT_EQ(widths.charCombinationNum().size(), 3);
}
