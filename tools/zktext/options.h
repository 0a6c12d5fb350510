#ifndef ZKTEXT_OPTIONS_H
#define ZKTEXT_OPTIONS_H

#include "commands.h"
#include "shaping.h"
#include "textblock.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zktext
{

/// The largest picture that is drawn or converted, in pixels.
constexpr std::int64_t kMostPixels = 64 * 1024 * 1024;

/// The font and its style, as every subcommand that draws takes them.
struct FontOptions {
    std::vector<std::string> files; ///< the first, and those that stand in for what it lacks
    int size = 24;
    bool boldFace = false;
    bool embolden = false;
    bool outline = false;
    bool underline = false;

    /// `--font` alone, which may be given once.
    void addFile(CLI::App &command);
    /// `--font`, `--size` and the style flags.
    void add(CLI::App &command);

    ZkFont font() const;

    /// Hands the font file to the library. Throws `Failure` for a file that is
    /// missing or no font, where the library itself would end the process.
    void open() const;

    /// The files named by `--font`, else the one in the environment variable
    /// ZK_FONTLIB; throws `Failure` without either.
    std::vector<std::string> paths() const;
    /// The first of them.
    std::string path() const { return paths().front(); }
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
    bool classic = false;
    std::string align; ///< empty: start, in the classic engine left
    std::string valign = "top";
    int lineSpacing = 0;
    int charSpacing = 0;
    bool noWrap = false;
    bool bare = false;
    std::string direction = "auto";
    std::string ellipsis = "none";
    int maximumLines = 0;
    int tabWidth = 0;
    bool noKerning = false;
    bool noCutting = false;
    std::vector<std::string> spans;
    ShapingOptions shaping;

    void add(CLI::App &command);

    CLI::Option *textOption = nullptr; ///< tells an empty text from none

    /// Opens the font, reads the text, lays it out with the classic engine and places
    /// it. Throws `Failure`.
    host::TextBlock layOutClassic() const;

    /// The bytes that the text options name.
    std::string readText() const;
    /// The box that the options ask for; without columns or rows where they leave them open.
    ZkRect textBox() const;

    /// Throws for an option that only the other engine has.
    void check() const;
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
