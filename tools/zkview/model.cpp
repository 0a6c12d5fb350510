#include "model.h"

#include "paragraph.h"
#include "samples.h"

#include <zkfontcache.h>

#include <algorithm>
#include <cstdlib>

namespace zkview
{

namespace
{

constexpr int kReach = 7;      // pixels from the edge of the box, to take hold of it
constexpr int kNarrowest = 24; // wrap width
constexpr int kSheetMargin = 16;
constexpr int kFootHeight = 114; // status and help, below the sheet
constexpr int kBoxMargin = 24;   // from the sheet to the text box

ZkString textOf(const std::string &utf8)
{
    ZkString text;
    int leftOut = 0;
    std::string problem;
    return host::textFromUtf8(utf8, &text, &leftOut, &problem) ? text : ZkString();
}

/// The one behind `value` in `all`, the first behind the last.
template <typename All>
int following(const All &all, int value)
{
    const auto at = std::find(std::begin(all), std::end(all), value);
    return at == std::end(all) || at + 1 == std::end(all) ? *std::begin(all) : *(at + 1);
}

constexpr int kHorizontal[] = {host::AlignLeft, host::AlignHCenter, host::AlignRight,
                               kAlignJustify};
constexpr int kVertical[] = {host::AlignTop, host::AlignVCenter, host::AlignBottom};

constexpr int kEllipses[] = {ZkParagraph::EllipsisNone, ZkParagraph::EllipsisEnd,
                             ZkParagraph::EllipsisMiddle, ZkParagraph::EllipsisStart};
constexpr int kShortenedLines = 2; // of a text with an ellipsis

ZkParagraph::Alignment alignmentOf(int flags)
{
    switch (flags & kHorizontalFlags) {
    case host::AlignHCenter: return ZkParagraph::AlignCenter;
    case host::AlignRight: return ZkParagraph::AlignEnd;
    case kAlignJustify: return ZkParagraph::AlignJustify;
    default: return ZkParagraph::AlignStart;
    }
}

} // namespace

Model::Model(std::vector<FontChoice> fonts, int width, int height, bool classic)
    : m_fonts(std::move(fonts)), m_canvas(width, height, host::Color())
{
    m_state.classic = classic;
    for (const FontChoice &font : m_fonts) {
        m_fontNames.push_back(font.name);
    }
    openFont(0);
    chooseSample(0);
    setWidth(m_state.wrapWidth);
    changed();
}

void Model::openFont(int index)
{
    m_block.reset(); // its glyphs go with the font
    m_glyphs.clear();
    m_face.reset();
    m_state.font = index;
    ZkFontMetrics::setFontFile(m_fonts[static_cast<std::size_t>(index)].path.c_str(),
                               m_state.limit);
    ZkFontChain chain;
    chain.append(ZkTypeface::fromFile(m_fonts[static_cast<std::size_t>(index)].path.c_str()));
    for (std::size_t i = 0; i < m_fonts.size(); ++i) {
        if (static_cast<int>(i) != index) {
            chain.append(ZkTypeface::fromFile(m_fonts[i].path.c_str()));
        }
    }
    m_field.paragraph().setChain(chain);
    m_builtIn.setChain(chain);
}

void Model::chooseSample(int index)
{
    m_state.sample = index;
    if (!m_state.classic) {
        m_field.setText(samples()[static_cast<std::size_t>(index)].text);
        return;
    }
    m_state.text = textOf(samples()[static_cast<std::size_t>(index)].text);
    if (hasGlyphsFor(m_fonts[static_cast<std::size_t>(m_state.font)], m_state.text)) {
        return;
    }
    for (std::size_t i = 0; i < m_fonts.size(); ++i) {
        if (hasGlyphsFor(m_fonts[i], m_state.text)) {
            openFont(static_cast<int>(i));
            return;
        }
    }
}

void Model::setLimit(int bytes)
{
    m_state.limit = bytes;
    ZkFontCache::instance()->setLimit(bytes);
    ZkGlyphCache::shared().setBudget(bytes < 0 ? 0 : static_cast<std::size_t>(bytes));
}

void Model::setWidth(int width)
{
    m_state.wrapWidth =
        std::clamp(width, kNarrowest, std::max(kNarrowest, sheet().width() - 2 * kBoxMargin));
}

void Model::changed()
{
    if (!m_state.classic) {
        m_state.text = m_field.paragraph().text();
        layOutField();
    }
    m_buttons = panelButtons(m_state, m_fontNames, m_harfBuzz.shaper != nullptr);
    m_block.reset();
    ++m_changes;
}

void Model::type(const std::string &utf8)
{
    if (!m_state.classic) {
        m_field.insert(utf8);
        changed();
        return;
    }
    const ZkString typed = textOf(utf8);
    if (!typed.isEmpty()) {
        m_state.text.append(typed);
        changed();
    }
}

void Model::perform(const Command &command)
{
    const int count = static_cast<int>(samples().size());
    const int value = command.value;
    switch (command.action) {
    case Action::Sample: chooseSample(value); break;
    case Action::NextSample:
        chooseSample((std::max(m_state.sample, 0) + count + value) % count);
        break;
    case Action::Font: openFont(value); break;
    case Action::NextFont: openFont((m_state.font + 1) % static_cast<int>(m_fonts.size())); break;
    case Action::Size:
        m_state.attr.size =
            static_cast<std::uint8_t>(std::clamp(m_state.attr.size + value, 6, 160));
        break;
    case Action::Width: setWidth(m_state.wrapWidth + value); break;
    case Action::Style:
        m_state.attr.flags = static_cast<std::uint8_t>(m_state.attr.flags ^ value);
        break;
    case Action::Horizontal:
        m_state.alignment = value | (m_state.alignment & ~kHorizontalFlags);
        break;
    case Action::NextHorizontal: {
        int next = following(kHorizontal, m_state.alignment & kHorizontalFlags);
        if (m_state.classic && next == kAlignJustify) {
            next = host::AlignLeft;
        }
        m_state.alignment = next | (m_state.alignment & ~kHorizontalFlags);
        break;
    }
    case Action::Vertical:
        m_state.alignment = value | (m_state.alignment & kHorizontalFlags);
        break;
    case Action::NextVertical:
        m_state.alignment = following(kVertical, m_state.alignment & ~kHorizontalFlags) |
                            (m_state.alignment & kHorizontalFlags);
        break;
    case Action::Boxes: m_state.boxes = !m_state.boxes; break;
    case Action::Wrap: m_state.wrap = !m_state.wrap; break;
    case Action::Levels: m_state.levels = !m_state.levels; break;
    case Action::Limit: setLimit(value); break;
    case Action::NextLimit: setLimit(following(kLimits, m_state.limit)); break;
    case Action::Clear:
        m_state.text = ZkString("");
        m_field.setText("");
        m_state.sample = -1;
        break;
    default: edit(command); break;
    }
    changed();
}

/// The commands that write, and those that only a paragraph has.
void Model::edit(const Command &command)
{
    const int value = command.value;
    if (m_state.classic) {
        if (command.action == Action::Backspace) {
            m_state.text.resize(std::max(m_state.text.size() - 1, 0));
        } else if (command.action == Action::Newline) {
            m_state.text.append("\n");
        }
        return;
    }
    switch (command.action) {
    case Action::Backspace: m_field.erase(false); break;
    case Action::Newline: m_field.insert("\n"); break;
    case Action::Move: m_field.move(static_cast<host::Move>(value)); break;
    case Action::Select: m_field.move(static_cast<host::Move>(value), true); break;
    case Action::Delete: m_field.erase(true); break;
    case Action::DeleteWord: m_field.erase(value > 0, true); break;
    case Action::SelectAll: m_field.selectAll(); break;
    case Action::Ellipsis: m_state.ellipsis = value; break;
    case Action::NextEllipsis: m_state.ellipsis = following(kEllipses, m_state.ellipsis); break;
    case Action::Colors: m_state.colors = !m_state.colors; break;
    case Action::Shaper:
        m_state.harfBuzz = !m_state.harfBuzz && m_harfBuzz.shaper != nullptr;
        m_field.paragraph().setShaper(m_state.harfBuzz ? m_harfBuzz.shaper.get() : nullptr);
        m_field.paragraph().setWordBreaker(m_state.harfBuzz ? m_harfBuzz.words.get() : nullptr);
        break;
    default: break;
    }
}

void Model::press(int x, int y, bool extend, bool isSecond)
{
    const ZkPoint at(x, y);
    for (const Button &button : m_buttons) {
        if (!button.isTitle && button.rect.contains(at)) {
            perform(button.command);
            return;
        }
    }
    if (sheet().contains(at) && std::abs(x - edge()) <= kReach) {
        m_isDragging = true;
        m_grip = x - edge();
    } else if (!m_state.classic && sheet().contains(at)) {
        if (isSecond) {
            m_field.pressWord(x, y);
        } else {
            m_field.press(x, y, extend);
            m_isSelecting = true;
        }
        changed();
    }
}

void Model::drag(int x, int y)
{
    if (m_isSelecting) {
        m_field.drag(x, y);
        changed();
        return;
    }
    const int before = m_state.wrapWidth;
    if (m_isDragging) {
        setWidth(x - m_grip - box().left());
        if (m_state.wrapWidth != before) {
            changed();
        }
    }
}

void Model::resize(int width, int height)
{
    if (width < 1 || height < 1 || (width == m_canvas.width() && height == m_canvas.height())) {
        return;
    }
    m_canvas = host::Canvas(width, height, host::Color());
    setWidth(m_state.wrapWidth);
    changed();
}

ZkRect Model::sheet() const
{
    return ZkRect(kPanelWidth + kSheetMargin, kSheetMargin, m_canvas.width() - kSheetMargin - 1,
                  m_canvas.height() - kFootHeight - 1);
}

ZkRect Model::box() const
{
    const ZkRect around = sheet();
    const int left = around.left() + kBoxMargin;
    return ZkRect(left, around.top() + kBoxMargin, left + m_state.wrapWidth - 1,
                  around.bottom() - kBoxMargin);
}

void Model::noteGlyphs(const host::TextBlock &block)
{
    for (const host::PlacedLine &line : block.lines()) {
        for (const host::PlacedGlyph &placed : line.glyphs) {
            m_glyphs.insert(placed.glyph);
        }
    }
}

/// Each word in the next of a few colours.
void Model::colorWords()
{
    m_field.clearSpans();
    const ZkParagraph &paragraph = m_field.paragraph();
    for (int at = 0, tag = 0; m_state.colors && at < paragraph.text().size(); ++tag) {
        const int next = paragraph.nextWord(at);
        m_field.setSpan(at, next, m_state.attr, 1 + tag % 4);
        at = next;
    }
}

void Model::layOutParagraph(ZkParagraph &paragraph) const
{
    paragraph.setFont(m_state.attr);
    paragraph.setAlignment(alignmentOf(m_state.alignment));
    paragraph.setWidth(
        m_state.wrap || m_state.ellipsis != ZkParagraph::EllipsisNone ? m_state.wrapWidth : 0);
    paragraph.setEllipsis(static_cast<ZkParagraph::Ellipsis>(m_state.ellipsis));
    paragraph.setMaximumLines(m_state.ellipsis == ZkParagraph::EllipsisNone ? 0 : kShortenedLines);
}

void Model::layOutField()
{
    ZkParagraph &paragraph = m_field.paragraph();
    layOutParagraph(paragraph);
    colorWords();
    if (m_state.harfBuzz) {
        m_builtIn.setText(paragraph.text());
        layOutParagraph(m_builtIn);
    }
    const int room = box().height() - paragraph.height();
    const int down = (m_state.alignment & host::AlignBottom) != 0    ? room
                     : (m_state.alignment & host::AlignVCenter) != 0 ? room / 2
                                                                     : 0;
    m_field.setOrigin(box().left(), box().top() + down);
}

Model::Moved Model::moved() const
{
    const ZkParagraph &paragraph = m_field.paragraph();
    Moved moved;
    for (int at = 0; at < paragraph.text().size(); at = paragraph.nextCluster(at)) {
        const ZkCaret here = paragraph.caret(at), there = m_builtIn.caret(at);
        ++moved.clusters;
        moved.elsewhere += here.line != there.line || here.x != there.x ? 1 : 0;
    }
    return moved;
}

int Model::lineCount() const
{
    return m_state.classic ? static_cast<int>(m_block->lines().size())
                           : m_field.paragraph().lineCount();
}

void Model::layOut()
{
    if (!m_state.classic) {
        return;
    }
    host::TextRequest request;
    request.text = m_state.text;
    request.font = m_state.attr;
    request.alignment = m_state.alignment;
    request.width = m_state.wrapWidth;
    request.wordWrap = m_state.wrap;
    m_block = std::make_unique<host::TextBlock>(request);
    m_block->place(box().left(), box().top(), std::max(box().height(), 1));
    noteGlyphs(*m_block);
}

void Model::countCache()
{
    if (!m_state.classic) {
        const ZkGlyphCache::Stats stats = ZkGlyphCache::shared().stats();
        m_figures = {static_cast<int>(stats.bytes), stats.glyphs, stats.heldGlyphs, stats};
        return;
    }
    m_figures.pixelBytes = ZkFontCache::instance()->pixelBytes();
    m_figures.glyphs = static_cast<int>(m_glyphs.size());
    m_figures.withPixels = static_cast<int>(
        std::count_if(m_glyphs.begin(), m_glyphs.end(),
                      [](const GlyphBitmap *glyph) { return glyph->pixels != nullptr; }));
}

const host::Canvas &Model::picture()
{
    if (m_drawn != m_changes) {
        m_drawn = m_changes;
        draw();
    }
    return m_canvas;
}

} // namespace zkview
