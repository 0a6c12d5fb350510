#include "analysispicture.h"
#include "canvas.h"
#include "characternames.h"
#include "face.h"
#include "options.h"
#include "output.h"

#include <cstdio>
#include <memory>

namespace zktext
{

namespace
{

struct AnalyseCommand {
    std::string words;
    std::string file;
    CLI::Option *textOption = nullptr;
    std::string direction = "auto";
    std::string output = "-";
    std::string picture;
    FontOptions font;
    int width = 900;
};

constexpr int kMargin = 16; // pixels around the picture

ZkBidi::Direction directionOf(const std::string &name)
{
    return name == "ltr" ? ZkBidi::LeftToRight : name == "rtl" ? ZkBidi::RightToLeft : ZkBidi::Auto;
}

std::string utf8Of(char32_t c)
{
    std::string bytes;
    const auto more = [&](int shift) { bytes += static_cast<char>(0x80 | (c >> shift & 0x3F)); };
    if (c < 0x80) {
        bytes += static_cast<char>(c);
    } else if (c < 0x800) {
        bytes += static_cast<char>(0xC0 | c >> 6);
        more(0);
    } else if (c < 0x10000) {
        bytes += static_cast<char>(0xE0 | c >> 12);
        more(6);
        more(0);
    } else {
        bytes += static_cast<char>(0xF0 | c >> 18);
        more(12);
        more(6);
        more(0);
    }
    return bytes;
}

/// What is behind a cluster, in words.
std::string endOf(unsigned flags)
{
    std::string end;
    const auto add = [&](const char *what) {
        end += (end.empty() ? "" : ", ") + std::string(what);
    };
    if ((flags & ZkTextBreaks::LineMandatory) != 0) {
        add("line ends");
    } else if ((flags & ZkTextBreaks::LineAllowed) != 0) {
        add("line may end");
    }
    if ((flags & ZkTextBreaks::Word) != 0) {
        add("word ends");
    }
    return end;
}

/// A column of fixed width; the last one of a line is not filled up.
std::string padded(std::string text, std::size_t width)
{
    text.resize(std::max(text.size() + 1, width), ' ');
    return text;
}

/// One line for each cluster; further characters of it on lines of their own.
std::string table(const host::Analysis &analysis)
{
    std::string out = padded("at", 6) + padded("level", 6) + padded("character", 15) +
                      padded("gc", 4) + padded("script", 12) + padded("bidi", 5) +
                      padded("line", 5) + padded("grapheme", 19) + padded("word", 19) +
                      padded("behind", 24) + "shown\n";
    for (const host::Cluster &cluster : analysis.clusters()) {
        bool isFirst = true;
        const std::vector<char32_t> characters = analysis.characters(cluster);
        for (std::size_t i = 0; i < characters.size(); ++i) {
            const char32_t c = characters[i];
            const ZkCharacter &record = zkCharacter(c);
            const std::string name = host::invisibleName(c);
            out += padded(isFirst ? std::to_string(cluster.first) : "", 6);
            out += padded(isFirst ? std::to_string(cluster.level) : "", 6);
            // How wide a terminal shows a character cannot be told: its column is the last.
            out += padded(codeName(static_cast<unsigned>(c)) + " " + name, 15);
            out += padded(host::categoryName(record.category), 4);
            out += padded(host::scriptName(record.script), 12);
            out += padded(host::bidiName(record.bidi), 5);
            out += padded(host::lineName(record.line), 5);
            out += padded(host::graphemeName(record.grapheme), 19);
            const bool isLast = i + 1 == characters.size();
            const std::string end = isLast ? endOf(cluster.behind) : "";
            out += padded(host::wordName(record.word), 19);
            out += padded(end, 24) + (name.empty() ? utf8Of(c) : "") + "\n";
            isFirst = false;
        }
    }
    return out;
}

std::string picture(const AnalyseCommand &command, const host::Analysis &analysis)
{
    const host::FaceFile font(command.font.path());
    const host::AnalysisPicture drawing(analysis, font.face(), command.font.size,
                                        command.width - 2 * kMargin);
    const std::int64_t height = static_cast<std::int64_t>(drawing.height()) + 2 * kMargin;
    if (height * command.width > kMostPixels) {
        throw Failure("the picture would be too large");
    }
    host::Canvas canvas(command.width, static_cast<int>(height), {255, 255, 255, 255});
    drawing.paint(canvas, kMargin, kMargin);
    std::string png = host::encodePng(canvas);
    if (png.empty()) {
        throw Failure("no memory for the PNG file");
    }
    return png;
}

void analyse(const AnalyseCommand &command)
{
    if (command.textOption->count() == 0 && command.file.empty()) {
        throw CLI::RequiredError("TEXT or --file");
    }
    const bool fromFile = !command.file.empty() || command.words == "-";
    const std::string bytes =
        fromFile ? readText(command.file.empty() ? command.words : command.file) : command.words;
    const host::Analysis analysis(host::utf16FromUtf8(bytes), directionOf(command.direction));
    if (command.picture.empty()) {
        write(command.output, table(analysis));
        return;
    }
    refuseTerminal(command.picture);
    write(command.picture, picture(command, analysis));
}

} // namespace

void addAnalyse(CLI::App &program)
{
    CLI::App *command = program.add_subcommand(
        "analyse", "Show clusters, classes, levels and what may break in a text");
    auto options = std::make_shared<AnalyseCommand>();
    options->textOption =
        command->add_option("TEXT", options->words, "The text; '-' reads standard input");
    command->add_option("-F,--file", options->file, "Read the text from a file (UTF-8)")
        ->excludes(options->textOption);
    command
        ->add_option("-d,--direction", options->direction,
                     "auto (as the first letter of each paragraph), ltr or rtl")
        ->capture_default_str()
        ->check(CLI::IsMember({"auto", "ltr", "rtl"}));
    command->add_option("-o,--output", options->output, "File of the table; '-' is standard output")
        ->capture_default_str();
    command->add_option("--picture", options->picture,
                        "Write a picture instead, a PNG file; '-' is standard output");
    options->font.addFile(*command);
    command->add_option("-s,--size", options->font.size, "Size of the picture's letters in pixels")
        ->capture_default_str()
        ->check(CLI::Range(8, 255));
    command->add_option("-W,--width", options->width, "Width of the picture, where lines wrap")
        ->capture_default_str()
        ->check(CLI::Range(120, 16384));
    command->callback([options] { analyse(*options); });
}

} // namespace zktext
