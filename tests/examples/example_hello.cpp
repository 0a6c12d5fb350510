// The first example, against FreeType called directly.

#include "bareglyph.h"
#include "hostprogram.h"

#include <algorithm>
#include <string>
#include <vector>

using namespace hostprogram;

namespace
{

/// `text`, letters that do not overlap, as the example prints it: a blank for no
/// coverage to '@' for the most.
std::string drawnByFreeType(const std::string &text)
{
    const BareFont font(ZK_FONT_DEJAVU);
    std::vector<BareFont::Glyph> glyphs;
    int ascent = 0, descent = 0, width = 0;
    for (const char c : text) {
        glyphs.push_back(font.render(static_cast<unsigned char>(c), ZkFont()));
        ascent = std::max(ascent, glyphs.back().top);
        descent = std::max(descent, glyphs.back().descent);
        width += glyphs.back().advance;
    }
    // A line is 136 % as high; the room beyond the letters is shared out above and below.
    const int height = (ascent + descent) * 136 / 100;
    const int room = height - ascent - descent;
    const int baseline = height - descent - room / 2;
    std::vector<std::string> rows(std::size_t(height), std::string(std::size_t(width), ' '));
    int pen = 0;
    for (const BareFont::Glyph &glyph : glyphs) {
        for (int y = 0; y < glyph.height; ++y) {
            for (int x = 0; x < glyph.width; ++x) {
                const int column = pen + glyph.left + x;
                const int coverage = glyph.pixels[std::size_t(y * glyph.width + x)];
                if (column >= 0 && column < width && coverage > 0) {
                    rows[std::size_t(baseline - glyph.top + y)][std::size_t(column)] =
                        " .:-=+*#%@"[coverage * 9 / 255];
                }
            }
        }
        pen += glyph.advance;
    }
    std::string drawing;
    for (const std::string &row : rows) {
        drawing += row + '\n';
    }
    return drawing;
}

TEST(ExampleHello, PrintsThePixelsThatFreeTypeRenders)
{
    for (const char *text : {"Hello, world", "Elm", "gyp"}) {
        SCOPED_TRACE(text);
        const Result result = shell(commandLine(ZK_EXAMPLE, {ZK_FONT_DEJAVU, text}));
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_EQ(result.out, drawnByFreeType(text));
    }
}

TEST(ExampleHello, GreetsInTheFontOfTheEnvironment)
{
    const std::string font = "ZK_FONTLIB=" + quoted(ZK_FONT_DEJAVU) + ' ';
    const Result result = shell(font + commandLine(ZK_EXAMPLE, {}));
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, drawnByFreeType("Hello, world"));
}

} // namespace
