#include "page.h"

#include "paragraph.h"

#include <algorithm>
#include <stdexcept>

namespace demo
{

namespace
{

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

/// Opens a font unless it is the one in use: opening drops every glyph.
void useFont(const std::string &file)
{
    static std::string current;
    if (file != current) {
        ZkFontMetrics::setFontFile(ZkString(std::string_view(file)), -1);
        current = file;
    }
}

} // namespace

Page::Page(int width, int height, const host::Color &background)
    : m_canvas(width, height, background)
{
}

void Page::round(const ZkRect &rect, int radius, const host::Color &color)
{
    for (int y = rect.top(); y <= rect.bottom(); ++y) {
        for (int x = rect.left(); x <= rect.right(); ++x) {
            m_canvas.blend(x, y, color, roundCoverage(rect, radius, x, y));
        }
    }
}

host::TextBlock Page::layOut(const ZkRect &box, const std::string &utf8, const Style &style) const
{
    host::TextRequest request;
    int leftOut = 0;
    std::string problem;
    if (!host::textFromUtf8(utf8, &request.text, &leftOut, &problem)) {
        throw std::runtime_error(problem);
    }
    request.font =
        ZkFontAttr{static_cast<std::uint8_t>(style.size), static_cast<std::uint8_t>(style.flags)};
    request.alignment = style.alignment;
    request.lineSpacing = style.lineSpacing;
    request.width = box.width();
    useFont(style.fontFile);
    host::TextBlock block(request);
    if (block.size().width() > box.width() || block.size().height() > box.height()) {
        throw std::runtime_error("no room for: " + utf8);
    }
    return block;
}

void Page::text(const ZkRect &box, const std::string &utf8, const Style &style)
{
    host::TextBlock block = layOut(box, utf8, style);
    block.place(box.left(), box.top(), box.height());
    block.paint(m_canvas, {style.color, style.outline});
}

void Page::label(const ZkRect &box, int baseline, const std::string &utf8, const Style &style)
{
    host::TextBlock block = layOut(box, utf8, style);
    block.place(box.left(), box.top(), 0);
    block.place(box.left(), box.top() + baseline - block.lines().at(0).baseline, 0);
    block.paint(m_canvas, {style.color, style.outline});
}

void Page::halved(int x, int y, const host::Canvas &page)
{
    for (int row = 0; row < page.height() / 2; ++row) {
        const std::uint8_t *above = page.row(2 * row);
        const std::uint8_t *below = page.row(2 * row + 1);
        for (int column = 0; column < page.width() / 2; ++column) {
            std::uint8_t mean[3];
            for (int part = 0; part < 3; ++part) {
                const int at = 6 * column + part;
                mean[part] = static_cast<std::uint8_t>(
                    (above[at] + above[at + 3] + below[at] + below[at + 3] + 2) / 4);
            }
            m_canvas.blend(x + column, y + row, {mean[0], mean[1], mean[2], 255});
        }
    }
}

} // namespace demo
