#include "zkmap.h"

#include "livecount.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

struct ZkInspector {
    template <typename K, typename T>
    static ZkMapData *table(const ZkMap<K, T> &map)
    {
        return map.d;
    }
};

namespace
{

using testing::ElementsAre;
using IntMap = ZkMap<int, int>;
using Model = std::map<int, int>;

constexpr int kPayload = 8; // an int key and an int value

int keyOf(const ZkMapData::Node *node)
{
    int key;
    std::memcpy(&key, reinterpret_cast<const char *>(node) - kPayload, sizeof key);
    return key;
}

// The keys that a level links.
std::vector<int> keysOnLevel(ZkMapData *table, int level)
{
    std::vector<int> keys;
    for (ZkMapData::Node *node = table->end()->forward[level]; node != table->end();
         node = node->forward[level]) {
        keys.push_back(keyOf(node));
    }
    return keys;
}

// The highest level that links the key.
int levelOf(const IntMap &map, int key)
{
    ZkMapData *table = ZkInspector::table(map);
    int level = -1;
    for (int i = 0; i <= table->topLevel; ++i) {
        const std::vector<int> keys = keysOnLevel(table, i);
        level = std::binary_search(keys.begin(), keys.end(), key) ? i : level;
    }
    return level;
}

// The level that a node gets for these bits: whole groups of three set bits, of
// which the eleventh has but two left.
int levelFor(std::uint32_t bits, int topLevel)
{
    int ones = 0;
    while (ones < 32 && (bits >> ones & 1) != 0) {
        ++ones;
    }
    return std::min(ones == 32 ? 11 : ones / 3, topLevel + 1);
}

// Every level in order and part of the level below, the way back the same, and the
// pairs that the map must hold.
template <typename T>
void expectTable(const ZkMap<int, T> &map, const Model &model)
{
    ZkMapData *table = ZkInspector::table(map);
    ASSERT_GE(table->ref.load(), 1);
    ASSERT_EQ(table->size, static_cast<int>(model.size()));
    ASSERT_LE(table->topLevel, ZkMapData::LastLevel);
    ASSERT_EQ(table->reserved, 0u);
    std::vector<ZkMapData::Node *> below;
    for (int i = 0; i <= table->topLevel; ++i) {
        std::vector<ZkMapData::Node *> nodes;
        for (ZkMapData::Node *n = table->end()->forward[i]; n != table->end(); n = n->forward[i]) {
            nodes.push_back(n);
        }
        if (i == 0) {
            std::vector<ZkMapData::Node *> back;
            for (ZkMapData::Node *n = table->backward; n != table->end(); n = n->backward) {
                back.push_back(n);
            }
            ASSERT_TRUE(std::equal(nodes.begin(), nodes.end(), back.rbegin(), back.rend()));
        } else {
            std::size_t at = 0;
            for (ZkMapData::Node *n : nodes) {
                while (at < below.size() && below[at] != n) {
                    ++at;
                }
                ASSERT_LT(at, below.size()) << "level " << i << " is not part of the one below";
            }
        }
        below = nodes;
    }
    auto it = map.begin();
    for (const auto &pair : model) {
        ASSERT_NE(it, map.end());
        ASSERT_EQ(it.key(), pair.first);
        ASSERT_EQ(it.value(), pair.second);
        ++it;
    }
    ASSERT_EQ(it, map.end());
}

// --- The table --------------------------------------------------------------

TEST(ZkMapData, EmptyMapsShareOneTable)
{
    ZkMapData &null = ZkMapData::shared_null;
    EXPECT_EQ(null.backward, null.end());
    EXPECT_EQ(null.forward[0], null.end());
    EXPECT_EQ(null.topLevel, 0);
    EXPECT_EQ(null.size, 0);
    EXPECT_EQ(null.randomBits, 0u);
    EXPECT_EQ(null.sharable, 1u);
    const int before = null.ref;
    {
        const IntMap a, b;
        EXPECT_TRUE(a.isSharedWith(b));
        EXPECT_EQ(null.ref, before + 2);
        EXPECT_TRUE(a.begin() == a.end());
        EXPECT_FALSE(a.contains(0));
    }
    EXPECT_EQ(null.ref, before);
    EXPECT_EQ(sizeof(ZkMapData), sizeof(void *) == 4 ? 72u : 128u);
}

TEST(ZkMapData, NewTablesAreEmpty)
{
    const struct {
        int alignment;
        unsigned strict;
    } rows[] = {{0, 0}, {4, 0}, {8, 0}, {9, 1}, {16, 1}};
    for (const auto &row : rows) {
        ZkMapData *x = ZkMapData::createData(row.alignment);
        EXPECT_EQ(x->backward, x->end());
        EXPECT_EQ(x->forward[0], x->end());
        EXPECT_EQ(x->ref, 1);
        EXPECT_EQ(x->topLevel, 0);
        EXPECT_EQ(x->size, 0);
        EXPECT_EQ(x->randomBits, 0u);
        EXPECT_EQ(x->insertInOrder, 0u);
        EXPECT_EQ(x->sharable, 1u);
        EXPECT_EQ(x->strictAlignment, row.strict) << row.alignment;
        EXPECT_EQ(x->reserved, 0u);
        x->continueFreeData(kPayload);
    }
}

TEST(ZkMapData, SevenNodesStandOnTheGroundThenOneRises)
{
    IntMap map;
    for (int i = 0; i < 7; ++i) {
        map.insert(i, i);
        EXPECT_EQ(levelOf(map, i), 0);
    }
    EXPECT_EQ(ZkInspector::table(map)->topLevel, 0);
    map.insert(7, 7);
    EXPECT_EQ(levelOf(map, 7), 1);
    EXPECT_EQ(ZkInspector::table(map)->topLevel, 1);
    EXPECT_EQ(ZkInspector::table(map)->randomBits, 8u);
}

TEST(ZkMapData, LevelsFollowTheGroupsOfThreeSetBits)
{
    const std::uint32_t bits[] = {0,          3,          7,          63,         511,  4095,
                                  0x3FFFFFFF, 0x7FFFFFFF, 0xFFFFFFFF, 0xFFFFFFF7, 0x1F, 0x38};
    for (const std::uint32_t b : bits) {
        for (int top = 0; top <= ZkMapData::LastLevel; ++top) {
            SCOPED_TRACE(testing::Message() << std::hex << b << " over level " << top);
            ZkMapData *x = ZkMapData::createData();
            for (int i = 0; i <= top; ++i) {
                x->end()->forward[i] = x->end();
            }
            x->topLevel = top;
            x->randomBits = b;
            ZkMapData::Node *update[ZkMapData::LastLevel + 1];
            std::fill(std::begin(update), std::end(update), x->end());
            std::srand(99);
            const auto seeded = static_cast<std::uint32_t>(std::rand());
            std::srand(99);
            ZkMapData::Node *node = x->node_create(update, kPayload);
            const int level = std::min<int>(levelFor(b, top), ZkMapData::LastLevel);
            EXPECT_EQ(x->topLevel, std::max(top, level));
            for (int i = 0; i <= x->topLevel; ++i) {
                EXPECT_EQ(x->end()->forward[i] == node, i <= level) << i;
                EXPECT_EQ(update[i] == node, i <= level) << i;
            }
            EXPECT_EQ(node->backward, x->end());
            EXPECT_EQ(x->backward, node);
            EXPECT_EQ(x->randomBits, level == 3 ? seeded : b + 1);
            x->continueFreeData(kPayload);
        }
    }
}

TEST(ZkMapData, RandomBitsAreSeededAtLevelThreeUnlessCopying)
{
    for (const bool copying : {false, true}) {
        ZkMapData *x = ZkMapData::createData();
        for (int i = 0; i <= 3; ++i) {
            x->end()->forward[i] = x->end();
        }
        x->topLevel = 3;
        x->insertInOrder = copying;
        x->randomBits = 511;
        ZkMapData::Node *update[ZkMapData::LastLevel + 1];
        std::fill(std::begin(update), std::end(update), x->end());
        std::srand(5);
        const auto seeded = static_cast<std::uint32_t>(std::rand());
        std::srand(5);
        x->node_create(update, kPayload);
        EXPECT_EQ(x->randomBits, copying ? 512u : seeded);
        x->continueFreeData(kPayload);
    }
}

TEST(ZkMapData, LevelsOfManyNodesAreAsTold)
{
    std::srand(1);
    IntMap map;
    std::uint32_t bits = 0;
    int top = 0;
    Model model;
    for (int i = 0; i < 600; ++i) {
        const int key = i * 37 % 601;
        map.insert(key, i);
        model[key] = i;
        const int level = levelFor(bits, top);
        top = std::max(top, level);
        ASSERT_EQ(levelOf(map, key), level) << i;
        bits = level == 3 ? ZkInspector::table(map)->randomBits : bits + 1;
        ASSERT_EQ(ZkInspector::table(map)->randomBits, bits);
    }
    expectTable(map, model);
    EXPECT_EQ(top, 3);
}

TEST(ZkMapData, TheTopLevelNeverFalls)
{
    IntMap map;
    for (int i = 0; i < 8; ++i) {
        map.insert(i, i);
    }
    ASSERT_EQ(levelOf(map, 7), 1);
    EXPECT_TRUE(map.remove(7));
    EXPECT_EQ(ZkInspector::table(map)->topLevel, 1);
    EXPECT_THAT(keysOnLevel(ZkInspector::table(map), 1), ElementsAre());
    for (int i = 0; i < 7; ++i) {
        EXPECT_TRUE(map.remove(i));
    }
    expectTable(map, {});
    EXPECT_EQ(ZkInspector::table(map)->topLevel, 1);
    map.insert(3, 3);
    expectTable(map, {{3, 3}});
}

TEST(ZkMapData, StrictNodesAreAligned)
{
    for (const int alignment : {0, 4, 8, 16, 64}) {
        SCOPED_TRACE(alignment);
        ZkMapData *x = ZkMapData::createData(64);
        ZkMapData::Node *update[ZkMapData::LastLevel + 1];
        update[0] = x->end();
        std::vector<ZkMapData::Node *> nodes;
        for (int i = 0; i < 20; ++i) {
            nodes.push_back(x->node_create(update, 64, alignment));
            if (alignment > 4) {
                EXPECT_EQ(reinterpret_cast<std::uintptr_t>(nodes.back()) %
                              static_cast<unsigned>(alignment),
                          0u);
            }
            std::memset(reinterpret_cast<char *>(nodes.back()) - 64, 0xAA, 64);
        }
        EXPECT_EQ(x->size, 20);
        x->continueFreeData(64);
    }

    struct alignas(32) Wide {
        char bytes[32];
    };
    ZkMap<int, Wide> map;
    for (int i = 0; i < 30; ++i) {
        map.insert(i, Wide{{static_cast<char>(i)}});
    }
    ZkMap<int, Wide> copy = map;
    EXPECT_TRUE(copy.remove(3));
    for (auto it = copy.cbegin(); it != copy.cend(); ++it) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&it.value()) % 32, 0u);
        EXPECT_EQ(it.value().bytes[0], static_cast<char>(it.key()));
    }
}

TEST(ZkMapData, KeyAndValueFillUpToTheLinks)
{
    IntMap map;
    map.insert(5, 6);
    const ZkMapData::Node *node = ZkInspector::table(map)->forward[0];
    EXPECT_EQ(keyOf(node), 5);
    EXPECT_EQ(reinterpret_cast<const char *>(node) -
                  reinterpret_cast<const char *>(&map.cbegin().key()),
              kPayload);
}

// --- The map ----------------------------------------------------------------

TEST(ZkMap, KeepsKeysInOrder)
{
    IntMap map = {{5, 50}, {INT_MAX, 1}, {-3, 30}, {INT_MIN, 2}, {5, 51}};
    EXPECT_THAT(map.keys(), ElementsAre(INT_MIN, -3, 5, INT_MAX));
    EXPECT_THAT(map.values(), ElementsAre(2, 30, 51, 1));
    EXPECT_EQ(map.size(), 4);
    EXPECT_EQ(map.value(-3), 30);
    EXPECT_EQ(map.value(4), 0);
    EXPECT_EQ(map.value(4, -1), -1);
    const IntMap &constant = map;
    EXPECT_EQ(constant[4], 0);
    EXPECT_EQ(map.size(), 4) << "reading inserts nothing";
    map[4] += 7;
    EXPECT_EQ(map.value(4), 7);
    map.insert(4, 8);
    EXPECT_EQ(map.value(4), 8);
    EXPECT_TRUE(map.remove(4));
    EXPECT_FALSE(map.remove(4));
    EXPECT_FALSE(map.contains(4));
}

TEST(ZkMap, WalksBothWays)
{
    IntMap map;
    for (int i = 0; i < 50; ++i) {
        map.insert(i * 7 % 50, i);
    }
    int expected = 0;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        EXPECT_EQ(it.key(), expected++);
    }
    auto it = map.cend();
    while (it != map.cbegin()) {
        EXPECT_EQ((--it).key(), --expected);
    }
    EXPECT_EQ(expected, 0);
    EXPECT_EQ(it++.key(), 0);
    EXPECT_EQ(it--.key(), 1);
    EXPECT_EQ(std::distance(map.cbegin(), map.cend()), 50);
    for (int &value : map) {
        value = -1;
    }
    EXPECT_EQ(std::count(map.cbegin(), map.cend(), -1), 50);
    ZkMap<int, std::string> names = {{1, "one"}};
    EXPECT_EQ(names.begin()->size(), 3u);
}

TEST(ZkMap, BoundsAreTheFirstKeysNotBelowAndAbove)
{
    Model model;
    IntMap map;
    for (int i = 0; i < 100; ++i) {
        model[i * 3] = i;
        map.insert(i * 3, i);
    }
    const IntMap &constant = map;
    for (int key = -2; key < 302; ++key) {
        const auto lower = model.lower_bound(key), upper = model.upper_bound(key);
        const auto zkLower = constant.lowerBound(key), zkUpper = constant.upperBound(key);
        ASSERT_EQ(zkLower == constant.end(), lower == model.end()) << key;
        ASSERT_EQ(zkUpper == constant.end(), upper == model.end()) << key;
        if (lower != model.end()) {
            ASSERT_EQ(zkLower.key(), lower->first);
        }
        if (upper != model.end()) {
            ASSERT_EQ(zkUpper.key(), upper->first);
        }
        ASSERT_EQ(constant.find(key) != constant.end(), model.count(key) == 1);
    }
    EXPECT_EQ(map.lowerBound(4).key(), 6);
    EXPECT_EQ(map.upperBound(6).key(), 9);
    EXPECT_EQ(*map.find(9), 3);
    EXPECT_TRUE(map.find(10) == map.end());
    IntMap none;
    EXPECT_TRUE(none.lowerBound(1) == none.end());
    EXPECT_TRUE(none.upperBound(1) == none.end());
}

TEST(ZkMap, CopiesShareUntilTheFirstWrite)
{
    const IntMap a = {{1, 10}, {2, 20}};
    void (*const writers[])(IntMap &) = {
        [](IntMap &m) { m.insert(1, 11); },
        [](IntMap &m) { m.insert(3, 30); },
        [](IntMap &m) { m[1] = 11; },
        [](IntMap &m) { m[5]; },
        [](IntMap &m) { m.remove(1); },
        [](IntMap &m) { *m.begin() = 5; },
        [](IntMap &m) { *--m.end() = 5; },
        [](IntMap &m) { *m.find(2) = 5; },
        [](IntMap &m) { *m.lowerBound(2) = 5; },
        [](IntMap &m) { *m.upperBound(1) = 5; },
        [](IntMap &m) { m.clear(); },
        [](IntMap &m) { m.setSharable(false); },
    };
    int row = 0;
    for (const auto write : writers) {
        SCOPED_TRACE(row++);
        IntMap b = a;
        EXPECT_TRUE(b.isSharedWith(a));
        EXPECT_EQ(ZkInspector::table(a)->ref, 2);
        write(b);
        EXPECT_FALSE(b.isSharedWith(a));
        expectTable(a, {{1, 10}, {2, 20}});
        EXPECT_EQ(ZkInspector::table(a)->ref, 1);
    }
    IntMap c = a;
    const IntMap &constant = c;
    EXPECT_FALSE(c.remove(7));
    EXPECT_EQ(constant.value(1) + constant[2] + *constant.begin() + *constant.find(2) +
                  *constant.lowerBound(1) + *constant.upperBound(1) + constant.keys().size(),
              10 + 20 + 10 + 20 + 10 + 20 + 2);
    EXPECT_TRUE(c.isSharedWith(a)) << "reading detached";
}

TEST(ZkMap, CopiesGetLevelsAsIfInsertedInOrder)
{
    IntMap a;
    Model model;
    for (int i = 0; i < 700; ++i) {
        a.insert(i * 389 % 701, i);
        model[i * 389 % 701] = i;
    }
    IntMap b = a;
    b.insert(0, model[0]);
    expectTable(b, model);
    EXPECT_EQ(ZkInspector::table(b)->insertInOrder, 0u);
    EXPECT_EQ(ZkInspector::table(b)->randomBits, 700u) << "counted on, not seeded";
    int top = 0, index = 0;
    for (const auto &pair : model) {
        const int level = levelFor(static_cast<std::uint32_t>(index++), top);
        top = std::max(top, level);
        ASSERT_EQ(levelOf(b, pair.first), level) << pair.first;
    }
}

TEST(ZkMap, ACopyOfAnUnsharableMapOwnsItsTable)
{
    IntMap a = {{1, 10}};
    a.setSharable(false);
    const IntMap b = a;
    EXPECT_FALSE(b.isSharedWith(a));
    expectTable(b, {{1, 10}});
    EXPECT_EQ(ZkInspector::table(b)->sharable, 1u);
    IntMap c;
    c = a;
    EXPECT_FALSE(c.isSharedWith(a));
    a.setSharable(true);
    c = a;
    EXPECT_TRUE(c.isSharedWith(a));
    c = *&c;
    expectTable(c, {{1, 10}});
}

TEST(ZkMap, MovedFromMapsAreUsable)
{
    IntMap a = {{1, 10}};
    IntMap b = std::move(a);
    expectTable(b, {{1, 10}});
    expectTable(a, {});
    a.insert(2, 20);
    swap(a, b);
    expectTable(b, {{2, 20}});
    a = std::move(b);
    expectTable(a, {{2, 20}});
    ASSERT_NE(ZkInspector::table(b), nullptr);
    b.insert(3, 30);
    b.clear();
    EXPECT_TRUE(b.isSharedWith(IntMap()));
}

TEST(ZkMap, Compares)
{
    IntMap a = {{1, 10}, {2, 20}}, b = {{2, 20}, {1, 10}};
    EXPECT_EQ(a, b);
    b.insert(1, 11);
    EXPECT_NE(a, b);
    b.insert(1, 10);
    b.insert(3, 30);
    EXPECT_NE(a, b);
    a.insert(4, 30);
    EXPECT_NE(a, b);
    EXPECT_EQ(IntMap(), IntMap());
}

TEST(ZkMap, ArgumentsMayLiveInTheMap)
{
    ZkMap<std::string, std::string> map = {{"a", std::string(40, 'x')}};
    const std::string &key = map.cbegin().key();
    const std::string &value = map.cbegin().value();
    const ZkMap<std::string, std::string> other = map;
    map.insert(key, value);
    map["b"] = map["a"];
    map.insert("c", map.cbegin().value());
    EXPECT_EQ(map.value("c"), std::string(40, 'x'));
    EXPECT_TRUE(map.remove(map.cbegin().key()));
    EXPECT_THAT(map.keys(), ElementsAre("b", "c"));
    ZkMap<std::string, std::string> third = map;
    EXPECT_TRUE(third.remove(third.cbegin().key()));
    EXPECT_EQ(third.find(third.cbegin().key()).key(), "c");
}

TEST(ZkMap, MatchesAModelThroughRandomChanges)
{
    NoLeak guard;
    std::mt19937 random(20240513);
    const auto below = [&random](int n) {
        return static_cast<int>(random() % static_cast<unsigned>(n));
    };
    std::vector<ZkMap<int, Counted>> maps(3);
    std::vector<Model> models(3);
    for (int round = 0; round < 6000; ++round) {
        const auto which = static_cast<std::size_t>(below(3));
        ZkMap<int, Counted> &map = maps[which];
        Model &model = models[which];
        const int key = below(120);
        switch (below(round / 500 % 2 == 0 ? 5 : 8)) {
        case 0:
            if (below(20) == 0) {
                const auto other = static_cast<std::size_t>(below(3));
                map = maps[other];
                model = models[other];
            }
            break;
        case 1:
        case 2:
            map.insert(key, round);
            model[key] = round;
            break;
        case 3:
            map[key] = round;
            model[key] = round;
            break;
        default: ASSERT_EQ(map.remove(key), model.erase(key) == 1); break;
        }
        expectTable(map, model);
        if (HasFatalFailure()) {
            FAIL() << "round " << round;
        }
    }
}

TEST(ZkMap, AFailedCopyLeavesTheMapAsItWas)
{
    NoLeak guard;
    ZkMap<int, Throwing> original;
    Model model;
    for (int i = 0; i < 20; ++i) {
        original.insert(i, Throwing(i));
        model[i] = i;
    }
    void (*const writers[])(ZkMap<int, Throwing> &) = {
        [](ZkMap<int, Throwing> &m) { m.insert(99, Throwing(1)); },
        [](ZkMap<int, Throwing> &m) { m[99]; },
        [](ZkMap<int, Throwing> &m) { m.begin(); },
        [](ZkMap<int, Throwing> &m) { m.remove(5); },
    };
    for (const auto write : writers) {
        for (int allowed : {0, 3, 7, 8, 19}) {
            ZkMap<int, Throwing> map = original;
            Throwing::allowance = allowed;
            EXPECT_THROW(write(map), std::runtime_error);
            Throwing::allowance = INT_MAX;
            EXPECT_TRUE(map.isSharedWith(original));
        }
    }
    for (int i = 20; i < 80; ++i) {
        Throwing::allowance = 0;
        EXPECT_THROW(original.insert(i, Throwing(i)), std::runtime_error);
        Throwing::allowance = INT_MAX;
        expectTable(original, model);
    }
}

// The count stayed too high, so the source copied itself for ever at each write and
// was never freed.
TEST(ZkMap, AFailedCopyOfAnUnsharableOneLeavesTheCountAsItWas)
{
    NoLeak guard;
    ZkMap<int, Throwing> original;
    for (int i = 0; i < 10; ++i) {
        original.insert(i, Throwing(i));
    }
    original.setSharable(false);
    for (int allowed : {0, 1, 9}) {
        SCOPED_TRACE(allowed);
        Throwing::allowance = allowed;
        EXPECT_THROW((ZkMap<int, Throwing>(original)), std::runtime_error);
        Throwing::allowance = INT_MAX;
        EXPECT_EQ(ZkInspector::table(original)->ref.load(), 1);
    }
}

TEST(ZkMapThreads, SharedTablesAreCopiedWrittenAndDropped)
{
    for (int round = 0; round < 50; ++round) {
        IntMap shared;
        for (int i = 0; i < 30; ++i) {
            shared.insert(i, i);
        }
        std::vector<std::thread> threads;
        for (int id = 0; id < 4; ++id) {
            threads.emplace_back([copy = shared, id]() mutable {
                for (int i = 0; i < 50; ++i) {
                    IntMap mine = copy;
                    mine.insert(i, id);
                    ASSERT_EQ(mine.value(i), id);
                    ASSERT_EQ(std::as_const(copy).value(7), 7);
                }
                copy.clear();
            });
        }
        shared.clear();
        for (std::thread &thread : threads) {
            thread.join();
        }
    }
}

} // namespace
