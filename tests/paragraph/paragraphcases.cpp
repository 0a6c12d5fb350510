// Small cases, each named for what it shows: lines, glyphs and carets as JSON beside the
// golden file. ZK_WRITE_GOLDEN in the environment writes the file anew, to be read before
// it is committed.

#include <zkparagraph.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>

namespace
{

const char *const kSentence = "All human beings are born free and equal in dignity and rights.";

const struct {
    const char *name, *text;
    std::function<void(ZkParagraph &)> set;
} kCases[] = {
    {"empty", "", [](ZkParagraph &) {}},
    {"empty-right-to-left", "", [](ZkParagraph &p) { p.setDirection(ZkParagraph::RightToLeft); }},
    {"one-line", "Hello", [](ZkParagraph &) {}},
    {"wrapped", kSentence, [](ZkParagraph &p) { p.setWidth(150); }},
    {"wrapped-at-the-end", kSentence,
     [](ZkParagraph &p) {
         p.setWidth(150);
         p.setAlignment(ZkParagraph::AlignEnd);
     }},
    {"centred", kSentence,
     [](ZkParagraph &p) {
         p.setWidth(150);
         p.setAlignment(ZkParagraph::AlignCenter);
     }},
    {"justified", kSentence,
     [](ZkParagraph &p) {
         p.setWidth(150);
         p.setAlignment(ZkParagraph::AlignJustify);
     }},
    {"hanging-spaces", "one   two", [](ZkParagraph &p) { p.setWidth(36); }},
    {"line-ends",
     "a\nb\r\nc\rd\xE2\x80\xA8"
     "e\n",
     [](ZkParagraph &) {}},
    {"word-cut", "incomprehensible", [](ZkParagraph &p) { p.setWidth(50); }},
    {"word-not-cut", "an incomprehensible word",
     [](ZkParagraph &p) {
         p.setWidth(50);
         p.setWordCutting(false);
     }},
    {"soft-hyphen",
     "in\xC2\xAD"
     "com\xC2\xAD"
     "pre\xC2\xAD"
     "hen\xC2\xAD"
     "sible",
     [](ZkParagraph &p) { p.setWidth(70); }},
    {"tabs", "a\tbb\tccc\td", [](ZkParagraph &p) { p.setTabWidth(40); }},
    {"tabs-right-to-left", "א\tבב\tג",
     [](ZkParagraph &p) {
         p.setTabWidth(40);
         p.setWidth(200);
     }},
    {"ellipsis-end", kSentence,
     [](ZkParagraph &p) {
         p.setWidth(120);
         p.setMaximumLines(1);
         p.setEllipsis(ZkParagraph::EllipsisEnd);
     }},
    {"ellipsis-middle", "/usr/share/fonts/truetype/sans.ttf",
     [](ZkParagraph &p) {
         p.setWidth(120);
         p.setMaximumLines(1);
         p.setEllipsis(ZkParagraph::EllipsisMiddle);
     }},
    {"ellipsis-start", "/usr/share/fonts/truetype/sans.ttf",
     [](ZkParagraph &p) {
         p.setWidth(120);
         p.setMaximumLines(1);
         p.setEllipsis(ZkParagraph::EllipsisStart);
     }},
    {"ellipsis-second-line", kSentence,
     [](ZkParagraph &p) {
         p.setWidth(120);
         p.setMaximumLines(2);
         p.setEllipsis(ZkParagraph::EllipsisEnd);
     }},
    {"ellipsis-right-to-left", "دکمهٔ «تأیید» را بزنید.",
     [](ZkParagraph &p) {
         p.setWidth(80);
         p.setMaximumLines(1);
         p.setEllipsis(ZkParagraph::EllipsisEnd);
     }},
    {"letter-spacing", "wide", [](ZkParagraph &p) { p.setLetterSpacing(5); }},
    {"line-spacing", "a\nb\nc", [](ZkParagraph &p) { p.setLineSpacing(6); }},
    {"kerning", "AVATAR To", [](ZkParagraph &) {}},
    {"two-sizes", "small large small",
     [](ZkParagraph &p) { p.setSpan(6, 11, ZkFont(28, false, false, false, false), 3); }},
    {"fallback", "a語b", [](ZkParagraph &) {}},
    {"emoji",
     "a\xF0\x9F\x98\x80"
     "b",
     [](ZkParagraph &) {}},
    {"arabic-wrapped", "يولد جميع الناس أحرارا متساوين في الكرامة والحقوق.",
     [](ZkParagraph &p) { p.setWidth(150); }},
    {"digits-in-persian", "تاریخ: ۱۴۰۵/۰۹/۰۱", [](ZkParagraph &) {}},
    {"brackets-in-hebrew", "משרד (5 GHz)", [](ZkParagraph &) {}},
    {"lam-alef-with-marks", "لَا", [](ZkParagraph &) {}},
    {"vocalised-arabic", "بِسْمِ اللَّهِ", [](ZkParagraph &) {}},
    {"pointed-hebrew", "שָׁלוֹם", [](ZkParagraph &) {}},
    {"thai-stacked", "ที่นี่น้ำ", [](ZkParagraph &) {}},
    {"composed", "e\xCC\x81q\xCC\x81", [](ZkParagraph &) {}},
    {"malformed-utf8", "a\xC3(\xE2\x82z", [](ZkParagraph &) {}},
};

std::string asJson(const ZkParagraph &paragraph)
{
    std::ostringstream out;
    out << "{\"width\": " << paragraph.width() << ", \"height\": " << paragraph.height()
        << ", \"least\": " << paragraph.minWidth() << ", \"most\": " << paragraph.maxWidth()
        << ", \"lines\": [";
    for (int i = 0; i < paragraph.lineCount(); ++i) {
        const ZkTextLine &line = paragraph.line(i);
        out << (i > 0 ? "," : "") << "\n   {\"units\": [" << line.first << ", " << line.last
            << "], \"x\": " << line.x << ", \"baseline\": " << line.baseline
            << ", \"width\": " << line.width << ", \"end\": \""
            << (line.isShortened ? "shortened"
                : line.endsHard  ? "hard"
                                 : "soft")
            << "\", \"direction\": \"" << (line.isRightToLeft ? "rtl" : "ltr")
            << "\",\n    \"glyphs\": [";
        const ZkPlacedGlyph *glyphs = nullptr;
        const int count = paragraph.glyphs(i, &glyphs);
        for (int k = 0; k < count; ++k) {
            out << (k > 0 ? ", " : "") << '[' << glyphs[k].cluster << ", " << glyphs[k].x << ", "
                << glyphs[k].y << ", " << glyphs[k].glyph->width << ", " << glyphs[k].glyph->height
                << ']';
        }
        out << "],\n    \"carets\": [";
        for (int u = line.first; u < line.last; u = paragraph.nextCluster(u)) {
            out << (u > line.first ? ", " : "") << paragraph.caret(u).x;
        }
        out << "]}";
    }
    out << "]}";
    return out.str();
}

TEST(ParagraphCases, AreAsTheGoldenFileSays)
{
    ZkFontChain chain(ZkTypeface::fromFile(ZK_FONT_DEJAVU));
    chain.append(ZkTypeface::fromFile(ZK_FONT_FREESERIF));
    chain.append(ZkTypeface::fromFile(ZK_FONT_MICROHEI));
    std::string all = "{\n";
    for (const auto &row : kCases) {
        ZkParagraph paragraph;
        paragraph.setChain(chain);
        paragraph.setUtf8(row.text);
        row.set(paragraph);
        all += std::string(all.size() > 2 ? ",\n" : "") + "\"" + row.name + "\":\n  " +
               asJson(paragraph);
    }
    all += "\n}\n";
    const std::string path = ZK_TEST_DATA "/paragraph/cases.json";
    if (std::getenv("ZK_WRITE_GOLDEN") != nullptr) {
        std::ofstream(path) << all;
    }
    std::ifstream file(path);
    ASSERT_TRUE(file.is_open()) << path;
    const std::string golden((std::istreambuf_iterator<char>(file)),
                             std::istreambuf_iterator<char>());
    std::istringstream ours(all), theirs(golden);
    std::string mine, expected, name;
    while (std::getline(theirs, expected)) {
        ASSERT_TRUE(std::getline(ours, mine)) << "the layout has fewer lines than " << path;
        name = expected.find("\":") != std::string::npos && expected[0] == '"' ? expected : name;
        ASSERT_EQ(mine, expected) << name;
    }
    EXPECT_FALSE(std::getline(ours, mine)) << "the layout has more lines than " << path;
}

} // namespace
