#include "pages.h"

#include <fstream>
#include <stdexcept>

namespace demo
{

namespace
{

const host::Color kPaper = {244, 241, 234, 255};
const host::Color kCard = {255, 255, 255, 255};
const host::Color kInk = {34, 38, 46, 255};
const host::Color kSoft = {104, 110, 122, 255};

/// The lines of a text file.
std::vector<std::string> readLines(const std::string &path)
{
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    if (lines.size() < 3) {
        throw std::runtime_error("cannot read " + path);
    }
    return lines;
}

Style styled(const std::string &fontFile, int size, const host::Color &color, int alignment,
             unsigned flags = 0)
{
    Style style;
    style.fontFile = fontFile;
    style.size = size;
    style.color = color;
    style.alignment = alignment;
    style.flags = flags;
    return style;
}

/// Four words, one in each style of a font, on cards side by side.
void styleRow(Page &page, const std::vector<std::string> &words, const std::string &fontFile,
              const host::Color &tint)
{
    const unsigned kFlags[] = {ZkFontAttr::Slant, ZkFontAttr::Embolden, ZkFontAttr::Underline,
                               ZkFontAttr::Outline};
    for (std::size_t i = 0; i < 4; ++i) {
        const ZkRect card = area(40 + static_cast<int>(i) * 184, 464, 168, 68);
        const bool outlined = kFlags[i] == ZkFontAttr::Outline;
        page.round(card, 12, outlined ? tint : kCard);
        Style style = styled(fontFile, 23, outlined ? kCard : kInk,
                             host::AlignHCenter | host::AlignVCenter, kFlags[i]);
        style.outline = kInk;
        page.label(card, 506, words[3 + i], style);
    }
}

} // namespace

Page articlePage(const Article &article)
{
    const std::vector<std::string> lines = readLines(article.textFile);
    if (lines.size() < 7) {
        throw std::runtime_error(article.textFile + " has too few lines");
    }
    Page page(kPageWidth, kPageHeight, kPaper);
    const int start = host::AlignLeft | host::AlignVCenter;
    page.round(area(0, 0, kPageWidth, 104), 0, article.tint);
    page.label(area(40, 0, 720, 104), 64, lines[0], styled(article.fontFile, 34, kCard, start));
    page.round(area(40, 128, 720, 316), 16, kCard);
    page.label(area(68, 144, 664, 52), 182, lines[1],
               styled(article.fontFile, 26, article.tint, start, ZkFontAttr::Embolden));
    Style paragraph = styled(article.fontFile, article.size, kInk, start);
    paragraph.lineSpacing = article.lineSpacing;
    page.paragraph(area(68, 200, 664, 232), lines[2], paragraph);
    styleRow(page, lines, article.fontFile, article.tint);
    return page;
}

Page cjkPage(const std::string &textFolder, const Fonts &fonts)
{
    const struct {
        const char *file;
        host::Color tint;
        int height;
    } kParts[] = {
        {"chinese.txt", {178, 58, 52, 255}, 152},
        {"japanese.txt", {92, 74, 140, 255}, 168},
        {"korean.txt", {32, 98, 150, 255}, 168},
    };
    Page page(kPageWidth, kPageHeight, kPaper);
    int y = 20;
    for (const auto &part : kParts) {
        const std::vector<std::string> lines = readLines(textFolder + '/' + part.file);
        page.round(area(24, y, 752, part.height), 14, kCard);
        page.round(area(24, y, 8, part.height), 4, part.tint);
        page.paragraph(area(52, y + 8, 440, 40), lines[0],
                       styled(fonts.microHei, 26, part.tint, host::AlignLeft | host::AlignVCenter));
        page.paragraph(area(500, y + 8, 248, 40), lines[1],
                       styled(fonts.microHei, 20, kSoft, host::AlignRight | host::AlignVCenter));
        page.paragraph(area(52, y + 50, 700, part.height - 54), lines[2],
                       styled(fonts.microHei, 23, kInk, host::AlignLeft | host::AlignTop));
        y += part.height + 16;
    }
    return page;
}

Page alignmentPage(const std::string &textFolder, const Fonts &fonts)
{
    const host::Color kTint = {20, 120, 112, 255};
    const std::string english = readLines(textFolder + "/english.txt")[2];
    const std::string hebrew = readLines(textFolder + "/hebrew.txt")[2];
    const struct {
        const char *name;
        int alignment;
        bool isJustified;
    } kColumns[] = {
        {"justified, top", host::AlignTop, true},
        {"center, center", host::AlignHCenter | host::AlignVCenter, false},
        {"end, bottom", host::AlignRight | host::AlignBottom, false},
    };
    Page page(kPageWidth, kPageHeight, kPaper);
    for (int column = 0; column < 3; ++column) {
        const int x = 24 + column * 256;
        page.paragraph(area(x, 10, 240, 36), kColumns[column].name,
                       styled(fonts.dejavu, 19, kTint, host::AlignHCenter | host::AlignVCenter,
                              ZkFontAttr::Embolden));
        page.round(area(x, 50, 240, 266), 10, kCard);
        Style style = styled(fonts.dejavu, 17, kInk, kColumns[column].alignment);
        style.isJustified = kColumns[column].isJustified;
        page.paragraph(area(x + 12, 58, 216, 250), english, style);
        page.round(area(x, 328, 240, 212), 10, kCard);
        style.size = 19;
        page.paragraph(area(x + 12, 336, 216, 196), hebrew, style);
    }
    return page;
}

Page scriptsPage(const Fonts &fonts)
{
    const struct {
        const char *language;
        const char *peace;
    } kWords[] = {
        {"English", "peace"}, {"العربية", "سلام"},  {"فارسی", "صلح"},   {"עברית", "שלום"},
        {"ไทย", "สันติภาพ"},    {"简体中文", "和平"}, {"日本語", "平和"}, {"한국어", "평화"},
    };
    const host::Color kNight = {24, 30, 44, 255};
    const host::Color kPanel = {40, 48, 68, 255};
    const host::Color kName = {150, 164, 190, 255};
    const host::Color kWord = {255, 214, 120, 255};
    Page page(kPageWidth, kPageHeight, kNight);
    const int centred = host::AlignHCenter | host::AlignVCenter;
    for (int i = 0; i < 8; ++i) {
        const int x = 24 + i % 4 * 192, y = 24 + i / 4 * 264;
        page.round(area(x, y, 176, 248), 12, kPanel);
        page.label(area(x, y, 176, 248), y + 124, kWords[i].peace,
                   styled(fonts.unifont, 48, kWord, centred));
        page.label(area(x, y, 176, 248), y + 204, kWords[i].language,
                   styled(fonts.unifont, 32, kName, centred));
    }
    return page;
}

} // namespace demo
