#ifndef ZKTEXT_CHAIN_H
#define ZKTEXT_CHAIN_H

#include "commands.h"

#include <zkfontchain.h>
#include <zkglyphcache.h>

#include <string>
#include <vector>

namespace zktext
{

/// Several fonts as one chain, and the style of what is drawn with them.
struct ChainOptions {
    std::vector<std::string> files; ///< "FILE" or "FILE#FACE"
    std::string hinting = "auto";
    int size = 24;
    bool slant = false;
    bool embolden = false;
    bool outline = false;

    /// `--font`, which may be given several times, `--hinting`, and unless `isFontAlone`
    /// the size and the style.
    void add(CLI::App &command, bool isFontAlone = false);

    ZkFont font() const;

    /// Opens every font; ZK_FONTLIB's without any. Throws `Failure` with the reason.
    ZkFontChain open() const;
};

/// A character of a text and the glyph that shows it.
struct ChainGlyph {
    char32_t character;
    int typeface; ///< of the chain
    std::uint32_t index;
};

/// The glyphs of a text, one for each character, the typeface chosen by grapheme-like
/// clusters: a character and the marks behind it. What ends lines or is not seen is left
/// out. Throws `Failure` for what is no UTF-8.
std::vector<ChainGlyph> glyphsOf(const ZkFontList &faces, const std::string &utf8);

/// `bytes` as people read it: "812", "12.3 K", "4.56 M".
std::string byteCount(std::size_t bytes);

} // namespace zktext

#endif
