#include <zkshapedwords.h>

#include <zkharfbuzzshaper.h>
#include <zkparagraph.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "paragraphlaws.h"
#include "scripttexts.h"
#include "shaperun.h"

namespace
{

ZkTypeface dejaVu()
{
    return ZkTypeface::fromFile(ZK_FONT_DEJAVU);
}

} // namespace

TEST(ZkShapedWords, CountsWordsThatWereKnownAndThoseThatWereNot)
{
    ZkShapedWords words;
    ZkHarfBuzzShaper shaper(words);
    const ShapeRun run(u"one two one three ", dejaVu(), 16);
    run.shapedBy(shaper);
    EXPECT_EQ(words.stats().words, 3u);
    EXPECT_EQ(words.stats().misses, 4u) << "one was not yet known the second time";
    EXPECT_EQ(words.stats().hits, 0u);
    run.shapedBy(shaper);
    EXPECT_EQ(words.stats().words, 3u);
    EXPECT_EQ(words.stats().misses, 4u);
    EXPECT_EQ(words.stats().hits, 4u);
    EXPECT_EQ(words.stats().evicted, 0u);
}

TEST(ZkShapedWords, AWordIsKnownWithItsSpace)
{
    ZkShapedWords words;
    ZkHarfBuzzShaper shaper(words);
    const ZkTypeface face = dejaVu();
    ShapeRun(u"one two", face, 16).shapedBy(shaper);
    ShapeRun(u"two one ", face, 16).shapedBy(shaper);
    EXPECT_EQ(words.stats().words, 3u) << "one with its space, two with and without";
}

TEST(ZkShapedWords, AnotherSizeTypefaceFeatureOrLanguageIsAnotherWord)
{
    ZkShapedWords words;
    ZkHarfBuzzShaper shaper(words);
    const ZkTypeface face = dejaVu();
    const ShapeRun run(u"word", face, 16);
    run.shapedBy(shaper);
    ShapeRun(u"word", face, 17).shapedBy(shaper);
    EXPECT_EQ(words.stats().words, 2u);
    ShapeRun(u"word", dejaVu(), 16).shapedBy(shaper);
    EXPECT_EQ(words.stats().words, 3u) << "the same file opened again";
    shaper.setFeature(ZkHarfBuzzShaper::tag("liga"), 0);
    run.shapedBy(shaper);
    EXPECT_EQ(words.stats().words, 4u);
    shaper.setLanguage("tr");
    run.shapedBy(shaper);
    EXPECT_EQ(words.stats().words, 5u);
    shaper.clearFeatures();
    shaper.setLanguage(nullptr);
    run.shapedBy(shaper);
    EXPECT_EQ(words.stats().words, 5u) << "as at first";
    EXPECT_EQ(words.stats().hits, 1u);
}

TEST(ZkShapedWords, ShapersShareWords)
{
    ZkShapedWords words;
    ZkHarfBuzzShaper one(words), other(words);
    const ShapeRun run(u"some words", dejaVu(), 16);
    const std::string first = print(run.shapedBy(one));
    EXPECT_EQ(print(run.shapedBy(other)), first);
    EXPECT_EQ(words.stats().hits, 2u);
    EXPECT_EQ(words.stats().faces, 1);
    EXPECT_EQ(words.stats().styles, 1);
}

TEST(ZkShapedWords, WordsOfEveryScriptAreKnownTheSecondTime)
{
    for (const ScriptText &text : kScriptTexts) {
        SCOPED_TRACE(text.what);
        const ZkTypeface face = ZkTypeface::fromFile(text.path().c_str());
        const ShapeRun run(text.text, face, 16, text.isRightToLeft);
        ZkShapedWords words;
        ZkHarfBuzzShaper shaper(words);
        run.shapedBy(shaper);
        const ZkShapedWords::Stats first = words.stats();
        run.shapedBy(shaper);
        EXPECT_EQ(words.stats().misses, first.misses);
        const std::u16string units = text.text;
        const auto spaces =
            static_cast<std::uint64_t>(std::count(units.begin(), units.end(), u' '));
        EXPECT_GE(words.stats().hits - first.hits, spaces) << "one by one";
    }
}

// In the Khmer fonts a vowel sign over the last letter of a word moves the next word, if that
// begins with certain letters.
TEST(ZkShapedWords, WordsThatTheFontJoinsAreShapedTogether)
{
    struct Case {
        const char *font;
        std::vector<std::u16string> words;
    };
    const Case kCases[] = {
        {"NotoSansKhmer-Regular.ttf", {u"កី", u"កែ", u"ក័", u"រី", u"កា", u"ខ្មែរ", u"ក្ររ"}},
        {"NotoSerifKhmer-Regular.ttf", {u"កី", u"កែ", u"ក័", u"រី", u"កា", u"ខ្មែរ", u"ក្ររ"}},
        // Marks without a letter, which HarfBuzz sets on a circle but for every 15th syllable.
        {"NotoSansDevanagari-Regular.ttf", {u"कककक", u"\u4E2D\u093F", u"ककक"}},
        {"NotoSansDevanagari-Regular.ttf", {u"क", u"\u0915\uA8E0", u"कर्म", u"\u25CC\uA8E1"}},
    };
    for (const Case &row : kCases) {
        SCOPED_TRACE(row.font);
        const ZkTypeface face = ZkTypeface::fromFile(
            (std::string("/usr/share/fonts/truetype/noto/") + row.font).c_str());
        ZkShapedWords kept(2500); // too few for all of them: some are pushed out
        ZkHarfBuzzShaper shaper(kept), whole;
        whole.setFeature(ZkHarfBuzzShaper::tag("zero"), 0, 0, 1); // shaped each time
        unsigned seed = 3;
        for (int round = 0; round < 500; ++round) {
            std::u16string text;
            for (int i = 0; i < 6; ++i) {
                seed = seed * 1664525u + 1013904223u;
                text += row.words[(seed >> 16) % row.words.size()];
                text += (seed & 0x700) == 0 ? u"  " : u" ";
            }
            const ShapeRun run(text, face, 32);
            ASSERT_EQ(print(run.shapedBy(shaper)), print(run.shapedBy(whole))) << round;
        }
        EXPECT_GT(kept.stats().hits, 100u);
    }
}

// Arabic letters that a control sets from left to right: HarfBuzz turns them round, but not
// their neighbours.
TEST(ZkShapedWords, TextInTheOtherDirectionIsShapedAtOnce)
{
    const ZkTypeface face =
        ZkTypeface::fromFile("/usr/share/fonts/truetype/noto/NotoNastaliqUrdu-Regular.ttf");
    ZkShapedWords kept(4000), none(0);
    ZkHarfBuzzShaper warm(kept), cold(none);
    const ShapeRun tail(u"انسان آزاد اور", face, 16);
    tail.shapedBy(warm);
    const ShapeRun run(u"تمام انسان آزاد اور", face, 16);
    EXPECT_EQ(print(run.shapedBy(warm)), print(run.shapedBy(cold)));
    EXPECT_EQ(print(run.shapedBy(warm)), print(run.shapedBy(cold)));
}

TEST(ZkShapedWords, AJoinedPairIsWiderThanItsWords)
{
    const ZkTypeface face =
        ZkTypeface::fromFile("/usr/share/fonts/truetype/noto/NotoSansKhmer-Regular.ttf");
    ZkShapedWords words;
    ZkHarfBuzzShaper shaper(words);
    const auto width = [&](const char16_t *text) {
        int sum = 0;
        for (const ZkShapedGlyph &glyph : ShapeRun(text, face, 32).shapedBy(shaper)) {
            sum += glyph.advance;
        }
        return sum;
    };
    const int apart = width(u"ក័ ") + width(u"កែ");
    EXPECT_GT(width(u"ក័ កែ"), apart);
    EXPECT_GT(width(u"ក័ កែ"), apart) << "known now, and joined all the same";
}

TEST(ZkShapedWords, TheBudgetHoldsAtEveryMoment)
{
    ZkShapedWords words(4000);
    ZkHarfBuzzShaper shaper(words);
    const ZkTypeface face = dejaVu();
    for (int i = 0; i < 500; ++i) {
        std::u16string text = u"word ";
        text[0] = static_cast<char16_t>(u'a' + i % 26);
        text[1] = static_cast<char16_t>(u'a' + i / 26);
        ShapeRun(text, face, 16).shapedBy(shaper);
        ASSERT_LE(words.stats().bytes, 4000u);
    }
    EXPECT_LE(words.stats().peakBytes, 4000u);
    EXPECT_GT(words.stats().evicted, 400u);
    EXPECT_GT(words.stats().words, 10u);
    words.setBudget(1000);
    EXPECT_LE(words.stats().bytes, 1000u);
    EXPECT_EQ(words.stats().budget, 1000u);
}

TEST(ZkShapedWords, WordsTooLongAreShapedEachTime)
{
    ZkShapedWords words;
    ZkHarfBuzzShaper shaper(words);
    const ShapeRun run(std::u16string(ZkShapedWords::kMostUnits + 1, u'x'), dejaVu(), 16);
    const std::string first = print(run.shapedBy(shaper));
    EXPECT_EQ(print(run.shapedBy(shaper)), first);
    EXPECT_EQ(words.stats().words, 0u);
    EXPECT_EQ(words.stats().misses, 0u);
}

TEST(ZkShapedWords, ClearForgetsWordsAndFontsThatNobodyUses)
{
    ZkShapedWords words;
    {
        ZkHarfBuzzShaper shaper(words);
        ShapeRun(u"word", dejaVu(), 16).shapedBy(shaper);
        words.clear();
        EXPECT_EQ(words.stats().words, 0u);
        EXPECT_EQ(words.stats().bytes, 0u);
        EXPECT_EQ(words.stats().misses, 0u);
        EXPECT_EQ(words.stats().faces, 1) << "in use";
    }
    EXPECT_EQ(words.stats().faces, 1) << "kept for the next shaper";
    words.clear();
    EXPECT_EQ(words.stats().faces, 0);
    EXPECT_EQ(words.stats().styles, 0);
}

TEST(ZkShapedWords, FontsThatNobodyUsesAreLimited)
{
    ZkShapedWords words;
    const ZkTypeface face = dejaVu();
    for (int size = 1; size <= 200; ++size) {
        ZkHarfBuzzShaper shaper(words);
        ShapeRun(u"word", face, size).shapedBy(shaper);
    }
    EXPECT_EQ(words.stats().styles, ZkShapedWords::kMostIdleStyles);
    EXPECT_EQ(words.stats().faces, 1);
}

// The bytes of a borrowed font must live as long as HarfBuzz may read them.
TEST(ZkShapedWords, AFontIsLetGoWhenItsLastUserIs)
{
    std::FILE *const file = std::fopen(ZK_FONT_DEJAVU, "rb");
    ASSERT_NE(file, nullptr);
    std::vector<unsigned char> bytes(1 << 20);
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    std::fclose(file);
    int released = 0;
    ZkShapedWords words;
    {
        ZkTypeface face = ZkTypeface::fromBorrowed(
            bytes.data(), bytes.size(),
            [](const void *, void *count) { ++*static_cast<int *>(count); }, &released);
        ZkHarfBuzzShaper shaper(words);
        const ShapeRun run(u"word", face, 16);
        face = ZkTypeface();
        run.shapedBy(shaper);
    }
    EXPECT_EQ(released, 0);
    words.clear();
    EXPECT_EQ(released, 1);
}

TEST(ZkShapedWords, TheSharedOneIsOne)
{
    EXPECT_EQ(&ZkShapedWords::shared(), &ZkShapedWords::shared());
    EXPECT_EQ(ZkShapedWords::shared().stats().budget, ZkShapedWords::kUsualBudget);
}

TEST(ZkShapedWords, EightThreadsShapeAsOneDoes)
{
    struct Case {
        std::unique_ptr<ShapeRun> run;
        std::string expected;
    };
    std::vector<Case> cases;
    for (const ScriptText &text : kScriptTexts) {
        const ZkTypeface face = ZkTypeface::fromFile(text.path().c_str());
        Case one;
        one.run.reset(new ShapeRun(text.text, face, 14, text.isRightToLeft));
        ZkShapedWords own;
        ZkHarfBuzzShaper shaper(own);
        one.expected = print(one.run->shapedBy(shaper));
        cases.push_back(std::move(one));
    }
    ZkShapedWords words(20000); // too small: words are pushed out all the time
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (unsigned id = 0; id < 8; ++id) {
        threads.emplace_back([&cases, &words, &wrong, id] {
            unsigned seed = id;
            for (int round = 0; round < 3; ++round) {
                ZkHarfBuzzShaper shaper(words);
                for (int i = 0; i < 60; ++i) {
                    seed = seed * 1664525u + 1013904223u;
                    const Case &one = cases[(seed >> 16) % cases.size()];
                    wrong += print(one.run->shapedBy(shaper)) != one.expected ? 1 : 0;
                }
            }
        });
    }
    std::thread watcher([&words] {
        for (int i = 0; i < 200; ++i) {
            words.setBudget(i % 7 == 0 ? 0 : 20000);
            EXPECT_LE(words.stats().bytes, 20000u);
            std::this_thread::yield();
        }
    });
    for (std::thread &thread : threads) {
        thread.join();
    }
    watcher.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(words.stats().hits, 0u);
    EXPECT_LE(words.stats().peakBytes, 20000u);
}

// One chain, one cache of glyphs, one of words; a paragraph and a shaper for each thread.
TEST(ZkShapedWords, EightThreadsLayOutParagraphsAsOneDoes)
{
    ZkFontChain chain;
    for (const ScriptText &text : kScriptTexts) {
        chain.append(ZkTypeface::fromFile(text.path().c_str()));
    }
    ZkShapedWords words(30000);
    const auto layOut = [&](ZkShapedWords &known, unsigned seed) {
        paragraphlaws::Dice dice(seed);
        std::u16string text;
        for (int i = 0; i < 4; ++i) {
            text += kScriptTexts[dice.roll(static_cast<int>(std::size(kScriptTexts)))].text;
            text += u' ';
        }
        ZkHarfBuzzShaper shaper(known);
        ZkParagraph paragraph;
        paragraph.setChain(chain);
        paragraph.setShaper(&shaper);
        paragraph.setText(
            ZkString(reinterpret_cast<const ZkUcs2 *>(text.data()), static_cast<int>(text.size())));
        paragraphlaws::setRandomly(paragraph, dice);
        return paragraphlaws::described(paragraph);
    };
    std::vector<std::string> expected;
    for (unsigned seed = 0; seed < 24; ++seed) {
        ZkShapedWords own;
        expected.push_back(layOut(own, seed));
    }
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (unsigned id = 0; id < 8; ++id) {
        threads.emplace_back([&, id] {
            for (unsigned i = 0; i < expected.size(); ++i) {
                const unsigned seed = (i + 3 * id) % static_cast<unsigned>(expected.size());
                wrong += layOut(words, seed) != expected[seed] ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(words.stats().hits, 0u);
}
