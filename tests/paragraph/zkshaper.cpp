#include <zkglyphcache.h>
#include <zkparagraph.h>
#include <zkshaper.h>

#include <gtest/gtest.h>

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
