// Any text through the script rules and the division into lines, each beside a plain model:
// drawing order of runs that turn round; lines, their glyphs and rectangles, words. The first
// bytes choose font, spacing and box, each of the others a unit.

#include "divisionmodel.h"
#include "runordermodel.h"
#include "tinyfont.h"

#include <zkfontengine.h>
#include <zkfontmetrics.h>
#include <zkscriptrules.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{

using Units = std::u16string;

void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

// Of every class that division and the script rules know, some of them joined by shaping.
const Units kUnits =
    u"aiW -,.1(:\n\t\u4E2D\u6587\u30A2\uAC00\u3042\u0E01\u0E1B\u0E24\u0E38\u0E39\u0E35"
    u"\u0E48\u0E4C\u0E44\u05D0\u05D1\u05BC\u0628\u0627\u0644\u0645\u064B\u0661\u06F2"
    u"\uFEFB\u0750\u200C\u2026\uFFFD\u00E9\U0001F600";
const Units kNeutrals = u"1.@!0";
const Units kHebrew = u"\u05D0\u05E9\u0590\u05FF";
const Units kArabic = u"\u0750\u0600\uFB50\uFEFF"; // none of them has forms

// One glyph a unit, of many widths; every other character is the font's box.
bool openFont()
{
    TinyFont font;
    int advance = 3;
    for (const char16_t c : kUnits) {
        font.addBox(c, 0, 0, 2, 8, advance);
        advance = advance * 7 % 23 + 1;
    }
    const TemporaryFile file(font.bytes());
    return ZkFontMetrics::setFontFile(file.path());
}

class Input
{
public:
    Input(const std::uint8_t *data, std::size_t size) : m_at(data), m_end(data + size) {}
    unsigned next() { return m_at < m_end ? *m_at++ : 0; }
    Units text(const Units &alphabet)
    {
        Units units;
        for (const std::uint8_t *at = m_at; at < m_end; ++at) {
            units += alphabet[*at % alphabet.size()];
        }
        return units;
    }

private:
    const std::uint8_t *m_at, *m_end;
};

void checkOrder(const Units &letters, void (*convert)(ZkUcs2 *, int), Input input)
{
    const Units text = input.text(letters + kNeutrals + u"   xy\n");
    std::vector<ZkUcs2> units(text.begin(), text.end());
    convert(units.data(), static_cast<int>(units.size()));
    require(Units(units.begin(), units.end()) == runOrderModel(text, letters, kNeutrals),
            "the order of runs differs");
}

DivisionModel::Glyphs glyphsOf(const ZkVector<const GlyphBitmap *> &glyphs)
{
    return DivisionModel::Glyphs(glyphs.begin(), glyphs.end());
}

void checkLines(ZkFontMetrics &layout, const DivisionModel &model, int lineSpacing)
{
    const ZkList<ZkString> texts = layout.subText();
    const ZkList<ZkRect> rects = layout.lineRects();
    const ZkVector<ZkVector<const GlyphBitmap *>> glyphs = layout.subGlyphBitmap();
    const int count = static_cast<int>(model.lines.size());
    require(texts.size() == count && rects.size() == count && glyphs.size() == count,
            "the number of lines differs");
    const int height = layout.textPixelSize() + lineSpacing / 2;
    int widest = count == 0 ? 0 : INT_MIN; // negative spacing makes negative widths
    for (int i = 0; i < count; ++i) {
        const DivisionModel::Line &line = model.lines[static_cast<std::size_t>(i)];
        require(texts.at(i).toStdU16String() == line.text, "the text of a line differs");
        require(glyphsOf(glyphs[i]) == line.glyphs, "the glyphs of a line differ");
        require(rects.at(i) == ZkRect(0, i * height, line.width - 1, (i + 1) * height - 1),
                "the rectangle of a line differs");
        widest = std::max(widest, line.width);
    }
    const ZkSize hint = layout.sizeHint();
    require(hint.width() == widest, "the hint is not the widest line");
}

void checkWords(ZkFontMetrics &layout, const DivisionModel &model)
{
    const ZkVector<const GlyphBitmap *> glyphs = layout.glyphBitmap();
    const int count = static_cast<int>(model.text.size());
    const std::vector<ZkUcs2> units(model.text.begin(), model.text.end());
    for (int i = 0; i < count && i < 200; ++i) {
        require(layout.nextWordSize(units.data() + i, count - i, glyphs.constData() + i, false) ==
                    model.word(static_cast<std::size_t>(i)),
                "the width of a word differs");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const bool isOpen = openFont();
    require(isOpen, "the font does not open");
    Input input(data, size);
    const unsigned style = input.next();
    const ZkFont font(static_cast<unsigned char>(8 + style % 24), (style & 32) != 0,
                      (style & 64) != 0, (style & 128) != 0, false);
    const int charSpacing = static_cast<int>(input.next() % 12) - 4;
    const int lineSpacing = static_cast<int>(input.next() % 12) - 4;
    const unsigned width = input.next() | (input.next() & 1) << 8;
    checkOrder(kHebrew, reversalHebrew, input);
    checkOrder(kArabic, arabicRulesConvert, input);

    const Units text = input.text(kUnits);
    ZkFontMetrics layout(ZkString(std::u16string_view(text)), font, lineSpacing, charSpacing);
    layout.setWorpWrap(width != 0);
    layout.setTextMinRect(0, 0, static_cast<int>(width), 50);

    ZkFontEngine engine;
    engine.resloveText(ZkString(std::u16string_view(text)), font);
    DivisionModel model;
    model.text = engine.text().toStdU16String();
    model.glyphs = glyphsOf(engine.glyphs());
    model.spacing = charSpacing;
    model.wordWrap = width != 0;
    model.slanted = font.isBoldFace();
    model.wrapWidth = static_cast<int>(width);
    model.divide();
    checkLines(layout, model, lineSpacing);
    checkWords(layout, model);
    return 0;
}
