#ifndef ZKBMPROWS_H
#define ZKBMPROWS_H

#include "zkbitmap.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

/// The rows of a BMP file: how long they are, how they are read, and how they
/// become pixels of four bytes (blue, green, red, alpha). Private to the library.

/// Bytes of `width` pixels in a file, without and with the padding of the row.
std::int64_t zkPackedRowBytes(int width, int bits);
std::int64_t zkPaddedRowBytes(int width, int bits);

/// Hands out the rows of a file one after another, reading several at once. The
/// buffer never grows beyond twice the bytes that the file has really given, or
/// one block, so a header that claims a wide picture costs nothing.
class ZkBmpRowReader
{
public:
    /// Reads up to `rows` rows of `rowBytes` bytes (at least 1) from where `file`
    /// stands, and never a byte beyond them.
    ZkBmpRowReader(std::FILE *file, int rowBytes, int rows);
    ~ZkBmpRowReader();

    ZkBmpRowReader(const ZkBmpRowReader &) = delete;
    ZkBmpRowReader &operator=(const ZkBmpRowReader &) = delete;

    /// The next row, valid until the next call; `bytes` of it are there, fewer
    /// than a row where the file or memory ends.
    const unsigned char *next(int &bytes);

private:
    void fill();
    bool reserve(std::size_t bytes);

    std::FILE *m_file;
    std::size_t m_rowBytes;
    std::size_t m_rowsLeft; // not yet read
    unsigned char *m_buffer = nullptr;
    std::size_t m_capacity = 0; // no test can tell: a row takes four bytes at least
    std::size_t m_filled = 0;   // bytes read into the buffer
    std::size_t m_position = 0; // of the next row in it
};

constexpr int kZkPixelBytes = 4;

/// The pixels that the values of `bits` bits stand for, 2^bits of them: the
/// colours of the `entries` table entries, then white, all opaque. A pixel is a
/// word whose bytes in memory are the four, so their order is that of any host.
void zkMakePalette(const RGBApixel *table, int entries, int bits, std::uint32_t *palette);

/// Each converter is given a row that holds `width` pixels and room for as many
/// behind `out`. `palette` is of the same bits.
void zkConvert1bitRow(const unsigned char *row, int width, const std::uint32_t *palette,
                      unsigned char *out);
void zkConvert4bitRow(const unsigned char *row, int width, const std::uint32_t *palette,
                      unsigned char *out);
void zkConvert8bitRow(const unsigned char *row, int width, const std::uint32_t *palette,
                      unsigned char *out);

/// `width` is at least 1.
void zkConvert24bitRow(const unsigned char *row, int width, unsigned char *out);
void zkConvert32bitRow(const unsigned char *row, int width, unsigned char *out);

/// Where a 16-bit pixel keeps one component.
class ZkBmpComponent
{
public:
    explicit ZkBmpComponent(unsigned mask);

    /// The component of `pixel` times 8: a multiple of 8, at most 248.
    unsigned char of(unsigned pixel) const
    {
        return static_cast<unsigned char>((pixel & m_mask) >> m_shift << 3);
    }

private:
    unsigned m_mask; // at most 0xFFFF
    int m_shift = 0;
};

/// The three components of a 16-bit pixel: five bits each, unless the file has
/// masks of its own.
struct ZkBmpComponents {
    ZkBmpComponent red{0x7C00};
    ZkBmpComponent green{0x03E0};
    ZkBmpComponent blue{0x001F};
};

void zkConvert16bitRow(const unsigned char *row, int width, const ZkBmpComponents &components,
                       unsigned char *out);

#endif
