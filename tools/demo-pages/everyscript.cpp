#include "pages.h"

#include <zkharfbuzzshaper.h>
#include <zkparagraph.h>
#include <zktextpainter.h>
#include <zkthaiwords.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace demo
{

namespace
{

struct Sample {
    const char *script;
    const char *file; ///< of fonts-noto-core
    const char *text;
    host::Color color;
};

// The start of the Universal Declaration of Human Rights; Latin and Hebrew show marks.
// Joiners have no width: formatting such lines depends on who counts them.
// clang-format off
constexpr Sample kSamples[] = {
    {"Devanagari",
     "NotoSansDevanagari-Regular.ttf",
     "सभी मनुष्यों को गौरव और अधिकारों के मामले में जन्मजात स्वतन्त्रता प्राप्त है।",
     {160, 72, 40, 255}},
    {"Bengali",
     "NotoSansBengali-Regular.ttf",
     "সমস্ত মানুষ স্বাধীনভাবে সমান মর্যাদা এবং অধিকার নিয়ে জন্মগ্রহণ করে।",
     {22, 110, 84, 255}},
    {"Tamil",
     "NotoSansTamil-Regular.ttf",
     "மனிதப் பிறிவியினர் சகலரும் சுதந்திரமாகவே பிறக்கின்றனர்.",
     {90, 70, 170, 255}},
    {"Malayalam",
     "NotoSansMalayalam-Regular.ttf",
     "മനുഷ്യരെല്ലാവരും തുല്യാവകാശങ്ങളോടും സ്വാതന്ത്ര്യത്തോടുംകൂടി "
     "ജനിച്ചവരാണ്‌.",
     {30, 84, 140, 255}},
    {"Sinhala",
     "NotoSansSinhala-Regular.ttf",
     "සියලු මනුෂ්‍යයෝ නිදහස්ව උපත ලබා ඇත. ගරුත්වයෙන් සමාන "
     "වෙති.",
     {130, 60, 110, 255}},
    {"Khmer",
     "NotoSansKhmer-Regular.ttf",
     "មនុស្សទាំងអស់ កើតមកមានសេរីភាព និងសមភាព ក្នុងផ្នែកសេចក្ដីថ្លៃថ្នូរ។",
     {40, 100, 60, 255}},
    {"Myanmar",
     "NotoSansMyanmar-Regular.ttf",
     "လူတိုင်းသည် တူညီ လွတ်လပ်သော ဂုဏ်သိက္ခာဖြင့် မွေးဖွားလာသူများ ဖြစ်သည်။",
     {150, 90, 20, 255}},
    {"Tibetan",
     "NotoSerifTibetan-Regular.ttf",
     "འགྲོ་བ་མིའི་རིགས་རྒྱུད་ཡོངས་ལ་སྐྱེས་ཙམ་ཉིད་ནས་ཆེ་མཐོངས།",
     {110, 40, 40, 255}},
    {"Urdu",
     "NotoNastaliqUrdu-Regular.ttf",
     "تمام انسان آزاد اور حقوق و عزت کے اعتبار سے برابر پیدا ہوئے ہیں",
     {20, 100, 110, 255}},
    {"Hebrew",
     "NotoSerifHebrew-Regular.ttf",
     "בְּרֵאשִׁית בָּרָא אֱלֹהִים אֵת הַשָּׁמַיִם וְאֵת הָאָרֶץ",
     {60, 60, 140, 255}},
    {"Thai",
     "NotoSansThai-Regular.ttf",
     "มนุษย์ทั้งหลายเกิดมามีอิสระและเสมอภาคกันในเกียรติศักดิ์และสิทธิ",
     {140, 50, 80, 255}},
    {"Latin",
     "NotoSerif-Regular.ttf",
     "The office staff baffled five waffling fishes: ﬁne AVATARs, Vie\u0323\u0302t, x\u0302.",
     {50, 70, 90, 255}},
};
// clang-format on

} // namespace

Page everyScriptPage(const std::string &notoFolder, const Fonts &fonts)
{
    constexpr int kColumnWidth = 356, kLeft = 30, kTop = 16, kHeading = 15, kGap = 9;
    Style heading;
    heading.fontFile = fonts.dejavu;
    heading.size = 12;
    heading.color = {128, 132, 142, 255};
    ZkHarfBuzzShaper shaper;
    ZkThaiWords words;
    constexpr int kCount = static_cast<int>(std::size(kSamples));
    std::vector<ZkParagraph> paragraphs(kCount);
    std::vector<int> tops; // of each row of two, and the end
    tops.push_back(kTop);
    for (int i = 0; i < kCount; ++i) {
        const ZkTypeface face = ZkTypeface::fromFile((notoFolder + '/' + kSamples[i].file).c_str());
        if (!face.isValid()) {
            throw std::runtime_error(face.errorText());
        }
        ZkParagraph &paragraph = paragraphs[static_cast<std::size_t>(i)];
        paragraph.setChain(ZkFontChain(face));
        paragraph.setShaper(&shaper);
        paragraph.setWordBreaker(&words);
        paragraph.setFont(ZkFont(21, false, false, false, false));
        paragraph.setUtf8(kSamples[i].text);
        paragraph.setWidth(kColumnWidth);
        paragraph.setMaximumLines(2);
        paragraph.setEllipsis(ZkParagraph::EllipsisEnd);
        const int end =
            tops[static_cast<std::size_t>(i / 2)] + kHeading + paragraph.height() + kGap;
        if (i % 2 == 0) {
            tops.push_back(end);
        }
        tops.back() = std::max(tops.back(), end);
    }
    Page page(kPageWidth, tops.back() + kTop - kGap, {251, 250, 246, 255});
    for (int i = 0; i < kCount; ++i) {
        const int x = kLeft + i % 2 * (kColumnWidth + 28),
                  y = tops[static_cast<std::size_t>(i / 2)];
        page.label(area(x, y - 8, kColumnWidth, 28), y + 12, kSamples[i].script, heading);
        ZkTextPainter painter(page.canvas().pixels());
        painter.setColors(kSamples[i].color.argb());
        painter.paint(paragraphs[static_cast<std::size_t>(i)], x, y + kHeading);
    }
    return page;
}

} // namespace demo
