#include "pages.h"

#include <zkregion.h>

#include <cmath>

namespace demo
{

namespace
{

const host::Color kPaper = {238, 240, 244, 255};
const host::Color kCard = {255, 255, 255, 255};
const host::Color kInk = {30, 36, 48, 255};
const host::Color kSoft = {108, 116, 130, 255};
const host::Color kFirst = {64, 132, 214, 255};
const host::Color kSecond = {240, 158, 64, 255};
const host::Color kBoth = {122, 92, 176, 255};
const host::Color kLine = {255, 255, 255, 255};

constexpr int kUnit = 7; // a region's pixel on the page
constexpr int kCardWidth = 244;
constexpr int kCardHeight = 254;
constexpr int kDrawingTop = 20;
constexpr int kDrawingLeft = 17;

/// The pixels whose centres lie in the circle, a row at a time.
ZkRegion disc(double x, double y, double radius)
{
    ZkRegion region;
    for (int row = static_cast<int>(y - radius); row <= static_cast<int>(y + radius); ++row) {
        const double squared = radius * radius - (row + 0.5 - y) * (row + 0.5 - y);
        if (squared > 0) {
            const double reach = std::sqrt(squared);
            region |= ZkRect(static_cast<int>(std::ceil(x - reach - 0.5)), row,
                             static_cast<int>(std::floor(x + reach - 0.5)), row);
        }
    }
    return region;
}

int bandCount(const ZkRegion &region)
{
    const ZkVector<ZkRect> rects = region.rects();
    int bands = 0;
    for (int i = 0; i < rects.size(); ++i) {
        bands += i == 0 || rects.at(i).top() != rects.at(i - 1).top();
    }
    return bands;
}

/// A card with one region: each rectangle of its list framed, what lies in both
/// shapes, and what in one, in a colour of its own.
class Drawing
{
public:
    Drawing(Page &page, int x, int y) : m_page(page), m_x(x), m_y(y)
    {
        m_page.round(area(x, y, kCardWidth, kCardHeight), 12, kCard);
    }

    void fill(const ZkRegion &region, const host::Color &color)
    {
        for (const ZkRect &r : region.rects()) {
            m_page.round(onPage(r), 0, color);
        }
    }

    /// A line along the upper and the left edge of each rectangle.
    void divide(const ZkRegion &region)
    {
        for (const ZkRect &r : region.rects()) {
            const ZkRect place = onPage(r);
            m_page.round(area(place.left(), place.top(), place.width(), 1), 0, kLine);
            m_page.round(area(place.left(), place.top(), 1, place.height()), 0, kLine);
        }
    }

    void label(const std::string &name, const std::string &formula, const ZkRegion &region,
               const Fonts &fonts)
    {
        Style style;
        style.fontFile = fonts.dejavu;
        style.size = 18;
        style.color = kInk;
        style.alignment = host::AlignLeft | host::AlignVCenter;
        const ZkRect strip = area(m_x + kDrawingLeft, m_y, kCardWidth - 2 * kDrawingLeft, 60);
        m_page.label(strip, m_y + kCardHeight - 32, name, style);
        style.alignment = host::AlignRight | host::AlignVCenter;
        style.color = kSoft;
        m_page.label(strip, m_y + kCardHeight - 32, formula, style);
        style.alignment = host::AlignLeft | host::AlignVCenter;
        style.size = 13;
        m_page.label(strip, m_y + kCardHeight - 12,
                     std::to_string(region.rectCount()) + " rectangles in " +
                         std::to_string(bandCount(region)) + " bands",
                     style);
    }

private:
    ZkRect onPage(const ZkRect &r) const
    {
        return area(m_x + kDrawingLeft + r.x() * kUnit, m_y + kDrawingTop + r.y() * kUnit,
                    r.width() * kUnit, r.height() * kUnit);
    }

    Page &m_page;
    int m_x;
    int m_y;
};

host::Color faint(host::Color color)
{
    color.alpha = 36;
    return color;
}

} // namespace

Page regionPage(const Fonts &fonts)
{
    const ZkRegion first = disc(11, 11, 11);
    const ZkRegion second = ZkRegion(10, 7, 20, 19) - ZkRegion(15, 12, 10, 9);
    const struct {
        const char *name;
        const char *formula;
        ZkRegion region;
    } kDrawings[] = {
        {"a disc", "a", first},
        {"union", "a | b", first | second},
        {"intersection", "a & b", first & second},
        {"a frame", "b", second},
        {"difference", "a - b", first - second},
        {"exclusive or", "a ^ b", first ^ second},
    };
    Page page(kPageWidth, kPageHeight, kPaper);
    int i = 0;
    for (const auto &drawing : kDrawings) {
        const ZkRegion &region = drawing.region;
        Drawing card(page, 17 + i % 3 * (kCardWidth + 17), 17 + i / 3 * (kCardHeight + 18));
        card.fill(first - region, faint(kFirst));
        card.fill(second - region, faint(kSecond));
        card.fill(region - second, kFirst);
        card.fill(region - first, kSecond);
        card.fill(region & first & second, kBoth);
        card.divide(region);
        card.label(drawing.name, drawing.formula, region, fonts);
        ++i;
    }
    return page;
}

} // namespace demo
