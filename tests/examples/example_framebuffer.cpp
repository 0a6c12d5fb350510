// The framebuffer example: 16-bit pixels against the 24-bit painter.

#define main exampleMain
#include "framebuffer.cpp"
#undef main

#include "canvas.h"
#include "hostprogram.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

using namespace hostprogram;

namespace
{

/// Counts how often each pixel is blended with a share that changes it.
class BlendCount : public host::Surface
{
public:
    BlendCount(int width, int height)
        : Surface(width, height), m_counts(std::size_t(width) * std::size_t(height))
    {
    }
    int at(int x, int y) const { return m_counts[std::size_t(y * width() + x)]; }

private:
    void mix(int x, int y, const host::Color &, int share) override
    {
        m_counts[std::size_t(y * width() + x)] += share > 0;
    }
    std::vector<int> m_counts;
};

std::uint16_t pixelAt(const std::uint8_t *memory, int stride, int x, int y)
{
    std::uint16_t pixel;
    std::memcpy(&pixel, memory + y * stride + x * 2, sizeof pixel);
    return pixel;
}

/// Compares 16-bit pixels with the picture that the 24-bit painter makes: no part
/// may be further off than half a step for each blend.
void expectAsPainted(const std::uint8_t *memory, int stride, const host::Canvas &canvas,
                     const BlendCount &blends)
{
    int worst = 0;
    for (int y = 0; y < canvas.height(); ++y) {
        for (int x = 0; x < canvas.width(); ++x) {
            const host::Color got = Rgb565::unpacked(pixelAt(memory, stride, x, y));
            const host::Color want = canvas.pixel(x, y);
            // Half a step is 4.1 and 2.0 of 255; the two mixtures are rounded to
            // whole numbers besides, by half each.
            const int times = blends.at(x, y);
            const bool isNear = std::abs(got.red - want.red) <= 5 * times &&
                                std::abs(got.green - want.green) <= 3 * times &&
                                std::abs(got.blue - want.blue) <= 5 * times;
            ASSERT_TRUE(isNear) << "pixel " << x << ", " << y << " after " << times << " blends";
            worst = std::max(worst, times);
        }
    }
    EXPECT_GE(worst, 2) << "the panel lies on the desk";
}

TEST(ExampleFramebuffer, EveryPixelKeepsItsValueWhenTakenApart)
{
    for (unsigned pixel = 0; pixel <= 0xFFFF; ++pixel) {
        const host::Color parts = Rgb565::unpacked(std::uint16_t(pixel));
        ASSERT_EQ(Rgb565::packed(parts.red, parts.green, parts.blue), pixel);
    }
    EXPECT_EQ(Rgb565::packed(255, 0, 0), 0xF800);
    EXPECT_EQ(Rgb565::packed(0, 255, 0), 0x07E0);
    EXPECT_EQ(Rgb565::packed(0, 0, 255), 0x001F);
}

TEST(ExampleFramebuffer, EveryPartIsRoundedToTheNearestStep)
{
    for (int part = 0; part <= 255; ++part) {
        const host::Color got = Rgb565::unpacked(Rgb565::packed(part, part, part));
        // Steps are 255/31 and 255/63 apart: nothing is more than half of that away.
        EXPECT_LE(std::abs(got.red - part) * 62, 255 + 62) << part;
        EXPECT_LE(std::abs(got.green - part) * 126, 255 + 126) << part;
        EXPECT_EQ(got.red, got.blue);
    }
}

TEST(ExampleFramebuffer, BlendingRoundsOnceFromEightBits)
{
    std::uint8_t memory[2];
    Rgb565 surface(memory, 1, 1, 2);
    for (int coverage = 0; coverage <= 255; ++coverage) {
        for (const int below : {0, 0x0841, 0x8410, 0xFFFF}) {
            const std::uint16_t before = std::uint16_t(below);
            std::memcpy(memory, &before, 2);
            const host::Color base = Rgb565::unpacked(before);
            surface.blend(0, 0, {200, 100, 10, 255}, coverage);
            const std::uint16_t after = pixelAt(memory, 2, 0, 0);
            const auto nearest = [&](int from, int to, int most) {
                const double exact = from + (to - from) * coverage / 255.0;
                return int(double(int(exact + 0.5)) * most / 255 + 0.5);
            };
            EXPECT_NEAR(after >> 11, nearest(base.red, 200, 31), coverage == 0 ? 0 : 1);
            EXPECT_NEAR(after >> 5 & 63, nearest(base.green, 100, 63), coverage == 0 ? 0 : 1);
            EXPECT_NEAR(after & 31, nearest(base.blue, 10, 31), coverage == 0 ? 0 : 1);
        }
    }
}

struct Sheet {
    const char *what;
    const char *size;
    int width, height, stride;
    const char *text;
};

TEST(ExampleFramebuffer, AFileHoldsWhatTheOtherPainterDrawsWithinRounding)
{
    const Sheet kSheets[] = {
        {"rows without padding", "320x240", 320, 240, 640, "Hello from the framebuffer"},
        {"padded rows", "320x240,656", 320, 240, 656, "שלום מהמסך"},
        {"odd width", "241x99,500", 241, 99, 500, "مرحبا"},
        {"text larger than the panel", "60x50", 60, 50, 120, "Overflowing words"},
    };
    ZkFontMetrics::setFontFile(ZK_FONT_DEJAVU);
    for (const Sheet &sheet : kSheets) {
        SCOPED_TRACE(sheet.what);
        const Folder folder;
        const std::string path = folder.path("fb");
        const Result result =
            shell(commandLine(ZK_EXAMPLE, {path + '=' + sheet.size, ZK_FONT_DEJAVU, sheet.text}));
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, std::to_string(sheet.width) + " x " + std::to_string(sheet.height) +
                                  " pixels, " + std::to_string(sheet.stride) + " bytes a row\n");
        const std::string file = readFile(path);
        ASSERT_EQ(file.size(), std::size_t(sheet.stride * sheet.height));
        const auto *memory = reinterpret_cast<const std::uint8_t *>(file.data());

        host::Canvas canvas(sheet.width, sheet.height, {0, 0, 0, 255});
        BlendCount blends(sheet.width, sheet.height);
        drawPanel(canvas, sheet.text);
        drawPanel(blends, sheet.text);
        expectAsPainted(memory, sheet.stride, canvas, blends);
        for (int y = 0; y < sheet.height; ++y) {
            for (int i = sheet.width * 2; i < sheet.stride; ++i) {
                ASSERT_EQ(memory[y * sheet.stride + i], 0) << "padding of row " << y;
            }
        }
    }
}

TEST(ExampleFramebuffer, RefusesWhatIsNoScreen)
{
    const Folder folder;
    const struct {
        const char *what;
        std::string screen;
        std::string reason;
    } kRows[] = {
        {"no size", folder.path("a") + "=", "no size of a screen: "},
        {"no height", folder.path("a") + "=320x", "no size of a screen: 320x"},
        {"rows too short", folder.path("a") + "=320x240,639", "no size of a screen: 320x240,639"},
        {"more behind it", folder.path("a") + "=3x2,6,1", "no size of a screen: 3x2,6,1"},
        {"no device", "/dev/null", "no framebuffer at /dev/null: "},
        {"missing", folder.path("missing"), "no framebuffer at " + folder.path("missing")},
        {"a folder", folder.path(".") + "=3x2", "cannot write "},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const Result result = shell(commandLine(ZK_EXAMPLE, {row.screen, ZK_FONT_DEJAVU}));
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err.rfind("example_framebuffer: " + row.reason, 0), 0u) << result.err;
    }
}

} // namespace
