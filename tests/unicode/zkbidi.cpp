#include <zkbidi.h>

#include "conformancefile.h"
#include "mallochook.h"
#include "rounds.h"
#include "textedits.h"
#include "utf16.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace
{

const std::map<std::string, char32_t> kSamples = {
    {"L", U'a'},     {"R", 0x05D0},   {"AL", 0x0628},  {"EN", U'1'},    {"ES", U'-'},
    {"ET", U'%'},    {"AN", 0x0661},  {"CS", U','},    {"NSM", 0x0300}, {"BN", 0x00AD},
    {"B", 0x2029},   {"S", U'\t'},    {"WS", U' '},    {"ON", U'!'},    {"LRE", 0x202A},
    {"LRO", 0x202D}, {"RLE", 0x202B}, {"RLO", 0x202E}, {"PDF", 0x202C}, {"LRI", 0x2066},
    {"RLI", 0x2067}, {"FSI", 0x2068}, {"PDI", 0x2069},
};

constexpr int kRemoved = -1; // no level is expected of the character

/// What a conformance test says of a text.
struct Expected {
    std::vector<int> levels;
    std::vector<int> order;
};

std::vector<int> numbersOf(const std::string &text)
{
    std::vector<int> numbers;
    std::istringstream stream(text);
    std::string part;
    while (stream >> part) {
        numbers.push_back(part == "x" ? kRemoved : std::stoi(part));
    }
    return numbers;
}

/// The levels and the order of a text, which is one line, asked of `bidi`; what is
/// removed is left out as in `expected`. `starts` leads from characters to units.
bool hasResult(const ZkBidi &bidi, const std::vector<int> &starts, const Expected &expected)
{
    const int size = starts.back();
    std::vector<std::uint8_t> levels(static_cast<std::size_t>(size));
    bidi.lineLevels(0, size, levels.data());
    std::vector<int> characterAt(static_cast<std::size_t>(size), kRemoved);
    for (std::size_t i = 0; i < expected.levels.size(); ++i) {
        if (expected.levels[i] == kRemoved) {
            continue;
        }
        characterAt[static_cast<std::size_t>(starts[i])] = static_cast<int>(i);
        for (int unit = starts[i]; unit < starts[i + 1]; ++unit) {
            if (levels[static_cast<std::size_t>(unit)] != expected.levels[i]) {
                return false;
            }
        }
    }
    std::vector<int> order(static_cast<std::size_t>(size)), found;
    bidi.visualOrder(0, size, order.data());
    for (const int unit : order) {
        const int character = characterAt[static_cast<std::size_t>(unit)];
        if (character != kRemoved) {
            found.push_back(character);
        }
    }
    return found == expected.order;
}

/// Resolves `text` as code points, as UTF-16 and as characters looked up before.
bool check(const std::u32string &text, ZkBidi::Direction direction, const Expected &expected,
           int baseLevel = -1)
{
    static ZkBidi bidi;
    static ZkTextCharacters characters;
    std::vector<int> each;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        each.push_back(static_cast<int>(i));
    }
    bidi.setText(text.data(), static_cast<int>(text.size()), direction);
    if (!hasResult(bidi, each, expected) || (baseLevel >= 0 && bidi.baseLevel() != baseLevel)) {
        return false;
    }
    static unsigned turn = 0;
    if (kSlowTests && ++turn % 8 != 0) {
        return true; // the other forms of the text now and then
    }
    const std::vector<ZkUcs2> units = utf16Of(text);
    bidi.setText(units.data(), static_cast<int>(units.size()), direction);
    if (!hasResult(bidi, unitStarts(text), expected)) {
        return false;
    }
    characters.setText(units.data(), static_cast<int>(units.size()));
    bidi.setText(characters, direction);
    return hasResult(bidi, unitStarts(text), expected);
}

} // namespace

TEST(ZkBidi, LevelsAndOrderFollowEveryLineOfTheClassTest)
{
    Expected expected;
    int failures = 0, cases = 0;
    readDataLines("BidiTest.txt", 490846, [&](const std::string &line) {
        if (line.rfind("@Levels:", 0) == 0) {
            expected.levels = numbersOf(line.substr(8));
            return;
        }
        if (line.rfind("@Reorder:", 0) == 0) {
            expected.order = numbersOf(line.substr(9));
            return;
        }
        ASSERT_NE(line[0], '@') << line;
        const std::vector<std::string> fields = fieldsOf(line);
        std::u32string text;
        std::istringstream classes(fields[0]);
        std::string name;
        while (classes >> name) {
            text.push_back(kSamples.at(name));
        }
        const int directions = std::stoi(fields[1]);
        const ZkBidi::Direction kDirections[] = {ZkBidi::Auto, ZkBidi::LeftToRight,
                                                 ZkBidi::RightToLeft};
        for (int i = 0; i < 3; ++i) {
            if ((directions >> i & 1) != 0) {
                ++cases;
                if (!check(text, kDirections[i], expected) && ++failures < 20) {
                    ADD_FAILURE() << line << " direction " << i;
                }
            }
        }
    });
    EXPECT_EQ(failures, 0);
    EXPECT_GE(cases, 770241);
}

TEST(ZkBidi, LevelsAndOrderFollowEveryLineOfTheCharacterTest)
{
    int failures = 0;
    readDataLines("BidiCharacterTest.txt", 91707, [&](const std::string &line) {
        const std::vector<std::string> fields = fieldsOf(line);
        ASSERT_EQ(fields.size(), 5U) << line;
        std::u32string text;
        std::istringstream codes(fields[0]);
        std::string code;
        while (codes >> code) {
            text.push_back(codePointOf(code));
        }
        const ZkBidi::Direction kDirections[] = {ZkBidi::LeftToRight, ZkBidi::RightToLeft,
                                                 ZkBidi::Auto};
        const Expected expected = {numbersOf(fields[3]), numbersOf(fields[4])};
        if (!check(text, kDirections[std::stoi(fields[1])], expected, std::stoi(fields[2])) &&
            ++failures < 20) {
            ADD_FAILURE() << line;
        }
    });
    EXPECT_EQ(failures, 0);
}

namespace
{

typedef std::vector<ZkUcs2> Units;

Units unitsOf(const char16_t *text)
{
    return Units(text, text + std::char_traits<char16_t>::length(text));
}

std::vector<int> levelsOf(const ZkBidi &bidi)
{
    std::vector<int> levels;
    for (int i = 0; i < bidi.size(); ++i) {
        levels.push_back(bidi.level(i));
    }
    return levels;
}

} // namespace

TEST(ZkBidi, TextFromLeftToRightNeedsNoMemory)
{
    const Units text = unitsOf(u"Plain text, 12 \u201eZeichen\u201c \u4eba\u4eba. And more of it.");
    const int before = mallochook::allocations;
    ZkBidi bidi;
    bidi.setText(text.data(), static_cast<int>(text.size()));
    EXPECT_TRUE(bidi.isLeftToRight());
    EXPECT_EQ(bidi.paragraphCount(), 1);
    ZkBidi::Run run;
    EXPECT_EQ(bidi.visualRuns(3, 9, &run, 1), 1);
    EXPECT_EQ(run.first, 3);
    EXPECT_EQ(run.last, 9);
    EXPECT_EQ(run.level, 0);
    EXPECT_EQ(mallochook::allocations - before, 0);
}

TEST(ZkBidi, ACallersBufferSufficesForAnyText)
{
    for (const char16_t *const piece : {u"\u05d0(1)", u"\n\u05d0", u"\u2067a", u"\u200c\u0628"}) {
        Units text;
        while (text.size() < 300) {
            const Units more = unitsOf(piece);
            text.insert(text.end(), more.begin(), more.end());
        }
        const int size = static_cast<int>(text.size());
        std::vector<int> buffer(static_cast<std::size_t>(ZkBidi::bufferSize(size) / 4));
        const int before = mallochook::allocations;
        ZkBidi bidi(buffer.data(), ZkBidi::bufferSize(size));
        bidi.setText(text.data(), size);
        EXPECT_FALSE(bidi.isLeftToRight());
        EXPECT_EQ(mallochook::allocations - before, 0);
    }
}

TEST(ZkBidi, AnEditedTextLeavesTheCallersBuffer)
{
    const Units text = unitsOf(u"\u05d0a\n\u05d0b"), longer = unitsOf(u"\u05d0a\n\u05d0bc");
    const int before = mallochook::living;
    {
        std::vector<int> buffer(static_cast<std::size_t>(ZkBidi::bufferSize(5) / 4));
        ZkTextCharacters characters;
        characters.setText(text.data(), 5);
        ZkBidi bidi(buffer.data(), ZkBidi::bufferSize(5));
        bidi.setText(characters);
        characters.edit(longer.data(), 5, 0, 1);
        bidi.edit(characters, 5, 0, 1);
        std::fill(buffer.begin(), buffer.end(), -1);
        EXPECT_EQ(levelsOf(bidi), (std::vector<int>{1, 2, 1, 1, 2, 2}));
    }
    EXPECT_EQ(mallochook::living, before) << "leaks";
}

TEST(ZkBidi, ParagraphsAreSeparatedAndFindTheirOwnDirection)
{
    const Units text = unitsOf(u"ab\n\u05d0\r\n1\u2029\u05d0");
    ZkBidi bidi;
    bidi.setText(text.data(), static_cast<int>(text.size()));
    const ZkBidi::Paragraph kExpected[] = {{0, 3, 0}, {3, 6, 1}, {6, 8, 0}, {8, 9, 1}};
    ASSERT_EQ(bidi.paragraphCount(), 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(bidi.paragraph(i).first, kExpected[i].first);
        EXPECT_EQ(bidi.paragraph(i).last, kExpected[i].last);
        EXPECT_EQ(bidi.paragraph(i).level, kExpected[i].level);
    }
    EXPECT_EQ(bidi.paragraphOf(2).first, 0);
    EXPECT_EQ(bidi.paragraphOf(3).first, 3);
    EXPECT_EQ(levelsOf(bidi), (std::vector<int>{0, 0, 0, 1, 1, 1, 0, 0, 1}));
    bidi.setText(text.data(), static_cast<int>(text.size()), ZkBidi::AutoRightToLeft);
    EXPECT_EQ(bidi.paragraph(2).level, 1) << "no strong character";
    bidi.setText(text.data(), 0, ZkBidi::RightToLeft);
    EXPECT_EQ(bidi.paragraphCount(), 0);
    EXPECT_EQ(bidi.baseLevel(), 1);
    const Units plain = unitsOf(u"a\nb\r\n");
    bidi.setText(plain.data(), 5);
    EXPECT_EQ(bidi.paragraphCount(), 2) << "also where all runs from left to right";
    EXPECT_EQ(bidi.paragraph(1).last, 5);
}

TEST(ZkBidi, WhiteSpaceAtTheEndOfALineHasTheLevelOfTheParagraph)
{
    const Units text = unitsOf(u"ab \u05d0\u05d1 \u05d2");
    ZkBidi bidi;
    bidi.setText(text.data(), 7);
    EXPECT_EQ(levelsOf(bidi), (std::vector<int>{0, 0, 0, 1, 1, 1, 1}));
    std::uint8_t levels[6];
    bidi.lineLevels(0, 6, levels);
    EXPECT_EQ(levels[5], 0);
    ZkBidi::Run runs[3];
    ASSERT_EQ(bidi.visualRuns(0, 6, runs, 3), 3);
    EXPECT_EQ(runs[1].level, 1);
    EXPECT_EQ(runs[2].first, 5);
    EXPECT_EQ(runs[2].level, 0);
    EXPECT_EQ(bidi.visualRuns(2, 2, runs, 3), 0);
}

TEST(ZkBidi, RunsStandAsTheyAreSeenWhereThereIsRoomForAll)
{
    const Units text = unitsOf(u"ab \u05d0\u05d1");
    ZkBidi bidi;
    bidi.setText(text.data(), 5, ZkBidi::RightToLeft);
    for (const int room : {0, 1, 2, 3}) {
        SCOPED_TRACE(room);
        ZkBidi::Run runs[3] = {{-1, -1, 0}, {-1, -1, 0}, {-1, -1, 0}};
        ASSERT_EQ(bidi.visualRuns(0, 5, runs, room), 2);
        EXPECT_EQ(runs[0].first, room == 0 ? -1 : room == 1 ? 0 : 2);
        EXPECT_EQ(runs[1].first, room < 2 ? -1 : 0);
        EXPECT_EQ(runs[2].first, -1);
    }
}

TEST(ZkBidi, AnEditIsTheSameAsTheNewText)
{
    for (const ZkBidi::Direction direction : {ZkBidi::Auto, ZkBidi::RightToLeft}) {
        RandomEdits edits(5 + direction, {'a', '1', '\r', '\n', ' ', 0x0301, 0xD802, 0xDC00, 0x05D0,
                                          0x0628, '(', ')', 0x2067, 0x2069, 0x202B, '\t'});
        ZkTextCharacters characters;
        ZkBidi edited, fresh;
        characters.setText(edits.data(), 0);
        edited.setText(characters, direction);
        for (int round = 0; round < 5000; ++round) {
            const RandomEdits::Edit edit = edits.next();
            characters.edit(edits.data(), edit.first, edit.removed, edit.inserted);
            edited.edit(characters, edit.first, edit.removed, edit.inserted);
            fresh.setText(edits.data(), edits.size(), direction);
            ASSERT_EQ(edited.isLeftToRight(), fresh.isLeftToRight());
            ASSERT_EQ(edited.baseLevel(), fresh.baseLevel());
            ASSERT_EQ(levelsOf(edited), levelsOf(fresh)) << ::testing::PrintToString(edits.text());
            ASSERT_EQ(edited.paragraphCount(), fresh.paragraphCount());
            for (int i = 0; i < fresh.paragraphCount(); ++i) {
                ASSERT_EQ(edited.paragraph(i).first, fresh.paragraph(i).first);
                ASSERT_EQ(edited.paragraph(i).last, fresh.paragraph(i).last);
                ASSERT_EQ(edited.paragraph(i).level, fresh.paragraph(i).level);
            }
        }
    }
}

TEST(ZkBidi, BracketsArePairedDownToTheDepthOfTheStandard)
{
    // A letter from right to left in the innermost pair of a text from left to right: each
    // pair takes the direction of what stands before it, until one is too deep to be looked
    // at; from there on none is. So no bracket is compared with more than 63.
    for (const int depth : {1, 62, 63, 64, 65, 1000}) {
        Units text = {0x05D0};
        text.insert(text.end(), static_cast<std::size_t>(depth), '(');
        text.push_back(0x05D0);
        text.insert(text.end(), static_cast<std::size_t>(depth), ')');
        ZkBidi bidi;
        bidi.setText(text.data(), static_cast<int>(text.size()), ZkBidi::LeftToRight);
        const int behind = bidi.level(static_cast<int>(text.size()) - 1);
        EXPECT_EQ(behind, depth <= 63 ? 1 : 0) << depth;
        EXPECT_EQ(bidi.level(1), 1) << "between two letters, paired or not";
    }
}

TEST(ZkBidi, NestingByTheHundredThousandEnds)
{
    // What grew with the square of the length would take hours.
    const int size = 500000;
    for (const char16_t *const piece :
         {u"(", u"\u05d0(", u"[)", u"\u05d0[)", u"\u2068", u"\u2067\u05d0", u"\u2068\u05d0\u2069",
          u"\u202b\u05d0", u"\u202b\u202c", u"\u2067(", u"1,\u05d0%", u"\u05d0%", u"\u2069\u202e",
          u"\u0300\u05d0(\u0300"}) {
        const Units more = unitsOf(piece);
        Units text;
        while (text.size() < std::size_t(size)) {
            text.insert(text.end(), more.begin(), more.end());
        }
        ZkBidi bidi;
        bidi.setText(text.data(), size);
        EXPECT_EQ(bidi.paragraphCount(), 1);
        // Each part of a text of levels that do not depend on what is far away.
        ZkBidi part;
        part.setText(text.data(), 1000);
        EXPECT_EQ(bidi.baseLevel(), part.baseLevel());
        for (int i = 0; i < 500; ++i) {
            ASSERT_EQ(bidi.level(i), part.level(i)) << i;
        }
    }
}
