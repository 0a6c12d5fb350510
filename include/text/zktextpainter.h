#ifndef ZKTEXTPAINTER_H
#define ZKTEXTPAINTER_H

#include "private/zkinlinearray.h"
#include "zkfontmetrics.h"
#include "zklineplacement.h"
#include "zkplacedglyph.h"
#include "zkrect.h"
#include "zkvector.h"

#include <cstdint>

class ZkParagraph;
class ZkRegion;

/// Pixels in memory that somebody else owns: a frame buffer, a window's picture, a
/// page of coverage. Plain data; pixels are words in the machine's byte order.
struct ZkTextSurface {
    enum Format {
        Coverage8, ///< 8 bits: how much of the pixel is covered
        Rgb565,    ///< 16 bits: red in the high five, green in six, blue in the low five
        Xrgb8888,  ///< 32 bits: 0x??RRGGBB; the highest byte is never changed
        Argb8888,  ///< 32 bits: 0xAARRGGBB, red, green and blue multiplied by alpha
    };

    void *pixels; ///< of the upper left corner, at any alignment
    int width;    ///< pixels of a row
    int height;   ///< rows
    int pitch;    ///< bytes from one row to the next, negative when rows go upwards
    Format format;
};

/// Paints placed glyphs: the last stage of text, from positions to pixels.
///
///     ZkTextPainter painter({memory, 320, 240, 640, ZkTextSurface::Rgb565});
///     painter.setColors(0xFF1F2937);
///     painter.setStyle(7, {0xFF2563EB, 0, ZkTextPainter::Underline}); // links
///     painter.paint(paragraph, 8, 8);
///
/// Colours are 0xAARRGGBB, red, green and blue as they are, not multiplied. An 8-bit
/// surface takes only their alpha.
///
/// **What a pixel gets.** A glyph's byte is coverage. With the alpha of the colour it
/// makes a share, and each part of the pixel is mixed by it, both rounded to the
/// nearest whole number:
///
///     share  = (coverage * alpha + 127) / 255
///     part   = (part * (255 - share) + colour * share + 127) / 255
///
/// The colour's part is its red, green or blue; 255 for the alpha of `Argb8888` and
/// for `Coverage8`. Parts of `Rgb565` are mixed in 8 bits, their high bits repeated
/// below, and rounded once to the nearest step: (part * 31 + 127) / 255 or
/// (part * 63 + 127) / 255. So share 0 keeps every pixel and 255 gives the colour.
/// Every machine gives the same bytes.
///
/// **Halo.** In a glyph whose font has the outlined style, coverage 1 is the halo. All
/// halos of a call are painted before any ink, in a colour of their own and under the
/// ink too, or the halo of one letter would cut into the letter it joins.
///
/// Nothing is painted, read or written outside surface and clip, at any coordinates;
/// glyphs without pixels are passed over. Costs no allocation with up to four styles
/// and a clip rectangle. A painter belongs to one thread; painters of several threads
/// may share a surface where their clips have no pixel in common.
class ZK_EXPORT ZkTextPainter
{
public:
    /// Lines that go with the text of a style.
    enum Line : unsigned { NoLine = 0, Underline = 1, StrikeThrough = 2 };

    /// How the glyphs of a tag are painted.
    struct Style {
        std::uint32_t ink = 0xFF000000;
        std::uint32_t halo = 0xFFFFFFFF;
        unsigned lines = NoLine; ///< of `Line`
    };

    /// A filled rectangle among glyphs: an underline. It is painted in the ink of its
    /// tag before the ink of glyphs, and `outlined` has a halo of one pixel around.
    struct Strip {
        ZkRect rect;
        int tag;
        bool outlined;
    };

    /// Paints on the whole of `surface`. One without address, with a width or height
    /// below 1, or with rows that are shorter than their pixels takes no paint.
    explicit ZkTextPainter(const ZkTextSurface &surface);
    ZkTextPainter(const ZkTextPainter &) = delete;
    ZkTextPainter &operator=(const ZkTextPainter &) = delete;

    /// Paints only inside `clip` from now on; an invalid one lets nothing through. A
    /// region must be in banded order. Keeps the list of its rectangles, not the region.
    void setClip(const ZkRect &clip);
    void setClip(const ZkRegion &clip);
    /// Paints on the whole surface again.
    void clearClip();
    /// The smallest known rectangle around the clip, within the surface.
    const ZkRect &clipRect() const { return m_bounds; }

    /// The style of all tags that have none of their own.
    void setStyle(const Style &style) { m_style = style; }
    void setColors(std::uint32_t ink, std::uint32_t halo = 0xFFFFFFFF);
    /// The style of one tag. O(log n) to find; adding one moves those above it.
    void setStyle(int tag, const Style &style);
    /// The style that glyphs of `tag` are painted in.
    const Style &style(int tag) const;

    /// Mixes `color` into every pixel of `rect`, as full coverage would.
    void fill(const ZkRect &rect, std::uint32_t color) const;

    /// Mixes `color` into one pixel by `coverage`, 0 to 255.
    void blend(int x, int y, std::uint32_t color, int coverage) const;

    /// Paints `count` glyphs and `stripCount` strips, all moved by (x, y): halos, then
    /// strips, then ink. Glyphs are painted in their order. Null stands for none.
    void paint(const ZkPlacedGlyph *glyphs, int count, int x, int y, const Strip *strips = nullptr,
               int stripCount = 0) const;

    /// Paints a paragraph whose box has its upper left corner at (x, y): the lines that
    /// reach into the clip, each stretch with the underline of its font and the lines of its
    /// style, by the typeface's measures. Halos of all lines come before any ink.
    void paint(const ZkParagraph &paragraph, int x, int y) const;

    /// Paints a line of the classic engine in the style of tag 0. `font` is the one that
    /// was asked with and says whether there is an underline.
    void paint(const ZkLinePlacement &line, const ZkFont &font) const;

private:
    struct TagStyle {
        int tag;
        Style style;
    };
    enum Pass { HaloPass, InkPass };

    int find(int tag) const;
    template <typename Paint>
    void eachPiece(const ZkRect &rect, Paint paint) const;
    std::uint8_t *address(int x, int y) const;
    void paintGlyph(const ZkPlacedGlyph &placed, int x, int y, std::uint32_t color,
                    Pass pass) const;
    void paintGlyphs(const ZkPlacedGlyph *glyphs, int count, int x, int y, Pass pass) const;
    void paintLines(const ZkParagraph &paragraph, int x, int y, Pass pass) const;
    void paintStretches(const ZkParagraph &paragraph, int line, int x, int y, Pass pass) const;
    void paintStrips(const Strip *strips, int count, int x, int y, Pass pass) const;

    ZkTextSurface m_surface;
    ZkRect m_bounds;           // of the clip, on the surface
    ZkVector<ZkRect> m_pieces; // of the clip; empty when m_bounds is all of it
    Style m_style;
    ZkInlineArray<TagStyle, 4> m_styles; // by ascending tag
};

#endif
