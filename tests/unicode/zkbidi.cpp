#include <zkbidi.h>

#include "conformancefile.h"
#include "rounds.h"
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
