// However a text is made, analysis takes steps in proportion to its length. The sources of
// direction and breaks are built into this program with a call at each basic block, so that
// the steps are counted, not timed, and are the same on every machine.

#include <zkbidi.h>
#include <zktextbreaks.h>

#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace
{

std::int64_t steps;

}

/// What the compiler calls at each basic block.
extern "C" void __sanitizer_cov_trace_pc();
extern "C" void __sanitizer_cov_trace_pc()
{
    ++steps;
}

namespace
{

using Text = std::u16string;

/// A text of any length: the head, the piece over and over, and the tail as often.
struct Shape {
    const char *name;
    Text head;
    Text piece;
    Text tail;

    Text ofPieces(int count) const
    {
        Text text = head;
        for (int i = 0; i < count; ++i) {
            text += piece;
        }
        for (int i = 0; i < count; ++i) {
            text += tail;
        }
        return text;
    }
};

std::ostream &operator<<(std::ostream &out, const Shape &shape)
{
    return out << shape.name;
}

const Shape kDirectionShapes[] = {
    {"letters", u"", u"\u05d0b", u""},
    {"numbers", u"\u05d0", u"1,2%", u""},
    {"terminators that a number may follow", u"\u05d0", u"%", u""},
    {"terminators up to a number", u"\u05d0", u"%%%%", u"1"},
    {"separators", u"\u06f1", u",", u""},
    {"neutrals between two directions", u"\u05d0", u" ", u""},
    {"marks", u"\u05d0", u"\u0300", u""},
    {"marks at brackets", u"", u"\u0300\u05d0(\u0300", u")\u0300"},
    {"spaces at the end", u"\u05d0", u" \t", u""},
    {"paragraphs", u"", u"\u05d0\n", u""},
    {"carriage returns", u"\u05d0", u"\r", u""},
    {"brackets that open", u"\u05d0", u"(", u""},
    {"brackets that close", u"\u05d0", u")", u""},
    {"brackets of two kinds", u"\u05d0", u"[(", u")]"},
    {"brackets that cross", u"\u05d0", u"[)", u"(]"},
    {"brackets around a letter each", u"", u"(\u05d0", u")"},
    {"pairs side by side", u"\u05d0", u"(a)", u""},
    {"pairs that hold the other direction", u"\u05d0a", u"(\u05d0)", u""},
    {"many open, each closed by another kind", u"\u05d0", u"([{<", u"]"},
    {"isolates that nothing closes", u"\u05d0", u"\u2067", u""},
    {"isolates", u"\u05d0", u"\u2067", u"\u2069"},
    {"isolates with a letter at each depth", u"", u"\u2067\u05d0", u"b\u2069"},
    {"isolates side by side", u"\u05d0", u"\u2067a\u2069", u""},
    {"isolates of the first strong that find none", u"\u05d0", u"\u2068", u""},
    {"isolates of the first strong, far inside", u"", u"\u2068", u"\u05d0\u2069"},
    {"isolates of the first strong side by side", u"", u"\u2068 \u2069", u"\u05d0"},
    {"isolates closed too often", u"\u05d0", u"\u2069", u""},
    {"a bracket in each isolate", u"", u"\u2067(\u05d0", u")\u2069"},
    {"an isolate in each bracket", u"", u"(\u2067a", u"\u2069)"},
    {"embeddings", u"", u"\u202b\u05d0", u"\u202c"},
    {"embeddings that nothing closes", u"", u"\u202ba\u202a\u05d0", u""},
    {"embeddings closed at once", u"\u05d0", u"\u202b\u202c", u""},
    {"overrides", u"", u"\u202ea\u202d\u05d0", u"\u202c\u202c"},
    {"embeddings closed by an isolate's end", u"", u"\u2067\u202b\u202b\u2069\u05d0", u""},
    {"pairs of surrogates", u"", u"\U00010800(\U0001d7ce", u")"},
    {"one of each", u"", u"a\u05d0\u06281\u0661,+%\t\u0300 (\u2067\u202b\u202e\u2068!",
     u"\u202c\u2069)"},
};

const Shape kBreakShapes[] = {
    {"letters", u"", u"ab", u""},
    {"words", u"", u"it's 3.14 ", u""},
    {"spaces", u"a", u" ", u"b"},
    {"marks", u"a", u"\u0300", u""},
    {"marks between the letters of a word", u"a", u"'\u0300\u0300", u"b"},
    {"a point that may join two letters", u"a", u".\u0300", u""},
    {"numbers", u"", u"1,2.", u""},
    {"joiners", u"a", u"\u200d", u""},
    {"quotation marks and spaces", u"", u"\u00bb ", u"("},
    {"opening brackets and spaces", u"", u"( ", u") "},
    {"closing brackets and spaces", u"", u") ", u"\u3005"},
    {"dashes and spaces", u"", u"\u2014 ", u""},
    {"flags", u"", u"\U0001f1e9\U0001f1ea", u""},
    {"half a flag more", u"\U0001f1e9", u"\U0001f1e9\U0001f1ea", u""},
    {"emoji in one cluster", u"\U0001f469", u"\u200d\U0001f469", u""},
    {"emoji with marks", u"\U0001f469", u"\u0300\u200d\U0001f469", u""},
    {"syllables", u"", u"\u1100\u1161\u11a8", u""},
    {"leading parts alone", u"", u"\u1100", u"\u1161"},
    {"conjuncts", u"\u0915", u"\u094d\u0915", u""},
    {"a script without spaces", u"", u"\u0e01\u0e33", u""},
    {"the same between letters", u"", u"a\u0e01\u0301", u""},
    {"hebrew, hyphens and quotation marks", u"", u"\u05d0\"\u05d0-", u""},
    {"katakana and underlines", u"", u"\u30a2_", u""},
    {"ideographs", u"", u"\u4e2d\u3002", u""},
    {"hard lines", u"", u"a\r\n", u""},
    {"surrogates alone", u"", u"\xd800", u"\xdc00"},
    {"controls", u"", u"\u0001\u2028", u""},
};

/// The steps that a piece costs, from texts of `count` pieces and of twice as many.
template <typename Analysis>
void expectLinear(const Shape &shape, int count, Analysis analyse)
{
    const auto stepsOf = [&](int pieces) {
        const Text text = shape.ofPieces(pieces);
        std::vector<ZkUcs2> units(text.begin(), text.end());
        const std::int64_t before = steps;
        analyse(units.data(), static_cast<int>(units.size()));
        return steps - before;
    };
    stepsOf(1); // what is looked up is remembered
    const std::int64_t once = stepsOf(count), twice = stepsOf(2 * count);
    EXPECT_GT(once, count / 64) << "steps are counted";
    // An eighth above proportion leaves room for arrays that grow; a square would be double.
    EXPECT_LE(twice, 2 * once + once / 4) << once << " steps for " << count << " pieces";
}

constexpr int kPieces = 10000;

std::string nameOf(const ::testing::TestParamInfo<Shape> &shape)
{
    std::string name;
    for (const char c : std::string(shape.param.name)) {
        name += std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    }
    return name;
}

class DirectionSteps : public ::testing::TestWithParam<Shape>
{
};

class BreakSteps : public ::testing::TestWithParam<Shape>
{
};

} // namespace

TEST_P(DirectionSteps, AreInProportionToTheText)
{
    for (const ZkBidi::Direction direction :
         {ZkBidi::Auto, ZkBidi::LeftToRight, ZkBidi::RightToLeft, ZkBidi::AutoRightToLeft}) {
        SCOPED_TRACE(direction);
        expectLinear(GetParam(), kPieces, [&](const ZkUcs2 *text, int units) {
            ZkBidi bidi;
            bidi.setText(text, units, direction);
        });
    }
}

TEST_P(DirectionSteps, OfALineToo)
{
    expectLinear(GetParam(), kPieces, [](const ZkUcs2 *text, int units) {
        ZkBidi bidi;
        bidi.setText(text, units);
        std::vector<int> order(static_cast<std::size_t>(units));
        bidi.visualOrder(0, units, order.data());
    });
}

TEST_P(BreakSteps, AreInProportionToTheText)
{
    for (const ZkTextBreaks::Unspaced unspaced :
         {ZkTextBreaks::BetweenClusters, ZkTextBreaks::AsLetters}) {
        for (const unsigned kinds : {0U + ZkTextBreaks::AllKinds, 0U + ZkTextBreaks::Lines,
                                     0U + ZkTextBreaks::Grapheme, 0U + ZkTextBreaks::Word}) {
            SCOPED_TRACE(kinds);
            expectLinear(GetParam(), kPieces, [&](const ZkUcs2 *text, int units) {
                std::vector<std::uint8_t> flags(static_cast<std::size_t>(units) + 1);
                ZkTextBreaks::find(text, units, flags.data(), unspaced, nullptr, kinds);
            });
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Of, DirectionSteps, ::testing::ValuesIn(kDirectionShapes), nameOf);
INSTANTIATE_TEST_SUITE_P(Of, BreakSteps, ::testing::ValuesIn(kBreakShapes), nameOf);
