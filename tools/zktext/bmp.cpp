#include "bmpoutput.h"
#include "options.h"
#include "output.h"
#include "temporaryfile.h"

#include <zkbitmap.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace zktext
{

namespace
{

using Pixels = std::vector<unsigned char>; // blue, green, red, alpha

struct CloseFile {
    void operator()(std::FILE *file) const
    {
        if (file != stdin) {
            std::fclose(file);
        }
    }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// Gathers what the library prints on standard output while this object lives.
class LibraryMessages
{
public:
    LibraryMessages()
    {
        std::fflush(stdout);
        m_standardOutput = dup(STDOUT_FILENO);
        dup2(m_file.descriptor(), STDOUT_FILENO);
    }
    ~LibraryMessages()
    {
        std::fflush(stdout);
        dup2(m_standardOutput, STDOUT_FILENO);
        close(m_standardOutput);
    }
    LibraryMessages(const LibraryMessages &) = delete;
    LibraryMessages &operator=(const LibraryMessages &) = delete;

    /// The lines so far.
    std::vector<std::string> lines() const
    {
        std::fflush(stdout);
        std::vector<std::string> lines(1);
        for (const char c : m_file.bytes()) {
            if (c != '\n') {
                lines.back() += c;
            } else {
                lines.emplace_back();
            }
        }
        lines.pop_back(); // behind the last line end
        return lines;
    }

private:
    TemporaryFile m_file;
    int m_standardOutput;
};

/// A decoded file, top row first.
struct Picture {
    int width = 0;
    int height = 0;
    bool isOpaque = true;
    Pixels pixels;
};

/// The rows the other way round: 16-bit files come out bottom row first.
void turnOver(Picture &picture)
{
    const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(picture.width) * 4;
    for (int y = 0; y < picture.height / 2; ++y) {
        const auto upper = picture.pixels.begin() + y * row;
        std::swap_ranges(upper, upper + row,
                         picture.pixels.begin() + (picture.height - 1 - y) * row);
    }
}

/// Whether there is nothing to see through: no alpha but 255, or none but 0, as
/// of 32-bit files that leave the fourth byte unused.
bool isOpaque(const Pixels &pixels)
{
    bool allFull = true, allNone = true;
    for (std::size_t i = 3; i < pixels.size(); i += 4) {
        allFull = allFull && pixels[i] == 255;
        allNone = allNone && pixels[i] == 0;
    }
    return allFull || allNone;
}

/// Decodes an open bitmap; what the library warns of goes to standard error.
Picture decode(const std::string &name, ZkBitmap &bitmap)
{
    const std::int64_t pixels = static_cast<std::int64_t>(bitmap.width()) * bitmap.height();
    if (pixels > kMostPixels) {
        throw Failure(name + ": a picture of " + std::to_string(bitmap.width()) + " x " +
                      std::to_string(bitmap.height()) + " pixels is too large");
    }
    Picture picture;
    picture.width = bitmap.width();
    picture.height = bitmap.height();
    picture.pixels.resize(static_cast<std::size_t>(pixels) * 4);
    std::vector<std::string> lines;
    {
        const LibraryMessages messages;
        bitmap.decode(picture.pixels.data());
        lines = messages.lines();
    }
    const auto failure = std::find_if(lines.begin(), lines.end(), [](const std::string &line) {
        return line.compare(0, 8, "Warning:") != 0;
    });
    if (failure != lines.end()) {
        throw Failure(name + ": " + *failure);
    }
    for (const std::string &line : lines) {
        std::fprintf(stderr, "zktext: %s: %s\n", name.c_str(), line.c_str());
    }
    if (bitmap.bitDepth() == 16) {
        turnOver(picture);
    }
    picture.isOpaque = isOpaque(picture.pixels);
    return picture;
}

std::string encodePng(const Picture &picture)
{
    if (!picture.isOpaque) {
        return host::encodePng(picture.width, picture.height, picture.pixels.data());
    }
    host::Canvas canvas(picture.width, picture.height, host::Color());
    const unsigned char *pixel = picture.pixels.data();
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x, pixel += 4) {
            canvas.blend(x, y, {pixel[2], pixel[1], pixel[0], 255});
        }
    }
    return host::encodePng(canvas);
}

/// The header fields, one a line.
std::string describe(const ZkBitmap &bitmap)
{
    const ZkBitmap::FileHeader &head = bitmap.fileHeader();
    const ZkBitmap::InfoHeader &info = bitmap.infoHeader();
    const struct {
        const char *name;
        std::int64_t value;
    } kFields[] = {
        {"file size", head.size},
        {"reserved 1", head.reserved1},
        {"reserved 2", head.reserved2},
        {"data offset", head.dataOffset},
        {"header size", info.headerSize},
        {"width", info.width},
        {"height", info.height},
        {"planes", info.planes},
        {"bits per pixel", info.bitsPerPixel},
        {"compression", info.compression},
        {"image size", info.imageSize},
        {"horizontal resolution", info.horizontalResolution},
        {"vertical resolution", info.verticalResolution},
        {"colours used", info.coloursUsed},
        {"important colours", info.importantColours},
    };
    std::string out = "type                   BM\n"; // no other one is accepted
    for (const auto &field : kFields) {
        char line[64];
        std::snprintf(line, sizeof line, "%-22s %lld\n", field.name,
                      static_cast<long long>(field.value));
        out += line;
    }
    return out;
}

/// The bitmap in `file`; throws the library's reason for refusing it.
std::unique_ptr<ZkBitmap> openBitmap(const std::string &name, std::FILE *file)
{
    const LibraryMessages messages;
    std::unique_ptr<ZkBitmap> bitmap(new ZkBitmap(file));
    if (!bitmap->isOpen()) {
        throw Failure(name + ": " + messages.lines().front());
    }
    return bitmap;
}

struct BmpCommand {
    std::string input;
    std::string output;
};

void convert(const BmpCommand &command)
{
    refuseOtherThanPng(command.output);
    const bool isStandardInput = command.input == "-";
    const std::string name = isStandardInput ? "standard input" : command.input;
    const File file(isStandardInput ? stdin : std::fopen(command.input.c_str(), "rb"));
    if (!file) {
        throw Failure("cannot read " + name + ": " + std::strerror(errno));
    }
    struct stat status;
    if (fstat(fileno(file.get()), &status) == 0 && S_ISDIR(status.st_mode)) {
        throw Failure("cannot read " + name + ": " + std::strerror(EISDIR));
    }
    const std::unique_ptr<ZkBitmap> bitmap = openBitmap(name, file.get());
    refuseTerminal(command.output);
    if (!command.output.empty()) {
        const std::string png = encodePng(decode(name, *bitmap));
        if (png.empty()) {
            throw Failure("no memory for the PNG file");
        }
        write(command.output, png);
    }
    if (command.output != "-") {
        write("-", describe(*bitmap));
    }
}

} // namespace

void addBmp(CLI::App &program)
{
    CLI::App *command =
        program.add_subcommand("bmp", "Show the header of a BMP file, or convert it to PNG");
    auto options = std::make_shared<BmpCommand>();
    command->add_option("FILE", options->input, "BMP file; '-' reads standard input")->required();
    command->add_option("-o,--output", options->output,
                        "Write the picture as a PNG file too; '-' is standard output, which then "
                        "gets the picture alone");
    command->callback([options] { convert(*options); });
}

} // namespace zktext
