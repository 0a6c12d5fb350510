#include "pages.h"

#include <zkbezier.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace demo
{

namespace
{

const host::Color kNight = {18, 22, 34, 255};
const host::Color kCard = {29, 35, 52, 255};
const host::Color kWay = {255, 255, 255, 255};
const host::Color kName = {232, 236, 244, 255};
const host::Color kFigures = {148, 160, 186, 255};

/// Near the curve and far from it, on either side.
const host::Color kLeft[] = {{255, 214, 102, 255}, {226, 62, 87, 255}};
const host::Color kRight[] = {{92, 225, 230, 255}, {86, 84, 220, 255}};

constexpr int kDistances = 6; ///< on each side
constexpr float kStep = 6.5F; ///< between them, pixels
constexpr float kThreshold = 0.1F;

/// Curves in the middle of a card, x to the right and y downward.
const struct {
    const char *name;
    ZkBezier curve;
} kCurves[] = {
    {"S bend", {-84, 30, 20, 62, -20, -62, 84, -30}},
    {"Loop", {-72, 54, 150, -84, -150, -84, 72, 54}},
    {"Cusp", {-78, 54, 78, -76, -78, -76, 78, 54}},
    {"Straight line", {-84, 32, -28, 10.7F, 28, -10.7F, 84, -32}},
    {"Tight bend", {-72, 36, 50, 36, 66, -30, -72, -36}},
    {"Quarter circle", {-50, 56, -50, 4.1F, -7.9F, -38, 44, -38}},
};

host::Color between(const host::Color (&ends)[2], float share)
{
    const auto mean = [share](std::uint8_t a, std::uint8_t b) {
        return static_cast<std::uint8_t>(std::lround(a + share * static_cast<float>(b - a)));
    };
    return {mean(ends[0].red, ends[1].red), mean(ends[0].green, ends[1].green),
            mean(ends[0].blue, ends[1].blue), 255};
}

ZkBezier moved(const ZkBezier &c, float dx, float dy)
{
    return {c.x1 + dx, c.y1 + dy, c.x2 + dx, c.y2 + dy, c.x3 + dx, c.y3 + dy, c.x4 + dx, c.y4 + dy};
}

/// Lines of one width and colour with smooth edges. Where they cross, the colour is
/// no denser: coverage is gathered first and painted once.
class Stroke
{
public:
    Stroke(const ZkRect &area, float width)
        : m_area(area),
          m_radius(width / 2),
          m_coverage(static_cast<std::size_t>(area.width() * area.height()))
    {
    }

    void add(const ZkBezier &curve)
    {
        const ZkRectF box = curve.bounds();
        if (box.width() + box.height() <= 2) {
            addLine(curve.x1, curve.y1, curve.x4, curve.y4);
            return;
        }
        ZkBezier first, second;
        curve.split(&first, &second);
        add(first);
        add(second);
    }

    void paint(host::Canvas &canvas, const host::Color &color) const
    {
        for (int y = m_area.top(); y <= m_area.bottom(); ++y) {
            for (int x = m_area.left(); x <= m_area.right(); ++x) {
                canvas.blend(x, y, color, m_coverage[indexOf(x, y)]);
            }
        }
    }

private:
    std::size_t indexOf(int x, int y) const
    {
        return static_cast<std::size_t>((y - m_area.top()) * m_area.width() + x - m_area.left());
    }

    void addLine(float x1, float y1, float x2, float y2)
    {
        const float reach = m_radius + 1;
        const float left = std::min(x1, x2) - reach, top = std::min(y1, y2) - reach;
        const ZkRectF box(left, top, std::max(x1, x2) + reach - left,
                          std::max(y1, y2) + reach - top);
        const ZkRect pixels = box.toAlignedRect() & m_area;
        const float dx = x2 - x1, dy = y2 - y1;
        const float square = std::max(dx * dx + dy * dy, 1e-12F);
        for (int y = pixels.top(); y <= pixels.bottom(); ++y) {
            for (int x = pixels.left(); x <= pixels.right(); ++x) {
                const float px = static_cast<float>(x) + 0.5F - x1,
                            py = static_cast<float>(y) + 0.5F - y1;
                const float share = std::clamp((px * dx + py * dy) / square, 0.0F, 1.0F);
                const float away = std::hypot(px - share * dx, py - share * dy);
                const float inside = std::clamp(m_radius + 0.5F - away, 0.0F, 1.0F);
                std::uint8_t &coverage = m_coverage[indexOf(x, y)];
                coverage = std::max(coverage, static_cast<std::uint8_t>(inside * 255));
            }
        }
    }

    ZkRect m_area;
    float m_radius;
    std::vector<std::uint8_t> m_coverage;
};

/// Draws the curve beside `curve` at `offset`. Returns the number of its segments.
int drawOffset(host::Canvas &canvas, const ZkRect &card, const ZkBezier &curve, float offset,
               const host::Color &color)
{
    ZkBezier segments[64];
    const int count = curve.shifted(segments, 64, offset, kThreshold);
    Stroke stroke(card, 1.3F);
    std::for_each(segments, segments + count, [&](const ZkBezier &s) { stroke.add(s); });
    stroke.paint(canvas, color);
    return count;
}

/// The curve of a card with everything beside it. Returns the number of segments.
int drawCurve(host::Canvas &canvas, const ZkRect &card, const ZkBezier &curve)
{
    int segments = 0;
    for (int i = kDistances; i > 0; --i) {
        const float share = static_cast<float>(i - 1) / (kDistances - 1);
        segments +=
            drawOffset(canvas, card, curve, static_cast<float>(i) * kStep, between(kLeft, share));
        segments +=
            drawOffset(canvas, card, curve, static_cast<float>(-i) * kStep, between(kRight, share));
    }
    Stroke way(card, 2.6F);
    way.add(curve);
    way.paint(canvas, kWay);
    Stroke ends(card, 8);
    ends.add({curve.x1, curve.y1, curve.x1, curve.y1, curve.x1, curve.y1, curve.x1, curve.y1});
    ends.add({curve.x4, curve.y4, curve.x4, curve.y4, curve.x4, curve.y4, curve.x4, curve.y4});
    ends.paint(canvas, kWay);
    return segments;
}

Style styled(const Fonts &fonts, int size, const host::Color &color, int alignment,
             unsigned flags = 0)
{
    Style style;
    style.fontFile = fonts.dejavu;
    style.size = size;
    style.color = color;
    style.alignment = alignment | host::AlignVCenter;
    style.flags = flags;
    return style;
}

/// A swatch of the side's colours, and its name to the right.
void drawKey(Page &page, int x, const char *name, const host::Color (&side)[2], const Fonts &fonts)
{
    for (int i = 0; i < kDistances; ++i) {
        page.round(area(x + i * 8, 30, 8, 12), 0,
                   between(side, static_cast<float>(i) / (kDistances - 1)));
    }
    page.label(area(x + 58, 16, 60, 40), 42, name, styled(fonts, 17, kFigures, host::AlignLeft));
}

} // namespace

Page curvePage(const Fonts &fonts)
{
    Page page(kPageWidth, kPageHeight, kNight);
    page.label(area(24, 12, 420, 48), 45, "Curves and their offsets",
               styled(fonts, 28, kName, host::AlignLeft, ZkFontAttr::Embolden));
    drawKey(page, 560, "left", kLeft, fonts);
    drawKey(page, 676, "right", kRight, fonts);
    for (int i = 0; i < 6; ++i) {
        const ZkRect card = area(24 + i % 3 * 256, 72 + i / 3 * 240, 240, 228);
        page.round(card, 12, kCard);
        const ZkBezier curve = moved(kCurves[i].curve, static_cast<float>(card.left()) + 120,
                                     static_cast<float>(card.top()) + 90);
        const int segments = drawCurve(page.canvas(), card, curve);
        const std::string figures = std::to_string(std::lround(curve.length(0.01F))) +
                                    " px, offsets of " + std::to_string(segments) + " segments";
        const ZkRect text = area(card.left() + 14, card.top() + 172, 220, 50);
        page.label(text, card.top() + 196, kCurves[i].name,
                   styled(fonts, 17, kName, host::AlignLeft));
        page.label(text, card.top() + 215, figures, styled(fonts, 12, kFigures, host::AlignLeft));
    }
    return page;
}

} // namespace demo
