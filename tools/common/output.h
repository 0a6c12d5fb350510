#ifndef HOST_OUTPUT_H
#define HOST_OUTPUT_H

#include "canvas.h"

#include <string>

namespace host
{

/// Keeps standard output for what `writeOutput` is given. The library tells of
/// glyphs it cannot render with printf; from here on those lines go to standard
/// error, where they cannot end up inside a picture. Call it first in `main`.
void claimStandardOutput();

/// Whether "-" would be written to a terminal.
bool outputIsTerminal();

/// Writes `bytes` as the file `path`, or to standard output for "-". The file
/// appears complete or not at all: the bytes go to a temporary name beside it,
/// which then takes its place. A device or pipe is written directly. False, with
/// the reason in `problem`, when that fails.
bool writeOutput(const std::string &path, const std::string &bytes, std::string *problem);

/// The bytes of `canvas` as a PNG file; empty when it has no pixels or memory is short.
std::string encodePng(const Canvas &canvas);

/// The same for `width` x `height` pixels of four bytes (blue, green, red, alpha),
/// top row first.
std::string encodePng(int width, int height, const std::uint8_t *pixels);

} // namespace host

#endif
