#include "output.h"
#include "pages.h"

#include <cstdio>
#include <exception>
#include <utility>

namespace
{

using demo::Page;

/// Writes a picture and says where it is; throws when that fails.
void save(const std::string &folder, const std::string &name, const host::Canvas &canvas)
{
    const std::string path = folder + '/' + name + ".png";
    std::string problem;
    if (!host::writeOutput(path, host::encodePng(canvas), &problem)) {
        throw std::runtime_error(problem);
    }
    std::printf("%s\n", path.c_str());
}

/// The pages at half size, three in a row.
Page contactSheet(const std::vector<std::pair<std::string, Page>> &pages)
{
    const int kColumns = 3, kGap = 12;
    const int width = demo::kPageWidth / 2, height = demo::kPageHeight / 2;
    const int rows = (static_cast<int>(pages.size()) + kColumns - 1) / kColumns;
    Page sheet(kColumns * (width + kGap) + kGap, rows * (height + kGap) + kGap, {70, 76, 88, 255});
    for (int i = 0; i < static_cast<int>(pages.size()); ++i) {
        sheet.halved(kGap + i % kColumns * (width + kGap), kGap + i / kColumns * (height + kGap),
                     pages[static_cast<std::size_t>(i)].second.canvas());
    }
    return sheet;
}

void drawAll(const std::string &folder, const std::string &texts, const demo::Fonts &fonts)
{
    const auto article = [&](const char *name, const std::string &font, const host::Color &tint,
                             int size, int lineSpacing) {
        return demo::articlePage({texts + '/' + name + ".txt", font, tint, size, lineSpacing});
    };
    const std::vector<std::pair<std::string, Page>> pages = {
        {"english", article("english", fonts.dejavu, {30, 84, 140, 255}, 31, 8)},
        {"arabic", article("arabic", fonts.dejavu, {22, 110, 84, 255}, 35, 16)},
        {"persian", article("persian", fonts.dejavu, {110, 60, 130, 255}, 31, 12)},
        {"hebrew", article("hebrew", fonts.dejavu, {40, 100, 160, 255}, 36, 12)},
        {"thai", article("thai", fonts.freeSerif, {160, 72, 40, 255}, 36, 12)},
        {"cjk", demo::cjkPage(texts, fonts)},
        {"alignment", demo::alignmentPage(texts, fonts)},
        {"scripts", demo::scriptsPage(fonts)},
        {"settings", demo::settingsPage(fonts)},
        {"chain", demo::chainPage(fonts)},
    };
    for (const auto &page : pages) {
        save(folder, page.first, page.second.canvas());
    }
    save(folder, "engines", demo::enginesPage(fonts).canvas());
    save(folder, "curves", demo::curvePage(fonts).canvas());
    save(folder, "regions", demo::regionPage(fonts).canvas());
    save(folder, "sheet", contactSheet(pages).canvas()); // of the pages of text
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 7 && argc != 8) {
        std::fprintf(
            stderr,
            "usage: demo-pages OUT TEXTS DEJAVU FREESERIF MICROHEI UNIFONT [NOTO-FOLDER]\n");
        return 2;
    }
    try {
        const demo::Fonts fonts = {argv[3], argv[4], argv[5], argv[6]};
#ifdef ZK_WITH_SHAPE
        if (argc == 8) {
            save(argv[1], "every-script", demo::everyScriptPage(argv[7], fonts).canvas());
        }
#endif
        drawAll(argv[1], argv[2], fonts);
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "demo-pages: %s\n", failure.what());
        return 1;
    }
    return 0;
}
