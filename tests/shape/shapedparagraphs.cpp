#include <zkharfbuzzshaper.h>
#include <zkparagraph.h>
#include <zkthaiwords.h>

#include <gtest/gtest.h>

#include "paragraphlaws.h"
#include "rounds.h"
#include "scripttexts.h"
#include "shaperun.h"

// What is true of every paragraph stays true when HarfBuzz shapes it.

namespace
{

ZkString string(const std::u16string &text)
{
    return ZkString(reinterpret_cast<const ZkUcs2 *>(text.data()), static_cast<int>(text.size()));
}

/// One typeface after the other for what all the texts have.
ZkFontChain chainOfAll()
{
    ZkFontChain chain;
    std::string last;
    for (const ScriptText &text : kScriptTexts) {
        if (last != text.path()) {
            chain.append(ZkTypeface::fromFile(text.path().c_str()));
        }
        last = text.path();
    }
    return chain;
}

std::string printLines(const ZkParagraph &paragraph)
{
    std::string out;
    for (int i = 0; i < paragraph.lineCount(); ++i) {
        const ZkTextLine &line = paragraph.line(i);
        out += std::to_string(line.first) + ".." + std::to_string(line.last) + " " +
               std::to_string(line.width) + ":";
        const ZkPlacedGlyph *glyphs = nullptr;
        const int count = paragraph.glyphs(i, &glyphs);
        for (int k = 0; k < count; ++k) {
            out += " " + std::to_string(glyphs[k].cluster) + "@" + std::to_string(glyphs[k].x) +
                   "," + std::to_string(glyphs[k].y);
        }
        out += "\n";
    }
    return out;
}

} // namespace

TEST(ShapedParagraphs, KeepTheLawsOfParagraphsInEveryScript)
{
    ZkHarfBuzzShaper shaper;
    ZkThaiWords words;
    for (const ScriptText &text : kScriptTexts) {
        SCOPED_TRACE(text.what);
        const ZkFontChain chain(ZkTypeface::fromFile(text.path().c_str()));
        for (const int width : {0, 1, 7, 20, 40, 60, 97, 200}) {
            SCOPED_TRACE(width);
            ZkParagraph paragraph;
            paragraph.setChain(chain);
            paragraph.setShaper(&shaper);
            paragraph.setWordBreaker(&words);
            paragraph.setText(string(text.text));
            paragraph.setWidth(width);
            for (const auto law : {paragraphlaws::linesFollowEachOther, paragraphlaws::linesFit,
                                   paragraphlaws::glyphsBelong, paragraphlaws::stepsAreUndone}) {
                EXPECT_EQ(law(paragraph), "");
            }
            EXPECT_EQ(paragraphlaws::breaksAreAllowed(paragraph, &words), "");
            EXPECT_EQ(paragraphlaws::caretsAreHit(paragraph), "");
            EXPECT_EQ(paragraphlaws::widthsLeaveNoTrace(paragraph, 60), "");
            EXPECT_EQ(paragraphlaws::extremesAreTrue(paragraph), "");
        }
    }
}

TEST(ShapedParagraphs, KeepThemWithRandomSettingsAndScriptsMixed)
{
    ZkHarfBuzzShaper shaper;
    const ZkFontChain chain = chainOfAll();
    paragraphlaws::Dice dice(4);
    for (int round = 0; round < scaledRounds(600); ++round) {
        SCOPED_TRACE(round);
        std::u16string text;
        for (int i = 0; i < 5; ++i) {
            const std::u16string part =
                kScriptTexts[dice.roll(static_cast<int>(std::size(kScriptTexts)))].text;
            const std::size_t first =
                static_cast<std::size_t>(dice.roll(static_cast<int>(part.size())));
            text += part.substr(first, static_cast<std::size_t>(1 + dice.roll(30)));
            text += dice.chance(50) ? u" " : u"";
        }
        ZkParagraph paragraph;
        paragraph.setChain(chain);
        paragraph.setShaper(&shaper);
        paragraph.setText(string(text));
        paragraphlaws::setRandomly(paragraph, dice);
        EXPECT_EQ(paragraphlaws::check(paragraph), "");
        EXPECT_EQ(paragraphlaws::widthsLeaveNoTrace(paragraph, dice.roll(200)), "");
    }
}

// The width of a line is the sum of its advances rounded once, whatever letters it has.
TEST(ShapedParagraphs, WidthsAreRoundedOnce)
{
    ZkHarfBuzzShaper shaper;
    for (const ScriptText &text : kScriptTexts) {
        SCOPED_TRACE(text.what);
        const ZkTypeface face = ZkTypeface::fromFile(text.path().c_str());
        for (const int size : {11, 16}) {
            const ShapeRun run(text.text, face, size, text.isRightToLeft);
            int sum = 0;
            for (const ZkShapedGlyph &glyph : run.shapedBy(shaper)) {
                sum += glyph.advance;
            }
            ZkParagraph paragraph;
            paragraph.setChain(ZkFontChain(face));
            paragraph.setShaper(&shaper);
            paragraph.setFont(ZkFont(static_cast<unsigned char>(size), false, false, false, false));
            paragraph.setDirection(text.isRightToLeft ? ZkParagraph::RightToLeft
                                                      : ZkParagraph::LeftToRight);
            paragraph.setText(string(text.text));
            EXPECT_NEAR(paragraph.width(), sum / 64.0, 1.0);
        }
    }
}

TEST(ShapedParagraphs, ALineEndInAWordShapesBothSidesAnew)
{
    const ZkTypeface face =
        ZkTypeface::fromFile("/usr/share/fonts/truetype/noto/NotoNaskhArabic-Regular.ttf");
    ZkHarfBuzzShaper shaper;
    ZkParagraph whole;
    whole.setChain(ZkFontChain(face));
    whole.setShaper(&shaper);
    whole.setText(string(u"بببببببب"));
    const int wide = whole.width();
    whole.setWidth(wide / 2);
    ASSERT_GE(whole.lineCount(), 2);
    for (int i = 0; i < whole.lineCount(); ++i) {
        const ZkTextLine &line = whole.line(i);
        ZkParagraph part;
        part.setChain(ZkFontChain(face));
        part.setShaper(&shaper);
        part.setText(whole.text().mid(line.first, line.last - line.first));
        EXPECT_EQ(part.width(), line.width) << "as if the line were all of the text";
    }
}

TEST(ShapedParagraphs, ALigatureThatDoesNotFitIsCutBetweenItsClusters)
{
    struct Case {
        const char *what;
        const char *font;
        const char16_t *text;
        int width;
        std::vector<int> ends;
    };
    const Case kCases[] = {
        {"all apart", "NotoSerif-Regular.ttf", u"ffi", 1, {1, 2, 3}},
        {"as many as fit", "NotoSerif-Regular.ttf", u"ffi", 13, {2, 3}},
        {"whole", "NotoSerif-Regular.ttf", u"ffi", 16, {3}},
        {"behind other letters", "NotoSerif-Regular.ttf", u"nffi", 1, {1, 2, 3, 4}},
        {"lam and alef", "NotoNaskhArabic-Regular.ttf", u"\u0644\u0627", 1, {1, 2}},
        {"marks stay", "NotoNaskhArabic-Regular.ttf", u"\u0644\u064E\u0627", 1, {2, 3}},
    };
    ZkHarfBuzzShaper shaper;
    for (const Case &row : kCases) {
        SCOPED_TRACE(row.what);
        const std::string path = std::string("/usr/share/fonts/truetype/noto/") + row.font;
        ZkParagraph paragraph;
        paragraph.setChain(ZkFontChain(ZkTypeface::fromFile(path.c_str())));
        paragraph.setShaper(&shaper);
        paragraph.setText(string(row.text));
        paragraph.setWidth(row.width);
        std::vector<int> ends;
        for (int i = 0; i < paragraph.lineCount(); ++i) {
            ends.push_back(paragraph.line(i).last);
        }
        EXPECT_EQ(ends, row.ends);
        EXPECT_EQ(paragraphlaws::check(paragraph), "");
    }
}

namespace
{

/// Glyphs of a line in their order, by typeface and index.
std::vector<std::uint64_t> keysOf(const ZkParagraph &paragraph, int line)
{
    std::vector<std::uint64_t> keys;
    const ZkPlacedGlyph *glyphs = nullptr;
    const int count = paragraph.glyphs(line, &glyphs);
    for (int i = 0; i < count; ++i) {
        keys.push_back(reinterpret_cast<const ZkGlyph *>(glyphs[i].glyph)->key());
    }
    return keys;
}

int stretchedWidth(const ZkParagraph &paragraph, int line)
{
    const ZkTextStretch *stretches = nullptr;
    int width = 0;
    for (int i = paragraph.stretches(line, &stretches); i-- > 0;) {
        width += stretches[i].width;
    }
    return width;
}

} // namespace

// What is left stands there as if nothing else had ever followed it.
TEST(ShapedParagraphs, TextBeforeDotsIsShapedAsItStands)
{
    ZkHarfBuzzShaper shaper;
    for (const ScriptText &text : kScriptTexts) {
        SCOPED_TRACE(text.what);
        const ZkFontChain chain(ZkTypeface::fromFile(text.path().c_str()));
        ZkParagraph dotted, head;
        for (ZkParagraph *const paragraph : {&dotted, &head}) {
            paragraph->setChain(chain);
            paragraph->setShaper(&shaper);
            paragraph->setDirection(text.isRightToLeft ? ZkParagraph::RightToLeft
                                                       : ZkParagraph::LeftToRight);
        }
        dotted.setText(string(text.text));
        dotted.setEllipsis(ZkParagraph::EllipsisEnd);
        for (const int lines : {1, 2, 3}) {
            dotted.setMaximumLines(lines);
            for (int width = 33; width < 130; width += 3) {
                SCOPED_TRACE(width);
                dotted.setWidth(width);
                const ZkTextLine &line = dotted.line(dotted.lineCount() - 1);
                if (!line.isShortened) {
                    continue;
                }
                EXPECT_LE(line.width, width);
                EXPECT_NEAR(stretchedWidth(dotted, dotted.lineCount() - 1), line.width, 1);
                const ZkPlacedGlyph *glyphs = nullptr;
                const int count = dotted.glyphs(dotted.lineCount() - 1, &glyphs);
                ASSERT_GT(count, 0);
                int cut = line.first; // the dots carry the place where text is left out
                for (int i = 0; i < count; ++i) {
                    cut = std::max(cut, glyphs[i].cluster);
                }
                head.setText(dotted.text().mid(line.first, cut - line.first));
                std::vector<std::uint64_t> shown = keysOf(dotted, dotted.lineCount() - 1);
                const std::vector<std::uint64_t> alone = keysOf(head, 0);
                ASSERT_LT(alone.size(), shown.size());
                const std::size_t dots = shown.size() - alone.size();
                shown.erase(text.isRightToLeft ? shown.begin() : shown.end() - int(dots),
                            text.isRightToLeft ? shown.begin() + int(dots) : shown.end());
                EXPECT_EQ(shown, alone);
            }
        }
    }
}

namespace
{

/// Counts the units that it is asked to shape.
class CountingShaper : public ZkShaper
{
public:
    long units = 0;

    void shape(const ZkShapeRun &run, ZkShapedGlyphs *glyphs) override
    {
        units += run.last - run.first;
        m_shaper.shape(run, glyphs);
    }

private:
    ZkHarfBuzzShaper m_shaper;
};

} // namespace

// Letters that join from one end of a long word to the other.
TEST(ShapedParagraphs, LinesOfALongWordAreFullAndShapedOnceEach)
{
    const ZkFontChain chain(
        ZkTypeface::fromFile("/usr/share/fonts/truetype/noto/NotoNaskhArabic-Regular.ttf"));
    const int units = 20000;
    for (const int width : {1, 20, 100, 1000}) {
        SCOPED_TRACE(width);
        CountingShaper shaper;
        ZkParagraph paragraph;
        paragraph.setChain(chain);
        paragraph.setShaper(&shaper);
        paragraph.setText(string(std::u16string(units, u'\u0628')));
        paragraph.maxWidth();
        const long once = shaper.units;
        EXPECT_EQ(once, units);
        paragraph.setWidth(width);
        const int lines = paragraph.lineCount();
        EXPECT_LT(shaper.units - once, 8L * units) << "each line but a few times";
        const int widest = paragraph.line(0).last; // all letters are alike
        for (int i = 0; i < lines; ++i) {
            const ZkTextLine &line = paragraph.line(i);
            ASSERT_NEAR(line.last - line.first, widest, i + 1 < lines ? 1 : widest) << i;
        }
        EXPECT_EQ(paragraphlaws::linesFit(paragraph), "");
    }
}

TEST(ShapedParagraphs, ThaiLinesEndBetweenWords)
{
    ZkHarfBuzzShaper shaper;
    ZkThaiWords words;
    ZkParagraph paragraph;
    paragraph.setChain(ZkFontChain(
        ZkTypeface::fromFile("/usr/share/fonts/truetype/noto/NotoSansThai-Regular.ttf")));
    paragraph.setShaper(&shaper);
    paragraph.setWordBreaker(&words);
    const std::u16string text = u"มนุษย์ทั้งหลายเกิดมามีอิสระและเสมอภาคกัน";
    paragraph.setText(string(text));
    std::vector<std::uint8_t> starts(text.size());
    words.findWords(reinterpret_cast<const ZkUcs2 *>(text.data()), static_cast<int>(text.size()),
                    starts.data());
    const int least = paragraph.minWidth();
    for (int width = least; width < paragraph.maxWidth(); width += 7) {
        paragraph.setWidth(width);
        for (int i = 0; i + 1 < paragraph.lineCount(); ++i) {
            EXPECT_EQ(starts[static_cast<std::size_t>(paragraph.line(i).last)], 1) << width;
        }
    }
}

TEST(ShapedParagraphs, ACharacterThatTheFirstTypefaceLacksComesFromTheChain)
{
    ZkHarfBuzzShaper shaper;
    ZkFontChain chain;
    chain.append(ZkTypeface::fromFile("/usr/share/fonts/truetype/noto/NotoSans-Regular.ttf"));
    chain.append(
        ZkTypeface::fromFile("/usr/share/fonts/truetype/noto/NotoSansDevanagari-Regular.ttf"));
    ZkParagraph mixed;
    mixed.setChain(chain);
    mixed.setShaper(&shaper);
    mixed.setText(string(u"ab क्षि cd"));
    const ZkPlacedGlyph *glyphs = nullptr;
    const int count = mixed.glyphs(0, &glyphs);
    int second = 0;
    for (int i = 0; i < count; ++i) {
        const ZkGlyph *const glyph = reinterpret_cast<const ZkGlyph *>(glyphs[i].glyph);
        EXPECT_NE(glyph->index(), 0u) << "no box";
        second += glyph->typefaceId() == chain.at(1).id() ? 1 : 0;
    }
    EXPECT_EQ(second, 2) << "the vowel and the conjunct";
}

TEST(ShapedParagraphs, AnotherLanguageOrFeatureIsSeenByTheNextQuestion)
{
    ZkHarfBuzzShaper shaper;
    ZkParagraph paragraph;
    paragraph.setChain(
        ZkFontChain(ZkTypeface::fromFile("/usr/share/fonts/truetype/noto/NotoSans-Regular.ttf")));
    paragraph.setShaper(&shaper);
    paragraph.setFont(ZkFont(40, false, false, false, false));
    paragraph.setText(string(u"AVATAR"));
    const int kerned = paragraph.width();
    shaper.setFeature(ZkHarfBuzzShaper::tag("kern"), 0);
    EXPECT_GT(paragraph.width(), kerned);
    shaper.clearFeatures();
    EXPECT_EQ(paragraph.width(), kerned);
}

TEST(ShapedParagraphs, KnownWordsChangeNothing)
{
    for (const ScriptText &text : kScriptTexts) {
        SCOPED_TRACE(text.what);
        ZkShapedWords words, none(0);
        ZkHarfBuzzShaper warm(words), cold(none);
        ZkParagraph paragraph;
        paragraph.setChain(ZkFontChain(ZkTypeface::fromFile(text.path().c_str())));
        paragraph.setWidth(90);
        paragraph.setText(string(text.text));
        paragraph.setShaper(&cold);
        const std::string expected = printLines(paragraph);
        for (int i = 0; i < 2; ++i) {
            paragraph.setShaper(&warm);
            EXPECT_EQ(printLines(paragraph), expected);
            paragraph.setShaper(nullptr);
            paragraph.height();
        }
    }
}
