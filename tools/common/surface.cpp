#include "surface.h"

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

constexpr int kSamples = 4; // per pixel, in each direction, at a round corner

/// How much of pixel (x, y) a rounded rectangle covers, 0 to 255.
int roundCoverage(const ZkRect &rect, int radius, int x, int y)
{
    const int left = rect.left() + radius, right = rect.right() + 1 - radius;
    const int top = rect.top() + radius, bottom = rect.bottom() + 1 - radius;
    int inside = 0;
    for (int i = 0; i < kSamples * kSamples; ++i) {
        // Positions in units of a pixel's (2 * kSamples)th part, at sample centres.
        const int unit = 2 * kSamples;
        const int sampleX = x * unit + i % kSamples * 2 + 1;
        const int sampleY = y * unit + i / kSamples * 2 + 1;
        const int dx = std::max({left * unit - sampleX, 0, sampleX - right * unit});
        const int dy = std::max({top * unit - sampleY, 0, sampleY - bottom * unit});
        inside += dx * dx + dy * dy <= radius * unit * radius * unit;
    }
    return inside * 255 / (kSamples * kSamples);
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

Surface::Surface(int width, int height)
    : m_width(std::max(width, 0)),
      m_height(std::max(height, 0)),
      m_clip(0, 0, m_width - 1, m_height - 1)
{
}

void Surface::blend(int x, int y, const Color &color, int coverage)
{
    ZkTextPainter painter(pixels());
    painter.setClip(m_clip);
    painter.blend(x, y, color.argb(), coverage);
}

void Surface::fill(const ZkRect &rect, const Color &color)
{
    ZkTextPainter painter(pixels());
    painter.setClip(m_clip);
    painter.fill(rect, color.argb());
}

void Surface::frame(const ZkRect &rect, const Color &color)
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

void Surface::round(const ZkRect &rect, int radius, const Color &color)
{
    const int left = rect.left(), top = rect.top(), right = rect.right(), bottom = rect.bottom();
    const ZkRect inside = overlap(rect, m_clip);
    for (int y = inside.top(); y <= inside.bottom(); ++y) {
        const bool isCornerRow = y < top + radius || y > bottom - radius;
        for (int x = inside.left(); x <= inside.right(); ++x) {
            if (x >= left + radius && x <= right - radius) {
                fill(ZkRect(x, y, right - radius, y), color);
                x = right - radius;
            } else {
                blend(x, y, color, isCornerRow ? roundCoverage(rect, radius, x, y) : 255);
            }
        }
    }
}

} // namespace host
