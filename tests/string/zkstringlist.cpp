#include "stringmodel.h"

#include <zkstringlist.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace
{

std::vector<std::string> texts(const ZkStringList &list)
{
    std::vector<std::string> result;
    for (const ZkString &element : list) {
        result.push_back(element.toStdString());
    }
    return result;
}

using Texts = std::vector<std::string>;

} // namespace

TEST(ZkString, SplitCutsAtEveryOccurrence)
{
    const struct {
        const char *text, *sep;
        Texts all, filled;
    } kRows[] = {
        {"a,,b", ",", {"a", "", "b"}, {"a", "b"}},
        {"a,", ",", {"a", ""}, {"a"}},
        {",a", ",", {"", "a"}, {"a"}},
        {",", ",", {"", ""}, {}},
        {"abc", ",", {"abc"}, {"abc"}},
        {"", ",", {""}, {}},
        {"a--b-c", "--", {"a", "b-c"}, {"a", "b-c"}},
        {"aaa", "aa", {"", "a"}, {"a"}},
        {"abc", "", {"", "a", "b", "c", ""}, {"a", "b", "c"}},
        {"", "", {"", ""}, {}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::string(row.text) + " at " + row.sep);
        EXPECT_EQ(texts(ZkString(row.text).split(row.sep)), row.all);
        EXPECT_EQ(texts(ZkString(row.text).split(row.sep, ZkString::SkipEmpty)), row.filled);
    }
}

TEST(ZkString, SplitsAtAUnitAndWithoutRegardToCase)
{
    EXPECT_EQ(texts(ZkString("a,b").split(',')), (Texts{"a", "b"}));
    EXPECT_EQ(texts(ZkString("a\xD8\xA8z").split(ZkUcs2(0x628))), (Texts{"a", "z"}));
    EXPECT_EQ(texts(ZkString("1x2X3").split('x', ZkString::KeepEmpty, Zk::CaseInsensitive)),
              (Texts{"1", "2", "3"}));
    EXPECT_EQ(texts(ZkString("1xy2XY3").split("xY", ZkString::KeepEmpty, Zk::CaseInsensitive)),
              (Texts{"1", "2", "3"}));
    EXPECT_EQ(texts(ZkString("x1xx2x").split('x', ZkString::SkipEmpty)), (Texts{"1", "2"}));
}

TEST(ZkString, SplitSharesTheWholeTextAndTheEmptyEnd)
{
    const ZkString text("abc");
    EXPECT_TRUE(text.split(',').at(0).isSharedWith(text));
    const ZkString end = text.mid(3);
    EXPECT_TRUE(ZkString("a,").split(',').at(1).isSharedWith(end));
    // Empty pieces elsewhere are strings of their own.
    EXPECT_FALSE(ZkString(",a").split(',').at(0).isSharedWith(end));
    EXPECT_TRUE(ZkString().split(',').at(0).isSharedWith(end));
}

TEST(ZkStringList, JoinPutsTheTextBehindAsManyZeros)
{
    const ZkString joined = ZkStringList{"a", "b"}.join(",");
    EXPECT_EQ(joined.size(), 6);
    EXPECT_EQ(joined.right(3), "a,b");
    EXPECT_EQ(joined.left(3), ZkString(3, ZkUcs2(0)));
    EXPECT_EQ(ZkStringList{"abc"}.join("--").right(3), "abc");
    EXPECT_EQ(ZkStringList({"", "", ""}).join("-").right(2), "--");

    const ZkString none = ZkString().mid(0);
    EXPECT_TRUE(ZkStringList().join("--").isSharedWith(none));
    EXPECT_TRUE(ZkStringList({"", ""}).join("").isSharedWith(none));
    EXPECT_TRUE(ZkStringList{""}.join("--").isSharedWith(none));
}

TEST(ZkStringList, JoinGrowsAsAppendingDoes)
{
    const ZkString joined = ZkStringList{"ab", "cd"}.join("-");
    model::String expected = model::String::null();
    expected.resize(5);
    for (const char *part : {"ab", "-", "cd"}) {
        expected.append(model::decode(part));
    }
    EXPECT_EQ(joined.capacity(), expected.block->alloc);
}

TEST(ZkStringList, ContainsComparesElementsOfTheSameSize)
{
    const ZkStringList list{"one", "Two", ""};
    EXPECT_TRUE(list.contains("one"));
    EXPECT_FALSE(list.contains("on"));
    EXPECT_FALSE(list.contains("two"));
    EXPECT_TRUE(list.contains("two", Zk::CaseInsensitive));
    EXPECT_TRUE(list.contains(""));
    // Without a buffer it is not equal to "" where case does not count.
    EXPECT_TRUE(list.contains(ZkString()));
    EXPECT_FALSE(list.contains(ZkString(), Zk::CaseInsensitive));
    EXPECT_FALSE(ZkStringList().contains(""));
}

TEST(ZkStringList, SortOrdersByUnits)
{
    ZkStringList list{"b", "", "a", "ab", "\xD8\xA8", "B"};
    list.sort();
    EXPECT_EQ(texts(list), (Texts{"", "B", "a", "ab", "b", "\xD8\xA8"}));
}

TEST(ZkStringList, SortAgreesWithTheStandardLibraryInEveryOrder)
{
    std::mt19937 random(20240617);
    for (int round = 0; round < 300; ++round) {
        const int n = round < 40 ? round : int(random() % 700);
        const unsigned different = 1 + unsigned(random() % 1000);
        Texts expected;
        for (int i = 0; i < n; ++i) {
            expected.push_back(std::to_string(random() % different));
        }
        switch (round % 4) {
        case 0: std::sort(expected.begin(), expected.end()); break;
        case 1: std::sort(expected.rbegin(), expected.rend()); break;
        default: break;
        }
        ZkStringList list;
        for (const std::string &text : expected) {
            list.append(text.c_str());
        }
        list.sort();
        std::sort(expected.begin(), expected.end());
        ASSERT_EQ(texts(list), expected) << "round " << round;
    }
}

TEST(ZkStringList, SortsAnOrderThatMisleadsEveryMedian)
{
    // 1, k + 1, 3, k + 3, ... and then 2, 4, 6, ...: the median of first, middle and
    // last is next to the least element again and again (Musser, "Introspective
    // sorting and selection algorithms").
    const int k = 10000;
    std::vector<int> order(2 * k);
    for (int i = 1; i <= k; ++i) {
        if (i % 2 != 0) {
            order[std::size_t(i - 1)] = i;
            order[std::size_t(i)] = k + i;
        }
        order[std::size_t(k + i - 1)] = 2 * i;
    }
    ZkStringList list;
    for (const int value : order) {
        list.append(ZkString(static_cast<ZkUcs2>(value)));
    }
    list.sort();
    std::sort(order.begin(), order.end());
    for (int i = 0; i < 2 * k; ++i) {
        ASSERT_EQ(list.at(i).at(0), order[std::size_t(i)]);
    }
}

TEST(ZkStringList, SortAndReplaceDetachTheListAndNotTheOther)
{
    ZkStringList list{"b", "a"};
    const ZkStringList copy = list;
    list.sort();
    EXPECT_EQ(texts(copy), (Texts{"b", "a"}));
    EXPECT_EQ(texts(list), (Texts{"a", "b"}));
    // The strings themselves still share their text.
    EXPECT_TRUE(list.at(0).isSharedWith(copy.at(1)));

    const ZkStringList sorted = list;
    list.replaceInStrings("A", "xy", Zk::CaseInsensitive);
    EXPECT_EQ(texts(list), (Texts{"xy", "b"}));
    EXPECT_EQ(texts(sorted), (Texts{"a", "b"}));
}

TEST(ZkStringList, ReplaceInStringsTakesAnElementOfTheListItself)
{
    ZkStringList list{"a", "aba", "b"};
    list.replaceInStrings(list.at(0), list.at(2));
    EXPECT_EQ(texts(list), (Texts{"b", "bbb", "b"}));
}
