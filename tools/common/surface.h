#ifndef HOST_SURFACE_H
#define HOST_SURFACE_H

#include <zktextpainter.h>

#include <cstdint>
#include <string>

namespace host
{

/// A colour; `alpha` 255 covers what is below, 0 leaves it as it is.
struct Color {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255;

    /// The same as one number, as `ZkTextPainter` takes it.
    std::uint32_t argb() const
    {
        return static_cast<std::uint32_t>(alpha) << 24 | static_cast<std::uint32_t>(red) << 16 |
               static_cast<std::uint32_t>(green) << 8 | blue;
    }
};

/// Reads "#RRGGBB" or "#RRGGBBAA", the '#' optional. False, with `color` as it
/// was, for any other text.
bool parseColor(const std::string &text, Color *color);

/// What two rectangles share. One whose right is below its left, or bottom above
/// its top, has no pixels, and so has the result.
ZkRect overlap(const ZkRect &a, const ZkRect &b);

/// Something to draw on: pixels in memory with a clip rectangle, and the few shapes
/// that a screen is made of beside text. A host that has pixels of its own derives
/// from it and says where they are; `Canvas` is such a one. Colours are mixed as
/// `ZkTextPainter` mixes them.
///
/// Every call draws inside the clip rectangle only, so no coordinate is out of
/// range; at first the clip rectangle is the whole surface.
class Surface
{
public:
    virtual ~Surface() = default;

    int width() const { return m_width; }
    int height() const { return m_height; }
    ZkRect bounds() const { return ZkRect(0, 0, m_width - 1, m_height - 1); }

    /// Where the pixels are, for the library's painter.
    virtual ZkTextSurface pixels() = 0;

    /// Restricts drawing to the part of `clip` that lies on the surface.
    void setClip(const ZkRect &clip) { m_clip = overlap(clip, bounds()); }
    const ZkRect &clip() const { return m_clip; }

    /// Mixes `color` into one pixel: coverage 0 leaves it, 255 gives the colour
    /// itself (as far as its alpha goes).
    void blend(int x, int y, const Color &color, int coverage = 255);

    /// The same for every pixel of `rect`.
    void fill(const ZkRect &rect, const Color &color);

    /// The same for a rectangle with smooth round corners.
    void round(const ZkRect &rect, int radius, const Color &color);

    /// The same for the outermost pixels of `rect`; nothing for an empty one.
    void frame(const ZkRect &rect, const Color &color);

protected:
    /// Width and height below 1 give a surface without pixels.
    Surface(int width, int height);
    Surface(const Surface &) = default;
    Surface &operator=(const Surface &) = default;

private:
    int m_width;
    int m_height;
    ZkRect m_clip;
};

} // namespace host

#endif
