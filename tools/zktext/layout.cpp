#include "flow.h"
#include "json.h"
#include "options.h"
#include "paragraph.h"

#include <cstdio>
#include <memory>

namespace zktext
{

namespace
{

struct LayoutCommand {
    LayoutOptions layout;
    std::string output = "-";
    bool json = false;
};

const char *directionOf(const ZkString &line)
{
    return host::isRightToLeft(line) ? "right-to-left" : "left-to-right";
}

void addRect(Json &json, const ZkRect &rect)
{
    json.key("left").number(rect.left()).key("top").number(rect.top());
    json.key("right").number(rect.right()).key("bottom").number(rect.bottom());
}

void addSize(Json &json, const ZkSize &size)
{
    json.open('{', true).key("width").number(size.width());
    json.key("height").number(size.height()).close();
}

/// One object per glyph; `pen` is where its cell begins, (x, y) its first pixel.
void addGlyphs(Json &json, const host::PlacedLine &line)
{
    json.open('[');
    for (const host::Cell &cell : line.cells) {
        for (int k = 0; k < cell.count; ++k) {
            const host::PlacedGlyph &placed = line.glyphs[static_cast<std::size_t>(cell.first + k)];
            const GlyphBitmap &glyph = *placed.glyph;
            json.open('{', true).key("code").string(codeName(glyph.unicode));
            json.key("pen").number(cell.x).key("x").number(placed.x).key("y").number(placed.y);
            json.key("advance").number(glyph.advance).key("left").number(glyph.left);
            json.key("top").number(glyph.top).key("width").number(glyph.width);
            json.key("height").number(glyph.height).key("painted").boolean(!cell.leftOut).close();
        }
    }
    json.close();
}

std::string toJson(const host::TextBlock &block)
{
    Json json;
    json.open('{').key("sizeHint");
    addSize(json, block.size());
    json.key("lineHeight").number(block.lineHeight());
    json.key("rightToLeft").boolean(block.isRightToLeft());
    json.key("box").open('{', true);
    addRect(json, block.box());
    json.close().key("lines").open('[');
    for (int i = 0; i < static_cast<int>(block.lines().size()); ++i) {
        const host::PlacedLine &line = block.lines()[static_cast<std::size_t>(i)];
        const ZkString text = block.lineText(i);
        json.open('{').key("text").string(text.toStdString());
        json.key("direction").string(directionOf(text));
        json.key("rect").open('{', true);
        addRect(json, line.rect);
        json.close().key("baseline").number(line.baseline).key("glyphs");
        addGlyphs(json, line);
        json.close();
    }
    json.close().close();
    return json.text();
}

template <typename... Values>
void addLine(std::string &out, const char *format, Values... values)
{
    char line[160];
    std::snprintf(line, sizeof line, format, values...);
    out += line;
}

std::string toTable(const host::TextBlock &block)
{
    std::string out;
    addLine(out, "size hint %d x %d, line height %d, %s\n", block.size().width(),
            block.size().height(), block.lineHeight(),
            block.isRightToLeft() ? "right-to-left" : "left-to-right");
    for (int i = 0; i < static_cast<int>(block.lines().size()); ++i) {
        const host::PlacedLine &line = block.lines()[static_cast<std::size_t>(i)];
        addLine(out, "\nline %d: x %d..%d, y %d..%d, baseline %d\n", i + 1, line.rect.left(),
                line.rect.right(), line.rect.top(), line.rect.bottom(), line.baseline);
        out += "  " + block.lineText(i).toStdString() + "\n";
        addLine(out, "  %-7s %6s %6s %6s %8s %5s %5s %6s %7s\n", "code", "pen", "x", "y", "advance",
                "left", "top", "width", "height");
        for (const host::Cell &cell : line.cells) {
            for (int k = 0; k < cell.count; ++k) {
                const host::PlacedGlyph &placed =
                    line.glyphs[static_cast<std::size_t>(cell.first + k)];
                const GlyphBitmap &glyph = *placed.glyph;
                addLine(out, "  %-7s %6d %6d %6d %8d %5d %5d %6d %7d%s\n",
                        codeName(glyph.unicode).c_str(), cell.x, placed.x, placed.y, glyph.advance,
                        glyph.left, glyph.top, glyph.width, glyph.height,
                        cell.leftOut ? "  (not painted)" : "");
            }
        }
    }
    return out;
}

} // namespace

void addLayout(CLI::App &program)
{
    CLI::App *command = program.add_subcommand("layout", "Tell where each line and glyph stands");
    auto options = std::make_shared<LayoutCommand>();
    options->layout.add(*command);
    command->add_flag("--json", options->json, "As JSON instead of a table");
    command->add_option("-o,--output", options->output, "File; '-' is standard output")
        ->capture_default_str();
    command->callback([options] {
        options->layout.check();
        if (options->layout.classic) {
            const host::TextBlock block = options->layout.layOutClassic();
            write(options->output, options->json ? toJson(block) : toTable(block));
        } else {
            const Flow flow(options->layout);
            write(options->output, options->json ? flow.toJson() : flow.toTable());
        }
    });
}

} // namespace zktext
