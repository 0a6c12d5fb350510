#include "zkbmpdata.h"

#include "zkfont.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace
{

constexpr int kColor = 3, kGrey = 1; // `Image::type`
constexpr int kHeadersBytes = 54;
constexpr int kGreyTableBytes = 256 * 4;

// What the two kinds of file differ in.
struct Layout {
    int bitsPerPixel;
    int colours;               // in the table
    std::int64_t width;        // as the header tells it, columns
    std::int64_t rowBytes;     // of the image, without padding
    std::int64_t toldRowBytes; // with padding, as the size fields count it
};

Layout colorLayout(std::int64_t width)
{
    const std::int64_t rowBytes = width * 3;
    // Not `(rowBytes + 3) / 4 * 4`: rows that need no padding count four bytes
    // more than they have, so such a file is shorter than its size fields say.
    return {24, 0, width, rowBytes, rowBytes + 4 - rowBytes % 4};
}

Layout greyLayout(std::int64_t width)
{
    const std::int64_t padded = (width + 3) / 4 * 4;
    // The padding is part of the picture: its width is that of the padded row.
    return {8, 256, padded, width, padded};
}

// Gathers header fields in the machine's byte order.
class HeaderBytes
{
public:
    void add16(std::int64_t value) { add(static_cast<std::uint16_t>(value)); }
    void add32(std::int64_t value) { add(static_cast<std::uint32_t>(value)); }
    void writeTo(std::FILE *file) const { std::fwrite(m_bytes, 1, m_size, file); }

private:
    template <typename T>
    void add(T value)
    {
        std::memcpy(m_bytes + m_size, &value, sizeof value);
        m_size += sizeof value;
    }

    unsigned char m_bytes[kHeadersBytes];
    std::size_t m_size = 0;
};

// Both headers behind the "BM".
void writeHeaders(std::FILE *file, const Layout &layout, int height)
{
    const std::int64_t offset = kHeadersBytes + layout.colours * 4;
    // Modulo 2^32, as the fields are: the product can be larger than 63 bits.
    const std::int64_t imageBytes =
        static_cast<std::uint32_t>(layout.toldRowBytes) * static_cast<std::int64_t>(height);
    HeaderBytes bytes;
    bytes.add32(offset + imageBytes);
    bytes.add16(0);
    bytes.add16(0);
    bytes.add32(offset);

    bytes.add32(40); // size of what follows
    bytes.add32(layout.width);
    bytes.add32(height); // positive: bottom row first
    bytes.add16(1);      // planes
    bytes.add16(layout.bitsPerPixel);
    bytes.add32(0); // not compressed
    bytes.add32(imageBytes);
    bytes.add32(0); // resolutions
    bytes.add32(0);
    bytes.add32(layout.colours);
    bytes.add32(layout.colours);
    bytes.writeTo(file);
}

// A grey ramp: entry i has blue, green and red i.
void writeGreyTable(std::FILE *file)
{
    unsigned char table[kGreyTableBytes];
    for (int i = 0; i < 256; ++i) {
        std::memset(table + i * 4, i, 3);
        table[i * 4 + 3] = 0;
    }
    std::fwrite(table, 1, sizeof table, file);
}

void writeZeros(std::FILE *file, std::int64_t bytes)
{
    static constexpr unsigned char kZeros[512] = {};
    while (bytes > 0) {
        const std::size_t step =
            static_cast<std::size_t>(std::min<std::int64_t>(bytes, sizeof kZeros));
        std::fwrite(kZeros, 1, step, file);
        bytes -= static_cast<std::int64_t>(step);
    }
}

// Rows from the last to the first, each padded to a multiple of four bytes.
void writeRows(std::FILE *file, const Layout &layout, int height, const unsigned char *pixels)
{
    if (layout.rowBytes == 0) {
        return; // however many rows
    }
    const std::size_t rowBytes = static_cast<std::size_t>(layout.rowBytes);
    for (int y = height - 1; y >= 0; --y) {
        if (pixels == nullptr) {
            writeZeros(file, layout.rowBytes);
        } else {
            std::fwrite(pixels + static_cast<std::size_t>(y) * rowBytes, 1, rowBytes, file);
        }
        writeZeros(file, (4 - layout.rowBytes % 4) % 4);
    }
}

} // namespace

int BmpData::SaveImage(const char *path, const Image *image)
{
    std::FILE *file = path == nullptr || image == nullptr ? nullptr : std::fopen(path, "wb");
    if (file == nullptr) {
        return 0; // as for a file that was written
    }
    std::fwrite("BM", 1, 2, file);
    if (image->type == kColor || image->type == kGrey) {
        const int width = std::max(image->width, 0);
        const int height = std::max(image->height, 0);
        const Layout layout = image->type == kColor ? colorLayout(width) : greyLayout(width);
        writeHeaders(file, layout, height);
        if (image->type == kGrey) {
            writeGreyTable(file);
        }
        writeRows(file, layout, height, image->pixels);
    }
    return std::fclose(file);
}

int BmpData::SaveImage(const char *path, const GlyphBitmap *glyph)
{
    if (glyph == nullptr) {
        return 0;
    }
    const Image image = {glyph->width, glyph->height, kGrey, glyph->pixels};
    return SaveImage(path, &image);
}

void BmpData::showImageDate(const GlyphBitmap *glyph)
{
    if (glyph == nullptr) {
        return;
    }
    std::printf("\nrow = %d, col = %d \n", glyph->height, glyph->width);
    const unsigned char *pixel = glyph->pixels;
    for (int y = 0; y < glyph->height && glyph->pixels != nullptr; ++y) {
        for (int x = 0; x < glyph->width; ++x, ++pixel) {
            // Full coverage is the '0' and the soft edges are the '1'.
            std::putchar(*pixel == 0 ? ' ' : *pixel == 255 ? '0' : '1');
        }
        std::putchar('\n');
    }
}
