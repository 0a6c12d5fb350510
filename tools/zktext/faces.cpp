#include "blocks.h"
#include "chain.h"
#include "options.h"

#include <cstdio>
#include <memory>
#include <string>

namespace zktext
{

namespace
{

struct FacesCommand {
    std::string file;
    std::string output = "-";
    bool all = false;
};

std::string tagName(std::uint32_t tag)
{
    std::string name;
    for (int shift = 24; shift >= 0; shift -= 8) {
        name += static_cast<char>(tag >> shift & 0xFF);
    }
    return name;
}

std::string sizes(const ZkTypeface &face)
{
    std::string out = face.isScalable() ? "any" : "";
    for (int i = 0; i < face.strikeCount(); ++i) {
        out += (out.empty() ? "" : ", ") + std::to_string(face.strikeSize(i));
    }
    return out;
}

std::string variations(const ZkTypeface &face)
{
    std::string out;
    char line[160];
    for (int i = 0; i < face.axisCount(); ++i) {
        const ZkTypeface::Axis axis = face.axis(i);
        std::snprintf(line, sizeof line, "  axis %-20s %g to %g, normally %g\n",
                      tagName(axis.tag).c_str(), static_cast<double>(axis.least),
                      static_cast<double>(axis.most), static_cast<double>(axis.normal));
        out += line;
    }
    for (int i = 1; i <= face.instanceCount(); ++i) {
        char name[80];
        if (face.instanceName(i, name, sizeof name) == 0) {
            std::snprintf(name, sizeof name, "(no name)");
        }
        std::snprintf(line, sizeof line, "  instance %-16d %s\n", i, name);
        out += line;
    }
    return out;
}

/// One line for each block of characters of which the face has some, or for every block.
std::string coverage(const ZkTypeface &face, bool all)
{
    std::string out;
    for (int i = 0; i < kBlockCount; ++i) {
        const Block &block = kBlocks[i];
        int present = 0;
        for (char32_t c = block.first; c <= block.last; ++c) {
            present += face.hasGlyph(c) ? 1 : 0;
        }
        if (present > 0 || all) {
            char line[120];
            std::snprintf(line, sizeof line, "  %05X..%05X  %-48s %6d of %6d\n",
                          static_cast<unsigned>(block.first), static_cast<unsigned>(block.last),
                          block.name, present, static_cast<int>(block.last - block.first + 1));
            out += line;
        }
    }
    return out;
}

std::string describe(const ZkTypeface &face)
{
    const ZkTypefaceMetrics metrics = face.metrics(100);
    char line[400];
    std::snprintf(line, sizeof line,
                  "face %d of %d: %s, %s\n  glyphs %d, sizes %s\n"
                  "  at %d pixels: ascent %d, descent %d, gap %d\n",
                  face.faceIndex(), face.faceCount(), face.familyName(), face.styleName(),
                  face.glyphCount(), sizes(face).c_str(), metrics.pixelSize, metrics.ascent,
                  metrics.descent, metrics.gap);
    return line;
}

void show(const FacesCommand &command)
{
    std::string out;
    for (int i = 0, count = 1; i < count; ++i) {
        ZkTypeface::Options options;
        options.face = i;
        const ZkTypeface face = ZkTypeface::fromFile(command.file.c_str(), options);
        if (!face.isValid()) {
            throw Failure(face.errorText());
        }
        count = face.faceCount();
        out += describe(face) + variations(face) + coverage(face, command.all);
    }
    write(command.output, out);
}

} // namespace

void addFaces(CLI::App &program)
{
    CLI::App *command =
        program.add_subcommand("faces", "Tell the faces of a font file and what they cover");
    auto options = std::make_shared<FacesCommand>();
    command->add_option("FILE", options->file, "a font file of any kind")->required();
    command->add_flag("--all", options->all, "blocks without a single character too");
    command->add_option("-o,--output", options->output, "file to write, - for standard output")
        ->capture_default_str();
    command->callback([options] { show(*options); });
}

} // namespace zktext
