#ifndef DEMO_PAGE_H
#define DEMO_PAGE_H

#include "canvas.h"
#include "textblock.h"

#include <zkparagraph.h>

#include <string>
#include <vector>

namespace demo
{

/// The font files of the pictures.
struct Fonts {
    std::string dejavu;    ///< Latin, Hebrew, Arabic and Persian
    std::string freeSerif; ///< Thai
    std::string microHei;  ///< Chinese, Japanese, Korean
    std::string unifont;   ///< nearly everything, in 16 by 16 dots
};

/// How a text is drawn.
struct Style {
    std::string fontFile;
    int size = 24;
    host::Color color = {32, 36, 44, 255};
    int alignment = host::AlignLeft | host::AlignTop; ///< left is where reading begins
    bool isJustified = false;
    ZkParagraph::Direction direction = ZkParagraph::DirectionAuto;
    unsigned flags = 0; ///< of `ZkFontAttr::Flag`
    int lineSpacing = 0;
    host::Color outline = {255, 176, 0, 255};
};

/// A picture with the few shapes and the text that a screen is made of.
class Page
{
public:
    Page(int width, int height, const host::Color &background);

    const host::Canvas &canvas() const { return m_canvas; }
    host::Canvas &canvas() { return m_canvas; }

    /// A rectangle with smooth round corners.
    void round(const ZkRect &rect, int radius, const host::Color &color);

    /// The text wrapped and aligned in `box`; throws std::runtime_error when it
    /// does not fit, for a page is not to be cut off unseen.
    void paragraph(const ZkRect &box, const std::string &utf8, const Style &style);

    /// One line of text, aligned between the sides of `box`, its baseline at row
    /// `baseline`: the height of a line depends on its letters, so labels that are
    /// centred one by one would not stand level.
    void label(const ZkRect &box, int baseline, const std::string &utf8, const Style &style);

    /// `page` reduced to half its width and height, its upper left corner at (x, y).
    void halved(int x, int y, const host::Canvas &page);

private:
    host::Canvas m_canvas;
};

/// The rectangle of `width` by `height` pixels at (x, y).
inline ZkRect area(int x, int y, int width, int height)
{
    return ZkRect(x, y, x + width - 1, y + height - 1);
}

} // namespace demo

#endif
