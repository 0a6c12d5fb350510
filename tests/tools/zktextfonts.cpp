// The subcommands about fonts and glyph caches, and the choice of a shaper: each test runs
// the program itself.

#include "pngfile.h"
#include "zktextprogram.h"

#include <gmock/gmock.h>

#include <sstream>

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using namespace zktextprogram;

namespace
{

const std::string kNoto = "/usr/share/fonts/truetype/noto/";
const std::string kSmallFonts = std::string(ZK_TEST_DATA) + "/fonts/";
const Words kHarfBuzz = {"layout", "--json", "--shaper", "harfbuzz"};

/// What a wrong call says.
struct Wrong {
    const char *what;
    Words arguments;
    int status;
    std::string message;
};

void expectRefused(const std::vector<Wrong> &rows)
{
    for (const Wrong &row : rows) {
        SCOPED_TRACE(row.what);
        const Result result = shell("env -u ZK_FONTLIB " + zktext(row.arguments));
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, StartsWith("zktext: "));
        EXPECT_THAT(result.err, HasSubstr(row.message));
        EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    }
}

std::string done(const Words &arguments)
{
    const Result result = run(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
}

/// The number behind a name in the table of `cache`.
long numberOf(const std::string &table, const std::string &name)
{
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t first = line.find_first_not_of(' ');
        const std::size_t last = line.find_last_of(' ');
        if (last != std::string::npos && line.compare(first, name.size() + 1, name + ' ') == 0 &&
            line.find_first_not_of(' ', first + name.size()) == last + 1) {
            return std::stol(line.substr(last));
        }
    }
    return -1;
}

/// The glyph numbers of a layout as JSON.
std::vector<int> glyphsOf(const std::string &json)
{
    const std::string key = "\"glyph\": ";
    std::vector<int> glyphs;
    for (std::size_t at = 0; (at = json.find(key, at)) != std::string::npos;) {
        at += key.size();
        glyphs.push_back(std::stoi(json.substr(at)));
    }
    return glyphs;
}

bool hasHarfBuzz()
{
    const Result result = run(kHarfBuzz + Words{"a", "--font", ZK_FONT_DEJAVU});
    return result.err.find("without libzkshape") == std::string::npos;
}

} // namespace

TEST(ZktextFaces, TellsAxesInstancesSizesAndCoverage)
{
    const std::string file = kSmallFonts + "variable.ttf";
    EXPECT_EQ(
        done({"faces", file}),
        "face 0 of 1: Boxes, Regular\n"
        "  glyphs 3, sizes any\n"
        "  at 100 pixels: ascent 80, descent 20, gap 0\n"
        "  axis wght                 100 to 900, normally 400\n"
        "  axis YTUC                 700 to 900, normally 700\n"
        "  instance 1                Regular\n"
        "  instance 2                Thin\n"
        "  instance 3                Black\n"
        "  instance 4                Tall\n"
        "  00000..0007F  Basic Latin                                           2 of    128\n");
}

TEST(ZktextFaces, TellsEveryFaceOfACollection)
{
    const std::string out = done({"faces", ZK_FONT_MICROHEI});
    EXPECT_THAT(out, StartsWith("face 0 of 2: WenQuanYi Micro Hei, Regular\n"));
    EXPECT_THAT(out, HasSubstr("\nface 1 of 2: WenQuanYi Micro Hei Mono, Regular\n"));
    EXPECT_THAT(out, HasSubstr("CJK Unified Ideographs"));
    EXPECT_THAT(out, Not(HasSubstr("axis")));
    EXPECT_THAT(out, Not(HasSubstr("    0 of "))) << "no block without a character";
    EXPECT_THAT(done({"faces", "--all", ZK_FONT_MICROHEI}), HasSubstr("    0 of "));
}

TEST(ZktextFaces, ThePackedFontIsTheSame)
{
    EXPECT_EQ(done({"faces", kSmallFonts + "features.woff"}),
              done({"faces", kSmallFonts + "features.ttf"}));
    const Folder folder;
    EXPECT_EQ(done({"faces", kSmallFonts + "features.woff2", "-o", folder.path("out")}), "");
    EXPECT_EQ(readFile(folder.path("out")), done({"faces", kSmallFonts + "features.ttf"}));
}

TEST(ZktextFaces, RefusesWhatIsNoFont)
{
    const Folder folder;
    writeFile(folder.path("text"), "abc");
    expectRefused({
        {"nothing", {"faces"}, 2, "FILE is required"},
        {"two files", {"faces", ZK_FONT_DEJAVU, ZK_FONT_DEJAVU}, 2, ZK_FONT_DEJAVU},
        {"unknown option", {"faces", ZK_FONT_DEJAVU, "--json"}, 2, "--json"},
        {"missing", {"faces", folder.path("x")}, 1, "no such file: " + folder.path("x")},
        {"a text", {"faces", folder.path("text")}, 1, "no font: " + folder.path("text")},
        {"a folder", {"faces", testing::TempDir()}, 1, testing::TempDir()},
        {"output in no folder",
         {"faces", ZK_FONT_DEJAVU, "-o", folder.path("x") + "/y"},
         1,
         "cannot write " + folder.path("x") + "/y"},
        {"a full device", {"faces", ZK_FONT_DEJAVU, "-o", "/dev/full"}, 1, "No space left"},
    });
}

TEST(ZktextCache, CountsGlyphsByTextSizesAndFonts)
{
    const struct {
        const char *what;
        Words arguments;
        long glyphs, held;
    } kRows[] = {
        {"three letters", {"abc"}, 3, 3},
        {"a letter twice is one glyph", {"aa"}, 1, 1},
        {"in two sizes, the last in use", {"abc", "--sizes", "12,16"}, 6, 3},
        {"the text behind the options", {"--sizes", "12", "abc"}, 3, 3},
        {"a second font for what the first lacks", {"a\u4E2D", "--font", ZK_FONT_MICROHEI}, 2, 2},
        {"a face of a collection",
         {"\u4E2D", "--font", std::string(ZK_FONT_MICROHEI) + "#1"},
         1,
         1},
        {"a character of two units", {"\U0001F600"}, 1, 1},
        {"what is not seen", {"a\n\tb"}, 2, 2},
        {"no text", {""}, 0, 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const std::string out = done(Words{"cache", "--font", ZK_FONT_DEJAVU} + row.arguments);
        EXPECT_EQ(numberOf(out, "glyphs"), row.glyphs) << out;
        EXPECT_EQ(numberOf(out, "glyphs in use"), row.held);
        EXPECT_EQ(numberOf(out, "misses"), row.glyphs);
        EXPECT_EQ(numberOf(out, "failures"), 0);
    }
}

TEST(ZktextCache, ABudgetPushesGlyphsOut)
{
    const Words cache = {"cache", "--font", ZK_FONT_DEJAVU, "abcdefghij", "--sizes", "20,30,40"};
    const std::string all = done(cache);
    EXPECT_EQ(numberOf(all, "evictions"), 0);
    const std::string few = done(cache + Words{"--budget", "9000"});
    EXPECT_EQ(numberOf(few, "budget"), 9000);
    EXPECT_GT(numberOf(few, "evictions"), 5);
    EXPECT_LT(numberOf(few, "glyphs"), numberOf(all, "glyphs"));
    EXPECT_EQ(numberOf(few, "glyphs in use"), 10);
}

TEST(ZktextCache, DrawsASheetOfAllGlyphs)
{
    const Folder folder;
    const std::string sheet = folder.path("sheet.png");
    const Words cache = {"cache", "--font", ZK_FONT_DEJAVU, "abc"};
    EXPECT_EQ(done(cache + Words{"-o", sheet}), done(cache)) << "the table all the same";
    const pngfile::Png one = pngfile::read(readFile(sheet), PNG_FORMAT_RGB);
    EXPECT_GT(one.width, 16 * 40);
    done(cache + Words{"-o", sheet, "--sizes", "24,25,26,27,28,29"});
    EXPECT_GT(pngfile::read(readFile(sheet), PNG_FORMAT_RGB).height, one.height)
        << "18 glyphs are two rows";
    EXPECT_THAT(done(cache + Words{"-o", "-"}), StartsWith("\x89PNG"));
}

TEST(ZktextCache, RefusesWrongInput)
{
    const Words cache = {"cache", "--font", ZK_FONT_DEJAVU};
    expectRefused({
        {"nothing", {"cache"}, 2, "TEXT is required"},
        {"no font", {"cache", "a"}, 1, "no font: name one with --font or in ZK_FONTLIB"},
        {"a font that is missing", {"cache", "a", "-f", "/x.ttf"}, 1, "no such file: /x.ttf"},
        {"a face that is missing",
         {"cache", "a", "-f", std::string(ZK_FONT_MICROHEI) + "#2"},
         1,
         "face 2 of 2: "},
        {"no UTF-8", cache + Words{"a\xFF"}, 1, "the text is not UTF-8 (byte 2)"},
        {"size 0", cache + Words{"a", "--sizes", "12,0"}, 2, "--sizes"},
        {"size 256", cache + Words{"a", "--size", "256"}, 2, "--size"},
        {"a size that is no number", cache + Words{"a", "--sizes", "12,x"}, 2, "--sizes"},
        {"a budget below 0", cache + Words{"a", "--budget", "-1"}, 2, "--budget"},
        {"hinting", cache + Words{"a", "--hinting", "strong"}, 2, "--hinting"},
        {"two texts", cache + Words{"a", "b"}, 2, "b"},
        {"output in no folder", cache + Words{"a", "-o", "/nowhere/x.png"}, 1, "cannot write"},
    });
}

TEST(ZktextPack, WritesWhatItCanLoadAgain)
{
    const Folder folder;
    const std::string pack = folder.path("pack");
    const Words fonts = {"--font", ZK_FONT_DEJAVU, "--font", ZK_FONT_MICROHEI};
    EXPECT_EQ(done(Words{"pack", "abc\u4E2D", "--sizes", "12,16", "-o", pack} + fonts),
              pack + ": 8 glyphs\n");
    EXPECT_THAT(done(Words{"pack", "--check", pack} + fonts), StartsWith(pack + ": 8 glyphs, "));
    const std::string bytes = readFile(pack);
    const struct {
        const char *what;
        std::string bytes;
    } kDamaged[] = {
        {"cut", bytes.substr(0, bytes.size() - 1)},
        {"longer", bytes + 'x'},
        {"turned over", bytes.substr(0, 200) + static_cast<char>(~bytes[200]) + bytes.substr(201)},
        {"empty", ""},
    };
    for (const auto &row : kDamaged) {
        SCOPED_TRACE(row.what);
        writeFile(pack, row.bytes);
        const Result result = run(Words{"pack", "--check", pack} + fonts);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, StartsWith("zktext: " + pack + ": "));
    }
}

TEST(ZktextPack, RefusesWrongInput)
{
    const Folder folder;
    const std::string pack = folder.path("pack");
    done({"pack", "abc", "-o", pack, "--font", ZK_FONT_DEJAVU});
    const Words dejaVu = {"pack", "--font", ZK_FONT_DEJAVU};
    expectRefused({
        {"nothing", {"pack"}, 2, "wants --output or --check, one of them"},
        {"both", dejaVu + Words{"a", "-o", pack, "--check", pack}, 2, "one of them"},
        {"a text to check", dejaVu + Words{"a", "--check", pack}, 2, "TEXT: is not for --check"},
        {"standard output", dejaVu + Words{"a", "-o", "-"}, 2, "a pack is a file"},
        {"no font", {"pack", "a", "-o", pack}, 1, "no font: name one"},
        {"no UTF-8", dejaVu + Words{"\x80", "-o", pack}, 1, "the text is not UTF-8 (byte 1)"},
        {"no folder", dejaVu + Words{"a", "-o", "/nowhere/x"}, 1, "the pack cannot be written"},
        {"no pack", dejaVu + Words{"--check", folder.path("x")}, 1, "there is no such pack"},
        {"a font as a pack", dejaVu + Words{"--check", ZK_FONT_DEJAVU}, 1, "this is no pack"},
        {"of another font",
         {"pack", "--font", ZK_FONT_FREESERIF, "--check", pack},
         1,
         "another font"},
        {"of another hinting", dejaVu + Words{"--hinting", "none", "--check", pack}, 1, pack},
    });
    EXPECT_THAT(done(dejaVu + Words{"--check", pack}), HasSubstr(": 3 glyphs"))
        << "what failed has left it";
}

TEST(ZktextShaping, HarfBuzzShapesByTheFontsRules)
{
    if (!hasHarfBuzz()) {
        GTEST_SKIP() << "built without libzkshape";
    }
    const struct {
        const char *what;
        std::string font;
        const char *text;
        Words options;
        std::size_t glyphs; // 0: as many as without, but others
    } kRows[] = {
        {"a ligature of three", kNoto + "NotoSerif-Regular.ttf", "office", {}, 4},
        {"switched off", kNoto + "NotoSerif-Regular.ttf", "office", {"--feature", "liga=0"}, 6},
        {"off for the first of two",
         kNoto + "NotoSerif-Regular.ttf",
         "ffi ffi",
         {"--feature", "liga=0:0,3"},
         4},
        {"small capitals", kNoto + "NotoSerif-Regular.ttf", "abc", {"--feature", "smcp"}, 0},
        {"letters of a language",
         kNoto + "NotoSans-Regular.ttf",
         "\u0431",
         {"--language", "sr"},
         0},
        {"a conjunct", kNoto + "NotoSansDevanagari-Regular.ttf", "क्षि", {}, 2},
        {"a packed font", kSmallFonts + "features.woff2", "office", {}, 4},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const Words text = {row.text, "--font", row.font};
        const std::vector<int> shaped = glyphsOf(done(kHarfBuzz + text + row.options));
        const std::vector<int> plain = glyphsOf(done(Words{"layout", "--json"} + text));
        EXPECT_NE(row.glyphs == 6 ? std::vector<int>() : shaped, plain);
        EXPECT_EQ(shaped.size(), row.glyphs == 0 ? plain.size() : row.glyphs);
    }
}

TEST(ZktextShaping, ThaiLinesEndBetweenWords)
{
    if (!hasHarfBuzz()) {
        GTEST_SKIP() << "built without libzkshape";
    }
    const std::string out = done({"layout", "--shaper", "harfbuzz", "สวัสดีชาวโลก", "--width", "70",
                                  "--font", kNoto + "NotoSansThai-Regular.ttf"});
    EXPECT_THAT(out, HasSubstr("\n  สวัสดี\n"));
}

TEST(ZktextShaping, FontsOfAChainAreShapedEachByItsRules)
{
    if (!hasHarfBuzz()) {
        GTEST_SKIP() << "built without libzkshape";
    }
    const std::string serif = kNoto + "NotoSerif-Regular.ttf";
    const std::string devanagari = kNoto + "NotoSansDevanagari-Regular.ttf";
    const std::vector<int> both =
        glyphsOf(done(kHarfBuzz + Words{"ffi क्षि", "--font", serif, "--font", devanagari}));
    std::vector<int> apart = glyphsOf(done(kHarfBuzz + Words{"ffi", "--font", serif}));
    for (const int glyph : glyphsOf(done(kHarfBuzz + Words{"क्षि", "--font", devanagari}))) {
        apart.push_back(glyph);
    }
    EXPECT_EQ(both, apart);
}

TEST(ZktextShaping, RefusesWrongInput)
{
    const Words layout = {"layout", "a", "--font", ZK_FONT_DEJAVU};
    const Words harfBuzz = layout + Words{"--shaper", "harfbuzz"};
    const std::string form = "--feature: wants TAG[=VALUE][:FIRST,LAST], not ";
    expectRefused({
        {"another shaper", layout + Words{"--shaper", "other"}, 2, "--shaper"},
        {"simple with a feature", layout + Words{"--feature", "liga"}, 2, "simple has no"},
        {"simple with a language", layout + Words{"--language", "sr"}, 2, "simple has no"},
        {"classic", harfBuzz + Words{"--classic"}, 2, "--shaper: is not for --classic"},
        {"a short tag", harfBuzz + Words{"--feature", "lig"}, 2, form + "'lig'"},
        {"a long tag", harfBuzz + Words{"--feature", "ligax"}, 2, form + "'ligax'"},
        {"no value", harfBuzz + Words{"--feature", "liga="}, 2, form},
        {"a value that is no number", harfBuzz + Words{"--feature", "liga=on"}, 2, form},
        {"no end", harfBuzz + Words{"--feature", "liga:3"}, 2, form},
        {"an empty range", harfBuzz + Words{"--feature", "liga:3,3"}, 2, form},
        {"a range from below 0", harfBuzz + Words{"--feature", "liga:-1,3"}, 2, form},
        {"a tail", harfBuzz + Words{"--feature", "liga:0,3x"}, 2, form},
    });
}

TEST(ZktextAnalyse, RefusesWrongInput)
{
    const Words picture = {"analyse", "a", "--picture", "-"};
    expectRefused({
        {"nothing", {"analyse"}, 2, "TEXT or --file is required"},
        {"text and file", {"analyse", "a", "--file", "x"}, 2, "excludes"},
        {"a file that is missing", {"analyse", "--file", "/x"}, 1, "cannot read /x"},
        {"direction", {"analyse", "a", "-d", "up"}, 2, "--direction"},
        {"a picture without a font", picture, 1, "no font"},
        {"a picture with a wrong font", picture + Words{"--font", "/x.ttf"}, 1, "/x.ttf"},
        {"letters too small", picture + Words{"--size", "3"}, 2, "--size"},
        {"a picture too narrow", picture + Words{"--width", "10"}, 2, "--width"},
        {"a full device", {"analyse", "a", "-o", "/dev/full"}, 1, "No space left"},
    });
}
