#include "page.h"

#include "painter.h"
#include "paragraph.h"

#ifdef ZK_WITH_SHAPE
#    include <zkthaiwords.h>
#endif

#include <algorithm>
#include <stdexcept>

namespace demo
{

namespace
{

void layOut(const ZkRect &box, const std::string &utf8, const Style &style, ZkParagraph *paragraph)
{
    paragraph->setChain(ZkFontChain(ZkTypeface::fromFile(style.fontFile.c_str())));
    paragraph->setFont(
        ZkFontAttr{static_cast<std::uint8_t>(style.size), static_cast<std::uint8_t>(style.flags)});
    paragraph->setUtf8(utf8.data(), static_cast<int>(utf8.size()));
    paragraph->setWidth(box.width());
    paragraph->setLineSpacing(style.lineSpacing);
    paragraph->setDirection(style.direction);
    paragraph->setAlignment(style.isJustified ? ZkParagraph::AlignJustify
                            : (style.alignment & host::AlignHCenter) != 0 ? ZkParagraph::AlignCenter
                            : (style.alignment & host::AlignRight) != 0   ? ZkParagraph::AlignEnd
                                                                        : ZkParagraph::AlignStart);
    if (paragraph->width() > box.width() || paragraph->height() > box.height()) {
        throw std::runtime_error("no room for: " + utf8);
    }
}

} // namespace

Page::Page(int width, int height, const host::Color &background)
    : m_canvas(width, height, background)
{
}

void Page::round(const ZkRect &rect, int radius, const host::Color &color)
{
    m_canvas.round(rect, radius, color);
}

void Page::paragraph(const ZkRect &box, const std::string &utf8, const Style &style)
{
    ZkParagraph paragraph;
#ifdef ZK_WITH_SHAPE
    ZkThaiWords words;
    paragraph.setWordBreaker(&words);
#endif
    layOut(box, utf8, style, &paragraph);
    const int room = box.height() - paragraph.height();
    const int above = (style.alignment & host::AlignVCenter) != 0  ? room / 2
                      : (style.alignment & host::AlignBottom) != 0 ? room
                                                                   : 0;
    host::paintParagraph(m_canvas, paragraph, box.left(), box.top() + above,
                         {style.color, style.outline});
}

void Page::label(const ZkRect &box, int baseline, const std::string &utf8, const Style &style)
{
    ZkParagraph paragraph;
    layOut(box, utf8, style, &paragraph);
    host::paintParagraph(m_canvas, paragraph, box.left(), baseline - paragraph.line(0).baseline,
                         {style.color, style.outline});
}

void Page::halved(int x, int y, const host::Canvas &page)
{
    for (int row = 0; row < page.height() / 2; ++row) {
        const std::uint32_t *above = page.row(2 * row);
        const std::uint32_t *below = page.row(2 * row + 1);
        for (int column = 0; column < page.width() / 2; ++column) {
            const int at = 2 * column;
            const auto mean = [&](int shift) {
                const auto part = [&](std::uint32_t pixel) { return pixel >> shift & 255; };
                return static_cast<std::uint8_t>((part(above[at]) + part(above[at + 1]) +
                                                  part(below[at]) + part(below[at + 1]) + 2) /
                                                 4);
            };
            m_canvas.blend(x + column, y + row, {mean(16), mean(8), mean(0), 255});
        }
    }
}

} // namespace demo
