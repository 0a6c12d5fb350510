// Thai marks stand where hosts of the classic engine draw them.

#include <zklineplacement.h>
#include <zkparagraph.h>

#include <gtest/gtest.h>

namespace
{

struct Spot {
    int x, y, width, height; ///< against the left edge and the baseline
    bool operator==(const Spot &other) const
    {
        return x == other.x && y == other.y && width == other.width && height == other.height;
    }
};

void PrintTo(const Spot &spot, std::ostream *stream)
{
    *stream << '(' << spot.x << ", " << spot.y << ") " << spot.width << 'x' << spot.height;
}

std::vector<Spot> classicSpots(const ZkString &text, const ZkFont &font)
{
    ZkFontMetrics layout(text, font);
    ZkLineStyle style;
    style.metrics = ZkTextMetrics::of(layout.glyphBitmap(), layout.textPixelSize());
    style.outlined = font.isOutline();
    std::vector<Spot> spots;
    const PaintInfo &record = layout.paintInfoList()[0];
    const ZkLinePlacement line(record, style);
    // Outlined glyphs come out two rows lower in the classic engine, the baseline with them.
    for (int i = 0; i < line.glyphCount(); ++i) {
        const ZkPlacedGlyph &placed = line.glyphs()[i];
        if (placed.glyph->width != 0 && placed.glyph->unicode != 0x20) {
            spots.push_back({placed.x - record.left, placed.y - line.baseline(),
                             placed.glyph->width, placed.glyph->height});
        }
    }
    return spots;
}

std::vector<Spot> spots(const ZkTypeface &face, const ZkString &text, const ZkFont &font)
{
    ZkParagraph paragraph;
    paragraph.setChain(ZkFontChain(face));
    paragraph.setKerning(false);
    paragraph.setFont(font);
    paragraph.setText(text);
    std::vector<Spot> out;
    const ZkPlacedGlyph *glyphs = nullptr;
    const int count = paragraph.glyphs(0, &glyphs);
    for (int i = 0; i < count; ++i) {
        out.push_back({glyphs[i].x - paragraph.line(0).x, glyphs[i].y - paragraph.line(0).baseline,
                       glyphs[i].glyph->width, glyphs[i].glyph->height});
    }
    return out;
}

class ThaiStacking : public testing::TestWithParam<const char *>
{
};

TEST_P(ThaiStacking, EveryConsonantWithEveryMarksOfOneAndTwo)
{
    ZkFontMetrics::setFontFile(GetParam());
    const ZkTypeface face = ZkTypeface::fromFile(GetParam());
    const ZkUcs2 kUpper[] = {0, 0x0E31, 0x0E34, 0x0E35, 0x0E36, 0x0E37, 0x0E38, 0x0E39, 0x0E3A};
    const ZkUcs2 kSecond[] = {0, 0x0E47, 0x0E48, 0x0E49, 0x0E4A, 0x0E4B, 0x0E4C};
    for (const int size : {16, 24, 40}) {
        const ZkFont font(static_cast<unsigned char>(size), false, false, false, false);
        for (ZkUcs2 consonant = 0x0E01; consonant <= 0x0E2E; ++consonant) {
            for (const ZkUcs2 first : kUpper) {
                for (const ZkUcs2 second : kSecond) {
                    int tone = 0, upper = 0, lower = 0;
                    const ZkUcs2 cell[3] = {consonant, first != 0 ? first : second,
                                            first != 0 ? second : ZkUcs2(0)};
                    ZkFontMetrics::thaiFontCheck(cell, &tone, &upper, &lower);
                    const int marks = (first != 0) + (second != 0);
                    if ((tone != 0) + (upper != 0) + (lower != 0) != marks) {
                        continue; // the classic engine takes the second mark for a letter
                    }
                    ZkString text(cell, 1 + marks);
                    text.append(ZkUcs2(0x0E01));
                    ASSERT_EQ(spots(face, text, font), classicSpots(text, font))
                        << std::hex << consonant << ' ' << first << ' ' << second << std::dec
                        << " at " << size;
                }
            }
        }
    }
}

TEST_P(ThaiStacking, WordsWithToneMarksAndSaraAm)
{
    ZkFontMetrics::setFontFile(GetParam());
    const ZkTypeface face = ZkTypeface::fromFile(GetParam());
    for (const char *word : {"น้ำ", "ที่นี่", "ปู่", "ผู้ใหญ่", "เชื้อ", "ศักดิ์สิทธิ์", "ฟ้าฝน", "ค่ำ", "ญี่ปุ่น"}) {
        for (const int size : {12, 16, 32, 64}) {
            for (const bool outlined : {false, true}) {
                const ZkFont font(static_cast<unsigned char>(size), false, false, outlined, false);
                EXPECT_EQ(spots(face, ZkString(word), font), classicSpots(ZkString(word), font))
                    << word << " at " << size << (outlined ? " outlined" : "");
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Fonts, ThaiStacking, testing::Values(ZK_FONT_FREESERIF, ZK_FONT_UNIFONT));

} // namespace
