#include "canvas.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace host
{

Canvas::Canvas(int width, int height, const Color &background)
    : Surface(width, height), m_pixels(offset(0, Surface::height()))
{
    for (std::size_t i = 0; i < m_pixels.size(); i += 3) {
        m_pixels[i] = background.red;
        m_pixels[i + 1] = background.green;
        m_pixels[i + 2] = background.blue;
    }
}

Color Canvas::pixel(int x, int y) const
{
    const std::uint8_t *at = &m_pixels[offset(x, y)];
    return {at[0], at[1], at[2], 255};
}

void Canvas::mix(int x, int y, const Color &color, int share)
{
    std::uint8_t *at = &m_pixels[offset(x, y)];
    at[0] = mixed(at[0], color.red, share);
    at[1] = mixed(at[1], color.green, share);
    at[2] = mixed(at[2], color.blue, share);
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
                     static_cast<std::size_t>(wide) * 3);
    }
}

Canvas Canvas::zoomed(int factor) const
{
    Canvas large(width() * factor, height() * factor, Color());
    for (int y = 0; y < large.height(); ++y) {
        const std::uint8_t *from = row(y / factor);
        std::uint8_t *to = large.m_pixels.data() + large.offset(0, y);
        for (int x = 0; x < large.width(); ++x, to += 3) {
            std::copy_n(from + x / factor * 3, 3, to);
        }
    }
    return large;
}

} // namespace host
