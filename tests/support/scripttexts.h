#ifndef ZK_TESTS_SCRIPTTEXTS_H
#define ZK_TESTS_SCRIPTTEXTS_H

#include <string>

/// A text of one script and a font that has it; files are those of fonts-noto-core where
/// no folder is named.
struct ScriptText {
    const char *what;
    const char *font;
    const char *script; ///< ISO 15924
    bool isRightToLeft;
    const char16_t *text;

    std::string path() const
    {
        return font[0] == '/' ? font : std::string("/usr/share/fonts/truetype/noto/") + font;
    }
};

// Joiners have no width: formatting such lines depends on who counts them.
// clang-format off
inline const ScriptText kScriptTexts[] = {
    {"Latin, ligatures", "NotoSerif-Regular.ttf", "Latn", false,
     u"The office staff baffled five waffling fishes afloat."},
    {"Latin, kerning", "NotoSans-Regular.ttf", "Latn", false,
     u"AVATAR To Ty We P. Yo, LT AV \"Wave\" T. r, f' 11:47"},
    {"Latin, combining marks", "NotoSans-Regular.ttf", "Latn", false,
     u"Vie\u0323\u0302t A\u030A\u0301 x\u0302\u0304 o\u0328\u0300 i\u0307\u0301 g\u0303"},
    {"Latin, DejaVu", ZK_FONT_DEJAVU, "Latn", false,
     u"All human beings are born free and equal in dignity and rights; fi ffl AV To."},
    {"Greek, accents", "NotoSerif-Regular.ttf", "Grek", false,
     u"\u1F0D\u03C0\u03B1\u03BD\u03C4\u03B5\u03C2 \u03BF\u1F31 \u1F04\u03BD\u03B8\u03C1\u03C9"
     u"\u03C0\u03BF\u03B9 \u03B1\u0313\u0301"},
    {"Cyrillic", "NotoSans-Regular.ttf", "Cyrl", false,
     u"Все люди рождаются свободными и равными. Ѓорѓи и\u0306 е\u0301"},
    {"Devanagari, conjuncts", "NotoSansDevanagari-Regular.ttf", "Deva", false,
     u"सभी मनुष्यों को गौरव और अधिकारों के मामले में जन्मजात स्वतन्त्रता और समानता प्राप्त है।"},
    {"Devanagari, reph and matras", "NotoSansDevanagari-Regular.ttf", "Deva", false,
     u"कर्म र्कि त्र्य द्ध क्ष ज्ञ श्री ट्रक हिन्दी र्‍क क्‍ष "
     u"क्‌ष"},
    {"Devanagari, serif", "NotoSerifDevanagari-Regular.ttf", "Deva", false,
     u"उन्हें बुद्धि और अन्तरात्मा की देन प्राप्त है"},
    {"Bengali", "NotoSansBengali-Regular.ttf", "Beng", false,
     u"সমস্ত মানুষ স্বাধীনভাবে সমান মর্যাদা এবং অধিকার নিয়ে জন্মগ্রহণ করে।"},
    {"Bengali, conjuncts", "NotoSerifBengali-Regular.ttf", "Beng", false,
     u"ক্ষ জ্ঞ র্ক ক্র ন্ত্র ৎ কো কৌ ষ্ট্র ঞ্চ"},
    {"Gurmukhi", "NotoSansGurmukhi-Regular.ttf", "Guru", false,
     u"ਸਾਰਾ ਮਨੁੱਖੀ ਪਰਿਵਾਰ ਆਪਣੀ ਮਹਿਮਾ, ਸ਼ਾਨ ਅਤੇ ਹੱਕ ਪ੍ਰਾਪਤ"},
    {"Gujarati", "NotoSansGujarati-Regular.ttf", "Gujr", false,
     u"પ્રતિષ્ઠા અને અધિકારોની દૃષ્ટિએ સર્વ માનવો જન્મથી સ્વતંત્ર અને સમાન હોય છે."},
    {"Oriya", "NotoSansOriya-Regular.ttf", "Orya", false,
     u"ଜନ୍ମକାଳରୁ ସବୁ ମଣିଷ ସ୍ୱାଧୀନ ଓ ସେମାନଙ୍କର ମର୍ଯ୍ୟାଦା"},
    {"Tamil", "NotoSansTamil-Regular.ttf", "Taml", false,
     u"மனிதப் பிறிவியினர் சகலரும் சுதந்திரமாகவே பிறக்கின்றனர்; கொ கௌ க்ஷ ஸ்ரீ"},
    {"Tamil, serif", "NotoSerifTamil-Regular.ttf", "Taml", false,
     u"அவர்கள் நியாயத்தையும் மனச்சாட்சியையும்"},
    {"Telugu", "NotoSansTelugu-Regular.ttf", "Telu", false,
     u"ప్రతిపత్తిస్వత్వముల విషయమున మానవులెల్లరును జన్మతః స్వతంత్రులును సమానులును నగుదురు. క్ష్మి"},
    {"Kannada", "NotoSansKannada-Regular.ttf", "Knda", false,
     u"ಎಲ್ಲಾ ಮಾನವರೂ ಸ್ವತಂತ್ರರಾಗಿಯೇ ಜನಿಸಿದ್ದಾರೆ. ರ್ಕ ಕ್ಷ್ಮಿ ಕೋ"},
    {"Malayalam", "NotoSansMalayalam-Regular.ttf", "Mlym", false,
     u"മനുഷ്യരെല്ലാവരും തുല്യാവകാശങ്ങളോടും അന്തസ്സോടും സ്വാതന്ത്ര്യത്തോടുംകൂടി "
     u"ജനിച്ചവരാണ്‌."},
    {"Malayalam, chillus", "NotoSerifMalayalam-Regular.ttf", "Mlym", false,
     u"അവൻ അവൾ ന്‍ ക്ര സ്ത്രീ കൊ കോ മൗ ങ്ക "
     u"ഞ്ച"},
    {"Sinhala", "NotoSansSinhala-Regular.ttf", "Sinh", false,
     u"සියලු මනුෂ්‍යයෝ නිදහස්ව උපත ලබා ඇත. ක්‍ර ශ්‍රී "
     u"කෝ"},
    {"Sinhala, serif", "NotoSerifSinhala-Regular.ttf", "Sinh", false,
     u"ගරුත්වයෙන් හා අයිතිවාසිකම්වලින් සමාන වෙති"},
    {"Khmer", "NotoSansKhmer-Regular.ttf", "Khmr", false,
     u"មនុស្សទាំងអស់កើតមកមានសេរីភាពនិងសមភាពក្នុងផ្នែកសេចក្ដីថ្លៃថ្នូរនិងសិទ្ធិ ។"},
    {"Khmer, coengs", "NotoSerifKhmer-Regular.ttf", "Khmr", false, u"ស្ត្រី ខ្មែរ កម្ពុជា ក្រៅ ប៉ាន់ ស៊ី"},
    {"Myanmar", "NotoSansMyanmar-Regular.ttf", "Mymr", false,
     u"လူတိုင်းသည် တူညီ လွတ်လပ်သော ဂုဏ်သိက္ခာဖြင့် လည်းကောင်း၊"},
    {"Myanmar, stacks", "NotoSerifMyanmar-Regular.ttf", "Mymr", false, u"မင်္ဂလာပါ က္ကြ သ္ဘာ ကျွန်ုပ် ဩ"},
    {"Tibetan", "NotoSerifTibetan-Regular.ttf", "Tibt", false,
     u"འགྲོ་བ་མིའི་རིགས་རྒྱུད་ཡོངས་ལ་སྐྱེས་ཙམ་ཉིད་ནས་ཆེ་མཐོངས་དང༌།"},
    {"Tibetan, stacks", "NotoSerifTibetan-Regular.ttf", "Tibt", false, u"རྫོགས་ བསྒྲུབས ཨོཾ་མ་ཎི་པདྨེ་ཧཱུྃ ཀླ"},
    {"Arabic, Naskh", "NotoNaskhArabic-Regular.ttf", "Arab", true,
     u"يولد جميع الناس أحرارا متساوين في الكرامة والحقوق. وقد وهبوا عقلا وضميرا"},
    {"Arabic, vocalised", "NotoNaskhArabic-Regular.ttf", "Arab", true,
     u"\u0628\u0650\u0633\u0652\u0645\u0650 \u0627\u0644\u0644\u0651\u064E\u0647\u0650 "
     u"\u0627\u0644\u0631\u0651\u064E\u062D\u0652\u0645\u064E\u0670\u0646\u0650 "
     u"\u0644\u0651\u0627"},
    {"Persian, non-joiner", "NotoNaskhArabic-Regular.ttf", "Arab", true,
     u"\u062F\u06A9\u0645\u0647\u0654 «تأیید» را بزنید؛ می\u200Cشود کتاب\u200Cها پژوهش گفت"},
    {"Arabic, DejaVu", ZK_FONT_DEJAVU, "Arab", true,
     u"يولد جميع الناس أحرارا متساوين في الكرامة والحقوق. لا إله (خارج)"},
    {"Urdu, Nastaliq", "NotoNastaliqUrdu-Regular.ttf", "Arab", true,
     u"تمام انسان آزاد اور حقوق و عزت کے اعتبار سے برابر پیدا ہوئے ہیں"},
    {"Urdu, Nastaliq, long words", "NotoNastaliqUrdu-Regular.ttf", "Arab", true,
     u"انہیں ضمیر اور عقل ودیعت ہوئی ہے۔ بھائی چارے کا سلوک کرنا چاہیئے"},
    {"Syriac", "NotoSansSyriac-Regular.ttf", "Syrc", true, u"ܟܠ ܒܪܢܫܐ ܒܪܝܠܗ ܚܐܪܐ ܘܒܪܒܪ ܓܘ ܐܝܩܪܐ"},
    {"Hebrew", "NotoSansHebrew-Regular.ttf", "Hebr", true,
     u"כל בני האדם נולדו בני חורין ושווים בערכם ובזכויותיהם."},
    {"Hebrew, points", "NotoSerifHebrew-Regular.ttf", "Hebr", true,
     u"\u05D1\u05BC\u05B0\u05E8\u05B5\u05D0\u05E9\u05C1\u05B4\u05D9\u05EA "
     u"\u05D1\u05BC\u05B8\u05E8\u05B8\u05D0 \u05D0\u05B1\u05DC\u05B9\u05D4\u05B4\u05D9\u05DD"},
    {"Thaana", "NotoSansThaana-Regular.ttf", "Thaa", true, u"ހުރިހާ އިންސާނުން ވެސް އުފަންވަނީ މިނިވަންކަމުގައި"},
    {"N'Ko", "NotoSansNKo-Regular.ttf", "Nkoo", true, u"ߡߐ߱ ߓߍ߯ ߦߋ߫ ߓߊ߲߫ ߘߎ߫ ߥߟߏ߫ ߟߊ߫"},
    {"Thai", "NotoSansThai-Regular.ttf", "Thai", false,
     u"มนุษย์ทั้งหลายเกิดมามีอิสระและเสมอภาคกัน ที่นี่ น้ำ ปู่ ฐิ ญู"},
    {"Thai, serif", "NotoSerifThai-Regular.ttf", "Thai", false, u"ต่างมีเหตุผลและมโนธรรม เปี๊ยะ กำ ป้ำ"},
    {"Lao", "NotoSansLao-Regular.ttf", "Laoo", false,
     u"ມະນຸດເກີດມາມີສິດເສລີພາບ ແລະ ສະເໝີໜ້າກັນໃນທຸກໆ ດ້ານ ນ້ຳ"},
    {"Georgian", "NotoSansGeorgian-Regular.ttf", "Geor", false,
     u"ყველა ადამიანი იბადება თავისუფალი"},
    {"Armenian", "NotoSansArmenian-Regular.ttf", "Armn", false,
     u"Բոլոր մարդիկ ծնվում են ազատ ու հավասար և մնում"},
    {"Ethiopic", "NotoSansEthiopic-Regular.ttf", "Ethi", false, u"የሰው፡ልጅ፡ሁሉ፡ሲወለድ፡ነጻና፡በክብርና በመብትም"},
    {"Mongolian", "NotoSansMongolian-Regular.ttf", "Mong", false,
     u"ᠬᠦᠮᠦᠨ ᠪᠦᠷ ᠲᠥᠷᠥᠵᠦ ᠮᠡᠨᠳᠡᠯᠡᠬᠦ ᠡᠷᠬᠡ"},
    {"Javanese", "NotoSansJavanese-Regular.ttf", "Java", false, u"ꦱꦧꦼꦤ꧀ꦮꦺꦴꦁ ꦏꦭꦲꦶꦂꦫꦏꦺ ꦏꦤ꧀ꦛꦶ"},
    {"Chinese", ZK_FONT_MICROHEI, "Hani", false,
     u"人人生而自由，在尊严和权利上一律平等。他们赋有理性和良心"},
    {"Emoji sequences", "/usr/share/fonts/truetype/ancient-scripts/Symbola_hint.ttf", "Zyyy", false,
     u"\U0001F468\u200D\U0001F469\u200D\U0001F467 \U0001F44D\U0001F3FD \u2764\uFE0F "
     u"\U0001F1E9\U0001F1EA 1\uFE0F\u20E3 \U0001F600"},
    {"Mathematics", "/usr/share/fonts/truetype/ancient-scripts/Symbola_hint.ttf", "Zyyy", false,
     u"\u2200x\u2208\u211D: \u2211\u2081\u207F \u221E \u2260 \u222B \U0001D4D0"},
};
// clang-format on

#endif
