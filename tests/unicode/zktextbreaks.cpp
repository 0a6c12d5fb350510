#include <zkbidi.h>
#include <zktextbreaks.h>

#include "conformancefile.h"
#include "mallochook.h"
#include "rounds.h"
#include "textedits.h"
#include "utf16.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace
{

/// A line of a break test: characters, and for each boundary whether one is there.
struct BreakLine {
    std::u32string text;
    std::vector<bool> isBreak;
};

BreakLine parsed(const std::string &line)
{
    BreakLine result;
    std::istringstream stream(line);
    std::string part;
    while (stream >> part) {
        if (part == "\u00F7" || part == "\u00D7") {
            result.isBreak.push_back(part == "\u00F7");
        } else {
            result.text.push_back(codePointOf(part));
        }
    }
    return result;
}

/// Compares every line of a file with the flag that it is about, for the text as code
/// points and as UTF-16.
void checkFile(const std::string &name, int known, unsigned flag)
{
    int failures = 0;
    readDataLines(name, known, [&](const std::string &line) {
        const BreakLine expected = parsed(line);
        const auto count = static_cast<int>(expected.text.size());
        std::vector<std::uint8_t> flags(expected.text.size() + 1);
        ZkTextBreaks::find(expected.text.data(), count, flags.data(), ZkTextBreaks::AsLetters);
        const std::vector<ZkUcs2> units = utf16Of(expected.text);
        const std::vector<int> starts = unitStarts(expected.text);
        ZkTextBreaks breaks;
        breaks.setUnspaced(ZkTextBreaks::AsLetters);
        breaks.setText(units.data(), static_cast<int>(units.size()));
        ASSERT_EQ(expected.isBreak.size(), flags.size()) << line;
        std::vector<bool> found, foundInUnits;
        for (std::size_t i = 0; i < flags.size(); ++i) {
            found.push_back((flags[i] & flag) != 0);
            foundInUnits.push_back((breaks.flags()[starts[i]] & flag) != 0);
        }
        if (found != expected.isBreak || foundInUnits != expected.isBreak) {
            ++failures;
            if (failures < 20) {
                ADD_FAILURE() << name << ": " << line << "\nfound "
                              << ::testing::PrintToString(found) << "\nin units "
                              << ::testing::PrintToString(foundInUnits);
            }
        }
    });
    EXPECT_EQ(failures, 0);
}

} // namespace

TEST(ZkTextBreaks, LinesFollowEveryLineOfTheConformanceTest)
{
    checkFile("auxiliary/LineBreakTest.txt", 7654, ZkTextBreaks::LineAllowed);
}

TEST(ZkTextBreaks, GraphemeClustersFollowEveryLineOfTheConformanceTest)
{
    checkFile("auxiliary/GraphemeBreakTest.txt", 602, ZkTextBreaks::Grapheme);
}

TEST(ZkTextBreaks, WordsFollowEveryLineOfTheConformanceTest)
{
    checkFile("auxiliary/WordBreakTest.txt", 1823, ZkTextBreaks::Word);
}

namespace
{

typedef std::vector<ZkUcs2> Units;

Units unitsOf(const char16_t *text)
{
    return Units(text, text + std::char_traits<char16_t>::length(text));
}

/// The units before which a flag is set, without the two ends.
std::vector<int> placesOf(const ZkTextBreaks &breaks, unsigned flag)
{
    std::vector<int> places;
    for (int i = 1; i < breaks.size(); ++i) {
        if ((breaks.flags()[i] & flag) != 0) {
            places.push_back(i);
        }
    }
    return places;
}

/// Begins a word before each of some letters.
class LetterBreaker : public ZkWordBreaker
{
public:
    explicit LetterBreaker(ZkUcs2 letter) : m_letter(letter) {}

    void findWords(const ZkUcs2 *run, int units, std::uint8_t *starts) override
    {
        runs.emplace_back(run, run + units);
        for (int i = 0; i < units; ++i) {
            starts[i] = run[i] == m_letter ? 1 : 0;
        }
    }

    std::vector<Units> runs;

private:
    ZkUcs2 m_letter;
};

} // namespace

TEST(ZkTextBreaks, AtBothEndsOfAText)
{
    ZkTextBreaks breaks;
    EXPECT_EQ(breaks.size(), 0);
    EXPECT_EQ(breaks.flags()[0], 0);
    const Units text = unitsOf(u"a");
    breaks.setText(text.data(), 1);
    EXPECT_EQ(breaks.flags()[0], ZkTextBreaks::Grapheme | ZkTextBreaks::Word);
    EXPECT_EQ(breaks.flags()[1], 15);
    breaks.setText(text.data(), 0);
    EXPECT_EQ(breaks.flags()[0], 0) << "an empty text";
}

TEST(ZkTextBreaks, LinesMustEndBehindTheirSeparators)
{
    for (const char16_t *const separator :
         {u"\n", u"\r", u"\r\n", u"\v", u"\f", u"\u0085", u"\u2028", u"\u2029"}) {
        const Units end = unitsOf(separator);
        Units text = {'a'};
        text.insert(text.end(), end.begin(), end.end());
        text.push_back('b');
        ZkTextBreaks breaks;
        breaks.setText(text.data(), static_cast<int>(text.size()));
        const int behind = 1 + static_cast<int>(end.size());
        EXPECT_EQ(placesOf(breaks, ZkTextBreaks::LineMandatory), std::vector<int>{behind});
        EXPECT_EQ(placesOf(breaks, ZkTextBreaks::LineAllowed), std::vector<int>{behind});
    }
}

TEST(ZkTextBreaks, WithoutABreakerThaiIsDividedBetweenClusters)
{
    // Letters with vowels before and behind them, and a mark above.
    const Units text = unitsOf(u"\u0e40\u0e01\u0e34\u0e14\u0e21\u0e32 \u0e01a");
    ZkTextBreaks breaks;
    breaks.setText(text.data(), static_cast<int>(text.size()));
    EXPECT_EQ(placesOf(breaks, ZkTextBreaks::LineAllowed), (std::vector<int>{3, 4, 7}));
    breaks.setUnspaced(ZkTextBreaks::AsLetters);
    breaks.setText(text.data(), static_cast<int>(text.size()));
    EXPECT_EQ(placesOf(breaks, ZkTextBreaks::LineAllowed), std::vector<int>{7});
    // A stacked consonant of Khmer stays with the one above.
    const Units khmer = unitsOf(u"\u1780\u17d2\u1781\u1782");
    breaks.setUnspaced(ZkTextBreaks::BetweenClusters);
    breaks.setText(khmer.data(), 4);
    EXPECT_EQ(placesOf(breaks, ZkTextBreaks::LineAllowed), std::vector<int>{3});
}

TEST(ZkTextBreaks, ABreakerDecidesInsideRunsOfScriptsWithoutSpaces)
{
    const Units text = unitsOf(u"a \u0e01\u0e02\u0e34\u0e01\u0e03, \u0e01");
    LetterBreaker breaker(0x0E01);
    ZkTextBreaks breaks;
    breaks.setWordBreaker(&breaker);
    breaks.setText(text.data(), static_cast<int>(text.size()));
    ASSERT_EQ(breaker.runs.size(), 2U);
    EXPECT_EQ(breaker.runs[0], unitsOf(u"\u0e01\u0e02\u0e34\u0e01\u0e03"));
    EXPECT_EQ(breaker.runs[1], unitsOf(u"\u0e01"));
    EXPECT_EQ(placesOf(breaks, ZkTextBreaks::LineAllowed), (std::vector<int>{2, 5, 9}));
    EXPECT_EQ(placesOf(breaks, ZkTextBreaks::Word), (std::vector<int>{1, 2, 5, 7, 8, 9}));
    LetterBreaker atMark(0x0E34);
    breaks.setWordBreaker(&atMark);
    breaks.setText(text.data(), static_cast<int>(text.size()));
    EXPECT_EQ(placesOf(breaks, ZkTextBreaks::LineAllowed), (std::vector<int>{2, 9}))
        << "nothing within a cluster";
}

TEST(ZkTextBreaks, ABreakerIsAskedInUnitsForCodePointsToo)
{
    // Ahom lies beyond the Basic Multilingual Plane.
    const char32_t text[] = {0x0E01, 0x11700, 0x11701, 'x', 0x11702};
    LetterBreaker breaker(0xD805);
    std::uint8_t flags[6];
    ZkTextBreaks::find(text, 5, flags, ZkTextBreaks::BetweenClusters, &breaker);
    ASSERT_EQ(breaker.runs.size(), 2U);
    EXPECT_EQ(breaker.runs[0], (Units{0x0E01, 0xD805, 0xDF00, 0xD805, 0xDF01}));
    EXPECT_NE(flags[1] & ZkTextBreaks::LineAllowed, 0);
    EXPECT_NE(flags[2] & ZkTextBreaks::LineAllowed, 0);
    EXPECT_EQ(flags[3] & ZkTextBreaks::LineAllowed, 0);
}

TEST(ZkTextBreaks, NothingEndsWithinASurrogatePair)
{
    Units text;
    for (int i = 0; i < 700; ++i) { // pairs at every place of what is looked up at once
        text.push_back(0xD83D);
        text.push_back(0xDE00);
        if (i % 255 == 7) {
            text.push_back('a');
        }
    }
    ZkTextBreaks breaks;
    breaks.setText(text.data(), static_cast<int>(text.size()));
    for (int i = 1; i < breaks.size(); ++i) {
        if (text[static_cast<std::size_t>(i)] == 0xDE00) {
            EXPECT_EQ(breaks.flags()[i], 0) << i;
        } else {
            EXPECT_NE(breaks.flags()[i] & ZkTextBreaks::Grapheme, 0) << i;
        }
    }
}

TEST(ZkTextBreaks, EveryCharacterIsReadTheSameWayInEveryPlace)
{
    // Units are read in groups, with short ways for ASCII and for letters of one script;
    // code points one by one. `c` stands at every place of a group, beside each of them.
    const std::u32string kAround = U"a\u05d0\u0e01\u4e00 1\u0431\uac00";
    const int step = kSlowTests ? 17 : 1;
    for (char32_t c = 0; c <= 0x10FFFF; c += static_cast<char32_t>(step)) {
        if (c >= 0xD800 && c < 0xE000) {
            continue; // two halves of no pair side by side would be one
        }
        std::u32string text;
        for (std::size_t i = 0; i < 16; ++i) {
            text += i == c % 16 || i == 3 ? c : kAround[(c / 16 + i / 5) % kAround.size()];
        }
        std::uint8_t expected[17], found[33];
        ZkTextBreaks::find(text.data(), 16, expected);
        const Units units = utf16Of(text);
        const std::vector<int> starts = unitStarts(text);
        ZkTextBreaks::find(units.data(), static_cast<int>(units.size()), found);
        ZkBidi ofPoints, ofUnits;
        ofPoints.setText(text.data(), 16);
        ofUnits.setText(units.data(), static_cast<int>(units.size()));
        for (std::size_t i = 0; i < 16; ++i) {
            ASSERT_EQ(found[starts[i]], expected[i]) << std::hex << unsigned(c) << " at " << i;
            ASSERT_EQ(ofUnits.level(starts[i]), ofPoints.level(static_cast<int>(i)))
                << std::hex << unsigned(c) << " at " << i;
        }
    }
}

TEST(ZkTextBreaks, ACallersBufferNeedsNoMemory)
{
    const Units text(1000, 0x0628);
    std::vector<std::uint8_t> flags(1001);
    ZkTextBreaks breaks;
    breaks.setText(text.data(), 1000);
    const int before = mallochook::allocations;
    ZkTextBreaks::find(text.data(), 1000, flags.data());
    breaks.setText(text.data(), 999);
    EXPECT_EQ(mallochook::allocations - before, 0);
}

TEST(ZkTextBreaks, AnEditIsTheSameAsTheNewText)
{
    LetterBreaker breaker(0x0E01);
    for (const bool asks : {false, true}) {
        RandomEdits edits(asks ? 5 : 4, {'a', '.', '1', '\r', '\n', ' ', 0x0301, 0xD83C, 0xDDE6,
                                         0x0E01, 0x0E40, '\'', 0x2028, 0x200D, '(', '$'});
        ZkTextCharacters characters;
        ZkTextBreaks edited, fresh;
        edited.setWordBreaker(asks ? &breaker : nullptr);
        fresh.setWordBreaker(asks ? &breaker : nullptr);
        characters.setText(edits.data(), 0);
        edited.setText(characters);
        for (int round = 0; round < 4000; ++round) {
            const RandomEdits::Edit edit = edits.next();
            characters.edit(edits.data(), edit.first, edit.removed, edit.inserted);
            edited.edit(characters, edit.first, edit.removed, edit.inserted);
            fresh.setText(edits.data(), edits.size());
            ASSERT_EQ(edited.size(), fresh.size());
            ASSERT_EQ(Units(edited.flags(), edited.flags() + edited.size() + 1),
                      Units(fresh.flags(), fresh.flags() + fresh.size() + 1))
                << round << ": " << ::testing::PrintToString(edits.text()) << " at " << edit.first
                << ", " << edit.removed << " removed, " << edit.inserted << " inserted";
        }
    }
}

TEST(ZkTextBreaks, ATextIsReadTheSameWayWhereverItStands)
{
    // Texts are read in pieces and groups. Behind line feeds one is read as by itself, with
    // other places at their edges.
    const std::u32string kAlphabet =
        U"aaz  "
        U"11,.:/)(\"'\u201c\u2019$%\u05d0\u05d0\u05b0\u0301\u0628\u4e00\uac00\uac01\u0e01\u0e34"
        U"\u0e40\u200d\ufe0f\u00ad\u00e9\u2014\u300c\u0903\uffff\U0001F600\U0001F44D\U0001F3FD"
        U"\U0001F1E9\U0001F1EA\U0001F468\U000103A0\U00010900\U0010FFFF\n";
    std::mt19937 random(6);
    const auto below = [&](std::size_t n) { return random() % n; };
    for (int round = 0; round < scaledRounds(400); ++round) {
        std::u32string points;
        const std::size_t length = below(600);
        while (points.size() < length) {
            points.push_back(kAlphabet[below(kAlphabet.size())]);
        }
        const Units text = utf16Of(points);
        const auto size = static_cast<int>(text.size());
        std::vector<std::uint8_t> expected(text.size() + 1);
        ZkTextBreaks::find(text.data(), size, expected.data());
        ZkBidi expectedLevels;
        expectedLevels.setText(text.data(), size);
        for (const int lines : {1, 3, 8, 254, 255}) {
            Units moved(static_cast<std::size_t>(lines), '\n');
            moved.insert(moved.end(), text.begin(), text.end());
            const auto movedSize = static_cast<int>(moved.size());
            std::vector<std::uint8_t> found(moved.size() + 1);
            ZkTextBreaks::find(moved.data(), movedSize, found.data());
            ZkBidi levels;
            levels.setText(moved.data(), movedSize);
            for (int i = 1; i <= size; ++i) {
                ASSERT_EQ(found[static_cast<std::size_t>(lines + i)],
                          expected[static_cast<std::size_t>(i)])
                    << round << ", " << lines << " lines, unit " << i;
            }
            for (int i = 0; i < size; ++i) {
                ASSERT_EQ(levels.level(lines + i), expectedLevels.level(i))
                    << round << ", " << lines << " lines, unit " << i;
            }
        }
    }
}
