#ifndef ZKBMPDATA_H
#define ZKBMPDATA_H

#include "zkglobal.h"

struct GlyphBitmap;

/// Writes an image or a rendered glyph to a BMP file, and shows a glyph as text,
/// for looking at what the rasteriser produced. It holds nothing; objects and
/// calls are independent of each other.
///
///     BmpData().SaveImage("a.bmp", glyph);  // 8-bit grey
///     BmpData().showImageDate(glyph);
class ZK_EXPORT BmpData
{
public:
    /// A picture in memory. `pixels` has `height` rows, top row first, packed
    /// without padding; it stays the caller's.
    struct Image {
        int width;  ///< pixels
        int height; ///< rows
        int type;   ///< 3: three bytes a pixel (blue, green, red), 1: one grey byte
        unsigned char *pixels;
    };

    /// Writes `image` to `path`, replacing the file there. Returns 0, also when
    /// the file cannot be opened; the value of `fclose` otherwise, so anything
    /// but 0 means that the last bytes were not written. 0 does not mean that all
    /// were: a disk that filled up earlier is not noticed. Whoever must know compares
    /// the size of the file, 54 + 4 * width * height at most, or writes it as `zktext
    /// render -o` does.
    ///
    /// A 24-bit file whose rows need no padding (a width that is a multiple of 4)
    /// claims four bytes more for each row in its size fields than it has; readers
    /// that compare them with the file refuse it. A grey file is as wide as its
    /// padded rows: 5 columns are written as 8, the last three black. A `type` of
    /// neither kind leaves a file of the two bytes "BM".
    ///
    /// Sizes below 0 count as 0; null `pixels` are written as zeros. With a null
    /// `path` or `image` no file is written.
    int SaveImage(const char *path, const Image *image);

    /// The same for the coverage bytes of `glyph`, as a grey image. A glyph whose
    /// pixels were trimmed is written as zeros.
    int SaveImage(const char *path, const GlyphBitmap *glyph);

    /// Prints the rows and columns of `glyph`, then a line of text for each row:
    /// a blank for 0, '0' for full coverage (255), '1' for everything between.
    /// Of a glyph without pixels only the first line; for null nothing.
    void showImageDate(const GlyphBitmap *glyph); // sic: the exported name
};

#endif
