#include "canvas.h"

#include <algorithm>

namespace host
{

namespace
{

/// The value of one hexadecimal digit, -1 for another character.
int hexDigit(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

/// `below` and `above` in the ratio (255 - share) : share, rounded to the nearest.
std::uint8_t mixed(int below, int above, int share)
{
    return static_cast<std::uint8_t>((below * (255 - share) + above * share + 127) / 255);
}

} // namespace

bool parseColor(const std::string &text, Color *color)
{
    const std::string digits = text.compare(0, 1, "#") == 0 ? text.substr(1) : text;
    if (digits.size() != 6 && digits.size() != 8) {
        return false;
    }
    std::uint8_t parts[4] = {0, 0, 0, 255};
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const int high = hexDigit(digits[i]);
        const int low = hexDigit(digits[i + 1]);
        if (high < 0 || low < 0) {
            return false;
        }
        parts[i / 2] = static_cast<std::uint8_t>(high * 16 + low);
    }
    *color = {parts[0], parts[1], parts[2], parts[3]};
    return true;
}

ZkRect overlap(const ZkRect &a, const ZkRect &b)
{
    return ZkRect(std::max(a.left(), b.left()), std::max(a.top(), b.top()),
                  std::min(a.right(), b.right()), std::min(a.bottom(), b.bottom()));
}

Canvas::Canvas(int width, int height, const Color &background)
    : m_width(std::max(width, 0)),
      m_height(std::max(height, 0)),
      m_clip(bounds()),
      m_pixels(offset(0, m_height))
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

void Canvas::blend(int x, int y, const Color &color, int coverage)
{
    if (x < m_clip.left() || x > m_clip.right() || y < m_clip.top() || y > m_clip.bottom()) {
        return;
    }
    const int share = (coverage * color.alpha + 127) / 255;
    std::uint8_t *at = &m_pixels[offset(x, y)];
    at[0] = mixed(at[0], color.red, share);
    at[1] = mixed(at[1], color.green, share);
    at[2] = mixed(at[2], color.blue, share);
}

void Canvas::fill(const ZkRect &rect, const Color &color)
{
    const ZkRect inside = overlap(rect, m_clip);
    for (int y = inside.top(); y <= inside.bottom(); ++y) {
        for (int x = inside.left(); x <= inside.right(); ++x) {
            blend(x, y, color);
        }
    }
}

void Canvas::frame(const ZkRect &rect, const Color &color)
{
    const int left = rect.left(), top = rect.top(), right = rect.right(), bottom = rect.bottom();
    if (right < left || bottom < top) {
        return;
    }
    fill(ZkRect(left, top, right, top), color);
    if (bottom > top) {
        fill(ZkRect(left, bottom, right, bottom), color);
    }
    fill(ZkRect(left, top + 1, left, bottom - 1), color);
    if (right > left) {
        fill(ZkRect(right, top + 1, right, bottom - 1), color);
    }
}

Canvas Canvas::zoomed(int factor) const
{
    Canvas large(m_width * factor, m_height * factor, Color());
    for (int y = 0; y < large.m_height; ++y) {
        const std::uint8_t *from = row(y / factor);
        std::uint8_t *to = large.m_pixels.data() + large.offset(0, y);
        for (int x = 0; x < large.m_width; ++x, to += 3) {
            std::copy_n(from + x / factor * 3, 3, to);
        }
    }
    return large;
}

} // namespace host
