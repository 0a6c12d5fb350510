// How the model looks.

#include "analysispicture.h"
#include "model.h"

#include <algorithm>
#include <string>

namespace zkview
{

namespace
{

const host::Color kDesk = {226, 229, 233, 255};
const host::Color kPanel = {30, 41, 59, 255};
const host::Color kButton = {51, 65, 85, 255};
const host::Color kOn = {14, 116, 144, 255};
const host::Color kBright = {241, 245, 249, 255};
const host::Color kFaint = {148, 163, 184, 255};
const host::Color kPaper = {252, 252, 250, 255};
const host::Color kInk = {31, 41, 55, 255};
const host::Color kSoft = {75, 85, 99, 255};
const host::Color kHalo = {251, 191, 36, 255};
const host::Color kEdge = {37, 99, 235, 255};
const host::Color kCaret = {220, 38, 38, 255};
const host::Color kGauge = {203, 213, 225, 255};
const host::Color kFull = {220, 38, 38, 255};
const host::Color kBuiltIn = {248, 160, 160, 255};

const host::Color kWords[] = {
    {31, 41, 55, 255}, {185, 28, 28, 255}, {29, 78, 216, 255}, {21, 128, 61, 255}};

constexpr int kGaugeWidth = 200, kGaugeHeight = 10;
constexpr int kUnlimitedGauge = 64 * 1024; // bytes that fill the gauge without a limit

/// "12,345" for 12345.
std::string grouped(int number)
{
    std::string digits = std::to_string(number);
    for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3) {
        digits.insert(static_cast<std::size_t>(at), 1, ',');
    }
    return digits;
}

} // namespace

void Model::label(const ZkRect &rect, const std::string &utf8, const host::Color &color,
                  int alignment, int size)
{
    if (utf8.empty()) {
        return;
    }
    host::TextRequest request;
    request.text = ZkString(std::string_view(utf8));
    request.font = ZkFont(static_cast<unsigned char>(size), false, false, false, false);
    request.alignment = alignment;
    request.width = rect.width();
    request.wordWrap = false;
    host::TextBlock block(request);
    // The height of a line depends on its letters: labels stand level when each has
    // its baseline where a capital letter is centred.
    const int capital = size * 73 / 100;
    const int baseline = rect.top() + (rect.height() + capital) / 2;
    block.place(rect.left(), 0, 0);
    block.place(rect.left(), baseline - block.lines().front().baseline, 0);
    noteGlyphs(block);
    m_canvas.setClip(rect);
    block.paint(m_canvas, {color, color});
    m_canvas.setClip(m_canvas.bounds());
}

void Model::draw()
{
    m_canvas.setClip(m_canvas.bounds());
    m_canvas.fill(m_canvas.bounds(), kDesk);
    layOut();
    drawPanel();
    drawSheet();
    countCache();
    drawStatus();
    drawHelp();
}

void Model::drawPanel()
{
    m_canvas.fill(ZkRect(0, 0, kPanelWidth - 1, m_canvas.height() - 1), kPanel);
    label(ZkRect(14, 8, kPanelWidth - 14, 41), "zkview", kBright, host::AlignLeft, 22);
    for (const Button &button : m_buttons) {
        const ZkRect &rect = button.rect;
        if (button.isTitle) {
            label(rect, button.label, kFaint, host::AlignLeft);
            continue;
        }
        m_canvas.round(rect, 5, button.on ? kOn : kButton);
        const int margin = button.key.empty() ? 4 : 8;
        const ZkRect inner(rect.left() + margin, rect.top(), rect.right() - margin, rect.bottom());
        if (button.key.empty()) {
            label(inner, button.label, kBright, host::AlignHCenter);
        } else {
            label(inner, button.label, kBright, host::AlignLeft);
            label(inner, button.key, button.on ? kBright : kFaint, host::AlignRight);
        }
    }
}

void Model::drawSheet()
{
    const ZkRect around = sheet();
    m_canvas.round(around, 8, kPaper);
    m_canvas.setClip(around);
    if (m_state.levels) {
        drawLevels();
    } else {
        drawText();
    }
    const int x = edge(), middle = (around.top() + around.bottom()) / 2;
    m_canvas.fill(ZkRect(x, around.top(), x + 1, around.bottom()), kEdge);
    m_canvas.round(ZkRect(x - 4, middle - 22, x + 5, middle + 21), 5, kEdge);
    for (const int row : {-8, 0, 8}) {
        m_canvas.fill(ZkRect(x - 1, middle + row - 1, x + 2, middle + row), kPaper);
    }
    m_canvas.setClip(m_canvas.bounds());
}

void Model::drawText()
{
    if (m_state.classic) {
        m_block->paint(m_canvas, {kInk, kHalo});
        if (m_state.boxes) {
            m_block->paintGuides(m_canvas);
        }
        drawCaret();
        return;
    }
    const ZkParagraph &paragraph = m_field.paragraph();
    const host::FieldColors colors;
    m_field.paintSelection(m_canvas, colors);
    ZkTextPainter painter(m_canvas.pixels());
    painter.setClip(m_canvas.clip());
    painter.setColors(kInk.argb(), kHalo.argb());
    for (int i = 0; i < 4; ++i) {
        painter.setStyle(i + 1, {kWords[i].argb(), kHalo.argb(), ZkTextPainter::NoLine});
    }
    const ZkPoint origin = m_field.origin();
    if (m_state.harfBuzz) {
        drawBuiltIn();
    }
    painter.paint(paragraph, origin.x(), origin.y());
    if (m_state.boxes) {
        m_canvas.frame(box(), {120, 120, 120, 160});
        host::paintGuides(m_canvas, paragraph, origin.x(), origin.y());
    }
    m_field.paintCaret(m_canvas, colors);
}

/// What the built-in shaper makes of the text, pale below the other, and how much differs.
void Model::drawBuiltIn()
{
    const ZkRect around = sheet();
    const Moved moved = this->moved();
    label(ZkRect(around.left() + 24, around.top() + 2, around.right() - 8, around.top() + 21),
          "HarfBuzz; pale, the built-in shaper: " + grouped(moved.elsewhere) + " of " +
              grouped(moved.clusters) + " characters stand elsewhere, in " +
              grouped(m_builtIn.lineCount()) + (m_builtIn.lineCount() == 1 ? " line" : " lines"),
          kSoft, host::AlignLeft);
    m_canvas.setClip(around);
    ZkTextPainter painter(m_canvas.pixels());
    painter.setClip(m_canvas.clip());
    painter.setColors(kBuiltIn.argb(), kPaper.argb());
    painter.paint(m_builtIn, m_field.origin().x(), m_field.origin().y());
}

/// The text as the library analyses it, in the place of the text box.
void Model::drawLevels()
{
    if (!m_face) {
        m_face =
            std::make_unique<host::FaceFile>(m_fonts[static_cast<std::size_t>(m_state.font)].path);
    }
    const host::Analysis analysis(std::vector<ZkUcs2>(m_state.text.begin(), m_state.text.end()),
                                  ZkBidi::Auto);
    host::AnalysisPicture(analysis, m_face->face(), m_state.attr.size, m_state.wrapWidth)
        .paint(m_canvas, box().left(), box().top());
}

void Model::drawCaret()
{
    // Typing goes on behind the last character: at the end of the last line, which
    // is its left end when the text is read from the right. A newline at the end
    // opens no line of its own.
    const std::vector<host::PlacedLine> &lines = m_block->lines();
    int x = box().left(), top = box().top(), bottom = top + m_state.attr.size - 1;
    if (!lines.empty()) {
        const host::PlacedLine &last = lines.back();
        top = last.rect.top();
        bottom = last.rect.bottom();
        x = last.rect.left();
        if (!last.cells.empty()) {
            const host::Cell &end = last.cells.back();
            x = m_block->isRightToLeft() ? last.cells.front().x - 2 : end.x + end.width;
        }
    }
    m_canvas.fill(ZkRect(x, top, x + 1, bottom), kCaret);
}

void Model::drawStatus()
{
    const ZkRect around = sheet();
    const int top = around.bottom() + 12;
    const int limit = m_state.limit;
    const ZkRect gauge(around.left(), top + 6, around.left() + kGaugeWidth - 1,
                       top + 5 + kGaugeHeight);
    m_canvas.round(gauge, 5, kGauge);
    const int whole = limit < 0 ? kUnlimitedGauge : limit;
    const long long share = 1LL * m_figures.pixelBytes * kGaugeWidth / whole;
    const int filled = static_cast<int>(std::clamp<long long>(share, kGaugeHeight, kGaugeWidth));
    m_canvas.round(ZkRect(gauge.left(), gauge.top(), gauge.left() + filled - 1, gauge.bottom()), 5,
                   limit >= 0 && m_figures.pixelBytes >= limit ? kFull : kOn);
    const std::string most = limit < 0 ? "no limit" : "limit " + grouped(limit);
    label(ZkRect(gauge.right() + 14, top, around.right(), top + 21),
          "Cache: " + grouped(m_figures.pixelBytes) + " bytes, " + most + "; " +
              grouped(m_figures.glyphs) + " glyphs, " + grouped(m_figures.withPixels) +
              (m_state.classic ? " with pixels" : " in use"),
          kInk, host::AlignLeft, 14);
    const int lines = lineCount();
    const bool rightToLeft =
        m_state.classic ? m_block->isRightToLeft() : m_field.paragraph().line(0).isRightToLeft;
    const int lineHeight =
        m_state.classic ? m_block->lineHeight() : m_field.paragraph().line(0).height();
    label(ZkRect(around.left(), top + 22, around.right(), top + 43),
          std::to_string(m_state.text.size()) + " characters, " + std::to_string(lines) +
              (lines == 1 ? " line of " : " lines of ") + std::to_string(lineHeight) +
              " px, wrapped at " + std::to_string(m_state.wrapWidth) + " px, " +
              (rightToLeft
                   ? m_state.classic ? "right to left (Left and Right swapped)" : "right to left"
                   : "left to right"),
          kSoft, host::AlignLeft, 14);
    if (!m_state.classic) {
        const ZkGlyphCache::Stats &chain = m_figures.chain;
        label(ZkRect(around.left(), top + 44, around.right(), top + 65),
              "Since the start: " + grouped(static_cast<int>(chain.misses)) + " rendered, " +
                  grouped(static_cast<int>(chain.evictions)) + " evicted, " +
                  grouped(static_cast<int>(chain.refills)) + " of them again",
              chain.overBytes > 0 ? kFull : kSoft, host::AlignLeft, 14);
    }
}

void Model::drawHelp()
{
    const ZkRect strip(kPanelWidth, m_canvas.height() - 30, m_canvas.width() - 1,
                       m_canvas.height() - 1);
    m_canvas.fill(strip, kPanel);
    label(ZkRect(strip.left() + 16, strip.top(), strip.right() - 8, strip.bottom()),
          m_state.classic
              ? "Type to write, Backspace, Ctrl+V paste, Ctrl+L clear   Drag the blue edge or "
                "press Left Right   Up Down size   Esc quit"
              : std::string("Click, drag, Shift and arrows select, Ctrl+arrows by words, Ctrl+C X "
                            "V A   Ctrl+plus, minus size   ") +
                    (m_harfBuzz.shaper != nullptr ? "Ctrl+H shaper   Esc quit" : "Esc quit"),
          kBright, host::AlignLeft);
}

} // namespace zkview
