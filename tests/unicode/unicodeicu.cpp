// Levels, visual order and boundaries beside ICU 72, which has the same version of
// Unicode: random characters drawn by class, and real text.

#include <zkbidi.h>
#include <zktextbreaks.h>

#include "icuunicode.h"
#include "rounds.h"
#include "utf16.h"

#include <gtest/gtest.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

using namespace icuunicode;

namespace
{

/// Draws characters: first a property, then one of its values, then a character that has
/// it, so that rare classes meet as often as common ones.
class Drawing
{
public:
    explicit Drawing(unsigned seed) : m_random(seed)
    {
        std::map<std::pair<int, int>, std::vector<char32_t>> classes;
        for (char32_t c = 0; c <= 0x10FFFF; ++c) {
            if (c == 0x2329 || c == 0x232A) {
                // ICU pairs each of them twice, as itself and as its canonical equivalent,
                // and finds the one left over later. The conformance test has both.
                continue;
            }
            const ZkCharacter &record = zkCharacter(c);
            classes[{0, record.bidi}].push_back(c);
            classes[{1, record.line << 1 | record.lineVariant}].push_back(c);
            classes[{2, record.grapheme << 1 | record.isExtendedPictographic}].push_back(c);
            classes[{3, record.word << 1 | record.isExtendedPictographic}].push_back(c);
            if (record.bracket != ZkCharacter::BracketNone) {
                classes[{0, 100}].push_back(c);
            }
        }
        m_properties.resize(4);
        for (auto &entry : classes) {
            m_properties[static_cast<std::size_t>(entry.first.first)].push_back(
                std::move(entry.second));
        }
    }

    int number(int below) { return std::uniform_int_distribution<int>(0, below - 1)(m_random); }

    /// Texts of one property mostly have its own classes side by side.
    Units text(int length)
    {
        std::u32string characters;
        const int property = number(4);
        const bool fewLetters = number(4) == 0;
        const char32_t brackets[] = {'(', ')', '[', ']', '{', '}', 0x3008, 0x3009};
        for (int i = 0; i < length; ++i) {
            if (fewLetters && number(3) == 0) {
                characters.push_back(brackets[number(8)]);
                continue;
            }
            const auto &values = m_properties[static_cast<std::size_t>(property)];
            const auto &value = values[static_cast<std::size_t>(number(int(values.size())))];
            characters.push_back(value[static_cast<std::size_t>(number(int(value.size())))]);
        }
        return utf16Of(characters);
    }

private:
    std::mt19937 m_random;
    std::vector<std::vector<std::vector<char32_t>>> m_properties;
};

} // namespace

TEST(UnicodeBesideIcu, LevelsAndOrderOfRandomCharacters)
{
    Drawing drawing(1);
    ZkBidi ours;
    IcuBidi icu;
    const int wanted = scaledRounds(10000000);
    int failures = 0;
    for (int characters = 0; characters < wanted && failures < 10;) {
        const Units text = drawing.text(1 + drawing.number(40));
        characters += sizeOf(text);
        const auto direction = static_cast<ZkBidi::Direction>(drawing.number(4));
        const int cut = drawing.number(100);
        const auto differs = [&](const Units &units) {
            return !sameDirections(units, ours, icu, direction, cut);
        };
        if (differs(text)) {
            const Units least = shortened(text, differs);
            if (hasMarkedBracket(least)) {
                ++markedBrackets;
            } else if (hasEndBehindEnd(least)) {
                ++closedBefore;
            } else if (hasOverriddenBracket(least)) {
                ++overriddenBrackets;
            } else {
                ++failures;
                ADD_FAILURE() << shown(least) << "direction " << direction;
            }
        }
    }
    std::printf("lines that ICU reckons to run one way: %d; marks on brackets: %d; PDI behind "
                "PDF: %d; brackets in overrides: %d\n",
                unidirectional, markedBrackets, closedBefore, overriddenBrackets);
}

TEST(UnicodeBesideIcu, BoundariesOfRandomCharacters)
{
    Drawing drawing(2);
    Deviations deviations;
    for (const Kind &kind : kKinds) {
        IcuBreaks icu(kind.type);
        const int wanted = scaledRounds(10000000);
        int failures = 0;
        for (int characters = 0; characters < wanted && failures < 10;) {
            const Units text =
                withoutDictionary(drawing.text(1 + drawing.number(40)), kind.flag, &deviations);
            characters += sizeOf(text);
            const auto differs = [&](const Units &units) {
                return !sameBreaks(units, kind, icu, deviations);
            };
            if (differs(text)) {
                ++failures;
                const Units units = shortened(text, differs);
                ADD_FAILURE() << kind.name << ": " << shown(units) << "\n"
                              << ::testing::PrintToString(ourBreaks(units, kind.flag)) << "\nICU\n"
                              << ::testing::PrintToString(icu.find(units));
            }
        }
    }
    std::printf("left out for dictionaries: %d; points before numbers: %d; hyphens before words: "
                "%d; joined flags: %d; colons and at signs: %d\n",
                deviations.dictionary, deviations.numberPoint, deviations.leadingHyphen,
                deviations.joinedFlags, deviations.colonOrAt);
}

TEST(UnicodeBesideIcu, TheArticlesInEveryLanguage)
{
    ZkBidi ours;
    IcuBidi icu;
    Deviations deviations;
    for (const char *const language :
         {"arabic", "chinese", "english", "hebrew", "japanese", "korean", "persian", "thai"}) {
        SCOPED_TRACE(language);
        std::ifstream file(std::string(ZK_TEXTS "/") + language + ".txt");
        const std::string bytes{std::istreambuf_iterator<char>(file), {}};
        ASSERT_FALSE(bytes.empty());
        Units text(bytes.size());
        UErrorCode error = U_ZERO_ERROR;
        int units = 0;
        u_strFromUTF8(reinterpret_cast<UChar *>(text.data()), sizeOf(text), &units, bytes.data(),
                      sizeOf(text), &error);
        ASSERT_TRUE(U_SUCCESS(error));
        text.resize(static_cast<std::size_t>(units));
        for (const ZkBidi::Direction direction : {ZkBidi::Auto, ZkBidi::RightToLeft}) {
            EXPECT_TRUE(sameDirections(text, ours, icu, direction, 40));
        }
        for (const Kind &kind : kKinds) {
            IcuBreaks breaks(kind.type);
            EXPECT_TRUE(sameBreaks(withoutDictionary(text, kind.flag, &deviations), kind, breaks,
                                   deviations))
                << kind.name;
        }
    }
    // Letters of Thai for lines, those of Chinese, Japanese and Korean too for words.
    EXPECT_GT(deviations.dictionary, 0);
}
