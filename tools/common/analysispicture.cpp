#include "analysispicture.h"

#include <zkscriptrules.h>

#include <algorithm>

namespace host
{

namespace
{

const Color kInk = {31, 41, 55, 255};
const Color kFaint = {120, 130, 145, 255};
const Color kMayEnd = {37, 99, 235, 255};
const Color kMustEnd = {220, 38, 38, 255};
const Color kWordEnd = {22, 163, 74, 255};

constexpr int kStrip = 17;     // height of the strip above a run
constexpr int kStripText = 11; // size of what stands in it
constexpr int kMarks = 8;      // rows below the cells, for what ends there
constexpr int kLineGap = 10;
constexpr int kPadding = 2; // beside the glyph of a cell

/// The Arabic form of `letter` between neighbours that join it or do not. Beh joins on
/// both sides and makes no ligature; what stands in the middle of three stays there when
/// the rules turn them around.
char32_t joinedForm(char32_t letter, bool joinsBefore, bool joinsBehind)
{
    constexpr ZkUcs2 kBeh = 0x0628;
    ZkUcs2 text[3];
    int length = 0;
    if (joinsBefore) {
        text[length++] = kBeh;
    }
    text[length++] = static_cast<ZkUcs2>(letter);
    if (joinsBehind) {
        text[length++] = kBeh;
    }
    arabicRulesConvert(text, length);
    return text[joinsBehind ? 1 : 0];
}

/// The nearest character from `i` in steps of `step` that is not transparent to joining;
/// 0 where the text ends.
char32_t neighbour(const Analysis &analysis, int i, int step)
{
    for (i += step; i >= 0 && i < analysis.size(); i += step) {
        const char32_t c = analysis.character(i);
        if (zkCharacter(c).joining != ZkCharacter::JoiningTransparent) {
            return c;
        }
    }
    return 0;
}

bool joinsNext(unsigned joining)
{
    return joining == ZkCharacter::JoiningDual || joining == ZkCharacter::JoiningLeft ||
           joining == ZkCharacter::JoiningCausing;
}

bool joinsPrevious(unsigned joining)
{
    return joining == ZkCharacter::JoiningDual || joining == ZkCharacter::JoiningRight ||
           joining == ZkCharacter::JoiningCausing;
}

/// The character that stands for the one at `i` in a picture.
char32_t shownForm(const Analysis &analysis, int i, int level)
{
    const char32_t c = analysis.character(i);
    const ZkCharacter &record = zkCharacter(c);
    if (record.script == ZkCharacter::ScriptArabic && c >= 0x0621 && c <= 0x06D3 &&
        record.joining != ZkCharacter::JoiningTransparent) {
        const unsigned before = zkCharacter(neighbour(analysis, i, -1)).joining;
        const unsigned behind = zkCharacter(neighbour(analysis, i, 1)).joining;
        return joinedForm(c, joinsNext(before) && joinsPrevious(record.joining),
                          joinsNext(record.joining) && joinsPrevious(behind));
    }
    return (level & 1) != 0 ? zkMirrored(c) : c;
}

bool isMark(char32_t c)
{
    const unsigned category = zkCharacter(c).category;
    return category == ZkCharacter::CategoryMn || category == ZkCharacter::CategoryMe;
}

} // namespace

Color AnalysisPicture::levelColor(int level)
{
    static const Color kColors[] = {{219, 234, 254, 255}, {254, 226, 196, 255},
                                    {209, 242, 220, 255}, {243, 216, 247, 255},
                                    {252, 243, 190, 255}, {204, 240, 240, 255}};
    return kColors[level % 6];
}

AnalysisPicture::AnalysisPicture(const Analysis &analysis, FT_Face face, int size, int width)
    : m_face(face), m_size(size), m_width(width)
{
    FT_Set_Pixel_Sizes(m_face, 0, static_cast<FT_UInt>(size));
    for (std::size_t i = 0; i < analysis.clusters().size(); ++i) {
        m_cells.push_back(cellOf(analysis, i));
    }
    breakLines(analysis);
}

AnalysisPicture::Cell AnalysisPicture::cellOf(const Analysis &analysis, std::size_t number) const
{
    const Cluster &cluster = analysis.clusters()[number];
    Cell cell = {cluster.first, cluster.last, cluster.level, cluster.behind, 0, {}, ""};
    int unit = cluster.first;
    for (const char32_t c : analysis.characters(cluster)) {
        const char32_t shown = shownForm(analysis, unit, cluster.level);
        unit += c >= 0x10000 ? 2 : 1;
        if (cell.glyphs.empty() && cell.name.empty()) {
            cell.name = invisibleName(c);
        }
        if (!cell.name.empty() || !invisibleName(c).empty()) {
            continue;
        }
        // A mark becomes part of its letter where the font has the two as one.
        const char32_t composed =
            cell.glyphs.empty() ? 0 : zkCompose(cell.glyphs.back().character, c);
        if (composed != 0 && FT_Get_Char_Index(m_face, composed) != 0) {
            cell.glyphs.back().character = composed;
        } else {
            cell.glyphs.push_back({shown, !cell.glyphs.empty() && isMark(c)});
        }
    }
    for (const char letter : cell.name) {
        cell.width += advanceOf(static_cast<unsigned char>(letter), m_size / 2);
    }
    for (const Glyph &glyph : cell.glyphs) {
        cell.width += glyph.isMark ? 0 : advanceOf(glyph.character, m_size);
    }
    cell.width = std::max(cell.width, m_size / 3) + 2 * kPadding;
    return cell;
}

int AnalysisPicture::advanceOf(char32_t c, int size) const
{
    FT_Set_Pixel_Sizes(m_face, 0, static_cast<FT_UInt>(size));
    if (FT_Load_Char(m_face, c, FT_LOAD_DEFAULT) != 0) {
        return 0;
    }
    return static_cast<int>((m_face->glyph->advance.x + 32) >> 6);
}

/// Fills lines with clusters and ends each at the last place that allows it.
void AnalysisPicture::breakLines(const Analysis &analysis)
{
    std::size_t first = 0, best = 0; // `best`: behind the last cluster that may end the line
    int width = 0;
    for (std::size_t i = 0; i < m_cells.size(); ++i) {
        width += m_cells[i].width;
        if (width > m_width && i > first) {
            const std::size_t end = best > first ? best : i;
            m_lines.push_back(lineOf(analysis, first, end));
            first = end;
            width = 0;
            for (std::size_t k = first; k <= i; ++k) {
                width += m_cells[k].width;
            }
        }
        if ((m_cells[i].behind & ZkTextBreaks::LineAllowed) != 0) {
            best = i + 1;
        }
        if ((m_cells[i].behind & ZkTextBreaks::LineMandatory) != 0) {
            m_lines.push_back(lineOf(analysis, first, i + 1));
            first = i + 1;
            width = 0;
        }
    }
}

AnalysisPicture::Line AnalysisPicture::lineOf(const Analysis &analysis, std::size_t first,
                                              std::size_t last) const
{
    const int begin = m_cells[first].first, end = m_cells[last - 1].last;
    Line line = {first, last, {}, {}, false};
    const ZkBidi &bidi = analysis.bidi();
    line.isRightToLeft = (bidi.paragraphOf(begin).level & 1) != 0;
    line.runs.resize(static_cast<std::size_t>(end - begin));
    line.runs.resize(
        static_cast<std::size_t>(bidi.visualRuns(begin, end, line.runs.data(), end - begin)));
    for (const ZkBidi::Run &run : line.runs) {
        std::vector<std::size_t> cells;
        for (std::size_t i = first; i < last; ++i) {
            if (m_cells[i].first >= run.first && m_cells[i].first < run.last) {
                cells.push_back(i);
            }
        }
        if (run.isRightToLeft()) {
            std::reverse(cells.begin(), cells.end());
        }
        line.order.insert(line.order.end(), cells.begin(), cells.end());
    }
    return line;
}

int AnalysisPicture::height() const
{
    const int line = kStrip + m_size * 3 / 2 + kMarks;
    const int count = static_cast<int>(m_lines.size());
    return count * line + std::max(count - 1, 0) * kLineGap;
}

void AnalysisPicture::paint(Surface &surface, int x, int y) const
{
    for (const Line &line : m_lines) {
        paintLine(surface, line, x, y);
        y += kStrip + m_size * 3 / 2 + kMarks + kLineGap;
    }
}

void AnalysisPicture::paintLine(Surface &surface, const Line &line, int x, int y) const
{
    int whole = 0;
    for (const std::size_t i : line.order) {
        whole += m_cells[i].width;
    }
    x += line.isRightToLeft ? m_width - whole : 0;
    int left = x;
    std::size_t at = 0;
    for (const ZkBidi::Run &run : line.runs) {
        const int begin = left;
        for (; at < line.order.size(); ++at) {
            Cell cell = m_cells[line.order[at]];
            if (cell.first < run.first || cell.first >= run.last) {
                break;
            }
            cell.level = run.level; // white space at the end of a line has another
            paintCell(surface, cell, left, y + kStrip);
            paintEnd(surface, cell, left, y + kStrip);
            left += cell.width;
        }
        paintRun(surface, run.level, begin, left - 1, y);
    }
}

/// The strip above a run: its level, and a line with a tip where reading ends.
void AnalysisPicture::paintRun(Surface &surface, int level, int left, int right, int y) const
{
    if (right < left) {
        return;
    }
    const int middle = y + kStrip / 2;
    const std::string number = std::to_string(level);
    const bool rightToLeft = (level & 1) != 0;
    surface.fill(ZkRect(left, y, right - 1, y + kStrip - 2), levelColor(level));
    int room = 4;
    for (const char digit : number) {
        room += advanceOf(static_cast<unsigned char>(digit), kStripText);
    }
    const int begin = rightToLeft ? left + 3 : left + room + 2;
    const int end = rightToLeft ? right - room - 2 : right - 3;
    if (end - begin >= 6) {
        surface.fill(ZkRect(begin, middle, end, middle), kFaint);
        for (int i = 1; i <= 3; ++i) {
            const int column = rightToLeft ? begin + i : end - i;
            surface.fill(ZkRect(column, middle - i, column, middle + i), kFaint);
        }
    }
    paintName(surface, number, rightToLeft ? right - room + 2 : left + 3, y + kStrip - 5,
              kStripText, kInk);
}

void AnalysisPicture::paintCell(Surface &surface, const Cell &cell, int x, int y) const
{
    const int bottom = y + m_size * 3 / 2 - 1;
    surface.fill(ZkRect(x, y, x + cell.width - 2, bottom), levelColor(cell.level));
    const int baseline = y + m_size * 9 / 8;
    if (!cell.name.empty()) {
        paintName(surface, cell.name, x + kPadding, baseline, m_size / 2, kFaint);
        return;
    }
    int pen = x + kPadding;
    for (const Glyph &glyph : cell.glyphs) {
        const int centre = glyph.isMark ? x + cell.width / 2 : -1;
        pen += paintGlyph(surface, glyph.character, pen, baseline, m_size, kInk, centre);
    }
}

/// What may happen behind a cluster, at the edge where it is read last.
void AnalysisPicture::paintEnd(Surface &surface, const Cell &cell, int x, int y) const
{
    const int edge = (cell.level & 1) != 0 ? x - 1 : x + cell.width - 1;
    const int bottom = y + m_size * 3 / 2 - 1;
    const auto mark = [&](int top, int last, const Color &color) {
        surface.fill(ZkRect(edge - 1, top, edge + 1, last), color);
    };
    if ((cell.behind & ZkTextBreaks::Word) != 0) {
        mark(bottom - m_size / 5, bottom, kWordEnd);
    }
    if ((cell.behind & ZkTextBreaks::LineMandatory) != 0) {
        mark(y, bottom + kMarks, kMustEnd);
    } else if ((cell.behind & ZkTextBreaks::LineAllowed) != 0) {
        mark(bottom + 1, bottom + kMarks, kMayEnd);
    }
}

/// Draws a glyph at the pen, or with its ink centred on a column where that is not
/// negative; how far the pen moves on.
int AnalysisPicture::paintGlyph(Surface &surface, char32_t c, int x, int baseline, int size,
                                const Color &color, int centredOn) const
{
    FT_Set_Pixel_Sizes(m_face, 0, static_cast<FT_UInt>(size));
    if (FT_Load_Char(m_face, c, FT_LOAD_RENDER) != 0) {
        return 0;
    }
    FT_GlyphSlotRec *const slot = m_face->glyph;
    const FT_Bitmap &bitmap = slot->bitmap;
    const int width = static_cast<int>(bitmap.width);
    const int left = centredOn >= 0 ? centredOn - width / 2 : x + slot->bitmap_left;
    const int top = baseline - slot->bitmap_top;
    for (int row = 0; row < static_cast<int>(bitmap.rows); ++row) {
        const unsigned char *const pixels = bitmap.buffer + row * bitmap.pitch;
        for (int column = 0; column < width; ++column) {
            const int coverage = bitmap.pixel_mode == FT_PIXEL_MODE_MONO
                                     ? (pixels[column / 8] >> (7 - column % 8) & 1) * 255
                                     : pixels[column];
            surface.blend(left + column, top + row, color, coverage);
        }
    }
    return centredOn >= 0 ? 0 : static_cast<int>((slot->advance.x + 32) >> 6);
}

void AnalysisPicture::paintName(Surface &surface, const std::string &name, int x, int baseline,
                                int size, const Color &color) const
{
    for (const char letter : name) {
        x += paintGlyph(surface, static_cast<unsigned char>(letter), x, baseline, size, color, -1);
    }
}

} // namespace host
