// A scrolling log: appends lines, wraps them, and draws only what comes into view.
//
//     example_log OUT.png FONT.ttf <LINES.txt
//
// appends each line of standard input and draws after each, as a device would;
// prints what that took, and leaves the last state as a picture.

#include "output.h"
#include "paragraph.h"
#include "textblock.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <iostream>
#include <string>

namespace
{

struct LogStyle {
    ZkFont font;
    host::Color text = {31, 41, 55, 255};
    host::Color paper = {252, 252, 250, 255};
};

/// Lines of text, the newest at the bottom, in a part of a canvas.
///
/// An entry keeps its text and its height; it is laid out to learn the height and
/// again whenever it is drawn. Layouts hold glyph pixels, which the cache's limit
/// is to bound: they must not pile up with the lines.
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
    void append(const ZkString &text);

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
        ZkString text;
        Row top;
        Row bottom; ///< first row of the next
    };

    host::TextBlock layOut(const ZkString &text) const;
    void paintRows(host::Canvas &canvas, Row from, Row to);

    Row firstTop() const { return m_entries.empty() ? 0 : m_entries.front().top; }
    Row end() const { return m_entries.empty() ? 0 : m_entries.back().bottom; }
    Row lastTop() const { return std::max(firstTop(), end() - m_area.height()); }

    ZkRect m_area;
    LogStyle m_style;
    std::size_t m_most;
    int m_emptyHeight; ///< of a line without letters
    std::deque<Entry> m_entries;
    Row m_top = 0;                      ///< the row that the area shows first
    Row m_shownTop = 0, m_shownEnd = 0; ///< rows of entries that the canvas shows
    std::int64_t m_drawn = 0;
};

Log::Log(const ZkRect &area, const LogStyle &style, std::size_t most)
    : m_area(area),
      m_style(style),
      m_most(most),
      m_emptyHeight(ZkFontMetrics::textPixelSize("Hg", style.font))
{
}

host::TextBlock Log::layOut(const ZkString &text) const
{
    host::TextRequest request;
    request.text = text;
    request.font = m_style.font;
    request.width = m_area.width();
    return host::TextBlock(request);
}

void Log::append(const ZkString &text)
{
    const bool follows = m_top == lastTop();
    const int height = std::max(layOut(text).size().height(), m_emptyHeight);
    m_entries.push_back({text, end(), end() + height});
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
        host::TextBlock block = layOut(entry->text);
        block.place(m_area.left(), screenRow(entry->top), 0);
        clipTo(std::max(entry->top, from), std::min(entry->bottom, to));
        block.paint(canvas, {m_style.text, m_style.text});
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
    ZkFontMetrics::setFontFile(argv[2], 64 * 1024);
    host::Canvas canvas(400, 240, {226, 229, 233, 255});
    LogStyle style;
    style.font = ZkFont(18, false, false, false, false);
    Log log(ZkRect(8, 8, 391, 231), style, 1000);
    log.repaint(canvas);
    long lines = 0;
    for (std::string line, problem; std::getline(std::cin, line); ++lines) {
        ZkString text;
        int leftOut = 0;
        log.append(host::textFromUtf8(line, &text, &leftOut, &problem) ? text : problem.c_str());
        log.paint(canvas);
    }
    std::printf("%ld lines, %lld drawn\n", lines, static_cast<long long>(log.drawnEntries()));
    std::string problem;
    if (!host::writeOutput(argv[1], host::encodePng(canvas), &problem)) {
        std::fprintf(stderr, "example_log: %s\n", problem.c_str());
        return 1;
    }
    return 0;
}
