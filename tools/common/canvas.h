#ifndef HOST_CANVAS_H
#define HOST_CANVAS_H

#include "surface.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace host
{

/// An opaque picture in memory, a word 0x00RRGGBB for each pixel. A copy has pixels
/// of its own.
class Canvas : public Surface
{
public:
    /// Width and height below 1 give an empty picture. The alpha of `background`
    /// does not count.
    Canvas(int width, int height, const Color &background);

    ZkTextSurface pixels() override
    {
        return {m_pixels.data(), width(), height(), width() * 4, ZkTextSurface::Xrgb8888};
    }

    /// The pixels of row `y`, which must lie inside.
    const std::uint32_t *row(int y) const { return m_pixels.data() + offset(0, y); }

    /// The red, green and blue byte of every pixel, row by row.
    std::string rgb() const;

    /// The pixel at (x, y), which must lie inside.
    Color pixel(int x, int y) const;

    /// Moves what is inside the clip rectangle down by `rows`, up when negative.
    /// What leaves it is lost; the rows that nothing moved to stay as they were.
    void scroll(int rows);

    /// This picture with every pixel as a square of `factor` pixels (1 or more).
    Canvas zoomed(int factor) const;

private:
    std::size_t offset(int x, int y) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width()) +
               static_cast<std::size_t>(x);
    }

    std::vector<std::uint32_t> m_pixels;
};

} // namespace host

#endif
