#include "bmpoutput.h"

#include "options.h"
#include "temporaryfile.h"

#include <zkbmpdata.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <vector>

namespace zktext
{

namespace
{

/// What `BmpData` makes of `picture`, an image or a glyph, as bytes.
template <typename Picture>
std::string savedBmp(const Picture &picture)
{
    const TemporaryFile file;
    if (BmpData().SaveImage(file.path().c_str(), &picture) != 0) {
        throw Failure(std::string("cannot write a temporary file: ") + std::strerror(errno));
    }
    return file.bytes();
}

/// A little-endian number of four bytes.
void setNumber(std::string &bytes, std::size_t at, std::size_t value)
{
    for (int i = 0; i < 4; ++i) {
        bytes[at++] = static_cast<char>(value >> (8 * i) & 0xFF);
    }
}

/// What stands behind the last point of a file's name, in lower case; may be nothing.
std::string endingOf(const std::string &path)
{
    const std::size_t name = path.find_last_of('/') + 1; // npos + 1 is 0
    const std::size_t point = path.find_last_of('.');
    if (point == std::string::npos || point <= name) {
        return std::string();
    }
    std::string ending = path.substr(point + 1);
    for (char &c : ending) {
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    }
    return ending;
}

[[noreturn]] void refuse(const std::string &path, const std::string &formats)
{
    throw CLI::ValidationError("--output", path + " is not written: " + formats);
}

} // namespace

void OutputOptions::add(CLI::App &command, const std::string &usual)
{
    m_usual = usual;
    command
        .add_option("-o,--output", path,
                    "Output file; '-' is standard output; *.bmp is written as a BMP file")
        ->capture_default_str();
    command.add_option("--format", format, "Format of the output, whatever its name")
        ->check(CLI::IsMember({usual, std::string("bmp")}));
}

bool OutputOptions::isBmp() const
{
    if (!format.empty()) {
        return format == "bmp";
    }
    return endingOf(path) == "bmp";
}

void OutputOptions::refuseOtherFormats() const
{
    const std::string ending = endingOf(path);
    if (!format.empty() || isBmp() || ending.empty() || ending == m_usual) {
        return;
    }
    if (m_usual == "png") {
        refuse(path, "the formats are *.png and *.bmp, or one named with --format");
    }
    for (const char *picture : {"png", "jpg", "jpeg", "gif", "webp", "tif", "tiff", "svg", "pdf"}) {
        if (ending == picture) {
            refuse(path, "the formats are text and *.bmp, or one named with --format");
        }
    }
}

void refuseOtherThanPng(const std::string &path)
{
    const std::string ending = endingOf(path);
    if (!ending.empty() && ending != "png") {
        refuse(path, "the format is *.png");
    }
}

std::string encodeBmp(const host::Canvas &canvas)
{
    const std::size_t rowBytes = static_cast<std::size_t>(canvas.width()) * 3;
    std::vector<unsigned char> pixels(rowBytes * static_cast<std::size_t>(canvas.height()));
    unsigned char *to = pixels.data();
    for (int y = 0; y < canvas.height(); ++y) {
        const std::uint32_t *from = canvas.row(y);
        for (int x = 0; x < canvas.width(); ++x, to += 3) {
            to[0] = static_cast<unsigned char>(from[x]);
            to[1] = static_cast<unsigned char>(from[x] >> 8);
            to[2] = static_cast<unsigned char>(from[x] >> 16);
        }
    }
    const BmpData::Image image = {canvas.width(), canvas.height(), 3, pixels.data()};
    std::string bytes = savedBmp(image);
    const std::size_t paddedRow = (rowBytes + 3) / 4 * 4;
    if (bytes.size() != 54 + paddedRow * static_cast<std::size_t>(canvas.height())) {
        throw Failure("no room for a temporary file");
    }
    // A picture whose rows need no padding claims to be larger than it is, and
    // some programs refuse it: tell its true size.
    setNumber(bytes, 2, bytes.size());
    setNumber(bytes, 34, bytes.size() - 54);
    return bytes;
}

std::string encodeBmp(const GlyphBitmap &glyph)
{
    if (glyph.width == 0 || glyph.height == 0) {
        throw Failure(codeName(glyph.unicode) + " has no pixels");
    }
    return savedBmp(glyph);
}

} // namespace zktext
