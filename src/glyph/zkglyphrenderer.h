#ifndef ZKGLYPHRENDERER_H
#define ZKGLYPHRENDERER_H

#include "zkfont.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <cstddef>
#include <cstdint>

/// One glyph on its way from a face to a record: loaded, slanted, thickened, rendered,
/// then measured, framed and copied. Whoever stores glyphs goes through here, so the
/// same face, size and style give the same bytes everywhere.
///
///     ZkRenderedGlyph glyph(library, font.attr().flags);
///     const unsigned failed = glyph.render(face, index, FT_LOAD_FORCE_AUTOHINT);
///     glyph.measure(&record);
///     glyph.copyPixels(pixels);           // record.width x record.height bytes
///
/// The face is scaled already and belongs to the caller's thread until the object ends:
/// the coverage is read from the face's own slot. An object renders one glyph.
class ZkRenderedGlyph
{
public:
    /// Steps that went wrong, as bits. What can be said of the glyph is there all the
    /// same: an advance without pixels, or nothing at all.
    /// A glyph that was not loaded has neither. `Starved` beside another bit, or alone when a
    /// strike could not be converted, says that memory was missing: another time the
    /// glyph may come out.
    enum Failure : unsigned { LoadFailed = 1, TooLarge = 2, RenderFailed = 4, Starved = 8 };

    /// The most that a bounded glyph may have: at 255 pixels an em, 32 ems of ink, 16 ems
    /// in one direction, and edges of 4,096 ems. Damaged fonts know no such measure, and a
    /// rasteriser that believes them is busy for minutes.
    static constexpr std::int64_t kMostPixels = 32 * 256 * 256;
    static constexpr FT_Pos kLongestSide = 16 * 256;
    static constexpr std::int64_t kLongestEdges = 4096 * 256;

    /// How large a glyph may become. The classic path lets FreeType decide.
    enum Bounds { Unbounded, Bounded };

    /// A glyph of nothing until `render`; without it `library` may be null. Of the flags
    /// in `style` slant, embolden and outline count.
    ZkRenderedGlyph(FT_Library library, unsigned style, Bounds bounds = Unbounded);
    ~ZkRenderedGlyph();
    ZkRenderedGlyph(const ZkRenderedGlyph &) = delete;
    ZkRenderedGlyph &operator=(const ZkRenderedGlyph &) = delete;

    /// Loads the glyph into the face's slot and renders it there. The bits of `Failure`.
    unsigned render(FT_Face face, FT_UInt index, FT_Int32 loadFlags);

    /// Sets size, bearings and advance in `record` and nothing else. With the outline
    /// style a frame of one pixel counts; a shape of 65,536 columns or rows has none.
    void measure(GlyphBitmap *record);

    /// Leaves the glyph its advance alone.
    void dropPixels() { m_grey = GreyRows(); }

    /// Writes the rows, top first and without gaps, with the halo where it was asked for.
    void copyPixels(std::uint8_t *pixels) const;

private:
    /// Coverage rows, one byte a pixel: row r from the top starts at `top + r * step`.
    struct GreyRows {
        const std::uint8_t *top = nullptr;
        unsigned rows = 0;
        unsigned pitch = 0;
        std::ptrdiff_t step = 0;
    };

    static GreyRows rowsOf(const FT_Bitmap &bitmap);
    static bool isBounded(const FT_Outline &outline);
    static void copyRows(const GreyRows &grey, std::uint8_t *pixels, std::size_t stride);
    static void copyRowsWithHalo(const GreyRows &grey, std::uint8_t *pixels);
    unsigned loadAndRender(FT_Face face, FT_UInt index, FT_Int32 loadFlags);
    FT_Error convertToGrey(const FT_Bitmap &source);
    static unsigned starvedBy(FT_Error error);

    bool isStyled(unsigned flag) const { return (m_style & flag) != 0; }

    FT_Library m_library;
    unsigned m_style;
    Bounds m_bounds;
    FT_Bitmap m_converted; ///< of a packed or coloured strike
    GreyRows m_grey;
    FT_Pos m_advance = 0; ///< in 26.6 pixels
    int m_left = 0, m_top = 0;
};

#endif
