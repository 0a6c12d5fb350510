#include "pages.h"

namespace demo
{

namespace
{

const host::Color kDesk = {206, 212, 222, 255};
const host::Color kScreen = {247, 248, 250, 255};
const host::Color kBar = {36, 62, 112, 255};
const host::Color kWhite = {255, 255, 255, 255};
const host::Color kInk = {30, 34, 44, 255};
const host::Color kSoft = {112, 120, 134, 255};
const host::Color kRule = {226, 230, 236, 255};
const host::Color kAccent = {38, 110, 220, 255};
const host::Color kOff = {188, 194, 204, 255};

constexpr int kScreenWidth = 368;
constexpr int kScreenHeight = 520;
constexpr int kTop = 20;
constexpr int kRow = 60; // height of a row

/// The words of one screen; a row with an empty value gets a switch.
struct Words {
    const char *title;
    struct {
        const char *label;
        const char *value;
        bool on;
    } rows[4];
    const char *help;
    const char *button;
};

const Words kEnglish = {
    "Settings",
    {{"Language", "English", false},
     {"Brightness", "80 %", false},
     {"Wi-Fi", "", true},
     {"Night mode", "", false}},
    "Restart the device to use a new language. Your stations and alarms are kept.",
    "Restart now",
};

const Words kArabic = {
    "الإعدادات",
    {{"اللغة", "العربية", false},
     {"السطوع", "80 %", false},
     {"شبكة لاسلكية", "", true},
     {"الوضع الليلي", "", false}},
    "أعد تشغيل الجهاز لاستخدام لغة جديدة. تبقى المحطات والمنبهات محفوظة.",
    "إعادة التشغيل الآن",
};

/// One device screen. Columns are told from the side where reading starts.
class Screen
{
public:
    Screen(Page &page, int x, const Fonts &fonts, bool mirrored)
        : m_page(page), m_x(x), m_fonts(fonts), m_mirrored(mirrored)
    {
    }

    void draw(const Words &words);

private:
    ZkRect at(int start, int y, int width, int height) const
    {
        const int column = m_mirrored ? kScreenWidth - start - width : start;
        return area(m_x + column, kTop + y, width, height);
    }

    Style style(int size, const host::Color &color, int horizontal, unsigned flags = 0) const
    {
        Style style;
        style.fontFile = m_fonts.dejavu;
        style.size = size;
        style.color = color;
        style.alignment = horizontal | host::AlignVCenter;
        style.flags = flags;
        style.direction = m_mirrored ? ZkParagraph::RightToLeft : ZkParagraph::LeftToRight;
        return style;
    }

    /// A line of text in a strip, its baseline told from the top of the screen.
    void label(const ZkRect &strip, int baseline, const char *utf8, const Style &style)
    {
        m_page.label(strip, kTop + baseline, utf8, style);
    }

    /// The value of a row, flush with the side where reading ends.
    void drawValue(int y, const char *utf8)
    {
        label(at(kScreenWidth - 144, y, 120, kRow), y + 37, utf8,
              style(20, kSoft, host::AlignRight));
    }

    void drawSwitch(int y, bool on)
    {
        m_page.round(at(kScreenWidth - 78, y, 54, 30), 15, on ? kAccent : kOff);
        m_page.round(at(kScreenWidth - 78 + (on ? 27 : 3), y + 3, 24, 24), 12, kWhite);
    }

    Page &m_page;
    int m_x;
    const Fonts &m_fonts;
    bool m_mirrored;
};

void Screen::draw(const Words &words)
{
    m_page.round(at(0, 0, kScreenWidth, kScreenHeight), 18, kScreen);
    m_page.round(at(0, 0, kScreenWidth, 72), 18, kBar);
    m_page.round(at(0, 40, kScreenWidth, 32), 0, kBar);
    label(at(24, 0, 320, 72), 46, words.title, style(28, kWhite, host::AlignLeft));

    int y = 80;
    for (const auto &row : words.rows) {
        label(at(24, y, 200, kRow), y + 38, row.label, style(22, kInk, host::AlignLeft));
        if (*row.value) {
            drawValue(y, row.value);
        } else {
            drawSwitch(y + 15, row.on);
        }
        y += kRow;
        m_page.round(at(24, y, kScreenWidth - 48, 1), 0, kRule);
    }
    m_page.paragraph(at(24, y + 8, kScreenWidth - 48, 104), words.help,
                     style(18, kSoft, host::AlignLeft));
    const ZkRect button = at(24, kScreenHeight - 80, kScreenWidth - 48, 56);
    m_page.round(button, 12, kAccent);
    label(button, kScreenHeight - 44, words.button,
          style(22, kWhite, host::AlignHCenter, ZkFontAttr::Embolden));
}

} // namespace

Page settingsPage(const Fonts &fonts)
{
    Page page(kPageWidth, kPageHeight, kDesk);
    Screen(page, 21, fonts, false).draw(kEnglish);
    Screen(page, 411, fonts, true).draw(kArabic);
    return page;
}

} // namespace demo
