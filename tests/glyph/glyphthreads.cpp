// Several threads, two chains and one cache that evicts all the time: every glyph must
// have the pixels of a reference, whoever rendered it.

#include "zkglyphcache.h"

#include "bareglyph.h"
#include "rounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace
{

constexpr int kThreads = 8;
constexpr std::uint32_t kFirst = 36, kGlyphs = 150;
constexpr unsigned char kSizes[] = {12, 17, 26};

ZkFont styled(unsigned size, unsigned style)
{
    return ZkFont(kSizes[size % 3], (style & 1) != 0, (style & 2) != 0, (style & 4) != 0, false);
}

// What each glyph looks like, made before the threads start.
class Reference
{
public:
    explicit Reference(const char *path)
    {
        const BareFont bare(path);
        for (std::uint32_t glyph = kFirst; glyph < kFirst + kGlyphs; ++glyph) {
            for (unsigned size = 0; size < 3; ++size) {
                for (const unsigned style : {0u, 7u}) {
                    m_pixels[std::make_pair(glyph, size * 8 + style)] =
                        bare.renderGlyph(glyph, styled(size, style)).pixels;
                }
            }
        }
    }

    bool matches(const GlyphBitmap &record, std::uint32_t glyph, unsigned size,
                 unsigned style) const
    {
        const std::vector<unsigned char> &pixels =
            m_pixels.at(std::make_pair(glyph, size * 8 + style));
        return pixels.size() == static_cast<std::size_t>(record.width) * record.height &&
               std::equal(pixels.begin(), pixels.end(), record.pixels);
    }

private:
    std::map<std::pair<std::uint32_t, unsigned>, std::vector<unsigned char>> m_pixels;
};

template <typename Work>
void inThreads(Work work)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back(work, i);
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

} // namespace

TEST(GlyphThreads, EveryGlyphIsRightWhileAllIsEvicted)
{
    const Reference references[] = {Reference(ZK_FONT_DEJAVU), Reference(ZK_FONT_FREESERIF)};
    const ZkFontChain chains[] = {ZkFontChain(ZkTypeface::fromFile(ZK_FONT_DEJAVU)),
                                  ZkFontChain(ZkTypeface::fromFile(ZK_FONT_FREESERIF))};
    ZkGlyphCache cache(96 << 10);
    std::atomic<int> wrong{0};
    const int texts = scaledRounds(3000);
    inThreads([&](int number) {
        std::minstd_rand random(static_cast<unsigned>(number) + 1);
        ZkGlyphHolder kept(cache); // as a label that stays on the screen
        for (int text = 0; text < texts; ++text) {
            ZkGlyphHolder holder(cache);
            const auto which = static_cast<unsigned>(random() % 2);
            const ZkFontList faces = chains[which].faces();
            const auto size = static_cast<unsigned>(random() % 3);
            const auto style = static_cast<unsigned>(random() % 2 * 7);
            std::uint32_t indices[24];
            const ZkGlyph *glyphs[24];
            for (std::uint32_t &index : indices) {
                index = static_cast<std::uint32_t>(kFirst + random() % kGlyphs);
            }
            ZkGlyphHolder &into = text % 5 == 0 ? kept : holder;
            into.fetch(faces.at(0), styled(size, style), indices, 24, glyphs);
            for (int again = 0; again < 2; ++again) {
                for (int i = 0; i < 24; ++i) {
                    wrong += references[which].matches(glyphs[i]->bitmap, indices[i], size, style)
                                 ? 0
                                 : 1;
                }
                std::this_thread::yield();
            }
            if (text % 20 == 0) {
                kept.clear();
            }
        }
    });
    EXPECT_EQ(wrong, 0);
    const ZkGlyphCache::Stats stats = cache.stats();
    EXPECT_GT(stats.evictions, 100u);
    EXPECT_LE(stats.bytes, stats.budget) << "all is let go";
    EXPECT_EQ(stats.holders, 0);
}

TEST(GlyphThreads, AMissingGlyphIsRenderedOnce)
{
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    ZkGlyphCache cache(0);
    std::atomic<int> ready{0};
    const ZkGlyph *first[kThreads][kGlyphs];
    inThreads([&](int number) {
        ZkGlyphHolder holder(cache);
        ++ready;
        while (ready < kThreads) {
            std::this_thread::yield();
        }
        for (std::uint32_t i = 0; i < kGlyphs; ++i) {
            first[number][i] = holder.glyph(face, kFirst + i, styled(1, 0));
        }
    });
    EXPECT_EQ(cache.stats().misses, kGlyphs);
    for (int number = 1; number < kThreads; ++number) {
        EXPECT_EQ(std::memcmp(first[0], first[number], sizeof first[0]), 0);
    }
}

TEST(GlyphThreads, ChainsChangeAndTypefacesCloseMeanwhile)
{
    ZkFontChain chain(ZkTypeface::fromFile(ZK_FONT_DEJAVU));
    ZkGlyphCache cache(64 << 10);
    std::atomic<int> running{kThreads - 1};
    std::atomic<int> empty{0};
    const int texts = scaledRounds(1500);
    inThreads([&](int number) {
        if (number == 0) {
            while (running > 0) {
                chain.append(ZkTypeface::fromFile(ZK_FONT_FREESERIF));
                chain.insert(0, ZkTypeface::fromFile(ZK_FONT_DEJAVU));
                chain.remove(1);
                chain.remove(1);
                cache.setBudget(cache.budget() == 64u << 10 ? 40u << 10 : 64u << 10);
                cache.stats();
            }
            return;
        }
        std::minstd_rand random(static_cast<unsigned>(number));
        for (int text = 0; text < texts; ++text) {
            const ZkFontList faces = chain.faces(); // open until the holder is gone
            ZkGlyphHolder holder(cache);
            for (int i = 0; i < 10; ++i) {
                const char32_t c = static_cast<char32_t>('!' + random() % 90);
                const int face = faces.findCluster(&c, 1);
                const ZkTypeface &found = faces.at(face);
                const ZkGlyph *const glyph = holder.glyph(found, found.glyphIndex(c), styled(0, 0));
                empty += glyph->bitmap.width == 0 ? 1 : 0;
            }
        }
        --running;
    });
    EXPECT_EQ(empty, 0);
    chain.clear();
    EXPECT_EQ(cache.stats().glyphs, 0) << "of typefaces that are closed";
}

TEST(GlyphThreads, OneTypefaceAnswersAll)
{
    const ZkTypeface face = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    const ZkTypeface alone = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    std::vector<std::uint32_t> indices;
    for (char32_t c = 0; c < 0x3000; ++c) {
        indices.push_back(alone.glyphIndex(c));
    }
    const int kern = alone.kerning(alone.glyphIndex('A'), alone.glyphIndex('V'), 40);
    std::atomic<int> wrong{0};
    inThreads([&](int number) {
        for (char32_t i = 0; i < 0x3000; ++i) {
            const char32_t c = number % 2 == 0 ? i : 0x2FFF - i;
            wrong += face.glyphIndex(c) == indices[c] ? 0 : 1;
        }
        wrong += face.kerning(face.glyphIndex('A'), face.glyphIndex('V'), 40) == kern ? 0 : 1;
        wrong += face.metrics(20).ascent == alone.metrics(20).ascent ? 0 : 1;
        wrong += face.digest() == alone.digest() ? 0 : 1;
        const ZkTypeface copy = face;
    });
    EXPECT_EQ(wrong, 0);
}
