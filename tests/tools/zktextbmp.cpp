// BMP files of the command-line host: those it writes and those it converts.

#include <zkfontcache.h>
#include <zkfontmetrics.h>

#include "bmpmodel.h"
#include "pngfile.h"
#include "zktextprogram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

using bmpmodel::Bytes;
using bmpmodel::File;
using namespace zktextprogram;

namespace
{

std::string textOf(const Bytes &bytes)
{
    return std::string(bytes.begin(), bytes.end());
}

Bytes bytesOf(const std::string &text)
{
    return Bytes(text.begin(), text.end());
}

struct Picture {
    int width = 0, height = 0;
    bool hasAlpha = false;
    Bytes pixels; // blue, green, red, alpha; top row first
};

Picture decodePng(const std::string &file)
{
    const pngfile::Png png = pngfile::read(file, PNG_FORMAT_BGRA);
    return {png.width, png.height, png.hasAlpha, png.pixels};
}

// The picture as it should be seen: 16-bit files are decoded upside down.
Picture expectedOf(const Bytes &file)
{
    const bmpmodel::Result result = bmpmodel::read(file);
    Picture picture = {result.width, result.height, false, result.pixels};
    if (result.depth == 16) {
        const std::size_t row = static_cast<std::size_t>(result.width) * 4;
        Bytes turned;
        for (std::size_t y = picture.pixels.size(); y > 0; y -= row) {
            turned.insert(turned.end(), &result.pixels[y - row], &result.pixels[y - row] + row);
        }
        picture.pixels = turned;
    }
    return picture;
}

const Words kFont = {"--font", ZK_FONT_DEJAVU};

} // namespace

TEST(ZkTextBmp, ShowsEveryHeaderField)
{
    const Folder folder;
    File file;
    file.width = 3;
    file.height = 2;
    file.rows.assign(24, 9);
    writeFile(folder.path("a.bmp"), textOf(file.bytes()));
    const Result result = run({"bmp", folder.path("a.bmp")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "type                   BM\n"
                          "file size              78\n"
                          "reserved 1             4386\n"
                          "reserved 2             13124\n"
                          "data offset            54\n"
                          "header size            40\n"
                          "width                  3\n"
                          "height                 2\n"
                          "planes                 1\n"
                          "bits per pixel         24\n"
                          "compression            0\n"
                          "image size             24\n"
                          "horizontal resolution  2835\n"
                          "vertical resolution    5670\n"
                          "colours used           7\n"
                          "important colours      3\n");
}

TEST(ZkTextBmp, ConvertsEveryDepthToPng)
{
    std::mt19937 random(81);
    const Folder folder;
    for (const bmpmodel::Kind &kind : bmpmodel::kKinds) {
        SCOPED_TRACE(kind.what);
        const Bytes file =
            bmpmodel::randomFile(random, kind.depth, kind.compression, 13, 5).bytes();
        writeFile(folder.path("a.bmp"), textOf(file));
        const Result result = run({"bmp", folder.path("a.bmp"), "-o", folder.path("a.png")});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        const Picture expected = expectedOf(file);
        const Picture got = decodePng(readFile(folder.path("a.png")));
        EXPECT_EQ(got.width, expected.width);
        EXPECT_EQ(got.height, expected.height);
        EXPECT_EQ(got.hasAlpha, kind.depth == 32);
        EXPECT_EQ(got.pixels, expected.pixels);
    }
}

TEST(ZkTextBmp, AFourthByteThatIsNeverUsedIsNoAlpha)
{
    File file;
    file.depth = 32;
    file.width = 2;
    file.rows = {1, 2, 3, 0, 4, 5, 6, 0};
    Result result = run({"bmp", "-", "-o", "-"}, textOf(file.bytes()));
    Picture got = decodePng(result.out);
    EXPECT_FALSE(got.hasAlpha);
    EXPECT_EQ(got.pixels, Bytes({1, 2, 3, 255, 4, 5, 6, 255}));
    file.rows[7] = 128;
    result = run({"bmp", "-", "-o", "-"}, textOf(file.bytes()));
    got = decodePng(result.out);
    EXPECT_TRUE(got.hasAlpha);
    EXPECT_EQ(got.pixels[3], 0);
    EXPECT_EQ(got.pixels[7], 128);
}

TEST(ZkTextBmp, ReadsAPipeAndWritesThePictureAlone)
{
    File file;
    file.rows = {1, 2, 3, 0};
    const Folder folder;
    writeFile(folder.path("a.bmp"), textOf(file.bytes()));
    const Result result = shell("{ cat '" + folder.path("a.bmp") + "' | " +
                                zktext({"bmp", "-", "--output", "-"}) + "; }");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(decodePng(result.out).pixels, Bytes({1, 2, 3, 255}));
}

TEST(ZkTextBmp, PassesWarningsOn)
{
    File file;
    file.depth = 4;
    file.table.assign(4, 0);
    file.rows = {0x10, 0, 0, 0};
    const Folder folder;
    writeFile(folder.path("a.bmp"), textOf(file.bytes()));
    const std::string name = folder.path("a.bmp");
    const Result result = run({"bmp", name, "-o", folder.path("a.png")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "zktext: " + name +
                              ": Warning: file has an underspecified color table.The tablewill be "
                              "padded with extra white (255,255,255,0) entries.\n");
    EXPECT_EQ(decodePng(readFile(folder.path("a.png"))).pixels, Bytes({255, 255, 255, 255}));
}

TEST(ZkTextBmp, SaysInOneLineWhatIsWrong)
{
    const Folder folder;
    const auto stored = [&](const char *name, const Bytes &bytes) {
        writeFile(folder.path(name), textOf(bytes));
        return folder.path(name);
    };
    File wide, high, rle;
    wide.width = 0x7FFFFFFF;
    wide.depth = 1;
    high.width = 8193;
    high.height = 8192;
    rle.depth = 8;
    rle.compression = 1;
    const std::string png = folder.path("no.png");
    const std::string text = stored("text", {'h', 'i'});
    const std::string cut = stored("cut.bmp", File().bytes());
    const std::string rlePath = stored("rle.bmp", rle.bytes());
    const std::string widePath = stored("wide.bmp", wide.bytes());
    const std::string highPath = stored("high.bmp", high.bytes());
    File sound;
    sound.rows = {1, 2, 3, 0};
    const std::string soundPath = stored("sound.bmp", sound.bytes());
    const struct {
        Words arguments;
        int status;
        std::string err;
    } kRows[] = {
        {{"bmp"}, 2, "zktext: FILE is required\n"},
        {{"bmp", folder.path("none")},
         1,
         "zktext: cannot read " + folder.path("none") + ": No such file or directory\n"},
        {{"bmp", text},
         1,
         "zktext: " + text + ": The format of this image file is not bmp file.\n"},
        {{"bmp", "-"},
         1,
         "zktext: standard input: The format of this image file is not bmp file.\n"},
        {{"bmp", rlePath, "-o", png},
         1,
         "zktext: " + rlePath + ": Can not support RLE compression.\n"},
        {{"bmp", cut, "-o", png},
         1,
         "zktext: " + cut + ": Could not read proper amount of data.\n"},
        {{"bmp", highPath, "-o", png},
         1,
         "zktext: " + highPath + ": a picture of 8193 x 8192 pixels is too large\n"},
        {{"bmp", widePath, "-o", png},
         1,
         "zktext: " + widePath + ": a picture of 2147483647 x 1 pixels is too large\n"},
        {{"bmp", soundPath, "-o", folder.path("none/a.png")},
         1,
         "zktext: cannot write " + folder.path("none/a.png") + ": No such file or directory\n"},
        {Words{"glyph", "A", "B", "-o", folder.path("no.bmp")} + kFont, 2,
         "zktext: CODE: must be a single one for a BMP file\n"},
        {Words{"glyph", "U+0020", "-o", folder.path("no.bmp")} + kFont, 1,
         "zktext: U+0020 has no pixels\n"},
        {Words{"glyph", "A", "--format", "png"} + kFont, 2,
         "zktext: --format: png not in {text,bmp}\n"},
        {Words{"render", "A", "--format", "gif"} + kFont, 2,
         "zktext: --format: gif not in {png,bmp}\n"},
    };
    const std::vector<std::string> before = folder.names();
    for (const auto &row : kRows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        const Result result = run(row.arguments);
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, row.err);
        EXPECT_EQ(folder.names().size(), before.size()) << "a file was left behind";
    }
}

TEST(ZkTextBmp, RendersTheSamePictureAsPng)
{
    const Folder folder;
    const Words text =
        Words{"render", "Quick", "--color", "#204060", "--background", "#ffe0c0"} + kFont;
    for (const char *canvas : {"61x30", "62x30", "63x30", "64x30"}) {
        SCOPED_TRACE(canvas);
        const Words command = text + Words{"--canvas", canvas};
        for (const char *name : {"a.bmp", "a.BMP"}) {
            const Result written = run(command + Words{"-o", folder.path(name)});
            EXPECT_EQ(written.status, 0) << written.err;
        }
        const std::string bmp = readFile(folder.path("a.bmp"));
        EXPECT_EQ(readFile(folder.path("a.BMP")), bmp);
        EXPECT_EQ(run(command + Words{"--format", "bmp"}).out, bmp);
        const Result converted = run({"bmp", "-", "-o", "-"}, bmp);
        EXPECT_EQ(converted.err, "");
        const Picture expected = decodePng(run(command).out);
        const Picture got = decodePng(converted.out);
        EXPECT_EQ(got.width, expected.width);
        EXPECT_EQ(got.height, expected.height);
        EXPECT_EQ(got.pixels, expected.pixels);
    }
}

TEST(ZkTextBmp, TellsTheTrueSizeOfWhatItRenders)
{
    for (unsigned width : {63u, 64u}) { // rows with padding and without
        const std::string canvas = std::to_string(width) + "x10";
        const Bytes bmp =
            bytesOf(run(Words{"render", "x", "--canvas", canvas, "--format", "bmp"} + kFont).out);
        const auto number = [&](std::size_t at) {
            return bmp[at] + bmp[at + 1] * 256u + bmp[at + 2] * 65536u + bmp[at + 3] * 16777216u;
        };
        ASSERT_EQ(bmp.size(), 54u + (width * 3 + 3) / 4 * 4 * 10);
        EXPECT_EQ(number(2), bmp.size());
        EXPECT_EQ(number(34), bmp.size() - 54);
    }
}

TEST(ZkTextBmp, TheFormatMayDifferFromTheName)
{
    const Folder folder;
    const Words command = Words{"render", "x"} + kFont;
    EXPECT_EQ(run(command + Words{"--format", "png", "-o", folder.path("a.bmp")}).status, 0);
    EXPECT_GT(decodePng(readFile(folder.path("a.bmp"))).width, 0);
    EXPECT_EQ(run(command + Words{"--format", "bmp", "-o", folder.path("a.png")}).status, 0);
    EXPECT_EQ(readFile(folder.path("a.png")).substr(0, 2), "BM");
}

TEST(ZkTextBmp, AGlyphIsItsCoverageWithBlackBesideIt)
{
    const Folder folder;
    const Result result =
        run(Words{"glyph", "g", "--size", "37", "-o", folder.path("g.bmp")} + kFont);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out + result.err, "");
    const bmpmodel::Result got = bmpmodel::read(bytesOf(readFile(folder.path("g.bmp"))));
    EXPECT_EQ(got.headerMessages + got.messages, "");

    ZkFontMetrics::setFontFile(ZK_FONT_DEJAVU);
    const GlyphBitmap &glyph = *ZkFontCache::glyph('g', ZkFont(37, false, false, false, false));
    ASSERT_EQ(got.height, glyph.height);
    ASSERT_EQ(got.width, (glyph.width + 3) / 4 * 4);
    EXPECT_NE(got.width, glyph.width) << "choose a size that needs padding";
    for (int y = 0; y < got.height; ++y) {
        for (int x = 0; x < got.width; ++x) {
            const unsigned char *pixel =
                &got.pixels[static_cast<std::size_t>((y * got.width + x) * 4)];
            const int coverage = x < glyph.width ? glyph.pixels[y * glyph.pitch + x] : 0;
            for (int i = 0; i < 3; ++i) {
                EXPECT_EQ(pixel[i], coverage) << x << ", " << y;
            }
        }
    }
}

TEST(ZkTextBmp, AGlyphAsTextMayGoToAFile)
{
    const Folder folder;
    const Words command = Words{"glyph", "A", "B"} + kFont;
    const Result shown = run(command);
    EXPECT_EQ(run(command + Words{"-o", folder.path("glyphs.txt")}).out, "");
    EXPECT_EQ(readFile(folder.path("glyphs.txt")), shown.out);
    EXPECT_EQ(run(command + Words{"--format", "text"}).out, shown.out);
}
