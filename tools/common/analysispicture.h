#ifndef HOST_ANALYSISPICTURE_H
#define HOST_ANALYSISPICTURE_H

#include "analysis.h"
#include "surface.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <vector>

namespace host
{

/// An analysis to look at: the clusters of a text side by side in the order in which a
/// line shows them, each in a cell.
///
/// - The colour behind a cluster is its level; the strip above is its run, with the
///   level and an arrow that points the way the run is read.
/// - A mark at the end of a cluster says what may happen behind it: a blue one that a
///   line may end, a red one that it must, a short green one that a word ends.
///
/// Letters of Arabic have the form that their neighbours ask for; what shows nothing
/// has its name. Lines end where they may, at `width`.
class AnalysisPicture
{
public:
    /// The face must outlive the object, the analysis need not. `size` in pixels.
    AnalysisPicture(const Analysis &analysis, FT_Face face, int size, int width);

    int width() const { return m_width; }
    int height() const;

    /// Draws with the upper left corner at (x, y).
    void paint(Surface &surface, int x, int y) const;

    /// The colour of a level.
    static Color levelColor(int level);

private:
    struct Glyph {
        char32_t character;
        bool isMark;
    };
    struct Cell {
        int first, last; ///< units
        int level;
        unsigned behind;
        int width;
        std::vector<Glyph> glyphs;
        std::string name; ///< shown in place of glyphs, unless empty
    };
    struct Line {
        std::size_t firstCell, lastCell;
        std::vector<std::size_t> order; ///< of its cells from left to right
        std::vector<ZkBidi::Run> runs;
        bool isRightToLeft;
    };

    Cell cellOf(const Analysis &analysis, std::size_t number) const;
    void breakLines(const Analysis &analysis);
    Line lineOf(const Analysis &analysis, std::size_t first, std::size_t last) const;
    int advanceOf(char32_t c, int size) const;
    void paintLine(Surface &surface, const Line &line, int x, int y) const;
    void paintRun(Surface &surface, int level, int left, int right, int y) const;
    void paintCell(Surface &surface, const Cell &cell, int x, int y) const;
    void paintEnd(Surface &surface, const Cell &cell, int x, int y) const;
    int paintGlyph(Surface &surface, char32_t c, int x, int baseline, int size, const Color &color,
                   int centredOn) const;
    void paintName(Surface &surface, const std::string &name, int x, int baseline, int size,
                   const Color &color) const;

    FT_Face m_face;
    int m_size;
    int m_width;
    std::vector<Cell> m_cells;
    std::vector<Line> m_lines;
};

} // namespace host

#endif
