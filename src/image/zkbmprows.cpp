#include "image/zkbmprows.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr std::size_t kBlockBytes = 16384; // about as much is read at once

std::uint32_t loadWord(const void *bytes)
{
    std::uint32_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

void storeWord(unsigned char *out, std::uint32_t word)
{
    std::memcpy(out, &word, sizeof word);
}

std::uint32_t withFullAlpha(std::uint32_t pixel)
{
    constexpr unsigned char kAlpha[kZkPixelBytes] = {0, 0, 0, 255};
    return pixel | loadWord(kAlpha);
}

} // namespace

std::int64_t zkPackedRowBytes(int width, int bits)
{
    return (static_cast<std::int64_t>(width) * bits + 7) / 8;
}

std::int64_t zkPaddedRowBytes(int width, int bits)
{
    return (zkPackedRowBytes(width, bits) + 3) / 4 * 4;
}

ZkBmpRowReader::ZkBmpRowReader(std::FILE *file, int rowBytes, int rows)
    : m_file(file),
      m_rowBytes(static_cast<std::size_t>(rowBytes)),
      m_rowsLeft(static_cast<std::size_t>(rows))
{
}

ZkBmpRowReader::~ZkBmpRowReader()
{
    std::free(m_buffer);
}

const unsigned char *ZkBmpRowReader::next(int &bytes)
{
    if (m_position == m_filled) {
        fill();
    }
    const unsigned char *row = m_buffer + m_position;
    const std::size_t there = std::min(m_rowBytes, m_filled - m_position);
    m_position += there;
    bytes = static_cast<int>(there);
    return row;
}

// Reads the next whole rows that make about a block, or one row if it is longer.
void ZkBmpRowReader::fill()
{
    const std::size_t rows =
        std::min(m_rowsLeft, std::max<std::size_t>(kBlockBytes / m_rowBytes, 1));
    const std::size_t wanted = rows * m_rowBytes;
    m_rowsLeft -= rows;
    m_position = m_filled = 0;
    while (m_filled < wanted) {
        const std::size_t step = std::min(wanted - m_filled, std::max(kBlockBytes, m_filled));
        if (!reserve(m_filled + step)) {
            return;
        }
        const std::size_t got = std::fread(m_buffer + m_filled, 1, step, m_file);
        m_filled += got;
        if (got < step) {
            return;
        }
    }
}

// False when there is no memory; what was read stays.
bool ZkBmpRowReader::reserve(std::size_t bytes)
{
    if (bytes > m_capacity) {
        void *grown = std::realloc(m_buffer, bytes);
        if (grown == nullptr) {
            return false;
        }
        m_buffer = static_cast<unsigned char *>(grown);
        m_capacity = bytes;
    }
    return true;
}

void zkMakePalette(const RGBApixel *table, int entries, int bits, std::uint32_t *palette)
{
    const int colours = 1 << bits;
    const int fromTable = std::min(entries, colours);
    for (int i = 0; i < fromTable; ++i) {
        palette[i] = withFullAlpha(loadWord(&table[i]));
    }
    std::fill(palette + fromTable, palette + colours, ~std::uint32_t(0));
}

void zkConvert1bitRow(const unsigned char *row, int width, const std::uint32_t *palette,
                      unsigned char *out)
{
    for (; width > 0; width -= 8, ++row) { // no test can tell: a turn of no pixels
        const int pixels = std::min(width, 8);
        for (int i = 0; i < pixels; ++i, out += kZkPixelBytes) {
            storeWord(out, palette[*row >> (7 - i) & 1]);
        }
    }
}

void zkConvert4bitRow(const unsigned char *row, int width, const std::uint32_t *palette,
                      unsigned char *out)
{
    for (; width > 1; width -= 2, ++row, out += 2 * kZkPixelBytes) {
        storeWord(out, palette[*row >> 4]);
        storeWord(out + kZkPixelBytes, palette[*row & 15]);
    }
    if (width == 1) {
        storeWord(out, palette[*row >> 4]);
    }
}

void zkConvert8bitRow(const unsigned char *row, int width, const std::uint32_t *palette,
                      unsigned char *out)
{
    for (int x = 0; x < width; ++x, out += kZkPixelBytes) {
        storeWord(out, palette[row[x]]);
    }
}

void zkConvert24bitRow(const unsigned char *row, int width, unsigned char *out)
{
    // Every pixel but the last has a byte of the row behind it, so it can be
    // loaded as a word; the alpha covers that byte.
    for (int x = 1; x < width; ++x, row += 3, out += kZkPixelBytes) {
        storeWord(out, withFullAlpha(loadWord(row)));
    }
    const unsigned char last[kZkPixelBytes] = {row[0], row[1], row[2], 255};
    std::memcpy(out, last, sizeof last);
}

void zkConvert32bitRow(const unsigned char *row, int width, unsigned char *out)
{
    std::memcpy(out, row, static_cast<std::size_t>(width) * kZkPixelBytes);
}

// The mask is shifted until it is 31 or less, whatever its width: of the six
// green bits of 5-6-5 the lowest is lost, and full green is 248, not 255.
ZkBmpComponent::ZkBmpComponent(unsigned mask) : m_mask(mask)
{
    while (mask >> m_shift > 31) {
        ++m_shift;
    }
}

void zkConvert16bitRow(const unsigned char *row, int width, const ZkBmpComponents &components,
                       unsigned char *out)
{
    for (int x = 0; x < width; ++x, row += 2, out += kZkPixelBytes) {
        const unsigned value = row[0] | static_cast<unsigned>(row[1]) << 8;
        const unsigned char pixel[kZkPixelBytes] = {
            components.blue.of(value), components.green.of(value), components.red.of(value), 255};
        std::memcpy(out, pixel, sizeof pixel);
    }
}
