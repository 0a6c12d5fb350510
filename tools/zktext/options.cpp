#include "options.h"

#include "face.h"
#include "fontcheck.h"
#include "output.h"
#include "paragraph.h"

#include <zkfontengine.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace zktext
{

namespace
{

constexpr int kFarthest = 16384;              // pixels: no side or coordinate beyond
constexpr std::size_t kLongest = 1024 * 1024; // bytes of text

ZkString toText(const std::string &bytes)
{
    ZkString text;
    int leftOut = 0;
    std::string problem;
    if (!host::textFromUtf8(bytes, &text, &leftOut, &problem)) {
        throw Failure(problem);
    }
    if (leftOut > 0) {
        std::fprintf(stderr, "zktext: %d characters above U+FFFF are left out\n", leftOut);
    }
    return text;
}

/// "X,Y,W,H" as numbers; throws for anything else.
ZkRect parseBox(const std::string &text)
{
    int x = 0, y = 0, w = 0, h = 0, end = 0;
    const bool read = std::sscanf(text.c_str(), "%5d,%5d,%5d,%5d%n", &x, &y, &w, &h, &end) == 4 &&
                      static_cast<std::size_t>(end) == text.size();
    if (!read || std::abs(x) > kFarthest || std::abs(y) > kFarthest || w < 1 || w > kFarthest ||
        h < 1 || h > kFarthest) {
        throw CLI::ValidationError("--box", "wants X,Y,WIDTH,HEIGHT in pixels, not '" + text + "'");
    }
    return ZkRect(x, y, x + w - 1, y + h - 1);
}

int horizontal(const std::string &name)
{
    return name == "center"  ? host::AlignHCenter
           : name == "right" ? host::AlignRight
                             : host::AlignLeft;
}

int vertical(const std::string &name)
{
    return name == "top"      ? host::AlignTop
           : name == "bottom" ? host::AlignBottom
                              : host::AlignVCenter;
}

} // namespace

std::string readText(const std::string &path)
{
    const auto close = [](std::FILE *file) {
        if (file != stdin) {
            std::fclose(file);
        }
    };
    std::unique_ptr<std::FILE, decltype(close)> file(
        path == "-" ? stdin : std::fopen(path.c_str(), "rb"), close);
    const std::string name = path == "-" ? "standard input" : path;
    if (!file) {
        throw Failure("cannot read " + name + ": " + std::strerror(errno));
    }
    std::string bytes;
    char block[4096];
    for (std::size_t n; (n = std::fread(block, 1, sizeof block, file.get())) > 0;) {
        bytes.append(block, n);
        if (bytes.size() > kLongest) {
            throw Failure("the text in " + name + " is longer than 1 MiB");
        }
    }
    if (std::ferror(file.get())) {
        throw Failure("cannot read " + name + ": " + std::strerror(errno));
    }
    // The line end that editors put behind the last line is not part of the text.
    if (!bytes.empty() && bytes.back() == '\n') {
        bytes.pop_back();
    }
    return bytes;
}

void FontOptions::addFile(CLI::App &command)
{
    command.add_option("-f,--font", files, "Font file (default: the file in ZK_FONTLIB)")
        ->expected(1);
}

void FontOptions::add(CLI::App &command)
{
    command
        .add_option("-f,--font", files,
                    "Font file (default: the file in ZK_FONTLIB); more stand in for characters "
                    "that the first lacks")
        ->allow_extra_args(false);
    command.add_option("-s,--size", size, "Size in pixels")
        ->capture_default_str()
        ->check(CLI::Range(1, 255));
    command.add_flag("--bold", boldFace, "The bold face of the library: slanted glyphs");
    command.add_flag("--embolden", embolden, "Thicker strokes");
    command.add_flag("--outline", outline, "A halo of one pixel around the glyphs");
    command.add_flag("--underline", underline, "A line under the text");
}

ZkFont FontOptions::font() const
{
    return ZkFont(static_cast<unsigned char>(size), boldFace, embolden, outline, underline);
}

std::vector<std::string> FontOptions::paths() const
{
    if (!files.empty()) {
        return files;
    }
    const char *fromEnvironment = std::getenv("ZK_FONTLIB");
    if (!fromEnvironment || !*fromEnvironment) {
        throw Failure("no font: name one with --font or in the environment variable ZK_FONTLIB");
    }
    return {fromEnvironment};
}

void FontOptions::open() const
{
    const std::string name = path();
    const host::FaceFile readable(name);
    ZkFontMetrics::setFontFile(ZkString(std::string_view(name)), -1);
}

void LayoutOptions::add(CLI::App &command)
{
    textOption = command.add_option("TEXT", words, "The text; '-' reads standard input");
    command.add_option("-F,--file", file, "Read the text from a file (UTF-8)")
        ->excludes(textOption);
    font.add(command);
    command
        .add_option("-W,--width", width, "Width of the text box, where lines wrap (0: no limit)")
        ->check(CLI::Range(0, kFarthest));
    command.add_option("-H,--height", height, "Height of the text box (0: as high as the text)")
        ->check(CLI::Range(0, kFarthest));
    command.add_option("--margin", margin, "Free pixels around the text box")
        ->capture_default_str()
        ->check(CLI::Range(0, 1024));
    command.add_option("--box", boxText, "The text box as X,Y,WIDTH,HEIGHT")
        ->excludes("--width")
        ->excludes("--height");
    command.add_flag("--classic", classic,
                     "Lay out with the classic engine: one font, characters up to U+FFFF, "
                     "right-to-left order by runs");
    command
        .add_option("--align", align,
                    "start, end, left, center, right or justify (default: start); with --classic "
                    "left, center or right, swapped for right-to-left text")
        ->check(CLI::IsMember({"start", "end", "left", "center", "right", "justify"}));
    command.add_option("--direction", direction, "Base direction: auto, ltr or rtl")
        ->capture_default_str()
        ->check(CLI::IsMember({"auto", "ltr", "rtl"}));
    command.add_option("--max-lines", maximumLines, "Leave out the lines behind (0: none)")
        ->check(CLI::Range(0, 1000000));
    command
        .add_option("--ellipsis", ellipsis, "Dots for what is left out: none, end, middle, start")
        ->capture_default_str()
        ->check(CLI::IsMember({"none", "end", "middle", "start"}));
    command.add_option("--tab-width", tabWidth, "Pixels between tab stops (0: eight spaces)")
        ->check(CLI::Range(0, kFarthest));
    command.add_flag("--no-kerning", noKerning, "Let no pair of letters move together");
    command.add_flag("--no-cutting", noCutting, "Leave words whole that are wider than the box");
    command.add_option("--span", spans, "Colour and size of a part: FIRST,LAST,#RRGGBB[,SIZE]")
        ->allow_extra_args(false);
    shaping.add(command);
    command.add_option("--valign", valign, "top, center or bottom")
        ->capture_default_str()
        ->check(CLI::IsMember({"top", "center", "bottom"}));
    command
        .add_option("--line-spacing", lineSpacing,
                    "Pixels added to each line; with --classic twice that")
        ->check(CLI::Range(-1024, 1024));
    command.add_option("--char-spacing", charSpacing, "Pixels added after each character")
        ->check(CLI::Range(-255, 255));
    command.add_flag("--no-wrap", noWrap, "End lines at newlines alone");
    command.add_flag("--bare", bare,
                     "With --classic, the library's own result: right-to-left paragraphs wrapped "
                     "in display order, "
                     "the alef drawn beside lam-alef");
}

std::string LayoutOptions::readText() const
{
    if (textOption->count() == 0 && file.empty()) {
        throw CLI::RequiredError("TEXT or --file");
    }
    const bool fromFile = !file.empty() || words == "-";
    return fromFile ? zktext::readText(file.empty() ? words : file) : words;
}

ZkRect LayoutOptions::textBox() const
{
    return boxText.empty() ? ZkRect(margin, margin, margin + width - 1, margin + height - 1)
                           : parseBox(boxText);
}

void LayoutOptions::check() const
{
    const bool isOther = align == "start" || align == "end" || align == "justify";
    if (classic && isOther) {
        throw CLI::ValidationError("--align", align + " is not for --classic");
    }
    if (classic && (direction != "auto" || ellipsis != "none" || maximumLines != 0 ||
                    tabWidth != 0 || noKerning || noCutting || !spans.empty())) {
        throw CLI::ValidationError("--classic", "has no direction, ellipsis, limit of lines, tab "
                                                "stops, kerning, cutting or spans");
    }
    if (classic && shaping.shaper != "simple") {
        throw CLI::ValidationError("--shaper", "is not for --classic");
    }
    shaping.check();
    if (classic && font.files.size() > 1) {
        throw CLI::ValidationError("--font", "--classic takes one font");
    }
    if (!classic && bare) {
        throw CLI::ValidationError("--bare", "is for --classic");
    }
}

host::TextBlock LayoutOptions::layOutClassic() const
{
    const ZkRect box = textBox();
    host::TextRequest request;
    request.text = toText(readText());
    request.font = font.font();
    request.lineSpacing = lineSpacing;
    request.charSpacing = charSpacing;
    request.alignment = horizontal(align) | vertical(valign);
    request.width = box.width();
    request.wordWrap = !noWrap;
    request.bare = bare;
    font.open();
    ZkFontEngine shaped;
    shaped.lanuguageRules(request.text);
    checkFont(font.path(), shaped.text(), request.font);
    host::TextBlock block(request);
    block.place(box.left(), box.top(), box.height());
    return block;
}

void refuseTerminal(const std::string &path)
{
    if (path == "-" && host::outputIsTerminal()) {
        throw Failure("a picture does not belong on a terminal: name a file with --output");
    }
}

void write(const std::string &path, const std::string &bytes)
{
    std::string problem;
    if (!host::writeOutput(path, bytes, &problem)) {
        throw Failure(problem);
    }
}

std::string codeName(unsigned code)
{
    char name[16];
    std::snprintf(name, sizeof name, "U+%04X", code);
    return name;
}

} // namespace zktext
