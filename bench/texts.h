#ifndef ZK_BENCH_TEXTS_H
#define ZK_BENCH_TEXTS_H

#include <string>

/// Real text to lay out: the first article of the Universal Declaration of Human
/// Rights in each script, and a settings screen that mixes them.
struct BenchText {
    const char *name;
    const char *font;   ///< a file that has the script
    const char *family; ///< the same font by its family name
    const char *utf8;
};

inline const BenchText kBenchTexts[] = {
    {"english", ZK_FONT_DEJAVU, "DejaVu Sans",
     "All human beings are born free and equal in dignity and rights. They are endowed with reason "
     "and conscience and should act towards one another in a spirit of brotherhood. "},
    {"arabic", ZK_FONT_DEJAVU, "DejaVu Sans",
     "يولد جميع الناس أحرارا متساوين في الكرامة والحقوق. وقد وهبوا عقلا وضميرا وعليهم أن يعامل "
     "بعضهم "
     "بعضا بروح الإخاء. "},
    {"persian", ZK_FONT_DEJAVU, "DejaVu Sans",
     "تمام افراد بشر آزاد به دنیا می آیند و از لحاظ حیثیت و حقوق با هم برابرند. همه دارای عقل و "
     "وجدان "
     "هستند و باید نسبت به یکدیگر با روح برادری رفتار کنند. "},
    {"hebrew", ZK_FONT_DEJAVU, "DejaVu Sans",
     "כל בני האדם נולדו בני חורין ושווים בערכם ובזכויותיהם. כולם חוננו בתבונה ובמצפון, לפיכך חובה "
     "עליהם לנהוג איש ברעהו ברוח של אחווה. "},
    {"thai", ZK_FONT_FREESERIF, "FreeSerif",
     "มนุษย์ทั้งหลายเกิดมามีอิสระและเสมอภาคกันในเกียรติศักดิ์และสิทธิ ต่างมีเหตุผลและมโนธรรม "
     "และควรปฏิบัติต่อกันด้วยเจตนารมณ์แห่งภราดรภาพ "},
    {"chinese", ZK_FONT_MICROHEI, "WenQuanYi Micro Hei",
     "人人生而自由，在尊严和权利上一律平等。他们赋有理性和良心，并应以兄弟关系的精神相对待。"},
    {"korean", ZK_FONT_MICROHEI, "WenQuanYi Micro Hei",
     "모든 인간은 태어날 때부터 자유로우며 그 존엄과 권리에 있어 동등하다. 인간은 천부적으로 "
     "이성과 "
     "양심을 부여받았으며 서로 형제애의 정신으로 행동하여야 한다. "},
    {"mixed", ZK_FONT_DEJAVU, "DejaVu Sans",
     "Language: English, Français, עברית, العربية (RTL) 24% - Brightness 80/100, "
     "Wi-Fi \"Home-5G\" 192.168.1.20, Дата 2026-03-14 "},
};

/// Units of the Basic Multilingual Plane in UTF-8 text.
inline std::size_t unitCount(const std::string &utf8)
{
    std::size_t count = 0;
    for (const char byte : utf8) {
        count += (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
    }
    return count;
}

/// The text over and over until it has `units` characters, cut at the last full copy.
inline std::string repeated(const BenchText &text, std::size_t units)
{
    std::string whole;
    const std::size_t each = unitCount(text.utf8);
    for (std::size_t have = 0; have + each <= units || have == 0; have += each) {
        whole += text.utf8;
    }
    return whole;
}

#endif
