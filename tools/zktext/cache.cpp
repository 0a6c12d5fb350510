#include "chain.h"
#include "options.h"
#include "output.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace zktext
{

namespace
{

constexpr host::Color kPaper = {250, 250, 247, 255}, kInk = {28, 32, 40, 255},
                      kNote = {130, 136, 148, 255}, kHeldInk = {20, 96, 160, 255};

struct CacheCommand {
    std::string text;
    ChainOptions chain;
    std::vector<int> sizes;
    std::size_t budget = ZkGlyphCache::DefaultBudget;
    std::string output;
};

std::string describe(const ZkGlyphCache::Stats &stats)
{
    std::string out;
    const auto bytes = [&out](const char *name, std::size_t count) {
        char line[80];
        std::snprintf(line, sizeof line, "%-24s %12s\n", name, byteCount(count).c_str());
        out += line;
    };
    const auto number = [&out](const char *name, std::uint64_t count) {
        char line[80];
        std::snprintf(line, sizeof line, "%-24s %12llu\n", name,
                      static_cast<unsigned long long>(count));
        out += line;
    };
    bytes("budget", stats.budget);
    bytes("bytes", stats.bytes);
    bytes("  pixels", stats.pixelBytes);
    bytes("  records", stats.recordBytes);
    bytes("  table", stats.tableBytes);
    bytes("  unused", stats.unusedBytes);
    bytes("in use", stats.heldBytes);
    bytes("over the budget", stats.overBytes);
    bytes("peak", stats.peakBytes);
    number("glyphs", static_cast<std::uint64_t>(stats.glyphs));
    number("glyphs in use", static_cast<std::uint64_t>(stats.heldGlyphs));
    number("hits", stats.hits);
    number("misses", stats.misses);
    number("evictions", stats.evictions);
    number("refills", stats.refills);
    number("failures", stats.failures);
    number("longest wait, us", stats.longestLockMicroseconds);
    return out;
}

/// A glyph of the sheet: a copy, for the cache may drop the glyph.
struct Cell {
    GlyphBitmap bitmap;
    std::vector<std::uint8_t> pixels;
    unsigned size;
    std::uint32_t age;
    bool isHeld;
};

void draw(host::Canvas *canvas, const GlyphBitmap &glyph, int x, int y, const host::Color &color)
{
    for (int row = 0; row < glyph.height; ++row) {
        for (int column = 0; column < glyph.width; ++column) {
            canvas->blend(x + column, y + row, color, glyph.pixels[row * glyph.pitch + column]);
        }
    }
}

/// Small figures below the glyphs, from a cache of their own.
class Figures
{
public:
    explicit Figures(const ZkTypeface &face) : m_face(face), m_cache(0), m_holder(m_cache) {}

    void draw(host::Canvas *canvas, int x, int baseline, const std::string &text)
    {
        for (const char c : text) {
            const std::uint32_t index = m_face.glyphIndex(static_cast<unsigned char>(c));
            const GlyphBitmap &glyph =
                m_holder.glyph(m_face, index, ZkFont(10, false, false, false, false))->bitmap;
            zktext::draw(canvas, glyph, x + glyph.left, baseline - glyph.top, kNote);
            x += glyph.advance;
        }
    }

private:
    ZkTypeface m_face;
    ZkGlyphCache m_cache;
    ZkGlyphHolder m_holder;
};

std::vector<Cell> cellsOf(const ZkGlyphCache &cache)
{
    std::vector<Cell> cells;
    cache.walk(
        [](const ZkGlyph &glyph, bool isHeld, std::uint32_t age, void *to) {
            const std::size_t bytes =
                static_cast<std::size_t>(glyph.bitmap.width) * glyph.bitmap.height;
            Cell cell = {glyph.bitmap, {}, glyph.pixelSize(), age, isHeld};
            cell.pixels.assign(glyph.bitmap.pixels, glyph.bitmap.pixels + bytes);
            static_cast<std::vector<Cell> *>(to)->push_back(std::move(cell));
        },
        &cells);
    std::stable_sort(cells.begin(), cells.end(), [](const Cell &a, const Cell &b) {
        return a.size != b.size ? a.size < b.size : a.age < b.age;
    });
    for (Cell &cell : cells) {
        cell.bitmap.pixels = cell.pixels.data();
    }
    return cells;
}

/// All glyphs of the cache, smallest and youngest first, each with its size and its age;
/// those in use are blue.
host::Canvas sheet(const ZkGlyphCache &cache, const ZkTypeface &labels)
{
    constexpr int kColumns = 16, kLabel = 14, kGap = 8;
    const std::vector<Cell> cells = cellsOf(cache);
    int width = 40, height = 8;
    for (const Cell &cell : cells) {
        width = std::max(width, static_cast<int>(cell.bitmap.width));
        height = std::max(height, static_cast<int>(cell.bitmap.height));
    }
    const int rows = (static_cast<int>(cells.size()) + kColumns - 1) / kColumns;
    const std::int64_t pixels = static_cast<std::int64_t>(kColumns * (width + kGap) + kGap) *
                                (static_cast<std::int64_t>(rows) * (height + kLabel + kGap) + kGap);
    if (pixels > kMostPixels) {
        throw Failure("the sheet would be too large a picture");
    }
    host::Canvas canvas(kColumns * (width + kGap) + kGap, rows * (height + kLabel + kGap) + kGap,
                        kPaper);
    Figures figures(labels);
    for (int i = 0; i < static_cast<int>(cells.size()); ++i) {
        const Cell &cell = cells[static_cast<std::size_t>(i)];
        const int x = kGap + i % kColumns * (width + kGap);
        const int y = kGap + i / kColumns * (height + kLabel + kGap);
        draw(&canvas, cell.bitmap, x, y + height - cell.bitmap.height,
             cell.isHeld ? kHeldInk : kInk);
        figures.draw(&canvas, x, y + height + 11,
                     std::to_string(cell.size) + "/" + std::to_string(cell.age));
    }
    return canvas;
}

void show(const CacheCommand &command)
{
    const ZkFontChain chain = command.chain.open();
    const ZkFontList faces = chain.faces();
    const std::vector<ChainGlyph> glyphs = glyphsOf(faces, command.text);
    std::vector<int> sizes = command.sizes;
    if (sizes.empty()) {
        sizes.push_back(command.chain.size);
    }
    ZkGlyphCache cache(command.budget);
    ZkGlyphHolder holder(cache); // of the last size, as a text on the screen
    for (const int size : sizes) {
        holder.clear();
        ChainOptions style = command.chain;
        style.size = size;
        for (const ChainGlyph &glyph : glyphs) {
            holder.glyph(faces.at(glyph.typeface), glyph.index, style.font());
        }
    }
    const std::string text = describe(cache.stats());
    if (!command.output.empty()) {
        refuseTerminal(command.output);
        write(command.output, host::encodePng(sheet(cache, faces.at(0))));
    }
    if (command.output != "-") {
        write("-", text);
    }
}

} // namespace

void addCache(CLI::App &program)
{
    CLI::App *command = program.add_subcommand(
        "cache", "Set a text in several sizes and tell what the glyph cache holds then");
    auto options = std::make_shared<CacheCommand>();
    command->add_option("TEXT", options->text, "what is set, in UTF-8")->required();
    options->chain.add(*command);
    command->add_option("--sizes", options->sizes, "pixels, one after the other: 12,16,24")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::Range(1, 255));
    command->add_option("--budget", options->budget, "bytes, 0 for no bound")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command->add_option("-o,--output", options->output, "PNG file with all glyphs that are there");
    command->callback([options] { show(*options); });
}

} // namespace zktext
