// A settings screen in six languages: rows whose labels shorten, values that read the
// other way, a list of languages each in its own script, and a text field. Screens of
// right-to-left languages are mirrored.
//
//     example_settings OUT.png LANGUAGE FONT.ttf...
//
// draws the screen in "English", "العربية" or another name of the list, and prints for
// each row the label's width and whether it had to be shortened. The first font draws,
// the others stand in for what it lacks.

#include "canvas.h"
#include "output.h"
#include "textfield.h"

#include <cstdio>
#include <stdexcept>
#include <string>

namespace
{

constexpr int kWidth = 480, kHeight = 344, kMargin = 16, kRowHeight = 38, kRows = 5;
constexpr int kListWidth = 132, kValueWidth = 130;

const host::Color kDesk = {226, 229, 233, 255}, kPaper = {252, 252, 250, 255};
const host::Color kInk = {31, 41, 55, 255}, kSoft = {75, 85, 99, 255};
const host::Color kChosen = {14, 116, 144, 255}, kWhite = {255, 255, 255, 255};

struct Language {
    const char *name; ///< in its own script
    bool isRightToLeft;
    const char *title;
    const char *labels[kRows];
    const char *values[kRows]; ///< the last is the text field's
};

const Language kLanguages[] = {
    {"English",
     false,
     "Settings",
     {"Brightness", "Network", "Motor temperature, outside", "Time", "Name"},
     {"80 %", "Wi-Fi \u201CHome 5G\u201D", "21.5 °C", "12:30", "Kitchen"}},
    {"العربية",
     true,
     "الإعدادات",
     {"السطوع", "الشبكة", "درجة حرارة المحرك (خارج)", "الساعة", "الاسم"},
     {"٨٠٪", "شبكة Wi-Fi متصلة", "21°C", "١٢:٣٠", "مطبخ 2"}},
    {"فارسی",
     true,
     "تنظیمات",
     {"روشنایی", "شبکه", "دمای موتور، بیرون خانه", "ساعت", "نام"},
     {"۸۰٪", "Wi-Fi: متصل", "۲۱٫۵ درجه", "۱۲:۳۰", "می‌شود"}},
    {"עברית",
     true,
     "הגדרות",
     {"בהירות", "רשת", "טמפרטורת המנוע מחוץ לבית", "שעה", "שם"},
     {"80%", "משרד (5 GHz)", "21.5 מעלות", "12:30", "מטבח"}},
    {"ไทย",
     false,
     "การตั้งค่า",
     {"ความสว่าง", "เครือข่าย", "อุณหภูมิมอเตอร์ภายนอก", "เวลา", "ชื่อ"},
     {"80%", "Wi-Fi บ้าน", "21.5 °C", "12:30", "ห้องครัว"}},
    {"中文",
     false,
     "设置",
     {"亮度", "网络", "电机温度（室外测量值）", "时间", "名称"},
     {"80%", "Wi-Fi 已连接", "21.5 °C", "12:30", "厨房"}},
};

ZkFont sized(int size)
{
    return ZkFont(static_cast<unsigned char>(size), false, false, false, false);
}

/// Paints the parts of one screen. Rectangles are given as in a left-to-right screen.
class Screen
{
public:
    Screen(const ZkFontChain &chain, const Language &language)
        : m_chain(chain), m_language(language)
    {
    }

    host::Canvas draw();

private:
    enum Side { Start, End };

    ZkRect mirrored(const ZkRect &rect) const
    {
        return m_language.isRightToLeft ? ZkRect(kWidth - 1 - rect.right(), rect.top(),
                                                 kWidth - 1 - rect.left(), rect.bottom())
                                        : rect;
    }
    void setUp(ZkParagraph &text, const ZkRect &rect, const char *utf8, int size) const;
    bool line(const ZkRect &rect, const char *utf8, int size, const host::Color &color, Side side);
    void drawList();
    void drawRow(int row, const ZkRect &rect);
    void drawField(const ZkRect &rect, const char *utf8);

    const ZkFontChain &m_chain;
    const Language &m_language;
    host::Canvas m_canvas = host::Canvas(kWidth, kHeight, kDesk);
};

/// One line that shortens. Its own letters decide its direction, the screen its side.
void Screen::setUp(ZkParagraph &text, const ZkRect &rect, const char *utf8, int size) const
{
    text.setChain(m_chain);
    text.setFont(sized(size));
    text.setUtf8(utf8);
    text.setWidth(rect.width());
    text.setMaximumLines(1);
    text.setEllipsis(ZkParagraph::EllipsisEnd);
}

/// Paints a line in a rectangle; whether it had to be shortened.
bool Screen::line(const ZkRect &rect, const char *utf8, int size, const host::Color &color,
                  Side side)
{
    const ZkRect place = mirrored(rect);
    ZkParagraph text;
    setUp(text, place, utf8, size);
    const bool isLeft = (side == Start) != m_language.isRightToLeft;
    text.setAlignment(isLeft ? ZkParagraph::AlignLeft : ZkParagraph::AlignRight);
    ZkTextPainter painter(m_canvas.pixels());
    painter.setClip(place);
    painter.setColors(color.argb());
    painter.paint(text, place.left(), place.top() + (place.height() - text.height()) / 2);
    return text.line(0).isShortened;
}

/// The languages, each by its own name.
void Screen::drawList()
{
    int y = 56;
    for (const Language &language : kLanguages) {
        const ZkRect rect(kMargin, y, kMargin + kListWidth - 1, y + kRowHeight - 1);
        const bool isChosen = &language == &m_language;
        m_canvas.round(mirrored(rect), 6, isChosen ? kChosen : kPaper);
        line(ZkRect(rect.left() + 10, rect.top(), rect.right() - 10, rect.bottom()), language.name,
             18, isChosen ? kWhite : kInk, Start);
        y += kRowHeight + 6;
    }
}

void Screen::drawField(const ZkRect &rect, const char *utf8)
{
    const ZkRect place = mirrored(rect);
    m_canvas.fill(place, kWhite);
    m_canvas.frame(place, kChosen);
    host::TextField field;
    setUp(field.paragraph(), ZkRect(0, 0, place.width() - 13, 0), utf8, 18);
    field.setText(utf8);
    field.setOrigin(place.left() + 6,
                    place.top() + (place.height() - field.paragraph().height()) / 2);
    m_canvas.setClip(place);
    field.move(m_language.isRightToLeft ? host::Move::WordRight : host::Move::WordLeft, true);
    const host::FieldColors colors;
    field.paintSelection(m_canvas, colors);
    ZkTextPainter painter(m_canvas.pixels());
    painter.setClip(place);
    painter.setColors(kInk.argb());
    painter.paint(field.paragraph(), field.origin().x(), field.origin().y());
    field.paintCaret(m_canvas, colors);
    m_canvas.setClip(m_canvas.bounds());
}

void Screen::drawRow(int row, const ZkRect &rect)
{
    m_canvas.round(mirrored(rect), 6, kPaper);
    const int valueLeft = rect.right() - 10 - kValueWidth;
    const ZkRect label(rect.left() + 10, rect.top(), valueLeft - 12, rect.bottom());
    const ZkRect value(valueLeft, rect.top(), rect.right() - 10, rect.bottom());
    const bool isShortened = line(label, m_language.labels[row], 18, kInk, Start);
    if (row + 1 < kRows) {
        line(value, m_language.values[row], 16, kSoft, End);
    } else {
        drawField(ZkRect(value.left(), value.top() + 5, value.right(), value.bottom() - 5),
                  m_language.values[row]);
    }
    std::printf("%d %s\n", label.width(), isShortened ? "shortened" : "whole");
}

host::Canvas Screen::draw()
{
    line(ZkRect(kMargin, 10, kWidth - kMargin - 1, 47), m_language.title, 24, kInk, Start);
    drawList();
    for (int row = 0; row < kRows; ++row) {
        const int y = 56 + row * (kRowHeight + 6);
        drawRow(row,
                ZkRect(kMargin + kListWidth + 12, y, kWidth - kMargin - 1, y + kRowHeight - 1));
    }
    return m_canvas;
}

void run(int argc, char **argv)
{
    ZkFontChain chain;
    for (int i = 3; i < argc; ++i) {
        const ZkTypeface face = ZkTypeface::fromFile(argv[i]);
        if (!face.isValid()) {
            throw std::runtime_error(face.errorText());
        }
        chain.append(face);
    }
    for (const Language &language : kLanguages) {
        if (argv[2] == std::string(language.name)) {
            std::string problem;
            if (!host::writeOutput(argv[1], host::encodePng(Screen(chain, language).draw()),
                                   &problem)) {
                throw std::runtime_error(problem);
            }
            return;
        }
    }
    throw std::runtime_error(std::string("no such language: ") + argv[2]);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 4) {
        std::fprintf(stderr, "usage: example_settings OUT.png LANGUAGE FONT.ttf...\n");
        return 2;
    }
    try {
        run(argc, argv);
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "example_settings: %s\n", failure.what());
        return 1;
    }
    return 0;
}
