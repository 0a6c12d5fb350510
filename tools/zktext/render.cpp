#include "bmpoutput.h"
#include "flow.h"
#include "options.h"
#include "output.h"

#include <cstdint>
#include <cstdio>
#include <memory>

namespace zktext
{

namespace
{

constexpr int kLargestSide = 32767;

struct RenderOptions {
    LayoutOptions layout;
    OutputOptions output;
    std::string canvas;
    std::string color = "#000000";
    std::string background = "#ffffff";
    std::string outlineColor = "#ffb000";
    int zoom = 1;
    bool guides = false;
    bool clip = false;
};

host::Color colorOf(const char *option, const std::string &text)
{
    host::Color color;
    if (!host::parseColor(text, &color)) {
        throw CLI::ValidationError(option, "wants #RRGGBB or #RRGGBBAA, not '" + text + "'");
    }
    return color;
}

/// The size of the picture: what `--canvas` says, else room for the text box and
/// the margin behind it.
ZkSize pictureSize(const RenderOptions &options, const ZkRect &box)
{
    int width = box.right() + 1 + options.layout.margin;
    int height = box.bottom() + 1 + options.layout.margin;
    if (!options.canvas.empty()) {
        int end = 0;
        const bool read =
            std::sscanf(options.canvas.c_str(), "%6dx%6d%n", &width, &height, &end) == 2;
        if (!read || static_cast<std::size_t>(end) != options.canvas.size() || width < 1 ||
            height < 1) {
            throw CLI::ValidationError("--canvas", "wants WIDTHxHEIGHT in pixels, not '" +
                                                       options.canvas + "'");
        }
    }
    const std::int64_t wide = static_cast<std::int64_t>(width) * options.zoom;
    const std::int64_t high = static_cast<std::int64_t>(height) * options.zoom;
    const std::string size = std::to_string(wide) + " x " + std::to_string(high) + " pixels";
    if (width < 1 || height < 1) {
        throw Failure("nothing to draw: the picture would have " + size);
    }
    if (wide > kLargestSide || high > kLargestSide || wide * high > kMostPixels) {
        throw Failure("a picture of " + size + " is too large");
    }
    return ZkSize(width, height);
}

/// The picture as a file of the format asked for.
std::string encoded(const host::Canvas &canvas, const OutputOptions &output)
{
    if (output.isBmp()) {
        return encodeBmp(canvas);
    }
    std::string png = host::encodePng(canvas);
    if (png.empty()) {
        throw Failure("no memory for the PNG file");
    }
    return png;
}

/// Draws what was laid out, by either engine, and writes the picture.
template <typename Text>
void draw(const RenderOptions &options, const Text &text, const ZkRect &box,
          const host::Color &background, const host::TextColors &colors)
{
    const ZkSize size = pictureSize(options, box);
    host::Canvas canvas(size.width(), size.height(), background);
    if (options.clip) {
        canvas.setClip(box);
    }
    text.paint(canvas, colors);
    canvas.setClip(canvas.bounds());
    if (options.guides) {
        text.paintGuides(canvas);
    }
    write(options.output.path,
          encoded(options.zoom == 1 ? canvas : canvas.zoomed(options.zoom), options.output));
}

void render(const RenderOptions &options)
{
    const host::Color background = colorOf("--background", options.background);
    const host::TextColors colors = {colorOf("--color", options.color),
                                     colorOf("--outline-color", options.outlineColor)};
    options.layout.check();
    refuseTerminal(options.output.path);
    if (options.layout.classic) {
        const host::TextBlock block = options.layout.layOutClassic();
        draw(options, block, block.box(), background, colors);
    } else {
        const Flow flow(options.layout);
        draw(options, flow, flow.box, background, colors);
    }
}

} // namespace

void addRender(CLI::App &program)
{
    CLI::App *command = program.add_subcommand("render", "Draw a text as a PNG or BMP picture");
    auto options = std::make_shared<RenderOptions>();
    options->layout.add(*command);
    options->output.add(*command, "png");
    command->add_option("--canvas", options->canvas,
                        "Size of the picture as WIDTHxHEIGHT (default: the box and its margin)");
    command->add_option("--color", options->color, "Text colour, #RRGGBB or #RRGGBBAA")
        ->capture_default_str();
    command->add_option("--background", options->background, "Background colour")
        ->capture_default_str();
    command->add_option("--outline-color", options->outlineColor, "Colour of the halo of --outline")
        ->capture_default_str();
    command->add_option("--zoom", options->zoom, "Draw each pixel as a square of this side")
        ->capture_default_str()
        ->check(CLI::Range(1, 16));
    command->add_flag("--boxes", options->guides,
                      "Draw the text box, line rectangles, baselines and cells over the text");
    command->add_flag("--clip", options->clip, "Draw nothing outside the text box");
    command->callback([options] { render(*options); });
}

} // namespace zktext
