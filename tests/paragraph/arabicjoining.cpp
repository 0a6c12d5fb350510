// Arabic letters between neighbours of every kind, beside the joining types of
// ArabicShaping.txt and the presentation forms of UnicodeData.txt, read here.

#include "conformancefile.h"

#include <zkparagraph.h>

#include <gtest/gtest.h>

#include <map>

namespace
{

struct Letter {
    char joining = 'U';
    std::map<std::string, char32_t> forms; ///< by "<final>" and so on
};

/// Every letter that has presentation forms, with its joining type.
std::map<char32_t, Letter> readLetters()
{
    std::map<char32_t, Letter> letters;
    readDataLines("UnicodeData.txt", 34000, [&](const std::string &line) {
        const std::vector<std::string> fields = fieldsOf(line);
        const std::vector<std::string> parts = fieldsOf(fields[5], ' ');
        const bool isForm = !parts.empty() && (parts[0] == "<final>" || parts[0] == "<initial>" ||
                                               parts[0] == "<medial>");
        if (isForm && parts.size() == 2) {
            letters[codePointOf(parts[1])].forms[parts[0]] = codePointOf(fields[0]);
        }
    });
    readDataLines("ArabicShaping.txt", 828, [&](const std::string &line) {
        const std::vector<std::string> fields = fieldsOf(line);
        const auto found = letters.find(codePointOf(fields[0]));
        if (found != letters.end()) {
            found->second.joining = fields[2][0];
        }
    });
    return letters;
}

/// What stands beside a letter: whether it joins what follows it, and what is before it.
const struct {
    const char *name;
    std::u16string text;
    bool joinsForward, joinsBackward;
} kNeighbours[] = {
    {"nothing", u"", false, false},
    {"BEH, joined on both sides", u"\u0628", true, true},
    {"DAL, joined on its right", u"\u062F", false, true},
    {"HAMZA, never joined", u"\u0621", false, false},
    {"a Latin letter", u"x", false, false},
    {"TATWEEL", u"\u0640", true, true},
    {"ZERO WIDTH JOINER", u"\u200D", true, true},
    {"ZERO WIDTH NON-JOINER", u"\u200C", false, false},
    {"a space", u" ", false, false},
    {"BEH and FATHA", u"\u0628\u064E", true, true},
    {"DAL and SHADDA", u"\u062F\u0651", false, true},
    {"a letter above U+FFFF, joined on both sides", u"\U0001E922", true, true},
    {"a selector above U+FFFF and BEH", u"\U000E0100\u0628", true, true},
};

/// Unifont has every presentation form.
ZkTypeface face()
{
    static const ZkTypeface opened = ZkTypeface::fromFile(ZK_FONT_UNIFONT);
    return opened;
}

struct Shown {
    std::uint32_t glyph;
    int cluster;
};

/// The glyphs of the first line.
std::vector<Shown> glyphsOf(const std::u16string &text, const ZkTypeface &typeface = face())
{
    ZkParagraph paragraph;
    paragraph.setChain(ZkFontChain(typeface));
    paragraph.setDirection(ZkParagraph::RightToLeft);
    paragraph.setText(ZkString(std::u16string_view(text)));
    const ZkPlacedGlyph *placed = nullptr;
    const int count = paragraph.glyphs(0, &placed);
    std::vector<Shown> glyphs;
    for (int i = 0; i < count; ++i) {
        glyphs.push_back(
            {reinterpret_cast<const ZkGlyph *>(placed[i].glyph)->index(), placed[i].cluster});
    }
    return glyphs;
}

/// The glyph of the character at a unit, 0 when it has none.
std::uint32_t glyphAt(const std::vector<Shown> &glyphs, int unit)
{
    for (const Shown &glyph : glyphs) {
        if (glyph.cluster == unit) {
            return glyph.glyph;
        }
    }
    return 0;
}

bool holds(const std::vector<Shown> &glyphs, char32_t character,
           const ZkTypeface &typeface = face())
{
    const std::uint32_t index = typeface.glyphIndex(character);
    EXPECT_NE(index, 0u);
    for (const Shown &glyph : glyphs) {
        if (glyph.glyph == index) {
            return true;
        }
    }
    return false;
}

TEST(ArabicJoining, EveryLetterTakesTheFormThatItsNeighboursAskFor)
{
    const std::map<char32_t, Letter> letters = readLetters();
    ASSERT_EQ(letters.size(), 74u);
    for (const auto &[code, letter] : letters) {
        const bool canBackward = letter.joining == 'D' || letter.joining == 'R';
        const bool canForward = letter.joining == 'D';
        ASSERT_TRUE(canBackward) << std::hex << int(code);
        for (const auto &before : kNeighbours) {
            for (const auto &after : kNeighbours) {
                const std::u16string text = before.text + static_cast<char16_t>(code) + after.text;
                const bool joinedBefore = before.joinsForward && canBackward;
                const bool joinedAfter = after.joinsBackward && canForward;
                const char *form = joinedBefore && joinedAfter ? "<medial>"
                                   : joinedBefore              ? "<final>"
                                                               : "<initial>";
                char32_t expected = code;
                if (joinedBefore || joinedAfter) {
                    const auto found = letter.forms.find(form);
                    expected = found != letter.forms.end() ? found->second : code;
                }
                ASSERT_TRUE(face().hasGlyph(expected)) << std::hex << int(expected);
                EXPECT_EQ(glyphAt(glyphsOf(text), static_cast<int>(before.text.size())),
                          face().glyphIndex(expected))
                    << std::hex << "U+" << int(code) << " between " << before.name << " and "
                    << after.name << ": should be U+" << int(expected);
            }
        }
    }
}

TEST(ArabicJoining, LamAndAlefAreOneGlyph)
{
    const struct {
        const char *what;
        std::u16string text;
        char32_t ligature; ///< 0: none
    } kRows[] = {
        {"alone", u"\u0644\u0627", 0xFEFB},
        {"behind a letter that joins", u"\u0628\u0644\u0627", 0xFEFC},
        {"behind one that does not", u"\u062F\u0644\u0627", 0xFEFB},
        {"alef with madda", u"\u0644\u0622", 0xFEF5},
        {"alef with hamza above", u"\u0644\u0623", 0xFEF7},
        {"alef with hamza below, joined", u"\u0628\u0644\u0625", 0xFEFA},
        {"a mark on the lam", u"\u0644\u064E\u0627", 0xFEFB},
        {"a mark on the alef", u"\u0644\u0627\u064B", 0xFEFB},
        {"marks on both", u"\u0644\u0651\u064E\u0627\u064B", 0xFEFB},
        {"a non-joiner between", u"\u0644\u200C\u0627", 0},
        {"another letter between", u"\u0644\u0628\u0627", 0},
        {"lam and an alef that has no ligature", u"\u0644\u0671", 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const std::vector<Shown> glyphs = glyphsOf(row.text);
        for (char32_t c = 0xFEF5; c <= 0xFEFC; ++c) {
            EXPECT_EQ(holds(glyphs, c), c == row.ligature) << std::hex << int(c);
        }
        if (row.ligature != 0) {
            EXPECT_FALSE(holds(glyphs, 0x0627));
            EXPECT_FALSE(holds(glyphs, 0xFE8E));
        }
    }
}

TEST(ArabicJoining, LamAlefIsTwoClustersOfHalfTheGlyphEach)
{
    ZkParagraph paragraph;
    paragraph.setChain(ZkFontChain(ZkTypeface::fromFile(ZK_FONT_DEJAVU)));
    paragraph.setText(ZkString(std::u16string_view(u"\u0644\u0627")));
    EXPECT_EQ(paragraph.nextCluster(0), 1);
    const int whole = paragraph.width();
    const auto lam = paragraph.selection(0, 1), alef = paragraph.selection(1, 2);
    ASSERT_EQ(lam.size(), 1);
    ASSERT_EQ(alef.size(), 1);
    EXPECT_EQ(lam.at(0).width() + alef.at(0).width(), whole);
    EXPECT_LE(std::abs(lam.at(0).width() - alef.at(0).width()), 1);
    EXPECT_EQ(alef.at(0).right() + 1, lam.at(0).left()) << "the lam stands on the right";
    EXPECT_EQ(paragraph.hit(lam.at(0).right() - 1, 1).index, 0);
    EXPECT_EQ(paragraph.hit(alef.at(0).left(), 1).index, 2);
}

TEST(ArabicJoining, PersianNonJoinerParts)
{
    // "mi-shavad": the yeh does not join the sheen, and nothing is shown between them.
    const ZkTypeface dejaVu = ZkTypeface::fromFile(ZK_FONT_DEJAVU);
    const std::vector<Shown> glyphs = glyphsOf(u"\u0645\u06CC\u200C\u0634\u0648\u062F", dejaVu);
    ASSERT_EQ(glyphs.size(), 5u);
    EXPECT_TRUE(holds(glyphs, 0xFEE3, dejaVu));                                  // MEEM INITIAL
    EXPECT_TRUE(holds(glyphs, 0xFBFD, dejaVu));                                  // FARSI YEH FINAL
    EXPECT_TRUE(holds(glyphs, 0xFEB7, dejaVu));                                  // SHEEN INITIAL
    EXPECT_TRUE(holds(glyphs, 0xFEEE, dejaVu));                                  // WAW FINAL
    EXPECT_TRUE(holds(glyphs, 0x062F, dejaVu) || holds(glyphs, 0xFEA9, dejaVu)); // DAL
}

TEST(ArabicJoining, LettersGoOnJoiningAcrossSpansAndLines)
{
    // A colour changes inside a word: the letters join as before.
    ZkParagraph paragraph;
    paragraph.setChain(ZkFontChain(face()));
    paragraph.setText(ZkString(std::u16string_view(u"\u0628\u0628\u0628")));
    const auto indices = [&] {
        std::vector<std::uint32_t> all;
        for (int line = 0; line < paragraph.lineCount(); ++line) {
            const ZkPlacedGlyph *placed = nullptr;
            const int count = paragraph.glyphs(line, &placed);
            for (int i = 0; i < count; ++i) {
                all.push_back(reinterpret_cast<const ZkGlyph *>(placed[i].glyph)->index());
            }
        }
        return all;
    };
    const std::vector<std::uint32_t> whole = indices();
    paragraph.setSpan(1, 2, ZkFont(), 7);
    EXPECT_EQ(indices(), whole);
    paragraph.setSpan(1, 2, ZkFont(16, false, false, false, true), 7);
    EXPECT_EQ(indices(), whole);
}

} // namespace
