// The settings example: each language draws a screen of its own, mirrored where it is
// read from the right.

#define main exampleMain
#include "settings.cpp"
#undef main

#include "hostprogram.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>

using namespace hostprogram;

namespace
{

ZkFontChain chainOfAll()
{
    ZkFontChain chain;
    for (const char *path : {ZK_FONT_DEJAVU, ZK_FONT_FREESERIF, ZK_FONT_MICROHEI}) {
        chain.append(ZkTypeface::fromFile(path));
    }
    return chain;
}

} // namespace

TEST(ExampleSettings, EveryTextHasGlyphsInTheChain)
{
    const ZkFontChain chain = chainOfAll();
    const auto expectGlyphs = [&](const char *utf8) {
        ZkParagraph text;
        text.setChain(chain);
        text.setUtf8(utf8);
        const ZkPlacedGlyph *glyphs = nullptr;
        const int count = text.glyphs(0, &glyphs);
        EXPECT_GT(count, 0) << utf8;
        for (int i = 0; i < count; ++i) {
            EXPECT_NE(reinterpret_cast<const ZkGlyph *>(glyphs[i].glyph)->index(), 0u) << utf8;
        }
    };
    for (const Language &language : kLanguages) {
        expectGlyphs(language.name);
        expectGlyphs(language.title);
        for (int row = 0; row < kRows; ++row) {
            expectGlyphs(language.labels[row]);
            expectGlyphs(language.values[row]);
        }
    }
}

TEST(ExampleSettings, ScreensReadFromTheRightAreMirrored)
{
    const ZkFontChain chain = chainOfAll();
    for (const Language &language : kLanguages) {
        SCOPED_TRACE(language.name);
        const host::Canvas canvas = Screen(chain, language).draw();
        // The desk shows beside the short title, on the side where reading ends.
        const auto inkFrom = [&](int left, int right) {
            int ink = 0;
            for (int y = 10; y < 48; ++y) {
                for (int x = left; x <= right; ++x) {
                    ink += canvas.pixel(x, y).red != kDesk.red;
                }
            }
            return ink;
        };
        const int left = inkFrom(0, kWidth / 2 - 1), right = inkFrom(kWidth / 2, kWidth - 1);
        EXPECT_GT(language.isRightToLeft ? right : left, 50);
        EXPECT_EQ(language.isRightToLeft ? left : right, 0);
    }
}

TEST(ExampleSettings, TheProgramWritesAScreenForEachLanguage)
{
    const Folder folder;
    std::set<std::string> pictures;
    int shortened = 0;
    for (const Language &language : kLanguages) {
        const Result result =
            shell(commandLine(ZK_EXAMPLE, {folder.path("out.png"), language.name, ZK_FONT_DEJAVU,
                                           ZK_FONT_FREESERIF, ZK_FONT_MICROHEI}));
        EXPECT_EQ(result.status, 0) << result.err;
        pictures.insert(readFile(folder.path("out.png")));
        std::istringstream lines(result.out);
        std::string width, shown;
        int rows = 0;
        for (; lines >> width >> shown; ++rows) {
            shortened += shown == "shortened";
        }
        EXPECT_EQ(rows, kRows);
    }
    EXPECT_EQ(pictures.size(), std::size(kLanguages));
    EXPECT_GE(shortened, 3) << "the longest label has no room in most languages";
}

TEST(ExampleSettings, WhatCannotBeDrawnIsTold)
{
    const struct {
        Words arguments;
        int status;
        std::string message;
    } kFailures[] = {
        {{}, 2, "usage: example_settings"},
        {{"out.png", "English"}, 2, "usage: example_settings"},
        {{"out.png", "English", "/missing.ttf"}, 1, "example_settings: "},
        {{"out.png", "Volapük", ZK_FONT_DEJAVU}, 1, "example_settings: no such language: Volapük"},
        {{"/missing/out.png", "English", ZK_FONT_DEJAVU}, 1, "example_settings: cannot write"},
    };
    for (const auto &row : kFailures) {
        const Result result = shell(commandLine(ZK_EXAMPLE, row.arguments));
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.err.rfind(row.message, 0), 0u) << result.err;
    }
}
