// The command-line host from outside: each test runs the program itself.

#include <zkfontcache.h>
#include <zkfontmetrics.h>

#include "pngfile.h"
#include "tinyfont.h"
#include "zktextcases.h"
#include "zktextprogram.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::StartsWith;

using namespace zktextprogram;

namespace
{

const Words kRender = {"render", "--classic", "--font", ZK_FONT_DEJAVU};
const Words kLayout = {"layout", "--classic", "--json", "--font", ZK_FONT_DEJAVU};

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgb;

    const std::uint8_t *at(int x, int y) const
    {
        return &rgb[(std::size_t(y) * std::size_t(width) + std::size_t(x)) * 3];
    }
    bool isWhite(int x, int y) const
    {
        return at(x, y)[0] == 255 && at(x, y)[1] == 255 && at(x, y)[2] == 255;
    }
};

Picture decode(const std::string &file)
{
    const pngfile::Png png = pngfile::read(file, PNG_FORMAT_RGB);
    return {png.width, png.height, png.pixels};
}

Picture render(const Words &arguments, const std::string &input = std::string())
{
    const Result result = run(kRender + arguments, input);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return decode(result.out);
}

/// A JSON value: texts and literals in `text`, members in `items` or `members`.
struct Json {
    char kind = '?'; // '{', '[', '"', '0' for a number, 't' for a literal
    std::string text;
    std::vector<Json> items;
    std::map<std::string, Json> members;

    const Json &operator[](const char *name) const
    {
        static const Json none;
        const auto found = members.find(name);
        EXPECT_NE(found, members.end()) << "no member " << name;
        return found == members.end() ? none : found->second;
    }
    int number() const
    {
        EXPECT_EQ(kind, '0') << text;
        return std::atoi(text.c_str());
    }
    bool isTrue() const { return text == "true"; }
};

/// A strict reader of the JSON grammar; `failed` on anything that is no JSON.
class JsonReader
{
public:
    explicit JsonReader(const std::string &text) : m_text(text) {}

    Json readAll()
    {
        Json value = read();
        skipBlanks();
        failed = failed || m_at != m_text.size();
        return value;
    }

    bool failed = false;

private:
    char peek() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }
    void skipBlanks()
    {
        while (peek() != '\0' && std::string(" \n\r\t").find(peek()) != std::string::npos) {
            ++m_at;
        }
    }
    bool take(char c)
    {
        skipBlanks();
        const bool found = peek() == c;
        m_at += found;
        return found;
    }
    void expect(char c) { failed = !take(c) || failed; }

    Json read()
    {
        Json value;
        skipBlanks();
        if (take('{')) {
            value.kind = '{';
            while (!failed && !take('}')) {
                if (!value.members.empty()) {
                    expect(',');
                }
                const std::string name = readString();
                expect(':');
                failed = !value.members.emplace(name, read()).second || failed;
            }
        } else if (take('[')) {
            value.kind = '[';
            while (!failed && !take(']')) {
                if (!value.items.empty()) {
                    expect(',');
                }
                value.items.push_back(read());
            }
        } else if (peek() == '"') {
            value.kind = '"';
            value.text = readString();
        } else {
            readPlain(&value);
        }
        return value;
    }

    void readPlain(Json *value)
    {
        const std::size_t start = m_at;
        while (std::isalnum(static_cast<unsigned char>(peek())) || peek() == '-') {
            ++m_at;
        }
        value->text = m_text.substr(start, m_at - start);
        const bool isLiteral =
            value->text == "true" || value->text == "false" || value->text == "null";
        value->kind = isLiteral ? 't' : '0';
        const std::string digits = value->text.substr(value->text.compare(0, 1, "-") == 0 ? 1 : 0);
        const bool isNumber = !digits.empty() &&
                              digits.find_first_not_of("0123456789") == std::string::npos &&
                              (digits.size() == 1 || digits[0] != '0');
        failed = failed || (!isLiteral && !isNumber);
    }

    std::string readString()
    {
        std::string text;
        expect('"');
        while (!failed && peek() != '"') {
            const unsigned char c = static_cast<unsigned char>(peek());
            failed = c < 0x20;
            ++m_at;
            if (c != '\\') {
                text += char(c);
            } else if (peek() == 'u') {
                const std::string code = m_text.substr(m_at + 1, 4);
                failed = code.size() != 4;
                text += char(std::strtol(code.c_str(), nullptr, 16)); // this program: below 0x80
                m_at += 5;
            } else {
                failed = peek() != '"' && peek() != '\\';
                text += peek();
                ++m_at;
            }
        }
        expect('"');
        return text;
    }

    const std::string &m_text;
    std::size_t m_at = 0;
};

Json parse(const std::string &text)
{
    JsonReader reader(text);
    Json value = reader.readAll();
    EXPECT_FALSE(reader.failed) << text;
    return value;
}

Json layout(const Words &arguments, const std::string &input = std::string())
{
    const Result result = run(kLayout + arguments, input);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return parse(result.out);
}

/// True when a message is one line.
bool isOneLine(const std::string &text)
{
    return text.find('\n') == text.size() - 1;
}

} // namespace

TEST(Zktext, HelpNamesEverySubcommand)
{
    const Result result = run({"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    for (const char *name : {"render", "layout", "glyph", "coverage", "analyse", "cache", "pack"}) {
        EXPECT_THAT(result.out, HasSubstr(name));
        const Result help = run({name, "--help"});
        EXPECT_EQ(help.status, 0) << name;
        EXPECT_THAT(help.out, HasSubstr("--font")) << name;
    }
}

TEST(Zktext, WrongOptionsAreOneLineAndStatus2)
{
    const struct {
        const char *what;
        Words arguments;
        const char *message;
    } kRows[] = {
        {"nothing", {}, "subcommand"},
        {"unknown subcommand", {"paint"}, "paint"},
        {"unknown option", kRender + Words{"a", "--colour", "#000000"}, "--colour"},
        {"no text", kRender, "TEXT or --file is required"},
        {"text twice", kRender + Words{"a", "b"}, "b"},
        {"text and file", kRender + Words{"a", "--file", "b"}, "excludes"},
        {"size 0", kRender + Words{"a", "--size", "0"}, "--size"},
        {"size 256", kRender + Words{"a", "--size", "256"}, "--size"},
        {"size no number", kRender + Words{"a", "--size", "big"}, "--size"},
        {"size without value", kRender + Words{"a", "--size"}, "--size"},
        {"width below 0", kRender + Words{"a", "--width", "-1"}, "--width"},
        {"width absurd", kRender + Words{"a", "--width", "16385"}, "--width"},
        {"height absurd", kRender + Words{"a", "--height", "99999999999"}, "--height"},
        {"margin absurd", kRender + Words{"a", "--margin", "5000"}, "--margin"},
        {"zoom 0", kRender + Words{"a", "--zoom", "0"}, "--zoom"},
        {"zoom 17", kRender + Words{"a", "--zoom", "17"}, "--zoom"},
        {"alignment", kRender + Words{"a", "--align", "justify"}, "--align"},
        {"vertical alignment", kRender + Words{"a", "--valign", "left"}, "--valign"},
        {"colour", kRender + Words{"a", "--color", "red"},
         "--color: wants #RRGGBB or #RRGGBBAA, not 'red'"},
        {"background", kRender + Words{"a", "--background", "#12"}, "--background: wants"},
        {"outline colour", kRender + Words{"a", "--outline-color", ""}, "--outline-color: wants"},
        {"box of three", kRender + Words{"a", "--box", "1,2,3"},
         "--box: wants X,Y,WIDTH,HEIGHT in pixels, not '1,2,3'"},
        {"box with a tail", kRender + Words{"a", "--box", "1,2,3,4,5"}, "--box: wants"},
        {"box without width", kRender + Words{"a", "--box", "0,0,0,9"}, "--box: wants"},
        {"box far away", kRender + Words{"a", "--box", "0,99999,9,9"}, "--box: wants"},
        {"box and width", kRender + Words{"a", "--box", "0,0,9,9", "--width", "9"}, "excludes"},
        {"canvas", kRender + Words{"a", "--canvas", "100"},
         "--canvas: wants WIDTHxHEIGHT in pixels, not '100'"},
        {"canvas of nothing", kRender + Words{"a", "--canvas", "0x10"}, "--canvas: wants"},
        {"line spacing", kRender + Words{"a", "--line-spacing", "5000"}, "--line-spacing"},
        {"character spacing", kRender + Words{"a", "--char-spacing", "x"}, "--char-spacing"},
        {"no code", {"glyph", "--font", ZK_FONT_DEJAVU}, "CODE"},
        {"code too high",
         {"glyph", "--font", ZK_FONT_DEJAVU, "U+10000"},
         "CODE: wants U+0000 to U+FFFF, 0x0 to 0xFFFF or one character, not 'U+10000'"},
        {"code of two characters", {"glyph", "--font", ZK_FONT_DEJAVU, "ab"}, "not 'ab'"},
        {"code that is no number", {"glyph", "--font", ZK_FONT_DEJAVU, "U+12x"}, "not 'U+12x'"},
        {"code beyond the plane", {"glyph", "--font", ZK_FONT_DEJAVU, "\U0001F600"}, "CODE: wants"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const Result result = run(row.arguments);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, StartsWith("zktext: "));
        EXPECT_THAT(result.err, HasSubstr(row.message));
        EXPECT_TRUE(isOneLine(result.err)) << result.err;
    }
}

TEST(Zktext, TellsItsVersion)
{
    const Result result = run({"--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out.rfind("zktext 0.", 0), 0u) << result.out;
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 1);
}

// Bytes of a PNG file stood in a.jpg without a word.
TEST(Zktext, AFormatThatIsNotWrittenIsRefused)
{
    const Folder folder;
    const struct {
        const char *what;
        Words command;
        const char *name;
        const char *problem; // null when the file is written
    } kRows[] = {
        {"render", kRender + Words{"a"}, "x.jpg", "the formats are *.png and *.bmp"},
        {"render, capitals", kRender + Words{"a"}, "x.GIF", "the formats are *.png and *.bmp"},
        {"render, told", kRender + Words{"a", "--format", "png"}, "x.jpg", nullptr},
        {"render, no ending", kRender + Words{"a"}, "picture", nullptr},
        {"render, a hidden file", kRender + Words{"a"}, ".jpg", nullptr},
        {"render, capitals of its own", kRender + Words{"a"}, "x.PNG", nullptr},
        {"glyph", Words{"glyph", "A", "--font", ZK_FONT_DEJAVU}, "x.png",
         "the formats are text and *.bmp"},
        {"glyph, text", Words{"glyph", "A", "--font", ZK_FONT_DEJAVU}, "x.md", nullptr},
        {"bmp", {"bmp", "-"}, "y.jpg", "the format is *.png"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const std::string path = folder.path(row.name);
        const Result result = run(row.command + Words{"-o", path});
        EXPECT_EQ(result.status, row.problem == nullptr ? 0 : 2) << result.err;
        EXPECT_EQ(readFile(path).empty(), row.problem != nullptr);
        if (row.problem != nullptr) {
            EXPECT_EQ(result.err.rfind(
                          "zktext: --output: " + path + " is not written: " + row.problem, 0),
                      0u)
                << result.err;
        }
    }
}

TEST(Zktext, CharactersThatTheFontLacksAreNamedOnce)
{
    const Result result = run(kRender + Words{"\u4E2D\u6587 \u4E2D a\u0E01", "-o", "/dev/null"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "zktext: the font has no U+0E01, U+4E2D, U+6587\n");
    std::string many;
    for (int i = 0; i < 30; ++i) {
        many += "\xE4\xB8" + std::string(1, static_cast<char>(0x80 + i)); // U+4E00 and on
    }
    EXPECT_NE(run(kRender + Words{many, "-o", "/dev/null"}).err.find("U+4E13 and 10 more\n"),
              std::string::npos);
    EXPECT_EQ(run(kRender + Words{"one\ntwo", "-o", "/dev/null"}).err, "");
}

// FreeType opens a font that was cut off, and finds out glyph by glyph.
TEST(Zktext, ADamagedFontIsNamed)
{
    const TemporaryFile broken(TinyFont().addBox('A', 0, 0, 4, 4, 5).addBroken('B', 9).bytes());
    const Result result =
        run({"render", "--classic", "AB", "--font", broken.path(), "-o", "/dev/null"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err.rfind(std::string("zktext: the font ") + broken.path() +
                                   " is damaged: it gives nothing for U+0042\n",
                               0),
              0u)
        << result.err;
    const std::string whole = readFile(ZK_FONT_DEJAVU);
    const TemporaryFile cut(whole.substr(0, whole.size() / 2));
    const Result half =
        run({"render", "--classic", "Hello", "--font", cut.path(), "-o", "/dev/null"});
    EXPECT_TRUE(half.status == 1 || half.err.find("is damaged") != std::string::npos) << half.err;
}

// A glyph of 30,000 pixels a side out of a size of 16, half a gigabyte and more.
TEST(Zktext, AHostileFontIsRefused)
{
    const TemporaryFile hostile(
        TinyFont().addBox('A', -15000, -8000, 15000, 9000, 5).addBox('B', 0, 0, 4, 4, 5).bytes());
    for (const char *command : {"render", "layout", "glyph"}) {
        SCOPED_TRACE(command);
        Words arguments = {command, "A", "--size", "16", "--font", hostile.path()};
        if (std::string(command) != "glyph") {
            arguments.push_back("--classic"); // paragraphs leave such a glyph out
        }
        const Result result = run(arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(
            result.err.rfind("zktext: the font is damaged or hostile: at size 16 U+0041 would "
                             "have 300",
                             0),
            0u)
            << result.err;
    }
    EXPECT_EQ(run({"layout", "--classic", "B", "--size", "16", "--font", hostile.path()}).status,
              0);
}

TEST(Zktext, WhatCannotBeDoneIsOneLineAndStatus1)
{
    const Folder folder;
    writeFile(folder.path("text"), "abc");
    writeFile(folder.path("bad"), "ab\xFF");
    writeFile(folder.path("long"), std::string(1024 * 1024 + 10, 'a'));
    const std::string missing = folder.path("missing"), text = folder.path("text");
    const std::string none = ": No such file or directory";
    const struct {
        const char *what;
        Words arguments;
        std::string message;
    } kRows[] = {
        {"missing font",
         {"render", "--classic", "a", "--font", missing},
         "cannot read font " + missing + none},
        {"text as font",
         {"layout", "--classic", "a", "--font", text},
         "cannot read font " + text + ": not a font file"},
        {"folder as font",
         {"glyph", "a", "--font", testing::TempDir()},
         "cannot read font " + testing::TempDir() + ": not a font file"},
        {"a folder as a BMP file",
         {"bmp", testing::TempDir()},
         "cannot read " + testing::TempDir() + ": Is a directory"},
        {"missing font, coverage",
         {"coverage", "--font", missing},
         "cannot read font " + missing + none},
        {"missing file", kRender + Words{"--file", missing}, "cannot read " + missing + none},
        {"folder as text", kRender + Words{"--file", testing::TempDir()},
         "cannot read " + testing::TempDir() + ": Is a directory"},
        {"no UTF-8", kRender + Words{"--file", folder.path("bad")},
         "the text is not UTF-8 (byte 3)"},
        {"long text", kRender + Words{"--file", folder.path("long")},
         "the text in " + folder.path("long") + " is longer than 1 MiB"},
        {"folder missing", kRender + Words{"a", "--output", missing + "/a.png"},
         "cannot write " + missing + "/a.png" + none},
        {"output is a folder", kRender + Words{"a", "--output", testing::TempDir()},
         "cannot write " + testing::TempDir() + ": "},
        {"full device", kRender + Words{"a", "--output", "/dev/full"},
         "cannot write /dev/full: No space left on device"},
        {"nothing to draw", kRender + Words{"--file", "/dev/null", "--margin", "0"},
         "nothing to draw: the picture would have 0 x 0 pixels"},
        {"too large", kRender + Words{"a", "--canvas", "9000x9000"},
         "a picture of 9000 x 9000 pixels is too large"},
        {"too large by zoom", kRender + Words{"a", "--canvas", "2049x100", "--zoom", "16"},
         "a picture of 32784 x 1600 pixels is too large"},
        {"too wide", kRender + Words{"a", "--canvas", "999999x1"},
         "a picture of 999999 x 1 pixels is too large"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const Result result = run(row.arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, StartsWith("zktext: " + row.message));
        EXPECT_TRUE(isOneLine(result.err)) << result.err;
    }
}

TEST(Zktext, AFontMustBeNamed)
{
    const std::string command = "env -u ZK_FONTLIB " + zktext({"render", "--classic", "a"});
    const Result none = shell(command);
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.err,
              "zktext: no font: name one with --font or in the environment variable ZK_FONTLIB\n");
    const Result named =
        shell("ZK_FONTLIB=" + quoted(ZK_FONT_DEJAVU) + ' ' + zktext({"render", "--classic", "a"}));
    EXPECT_EQ(named.status, 0) << named.err;
    EXPECT_EQ(named.out, run(kRender + Words{"a"}).out);
}

TEST(Zktext, AFullDeviceBehindStandardOutputIsNoticed)
{
    const Result result = shell(zktext(kLayout + Words{"a"}) + " -o /dev/full");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "zktext: cannot write /dev/full: No space left on device\n");
    const Result piped = shell("{ " + zktext(kLayout + Words{"a"}) + " > /dev/full; }");
    EXPECT_EQ(piped.status, 1);
    EXPECT_EQ(piped.err, "zktext: cannot write standard output: No space left on device\n");
}

TEST(Zktext, AFileAppearsCompleteOrNotAtAll)
{
    const Folder folder;
    const std::string path = folder.path("a.png");
    writeFile(path, "what was there before");
    EXPECT_EQ(run(kRender + Words{"a", "-o", path, "--canvas", "9000x9000"}).status, 1);
    EXPECT_EQ(readFile(path), "what was there before");
    EXPECT_EQ(run(kRender + Words{"a", "-o", path}).status, 0);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a.png"}) << "no temporary file is left";
    EXPECT_EQ(readFile(path), run(kRender + Words{"a"}).out);

    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(status.st_mode & 0777, 0666 & ~mask) << "as readable as any other new file";
}

TEST(Zktext, CharactersThatTheLibraryHasNoUnitForAreMentioned)
{
    const Result result = run(kRender + Words{"a\U0001F600\U0001F600"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "zktext: 2 characters above U+FFFF are left out\n");
    EXPECT_EQ(result.out, run(kRender + Words{"a"}).out);
}

TEST(ZktextRender, TextComesFromArgumentFileOrStandardInput)
{
    const Folder folder;
    writeFile(folder.path("text"), "Hello\n");
    const std::string expected = run(kRender + Words{"Hello"}).out;
    EXPECT_EQ(run(kRender + Words{"--file", folder.path("text")}).out, expected);
    EXPECT_EQ(run(kRender + Words{"--file", "-"}, "Hello\n").out, expected);
    EXPECT_EQ(run(kRender + Words{"-"}, "Hello\n").out, expected);
    EXPECT_EQ(run(kRender + Words{"-"}, "Hello").out, expected);
    EXPECT_NE(run(kRender + Words{"-"}, "Hello\nHello\n").out, expected);
    EXPECT_EQ(run(kRender + Words{"--", "-5"}).status, 0);
}

TEST(ZktextRender, ThePictureHoldsTheBoxAndItsMargin)
{
    const Json plain = layout({"Hello"});
    const int width = plain["sizeHint"]["width"].number();
    const int height = plain["sizeHint"]["height"].number();
    const struct {
        const char *what;
        Words options;
        int width, height;
    } kRows[] = {
        {"as large as the text", {}, width + 16, height + 16},
        {"no margin", {"--margin", "0"}, width, height},
        {"a given width", {"--width", "300", "--margin", "5"}, 310, height + 10},
        {"a given height", {"--height", "200", "--margin", "5"}, width + 10, 210},
        {"a given box", {"--box", "20,30,100,50", "--margin", "7"}, 127, 87},
        {"a given canvas", {"--canvas", "77x33"}, 77, 33},
        {"zoomed", {"--zoom", "3", "--canvas", "77x33"}, 231, 99},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const Picture picture = render(Words{"Hello"} + row.options);
        EXPECT_EQ(picture.width, row.width);
        EXPECT_EQ(picture.height, row.height);
    }
}

TEST(ZktextRender, ZoomShowsTheSamePixelsLarger)
{
    const Picture small = render({"Az"}), large = render({"Az", "--zoom", "4"});
    ASSERT_EQ(large.width, small.width * 4);
    ASSERT_EQ(large.height, small.height * 4);
    for (int y = 0; y < large.height; ++y) {
        for (int x = 0; x < large.width; ++x) {
            ASSERT_TRUE(std::equal(large.at(x, y), large.at(x, y) + 3, small.at(x / 4, y / 4)))
                << x << ", " << y;
        }
    }
}

TEST(ZktextRender, PaintsTheGlyphsOfTheLibraryWhereTheLayoutSays)
{
    const Words text = {"Agj,", "--size", "30"};
    const Picture picture = render(text);
    std::vector<int> expected(picture.rgb.size() / 3, 255);
    ZkFontMetrics::setFontFile(ZK_FONT_DEJAVU);
    const ZkFont font(30, false, false, false, false);
    const Json found = layout(text);
    for (const Json &glyph : found["lines"].items.at(0)["glyphs"].items) {
        const std::string code = glyph["code"].text;
        const GlyphBitmap &record = *ZkFontCache::glyph(
            static_cast<ZkUcs2>(std::strtol(code.c_str() + 2, nullptr, 16)), font);
        EXPECT_EQ(glyph["advance"].number(), record.advance);
        EXPECT_EQ(glyph["left"].number(), record.left);
        EXPECT_EQ(glyph["top"].number(), record.top);
        EXPECT_EQ(glyph["width"].number(), record.width);
        EXPECT_EQ(glyph["height"].number(), record.height);
        for (int y = 0; y < record.height; ++y) {
            for (int x = 0; x < record.width; ++x) {
                const int at = (glyph["y"].number() + y) * picture.width + glyph["x"].number() + x;
                int &pixel = expected.at(std::size_t(at));
                pixel = (pixel * (255 - record.pixels[y * record.pitch + x]) + 127) / 255;
            }
        }
    }
    for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(int(picture.rgb[i * 3]), expected[i]) << "pixel " << i;
    }
    ZkFontMetrics::closeFontFile();
}

TEST(ZktextRender, ColoursAreThoseAskedFor)
{
    const Picture picture = render({"Hm", "--color", "#ff0000", "--background", "#0000ff"});
    int red = 0, blue = 0;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const std::uint8_t *pixel = picture.at(x, y);
            EXPECT_EQ(pixel[1], 0);
            EXPECT_NEAR(pixel[0] + pixel[2], 255, 1);
            red += pixel[0] == 255;
            blue += pixel[2] == 255;
        }
    }
    EXPECT_GT(red, 20);
    EXPECT_GT(blue, red);
    const Picture faint = render({"Hm", "--color", "#00000080"});
    EXPECT_EQ(*std::min_element(faint.rgb.begin(), faint.rgb.end()), 127);
}

TEST(ZktextRender, StylesChangeThePicture)
{
    const std::string plain = run(kRender + Words{"Hill"}).out;
    for (const char *style : {"--bold", "--embolden", "--outline", "--underline"}) {
        SCOPED_TRACE(style);
        const Result styled = run(kRender + Words{"Hill", style});
        EXPECT_EQ(styled.status, 0);
        EXPECT_NE(styled.out, plain);
    }
}

TEST(ZktextRender, TheOutlineHasItsColour)
{
    const Picture picture = render({"I", "--outline", "--outline-color", "#00ff00"});
    int halo = 0;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const std::uint8_t *pixel = picture.at(x, y);
            halo += pixel[0] == 0 && pixel[1] == 255 && pixel[2] == 0;
        }
    }
    EXPECT_GT(halo, 20);
}

TEST(ZktextRender, UnderlineIsAStripBelowTheBaseline)
{
    const Json plain = layout({"Hill"});
    const Picture picture = render({"Hill", "--underline"});
    const int baseline = plain["lines"].items.at(0)["baseline"].number();
    const int left = plain["lines"].items.at(0)["rect"]["left"].number();
    const int right = plain["lines"].items.at(0)["rect"]["right"].number();
    for (int x = 0; x < picture.width; ++x) {
        const bool ink = picture.at(x, baseline + 2)[0] == 0; // size 24: two rows below
        EXPECT_EQ(ink, x >= left && x <= right) << x;
    }
}

TEST(ZktextRender, ClipKeepsTheTextInsideItsBox)
{
    const Words text = {"WWWWWWWW", "--box", "30,10,40,12", "--canvas", "120x60"};
    const auto outside = [](const Picture &picture) {
        int ink = 0;
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x) {
                const bool inBox = x >= 30 && x < 70 && y >= 10 && y < 22;
                ink += !inBox && !picture.isWhite(x, y);
            }
        }
        return ink;
    };
    EXPECT_GT(outside(render(text)), 0);
    EXPECT_EQ(outside(render(text + Words{"--clip"})), 0);
}

TEST(ZktextRender, BoxesShowWhatTheLayoutDid)
{
    const Words text = {"Hi you", "--width", "60", "--height", "120", "--valign", "center"};
    const Json found = layout(text);
    const Picture plain = render(text), boxes = render(text + Words{"--boxes"});
    const auto differs = [&](int x, int y) {
        return !std::equal(plain.at(x, y), plain.at(x, y) + 3, boxes.at(x, y));
    };
    const auto corners = [&](const Json &rect) {
        for (const char *side : {"left", "right"}) {
            for (const char *end : {"top", "bottom"}) {
                EXPECT_TRUE(differs(rect[side].number(), rect[end].number())) << side << " " << end;
            }
        }
    };
    corners(found["box"]);
    ASSERT_EQ(found["lines"].items.size(), 2u);
    for (const Json &line : found["lines"].items) {
        corners(line["rect"]);
        for (int x = line["rect"]["left"].number(); x <= line["rect"]["right"].number(); ++x) {
            EXPECT_TRUE(differs(x, line["baseline"].number()));
        }
        for (const Json &glyph : line["glyphs"].items) {
            EXPECT_TRUE(differs(glyph["pen"].number(), line["rect"]["top"].number() + 3));
        }
    }
}

TEST(ZktextLayout, TellsWhatTheLibraryTells)
{
    ZkFontMetrics::setFontFile(ZK_FONT_DEJAVU);
    const char *text = "The quick brown fox jumps over the lazy dog";
    ZkFontMetrics metrics(ZkString(text), ZkFont(20, false, false, false, false), 6, 1);
    metrics.setWorpWrap(true);
    metrics.setAlignment(1 | 32);
    metrics.setTextMinRect(8, 8, 150, 300);
    const Json found = layout({text, "--size", "20", "--line-spacing", "6", "--char-spacing", "1",
                               "--width", "150", "--height", "300", "--valign", "bottom"});
    EXPECT_EQ(found["sizeHint"]["width"].number(), metrics.sizeHint().width());
    EXPECT_EQ(found["sizeHint"]["height"].number(), metrics.sizeHint().height());
    EXPECT_EQ(found["lineHeight"].number(), metrics.textPixelSize() + 3);
    EXPECT_FALSE(found["rightToLeft"].isTrue());
    const ZkVector<PaintInfo> &records = metrics.paintInfoList();
    const ZkList<ZkString> lines = metrics.subText();
    ASSERT_EQ(int(found["lines"].items.size()), records.size());
    ASSERT_GT(records.size(), 2);
    for (int i = 0; i < records.size(); ++i) {
        SCOPED_TRACE(i);
        const Json &line = found["lines"].items[std::size_t(i)];
        EXPECT_EQ(line["text"].text, lines.at(i).toStdString());
        EXPECT_EQ(line["direction"].text, "left-to-right");
        EXPECT_EQ(line["rect"]["left"].number(), records.at(i).left);
        EXPECT_EQ(line["rect"]["right"].number(), records.at(i).right);
        EXPECT_EQ(line["rect"]["bottom"].number(), records.at(i).bottom);
        EXPECT_EQ(line["rect"]["top"].number(),
                  records.at(i).bottom - metrics.textPixelSize() - 3 + 1);
        ASSERT_EQ(int(line["glyphs"].items.size()), records.at(i).glyphs.size());
        int pen = records.at(i).left;
        for (const Json &glyph : line["glyphs"].items) {
            EXPECT_EQ(glyph["pen"].number(), pen);
            EXPECT_EQ(glyph["x"].number(), pen + glyph["left"].number());
            EXPECT_EQ(glyph["y"].number(), line["baseline"].number() - glyph["top"].number());
            EXPECT_TRUE(glyph["painted"].isTrue());
            pen += glyph["advance"].number() + 1;
        }
    }
    ZkFontMetrics::closeFontFile();
}

TEST(ZktextLayout, AlignmentMovesLinesInTheBox)
{
    const int width = layout({"Hello"})["sizeHint"]["width"].number();
    const int height = layout({"Hello"})["sizeHint"]["height"].number();
    const struct {
        const char *text, *align, *valign;
        int left, bottom; // of the line, told from the box (0, 0, 400, 200)
    } kRows[] = {
        {"Hello", "left", "top", 0, height - 1},
        {"Hello", "center", "center", (400 - width) / 2, height - 1 + (200 - height + 1) / 2},
        {"Hello", "right", "bottom", 400 - width, height - 1 + 200 - (height - 1)},
    };
    for (const auto &row : kRows) {
        const Json line = layout({row.text, "--align", row.align, "--valign", row.valign, "--box",
                                  "0,0,400,200"})["lines"]
                              .items.at(0);
        EXPECT_EQ(line["rect"]["left"].number(), row.left) << row.align;
        EXPECT_EQ(line["rect"]["bottom"].number(), row.bottom) << row.valign;
    }
}

TEST(ZktextLayout, WrapsBetweenWordsUnlessToldNotTo)
{
    const Words text = {"one two three", "--width", "10"};
    EXPECT_EQ(layout(text)["lines"].items.size(), 3u);
    EXPECT_EQ(layout(text + Words{"--no-wrap"})["lines"].items.size(), 1u);
    EXPECT_EQ(layout({"one two three"})["lines"].items.size(), 1u);
    EXPECT_EQ(layout({"one\ntwo", "--no-wrap"})["lines"].items.size(), 2u);
}

TEST(ZktextLayout, ARightToLeftParagraphReadsFromItsFirstLine)
{
    const Words text = {"אחת שתיים שלוש", "--width", "10"};
    const Json found = layout(text), bare = layout(text + Words{"--bare"});
    EXPECT_TRUE(found["rightToLeft"].isTrue());
    ASSERT_EQ(found["lines"].items.size(), 3u);
    EXPECT_EQ(found["lines"].items[0]["text"].text, "תחא");
    EXPECT_EQ(found["lines"].items[0]["direction"].text, "right-to-left");
    EXPECT_EQ(found["lines"].items[2]["text"].text, "שולש");
    ASSERT_EQ(bare["lines"].items.size(), 3u);
    EXPECT_EQ(bare["lines"].items[0]["text"].text, "שולש ");
}

TEST(ZktextLayout, TheAlefOfLamAlefIsNotPaintedUnlessBare)
{
    const auto painted = [](const Json &found) {
        std::string flags;
        for (const Json &glyph : found["lines"].items.at(0)["glyphs"].items) {
            flags += glyph["code"].text + (glyph["painted"].isTrue() ? "+ " : "- ");
        }
        return flags;
    };
    EXPECT_EQ(painted(layout({"لا"})), "U+FE8E- U+FEFB+ ");
    EXPECT_EQ(painted(layout({"لا", "--bare"})), "U+FE8E+ U+FEFB+ ");
}

TEST(ZktextLayout, DirectionIsToldLineByLine)
{
    const Json found = layout({"abc\nشمس\n123"});
    ASSERT_EQ(found["lines"].items.size(), 3u);
    EXPECT_EQ(found["lines"].items[0]["direction"].text, "left-to-right");
    EXPECT_EQ(found["lines"].items[1]["direction"].text, "right-to-left");
    EXPECT_EQ(found["lines"].items[2]["direction"].text, "left-to-right");
}

TEST(ZktextLayout, JsonEscapesWhatItMust)
{
    const Json found = layout({"say \"a\\b\""});
    EXPECT_EQ(found["lines"].items.at(0)["text"].text, "say \"a\\b\"");
}

TEST(ZktextLayout, TheTableHoldsTheSameNumbers)
{
    const Json found = layout({"Hi"});
    const Result table = run({"layout", "--classic", "--font", ZK_FONT_DEJAVU, "Hi"});
    EXPECT_EQ(table.status, 0);
    std::ostringstream expected;
    expected << "size hint " << found["sizeHint"]["width"].text << " x "
             << found["sizeHint"]["height"].text << ", line height " << found["lineHeight"].text
             << ", left-to-right\n";
    EXPECT_THAT(table.out, StartsWith(expected.str()));
    EXPECT_THAT(table.out, HasSubstr("line 1: x 8.."));
    EXPECT_THAT(table.out, HasSubstr("baseline " + found["lines"].items.at(0)["baseline"].text));
    EXPECT_THAT(table.out, HasSubstr("U+0048"));
    EXPECT_THAT(table.out, HasSubstr("U+0069"));
}

TEST(ZktextLayout, AnEmptyTextHasNoLines)
{
    const Json found = layout({"--file", "/dev/null"});
    EXPECT_EQ(found["sizeHint"]["width"].number(), 0);
    EXPECT_EQ(found["lines"].items.size(), 0u);
    EXPECT_EQ(layout({""})["lines"].items.size(), 0u);
}

TEST(ZktextGlyph, ShowsTheRecordAndThePicture)
{
    ZkFontMetrics::setFontFile(ZK_FONT_DEJAVU);
    const GlyphBitmap &glyph = *ZkFontCache::glyph('A', ZkFont(20, false, false, false, false));
    char head[120];
    std::snprintf(head, sizeof head,
                  "U+0041  advance %d, left %d, top %d, descent %d, %d x %d pixels, size 20\n",
                  glyph.advance, glyph.left, glyph.top, glyph.descent, glyph.width, glyph.height);
    std::string expected = head;
    for (const char *code : {"A", "U+0041", "u+41", "0x41"}) {
        const Result result = run({"glyph", code, "--size", "20", "--font", ZK_FONT_DEJAVU});
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_THAT(result.out, StartsWith(expected)) << code;
        std::istringstream lines(result.out.substr(expected.size()));
        int rows = 0;
        for (std::string line; std::getline(lines, line); ++rows) {
            const bool onBaseline = rows == glyph.top - 1;
            EXPECT_EQ(line.substr(0, 4), onBaseline ? "  _|" : "   |") << rows;
            for (int x = 0; x < glyph.width; ++x) {
                const int coverage = glyph.pixels[rows * glyph.pitch + x];
                const std::string cell = line.substr(std::size_t(4 + 2 * x), 2);
                EXPECT_EQ(cell == "  ", coverage == 0);
                EXPECT_EQ(cell == "@@", coverage == 255);
            }
        }
        EXPECT_EQ(rows, glyph.height);
    }
    ZkFontMetrics::closeFontFile();
}

TEST(ZktextGlyph, ShowsSeveralGlyphsAndTheHalo)
{
    const Result result = run({"glyph", "U+0628", "ا", "--outline", "--font", ZK_FONT_DEJAVU});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, StartsWith("U+0628  advance "));
    EXPECT_THAT(result.out, HasSubstr("\nU+0627  advance "));
    EXPECT_THAT(result.out, HasSubstr("oo"));
}

namespace
{

/// How many of the codes the font maps to a glyph.
int present(const char *font, const std::vector<unsigned> &codes)
{
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    EXPECT_EQ(FT_Init_FreeType(&library), 0);
    EXPECT_EQ(FT_New_Face(library, font, 0, &face), 0);
    int count = 0;
    for (const unsigned code : codes) {
        count += FT_Get_Char_Index(face, code) != 0;
    }
    FT_Done_FreeType(library);
    return count;
}

std::vector<unsigned> range(unsigned first, unsigned last)
{
    std::vector<unsigned> codes;
    for (unsigned code = first; code <= last; ++code) {
        codes.push_back(code);
    }
    return codes;
}

} // namespace

TEST(ZktextCoverage, CountsWhatTheCharacterMapHolds)
{
    // Every presentation form that the joining tables lead to.
    std::vector<unsigned> persian = range(0xFB56, 0xFB59);
    for (const std::vector<unsigned> &more : {range(0xFB7A, 0xFB7D), range(0xFB8A, 0xFB8B),
                                              range(0xFB8E, 0xFB95), range(0xFBFC, 0xFBFF)}) {
        persian.insert(persian.end(), more.begin(), more.end());
    }
    const std::map<std::string, std::vector<unsigned>> kGroups = {
        {"Latin, basic", range(0x20, 0x7E)},
        {"Arabic letter forms", range(0xFE80, 0xFEF4)},
        {"Arabic lam-alef", range(0xFEF5, 0xFEFC)},
        {"Persian letter forms", persian},
        {"Hebrew letters", range(0x5D0, 0x5EA)},
        {"Katakana", range(0x30A1, 0x30FE)},
        {"Han", range(0x4E00, 0x9FA5)},
        {"Hangul syllables", range(0xAC00, 0xD7A3)},
    };
    for (const char *font : {ZK_FONT_DEJAVU, ZK_FONT_FREESERIF, ZK_FONT_MICROHEI}) {
        SCOPED_TRACE(font);
        const Result result = run({"coverage", "--json", "--font", font});
        ASSERT_EQ(result.status, 0) << result.err;
        const Json report = parse(result.out);
        std::size_t found = 0;
        for (const Json &group : report["groups"].items) {
            const auto codes = kGroups.find(group["name"].text);
            int missing = 0;
            for (const Json &gap : group["gaps"].items) {
                missing += int(std::strtol(gap.items.at(1).text.c_str() + 2, nullptr, 16) -
                               std::strtol(gap.items.at(0).text.c_str() + 2, nullptr, 16) + 1);
            }
            EXPECT_GE(missing, group["total"].number() - group["present"].number());
            if (codes != kGroups.end()) {
                SCOPED_TRACE(codes->first);
                ++found;
                EXPECT_EQ(group["total"].number(), int(codes->second.size()));
                EXPECT_EQ(group["present"].number(), present(font, codes->second));
                EXPECT_EQ(missing, group["total"].number() - group["present"].number());
            }
        }
        EXPECT_EQ(found, kGroups.size());
    }
}

TEST(ZktextCoverage, TheTableListsTheGaps)
{
    const Result dejavu = run({"coverage", "--font", ZK_FONT_DEJAVU});
    EXPECT_EQ(dejavu.status, 0);
    EXPECT_THAT(dejavu.out, HasSubstr("Latin, basic                 95 of     95  100 %\n"));
    EXPECT_THAT(dejavu.out, HasSubstr("\nThai "));
    EXPECT_THAT(dejavu.out, HasSubstr("U+0E01..U+0E3A"));
    const Result serif = run({"coverage", "--font", ZK_FONT_FREESERIF});
    EXPECT_THAT(serif.out, HasSubstr("Han                           0 of  20902    0 %\n"
                                     "    U+4E00..U+9FA5\n"));
}

TEST(ZktextCoverage, LongListsOfGapsAreCutUnlessAllAreWanted)
{
    const Words command = {"coverage", "--font", ZK_FONT_MICROHEI};
    const Result some = run(command), all = run(command + Words{"--all"});
    EXPECT_EQ(some.status, 0);
    EXPECT_EQ(all.status, 0);
    EXPECT_THAT(all.out, testing::Not(HasSubstr("--all")));
    EXPECT_GE(all.out.size(), some.out.size());
}

TEST(ZktextReference, LayoutsAreExactlyThoseOnFile)
{
    ASSERT_GE(cases("zktext").size(), 5u);
    for (const Case &one : cases("zktext")) {
        SCOPED_TRACE(one.name);
        const Result result = run(Words{"layout", "--classic", "--json"} + one.arguments);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, readFile(ZK_TEST_DATA "/zktext/" + one.name + ".json"));
    }
}

TEST(ZktextReference, PicturesLookLikeThoseOnFile)
{
    for (const Case &one : cases("zktext")) {
        SCOPED_TRACE(one.name);
        const Picture picture =
            decode(run(Words{"render", "--classic"} + one.painting + one.arguments).out);
        const Picture wanted = decode(readFile(ZK_TEST_DATA "/zktext/" + one.name + ".png"));
        ASSERT_EQ(picture.width, wanted.width);
        ASSERT_EQ(picture.height, wanted.height);
        EXPECT_LT(difference(picture.rgb, wanted.rgb), kAlike);
    }
}

#ifdef ZK_DEMO
TEST(Demo, DrawsEveryPictureItNames)
{
    const Folder folder;
    const Result result =
        shell(quoted(ZK_DEMO) + ' ' + quoted(ZK_BUILD) + ' ' + quoted(folder.path("")));
    ASSERT_EQ(result.status, 0) << result.err;
    std::istringstream lines(result.out);
    std::vector<std::string> names;
    for (std::string path; std::getline(lines, path);) {
        EXPECT_GT(decode(readFile(path)).width, 0) << path;
        names.push_back(path.substr(path.rfind('/') + 1));
    }
    EXPECT_THAT(names, IsSupersetOf({"english.png", "arabic.png", "persian.png", "hebrew.png",
                                     "thai.png", "cjk.png", "settings.png", "engines.png",
                                     "regions.png", "clock.png"}));
    EXPECT_THAT(result.out, EndsWith("sheet.png\n"));
}

TEST(Demo, SaysWhichPackageIsMissing)
{
    const Folder folder;
    const Result result =
        shell("ZK_FONT_FOLDER=" + quoted(folder.path("")) + ' ' + quoted(ZK_DEMO) + ' ' +
              quoted(ZK_BUILD) + ' ' + quoted(folder.path("")));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "demo: no DejaVuSans.ttf: install the Debian package fonts-dejavu-core\n");
}
#endif
