#include <zkhash.h>
#include <zkstring.h>

#include "livecount.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

// The table behind a hash.
struct ZkInspector {
    template <typename K, typename T>
    static ZkHashData *table(const ZkHash<K, T> &hash)
    {
        return hash.d;
    }
};

namespace
{

using IntHash = ZkHash<int, int>;
using Pairs = std::vector<std::pair<int, int>>;

Pairs pairsOf(const IntHash &hash)
{
    Pairs pairs;
    for (IntHash::const_iterator it = hash.begin(); it != hash.end(); ++it) {
        pairs.emplace_back(it.key(), it.value());
    }
    return pairs;
}

// A key whose hash is chosen by the test, so that chains can be made at will.
struct Chosen {
    int id;
    unsigned hash;

    bool operator==(const Chosen &other) const { return id == other.id; }
};

unsigned zkHash(const Chosen &key)
{
    return key.hash;
}

bool isPrime(int n)
{
    for (int i = 2; i * i <= n; ++i) {
        if (n % i == 0) {
            return false;
        }
    }
    return n > 1;
}

// The invariants of a table, and the pairs that it must hold.
template <typename T>
void expectTable(const ZkHash<int, T> &hash, const std::map<int, int> &model)
{
    ZkHashData *table = ZkInspector::table(hash);
    ASSERT_EQ(table->fakeNext, nullptr);
    ASSERT_GE(table->ref.load(), 1);
    ASSERT_EQ(table->reserved, 0u);
    ASSERT_EQ(table->size, static_cast<int>(model.size()));
    std::map<int, int> found;
    for (int i = 0; i < table->numBuckets; ++i) {
        ZkHashData::Node *node = table->buckets[i];
        for (; node->next != nullptr; node = node->next) {
            ASSERT_EQ(node->h % static_cast<unsigned>(table->numBuckets), static_cast<unsigned>(i));
            const int key = static_cast<int>(node->h);
            found[key] = static_cast<typename ZkHash<int, T>::Node *>(node)->value;
        }
        ASSERT_EQ(node, table->end()) << "chain " << i << " does not end in its table";
    }
    ASSERT_EQ(found, model);
}

ZkString units(const std::u16string &text)
{
    return ZkString(std::u16string_view(text));
}

} // namespace

// The block

TEST(ZkHashData, TheTableOfEmptyHashesHasNoBuckets)
{
    const ZkHashData &null = ZkHashData::shared_null;
    EXPECT_EQ(null.fakeNext, nullptr);
    EXPECT_EQ(null.buckets, nullptr);
    EXPECT_GE(null.ref.load(), 1);
    EXPECT_EQ(null.size, 0);
    EXPECT_EQ(null.nodeSize, 0);
    EXPECT_EQ(null.userNumBits, 4);
    EXPECT_EQ(null.numBits, 0);
    EXPECT_EQ(null.numBuckets, 0);
    EXPECT_EQ(null.sharable, 1u);
    EXPECT_EQ(null.strictAlignment, 0u);
    EXPECT_EQ(null.reserved, 0u);
}

TEST(ZkHashData, FieldsStandWhereADebuggerExpectsThem)
{
    const std::size_t word = sizeof(void *);
    EXPECT_EQ(sizeof(ZkHashData), word == 4 ? 32u : 40u);
    EXPECT_EQ(offsetof(ZkHashData, fakeNext), 0u);
    EXPECT_EQ(offsetof(ZkHashData, buckets), word);
    EXPECT_EQ(offsetof(ZkHashData, ref), 2 * word);
    EXPECT_EQ(offsetof(ZkHashData, size), 2 * word + 4);
    EXPECT_EQ(offsetof(ZkHashData, nodeSize), 2 * word + 8);
    EXPECT_EQ(offsetof(ZkHashData, userNumBits), 2 * word + 12);
    EXPECT_EQ(offsetof(ZkHashData, numBits), 2 * word + 14);
    EXPECT_EQ(offsetof(ZkHashData, numBuckets), 2 * word + 16);
    IntHash hash;
    hash.insert(-5, 50);
    const ZkHashData *table = ZkInspector::table(hash);
    EXPECT_EQ(table->nodeSize, static_cast<int>(sizeof(IntHash::Node)));
    EXPECT_EQ(table->strictAlignment, 0u);
    EXPECT_EQ(static_cast<int>(table->buckets[(UINT_MAX - 4) % 17]->h), -5)
        << "the key is the hash";
}

TEST(ZkHashData, ACopyOfATableKeepsItsShape)
{
    IntHash hash;
    hash.reserve(100);
    for (int i = 0; i < 40; ++i) {
        hash.insert(i * 131, i);
    }
    ZkHashData *table = ZkInspector::table(hash);
    IntHash copy = hash;
    copy[0] = 0;
    const ZkHashData *other = ZkInspector::table(copy);
    EXPECT_EQ(other->ref, 1);
    EXPECT_EQ(other->userNumBits, 7);
    EXPECT_EQ(other->numBits, table->numBits);
    EXPECT_EQ(other->numBuckets, 131);
    EXPECT_EQ(other->nodeSize, table->nodeSize);
    EXPECT_EQ(other->sharable, 1u);
    EXPECT_EQ(pairsOf(copy), pairsOf(hash));

    ZkHashData *untyped = ZkHashData::shared_null.detach_helper(nullptr, 24);
    EXPECT_EQ(untyped->nodeSize, 24);
    EXPECT_EQ(untyped->ref, 1);
    EXPECT_EQ(untyped->buckets, nullptr);
    untyped->rehash(-100);
    EXPECT_EQ(untyped->numBits, 7);
    EXPECT_EQ(untyped->numBuckets, 131);
    untyped->rehash(-17);
    EXPECT_EQ(untyped->numBuckets, 17);
    untyped->destroyAndFree();
}

TEST(ZkHashData, StrictNodesAreAligned)
{
    for (const int alignment : {0, 4, 8, 16, 64}) {
        SCOPED_TRACE(alignment);
        ZkHashData *table = ZkHashData::shared_null.detach_helper2(nullptr, nullptr, 40, 64);
        EXPECT_EQ(table->strictAlignment, 1u);
        std::vector<void *> nodes;
        for (int i = 0; i < 20; ++i) {
            nodes.push_back(table->allocateNode(alignment));
            std::memset(nodes.back(), 0xAA, 40);
            if (alignment > 4) {
                EXPECT_EQ(reinterpret_cast<std::uintptr_t>(nodes.back()) %
                              static_cast<unsigned>(alignment),
                          0u);
            }
        }
        for (void *node : nodes) {
            table->freeNode(node);
        }
        table->destroyAndFree();
    }
}

// Bucket counts

TEST(ZkHashData, BucketCountsAreALittleAboveThePowersOfTwo)
{
    const int kAbove[] = {0, 0,  1, 3,  1, 5,  3, 3, 1, 9,  7,  5, 3, 9, 25, 3,
                          1, 21, 3, 21, 7, 15, 9, 5, 3, 29, 15, 0, 0, 0, 0};
    for (int bits = 0; bits <= 30; ++bits) {
        EXPECT_EQ(ZkHashData::bucketCount(bits), (1 << bits) + kAbove[bits]) << bits;
    }
    for (int bits = 2; bits <= 12; ++bits) {
        EXPECT_TRUE(isPrime(ZkHashData::bucketCount(bits))) << bits;
    }
}

TEST(ZkHashData, BucketIsTheHashModuloTheCount)
{
    std::mt19937 random(7);
    for (int bits = 4; bits <= 30; ++bits) {
        ZkHashData table = ZkHashData::shared_null;
        table.numBits = static_cast<std::int16_t>(bits);
        table.numBuckets = ZkHashData::bucketCount(bits);
        const auto count = static_cast<unsigned>(table.numBuckets);
        std::vector<unsigned> hashes = {0, 1, UINT_MAX, UINT_MAX - 1, 0x80000000U, 0x7FFFFFFFU};
        for (unsigned k = 0; k < 2000; ++k) {
            const unsigned multiple = count * (unsigned(random()) % (UINT_MAX / count + 1U));
            hashes.insert(hashes.end(), {unsigned(random()), multiple, multiple - 1, multiple + 1});
        }
        for (const unsigned h : hashes) {
            ASSERT_EQ(table.bucketOf(h), h % count) << h << " in " << count;
        }
    }
}

TEST(ZkHash, AFinderSeesWhatTheHashHolds)
{
    ZkHash<int, int> hash;
    EXPECT_EQ((ZkHash<int, int>::Finder(hash).value(0)), 0) << "no buckets yet";
    EXPECT_EQ((ZkHash<int, int>::Finder(hash).value(-1)), 0);
    std::mt19937 random(11);
    for (int round = 0; round < 200; ++round) {
        hash.insert(int(random() % 5000) - 2500, round + 1);
        const ZkHash<int, int>::Finder finder(hash);
        for (int k = 0; k < 100; ++k) {
            const int key = int(random() % 5000) - 2500;
            ASSERT_EQ(finder.value(key), hash.value(key)) << key;
        }
        for (const int key : hash.keys()) {
            ASSERT_EQ(finder.value(key), hash.value(key)) << key;
        }
    }
}

TEST(ZkHashData, RehashChoosesTheExponent)
{
    const struct {
        const char *what;
        int hint, numBits;
    } kRows[] = {
        {"no fewer than 17", 0, 4},
        {"a small exponent counts as 4", 3, 4},
        {"an exponent", 6, 6},
        {"room for 100 takes 131", -100, 7},
        {"room for 17 takes 17", -17, 4},
        {"room for 18 takes 37", -18, 5},
        {"room for 131", -131, 7},
        {"room for 132", -132, 8},
        {"room for one", -1, 4},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        IntHash hash;
        hash.insert(1, 1);
        ZkInspector::table(hash)->rehash(9);
        ZkInspector::table(hash)->rehash(row.hint);
        EXPECT_EQ(ZkInspector::table(hash)->numBits, row.numBits);
        EXPECT_EQ(hash.capacity(), ZkHashData::bucketCount(row.numBits));
        EXPECT_EQ(hash.value(1), 1);
        if (row.hint < 0) {
            EXPECT_EQ(ZkInspector::table(hash)->userNumBits, row.numBits);
        }
    }
}

TEST(ZkHashData, RehashByRoomKeepsHalfTheNodesInMind)
{
    IntHash hash;
    for (int i = 0; i < 300; ++i) {
        hash.insert(i, i);
    }
    ZkInspector::table(hash)->rehash(-1);
    EXPECT_EQ(ZkInspector::table(hash)->userNumBits, 4);
    EXPECT_EQ(hash.capacity(), 257) << "not below 300 / 2";
}

// 0 is an exponent, if a small one: room for no node it is not.
TEST(ZkHashData, RehashToZeroTakesTheFewestBucketsHoweverManyNodesThereAre)
{
    IntHash hash;
    hash.reserve(100);
    for (int i = 0; i < 300; ++i) {
        hash.insert(i, i);
    }
    ZkHashData *table = ZkInspector::table(hash);
    table->rehash(0);
    EXPECT_EQ(hash.capacity(), 17);
    EXPECT_EQ(table->userNumBits, 7) << "what was reserved is remembered";
    for (int i = 0; i < 300; ++i) {
        ASSERT_EQ(hash.value(i, -1), i);
    }
    table->rehash(0);
    EXPECT_EQ(hash.capacity(), 17);
}

TEST(ZkHashData, RehashToTheCurrentExponentChangesNothing)
{
    IntHash hash;
    hash.insert(1, 1);
    ZkHashData::Node **buckets = ZkInspector::table(hash)->buckets;
    ZkInspector::table(hash)->rehash(4);
    EXPECT_EQ(ZkInspector::table(hash)->buckets, buckets);
}

TEST(ZkHashData, WithoutMemoryForBucketsTheTableStays)
{
    IntHash hash;
    hash.insert(1, 10);
    ZkHashData *table = ZkInspector::table(hash);
    for (const int hint : {INT_MAX, 30, INT_MIN, -INT_MAX}) {
        table->rehash(hint); // 2^30 buckets are more bytes than a block may have
        EXPECT_EQ(hash.capacity(), 17) << hint;
        EXPECT_EQ(table->numBits, 4);
    }
    expectTable(hash, {{1, 10}});
    IntHash none;
    none.reserve(INT_MAX);
    EXPECT_EQ(none.capacity(), 0);
    none.insert(1, 10);
    EXPECT_EQ(none.capacity(), 17);
}

// Building

TEST(ZkHash, StartsWithTheSharedTableAndGrowsFrom17Buckets)
{
    IntHash hash, other;
    EXPECT_TRUE(hash.isSharedWith(other));
    EXPECT_EQ(hash.capacity(), 0);
    EXPECT_EQ(ZkInspector::table(hash), &ZkHashData::shared_null);
    hash.insert(5, 50);
    EXPECT_EQ(hash.capacity(), 17);
    EXPECT_EQ(ZkHashData::shared_null.size, 0);
    for (int i = 0; i < 17; ++i) {
        hash.insert(i, i);
    }
    EXPECT_EQ(hash.capacity(), 17) << "as many keys as buckets";
    hash.insert(17, 17);
    EXPECT_EQ(hash.capacity(), 37);
    for (int i = 0; i < 38; ++i) {
        hash.insert(i, i);
    }
    EXPECT_EQ(hash.capacity(), 67);
}

TEST(ZkHash, InsertOverwritesAndValueFallsBack)
{
    IntHash hash;
    hash.insert(1, 10);
    hash.insert(1, 11);
    EXPECT_EQ(hash.size(), 1);
    EXPECT_EQ(hash.value(1), 11);
    EXPECT_EQ(hash.value(2), 0);
    EXPECT_EQ(hash.value(2, -1), -1);
    EXPECT_EQ(std::as_const(hash)[2], 0);
    EXPECT_EQ(hash.size(), 1) << "reading inserts nothing";
    hash[2] += 5;
    EXPECT_EQ(hash.value(2), 5);
    EXPECT_TRUE(hash.remove(1));
    EXPECT_FALSE(hash.remove(1));
    EXPECT_FALSE(hash.contains(1));
    EXPECT_EQ(hash.size(), 1);
}

// The buckets in order, each from the first inserted to the last.
TEST(ZkHash, OrderIsBucketsThenInsertion)
{
    IntHash hash;
    for (const int key : {18, 1, 35, 0, 17, 16}) {
        hash.insert(key, key);
    }
    EXPECT_EQ(pairsOf(hash), (Pairs{{0, 0}, {17, 17}, {18, 18}, {1, 1}, {35, 35}, {16, 16}}));
    const ZkList<int> values = hash.values();
    ASSERT_EQ(values.size(), 6);
    EXPECT_EQ(values.at(2), 18);
}

TEST(ZkHash, EqualHashesStayTogetherAndInOrderWhenBucketsChange)
{
    ZkHash<Chosen, int> hash;
    // Two hashes that share bucket 3 of 17 and part when there are 37.
    const Chosen keys[] = {{1, 3}, {2, 3}, {3, 20}, {4, 20}, {5, 3}};
    for (const Chosen &key : keys) {
        hash.insert(key, key.id);
    }
    const auto order = [&hash] {
        std::string ids;
        for (auto it = hash.begin(); it != hash.end(); ++it) {
            ids += char('0' + it.key().id);
        }
        return ids;
    };
    EXPECT_EQ(order(), "12345");
    ZkInspector::table(hash)->rehash(5);
    EXPECT_EQ(order(), "12534") << "bucket 3, then bucket 20";
    ZkInspector::table(hash)->rehash(4);
    EXPECT_EQ(order(), "12534") << "runs are put back one behind the other";
}

TEST(ZkHash, AgreesWithAMapUnderRandomWork)
{
    std::mt19937 random(42);
    IntHash hash;
    std::map<int, int> model;
    for (int step = 0; step < 20000; ++step) {
        const int key = int(random() % 700) - 300;
        switch (random() % 4) {
        case 0:
        case 1:
            hash.insert(key, step);
            model[key] = step;
            break;
        case 2: EXPECT_EQ(hash.remove(key), model.erase(key) == 1); break;
        case 3: {
            const auto found = model.find(key);
            ASSERT_EQ(hash.value(key, -1), found == model.end() ? -1 : found->second);
            break;
        }
        }
        if (step % 16 == 0) {
            expectTable(hash, model);
        }
        ASSERT_FALSE(HasFatalFailure()) << "step " << step;
    }
    const Pairs pairs = pairsOf(hash);
    EXPECT_EQ((std::map<int, int>(pairs.begin(), pairs.end())), model);
    const auto count = unsigned(hash.capacity());
    for (std::size_t i = 1; i < pairs.size(); ++i) {
        ASSERT_LE(unsigned(pairs[i - 1].first) % count, unsigned(pairs[i].first) % count);
    }
}

TEST(ZkHash, WalksBackwardsToo)
{
    IntHash hash;
    for (int i = 0; i < 200; i += 3) {
        hash.insert(i * 31, i);
    }
    std::vector<ZkHashData::Node *> forward, backward;
    ZkHashData *table = ZkInspector::table(hash);
    for (ZkHashData::Node *node = table->firstNode(); node != table->end();
         node = ZkHashData::nextNode(node)) {
        forward.push_back(node);
    }
    ZkHashData::Node *node = table->end();
    for (std::size_t i = 0; i < forward.size(); ++i) {
        node = ZkHashData::previousNode(node);
        backward.insert(backward.begin(), node);
    }
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(int(forward.size()), hash.size());
}

TEST(ZkHashData, AChainOfManyNodesIsWalkedBackwards)
{
    ZkHash<Chosen, int> hash;
    for (int i = 0; i < 9; ++i) {
        hash.insert(Chosen{i, i < 6 ? 3U : 20U}, i); // six in one chain, three in another
    }
    ZkHashData *table = ZkInspector::table(hash);
    std::vector<ZkHashData::Node *> nodes;
    for (ZkHashData::Node *node = table->firstNode(); node != table->end();
         node = ZkHashData::nextNode(node)) {
        nodes.push_back(node);
    }
    ASSERT_EQ(nodes.size(), 9U);
    ZkHashData::Node *node = table->end();
    for (std::size_t i = nodes.size(); i-- > 0;) {
        node = ZkHashData::previousNode(node);
        EXPECT_EQ(node, nodes[i]);
    }
    EXPECT_EQ(node, table->firstNode());
}

// Sharing

TEST(ZkHash, CopiesShareUntilOneIsWritten)
{
    IntHash a;
    a.insert(1, 10);
    a.insert(18, 20);
    IntHash b = a;
    EXPECT_TRUE(a.isSharedWith(b));
    EXPECT_EQ(b.value(1), 10);
    EXPECT_TRUE(b.contains(18));
    EXPECT_EQ(b.values().size(), 2);
    EXPECT_TRUE(a.isSharedWith(b)) << "reading does not detach";
    b.insert(1, 11);
    EXPECT_FALSE(a.isSharedWith(b));
    EXPECT_EQ(a.value(1), 10);
    EXPECT_EQ(pairsOf(b), (Pairs{{1, 11}, {18, 20}})) << "a copy keeps order and buckets";
    EXPECT_EQ(b.capacity(), a.capacity());

    IntHash c = a;
    EXPECT_FALSE(c.remove(99));
    EXPECT_TRUE(c.isSharedWith(a)) << "nothing to take out, nothing to write";
    EXPECT_TRUE(c.remove(1));
    EXPECT_FALSE(c.isSharedWith(a));
    IntHash d = a;
    d[18] = 21;
    EXPECT_EQ(a.value(18), 20);
}

TEST(ZkHash, EveryMutableAccessDetaches)
{
    const IntHash a = {{1, 10}, {18, 20}};
    void (*const writers[])(IntHash &) = {
        [](IntHash &h) { h.insert(1, 11); },
        [](IntHash &h) { h.insert(3, 30); },
        [](IntHash &h) { h[1] = 11; },
        [](IntHash &h) { h[5]; },
        [](IntHash &h) { h.remove(1); },
        [](IntHash &h) { *h.begin() = 5; },
        [](IntHash &h) { *h.find(18) = 5; },
        [](IntHash &h) { h.find(7); },
        [](IntHash &h) { h.clear(); },
        [](IntHash &h) { h.reserve(50); },
        [](IntHash &h) { h.setSharable(false); },
        [](IntHash &h) { h.end(); },
    };
    int row = 0;
    for (const auto write : writers) {
        SCOPED_TRACE(row++);
        IntHash b = a;
        ASSERT_TRUE(b.isSharedWith(a));
        EXPECT_EQ(ZkInspector::table(a)->ref, 2);
        write(b);
        EXPECT_FALSE(b.isSharedWith(a));
        EXPECT_EQ(ZkInspector::table(a)->ref, 1);
        expectTable(a, {{1, 10}, {18, 20}});
    }
    IntHash c = a;
    const IntHash &constant = c;
    EXPECT_EQ(constant.value(1) + constant[18] + *constant.begin() + *constant.find(18) +
                  constant.keys().size() + constant.size() + constant.contains(1),
              10 + 20 + 10 + 20 + 2 + 2 + 1);
    EXPECT_TRUE(constant.find(5) == constant.end());
    EXPECT_TRUE(c.isSharedWith(a)) << "reading detached";
    IntHash none;
    EXPECT_TRUE(none.begin() == none.end() && none.find(1) == none.end());
    EXPECT_TRUE(none.isSharedWith(IntHash())) << "nothing to write, nothing to detach";
}

TEST(ZkHash, FindNodeGivesTheLinkAndTheHash)
{
    IntHash hash = {{1, 10}, {18, 20}};
    ZkHashData *table = ZkInspector::table(hash);
    unsigned h = 0;
    EXPECT_EQ(hash.findNode(1, &h), &table->buckets[1]);
    EXPECT_EQ(h, 1u);
    EXPECT_EQ(hash.findNode(18, &h), &table->buckets[1]->next);
    EXPECT_EQ(h, 18u);
    EXPECT_EQ(*hash.findNode(35), table->end());
    EXPECT_EQ(hash.findNode(35), &table->buckets[1]->next->next);
    const IntHash none;
    EXPECT_EQ(*none.findNode(-1, &h), ZkHashData::shared_null.end());
    EXPECT_EQ(h, UINT_MAX);
}

TEST(ZkHash, WorksWithRangeForAndAlgorithms)
{
    IntHash hash = {{1, 10}, {2, 20}, {1, 11}};
    int sum = 0;
    for (int &value : hash) {
        value += 1;
        sum += value;
    }
    EXPECT_EQ(sum, 12 + 21);
    EXPECT_THAT(hash.values(), testing::ElementsAre(12, 21));
    EXPECT_THAT(hash.keys(), testing::ElementsAre(1, 2));
    EXPECT_EQ(std::count(hash.cbegin(), hash.cend(), 21), 1);
    IntHash::const_iterator it = hash.find(2);
    EXPECT_EQ(it++.key(), 2);
    EXPECT_TRUE(it == hash.cend());
    ZkHash<int, std::string> names = {{1, "one"}};
    EXPECT_EQ(names.begin()->size(), 3u);
    enum Colour { Red, Blue };
    ZkHash<Colour, int> colours = {{Blue, 4}};
    EXPECT_EQ(colours.value(Blue) + colours.value(Red), 4);
}

TEST(ZkHash, AssignmentMoveAndEquality)
{
    IntHash a, b;
    a.insert(1, 10);
    b = a;
    EXPECT_TRUE(b.isSharedWith(a));
    IntHash &self = b;
    b = self;
    EXPECT_EQ(b.value(1), 10);
    b.insert(2, 20);
    EXPECT_NE(a, b);
    b.remove(2);
    EXPECT_EQ(a, b);
    b.insert(1, 12);
    EXPECT_NE(a, b);
    IntHash moved = std::move(b);
    EXPECT_EQ(moved.value(1), 12);
    EXPECT_TRUE(b.isEmpty());
    b.insert(3, 3);
    EXPECT_EQ(b.size(), 1);
    swap(b, moved);
    EXPECT_EQ(b.value(1), 12);
    EXPECT_EQ(moved.value(3), 3);
    b.clear();
    EXPECT_TRUE(b.isSharedWith(IntHash()));
}

TEST(ZkHash, AnUnsharableTableIsCopiedAtOnce)
{
    IntHash a;
    a.insert(1, 10);
    a.setSharable(false);
    const IntHash b = a;
    EXPECT_FALSE(b.isSharedWith(a));
    EXPECT_EQ(b.value(1), 10);
}

TEST(ZkHash, ArgumentsMayLiveInTheTable)
{
    ZkHash<int, std::string> hash;
    hash.insert(1, std::string(40, 'x'));
    const ZkHash<int, std::string> other = hash;
    const std::string &inside = *other.begin();
    for (int key = 2; key < 60; ++key) {
        hash.insert(key, inside);
    }
    hash.insert(1, *hash.begin());
    for (int key = 1; key < 60; ++key) {
        ASSERT_EQ(hash.value(key), std::string(40, 'x'));
    }
}

TEST(ZkHash, KeysMayLiveInTheTable)
{
    ZkHash<ZkString, int> hash = {{"one", 1}, {"two", 2}};
    const ZkHash<ZkString, int> other = hash;
    hash[hash.cbegin().key()] += 10;
    EXPECT_EQ(hash.value(other.cbegin().key()), other.cbegin().value() + 10);
    ZkHash<ZkString, int> third = other;
    EXPECT_TRUE(third.remove(third.cbegin().key()));
    EXPECT_TRUE(third.remove(third.cbegin().key()));
    EXPECT_TRUE(third.isEmpty());
    ZkHash<ZkString, int> fourth = other;
    const ZkString &key = std::as_const(fourth).begin().key();
    EXPECT_EQ(fourth.find(key).value(), other.cbegin().value());
}

TEST(ZkHash, AFailedCopyLeavesTheHashAsItWas)
{
    NoLeak guard;
    ZkHash<int, Throwing> original;
    std::map<int, int> model;
    for (int i = 0; i < 20; ++i) {
        original.insert(i, Throwing(i));
        model[i] = i;
    }
    void (*const writers[])(ZkHash<int, Throwing> &) = {
        [](ZkHash<int, Throwing> &h) { h.insert(99, Throwing(1)); },
        [](ZkHash<int, Throwing> &h) { h[99]; },
        [](ZkHash<int, Throwing> &h) { h.begin(); },
        [](ZkHash<int, Throwing> &h) { h.remove(5); },
    };
    for (const auto write : writers) {
        for (int allowed : {0, 3, 19}) {
            ZkHash<int, Throwing> hash = original;
            Throwing::allowance = allowed;
            EXPECT_THROW(write(hash), std::runtime_error);
            Throwing::allowance = INT_MAX;
            EXPECT_TRUE(hash.isSharedWith(original));
        }
    }
    Throwing::allowance = 0;
    EXPECT_THROW(original.insert(99, Throwing(1)), std::runtime_error);
    Throwing::allowance = INT_MAX;
    expectTable(original, model);
}

// The count stayed too high, so the source copied itself for ever at each write and
// was never freed.
TEST(ZkHash, AFailedCopyOfAnUnsharableOneLeavesTheCountAsItWas)
{
    NoLeak guard;
    ZkHash<int, Throwing> original;
    for (int i = 0; i < 10; ++i) {
        original.insert(i, Throwing(i));
    }
    original.setSharable(false);
    for (int allowed : {0, 1, 9}) {
        SCOPED_TRACE(allowed);
        Throwing::allowance = allowed;
        EXPECT_THROW((ZkHash<int, Throwing>(original)), std::runtime_error);
        Throwing::allowance = INT_MAX;
        EXPECT_EQ(ZkInspector::table(original)->ref.load(), 1);
    }
}

TEST(ZkHash, ElementsAreDestroyedOnce)
{
    const NoLeak noLeak;
    const int before = Counted::alive;
    {
        ZkHash<ZkString, Counted> hash;
        for (int i = 0; i < 100; ++i) {
            hash.insert(ZkString(std::to_string(i % 40).c_str()), Counted(i));
        }
        EXPECT_EQ(Counted::alive, before + 40);
        ZkHash<ZkString, Counted> copy = hash;
        copy.remove("7");
        EXPECT_EQ(Counted::alive, before + 79);
    }
}

TEST(ZkHash, ThreadsShareATable)
{
    IntHash shared;
    for (int i = 0; i < 50; ++i) {
        shared.insert(i, i * i);
    }
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([shared, t]() mutable {
            for (int round = 0; round < 200; ++round) {
                IntHash mine = shared;
                mine.insert(round, t);
                ASSERT_EQ(mine.value(round), t);
                ASSERT_EQ(shared.value(7), 49);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(shared.size(), 50);
}

TEST(ZkHash, OverAlignedNodesAreAligned)
{
    struct alignas(32) Wide {
        char bytes[32];
    };
    ZkHash<int, Wide> hash;
    for (int i = 0; i < 40; ++i) {
        hash.insert(i, Wide{{char(i)}});
    }
    ZkHash<int, Wide> copy = hash;
    copy.remove(3);
    for (auto it = copy.begin(); it != copy.end(); ++it) {
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&it.value()) % 32, 0U);
        EXPECT_EQ(it.value().bytes[0], char(it.key()));
    }
}

// Contracts

TEST(ZkHashDeath, GoingOnFromTheEndIsReported)
{
    IntHash hash;
    hash.insert(1, 1);
    ZkHashData *table = ZkInspector::table(hash);
    EXPECT_DEATH(ZkHashData::nextNode(table->end()),
                 "\\./src/zkhash:151: static ZkHashData::Node\\* ZkHashData::nextNode\\("
                 "ZkHashData::Node\\*\\): Assertion `next' failed");
    EXPECT_DEATH(ZkHashData::previousNode(table->firstNode()),
                 "\\./src/zkhash:198: static ZkHashData::Node\\* ZkHashData::previousNode\\("
                 "ZkHashData::Node\\*\\): Assertion `start >= 0' failed");
    EXPECT_DEATH(ZkHashData::previousNode(ZkHashData::shared_null.end()), "`start >= 0' failed");
    EXPECT_DEATH(
        {
            table->buckets[2] = table->firstNode();
            table->buckets[2]->next = nullptr;
            hash.contains(2);
        },
        "\\.\\./include/pub/zkhash:847: .*findNode.*`\\*node == e \\|\\| \\(\\*node\\)->next' "
        "failed");
}

// Hashes

TEST(ZkHashFunction, FoldsAsManyBytesAsTheTextHasUnits)
{
    const struct {
        std::u16string text;
        unsigned hash;
    } kRows[] = {
        {u"", 0},
        {u"A", 65},
        {u"AB", 65 * 16 + 66},
        {u"\u00E9", 0xC3},
        {u"\u00E9x", 0xC3 * 16 + 0xA9}, // the x is past the second byte
        {u"\u20AC", 0xE2},
        {u"\u20AC\u20AC\u20ACab", 0},
        {u"\u007F\u0080z", (0x7F * 16 + 0xC2) * 16 + 0x80}, // the last ASCII, and the next
    };
    for (const auto &row : kRows) {
        const ZkString key = units(row.text);
        // The rule itself, on the whole UTF-8 text.
        unsigned h = 0;
        const std::string utf8 = key.toStdString();
        for (int i = 0; i < key.size(); ++i) {
            h = (h << 4) + static_cast<unsigned char>(utf8[std::size_t(i)]);
            h ^= (h & 0xF0000000U) >> 23;
            h &= 0x0FFFFFFFU;
        }
        EXPECT_EQ(zkHash(key), h) << utf8;
        if (row.hash != 0) {
            EXPECT_EQ(zkHash(key), row.hash) << utf8;
        }
    }
    EXPECT_EQ(zkHash(units(std::u16string(100, u'z'))) >> 28, 0U);
}

TEST(ZkHashFunction, IntegersAreTheirOwnHash)
{
    EXPECT_EQ(zkHash(-1), UINT_MAX);
    EXPECT_EQ(zkHash(7U), 7U);
    EXPECT_EQ(zkHash(static_cast<unsigned char>(200)), 200U);
    EXPECT_EQ(zkHash(1LL << 32), 1U);
}
