#include <zkcharacter.h>

#include "conformancefile.h"
#include "mallochook.h"
#include "textedits.h"
#include "utf16.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace
{

constexpr char32_t kCodePoints = 0x110000;

/// A property of every code point as a data file has it: a name each, and the field of
/// our record with the values' names in its order.
struct Property {
    const char *file;
    int lines; ///< data lines of the file
    const char *otherwise;
    unsigned (*field)(const ZkCharacter &);
    std::vector<std::string> names;
};

std::vector<std::string> words(const std::string &text)
{
    return fieldsOf(text, ' ');
}

typedef const ZkCharacter &Record;

const Property kProperties[] = {
    {"extracted/DerivedGeneralCategory.txt", 4007, "Cn", [](Record r) { return r.category + 0U; },
     words("Lu Ll Lt Lm Lo Mn Mc Me Nd Nl No Pc Pd Ps Pe Pi Pf Po Sm Sc Sk So Zs Zl Zp Cc Cf Cs "
           "Co Cn")},
    {"LineBreak.txt", 3541, "XX", [](Record r) { return r.line + 0U; },
     words("XX AI AL B2 BA BB BK CB CJ CL CM CP CR EB EM EX GL H2 H3 HL HY ID IN IS JL JT JV LF NL "
           "NS NU OP PO PR QU RI SA SG SP SY WJ ZW ZWJ")},
    {"auxiliary/GraphemeBreakProperty.txt", 1391, "Other", [](Record r) { return r.grapheme + 0U; },
     words("Other CR LF Control Extend ZWJ Regional_Indicator Prepend SpacingMark L V T LV LVT")},
    {"auxiliary/WordBreakProperty.txt", 1359, "Other", [](Record r) { return r.word + 0U; },
     words("Other CR LF Newline Extend ZWJ Format Regional_Indicator Katakana Hebrew_Letter "
           "ALetter Single_Quote Double_Quote MidNumLet MidLetter MidNum Numeric ExtendNumLet "
           "WSegSpace")},
    {"extracted/DerivedJoiningType.txt", 519, "U", [](Record r) { return r.joining + 0U; },
     words("U R L D C T")},
    {"EastAsianWidth.txt", 2575, "N", [](Record r) { return r.width + 0U; }, words("N A H Na F W")},
};

std::vector<std::string> valuesOf(const std::string &file, int lines, const std::string &otherwise,
                                  std::size_t field = 1)
{
    std::vector<std::string> values(kCodePoints, otherwise);
    readDataLines(file, lines, [&](const std::string &line) {
        const std::vector<std::string> fields = fieldsOf(line);
        const std::size_t dots = fields[0].find("..");
        const char32_t first = codePointOf(fields[0]);
        const char32_t last =
            dots == std::string::npos ? first : codePointOf(fields[0].substr(dots + 2));
        for (char32_t c = first; c <= last; ++c) {
            values[c] = fields[field];
        }
    });
    return values;
}

std::string named(char32_t c)
{
    char text[16];
    std::snprintf(text, sizeof text, "U+%04X", static_cast<unsigned>(c));
    return text;
}

/// Code points for which a check fails; the first few are told.
class Failures
{
public:
    void expect(bool holds, char32_t c, const std::string &what)
    {
        if (!holds && ++m_count <= 5) {
            ADD_FAILURE() << named(c) << " " << what;
        }
    }

private:
    int m_count = 0;
};

} // namespace

TEST(ZkCharacter, ClassesAreThoseOfTheDataFilesForEveryCodePoint)
{
    for (const Property &property : kProperties) {
        SCOPED_TRACE(property.file);
        const auto values = valuesOf(property.file, property.lines, property.otherwise);
        Failures failures;
        for (char32_t c = 0; c < kCodePoints; ++c) {
            failures.expect(property.names[property.field(zkCharacter(c))] == values[c], c,
                            values[c]);
        }
    }
}

TEST(ZkCharacter, BidiClassesHaveTheDefaultsOfTheirRanges)
{
    const std::vector<std::string> names =
        words("L R AL EN ES ET AN CS NSM BN B S WS ON LRE LRO RLE RLO PDF LRI RLI FSI PDI");
    auto values = valuesOf("extracted/DerivedBidiClass.txt", 2227, "");
    // What the comments of the file say of code points that are not assigned.
    const struct {
        char32_t first, last;
        const char *value;
    } kDefaults[] = {
        {0x0590, 0x05FF, "R"},    {0x0600, 0x07BF, "AL"},   {0x07C0, 0x085F, "R"},
        {0x0860, 0x08FF, "AL"},   {0x20A0, 0x20CF, "ET"},   {0xFB1D, 0xFB4F, "R"},
        {0xFB50, 0xFDCF, "AL"},   {0xFDF0, 0xFDFF, "AL"},   {0xFE70, 0xFEFF, "AL"},
        {0x10800, 0x10CFF, "R"},  {0x10D00, 0x10D3F, "AL"}, {0x10D40, 0x10EBF, "R"},
        {0x10EC0, 0x10EFF, "AL"}, {0x10F00, 0x10F2F, "R"},  {0x10F30, 0x10F6F, "AL"},
        {0x10F70, 0x10FFF, "R"},  {0x1E800, 0x1EC6F, "R"},  {0x1EC70, 0x1ECBF, "AL"},
        {0x1ECC0, 0x1ECFF, "R"},  {0x1ED00, 0x1ED4F, "AL"}, {0x1ED50, 0x1EDFF, "R"},
        {0x1EE00, 0x1EEFF, "AL"}, {0x1EF00, 0x1EFFF, "R"},  {0, 0x10FFFF, "L"},
    };
    for (const auto &range : kDefaults) {
        for (char32_t c = range.first; c <= range.last; ++c) {
            if (values[c].empty()) {
                values[c] = range.value;
            }
        }
    }
    Failures failures;
    for (char32_t c = 0; c < kCodePoints; ++c) {
        failures.expect(names[zkCharacter(c).bidi] == values[c], c, values[c]);
    }
}

TEST(ZkCharacter, ScriptsAreThoseOfTheDataFileEachWithOneNumber)
{
    const auto values = valuesOf("Scripts.txt", 2191, "Unknown");
    std::map<std::string, unsigned> numbers;
    Failures failures;
    for (char32_t c = 0; c < kCodePoints; ++c) {
        const unsigned number = zkCharacter(c).script;
        failures.expect(numbers.emplace(values[c], number).first->second == number, c, values[c]);
    }
    EXPECT_EQ(numbers.size(), 164U);
    EXPECT_EQ(numbers["Unknown"], unsigned(ZkCharacter::ScriptUnknown));
    EXPECT_EQ(numbers["Arabic"], unsigned(ZkCharacter::ScriptArabic));
    EXPECT_EQ(numbers["Zanabazar_Square"], unsigned(ZkCharacter::ScriptZanabazarSquare));
}

TEST(ZkCharacter, CombiningClassesAndEmojiAreThoseOfTheDataFiles)
{
    const auto classes = valuesOf("extracted/DerivedCombiningClass.txt", 2374, "0");
    Failures failures;
    for (char32_t c = 0; c < kCodePoints; ++c) {
        failures.expect(std::to_string(zkCharacter(c).combiningClass) == classes[c], c, classes[c]);
    }
    std::map<std::string, std::vector<bool>> emoji;
    readDataLines("emoji/emoji-data.txt", 1258, [&](const std::string &line) {
        const std::vector<std::string> fields = fieldsOf(line);
        const std::size_t dots = fields[0].find("..");
        std::vector<bool> &has = emoji[fields[1]];
        has.resize(kCodePoints);
        const char32_t first = codePointOf(fields[0]);
        const char32_t last =
            dots == std::string::npos ? first : codePointOf(fields[0].substr(dots + 2));
        for (char32_t c = first; c <= last; ++c) {
            has[c] = true;
        }
    });
    ASSERT_EQ(emoji.size(), 6U);
    for (char32_t c = 0; c < kCodePoints; ++c) {
        const ZkCharacter &record = zkCharacter(c);
        failures.expect(emoji["Emoji"][c] == (record.isEmoji != 0), c, "Emoji");
        failures.expect(emoji["Emoji_Presentation"][c] == (record.isEmojiPresentation != 0), c,
                        "Emoji_Presentation");
        failures.expect(emoji["Emoji_Modifier"][c] == (record.isEmojiModifier != 0), c,
                        "Emoji_Modifier");
        failures.expect(emoji["Emoji_Modifier_Base"][c] == (record.isEmojiModifierBase != 0), c,
                        "Emoji_Modifier_Base");
        failures.expect(emoji["Emoji_Component"][c] == (record.isEmojiComponent != 0), c,
                        "Emoji_Component");
        failures.expect(emoji["Extended_Pictographic"][c] == (record.isExtendedPictographic != 0),
                        c, "Extended_Pictographic");
    }
}

TEST(ZkCharacter, MirrorsAndBracketsAreThoseOfTheDataFiles)
{
    std::map<char32_t, char32_t> mirrors;
    readDataLines("BidiMirroring.txt", 428, [&](const std::string &line) {
        const std::vector<std::string> fields = fieldsOf(line);
        mirrors[codePointOf(fields[0])] = codePointOf(fields[1]);
    });
    std::map<char32_t, std::string> brackets;
    readDataLines("BidiBrackets.txt", 128, [&](const std::string &line) {
        const std::vector<std::string> fields = fieldsOf(line);
        brackets[codePointOf(fields[0])] = fields[2];
        EXPECT_EQ(zkMirrored(codePointOf(fields[0])), codePointOf(fields[1])) << line;
    });
    std::vector<bool> mirrored(kCodePoints);
    readDataLines("UnicodeData.txt", 34924, [&](const std::string &line) {
        const std::vector<std::string> fields = fieldsOf(line);
        mirrored[codePointOf(fields[0])] = fields[9] == "Y";
    });
    Failures failures;
    for (char32_t c = 0; c < kCodePoints; ++c) {
        const ZkCharacter &record = zkCharacter(c);
        const auto mirror = mirrors.find(c);
        failures.expect(zkMirrored(c) == (mirror == mirrors.end() ? c : mirror->second), c,
                        "mirror");
        failures.expect(mirrored[c] == (record.isMirrored != 0), c, "mirrored");
        const auto bracket = brackets.find(c);
        const unsigned expected = bracket == brackets.end() ? ZkCharacter::BracketNone
                                  : bracket->second == "o"  ? ZkCharacter::BracketOpen
                                                            : ZkCharacter::BracketClose;
        failures.expect(record.bracket == expected, c, "bracket");
    }
    EXPECT_EQ(zkMirrored(0x110000), char32_t(0x110000));
}

TEST(ZkCharacter, IndicRolesFollowSyllablesAndPositions)
{
    const auto syllables = valuesOf("IndicSyllabicCategory.txt", 922, "Other");
    const auto positions = valuesOf("IndicPositionalCategory.txt", 625, "NA");
    Failures failures;
    for (char32_t c = 0; c < kCodePoints; ++c) {
        const ZkCharacter &record = zkCharacter(c);
        const bool isUnspaced = record.line == ZkCharacter::LineSA;
        failures.expect((record.indic == ZkCharacter::IndicLeadingVowel) ==
                            (isUnspaced && positions[c] == "Visual_Order_Left"),
                        c, "leading vowel");
        failures.expect((record.indic == ZkCharacter::IndicStacker) ==
                            (isUnspaced && syllables[c] == "Invisible_Stacker"),
                        c, "stacker");
        if (record.indic == ZkCharacter::IndicLinker) {
            failures.expect(syllables[c] == "Virama", c, "linker");
        }
        if (record.indic == ZkCharacter::IndicConsonant) {
            failures.expect(syllables[c] == "Consonant", c, "consonant");
        }
    }
    EXPECT_EQ(zkCharacter(0x0915).indic, unsigned(ZkCharacter::IndicConsonant));
    EXPECT_EQ(zkCharacter(0x094D).indic, unsigned(ZkCharacter::IndicLinker));
    EXPECT_EQ(zkCharacter(0x200D).indic, unsigned(ZkCharacter::IndicExtend));
    EXPECT_EQ(zkCharacter(0x0E40).indic, unsigned(ZkCharacter::IndicLeadingVowel));
    EXPECT_EQ(zkCharacter(0x0E32).indic, unsigned(ZkCharacter::IndicFollowingVowel));
}

TEST(ZkCharacter, BeyondUnicodeIsNotAssigned)
{
    for (const char32_t c : {0x110000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(&zkCharacter(c), &zkCharacter(0x10FFFF));
        EXPECT_EQ(zkCharacter(c).category, unsigned(ZkCharacter::CategoryCn));
    }
}

TEST(ZkCharacter, CompositionsAreThoseOfNormalFormC)
{
    std::vector<bool> excluded(kCodePoints);
    readDataLines("DerivedNormalizationProps.txt", 9840, [&](const std::string &line) {
        const std::vector<std::string> fields = fieldsOf(line);
        if (fields[1] != "Full_Composition_Exclusion") {
            return;
        }
        const std::size_t dots = fields[0].find("..");
        const char32_t first = codePointOf(fields[0]);
        const char32_t last =
            dots == std::string::npos ? first : codePointOf(fields[0].substr(dots + 2));
        std::fill(excluded.begin() + std::ptrdiff_t(first),
                  excluded.begin() + std::ptrdiff_t(last) + 1, true);
    });
    std::map<std::pair<char32_t, char32_t>, char32_t> pairs;
    readDataLines("UnicodeData.txt", 34924, [&](const std::string &line) {
        const std::vector<std::string> fields = fieldsOf(line);
        const std::vector<std::string> parts = words(fields[5]);
        const char32_t c = codePointOf(fields[0]);
        if (parts.size() == 2 && parts[0][0] != '<' && !excluded[c]) {
            pairs[{codePointOf(parts[0]), codePointOf(parts[1])}] = c;
        }
    });
    std::vector<char32_t> bases, marks;
    for (const auto &entry : pairs) {
        bases.push_back(entry.first.first);
        marks.push_back(entry.first.second);
    }
    bases.insert(bases.end(), {0, 'A' - 1, 'q', 0x4E00, 0x10FFFF, 0x110000});
    marks.insert(marks.end(), {0, ' ', 0x0315, 0x10FFFF});
    std::sort(marks.begin(), marks.end());
    marks.erase(std::unique(marks.begin(), marks.end()), marks.end());
    EXPECT_GT(pairs.size(), 900U);
    for (const char32_t base : bases) {
        for (const char32_t mark : marks) {
            const auto found = pairs.find({base, mark});
            ASSERT_EQ(zkCompose(base, mark), found == pairs.end() ? 0 : found->second)
                << named(base) << " " << named(mark);
        }
    }
}

TEST(ZkCharacter, HangulIsComposedByItsLetters)
{
    EXPECT_EQ(zkCompose(0x1100, 0x1161), char32_t(0xAC00));
    EXPECT_EQ(zkCompose(0x1112, 0x1175), char32_t(0xD788));
    EXPECT_EQ(zkCompose(0xAC00, 0x11A8), char32_t(0xAC01));
    EXPECT_EQ(zkCompose(0xD788, 0x11C2), char32_t(0xD7A3));
    for (const auto &none : {std::pair<char32_t, char32_t>(0x1113, 0x1161),
                             {0x1100, 0x1176},
                             {0x1100, 0x1160},
                             {0xAC00, 0x11A7},
                             {0xAC00, 0x11C3},
                             {0xAC01, 0x11A8},
                             {0xABFF, 0x11A8},
                             {0xD7A4, 0x11A8}}) {
        EXPECT_EQ(zkCompose(none.first, none.second), char32_t(0)) << named(none.first);
    }
}

TEST(ZkTextCharacters, PairsAreOneCharacterAndLoneSurrogatesThemselves)
{
    const ZkUcs2 units[] = {'a', 0xD83D, 0xDE00, 0xDE00, 0xD83D, 'b', 0xD83D};
    const char32_t expected[] = {'a', 0x1F600, 0x1F600, 0xDE00, 0xD83D, 'b', 0xD83D};
    ZkTextCharacters text;
    EXPECT_EQ(text.size(), 0);
    text.setText(units, 7);
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(text.character(i), expected[i]) << i;
        EXPECT_EQ(&text.properties(i), &zkCharacter(expected[i])) << i;
    }
    const char32_t points[] = {0x1F600, 0xD83D, 0x110000};
    text.setText(points, 3);
    EXPECT_EQ(text.size(), 3);
    EXPECT_EQ(text.character(0), char32_t(0x1F600));
    EXPECT_EQ(text.character(2), char32_t(0x110000));
}

TEST(ZkTextCharacters, WhatMayRunFromTheRightIsTold)
{
    ZkTextCharacters text;
    Failures failures;
    for (char32_t c = 0; c < kCodePoints; ++c) {
        text.setText(&c, 1);
        const unsigned bidi = zkCharacter(c).bidi;
        const bool turns = bidi == ZkCharacter::BidiR || bidi == ZkCharacter::BidiAL ||
                           bidi == ZkCharacter::BidiAN || bidi >= ZkCharacter::BidiLRE;
        failures.expect(!turns || !text.isLeftToRight(), c, "turns text around");
        if (zkCharacter(c).script == ZkCharacter::ScriptLatin) {
            failures.expect(text.isLeftToRight(), c, "is Latin");
        }
        // The same as units, at every place of a block that is read at once.
        if (turns || c % 997 == 0) {
            std::u32string line(19, U'x');
            line[c % 19] = c;
            const std::vector<ZkUcs2> units = utf16Of(line);
            const bool isLeftToRight = text.isLeftToRight();
            text.setText(units.data(), static_cast<int>(units.size()));
            failures.expect(text.isLeftToRight() == isLeftToRight, c, "as units");
        }
    }
}

TEST(ZkTextCharacters, ACallersBufferNeedsNoMemory)
{
    std::uint16_t buffer[8];
    const ZkUcs2 units[] = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i'};
    ZkTextCharacters text(buffer, 8);
    const int before = mallochook::allocations;
    text.setText(units, 8);
    EXPECT_EQ(mallochook::allocations - before, 0);
    text.setText(units, 9);
    EXPECT_EQ(mallochook::allocations - before, 1);
    EXPECT_EQ(text.character(8), char32_t('i'));
    text.setText(units, 9);
    EXPECT_EQ(mallochook::allocations - before, 1) << "memory is kept";
}

TEST(ZkTextCharacters, AnEditIsTheSameAsTheNewText)
{
    RandomEdits edits(3, {'a', 0xD83D, 0xDE00, 0x05D0, 0x0301, '\n', 0xD802, 0xDC00});
    ZkTextCharacters edited, fresh;
    edited.setText(edits.data(), 0);
    for (int round = 0; round < 3000; ++round) {
        const RandomEdits::Edit edit = edits.next();
        edited.edit(edits.data(), edit.first, edit.removed, edit.inserted);
        fresh.setText(edits.data(), edits.size());
        ASSERT_EQ(edited.size(), fresh.size());
        ASSERT_EQ(edited.isLeftToRight(), fresh.isLeftToRight());
        for (int i = 0; i < fresh.size(); ++i) {
            ASSERT_EQ(edited.character(i), fresh.character(i)) << round << " at " << i;
        }
    }
}
