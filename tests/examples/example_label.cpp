// The label example: whole where there is room, shortened where reading stops elsewhere.

#define main exampleMain
#include "label.cpp"
#undef main

#include "hostprogram.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace hostprogram;

namespace
{

const ZkFont kFont(24, false, false, false, false);

const struct {
    const char *what;
    const char *font;
    const char *text;
    bool dotsOnTheLeft;
} kRows[] = {
    {"words", ZK_FONT_DEJAVU, "Display brightness at night", false},
    {"one long word", ZK_FONT_DEJAVU, "Donaudampfschifffahrtsgesellschaft", false},
    {"several spaces", ZK_FONT_DEJAVU, "a  b   cc    dddd", false},
    {"Hebrew", ZK_FONT_DEJAVU, "בהירות המסך בלילה", true},
    {"Hebrew and digits", ZK_FONT_DEJAVU, "ערוץ 123 מתוך 4567", true},
    {"Arabic with lam-alef", ZK_FONT_DEJAVU, "سطوع الشاشة في الليل والإضاءة", true},
    {"Arabic vowel marks", ZK_FONT_DEJAVU, "مُحَمَّدٌ رَسُولٌ", true},
    {"Persian", ZK_FONT_DEJAVU, "روشنایی صفحه در شب", true},
    {"Thai", ZK_FONT_FREESERIF, "ที่นี่มีน้ำ ปู่กินฝั่งนี้", false},
    {"Chinese", ZK_FONT_MICROHEI, "屏幕亮度设置 night 模式", false},
};

int inkColumns(const host::Canvas &canvas, const ZkRect &rect)
{
    int columns = 0;
    for (int x = rect.left(); x <= rect.right(); ++x) {
        bool isInk = false;
        for (int y = rect.top(); y <= rect.bottom(); ++y) {
            isInk = isInk || canvas.pixel(x, y).red != 255;
        }
        columns += isInk;
    }
    return columns;
}

} // namespace

TEST(ExampleLabel, ShowsTheWholeTextFromTheWidthOnThatItTakes)
{
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const ZkFontChain chain(ZkTypeface::fromFile(row.font));
        Label label(chain, kFont, row.text);
        const int whole = label.line().width;
        for (const int width : {whole, whole + 1, 4000}) {
            host::Canvas canvas(4000, 60, {255, 255, 255, 255});
            label.paint(canvas.pixels(), ZkRect(0, 0, width - 1, 59), 0xFF000000);
            EXPECT_FALSE(label.line().isShortened) << width;
        }
        for (int width = 40; width < whole; width += 7) {
            host::Canvas canvas(width, 60, {255, 255, 255, 255});
            label.paint(canvas.pixels(), ZkRect(0, 0, width - 1, 59), 0xFF000000);
            EXPECT_TRUE(label.line().isShortened) << width;
            EXPECT_LE(label.line().width, width);
        }
    }
}

TEST(ExampleLabel, TheDotsStandWhereReadingStops)
{
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const ZkFontChain chain(ZkTypeface::fromFile(row.font));
        Label label(chain, kFont, row.text);
        host::Canvas canvas(100, 60, {255, 255, 255, 255});
        label.paint(canvas.pixels(), ZkRect(0, 0, 99, 59), 0xFF000000);
        EXPECT_EQ(label.line().isRightToLeft, row.dotsOnTheLeft);
        // Reading starts at the edge of the label, where ink is.
        const ZkRect start = row.dotsOnTheLeft ? ZkRect(92, 0, 99, 59) : ZkRect(0, 0, 7, 59);
        EXPECT_GT(inkColumns(canvas, start), 0);
    }
}

TEST(ExampleLabel, NothingIsDrawnOutsideTheRectangle)
{
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const ZkFontChain chain(ZkTypeface::fromFile(row.font));
        Label label(chain, kFont, row.text);
        host::Canvas canvas(200, 60, {255, 255, 255, 255});
        const ZkRect rect(40, 20, 159, 45);
        label.paint(canvas.pixels(), rect, 0xFF000000);
        EXPECT_GT(inkColumns(canvas, rect), 30);
        EXPECT_EQ(inkColumns(canvas, ZkRect(0, 0, 39, 59)), 0);
        EXPECT_EQ(inkColumns(canvas, ZkRect(160, 0, 199, 59)), 0);
        EXPECT_EQ(inkColumns(canvas, ZkRect(0, 0, 199, 19)), 0);
        EXPECT_EQ(inkColumns(canvas, ZkRect(0, 46, 199, 59)), 0);
    }
}

TEST(ExampleLabel, TheProgramTellsOfEachLabel)
{
    const Folder folder;
    const Result result = shell(commandLine(
        ZK_EXAMPLE, {folder.path("out.png"), ZK_FONT_DEJAVU, "Display brightness at night"}));
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(readFile(folder.path("out.png")).substr(1, 3), "PNG");
    std::istringstream lines(result.out);
    std::string shown;
    int label = 0, width = 0, rows = 0, shortened = 0;
    for (; lines >> label >> width >> shown; ++rows) {
        EXPECT_LE(width, label);
        shortened += shown == "shortened";
    }
    EXPECT_EQ(rows, 5);
    EXPECT_GE(shortened, 3);
    EXPECT_EQ(shell(commandLine(ZK_EXAMPLE, {"out.png", "/missing.ttf"})).status, 1);
    EXPECT_EQ(shell(commandLine(ZK_EXAMPLE, {})).status, 2);
    const std::string command = commandLine(ZK_EXAMPLE, {folder.path("out.png"), ZK_FONT_DEJAVU});
    EXPECT_EQ(shell("{ " + command + " >/dev/full; }").status, 1) << "nobody is told";
}
