#include <zkharfbuzzshaper.h>

#include <set>

#include <gtest/gtest.h>

#include "hbshape.h"
#include "scripttexts.h"
#include "shaperun.h"

namespace
{

std::string notoPath(const char *file)
{
    return std::string("/usr/share/fonts/truetype/noto/") + file;
}

HbShape hbShapeOf(const ScriptText &text, int pixelSize)
{
    HbShape shape;
    shape.font = text.path();
    shape.pixelSize = pixelSize;
    shape.script = text.script;
    shape.isRightToLeft = text.isRightToLeft;
    return shape;
}

int total(const std::vector<ZkShapedGlyph> &glyphs)
{
    int sum = 0;
    for (const ZkShapedGlyph &glyph : glyphs) {
        sum += glyph.advance;
    }
    return sum;
}

} // namespace

TEST(ZkHarfBuzzShaper, AgreesWithHbShapeOnFortyTextsAndMore)
{
    std::set<std::string> scripts;
    int glyphs = 0;
    for (const ScriptText &text : kScriptTexts) {
        SCOPED_TRACE(text.what);
        const ZkTypeface face = ZkTypeface::fromFile(text.path().c_str());
        ASSERT_TRUE(face.isValid()) << face.errorText();
        for (const int size : {13, 32}) {
            const ShapeRun run(text.text, face, size, text.isRightToLeft);
            const std::vector<ZkShapedGlyph> expected =
                run.byGraphemes(hbShapeOf(text, size).shape(run.text()));
            ASSERT_FALSE(expected.empty());
            ZkShapedWords words;
            ZkHarfBuzzShaper shaper(words);
            EXPECT_EQ(print(run.shapedBy(shaper)), print(expected)) << "first time";
            EXPECT_EQ(print(run.shapedBy(shaper)), print(expected)) << "with words known";
            EXPECT_GT(words.stats().hits, 0u);
            glyphs += static_cast<int>(expected.size());
        }
        scripts.insert(text.script);
    }
    EXPECT_GE(std::size(kScriptTexts), 40u);
    EXPECT_GE(scripts.size(), 20u);
    EXPECT_GT(glyphs, 3000);
}

// What is kept of one text must be true in another: the words of each text in every order.
TEST(ZkHarfBuzzShaper, WordsKeptFromOneTextAreTrueInAnother)
{
    for (const ScriptText &text : kScriptTexts) {
        SCOPED_TRACE(text.what);
        const ZkTypeface face = ZkTypeface::fromFile(text.path().c_str());
        std::vector<std::u16string> parts(1);
        for (const char16_t unit : std::u16string(text.text)) {
            if (unit == u' ') {
                parts.emplace_back();
            } else {
                parts.back() += unit;
            }
        }
        ZkShapedWords kept, none(0);
        ZkHarfBuzzShaper warm(kept), cold(none);
        unsigned seed = 1;
        for (int round = 0; round < 12; ++round) {
            std::u16string mixed;
            for (int i = 0; i < 12; ++i) {
                seed = seed * 1664525u + 1013904223u;
                mixed += parts[(seed >> 16) % parts.size()];
                mixed += i % 5 == 4 ? u"  " : u" ";
            }
            const ShapeRun run(mixed, face, 20, text.isRightToLeft);
            ASSERT_EQ(print(run.shapedBy(warm)), print(run.shapedBy(cold)));
        }
        EXPECT_EQ(none.stats().words, 0u);
    }
}

TEST(ZkHarfBuzzShaper, ClustersNeverDescendAndBeginWithTheRun)
{
    for (const ScriptText &text : kScriptTexts) {
        SCOPED_TRACE(text.what);
        const ZkTypeface face = ZkTypeface::fromFile(text.path().c_str());
        const ShapeRun run(text.text, face, 16, text.isRightToLeft);
        ZkHarfBuzzShaper shaper;
        const std::vector<ZkShapedGlyph> glyphs = run.shapedBy(shaper);
        EXPECT_EQ(glyphs.front().cluster, 0);
        for (std::size_t i = 1; i < glyphs.size(); ++i) {
            EXPECT_GE(glyphs[i].cluster, glyphs[i - 1].cluster);
            EXPECT_GE(glyphs[i].advance, 0);
        }
    }
}

// A line end where the flag is not set needs no shaping of either side.
TEST(ZkHarfBuzzShaper, HalvesCutWhereItIsSafeAreThoseOfTheWhole)
{
    int safe = 0, unsafe = 0;
    for (const ScriptText &text : kScriptTexts) {
        SCOPED_TRACE(text.what);
        if (std::string(text.script) == "Syrc") {
            continue; // HarfBuzz does not flag the Alaph that a Dalath or Rish before it changes
        }
        const ZkTypeface face = ZkTypeface::fromFile(text.path().c_str());
        const ShapeRun run(text.text, face, 16, text.isRightToLeft);
        ZkShapedWords words;
        ZkHarfBuzzShaper shaper(words);
        const std::vector<ZkShapedGlyph> whole = run.shapedBy(shaper);
        for (std::size_t i = 1; i < whole.size(); ++i) {
            const int at = whole[i].cluster;
            if (at == whole[i - 1].cluster) {
                continue;
            }
            if ((whole[i].flags & ZkShapedGlyph::UnsafeToBreak) != 0) {
                ++unsafe;
                continue;
            }
            ++safe;
            ZkShapeRun left = run.run, right = run.run;
            left.last = left.contextLast = right.first = right.contextFirst = at;
            std::vector<ZkShapedGlyph> halves = run.shapedBy(shaper, left);
            const std::vector<ZkShapedGlyph> rest = run.shapedBy(shaper, right);
            halves.insert(halves.end(), rest.begin(), rest.end());
            ASSERT_EQ(print(halves, false), print(whole, false)) << "cut before " << at;
        }
    }
    EXPECT_GT(safe, 500);
    EXPECT_GT(unsafe, 200);
}

TEST(ZkHarfBuzzShaper, LettersJoinAcrossTheEndsOfARunButNotOfItsContext)
{
    const ZkTypeface face = ZkTypeface::fromFile(notoPath("NotoNaskhArabic-Regular.ttf").c_str());
    const ShapeRun run(u"ببب", face, 16, true);
    ZkHarfBuzzShaper shaper;
    const std::vector<ZkShapedGlyph> whole = run.shapedBy(shaper);
    ASSERT_EQ(whole.size(), 3u);
    ZkShapeRun middle = run.run;
    middle.first = 1;
    middle.last = 2;
    ASSERT_EQ(run.shapedBy(shaper, middle).size(), 1u);
    EXPECT_EQ(run.shapedBy(shaper, middle)[0].index, whole[1].index) << "joined on both sides";
    middle.contextLast = 2;
    EXPECT_EQ(run.shapedBy(shaper, middle)[0].index, whole[2].index) << "to the one before";
    middle.contextFirst = 1;
    EXPECT_NE(run.shapedBy(shaper, middle)[0].index, whole[1].index) << "alone";
    EXPECT_NE(run.shapedBy(shaper, middle)[0].index, whole[2].index) << "alone";
}

TEST(ZkHarfBuzzShaper, FeaturesHoldForTheWholeTextOrForSomeUnits)
{
    HbShape peer;
    peer.font = notoPath("NotoSerif-Regular.ttf");
    peer.script = "Latn";
    const ZkTypeface face = ZkTypeface::fromFile(peer.font.c_str());
    const ShapeRun run(u"office fluffy office", face, 16);
    ZkHarfBuzzShaper shaper;
    const std::vector<ZkShapedGlyph> plain = run.shapedBy(shaper);
    EXPECT_EQ(print(plain), print(peer.shape(run.text())));

    shaper.setFeature(ZkHarfBuzzShaper::tag("liga"), 0);
    peer.features = "-liga";
    EXPECT_EQ(print(run.shapedBy(shaper)), print(peer.shape(run.text())));
    EXPECT_GT(run.shapedBy(shaper).size(), plain.size());

    shaper.clearFeatures();
    EXPECT_EQ(print(run.shapedBy(shaper)), print(plain));

    shaper.setFeature(ZkHarfBuzzShaper::tag("liga"), 0, 7, 13);
    peer.features = "liga[7:13]=0";
    EXPECT_EQ(print(run.shapedBy(shaper)), print(peer.shape(run.text())));
    EXPECT_NE(print(run.shapedBy(shaper)), print(plain));

    shaper.clearFeatures();
    shaper.setFeature(ZkHarfBuzzShaper::tag("smcp"), 1, 0, 6);
    shaper.setFeature(ZkHarfBuzzShaper::tag("kern"), 0);
    peer.features = "-kern,smcp[0:6]=1";
    EXPECT_EQ(print(run.shapedBy(shaper)), print(peer.shape(run.text())));
}

TEST(ZkHarfBuzzShaper, FeaturesOfUnitsCountFromTheStartOfTheText)
{
    const ZkTypeface face = ZkTypeface::fromFile(notoPath("NotoSerif-Regular.ttf").c_str());
    const ShapeRun run(u"abc office office", face, 16);
    ZkHarfBuzzShaper shaper;
    shaper.setFeature(ZkHarfBuzzShaper::tag("liga"), 0, 11, 17);
    const std::vector<ZkShapedGlyph> whole = run.shapedBy(shaper);
    ZkShapeRun part = run.run;
    part.first = part.contextFirst = 4;
    const std::vector<ZkShapedGlyph> rest = run.shapedBy(shaper, part);
    ASSERT_EQ(rest.size() + 4, whole.size());
    for (std::size_t i = 0; i < rest.size(); ++i) {
        EXPECT_EQ(rest[i].index, whole[i + 4].index) << i;
        EXPECT_EQ(rest[i].cluster, whole[i + 4].cluster) << i;
    }
}

TEST(ZkHarfBuzzShaper, AnEmptyRangeOfUnitsSwitchesNothing)
{
    ZkHarfBuzzShaper shaper;
    const std::uint32_t before = shaper.serial();
    shaper.setFeature(ZkHarfBuzzShaper::tag("liga"), 0, 5, 5);
    shaper.setFeature(ZkHarfBuzzShaper::tag("liga"), 0, 5, 3);
    shaper.setFeature(ZkHarfBuzzShaper::tag("liga"), 0, -5, 0);
    EXPECT_EQ(shaper.serial(), before);
}

TEST(ZkHarfBuzzShaper, TheSerialChangesWithLanguageAndFeatures)
{
    ZkHarfBuzzShaper shaper;
    std::set<std::uint32_t> serials = {shaper.serial()};
    shaper.setLanguage("sr");
    EXPECT_TRUE(serials.insert(shaper.serial()).second);
    shaper.setFeature(ZkHarfBuzzShaper::tag("liga"), 0);
    EXPECT_TRUE(serials.insert(shaper.serial()).second);
    shaper.setFeature(ZkHarfBuzzShaper::tag("liga"), 0, 1, 2);
    EXPECT_TRUE(serials.insert(shaper.serial()).second);
    shaper.clearFeatures();
    EXPECT_TRUE(serials.insert(shaper.serial()).second);
}

TEST(ZkHarfBuzzShaper, AFontMayHaveLettersOfItsOwnForALanguage)
{
    HbShape peer;
    peer.font = notoPath("NotoSans-Regular.ttf");
    peer.script = "Cyrl";
    peer.language = "sr";
    const ZkTypeface face = ZkTypeface::fromFile(peer.font.c_str());
    const ShapeRun run(u"бгдпт б", face, 16);
    ZkHarfBuzzShaper shaper;
    const std::vector<ZkShapedGlyph> russian = run.shapedBy(shaper);
    shaper.setLanguage("sr");
    EXPECT_EQ(print(run.shapedBy(shaper)), print(peer.shape(run.text())));
    EXPECT_NE(print(run.shapedBy(shaper)), print(russian));
    shaper.setLanguage("");
    EXPECT_EQ(print(run.shapedBy(shaper)), print(russian));
    shaper.setLanguage("sr");
    shaper.setLanguage(nullptr);
    EXPECT_EQ(print(run.shapedBy(shaper)), print(russian));
}

TEST(ZkHarfBuzzShaper, KerningIsOffWhereTheLayoutSaysSo)
{
    const ZkTypeface face = ZkTypeface::fromFile(notoPath("NotoSans-Regular.ttf").c_str());
    ShapeRun run(u"AVATAR To", face, 32);
    ZkHarfBuzzShaper shaper;
    const int kerned = total(run.shapedBy(shaper));
    run.run.isKerned = false;
    EXPECT_GT(total(run.shapedBy(shaper)), kerned);
}

TEST(ZkHarfBuzzShaper, SpacedLettersAreNoLigatures)
{
    const ZkTypeface face = ZkTypeface::fromFile(notoPath("NotoSerif-Regular.ttf").c_str());
    ShapeRun run(u"office", face, 16);
    ZkHarfBuzzShaper shaper;
    EXPECT_LT(run.shapedBy(shaper).size(), 6u);
    run.run.isSpaced = true;
    EXPECT_EQ(run.shapedBy(shaper).size(), 6u);
}

TEST(ZkHarfBuzzShaper, BracketsMirrorInRightToLeftRuns)
{
    HbShape peer;
    peer.font = ZK_FONT_DEJAVU;
    peer.script = "Arab";
    peer.isRightToLeft = true;
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    const ShapeRun run(u"(خارج)", face, 16, true);
    ZkHarfBuzzShaper shaper;
    const std::vector<ZkShapedGlyph> glyphs = run.shapedBy(shaper);
    EXPECT_EQ(print(glyphs), print(peer.shape(run.text())));
    EXPECT_EQ(glyphs.front().index, face.glyphIndex(U')'));
    EXPECT_EQ(glyphs.back().index, face.glyphIndex(U'('));
}

TEST(ZkHarfBuzzShaper, ACharacterThatTheFontLacksIsGlyphZero)
{
    const ZkTypeface face = ZkTypeface::fromFile(notoPath("NotoSansThai-Regular.ttf").c_str());
    const ShapeRun run(u"ก\u4E00ก", face, 16);
    ZkHarfBuzzShaper shaper;
    const std::vector<ZkShapedGlyph> glyphs = run.shapedBy(shaper);
    ASSERT_EQ(glyphs.size(), 3u);
    EXPECT_EQ(glyphs[1].index, 0u);
    EXPECT_EQ(glyphs[1].cluster, 1);
}

TEST(ZkHarfBuzzShaper, ALoneSurrogateIsTheReplacementCharacter)
{
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    ZkHarfBuzzShaper shaper;
    for (const char16_t unit : {char16_t(0xD800), char16_t(0xDC00), char16_t(0xDBFF)}) {
        const ShapeRun run(std::u16string(u"a") + unit + u"b", face, 16);
        const std::vector<ZkShapedGlyph> glyphs = run.shapedBy(shaper);
        ASSERT_EQ(glyphs.size(), 3u);
        EXPECT_EQ(glyphs[1].index, face.glyphIndex(0xFFFD));
    }
}

TEST(ZkHarfBuzzShaper, AnEmptyRunAddsNothing)
{
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    const ShapeRun run(u"", face, 16);
    ZkHarfBuzzShaper shaper;
    EXPECT_TRUE(run.shapedBy(shaper).empty());
}

TEST(ZkHarfBuzzShaper, GlyphsAreAppendedToThoseThatAreThere)
{
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    const ShapeRun run(u"ab cd", face, 16);
    ZkHarfBuzzShaper shaper;
    ZkShapedGlyphs glyphs;
    shaper.shape(run.run, &glyphs);
    shaper.shape(run.run, &glyphs);
    ASSERT_EQ(glyphs.size(), 10);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(glyphs[i].index, glyphs[i + 5].index);
    }
}
