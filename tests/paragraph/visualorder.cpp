// The order in which a line shows its characters: that of the labels of real devices, and
// on random text that of ICU for the same line.

#include "paragraphlaws.h"
#include "rounds.h"

#include <zkparagraph.h>

#include <gtest/gtest.h>
#include <unicode/ubidi.h>

#include <algorithm>

namespace
{

using paragraphlaws::Dice;

ZkFontChain dejaVu()
{
    return ZkFontChain(ZkTypeface::fromFile(ZK_FONT_DEJAVU));
}

struct Seen {
    int left;
    int first;
};

/// The clusters of a line that take room, from left to right.
std::vector<int> visualClusters(const ZkParagraph &paragraph, int line)
{
    std::vector<Seen> seen;
    for (const int start : paragraphlaws::clusterStarts(paragraph, paragraph.line(line))) {
        const auto rects = paragraph.selection(start, paragraph.nextCluster(start));
        if (!rects.isEmpty()) {
            seen.push_back({rects.at(0).left(), start});
        }
    }
    std::stable_sort(seen.begin(), seen.end(),
                     [](const Seen &a, const Seen &b) { return a.left < b.left; });
    std::vector<int> clusters;
    for (const Seen &each : seen) {
        clusters.push_back(each.first);
    }
    return clusters;
}

/// The characters of the first line as they are seen from left to right.
ZkString shown(const ZkParagraph &paragraph)
{
    ZkString out;
    for (const int cluster : visualClusters(paragraph, 0)) {
        for (int i = cluster; i < paragraph.nextCluster(cluster); ++i) {
            if (paragraph.text().at(i) != 0x200C) {
                out.append(paragraph.text().at(i));
            }
        }
    }
    return out;
}

// Labels of devices, and the characters that a reader sees from left to right when the
// screen's base direction is left to right, and right to left. Brackets that are shown
// mirrored keep their code here; the non-joiner is not seen.
const struct {
    const char *label, *inLeftToRight, *inRightToLeft;
} kLabels[] = {
    {"دمای موتور: ۹۰ درجه", "هجرد ۹۰ :روتوم یامد", "هجرد ۹۰ :روتوم یامد"},
    {"۲۱٫۵ درجه", "۲۱٫۵ هجرد", "هجرد ۲۱٫۵"},
    {"الساعة ١٢:٣٠", "١٢:٣٠ ةعاسلا", "١٢:٣٠ ةعاسلا"},
    {"تاریخ: ۱۴۰۵/۰۹/۰۱", "۱۴۰۵/۰۹/۰۱ :خیرات", "۱۴۰۵/۰۹/۰۱ :خیرات"},
    {"v2.4.1 (بناء 1207)", "v2.4.1 (1207 ءانب)", ")1207 ءانب( v2.4.1"},
    {"משרד (5 GHz)", "דרשמ (5 GHz)", ")GHz 5( דרשמ"},
    {"ל-21.5 מעלות", "תולעמ 21.5-ל", "תולעמ 21.5-ל"},
    {"Wi-Fi: متصل", "Wi-Fi: لصتم", "لصتم :Wi-Fi"},
    {"شبكة Wi-Fi متصلة", "ةكبش Wi-Fi ةلصتم", "ةلصتم Wi-Fi ةكبش"},
    {"درجة الحرارة (خارج) 21°C", "21 )جراخ( ةرارحلا ةجرد°C", "C°21 )جراخ( ةرارحلا ةجرد"},
    {"دکمهٔ «تأیید» را بزنید.", "دینزب ار »دییأت« هٔمکد.", ".دینزب ار »دییأت« هٔمکد"},
    {"می‌شود", "دوشیم", "دوشیم"},
};

/// Characters behind which another paragraph begins, as far as direction goes. Not all
/// of them end lines, and not all that ends a line is one of them.
bool partsParagraphs(ZkUcs2 c)
{
    return c == 0x0A || c == 0x0D || (c >= 0x1C && c <= 0x1E) || c == 0x85 || c == 0x2029;
}

/// The order of ICU for a line of one paragraph: units from left to right.
std::vector<int> icuOrder(const ZkString &text, int paragraphFirst, int paragraphLast, int first,
                          int last, UBiDiLevel base)
{
    UErrorCode error = U_ZERO_ERROR;
    UBiDi *whole = ubidi_open(), *line = ubidi_open();
    const auto *begin = reinterpret_cast<const UChar *>(text.constData());
    ubidi_setPara(whole, begin + paragraphFirst, paragraphLast - paragraphFirst, base, nullptr,
                  &error);
    ubidi_setLine(whole, first - paragraphFirst, last - paragraphFirst, line, &error);
    std::vector<std::int32_t> map(static_cast<std::size_t>(last - first));
    ubidi_getVisualMap(line, map.data(), &error);
    EXPECT_TRUE(U_SUCCESS(error)) << u_errorName(error);
    ubidi_close(line);
    ubidi_close(whole);
    std::vector<int> order;
    for (const std::int32_t logical : map) {
        order.push_back(first + logical);
    }
    return order;
}

/// Those units of `order` that are in `clusters`.
std::vector<int> among(const std::vector<int> &clusters, const std::vector<int> &order)
{
    std::vector<int> seen;
    for (const int unit : order) {
        if (std::find(clusters.begin(), clusters.end(), unit) != clusters.end()) {
            seen.push_back(unit);
        }
    }
    return seen;
}

TEST(VisualOrder, LabelsReadAsTheirReadersExpect)
{
    for (const auto &row : kLabels) {
        SCOPED_TRACE(row.label);
        ZkParagraph paragraph;
        paragraph.setChain(dejaVu());
        paragraph.setUtf8(row.label);
        for (const bool rightToLeft : {false, true}) {
            paragraph.setDirection(rightToLeft ? ZkParagraph::RightToLeft
                                               : ZkParagraph::LeftToRight);
            ASSERT_EQ(paragraph.lineCount(), 1);
            EXPECT_EQ(paragraph.line(0).isRightToLeft, rightToLeft);
            const char *expected = rightToLeft ? row.inRightToLeft : row.inLeftToRight;
            EXPECT_EQ(shown(paragraph), ZkString(expected)) << shown(paragraph).toStdString();
        }
    }
}

TEST(VisualOrder, IsThatOfIcuOnRandomText)
{
    ZkFontChain chain = dejaVu();
    chain.append(ZkTypeface::fromFile(ZK_FONT_UNIFONT));
    ZkParagraph paragraph;
    paragraph.setChain(chain);
    int compared = 0, torn = 0;
    for (int seed = 1; seed <= scaledRounds(2000); ++seed) {
        Dice dice(static_cast<unsigned>(seed));
        paragraph.setText(paragraphlaws::randomText(dice, dice.roll(80)));
        paragraphlaws::setRandomly(paragraph, dice);
        paragraph.setMaximumLines(0);
        paragraph.setLetterSpacing(0);
        const ZkString text = paragraph.text();
        // The algorithm passes over what is a neutral boundary: boxes of noncharacters stand
        // beside either neighbour.
        ZkTextCharacters characters;
        characters.setText(text.constData(), text.size());
        const auto isPlacedAtWill = [&](int unit) {
            return characters.properties(unit).bidi == ZkCharacter::BidiBN;
        };
        for (int i = 0; i < paragraph.lineCount(); ++i) {
            const ZkTextLine &line = paragraph.line(i);
            int start = line.first, end = line.first;
            while (start > 0 && !partsParagraphs(text[start - 1])) {
                --start;
            }
            while (end < text.size() && !partsParagraphs(text[end])) {
                ++end;
            }
            if (end < line.last - 1 || line.first == line.last) {
                continue; // such a control inside a line, CR LF at its end, an empty line
            }
            end = std::max(end, line.last);
            const UBiDiLevel base = line.isRightToLeft ? 1 : 0;
            bool isTorn = false; // a cluster of two directions, which we keep together
            for (const int cluster : paragraphlaws::clusterStarts(paragraph, line)) {
                for (int u = cluster + 1; u < paragraph.nextCluster(cluster); ++u) {
                    isTorn =
                        isTorn || (characters.properties(u).bidi == ZkCharacter::BidiL) !=
                                      (characters.properties(cluster).bidi == ZkCharacter::BidiL);
                }
            }
            if (isTorn) {
                ++torn;
                continue;
            }
            std::vector<int> mine = visualClusters(paragraph, i);
            mine.erase(std::remove_if(mine.begin(), mine.end(), isPlacedAtWill), mine.end());
            const std::vector<int> order = icuOrder(text, start, end, line.first, line.last, base);
            ASSERT_EQ(mine, among(mine, order)) << "seed " << seed << ", line " << i;
            ++compared;
        }
    }
    EXPECT_GT(compared, scaledRounds(2000));
    EXPECT_LT(torn, compared / 4);
}

} // namespace
