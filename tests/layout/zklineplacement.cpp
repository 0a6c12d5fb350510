// Lines of the classic engine at their places. The rules for marks and spaces are looked
// at one by one in tests/tools/painter.cpp, through the hosts' painter.

#include <zklineplacement.h>
#include <zktextpainter.h>

#include <gtest/gtest.h>

#include <climits>
#include <vector>

namespace
{

GlyphBitmap glyph(ZkUcs2 unicode, int left, int top, int advance, int width, int height)
{
    static std::uint8_t pixels[64 * 64] = {255, 255, 255, 255};
    GlyphBitmap made = {};
    made.unicode = unicode;
    made.left = static_cast<std::int16_t>(left);
    made.top = static_cast<std::int16_t>(top);
    made.advance = static_cast<std::int16_t>(advance);
    made.width = made.pitch = static_cast<std::uint16_t>(width);
    made.height = static_cast<std::uint16_t>(height);
    made.descent = static_cast<std::int16_t>(height - top);
    made.pixels = pixels;
    return made;
}

PaintInfo record(int left, int right, int bottom, const std::vector<const GlyphBitmap *> &glyphs)
{
    PaintInfo info = {left, 0, right, bottom, {}};
    for (const GlyphBitmap *one : glyphs) {
        info.glyphs.append(one);
    }
    return info;
}

} // namespace

TEST(ZkLinePlacement, MetricsAreThoseOfTheWholeText)
{
    const GlyphBitmap high = glyph('a', 0, 10, 5, 2, 10), low = glyph('.', 0, -1, 5, 2, 3);
    const ZkTextMetrics metrics = ZkTextMetrics::of(record(0, 0, 0, {&high, &low}).glyphs, 19);
    EXPECT_EQ(metrics.ascent, 10);
    EXPECT_EQ(metrics.descent, 4);
    EXPECT_EQ(metrics.lineHeight, 19);
    EXPECT_EQ(metrics.baseline(30), 30 + 1 - 4 - 2) << "half of the spare five rows below";
}

TEST(ZkLinePlacement, GlyphsStandByAdvanceAndBearing)
{
    const GlyphBitmap a = glyph('A', 1, 6, 7, 5, 6), j = glyph('j', -2, 5, 4, 5, 7);
    ZkLineStyle style;
    style.metrics.ascent = 6;
    style.metrics.descent = 2;
    style.metrics.lineHeight = 10;
    style.charSpacing = 3;
    const ZkLinePlacement line(record(100, 127, 29, {&a, &j}), style);
    EXPECT_EQ(line.rect(), ZkRect(100, 20, 127, 29));
    EXPECT_EQ(line.baseline(), 27);
    ASSERT_EQ(line.glyphCount(), 2);
    ASSERT_EQ(line.cellCount(), 2);
    EXPECT_EQ(line.glyphs()[0].x, 101);
    EXPECT_EQ(line.glyphs()[0].y, 21);
    EXPECT_EQ(line.glyphs()[1].x, 108);
    EXPECT_EQ(line.glyphs()[1].y, 22);
    EXPECT_EQ(line.cells()[1].x, 110);
    EXPECT_EQ(line.cells()[1].width, 7);
    EXPECT_EQ(line.underline(ZkFont(16, false, false, false, true)), ZkRect(100, 28, 113, 28));
}

TEST(ZkLinePlacement, LongLinesAreWhole)
{
    const GlyphBitmap dot = glyph('.', 0, 1, 2, 1, 1);
    const ZkLinePlacement line(record(0, 0, 0, std::vector<const GlyphBitmap *>(1000, &dot)),
                               ZkLineStyle());
    ASSERT_EQ(line.cellCount(), 1000);
    EXPECT_EQ(line.cells()[999].x, 1998);
    EXPECT_EQ(line.glyphs()[999].x, 1998);
}

TEST(ZkLinePlacement, AnyNumbersArePlaced)
{
    const GlyphBitmap plain = glyph('a', -32768, 32767, 32767, 4, 4);
    const GlyphBitmap base = glyph(0x0E01, 32767, -32768, -32768, 4, 4);
    const GlyphBitmap vowel = glyph(0x0E35, -32768, 32767, 0, 4, 4);
    const GlyphBitmap tone = glyph(0x0E48, -3, 32767, 32767, 4, 4);
    const GlyphBitmap letter = glyph(0x0628, 0, 4, 4, 4, 4), mark = glyph(0x064B, 0, 9, 0, 4, 4);
    std::uint32_t pixels[16] = {};
    ZkTextPainter painter({pixels, 4, 4, 16, ZkTextSurface::Xrgb8888});
    for (const int edge : {INT_MIN, -1, 0, INT_MAX}) {
        for (const int spacing : {INT_MIN, 0, INT_MAX}) {
            ZkLineStyle style;
            style.metrics.ascent = style.metrics.lineHeight = spacing;
            style.metrics.descent = edge;
            style.charSpacing = spacing;
            style.outlined = true;
            for (const ZkLineAnchor anchor :
                 {ZkLineAnchor::Left, ZkLineAnchor::Center, ZkLineAnchor::Right}) {
                style.anchor = anchor;
                const ZkLinePlacement line(
                    record(edge, edge, edge,
                           {&plain, &base, &vowel, &tone, &mark, &mark, &letter, &plain}),
                    style);
                EXPECT_EQ(line.glyphCount(), 8);
                painter.paint(line, ZkFont(16, false, false, true, true));
            }
        }
    }
}

TEST(ZkLinePlacement, ThePainterLeavesOutTheAlefOfLamAlef)
{
    const GlyphBitmap alef = glyph(0xFE8E, 0, 1, 2, 1, 1), ligature = glyph(0xFEFB, 0, 1, 2, 1, 1);
    for (const bool bare : {false, true}) {
        std::uint8_t row[4] = {};
        ZkLineStyle style;
        style.metrics.ascent = style.metrics.lineHeight = 1;
        style.bare = bare;
        const ZkLinePlacement line(record(0, 3, 0, {&alef, &ligature}), style);
        ZkTextPainter({row, 4, 1, 4, ZkTextSurface::Coverage8}).paint(line, ZkFont());
        EXPECT_EQ(row[0], 255);
        EXPECT_EQ(row[2], bare ? 255 : 0);
        EXPECT_EQ(line.cells()[0].leftOut, !bare);
    }
}

// The first mark stands right of the second in the record, and the letter right of both.
TEST(ZkLinePlacement, ArabicMarksOfOneSideStandClearOfEachOther)
{
    const GlyphBitmap letter = glyph(0xFE8F, 0, 8, 10, 8, 8);
    const GlyphBitmap kasra = glyph(0x0650, 0, -1, 0, 4, 2),
                      kasratan = glyph(0x064D, 0, -1, 0, 4, 3);
    const GlyphBitmap shadda = glyph(0x0651, 0, 11, 0, 4, 2), fatha = glyph(0x064E, 0, 11, 0, 4, 2);
    ZkLineStyle style;
    style.metrics.ascent = 16;
    style.metrics.lineHeight = 16;
    const ZkLinePlacement line(record(0, 40, 15, {&fatha, &kasratan, &shadda, &kasra, &letter}),
                               style);
    ASSERT_EQ(line.glyphCount(), 5);
    const ZkPlacedGlyph *const placed = line.glyphs();
    EXPECT_GE(placed[3].y, placed[4].y + letter.height);
    EXPECT_GE(placed[1].y, placed[3].y + kasra.height);
    EXPECT_LE(placed[2].y + shadda.height, placed[4].y);
    EXPECT_LE(placed[0].y + fatha.height, placed[2].y);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(placed[i].x, placed[4].x + 2) << "in the middle";
    }
}

// Marks that share no column cannot touch; one is enough.
TEST(ZkLinePlacement, AToneMarkIsRaisedFromItsFirstColumnOverTheNextLetterOn)
{
    const GlyphBitmap koKai = glyph(0x0E01, 0, 8, 10, 8, 8);
    const GlyphBitmap tone = glyph(0x0E48, -3, 12, 0, 4, 4); // in columns 7 to 10
    for (const int left : {0, 1}) {
        SCOPED_TRACE(left);
        const GlyphBitmap saraAm = glyph(0x0E33, left, 10, 8, 6, 10); // from column 10 or 11 on
        ZkLineStyle style;
        style.metrics.ascent = 12;
        style.metrics.lineHeight = 12;
        const ZkLinePlacement line(record(0, 40, 11, {&koKai, &tone, &saraAm}), style);
        ASSERT_EQ(line.glyphCount(), 3);
        const ZkPlacedGlyph *const placed = line.glyphs();
        ASSERT_EQ(placed[1].x, 7);
        ASSERT_EQ(placed[2].x, 10 + left);
        const int plain = placed[0].y - 4;      // 12 rows above the baseline, the letter 8
        const int raised = placed[2].y - 1 - 4; // a row between the two
        EXPECT_EQ(placed[1].y, left == 0 ? raised : plain);
    }
}
