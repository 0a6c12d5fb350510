#ifndef ZKWORDWIDTH_H
#define ZKWORDWIDTH_H

#include "glyph/zkthai.h"

#include "zkfont.h"
#include "zkglobal.h"

/// Words of the resolved text: what measuring and dividing share.

/// What a unit means where lines are divided.
enum class ZkBreakClass {
    Letter,        ///< part of a word
    Thai,          ///< U+0E00..U+0E7F: part of a word, may carry marks
    Space,         ///< U+0020 alone: ends a word and stays on its line
    Newline,       ///< U+000A: ends the line
    BreakAnywhere, ///< ideograph, Katakana, Hangul syllable: a word of its own
};

constexpr ZkBreakClass zkBreakClass(ZkUcs2 c)
{
    if (c < kZkFirstThai) {
        return c == 0x0020   ? ZkBreakClass::Space
               : c == 0x000A ? ZkBreakClass::Newline
                             : ZkBreakClass::Letter;
    }
    if (zkIsThai(c)) {
        return ZkBreakClass::Thai;
    }
    const bool breakAnywhere = (c >= 0x4E00 && c <= 0x9FCF) || (c >= 0x30A0 && c <= 0x30FF) ||
                               (c >= 0xAC00 && c <= 0xD7AF);
    return breakAnywhere ? ZkBreakClass::BreakAnywhere : ZkBreakClass::Letter;
}

/// Whether the word that `c` stands in goes on with it, the quick way for the units
/// that most texts are made of.
constexpr bool zkIsLetter(ZkUcs2 c)
{
    return c < kZkFirstThai ? c != 0x0020 && c != 0x000A : zkBreakClass(c) == ZkBreakClass::Letter;
}

/// The width of the word that starts at `units[0]`, with `charSpacing` after each
/// of its characters; units from `n` on are not looked at. A newline or a
/// break-anywhere character is a word of its own, a space has none. Every Thai
/// unit counts with the widest of its marks, and the marks count again by themselves.
int zkWordWidth(const ZkUcs2 *units, const GlyphBitmap *const *glyphs, int n, int charSpacing);

/// The width of the units that follow the last space before `n`.
int zkLastWordWidth(const ZkUcs2 *units, const GlyphBitmap *const *glyphs, int n, int charSpacing);

#endif
