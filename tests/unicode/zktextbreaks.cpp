#include <zktextbreaks.h>

#include "conformancefile.h"
#include "utf16.h"

#include <gtest/gtest.h>

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
