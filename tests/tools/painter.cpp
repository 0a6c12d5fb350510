#include <canvas.h>
#include <paragraph.h>
#include <textblock.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>
#include <string>
#include <vector>

using host::Anchor;
using host::Canvas;
using host::Cell;
using host::Color;
using host::LineStyle;
using host::PlacedLine;

namespace
{

const Color kBlack = {0, 0, 0, 255};
const Color kWhite = {255, 255, 255, 255};
const Color kRed = {255, 0, 0, 255};

/// The picture as one letter a pixel: '#' black, '.' white, 'r' red, '?' else.
std::vector<std::string> drawing(const Canvas &canvas)
{
    std::vector<std::string> rows;
    for (int y = 0; y < canvas.height(); ++y) {
        std::string row;
        for (int x = 0; x < canvas.width(); ++x) {
            const Color c = canvas.pixel(x, y);
            const int rgb = c.red << 16 | c.green << 8 | c.blue;
            row += rgb == 0 ? '#' : rgb == 0xFFFFFF ? '.' : rgb == 0xFF0000 ? 'r' : '?';
        }
        rows.push_back(row);
    }
    return rows;
}

typedef std::vector<std::string> Drawing;

/// Glyph records made by hand; they live as long as the object.
class Glyphs
{
public:
    struct Shape {
        int left, top, advance;
        /// Rows of '#' (coverage 255), 'o' (coverage 1), '+' (128) and '.' (0).
        std::vector<std::string> rows;
    };

    const GlyphBitmap *add(ZkUcs2 unicode, const Shape &shape, int size = 16, unsigned flags = 0)
    {
        m_pixels.emplace_back();
        for (const std::string &row : shape.rows) {
            for (const char c : row) {
                m_pixels.back().push_back(c == '#' ? 255 : c == 'o' ? 1 : c == '+' ? 128 : 0);
            }
        }
        GlyphBitmap glyph = {};
        glyph.width = glyph.pitch =
            static_cast<std::uint16_t>(shape.rows.empty() ? 0 : shape.rows[0].size());
        glyph.height = static_cast<std::uint16_t>(shape.rows.size());
        glyph.left = static_cast<std::int16_t>(shape.left);
        glyph.top = static_cast<std::int16_t>(shape.top);
        glyph.descent = static_cast<std::int16_t>(int(glyph.height) - shape.top);
        glyph.advance = static_cast<std::int16_t>(shape.advance);
        glyph.font = {static_cast<std::uint8_t>(size), static_cast<std::uint8_t>(flags)};
        glyph.pixels = m_pixels.back().data();
        glyph.unicode = unicode;
        m_glyphs.push_back(glyph);
        return &m_glyphs.back();
    }

    /// A filled block of `width` by `height`.
    const GlyphBitmap *block(ZkUcs2 unicode, int left, int top, int advance, int width, int height)
    {
        return add(unicode, {left, top, advance,
                             std::vector<std::string>(std::size_t(height),
                                                      std::string(std::size_t(width), '#'))});
    }

private:
    std::deque<std::vector<std::uint8_t>> m_pixels;
    std::deque<GlyphBitmap> m_glyphs;
};

PaintInfo record(int left, int right, int bottom, const std::vector<const GlyphBitmap *> &glyphs)
{
    PaintInfo info = {left, 0, right, bottom, {}};
    for (const GlyphBitmap *glyph : glyphs) {
        info.glyphs.append(glyph);
    }
    return info;
}

/// A style whose baseline is `bottom + 1`: no descent and no spare room.
LineStyle plainStyle(int ascent = 8)
{
    LineStyle style;
    style.metrics = {ascent, 0, ascent};
    return style;
}

} // namespace

TEST(Color, IsReadFromHexadecimalDigits)
{
    const struct {
        const char *text;
        bool valid;
        Color color;
    } kRows[] = {
        {"#102030", true, {16, 32, 48, 255}},
        {"aAbBcC", true, {170, 187, 204, 255}},
        {"#01020304", true, {1, 2, 3, 4}},
        {"", false, {}},
        {"#", false, {}},
        {"#12345", false, {}},
        {"#1234567", false, {}},
        {"#123456789", false, {}},
        {"##123456", false, {}},
        {"#12345g", false, {}},
        {"#12 456", false, {}},
        {"red", false, {}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.text);
        Color color = {9, 9, 9, 9};
        EXPECT_EQ(host::parseColor(row.text, &color), row.valid);
        const Color expected = row.valid ? row.color : Color{9, 9, 9, 9};
        EXPECT_EQ(color.red, expected.red);
        EXPECT_EQ(color.green, expected.green);
        EXPECT_EQ(color.blue, expected.blue);
        EXPECT_EQ(color.alpha, expected.alpha);
    }
}

TEST(Canvas, BlendMixesByCoverageAndAlpha)
{
    const struct {
        int coverage, alpha, below, above, result;
    } kRows[] = {
        {0, 255, 100, 200, 100}, {255, 255, 100, 200, 200}, {255, 0, 100, 200, 100},
        {128, 255, 0, 255, 128}, {255, 128, 0, 255, 128},   {128, 128, 0, 255, 64},
        {51, 255, 0, 100, 20},   {1, 255, 255, 0, 254},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.coverage * 1000 + row.alpha);
        const auto byte = [](int value) { return static_cast<std::uint8_t>(value); };
        Canvas canvas(1, 1, {byte(row.below), 7, 7, 255});
        canvas.blend(0, 0, {byte(row.above), 7, 7, byte(row.alpha)}, row.coverage);
        EXPECT_EQ(canvas.pixel(0, 0).red, row.result);
        EXPECT_EQ(canvas.pixel(0, 0).green, 7);
    }
}

TEST(Canvas, DrawsInsideTheClipRectangleOnly)
{
    Canvas canvas(4, 4, kWhite);
    canvas.setClip(ZkRect(1, 2, 2, 9));
    canvas.fill(ZkRect(-100, -100, 100, 100), kBlack);
    EXPECT_EQ(drawing(canvas), (Drawing{"....", "....", ".##.", ".##."}));
    canvas.setClip(ZkRect(-5, -5, 0, 0));
    canvas.fill(ZkRect(-100, -100, 100, 100), kRed);
    EXPECT_EQ(drawing(canvas), (Drawing{"r...", "....", ".##.", ".##."}));
    canvas.setClip(ZkRect(7, 7, 9, 9));
    canvas.fill(ZkRect(-100, -100, 100, 100), kBlack);
    for (int y = -2; y < 6; ++y) {
        for (int x = -2; x < 6; ++x) {
            canvas.blend(x, y, kBlack);
        }
    }
    EXPECT_EQ(drawing(canvas), (Drawing{"r...", "....", ".##.", ".##."}));
}

TEST(Canvas, RectanglesWithoutPixelsDrawNothing)
{
    Canvas canvas(3, 3, kWhite);
    for (const ZkRect &rect :
         {ZkRect(), ZkRect(2, 0, 0, 2), ZkRect(0, 2, 2, 0), ZkRect(1, 1, 0, 2)}) {
        canvas.fill(rect, kBlack);
        canvas.frame(rect, kBlack);
    }
    EXPECT_EQ(drawing(canvas), (Drawing{"...", "...", "..."}));
}

TEST(Canvas, AFrameTouchesEachOfItsPixelsOnce)
{
    const struct {
        ZkRect rect;
        int pixels;
    } kRows[] = {
        {ZkRect(1, 1, 1, 1), 1}, {ZkRect(1, 1, 4, 1), 4},  {ZkRect(1, 1, 1, 4), 4},
        {ZkRect(1, 1, 2, 2), 4}, {ZkRect(1, 1, 4, 3), 10},
    };
    for (const auto &row : kRows) {
        Canvas canvas(6, 6, kWhite);
        canvas.frame(row.rect, {0, 0, 0, 128});
        int touched = 0;
        for (int y = 0; y < 6; ++y) {
            for (int x = 0; x < 6; ++x) {
                const int red = canvas.pixel(x, y).red;
                EXPECT_TRUE(red == 255 || red == 127) << red << " at " << x << ", " << y;
                touched += red == 127;
            }
        }
        EXPECT_EQ(touched, row.pixels) << row.rect.width() << " x " << row.rect.height();
    }
}

TEST(Canvas, ScrollingMovesTheRowsInsideTheClipRectangle)
{
    const struct {
        int rows;
        Drawing result;
    } kRows[] = {
        {0, {"#..#", "#rr#", "#..#", "#rr#", "....", "####"}},
        {1, {"#..#", "#rr#", "#rr#", "#..#", ".rr.", "####"}},
        {2, {"#..#", "#rr#", "#..#", "#rr#", "....", "####"}},
        {-1, {"#..#", "#..#", "#rr#", "#..#", "....", "####"}},
        {-3, {"#..#", "#..#", "#..#", "#rr#", "....", "####"}},
        {4, {"#..#", "#rr#", "#..#", "#rr#", "....", "####"}},
        {-1000, {"#..#", "#rr#", "#..#", "#rr#", "....", "####"}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.rows);
        Canvas canvas(4, 6, kWhite);
        canvas.fill(ZkRect(0, 0, 0, 3), kBlack);
        canvas.fill(ZkRect(3, 0, 3, 3), kBlack);
        canvas.fill(ZkRect(0, 5, 3, 5), kBlack);
        canvas.fill(ZkRect(1, 1, 2, 1), kRed);
        canvas.fill(ZkRect(1, 3, 2, 3), kRed);
        canvas.setClip(ZkRect(1, 1, 2, 4)); // red, white, red, white
        canvas.scroll(row.rows);
        EXPECT_EQ(drawing(canvas), row.result);
    }
}

TEST(Canvas, RoundCornersAreCutAndTheRestIsFull)
{
    Canvas canvas(8, 7, kWhite);
    canvas.round(ZkRect(1, 1, 6, 5), 2, kBlack);
    EXPECT_EQ(drawing(canvas), (Drawing{"........", ".??##??.", ".?####?.", ".######.", ".?####?.",
                                        ".??##??.", "........"}));
    EXPECT_GT(canvas.pixel(1, 1).red, canvas.pixel(2, 1).red) << "less of the outermost pixel";
    Canvas square(3, 3, kWhite);
    square.round(ZkRect(0, 0, 1, 1), 0, kBlack);
    EXPECT_EQ(drawing(square), (Drawing{"##.", "##.", "..."}));
}

TEST(Canvas, ZoomMakesSquares)
{
    Canvas canvas(2, 2, kWhite);
    canvas.blend(1, 0, kBlack);
    canvas.blend(0, 1, kRed);
    EXPECT_EQ(drawing(canvas.zoomed(1)), (Drawing{".#", "r."}));
    EXPECT_EQ(drawing(canvas.zoomed(3)),
              (Drawing{"...###", "...###", "...###", "rrr...", "rrr...", "rrr..."}));
}

TEST(Canvas, MayHaveNoPixels)
{
    for (const auto &size : {ZkSize(0, 5), ZkSize(5, 0), ZkSize(-3, -4)}) {
        Canvas canvas(size.width(), size.height(), kWhite);
        canvas.fill(ZkRect(-9, -9, 9, 9), kBlack);
        canvas.blend(0, 0, kBlack);
        EXPECT_EQ(canvas.zoomed(4).width() * canvas.zoomed(4).height(), 0);
    }
}

TEST(Baseline, HasTheSpareRoomOfTheLineHalfAboveAndHalfBelow)
{
    const struct {
        const char *what;
        host::TextMetrics metrics;
        int bottom;
        int baseline;
    } kRows[] = {
        // 136 % of 15 is 20, so five rows are spare: three above, two below.
        {"top 12, descent 3", {12, 3, 20}, 19, 15},
        {"the second line of the same text", {12, 3, 20}, 39, 35},
        {"line spacing 10 adds five rows", {12, 3, 25}, 24, 17},
        {"no descent, no room", {8, 0, 8}, 7, 8},
        {"a line pressed to less than its glyphs", {12, 3, 11}, 10, 10},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(host::baselineOf(row.bottom, row.metrics), row.baseline);
    }
}

TEST(Baseline, UsesTheLargestTopAndDescentOfTheWholeText)
{
    Glyphs made;
    const PaintInfo info =
        record(0, 0, 0,
               {made.block('a', 0, 10, 5, 2, 10), made.block('.', 0, -1, 5, 2, 3),
                made.block('b', 0, 2, 5, 2, 6)});
    const host::TextMetrics metrics = host::measureText(info.glyphs, 19);
    EXPECT_EQ(metrics.ascent, 10);
    EXPECT_EQ(metrics.descent, 4);
    EXPECT_EQ(metrics.lineHeight, 19);
    const PaintInfo low = record(0, 0, 0, {made.block('.', 0, -1, 5, 2, 3)});
    EXPECT_EQ(host::measureText(low.glyphs, 3).ascent, 0);
    EXPECT_EQ(host::measureText(ZkVector<const GlyphBitmap *>(), 0).descent, 0);
}

TEST(PlaceLine, WalksByAdvanceAndSpacingAndDrawsByBearing)
{
    Glyphs made;
    LineStyle style;
    style.metrics = {6, 2, 10};
    style.charSpacing = 3;
    // The baseline is row 29 + 1 - 2 - (10 - 8) / 2 = 27.
    const PlacedLine line =
        host::placeLine(record(100, 127, 29,
                               {made.block('A', 1, 6, 7, 5, 6), made.block('j', -2, 5, 4, 5, 7),
                                made.block(' ', 0, 0, 4, 0, 0)}),
                        style);
    EXPECT_EQ(line.baseline, 27);
    EXPECT_EQ(line.rect, ZkRect(100, 20, 127, 29));
    ASSERT_EQ(line.cells.size(), 3u);
    ASSERT_EQ(line.glyphs.size(), 3u);
    const int kCellX[] = {100, 110, 117}, kCellWidth[] = {10, 7, 7};
    const int kX[] = {101, 108, 117}, kY[] = {21, 22, 27};
    for (std::size_t i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(line.cells[i].x, kCellX[i]);
        EXPECT_EQ(line.cells[i].width, kCellWidth[i]);
        EXPECT_EQ(line.glyphs[i].x, kX[i]);
        EXPECT_EQ(line.glyphs[i].y, kY[i]);
    }
}

TEST(PlaceLine, AnEmptyLineHasNoCells)
{
    const PlacedLine line = host::placeLine(record(5, 4, 19, {}), plainStyle());
    EXPECT_TRUE(line.cells.empty());
    EXPECT_TRUE(line.glyphs.empty());
    EXPECT_FALSE(host::underlineOf(line, ZkFont(), 0).isValid());
}

namespace
{

constexpr ZkUcs2 kKoKai = 0x0E01, kPoPla = 0x0E1B, kYoYing = 0x0E0D;
constexpr ZkUcs2 kSaraIi = 0x0E35, kSaraU = 0x0E38, kMaiEk = 0x0E48, kSaraAm = 0x0E33;

/// A line of glyphs from x = 0 whose baseline is row 40.
PlacedLine placeThai(const std::vector<const GlyphBitmap *> &glyphs, int charSpacing = 0)
{
    LineStyle style = plainStyle(40);
    style.charSpacing = charSpacing;
    return host::placeLine(record(0, 99, 39, glyphs), style);
}

} // namespace

TEST(PlaceThai, AClusterIsOneCellAsWideAsItsWidestAdvance)
{
    Glyphs made;
    const PlacedLine line =
        placeThai({made.block(kKoKai, 1, 10, 12, 9, 10), made.block(kSaraIi, -9, 14, 0, 8, 3),
                   made.block(kMaiEk, -5, 20, 14, 2, 4), made.block('a', 0, 5, 6, 5, 5)},
                  2);
    ASSERT_EQ(line.cells.size(), 2u);
    EXPECT_EQ(line.cells[0].count, 3);
    EXPECT_EQ(line.cells[0].width, 16);
    EXPECT_EQ(line.cells[1].x, 16);
    EXPECT_EQ(line.cells[1].first, 3);
}

TEST(PlaceThai, AMarkWithoutAdvanceReachesBackOverItsConsonant)
{
    Glyphs made;
    const PlacedLine line =
        placeThai({made.block(kKoKai, 1, 10, 12, 9, 10), made.block(kMaiEk, -5, 16, 0, 2, 4)});
    EXPECT_EQ(line.glyphs[1].x, 12 - 5);
    EXPECT_EQ(line.glyphs[1].y, 40 - 16);
}

TEST(PlaceThai, AMarkThatTakesRoomIsCentredOnTheCell)
{
    Glyphs made;
    const PlacedLine line =
        placeThai({made.block(kKoKai, 1, 10, 12, 9, 10), made.block(kMaiEk, 4, 16, 12, 4, 4)}, 5);
    EXPECT_EQ(line.cells.size(), 1u);
    EXPECT_EQ(line.glyphs[1].x, (12 - 4) / 2);
}

TEST(PlaceThai, AToneMarkIsRaisedAboveAnUpperVowel)
{
    Glyphs made;
    // The vowel's first row is 40 - 14 = 26; the mark's rows 24..27 would cross it.
    const PlacedLine line =
        placeThai({made.block(kKoKai, 1, 10, 12, 9, 10), made.block(kSaraIi, -9, 14, 0, 8, 3),
                   made.block(kMaiEk, -5, 16, 0, 2, 4)});
    EXPECT_EQ(line.glyphs[1].y, 26);
    EXPECT_EQ(line.glyphs[2].y + 4 - 1, 26 - 1 - 1) << "one empty row between the two";
}

TEST(PlaceThai, AToneMarkThatIsHighEnoughStays)
{
    Glyphs made;
    const PlacedLine line =
        placeThai({made.block(kKoKai, 1, 10, 12, 9, 10), made.block(kSaraIi, -9, 14, 0, 8, 3),
                   made.block(kMaiEk, -5, 25, 0, 2, 4)});
    EXPECT_EQ(line.glyphs[2].y, 40 - 25);
}

TEST(PlaceThai, AToneMarkIsRaisedAboveTheRingOfSaraAm)
{
    Glyphs made;
    const GlyphBitmap *consonant = made.block(kKoKai, 1, 10, 12, 9, 10);
    const GlyphBitmap *tone = made.block(kMaiEk, -5, 16, 0, 4, 4);
    const PlacedLine over = placeThai({consonant, tone, made.block(kSaraAm, -3, 15, 10, 12, 15)});
    EXPECT_EQ(over.glyphs[1].y + 4 - 1, 40 - 15 - 1 - 1);
    const PlacedLine beside = placeThai({consonant, tone, made.block(kSaraAm, 0, 15, 10, 9, 15)});
    EXPECT_EQ(beside.glyphs[1].y, 40 - 16) << "the ring is not above the consonant";
    const PlacedLine apart = placeThai({tone, made.block(kSaraAm, -3, 15, 10, 12, 15)});
    EXPECT_EQ(apart.glyphs[0].y, 40 - 16) << "a mark without consonant is left alone";
}

TEST(PlaceThai, ALowerVowelStandsBelowADeepConsonant)
{
    Glyphs made;
    const GlyphBitmap *vowel = made.block(kSaraU, -6, -2, 0, 4, 5);
    const PlacedLine flat = placeThai({made.block(kKoKai, 1, 10, 12, 9, 10), vowel});
    EXPECT_EQ(flat.glyphs[1].y, 40 + 2);
    const PlacedLine deep = placeThai({made.block(kYoYing, 1, 10, 12, 10, 16), vowel});
    EXPECT_EQ(deep.glyphs[1].y, 40 + 6 + 1) << "the base ends in row 45, row 46 stays empty";
}

TEST(PlaceThai, AnUpperMarkMovesAwayFromATallStem)
{
    Glyphs made;
    // Twelve columns; the stem in columns 9 and 10 reaches rows 24..39.
    std::vector<std::string> rows(6, ".........##.");
    rows.resize(16, "###########.");
    const GlyphBitmap *tall = made.add(kPoPla, {0, 16, 13, rows});
    const GlyphBitmap *vowel = made.block(kSaraIi, -9, 14, 0, 8, 3);
    const PlacedLine line = placeThai({tall, vowel, made.block(kMaiEk, -5, 25, 0, 2, 4)});
    EXPECT_EQ(line.glyphs[1].x + 8 - 1, 9 - 1) << "the vowel ends beside the stem";
    EXPECT_EQ(line.glyphs[2].x, 13 - 5 - 3) << "and takes the mark above it along";
    const PlacedLine flat = placeThai({made.block(kKoKai, 0, 10, 13, 12, 10), vowel});
    EXPECT_EQ(flat.glyphs[1].x, 13 - 9);
}

TEST(PlaceThai, PixelsThatWereTrimmedMoveNothing)
{
    Glyphs made;
    GlyphBitmap tall = *made.block(kPoPla, 0, 16, 13, 12, 16);
    tall.pixels = nullptr;
    const PlacedLine line = placeThai({&tall, made.block(kSaraIi, -9, 14, 0, 8, 3)});
    EXPECT_EQ(line.glyphs[1].x, 13 - 9);
}

TEST(PlaceArabic, TheAlefBesideLamAlefIsNeitherDrawnNorGivenRoom)
{
    const struct {
        ZkUcs2 alef, ligature;
        bool leftOut;
    } kRows[] = {
        {0xFE82, 0xFEF5, true},  {0xFE82, 0xFEF6, true},  {0xFE84, 0xFEF7, true},
        {0xFE84, 0xFEF8, true},  {0xFE88, 0xFEF9, true},  {0xFE88, 0xFEFA, true},
        {0xFE8E, 0xFEFB, true},  {0xFE8E, 0xFEFC, true},  {0xFE8D, 0xFEFB, false},
        {0xFE8E, 0xFEF5, false}, {0xFE82, 0xFEFB, false}, {0xFE8E, 0xFEDF, false},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(testing::Message() << std::hex << row.alef << " " << row.ligature);
        Glyphs made;
        const PlacedLine line = host::placeLine(
            record(10, 39, 7,
                   {made.block(0xFE91, 0, 5, 10, 9, 5), made.block(row.alef, 1, 8, 6, 3, 8),
                    made.block(row.ligature, 1, 8, 12, 9, 8)}),
            plainStyle());
        EXPECT_EQ(line.cells[1].leftOut, row.leftOut);
        EXPECT_EQ(line.cells[1].width, row.leftOut ? 0 : 6);
        EXPECT_EQ(line.cells[2].x, row.leftOut ? 20 : 26);
        EXPECT_FALSE(line.cells[2].leftOut);
    }
}

TEST(PlaceArabic, ALineThatNeedsLessRoomKeepsToItsAnchor)
{
    Glyphs made;
    const PaintInfo info =
        record(10, 39, 7, {made.block(0xFE8E, 1, 8, 6, 3, 8), made.block(0xFEFB, 1, 8, 12, 9, 8)});
    const struct {
        Anchor anchor;
        bool bare;
        int ligature;
    } kRows[] = {
        {Anchor::Left, false, 10},
        {Anchor::Center, false, 14}, // 6 of advance and 2 of spacing
                                     // are missing: half is 4
        {Anchor::Right, false, 18},
        {Anchor::Right, true, 18},
        {Anchor::Left, true, 18},
    };
    for (const auto &row : kRows) {
        LineStyle style = plainStyle();
        style.charSpacing = 2;
        style.anchor = row.anchor;
        style.bare = row.bare;
        EXPECT_EQ(host::placeLine(info, style).cells[1].x, row.ligature) << int(row.anchor);
        EXPECT_EQ(host::placeLine(info, style).rect, ZkRect(10, 0, 39, 7));
    }
}

namespace
{

constexpr ZkUcs2 kAlef = 0xFE8D, kFathatan = 0x064B, kShadda = 0x0651, kKasra = 0x0650;

/// A line of glyphs from x = 0 whose baseline is row 40.
PlacedLine placeArabic(const std::vector<const GlyphBitmap *> &glyphs)
{
    return host::placeLine(record(0, 99, 39, glyphs), plainStyle(40));
}

} // namespace

TEST(PlaceArabic, MarksStandOnTheLetterToTheirRightOneAboveTheOther)
{
    Glyphs made;
    const PlacedLine line =
        placeArabic({made.block(kFathatan, 3, 20, 0, 8, 4), made.block(kShadda, 2, 20, 0, 6, 5),
                     made.block(kAlef, 3, 18, 8, 2, 18)});
    EXPECT_EQ(line.glyphs[2].x, 3);
    EXPECT_EQ(line.glyphs[1].x, 3 + (2 - 6) / 2);
    EXPECT_EQ(line.glyphs[0].x, 3 + (2 - 8) / 2);
    EXPECT_EQ(line.glyphs[2].y, 22);
    EXPECT_EQ(line.glyphs[1].y + 5, 22 - 1) << "one empty row above the letter";
    EXPECT_EQ(line.glyphs[0].y + 4, line.glyphs[1].y - 1) << "and one between the marks";
}

TEST(PlaceArabic, AMarkThatIsClearOfItsLetterKeepsItsHeight)
{
    Glyphs made;
    const PlacedLine line =
        placeArabic({made.block(kFathatan, 3, 20, 0, 8, 4), made.block(0xFE8F, 1, 8, 20, 18, 8)});
    EXPECT_EQ(line.glyphs[0].y, 20);
    EXPECT_EQ(line.glyphs[0].x, 1 + (18 - 8) / 2);
}

TEST(PlaceArabic, AKasraStandsBelowItsLetter)
{
    Glyphs made;
    const PlacedLine line =
        placeArabic({made.block(kKasra, 3, -1, 0, 6, 3), made.block(0xFE9D, 1, 8, 20, 18, 14)});
    EXPECT_EQ(line.glyphs[0].y, 40 + 6 + 1);
}

TEST(PlaceArabic, AMarkOnLamAlefSkipsTheAlefThatIsLeftOut)
{
    Glyphs made;
    const PlacedLine line =
        placeArabic({made.block(kFathatan, 3, 20, 0, 8, 4), made.block(0xFE8E, 1, 18, 8, 2, 18),
                     made.block(0xFEFB, 2, 18, 14, 10, 18)});
    EXPECT_TRUE(line.cells[1].leftOut);
    EXPECT_EQ(line.glyphs[0].x, 2 + 1);
    EXPECT_EQ(line.glyphs[0].y + 4, 22 - 1);
}

TEST(PlaceArabic, AMarkWithoutLetterOrWithRoomOfItsOwnIsLeftAlone)
{
    Glyphs made;
    const PlacedLine alone = placeArabic({made.block(kFathatan, 3, 20, 0, 8, 4)});
    EXPECT_EQ(alone.glyphs[0].x, 3);
    const PlacedLine wide =
        placeArabic({made.block(kFathatan, 3, 10, 9, 8, 4), made.block(kAlef, 3, 18, 8, 2, 18)});
    EXPECT_EQ(wide.glyphs[0].x, 3);
    EXPECT_EQ(wide.glyphs[0].y, 30);
}

TEST(PlaceLine, SpacesAtTheEndHangOverTheEdge)
{
    Glyphs made;
    const GlyphBitmap *letter = made.block('m', 0, 5, 10, 9, 5);
    const GlyphBitmap *space = made.block(' ', 0, 0, 4, 0, 0);
    const struct {
        const char *what;
        Anchor anchor;
        bool bare;
        int first;
    } kRows[] = {
        {"left", Anchor::Left, false, 0},
        {"centre: half of 10", Anchor::Center, false, 5},
        {"right: two spaces with their spacing", Anchor::Right, false, 10},
        {"bare", Anchor::Right, true, 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        LineStyle style = plainStyle();
        style.charSpacing = 1;
        style.anchor = row.anchor;
        style.bare = row.bare;
        const PlacedLine line =
            host::placeLine(record(0, 36, 7, {letter, space, letter, space, space}), style);
        EXPECT_EQ(line.cells[0].x, row.first);
    }
}

TEST(Painter, DrawsEachGlyphWhereItsBearingsSay)
{
    Glyphs made;
    Canvas canvas(10, 6, kWhite);
    // The baseline is row 4: below the four rows of the first glyph.
    const PlacedLine line =
        host::placeLine(record(1, 8, 3,
                               {made.add('b', {0, 4, 4, {"#..", "#..", "##.", "##."}}),
                                made.add('q', {-1, 2, 3, {"##", "##", ".#", ".#"}})}),
                        plainStyle(4));
    host::paintLine(canvas, line, ZkFont(), 0, {kBlack, kRed});
    EXPECT_EQ(drawing(canvas), (Drawing{".#........", //
                                        ".#........", //
                                        ".##.##....", //
                                        ".##.##....", //
                                        ".....#....", //
                                        ".....#...."}));
}

TEST(Painter, CutsGlyphsAtAllFourEdges)
{
    Glyphs made;
    const GlyphBitmap *ring = made.add('o', {0, 3, 3, {"###", "#.#", "###"}});
    const struct {
        const char *what;
        int x, bottom;
        Drawing expected;
    } kRows[] = {
        {"left", -1, 2, {"##..", ".#..", "##..", "...."}},
        {"right", 2, 2, {"..##", "..#.", "..##", "...."}},
        {"top", 0, 1, {"#.#.", "###.", "....", "...."}},
        {"bottom", 0, 4, {"....", "....", "###.", "#.#."}},
        {"beyond left", -3, 2, {"....", "....", "....", "...."}},
        {"beyond right", 4, 2, {"....", "....", "....", "...."}},
        {"beyond top", 0, -1, {"....", "....", "....", "...."}},
        {"beyond bottom", 0, 6, {"....", "....", "....", "...."}},
        {"a corner", 3, 5, {"....", "....", "....", "...#"}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        Canvas canvas(4, 4, kWhite);
        const PlacedLine line =
            host::placeLine(record(row.x, row.x + 2, row.bottom, {ring}), plainStyle(3));
        host::paintLine(canvas, line, ZkFont(), 0, {kBlack, kRed});
        EXPECT_EQ(drawing(canvas), row.expected);
    }
}

TEST(Painter, MixesByCoverage)
{
    Glyphs made;
    Canvas canvas(3, 1, kWhite);
    const PlacedLine line =
        host::placeLine(record(0, 2, 0, {made.add('x', {0, 1, 3, {"+o#"}})}), plainStyle(1));
    host::paintLine(canvas, line, ZkFont(), 0, {kBlack, kRed});
    EXPECT_EQ(canvas.pixel(0, 0).red, 127);
    EXPECT_EQ(canvas.pixel(1, 0).red, 254) << "in a plain style 1 is the faintest coverage";
    EXPECT_EQ(canvas.pixel(1, 0).green, 254);
    EXPECT_EQ(canvas.pixel(2, 0).red, 0);
}

TEST(Painter, PassesOverGlyphsWithoutPixels)
{
    Glyphs made;
    GlyphBitmap trimmed = *made.block('x', 0, 1, 1, 1, 1);
    trimmed.pixels = nullptr;
    Canvas canvas(3, 1, kWhite);
    const PlacedLine line =
        host::placeLine(record(0, 2, 0, {&trimmed, made.block('y', 0, 1, 1, 1, 1)}), plainStyle(1));
    host::paintLine(canvas, line, ZkFont(), 0, {kBlack, kRed});
    EXPECT_EQ(drawing(canvas), (Drawing{".#."}));
}

TEST(Painter, GivesTheHaloItsOwnColourAndInkTheTextColour)
{
    Glyphs made;
    const ZkFont outlined(16, false, false, true, false);
    Canvas canvas(5, 3, kWhite);
    const GlyphBitmap *glyph = made.add('i', {0, 3, 5, {".ooo.", "o+##o", ".ooo."}}, 16, 4);
    host::paintLine(canvas, host::placeLine(record(0, 4, 2, {glyph}), plainStyle(3)), outlined, 0,
                    {kBlack, kRed});
    EXPECT_EQ(drawing(canvas), (Drawing{".rrr.", "r?##r", ".rrr."}));
    EXPECT_EQ(canvas.pixel(1, 1).red, 127) << "half covered ink is mixed with the halo's colour";
    EXPECT_EQ(canvas.pixel(1, 1).green, 0) << "and not with the white below";
}

TEST(Painter, AHaloNeverCutsIntoTheInkOfANeighbour)
{
    Glyphs made;
    const ZkFont outlined(16, false, false, true, false);
    const GlyphBitmap *glyph = made.add(0xFE91, {-1, 2, 2, {"oooo", "o##o"}}, 16, 4);
    Canvas canvas(6, 2, kWhite);
    host::paintLine(canvas, host::placeLine(record(1, 4, 1, {glyph, glyph}), plainStyle(2)),
                    outlined, 0, {kBlack, kRed});
    EXPECT_EQ(drawing(canvas), (Drawing{"rrrrrr", "r####r"}));
}

TEST(Painter, UnderlinesFromTheFirstLetterToTheLast)
{
    Glyphs made;
    const GlyphBitmap *space = made.block(' ', 0, 0, 3, 0, 0);
    const GlyphBitmap *letter = made.block('m', 0, 5, 6, 5, 5);
    const PlacedLine line =
        host::placeLine(record(2, 40, 9, {space, letter, space, letter, space}), plainStyle(10));
    const struct {
        int size, charSpacing;
        ZkRect strip;
    } kRows[] = {
        {16, 0, ZkRect(5, 11, 19, 11)}, // 16 / 12 rows below the baseline, one row
        {8, 0, ZkRect(5, 11, 19, 11)},  // never less than one
        {48, 0, ZkRect(5, 14, 19, 16)}, // four rows below, three rows
        {16, 2, ZkRect(5, 11, 17, 11)}, // the spacing behind the last letter is left out
    };
    for (const auto &row : kRows) {
        const ZkFont font(static_cast<unsigned char>(row.size), false, false, false, true);
        EXPECT_EQ(host::underlineOf(line, font, row.charSpacing), row.strip) << row.size;
    }
    const PlacedLine blank = host::placeLine(record(2, 40, 9, {space, space}), plainStyle(10));
    EXPECT_FALSE(host::underlineOf(blank, ZkFont(), 0).isValid());
}

TEST(Painter, TakesUnderlineFromTheRequestNotFromTheRecord)
{
    Glyphs made;
    const GlyphBitmap *askedPlain = made.add('m', {0, 1, 2, {"##"}}, 16, 0);
    const GlyphBitmap *askedUnderlined = made.add('m', {0, 1, 2, {"##"}}, 16, 8);
    const ZkFont plain, underlined(16, false, false, false, true);
    const struct {
        const GlyphBitmap *glyph;
        ZkFont font;
        Drawing expected;
    } kRows[] = {
        {askedPlain, underlined, {"##.", "...", "##."}},
        {askedUnderlined, plain, {"##.", "...", "..."}},
    };
    for (const auto &row : kRows) {
        Canvas canvas(3, 3, kWhite);
        host::paintLine(canvas, host::placeLine(record(0, 1, 0, {row.glyph}), plainStyle(1)),
                        row.font, 0, {kBlack, kRed});
        EXPECT_EQ(drawing(canvas), row.expected);
    }
}

TEST(Painter, AnOutlinedUnderlineHasAHaloToo)
{
    Glyphs made;
    const ZkFont font(16, false, false, true, true);
    Canvas canvas(4, 4, kWhite);
    const GlyphBitmap *glyph = made.add('m', {0, 0, 2, {}}, 16, 4);
    host::paintLine(canvas, host::placeLine(record(1, 2, 0, {glyph}), plainStyle(1)), font, 0,
                    {kBlack, kRed});
    EXPECT_EQ(drawing(canvas), (Drawing{"....", "rrrr", "r##r", "rrrr"}));
}

TEST(PlaceLine, TheBaselineOfOutlinedGlyphsIsWhereTheirInkEnds)
{
    Glyphs made;
    // Six rows of ink on the baseline, and the halo: a plain record has top 6,
    // an outlined one eight rows and top 5.
    const GlyphBitmap *plain = made.block('H', 1, 6, 8, 5, 6);
    const GlyphBitmap *outlined = made.block('H', 0, 5, 8, 7, 8);
    LineStyle style = plainStyle();
    const PlacedLine first = host::placeLine(record(0, 7, 39, {plain}), style);
    EXPECT_EQ(first.baseline, first.glyphs[0].y + 6);
    style.outlined = true;
    const PlacedLine second = host::placeLine(record(0, 7, 39, {outlined}), style);
    EXPECT_EQ(second.baseline, second.glyphs[0].y + 1 + 6);
    EXPECT_EQ(second.glyphs[0].y, 40 - 5) << "the first row is where the record says";
}

TEST(Painter, DoesNotDrawTheAlefThatLamAlefShows)
{
    Glyphs made;
    const PaintInfo info =
        record(0, 3, 0, {made.block(0xFE8E, 0, 1, 2, 1, 1), made.block(0xFEFB, 0, 1, 2, 1, 1)});
    LineStyle style = plainStyle(1);
    Canvas canvas(4, 1, kWhite), bare(4, 1, kWhite);
    host::paintLine(canvas, host::placeLine(info, style), ZkFont(), 0, {kBlack, kRed});
    EXPECT_EQ(drawing(canvas), (Drawing{"#..."}));
    style.bare = true;
    host::paintLine(bare, host::placeLine(info, style), ZkFont(), 0, {kBlack, kRed});
    EXPECT_EQ(drawing(bare), (Drawing{"#.#."}));
}

TEST(TextFromUtf8, TakesWhatTheLibraryCanDraw)
{
    const struct {
        const char *what;
        std::string bytes;
        std::u16string text;
    } kRows[] = {
        {"nothing", "", u""},
        {"ASCII", "a b", u"a b"},
        {"two and three bytes", "\xC3\xA9\xE2\x82\xAC", u"\u00E9\u20AC"},
        {"line ends of another system", "a\r\nb\n", u"a\nb\n"},
        {"line and paragraph separators", "a\u2028b\u2029c", u"a\nb\nc"},
        {"tab", "a\tb", u"a b"},
        {"zero-width non-joiner", "\u0645\u06CC\u200C\u062F", u"\u0645\u06CC \u062F"},
        {"byte order mark", "\uFEFFa", u"a"},
        {"control characters", std::string("a\x01\x7F\xC2\x85") + '\0' + "b", u"ab"},
        {"soft hyphen, joiners, marks of direction",
         "a\u00AD\u200B\u200D\u200E\u200F\u202A\u202E\u2060\u2066\u2069"
         "b",
         u"ab"},
        {"their neighbours stay", "\u200A\u2010\u2027\u202F\u2070",
         u"\u200A\u2010\u2027\u202F\u2070"},
        {"the last character of the plane", "\xEF\xBF\xBF", u"\uFFFF"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        ZkString text;
        int leftOut = -1;
        std::string problem;
        EXPECT_TRUE(host::textFromUtf8(row.bytes, &text, &leftOut, &problem));
        EXPECT_EQ(text.toStdU16String(), row.text);
        EXPECT_EQ(leftOut, 0);
    }
}

TEST(TextFromUtf8, CountsWhatLiesBeyondTheBasicPlane)
{
    ZkString text;
    int leftOut = -1;
    std::string problem;
    EXPECT_TRUE(host::textFromUtf8("a\U0001F600b\U0010FFFF", &text, &leftOut, &problem));
    EXPECT_EQ(text.toStdU16String(), u"ab");
    EXPECT_EQ(leftOut, 2);
}

TEST(TextFromUtf8, RefusesOtherBytesAndSaysWhere)
{
    const struct {
        const char *what;
        const char *bytes;
        int at;
    } kRows[] = {
        {"stray continuation", "a\x80", 2},
        {"cut short at the end", "ab\xC3", 3},
        {"cut short before a letter", "\xE2\x82z", 1},
        {"overlong, two bytes", "\xC0\x80", 1},
        {"overlong, three bytes", "\xE0\x80\xAF", 1},
        {"overlong, four bytes", "\xF0\x80\x80\x80", 1},
        {"surrogate", "\xED\xA0\x80", 1},
        {"above the last code", "\xF4\x90\x80\x80", 1},
        {"no lead byte", "abc\xFF", 4},
        {"Latin-1", "caf\xE9", 4},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        ZkString text("before");
        int leftOut = 0;
        std::string problem;
        EXPECT_FALSE(host::textFromUtf8(row.bytes, &text, &leftOut, &problem));
        EXPECT_EQ(problem, "the text is not UTF-8 (byte " + std::to_string(row.at) + ")");
        EXPECT_EQ(text, ZkString("before"));
    }
}

namespace
{

/// The advance sum of a text in the open font, by the library's single-line measure.
int widthOf(const std::u16string &text, const ZkFont &font, int charSpacing = 0)
{
    return ZkFontMetrics(ZkString(std::u16string_view(text)), font, 0, charSpacing)
               .lengthForPixel() +
           1;
}

std::vector<std::u16string> split(const std::u16string &text, char16_t separator)
{
    std::vector<std::u16string> parts(1);
    for (const char16_t c : text) {
        if (c == separator) {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    return parts;
}

std::vector<std::u16string> wordsOf(const std::u16string &text)
{
    std::vector<std::u16string> words;
    for (const std::u16string &line : split(text, u'\n')) {
        for (const std::u16string &word : split(line, u' ')) {
            if (!word.empty()) {
                words.push_back(word);
            }
        }
    }
    return words;
}

/// The widths of the lines as the library lays the text out, newlines alone ending
/// them. (The spacing behind a newline counts, the newline itself does not.)
std::vector<int> lineWidths(const std::u16string &text, const ZkFont &font, int charSpacing)
{
    ZkFontMetrics metrics(ZkString(std::u16string_view(text)), font, 0, charSpacing);
    const ZkList<ZkRect> rects = metrics.lineRects();
    const std::size_t newlines = std::size_t(std::count(text.begin(), text.end(), u'\n'));
    std::vector<int> widths;
    for (int i = 0; i < rects.size(); ++i) {
        widths.push_back(rects.at(i).width() - (std::size_t(i) < newlines ? charSpacing : 0));
    }
    return widths;
}

std::u16string broken(const std::u16string &text, const ZkFont &font, int charSpacing, int width)
{
    return host::breakParagraphs(ZkString(std::u16string_view(text)), font, charSpacing, width)
        .toStdU16String();
}

class Paragraph : public testing::Test
{
protected:
    void SetUp() override { ZkFontMetrics::setFontFile(ZK_FONT_DEJAVU); }
    void TearDown() override { ZkFontMetrics::closeFontFile(); }

    const ZkFont m_font = ZkFont(20, false, false, false, false);
};

} // namespace

TEST_F(Paragraph, LeftToRightTextAndUnlimitedWidthStayAsTheyAre)
{
    const ZkString latin("one two three four five"), hebrew("שלום עולם");
    EXPECT_TRUE(host::breakParagraphs(latin, m_font, 0, 10).isSharedWith(latin));
    EXPECT_TRUE(host::breakParagraphs(hebrew, m_font, 0, 0).isSharedWith(hebrew));
    EXPECT_TRUE(host::breakParagraphs(hebrew, m_font, 0, -5).isSharedWith(hebrew));
    EXPECT_TRUE(host::breakParagraphs(ZkString(), m_font, 0, 10).isEmpty());
}

TEST_F(Paragraph, LinesAreFilledInReadingOrder)
{
    const std::u16string one = u"\u05D0\u05D1", two = u"\u05D2\u05D3\u05D4",
                         three = u"\u05D5\u05D6";
    const std::u16string text = one + u' ' + two + u' ' + three;
    const int first = widthOf(one + u' ' + two, m_font);
    const int all = widthOf(text, m_font);
    const struct {
        const char *what;
        int width;
        std::u16string lines;
    } kRows[] = {
        {"room for all", all, text},
        {"one pixel short", all - 1, one + u' ' + two + u'\n' + three},
        {"room for two words", first, one + u' ' + two + u'\n' + three},
        {"one pixel less", first - 1, one + u'\n' + two + u' ' + three},
        {"room for none", 1, one + u'\n' + two + u'\n' + three},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(broken(text, m_font, 0, row.width), row.lines);
    }
}

TEST_F(Paragraph, SpacesInsideALineStayAndThoseAtItsEndsGo)
{
    const std::u16string word = u"\u05D0\u05D1\u05D2";
    const std::u16string text = u"  " + word + u"   " + word + u"  \n\n " + word + u" ";
    EXPECT_EQ(broken(text, m_font, 0, 4000), u"  " + word + u"   " + word + u"\n\n " + word);
    EXPECT_EQ(broken(text, m_font, 0, 1), u"  " + word + u"\n" + word + u"\n\n " + word);
    EXPECT_EQ(broken(word + u"\n", m_font, 0, 1), word + u"\n");
    EXPECT_EQ(broken(u"\n" + word, m_font, 0, 1), u"\n" + word);
}

TEST_F(Paragraph, AWordIsMeasuredInItsJoinedForms)
{
    // BEH ALEF joined is narrower than the two letters alone.
    const std::u16string word = u"\u0628\u0627\u0628\u0627\u0628";
    const int joined = widthOf(word, m_font);
    int apart = 0;
    for (const char16_t letter : word) {
        apart += widthOf(std::u16string(1, letter), m_font);
    }
    ASSERT_LT(joined, apart);
    const std::u16string text = word + u' ' + word;
    EXPECT_EQ(broken(text, m_font, 0, widthOf(text, m_font)), text);
}

TEST_F(Paragraph, CjkCharactersMayEndALineAnywhere)
{
    const std::u16string text = u"\u05D0\u05D1\u4E2D\u6587\u5B57";
    EXPECT_EQ(broken(text, m_font, 0, 1), u"\u05D0\u05D1\n\u4E2D\n\u6587\n\u5B57");
    EXPECT_EQ(broken(text, m_font, 0, 4000), text);
}

TEST_F(Paragraph, AnyTextKeepsItsWordsInOrderAndItsLinesWithinTheWidth)
{
    std::mt19937 random(20240501);
    const auto below = [&](unsigned n) { return int(random() % n); };
    const std::u16string kLetters = u"\u0627\u0628\u0644\u0645\u06CC\u067E\u05D0\u05E9"
                                    u"ab1.,";
    for (int round = 0; round < 150; ++round) {
        std::u16string text = u"\u0644\u0627";
        for (int i = below(60); i > 0; --i) {
            const int kind = below(12);
            text += kind == 0   ? u'\n'
                    : kind <= 3 ? u' '
                                : kLetters[std::size_t(below(unsigned(kLetters.size())))];
        }
        const int width = 1 + below(300), charSpacing = below(4) - 1;
        const std::u16string lines = broken(text, m_font, charSpacing, width);
        SCOPED_TRACE(testing::Message() << "round " << round << ", width " << width);
        EXPECT_EQ(wordsOf(lines), wordsOf(text));
        const std::vector<std::u16string> each = split(lines, u'\n');
        const std::vector<int> widths = lineWidths(lines, m_font, charSpacing);
        for (std::size_t i = 0; i < widths.size(); ++i) {
            if (wordsOf(each[i]).size() > 1) {
                EXPECT_LE(widths[i], width) << "line " << i;
            }
        }
        const auto newlines = [](const std::u16string &s) {
            return std::count(s.begin(), s.end(), u'\n');
        };
        EXPECT_GE(newlines(lines), newlines(text));
        EXPECT_EQ(broken(lines, m_font, charSpacing, width), lines) << "nothing is left to break";
    }
}

namespace
{

/// Everything that a block lays out, as plain numbers.
std::vector<int> positions(const host::TextBlock &block)
{
    std::vector<int> numbers;
    for (const PlacedLine &line : block.lines()) {
        numbers.insert(numbers.end(), {line.rect.left(), line.rect.top(), line.rect.right(),
                                       line.rect.bottom(), line.baseline});
        for (const host::PlacedGlyph &placed : line.glyphs) {
            numbers.insert(numbers.end(), {placed.glyph->unicode, placed.x, placed.y});
        }
    }
    return numbers;
}

class Block : public Paragraph
{
};

host::TextRequest request(const char *text, const ZkFont &font, int width)
{
    host::TextRequest wanted;
    wanted.text = ZkString(text);
    wanted.font = font;
    wanted.width = width;
    return wanted;
}

} // namespace

TEST_F(Block, AWrappedRightToLeftParagraphBeginsOnItsFirstLine)
{
    host::TextRequest wanted = request("אחת שתיים שלוש", m_font, 1);
    host::TextBlock block(wanted);
    block.place(0, 0, 0);
    ASSERT_EQ(block.lines().size(), 3u);
    EXPECT_EQ(block.lineText(0), ZkString("תחא"));
    EXPECT_EQ(block.lineText(1), ZkString("םייתש"));
    EXPECT_EQ(block.lineText(2), ZkString("שולש"));
    wanted.bare = true;
    host::TextBlock bare(wanted);
    bare.place(0, 0, 0);
    ASSERT_EQ(bare.lines().size(), 3u);
    EXPECT_EQ(bare.lineText(0), ZkString("שולש ")) << "the library alone shows the last word first";
}

TEST_F(Block, PlacingTwiceGivesTheSamePlaces)
{
    host::TextBlock block(request("Two words and more", m_font, 90));
    block.place(10, 20, 300);
    const std::vector<int> once = positions(block);
    block.place(10, 20, 300);
    EXPECT_EQ(positions(block), once);
}

TEST_F(Block, LinesFollowEachOtherFromTheTopOfTheBox)
{
    host::TextBlock block(request("a b c", m_font, 1));
    block.place(7, 9, 0);
    EXPECT_EQ(block.box(), ZkRect(7, 9, 7, 8 + block.size().height()));
    ASSERT_EQ(block.lines().size(), 3u);
    for (int i = 0; i < 3; ++i) {
        const PlacedLine &line = block.lines()[std::size_t(i)];
        EXPECT_EQ(line.rect.top(), 9 + i * block.lineHeight());
        EXPECT_EQ(line.rect.height(), block.lineHeight());
        EXPECT_EQ(line.rect.left(), 7);
    }
}

TEST_F(Block, AlignmentSwapsSidesForRightToLeftText)
{
    const struct {
        const char *text;
        int alignment;
        bool flushRight;
    } kRows[] = {
        {"abc", host::AlignLeft, false},
        {"abc", host::AlignRight, true},
        {"אבג", host::AlignLeft, true},
        {"אבג", host::AlignRight, false},
    };
    for (const auto &row : kRows) {
        host::TextRequest wanted = request(row.text, m_font, 400);
        wanted.alignment = row.alignment | host::AlignTop;
        host::TextBlock block(wanted);
        block.place(0, 0, 0);
        const ZkRect rect = block.lines().at(0).rect;
        EXPECT_EQ(row.flushRight ? rect.right() : rect.left(), row.flushRight ? 399 : 0)
            << row.text << " " << row.alignment;
    }
}

TEST_F(Block, LamAlefIsDrawnAtTheEdgeWhereReadingStarts)
{
    host::TextRequest wanted = request("لا", m_font, 200);
    host::TextBlock block(wanted);
    block.place(0, 0, 0);
    ASSERT_EQ(block.lines().at(0).cells.size(), 2u);
    const Cell ligature = block.lines()[0].cells[1];
    EXPECT_TRUE(block.lines()[0].cells[0].leftOut);
    EXPECT_EQ(ligature.x + ligature.width, 200);
}

TEST_F(Block, AnEmptyTextHasNoLinesAndNoSize)
{
    host::TextBlock block(request("", m_font, 0));
    EXPECT_EQ(block.size(), ZkSize(0, 0));
    block.place(5, 5, 0);
    EXPECT_TRUE(block.lines().empty());
}

TEST_F(Block, TheTallestGlyphOfALineIsInsideItsRectangle)
{
    for (const char *text : {"Ågj|", "العربية", "שלום", "Wort\nÅgj"}) {
        SCOPED_TRACE(text);
        host::TextBlock block(request(text, m_font, 0));
        block.place(0, 0, 0);
        for (const PlacedLine &line : block.lines()) {
            for (const host::PlacedGlyph &placed : line.glyphs) {
                EXPECT_GE(placed.y, line.rect.top());
                EXPECT_LE(placed.y + placed.glyph->height - 1, line.rect.bottom());
            }
        }
    }
}
