// A label: one line of text in a rectangle, shortened with dots when it is too long.
//
//     example_label OUT.png FONT.ttf [TEXT...]
//
// draws each text in labels that become narrower and narrower, and prints what is
// left of it: the width of the label, the pixels that the text takes, the text.

#include "output.h"
#include "paragraph.h"
#include "textblock.h"

#include <zkfontengine.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace
{

constexpr ZkUcs2 kSpace = 0x0020;

/// Shortens text to a width, in one font.
class Elision
{
public:
    explicit Elision(const ZkFont &font) : m_font(font) {}

    /// `text`, which is one line, if it takes at most `width` pixels; else as much
    /// of its beginning as fits with dots behind it, nothing when not even these do.
    ZkString fitted(const ZkString &text, int width) const;

    /// The pixels that the painter gives to a line of `text`, from pen to pen.
    int widthOf(const ZkString &text) const;

private:
    int wordsWithin(const ZkString &text, int room) const;

    ZkFont m_font;
};

int Elision::widthOf(const ZkString &text) const
{
    host::TextBlock block({text, m_font});
    block.place(0, 0, 0);
    int width = 0;
    for (const host::PlacedLine &line : block.lines()) {
        for (const host::Cell &cell : line.cells) {
            width += cell.width; // 0 for the alef that a lam-alef ligature shows
        }
    }
    return width;
}

bool isArabicMark(ZkUcs2 c)
{
    return (c >= 0x064B && c <= 0x0655) || c == 0x0670; // FATHATAN on, SUPERSCRIPT ALEF
}

/// Where `text` may be cut, 0 first and its size last: behind any character, but a
/// letter keeps its marks.
std::vector<int> cutsOf(const ZkString &text)
{
    std::vector<int> cuts = {0};
    for (int i = 0; i < text.size(); cuts.push_back(i)) {
        int tone = 0, upper = 0, lower = 0;
        ZkFontMetrics::thaiFontCheck(text.constData() + i, &tone, &upper, &lower);
        i += 1 + (tone != 0) + (upper != 0) + (lower != 0);
        while (i < text.size() && isArabicMark(text.at(i))) {
            ++i;
        }
    }
    return cuts;
}

/// The first `units` of `text`, without the spaces at their end, and dots.
///
/// Three full stops, not U+2026: the library counts them to a right-to-left run, so
/// they come out where reading stops, on the left. Digits and punctuation keep their
/// order inside such a run, and dots behind them would end up on their right: there
/// a space parts the two.
ZkString withDots(const ZkString &text, int units)
{
    while (units > 0 && text.at(units - 1) == kSpace) {
        --units;
    }
    const ZkUcs2 last = units > 0 ? text.at(units - 1) : ZkUcs2(0);
    const bool parted = last > kSpace && last <= 0x0040 && host::isRightToLeft(text);
    return text.left(units).append(parted ? " ..." : "...");
}

/// The units of the word at `units[at]`, in display order, as `nextWordSize` sees it.
int wordLength(const ZkString &units, int at, bool backward)
{
    int length = 1;
    if (backward) {
        while (at >= length && units.at(at - length) != kSpace) {
            ++length;
        }
    } else if (!host::breaksAnywhere(units.at(at))) {
        while (at + length < units.size() && units.at(at + length) != kSpace &&
               !host::breaksAnywhere(units.at(at + length))) {
            ++length;
        }
    }
    return length;
}

/// How many units of `text`, whole words from where reading starts, take at most
/// `room` pixels. A first guess: the glyphs are those of the whole text, while the
/// letter before a cut may change its form, and a text that mixes directions is
/// walked from its right as if all of it were read from there.
int Elision::wordsWithin(const ZkString &text, int room) const
{
    ZkFontEngine resolved; // the text and its glyphs in display order
    resolved.resloveText(text, m_font);
    const ZkString &units = resolved.text();
    const GlyphBitmap *const *glyphs = resolved.glyphs().constData();
    ZkFontMetrics metrics(text, m_font);
    const bool backward = metrics.isRightToLeft();
    for (int taken = 0; taken < units.size();) {
        const int left = units.size() - taken;
        const int first = backward ? 0 : taken;
        const int at = backward ? left - 1 : taken;
        const bool isSpace = units.at(at) == kSpace;
        room -= isSpace ? glyphs[at]->advance
                        : metrics.nextWordSize(units.constData() + first, left, glyphs + first,
                                               backward);
        if (room < 0) {
            return taken;
        }
        taken += isSpace ? 1 : wordLength(units, at, backward);
    }
    return units.size();
}

ZkString Elision::fitted(const ZkString &text, int width) const
{
    if (widthOf(text) <= width) {
        return text;
    }
    const auto fits = [&](int units) { return widthOf(withDots(text, units)) <= width; };
    const std::vector<int> cuts = cutsOf(text);
    const int guess = wordsWithin(text, width - widthOf("..."));
    std::size_t i =
        static_cast<std::size_t>(std::upper_bound(cuts.begin(), cuts.end(), guess) - cuts.begin());
    while (i > 0 && !fits(cuts[i - 1])) {
        --i;
    }
    if (i == 0) {
        return ZkString();
    }
    while (i + 1 < cuts.size() && fits(cuts[i])) {
        ++i;
    }
    return withDots(text, cuts[i - 1]);
}

/// A line of text in a rectangle, at the side where its reading starts.
class Label
{
public:
    Label(const ZkRect &rect, const ZkFont &font) : m_rect(rect), m_font(font) {}

    void setText(const ZkString &text) { m_shown = Elision(m_font).fitted(text, m_rect.width()); }
    const ZkString &shown() const { return m_shown; }

    /// Draws the text and nothing outside the rectangle; leaves the clip rectangle
    /// at the whole surface.
    void paint(host::Surface &surface, const host::TextColors &colors) const;

private:
    ZkRect m_rect;
    ZkFont m_font;
    ZkString m_shown;
};

void Label::paint(host::Surface &surface, const host::TextColors &colors) const
{
    if (m_shown.isEmpty()) {
        return;
    }
    // The height of a line depends on its letters. Labels stand level when each puts
    // its baseline where a capital letter is centred.
    const int capital = ZkFontMetrics("H", m_font).glyphBitmap().at(0)->top;
    const int baseline = m_rect.top() + (m_rect.height() + capital) / 2;
    host::TextRequest request;
    request.text = m_shown;
    request.font = m_font;
    request.width = m_rect.width();
    request.wordWrap = false;
    host::TextBlock block(request);
    block.place(m_rect.left(), 0, 0);
    block.place(m_rect.left(), baseline - block.lines().at(0).baseline, 0);
    surface.setClip(m_rect);
    block.paint(surface, colors);
    surface.setClip(surface.bounds());
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: example_label OUT.png FONT.ttf [TEXT...]\n");
        return 2;
    }
    ZkFontMetrics::setFontFile(argv[2]);
    std::vector<ZkString> texts(argv + 3, argv + argc);
    if (texts.empty()) {
        texts = {"Display brightness at night", "سطوع الشاشة في الليل", "בהירות המסך בלילה"};
    }
    const ZkFont font(24, false, false, false, false);
    const int kWidths[] = {400, 280, 200, 120, 60};
    const int kHeight = 40, kGap = 8;
    const int rows = static_cast<int>(texts.size()) * static_cast<int>(std::size(kWidths));
    host::Canvas canvas(400 + 2 * kGap, rows * (kHeight + kGap) + kGap, {226, 229, 233, 255});
    int y = kGap;
    for (const ZkString &text : texts) {
        for (const int width : kWidths) {
            const ZkRect rect(kGap, y, kGap + width - 1, y + kHeight - 1);
            canvas.fill(rect, {252, 252, 250, 255});
            Label label(rect, font);
            label.setText(text);
            label.paint(canvas, {{31, 41, 55, 255}, {}});
            std::printf("%3d %3d %s\n", width, Elision(font).widthOf(label.shown()),
                        label.shown().toUtf8().constData());
            y += kHeight + kGap;
        }
    }
    std::string problem;
    if (!host::writeOutput(argv[1], host::encodePng(canvas), &problem)) {
        std::fprintf(stderr, "example_label: %s\n", problem.c_str());
        return 1;
    }
    return 0;
}
