#include "bmpoutput.h"
#include "fontcheck.h"
#include "options.h"
#include "paragraph.h"

#include <zkfontcache.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace zktext
{

namespace
{

struct GlyphCommand {
    std::vector<std::string> codes;
    FontOptions font;
    OutputOptions output;
};

/// "U+0628", "0x628" or a character itself; throws for anything else, and for a
/// character beyond U+FFFF.
ZkUcs2 parseCode(const std::string &text)
{
    const bool isNumber =
        text.size() > 2 && (text.compare(0, 2, "U+") == 0 || text.compare(0, 2, "u+") == 0 ||
                            text.compare(0, 2, "0x") == 0);
    if (isNumber && text.size() <= 8 &&
        text.find_first_not_of("0123456789abcdefABCDEF", 2) == std::string::npos) {
        const unsigned long code = std::strtoul(text.c_str() + 2, nullptr, 16);
        if (code <= 0xFFFF) {
            return static_cast<ZkUcs2>(code);
        }
    }
    ZkString character;
    int leftOut = 0;
    std::string problem;
    if (host::textFromUtf8(text, &character, &leftOut, &problem) && leftOut == 0 &&
        character.size() == 1) {
        return character.at(0);
    }
    throw CLI::ValidationError(
        "CODE", "wants U+0000 to U+FFFF, 0x0 to 0xFFFF or one character, not '" + text + "'");
}

/// Two columns a pixel, so that it looks about square in a terminal.
std::string shade(int coverage, bool isHalo)
{
    static const char kRamp[] = " .:-=+*#%@";
    const char c = isHalo ? 'o' : coverage == 0 ? ' ' : kRamp[1 + coverage * 8 / 255];
    return std::string(2, c);
}

/// The rows of the glyph between two bars; the row above the baseline is marked.
std::string picture(const GlyphBitmap &glyph)
{
    const bool outlined = ZkFont(glyph.font).isOutline();
    std::string out;
    for (int y = 0; y < glyph.height && glyph.pixels; ++y) {
        out += y == glyph.top - 1 ? "  _|" : "   |";
        for (int x = 0; x < glyph.width; ++x) {
            const int coverage = glyph.pixels[y * glyph.pitch + x];
            out += shade(coverage, outlined && coverage == 1);
        }
        out += y == glyph.top - 1 ? "|_\n" : "|\n";
    }
    return out;
}

std::string describe(const GlyphBitmap &glyph)
{
    char line[160];
    std::snprintf(line, sizeof line,
                  "%s  advance %d, left %d, top %d, descent %d, %d x %d pixels, size %d\n",
                  codeName(glyph.unicode).c_str(), glyph.advance, glyph.left, glyph.top,
                  glyph.descent, glyph.width, glyph.height, glyph.font.size);
    return line + picture(glyph);
}

void show(const GlyphCommand &command)
{
    command.output.refuseOtherFormats();
    std::u16string codes;
    for (const std::string &text : command.codes) {
        codes += static_cast<char16_t>(parseCode(text));
    }
    const bool isBmp = command.output.isBmp();
    if (isBmp && codes.size() > 1) {
        throw CLI::ValidationError("CODE", "must be a single one for a BMP file");
    }
    if (isBmp) {
        refuseTerminal(command.output.path);
    }
    command.font.open();
    checkFont(command.font.path(), ZkString(std::u16string_view(codes)), command.font.font());
    std::string out;
    for (const char16_t code : codes) {
        const GlyphBitmap &glyph = *ZkFontCache::glyph(code, command.font.font());
        out += isBmp ? encodeBmp(glyph) : describe(glyph);
    }
    write(command.output.path, out);
}

} // namespace

void addGlyph(CLI::App &program)
{
    CLI::App *command = program.add_subcommand("glyph", "Show the record and picture of glyphs");
    auto options = std::make_shared<GlyphCommand>();
    command->add_option("CODE", options->codes, "U+0628, 0x628 or the character itself")
        ->required();
    options->font.add(*command);
    options->output.add(*command, "text");
    command->callback([options] { show(*options); });
}

} // namespace zktext
