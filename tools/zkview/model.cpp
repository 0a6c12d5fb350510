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

constexpr int kHorizontal[] = {host::AlignLeft, host::AlignHCenter, host::AlignRight};
constexpr int kVertical[] = {host::AlignTop, host::AlignVCenter, host::AlignBottom};

} // namespace

Model::Model(std::vector<FontChoice> fonts, int width, int height)
    : m_fonts(std::move(fonts)), m_canvas(width, height, host::Color())
{
    for (const FontChoice &font : m_fonts) {
        m_fontNames.push_back(font.name);
        m_faces.push_back(ZkTypeface::fromFile(font.path.c_str()));
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
}

void Model::chooseSample(int index)
{
    m_state.sample = index;
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
}

void Model::setWidth(int width)
{
    m_state.wrapWidth =
        std::clamp(width, kNarrowest, std::max(kNarrowest, sheet().width() - 2 * kBoxMargin));
}

void Model::changed()
{
    m_buttons = panelButtons(m_state, m_fontNames);
    m_block.reset();
    ++m_changes;
}

void Model::type(const std::string &utf8)
{
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
    case Action::Horizontal: m_state.alignment = value | (m_state.alignment & ~7); break;
    case Action::NextHorizontal:
        m_state.alignment =
            following(kHorizontal, m_state.alignment & 7) | (m_state.alignment & ~7);
        break;
    case Action::Vertical: m_state.alignment = value | (m_state.alignment & 7); break;
    case Action::NextVertical:
        m_state.alignment = following(kVertical, m_state.alignment & ~7) | (m_state.alignment & 7);
        break;
    case Action::Boxes: m_state.boxes = !m_state.boxes; break;
    case Action::Wrap: m_state.wrap = !m_state.wrap; break;
    case Action::Levels: m_state.levels = !m_state.levels; break;
    case Action::Limit: setLimit(value); break;
    case Action::NextLimit: setLimit(following(kLimits, m_state.limit)); break;
    case Action::Backspace: m_state.text.resize(std::max(m_state.text.size() - 1, 0)); break;
    case Action::Newline: m_state.text.append("\n"); break;
    case Action::Clear:
        m_state.text = ZkString("");
        m_state.sample = -1;
        break;
    }
    changed();
}

void Model::press(int x, int y)
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
    }
}

void Model::drag(int x, int)
{
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

void Model::layOut()
{
    host::TextRequest request;
    request.text = m_state.text;
    request.font = m_state.attr;
    request.alignment = m_state.alignment;
    request.width = m_state.wrapWidth;
    request.wordWrap = m_state.wrap;
    m_block = std::make_unique<host::TextBlock>(request);
    m_block->place(box().left(), box().top(), std::max(box().height(), 1));
    noteGlyphs(*m_block);
    holdChain();
}

// The chosen font first, then the others.
void Model::holdChain()
{
    ZkFontChain chain(m_faces[static_cast<std::size_t>(m_state.font)]);
    for (const ZkTypeface &face : m_faces) {
        chain.append(face);
    }
    m_held.clear();
    m_cache.setBudget(m_state.limit < 0 ? static_cast<std::size_t>(ZkGlyphCache::DefaultBudget)
                                        : static_cast<std::size_t>(m_state.limit));
    const ZkFontList faces = chain.faces();
    int which = -1;
    for (int i = 0; i < m_state.text.size(); ++i) {
        const char32_t c = m_state.text.at(i);
        which = faces.findCluster(&c, 1, which);
        m_held.glyph(faces.at(which), faces.at(which).glyphIndex(c), m_state.attr);
    }
}

void Model::countCache()
{
    m_figures.pixelBytes = ZkFontCache::instance()->pixelBytes();
    m_figures.glyphs = static_cast<int>(m_glyphs.size());
    m_figures.withPixels = static_cast<int>(
        std::count_if(m_glyphs.begin(), m_glyphs.end(),
                      [](const GlyphBitmap *glyph) { return glyph->pixels != nullptr; }));
    m_figures.chain = m_cache.stats();
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
