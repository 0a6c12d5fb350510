#include "output.h"
#include "window.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace
{

struct Options {
    std::vector<std::string> fonts;
    int width = 1060;
    int height = 732;
    bool fullScreen = false;
    bool classic = false;
    bool levels = false;
    bool harfBuzz = false;
    std::string text;
    std::string picture;
};

const char *const kFooter =
    "On a desktop SDL finds X11 or Wayland by itself. On a bare console, without either,\n"
    "it draws through the kernel's mode setting, over the whole screen:\n"
    "  SDL_VIDEODRIVER=kmsdrm zkview\n"
    "The user must be allowed to open /dev/dri/card0 and /dev/input/event* (groups video\n"
    "and input, or root). SDL_RENDER_DRIVER=software draws without a GPU. A display that\n"
    "has /dev/fb0 alone is beyond SDL: see examples/framebuffer.cpp.\n"
    "Video drivers of this SDL: ";

/// Shows the window, or writes the picture.
void start(const Options &options)
{
    std::vector<zkview::FontChoice> fonts;
    for (const std::string &path : options.fonts) {
        fonts.push_back(zkview::fontChoice(path));
    }
    if (fonts.empty()) {
        fonts = zkview::installedFonts();
    }
    if (fonts.empty()) {
        throw std::runtime_error(
            "no font: name one with --font or in the environment variable ZK_FONTLIB");
    }
    zkview::Model model(fonts, options.width, options.height, options.classic);
    if (!options.text.empty()) {
        model.perform({zkview::Action::Clear});
        model.type(options.text);
    }
    if (options.levels) {
        model.perform({zkview::Action::Levels});
    }
    if (options.harfBuzz) {
        model.perform({zkview::Action::Shaper});
        if (!model.state().harfBuzz) {
            throw std::runtime_error(options.classic ? "--harfbuzz is not for --classic"
                                                     : "this zkview was built without libzkshape");
        }
    }
    if (options.picture.empty()) {
        zkview::show(model, options.fullScreen);
        return;
    }
    std::string problem;
    if (!host::writeOutput(options.picture, host::encodePng(model.picture()), &problem)) {
        throw std::runtime_error(problem);
    }
}

int run(int argc, char **argv)
{
    Options options;
    CLI::App program("Shows what libzk makes of a text, while you change it.", "zkview");
    program.set_version_flag("--version", "zkview " ZK_VERSION);
    program.add_option("-f,--font", options.fonts,
                       "Font files; the others stand in for the chosen one (default: those of the "
                       "usual packages)");
    program.add_option("--width", options.width, "Width of the window")
        ->capture_default_str()
        ->check(CLI::Range(480, 16384));
    program.add_option("--height", options.height, "Height of the window")
        ->capture_default_str()
        ->check(CLI::Range(320, 16384));
    program.add_flag("--classic", options.classic,
                     "Lay out with the classic engine: one font, text written at its end");
    program.add_flag("--full-screen", options.fullScreen, "Take the whole screen");
    program.add_flag("--levels", options.levels, "Begin with levels and breaks shown");
    program.add_flag("--harfbuzz", options.harfBuzz,
                     "Begin with HarfBuzz's shaping, the built-in one pale below (Ctrl+H)");
    program.add_option("--text", options.text, "Begin with this text");
    program.add_option("--picture", options.picture,
                       "Write the first picture to a PNG file, open no window");
    program.footer(kFooter + zkview::videoDrivers() +
                   "\nStatus: 0 done, 1 failed, 2 wrong options.");
    try {
        program.parse(argc, argv);
    } catch (const CLI::Success &help) {
        return program.exit(help);
    } catch (const CLI::ParseError &error) {
        std::fprintf(stderr, "zkview: %s\n", error.what());
        return 2;
    }
    start(options);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "zkview: %s\n", failure.what());
        return 1;
    }
}
