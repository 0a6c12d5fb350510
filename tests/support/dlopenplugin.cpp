// A plugin that brings the library along when it is loaded.

#include <zkfontmetrics.h>

#include <thread>

// The width of a text that two threads lay out; -1 when they disagree.
extern "C" __attribute__((visibility("default"))) int widthInPlugin(const char *font)
{
    ZkFontMetrics::setFontFile(font);
    int widths[2] = {};
    const auto layOut = [&widths](int i) {
        ZkFontMetrics layout("Hello from a plugin", ZkFont());
        widths[i] = layout.lengthForPixel();
    };
    std::thread first(layOut, 0), second(layOut, 1);
    first.join();
    second.join();
    ZkFontMetrics::closeFontFile();
    return widths[0] == widths[1] ? widths[0] : -1;
}
