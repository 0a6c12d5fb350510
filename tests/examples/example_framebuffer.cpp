// The framebuffer example: 16-bit pixels against the 24-bit painter.

#define main exampleMain
#include "framebuffer.cpp"
#undef main

#include "canvas.h"
#include "hostprogram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

using namespace hostprogram;

namespace
{

std::uint16_t pixelAt(const std::uint8_t *memory, int stride, int x, int y)
{
    std::uint16_t pixel;
    std::memcpy(&pixel, memory + y * stride + x * 2, sizeof pixel);
    return pixel;
}

/// A part of `bits` bits in 8, its high bits repeated below.
int widened(int part, int bits)
{
    return part << (8 - bits) | part >> (2 * bits - 8);
}

/// Compares 16-bit pixels with the picture that the 24-bit painter makes: no part
/// may be further off than half a step for each blend, of which a pixel of text has
/// three: the desk, the panel, the letter.
void expectAsPainted(const std::uint8_t *memory, int stride, const host::Canvas &canvas)
{
    for (int y = 0; y < canvas.height(); ++y) {
        for (int x = 0; x < canvas.width(); ++x) {
            const int got = pixelAt(memory, stride, x, y);
            const host::Color want = canvas.pixel(x, y);
            // Half a step is 4.1 and 2.0 of 255; the two mixtures are rounded to
            // whole numbers besides, by half each.
            const bool isNear = std::abs(widened(got >> 11, 5) - want.red) <= 5 * 3 &&
                                std::abs(widened(got >> 5 & 63, 6) - want.green) <= 3 * 3 &&
                                std::abs(widened(got & 31, 5) - want.blue) <= 5 * 3;
            ASSERT_TRUE(isNear) << "pixel " << x << ", " << y;
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
        drawPanel(canvas, sheet.text);
        expectAsPainted(memory, sheet.stride, canvas);
        std::vector<std::uint8_t> again(file.size());
        Rgb565 surface(again.data(), sheet.width, sheet.height, sheet.stride);
        drawPanel(surface, sheet.text);
        EXPECT_TRUE(std::equal(again.begin(), again.end(), memory));
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
