#ifndef ZK_TESTS_PAINTMODEL_H
#define ZK_TESTS_PAINTMODEL_H

#include "zktextpainter.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <vector>

/// What painting must give, one pixel and one part at a time.
namespace paintmodel
{

inline int share(int coverage, int alpha)
{
    return (coverage * alpha + 127) / 255;
}

inline unsigned mixedPart(unsigned below, unsigned above, int share)
{
    const unsigned s = static_cast<unsigned>(share);
    return (below * (255 - s) + above * s + 127) / 255;
}

inline std::uint32_t mixed32(std::uint32_t below, std::uint32_t color, int share, bool alpha)
{
    std::uint32_t pixel = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        const unsigned from = below >> shift & 255;
        const unsigned to = shift == 24 ? 255 : color >> shift & 255;
        pixel |= (shift == 24 && !alpha ? from : mixedPart(from, to, share)) << shift;
    }
    return pixel;
}

/// One part of a 16-bit pixel, `bits` wide, through 8 bits and back.
inline unsigned mixedStep(unsigned below, unsigned above, int share, int bits)
{
    const unsigned most = (1u << bits) - 1;
    const unsigned wide = below << (8 - bits) | below >> (2 * bits - 8);
    return (mixedPart(wide, above, share) * most + 127) / 255;
}

inline std::uint32_t mixed565(std::uint32_t below, std::uint32_t color, int share)
{
    return mixedStep(below >> 11, color >> 16 & 255, share, 5) << 11 |
           mixedStep(below >> 5 & 63, color >> 8 & 255, share, 6) << 5 |
           mixedStep(below & 31, color & 255, share, 5);
}

inline std::uint32_t mixed(ZkTextSurface::Format format, std::uint32_t below, std::uint32_t color,
                           int share)
{
    switch (format) {
    case ZkTextSurface::Coverage8: return mixedPart(below, 255, share);
    case ZkTextSurface::Rgb565: return mixed565(below, color, share);
    case ZkTextSurface::Xrgb8888: return mixed32(below, color, share, false);
    case ZkTextSurface::Argb8888: return mixed32(below, color, share, true);
    }
    return 0;
}

inline int bytesOf(ZkTextSurface::Format format)
{
    return format == ZkTextSurface::Coverage8 ? 1 : format == ZkTextSurface::Rgb565 ? 2 : 4;
}

/// Pixels in a block of bytes with room around, and the same pixels one by one.
class Board
{
public:
    static constexpr int kMargin = 64; // bytes before and behind

    Board(ZkTextSurface::Format format, int width, int height, int pitch, bool upwards = false)
        : m_format(format),
          m_width(width),
          m_height(height),
          m_pitch(upwards ? -pitch : pitch),
          m_first(std::size_t(kMargin + (upwards ? pitch * (height - 1) : 0))),
          m_bytes(std::size_t(pitch * height + 2 * kMargin))
    {
        std::uint32_t noise = 12345;
        for (std::uint8_t &byte : m_bytes) {
            noise = noise * 1664525 + 1013904223;
            byte = static_cast<std::uint8_t>(noise >> 24);
        }
        if (format == ZkTextSurface::Argb8888) {
            premultiply();
        }
        m_expected = m_bytes;
    }

    ZkTextSurface surface()
    {
        return {m_bytes.data() + m_first, m_width, m_height, m_pitch, m_format};
    }

    /// Every byte, those around the pixels too.
    const std::vector<std::uint8_t> &bytes() const { return m_bytes; }
    const std::vector<std::uint8_t> &expected() const { return m_expected; }

    std::uint32_t pixel(int x, int y) const { return at(m_bytes, x, y); }
    void setPixel(int x, int y, std::uint32_t value)
    {
        std::memcpy(&m_bytes[offset(x, y)], &value, std::size_t(bytesOf(m_format)));
        std::memcpy(&m_expected[offset(x, y)], &value, std::size_t(bytesOf(m_format)));
    }

    /// Mixes a colour into one expected pixel, nothing for one that lies outside.
    void blend(std::int64_t x, std::int64_t y, std::uint32_t color, int coverage)
    {
        if (x < 0 || x >= m_width || y < 0 || y >= m_height || !inClip(int(x), int(y))) {
            return;
        }
        const int column = int(x), row = int(y);
        const std::uint32_t value =
            mixed(m_format, at(m_expected, column, row), color, share(coverage, int(color >> 24)));
        std::memcpy(&m_expected[offset(column, row)], &value, std::size_t(bytesOf(m_format)));
    }

    void fill(const ZkRect &rect, std::uint32_t color)
    {
        for (int y = 0; y < m_height; ++y) {
            for (int x = 0; x < m_width; ++x) {
                if (rect.left() <= x && x <= rect.right() && rect.top() <= y &&
                    y <= rect.bottom()) {
                    blend(x, y, color, 255);
                }
            }
        }
    }

    std::function<bool(int, int)> inClip = [](int, int) { return true; };

private:
    std::size_t offset(int x, int y) const
    {
        return m_first + std::size_t(std::ptrdiff_t(y) * m_pitch + x * bytesOf(m_format));
    }
    std::uint32_t at(const std::vector<std::uint8_t> &bytes, int x, int y) const
    {
        std::uint32_t value = 0;
        std::memcpy(&value, &bytes[offset(x, y)], std::size_t(bytesOf(m_format)));
        return value;
    }
    void premultiply()
    {
        for (int y = 0; y < m_height; ++y) {
            for (int x = 0; x < m_width; ++x) {
                const std::uint32_t value = at(m_bytes, x, y), alpha = value >> 24;
                const std::uint32_t product =
                    alpha << 24 | (value >> 16 & 255) * alpha / 255 << 16 |
                    (value >> 8 & 255) * alpha / 255 << 8 | (value & 255) * alpha / 255;
                std::memcpy(&m_bytes[offset(x, y)], &product, 4);
            }
        }
    }

    ZkTextSurface::Format m_format;
    int m_width, m_height, m_pitch;
    std::size_t m_first;
    std::vector<std::uint8_t> m_bytes, m_expected;
};

/// The styles of a painter, looked up the plain way.
struct Styles {
    ZkTextPainter::Style other;
    std::map<int, ZkTextPainter::Style> own;

    const ZkTextPainter::Style &of(int tag) const
    {
        const auto found = own.find(tag);
        return found == own.end() ? other : found->second;
    }
};

/// Calls `each(x, y, coverage)` for each pixel of a glyph that is not empty.
template <typename Each>
void eachPixel(const ZkPlacedGlyph &placed, int dx, int dy, Each each)
{
    const GlyphBitmap &glyph = *placed.glyph;
    for (int row = 0; glyph.pixels && row < glyph.height; ++row) {
        for (int column = 0; column < glyph.width; ++column) {
            const int coverage = glyph.pixels[row * glyph.pitch + column];
            if (coverage != 0) {
                each(std::int64_t(placed.x) + dx + column, std::int64_t(placed.y) + dy + row,
                     coverage);
            }
        }
    }
}

/// What `ZkTextPainter::paint` must give. Strips stay far from the ends of an int.
inline void paint(Board &board, const Styles &styles, const std::vector<ZkPlacedGlyph> &glyphs,
                  int dx, int dy, const std::vector<ZkTextPainter::Strip> &strips)
{
    const auto isOutlined = [](const ZkPlacedGlyph &placed) {
        return (placed.glyph->font.flags & ZkFontAttr::Outline) != 0;
    };
    for (const ZkTextPainter::Strip &strip : strips) {
        const ZkRect &r = strip.rect;
        if (strip.outlined && r.isValid()) {
            board.fill(ZkRect(r.left() + dx - 1, r.top() + dy - 1, r.right() + dx + 1,
                              r.bottom() + dy + 1),
                       styles.of(strip.tag).halo);
        }
    }
    for (const ZkPlacedGlyph &placed : glyphs) {
        if (placed.glyph && isOutlined(placed)) {
            eachPixel(placed, dx, dy, [&](std::int64_t x, std::int64_t y, int) {
                board.blend(x, y, styles.of(placed.tag).halo, 255);
            });
        }
    }
    for (const ZkTextPainter::Strip &strip : strips) {
        const ZkRect &r = strip.rect;
        board.fill(ZkRect(r.left() + dx, r.top() + dy, r.right() + dx, r.bottom() + dy),
                   styles.of(strip.tag).ink);
    }
    for (const ZkPlacedGlyph &placed : glyphs) {
        if (placed.glyph) {
            eachPixel(placed, dx, dy, [&](std::int64_t x, std::int64_t y, int coverage) {
                if (!isOutlined(placed) || coverage != 1) {
                    board.blend(x, y, styles.of(placed.tag).ink, coverage);
                }
            });
        }
    }
}

} // namespace paintmodel

#endif
