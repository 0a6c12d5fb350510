#include "chain.h"
#include "options.h"

#include <memory>
#include <vector>

namespace zktext
{

namespace
{

struct PackCommand {
    std::string text;
    ChainOptions chain;
    std::vector<int> sizes;
    std::string output;
    std::string input;
};

std::string utf8Of(const ZkString &text)
{
    return text.toUtf8().constData();
}

void check(const PackCommand &command)
{
    ZkGlyphCache cache(0);
    ZkString reason;
    const ZkFontChain chain = command.chain.open(); // open until all is told
    const int count = cache.load(command.input.c_str(), chain, &reason);
    if (count < 0) {
        throw Failure(command.input + ": " + utf8Of(reason));
    }
    const ZkGlyphCache::Stats stats = cache.stats();
    write("-", command.input + ": " + std::to_string(count) + " glyphs, " +
                   byteCount(stats.pixelBytes + stats.recordBytes) + " in a cache\n");
}

void make(const PackCommand &command)
{
    const ZkFontChain chain = command.chain.open();
    const ZkFontList faces = chain.faces();
    const std::vector<ChainGlyph> glyphs = glyphsOf(faces, command.text);
    std::vector<int> sizes = command.sizes;
    if (sizes.empty()) {
        sizes.push_back(command.chain.size);
    }
    ZkGlyphCache cache(0);
    for (const int size : sizes) {
        ChainOptions style = command.chain;
        style.size = size;
        ZkGlyphHolder holder(cache);
        for (const ChainGlyph &glyph : glyphs) {
            holder.glyph(faces.at(glyph.typeface), glyph.index, style.font());
        }
    }
    ZkString reason;
    const int count = cache.save(command.output.c_str(), chain, &reason);
    if (count < 0) {
        throw Failure(command.output + ": " + utf8Of(reason));
    }
    write("-", command.output + ": " + std::to_string(count) + " glyphs\n");
}

void run(const PackCommand &command)
{
    if (command.input.empty() == command.output.empty()) {
        throw CLI::ValidationError("pack", "wants --output or --check, one of them");
    }
    if (command.output == "-") {
        throw CLI::ValidationError("--output", "a pack is a file, not standard output");
    }
    if (!command.input.empty() && !command.text.empty()) {
        throw CLI::ValidationError("TEXT", "is not for --check");
    }
    command.input.empty() ? make(command) : check(command);
}

} // namespace

void addPack(CLI::App &program)
{
    CLI::App *command = program.add_subcommand(
        "pack", "Write the rendered glyphs of a text to a file for a fast start, or check one");
    auto options = std::make_shared<PackCommand>();
    command->add_option("TEXT", options->text, "the characters to pack, in UTF-8");
    options->chain.add(*command);
    command->add_option("--sizes", options->sizes, "pixels: 12,16,24")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::Range(1, 255));
    command->add_option("-o,--output", options->output, "the pack to write");
    command->add_option("--check", options->input, "a pack to load with these fonts");
    command->callback([options] { run(*options); });
}

} // namespace zktext
