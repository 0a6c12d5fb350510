#include "stringsearches.h"

#include <zkstring.h>

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <set>

namespace
{

using model::Units;

ZkString made(const Units &units)
{
    return ZkString(units.data(), int(units.size()));
}

Zk::CaseSensitivity caseOf(bool sensitive)
{
    return sensitive ? Zk::CaseSensitive : Zk::CaseInsensitive;
}

/// Random haystacks with needles that are often in them. Alphabets of few letters
/// give many near misses; others hold cases, characters that fold to ASCII,
/// surrogates in pairs and alone, and letters of one low byte.
class Texts
{
public:
    explicit Texts(unsigned seed) : m_random(seed) {}

    int below(int n) { return int(m_random() % unsigned(n)); }

    void chooseAlphabet()
    {
        static const std::vector<Units> kAlphabets = {
            {'a'},
            {'a', 'b'},
            {'a', 'A', 'b', 'B'},
            {'k', 'K', 0x212A, 's', 'S', 0x17F, 0x131, 0x130, 'i', 'I'},
            {0x3B8, 0x398, 0x3D1, 0x3F4, 0x3B9, 0x399, 0x345, 0x1FBE},
            {0xD801, 0xDC00, 0xDC50, 0xD800, 0xDE3A, 'x'},
            {0xD801, 0xDC28, 0xDC00, 0xDC20},
            {0x128, 0x228, 0x328, 0x428, 0x628},
            {0x627, 0x644, 0x628, 0x20, 0x645},
        };
        m_alphabet = kAlphabets[std::size_t(below(int(kAlphabets.size())))];
    }
    ZkUcs2 unit() { return m_alphabet[std::size_t(below(int(m_alphabet.size())))]; }
    Units text(int size)
    {
        Units units;
        for (int i = 0; i < size; ++i) {
            units.push_back(unit());
        }
        return units;
    }
    /// A stretch of `h`, most often; one unit of it may be changed.
    Units needle(const Units &h, int size)
    {
        if (size > int(h.size()) || below(4) == 0) {
            return text(size);
        }
        const int at = below(int(h.size()) - size + 1);
        Units units(h.begin() + at, h.begin() + at + size);
        if (size > 0 && below(2) == 0) {
            units[std::size_t(below(size))] = unit();
        }
        return units;
    }

private:
    std::mt19937 m_random;
    Units m_alphabet;
};

} // namespace

TEST(StringSearches, AgreeWithBruteForceOnShortTexts)
{
    Texts texts(20240611);
    for (int round = 0; round < 10000; ++round) {
        if (round % 50 == 0) {
            texts.chooseAlphabet();
        }
        const Units h = texts.text(texts.below(48));
        const Units n = texts.needle(h, texts.below(9));
        const StringSearches searches(h, n, texts.below(2) == 0);
        SCOPED_TRACE(round);
        ASSERT_EQ(searches.difference(), "");
        for (int from = 0; from <= int(h.size()) + 1; from += 1 + texts.below(12)) {
            ASSERT_EQ(searches.differenceFrom(from), "") << "from " << from;
        }
    }
}

TEST(StringSearches, AgreeWithBruteForceAroundTheirLimits)
{
    // Haystacks around 500 and needles around 5 units, where the way to search
    // changes; needles around 254, where a byte no longer holds a skip. Each text
    // is searched from 64 places: 128,000 cases in both ways to search.
    Texts texts(20240612);
    const int kNeedles[] = {1, 2, 4, 5, 6, 7, 32, 33, 34, 253, 254, 255, 256, 300};
    for (int round = 0; round < 2000; ++round) {
        texts.chooseAlphabet();
        const int hl = round % 4 == 0 ? 560 + texts.below(200) : 490 + texts.below(20);
        const Units h = texts.text(hl);
        const Units n = texts.needle(h, kNeedles[texts.below(14)]);
        const StringSearches searches(h, n, texts.below(2) == 0);
        SCOPED_TRACE(round);
        for (int i = 0; i < 64; ++i) {
            const int from = i < 8 ? i : texts.below(hl + 2);
            ASSERT_EQ(searches.differenceFrom(from), "") << "from " << from;
        }
    }
}

TEST(StringSearches, EveryUnitIsFoundByAllThatFoldToTheSame)
{
    std::vector<Units> classes(0x10000);
    for (unsigned c = 0; c < 0x10000; ++c) {
        const auto unit = static_cast<ZkUcs2>(c);
        classes[model::folded(unit)].push_back(unit);
    }
    for (const Units &units : classes) {
        for (const ZkUcs2 unit : units) {
            const ZkString text(unit);
            const ZkString pair = ZkString(unit).append('.');
            for (const ZkUcs2 other : units) {
                ASSERT_EQ(text.indexOf(other, 0, Zk::CaseInsensitive), 0) << unit << ' ' << other;
                // A text of two lanes' length takes the way of long ones.
                const ZkString needle = ZkString(other).append('.');
                const ZkString haystack = ZkString(20, ZkUcs2(1)).append(pair);
                ASSERT_EQ(haystack.indexOf(needle, 0, Zk::CaseInsensitive), 20)
                    << unit << ' ' << other;
            }
        }
    }
}

TEST(StringSearches, NoOtherUnitIsFoundForOneOfAscii)
{
    ZkString all;
    for (unsigned c = 0; c < 0x10000; ++c) {
        all.append(static_cast<ZkUcs2>(c)).append('-').append('+');
    }
    for (unsigned c = 0; c < 0x80; ++c) {
        const ZkString needle = ZkString(static_cast<ZkUcs2>(c)).append('-');
        for (int at = 0; (at = all.indexOf(needle, at, Zk::CaseInsensitive)) != -1; ++at) {
            ASSERT_EQ(model::folded(all.at(at)), model::folded(static_cast<ZkUcs2>(c)));
        }
    }
}

TEST(StringSearches, NoLowSurrogateFoldsToALetterOfMostScripts)
{
    // Searches look for such letters without a thought of surrogates.
    for (unsigned high = 0xD800; high < 0xDC00; ++high) {
        for (unsigned low = 0xDC00; low < 0xE000; ++low) {
            const Units pair = {static_cast<ZkUcs2>(high), static_cast<ZkUcs2>(low)};
            const ZkUcs2 folded = model::foldedAt(pair, 1);
            ASSERT_TRUE(folded >= 0xB000 || (folded >= 0x800 && folded < 0x900)) << high << low;
        }
    }
    for (unsigned low = 0xDC00; low < 0xE000; ++low) {
        ASSERT_EQ(model::folded(static_cast<ZkUcs2>(low)), low);
    }
}

TEST(ZkFindString, FindsANeedleAtEveryPlaceAndReadsNoFurther)
{
    // Exact allocations: the sanitizer sees a read outside them.
    for (int hl = 1; hl <= 70; ++hl) {
        for (int nl = 1; nl <= std::min(hl, 20); ++nl) {
            for (int at = 0; at + nl <= hl; ++at) {
                const std::vector<ZkUcs2> n(std::size_t(nl), 'N');
                std::vector<ZkUcs2> h(std::size_t(hl), 'h');
                h.shrink_to_fit();
                std::copy(n.begin(), n.end(), h.begin() + at);
                for (const bool sensitive : {true, false}) {
                    ASSERT_EQ(zkFindString(h.data(), hl, 0, n.data(), nl, caseOf(sensitive)), at);
                    ASSERT_EQ(zkFindString(h.data(), hl, at + 1, n.data(), nl, caseOf(sensitive)),
                              -1);
                }
            }
        }
    }
}

TEST(ZkFindString, NegativeStartsCountFromTheEndAndStopAtTheFirstUnit)
{
    const Units h = {'a', 'b', 'a', 'b', 'a'};
    const Units ab = {'a', 'b'};
    const auto find = [&](int from, const Units &n) {
        return zkFindString(h.data(), 5, from, n.data(), int(n.size()), Zk::CaseSensitive);
    };
    EXPECT_EQ(find(-3, ab), 2);
    EXPECT_EQ(find(-2, ab), -1);
    EXPECT_EQ(find(-5, ab), 0);
    EXPECT_EQ(find(-100, ab), 0);
    EXPECT_EQ(find(INT_MIN, ab), 0);
    EXPECT_EQ(find(INT_MIN, {'b'}), 1);
    EXPECT_EQ(find(INT_MAX, ab), -1);
    EXPECT_EQ(find(INT_MAX, {'b'}), -1);
    // An empty needle is found where the search begins, even before the text.
    EXPECT_EQ(find(-7, {}), -2);
    EXPECT_EQ(find(INT_MIN, {}), INT_MIN + 5);
    EXPECT_EQ(find(5, {}), 5);
    EXPECT_EQ(find(6, {}), -1);

    const auto findLong = [&](int from, const Units &n) {
        return zkFindStringBoyerMoore(h.data(), 5, from, n.data(), int(n.size()),
                                      Zk::CaseSensitive);
    };
    EXPECT_EQ(findLong(-3, ab), 0);
    EXPECT_EQ(findLong(-3, {}), 0);
    EXPECT_EQ(findLong(5, {}), 5);
    EXPECT_EQ(findLong(6, {}), -1);
    EXPECT_EQ(findLong(INT_MAX, ab), -1);
}

TEST(ZkFindString, NullIsNoText)
{
    const ZkUcs2 a = 'a';
    for (const auto find : {zkFindString, zkFindStringBoyerMoore}) {
        EXPECT_EQ(find(nullptr, 5, 0, &a, 1, Zk::CaseSensitive), -1);
        EXPECT_EQ(find(nullptr, 5, 0, &a, 1, Zk::CaseInsensitive), -1);
        EXPECT_EQ(find(&a, 1, 1, nullptr, 3, Zk::CaseSensitive), 1);
        EXPECT_EQ(find(&a, 1, 0, &a, -1, Zk::CaseSensitive), 0);
        EXPECT_EQ(find(&a, -1, 0, &a, 1, Zk::CaseSensitive), -1);
        EXPECT_EQ(find(nullptr, 0, -1, &a, 1, Zk::CaseSensitive), -1);
    }
}

TEST(ZkString, IndexOfGivesTheFirstPlaceFromThere)
{
    const ZkString text("abcabc");
    EXPECT_EQ(text.indexOf('b'), 1);
    EXPECT_EQ(text.indexOf('b', 2), 4);
    EXPECT_EQ(text.indexOf('b', -2), 4);
    EXPECT_EQ(text.indexOf('b', -1), -1);
    EXPECT_EQ(text.indexOf('b', -100), 1);
    EXPECT_EQ(text.indexOf('b', 6), -1);
    EXPECT_EQ(text.indexOf('B'), -1);
    EXPECT_EQ(text.indexOf('B', 0, Zk::CaseInsensitive), 1);
    EXPECT_EQ(text.indexOf("ca"), 2);
    EXPECT_EQ(text.indexOf("CA", 0, Zk::CaseInsensitive), 2);
    EXPECT_EQ(text.indexOf("bc", -2), 4);
    EXPECT_EQ(ZkString("\xC3\xA9").indexOf('\xE9'), 0);
    EXPECT_EQ(ZkString("\xD8\xA8").indexOf(0x628), 0);
    EXPECT_EQ(ZkString("hello").indexOf("", 3), 3);
    EXPECT_EQ(ZkString("hi").indexOf("", 3), -1);
    EXPECT_EQ(ZkString().indexOf("a"), -1);
    EXPECT_EQ(ZkString().indexOf('a'), -1);
    EXPECT_EQ(ZkString().indexOf(""), 0);
}

TEST(ZkString, LastIndexOfGivesTheLastPlaceUpToThere)
{
    const ZkString text("abcabc");
    EXPECT_EQ(text.lastIndexOf('b'), 4);
    EXPECT_EQ(text.lastIndexOf('b', 3), 1);
    EXPECT_EQ(text.lastIndexOf('b', 0), -1);
    EXPECT_EQ(text.lastIndexOf('b', 6), -1);
    EXPECT_EQ(text.lastIndexOf('b', -7), -1);
    EXPECT_EQ(text.lastIndexOf('B', -1, Zk::CaseInsensitive), 4);
    EXPECT_EQ(text.lastIndexOf("bc"), 4);
    EXPECT_EQ(text.lastIndexOf("bc", 3), 1);
    EXPECT_EQ(text.lastIndexOf("BC", -1, Zk::CaseInsensitive), 4);
    EXPECT_EQ(text.lastIndexOf("abcabcd"), -1);
    EXPECT_EQ(text.lastIndexOf("ab", INT_MIN), -1);
    EXPECT_EQ(text.lastIndexOf("ab", INT_MAX), -1);
    // From size() on only nothing is found.
    EXPECT_EQ(text.lastIndexOf("", 6), 6);
    EXPECT_EQ(text.lastIndexOf("bc", 6), -1);
    EXPECT_EQ(text.lastIndexOf("", 7), -1);
    EXPECT_EQ(text.lastIndexOf(""), 5);
    EXPECT_EQ(text.lastIndexOf("", 2), 2);
    EXPECT_EQ(ZkString().lastIndexOf(""), -1);
    EXPECT_EQ(ZkString().lastIndexOf("", 0), 0);
    EXPECT_EQ(ZkString().lastIndexOf('a'), -1);
}

TEST(ZkString, CountOfTextPassesOverAMatchAtTheStart)
{
    const struct {
        const char *text, *wanted;
        int count;
    } kRows[] = {{"aXa", "a", 1},   {"Xaa", "a", 2},    {"aaaa", "aa", 2},
                 {"aaa", "", 3},    {"", "", 0},        {"", "a", 0},
                 {"abab", "ab", 1}, {"xabab", "ab", 2}, {"abc", "abc", 0}};
    for (const auto &row : kRows) {
        EXPECT_EQ(ZkString(row.text).count(ZkString(row.wanted)), row.count)
            << row.text << " " << row.wanted;
    }
    EXPECT_EQ(ZkString("xABab").count("ab", Zk::CaseInsensitive), 2);
}

TEST(ZkString, CountOfAUnitCountsEvery)
{
    EXPECT_EQ(ZkString("aXa").count('a'), 2);
    EXPECT_EQ(ZkString("aXA").count('a'), 1);
    EXPECT_EQ(ZkString("aXA").count('A', Zk::CaseInsensitive), 2);
    EXPECT_EQ(ZkString().count('a'), 0);
}

TEST(ZkString, OnlyATextWithoutBufferStartsWithOneWithoutBuffer)
{
    EXPECT_FALSE(ZkString().startsWith(""));
    EXPECT_FALSE(ZkString().endsWith(""));
    EXPECT_FALSE(ZkString().startsWith("a"));
    EXPECT_TRUE(ZkString().startsWith(ZkString()));
    EXPECT_TRUE(ZkString().endsWith(ZkString("a").mid(1)));
    EXPECT_TRUE(ZkString("").startsWith(ZkString()));
    EXPECT_TRUE(ZkString("").startsWith(""));
    EXPECT_TRUE(ZkString("").endsWith(""));
    EXPECT_FALSE(ZkString("").startsWith("a"));
}

TEST(ZkString, StartsAndEndsWith)
{
    const ZkString text("Hello");
    const ZkString copy = text;
    const struct {
        const char *part;
        bool starts, startsFolded, ends, endsFolded;
    } kRows[] = {{"", true, true, true, true},          {"H", true, true, false, false},
                 {"He", true, true, false, false},      {"hE", false, true, false, false},
                 {"lo", false, false, true, true},      {"LO", false, false, false, true},
                 {"Hello", true, true, true, true},     {"HELLO", false, true, false, true},
                 {"Hellox", false, false, false, false}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.part);
        EXPECT_EQ(text.startsWith(row.part), row.starts);
        EXPECT_EQ(text.startsWith(row.part, Zk::CaseInsensitive), row.startsFolded);
        EXPECT_EQ(text.endsWith(row.part), row.ends);
        EXPECT_EQ(text.endsWith(row.part, Zk::CaseInsensitive), row.endsFolded);
    }
    EXPECT_TRUE(text.startsWith(copy) && text.endsWith(copy));
    EXPECT_TRUE(text.startsWith('H') && !text.startsWith('h') && text.endsWith('o'));
    EXPECT_TRUE(text.startsWith('h', Zk::CaseInsensitive) && !text.endsWith('O'));
    EXPECT_TRUE(text.endsWith('O', Zk::CaseInsensitive));
    EXPECT_FALSE(ZkString().startsWith('a') || ZkString().endsWith('a'));
    EXPECT_TRUE(ZkString("\xC3\xA9").startsWith('\xE9') && ZkString("\xC3\xA9").endsWith('\xE9'));
}

TEST(ZkString, ComparesByTheDifferenceOfUnitsElseOfSizes)
{
    EXPECT_EQ(ZkString("abc").compare("abd"), -1);
    EXPECT_EQ(ZkString("abc").compare("aba"), 2);
    EXPECT_EQ(ZkString("abc").compare("abc"), 0);
    EXPECT_EQ(ZkString("abc").compare("a"), 2);
    EXPECT_EQ(ZkString("a").compare("abcdefgh"), -7);
    EXPECT_EQ(ZkString(ZkUcs2(0xFFFF)).compare(ZkString(ZkUcs2(1))), 0xFFFE);
    EXPECT_EQ(ZkString().compare("abc"), -3);
    EXPECT_EQ(ZkString().compare(""), 0);
}

TEST(ZkString, ComparesWithoutCaseByTheFoldedUnitsElseByOne)
{
    const auto compare = [](const ZkString &a, const ZkString &b) {
        return a.compare(b, Zk::CaseInsensitive);
    };
    EXPECT_LT(compare("abc", "ABD"), 0);
    EXPECT_EQ(compare("abc", "ABC"), 0);
    EXPECT_EQ(compare("abc", "ab"), 1);
    EXPECT_EQ(compare("abcdef", "ab"), 1);
    EXPECT_EQ(compare("ab", "abcdef"), -1);
    EXPECT_EQ(compare("A", "_"), 'a' - '_');
    EXPECT_EQ(compare("\xE2\x84\xAA", "k"), 0);
    EXPECT_EQ(compare("\xC3\x9F", "ss"), 0xDF - 's');
    // Without a buffer a text comes behind every other one, the empty one too.
    EXPECT_EQ(compare(ZkString(), ""), 1);
    EXPECT_EQ(compare("", ZkString()), -1);
    EXPECT_EQ(compare(ZkString(), "abc"), 1);
    EXPECT_EQ(compare("abc", ZkString()), -1);
    EXPECT_EQ(compare(ZkString(), ZkString()), 0);
}

TEST(ZkString, APairedLowSurrogateFoldsByTheRowItsCodePointFinds)
{
    // U+10400 is looked up in the row of U+0400, whose letters fold by +80.
    const ZkUcs2 kPair[] = {0xD801, 0xDC00};
    const ZkUcs2 kFolded[] = {0xD801, 0xDC50};
    const ZkString pair(kPair, 2);
    const ZkString folded(kFolded, 2);
    EXPECT_EQ(pair.compare(folded, Zk::CaseInsensitive), 0);
    EXPECT_TRUE(pair.startsWith(folded, Zk::CaseInsensitive));
    EXPECT_TRUE(pair.endsWith(folded, Zk::CaseInsensitive));
    EXPECT_EQ(pair.indexOf(folded, 0, Zk::CaseInsensitive), 0);
    // Alone, as one unit, it is itself.
    EXPECT_EQ(pair.indexOf(ZkUcs2(0xDC50), 0, Zk::CaseInsensitive), -1);
    EXPECT_EQ(pair.indexOf(ZkUcs2(0xDC00), 0, Zk::CaseInsensitive), 1);
    EXPECT_FALSE(ZkString(ZkUcs2(0xDC00)).compare(ZkString(ZkUcs2(0xDC50)), Zk::CaseInsensitive) ==
                 0);
}

TEST(ZkString, ComparisonAgreesWithTheModel)
{
    Texts texts(20240614);
    for (int round = 0; round < 30000; ++round) {
        texts.chooseAlphabet();
        const Units a = texts.text(texts.below(30));
        Units b = a;
        if (!b.empty() && texts.below(3) != 0) {
            b[std::size_t(texts.below(int(b.size())))] = texts.unit();
        }
        b.resize(std::size_t(texts.below(int(b.size()) + 3)), 'a');
        const ZkString left = made(a);
        const ZkString right = made(b);
        SCOPED_TRACE(round);
        ASSERT_EQ(left == right, a == b);
        ASSERT_EQ(left != right, a != b);
        ASSERT_EQ(left < right, a < b);
        ASSERT_EQ(left > right, a > b);
        ASSERT_EQ(left <= right, a <= b);
        ASSERT_EQ(left >= right, a >= b);
        if (!a.empty() && !b.empty()) {
            const Units fa = model::foldedText(a);
            const Units fb = model::foldedText(b);
            const int order = left.compare(right, Zk::CaseInsensitive);
            ASSERT_EQ(order < 0, fa < fb);
            ASSERT_EQ(order == 0, fa == fb);
            ASSERT_EQ(std::hash<ZkString>()(left) == std::hash<ZkString>()(right), a == b);
        }
    }
}

TEST(ZkString, ReplaceNeverLooksAtWhatItPutIn)
{
    EXPECT_EQ(ZkString("aaa").replace("a", "aa"), "aaaaaa");
    EXPECT_EQ(ZkString("aaa").replace("aa", "a"), "aa");
    EXPECT_EQ(ZkString("abc").replace("", "x"), "abc");
    EXPECT_EQ(ZkString("abc").replace("b", ""), "ac");
    EXPECT_EQ(ZkString("aXbx").replace("x", "--", Zk::CaseInsensitive), "a--b--");
    EXPECT_EQ(ZkString("abab").replace('a', 'c'), "cbcb");
    EXPECT_EQ(ZkString("aBab").replace('b', "xyz", Zk::CaseInsensitive), "axyzaxyz");
    EXPECT_EQ(ZkString("aBab").replace('b', ZkUcs2(0x628), Zk::CaseSensitive), "aBa\xD8\xA8");
}

TEST(ZkString, RemoveTakesOutEveryOccurrence)
{
    EXPECT_EQ(ZkString("abcabc").remove("bc"), "aa");
    EXPECT_EQ(ZkString("aabb").remove("ab"), "ab"); // what closes up is not looked at again
    EXPECT_EQ(ZkString("abc").remove(""), "abc");
    EXPECT_EQ(ZkString("aXbx").remove("x", Zk::CaseInsensitive), "ab");
    EXPECT_EQ(ZkString("abab").remove('a'), "bb");
    EXPECT_EQ(ZkString("abAB").remove('a', Zk::CaseInsensitive), "bB");
    EXPECT_EQ(ZkString("abab").remove(0x62), "aa");
    EXPECT_EQ(ZkString().remove('a'), "");
}

TEST(ZkString, ReplaceAndRemoveWorkWithTheStringItself)
{
    ZkString text("aba");
    EXPECT_EQ(text.replace("b", text), "aabaa");
    EXPECT_EQ(text.replace(text, "xy"), "xy");
    EXPECT_EQ(text.replace(text, text), "xy");
    EXPECT_EQ(text.replace('x', text), "xyy");
    EXPECT_EQ(text.remove(text), "");
    EXPECT_EQ(text.remove(text), "");
}

TEST(ZkString, ASearchThatFindsNothingDetachesNothing)
{
    ZkString text("abc");
    const ZkString copy = text;
    text.replace("x", "y").replace('x', 'y').replace('x', "y").remove("x").remove('x');
    EXPECT_TRUE(text.isSharedWith(copy));
}
