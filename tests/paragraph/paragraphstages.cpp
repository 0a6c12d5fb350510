// Each stage of a layout runs once, and again only when something that it depends on has
// changed; a second layout in the same object takes no memory.

#include "paragraphlaws.h"

#include <zkparagraph.h>

#include <gtest/gtest.h>

#include <functional>

#include "mallochook.h" // behind <cstdlib>, whose malloc it replaces

namespace
{

/// The built-in shaper, counted.
class CountingShaper : public ZkShaper
{
public:
    void shape(const ZkShapeRun &run, ZkShapedGlyphs *glyphs) override
    {
        ++calls;
        units += run.last - run.first;
        m_simple.shape(run, glyphs);
    }
    std::uint32_t serial() const override { return version; }

    int calls = 0;
    int units = 0;
    std::uint32_t version = 1;

private:
    ZkSimpleShaper m_simple;
};

/// A breaker of nothing, asked once whenever breaks are found.
class CountingBreaker : public ZkWordBreaker
{
public:
    void findWords(const ZkUcs2 *, int, std::uint8_t *) override { ++calls; }
    int calls = 0;
};

// With a Thai word, so that the breaker is asked.
const char *const kText = "An English line, "
                          "\u0627\u0644\u0633\u0627\u0639\u0629 \u0661\u0662, "
                          "\u0E17\u0E35\u0E48\u0E19\u0E35\u0E48 and the rest of it";

std::uint64_t lookUps(const ZkGlyphCache &cache)
{
    const ZkGlyphCache::Stats stats = cache.stats();
    return stats.hits + stats.misses;
}

void askEverything(const ZkParagraph &paragraph)
{
    paragraphlaws::described(paragraph);
    static_cast<void>(paragraph.minWidth() + paragraph.maxWidth() + paragraph.height());
    paragraph.caret(5);
    paragraph.hit(30, 30);
    paragraph.selection(3, 20);
    paragraph.nextWord(3);
}

class Stages : public testing::Test
{
protected:
    Stages()
    {
        m_chain.append(ZkTypeface::fromFile(ZK_FONT_DEJAVU));
        m_chain.append(ZkTypeface::fromFile(ZK_FONT_FREESERIF));
        paragraph.setChain(m_chain);
        paragraph.setShaper(&shaper);
        paragraph.setWordBreaker(&breaker);
        paragraph.setUtf8(kText);
        paragraph.setWidth(150);
        askEverything(paragraph);
    }

    void forget()
    {
        shaper.calls = shaper.units = breaker.calls = 0;
        m_lookUps = lookUps(cache);
    }

    ZkFontChain m_chain;
    ZkGlyphCache cache;
    ZkParagraph paragraph{cache};
    CountingShaper shaper;
    CountingBreaker breaker;
    std::uint64_t m_lookUps = 0;
};

TEST_F(Stages, AskingTwiceComputesNothing)
{
    EXPECT_GT(shaper.calls, 2);
    EXPECT_EQ(shaper.units, paragraph.text().size()) << "every unit is shaped once";
    EXPECT_GT(breaker.calls, 0);
    EXPECT_GT(lookUps(cache), 10u);
    forget();
    askEverything(paragraph);
    EXPECT_EQ(shaper.calls, 0);
    EXPECT_EQ(breaker.calls, 0);
    EXPECT_EQ(lookUps(cache), m_lookUps);
}

TEST_F(Stages, EachSetterComputesWhatDependsOnIt)
{
    enum Depth { Nothing, Shape, Everything };
    const struct {
        const char *setter;
        std::function<void(ZkParagraph &)> set;
        Depth depth;
    } kSetters[] = {
        {"setWidth", [](ZkParagraph &p) { p.setWidth(90); }, Nothing},
        {"setWidth to the same", [](ZkParagraph &p) { p.setWidth(90); }, Nothing},
        {"setAlignment", [](ZkParagraph &p) { p.setAlignment(ZkParagraph::AlignJustify); },
         Nothing},
        {"setLineSpacing", [](ZkParagraph &p) { p.setLineSpacing(4); }, Nothing},
        {"setTabWidth", [](ZkParagraph &p) { p.setTabWidth(33); }, Nothing},
        {"setMaximumLines", [](ZkParagraph &p) { p.setMaximumLines(2); }, Nothing},
        {"setWordCutting", [](ZkParagraph &p) { p.setWordCutting(false); }, Nothing},
        {"setMaximumLines to none", [](ZkParagraph &p) { p.setMaximumLines(0); }, Nothing},
        // Shapers are told the tag: a host may have features for it.
        {"a span that changes the tag alone", [](ZkParagraph &p) { p.setSpan(3, 9, p.font(), 5); },
         Shape},
        {"setKerning", [](ZkParagraph &p) { p.setKerning(false); }, Shape},
        {"setKerning to the same", [](ZkParagraph &p) { p.setKerning(false); }, Nothing},
        {"setLetterSpacing", [](ZkParagraph &p) { p.setLetterSpacing(2); }, Shape},
        {"setFont", [](ZkParagraph &p) { p.setFont(ZkFont(20, false, false, false, false)); },
         Shape},
        {"setFont to the same",
         [](ZkParagraph &p) { p.setFont(ZkFont(20, false, false, false, false)); }, Nothing},
        {"setSpan with a font",
         [](ZkParagraph &p) { p.setSpan(2, 6, ZkFont(12, false, false, false, false), 1); }, Shape},
        {"clearSpans", [](ZkParagraph &p) { p.clearSpans(); }, Shape},
        {"setText", [](ZkParagraph &p) { p.setUtf8("other \u0E17\u0E35\u0E48 text"); }, Everything},
    };
    for (const auto &row : kSetters) {
        SCOPED_TRACE(row.setter);
        forget();
        row.set(paragraph);
        EXPECT_EQ(shaper.calls + breaker.calls, 0) << "a setter computes nothing by itself";
        askEverything(paragraph);
        EXPECT_EQ(shaper.calls > 0, row.depth >= Shape);
        EXPECT_EQ(breaker.calls > 0, row.depth >= Everything);
        if (row.depth == Nothing) {
            EXPECT_EQ(lookUps(cache), m_lookUps);
        } else {
            EXPECT_EQ(shaper.units, paragraph.text().size()) << "every unit is shaped once";
        }
    }
}

TEST_F(Stages, AnotherWordBreakerDividesAnew)
{
    paragraph.setWordBreaker(nullptr);
    paragraph.setUtf8("\u0E01\u0E02\u0E03\u0E04");
    const int cluster = paragraph.minWidth();
    paragraph.setWidth(cluster);
    EXPECT_EQ(paragraph.lineCount(), 4);
    paragraph.setWordBreaker(&breaker); // to which all is one word
    EXPECT_GT(paragraph.minWidth(), cluster);
    paragraph.setWidth(paragraph.minWidth());
    EXPECT_EQ(paragraph.lineCount(), 1);
    paragraph.setWordBreaker(nullptr);
    EXPECT_EQ(paragraph.minWidth(), cluster);
}

TEST_F(Stages, ADirectionFindsNoBreaksAnew)
{
    forget();
    paragraph.setDirection(ZkParagraph::RightToLeft);
    askEverything(paragraph);
    EXPECT_EQ(breaker.calls, 0);
    EXPECT_TRUE(paragraph.line(0).isRightToLeft);
}

TEST_F(Stages, AnEllipsisDividesAlone)
{
    paragraph.setMaximumLines(1);
    askEverything(paragraph);
    forget();
    paragraph.setEllipsis(ZkParagraph::EllipsisMiddle);
    askEverything(paragraph);
    EXPECT_EQ(shaper.calls, 0);
    EXPECT_EQ(breaker.calls, 0);
    EXPECT_TRUE(paragraph.line(0).isShortened);
}

TEST_F(Stages, AChangeOfTheChainOrTheShaperIsSeen)
{
    forget();
    shaper.version = 2;
    askEverything(paragraph);
    EXPECT_GT(shaper.calls, 0);
    forget();
    m_chain.append(ZkTypeface::fromFile(ZK_FONT_UNIFONT));
    askEverything(paragraph);
    EXPECT_GT(shaper.calls, 0);
}

const char *const kTexts[] = {
    "Settings 24%",
    "All human beings are born free and equal in dignity and rights.",
    "\u064A\u0648\u0644\u062F \u062C\u0645\u064A\u0639 \u0627\u0644\u0646\u0627\u0633 12 (abc)",
    "\u05DB\u05DC \u05D1\u05E0\u05D9 \u05D4\u05D0\u05D3\u05DD 5 GHz",
    "\u0E17\u0E35\u0E48\u0E19\u0E35\u0E48 \u0E19\u0E49\u0E33",
    "a\tb\tc e\u0301 x\u0323\u0301",
};

TEST(ParagraphMemory, ASecondLayoutTakesNone)
{
    for (const char *text : kTexts) {
        SCOPED_TRACE(text);
        ZkParagraph paragraph;
        paragraph.setChain(ZkFontChain(ZkTypeface::fromFile(ZK_FONT_DEJAVU)));
        std::string longer;
        for (int i = 0; i < 20; ++i) {
            longer += text;
            longer += ' ';
        }
        const ZkString first(longer.c_str());
        const auto layOut = [&](int width) {
            paragraph.setText(first);
            paragraph.setWidth(width);
            const ZkPlacedGlyph *glyphs = nullptr;
            const ZkTextStretch *stretches = nullptr;
            for (int i = 0; i < paragraph.lineCount(); ++i) {
                paragraph.glyphs(i, &glyphs);
                paragraph.stretches(i, &stretches);
            }
            static_cast<void>(paragraph.height() + paragraph.minWidth());
            paragraph.caret(4);
            paragraph.hit(20, 20);
        };
        layOut(120);
        layOut(400);
        layOut(120);
        const int before = mallochook::allocations;
        layOut(120);
        EXPECT_EQ(mallochook::allocations - before, 0) << "the same again";
        const int again = mallochook::allocations;
        layOut(400);
        EXPECT_EQ(mallochook::allocations - again, 0) << "wider";
    }
}

// The paragraph itself, its shaped glyphs and their places.
TEST(ParagraphMemory, ALabelTakesThreeBlocks)
{
    const ZkFontChain chain(ZkTypeface::fromFile(ZK_FONT_DEJAVU));
    const ZkString text("Settings 24%");
    const auto label = [&] {
        ZkParagraph paragraph;
        paragraph.setChain(chain);
        paragraph.setText(text);
        paragraph.setWidth(60);
        paragraph.setMaximumLines(1);
        paragraph.setEllipsis(ZkParagraph::EllipsisEnd);
        const ZkPlacedGlyph *glyphs = nullptr;
        return paragraph.glyphs(0, &glyphs);
    };
    EXPECT_GT(label(), 5);
    const int before = mallochook::allocations;
    label();
    EXPECT_EQ(mallochook::allocations - before, 3);
}

// Texts as they are read. One that changes its direction every few letters keeps more, for
// each of its runs.
const char *const kArticles[] = {
    "All human beings are born free and equal in dignity and rights. They are endowed with "
    "reason and conscience and should act towards one another in a spirit of brotherhood. ",
    "يولد جميع الناس أحرارا متساوين في الكرامة والحقوق. وقد وهبوا عقلا وضميرا وعليهم أن "
    "يعامل بعضهم بعضا بروح الإخاء. ",
    "כל בני האדם נולדו בני חורין ושווים בערכם ובזכויותיהם. כולם חוננו בתבונה ובמצפון, לפיכך "
    "חובה עליהם לנהוג איש ברעהו ברוח של אחווה. ",
    "בְּרֵאשִׁית בָּרָא אֱלֹהִים ",
    "มนุษย์ทั้งหลายเกิดมามีอิสระและเสมอภาคกันในเกียรติศักดิ์และสิทธิ ",
    "人人生而自由，在尊严和权利上一律平等。",
    "Language: English, Français, עברית, العربية (RTL) 24% - Brightness 80/100, ",
};

std::string pagesOf(const char *text)
{
    std::string pages;
    while (pages.size() < 30000) {
        pages += text;
    }
    return pages;
}

ZkFontChain chainForAll()
{
    ZkFontChain chain(ZkTypeface::fromFile(ZK_FONT_DEJAVU));
    chain.append(ZkTypeface::fromFile(ZK_FONT_MICROHEI));
    return chain;
}

#if !defined(ZK_MALLOC_IS_THE_SANITIZERS)

TEST(ParagraphMemory, IsWhatTheSystemGave)
{
    const ZkFontChain chain = chainForAll();
    for (const char *text : kArticles) {
        SCOPED_TRACE(text);
        const ZkString units(pagesOf(text).c_str());
        for (const bool isWarm : {false, true}) { // what all paragraphs share is there then
            const std::size_t before = mallochook::takenBytes();
            ZkParagraph paragraph; // of one line, whose lists are long
            paragraph.setChain(chain);
            paragraph.setText(units);
            static_cast<void>(paragraph.selection(3, 9));
            const ZkPlacedGlyph *glyphs = nullptr;
            static_cast<void>(paragraph.glyphs(0, &glyphs));
            const std::size_t taken = mallochook::takenBytes() - before;
            if (isWarm) {
                EXPECT_NEAR(double(paragraph.memoryBytes()), double(taken), 0.02 * double(taken));
            }
        }
    }
}

#endif

TEST(ParagraphMemory, ACharacterIsRetainedInAtMost24Bytes)
{
    for (const char *text : kArticles) {
        SCOPED_TRACE(text);
        ZkParagraph paragraph;
        paragraph.setChain(chainForAll());
        paragraph.setUtf8(pagesOf(text).c_str());
        paragraph.setWidth(400);
        static_cast<void>(paragraph.height());
        const double units = paragraph.text().size();
        const double bytes = static_cast<double>(paragraph.memoryBytes()) +
                             paragraph.text().capacity() * double{sizeof(ZkUcs2)};
        EXPECT_LE(bytes / units, 24.0);
        RecordProperty("bytes", std::to_string(bytes / units));
    }
}

} // namespace
