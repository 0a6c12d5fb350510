#include <zkcharacter.h>
#include <zkglyphcache.h>
#include <zkparagraph.h>
#include <zkshaper.h>

#include "utf16.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace
{

/// What a shaper is asked, and what the built-in one answers.
class Listening : public ZkSimpleShaper
{
public:
    void shape(const ZkShapeRun &run, ZkShapedGlyphs *glyphs) override
    {
        const int before = glyphs->size();
        ZkSimpleShaper::shape(run, glyphs);
        ++runs;
        last = run;
        EXPECT_LT(run.first, run.last);
        ASSERT_LT(before, glyphs->size());
        EXPECT_EQ((*glyphs)[before].cluster, run.first);
        for (int i = before; i < glyphs->size(); ++i) {
            const ZkShapedGlyph &glyph = (*glyphs)[i];
            EXPECT_GE(glyph.advance, 0);
            EXPECT_EQ(glyph.advance % 64, 0) << "whole pixels";
            EXPECT_LT(glyph.cluster, run.last);
            if (i > before) {
                EXPECT_GE(glyph.cluster, (*glyphs)[i - 1].cluster);
            }
        }
    }
    bool needsScripts() const override { return wantsScripts; }

    int runs = 0;
    bool wantsScripts = false;
    ZkShapeRun last = {};
};

class Shaper : public testing::Test
{
protected:
    Shaper()
    {
        paragraph.setChain(ZkFontChain(ZkTypeface::fromFile(ZK_FONT_DEJAVU)));
        paragraph.setShaper(&shaper);
    }

    Listening shaper;
    ZkParagraph paragraph;
};

TEST_F(Shaper, OneRunForPlainText)
{
    paragraph.setUtf8("Hello, world");
    EXPECT_EQ(paragraph.lineCount(), 1);
    EXPECT_EQ(shaper.runs, 1);
    EXPECT_FALSE(shaper.last.isRightToLeft);
    EXPECT_TRUE(shaper.last.isKerned);
    EXPECT_FALSE(shaper.last.isSpaced);
    paragraph.setLetterSpacing(1);
    paragraph.setKerning(false);
    paragraph.lineCount();
    EXPECT_TRUE(shaper.last.isSpaced);
    EXPECT_FALSE(shaper.last.isKerned);
}

TEST_F(Shaper, RunsEndWhereDirectionFontTagOrLineChange)
{
    const struct {
        const char *text;
        int runs;
    } kRows[] = {{"ab אב", 2}, {"a\nb", 2}, {"abc", 1}};
    for (const auto &row : kRows) {
        shaper.runs = 0;
        paragraph.setUtf8(row.text);
        paragraph.lineCount();
        EXPECT_EQ(shaper.runs, row.runs) << row.text;
    }
    shaper.runs = 0;
    paragraph.setSpan(1, 2, paragraph.font(), 5);
    paragraph.lineCount();
    EXPECT_EQ(shaper.runs, 3);
    EXPECT_EQ(shaper.last.tag, 0);
}

TEST_F(Shaper, ScriptsAreToldApartWhenAskedFor)
{
    paragraph.setUtf8("abc где");
    paragraph.lineCount();
    EXPECT_EQ(shaper.runs, 1);
    shaper.wantsScripts = true;
    shaper.runs = 0;
    paragraph.setUtf8("abc, где");
    paragraph.lineCount();
    EXPECT_EQ(shaper.runs, 2);
}

TEST_F(Shaper, EveryClusterHasAPlace)
{
    for (const char *text : {"a\u0301", "\u0301", "\u200B", "\u0644\u064E\u0627\u064B", "\t",
                             "\r\n", "\u0E1B\u0E31\u0E48\u0E19", "\U0001F600\u200D\U0001F600"}) {
        paragraph.setUtf8(text);
        EXPECT_GE(paragraph.lineCount(), 1) << text;
    }
    const ZkUcs2 lone[] = {0xD800, 'a', 0xDC00};
    paragraph.setText(ZkString(lone, 3));
    const ZkPlacedGlyph *glyphs = nullptr;
    EXPECT_EQ(paragraph.glyphs(0, &glyphs), 3);
    EXPECT_EQ(glyphs[0].glyph, glyphs[2].glyph); // U+FFFD
}

TEST_F(Shaper, TextIsShapedOnceWhateverIsAskedAndHoweverWideTheBox)
{
    EXPECT_EQ(shaper.serial(), 0u) << "a shaper that never changes";
    paragraph.setUtf8("some words and more of them");
    EXPECT_GT(paragraph.maxWidth(), paragraph.minWidth());
    EXPECT_EQ(shaper.runs, 1);
    for (int width = 20; width < 200; width += 7) {
        paragraph.setWidth(width);
        EXPECT_GE(paragraph.lineCount(), 1);
    }
    EXPECT_EQ(shaper.runs, 1);
}

// An x and the other letters have each a width in 64ths of a pixel, a soft hyphen has none.
class Uneven : public ZkShaper
{
public:
    Uneven(int x, int other) : m_x(x), m_other(other) {}

    void setX(int x) { m_x = x; }
    void shape(const ZkShapeRun &run, ZkShapedGlyphs *glyphs) override
    {
        for (int unit = run.first; unit < run.last; ++unit) {
            const ZkUcs2 c = run.text[unit];
            const int advance = c == 'x' ? m_x : c == 0xAD ? 0 : m_other;
            *glyphs->extend(1) = {run.face->glyphIndex('x') & 0xFFFFFF, 0, advance, 0, 0, unit};
        }
    }

private:
    int m_x, m_other;
};

// A pixel and 31 64ths of one: what is less than half a pixel too long fits.
TEST(UnevenShaper, LinesWithTabsFitToTheSamePartOfAPixelAsOthers)
{
    Uneven uneven(64 + 31, 64);
    ZkParagraph paragraph;
    paragraph.setChain(ZkFontChain(ZkTypeface::fromFile(ZK_FONT_DEJAVU)));
    paragraph.setShaper(&uneven);
    paragraph.setTabWidth(50);
    const struct {
        const char *text;
        int width, lines, more;
    } kRows[] = {{"x", 1, 1, 1}, {"a x", 3, 1, 2}, {"x\tx", 51, 1, 2}, {"\tx", 51, 1, 2}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.text);
        uneven.setX(64 + 31);
        paragraph.setUtf8(row.text);
        paragraph.setWidth(row.width);
        EXPECT_EQ(paragraph.lineCount(), row.lines);
        uneven.setX(64 + 32);
        paragraph.setUtf8("");
        paragraph.setUtf8(row.text);
        EXPECT_EQ(paragraph.lineCount(), row.more);
    }
}

// Each letter is 10 pixels wide, the first or last one of what is shown 25: as calligraphy
// has it.
TEST(SwashShaper, AnEllipsisLeavesAsMuchAsFitsInItsShapeThere)
{
    class Swash : public ZkShaper
    {
    public:
        void shape(const ZkShapeRun &run, ZkShapedGlyphs *glyphs) override
        {
            for (int unit = run.first; unit < run.last; ++unit) {
                const int wide = isLast ? run.contextLast - 1 : run.contextFirst;
                const int pixels = unit == wide ? 25 : 10;
                const int rest = unit == wide ? 31 : 0; // of a pixel, and not told as one
                *glyphs->extend(1) = {run.face->glyphIndex('x') & 0xFFFFFF,
                                      ZkShapedGlyph::UnsafeToBreak,
                                      pixels * 64 + rest,
                                      0,
                                      0,
                                      unit};
            }
        }

        bool isLast = false;
    } swash;
    ZkParagraph paragraph;
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    paragraph.setChain(ZkFontChain(face));
    ZkGlyphHolder holder;
    const int dots = holder.glyph(face, face.glyphIndex(0x2026), paragraph.font())->bitmap.advance;
    paragraph.setShaper(&swash);
    paragraph.setMaximumLines(1);
    const int narrowest = dots + 60, widths = 25 + 19 * 10 - narrowest;
    for (int i = 0; i < 2 * widths; ++i) {
        const int width = narrowest + i % widths;
        swash.isLast = i >= widths;
        SCOPED_TRACE(testing::Message() << width << (swash.isLast ? ", the last" : ", the first"));
        paragraph.setUtf8("");
        paragraph.setUtf8("abcdefghijklmnopqrst");
        paragraph.setWidth(width);
        const int letters = (width - dots - 25) / 10 + 1;
        paragraph.setEllipsis(ZkParagraph::EllipsisEnd);
        EXPECT_EQ(paragraph.width(), dots + 25 + (letters - 1) * 10);
        paragraph.setEllipsis(ZkParagraph::EllipsisStart);
        EXPECT_EQ(paragraph.width(), dots + 25 + (letters - 1) * 10);
        const ZkPlacedGlyph *glyphs = nullptr;
        ASSERT_EQ(paragraph.glyphs(0, &glyphs), letters + 1);
        EXPECT_EQ(glyphs[1].cluster, 20 - letters);
        EXPECT_EQ(glyphs[letters].cluster, 19);
        paragraph.setEllipsis(ZkParagraph::EllipsisMiddle);
        EXPECT_LE(paragraph.width(), width);
        EXPECT_GT(paragraph.width(), width - 25 - 10) << "both parts have a wide one";
    }
}

// Behind dots that stand at the start a space goes, and tabs take no room.
TEST(UnevenShaper, AsMuchAsFitsStandsBehindDotsAtTheStart)
{
    Uneven even(640, 640); // 10 pixels each
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    ZkParagraph paragraph;
    paragraph.setChain(ZkFontChain(face));
    const int dots =
        ZkGlyphHolder().glyph(face, face.glyphIndex(0x2026), paragraph.font())->bitmap.advance;
    paragraph.setShaper(&even);
    paragraph.setMaximumLines(1);
    paragraph.setEllipsis(ZkParagraph::EllipsisStart);
    std::mt19937 random(11);
    int shortened = 0;
    for (int i = 0; i < 3000; ++i) {
        std::string text = "a";
        while (text.size() < 14) {
            text += "ab  \t"[random() % 5];
        }
        text += 'b';
        const int width = dots + 10 + static_cast<int>(random() % 120);
        paragraph.setUtf8(text.c_str());
        paragraph.setWidth(width);
        if (!paragraph.line(0).isShortened) {
            continue;
        }
        ++shortened;
        std::size_t first = text.size(); // of what is shown: never all
        int taken = dots;
        while (first > 1 && taken + (text[first - 1] == '\t' ? 0 : 10) <= width) {
            taken += text[--first] == '\t' ? 0 : 10;
        }
        const std::size_t start = text.find_first_not_of(' ', first);
        const std::size_t seen = text.find_first_not_of('\t', start);
        const ZkPlacedGlyph *glyphs = nullptr;
        ASSERT_GT(paragraph.glyphs(0, &glyphs), 1);
        ASSERT_EQ(glyphs[1].cluster, static_cast<int>(seen)) << '"' << text << "\" in " << width;
    }
    EXPECT_GT(shortened, 1000);
}

// Text may take exactly what still is told as the box's width.
TEST(UnevenShaper, WhatIsToldAsTheBoxesWidthFits)
{
    Uneven uneven(31, 640);
    ZkParagraph paragraph;
    paragraph.setChain(ZkFontChain(ZkTypeface::fromFile(ZK_FONT_DEJAVU)));
    paragraph.setShaper(&uneven);
    paragraph.setUtf8("a\u00ADbcx");
    EXPECT_EQ(paragraph.minWidth(), 20);
    paragraph.setWidth(20);
    EXPECT_EQ(paragraph.lineCount(), 2);
    EXPECT_EQ(paragraph.width(), 20);

    ZkGlyphHolder holder;
    const ZkTypeface face = paragraph.chain().at(0);
    const int dots = holder.glyph(face, face.glyphIndex(0x2026), paragraph.font())->bitmap.advance;
    paragraph.setUtf8("xabcd");
    paragraph.setMaximumLines(1);
    paragraph.setEllipsis(ZkParagraph::EllipsisEnd);
    for (int letters = 0; letters < 3; ++letters) {
        paragraph.setWidth(dots + 10 * letters);
        const ZkPlacedGlyph *glyphs = nullptr;
        EXPECT_EQ(paragraph.glyphs(0, &glyphs), letters + 2) << "the x and the dots";
    }
}

// A shaper may draw a word's end and the next one's start as one; a line may end between.
TEST(JoiningShaper, AGlyphOfTwoLinesBelongsToEach)
{
    class Joining : public ZkShaper
    {
    public:
        void shape(const ZkShapeRun &run, ZkShapedGlyphs *glyphs) override
        {
            for (int unit = run.first; unit < run.last; ++unit) {
                const int units = unit == 3 && run.last > 5 ? 3 : 1; // "a b"
                *glyphs->extend(1) = {
                    run.face->glyphIndex('x') & 0xFFFFFF, 0, units * 640, 0, 0, unit};
                unit += units - 1;
            }
        }
    } joining;
    ZkParagraph paragraph;
    paragraph.setChain(ZkFontChain(ZkTypeface::fromFile(ZK_FONT_DEJAVU)));
    paragraph.setShaper(&joining);
    paragraph.setUtf8("xx a bcd");
    paragraph.setWidth(60);
    ASSERT_EQ(paragraph.lineCount(), 2);
    EXPECT_EQ(paragraph.line(1).first, 5);
    const ZkPlacedGlyph *glyphs = nullptr;
    ASSERT_EQ(paragraph.glyphs(1, &glyphs), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(glyphs[i].cluster, 5 + i) << "seen from the start of the line on";
    }
}

// Clusters before the run are those of a shaper that does not keep its promise.
TEST(CarelessShaper, GlyphsOfAnotherRunsClustersBelongToTheirOwn)
{
    class Careless : public ZkShaper
    {
    public:
        void shape(const ZkShapeRun &run, ZkShapedGlyphs *glyphs) override
        {
            for (int unit = run.first; unit < run.last; ++unit) {
                *glyphs->extend(1) = {run.face->glyphIndex('x') & 0xFFFFFF, 0, 640, 0, 0, cluster};
            }
        }
        int cluster = 0;
    } careless;
    ZkParagraph paragraph;
    paragraph.setChain(ZkFontChain(ZkTypeface::fromFile(ZK_FONT_DEJAVU)));
    paragraph.setShaper(&careless);
    for (const int cluster : {0, -7, 3, 5, 1000000}) {
        careless.cluster = cluster;
        for (const char *text : {"ab \u05D0\u05D1", "\u05D0\u05D1 ab"}) {
            SCOPED_TRACE(std::to_string(cluster) + text);
            paragraph.setUtf8(text);
            const ZkPlacedGlyph *glyphs = nullptr;
            const int count = paragraph.glyphs(0, &glyphs);
            for (int i = 0; i < count; ++i) {
                EXPECT_GE(glyphs[i].cluster, 0);
                EXPECT_LT(glyphs[i].cluster, 5);
            }
            EXPECT_GE(paragraph.caret(4).x, 0);
        }
    }
}

// A shaper of a host may answer nothing at all.
TEST(SilentShaper, TextWithoutGlyphsHasLinesAndPlacesForTheCaret)
{
    class Silent : public ZkShaper
    {
    public:
        void shape(const ZkShapeRun &, ZkShapedGlyphs *) override { ++runs; }
        int runs = 0;
    } silent;
    ZkParagraph paragraph;
    paragraph.setChain(ZkFontChain(ZkTypeface::fromFile(ZK_FONT_DEJAVU)));
    paragraph.setShaper(&silent);
    paragraph.setUtf8("abc\ndef");
    EXPECT_EQ(paragraph.lineCount(), 2);
    EXPECT_EQ(silent.runs, 2);
    const ZkPlacedGlyph *glyphs = nullptr;
    EXPECT_EQ(paragraph.glyphs(0, &glyphs), 0);
    EXPECT_EQ(paragraph.width(), 0);
    for (int unit = 0; unit <= 7; ++unit) {
        EXPECT_EQ(paragraph.caret(unit).x, 0);
        EXPECT_EQ(paragraph.caret(unit).line, unit > 3 ? 1 : 0);
    }
}

// Widths and kerning are remembered for some fonts of a typeface; those beyond come out as if
// the typeface had been opened for them alone.
TEST(SimpleShaper, MoreFontsThanAreRememberedComeOutAlike)
{
    const ZkTypeface shared = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    const char *const text = "AVAVA To Wa. x\u0301 \u0633\u0644\u0627\u0645 (\u05D0\u05D1) ";
    for (int round = 0; round < 2; ++round) {
        for (int size = 8; size < 28; ++size) {
            SCOPED_TRACE(size);
            ZkParagraph ours, alone;
            ours.setChain(ZkFontChain(shared));
            alone.setChain(ZkFontChain(ZkTypeface::fromFile(ZK_FONT_DEJAVU)));
            for (ZkParagraph *paragraph : {&ours, &alone}) {
                paragraph->setFont(
                    ZkFont(static_cast<unsigned char>(size), false, size % 2 != 0, false, false));
                paragraph->setUtf8(text);
            }
            for (int i = 0; i <= ours.text().size(); ++i) {
                EXPECT_EQ(ours.caret(i).x, alone.caret(i).x) << i;
            }
        }
    }
}

// Characters that share a slot of what is remembered take turns in it.
TEST(SimpleShaper, EveryCharacterKeepsItsWidth)
{
    const ZkFontChain chain(ZkTypeface::fromFile(ZK_FONT_DEJAVU));
    ZkParagraph whole, one;
    whole.setChain(chain);
    one.setChain(chain);
    whole.setKerning(false);
    ZkString text;
    for (int c = 0x100; c < 0x180; ++c) { // letters of Latin, Greek, Cyrillic, symbols, ideographs
        for (const int block : {0, 0x280, 0x300, 0x2100, 0x2200, 0x4E00}) {
            text.append(static_cast<ZkUcs2>(c + block));
        }
    }
    for (int round = 0; round < 2; ++round) {
        whole.setText(ZkString());
        whole.setText(text);
        int sum = 0;
        for (int i = 0; i < text.size(); ++i) {
            one.setText(text.mid(i, 1));
            sum += one.maxWidth();
        }
        EXPECT_EQ(whole.maxWidth(), sum);
    }
}

/// Checks that glyphs of one plain character are those of that character.
class Comparing : public ZkSimpleShaper
{
public:
    void shape(const ZkShapeRun &run, ZkShapedGlyphs *glyphs) override
    {
        const int before = glyphs->size();
        ZkSimpleShaper::shape(run, glyphs);
        for (int i = before; i < glyphs->size(); ++i) {
            const ZkShapedGlyph &glyph = (*glyphs)[i];
            const int end = i + 1 < glyphs->size() ? (*glyphs)[i + 1].cluster : run.last;
            const ZkUcs2 *const unit = run.text + glyph.cluster;
            const bool isPair = (*unit & 0xFC00) == 0xD800;
            const char32_t c =
                isPair ? 0x10000 + ((char32_t(*unit) & 0x3FF) << 10) + (unit[1] & 0x3FF) : *unit;
            if (end != glyph.cluster + (isPair ? 2 : 1) ||
                zkCharacter(c).joining != ZkCharacter::JoiningNone ||
                (glyph.flags & ZkShapedGlyph::Invisible) != 0) {
                continue;
            }
            const char32_t shown = run.isRightToLeft ? zkMirrored(c) : c;
            EXPECT_EQ(glyph.index, run.face->glyphIndex(shown)) << std::hex << unsigned(c);
            ++compared;
        }
    }

    int compared = 0;
};

// What is remembered of one character must not answer for others that share its slot, or the
// bits that tell them apart: among them those that are 0x8000 or 0x10000 away.
TEST(SimpleShaper, NoCharacterIsTakenForAnother)
{
    for (const char *font : {ZK_FONT_DEJAVU, ZK_FONT_FREESERIF}) {
        SCOPED_TRACE(font);
        const ZkTypeface face = ZkTypeface::fromFile(font);
        std::vector<char32_t> characters;
        for (char32_t c = 0x21; c < 0x30000; ++c) {
            const bool isPlain = c < 0xD800 || (c > 0xF8FF && c < 0xFE00) || c > 0xFFFF;
            if (isPlain && face.hasGlyph(c)) {
                characters.push_back(c);
            }
        }
        ASSERT_GT(characters.size(), 5000U);
        ASSERT_GT(characters.back(), 0x10000U);
        std::shuffle(characters.begin(), characters.end(), std::mt19937(5));
        std::u32string text;
        for (const char32_t c : characters) {
            for (const char32_t other : {c ^ 0x10000, c ^ 0x8000}) {
                if (other < 0x30000 && (other & 0x1FF800) != 0xD800 && other > 0x20) {
                    text += other; // which the font may lack
                    text += {c, U' ', c};
                    text += U'\u0323'; // a cluster remembers, too
                }
            }
        }
        ZkParagraph paragraph;
        Comparing shaper;
        paragraph.setChain(ZkFontChain(face));
        paragraph.setShaper(&shaper);
        const std::vector<ZkUcs2> units = utf16Of(text);
        paragraph.setText(ZkString(units.data(), static_cast<int>(units.size())));
        EXPECT_GT(paragraph.lineCount(), 0);
        EXPECT_GT(shaper.compared, static_cast<int>(characters.size()));
    }
}

TEST(ShapedGlyphs, GrowAndKeepTheirMemory)
{
    ZkShapedGlyphs glyphs;
    for (int i = 0; i < 1000; ++i) {
        glyphs.extend(1)->cluster = i;
    }
    EXPECT_EQ(glyphs.size(), 1000);
    EXPECT_EQ(glyphs[999].cluster, 999);
    const std::size_t bytes = glyphs.memoryBytes();
    glyphs.truncate(0);
    glyphs.extend(1000);
    EXPECT_EQ(glyphs.memoryBytes(), bytes);
}

} // namespace
