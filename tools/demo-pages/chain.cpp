#include "pages.h"

#include <zkglyphcache.h>
#include <zkscriptrules.h>

#include <stdexcept>

namespace demo
{

namespace
{

// Of the typefaces of the chain, in their order.
constexpr host::Color kColors[] = {
    {32, 36, 44, 255}, {160, 72, 40, 255}, {22, 110, 84, 255}, {90, 70, 170, 255}};

/// A line of one script. Joined letters come as the forms that the classic engine chooses,
/// already in the order in which they are seen.
ZkString shownOrder(const char *utf8, bool isArabic)
{
    ZkString text(utf8);
    if (isArabic) {
        arabicRulesConvert(text.data(), text.size());
    }
    return text;
}

ZkFontChain openChain(const Fonts &fonts)
{
    ZkFontChain chain;
    for (const std::string &file : {fonts.dejavu, fonts.freeSerif, fonts.microHei, fonts.unifont}) {
        const ZkTypeface face = ZkTypeface::fromFile(file.c_str());
        if (!face.isValid()) {
            throw std::runtime_error(face.errorText());
        }
        chain.append(face);
    }
    return chain;
}

/// Draws the characters one behind the other, each in the colour of its typeface.
void drawLine(host::Canvas *canvas, const ZkFontList &faces, const ZkString &text, int x,
              int baseline, int size)
{
    ZkGlyphHolder holder;
    const ZkFont font(static_cast<unsigned char>(size), false, false, false, false);
    int which = -1;
    for (int i = 0; i < text.size(); ++i) {
        const char32_t c = text.at(i);
        which = faces.findCluster(&c, 1, which);
        const ZkTypeface &face = faces.at(which);
        const GlyphBitmap &glyph = holder.glyph(face, face.glyphIndex(c), font)->bitmap;
        for (int row = 0; row < glyph.height; ++row) {
            for (int column = 0; column < glyph.width; ++column) {
                canvas->blend(x + glyph.left + column, baseline - glyph.top + row, kColors[which],
                              glyph.pixels[row * glyph.pitch + column]);
            }
        }
        x += glyph.advance;
    }
}

} // namespace

Page chainPage(const Fonts &fonts)
{
    const struct {
        const char *script, *text;
        bool isArabic;
    } kLines[] = {
        {"Latin", "Four typefaces in one chain, 24 °C", false},
        {"Arabic", "أربعة خطوط في سلسلة واحدة", true},
        {"Thai", "ภาษาไทย อยู่ในแบบอักษรที่สอง", false},
        {"Chinese", "中文, 第三个字体", false},
        {"Symbols", "♞ ⚙ → ∞ ✓ \u2B60 \u2BD1 \u3020 \u23F0 \uA66E", false},
    };
    Page page(kPageWidth, kPageHeight, {250, 250, 247, 255});
    const ZkFontList faces = openChain(fonts).faces();
    Style heading;
    heading.fontFile = fonts.dejavu;
    heading.size = 17;
    heading.color = {120, 126, 138, 255};
    int y = 70;
    for (const auto &line : kLines) {
        page.label(area(48, y - 20, 120, 30), y, line.script, heading);
        drawLine(&page.canvas(), faces, shownOrder(line.text, line.isArabic), 168, y, 33);
        y += 78;
    }
    heading.size = 14;
    for (int i = 0; i < faces.size(); ++i) {
        heading.color = kColors[i];
        const int x = 48 + i * 178;
        page.canvas().fill(ZkRect(x, y - 10, x + 13, y + 3), kColors[i]);
        page.label(area(x + 22, y - 12, 156, 30), y + 2, faces.at(i).familyName(), heading);
    }
    return page;
}

} // namespace demo
