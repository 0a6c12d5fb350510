#include "flow.h"

#include "json.h"
#include "painter.h"
#include "textfield.h"

#include <algorithm>
#include <cstdio>

namespace zktext
{

namespace
{

ZkParagraph::Direction directionNamed(const std::string &name)
{
    return name == "ltr"   ? ZkParagraph::LeftToRight
           : name == "rtl" ? ZkParagraph::RightToLeft
                           : ZkParagraph::DirectionAuto;
}

ZkParagraph::Alignment alignmentNamed(const std::string &name)
{
    static const struct {
        const char *name;
        ZkParagraph::Alignment alignment;
    } kNames[] = {
        {"end", ZkParagraph::AlignEnd},         {"left", ZkParagraph::AlignLeft},
        {"center", ZkParagraph::AlignCenter},   {"right", ZkParagraph::AlignRight},
        {"justify", ZkParagraph::AlignJustify},
    };
    for (const auto &row : kNames) {
        if (name == row.name) {
            return row.alignment;
        }
    }
    return ZkParagraph::AlignStart;
}

ZkParagraph::Ellipsis ellipsisNamed(const std::string &name)
{
    return name == "end"      ? ZkParagraph::EllipsisEnd
           : name == "middle" ? ZkParagraph::EllipsisMiddle
           : name == "start"  ? ZkParagraph::EllipsisStart
                              : ZkParagraph::EllipsisNone;
}

ZkFontChain chainOf(const FontOptions &fonts)
{
    ZkFontChain chain;
    for (const std::string &path : fonts.paths()) {
        const ZkTypeface face = ZkTypeface::fromFile(path.c_str());
        if (!face.isValid()) {
            throw Failure(std::string("cannot read font: ") + face.errorText());
        }
        chain.append(face);
    }
    return chain;
}

/// "FIRST,LAST,#COLOR" or "FIRST,LAST,#COLOR,SIZE"; throws for anything else.
void addSpan(Flow &flow, const std::string &text, const ZkFont &font)
{
    int first = 0, last = 0, size = font.fontSize(), end = 0;
    char digits[10] = {};
    const bool read =
        (std::sscanf(text.c_str(), "%7d,%7d,#%9[0-9A-Fa-f],%3d%n", &first, &last, digits, &size,
                     &end) == 4 ||
         std::sscanf(text.c_str(), "%7d,%7d,#%9[0-9A-Fa-f]%n", &first, &last, digits, &end) == 3) &&
        static_cast<std::size_t>(end) == text.size();
    host::Color color;
    if (!read || !host::parseColor(digits, &color) || first < 0 || last < first || size < 1 ||
        size > 255) {
        throw CLI::ValidationError(
            "--span", "wants FIRST,LAST,#RRGGBB[,SIZE] in units of the text, not '" + text + "'");
    }
    ZkFont own = font;
    own.setFontSize(static_cast<unsigned char>(size));
    flow.colors.push_back(color);
    flow.paragraph.setSpan(first, last, own, static_cast<int>(flow.colors.size()));
}

int topOf(const std::string &valign, const ZkRect &box, int height)
{
    const int room = box.height() - height;
    return box.top() + (valign == "top" ? 0 : valign == "bottom" ? room : room / 2);
}

std::string part(const ZkParagraph &paragraph, int first, int last)
{
    const std::u16string units = paragraph.text().toStdU16String();
    return host::utf8Of(
        units.substr(static_cast<std::size_t>(first), static_cast<std::size_t>(last - first)));
}

const char *directionOf(bool rightToLeft)
{
    return rightToLeft ? "right-to-left" : "left-to-right";
}

/// The clusters of a line in the order of the text, each with where its caret stands.
void addClusters(Json &json, const Flow &flow, const ZkTextLine &line)
{
    json.open('[');
    for (int at = line.first; at < line.last;) {
        const int next = std::min(flow.paragraph.nextCluster(at), line.last);
        const ZkCaret caret = flow.paragraph.caret(at);
        json.open('{', true).key("index").number(at);
        json.key("text").string(part(flow.paragraph, at, next));
        json.key("caret").number(flow.box.left() + caret.x);
        json.key("direction").string(directionOf(caret.isRightToLeft)).close();
        at = next;
    }
    json.close();
}

/// The glyphs of a line from left to right; (x, y) is the first pixel.
void addGlyphs(Json &json, const Flow &flow, int line)
{
    const ZkPlacedGlyph *glyphs = nullptr;
    const int count = flow.paragraph.glyphs(line, &glyphs);
    json.open('[');
    for (const ZkPlacedGlyph *at = glyphs; at != glyphs + count; ++at) {
        // Every record of a paragraph is one of the glyph cache.
        const auto &glyph = *reinterpret_cast<const ZkGlyph *>(at->glyph);
        json.open('{', true).key("cluster").number(at->cluster);
        json.key("glyph").number(static_cast<long>(glyph.index()));
        json.key("x").number(flow.box.left() + at->x).key("y").number(flow.top + at->y);
        json.key("width").number(glyph.bitmap.width).key("height").number(glyph.bitmap.height);
        json.key("tag").number(at->tag).close();
    }
    json.close();
}

template <typename... Values>
void addRow(std::string &out, const char *format, Values... values)
{
    char row[160];
    std::snprintf(row, sizeof row, format, values...);
    out += row;
}

} // namespace

Flow::Flow(const LayoutOptions &options)
    : text(options.readText()), shaping(options.shaping), box(options.textBox())
{
    const ZkFont font = options.font.font();
    paragraph.setShaper(shaping.shaper.get());
    paragraph.setWordBreaker(shaping.words.get());
    paragraph.setChain(chainOf(options.font));
    paragraph.setFont(font);
    paragraph.setUtf8(text.data(), static_cast<int>(text.size()));
    for (const std::string &span : options.spans) {
        addSpan(*this, span, font);
    }
    paragraph.setDirection(directionNamed(options.direction));
    paragraph.setAlignment(alignmentNamed(options.align));
    paragraph.setLineSpacing(options.lineSpacing);
    paragraph.setLetterSpacing(options.charSpacing);
    paragraph.setTabWidth(options.tabWidth);
    paragraph.setKerning(!options.noKerning);
    paragraph.setWordCutting(!options.noCutting);
    paragraph.setMaximumLines(options.maximumLines);
    paragraph.setEllipsis(ellipsisNamed(options.ellipsis));
    const bool wraps = !options.noWrap || options.maximumLines > 0;
    paragraph.setWidth(wraps ? box.width() : 0);
    const int width = box.width() > 0 ? box.width() : paragraph.width();
    const int height = box.height() > 0 ? box.height() : paragraph.height();
    box = ZkRect(box.left(), box.top(), box.left() + width - 1, box.top() + height - 1);
    top = topOf(options.valign, box, paragraph.height());
}

void Flow::paint(host::Surface &surface, const host::TextColors &textColors) const
{
    ZkTextPainter painter(surface.pixels());
    painter.setClip(surface.clip());
    painter.setColors(textColors.text.argb(), textColors.outline.argb());
    for (std::size_t i = 0; i < colors.size(); ++i) {
        painter.setStyle(static_cast<int>(i) + 1,
                         {colors[i].argb(), textColors.outline.argb(), ZkTextPainter::NoLine});
    }
    painter.paint(paragraph, box.left(), top);
}

void Flow::paintGuides(host::Surface &surface) const
{
    surface.frame(box, {120, 120, 120, 160});
    host::paintGuides(surface, paragraph, box.left(), top);
}

std::string Flow::toJson() const
{
    Json json;
    json.open('{').key("width").number(paragraph.width());
    json.key("height").number(paragraph.height());
    json.key("minWidth").number(paragraph.minWidth());
    json.key("maxWidth").number(paragraph.maxWidth());
    json.key("box").open('{', true).key("left").number(box.left()).key("top").number(box.top());
    json.key("right").number(box.right()).key("bottom").number(box.bottom()).close();
    json.key("lines").open('[');
    for (int i = 0; i < paragraph.lineCount(); ++i) {
        const ZkTextLine line = paragraph.line(i);
        json.open('{').key("first").number(line.first).key("last").number(line.last);
        json.key("text").string(part(paragraph, line.first, line.last));
        json.key("direction").string(directionOf(line.isRightToLeft));
        json.key("x").number(box.left() + line.x).key("width").number(line.width);
        json.key("top").number(top + line.top()).key("height").number(line.height());
        json.key("baseline").number(top + line.baseline);
        json.key("hardEnd").boolean(line.endsHard).key("shortened").boolean(line.isShortened);
        json.key("clusters");
        addClusters(json, *this, line);
        json.key("glyphs");
        addGlyphs(json, *this, i);
        json.close();
    }
    json.close().close();
    return json.text();
}

std::string Flow::toTable() const
{
    std::string out;
    addRow(out, "%d x %d, at least %d and at most %d wide\n", paragraph.width(), paragraph.height(),
           paragraph.minWidth(), paragraph.maxWidth());
    for (int i = 0; i < paragraph.lineCount(); ++i) {
        const ZkTextLine line = paragraph.line(i);
        addRow(out,
               "\nline %d: units %d..%d, x %d, width %d, top %d, height %d, baseline %d, %s%s\n",
               i + 1, line.first, line.last, box.left() + line.x, line.width, top + line.top(),
               line.height(), top + line.baseline, directionOf(line.isRightToLeft),
               line.isShortened ? ", shortened" : "");
        out += "  " + part(paragraph, line.first, line.last) + "\n";
        addRow(out, "  %7s %7s %6s %6s %6s %7s %4s\n", "cluster", "glyph", "x", "y", "width",
               "height", "tag");
        const ZkPlacedGlyph *glyphs = nullptr;
        const int count = paragraph.glyphs(i, &glyphs);
        for (const ZkPlacedGlyph *at = glyphs; at != glyphs + count; ++at) {
            const auto &glyph = *reinterpret_cast<const ZkGlyph *>(at->glyph);
            addRow(out, "  %7d %7u %6d %6d %6d %7d %4d\n", at->cluster, glyph.index(),
                   box.left() + at->x, top + at->y, glyph.bitmap.width, glyph.bitmap.height,
                   at->tag);
        }
    }
    return out;
}

} // namespace zktext
