#include <zkfontcache.h>
#include <zkfontengine.h>
#include <zkscriptrules.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace
{

class FontEnvironment : public testing::Environment
{
    void SetUp() override { ZkFontCache::instance()->setFontFile(ZK_FONT_DEJAVU); }
};
const auto *const kFont = testing::AddGlobalTestEnvironment(new FontEnvironment);

ZkString text16(const std::u16string &units)
{
    return ZkString(std::u16string_view(units));
}

std::u16string resolved(const std::u16string &text)
{
    ZkFontEngine engine;
    engine.lanuguageRules(text16(text));
    return engine.text().toStdU16String();
}

// tone, upper, lower
struct Marks {
    int tone = 0, upper = 0, lower = 0;

    bool operator==(const Marks &other) const
    {
        return tone == other.tone && upper == other.upper && lower == other.lower;
    }
};

std::ostream &operator<<(std::ostream &out, const Marks &marks)
{
    return out << "tone " << marks.tone << " upper " << marks.upper << " lower " << marks.lower;
}

Marks marksOn(char16_t s0, char16_t s1, char16_t s2)
{
    const ZkUcs2 units[] = {s0, s1, s2};
    Marks marks;
    ZkFontEngine::displayThaiFont(units, &marks.tone, &marks.upper, &marks.lower);
    return marks;
}

constexpr char16_t kKoKai = 0x0E01;

bool isOneOf(const std::u16string &set, int c)
{
    return set.find(char16_t(c)) != std::u16string::npos;
}

} // namespace

// Thai marks

TEST(DisplayThaiFont, Examples)
{
    EXPECT_EQ(marksOn(0x0E01, 0x0E35, 0x0E48), (Marks{2, 1, 0}));
    EXPECT_EQ(marksOn(0x0E01, 0x0E48, 0), (Marks{1, 0, 0}));
    EXPECT_EQ(marksOn(0x0E24, 0x0E48, 0), Marks());
    EXPECT_EQ(marksOn(0x0E1B, 0x0E38, 0x0E48), (Marks{2, 0, 1}));
}

TEST(DisplayThaiFont, OnlyConsonantsCarryMarks)
{
    for (int c = 0; c <= 0xFFFF; ++c) {
        const bool carries = c >= 0x0E01 && c <= 0x0E2E && c != 0x0E24 && c != 0x0E26;
        ASSERT_EQ(marksOn(char16_t(c), 0x0E48, 0), (Marks{carries ? 1 : 0, 0, 0})) << std::hex << c;
    }
}

TEST(DisplayThaiFont, TheFirstMarkSaysWhereItStands)
{
    const std::u16string upper = u"\u0E31\u0E34\u0E35\u0E36\u0E37\u0E47\u0E4C\u0E4D\u0E4E";
    const std::u16string lower = u"\u0E38\u0E39\u0E3A";
    const std::u16string tone = u"\u0E48\u0E49\u0E4A\u0E4B";
    for (int c = 0; c <= 0xFFFF; ++c) {
        const Marks expected = {isOneOf(tone, c), isOneOf(upper, c), isOneOf(lower, c)};
        ASSERT_EQ(marksOn(kKoKai, char16_t(c), 0), expected) << std::hex << c;
    }
}

// Every pair of a first and a second mark, and every second unit there is behind a vowel.
TEST(DisplayThaiFont, TheSecondMarkStacksOnlyOnItsVowels)
{
    const std::u16string vowels = u"\u0E31\u0E34\u0E35\u0E36\u0E37\u0E38\u0E39";
    const std::u16string tones = u"\u0E48\u0E49\u0E4A\u0E4B";
    for (char16_t first = 0x0E31; first <= 0x0E4E; ++first) {
        const Marks alone = marksOn(kKoKai, first, 0);
        for (int second = 0; second <= 0xFFFF; second += second == 0x0EFF ? 0x1001 : 1) {
            bool stacks = isOneOf(tones, second);
            stacks = stacks || (second == 0x0E47 && isOneOf(u"\u0E35\u0E37", first));
            stacks =
                stacks || (isOneOf(u"\u0E4C\u0E4D", second) && isOneOf(u"\u0E34\u0E38", first));
            Marks expected = alone;
            if (stacks && isOneOf(vowels, first)) {
                expected.tone = 2;
            }
            ASSERT_EQ(marksOn(kKoKai, first, char16_t(second)), expected)
                << std::hex << int(first) << ' ' << second;
        }
    }
}

TEST(DisplayThaiFont, WritesOnlyWhatItFinds)
{
    const ZkUcs2 stacked[] = {kKoKai, 0x0E35, 0x0E48}, bare[] = {'x', 0x0E35, 0x0E48};
    int tone = 7, upper = 7, lower = 7;
    ZkFontEngine::displayThaiFont(bare, &tone, &upper, &lower);
    EXPECT_EQ((Marks{tone, upper, lower}), (Marks{7, 7, 7}));
    // The answer does not lean on what the caller forgot to clear.
    ZkFontEngine::displayThaiFont(stacked, &tone, &upper, &lower);
    EXPECT_EQ((Marks{tone, upper, lower}), (Marks{2, 1, 7}));
}

TEST(DisplayThaiFont, NullPointersAreSkipped)
{
    const ZkUcs2 stacked[] = {kKoKai, 0x0E35, 0x0E48};
    int upper = 0;
    ZkFontEngine::displayThaiFont(stacked, nullptr, &upper, nullptr);
    EXPECT_EQ(upper, 1);
    ZkFontEngine::displayThaiFont(nullptr, &upper, &upper, &upper);
    ZkFontEngine::displayThaiFont(stacked, nullptr, nullptr, nullptr);
}

// The third unit may lie behind the text unless a vowel mark stands before it.
TEST(DisplayThaiFont, ReadsTheThirdUnitOnlyAfterAVowel)
{
    for (const char16_t first : {u'\u0E48', u'\u0E3A', u'\u0E4C', u'a', u'\0'}) {
        const std::vector<ZkUcs2> units = {kKoKai, first}; // a sanitizer guards its end
        Marks marks;
        ZkFontEngine::displayThaiFont(units.data(), &marks.tone, &marks.upper, &marks.lower);
        EXPECT_EQ(marks, marksOn(kKoKai, first, 0x0E48)) << std::hex << int(first);
    }
}

// Script rules

TEST(ZkFontEngine, AppliesTheRulesOfTheScript)
{
    const struct {
        const char *what;
        std::u16string text, expected;
        bool rightToLeft;
    } kRows[] = {
        {"Latin stays", u"abc 12", u"abc 12", false},
        {"digits alone stay", u"12 34", u"12 34", false},
        {"Hebrew is put into visual order", u"\u05D0\u05D1", u"\u05D1\u05D0", true},
        {"Arabic is shaped and put into visual order", u"\u0628\u0627", u"\uFE8E\uFE91", true},
        {"both: Hebrew only, nothing is shaped", u"\u05D0\u05D1 \u0628\u0627",
         u"\u05D1\u05D0 \u0628\u0627", true},
        {"presentation forms count as Arabic", u"\uFE8D\uFE91", u"\uFE91\uFE8D", true},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(resolved(row.text), row.expected);
        ZkFontEngine engine;
        engine.lanuguageRules(text16(row.text));
        EXPECT_EQ(engine.isRightToLeft(), row.rightToLeft);
    }
}

TEST(ZkFontEngine, SeesRightToLeftLettersAtAnyPlace)
{
    for (std::size_t size = 2; size < 40; ++size) {
        for (std::size_t i = 0; i + 1 < size; ++i) {
            std::u16string text(size, u'a'), turned = text;
            text[i] = turned[i + 1] = u'\u05D0';
            text[i + 1] = turned[i] = u'\u05D1';
            ASSERT_EQ(resolved(text), turned) << i << " of " << size;
        }
    }
}

TEST(ZkFontEngine, NeverSharesTheCallersBlock)
{
    const ZkString text = text16(u"\u05D0\u05D1");
    const ZkString latin = "abc";
    ZkFontEngine engine, other;
    engine.lanuguageRules(text);
    other.lanuguageRules(latin);
    EXPECT_EQ(text.toStdU16String(), u"\u05D0\u05D1");
    EXPECT_FALSE(other.text().isSharedWith(latin));
}

TEST(ZkFontEngine, ASecondTextIsAppendedAndTheWholeIsConverted)
{
    ZkFontEngine engine;
    engine.resloveText("ab", ZkFont());
    EXPECT_EQ(engine.resloveText(text16(u"\u05D0\u05D1"), ZkFont()).size(), 2 + 4);
    EXPECT_EQ(engine.text().toStdU16String(), u"ab\u05D1\u05D0");
    EXPECT_TRUE(engine.isRightToLeft());
}

// Glyphs

TEST(ZkFontEngine, HoldsOneGlyphAUnitInTextOrder)
{
    const ZkFont font(20, false, true, false, false);
    ZkFontEngine engine;
    const ZkVector<const GlyphBitmap *> glyphs = engine.resloveText("abca", font);
    ASSERT_EQ(glyphs.size(), 4);
    EXPECT_TRUE(glyphs.isSharedWith(engine.glyphs()));
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(glyphs[i]->unicode, "abca"[i]);
        EXPECT_EQ(glyphs[i]->font.size, 20);
    }
    EXPECT_EQ(glyphs[0], glyphs[3]);
    EXPECT_EQ(glyphs[0], ZkFontCache::glyph('a', font));
}

TEST(ZkFontEngine, EveryUnitIsOneUseAndGivenBack)
{
    const ZkFont font(31, false, false, false, false);
    const ZkString text = "mississippi, und noch ein m";
    const auto count = [&](char c) {
        int n = 0;
        for (const ZkUcs2 unit : text) {
            n += unit == ZkUcs2(c);
        }
        return unsigned(n);
    };
    const GlyphBitmap *s = nullptr;
    {
        ZkFontEngine engine;
        const ZkVector<const GlyphBitmap *> glyphs = engine.resloveText(text, font);
        for (int i = 0; i < text.size(); ++i) {
            ASSERT_EQ(glyphs[i]->useCount, count(char(text[i])));
        }
        s = glyphs[2];
        ZkFontEngine second;
        second.resloveText(text, font);
        EXPECT_EQ(s->useCount, 2 * count('s'));
    }
    EXPECT_EQ(s->useCount, 0U);
}

TEST(ZkFontEngine, EveryCharacterOfThePlaneResolves)
{
    const ZkFont font(9, false, false, false, false);
    std::u16string all;
    for (int c = 1; c <= 0xFFFF; c += 7) {
        all += char16_t(c);
    }
    ZkFontEngine engine;
    const ZkVector<const GlyphBitmap *> glyphs = engine.resloveText(text16(all), font);
    const std::u16string text = engine.text().toStdU16String();
    ASSERT_EQ(glyphs.size(), int(text.size()));
    std::set<const GlyphBitmap *> distinct;
    for (int i = 0; i < glyphs.size(); ++i) {
        ASSERT_EQ(glyphs[i]->unicode, text[std::size_t(i)]);
        distinct.insert(glyphs[i]);
    }
    EXPECT_EQ(distinct.size(), std::set<char16_t>(text.begin(), text.end()).size());
}

// Line height

TEST(ZkFontEngine, LineHeightIs136PercentOfTwoIndependentMaxima)
{
    for (const int size : {8, 12, 16, 33, 120, 255}) {
        for (const char *text : {"a", "g", "-", "_", "Ag", "_'", " ", "a b"}) {
            SCOPED_TRACE(std::string(text) + " at " + std::to_string(size));
            ZkFontEngine engine;
            int top = 0, descent = 0;
            for (const GlyphBitmap *glyph : engine.resloveText(
                     text, ZkFont(static_cast<unsigned char>(size), false, false, false, false))) {
                top = std::max<int>(top, glyph->top);
                descent = std::max<int>(descent, glyph->descent);
            }
            const int height = top + descent;
            EXPECT_EQ(engine.textPixelSize(), static_cast<int>(height + height * 0.36));
        }
    }
}

TEST(ZkFontEngine, AnEmptyTextHasNoGlyphsAndNoHeight)
{
    ZkFontEngine engine;
    EXPECT_TRUE(engine.resloveText("", ZkFont()).isEmpty());
    EXPECT_EQ(engine.textPixelSize(), 0);
    EXPECT_FALSE(engine.isRightToLeft());
    EXPECT_EQ(engine.text().size(), 0);
}

// Trimming and font changes

TEST(ZkFontEngine, StartingATextTrimsACacheAtItsLimit)
{
    ZkFontCache *cache = ZkFontCache::instance();
    const ZkFont font(40, false, false, false, false);
    const GlyphBitmap *unused = nullptr;
    {
        ZkFontEngine engine;
        unused = engine.resloveText("Q", font)[0];
    }
    const struct {
        const char *what;
        int limit;
        bool trims;
    } kRows[] = {{"no limit", -1, false},
                 {"above the bytes held", cache->pixelBytes() + 1, false},
                 {"the bytes held", cache->pixelBytes(), true},
                 {"none allowed", 0, true},
                 {"any negative number but -1", -5, true}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        cache->setLimit(-1);
        {
            ZkFontEngine refill;
            EXPECT_EQ(refill.resloveText("Q", font)[0], unused);
        }
        cache->setLimit(row.limit);
        ZkFontEngine engine;
        EXPECT_EQ(unused->pixels == nullptr, row.trims);
        cache->setLimit(-1);
    }
}

TEST(ZkFontEngine, OutlivingAFontChangeTouchesNoRecord)
{
    ZkFontCache *cache = ZkFontCache::instance();
    ZkFontEngine *engine = new ZkFontEngine;
    engine->resloveText("gone", ZkFont());
    cache->setFontFile(ZK_FONT_DEJAVU);
    ZkFontEngine fresh;
    const GlyphBitmap *g = fresh.resloveText("g", ZkFont())[0];
    delete engine; // its records are freed: a sanitizer would see a touch
    EXPECT_EQ(g->useCount, 1U);
}

TEST(ZkFontEngine, ThreadsResolveWhileTheCacheIsTrimmed)
{
    ZkFontCache *cache = ZkFontCache::instance();
    cache->cleanCache(true);
    const int heldBefore = cache->pixelBytes();
    for (const int limit : {0, 500, 20000}) {
        cache->setLimit(limit);
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t) {
            threads.emplace_back([t] {
                const std::string own(1, char('A' + t)), shared = "shared text ";
                for (int round = 0; round < 60; ++round) {
                    ZkFontEngine engine;
                    const ZkFont font(static_cast<unsigned char>(10 + round % 3), false, false,
                                      false, false);
                    for (const GlyphBitmap *glyph :
                         engine.resloveText((shared + own + own).c_str(), font)) {
                        ASSERT_NE(glyph->pixels, nullptr);
                        ASSERT_EQ(glyph->font.size, font.fontSize());
                        unsigned sum = 0;
                        for (int i = 0; i < glyph->width * glyph->height; ++i) {
                            sum += glyph->pixels[i];
                        }
                        ASSERT_EQ(sum > 0, glyph->unicode != ' ');
                    }
                }
            });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
        cache->setLimit(-1);
        cache->cleanCache(true);
        EXPECT_EQ(cache->pixelBytes(), heldBefore) << "every use was given back";
    }
}

TEST(ZkFontEngine, AnEmptyTextBehindAnotherAddsNothing)
{
    ZkFontEngine engine;
    EXPECT_EQ(engine.resloveText("abc", ZkFont()).size(), 3);
    EXPECT_GT(engine.textPixelSize(), 0);
    EXPECT_EQ(engine.resloveText("", ZkFont()).size(), 3);
    EXPECT_EQ(engine.textPixelSize(), 0);
    EXPECT_EQ(engine.resloveText("d", ZkFont()).size(), 7) << "all of the text so far once more";
}
