#include "rounds.h"

#include <zkstring.h>
#include <zkunicode.h>

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace
{

ZkString u(const char16_t *text)
{
    return ZkString(std::u16string_view(text));
}

} // namespace

TEST(ZkStringCase, MapsEveryUnitAsTheCharacterProperties)
{
    for (int unit = 0; unit <= 0xFFFF; ++unit) {
        const ZkUcs2 c = static_cast<ZkUcs2>(unit);
        const ZkString text(c);
        ASSERT_EQ(text.toUpper(), ZkString(ZkUnicode::toUpper(c))) << unit;
        ASSERT_EQ(text.toLower(), ZkString(ZkUnicode::toLower(c))) << unit;
    }
}

TEST(ZkStringCase, MapsTexts)
{
    EXPECT_EQ(ZkString("Hello, World 1").toUpper(), ZkString("HELLO, WORLD 1"));
    EXPECT_EQ(ZkString("Hello, World 1").toLower(), ZkString("hello, world 1"));
    EXPECT_EQ(u(u"stra\u00DFe").toUpper(), u(u"STRA\u00DFE")) << "sharp s stays";
    EXPECT_EQ(u(u"\u0130\u0131").toLower(), u(u"\u0130\u0131")) << "capital i with dot stays";
    EXPECT_EQ(u(u"\u0131").toUpper(), ZkString("I"));
    EXPECT_EQ(u(u"\u0416\u03A3").toLower(), u(u"\u0436\u03C3"));
}

TEST(ZkStringCase, PairedLowSurrogatesAreLookedUpInARowOfThePlane)
{
    // D801 DC00 is U+10400, whose row is that of U+0400: 80 to the lower case.
    EXPECT_EQ(u(u"\xD801\xDC00").toLower(), u(u"\xD801\xDC50"));
    const ZkUcs2 alone[] = {'a', 0xDC00};
    EXPECT_EQ(ZkString(alone, 2).toLower(), ZkString(alone, 2)) << "a lone one stays";
    const ZkUcs2 first[] = {0xDC00, 0xD801};
    EXPECT_EQ(ZkString(first, 2).toLower(), ZkString(first, 2));
}

TEST(ZkStringCase, TextThatStaysComesBackShared)
{
    const ZkString upper("ABC 123"), lower("abc 123"), empty;
    EXPECT_TRUE(upper.toUpper().isSharedWith(upper));
    EXPECT_TRUE(lower.toLower().isSharedWith(lower));
    EXPECT_TRUE(empty.toUpper().isSharedWith(empty));
    EXPECT_TRUE(empty.toLower().isSharedWith(empty));
    EXPECT_FALSE(lower.toUpper().isSharedWith(lower));
    EXPECT_EQ(lower.toUpper().capacity(), lower.size() + 1);
    EXPECT_EQ(lower, ZkString("abc 123"));
}

TEST(ZkStringSimplified, LeavesOneBlankBetweenWords)
{
    const struct {
        const char *text, *result;
    } kRows[] = {
        {"a b", "a b"},
        {"  a b  ", "a b"},
        {"a  b", "a b"},
        {"a\tb", "a b"},
        {"a\n\r\n b", "a b"},
        {"\t a \v\f b \n c ", "a b c"},
        {"a b  c", "a b c"},
        {"abc", "abc"},
        {" abc", "abc"},
        {"a\xC2\xA0"
         "b",
         "a b"}, // no-break space
        {"a\xE3\x80\x80\xE2\x80\xA8"
         "b",
         "a b"}, // ideographic space, line separator
        {"a\xC2\x85"
         "b",
         "a\xC2\x85"
         "b"}, // next line is no white space
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(ZkString(row.text).simplified(), ZkString(row.result));
    }
}

TEST(ZkStringSimplified, SharesWhatIsSimple)
{
    const ZkString simple("a b c"), empty;
    EXPECT_TRUE(simple.simplified().isSharedWith(simple));
    EXPECT_TRUE(empty.simplified().isSharedWith(empty));
    const ZkString null = ZkString("abc").mid(3);
    EXPECT_TRUE(ZkString(" \t\n").simplified().isSharedWith(null)) << "the shared empty string";
}

TEST(ZkStringSimplified, WorksAsAModelDoes)
{
    std::mt19937 random(41);
    const ZkUcs2 alphabet[] = {'a', 'b', ' ', ' ', ' ', '\t', 0xA0, 0x2028, 0x85};
    for (int i = scaledRounds(200000); i > 0; --i) {
        std::vector<ZkUcs2> units(random() % 12);
        for (ZkUcs2 &unit : units) {
            unit = alphabet[random() % std::size(alphabet)];
        }
        std::vector<ZkUcs2> expected;
        bool space = false;
        for (const ZkUcs2 unit : units) {
            if (ZkUnicode::isSpace(unit)) {
                space = true;
                continue;
            }
            if (space && !expected.empty()) {
                expected.push_back(' ');
            }
            space = false;
            expected.push_back(unit);
        }
        const ZkString text(units.data(), static_cast<int>(units.size()));
        const ZkString result = text.simplified();
        ASSERT_EQ(std::vector<ZkUcs2>(result.begin(), result.end()), expected);
        ASSERT_EQ(result.isSharedWith(text), expected == units);
    }
}
