#include "private/zkglyphlease.h"

#include "zkfontcache.h"
#include "zkfreetype.h"

#include "mallochook.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

namespace
{

typedef std::vector<const GlyphBitmap *> Glyphs;

// A cache with a font, gone after the test.
class FontOpen
{
public:
    explicit FontOpen(const char *path = ZK_FONT_DEJAVU)
    {
        ZkFontCache::instance()->setFontFile(path);
    }
    ~FontOpen()
    {
        delete ZkFontCache::instance();
        delete ZkFontCache::m_pFtEngine;
        ZkFontCache::m_pFtEngine = nullptr;
    }
    FontOpen(const FontOpen &) = delete;
    FontOpen &operator=(const FontOpen &) = delete;
};

Glyphs fetch(ZkGlyphLease &lease, const std::vector<ZkUcs2> &text, const ZkFont &font = ZkFont())
{
    Glyphs out(text.size() + 1);
    lease.fetch(text.data(), static_cast<int>(text.size()), font, out.data());
    EXPECT_EQ(out.back(), nullptr) << "written behind the last character";
    out.pop_back();
    return out;
}

std::vector<ZkUcs2> textOf(const std::u16string &text)
{
    return std::vector<ZkUcs2>(text.begin(), text.end());
}

// A character's record without counting a use.
const GlyphBitmap *peek(unsigned code, const ZkFont &font = ZkFont())
{
    return ZkFontCache::instance()->fontTable(static_cast<ZkUcs2>(code), font);
}

std::vector<ZkUcs2> randomText(std::mt19937 &random, int length, unsigned base, unsigned spread)
{
    std::vector<ZkUcs2> text;
    for (int i = 0; i < length; ++i) {
        text.push_back(static_cast<ZkUcs2>(base + random() % spread));
    }
    return text;
}

// How many of the characters that the lease holds stand for `glyph`.
unsigned usesOf(const ZkGlyphLease &lease, const GlyphBitmap *glyph)
{
    unsigned uses = 0;
    for (const ZkGlyphLease::Use &use : lease) {
        uses += use.glyph == glyph ? use.count : 0;
    }
    return uses;
}

} // namespace

TEST(ZkGlyphLease, CountsEachCharacterOnceAndGivesAllBack)
{
    const FontOpen open;
    {
        ZkGlyphLease lease;
        const Glyphs out = fetch(lease, textOf(u"hello"));
        EXPECT_EQ(out[0], peek('h'));
        EXPECT_EQ(out[2], peek('l'));
        EXPECT_EQ(out[3], out[2]);
        EXPECT_EQ(peek('h')->useCount, 1u);
        EXPECT_EQ(peek('l')->useCount, 2u);
        EXPECT_EQ(usesOf(lease, peek('h')), 1u);
        EXPECT_EQ(usesOf(lease, peek('l')), 2u);
    }
    for (const char c : {'h', 'e', 'l', 'o'}) {
        EXPECT_EQ(peek(static_cast<unsigned char>(c))->useCount, 0u);
    }
}

TEST(ZkGlyphLease, NothingForNoCharacters)
{
    const FontOpen open;
    ZkGlyphLease lease;
    lease.fetch(nullptr, 0, ZkFont(), nullptr);
    lease.fetch(nullptr, -1, ZkFont(), nullptr);
    EXPECT_EQ(lease.size(), 0);
}

// The same texts through `glyph`, one character after the other, in a cache of their own.
TEST(ZkGlyphLease, EqualsOneGlyphAfterAnother)
{
    const struct {
        const char *what;
        unsigned base, spread;
    } kScripts[] = {
        {"few letters", 'a', 5},
        {"Latin", 0x20, 0x60},
        {"two pages", 0xE0, 0x40},
        {"Arabic", 0x621, 0x2A},
        {"slots meet", 0, 0x400},
        {"ideographs", 0x4E00, 0x5200},
        {"the last characters", 0xFFF0, 16},
    };
    const int kLengths[] = {1, 2, 12, 16, 17, 31, 32, 33, 64, 300};
    const ZkFont font(6, false, false, false, false);
    std::mt19937 random(20261);
    for (const auto &script : kScripts) {
        SCOPED_TRACE(script.what);
        for (const int length : kLengths) {
            SCOPED_TRACE(length);
            const std::vector<ZkUcs2> text = randomText(random, length, script.base, script.spread);
            std::map<unsigned, unsigned> counts;
            std::vector<GlyphBitmap> plain;
            int plainBytes = 0;
            {
                const FontOpen open;
                for (const ZkUcs2 code : text) {
                    const GlyphBitmap *glyph = ZkFontCache::glyph(code, font);
                    counts[code] = glyph->useCount;
                    plain.push_back(*glyph);
                }
                plainBytes = ZkFontCache::instance()->pixelBytes();
            }
            const FontOpen open;
            ZkGlyphLease lease;
            for (const unsigned round : {1u, 2u}) { // rendered, then found
                const Glyphs out = fetch(lease, text, font);
                for (std::size_t i = 0; i < text.size(); ++i) {
                    ASSERT_EQ(out[i], peek(text[i], font));
                    ASSERT_EQ(out[i]->unicode, text[i]);
                    ASSERT_EQ(out[i]->useCount, round * counts[text[i]]);
                    ASSERT_EQ(out[i]->width, plain[i].width);
                    ASSERT_EQ(out[i]->top, plain[i].top);
                    ASSERT_EQ(out[i]->advance, plain[i].advance);
                    ASSERT_NE(out[i]->pixels, nullptr);
                }
                EXPECT_EQ(ZkFontCache::instance()->pixelBytes(), plainBytes);
                for (const GlyphBitmap *glyph : out) {
                    ASSERT_EQ(usesOf(lease, glyph), round * counts[glyph->unicode]);
                }
                if (length > ZkGlyphLease::InlineUses) {
                    EXPECT_EQ(lease.size(), static_cast<int>(round * counts.size()));
                }
            }
            lease.giveBack();
            for (const auto &count : counts) {
                ASSERT_EQ(peek(count.first, font)->useCount, 0u);
            }
        }
    }
}

TEST(ZkGlyphLease, RecordsAreStoredInTheOrderOfFirstAppearance)
{
    const FontOpen open;
    ZkGlyphLease lease;
    const Glyphs out = fetch(lease, textOf(u"zyzaxyb"));
    // Blocks of 2 and 4 records: z y | a x b.
    EXPECT_EQ(out[1], out[0] + 1);
    EXPECT_EQ(out[4], out[3] + 1);
    EXPECT_EQ(out[6], out[3] + 2);
}

TEST(ZkGlyphLease, KeepsPixelsThroughATrimAndRefillsThemAfterwards)
{
    const FontOpen open;
    ZkFontCache *cache = ZkFontCache::instance();
    ZkGlyphLease lease;
    const Glyphs before = fetch(lease, textOf(u"abcabc"));
    cache->cleanCache(true);
    EXPECT_NE(before[0]->pixels, nullptr);
    lease.giveBack();
    cache->cleanCache(true);
    EXPECT_EQ(before[0]->pixels, nullptr);
    EXPECT_EQ(cache->pixelBytes(), 0);
    const Glyphs after = fetch(lease, textOf(u"abcabc"));
    EXPECT_EQ(after, before);
    EXPECT_NE(after[0]->pixels, nullptr);
    EXPECT_EQ(after[0]->useCount, 2u);
}

TEST(ZkGlyphLease, ForgetsTheGlyphsOfAFontThatWasReplaced)
{
    const FontOpen open;
    ZkGlyphLease kept, refilled;
    fetch(kept, textOf(u"abc"));
    fetch(refilled, textOf(u"abc"));
    ZkFontCache::instance()->setFontFile(ZK_FONT_FREESERIF);
    fetch(refilled, textOf(u"ax"));
    EXPECT_EQ(refilled.size(), 2);
    kept.giveBack();
    EXPECT_EQ(kept.size(), 0);
    EXPECT_EQ(peek('a')->useCount, 1u);
    refilled.giveBack();
    EXPECT_EQ(peek('a')->useCount, 0u);
    ZkFontCache::instance()->closeFontFile();
}

TEST(ZkGlyphLease, MayOutliveTheCache)
{
    ZkGlyphLease lease;
    {
        const FontOpen open;
        fetch(lease, textOf(u"abc"));
    }
    lease.giveBack();
    EXPECT_EQ(lease.size(), 0);
}

// Every character there is, twice and more: beyond the length of one piece.
TEST(ZkGlyphLease, TakesTextsOfAnyLength)
{
    const FontOpen open;
    const ZkFont font(1, false, false, false, false);
    std::vector<ZkUcs2> text(140000);
    for (std::size_t i = 0; i < text.size(); ++i) {
        text[i] = static_cast<ZkUcs2>(i % 997 + 0x2000);
    }
    ZkGlyphLease lease;
    const Glyphs out = fetch(lease, text, font);
    for (std::size_t i = 0; i < text.size(); ++i) {
        ASSERT_EQ(out[i], peek(text[i], font));
    }
    EXPECT_EQ(peek(0x2000, font)->useCount, 140000u / 997 + 1);
    lease.giveBack();
    EXPECT_EQ(peek(0x2000, font)->useCount, 0u);
}

TEST(ZkGlyphLease, AShortTextThatIsThereTakesNoMemory)
{
    const FontOpen open;
    const std::vector<ZkUcs2> text = textOf(u"A short label");
    std::vector<const GlyphBitmap *> out(text.size());
    ZkGlyphLease first;
    first.fetch(text.data(), static_cast<int>(text.size()), ZkFont(), out.data());
    const int before = mallochook::allocations;
    {
        ZkGlyphLease second;
        second.fetch(text.data(), static_cast<int>(text.size()), ZkFont(), out.data());
    }
    EXPECT_EQ(mallochook::allocations, before);
}

// Every occurrence tries again, as calls one by one would.
TEST(ZkGlyphLease, WithoutMemoryForPixelsEachCharacterTriesAgain)
{
    if (!mallochook::kCanRefuse) {
        GTEST_SKIP() << "the sanitizer's malloc cannot be made to fail";
    }
    const FontOpen open;
    const ZkFont font(40, false, false, true, false);
    const GlyphBitmap *probe = ZkFontCache::glyph('A', font);
    const std::size_t bytes = std::size_t(probe->width) * probe->height;
    ZkFontCache::instance()->setFontFile(ZK_FONT_DEJAVU);
    mallochook::refused = bytes;
    testing::internal::CaptureStdout();
    ZkGlyphLease lease;
    const Glyphs out = fetch(lease, textOf(u"AAA"), font);
    mallochook::refused = 0;
    std::string expected;
    for (int i = 0; i < 3; ++i) {
        expected += "malloc fontMetrics memory failed !!!\n";
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
    EXPECT_EQ(out[2]->pixels, nullptr);
    EXPECT_EQ(out[2]->useCount, 3u);
    EXPECT_EQ(ZkFontCache::instance()->pixelBytes(), 0); // only what is stored counts
}
