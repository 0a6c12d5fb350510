// Each allocation of opening, rendering, evicting, saving and loading fails once. The
// outcome is an error or an empty glyph; nothing is lost and nothing leaks, and with memory
// back the same work gives what it always gave.

#include "zkfontchain.h"
#include "zkfreetype.h"
#include "zkglyphcache.h"

#include "bareglyph.h"
#include "glyph/zkglyphslabs.h"
#include "mallochook.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

const ZkFont kFont(20, true, true, true, false);

// No block of so many bytes is given until another one is given back.
void refuseOnce(std::size_t bytes)
{
    mallochook::wasRefused = false;
    mallochook::isRefusedOnce = true;
    mallochook::refused = bytes;
}

// Runs `work` with one allocation after the other failing until none does any more. It
// must leave as many blocks as it found, which `work` may put in order with `failing` -1.
template <typename Work>
void failEach(Work work)
{
    if (!mallochook::kCanRefuse) {
        GTEST_SKIP() << "the sanitizer's malloc cannot be made to fail";
    }
    work(); // what is made once and kept
    int made = 1, tried = 0;
    for (int number = 0; number < made; ++number) {
        SCOPED_TRACE(testing::Message() << "allocation " << number);
        const int before = mallochook::living;
        mallochook::allocations = 0;
        mallochook::failing = number;
        work();
        mallochook::failing = -1;
        made = std::max(made, mallochook::allocations.load());
        ASSERT_EQ(mallochook::living, before) << "leaks";
        ASSERT_FALSE(testing::Test::HasFailure());
        ++tried;
        ASSERT_LT(tried, 100000);
    }
    EXPECT_GT(tried, 3);
}

std::size_t releases = 0;

void release(const void *, void *)
{
    ++releases;
}

bool isWhole(const GlyphBitmap &got, const BareFont::Glyph &expected)
{
    return got.width == expected.width && got.height == expected.height &&
           std::equal(expected.pixels.begin(), expected.pixels.end(), got.pixels);
}

} // namespace

TEST(FontMemory, OpeningFailsWithAnError)
{
    failEach([] {
        for (const char *path : {ZK_FONT_DEJAVU, ZK_FONT_UNIFONT, ZK_FONT_MICROHEI}) {
            const ZkTypeface face = ZkTypeface::fromFile(path);
            if (!face.isValid()) {
                EXPECT_EQ(face.error(), ZkTypeface::OutOfMemory);
                EXPECT_NE(face.errorText()[0], 0);
            }
            const ZkTypeface missing = ZkTypeface::fromFile("/nonexistent");
            EXPECT_FALSE(missing.isValid());
        }
    });
}

TEST(FontMemory, BorrowedBytesAreReleasedOnceWhicheverFails)
{
    const ZkTypeface whole = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    failEach([&whole] {
        releases = 0;
        {
            const ZkTypeface face =
                ZkTypeface::fromBorrowed(whole.data(), whole.dataSize(), release, nullptr);
            EXPECT_EQ(releases, face.isValid() ? 0u : 1u);
            const ZkTypeface copied = ZkTypeface::fromMemory(whole.data(), whole.dataSize());
            EXPECT_TRUE(copied.isValid() || copied.error() == ZkTypeface::OutOfMemory);
        }
        EXPECT_EQ(releases, 1u);
    });
}

TEST(FontMemory, RenderingGivesTheGlyphOrAnEmptyOneThatIsTriedAgain)
{
    const BareFont bare(ZK_FONT_DEJAVU);
    std::vector<BareFont::Glyph> expected;
    for (std::uint32_t glyph = 40; glyph < 60; ++glyph) {
        expected.push_back(bare.renderGlyph(glyph, kFont));
    }
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    ZkGlyphCache cache(16 << 10); // which evicts meanwhile
    failEach([&] {
        ZkGlyphHolder holder(cache);
        for (std::uint32_t i = 0; i < 20; ++i) {
            const ZkGlyph *const glyph = holder.glyph(face, 40 + i, kFont);
            ASSERT_NE(glyph, nullptr);
            EXPECT_TRUE(glyph->isFailed() || isWhole(glyph->bitmap, expected[i]));
            mallochook::failing = glyph->isFailed() ? -1 : mallochook::failing.load();
            EXPECT_TRUE(isWhole(holder.glyph(face, 40 + i, kFont)->bitmap, expected[i]));
        }
        mallochook::failing = -1;
        holder.clear();
        cache.clear();
        EXPECT_EQ(cache.stats().glyphs, 0);
        EXPECT_LE(cache.stats().bytes, cache.stats().budget);
    });
}

TEST(FontMemory, ChainsAndQuestionsOfCharactersAnswerAllTheSame)
{
    const ZkTypeface latin = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    const ZkTypeface cjk = ZkTypeface::fromFile(ZK_FONT_MICROHEI);
    const std::uint32_t a = latin.glyphIndex('a');
    failEach([&] {
        ZkFontChain chain;
        const bool isWhole = chain.append(latin) && chain.append(cjk);
        const ZkFontList faces = chain.faces();
        EXPECT_EQ(faces.size() == 2, isWhole);
        for (int again = 0; again < 2 && isWhole; ++again) {
            EXPECT_EQ(faces.find('a'), 0);
            EXPECT_EQ(faces.find(0x4E2D), 1);
            EXPECT_EQ(faces.find(0x10FFFF), -1);
        }
        const int saved = mallochook::failing; // a font of its own has asked for nothing yet
        mallochook::failing = -1;
        const ZkTypeface fresh = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
        mallochook::failing = saved;
        EXPECT_EQ(fresh.glyphIndex('a'), a);
        EXPECT_EQ(fresh.kerning(a, a, 20), latin.kerning(a, a, 20));
        const int before = chain.size();
        const bool isCleared = chain.clear();
        EXPECT_EQ(chain.size(), isCleared ? 0 : before) << "all or none";
    });
}

TEST(FontMemory, PacksAreWrittenAndLoadedOrNot)
{
    const ZkFontChain chain(ZkTypeface::fromFile(ZK_FONT_DEJAVU));
    const ZkTypeface face = chain.at(0);
    const std::string path = "/tmp/zkfontmemory" + std::to_string(getpid());
    ZkGlyphCache cache(0);
    for (std::uint32_t glyph = 40; glyph < 300; ++glyph) {
        ZkGlyphHolder(cache).glyph(face, glyph, kFont);
    }
    ASSERT_EQ(cache.save(path.c_str(), chain), 260);
    failEach([&] {
        const int saved = cache.save(path.c_str(), chain);
        EXPECT_TRUE(saved == 260 || saved == -1);
        const int before = mallochook::failing;
        mallochook::failing = -1;
        ZkGlyphCache other(0);
        mallochook::failing = before;
        const int loaded = other.load(path.c_str(), chain);
        EXPECT_TRUE(loaded >= -1 && loaded <= 260) << "what there is memory for";
        mallochook::failing = -1;
        // Where the system gives no slab another glyph goes, as when one is rendered.
        EXPECT_LE(other.stats().glyphs, std::max(loaded, 0));
        const int there = other.stats().glyphs;
        EXPECT_EQ(other.load(path.c_str(), chain), 260 - there);
    });
    unlink(path.c_str());
}

// Glyphs that have blocks of their own: the others go before none is rendered.
TEST(FontMemory, LargeGlyphsMakeRoomOrAreEmptyOnce)
{
    const BareFont bare(ZK_FONT_DEJAVU);
    const ZkFont large(255, false, false, false, false);
    std::vector<BareFont::Glyph> expected;
    for (std::uint32_t glyph = 36; glyph < 42; ++glyph) {
        expected.push_back(bare.renderGlyph(glyph, large));
    }
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    ZkGlyphCache cache(0);
    int empty = 0;
    for (int number = mallochook::kCanRefuse ? 0 : 60; number < 60; ++number) {
        mallochook::failing = mallochook::allocations + number;
        for (std::uint32_t i = 0; i < 6; ++i) {
            ZkGlyphHolder holder(cache);
            const ZkGlyph *const glyph = holder.glyph(face, 36 + i, large);
            ASSERT_TRUE(glyph->isFailed() || isWhole(glyph->bitmap, expected[i]));
            empty += glyph->isFailed() ? 1 : 0;
        }
        mallochook::failing = -1;
        EXPECT_LE(cache.stats().glyphs, 6);
        cache.clear();
        EXPECT_EQ(cache.stats().glyphs, 0);
    }
    EXPECT_LT(empty, 60) << "one a round at most, and none where others could go";
}

// Without a larger table the one that is there fills up to seven eighths.
TEST(FontMemory, ATableThatCannotGrowIsFilledAndThenGlyphsAreEmpty)
{
    if (!mallochook::kCanRefuse) {
        GTEST_SKIP() << "the sanitizer's malloc cannot be made to fail";
    }
    constexpr int kFirstSlots = 128;
    const ZkFont tiny(6, false, false, false, false);
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    ZkGlyphCache cache(0);
    ZkGlyphHolder held(cache); // so that none can go
    std::vector<const ZkGlyph *> glyphs;
    for (std::uint32_t glyph = 40; glyph < 40 + kFirstSlots; ++glyph) {
        face.glyphIndex(glyph);
        const ZkGlyphHolder other(cache);
        refuseOnce(2 * kFirstSlots * sizeof(void *));
        glyphs.push_back(held.glyph(face, glyph, tiny));
        mallochook::refused = 0;
    }
    const auto isEmpty = [](const ZkGlyph *glyph) { return glyph->isFailed(); };
    EXPECT_EQ(std::count_if(glyphs.begin(), glyphs.end(), isEmpty), kFirstSlots / 8);
    EXPECT_EQ(cache.stats().glyphs, kFirstSlots / 8 * 7);
    EXPECT_EQ(cache.stats().failures, static_cast<std::uint64_t>(kFirstSlots / 8));
    EXPECT_EQ(cache.stats().misses, static_cast<std::uint64_t>(kFirstSlots));
    for (std::uint32_t glyph = 40; glyph < 40 + kFirstSlots; ++glyph) { // there again
        EXPECT_FALSE(held.glyph(face, glyph, tiny)->isFailed());
    }
    EXPECT_EQ(cache.stats().glyphs, kFirstSlots);
}

TEST(FontMemory, TheClassicFontDoesNotOpenWithoutMemory)
{
    if (!mallochook::kCanRefuse) {
        GTEST_SKIP() << "the sanitizer's malloc cannot be made to fail";
    }
    const ZkString path(ZK_FONT_DEJAVU);
    for (int number = 0; number < 5; ++number) {
        EXPECT_EXIT(
            {
                dup2(STDERR_FILENO, STDOUT_FILENO);
                mallochook::failing = mallochook::allocations + number;
                ZkFreetype::freetype_init(path);
            },
            testing::ExitedWithCode(1), "^FT_Init_FreeType error!\n");
    }
}

TEST(FontMemory, ABlockThatCannotGrowEndsTheProcess)
{
    if (!mallochook::kCanRefuse) {
        GTEST_SKIP() << "the sanitizer's malloc cannot be made to fail";
    }
    EXPECT_DEATH(
        {
            mallochook::failing = mallochook::allocations.load();
            zkReallocate(nullptr, 123);
        },
        "libzk: no memory for 123 bytes");
}

// What the system does not give, the cache's own glyphs may.
TEST(FontMemory, ALargeGlyphTakesTheRoomOfOthersWhenThereIsNoMore)
{
    if (!mallochook::kCanRefuse) {
        GTEST_SKIP() << "the sanitizer's malloc cannot be made to fail";
    }
    const BareFont bare(ZK_FONT_DEJAVU);
    const ZkFont large(255, false, false, false, false);
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    const BareFont::Glyph expected = bare.renderGlyph(50, large);
    ZkGlyphCache cache(0);
    for (std::uint32_t glyph = 36; glyph < 40; ++glyph) {
        ZkGlyphHolder(cache).glyph(face, glyph, large);
    }
    ASSERT_EQ(cache.stats().glyphs, 4);
    ZkGlyphHolder holder(cache);
    refuseOnce(ZkGlyphSlabs::costOf(ZkGlyphSlabs::lengthFor(expected.pixels.size())));
    const ZkGlyph *const glyph = holder.glyph(face, 50, large);
    EXPECT_TRUE(mallochook::wasRefused);
    mallochook::refused = 0;
    EXPECT_TRUE(isWhole(glyph->bitmap, expected));
    EXPECT_EQ(cache.stats().glyphs, 1) << "the others have gone";
    EXPECT_EQ(cache.stats().evictions, 4u);
}

TEST(FontMemory, PacksOfLargeGlyphsEndWhereMemoryEnds)
{
    if (!mallochook::kCanRefuse) {
        GTEST_SKIP() << "the sanitizer's malloc cannot be made to fail";
    }
    const ZkFontChain chain(ZkTypeface::fromFile(ZK_FONT_DEJAVU));
    const ZkFont large(255, false, false, false, false);
    const std::string path = "/tmp/zklargememory" + std::to_string(getpid());
    ZkGlyphCache cache(0);
    ZkGlyphHolder(cache).glyph(chain.at(0), 50, large);
    const std::size_t pixels = cache.stats().pixelBytes;
    ASSERT_EQ(cache.save(path.c_str(), chain), 1);
    ZkGlyphCache other(0);
    refuseOnce(ZkGlyphSlabs::costOf(ZkGlyphSlabs::lengthFor(pixels)));
    EXPECT_EQ(other.load(path.c_str(), chain), 0);
    mallochook::refused = 0;
    EXPECT_EQ(other.stats().glyphs, 0);
    EXPECT_EQ(other.load(path.c_str(), chain), 1);
    unlink(path.c_str());
}

// FreeType's own tables are there as long as a typeface is open, and made anew after that.
TEST(FontMemory, TheLibraryGoesWithTheLastTypeface)
{
    if (!mallochook::kCanRefuse) {
        GTEST_SKIP() << "the sanitizer's malloc cannot be watched";
    }
    const auto blocksOfOpening = [] {
        const int before = mallochook::allocations;
        const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
        EXPECT_TRUE(face.isValid());
        return mallochook::allocations - before;
    };
    const int alone = blocksOfOpening();
    EXPECT_EQ(blocksOfOpening(), alone);
    const ZkTypeface kept = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    const int beside = blocksOfOpening();
    EXPECT_EQ(blocksOfOpening(), beside);
    EXPECT_GT(alone, beside + 30) << "a dozen modules";
}
