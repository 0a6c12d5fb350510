#ifndef ZKVIEW_FONTS_H
#define ZKVIEW_FONTS_H

#include <zkstring.h>

#include <string>
#include <vector>

namespace zkview
{

struct FontChoice {
    std::string name; ///< as the panel shows it
    std::string path;
};

/// A font file as a choice, named after the file. Throws std::runtime_error with the
/// reason when it is missing or no font: the library would end the process.
FontChoice fontChoice(const std::string &path);

/// Fonts that together have every sample: those of the usual Debian packages that
/// are installed, and the file that ZK_FONTLIB names before them.
std::vector<FontChoice> installedFonts();

/// Whether the font has a glyph for each character of `text` as the library draws
/// it: Arabic letters in their joined forms.
bool hasGlyphsFor(const FontChoice &font, const ZkString &text);

} // namespace zkview

#endif
