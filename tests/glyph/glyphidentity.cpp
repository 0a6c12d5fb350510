// Both paths make the same glyphs: every glyph of three fonts at four sizes in all styles,
// through the classic rasteriser and through the cache of typefaces, byte by byte.

#include "zkfreetype.h"
#include "zkglyphcache.h"

#include "bareglyph.h"
#include "rounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace
{

constexpr unsigned char kSizes[] = {12, 16, 24, 48};
constexpr int kCombinations = 4 * 8;

ZkFont combination(int i)
{
    const unsigned style = static_cast<unsigned>(i) % 8;
    return ZkFont(kSizes[i / 8 % 4], (style & 1) != 0, (style & 2) != 0, (style & 4) != 0, false);
}

// The characters of the basic plane that show each glyph, the first of them; 0 for a glyph
// that no such character shows.
std::vector<unsigned short> charactersOf(const ZkTypeface &face)
{
    std::vector<unsigned short> characters(static_cast<std::size_t>(face.glyphCount()));
    for (unsigned c = 0xFFFF; c > 0; --c) {
        const std::uint32_t glyph = face.glyphIndex(c);
        if (glyph < characters.size()) {
            characters[glyph] = static_cast<unsigned short>(c);
        }
    }
    return characters;
}

bool sameBytes(const GlyphBitmap &a, const GlyphBitmap &b)
{
    return a.width == b.width && a.height == b.height && a.pitch == b.pitch && a.left == b.left &&
           a.top == b.top && a.descent == b.descent && a.advance == b.advance &&
           a.font.size == b.font.size && a.font.flags == b.font.flags && a.pixels != nullptr &&
           b.pixels != nullptr &&
           std::memcmp(a.pixels, b.pixels, static_cast<std::size_t>(a.width) * a.height) == 0;
}

class GlyphIdentity : public testing::TestWithParam<const char *>
{
};

} // namespace

// Each glyph in some of the 32 combinations, which take turns so that all of them occur: in
// two where tests are slow, in four elsewhere. ZK_TEST_FACTOR=16 compares all glyphs in all
// of them. What no character shows is compared with FreeType called directly.
TEST_P(GlyphIdentity, EveryGlyphIsTheSameOnBothPaths)
{
    const ZkTypeface face = ZkTypeface::fromFile(GetParam());
    ASSERT_TRUE(face.isValid()) << face.errorText();
    ZkFreetype::freetype_init(GetParam());
    ZkFreetype classic;
    ZkGlyphCache cache(256 * 1024);
    ZkGlyphHolder holder(cache);
    const std::vector<unsigned short> characters = charactersOf(face);
    const BareFont bare(GetParam());
    const int each = std::min(kCombinations, scaledRounds(kSlowTests ? 20 : 4));
    int compared = 0, comparedIn[kCombinations] = {};
    for (std::uint32_t glyph = 0; glyph < characters.size(); ++glyph) {
        for (int i = 0; i < each; ++i) {
            const int number =
                static_cast<int>(glyph * 5 + static_cast<unsigned>(i) * 11) % kCombinations;
            const ZkFont font = combination(number);
            const GlyphBitmap &got = holder.glyph(face, glyph, font)->bitmap;
            SCOPED_TRACE(testing::Message()
                         << "glyph " << glyph << " at " << static_cast<int>(font.fontSize())
                         << " px, style " << static_cast<int>(font.attr().flags));
            if (characters[glyph] != 0) {
                classic.setTextFont(font);
                const GlyphBitmap expected = classic.resloveUnicode(characters[glyph]);
                EXPECT_TRUE(sameBytes(got, expected));
                std::free(expected.pixels);
            } else {
                expectRecord(got, bare.renderGlyph(glyph, font), 0, font);
            }
            ++compared;
            ++comparedIn[number];
            if (HasFailure()) {
                ZkFreetype::freetype_Done();
                return;
            }
        }
        holder.clear();
    }
    ZkFreetype::freetype_Done();
    RecordProperty("compared", compared);
    EXPECT_EQ(compared, static_cast<int>(characters.size()) * each);
    EXPECT_GT(compared, 5000 * each) << "the test would look at little";
    for (int i = 0; i < kCombinations; ++i) { // an equal share of the glyphs in each
        EXPECT_GE(comparedIn[i], compared / kCombinations - each) << "combination " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Fonts, GlyphIdentity,
                         testing::Values(ZK_FONT_DEJAVU, ZK_FONT_FREESERIF, ZK_FONT_UNIFONT));
