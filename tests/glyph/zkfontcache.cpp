#include "zkfontcache.h"

#include "private/zkglyphlease.h"
#include "zkfreetype.h"

#include "bareglyph.h"
#include "mallochook.h"
#include "tinyfont.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <dlfcn.h>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

struct ZkInspector {
    static const ZkVector<ZkFonteUnitCache::BlockUnit> &blocks(const ZkFonteUnitCache &store)
    {
        return store.m_memory->blocks;
    }
};

namespace
{

// So many threads wait for each other before the next write lock is taken; 0: none.
std::atomic<int> writersToMeet{0};

} // namespace

extern "C" int pthread_rwlock_wrlock(pthread_rwlock_t *lock)
{
    if (writersToMeet > 0) {
        --writersToMeet;
        while (writersToMeet > 0) {
            std::this_thread::yield();
        }
    }
    typedef int Lock(pthread_rwlock_t *);
    static Lock *const next = reinterpret_cast<Lock *>(dlsym(RTLD_NEXT, "pthread_rwlock_wrlock"));
    return next(lock);
}

namespace
{

// A cache with a font, gone after the test.
class FontOpen
{
public:
    explicit FontOpen(const char *path = ZK_FONT_DEJAVU)
    {
        EXPECT_TRUE(ZkFontCache::instance()->setFontFile(path));
    }
    ~FontOpen()
    {
        delete ZkFontCache::instance();
        delete ZkFontCache::m_pFtEngine;
        ZkFontCache::m_pFtEngine = nullptr;
    }
    FontOpen(const FontOpen &) = delete;
    FontOpen &operator=(const FontOpen &) = delete;

    ZkFontCache *operator->() const { return ZkFontCache::instance(); }
};

ZkFont styled(unsigned size, unsigned style)
{
    return ZkFont(static_cast<unsigned char>(size), (style & 1) != 0, (style & 2) != 0,
                  (style & 4) != 0, false);
}

const ZkFont kFont = styled(24, 0);

// All records of the cache, those that lost their key too.
std::vector<const GlyphBitmap *> allRecords()
{
    std::vector<const GlyphBitmap *> records;
    for (const ZkFonteUnitCache::BlockUnit &unit : ZkInspector::blocks(*ZkFontCache::instance())) {
        for (int i = 0; i < unit.count; ++i) {
            records.push_back(unit.records + i);
        }
    }
    return records;
}

// In a child process: what it prints goes to the pipe that death tests read.
void setFontFileWithOutputSeen(const ZkString &path)
{
    dup2(STDERR_FILENO, STDOUT_FILENO);
    ZkFontCache::instance()->setFontFile(path);
}

} // namespace

TEST(ZkFontCache, IsMadeOnFirstUseTogetherWithItsRasteriser)
{
    EXPECT_EQ(ZkFontCache::m_pMyself, nullptr);
    EXPECT_EQ(ZkFontCache::m_pFtEngine, nullptr);
    ZkFontCache *cache = ZkFontCache::instance();
    EXPECT_EQ(cache, ZkFontCache::m_pMyself);
    EXPECT_EQ(cache, ZkFontCache::instance());
    EXPECT_NE(ZkFontCache::m_pFtEngine, nullptr);
    EXPECT_EQ(ZkFreetype::m_pface, nullptr) << "no font is open yet";
    EXPECT_EQ(cache->limit(), -1);
    EXPECT_EQ(sizeof(ZkFontCache), sizeof(ZkFonteUnitCache));
    delete cache;
    delete ZkFontCache::m_pFtEngine;
    ZkFontCache::m_pFtEngine = nullptr;
}

TEST(ZkFontCache, DestructionClosesTheFontAndLeavesTheRasteriser)
{
    ZkFontCache::instance()->setFontFile(ZK_FONT_DEJAVU);
    ZkFreetype *rasteriser = ZkFontCache::m_pFtEngine;
    delete ZkFontCache::instance();
    EXPECT_EQ(ZkFontCache::m_pMyself, nullptr);
    EXPECT_EQ(ZkFreetype::m_pface, nullptr);
    EXPECT_EQ(ZkFreetype::m_plibrary, nullptr);
    EXPECT_EQ(ZkFontCache::m_pFtEngine, rasteriser);
    rasteriser->setTextFontSize(20); // still an object
    ZkFontCache::instance();
    EXPECT_NE(ZkFontCache::m_pFtEngine, rasteriser) << "a new cache makes its own";
    delete rasteriser;
    delete ZkFontCache::instance();
    delete ZkFontCache::m_pFtEngine;
    ZkFontCache::m_pFtEngine = nullptr;
}

TEST(ZkFontCache, ASecondRequestReturnsTheSameRecordWithTwoUses)
{
    const FontOpen cache;
    const GlyphBitmap *first = ZkFontCache::glyph('a', kFont);
    EXPECT_EQ(first->useCount, 1u);
    const std::uint8_t *pixels = first->pixels;
    const GlyphBitmap *second = ZkFontCache::glyph('a', kFont);
    EXPECT_EQ(second, first);
    EXPECT_EQ(second->useCount, 2u);
    EXPECT_EQ(second->pixels, pixels);
    EXPECT_EQ(cache->pixelBytes(), first->width * first->height);
}

// In three fonts: every record, and every record again after a trim.
TEST(ZkFontCache, GlyphsEqualThoseOfBareFreeType)
{
    for (const char *path : {ZK_FONT_DEJAVU, ZK_FONT_FREESERIF, ZK_FONT_MICROHEI}) {
        SCOPED_TRACE(path);
        const FontOpen cache(path);
        const BareFont bare(path);
        for (const bool refilled : {false, true}) {
            SCOPED_TRACE(refilled ? "after a trim" : "rendered first");
            for (unsigned code = 0x20; code < 0x20 + 300; ++code) {
                const ZkFont font = styled(9 + code % 3 * 8, code / 3 % 8);
                SCOPED_TRACE(testing::Message() << "U+" << std::hex << code);
                const auto unit = static_cast<ZkUcs2>(code);
                const GlyphBitmap *glyph = ZkFontCache::glyph(unit, font);
                EXPECT_EQ(glyph->useCount, 1u);
                expectRecord(*glyph, bare.render(code, font), code, font);
                EXPECT_EQ(ZkFontCache::glyph(unit, font), glyph);
                glyph->release(2);
            }
            EXPECT_TRUE(cache->cleanCache(true));
            EXPECT_EQ(cache->pixelBytes(), 0);
        }
        EXPECT_EQ(allRecords().size(), 300u);
    }
}

TEST(ZkFontCache, UnderlineSharesAGlyphThatRemembersWhoAskedFirst)
{
    const FontOpen cache;
    const ZkFont plain(24, false, false, false, false), underlined(24, false, false, false, true);
    EXPECT_FALSE(plain == underlined);
    const GlyphBitmap *first = ZkFontCache::glyph('a', underlined);
    EXPECT_EQ(ZkFontCache::glyph('a', plain), first);
    EXPECT_EQ(first->font.flags, ZkFontAttr::Underline);
    EXPECT_EQ(allRecords().size(), 1u);
}

TEST(ZkFontCache, EachSizeAndStyleHasItsOwnGlyph)
{
    const FontOpen cache;
    for (unsigned style = 0; style < 8; ++style) {
        ZkFontCache::glyph('a', styled(12, style));
        ZkFontCache::glyph('a', styled(13, style));
    }
    EXPECT_EQ(allRecords().size(), 16u);
}

TEST(ZkFontCache, TrimmedGlyphsReturnUnderTheirPointerWithFreshPixels)
{
    const FontOpen cache;
    const GlyphBitmap *kept = ZkFontCache::glyph('k', kFont);
    const GlyphBitmap *dropped = ZkFontCache::glyph('d', kFont);
    const std::vector<unsigned char> pixels = pixelsOf(*dropped);
    const std::uint8_t *keptPixels = kept->pixels;
    dropped->release();
    EXPECT_TRUE(cache->cleanCache(true));
    EXPECT_EQ(dropped->pixels, nullptr);
    EXPECT_EQ(kept->pixels, keptPixels);
    EXPECT_EQ(cache->pixelBytes(), kept->width * kept->height);
    EXPECT_EQ(ZkFontCache::glyph('d', kFont), dropped);
    EXPECT_EQ(pixelsOf(*dropped), pixels);
    EXPECT_EQ(dropped->useCount, 1u);
    EXPECT_EQ(cache->pixelBytes(), kept->width * kept->height + dropped->width * dropped->height);
}

TEST(ZkFontCache, ASpaceIsRenderedOnce)
{
    const FontOpen cache;
    const GlyphBitmap *space = ZkFontCache::glyph(' ', kFont);
    const std::uint8_t *pixels = space->pixels;
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(ZkFontCache::glyph(' ', kFont)->pixels, pixels);
}

TEST(ZkFontCache, CleanCacheTrimsWhenForcedOrWhenTheLimitIsReached)
{
    const FontOpen cache;
    const GlyphBitmap *glyph = ZkFontCache::glyph('a', kFont);
    glyph->release();
    const int bytes = cache->pixelBytes();
    ASSERT_GT(bytes, 0);
    const struct {
        int limit;
        bool force, trims;
    } kRows[] = {{-1, false, false}, {-1, true, true},       {0, false, true},
                 {-5, false, true},  {bytes, false, true},   {bytes + 1, false, false},
                 {1, false, true},   {INT32_MAX, true, true}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(testing::Message() << "limit " << row.limit << ", force " << row.force);
        cache->setLimit(row.limit);
        ZkFontCache::glyph('a', kFont)->release();
        EXPECT_EQ(cache->cleanCache(row.force), row.trims);
        EXPECT_EQ(glyph->pixels == nullptr, row.trims);
        EXPECT_EQ(cache->pixelBytes(), row.trims ? 0 : bytes);
    }
    cache->setLimit(0);
    EXPECT_TRUE(cache->cleanCache(false)) << "limit 0 trims an empty store too";
}

TEST(ZkFontCache, ANewFontDropsAllGlyphsAndKeepsTheLimit)
{
    const FontOpen cache(ZK_FONT_DEJAVU);
    cache->setLimit(4711);
    const unsigned generation = ZkFontCache::generation();
    ZkFontCache::glyph('g', kFont);
    EXPECT_TRUE(cache->setFontFile(ZK_FONT_FREESERIF));
    EXPECT_NE(ZkFontCache::generation(), generation);
    EXPECT_EQ(cache->pixelBytes(), 0);
    EXPECT_EQ(cache->limit(), 4711);
    EXPECT_EQ(allRecords().size(), 0u);
    const GlyphBitmap *glyph = ZkFontCache::glyph('g', kFont);
    expectRecord(*glyph, BareFont(ZK_FONT_FREESERIF).render('g', kFont), 'g', kFont);
    EXPECT_EQ(glyph->useCount, 1u);
}

TEST(ZkFontCache, AnEmptyPathMeansTheFileInTheEnvironment)
{
    setenv("ZK_FONTLIB", ZK_FONT_FREESERIF, 1);
    const FontOpen cache("");
    unsetenv("ZK_FONTLIB");
    const GlyphBitmap *glyph = ZkFontCache::glyph('g', kFont);
    expectRecord(*glyph, BareFont(ZK_FONT_FREESERIF).render('g', kFont), 'g', kFont);
}

TEST(ZkFontCache, AClosedFontLeavesNothingAndGivesEmptyGlyphs)
{
    const FontOpen cache;
    ZkFontCache::glyph('g', kFont);
    cache->closeFontFile();
    EXPECT_EQ(ZkFreetype::m_pface, nullptr);
    EXPECT_EQ(ZkFreetype::m_plibrary, nullptr);
    EXPECT_EQ(cache->pixelBytes(), 0);
    EXPECT_EQ(allRecords().size(), 0u);
    testing::internal::CaptureStdout();
    const GlyphBitmap *glyph = ZkFontCache::glyph('g', kFont);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "FT_Load_Glyph error!\n");
    EXPECT_EQ(glyph->width, 0);
    EXPECT_NE(glyph->pixels, nullptr);
    cache->closeFontFile();
}

TEST(ZkFontCache, UnloadableGlyphsAreStoredAndCountedLikeOthers)
{
    const TemporaryFile file(TinyFont().addBroken('B', 9).bytes());
    const FontOpen cache(file.path());
    const ZkFont outlined = styled(16, 4);
    testing::internal::CaptureStdout();
    const GlyphBitmap *glyph = ZkFontCache::glyph('B', outlined);
    EXPECT_EQ(ZkFontCache::glyph('B', outlined), glyph);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "FT_Load_Glyph error!\n") << "once";
    EXPECT_EQ(glyph->useCount, 2u);
    EXPECT_EQ(pixelsOf(*glyph), std::vector<unsigned char>(4, 0));
    EXPECT_EQ(cache->pixelBytes(), 4);
}

TEST(ZkFontCache, AGlyphThatIsThereTakesNoMemory)
{
    const FontOpen cache;
    ZkFontCache::glyph('a', kFont);
    const int before = mallochook::allocations;
    for (int i = 0; i < 1000; ++i) {
        ZkFontCache::glyph('a', kFont);
    }
    EXPECT_EQ(mallochook::allocations, before);
    ZkFontCache::glyph('b', kFont);
    EXPECT_GT(mallochook::allocations, before) << "the hook watches";
}

TEST(ZkFontCache, WithoutMemoryForPixelsTheGlyphIsTriedAgain)
{
    if (!mallochook::kCanRefuse) {
        GTEST_SKIP() << "the sanitizer's malloc cannot be made to fail";
    }
    const FontOpen cache;
    const ZkFont font = styled(40, 4);
    const BareFont::Glyph bare = BareFont(ZK_FONT_DEJAVU).render('A', font);
    mallochook::refused = bare.pixels.size();
    testing::internal::CaptureStdout();
    const GlyphBitmap *glyph = ZkFontCache::glyph('A', font);
    EXPECT_EQ(glyph->pixels, nullptr);
    EXPECT_EQ(ZkFontCache::glyph('A', font), glyph);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "malloc fontMetrics memory failed !!!\n"
                                                      "malloc fontMetrics memory failed !!!\n");
    mallochook::refused = 0;
    EXPECT_EQ(ZkFontCache::glyph('A', font), glyph);
    EXPECT_EQ(glyph->useCount, 3u);
    expectRecord(*glyph, bare, 'A', font);
    EXPECT_EQ(allRecords().size(), 1u);
}

TEST(ZkFontCacheDeathTest, WithoutAFileNameExitsWithThreeExclamationMarks)
{
    const char kMessage[] = "[GUI-FRAMEWORK]: font not specified, set \"ZK_FONTLIB\" env or call "
                            "ZkApplication::setFontFile() !!!\n";
    unsetenv("ZK_FONTLIB");
    EXPECT_EXIT(setFontFileWithOutputSeen(ZkString()), testing::ExitedWithCode(1),
                testing::StrEq(kMessage));
    setenv("ZK_FONTLIB", "", 1);
    EXPECT_EXIT(setFontFileWithOutputSeen(ZkString()), testing::ExitedWithCode(1),
                testing::StrEq(kMessage));
    unsetenv("ZK_FONTLIB");
}

TEST(ZkFontCacheDeathTest, ExitsForAFileThatIsNoFont)
{
    const TemporaryFile text("This is a text, not a font.\n");
    for (const std::string &path : {std::string("/nonexistent.ttf"), std::string(text.path())}) {
        EXPECT_EXIT(setFontFileWithOutputSeen(path.c_str()), testing::ExitedWithCode(1),
                    testing::StrEq("[GUI-FRAMEWORK]: open font(" + path + ") failed !!!\n"));
    }
    setenv("ZK_FONTLIB", "/tmp", 1);
    EXPECT_EXIT(setFontFileWithOutputSeen(""), testing::ExitedWithCode(1),
                testing::StrEq("[GUI-FRAMEWORK]: open font(/tmp) failed !!!\n"));
    unsetenv("ZK_FONTLIB");
}

// Both threads look the glyph up before either may write.
TEST(ZkFontCache, TwoThreadsThatMissOneGlyphAtOnceBothStoreIt)
{
    const FontOpen cache;
    const GlyphBitmap *glyphs[2] = {};
    writersToMeet = 2;
    std::thread other([&glyphs] { glyphs[1] = ZkFontCache::glyph('a', kFont); });
    glyphs[0] = ZkFontCache::glyph('a', kFont);
    other.join();
    EXPECT_NE(glyphs[0], glyphs[1]);
    ASSERT_EQ(allRecords().size(), 2u);
    EXPECT_EQ(pixelsOf(*glyphs[0]), pixelsOf(*glyphs[1]));
    const int bytes = glyphs[0]->width * glyphs[0]->height;
    EXPECT_EQ(cache->pixelBytes(), 2 * bytes);
    const GlyphBitmap *older = allRecords()[0], *newer = allRecords()[1];
    EXPECT_EQ(ZkFontCache::glyph('a', kFont), newer);
    EXPECT_EQ(newer->useCount, 2u);
    EXPECT_EQ(older->useCount, 1u);
    older->release();
    newer->release(2);
    cache->cleanCache(true);
    EXPECT_EQ(newer->pixels, nullptr);
    EXPECT_NE(older->pixels, nullptr) << "untrimmed";
    EXPECT_EQ(cache->pixelBytes(), bytes);
}

TEST(ZkFontCache, TwoThreadsThatFindOneTrimmedGlyphAtOnceFillItOnce)
{
    const FontOpen cache;
    const GlyphBitmap *glyph = ZkFontCache::glyph('a', kFont);
    const int bytes = cache->pixelBytes();
    glyph->release();
    cache->cleanCache(true);
    writersToMeet = 2;
    const GlyphBitmap *found = nullptr;
    std::thread other([&found] { found = ZkFontCache::glyph('a', kFont); });
    EXPECT_EQ(ZkFontCache::glyph('a', kFont), glyph);
    other.join();
    EXPECT_EQ(found, glyph);
    EXPECT_EQ(glyph->useCount, 2u);
    EXPECT_EQ(cache->pixelBytes(), bytes);
}

namespace
{

// What one thread of the stress test does: takes glyphs that all threads share and
// glyphs of its own, singly or as a text, checks every pixel while it holds them and
// sometimes gives them back or trims.
class Worker
{
public:
    Worker(int id, const std::map<ZkUcs2, std::vector<unsigned char>> &expected)
        : m_id(id), m_random(static_cast<unsigned>(id)), m_expected(expected)
    {
    }

    void operator()()
    {
        for (int round = 0; round < 60; ++round) {
            if (m_random() % 2 == 0) {
                takeSingly();
            } else {
                takeText();
            }
            if (m_random() % 3 == 0) {
                ZkFontCache::instance()->cleanCache(m_random() % 2 == 0);
            }
            check();
            if (m_random() % 3 == 0) {
                giveBack();
            }
        }
        giveBack();
        takeSingly(); // what the counts are checked with
    }

    int wrong() const { return m_wrong; }
    const std::vector<const GlyphBitmap *> &held() const { return m_held; }

private:
    ZkUcs2 anyCode()
    {
        const unsigned own = 0x100u + static_cast<unsigned>(m_id) * 8;
        return static_cast<ZkUcs2>(m_random() % 4 == 0 ? own + m_random() % 8
                                                       : 'A' + m_random() % 40);
    }

    void takeSingly()
    {
        for (int i = 0; i < 20; ++i) {
            m_held.push_back(ZkFontCache::glyph(anyCode(), kFont));
        }
    }

    void takeText()
    {
        std::vector<ZkUcs2> text(10 + m_random() % 60);
        for (ZkUcs2 &code : text) {
            code = anyCode();
        }
        m_text.resize(text.size());
        m_lease.giveBack();
        m_lease.fetch(text.data(), static_cast<int>(text.size()), kFont, m_text.data());
    }

    void check()
    {
        for (const auto *glyphs : {&m_held, &m_text}) {
            for (const GlyphBitmap *glyph : *glyphs) {
                m_wrong += pixelsOf(*glyph) != m_expected.at(glyph->unicode);
            }
        }
    }

    void giveBack()
    {
        for (const GlyphBitmap *glyph : m_held) {
            glyph->release();
        }
        m_held.clear();
        m_lease.giveBack();
        m_text.clear();
    }

    int m_id;
    std::mt19937 m_random;
    const std::map<ZkUcs2, std::vector<unsigned char>> &m_expected;
    std::vector<const GlyphBitmap *> m_held, m_text;
    ZkGlyphLease m_lease;
    int m_wrong = 0;
};

} // namespace

// Pixels never change or vanish under a thread that holds them, and in the end
// counts and bytes come out exact, whatever the limit.
TEST(ZkFontCache, EightThreadsShareGlyphsWhileOthersTrim)
{
    std::map<ZkUcs2, std::vector<unsigned char>> expected;
    const BareFont bare(ZK_FONT_DEJAVU);
    for (unsigned code = 'A'; code < 0x100 + 8 * 8; ++code) {
        expected[static_cast<ZkUcs2>(code)] = bare.render(code, kFont).pixels;
    }
    for (const int limit : {-1, 0, 3000}) {
        SCOPED_TRACE(limit);
        const FontOpen cache;
        cache->setLimit(limit);
        std::vector<std::unique_ptr<Worker>> workers;
        std::vector<std::thread> threads;
        for (int id = 0; id < 8; ++id) {
            workers.push_back(std::make_unique<Worker>(id, expected));
        }
        for (const auto &worker : workers) {
            threads.emplace_back([&worker] { (*worker)(); });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }

        std::map<const GlyphBitmap *, unsigned> held;
        for (const auto &worker : workers) {
            EXPECT_EQ(worker->wrong(), 0);
            for (const GlyphBitmap *glyph : worker->held()) {
                ++held[glyph];
            }
        }
        int bytes = 0;
        for (const GlyphBitmap *record : allRecords()) {
            ASSERT_EQ(record->useCount, held[record]);
            bytes += record->pixels != nullptr ? record->width * record->height : 0;
            record->release(held[record]);
        }
        EXPECT_EQ(cache->pixelBytes(), bytes);
        cache->cleanCache(true);
        for (const GlyphBitmap *record : allRecords()) {
            const bool isFound = cache->fontTable(record->unicode, kFont) == record;
            EXPECT_TRUE(!isFound || record->pixels == nullptr);
        }
    }
}
