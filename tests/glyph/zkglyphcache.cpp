#include "zkglyphcache.h"

#include "bareglyph.h"
#include "tinyfont.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace
{

const ZkFont kPlain(16, false, false, false, false);

ZkTypeface dejavu()
{
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    EXPECT_TRUE(face.isValid()) << face.errorText();
    return face;
}

ZkFont sized(int pixels)
{
    return ZkFont(static_cast<unsigned char>(pixels), false, false, false, false);
}

std::set<std::uint64_t> keysOf(const ZkGlyphCache &cache)
{
    std::set<std::uint64_t> keys;
    cache.walk(
        [](const ZkGlyph &glyph, bool, std::uint32_t, void *to) {
            EXPECT_TRUE(static_cast<std::set<std::uint64_t> *>(to)->insert(glyph.key()).second);
        },
        &keys);
    return keys;
}

void expectSums(const ZkGlyphCache::Stats &stats)
{
    EXPECT_EQ(stats.bytes,
              stats.pixelBytes + stats.recordBytes + stats.tableBytes + stats.unusedBytes);
    EXPECT_EQ(stats.recordBytes, static_cast<std::size_t>(stats.glyphs) * sizeof(ZkGlyph));
    EXPECT_GE(stats.peakBytes, stats.bytes);
    EXPECT_LE(stats.heldBytes + stats.tableBytes, stats.bytes);
}

// Renders glyphs one by one and holds none.
void fill(ZkGlyphCache *cache, const ZkTypeface &face, const ZkFont &font, std::uint32_t first,
          std::uint32_t last)
{
    for (std::uint32_t glyph = first; glyph <= last; ++glyph) {
        ZkGlyphHolder(*cache).glyph(face, glyph, font);
    }
}

} // namespace

TEST(ZkGlyphCache, AGlyphIsRenderedOnceAndFoundAgain)
{
    const ZkTypeface face = dejavu();
    ZkGlyphCache cache;
    const std::uint32_t g = face.glyphIndex('g');
    ZkGlyphHolder one(cache), two(cache);
    const ZkGlyph *const first = one.glyph(face, g, kPlain);
    EXPECT_EQ(one.glyph(face, g, kPlain), first);
    EXPECT_EQ(two.glyph(face, g, kPlain), first);
    EXPECT_EQ(two.glyph(face, g, ZkFont(16, false, false, false, true)), first)
        << "an underline is the painter's";
    EXPECT_EQ(one.size(), 1);
    const ZkGlyphCache::Stats stats = cache.stats();
    EXPECT_EQ(stats.misses, 1u);
    EXPECT_EQ(stats.hits, 1u) << "a holder asks only once";
    EXPECT_EQ(stats.glyphs, 1);
    EXPECT_EQ(stats.heldGlyphs, 1);
    EXPECT_EQ(stats.holders, 2);
    expectSums(stats);
    const BareFont bare(ZK_FONT_DEJAVU);
    expectRecord(first->bitmap, bare.render('g', kPlain), 0, kPlain);
    EXPECT_EQ(first->key(), ZkGlyphCache::key(face, g, kPlain));
    EXPECT_EQ(first->index(), g);
    EXPECT_EQ(first->pixelSize(), 16u);
    EXPECT_EQ(first->typefaceId(), face.id());
    EXPECT_FALSE(first->isFailed());
}

TEST(ZkGlyphCache, SizeStyleAndTypefaceTellGlyphsApart)
{
    const ZkTypeface face = dejavu(), other = dejavu();
    ZkGlyphCache cache;
    ZkGlyphHolder holder(cache);
    std::set<const ZkGlyph *> glyphs;
    for (const ZkTypeface &from : {face, other}) {
        for (const int size : {12, 13}) {
            for (unsigned style = 0; style < 8; ++style) {
                const ZkFont font(
                    ZkFontAttr{static_cast<std::uint8_t>(size), static_cast<std::uint8_t>(style)});
                glyphs.insert(holder.glyph(from, 40, font));
            }
        }
    }
    EXPECT_EQ(glyphs.size(), 32u);
    EXPECT_EQ(holder.size(), 32);
}

TEST(ZkGlyphCache, FetchFillsEveryPlaceWithRepeatsAndGlyphsThatAreNew)
{
    const ZkTypeface face = dejavu();
    ZkGlyphCache cache;
    ZkGlyphHolder holder(cache);
    std::vector<std::uint32_t> indices;
    for (std::uint32_t i = 0; i < 500; ++i) {
        indices.push_back(i * 37 % 101);
    }
    std::vector<const ZkGlyph *> glyphs(indices.size());
    fill(&cache, face, kPlain, 20, 60);
    holder.fetch(face, kPlain, indices.data(), static_cast<int>(indices.size()), glyphs.data());
    for (std::size_t i = 0; i < indices.size(); ++i) {
        ASSERT_NE(glyphs[i], nullptr);
        EXPECT_EQ(glyphs[i]->index(), indices[i]);
        EXPECT_EQ(glyphs[i], holder.glyph(face, indices[i], kPlain));
    }
    EXPECT_EQ(holder.size(), 101);
    EXPECT_EQ(cache.stats().misses, 101u);
    holder.fetch(face, kPlain, nullptr, 0, nullptr);
}

TEST(ZkGlyphCache, WithoutATypefaceGlyphsAreEmpty)
{
    ZkGlyphCache cache;
    ZkGlyphHolder holder(cache);
    for (const ZkTypeface &face : {ZkTypeface(), ZkTypeface::fromFile("/nonexistent")}) {
        const ZkGlyph *const glyph = holder.glyph(face, 3, kPlain);
        ASSERT_NE(glyph, nullptr);
        EXPECT_TRUE(glyph->isFailed());
        EXPECT_EQ(glyph->bitmap.width, 0);
        EXPECT_EQ(glyph->bitmap.height, 0);
        EXPECT_NE(glyph->bitmap.pixels, nullptr);
    }
    EXPECT_EQ(cache.stats().glyphs, 0);
}

TEST(ZkGlyphCache, WhatCannotBeRenderedIsEmptyAndNotTriedAgain)
{
    const std::string bytes = TinyFont()
                                  .addBox('A', 1, 0, 6, 10, 8)
                                  .addBroken('B', 9)
                                  .addBox('D', -32767, -32767, 32767, 32767, 9)
                                  .bytes();
    const ZkTypeface face = ZkTypeface::fromMemory(bytes.data(), bytes.size());
    ASSERT_TRUE(face.isValid()) << face.errorText();
    ZkGlyphCache cache;
    const struct {
        const char *what;
        std::uint32_t glyph;
        bool isFailed;
        int width, advance;
    } kRows[] = {{"whole", face.glyphIndex('A'), false, 5, 8},
                 {"cut", face.glyphIndex('B'), true, 0, 0},
                 {"larger than any sane one", face.glyphIndex('D'), true, 0, 9},
                 {"not there", 999, true, 0, 0},
                 {"no glyph number", 0xFFFFFFFF, true, 0, 0}};
    std::uint64_t misses = 0;
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        ++misses;
        for (int again = 0; again < 2; ++again) {
            ZkGlyphHolder holder(cache);
            const ZkGlyph *const glyph = holder.glyph(face, row.glyph, kPlain);
            EXPECT_EQ(glyph->isFailed(), row.isFailed);
            EXPECT_EQ(glyph->bitmap.width, row.width);
            EXPECT_EQ(glyph->bitmap.advance, row.advance);
            EXPECT_NE(glyph->bitmap.pixels, nullptr);
            EXPECT_EQ(cache.stats().misses, misses);
        }
    }
    EXPECT_EQ(cache.stats().failures, 4u);
}

TEST(ZkGlyphCache, AGlyphIsDrawnUpTo4096PixelsOfEachSide)
{
    const std::string bytes = TinyFont() // at 128 pixels a unit is 8
                                  .addBox('A', 0, 0, 1, 512, 2)
                                  .addBox('B', 0, 0, 1, 513, 2)
                                  .addBox('C', 0, 0, 512, 1, 2)
                                  .addBox('D', 0, 0, 513, 1, 2)
                                  .bytes();
    const ZkTypeface face = ZkTypeface::fromMemory(bytes.data(), bytes.size());
    const struct {
        char32_t c;
        int width, height;
    } kRows[] = {{'A', 8, 4096}, {'B', 0, 0}, {'C', 4096, 8}, {'D', 0, 0}};
    ZkGlyphCache cache;
    for (const auto &row : kRows) {
        SCOPED_TRACE(static_cast<char>(row.c));
        ZkGlyphHolder holder(cache);
        const ZkGlyph *const glyph = holder.glyph(face, face.glyphIndex(row.c), sized(128));
        EXPECT_EQ(glyph->isFailed(), row.width == 0);
        EXPECT_EQ(glyph->bitmap.width, row.width);
        EXPECT_EQ(glyph->bitmap.height, row.height);
        EXPECT_EQ(glyph->bitmap.advance, 16);
    }
}

TEST(ZkGlyphCache, TheBudgetHoldsAtEveryMoment)
{
    const ZkTypeface face = dejavu();
    for (const std::size_t budget : {8u << 10, 64u << 10, 300u << 10, 1u << 20}) {
        SCOPED_TRACE(budget);
        ZkGlyphCache cache(budget);
        for (std::uint32_t glyph = 3; glyph < 1200; ++glyph) {
            for (const int size : {11, 24, 60}) {
                // Of one glyph in use at a time only the least budget knows.
                ZkGlyphHolder(cache).glyph(face, glyph, sized(size));
            }
            const ZkGlyphCache::Stats stats = cache.stats();
            ASSERT_LE(stats.bytes, stats.budget);
            ASSERT_EQ(stats.overBytes, 0u);
            expectSums(stats);
        }
        const ZkGlyphCache::Stats stats = cache.stats();
        EXPECT_GT(stats.evictions, 0u);
        if (budget > 8u << 10) {
            EXPECT_LE(stats.peakBytes, budget);
            EXPECT_GT(stats.pixelBytes + stats.recordBytes, budget * 6 / 10) << "it is used";
        }
    }
}

TEST(ZkGlyphCache, TheLeastRecentlyUsedGoesFirst)
{
    const ZkTypeface face = dejavu();
    ZkGlyphCache cache(64 << 10);
    std::vector<std::uint64_t> order; // of use, oldest first
    std::minstd_rand random(7);
    for (int i = 0; i < 4000; ++i) {
        const auto glyph = static_cast<std::uint32_t>(36 + random() % 600);
        ZkGlyphHolder(cache).glyph(face, glyph, kPlain);
        const std::uint64_t key = ZkGlyphCache::key(face, glyph, kPlain);
        order.erase(std::remove(order.begin(), order.end(), key), order.end());
        const bool evicts = cache.stats().glyphs <= static_cast<int>(order.size());
        order.push_back(key);
        if (!evicts) {
            continue;
        }
        // What is left is the end of the order; glyphs used between two misses are of
        // one age, so a few may stand out of turn.
        const std::set<std::uint64_t> left = keysOf(cache);
        const std::size_t gone = order.size() - left.size();
        std::size_t outOfTurn = 0;
        for (std::size_t k = 0; k < order.size(); ++k) {
            outOfTurn += (left.count(order[k]) != 0) != (k >= gone) ? 1u : 0u;
        }
        ASSERT_LE(outOfTurn, 8u);
        ASSERT_LT(gone, order.size() / 4) << "no more went than was needed";
        order.erase(std::remove_if(order.begin(), order.end(),
                                   [&left](std::uint64_t k) { return left.count(k) == 0; }),
                    order.end());
    }
}

TEST(ZkGlyphCache, ALargeGlyphTakesOnlyTheRoomItNeeds)
{
    const ZkTypeface face = dejavu();
    ZkGlyphCache cache(64 << 10);
    fill(&cache, face, kPlain, 36, 600);
    for (std::uint32_t glyph = 36; glyph < 60; ++glyph) {
        const std::size_t before = cache.stats().bytes;
        ZkGlyphHolder(cache).glyph(face, glyph, sized(70));
        EXPECT_GT(cache.stats().bytes, before * 3 / 5) << glyph;
    }
}

TEST(ZkGlyphCache, AGlyphWasUsedUntilItsHolderLetItGo)
{
    const ZkTypeface face = dejavu();
    ZkGlyphCache cache;
    const auto ageOfHeld = [&](bool isCleared) {
        {
            ZkGlyphHolder holder(cache);
            holder.glyph(face, 40, kPlain);
            fill(&cache, face, sized(isCleared ? 17 : 18), 41, 99);
            if (isCleared) {
                holder.clear();
            }
        }
        std::uint32_t age = UINT32_MAX;
        cache.walk(
            [](const ZkGlyph &glyph, bool, std::uint32_t since, void *to) {
                if (glyph.index() == 40) {
                    *static_cast<std::uint32_t *>(to) = since;
                }
            },
            &age);
        return age;
    };
    EXPECT_EQ(ageOfHeld(true), 0u);
    EXPECT_EQ(ageOfHeld(false), 0u);
}

TEST(ZkGlyphCache, WhatIsOnlyFoundMakesOthersOlder)
{
    const ZkTypeface face = dejavu();
    ZkGlyphCache cache;
    fill(&cache, face, kPlain, 36, 37);
    const auto ages = [&cache] {
        std::vector<std::uint32_t> result;
        cache.walk([](const ZkGlyph &, bool, std::uint32_t age,
                      void *to) { static_cast<std::vector<std::uint32_t> *>(to)->push_back(age); },
                   &result);
        return result;
    };
    const std::vector<std::uint32_t> before = ages();
    ASSERT_EQ(before.size(), 2u);
    for (int i = 0; i < 100000; ++i) {
        ZkGlyphHolder(cache).glyph(face, 37, kPlain);
    }
    const std::vector<std::uint32_t> after = ages();
    EXPECT_GE(after[0], before[0] + 5);
    EXPECT_LE(after[0], before[0] + 7);
    EXPECT_LE(after[1], 1u) << "the one that is found stays young";
}

TEST(ZkGlyphCache, WhatIsHeldStaysWhateverTheBudget)
{
    const ZkTypeface face = dejavu();
    const BareFont bare(ZK_FONT_DEJAVU);
    ZkGlyphCache cache(32 << 10);
    ZkGlyphHolder holder(cache);
    std::map<std::uint32_t, const ZkGlyph *> held;
    for (std::uint32_t glyph = 36; glyph < 136; ++glyph) {
        held[glyph] = holder.glyph(face, glyph, sized(30));
        fill(&cache, face, sized(14), glyph * 3, glyph * 3 + 4);
    }
    const ZkGlyphCache::Stats stats = cache.stats();
    EXPECT_EQ(stats.heldGlyphs, 100);
    EXPECT_GT(stats.heldBytes, 32u << 10);
    EXPECT_EQ(stats.overBytes, stats.bytes - stats.budget);
    EXPECT_LT(stats.bytes, stats.heldBytes + stats.budget);
    for (const auto &[glyph, record] : held) {
        EXPECT_EQ(holder.glyph(face, glyph, sized(30)), record);
        expectRecord(record->bitmap, bare.renderGlyph(glyph, sized(30)), 0, sized(30));
    }
    holder.clear();
    EXPECT_EQ(cache.stats().overBytes, 0u) << "as soon as it is let go";
    EXPECT_LE(cache.stats().bytes, 32u << 10);
    EXPECT_EQ(holder.size(), 0);
}

// Held glyphs among others that come and go: everything moves around them.
TEST(ZkGlyphCache, GlyphsThatMoveKeepTheirPixels)
{
    const ZkTypeface face = dejavu();
    const BareFont bare(ZK_FONT_DEJAVU);
    ZkGlyphCache cache(48 << 10);
    std::minstd_rand random(11);
    std::vector<std::unique_ptr<ZkGlyphHolder>> holders;
    for (int i = 0; i < 6; ++i) {
        holders.push_back(std::make_unique<ZkGlyphHolder>(cache));
    }
    for (int i = 0; i < 3000; ++i) {
        ZkGlyphHolder &holder = *holders[random() % holders.size()];
        if (random() % 8 == 0) {
            holder.clear();
        }
        const auto glyph = static_cast<std::uint32_t>(36 + random() % 300);
        const ZkFont font = sized(static_cast<int>(9 + random() % 20));
        const ZkGlyph *const got = holder.glyph(face, glyph, font);
        expectRecord(got->bitmap, bare.renderGlyph(glyph, font), 0, font);
        if (i % 100 == 0) {
            cache.walk(
                [](const ZkGlyph &record, bool, std::uint32_t, void *context) {
                    const ZkFont its(record.bitmap.font);
                    expectRecord(
                        record.bitmap,
                        static_cast<const BareFont *>(context)->renderGlyph(record.index(), its), 0,
                        its);
                },
                const_cast<BareFont *>(&bare));
        }
        ASSERT_FALSE(HasFailure()) << i;
    }
    EXPECT_GT(cache.stats().trims, 10u);
}

TEST(ZkGlyphCache, ASmallerBudgetHoldsAtOnce)
{
    const ZkTypeface face = dejavu();
    ZkGlyphCache cache(0);
    EXPECT_EQ(cache.budget(), 0u);
    fill(&cache, face, sized(32), 3, 1000);
    EXPECT_EQ(cache.stats().evictions, 0u);
    EXPECT_GT(cache.stats().bytes, 400u << 10);
    for (const std::size_t budget : {256u << 10, 100u << 10, 16u << 10}) {
        cache.setBudget(budget);
        EXPECT_EQ(cache.budget(), budget);
        EXPECT_LE(cache.stats().bytes, budget);
        EXPECT_GT(cache.stats().glyphs, 0);
    }
    cache.setBudget(1);
    EXPECT_EQ(cache.budget(), static_cast<std::size_t>(ZkGlyphCache::LeastBudget));
    EXPECT_LE(cache.stats().bytes, static_cast<std::size_t>(ZkGlyphCache::LeastBudget));
    cache.setBudget(200 << 10);
    fill(&cache, face, sized(32), 3, 1000);
    EXPECT_LE(cache.stats().bytes, 200u << 10);
    EXPECT_GT(cache.stats().bytes, 150u << 10);
}

TEST(ZkGlyphCache, LargeGlyphsHaveBlocksOfTheirOwnInTheSameBudget)
{
    const ZkTypeface face = dejavu();
    const BareFont bare(ZK_FONT_DEJAVU);
    ZkGlyphCache cache(256 << 10);
    for (std::uint32_t glyph = 36; glyph < 96; ++glyph) {
        ZkGlyphHolder holder(cache);
        const ZkGlyph *const large = holder.glyph(face, glyph, sized(255));
        holder.glyph(face, glyph, sized(12));
        expectRecord(large->bitmap, bare.renderGlyph(glyph, sized(255)), 0, sized(255));
        ASSERT_LE(cache.stats().bytes, 256u << 10);
    }
    EXPECT_GT(cache.stats().evictions, 20u);
}

TEST(ZkGlyphCache, ClearDropsWhatNobodyHolds)
{
    const ZkTypeface face = dejavu();
    ZkGlyphCache cache;
    const std::size_t empty = cache.stats().bytes;
    EXPECT_EQ(cache.stats().peakBytes, empty);
    ZkGlyphHolder holder(cache);
    const ZkGlyph *const kept = holder.glyph(face, 40, kPlain);
    fill(&cache, face, kPlain, 50, 300);
    fill(&cache, face, kPlain, 1000, 3999);
    cache.resetStats();
    cache.clear();
    EXPECT_GT(cache.stats().longestLockMicroseconds, 0u) << "it walked over thousands of glyphs";
    EXPECT_LT(cache.stats().longestLockMicroseconds, 60u * 1000 * 1000);
    EXPECT_EQ(cache.stats().glyphs, 1);
    EXPECT_EQ(ZkGlyphHolder(cache).glyph(face, 40, kPlain), kept);
    holder.clear();
    cache.clear();
    EXPECT_EQ(cache.stats().glyphs, 0);
    EXPECT_EQ(cache.stats().bytes, empty);
}

TEST(ZkGlyphCache, WhatASpaceLeavesBeforeAGlyphInUseIsClosed)
{
    const ZkTypeface face = dejavu();
    const std::uint32_t space = face.glyphIndex(' ');
    ZkGlyphCache cache;
    ZkGlyphHolder holder(cache);
    fill(&cache, face, kPlain, space, space);
    const ZkGlyph *const one = holder.glyph(face, 40, kPlain);
    fill(&cache, face, sized(17), space, space);
    const ZkGlyph *const other = holder.glyph(face, 41, kPlain);
    const std::size_t pixelBytes = cache.stats().pixelBytes; // a space has none
    cache.clear();
    EXPECT_EQ(cache.stats().glyphs, 2);
    EXPECT_EQ(cache.stats().pixelBytes, pixelBytes);
    expectSums(cache.stats());
    EXPECT_EQ(ZkGlyphHolder(cache).glyph(face, 40, kPlain), one);
    EXPECT_EQ(ZkGlyphHolder(cache).glyph(face, 41, kPlain), other);
}

TEST(ZkGlyphCache, ATableThatGrowsStandsBesideTheOldOneForAMoment)
{
    const ZkTypeface face = dejavu();
    ZkGlyphCache cache;
    int grew = 0;
    for (std::uint32_t glyph = 3; glyph < 3000; ++glyph) {
        const ZkGlyphCache::Stats before = cache.stats();
        fill(&cache, face, sized(8), glyph, glyph);
        const ZkGlyphCache::Stats after = cache.stats();
        if (after.tableBytes > before.tableBytes) {
            ++grew;
            const std::size_t old = after.tableBytes - before.tableBytes; // it doubles
            EXPECT_GE(after.peakBytes, before.bytes + 2 * old);
        }
    }
    EXPECT_GT(grew, 2);
}

TEST(ZkGlyphCache, AGlyphOfNoSizeIsOnePixelAlsoWhenItIsTheFirst)
{
    ZkGlyphCache cache;
    ZkGlyphHolder holder(cache);
    const ZkTypeface face = dejavu();
    const std::uint32_t glyph = face.glyphIndex('W');
    const GlyphBitmap none = holder.glyph(face, glyph, sized(0))->bitmap;
    const GlyphBitmap one = holder.glyph(dejavu(), glyph, sized(1))->bitmap;
    EXPECT_GT(one.advance, 0);
    EXPECT_EQ(none.advance, one.advance);
    EXPECT_EQ(none.width, one.width);
    EXPECT_EQ(pixelsOf(none), pixelsOf(one));
}

TEST(ZkGlyphCache, ClosingATypefaceDropsItsGlyphs)
{
    ZkTypeface face = dejavu();
    const ZkTypeface other = dejavu();
    ZkGlyphCache cache;
    ZkGlyphHolder holder(cache);
    const ZkGlyph *const held = holder.glyph(face, 40, kPlain);
    const std::vector<unsigned char> pixels = pixelsOf(held->bitmap);
    fill(&cache, face, kPlain, 50, 99);
    fill(&cache, other, kPlain, 50, 59);
    {
        const ZkTypeface copy = face;
        face = ZkTypeface();
        EXPECT_EQ(cache.stats().glyphs, 61);
    }
    EXPECT_EQ(cache.stats().glyphs, 11);
    EXPECT_EQ(pixelsOf(held->bitmap), pixels) << "what is held stays good";
    holder.clear();
    cache.setBudget(12 << 10);
    fill(&cache, other, sized(20), 60, 99);
    EXPECT_EQ(keysOf(cache).count(held == nullptr ? 0 : ZkGlyphCache::key(face, 40, kPlain)), 0u);
}

TEST(ZkGlyphCache, ClosingATypefaceLeavesItsRoomToOthers)
{
    ZkTypeface face = dejavu();
    const ZkTypeface other = dejavu();
    ZkGlyphCache cache(128 << 10);
    fill(&cache, other, kPlain, 50, 59);
    fill(&cache, face, kPlain, 60, 400);
    const std::size_t bytes = cache.stats().bytes;
    EXPECT_GT(bytes, 50u << 10);
    face = ZkTypeface();
    EXPECT_EQ(cache.stats().glyphs, 10);
    EXPECT_EQ(cache.stats().bytes, bytes);
    fill(&cache, other, kPlain, 60, 400);
    EXPECT_EQ(cache.stats().bytes, bytes) << "the same slabs again";
}

TEST(ZkGlyphCache, AHolderOutlivesItsCache)
{
    const ZkTypeface face = dejavu();
    ZkGlyphHolder *holder = nullptr;
    const ZkGlyph *glyph = nullptr;
    {
        ZkGlyphCache cache;
        holder = new ZkGlyphHolder(cache);
        glyph = holder->glyph(face, 40, kPlain);
    }
    EXPECT_GT(glyph->bitmap.width, 0);
    expectRecord(glyph->bitmap, BareFont(ZK_FONT_DEJAVU).renderGlyph(40, kPlain), 0, kPlain);
    holder->clear();
    EXPECT_GT(holder->glyph(face, 41, kPlain)->bitmap.width, 0);
    delete holder;
}

TEST(ZkGlyphCache, CountsMissesEvictionsAndRefills)
{
    const ZkTypeface face = dejavu();
    ZkGlyphCache cache(16 << 10);
    fill(&cache, face, kPlain, 36, 36 + 149);
    const ZkGlyphCache::Stats before = cache.stats();
    EXPECT_EQ(before.misses, 150u);
    EXPECT_GT(before.evictions, 0u);
    EXPECT_EQ(before.refills, 0u);
    EXPECT_EQ(before.glyphs, static_cast<int>(150 - before.evictions));
    ZkGlyphHolder(cache).glyph(face, 36, kPlain);
    EXPECT_EQ(cache.stats().refills, 1u) << "the first went first, and comes again";
    EXPECT_GE(cache.stats().clock, 151u);
    cache.resetStats();
    const ZkGlyphCache::Stats after = cache.stats();
    EXPECT_EQ(after.misses + after.hits + after.evictions + after.refills + after.trims, 0u);
    EXPECT_EQ(after.peakBytes, after.bytes);
    EXPECT_GT(after.glyphs, 0);
}

TEST(ZkGlyphCache, AFullCacheTakesNothingFromTheSystem)
{
    const ZkTypeface face = dejavu();
    ZkGlyphCache cache(128 << 10);
    fill(&cache, face, kPlain, 3, 1500);
    const std::size_t bytes = cache.stats().bytes;
    EXPECT_GT(bytes, 100u << 10);
    fill(&cache, face, kPlain, 1501, 3000);
    EXPECT_EQ(cache.stats().bytes, bytes) << "the same slabs and the same table";
}

TEST(ZkGlyphCache, PrewarmGoesOnWhereItStopped)
{
    ZkFontChain chain(dejavu());
    chain.append(ZkTypeface::fromFile(ZK_FONT_MICROHEI));
    ZkGlyphCache cache;
    const ZkString text("Latin \xE4\xB8\xAD\xE6\x96\x87 and again Latin\n");
    int at = 0, slices = 0;
    while (at < text.size()) {
        const std::uint64_t before = cache.stats().misses;
        at = cache.prewarm(chain, kPlain, text, at, 3);
        EXPECT_LE(cache.stats().misses - before, 3u);
        ASSERT_LT(++slices, 20);
    }
    std::set<int> characters;
    for (int i = 0; i + 1 < text.size(); ++i) {
        characters.insert(text.at(i));
    }
    EXPECT_EQ(cache.stats().misses, characters.size());
    EXPECT_EQ(slices, static_cast<int>((characters.size() + 2) / 3));
    EXPECT_EQ(cache.prewarm(chain, kPlain, text, 0, 0), text.size()) << "nothing is missing";
    EXPECT_EQ(cache.stats().heldGlyphs, 0);
    ZkGlyphHolder holder(cache);
    holder.glyph(chain.at(1), chain.at(1).glyphIndex(0x4E2D), kPlain);
    EXPECT_EQ(cache.stats().misses, characters.size());
    EXPECT_EQ(cache.prewarm(ZkFontChain(), kPlain, text), text.size());
    EXPECT_EQ(cache.prewarm(chain, kPlain, text, -5), text.size());
    EXPECT_EQ(cache.prewarm(chain, kPlain, text, 1000), text.size());
}

TEST(ZkGlyphCache, SharedIsOne)
{
    EXPECT_EQ(&ZkGlyphCache::shared(), &ZkGlyphCache::shared());
    EXPECT_EQ(ZkGlyphCache::shared().budget(),
              static_cast<std::size_t>(ZkGlyphCache::DefaultBudget));
    const ZkTypeface face = dejavu();
    ZkGlyphHolder holder;
    const ZkGlyph *const glyph = holder.glyph(face, 40, kPlain);
    EXPECT_EQ(ZkGlyphHolder(ZkGlyphCache::shared()).glyph(face, 40, kPlain), glyph);
}

TEST(ZkGlyphCache, PrewarmTakesPairsAsOneCharacter)
{
    const ZkFontChain chain(dejavu());
    const ZkTypeface face = chain.at(0);
    const ZkUcs2 units[] = {0xD83C, 0xDCCF, 'a', 0xD83C, 'b', 0xDCCF}; // a card, lone halves
    ZkGlyphCache cache;
    EXPECT_EQ(cache.prewarm(chain, kPlain, ZkString(units, 6)), 6);
    ASSERT_NE(face.glyphIndex(0x1F0CF), 0u);
    const std::set<std::uint64_t> expected = {
        ZkGlyphCache::key(face, face.glyphIndex(0x1F0CF), kPlain),
        ZkGlyphCache::key(face, face.glyphIndex('a'), kPlain),
        ZkGlyphCache::key(face, face.glyphIndex('b'), kPlain), ZkGlyphCache::key(face, 0, kPlain)};
    EXPECT_EQ(keysOf(cache), expected);
    // The next slice goes on behind the whole pair.
    ZkGlyphCache other;
    EXPECT_EQ(other.prewarm(chain, kPlain, ZkString(units, 6), 0, 1), 2);
}

TEST(ZkGlyphCache, PrewarmHoldsFewGlyphsAtATime)
{
    const ZkFontChain chain(dejavu());
    ZkString text;
    for (ZkUcs2 c = 0x21; c < 0x7F; ++c) {
        text.append(c);
    }
    ZkGlyphCache cache(32 << 10);
    EXPECT_EQ(cache.prewarm(chain, sized(30), text), text.size());
    EXPECT_LE(cache.stats().peakBytes, cache.stats().budget) << "earlier ones went again";
    EXPECT_EQ(cache.stats().misses, 94u);
    EXPECT_EQ(cache.stats().heldGlyphs, 0);
}

TEST(ZkGlyphCache, CachesGoInAnyOrder)
{
    const ZkTypeface face = dejavu();
    for (int first = 0; first < 3; ++first) {
        std::unique_ptr<ZkGlyphCache> caches[3];
        for (auto &cache : caches) {
            cache = std::make_unique<ZkGlyphCache>();
            fill(cache.get(), face, kPlain, 40, 49);
        }
        caches[first].reset();
        {
            const ZkTypeface other = dejavu();
            for (const auto &cache : caches) {
                if (cache != nullptr) {
                    fill(cache.get(), other, kPlain, 40, 44);
                    EXPECT_EQ(cache->stats().glyphs, 15);
                }
            }
        }
        for (const auto &cache : caches) { // which closing the typeface finds all
            if (cache != nullptr) {
                EXPECT_EQ(cache->stats().glyphs, 10);
            }
        }
    }
}

namespace
{

// A font of one strike, one glyph of `side` pixels each way: all of it black.
std::string bigStrike(int side)
{
    constexpr int kHeader = 148;
    std::string font;
    const auto put = [&font](int value, int bytes) {
        for (int i = 0; i < bytes; ++i) {
            font.push_back(static_cast<char>(value >> 8 * i));
        }
    };
    const int bits = kHeader + 6, pitch = (side + 7) / 8, name = bits + pitch * side;
    put(0x300, 2); // the version of Windows fonts
    put(name + 4, 4);
    font.append(60, ' ');                               // copyright
    for (const int value : {0, 12, 75, 75, 12, 0, 0}) { // type, points, resolution, ascent
        put(value, 2);
    }
    put(0, 3);
    put(400, 2);
    put(0, 1);
    put(side, 2);
    put(side, 2);
    put(0, 1);
    put(side, 2);
    put(side, 2);
    put(0x40400000 + 'A' * 0x101, 4); // first and last character
    put(0, 2);
    for (const int value : {0, name, 0, bits}) {
        put(value, 4);
    }
    font.append(static_cast<std::size_t>(kHeader) - font.size(), 0);
    put(side, 2);
    put(bits, 4);
    font.append(static_cast<std::size_t>(name - bits), static_cast<char>(0xFF));
    return font + "Big" + std::string(1, 0);
}

} // namespace

// A strike has the size that the font gives it: one of 4 million pixels is not drawn.
TEST(ZkGlyphCache, AStrikeThatIsFarTooLargeIsEmptyButAdvances)
{
    for (const int side : {1024, 2048}) { // a million pixels, and four
        const std::string bytes = bigStrike(side);
        const ZkTypeface face = ZkTypeface::fromMemory(bytes.data(), bytes.size());
        ASSERT_TRUE(face.isValid()) << face.errorText();
        ZkGlyphCache cache(0);
        ZkGlyphHolder holder(cache);
        const ZkGlyph *const glyph = holder.glyph(face, 1, kPlain);
        const bool isTooLarge = side == 2048;
        EXPECT_EQ(glyph->isFailed(), isTooLarge);
        EXPECT_EQ(glyph->bitmap.width, isTooLarge ? 0 : side);
        EXPECT_EQ(glyph->bitmap.height, isTooLarge ? 0 : side);
        EXPECT_EQ(glyph->bitmap.advance, side);
        EXPECT_EQ(cache.stats().failures, isTooLarge ? 1u : 0u);
        EXPECT_EQ(holder.glyph(face, 1, kPlain), glyph) << "not tried again";
    }
}
