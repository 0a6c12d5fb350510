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
    m_canvas.round(rect, radius, color);
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

void Page::paragraph(const ZkRect &box, const std::string &utf8, const Style &style)
{
    ZkParagraph paragraph;
    paragraph.setChain(ZkFontChain(ZkTypeface::fromFile(style.fontFile.c_str())));
    paragraph.setFont(
        ZkFontAttr{static_cast<std::uint8_t>(style.size), static_cast<std::uint8_t>(style.flags)});
#ifdef ZK_WITH_SHAPE
    ZkThaiWords words;
    paragraph.setWordBreaker(&words);
#endif
    paragraph.setUtf8(utf8.data(), static_cast<int>(utf8.size()));
    paragraph.setWidth(box.width());
    paragraph.setLineSpacing(style.lineSpacing);
    if (paragraph.width() > box.width() || paragraph.height() > box.height()) {
        throw std::runtime_error("no room for: " + utf8);
    }
    const bool isCentred = (style.alignment & host::AlignVCenter) != 0;
    const int above = isCentred ? (box.height() - paragraph.height()) / 2 : 0;
    host::paintParagraph(m_canvas, paragraph, box.left(), box.top() + above,
                         {style.color, style.outline});
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
