// A text on the terminal: name a font, lay out, paint, look at the pixels.
//
//     example_hello FONT.ttf [TEXT]

#include "canvas.h"
#include "textblock.h"

#include <cstdio>

int main(int argc, char **argv)
{
    if (argc > 3) {
        std::fprintf(stderr, "usage: example_hello [FONT.ttf [TEXT]]\n");
        return 2;
    }
    ZkFontMetrics::setFontFile(argc > 1 ? argv[1] : ""); // "" is the file in ZK_FONTLIB
    host::TextBlock hello({argc > 2 ? argv[2] : "Hello, world", ZkFont()});
    hello.place(0, 0, 0);

    host::Canvas picture(hello.size().width(), hello.size().height(), {0, 0, 0, 255});
    hello.paint(picture, {{255, 255, 255, 255}, {}});
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            std::putchar(" .:-=+*#%@"[picture.pixel(x, y).red * 9 / 255]);
        }
        std::putchar('\n');
    }
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? 0 : 1;
}
