// The same text as code points and as UTF-16, and texts of more parts than are kept in place.

#include <zkbidi.h>
#include <zkcharacter.h>
#include <zktextbreaks.h>

#include "conformancefile.h"
#include "paragraph/zkunseen.h"
#include "utf16.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr char32_t kAlphabet[] = {'a',    ' ',     '\n',   0x0301, 0x05D0,  0x0628,
                                  0x2067, 0x1F600, 0x0E01, 0x4E2D, 0x10800, '-'};

std::u32string randomText(std::mt19937 *random, int most)
{
    std::u32string text;
    for (auto n = (*random)() % static_cast<unsigned>(most); n > 0; --n) {
        text += kAlphabet[(*random)() % std::size(kAlphabet)];
    }
    return text;
}

} // namespace

TEST(CodePoints, BreaksAreThoseOfUtf16)
{
    std::mt19937 random(50);
    ZkTextBreaks breaks, inUnits;
    for (int round = 0; round < 500; ++round) {
        const std::u32string text = randomText(&random, 40);
        const std::vector<ZkUcs2> units = utf16Of(text);
        const std::vector<int> starts = unitStarts(text);
        breaks.setText(text.data(), static_cast<int>(text.size()));
        inUnits.setText(units.data(), static_cast<int>(units.size()));
        for (std::size_t i = 0; i <= text.size(); ++i) {
            ASSERT_EQ(breaks.flags()[i], inUnits.flags()[starts[i]]) << round << " at " << i;
        }
    }
}

TEST(CodePoints, EditsAreThoseOfUtf16)
{
    std::mt19937 random(51);
    std::u32string text;
    ZkTextCharacters edited, fresh;
    edited.setText(text.data(), 0);
    for (int round = 0; round < 2000; ++round) {
        const auto first = random() % (text.size() + 1);
        const auto removed = random() % (std::min<std::size_t>(text.size() - first, 4) + 1);
        const std::u32string more = randomText(&random, text.size() > 40 ? 2 : 5);
        text.replace(first, removed, more);
        edited.edit(text.data(), static_cast<int>(first), static_cast<int>(removed),
                    static_cast<int>(more.size()));
        fresh.setText(text.data(), static_cast<int>(text.size()));
        ASSERT_EQ(edited.size(), fresh.size());
        ASSERT_EQ(edited.isLeftToRight(), fresh.isLeftToRight());
        for (int i = 0; i < fresh.size(); ++i) {
            ASSERT_EQ(edited.character(i), text[static_cast<std::size_t>(i)]) << round;
            ASSERT_EQ(fresh.character(i), text[static_cast<std::size_t>(i)]) << round;
        }
    }
}

TEST(CodePoints, TheOrderOfManyRunsIsThatOfEachOfThem)
{
    std::u32string text;
    std::vector<int> expected;
    for (int run = 0; run < 200; ++run) { // a letter from each side in turn
        expected.push_back(static_cast<int>(text.size()));
        text += U'a';
        expected.push_back(static_cast<int>(text.size()) + 1);
        expected.push_back(static_cast<int>(text.size()));
        text += U"\u05D0\u05D1";
    }
    ZkBidi bidi;
    const int size = static_cast<int>(text.size());
    bidi.setText(text.data(), size, ZkBidi::LeftToRight);
    std::vector<int> order(text.size());
    bidi.visualOrder(0, size, order.data());
    EXPECT_EQ(order, expected);
    EXPECT_EQ(bidi.visualRuns(0, size, nullptr, 0), 400);
}

// What ends an embedding ends none while isolates are open that were too deep to count.
TEST(CodePoints, EmbeddingsAreNotEndedInsideIsolatesThatAreTooDeep)
{
    const auto levelsOf = [](const std::u32string &text) {
        ZkBidi bidi;
        bidi.setText(text.data(), static_cast<int>(text.size()), ZkBidi::LeftToRight);
        std::vector<int> levels;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] == U'a') {
                levels.push_back(bidi.level(static_cast<int>(i)));
            }
        }
        return levels;
    };
    const std::u32string open(130, U'\u2067'), close(130, U'\u2069');
    const std::u32string embedding = U"\u202B"; // from right to left
    const std::vector<int> plain = levelsOf(embedding + U"a" + open + U"a" + close + U"a");
    ASSERT_EQ(plain, (std::vector<int>{2, 126, 2}));
    EXPECT_EQ(levelsOf(embedding + U"a" + open + U"\u202C\u202Ca" + close + U"a"), plain);
    EXPECT_EQ(levelsOf(embedding + U"a" + open + U"a" + close + U"\u202Ca"),
              (std::vector<int>{2, 126, 0}));
}

TEST(CodePoints, UnseenIsWhatTheDataFilesCallSoButSignsThatEnclose)
{
    std::vector<bool> ignorable(0x110000, false), prepended(0x110000, false);
    const auto mark = [](std::vector<bool> *set, const char *property) {
        return [set, property](const std::string &line) {
            const std::vector<std::string> fields = fieldsOf(line);
            if (fields.size() < 2 || fields[1] != property) {
                return;
            }
            const std::size_t dots = fields[0].find("..");
            const char32_t last =
                codePointOf(dots == std::string::npos ? fields[0] : fields[0].substr(dots + 2));
            for (char32_t c = codePointOf(fields[0]); c <= last; ++c) {
                (*set)[c] = true;
            }
        };
    };
    readDataLines("DerivedCoreProperties.txt", 12000,
                  mark(&ignorable, "Default_Ignorable_Code_Point"));
    readDataLines("PropList.txt", 1580, mark(&prepended, "Prepended_Concatenation_Mark"));
    int unseen = 0;
    for (char32_t c = 0; c < 0x110000; ++c) {
        const ZkCharacter &properties = zkCharacter(c);
        const unsigned category = properties.category;
        const bool isJoiner = c >= 0x13430 && c <= 0x1345F; // of hieroglyphs, which show
        const bool isFormat = category == ZkCharacter::CategoryCf && !prepended[c] && !isJoiner;
        const bool isControl = category == ZkCharacter::CategoryCc ||
                               category == ZkCharacter::CategoryZl ||
                               category == ZkCharacter::CategoryZp;
        const bool expected = isControl || isFormat || ignorable[c];
        ASSERT_EQ(zkIsUnseen(c, properties), expected) << std::hex << unsigned(c);
        unseen += expected ? 1 : 0;
    }
    EXPECT_GT(unseen, 4000);
}
