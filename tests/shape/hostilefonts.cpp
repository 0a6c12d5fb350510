#include <zkharfbuzzshaper.h>

#include <algorithm>

#include <gtest/gtest.h>

#include "fontedit.h"
#include "scripttexts.h"
#include "shaperun.h"

// Fonts whose GSUB and GPOS tables are damaged, or made to take as long as they can. HarfBuzz
// counts the steps of rules and the glyphs that they make, and gives up: the built-in shaper
// then takes the text, each letter as one glyph.

namespace
{

/// HarfBuzz makes no more glyphs of a text.
std::size_t mostGlyphs(std::size_t units)
{
    return std::max<std::size_t>(16384, 64 * units);
}

/// Clusters lie in the text and never descend; the first glyph is that of the first unit.
void expectSound(const std::vector<ZkShapedGlyph> &glyphs, const ShapeRun &run)
{
    ASSERT_FALSE(glyphs.empty());
    ASSERT_LE(glyphs.size(), mostGlyphs(run.text().size()));
    EXPECT_EQ(glyphs.front().cluster, 0);
    int previous = 0;
    for (const ZkShapedGlyph &glyph : glyphs) {
        ASSERT_GE(glyph.cluster, previous);
        ASSERT_LT(glyph.cluster, run.run.last);
        ASSERT_GE(glyph.advance, 0);
        previous = glyph.cluster;
    }
}

std::string word(unsigned value)
{
    return {static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
}

/// A GSUB table with the one feature ccmp, of all scripts, and these lookups, each with
/// one part.
std::string substitutions(const std::vector<std::pair<unsigned, std::string>> &lookups)
{
    std::string features;
    for (unsigned i = 0; i < lookups.size(); ++i) {
        features += word(i);
    }
    const std::string scriptList =
        word(1) + "DFLT" + word(8) + word(4) + word(0) + word(0) + word(0xFFFF) + word(1) + word(0);
    const std::string featureList = word(1) + "ccmp" + word(8) + word(0) +
                                    word(static_cast<unsigned>(lookups.size())) + features;
    std::string lookupList = word(static_cast<unsigned>(lookups.size())), bodies;
    for (const auto &lookup : lookups) {
        lookupList += word(static_cast<unsigned>(2 + 2 * lookups.size() + bodies.size()));
        bodies += word(lookup.first) + word(0) + word(1) + word(8) + lookup.second;
    }
    const unsigned scripts = 10, features0 = scripts + static_cast<unsigned>(scriptList.size());
    return word(1) + word(0) + word(scripts) + word(features0) +
           word(features0 + static_cast<unsigned>(featureList.size())) + scriptList + featureList +
           lookupList + bodies;
}

} // namespace

TEST(HostileFonts, DamagedRulesGiveSoundGlyphs)
{
    unsigned seed = 11;
    const auto random = [&seed](std::size_t below) {
        seed = seed * 1664525u + 1013904223u;
        return (seed >> 4) % below;
    };
    for (const ScriptText &text : kScriptTexts) {
        SCOPED_TRACE(text.what);
        const FontEdit whole(text.path());
        for (int round = 0; round < 6; ++round) {
            FontEdit font = whole;
            for (const char *tag : {"GSUB", "GPOS", "GDEF"}) {
                const auto place = font.table(tag);
                for (int i = 0; place.second > 0 && i < (round < 3 ? 20 : 400); ++i) {
                    const std::size_t reach =
                        round % 2 == 0 ? place.second : std::min(place.second, std::size_t(400));
                    font.bytes[place.first + random(reach)] =
                        static_cast<unsigned char>(random(256));
                }
            }
            const ZkTypeface face = ZkTypeface::fromMemory(font.bytes.data(), font.bytes.size());
            const ShapeRun run(text.text, face, 16, text.isRightToLeft);
            ZkShapedWords words;
            ZkHarfBuzzShaper shaper(words);
            expectSound(run.shapedBy(shaper), run);
            expectSound(run.shapedBy(shaper), run);
        }
    }
}

/// DejaVu Sans with so many rules that each make 64 letters of one.
ZkTypeface multiplying(std::size_t rules)
{
    FontEdit font(ZK_FONT_DEJAVU);
    const unsigned letter = ZkTypeface::fromFile(ZK_FONT_DEJAVU).glyphIndex(U'a');
    std::string sequence = word(64);
    for (int i = 0; i < 64; ++i) {
        sequence += word(letter);
    }
    const std::string coverage = word(1) + word(1) + word(letter);
    const std::string multiply = word(1) + word(8) + word(1) +
                                 word(static_cast<unsigned>(8 + coverage.size())) + coverage +
                                 sequence;
    font.replace("GSUB", substitutions(
                             std::vector<std::pair<unsigned, std::string>>(rules, {2u, multiply})));
    return ZkTypeface::fromMemory(font.bytes.data(), font.bytes.size());
}

TEST(HostileFonts, RulesThatMultiplyGlyphsAreGivenUp)
{
    ZkShapedWords words;
    ZkHarfBuzzShaper shaper(words);
    const ShapeRun twice(u"a", multiplying(2), 16);
    EXPECT_EQ(twice.shapedBy(shaper).size(), 64u * 64u);
    // Twenty times would be more glyphs than there are atoms: the built-in shaper steps in.
    const ZkTypeface face = multiplying(20);
    const ShapeRun one(u"a", face, 16);
    EXPECT_EQ(one.shapedBy(shaper).size(), 1u);
    const ShapeRun many(std::u16string(2000, u'a'), face, 16);
    EXPECT_EQ(many.shapedBy(shaper).size(), 2000u);
    EXPECT_LE(words.stats().bytes, words.stats().budget);
}

// Rules that apply each other where they stand, in 64 levels of 60, and one that takes the
// next glyph each time: how far the glyph got is how often it was applied.
TEST(HostileFonts, RulesThatCallEachOtherAreCounted)
{
    FontEdit font(ZK_FONT_DEJAVU);
    const unsigned letter = ZkTypeface::fromFile(ZK_FONT_DEJAVU).glyphIndex(U'a');
    const std::string onwards = word(2) + word(1) + word(letter) + word(0xFFFF) + word(0);
    constexpr unsigned kRecords = 60, kContexts = 4;
    std::string context = word(3) + word(1) + word(kRecords) + word(8 + 4 * kRecords);
    for (unsigned i = 0; i < kRecords; ++i) {
        context += word(0) + word(i % (kContexts + 1)); // position 0, one of the lookups
    }
    context += onwards;
    std::vector<std::pair<unsigned, std::string>> lookups(kContexts, {5u, context});
    lookups.push_back({1u, word(1) + word(6) + word(1) + onwards});
    font.replace("GSUB", substitutions(lookups));
    const ZkTypeface face = ZkTypeface::fromMemory(font.bytes.data(), font.bytes.size());
    for (const std::size_t units : {1u, 2u, 7u}) {
        ZkHarfBuzzShaper shaper;
        const ShapeRun run(std::u16string(units, u'a'), face, 16);
        const std::vector<ZkShapedGlyph> glyphs = run.shapedBy(shaper);
        expectSound(glyphs, run);
        unsigned steps = 0;
        for (const ZkShapedGlyph &glyph : glyphs) {
            steps += glyph.index - letter;
        }
        EXPECT_GT(steps, 100u);
        EXPECT_LE(steps, 16384u) << "HarfBuzz takes no more for a short text";
    }
}

// Long lists of ligatures are looked through to learn whether words may be kept.
TEST(HostileFonts, TablesThatPointIntoThemselvesAreNotReadToTheirEnd)
{
    FontEdit font(ZK_FONT_DEJAVU);
    // Every offset of the lookup leads to the same bytes, whose counts are 65,535.
    const std::string part = word(1) + word(4) + std::string(900, '\xFF');
    font.replace("GSUB", substitutions({60, {4u, part}}));
    const ZkTypeface face = ZkTypeface::fromMemory(font.bytes.data(), font.bytes.size());
    ZkHarfBuzzShaper shaper;
    const ShapeRun run(u"some words here", face, 16);
    expectSound(run.shapedBy(shaper), run);
}

TEST(HostileFonts, AFontCutAnywhereIsNoReasonToStop)
{
    const FontEdit whole("/usr/share/fonts/truetype/noto/NotoSansDevanagari-Regular.ttf");
    ZkHarfBuzzShaper shaper;
    for (std::size_t size = 0; size < whole.bytes.size(); size += whole.bytes.size() / 60) {
        const ZkTypeface face = ZkTypeface::fromMemory(whole.bytes.data(), size);
        const ShapeRun run(u"हिन्दी में क्षेत्र", face, 16);
        const std::vector<ZkShapedGlyph> glyphs = run.shapedBy(shaper);
        if (face.isValid()) {
            expectSound(glyphs, run);
        }
    }
}
