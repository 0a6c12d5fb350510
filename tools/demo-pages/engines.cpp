// The classic engine and paragraphs, side by side, where they differ.

#include "pages.h"

#include "painter.h"
#include <zkfontmetrics.h>

#include <zkparagraph.h>

namespace demo
{

namespace
{

constexpr int kMargin = 24, kColumn = 360, kRowHeight = 34;
const host::Color kInk = {31, 41, 55, 255}, kPaper = {252, 252, 250, 255};
const host::Color kFaint = {120, 128, 140, 255};

struct Row {
    const char *text;
    int width = 0; ///< where it wraps or is shortened; 0 for one line
    int rows = 1;  ///< of the page that it takes
    bool dots = false;
};

const Row kRows[] = {
    {"دمای موتور: ۹۰ درجه"},
    {"۲۱٫۵ درجه"},
    {"الساعة ١٢:٣٠"},
    {"تاریخ: ۱۴۰۵/۰۹/۰۱"},
    {"v2.4.1 (بناء 1207)"},
    {"משרד (5 GHz)"},
    {"ל-21.5 מעלות"},
    {"Wi-Fi: متصل"},
    {"شبكة Wi-Fi متصلة"},
    {"درجة الحرارة (خارج) 21°C"},
    {"دکمهٔ «تأیید» را بزنید."},
    {"می‌شود  بِسْمِ اللَّهِ  שָׁלוֹם"},
    {"Height 高度 ความสูง 😀 e\u0301"},
    {"الإنسان يولد حراً. لا فرق بين الناس 12:30", 210, 2},
    {"Warning: the motor of the second car runs hot", 240, 1, true},
};

ZkFont sized(int size)
{
    return ZkFont(static_cast<unsigned char>(size), false, false, false, false);
}

/// What the classic engine alone makes of it, without the help of a host.
void drawClassic(Page &page, const ZkRect &rect, const Row &row)
{
    host::TextRequest request;
    request.text = ZkString(row.text);
    request.font = sized(20);
    request.width = row.width > 0 ? row.width : rect.width();
    request.wordWrap = row.width > 0 && !row.dots;
    request.bare = true;
    host::TextBlock block(request);
    block.place(rect.left(), rect.top(), 0);
    page.canvas().setClip(
        ZkRect(rect.left(), rect.top() - 4, rect.left() + request.width - 1, rect.bottom() + 4));
    block.paint(page.canvas(), {kInk, kInk});
    page.canvas().setClip(page.canvas().bounds());
}

void drawParagraph(Page &page, const ZkRect &rect, const Row &row, const ZkFontChain &chain)
{
    ZkParagraph paragraph;
    paragraph.setChain(chain);
    paragraph.setFont(sized(20));
    paragraph.setUtf8(row.text);
    paragraph.setWidth(row.width > 0 ? row.width : rect.width());
    if (row.dots) {
        paragraph.setMaximumLines(1);
        paragraph.setEllipsis(ZkParagraph::EllipsisEnd);
    }
    host::paintParagraph(page.canvas(), paragraph, rect.left(), rect.top(), {kInk, kInk});
}

} // namespace

Page enginesPage(const Fonts &fonts)
{
    ZkFontChain chain;
    for (const std::string &path : {fonts.dejavu, fonts.freeSerif, fonts.microHei}) {
        chain.append(ZkTypeface::fromFile(path.c_str()));
    }
    int rows = 1;
    for (const Row &row : kRows) {
        rows += row.rows;
    }
    ZkFontMetrics::setFontFile(ZkString(std::string_view(fonts.dejavu)), -1);
    Page page(2 * kColumn + 3 * kMargin, 2 * kMargin + rows * kRowHeight, kPaper);
    Style heading;
    heading.fontFile = fonts.dejavu;
    heading.size = 16;
    heading.color = kFaint;
    page.paragraph(area(kMargin, kMargin, kColumn, kRowHeight), "Classic engine, one font",
                   heading);
    page.paragraph(area(kColumn + 2 * kMargin, kMargin, kColumn, kRowHeight),
                   "Paragraphs, three fonts", heading);
    int y = kMargin + kRowHeight;
    for (const Row &row : kRows) {
        const int height = row.rows * kRowHeight;
        page.canvas().fill(area(kMargin, y - 3, 2 * kColumn + kMargin, 1), {226, 229, 233, 255});
        drawClassic(page, area(kMargin, y, kColumn, height - 8), row);
        drawParagraph(page, area(kColumn + 2 * kMargin, y, kColumn, height - 8), row, chain);
        y += height;
    }
    return page;
}

} // namespace demo
