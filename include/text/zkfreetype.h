#ifndef ZKFREETYPE_H
#define ZKFREETYPE_H

#include "zkfont.h"
#include "zkstring.h"

struct FT_LibraryRec_;
struct FT_FaceRec_;

/// The rasteriser: renders one character at a time through FreeType into a glyph
/// record with an 8-bit coverage buffer. A process has one FreeType library and
/// one open face, both static; an object carries the size and style of the next
/// glyph. The glyph cache owns the one object that is used.
///
/// No call takes a lock. The cache calls under its write lock; whoever else does
/// must be alone.
class ZK_EXPORT ZkFreetype
{
public:
    /// Both null while no font is open. Reserved for the library and its tests.
    static FT_LibraryRec_ *m_plibrary;
    static FT_FaceRec_ *m_pface;

    /// No style; 16 pixels, which is also what a newly opened face starts with.
    ZkFreetype();

    /// Opens face 0 of a font file, an empty `path` meaning the one that the
    /// environment variable ZK_FONTLIB names; a font that was open is closed first.
    /// Without a name, when FreeType does not start or when the file is no font,
    /// prints why on standard output and ends the process with status 1.
    static void freetype_init(ZkString path); // sic: the exported name

    /// Closes the face and the library. Nothing happens when neither is open.
    static void freetype_Done(); // sic: the exported name

    /// Sets the size in pixels alone. Allowed without a font. Of a font that consists of
    /// fixed strikes only one is drawn: a bitmap font (BDF, PCF) keeps the strike that
    /// matched last, the glyphs of an sfnt (colour emoji) are blank at every size that is
    /// none of its strikes'. Nothing is printed about either: ask for a size that the font
    /// has.
    void setTextFontSize(int n);

    /// Takes size and style. Bold face slants by a quarter, the second flag thickens
    /// the outline by one pixel, outline adds the halo; underline changes nothing.
    void setTextFont(const ZkFont &font);

    /// Renders `unicode` with the current size and style: slanted, then thickened,
    /// then framed. The caller owns the record's `pixels`, which are from `malloc`;
    /// its use count is 0. A character that the face lacks gives the face's
    /// missing-glyph shape.
    ///
    /// A glyph that FreeType cannot load or render prints what failed and has no
    /// pixels to paint: 0 x 0, or 2 x 2 zeros with the halo style. When there is no
    /// memory for pixels, prints so and leaves `pixels` null. The same as for an
    /// unloadable glyph happens without an open font.
    GlyphBitmap resloveUnicode(unsigned short unicode); // sic: the exported name

private:
    friend struct ZkInspector;

    ZkFontAttr m_attr;
    std::uint8_t m_reserved;
    std::uint8_t m_embolden;
    std::uint8_t m_slant;
    std::uint8_t m_outline;
    int m_pixelSize;
    int m_unused;
};
static_assert(sizeof(ZkFreetype) == 16, "the rasteriser is 16 bytes on every platform");

#endif
