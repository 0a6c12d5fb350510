#include "canvas.h"

#include <cstdlib>
#include <cstring>

namespace host
{

Canvas::Canvas(int width, int height, const Color &background)
    : Surface(width, height), m_pixels(offset(0, Surface::height()), background.argb() & 0x00FFFFFF)
{
}

Color Canvas::pixel(int x, int y) const
{
    const std::uint32_t value = m_pixels[offset(x, y)];
    return {static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 8),
            static_cast<std::uint8_t>(value), 255};
}

std::string Canvas::rgb() const
{
    std::string bytes;
    bytes.reserve(m_pixels.size() * 3);
    for (const std::uint32_t value : m_pixels) {
        for (const int shift : {16, 8, 0}) {
            bytes += static_cast<char>(static_cast<std::uint8_t>(value >> shift));
        }
    }
    return bytes;
}

void Canvas::scroll(int rows)
{
    const ZkRect area = clip();
    const int high = area.bottom() - area.top() + 1, wide = area.right() - area.left() + 1;
    if (wide < 1 || rows >= high || rows <= -high) {
        return;
    }
    // Towards the side that the rows leave, so that none is read after it was written.
    const int moving = high - std::abs(rows);
    for (int i = 0; i < moving; ++i) {
        const int to = rows > 0 ? area.bottom() - i : area.top() + i;
        std::memmove(&m_pixels[offset(area.left(), to)], &m_pixels[offset(area.left(), to - rows)],
                     static_cast<std::size_t>(wide) * sizeof(std::uint32_t));
    }
}

Canvas Canvas::zoomed(int factor) const
{
    Canvas large(width() * factor, height() * factor, Color());
    for (int y = 0; y < large.height(); ++y) {
        const std::uint32_t *from = row(y / factor);
        std::uint32_t *to = large.m_pixels.data() + large.offset(0, y);
        for (int x = 0; x < large.width(); ++x) {
            to[x] = from[x / factor];
        }
    }
    return large;
}

} // namespace host
