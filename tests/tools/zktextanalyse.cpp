// The subcommand that shows an analysis, run as a program.

#include "pngfile.h"
#include "zktextprogram.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using zktextprogram::Folder;
using zktextprogram::readFile;
using zktextprogram::Result;
using zktextprogram::run;

namespace
{

/// The lines of a table without its title, blanks between columns as one.
std::vector<std::string> rowsOf(const std::string &table)
{
    std::vector<std::string> rows;
    std::istringstream lines(table);
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string row, word;
        while (words >> word) {
            row += (row.empty() ? "" : " ") + word;
        }
        rows.push_back(row);
    }
    return rows;
}

} // namespace

TEST(ZktextAnalyse, OneLineAClusterWithClassesLevelAndWhatMayBreak)
{
    const Result result = run({"analyse", "a (\u05E9 1)\n\U0001F469\u200D\U0001F680"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    const std::vector<std::string> expected = {
        "0 0 U+0061 Ll Latin L AL Other ALetter word ends a",
        "1 0 U+0020 Zs Common WS SP Other WSegSpace line may end, word ends",
        "2 0 U+0028 Ps Common ON OP Other Other word ends (",
        "3 1 U+05E9 Lo Hebrew R HL Other HebrewLetter word ends \u05E9",
        "4 1 U+0020 Zs Common WS SP Other WSegSpace line may end, word ends",
        "5 2 U+0031 Nd Common EN NU Other Numeric word ends 1",
        "6 0 U+0029 Pe Common ON CP Other Other word ends )",
        "7 0 U+000A LF Cc Common B LF LF LF line ends, word ends",
        "8 0 U+1F469 So Common ON EB Other Other \U0001F469",
        "U+200D ZWJ Cf Inherited BN ZWJ ZWJ ZWJ",
        "U+1F680 So Common ON ID Other Other line ends, word ends \U0001F680",
    };
    EXPECT_EQ(rowsOf(result.out), expected);
}

TEST(ZktextAnalyse, TheDirectionMayBeGiven)
{
    EXPECT_EQ(rowsOf(run({"analyse", "a"}).out)[0].substr(0, 10), "0 0 U+0061");
    EXPECT_EQ(rowsOf(run({"analyse", "-d", "rtl", "a"}).out)[0].substr(0, 10), "0 2 U+0061");
    EXPECT_EQ(run({"analyse", "-d", "up", "a"}).status, 2);
}

TEST(ZktextAnalyse, BytesThatAreNoTextBecomeReplacementCharacters)
{
    const struct {
        const char *what;
        const char *bytes;
        int replaced;
    } kRows[] = {
        {"a byte that never begins", "\xFF", 1},
        {"a tail alone", "\x80", 1},
        {"longer than need be", "\xC0\xAF", 2},
        {"cut off", "\xE2\x82", 1},
        {"a surrogate", "\xED\xA0\x80", 3},
        {"above U+10FFFF", "\xF4\x90\x80\x80", 4},
        {"the last character", "\xF4\x8F\xBF\xBF", 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const Result result = run({"analyse", "-"}, row.bytes);
        int count = 0;
        for (const std::string &line : rowsOf(result.out)) {
            count += line.find("U+FFFD") != std::string::npos ? 1 : 0;
        }
        EXPECT_EQ(count, row.replaced) << result.out;
    }
}

TEST(ZktextAnalyse, ATextIsNeeded)
{
    const Result result = run({"analyse"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("TEXT or --file"));
    EXPECT_EQ(rowsOf(run({"analyse", ""}).out).size(), 0U);
}

TEST(ZktextAnalyse, ThePictureShowsLevelsInColours)
{
    const Folder folder;
    const std::string path = folder.path("levels.png");
    const Result result = run({"analyse", "abc \u05E9\u05DC\u05D5\u05DD", "--font", ZK_FONT_DEJAVU,
                               "--picture", path, "--width", "400"});
    ASSERT_EQ(result.status, 0) << result.err;
    const pngfile::Png picture = pngfile::read(readFile(path), PNG_FORMAT_RGB);
    EXPECT_EQ(picture.width, 400);
    const auto share = [&](std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
        int count = 0;
        for (std::size_t i = 0; i + 2 < picture.pixels.size(); i += 3) {
            count += picture.pixels[i] == red && picture.pixels[i + 1] == green &&
                     picture.pixels[i + 2] == blue;
        }
        return count;
    };
    EXPECT_GT(share(219, 234, 254), 500) << "left to right";
    EXPECT_GT(share(254, 226, 196), 500) << "right to left";
    EXPECT_GT(share(220, 38, 38), 20) << "the end of the text";
    EXPECT_GT(share(22, 163, 74), 5) << "ends of words";
}

TEST(ZktextAnalyse, APictureNeedsAFont)
{
    const Result result = run({"analyse", "a", "--picture", "x.png", "--font", "/missing.ttf"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("/missing.ttf"));
}
