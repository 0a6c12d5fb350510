#ifndef ZKBITMAP_H
#define ZKBITMAP_H

#include "zkglobal.h"

#include <cstdint>
#include <cstdio>

/// One entry of a BMP file's colour table, in the order the file stores it.
struct RGBApixel {
    unsigned char blue, green, red, alpha;

    bool operator==(const RGBApixel &other) const
    {
        return blue == other.blue && green == other.green && red == other.red &&
               alpha == other.alpha;
    }
    bool operator!=(const RGBApixel &other) const { return !(*this == other); }
};

/// A colour as a host passes it around: three components, opacity, and the
/// place in a colour table it came from. Equal means all five are equal.
struct ZkColor {
    unsigned char red = 0, green = 0, blue = 0, alpha = 0, index = 0;

    bool operator==(const ZkColor &other) const
    {
        return red == other.red && green == other.green && blue == other.blue &&
               alpha == other.alpha && index == other.index;
    }
    bool operator!=(const ZkColor &other) const { return !(*this == other); }
};

/// Reads an uncompressed BMP file of 1, 4, 8, 16, 24 or 32 bits a pixel.
///
/// The headers are read and judged when the object is made; `decode` then writes
/// the pixels into a buffer of the caller's. What is wrong with a file is told on
/// standard output, in one line; a constructor that refuses a file adds the line
/// "ZkBitmap(): BMP header error !!!". Any bytes at all are safe to read: memory
/// is taken in step with the bytes a file really holds, not with the sizes its
/// headers claim.
///
///     ZkBitmap bitmap("logo.bmp");
///     if (bitmap.isOpen()) {
///         std::vector<unsigned char> pixels(4 * std::size_t(bitmap.width()) *
///                                           std::size_t(bitmap.height()));
///         bitmap.decode(pixels.data()); // blue, green, red, alpha; top row first
///     }
///
/// A component of 16 bits is shifted to five bits and those to eight, so the brightest
/// is 248, and a mask of fewer bits is darker or cruder still. White comes out so:
///
/// | masks of red, green, blue      | red | green | blue |
/// | ------------------------------ | --- | ----- | ---- |
/// | 5-5-5: 0x7C00, 0x03E0, 0x001F  | 248 | 248   | 248  |
/// | 5-6-5: 0xF800, 0x07E0, 0x001F  | 248 | 248   | 248  |
/// | 4-4-4: 0x0F00, 0x00F0, 0x000F  | 240 | 240   | 120  |
/// | 2-3-1: 0x0030, 0x000E, 0x0001  | 192 | 112   | 8    |
///
/// The colour table is read right behind the first 54 bytes. Files with a longer header
/// (108 or 124 bytes, or the 64 of OS/2) have other things there: their palettes come out
/// as other colours. `infoHeader().headerSize` above 40 tells such a file.
///
/// Rows of a 16-bit file come out bottom row first; every other depth comes out
/// top row first. Only 32-bit pixels carry the file's own alpha, all others are
/// opaque (255).
///
/// An object is not copyable and is used by one thread at a time; different
/// objects may be used by different threads.
class ZK_EXPORT ZkBitmap
{
public:
    /// The first 14 bytes of the file, as it tells them; only `type` and
    /// `dataOffset` are looked at.
    struct FileHeader {
        std::uint16_t type; ///< 0x4D42, "BM"
        std::uint32_t size;
        std::uint16_t reserved1;
        std::uint16_t reserved2;
        std::uint32_t dataOffset; ///< first byte of the pixel rows
    };

    /// The next 40 bytes. `headerSize` is not looked at: the colour table, or the
    /// masks of a 16-bit file, are expected behind these 40 bytes in any case.
    struct InfoHeader {
        std::uint32_t headerSize;
        std::int32_t width;
        std::int32_t height; ///< negative (top row first in the file) is refused
        std::uint16_t planes;
        std::uint16_t bitsPerPixel;
        std::uint32_t compression; ///< 0, or 3 (own colour masks) with 16 bits
        std::uint32_t imageSize;
        std::int32_t horizontalResolution; ///< pixels a metre
        std::int32_t verticalResolution;
        std::uint32_t coloursUsed;
        std::uint32_t importantColours;
    };

    /// An object without a file: every field 0, no colour table.
    ZkBitmap();

    /// Opens `path` and reads its headers; the object closes the file when it
    /// goes. On failure prints why and has no file; a null path is an empty one.
    explicit ZkBitmap(const char *path);

    /// Reads the headers from the start of `file`, or from where it stands if it
    /// cannot seek (a pipe). The file stays the caller's, who closes it after the
    /// object's last use. On failure, or for null, prints why and forgets it.
    explicit ZkBitmap(std::FILE *file);

    ~ZkBitmap();

    ZkBitmap(const ZkBitmap &) = delete;
    ZkBitmap &operator=(const ZkBitmap &) = delete;

    /// True when the headers were accepted: `decode` has something to read.
    bool isOpen() const { return m_file != nullptr; }

    /// Size in pixels, both above 0 once headers were accepted, else 0. This is what
    /// the header claims, however few bytes follow: set a limit of your own before
    /// you allocate for it, and multiply in 64 bits.
    int width() const { return m_width; }
    int height() const { return m_height; }

    /// Bits a pixel: the file's, or what `setBitDepth` was last told.
    int bitDepth() const { return m_bitDepth; }

    /// Pixels a metre, as the file tells them.
    int horizontalResolution() const { return m_horizontalResolution; }
    int verticalResolution() const { return m_verticalResolution; }

    const FileHeader &fileHeader() const { return m_fileHeader; }
    const InfoHeader &infoHeader() const { return m_infoHeader; }

    /// Reads both headers from where the file stands and judges them. Returns 1,
    /// or 0 after printing the reason; fields read until then keep what was read.
    /// The constructors call it; it also forgets the buffer of the last `decode`.
    int readHeaderInfo();

    /// Sets the bits a pixel and replaces the colour table: a standard one of
    /// 2, 16 or 256 entries for depths 1, 4 and 8, none for any other depth.
    /// Returns 1.
    int setBitDepth(int depth);

    /// Fills the colour table with the standard colours of its depth, all opaque.
    /// Without a table does nothing.
    void createStandardColorTable();

    /// 2 to the power of the depth: 1 for depth 0 or less; 16,777,216 for 24 bits
    /// and, the fourth byte being no colour, for 32; INT_MAX above that.
    int tellNumberOfColors() const;

    /// Entry `i` of the colour table. White with alpha 255 when there is no such
    /// entry; when there is no table, that is told on standard output.
    RGBApixel getColor(int i) const;

    /// Replaces entry `i` of the colour table and returns 1; 0 when there is no
    /// such entry. When there is no table, that is told on standard output.
    /// `decode` overwrites the table with the file's own.
    int setColor(int i, RGBApixel color);

    /// Decodes all rows into `out`: width × height pixels of four bytes, blue,
    /// green, red, alpha, with no padding between rows. `out` holds at least
    /// width × height × 4 bytes. May be repeated if the file can seek.
    ///
    /// Palette entries that the file lacks become white, and bytes between the
    /// tables and the pixels are skipped; both print a warning. A file that ends
    /// early prints so: rows decoded until then stay, the others are not written.
    /// Null `out`, no file, or a depth that is none of the six: does nothing.
    void decode(unsigned char *out);

    /// Convert one row as it stands in the file, of `rowBytes` bytes, into row `y`
    /// (0 is the top) of the buffer last given to `decode`, which must still live.
    /// Indexed rows use the present colour table; an index without an entry is
    /// white. Return 1; 0, with nothing written, when `rowBytes` is too short for
    /// the width, `row` is null, there is no row `y`, no buffer or no table.
    int read1bitRow(const unsigned char *row, int rowBytes, int y);
    int read4bitRow(const unsigned char *row, int rowBytes, int y);
    int read8bitRow(const unsigned char *row, int rowBytes, int y);
    int read24bitRow(const unsigned char *row, int rowBytes, int y);
    int read32bitRow(const unsigned char *row, int rowBytes, int y);

    /// Swap the byte order of every field of the file header and of the info
    /// header. Reading does not need them: it gives the same numbers on hosts of
    /// either byte order.
    void bmfhSwitchEndianess(); // sic: the exported names; hosts link against them
    void bmihSwitchEndianess();

    /// Reads `n` items of `size` bytes into `buf`. Returns 1 when all came, else
    /// 0; 0 at once when the end of `file` was already met, or for a null pointer.
    static int safeFread(char *buf, int size, int n, std::FILE *file);

private:
    friend struct ZkInspector;

    int colorTableEntries() const;
    void readColorTable();
    bool fitsMemory(std::int64_t rowBytes) const;
    unsigned char *outputRow(int y) const;
    void decodeRows();
    void decode16bitRows();
    int convertRow(const unsigned char *row, int rowBytes, int y, int bits,
                   const std::uint32_t *palette);
    int convertIndexedRow(const unsigned char *row, int rowBytes, int y, int bits);

    int m_width = 0;
    int m_height = 0;
    int m_bitDepth = 0;
    FileHeader m_fileHeader = {};
    InfoHeader m_infoHeader = {};
    std::FILE *m_file = nullptr;
    unsigned char *m_pixels = nullptr; // the caller's; width × height × 4 bytes
    RGBApixel *m_colorTable = nullptr; // 2^depth entries, owned; null above 8 bits
    int m_horizontalResolution = 0;
    int m_verticalResolution = 0;
    int m_ownsFile = 1; // 0 when the file was given
};

#endif
