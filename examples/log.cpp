// A scrolling log: appends lines, wraps them, and draws only what comes into view.
//
//     example_log OUT.png FONT.ttf <LINES.txt
//
// appends each line of standard input and draws after each, as a device would;
// prints what that took, and leaves the last state as a picture.

#include "canvas.h"
#include "output.h"

#include <zkparagraph.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <iostream>
#include <memory>
#include <string>

namespace
{

struct LogStyle {
    ZkFontChain chain;
    ZkFont font;
    host::Color text = {31, 41, 55, 255};
    host::Color paper = {252, 252, 250, 255};
};

/// Lines of text, the newest at the bottom, in a part of a canvas.
///
/// An entry keeps its text and its height; it is laid out to learn the height and
/// again whenever it is drawn. One paragraph serves them all, copies of the log too:
/// paragraphs hold glyphs, which the cache's budget is to bound, and must not pile up.
///
/// Rows are counted from the first line ever appended. What the log has drawn stays
/// on the canvas: `paint` moves it and draws the rest. Each entry is clipped to rows
/// of its own, or a mark that reaches into its neighbour would be lost when only one
/// of the two is drawn again.
class Log
{
public:
    typedef std::int64_t Row;

    /// `most`: entries to keep, 1 or more; the oldest goes.
    Log(const ZkRect &area, const LogStyle &style, std::size_t most);

    /// Adds a line. A view that shows the end goes on showing the end.
    void append(const std::string &utf8);

    /// Moves the view by `rows`, negative towards older lines, as far as there are any.
    void scroll(Row rows) { m_top = std::clamp(m_top + rows, firstTop(), lastTop()); }

    /// Brings the canvas up to date. Nothing else may have drawn in the area since
    /// the last call.
    void paint(host::Canvas &canvas);

    /// Draws everything.
    void repaint(host::Canvas &canvas);

    /// Entries laid out for drawing so far.
    std::int64_t drawnEntries() const { return m_drawn; }

private:
    struct Entry {
        std::string text; ///< UTF-8
        Row top;
        Row bottom; ///< first row of the next
    };

    const ZkParagraph &layOut(const std::string &utf8) const;
    void paintRows(host::Canvas &canvas, Row from, Row to);

    Row firstTop() const { return m_entries.empty() ? 0 : m_entries.front().top; }
    Row end() const { return m_entries.empty() ? 0 : m_entries.back().bottom; }
    Row lastTop() const { return std::max(firstTop(), end() - m_area.height()); }

    ZkRect m_area;
    LogStyle m_style;
    std::size_t m_most;
    std::shared_ptr<ZkParagraph> m_layout;
    std::deque<Entry> m_entries;
    Row m_top = 0;                      ///< the row that the area shows first
    Row m_shownTop = 0, m_shownEnd = 0; ///< rows of entries that the canvas shows
    std::int64_t m_drawn = 0;
};

Log::Log(const ZkRect &area, const LogStyle &style, std::size_t most)
    : m_area(area), m_style(style), m_most(most), m_layout(std::make_shared<ZkParagraph>())
{
    m_layout->setChain(style.chain);
    m_layout->setFont(style.font);
    m_layout->setWidth(area.width());
}

const ZkParagraph &Log::layOut(const std::string &utf8) const
{
    m_layout->setUtf8(utf8.data(), static_cast<int>(utf8.size()));
    return *m_layout;
}

void Log::append(const std::string &utf8)
{
    const bool follows = m_top == lastTop();
    m_entries.push_back({utf8, end(), end() + layOut(utf8).height()});
    if (m_entries.size() > m_most) {
        m_entries.pop_front();
    }
    m_top = follows ? lastTop() : std::max(m_top, firstTop());
}

void Log::paintRows(host::Canvas &canvas, Row from, Row to)
{
    const auto screenRow = [&](Row row) { return m_area.top() + static_cast<int>(row - m_top); };
    const auto clipTo = [&](Row first, Row behind) {
        canvas.setClip(
            ZkRect(m_area.left(), screenRow(first), m_area.right(), screenRow(behind) - 1));
    };
    if (from >= to) {
        return;
    }
    clipTo(from, to);
    canvas.fill(m_area, m_style.paper);
    auto entry = std::upper_bound(m_entries.begin(), m_entries.end(), from,
                                  [](Row row, const Entry &e) { return row < e.bottom; });
    for (; entry != m_entries.end() && entry->top < to; ++entry) {
        clipTo(std::max(entry->top, from), std::min(entry->bottom, to));
        ZkTextPainter painter(canvas.pixels());
        painter.setClip(canvas.clip());
        painter.setColors(m_style.text.argb());
        painter.paint(layOut(entry->text), m_area.left(), screenRow(entry->top));
        ++m_drawn;
    }
}

void Log::paint(host::Canvas &canvas)
{
    const Row bottom = m_top + m_area.height();
    const Row keptFrom = std::max(m_top, m_shownTop), keptTo = std::min(bottom, m_shownEnd);
    if (keptFrom >= keptTo) {
        repaint(canvas);
        return;
    }
    canvas.setClip(m_area);
    canvas.scroll(static_cast<int>(m_shownTop - m_top));
    paintRows(canvas, m_top, keptFrom);
    paintRows(canvas, keptTo, bottom);
    m_shownTop = m_top;
    m_shownEnd = std::min(bottom, end());
    canvas.setClip(canvas.bounds());
}

void Log::repaint(host::Canvas &canvas)
{
    const Row bottom = m_top + m_area.height();
    paintRows(canvas, m_top, bottom);
    m_shownTop = m_top;
    m_shownEnd = std::min(bottom, end());
    canvas.setClip(canvas.bounds());
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: example_log OUT.png FONT.ttf <LINES.txt\n");
        return 2;
    }
    const ZkTypeface face = ZkTypeface::fromFile(argv[2]);
    if (!face.isValid()) {
        std::fprintf(stderr, "example_log: %s\n", face.errorText());
        return 1;
    }
    ZkGlyphCache::shared().setBudget(64 * 1024);
    host::Canvas canvas(400, 240, {226, 229, 233, 255});
    LogStyle style;
    style.chain.append(face);
    style.font = ZkFont(18, false, false, false, false);
    Log log(ZkRect(8, 8, 391, 231), style, 1000);
    log.repaint(canvas);
    long lines = 0;
    for (std::string line; std::getline(std::cin, line); ++lines) {
        log.append(line);
        log.paint(canvas);
    }
    std::printf("%ld lines, %lld drawn\n", lines, static_cast<long long>(log.drawnEntries()));
    std::string problem;
    if (!host::writeOutput(argv[1], host::encodePng(canvas), &problem)) {
        std::fprintf(stderr, "example_log: %s\n", problem.c_str());
        return 1;
    }
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? 0 : 1;
}
