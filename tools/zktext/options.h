#ifndef ZKTEXT_OPTIONS_H
#define ZKTEXT_OPTIONS_H

#include "commands.h"
#include "textblock.h"

#include <cstdint>
#include <string>

namespace zktext
{

/// The largest picture that is drawn or converted, in pixels.
constexpr std::int64_t kMostPixels = 64 * 1024 * 1024;

/// The font and its style, as every subcommand that draws takes them.
struct FontOptions {
    std::string file;
    int size = 24;
    bool boldFace = false;
    bool embolden = false;
    bool outline = false;
    bool underline = false;

    /// `--font` alone.
    void addFile(CLI::App &command);
    /// `--font`, `--size` and the style flags.
    void add(CLI::App &command);

    ZkFont font() const;

    /// Hands the font file to the library. Throws `Failure` for a file that is
    /// missing or no font, where the library itself would end the process.
    void open() const;

    /// The file named by `--font`, else by the environment variable ZK_FONTLIB;
    /// throws `Failure` without either.
    std::string path() const;
};

/// The text and its layout: everything that `render` and `layout` share.
struct LayoutOptions {
    std::string words;
    std::string file;
    FontOptions font;
    int width = 0;
    int height = 0;
    int margin = 8;
    std::string boxText;
    std::string align = "left";
    std::string valign = "top";
    int lineSpacing = 0;
    int charSpacing = 0;
    bool noWrap = false;
    bool bare = false;

    void add(CLI::App &command);

    CLI::Option *textOption = nullptr; ///< tells an empty text from none

    /// Opens the font, reads the text, lays it out and places it. Throws `Failure`.
    host::TextBlock layOut() const;
};

/// Everything in a file, or in standard input for "-", without the line end behind its
/// last line. Throws when it cannot be read or is longer than 1 MiB.
std::string readText(const std::string &path);

/// Throws when `path` is "-" and that is a terminal: no place for a picture.
void refuseTerminal(const std::string &path);

/// Throws the reason why `bytes` cannot be written to `path`; see `host::writeOutput`.
void write(const std::string &path, const std::string &bytes);

/// "U+0041" for 0x41.
std::string codeName(unsigned code);

} // namespace zktext

#endif
