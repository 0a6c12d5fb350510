#ifndef ZKTEXT_BMPOUTPUT_H
#define ZKTEXT_BMPOUTPUT_H

#include "canvas.h"
#include "commands.h"

#include <zkfont.h>

#include <string>

namespace zktext
{

/// Where a command writes, and as what.
struct OutputOptions {
    std::string path = "-";
    std::string format; ///< as chosen; empty: by the ending of `path`

    /// `--output` and `--format`; `usual` is the format of any name but *.bmp.
    void add(CLI::App &command, const std::string &usual);

    /// Whether a BMP file was asked for.
    bool isBmp() const;

    /// Throws when the name of the file promises a format that is not written, such as
    /// a.jpg, unless `--format` says which one is meant.
    void refuseOtherFormats() const;

private:
    std::string m_usual;
};

/// Throws unless a PNG file may have the name: *.png, or one without an ending.
void refuseOtherThanPng(const std::string &path);

/// The bytes of a 24-bit BMP file. Throws `Failure` when there is no room for it.
std::string encodeBmp(const host::Canvas &canvas);

/// The coverage of a glyph as an 8-bit grey BMP file, its rows padded with black
/// to a multiple of four columns. Throws `Failure` for a glyph without pixels.
std::string encodeBmp(const GlyphBitmap &glyph);

} // namespace zktext

#endif
