// The command-line host laying out paragraphs: each test runs the program itself.

#include "pngfile.h"
#include "zktextcases.h"
#include "zktextprogram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using namespace zktextprogram;

namespace
{

const Words kRender = {"render", "--font", ZK_FONT_DEJAVU};
const Words kLayout = {"layout", "--json", "--font", ZK_FONT_DEJAVU};

std::string layout(const Words &arguments)
{
    const Result result = run(kLayout + arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
}

} // namespace

TEST(ZktextParagraph, LayoutsAreExactlyThoseOnFile)
{
    ASSERT_GE(cases("paragraphs").size(), 30u);
    for (const Case &one : cases("paragraphs")) {
        SCOPED_TRACE(one.name);
        const Result result = run(Words{"layout", "--json"} + one.arguments);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, readFile(ZK_TEST_DATA "/paragraphs/" + one.name + ".json"));
    }
}

TEST(ZktextParagraph, PicturesLookLikeThoseOnFile)
{
    for (const Case &one : cases("paragraphs")) {
        SCOPED_TRACE(one.name);
        const Result result = run(Words{"render"} + one.painting + one.arguments);
        EXPECT_EQ(result.status, 0) << result.err;
        const pngfile::Png picture = pngfile::read(result.out, PNG_FORMAT_RGB);
        const pngfile::Png wanted = pngfile::read(
            readFile(ZK_TEST_DATA "/paragraphs/" + one.name + ".png"), PNG_FORMAT_RGB);
        ASSERT_EQ(picture.width, wanted.width);
        ASSERT_EQ(picture.height, wanted.height);
        EXPECT_LT(difference(picture.pixels, wanted.pixels), kAlike);
    }
}

TEST(ZktextParagraph, TellsLinesClustersAndCarets)
{
    const std::string json = layout({"e\u0301 \u05D0", "--margin", "10"});
    EXPECT_THAT(json, HasSubstr("\"first\": 0"));
    EXPECT_THAT(json, HasSubstr("{\"index\": 0, \"text\": \"e\u0301\", \"caret\": 10, "
                                "\"direction\": \"left-to-right\"}"))
        << "a letter and its mark are one cluster";
    EXPECT_THAT(json, Not(HasSubstr("\"index\": 1,")));
    EXPECT_THAT(json, HasSubstr("\"index\": 3, \"text\": \"\u05D0\""));
}

TEST(ZktextParagraph, CharactersAboveTheBasicPlaneStay)
{
    const std::string json = layout({"a\U0001F600"});
    EXPECT_THAT(json, HasSubstr("\"text\": \"a\U0001F600\""));
}

TEST(ZktextParagraph, BytesThatAreNoUtf8AreShownAsReplacements)
{
    EXPECT_THAT(layout({"a\xFF"}), HasSubstr("\"text\": \"a\uFFFD\""));
}

TEST(ZktextParagraph, ASecondFontStandsInForWhatTheFirstLacks)
{
    const std::string alone = layout({"\u4EBA"});
    const std::string chain = layout({"\u4EBA", "--font", ZK_FONT_MICROHEI});
    EXPECT_THAT(alone, HasSubstr("\"glyph\": 0,")) << "the box of the first";
    EXPECT_THAT(chain, Not(HasSubstr("\"glyph\": 0,")));
}

TEST(ZktextParagraph, TheTableHoldsTheSameLines)
{
    const Result table = run({"layout", "--font", ZK_FONT_DEJAVU, "Hi"});
    EXPECT_EQ(table.status, 0);
    EXPECT_THAT(table.out, HasSubstr("line 1: units 0..2, x 8,"));
    EXPECT_THAT(table.out, HasSubstr("left-to-right"));
    EXPECT_THAT(table.out, HasSubstr("\n  Hi\n"));
}

TEST(ZktextParagraph, OptionsThatDoNotGoTogetherAreOneLineAndStatus2)
{
    const struct {
        const char *what;
        Words arguments;
        const char *message;
    } kRows[] = {
        {"bare", {"--bare"}, "--bare: is for --classic"},
        {"justified classic", {"--classic", "--align", "justify"}, "justify is not for --classic"},
        {"classic start", {"--classic", "--align", "start"}, "start is not for --classic"},
        {"two classic fonts",
         {"--classic", "--font", ZK_FONT_FREESERIF},
         "--classic takes one font"},
        {"classic direction", {"--classic", "--direction", "rtl"}, "--classic: has no direction"},
        {"classic ellipsis", {"--classic", "--ellipsis", "end"}, "--classic: has no direction"},
        {"classic lines", {"--classic", "--max-lines", "1"}, "--classic: has no direction"},
        {"classic span", {"--classic", "--span", "0,1,#000000"}, "--classic: has no direction"},
        {"direction", {"--direction", "up"}, "--direction"},
        {"ellipsis", {"--ellipsis", "both"}, "--ellipsis"},
        {"lines below 0", {"--max-lines", "-1"}, "--max-lines"},
        {"span without colour", {"--span", "0,1"}, "--span: wants FIRST,LAST,#RRGGBB[,SIZE]"},
        {"span with a tail", {"--span", "0,1,#000000,9,9"}, "--span: wants"},
        {"span of size 0", {"--span", "0,1,#000000,0"}, "--span: wants"},
        {"span backwards", {"--span", "2,1,#000000"}, "--span: wants"},
        {"span of a bad colour", {"--span", "0,1,#00"}, "--span: wants"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const Result result = run(kRender + Words{"a"} + row.arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, StartsWith("zktext: "));
        EXPECT_THAT(result.err, HasSubstr(row.message));
        EXPECT_EQ(result.err.find('\n'), result.err.size() - 1);
    }
}

TEST(ZktextParagraph, FontsThatDoNotOpenAreNamed)
{
    const Result result = run({"render", "a", "--font", ZK_FONT_DEJAVU, "--font", "/missing.ttf"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, StartsWith("zktext: cannot read font: "));
    EXPECT_THAT(result.err, HasSubstr("/missing.ttf"));
}
