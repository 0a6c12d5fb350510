// The label example: what it leaves of a text, against every cut there is.

#define main exampleMain
#include "label.cpp"
#undef main

#include "hostprogram.h"

#include <zkscriptrules.h>

#include <gtest/gtest.h>

#include <sstream>

using namespace hostprogram;

namespace
{

const ZkFont kFont(24, false, false, false, false);

/// The width of a line as the library tells it: advances and nothing else.
int lengthOf(const ZkString &text)
{
    ZkFontMetrics metrics(text, kFont);
    return metrics.lengthForPixel() + 1;
}

struct Row {
    const char *what;
    const char *font;
    const char *text;
};

const Row kRows[] = {
    {"words", ZK_FONT_DEJAVU, "Display brightness at night"},
    {"one long word", ZK_FONT_DEJAVU, "Donaudampfschifffahrtsgesellschaft"},
    {"several spaces", ZK_FONT_DEJAVU, "a  b   cc    dddd"},
    {"Hebrew", ZK_FONT_DEJAVU, "בהירות המסך בלילה"},
    {"Hebrew and digits", ZK_FONT_DEJAVU, "ערוץ 123 מתוך 4567"},
    {"Arabic with lam-alef", ZK_FONT_DEJAVU, "سطوع الشاشة في الليل والإضاءة"},
    {"Arabic vowel marks", ZK_FONT_DEJAVU, "مُحَمَّدٌ رَسُولٌ"},
    {"Persian", ZK_FONT_DEJAVU, "روشنایی صفحه در شب"},
    {"directions mixed", ZK_FONT_DEJAVU, "Wi-Fi בבית של Home 5G"},
    {"Thai", ZK_FONT_FREESERIF, "ที่นี่มีน้ำ ปู่กินฝั่งนี้"},
    {"Chinese", ZK_FONT_MICROHEI, "屏幕亮度设置 night 模式"},
};

/// Runs `check(text)` for each row, its font set.
template <typename Check>
void eachRow(Check check)
{
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.what);
        ZkFontMetrics::setFontFile(row.font);
        check(ZkString(row.text));
    }
}

/// The shape of what may be shown: the beginning of the text, then dots, a space
/// before them or not.
bool isBeginningWithDots(const ZkString &shown, const ZkString &text)
{
    std::u16string kept = shown.toStdU16String();
    if (kept.size() < 3 || kept.substr(kept.size() - 3) != u"...") {
        return false;
    }
    kept.resize(kept.size() - 3);
    while (!kept.empty() && kept.back() == u' ') {
        kept.pop_back();
    }
    return text.toStdU16String().compare(0, kept.size(), kept) == 0;
}

TEST(ExampleLabel, ShowsTheWholeTextFromTheWidthOnThatItTakes)
{
    eachRow([](const ZkString &text) {
        const Elision elision(kFont);
        const int width = elision.widthOf(text);
        EXPECT_LE(width, lengthOf(text));
        EXPECT_TRUE(elision.fitted(text, width) == text);
        EXPECT_TRUE(elision.fitted(text, width + 1) == text);
        EXPECT_FALSE(elision.fitted(text, width - 1) == text);
    });
}

TEST(ExampleLabel, WhatIsShownFitsAnyWidth)
{
    eachRow([](const ZkString &text) {
        const Elision elision(kFont);
        const int whole = elision.widthOf(text);
        for (int width = 0; width < whole; ++width) {
            const ZkString shown = elision.fitted(text, width);
            if (shown.isEmpty()) {
                EXPECT_LT(width, lengthOf("...")) << "room for dots at " << width;
                continue;
            }
            EXPECT_LE(elision.widthOf(shown), width);
            EXPECT_TRUE(isBeginningWithDots(shown, text)) << shown.toUtf8().constData();
        }
    });
}

TEST(ExampleLabel, ShowsTheLongestBeginningThatFits)
{
    // Without Arabic, whose letters change width at a cut, a longer beginning is
    // never narrower: the first that does not fit ends the search by brute force.
    eachRow([](const ZkString &text) {
        const bool isArabic = isIncludeArbic(text.constData(), text.size()) != 0;
        const Elision elision(kFont);
        for (int width = lengthOf("..."); width < elision.widthOf(text); width += 3) {
            int best = 0;
            const std::vector<int> cuts = cutsOf(text);
            for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
                if (elision.widthOf(withDots(text, cuts[i])) <= width) {
                    best = std::max(best, cuts[i]);
                }
            }
            const ZkString shown = elision.fitted(text, width);
            const ZkString most = withDots(text, best);
            if (isArabic) {
                EXPECT_LE(shown.size(), most.size()) << width;
                EXPECT_GE(shown.size(), most.size() - 2) << width;
            } else {
                EXPECT_TRUE(shown == most) << width << ": " << shown.toUtf8().constData();
            }
        }
    });
}

TEST(ExampleLabel, MarksStayWithTheirLetter)
{
    // NO NU, SARA II, MAI EK; then PO PLA, SARA UU; then MEEM, DAMMA, HAH.
    EXPECT_EQ(cutsOf(ZkString(std::u16string_view(u"\u0E19\u0E35\u0E48\u0E1B\u0E39"))),
              (std::vector<int>{0, 3, 5}));
    EXPECT_EQ(cutsOf(ZkString(std::u16string_view(u"\u0645\u064F\u062D"))),
              (std::vector<int>{0, 2, 3}));
    EXPECT_EQ(cutsOf("ab"), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(cutsOf(""), (std::vector<int>{0}));
}

TEST(ExampleLabel, TheDotsStandWhereReadingStops)
{
    ZkFontMetrics::setFontFile(ZK_FONT_DEJAVU);
    const struct {
        const char *what;
        const char *text;
        bool dotsOnTheLeft;
    } kSides[] = {
        {"Latin", "Brightness", false},
        {"Hebrew", "בהירות המסך", true},
        {"Hebrew, cut behind a digit", "ערוץ 123456789", true},
        {"Arabic", "سطوع الشاشة", true},
    };
    for (const auto &row : kSides) {
        SCOPED_TRACE(row.what);
        const Elision elision(kFont);
        const ZkString text(row.text);
        const ZkString shown = elision.fitted(text, elision.widthOf(text) - 10);
        ZkFontEngine drawn;
        drawn.resloveText(shown, kFont);
        EXPECT_EQ(drawn.text().startsWith("..."), row.dotsOnTheLeft);
        EXPECT_EQ(drawn.text().endsWith("..."), !row.dotsOnTheLeft);
    }
}

TEST(ExampleLabel, NothingIsDrawnOutsideTheRectangle)
{
    const host::Color kPaper = {255, 255, 255, 255};
    eachRow([&](const ZkString &text) {
        host::Canvas canvas(200, 60, kPaper);
        const ZkRect rect(40, 20, 159, 45);
        Label label(rect, kFont);
        label.setText(text);
        label.paint(canvas, {{0, 0, 0, 255}, {}});
        int inside = 0, outside = 0;
        for (int y = 0; y < canvas.height(); ++y) {
            for (int x = 0; x < canvas.width(); ++x) {
                const bool isInk = canvas.pixel(x, y).red != 255;
                (rect.contains(ZkPoint(x, y)) ? inside : outside) += isInk;
            }
        }
        EXPECT_GT(inside, 100);
        EXPECT_EQ(outside, 0);
    });
}

TEST(ExampleLabel, TheProgramPrintsWidthAndTextOfEachLabel)
{
    const Folder folder;
    const std::string text = "Display brightness at night";
    const Result result =
        shell(commandLine(ZK_EXAMPLE, {folder.path("out.png"), ZK_FONT_DEJAVU, text}));
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(readFile(folder.path("out.png")).substr(1, 3), "PNG");
    ZkFontMetrics::setFontFile(ZK_FONT_DEJAVU);
    std::istringstream lines(result.out);
    std::string shown;
    int label = 0, width = 0, rows = 0;
    for (; lines >> label >> width && std::getline(lines, shown); ++rows) {
        shown.erase(0, 1); // the blank behind the number
        EXPECT_EQ(width, lengthOf(shown.c_str()));
        EXPECT_LE(width, label);
        EXPECT_EQ(shown, label >= lengthOf(text.c_str())
                             ? text
                             : text.substr(0, shown.size() - 3) + "...");
    }
    EXPECT_EQ(rows, 5);
}

} // namespace
