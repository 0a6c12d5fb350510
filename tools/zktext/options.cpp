#include "options.h"

#include "face.h"
#include "output.h"
#include "paragraph.h"

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
    return name == "left"    ? host::AlignLeft
           : name == "right" ? host::AlignRight
                             : host::AlignHCenter;
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
    command.add_option("-f,--font", file, "Font file (default: the file in ZK_FONTLIB)");
}

void FontOptions::add(CLI::App &command)
{
    addFile(command);
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

std::string FontOptions::path() const
{
    if (!file.empty()) {
        return file;
    }
    const char *fromEnvironment = std::getenv("ZK_FONTLIB");
    if (!fromEnvironment || !*fromEnvironment) {
        throw Failure("no font: name one with --font or in the environment variable ZK_FONTLIB");
    }
    return fromEnvironment;
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
    command.add_option("--align", align, "left, center or right (swapped for right-to-left text)")
        ->capture_default_str()
        ->check(CLI::IsMember({"left", "center", "right"}));
    command.add_option("--valign", valign, "top, center or bottom")
        ->capture_default_str()
        ->check(CLI::IsMember({"top", "center", "bottom"}));
    command.add_option("--line-spacing", lineSpacing, "Twice the pixels added to each line")
        ->check(CLI::Range(-1024, 1024));
    command.add_option("--char-spacing", charSpacing, "Pixels added after each character")
        ->check(CLI::Range(-255, 255));
    command.add_flag("--no-wrap", noWrap, "End lines at newlines alone");
    command.add_flag("--bare", bare,
                     "The library's own result: right-to-left paragraphs wrapped in display order, "
                     "the alef drawn beside lam-alef");
}

host::TextBlock LayoutOptions::layOut() const
{
    if (textOption->count() == 0 && file.empty()) {
        throw CLI::RequiredError("TEXT or --file");
    }
    ZkRect box(margin, margin, margin + width - 1, margin + height - 1);
    if (!boxText.empty()) {
        box = parseBox(boxText);
    }
    const bool fromFile = !file.empty() || words == "-";
    const std::string bytes = fromFile ? readText(file.empty() ? words : file) : words;
    host::TextRequest request;
    request.text = toText(bytes);
    request.font = font.font();
    request.lineSpacing = lineSpacing;
    request.charSpacing = charSpacing;
    request.alignment = horizontal(align) | vertical(valign);
    request.width = box.width();
    request.wordWrap = !noWrap;
    request.bare = bare;
    font.open();
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
