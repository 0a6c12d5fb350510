// A label: one line of text in a rectangle, shortened with dots when it is too long.
//
//     example_label OUT.png FONT.ttf [TEXT...]
//
// draws each text in labels that become narrower and narrower, and prints for each the
// width of the label, the pixels that the text takes, and whether it was shortened.

#include "canvas.h"
#include "output.h"

#include <zkparagraph.h>

#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

namespace
{

/// A line of text in a rectangle, at the side where its reading starts. What is left to
/// a host: where the rectangle is, and that labels stand level.
class Label
{
public:
    Label(const ZkFontChain &chain, const ZkFont &font, const std::string &utf8)
    {
        m_text.setChain(chain);
        m_text.setFont(font);
        m_text.setUtf8(utf8.data(), static_cast<int>(utf8.size()));
        m_text.setMaximumLines(1);
        m_text.setEllipsis(ZkParagraph::EllipsisEnd);
    }

    const ZkTextLine &line() const { return m_text.line(0); }

    /// Paints into `rect` and nothing outside it. The height of a line is the fonts', so
    /// labels of one chain that are centred like this stand level.
    void paint(const ZkTextSurface &surface, const ZkRect &rect, std::uint32_t color)
    {
        m_text.setWidth(rect.width());
        ZkTextPainter painter(surface);
        painter.setClip(rect);
        painter.setColors(color);
        painter.paint(m_text, rect.left(), rect.top() + (rect.height() - m_text.height()) / 2);
    }

private:
    ZkParagraph m_text;
};

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: example_label OUT.png FONT.ttf [TEXT...]\n");
        return 2;
    }
    const ZkTypeface face = ZkTypeface::fromFile(argv[2]);
    if (!face.isValid()) {
        std::fprintf(stderr, "example_label: %s\n", face.errorText());
        return 1;
    }
    std::vector<std::string> texts(argv + 3, argv + argc);
    if (texts.empty()) {
        texts = {"Display brightness at night", "سطوع الشاشة في الليل", "בהירות המסך בלילה"};
    }
    const int kWidths[] = {400, 280, 200, 120, 60};
    const int kHeight = 40, kGap = 8;
    const int rows = static_cast<int>(texts.size()) * static_cast<int>(std::size(kWidths));
    host::Canvas canvas(400 + 2 * kGap, rows * (kHeight + kGap) + kGap, {226, 229, 233, 255});
    int y = kGap;
    for (const std::string &text : texts) {
        Label label(ZkFontChain(face), ZkFont(24, false, false, false, false), text);
        for (const int width : kWidths) {
            const ZkRect rect(kGap, y, kGap + width - 1, y + kHeight - 1);
            canvas.fill(rect, {252, 252, 250, 255});
            label.paint(canvas.pixels(), rect, 0xFF1F2937);
            std::printf("%3d %3d %s\n", width, label.line().width,
                        label.line().isShortened ? "shortened" : "whole");
            y += kHeight + kGap;
        }
    }
    std::string problem;
    if (!host::writeOutput(argv[1], host::encodePng(canvas), &problem)) {
        std::fprintf(stderr, "example_label: %s\n", problem.c_str());
        return 1;
    }
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? 0 : 1;
}
