#include <zkharfbuzzshaper.h>
#include <zkparagraph.h>

#include <gtest/gtest.h>

#include "hbshape.h"
#include "shaperun.h"

// Fonts that are packed, whose tables HarfBuzz gets unpacked, and fonts that vary.

namespace
{

constexpr std::uint32_t kWeight = ZkHarfBuzzShaper::tag("wght");
constexpr std::uint32_t kHeight = ZkHarfBuzzShaper::tag("YTUC");

std::string fontPath(const char *name)
{
    return std::string(ZK_TEST_DATA) + "/fonts/" + name;
}

ZkTypeface varied(const char *name, int instance, const std::vector<ZkTypeface::AxisValue> &axes)
{
    ZkTypeface::Options options;
    options.instance = instance;
    options.axes = axes.data();
    options.axisCount = static_cast<int>(axes.size());
    return ZkTypeface::fromFile(fontPath(name).c_str(), options);
}

std::vector<ZkShapedGlyph> shaped(const ZkTypeface &face, const char16_t *text, int size)
{
    ZkShapedWords words;
    ZkHarfBuzzShaper shaper(words);
    return ShapeRun(text, face, size).shapedBy(shaper);
}

} // namespace

TEST(PackedFonts, AreShapedAsThePlainFontIs)
{
    HbShape peer;
    peer.font = fontPath("features.ttf");
    peer.script = "Latn";
    const ZkTypeface plain = ZkTypeface::fromFile(peer.font.c_str());
    for (const char16_t *text : {u"office", u"AV To. office", u"ffi ff fi", u"missing: AV"}) {
        const std::string expected = print(peer.shape(text));
        EXPECT_EQ(print(shaped(plain, text, 16)), expected);
        for (const char *name : {"features.woff", "features.woff2"}) {
            SCOPED_TRACE(name);
            const ZkTypeface packed = ZkTypeface::fromFile(fontPath(name).c_str());
            ASSERT_TRUE(packed.isValid()) << packed.errorText();
            EXPECT_EQ(print(shaped(packed, text, 16)), expected);
        }
    }
    EXPECT_EQ(shaped(plain, u"office", 16).size(), 4u) << "a ligature of three";
}

TEST(PackedFonts, KeepTheirWords)
{
    ZkShapedWords words;
    ZkHarfBuzzShaper shaper(words);
    const ZkTypeface face = ZkTypeface::fromFile(fontPath("features.woff2").c_str());
    const ShapeRun run(u"office AV", face, 16);
    const std::string first = print(run.shapedBy(shaper));
    EXPECT_EQ(print(run.shapedBy(shaper)), first);
    EXPECT_EQ(words.stats().hits, 2u);
}

TEST(VariableFonts, AreShapedWhereTheTypefaceStandsOnItsAxes)
{
    struct Case {
        const char *what;
        int instance;
        std::vector<ZkTypeface::AxisValue> axes;
        const char *variations; // as hb-shape takes them
        int width;              // of the letter, of 1,000 units an em
    };
    const Case kCases[] = {
        {"as it is", 0, {}, "", 400},
        {"an instance", 2, {}, "wght=100", 250},
        {"another", 3, {}, "wght=900", 700},
        {"one with both axes", 4, {}, "wght=900,YTUC=900", 700},
        {"a value", 0, {{kWeight, 650}}, "wght=650", 550},
        {"a value over an instance", 3, {{kWeight, 400}}, "wght=400", 400},
        {"two values", 0, {{kWeight, 250}, {kHeight, 800}}, "wght=250,YTUC=800", 325},
        {"a value beyond the end", 0, {{kWeight, 2000}}, "wght=900", 700},
    };
    for (const char *name : {"variable.ttf", "variable.woff2"}) {
        for (const Case &row : kCases) {
            SCOPED_TRACE(std::string(name) + ", " + row.what);
            const ZkTypeface face = varied(name, row.instance, row.axes);
            ASSERT_TRUE(face.isValid()) << face.errorText();
            const std::vector<ZkShapedGlyph> glyphs = shaped(face, u"AB", 100);
            ASSERT_EQ(glyphs.size(), 2u);
            EXPECT_EQ(glyphs[0].advance, row.width * 64 / 10);
            HbShape peer;
            peer.font = fontPath("variable.ttf");
            peer.script = "Latn";
            peer.pixelSize = 100;
            peer.variations = row.variations;
            EXPECT_EQ(print(glyphs), print(peer.shape(u"AB")));
        }
    }
}

// Words of one place on the axes are not those of another.
TEST(VariableFonts, ShareNoWords)
{
    ZkShapedWords words;
    ZkHarfBuzzShaper shaper(words);
    const ZkTypeface thin = varied("variable.ttf", 2, {}), black = varied("variable.ttf", 3, {});
    const std::string first = print(ShapeRun(u"AB", thin, 100).shapedBy(shaper));
    EXPECT_NE(print(ShapeRun(u"AB", black, 100).shapedBy(shaper)), first);
    EXPECT_EQ(print(ShapeRun(u"AB", thin, 100).shapedBy(shaper)), first);
    EXPECT_EQ(words.stats().words, 2u);
    EXPECT_EQ(words.stats().hits, 1u);
}

// What is drawn and what is measured are the same letter.
TEST(VariableFonts, AreDrawnAsWideAsTheyAreShaped)
{
    for (const int instance : {0, 1, 2, 3, 4}) {
        SCOPED_TRACE(instance);
        ZkHarfBuzzShaper shaper;
        ZkParagraph paragraph;
        paragraph.setChain(ZkFontChain(varied("variable.ttf", instance, {})));
        paragraph.setShaper(&shaper);
        paragraph.setFont(ZkFont(100, false, false, false, false));
        paragraph.setUtf8("AA", 2);
        const ZkPlacedGlyph *glyphs = nullptr;
        ASSERT_EQ(paragraph.glyphs(0, &glyphs), 2);
        EXPECT_EQ(glyphs[1].x - glyphs[0].x, paragraph.width() / 2);
        EXPECT_NEAR(glyphs[0].glyph->width, paragraph.width() / 2 - 10, 2) << "5 on both sides";
    }
}
