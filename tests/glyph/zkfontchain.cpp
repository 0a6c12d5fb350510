#include "zkfontchain.h"

#include "conformancefile.h"
#include "tinyfont.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace
{

// A font that has the given characters, each as a box.
ZkTypeface fontOf(std::initializer_list<int> characters)
{
    TinyFont font;
    for (const int character : characters) {
        font.addBox(character, 0, 0, 4, 4, 5);
    }
    const std::string bytes = font.bytes();
    const ZkTypeface face = ZkTypeface::fromMemory(bytes.data(), bytes.size());
    EXPECT_TRUE(face.isValid()) << face.errorText();
    return face;
}

int clusterOf(const ZkFontList &list, const std::u32string &cluster, int previous = -1)
{
    return list.findCluster(cluster.data(), static_cast<int>(cluster.size()), previous);
}

} // namespace

TEST(ZkFontChain, AnEmptyChainFindsNothing)
{
    const ZkFontChain chain;
    EXPECT_EQ(chain.size(), 0);
    EXPECT_FALSE(chain.at(0).isValid());
    EXPECT_EQ(chain.faces().find('a'), -1);
    EXPECT_EQ(clusterOf(chain.faces(), U"a"), -1);
    EXPECT_EQ(chain.serial(), 0u);
    EXPECT_TRUE(ZkFontList().isEmpty());
    EXPECT_FALSE(ZkFontList().at(-1).isValid());
}

TEST(ZkFontChain, TheFirstTypefaceThatHasACharacterIsTaken)
{
    ZkFontChain chain(fontOf({'a', 'b'}));
    chain.append(ZkTypeface()); // has nothing, harms nothing
    chain.append(fontOf({'b', 'c'}));
    const ZkFontList list = chain.faces();
    for (int again = 0; again < 2; ++again) { // asked, then remembered
        EXPECT_EQ(list.find('a'), 0);
        EXPECT_EQ(list.find('b'), 0);
        EXPECT_EQ(list.find('c'), 2);
        EXPECT_EQ(list.find('d'), -1);
        EXPECT_EQ(list.find(0x10FFFF), -1);
        EXPECT_EQ(list.find(0x110000), -1);
        EXPECT_EQ(list.find(0xFFFFFFFF), -1);
    }
}

TEST(ZkFontChain, ClustersTakeWhoHasAllThenWhoHasTheBase)
{
    constexpr int kAcute = 0x301, kComma = ',', kSpace = ' ', kHebrewDot = 0x5BC;
    ZkFontChain chain(fontOf({'a', 'e', kComma}));
    chain.append(fontOf({'a', 'b', kAcute, kSpace, kComma}));
    chain.append(fontOf({'e', 'z', kSpace, kHebrewDot}));
    const ZkFontList list = chain.faces();
    const struct {
        const char *what;
        std::u32string cluster;
        int previous, face;
    } kRows[] = {
        {"one character", U"a", -1, 0},
        {"base and mark in one font", U"a\u0301", -1, 1},
        {"the mark is in another: the base decides", U"e\u0301", -1, 0},
        {"neither is anywhere: the first shows its box", U"q\u0301", -1, 0},
        {"nor is one alone", U"\u4E2D", 2, 0},
        {"a space stays with its run", U" ", 2, 2},
        {"a space stays where the run has one", U" ", 1, 1},
        {"a space leaves a run that has none", U" ", 0, 1},
        {"a space at the start", U" ", -1, 1},
        {"punctuation stays with its run", U",", 1, 1},
        {"punctuation leaves a run that has none", U",", 2, 0},
        {"a letter stays with nobody", U"a", 1, 0},
        {"a mark alone stays with its run", U"\u05BC", 2, 2},
        {"joiners and selectors need no glyph", U"a\u200D\uFE0F", -1, 0},
        {"a joiner alone stays", U"\u200D", 1, 1},
        {"a joiner alone at the start", U"\u200D", -1, 0},
        {"a tab is not seen", U"\t", 2, 2},
        {"a previous that is none", U" ", 7, 1},
        {"nothing", U"", 2, 2},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(clusterOf(list, row.cluster, row.previous), row.face);
        EXPECT_EQ(clusterOf(list, row.cluster, row.previous), row.face) << "remembered";
    }
    EXPECT_EQ(list.findCluster(nullptr, -3, -1), 0);
}

TEST(ZkFontChain, CharactersThatAreNotSeenStayWithAnyRun)
{
    ZkFontChain chain(fontOf({'a'}));
    chain.append(fontOf({'b'}));
    const ZkFontList list = chain.faces();
    std::vector<bool> isUnseen(0x110000);
    const auto add = [&isUnseen](const std::string &range) {
        const std::size_t dots = range.find("..");
        const char32_t last =
            codePointOf(dots == std::string::npos ? range : range.substr(dots + 2));
        for (char32_t c = codePointOf(range.substr(0, dots)); c <= last; ++c) {
            isUnseen[c] = true;
        }
    };
    add("0000..001F"), add("007F..009F"); // controls
    add("2028..2029");                    // separators of lines
    readDataLines("DerivedCoreProperties.txt", 12000, [&add](const std::string &line) {
        const std::vector<std::string> fields = fieldsOf(line);
        if (fields[1] == "Default_Ignorable_Code_Point") {
            add(fields[0]);
        }
    });
    for (std::size_t c = 0; c < isUnseen.size(); ++c) {
        if (c != 'b') {
            ASSERT_EQ(clusterOf(list, {char32_t(c)}, 1), isUnseen[c] ? 1 : 0) << std::hex << c;
        }
    }
}

TEST(ZkFontChain, CopiesAreOneChainAndListsAreWhatItWas)
{
    ZkFontChain chain;
    const ZkFontChain copy = chain;
    EXPECT_TRUE(copy == chain);
    EXPECT_TRUE(ZkFontChain() != chain);
    const ZkTypeface a = fontOf({'a'}), b = fontOf({'b'});
    ASSERT_TRUE(chain.append(a));
    EXPECT_EQ(copy.size(), 1);
    const ZkFontList before = copy.faces();
    EXPECT_EQ(before.find('b'), -1);
    ASSERT_TRUE(chain.append(b));
    EXPECT_EQ(before.size(), 1);
    EXPECT_EQ(before.find('b'), -1) << "a list stays what it was";
    const ZkFontList after = copy.faces();
    EXPECT_EQ(after.size(), 2);
    EXPECT_EQ(after.find('b'), 1) << "the next one sees the change";
    EXPECT_NE(before.serial(), after.serial());
    EXPECT_EQ(after.serial(), copy.serial());
}

TEST(ZkFontChain, InsertsReplacesAndRemoves)
{
    const ZkTypeface a = fontOf({'a'}), b = fontOf({'b'}), c = fontOf({'c'});
    ZkFontChain chain;
    EXPECT_TRUE(chain.insert(0, a));
    EXPECT_TRUE(chain.insert(0, b));
    EXPECT_TRUE(chain.insert(1, c));
    EXPECT_TRUE(chain.at(0) == b && chain.at(1) == c && chain.at(2) == a);
    EXPECT_TRUE(chain.replace(1, a));
    EXPECT_TRUE(chain.at(1) == a);
    EXPECT_TRUE(chain.remove(0));
    EXPECT_TRUE(chain.at(0) == a && chain.at(1) == a);
    EXPECT_EQ(chain.size(), 2);
    for (const int index : {-2, -1, 2, 100}) {
        EXPECT_FALSE(chain.remove(index));
        EXPECT_FALSE(chain.replace(index, b));
    }
    EXPECT_FALSE(chain.insert(3, b));
    EXPECT_FALSE(chain.insert(-2, b));
    EXPECT_EQ(chain.size(), 2);
    EXPECT_TRUE(chain.clear());
    EXPECT_EQ(chain.size(), 0);
    EXPECT_TRUE(chain.clear());
}

TEST(ZkFontChain, HoldsALimitedNumberOfTypefaces)
{
    ZkFontChain chain;
    const ZkTypeface a = fontOf({'a'});
    for (int i = 0; i < ZkFontChain::kMostFaces - 1; ++i) {
        ASSERT_TRUE(chain.append(ZkTypeface()));
    }
    ASSERT_TRUE(chain.append(a));
    EXPECT_FALSE(chain.append(a));
    EXPECT_EQ(chain.size(), ZkFontChain::kMostFaces);
    const ZkFontList list = chain.faces();
    EXPECT_EQ(list.find('a'), ZkFontChain::kMostFaces - 1);
    EXPECT_EQ(list.find('a'), ZkFontChain::kMostFaces - 1);
    EXPECT_EQ(list.find('b'), -1);
    EXPECT_EQ(list.find('b'), -1);
}

TEST(ZkFontChain, KeepsItsTypefacesOpen)
{
    ZkFontChain chain(fontOf({'a'}));
    ZkFontList list = chain.faces();
    chain.clear();
    EXPECT_EQ(list.at(0).glyphIndex('a'), 1u);
    chain = ZkFontChain(fontOf({'b'}));
    list = chain.faces();
    EXPECT_EQ(list.find('b'), 0);
}
