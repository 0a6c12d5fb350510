#include "zkwordtable.h"

#include <list>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace
{

/// A text as the table's keys take it.
struct Word {
    std::u16string text;
    std::uint32_t style;

    ZkWordKey key() const
    {
        return ZkWordKey(reinterpret_cast<const ZkUcs2 *>(text.data()),
                         static_cast<int>(text.size()), style);
    }
    bool operator==(const Word &other) const { return text == other.text && style == other.style; }
};

std::vector<ZkShapedGlyph> glyphsOf(const Word &word)
{
    std::vector<ZkShapedGlyph> glyphs(word.text.size() + 1);
    for (std::size_t i = 0; i < glyphs.size(); ++i) {
        glyphs[i] = {};
        glyphs[i].index = word.style & 0xFFFFFFu;
        glyphs[i].advance = static_cast<int>(i) + word.text[0];
    }
    return glyphs;
}

void add(ZkWordTable &table, const Word &word)
{
    const std::vector<ZkShapedGlyph> glyphs = glyphsOf(word);
    table.add(word.key(), glyphs.data(), static_cast<int>(glyphs.size()));
}

bool holds(ZkWordTable &table, const Word &word)
{
    const ZkKnownWord *const found = table.find(word.key());
    if (found == nullptr) {
        return false;
    }
    const std::vector<ZkShapedGlyph> glyphs = glyphsOf(word);
    EXPECT_EQ(found->glyphCount, glyphs.size());
    for (std::size_t i = 0; i < glyphs.size() && i < found->glyphCount; ++i) {
        EXPECT_EQ(found->glyphs()[i].index, glyphs[i].index);
        EXPECT_EQ(found->glyphs()[i].advance, glyphs[i].advance);
    }
    return true;
}

} // namespace

TEST(ZkWordTable, FindsAWordByItsTextAndStyle)
{
    ZkWordTable table(10000);
    add(table, {u"word", 1});
    EXPECT_TRUE(holds(table, {u"word", 1}));
    EXPECT_FALSE(holds(table, {u"word", 2}));
    EXPECT_FALSE(holds(table, {u"wor", 1}));
    EXPECT_FALSE(holds(table, {u"words", 1}));
    EXPECT_FALSE(holds(table, {u"Word", 1}));
}

TEST(ZkWordTable, WithoutABudgetNothingIsKept)
{
    ZkWordTable table(0);
    add(table, {u"word", 1});
    EXPECT_FALSE(holds(table, {u"word", 1}));
    EXPECT_EQ(table.bytes(), 0u);
    EXPECT_EQ(table.size(), 0u);
}

TEST(ZkWordTable, AWordOfMoreThanAnEighthOfTheBudgetIsNotKept)
{
    ZkWordTable table(8000);
    add(table, {std::u16string(60, u'x'), 1});
    EXPECT_EQ(table.size(), 0u);
    add(table, {std::u16string(30, u'x'), 1});
    EXPECT_EQ(table.size(), 1u);
}

TEST(ZkWordTable, TheWordNotUsedForTheLongestTimeGoesFirst)
{
    ZkWordTable table(8000);
    char16_t next = u'a';
    while (table.evicted() == 0) {
        add(table, {std::u16string(1, next++), 1});
    }
    EXPECT_FALSE(holds(table, {u"a", 1}));
    EXPECT_TRUE(holds(table, {u"b", 1})); // used now
    add(table, {std::u16string(1, next), 1});
    EXPECT_TRUE(holds(table, {u"b", 1}));
    EXPECT_FALSE(holds(table, {u"c", 1}));
    EXPECT_TRUE(holds(table, {u"d", 1}));
    EXPECT_EQ(table.evicted(), 2u);
}

TEST(ZkWordTable, ASmallerBudgetForgetsAtOnceAndNoBudgetForgetsAll)
{
    ZkWordTable table(100000);
    for (char16_t c = u'a'; c <= u'z'; ++c) {
        add(table, {std::u16string(1, c), 1});
    }
    table.setBudget(2000);
    EXPECT_LE(table.bytes(), 2000u);
    EXPECT_GT(table.size(), 0u);
    EXPECT_TRUE(holds(table, {u"z", 1}));
    table.setBudget(0);
    EXPECT_EQ(table.bytes(), 0u);
    EXPECT_EQ(table.size(), 0u);
    EXPECT_FALSE(holds(table, {u"z", 1}));
    table.setBudget(2000);
    add(table, {u"z", 1});
    EXPECT_TRUE(holds(table, {u"z", 1}));
}

TEST(ZkWordTable, ClearForgetsAllAndCountsAnew)
{
    ZkWordTable table(100000);
    add(table, {u"word", 1});
    table.clear();
    EXPECT_EQ(table.bytes(), 0u);
    EXPECT_EQ(table.peakBytes(), 0u);
    EXPECT_FALSE(holds(table, {u"word", 1}));
    add(table, {u"word", 1});
    EXPECT_TRUE(holds(table, {u"word", 1}));
}

// A list in the order of use is the second opinion: what is in it must be found, and the
// bytes are those of its words and at most the budget.
TEST(ZkWordTable, KeepsWhatAPlainListKeeps)
{
    for (const std::size_t budget : {std::size_t(3000), std::size_t(20000), std::size_t(300000)}) {
        ZkWordTable table(budget);
        std::list<Word> model; // newest first
        unsigned seed = 3;
        const auto random = [&seed](unsigned below) {
            seed = seed * 1664525u + 1013904223u;
            return (seed >> 8) % below;
        };
        for (int step = 0; step < 20000; ++step) {
            Word word;
            word.style = random(3);
            word.text.assign(1 + random(9), static_cast<char16_t>(u'a' + random(60)));
            const auto at = std::find(model.begin(), model.end(), word);
            const bool held = holds(table, word);
            if (held) {
                ASSERT_NE(at, model.end()) << "step " << step;
                model.splice(model.begin(), model, at);
            } else {
                if (at != model.end()) {
                    model.erase(at);
                }
                add(table, word);
                model.push_front(word);
            }
            // What the table has let go is the model's tail.
            while (model.size() > table.size()) {
                model.pop_back();
            }
            ASSERT_EQ(model.size(), table.size());
            ASSERT_LE(table.bytes(), budget);
            ASSERT_LE(table.peakBytes(), budget);
        }
        std::size_t words = 0;
        for (const Word &word : model) {
            ASSERT_TRUE(holds(table, word));
            words += ZkKnownWord::bytesOf(word.text.size(), word.text.size() + 1);
        }
        EXPECT_GE(table.bytes(), words);
        EXPECT_LE(table.bytes(), words + budget / 4);
    }
}
