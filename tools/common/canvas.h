#ifndef HOST_CANVAS_H
#define HOST_CANVAS_H

#include <zkrect.h>

#include <cstdint>
#include <string>
#include <vector>

namespace host
{

/// A colour; `alpha` 255 covers what is below, 0 leaves it as it is.
struct Color {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255;
};

/// Reads "#RRGGBB" or "#RRGGBBAA", the '#' optional. False, with `color` as it
/// was, for any other text.
bool parseColor(const std::string &text, Color *color);

/// What two rectangles share. One whose right is below its left, or bottom above
/// its top, has no pixels, and so has the result.
ZkRect overlap(const ZkRect &a, const ZkRect &b);

/// An opaque picture of 24-bit pixels, and the few ways in which the hosts draw
/// on it. Every call draws inside the clip rectangle only, so no coordinate is
/// out of range; at first the clip rectangle is the whole picture.
class Canvas
{
public:
    /// Width and height below 1 give an empty picture. The alpha of `background`
    /// does not count.
    Canvas(int width, int height, const Color &background);

    int width() const { return m_width; }
    int height() const { return m_height; }

    /// The red, green and blue bytes of row `y`, which must lie inside.
    const std::uint8_t *row(int y) const { return m_pixels.data() + offset(0, y); }

    /// The pixel at (x, y), which must lie inside.
    Color pixel(int x, int y) const;

    /// Restricts drawing to the part of `clip` that lies in the picture.
    void setClip(const ZkRect &clip) { m_clip = overlap(clip, bounds()); }
    const ZkRect &clip() const { return m_clip; }
    ZkRect bounds() const { return ZkRect(0, 0, m_width - 1, m_height - 1); }

    /// Mixes `color` into one pixel: coverage 0 leaves it, 255 gives the colour
    /// itself (as far as its alpha goes).
    void blend(int x, int y, const Color &color, int coverage = 255);

    /// The same for every pixel of `rect`.
    void fill(const ZkRect &rect, const Color &color);

    /// The same for the outermost pixels of `rect`; nothing for an empty one.
    void frame(const ZkRect &rect, const Color &color);

    /// This picture with every pixel as a square of `factor` pixels (1 or more).
    Canvas zoomed(int factor) const;

private:
    std::size_t offset(int x, int y) const
    {
        return (std::size_t(y) * std::size_t(m_width) + std::size_t(x)) * 3;
    }

    int m_width;
    int m_height;
    ZkRect m_clip;
    std::vector<std::uint8_t> m_pixels;
};

} // namespace host

#endif
