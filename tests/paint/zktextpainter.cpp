// The painter against a model that mixes one part of one pixel at a time.

#include <zkparagraph.h>
#include <zkregion.h>
#include <zktextpainter.h>

#include "paintmodel.h"
#include "rounds.h"

#include <gtest/gtest.h>

#include <climits>
#include <deque>
#include <memory>
#include <random>
#include <string>

using paintmodel::Board;
using paintmodel::Styles;

namespace
{

const ZkTextSurface::Format kFormats[] = {ZkTextSurface::Coverage8, ZkTextSurface::Rgb565,
                                          ZkTextSurface::Xrgb8888, ZkTextSurface::Argb8888};

const char *nameOf(ZkTextSurface::Format format)
{
    switch (format) {
    case ZkTextSurface::Coverage8: return "Coverage8";
    case ZkTextSurface::Rgb565: return "Rgb565";
    case ZkTextSurface::Xrgb8888: return "Xrgb8888";
    case ZkTextSurface::Argb8888: return "Argb8888";
    }
    return "?";
}

/// Glyph records made by hand, each with a block of exactly its pixels, so that the
/// sanitizer sees a byte read too many.
class Glyphs
{
public:
    template <typename Coverage>
    const GlyphBitmap *add(int width, int height, unsigned flags, Coverage coverage)
    {
        const auto count = std::size_t(width) * std::size_t(height);
        m_pixels.push_back(std::make_unique<std::uint8_t[]>(count));
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                m_pixels.back()[std::size_t(y * width + x)] =
                    static_cast<std::uint8_t>(coverage(x, y));
            }
        }
        GlyphBitmap glyph = {};
        glyph.width = glyph.pitch = static_cast<std::uint16_t>(width);
        glyph.height = static_cast<std::uint16_t>(height);
        glyph.font.flags = static_cast<std::uint8_t>(flags);
        glyph.pixels = m_pixels.back().get();
        m_glyphs.push_back(glyph);
        return &m_glyphs.back();
    }

    /// Rows of '#' (255), 'o' (1), '+' (128) and '.' (0).
    const GlyphBitmap *draw(const std::vector<std::string> &rows, unsigned flags = 0)
    {
        return add(int(rows[0].size()), int(rows.size()), flags, [&](int x, int y) {
            const char c = rows[std::size_t(y)][std::size_t(x)];
            return c == '#' ? 255 : c == 'o' ? 1 : c == '+' ? 128 : 0;
        });
    }

    const GlyphBitmap *withoutPixels()
    {
        add(5, 5, 0, [](int, int) { return 255; });
        m_glyphs.back().pixels = nullptr;
        return &m_glyphs.back();
    }

private:
    std::deque<std::unique_ptr<std::uint8_t[]>> m_pixels;
    std::deque<GlyphBitmap> m_glyphs;
};

/// A white picture of 32-bit pixels, drawn as text: '#' black, '.' white, 'r' red,
/// 'g' green, '?' anything else.
class Picture
{
public:
    Picture(int width, int height)
        : m_width(width), m_pixels(std::size_t(width * height), 0x00FFFFFF)
    {
    }
    ZkTextSurface surface()
    {
        return {m_pixels.data(), m_width, int(m_pixels.size()) / m_width, m_width * 4,
                ZkTextSurface::Xrgb8888};
    }
    std::vector<std::string> drawing() const
    {
        std::vector<std::string> rows;
        for (std::size_t i = 0; i < m_pixels.size(); ++i) {
            if (i % std::size_t(m_width) == 0) {
                rows.emplace_back();
            }
            const std::uint32_t p = m_pixels[i];
            rows.back() += p == 0          ? '#'
                           : p == 0xFFFFFF ? '.'
                           : p == 0xFF0000 ? 'r'
                           : p == 0x00FF00 ? 'g'
                                           : '?';
        }
        return rows;
    }

private:
    int m_width;
    std::vector<std::uint32_t> m_pixels;
};

typedef std::vector<std::string> Drawing;

constexpr std::uint32_t kBlack = 0xFF000000, kRed = 0xFFFF0000, kGreen = 0xFF00FF00;

/// A glyph of every coverage, one row high, or as many rows as a board needs.
const GlyphBitmap *everyCoverage(Glyphs &made, int rows)
{
    return made.add(256, rows, 0, [](int x, int) { return x; });
}

} // namespace

TEST(ZkTextPainter, SharesAreRoundedForEveryCoverageAndAlpha)
{
    Glyphs made;
    const GlyphBitmap *glyph = everyCoverage(made, 1);
    const ZkPlacedGlyph placed = {glyph, 0, 0, 0, 0};
    for (const ZkTextSurface::Format format : kFormats) {
        for (std::uint32_t alpha = 0; alpha <= 255; ++alpha) {
            Board board(format, 256, 1, 1024);
            const std::uint32_t color = alpha << 24 | 0x00C86414;
            ZkTextPainter painter(board.surface());
            painter.setColors(color);
            painter.paint(&placed, 1, 0, 0);
            paintmodel::paint(board, {{color, 0, 0}, {}}, {placed}, 0, 0, {});
            ASSERT_TRUE(board.bytes() == board.expected()) << nameOf(format) << " alpha " << alpha;
        }
    }
}

TEST(ZkTextPainter, PartsAreRoundedForEveryPixelBelowEveryColourAndEveryCoverage)
{
    Glyphs made;
    const GlyphBitmap *glyph = everyCoverage(made, 256);
    const ZkPlacedGlyph placed = {glyph, 0, 0, 0, 0};
    const std::uint32_t step = kSlowTests ? 17 : 1; // 255 is a multiple
    for (const ZkTextSurface::Format format : kFormats) {
        for (std::uint32_t part = 0; part <= 255; part += step) {
            Board board(format, 256, 256, 1024);
            for (int y = 0; y < 256; ++y) {
                const auto below = std::uint32_t(y);
                for (int x = 0; x < 256; ++x) {
                    board.setPixel(x, y,
                                   format == ZkTextSurface::Rgb565
                                       ? (below & 31) << 11 | (below & 63) << 5 | (below & 31)
                                       : below * 0x01010101);
                }
            }
            const std::uint32_t color = 0xFF000000 | part << 16 | (255 - part) << 8 | part;
            ZkTextPainter painter(board.surface());
            painter.setColors(color);
            painter.paint(&placed, 1, 0, 0);
            paintmodel::paint(board, {{color, 0, 0}, {}}, {placed}, 0, 0, {});
            ASSERT_TRUE(board.bytes() == board.expected()) << nameOf(format) << " part " << part;
        }
    }
}

TEST(ZkTextPainter, EveryWidthAndPlaceAgreesWithTheModel)
{
    // Groups of 8, 4, 2 and 1 pixels, the rest of a row, empty and full groups.
    for (const ZkTextSurface::Format format : kFormats) {
        for (int width = 1; width <= 37; ++width) {
            Glyphs made;
            const GlyphBitmap *glyph = made.add(width, 6, 0, [&](int x, int y) {
                return y == 0 ? 255 : y == 1 ? 0 : y == 2 ? 255 * (x & 1) : (x * 37 + y * 11) % 256;
            });
            for (int x = -3; x <= 6; ++x) {
                Board board(format, 36, 8, 36 * paintmodel::bytesOf(format) + 1);
                const ZkPlacedGlyph placed = {glyph, x, 1, 0, 0};
                ZkTextPainter painter(board.surface());
                painter.setColors(0xFF3A7BD5);
                painter.paint(&placed, 1, 0, 0);
                paintmodel::paint(board, {{0xFF3A7BD5, 0, 0}, {}}, {placed}, 0, 0, {});
                ASSERT_TRUE(board.bytes() == board.expected())
                    << nameOf(format) << " width " << width << " at " << x;
            }
        }
    }
}

namespace
{

/// Glyphs, strips, styles and a clip thrown together, painted both ways.
class RandomPage
{
public:
    explicit RandomPage(unsigned seed) : m_random(seed) { makeGlyphs(); }

    int below(int n) { return int(m_random() % unsigned(n)); }

    void paintBoth()
    {
        const ZkTextSurface::Format format = kFormats[below(4)];
        const int width = 1 + below(90), height = 1 + below(40);
        const int pitch = width * paintmodel::bytesOf(format) + below(9);
        Board board(format, width, height, pitch, below(2) == 0);
        ZkTextPainter painter(board.surface());
        const Styles styles = chooseStyles(painter);
        chooseClip(painter, board);
        std::vector<ZkPlacedGlyph> placed;
        for (int i = below(30); i > 0; --i) {
            placed.push_back({m_glyphs[std::size_t(below(int(m_glyphs.size())))],
                              below(2 * width) - width / 2, below(2 * height) - height / 2, 0,
                              below(8) - 2});
        }
        std::vector<ZkTextPainter::Strip> strips;
        for (int i = below(4); i > 0; --i) {
            const int x = below(width) - 5, y = below(height) - 5;
            strips.push_back(
                {ZkRect(x, y, x + below(60) - 4, y + below(4) - 1), below(8) - 2, below(2) == 0});
        }
        const int dx = below(9) - 4, dy = below(9) - 4;
        painter.paint(placed.data(), int(placed.size()), dx, dy, strips.data(), int(strips.size()));
        paintmodel::paint(board, styles, placed, dx, dy, strips);
        ASSERT_TRUE(board.bytes() == board.expected())
            << nameOf(format) << " " << width << " x " << height;
    }

private:
    std::uint32_t color()
    {
        const std::uint32_t alpha = below(2) == 0 ? 255 : std::uint32_t(below(256));
        return alpha << 24 | (std::uint32_t(m_random()) & 0x00FFFFFF);
    }

    void makeGlyphs()
    {
        for (int i = 0; i < 12; ++i) {
            const int width = i == 0 ? 300 : 1 + below(24), height = 1 + below(20);
            m_glyphs.push_back(m_made.add(
                width, height, below(2) == 0 ? unsigned(ZkFontAttr::Outline) : 0u, [&](int, int) {
                    const int kind = below(4);
                    return kind == 0 ? 0 : kind == 1 ? 255 : kind == 2 ? 1 : below(256);
                }));
        }
        m_glyphs.push_back(m_made.withoutPixels());
        m_glyphs.push_back(m_made.add(0, 0, 0, [](int, int) { return 0; }));
        m_glyphs.push_back(nullptr);
    }

    Styles chooseStyles(ZkTextPainter &painter)
    {
        Styles styles;
        styles.other = {color(), color(), 0};
        painter.setStyle(styles.other);
        for (int i = below(8); i > 0; --i) {
            const int tag = below(8) - 2;
            styles.own[tag] = {color(), color(), 0};
            painter.setStyle(tag, styles.own[tag]);
        }
        return styles;
    }

    void chooseClip(ZkTextPainter &painter, Board &board)
    {
        const auto rect = [this] {
            const int x = below(80) - 10, y = below(40) - 10;
            return ZkRect(x, y, x + below(50) - 2, y + below(30) - 2);
        };
        const int kind = below(3);
        if (kind == 1) {
            const ZkRect clip = rect();
            painter.setClip(clip);
            board.inClip = [clip](int x, int y) {
                return clip.left() <= x && x <= clip.right() && clip.top() <= y &&
                       y <= clip.bottom();
            };
        } else if (kind == 2) {
            ZkRegion region;
            for (int i = below(6); i > 0; --i) {
                region += rect();
            }
            region &= ZkRect(-2, 3, 60, 25);
            painter.setClip(region);
            board.inClip = [region](int x, int y) {
                return !region.isEmpty() && region.contains(ZkPoint(x, y));
            };
        }
    }

    std::mt19937 m_random;
    Glyphs m_made;
    std::vector<const GlyphBitmap *> m_glyphs;
};

} // namespace

TEST(ZkTextPainter, RandomPagesAgreeWithTheModel)
{
    for (int round = 0; round < scaledRounds(3000); ++round) {
        SCOPED_TRACE(round);
        RandomPage page(unsigned(round) + 20261122);
        page.paintBoth();
        if (testing::Test::HasFatalFailure()) {
            return;
        }
    }
}

TEST(ZkTextPainter, HalosOfAllGlyphsComeBeforeAnyInk)
{
    Glyphs made;
    const GlyphBitmap *glyph = made.draw({"ooo", "o#o", "ooo"}, ZkFontAttr::Outline);
    const ZkPlacedGlyph two[] = {{glyph, 0, 0, 0, 0}, {glyph, 1, 0, 1, 0}};
    Picture picture(5, 3);
    ZkTextPainter painter(picture.surface());
    painter.setColors(kBlack, kRed);
    painter.paint(two, 2, 0, 0);
    EXPECT_EQ(picture.drawing(), (Drawing{"rrrr.", "r##r.", "rrrr."}));
}

TEST(ZkTextPainter, CoverageOneIsInkWhereAGlyphHasNoHalo)
{
    Glyphs made;
    const ZkPlacedGlyph placed = {made.draw({"o#"}), 0, 0, 0, 0};
    Picture picture(2, 1);
    ZkTextPainter(picture.surface()).paint(&placed, 1, 0, 0);
    EXPECT_EQ(picture.drawing(), (Drawing{"?#"}));
}

TEST(ZkTextPainter, InkIsMixedWithTheHaloUnderIt)
{
    Glyphs made;
    const ZkPlacedGlyph placed = {made.draw({"+"}, ZkFontAttr::Outline), 0, 0, 0, 0};
    std::uint32_t pixel = 0x00FFFFFF;
    ZkTextPainter painter({&pixel, 1, 1, 4, ZkTextSurface::Xrgb8888});
    painter.setColors(kBlack, kGreen);
    painter.paint(&placed, 1, 0, 0);
    EXPECT_EQ(pixel, 0x00007F00u) << "no white shows between the two";
}

TEST(ZkTextPainter, EachTagHasItsStyle)
{
    Glyphs made;
    const GlyphBitmap *dot = made.draw({"#"});
    const ZkPlacedGlyph glyphs[] = {{dot, 0, 0, 0, 0},       {dot, 1, 0, 0, 7},
                                    {dot, 2, 0, 0, -3},      {dot, 3, 0, 0, 7},
                                    {dot, 4, 0, 0, INT_MIN}, {dot, 5, 0, 0, INT_MAX}};
    Picture picture(6, 1);
    ZkTextPainter painter(picture.surface());
    painter.setStyle(7, {kGreen, 0, 0});
    painter.setStyle(-3, {kGreen, 0, 0});
    painter.setStyle(-3, {kRed, 0, 0});
    painter.setStyle(INT_MIN, {kRed, 0, 0});
    painter.setStyle(INT_MAX, {kGreen, 0, 0});
    painter.paint(glyphs, 6, 0, 0);
    EXPECT_EQ(picture.drawing(), (Drawing{"#grgrg"}));
    EXPECT_EQ(painter.style(7).ink, kGreen);
    EXPECT_EQ(painter.style(8).ink, kBlack) << "a tag without a style of its own";
    for (int tag = 0; tag < 1000; ++tag) {
        painter.setStyle((tag * 7919) % 1000, {std::uint32_t((tag * 7919) % 1000), 0, 0});
    }
    for (int tag = 0; tag < 1000; ++tag) {
        EXPECT_EQ(painter.style(tag).ink, std::uint32_t(tag));
    }
}

TEST(ZkTextPainter, StripsLieUnderTheInkAndTheirHaloUnderAllInk)
{
    Glyphs made;
    const ZkPlacedGlyph glyph = {made.draw({"#", "#", "#"}), 2, 0, 0, 1};
    const ZkTextPainter::Strip strip = {ZkRect(1, 1, 3, 1), 0, true};
    Picture picture(6, 4);
    ZkTextPainter painter(picture.surface());
    painter.setColors(kBlack, kRed);
    painter.setStyle(1, {kGreen, 0, 0});
    painter.paint(&glyph, 1, 1, 1, &strip, 1);
    EXPECT_EQ(picture.drawing(), (Drawing{"......", ".rrgrr", ".r#g#r", ".rrgrr"}));
}

TEST(ZkTextPainter, TheHighestByteOfAnOpaquePixelStays)
{
    for (const std::uint32_t color : {0xFF102030u, 0x80102030u}) {
        std::uint32_t pixels[9];
        std::fill(pixels, pixels + 9, 0xA5FFFFFFu);
        ZkTextPainter painter({pixels, 9, 1, 36, ZkTextSurface::Xrgb8888});
        painter.fill(ZkRect(0, 0, 8, 0), color);
        for (const std::uint32_t pixel : pixels) {
            EXPECT_EQ(pixel >> 24, 0xA5u);
            EXPECT_NE(pixel & 0xFFFFFF, 0xFFFFFFu);
        }
    }
}

TEST(ZkTextPainter, PremultipliedPartsNeverExceedTheirAlpha)
{
    Board board(ZkTextSurface::Argb8888, 64, 64, 256);
    RandomPage random(7);
    ZkTextPainter painter(board.surface());
    for (int i = 0; i < 3000; ++i) {
        painter.blend(random.below(64), random.below(64),
                      std::uint32_t(random.below(256)) << 24 | std::uint32_t(random.below(1 << 24)),
                      random.below(256));
    }
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            const std::uint32_t pixel = board.pixel(x, y), alpha = pixel >> 24;
            EXPECT_LE(pixel >> 16 & 255, alpha);
            EXPECT_LE(pixel >> 8 & 255, alpha);
            EXPECT_LE(pixel & 255, alpha);
        }
    }
}

TEST(ZkTextPainter, TextOnAClearSurfaceIsItsColourTimesItsCoverage)
{
    Glyphs made;
    const GlyphBitmap *glyph = everyCoverage(made, 1);
    const ZkPlacedGlyph placed = {glyph, 0, 0, 0, 0};
    std::vector<std::uint32_t> pixels(256, 0);
    ZkTextPainter painter({pixels.data(), 256, 1, 1024, ZkTextSurface::Argb8888});
    painter.setColors(0xFFFF8000);
    painter.paint(&placed, 1, 0, 0);
    for (std::uint32_t coverage = 0; coverage <= 255; ++coverage) {
        EXPECT_EQ(pixels[coverage],
                  coverage << 24 | coverage << 16 | (coverage * 128 + 127) / 255 << 8);
    }
}

TEST(ZkTextPainter, BlendTakesOnePixelAndAnyCoverage)
{
    const struct {
        int coverage, alpha, below, above, result;
    } kRows[] = {
        {0, 255, 100, 200, 100},  {255, 255, 100, 200, 200}, {255, 0, 100, 200, 100},
        {128, 255, 0, 255, 128},  {255, 128, 0, 255, 128},   {128, 128, 0, 255, 64},
        {51, 255, 0, 100, 20},    {1, 255, 255, 0, 254},     {-7, 255, 100, 200, 100},
        {9999, 255, 0, 255, 255},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.coverage * 1000 + row.alpha);
        std::uint32_t pixel = std::uint32_t(row.below);
        ZkTextPainter painter({&pixel, 1, 1, 4, ZkTextSurface::Xrgb8888});
        painter.blend(0, 0, std::uint32_t(row.alpha) << 24 | std::uint32_t(row.above),
                      row.coverage);
        EXPECT_EQ(pixel, std::uint32_t(row.result));
        painter.blend(1, 0, kBlack, 255);
        painter.blend(0, -1, kBlack, 255);
        painter.blend(INT_MIN, INT_MAX, kBlack, 255);
        EXPECT_EQ(pixel, std::uint32_t(row.result)) << "nothing outside";
    }
}

TEST(ZkTextPainter, WideRectanglesAreFilledToTheirLastColumn)
{
    for (const ZkTextSurface::Format format : kFormats) {
        for (const int width : {1, 255, 256, 257, 700}) {
            Board board(format, 800, 3, 3200);
            ZkTextPainter painter(board.surface());
            const ZkRect rect(3, 1, 2 + width, 1);
            painter.fill(rect, 0x80FF8000);
            painter.fill(ZkRect(5, 0, 4, 2), kBlack);
            board.fill(rect, 0x80FF8000);
            EXPECT_TRUE(board.bytes() == board.expected()) << nameOf(format) << " " << width;
        }
    }
}

TEST(ZkTextPainter, AnyCoordinatesAreSafe)
{
    Glyphs made;
    const GlyphBitmap *small = made.draw({"##", "##"});
    const GlyphBitmap *wide = made.add(65535, 1, ZkFontAttr::Outline, [](int, int) { return 255; });
    const GlyphBitmap *high = made.add(1, 65535, 0, [](int, int) { return 255; });
    const int kPlaces[] = {INT_MIN, INT_MIN + 1, -65536, -65535, -65534,      -1,     0,
                           1,       7,           65535,  65536,  INT_MAX - 1, INT_MAX};
    for (const ZkTextSurface::Format format : kFormats) {
        for (const GlyphBitmap *glyph : {small, wide, high}) {
            for (const int x : kPlaces) {
                for (const int y : kPlaces) {
                    Board board(format, 5, 4, 20);
                    ZkTextPainter painter(board.surface());
                    const ZkPlacedGlyph placed = {glyph, x, y, 0, 0};
                    painter.paint(&placed, 1, 0, 0);
                    const Styles styles;
                    paintmodel::paint(board, styles, {placed}, 0, 0, {});
                    ASSERT_TRUE(board.bytes() == board.expected()) << x << ", " << y;
                    const ZkTextPainter::Strip strip = {ZkRect(x, y, INT_MAX, INT_MAX), 0, true};
                    for (const int by : {INT_MIN, -1, 1, INT_MAX}) {
                        painter.paint(&placed, 1, by, by, &strip, 1);
                    }
                }
            }
        }
    }
}

TEST(ZkTextPainter, ASumBeyondTheEndsOfAnIntPaintsNothing)
{
    Glyphs made;
    const GlyphBitmap *glyph = made.draw({"##", "##"});
    Picture picture(2, 2);
    ZkTextPainter painter(picture.surface());
    for (const int by : {INT_MIN, INT_MAX}) {
        const ZkPlacedGlyph placed = {glyph, by, by, 0, 0};
        painter.paint(&placed, 1, by, by);
        painter.paint(&placed, 1, 0, by);
    }
    EXPECT_EQ(picture.drawing(), (Drawing{"..", ".."}));
    const ZkPlacedGlyph placed = {glyph, INT_MIN, INT_MAX, 0, 0};
    painter.paint(&placed, 1, INT_MAX, -INT_MAX);
    EXPECT_EQ(picture.drawing(), (Drawing{"#.", "#."})) << "(-1, 0)";
}

TEST(ZkTextPainter, SurfacesWithoutPixelsTakeNoPaint)
{
    Glyphs made;
    const GlyphBitmap *glyph = made.draw({"####"});
    std::uint32_t memory[4] = {1, 2, 3, 4};
    const struct {
        const char *what;
        ZkTextSurface surface;
    } kRows[] = {
        {"no address", {nullptr, 4, 1, 16, ZkTextSurface::Argb8888}},
        {"no width", {memory, 0, 1, 16, ZkTextSurface::Argb8888}},
        {"negative width", {memory, -4, 1, 16, ZkTextSurface::Argb8888}},
        {"no height", {memory, 4, 0, 16, ZkTextSurface::Argb8888}},
        {"negative height", {memory, 4, INT_MIN, 16, ZkTextSurface::Argb8888}},
        {"rows that overlap", {memory, 4, 2, 15, ZkTextSurface::Argb8888}},
        {"rows that overlap upwards", {memory, 4, 2, -15, ZkTextSurface::Argb8888}},
        {"no pitch", {memory, 4, 2, 0, ZkTextSurface::Rgb565}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const ZkPlacedGlyph placed = {glyph, 0, 0, 0, 0};
        ZkTextPainter painter(row.surface);
        painter.paint(&placed, 1, 0, 0);
        painter.fill(ZkRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX), kRed);
        painter.blend(0, 0, kRed, 255);
        EXPECT_FALSE(painter.clipRect().isValid());
        for (std::uint32_t i = 0; i < 4; ++i) {
            EXPECT_EQ(memory[i], i + 1);
        }
    }
    ZkTextPainter line({memory, 4, 1, 0, ZkTextSurface::Argb8888});
    line.fill(ZkRect(0, 0, 0, 0), kRed);
    EXPECT_EQ(memory[0], kRed) << "one row needs no pitch";
}

TEST(ZkTextPainter, NullListsAreEmptyLists)
{
    Picture picture(3, 1);
    ZkTextPainter painter(picture.surface());
    painter.paint(nullptr, 5, 0, 0, nullptr, 5);
    const ZkPlacedGlyph nothing = {nullptr, 0, 0, 0, 0};
    painter.paint(&nothing, 1, 0, 0);
    painter.paint(&nothing, -1, 0, 0);
    EXPECT_EQ(picture.drawing(), (Drawing{"..."}));
}

TEST(ZkTextPainter, ClipsReplaceEachOther)
{
    const ZkRect all(0, 0, 5, 0);
    Picture picture(6, 1);
    ZkTextPainter painter(picture.surface());
    EXPECT_EQ(painter.clipRect(), all);
    painter.setClip(ZkRect(4, 0, 2, 0));
    painter.fill(all, kRed);
    painter.setClip(ZkRegion());
    painter.fill(all, kRed);
    EXPECT_EQ(picture.drawing(), (Drawing{"......"}));
    painter.setClip(ZkRegion(0, 0, 1, 1) + ZkRegion(3, 0, 9, 1));
    painter.fill(ZkRect(0, 0, 4, 0), kRed);
    EXPECT_EQ(picture.drawing(), (Drawing{"r..rr."}));
    painter.setClip(ZkRegion(-5, -5, 7, 20));
    EXPECT_EQ(painter.clipRect(), ZkRect(0, 0, 1, 0));
    painter.fill(all, kBlack);
    EXPECT_EQ(picture.drawing(), (Drawing{"##.rr."}));
    painter.clearClip();
    EXPECT_EQ(painter.clipRect(), all);
    painter.fill(all, kGreen);
    EXPECT_EQ(picture.drawing(), (Drawing{"gggggg"}));
}

TEST(ZkTextPainter, ARegionOfManyPiecesClipsEachGlyph)
{
    // A chess board: every glyph meets many pieces of several bands.
    ZkVector<ZkRect> squares;
    for (int y = 0; y < 40; ++y) {
        for (int x = y % 2; x < 60; x += 2) {
            squares.append(ZkRect(x, y, x, y));
        }
    }
    ZkRegion region;
    region.setRects(squares.constData(), squares.size());
    Glyphs made;
    const GlyphBitmap *glyph = made.add(23, 17, 0, [](int x, int y) { return 255 - x * y % 200; });
    const std::vector<ZkPlacedGlyph> glyphs = {
        {glyph, -5, -5, 0, 0}, {glyph, 10, 12, 0, 0}, {glyph, 50, 30, 0, 0}};
    for (const ZkTextSurface::Format format : kFormats) {
        Board board(format, 60, 40, 240);
        board.inClip = [](int x, int y) { return (x + y) % 2 == 0; };
        ZkTextPainter painter(board.surface());
        painter.setClip(region);
        painter.paint(glyphs.data(), 3, 0, 0);
        paintmodel::paint(board, {}, glyphs, 0, 0, {});
        EXPECT_TRUE(board.bytes() == board.expected()) << nameOf(format);
    }
}

namespace
{

/// A paragraph on a board of coverage, painted at (3, 5).
class Paragraph : public testing::Test
{
protected:
    Paragraph()
    {
        m_text.setChain(ZkFontChain(ZkTypeface::fromFile(ZK_FONT_DEJAVU)));
        m_text.setFont(ZkFont(20, false, false, false, false));
    }

    /// The same glyphs and strips by hand.
    void paintByHand(ZkTextPainter &painter)
    {
        std::vector<ZkPlacedGlyph> glyphs;
        std::vector<ZkTextPainter::Strip> strips;
        for (int i = 0; i < m_text.lineCount(); ++i) {
            const ZkPlacedGlyph *first = nullptr;
            const int count = m_text.glyphs(i, &first);
            glyphs.insert(glyphs.end(), first, first + count);
            const ZkTextStretch *stretch = nullptr;
            for (int n = m_text.stretches(i, &stretch); n > 0; --n, ++stretch) {
                const unsigned lines = painter.style(stretch->tag).lines;
                const int right = stretch->x + stretch->width - 1;
                if (stretch->font.isUnderLine() || (lines & ZkTextPainter::Underline) != 0) {
                    strips.push_back(
                        {ZkRect(stretch->x, stretch->underlineTop, right,
                                stretch->underlineTop + stretch->underlineThickness - 1),
                         stretch->tag, stretch->font.isOutline()});
                }
                if ((lines & ZkTextPainter::StrikeThrough) != 0) {
                    strips.push_back({ZkRect(stretch->x, stretch->strikeTop, right,
                                             stretch->strikeTop + stretch->strikeThickness - 1),
                                      stretch->tag, stretch->font.isOutline()});
                }
            }
        }
        painter.paint(glyphs.data(), int(glyphs.size()), 3, 5, strips.data(), int(strips.size()));
    }

    ZkParagraph m_text;
};

} // namespace

TEST_F(Paragraph, IsPaintedLikeItsGlyphsAndStrips)
{
    m_text.setUtf8("one two three \u05D0\u05D1\u05D2 \u0644\u0627 four\nfive");
    m_text.setWidth(110);
    m_text.setSpan(4, 7, ZkFont(26, false, false, true, true), 1);
    m_text.setSpan(8, 13, ZkFont(20, false, false, false, false), 2);
    for (const ZkTextSurface::Format format : kFormats) {
        Board whole(format, 140, 120, 560), byHand(format, 140, 120, 560);
        for (Board *board : {&whole, &byHand}) {
            ZkTextPainter painter(board->surface());
            painter.setColors(0xFF203040);
            painter.setStyle(1, {kRed, kGreen, ZkTextPainter::StrikeThrough});
            painter.setStyle(2, {0x80FF0000, 0, ZkTextPainter::Underline});
            if (board == &whole) {
                painter.paint(m_text, 3, 5);
            } else {
                paintByHand(painter);
            }
        }
        EXPECT_TRUE(whole.bytes() == byHand.bytes()) << nameOf(format);
        EXPECT_FALSE(whole.bytes() == whole.expected()) << "something was painted";
    }
}

TEST_F(Paragraph, LinesStandWhereTheTypefaceSays)
{
    m_text.setUtf8("no tails");
    const ZkTypefaceMetrics metrics = m_text.chain().at(0).metrics(20);
    std::vector<std::uint8_t> page(std::size_t(200 * 40));
    ZkTextPainter painter({page.data(), 200, 40, 200, ZkTextSurface::Coverage8});
    painter.setStyle({kBlack, kBlack, ZkTextPainter::Underline});
    painter.paint(m_text, 0, 0);
    const int baseline = m_text.line(0).baseline, width = m_text.line(0).width;
    for (int y = baseline; y < 40; ++y) {
        const int below = y - baseline;
        const bool isStrip = below >= metrics.underlineTop &&
                             below < metrics.underlineTop + metrics.underlineThickness;
        EXPECT_EQ(page[std::size_t(y * 200 + width / 2)], isStrip ? 255 : 0) << below;
        EXPECT_EQ(page[std::size_t(y * 200 + width)], 0) << "behind the text";
    }
}

TEST_F(Paragraph, OnlyWhatReachesIntoTheClipIsPainted)
{
    m_text.setUtf8("a\nb\nc\nd\ne\nf");
    for (int top = -20; top < 130; top += 7) {
        Board whole(ZkTextSurface::Rgb565, 40, 130, 80), part(ZkTextSurface::Rgb565, 40, 130, 80);
        ZkTextPainter all(whole.surface()), clipped(part.surface());
        all.paint(m_text, 3, 5);
        clipped.setClip(ZkRect(0, top, 39, top + 10));
        clipped.paint(m_text, 3, 5);
        for (int y = 0; y < 130; ++y) {
            for (int x = 0; x < 40; ++x) {
                const bool inside = y >= top && y <= top + 10;
                std::uint32_t before = 0;
                std::memcpy(&before, &part.expected()[std::size_t(Board::kMargin + y * 80 + x * 2)],
                            2);
                ASSERT_EQ(part.pixel(x, y), inside ? whole.pixel(x, y) : before) << x << ", " << y;
            }
        }
    }
}

TEST_F(Paragraph, AnyPlaceIsSafe)
{
    m_text.setUtf8("far away");
    m_text.setSpan(0, 3, ZkFont(20, false, false, true, true), 1);
    Board board(ZkTextSurface::Argb8888, 20, 20, 80);
    ZkTextPainter painter(board.surface());
    for (const int x : {INT_MIN, -40, INT_MAX}) {
        for (const int y : {INT_MIN, -1000, INT_MAX}) {
            painter.paint(m_text, x, y);
        }
    }
    EXPECT_TRUE(board.bytes() == board.expected());
}
