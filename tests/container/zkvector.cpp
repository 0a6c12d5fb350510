#include "zkvector.h"

#include "freshprocess.h"
#include "livecount.h"
#include "sanitizedmalloc.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

struct ZkInspector {
    template <typename T>
    static ZkVectorData *block(const ZkVector<T> &v)
    {
        return v.d;
    }
};

namespace
{

using testing::ElementsAre;

template <typename T>
std::vector<int> numbers(const ZkVector<T> &v)
{
    return std::vector<int>(v.begin(), v.end());
}

// The invariants of a block, and the elements that it must hold.
template <typename T>
void expectBlock(const ZkVector<T> &v, const std::vector<int> &model)
{
    const ZkVectorData *d = ZkInspector::block(v);
    ASSERT_NE(d, nullptr);
    ASSERT_GE(d->ref.load(), 1);
    ASSERT_EQ(d->reserved, 0u);
    ASSERT_GE(d->size, 0);
    ASSERT_LE(d->size, d->alloc);
    ASSERT_EQ(numbers(v), model);
}

ZkVector<int> counting(int size)
{
    ZkVector<int> v;
    for (int i = 0; i < size; ++i) {
        v.append(i);
    }
    return v;
}

struct Triple {
    int a, b, c;
};

template <int bytes>
struct Sized {
    char bytes_[bytes];
};

// --- Growth -----------------------------------------------------------------

// The block, in bytes, that holds `needed`: found by walking all block sizes.
std::int64_t blockFor(std::int64_t needed)
{
    if (needed < 64) {
        for (std::int64_t block = 8;; block += 8) {
            if (block > needed) {
                return block;
            }
        }
    }
    for (std::int64_t block = needed < 4096 ? 8 : 4096;; block *= 2) {
        if (block >= needed) {
            return block;
        }
    }
}

TEST(ZkVectorGrow, Examples)
{
    const struct {
        const char *what;
        int size, sizeofT;
        bool excessive;
        int capacity;
    } rows[] = {
        {"an empty block of ints still has room for two", 0, 4, false, 2},
        {"24 bytes", 1, 4, false, 2},
        {"exactly full steps on: 32 bytes", 2, 4, false, 4},
        {"32 bytes", 3, 4, false, 4},
        {"64 bytes", 12, 4, false, 12},
        {"128 bytes", 13, 4, false, 28},
        {"the last that fits 128 bytes", 28, 4, false, 28},
        {"256 bytes", 29, 4, false, 60},
        {"the last below a page", 1020, 4, false, 1020},
        {"past a page", 1021, 4, false, 2044},
        {"one byte", 1, 1, false, 8},
        {"8 bytes steps on", 8, 1, false, 16},
        {"one and a half: 0", 0, 16, true, 0},
        {"one and a half: 1", 1, 16, true, 1},
        {"one and a half: 2", 2, 16, true, 3},
        {"one and a half: 4", 4, 16, true, 6},
        {"one and a half: 7", 7, 16, true, 10},
        {"the last size reckoned exactly", (0x3FFFFFFF - 1 - 16) / 4, 4, false,
         (0x40000000 - 16) / 4},
        {"no header taken off the largest block", 0x10000000, 4, false, INT_MAX / 4},
        {"a negative size counts as 0", INT_MIN, 4, false, 2},
        {"a negative size counts as 0, one and a half", -1, 4, true, 0},
        {"one and a half does not wrap", INT_MAX, 4, true, INT_MAX},
        {"the largest bytes", INT_MAX, 1, false, INT_MAX},
        {"the largest big elements", INT_MAX, 1 << 20, false, INT_MAX >> 20},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(ZkVectorData::grow(16 + row.sizeofT, row.size, row.sizeofT, row.excessive),
                  row.capacity);
    }
}

TEST(ZkVectorGrow, NothingNeedsNothing)
{
    EXPECT_EQ(ZkVectorData::grow(4, 0, 4, false), 0);
}

TEST(ZkVectorGrow, TakesTheNextBlockSizeForEverySize)
{
    for (int sizeofT : {1, 2, 4, 8, 12, 16, 20, 24, 100}) {
        for (int size = 0; size < 10000; ++size) {
            const std::int64_t needed = 16 + std::int64_t(size) * sizeofT;
            ASSERT_EQ(ZkVectorData::grow(16 + sizeofT, size, sizeofT, false),
                      (blockFor(needed) - 16) / sizeofT)
                << size << " elements of " << sizeofT;
        }
    }
}

TEST(ZkVector, PlainElementsGrowByBlocks)
{
    ZkVector<int> v;
    std::vector<int> steps;
    for (int i = 0; i < 100; ++i) {
        v.append(i);
        if (steps.empty() || steps.back() != v.capacity()) {
            steps.push_back(v.capacity());
        }
    }
    EXPECT_THAT(steps, ElementsAre(2, 4, 6, 8, 10, 12, 28, 60, 124));

    ZkVector<char> bytes;
    bytes.append('x');
    EXPECT_EQ(bytes.capacity(), 8);
}

TEST(ZkVector, ClassElementsGrowByHalf)
{
    ZkVector<Triple> v;
    std::vector<int> steps;
    for (int i = 0; i < 20; ++i) {
        v.append({i, i, i});
        if (steps.empty() || steps.back() != v.capacity()) {
            steps.push_back(v.capacity());
        }
    }
    EXPECT_THAT(steps, ElementsAre(1, 3, 6, 10, 16, 25));
}

TEST(ZkVector, BulkCapacityIsThatOfAppendingOneByOne)
{
    for (int size = 0; size < 3000; size = size < 70 ? size + 1 : size * 3 / 2) {
        SCOPED_TRACE(size);
        std::vector<int> source(static_cast<std::size_t>(size));
        std::iota(source.begin(), source.end(), 0);
        ZkVector<int> single;
        ZkVector<Counted> counted;
        for (int i : source) {
            single.append(i);
            counted.append(i);
        }
        const ZkVector<int> bulk(source.data(), size);
        expectBlock(bulk, source);
        EXPECT_EQ(bulk.capacity(), single.capacity());
        const ZkVector<Counted> bulkCounted(counted.constData(), size);
        expectBlock(bulkCounted, source);
        EXPECT_EQ(bulkCounted.capacity(), counted.capacity());

        // The same with a block to start from, and with a shared one.
        for (int start : {1, 5, 13}) {
            for (bool shared : {false, true}) {
                ZkVector<int> a = counting(start), b = counting(start);
                const ZkVector<int> c = a, e = b;
                ZkVector<int> left = shared ? ZkVector<int>() : counting(1);
                if (!shared) {
                    a = counting(start);
                    b = counting(start);
                }
                for (int i : source) {
                    a.append(i);
                }
                b.append(source.data(), size);
                ASSERT_EQ(a, b);
                ASSERT_EQ(a.capacity(), b.capacity());
            }
        }
    }
}

TEST(ZkVector, UninitializedElementsGrowLikeAppended)
{
    ZkVector<int> v = counting(3), w = counting(3);
    int *fresh = v.appendUninitialized(100);
    EXPECT_EQ(fresh, v.constData() + 3);
    for (int i = 0; i < 100; ++i) {
        fresh[i] = i;
        w.append(i);
    }
    EXPECT_EQ(v, w);
    EXPECT_EQ(v.capacity(), w.capacity());
    EXPECT_EQ(v.appendUninitialized(-5), v.constData() + 103);
    EXPECT_EQ(v.size(), 103);
}

// --- Blocks -----------------------------------------------------------------

TEST(ZkVector, HeaderIsFourWords)
{
    EXPECT_EQ(sizeof(ZkVectorData), 16u);
    EXPECT_EQ(sizeof(ZkVector<int>), sizeof(void *));
    ZkVector<int> v = counting(3);
    std::uint32_t words[4];
    std::memcpy(words, ZkInspector::block(v), sizeof words);
    EXPECT_THAT(words, ElementsAre(1u, 4u, 3u, 1u)); // sharable is bit 0
    v.reserve(1);
    std::memcpy(words, ZkInspector::block(v), sizeof words);
    EXPECT_THAT(words, ElementsAre(1u, 4u, 3u, 3u)); // a reserved capacity is bit 1
    EXPECT_EQ(reinterpret_cast<const char *>(v.constData()),
              reinterpret_cast<const char *>(ZkInspector::block(v)) + 16);
}

TEST(ZkVector, EveryEmptyVectorSharesOneBlock)
{
    const int before = ZkVectorData::shared_null.ref;
    {
        const ZkVector<int> a, b;
        const ZkVector<Counted> c;
        EXPECT_EQ(ZkInspector::block(a), &ZkVectorData::shared_null);
        EXPECT_TRUE(a.isSharedWith(b));
        EXPECT_EQ(ZkInspector::block(c), &ZkVectorData::shared_null);
        EXPECT_EQ(ZkVectorData::shared_null.ref, before + 3);
        EXPECT_EQ(a.capacity(), 0);
        EXPECT_TRUE(a.isEmpty());
    }
    EXPECT_EQ(ZkVectorData::shared_null.ref, before);
    EXPECT_GE(before, 1);
}

TEST(ZkVector, CopiesShareUntilTheFirstWrite)
{
    ZkVector<int> a = counting(5);
    ZkVector<int> b = a, c;
    c = b;
    EXPECT_TRUE(a.isSharedWith(b) && b.isSharedWith(c));
    EXPECT_EQ(ZkInspector::block(a)->ref, 3);

    const ZkVector<int> &readOnly = b;
    EXPECT_EQ(readOnly[2] + readOnly.last() + *readOnly.begin() + *readOnly.data() + b.at(1) +
                  *b.constData() + *b.cbegin() + b.value(4),
              2 + 4 + 0 + 0 + 1 + 0 + 0 + 4);
    EXPECT_TRUE(a.isSharedWith(b)) << "reading detached";

    b[2] = 20;
    EXPECT_FALSE(a.isSharedWith(b));
    EXPECT_EQ(b.capacity(), a.capacity());
    expectBlock(a, {0, 1, 2, 3, 4});
    expectBlock(b, {0, 1, 20, 3, 4});
    EXPECT_EQ(ZkInspector::block(a)->ref, 2);
}

TEST(ZkVector, EveryMutableAccessDetaches)
{
    void (*const writers[])(ZkVector<int> &) = {
        [](ZkVector<int> &v) { v[0] = 9; },
        [](ZkVector<int> &v) { v.last() = 9; },
        [](ZkVector<int> &v) { *v.data() = 9; },
        [](ZkVector<int> &v) { *v.begin() = 9; },
        [](ZkVector<int> &v) { *(v.end() - 1) = 9; },
        [](ZkVector<int> &v) { v.append(9); },
        [](ZkVector<int> &v) { v.insert(0, 9); },
        [](ZkVector<int> &v) { v.remove(0); },
        [](ZkVector<int> &v) { v.remove(0, 2); },
        [](ZkVector<int> &v) { v.resize(1); },
        [](ZkVector<int> &v) { v.resize(9); },
        [](ZkVector<int> &v) { v.clear(); },
        [](ZkVector<int> &v) { v.append(v); },
        [](ZkVector<int> &v) { *v.appendUninitialized(1) = 9; },
        [](ZkVector<int> &v) { v.reserve(1); },
        [](ZkVector<int> &v) { v.setSharable(false); },
    };
    int row = 0;
    for (const auto write : writers) {
        SCOPED_TRACE(row++);
        const ZkVector<int> a = counting(3);
        ZkVector<int> b = a;
        write(b);
        EXPECT_FALSE(a.isSharedWith(b));
        expectBlock(a, {0, 1, 2});
    }
}

TEST(ZkVector, AppendingToASharedBlockSizesItAfresh)
{
    ZkVector<int> a = counting(13); // 28 slots
    a.remove(0, 10);
    ZkVector<int> b = a;
    b.append(7);
    expectBlock(b, {10, 11, 12, 7});
    EXPECT_EQ(a.capacity(), 28);
    EXPECT_EQ(b.capacity(), 6);
}

TEST(ZkVector, ACopyOfAnUnsharableVectorOwnsItsBlock)
{
    ZkVector<int> a = counting(3);
    ZkVector<Counted> c(2, 5);
    a.setSharable(false);
    c.setSharable(false);
    const ZkVector<int> b = a;
    EXPECT_FALSE(a.isSharedWith(b));
    EXPECT_EQ(a, b);
    EXPECT_EQ(ZkInspector::block(a)->ref, 1);
    EXPECT_EQ(ZkInspector::block(b)->ref, 1);
    EXPECT_EQ(ZkInspector::block(b)->sharable, 1u);
    EXPECT_EQ(b.capacity(), a.capacity());
    ZkVector<Counted> e;
    e = c;
    EXPECT_FALSE(e.isSharedWith(c));
    a.setSharable(true);
    const ZkVector<int> f = a;
    EXPECT_TRUE(f.isSharedWith(a));
}

TEST(ZkVector, MovedFromVectorsAreUsable)
{
    ZkVector<int> a = counting(3);
    const ZkVectorData *block = ZkInspector::block(a);
    ZkVector<int> b = std::move(a);
    EXPECT_EQ(ZkInspector::block(b), block);
    expectBlock(a, {});
    a.append(1);
    a = std::move(b);
    expectBlock(a, {0, 1, 2});
    ASSERT_NE(ZkInspector::block(b), nullptr);
    b.append(5);
    swap(a, b);
    EXPECT_EQ(a.last(), 5);
    a = *&a;
    EXPECT_EQ(a.last(), 5);
}

// --- Sizes ------------------------------------------------------------------

TEST(ZkVector, ShrinksOnlyBelowHalfItsCapacity)
{
    ZkVector<int> v = counting(13);
    ASSERT_EQ(v.capacity(), 28);
    v.resize(20);
    EXPECT_EQ(v.capacity(), 28);
    const ZkVectorData *block = ZkInspector::block(v);
    v.resize(14);
    EXPECT_EQ(v.capacity(), 28);
    EXPECT_EQ(ZkInspector::block(v), block);
    v.resize(13);
    EXPECT_EQ(v.capacity(), 28); // no: 13 ints need the same block
    v.resize(12);
    EXPECT_EQ(v.capacity(), 12);
    v.resize(0);
    EXPECT_EQ(v.capacity(), 2);
}

TEST(ZkVector, AReservedCapacityIsKept)
{
    ZkVector<int> v;
    v.reserve(100);
    EXPECT_EQ(v.capacity(), 100);
    EXPECT_EQ(ZkVectorData::shared_null.capacity, 0u);
    v.resize(50);
    v.resize(0);
    EXPECT_EQ(v.capacity(), 100);
    v.resize(101);
    EXPECT_EQ(v.capacity(), 124);
    v.resize(1);
    EXPECT_EQ(v.capacity(), 124) << "the mark survives growing";
    v.reserve(-3);
    EXPECT_EQ(v.capacity(), 124);
    ZkVector<int> copy = v;
    copy[0] = 1;
    copy.resize(0);
    EXPECT_EQ(copy.capacity(), 124) << "the mark survives detaching";
}

TEST(ZkVector, NewElementsAreZero)
{
    ZkVector<int> v(3, -1);
    v.resize(2);
    v.resize(6);
    expectBlock(v, {-1, -1, 0, 0, 0, 0});
    EXPECT_EQ(ZkVector<int *>(2)[1], nullptr);
    EXPECT_EQ(ZkVector<double>(1)[0], 0.0);
    EXPECT_TRUE(ZkVector<ZkVector<int>>(2).last().isEmpty());
    EXPECT_EQ(ZkVector<int>(5).capacity(), 5);
    EXPECT_EQ(ZkVector<int>(5, 1).capacity(), 5);
}

TEST(ZkVector, NegativeSizesCountAsNone)
{
    EXPECT_TRUE(ZkVector<int>(-1).isEmpty());
    EXPECT_TRUE(ZkVector<int>(INT_MIN, 3).isEmpty());
    const int one = 1;
    EXPECT_TRUE(ZkVector<int>(&one, -1).isEmpty());
    EXPECT_TRUE(ZkVector<int>(nullptr, 3).isEmpty());
    ZkVector<int> v = counting(3);
    v.resize(INT_MIN);
    EXPECT_TRUE(v.isEmpty());
    v.realloc(-5, -3);
    EXPECT_EQ(v.capacity(), 0);
    ZkVector<Counted> c(2, 1);
    c.resize(-1);
    EXPECT_TRUE(c.isEmpty());
}

TEST(ZkVector, ReallocSetsSizeAndCapacity)
{
    NoLeak guard;
    const struct {
        int size, asize, aalloc;
    } rows[] = {{0, 0, 0}, {0, 3, 5}, {5, 3, 3}, {5, 5, 5}, {5, 5, 90}, {5, 7, 7}, {5, 0, 0}};
    for (const auto &row : rows) {
        for (bool shared : {false, true}) {
            SCOPED_TRACE(testing::Message() << row.size << " to " << row.asize << " of "
                                            << row.aalloc << (shared ? " shared" : ""));
            std::vector<int> model(static_cast<std::size_t>(row.size));
            std::iota(model.begin(), model.end(), 0);
            ZkVector<int> v = counting(row.size);
            ZkVector<Counted> c;
            for (int i : model) {
                c.append(i);
            }
            const ZkVector<int> v2 = shared ? v : ZkVector<int>();
            const ZkVector<Counted> c2 = shared ? c : ZkVector<Counted>();
            v.realloc(row.asize, row.aalloc);
            c.realloc(row.asize, row.aalloc);
            if (shared) {
                expectBlock(v2, model);
                expectBlock(c2, model);
            }
            model.resize(static_cast<std::size_t>(row.asize));
            expectBlock(v, model);
            expectBlock(c, model);
            EXPECT_EQ(v.capacity(), row.aalloc);
            EXPECT_EQ(c.capacity(), row.aalloc);
        }
    }
}

// --- Elements ---------------------------------------------------------------

TEST(ZkVector, TakesElementsOfItself)
{
    NoLeak guard;
    ZkVector<int> v;
    ZkVector<Counted> c;
    std::vector<int> model;
    v.append(1);
    c.append(1);
    model.push_back(1);
    for (int i = 0; i < 200; ++i) {
        v.append(v[i / 2]);
        c.append(c[i / 2]);
        model.push_back(model[static_cast<std::size_t>(i / 2)]);
        v[i] = c[i] = model[static_cast<std::size_t>(i)] = i;
    }
    v.append(v);
    c.append(c);
    model.insert(model.end(), model.begin(), model.begin() + 201);
    expectBlock(v, model);
    expectBlock(c, model);

    v.append(v.constData() + 3, 300);
    c.append(c.constData() + 3, 300);
    std::vector<int> piece(model.begin() + 3, model.begin() + 303);
    model.insert(model.end(), piece.begin(), piece.end());
    expectBlock(v, model);
    expectBlock(c, model);

    v.insert(5, v.constData() + 2, 40);
    c.insert(5, c.constData() + 2, 40);
    piece.assign(model.begin() + 2, model.begin() + 42);
    model.insert(model.begin() + 5, piece.begin(), piece.end());
    expectBlock(v, model);
    expectBlock(c, model);

    v.insert(1, v[7]);
    c.insert(1, c[7]);
    const int seventh = model[7];
    model.insert(model.begin() + 1, seventh);
    expectBlock(v, model);
    expectBlock(c, model);
}

TEST(ZkVector, RemoveKeepsTheCapacity)
{
    NoLeak guard;
    ZkVector<Counted> v = {0, 1, 2, 3, 4, 5, 6};
    const int capacity = v.capacity();
    v.remove(6);
    v.remove(0);
    v.remove(1, 2);
    expectBlock(v, {1, 4, 5});
    v.remove(3, 0);
    v.remove(0, 3);
    expectBlock(v, {});
    EXPECT_EQ(v.capacity(), capacity);
}

// Taking out none moved every element onto itself, which empties a string.
TEST(ZkVector, RemovingNothingLeavesTheElementsAlone)
{
    NoLeak guard;
    for (int i = 0; i <= 3; ++i) {
        SCOPED_TRACE(i);
        ZkVector<std::string> words = {"first long enough for the heap", "second of that kind",
                                       "third of that kind as well"};
        const std::vector<std::string> model(words.cbegin(), words.cend());
        ZkVector<Counted> numbered = {1, 2, 3};
        words.remove(i, 0);
        numbered.remove(i, 0);
        EXPECT_EQ(std::vector<std::string>(words.cbegin(), words.cend()), model);
        expectBlock(numbered, {1, 2, 3});
    }
}

TEST(ZkVector, FindsAndCompares)
{
    const ZkVector<int> v = {4, 2, 4};
    EXPECT_EQ(v.indexOf(4), 0);
    EXPECT_EQ(v.indexOf(4, 1), 2);
    EXPECT_EQ(v.indexOf(4, -9), 0);
    EXPECT_EQ(v.indexOf(4, 3), -1);
    EXPECT_EQ(v.indexOf(4, INT_MAX), -1);
    EXPECT_FALSE(v.contains(3));
    EXPECT_EQ(v.value(1), 2);
    EXPECT_EQ(v.value(3), 0);
    EXPECT_EQ(v.value(-1, 7), 7);
    EXPECT_EQ(v, (ZkVector<int>{4, 2, 4}));
    EXPECT_NE(v, (ZkVector<int>{4, 2}));
    EXPECT_NE(v, (ZkVector<int>{4, 2, 5}));
    EXPECT_LT((ZkVector<int>{4, 2}), v);
    EXPECT_FALSE(v < v);
    EXPECT_LT(v, (ZkVector<int>{5}));
}

TEST(ZkVector, MatchesAModelThroughRandomChanges)
{
    NoLeak guard;
    std::mt19937 random(20240511);
    const auto below = [&random](int n) {
        return static_cast<int>(random() % static_cast<unsigned>(n));
    };
    std::vector<ZkVector<Counted>> copies(4);
    std::vector<ZkVector<int>> plain(4);
    std::vector<std::vector<int>> models(4);
    for (int round = 0; round < 20000; ++round) {
        const auto which = static_cast<std::size_t>(below(4));
        ZkVector<Counted> &v = copies[which];
        ZkVector<int> &p = plain[which];
        std::vector<int> &m = models[which];
        const int n = static_cast<int>(m.size());
        switch (below(9)) {
        case 0: {
            const auto other = static_cast<std::size_t>(below(4));
            v = copies[other];
            p = plain[other];
            m = models[other];
            break;
        }
        case 1: {
            const int size = below(40);
            v.resize(size);
            p.resize(size);
            m.resize(static_cast<std::size_t>(size));
            break;
        }
        case 2:
            if (n > 0) {
                const int i = below(n), count = below(n - i + 1);
                v.remove(i, count);
                p.remove(i, count);
                m.erase(m.begin() + i, m.begin() + i + count);
            }
            break;
        case 3:
            if (n > 0) {
                const int i = below(n);
                v.remove(i);
                p.remove(i);
                m.erase(m.begin() + i);
            }
            break;
        case 4:
            if (n > 0) {
                const int i = below(n);
                v[i] = round;
                p[i] = round;
                m[static_cast<std::size_t>(i)] = round;
            }
            break;
        case 5: {
            const int i = below(n + 1);
            v.insert(i, round);
            p.insert(i, round);
            m.insert(m.begin() + i, round);
            break;
        }
        case 6:
            if (n > 0 && n < 100) {
                const int i = below(n), count = below(n - i) + 1, at = below(n + 1);
                v.insert(at, v.constData() + i, count);
                p.insert(at, p.constData() + i, count);
                const std::vector<int> piece(m.begin() + i, m.begin() + i + count);
                m.insert(m.begin() + at, piece.begin(), piece.end());
            }
            break;
        default:
            v.append(round);
            p.append(round);
            m.push_back(round);
            break;
        }
        expectBlock(v, m);
        expectBlock(p, m);
        if (HasFatalFailure()) {
            FAIL() << "round " << round;
        }
    }
}

TEST(ZkVector, AFailedCopyLeavesTheVectorAsItWas)
{
    NoLeak guard;
    ZkVector<Throwing> original;
    for (int i = 0; i < 10; ++i) {
        original.append(Throwing(i));
    }
    void (*const writers[])(ZkVector<Throwing> &) = {
        [](ZkVector<Throwing> &v) { v.append(v.at(3)); },
        [](ZkVector<Throwing> &v) { v.append(v); },
        [](ZkVector<Throwing> &v) { v.last(); },
        [](ZkVector<Throwing> &v) { v.resize(50); },
        [](ZkVector<Throwing> &v) { v.remove(2); },
    };
    const std::vector<int> model = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    for (const auto write : writers) {
        for (int allowed : {0, 1, 5, 9}) {
            for (bool shared : {true, false}) {
                SCOPED_TRACE(testing::Message() << allowed << (shared ? " shared" : ""));
                ZkVector<Throwing> v = original;
                if (!shared) {
                    v.last();
                    if (write == writers[2] || write == writers[4]) {
                        continue; // in a block of its own nothing is copied
                    }
                    v.realloc(10, 10);
                }
                Throwing::allowance = allowed;
                EXPECT_THROW(write(v), std::runtime_error);
                Throwing::allowance = INT_MAX;
                expectBlock(v, model);
            }
        }
    }
}

// The count stayed too high, so the source copied itself for ever at each write and
// was never freed.
TEST(ZkVector, AFailedCopyOfAnUnsharableOneLeavesTheCountAsItWas)
{
    NoLeak guard;
    ZkVector<Throwing> original;
    for (int i = 0; i < 10; ++i) {
        original.append(Throwing(i));
    }
    original.setSharable(false);
    for (int allowed : {0, 1, 9}) {
        SCOPED_TRACE(allowed);
        Throwing::allowance = allowed;
        EXPECT_THROW(ZkVector<Throwing>{original}, std::runtime_error);
        Throwing::allowance = INT_MAX;
        EXPECT_EQ(ZkInspector::block(original)->ref.load(), 1);
    }
}

// --- Untyped blocks ---------------------------------------------------------

TEST(ZkVectorData, MallocCopiesHeaderAndElements)
{
    const ZkVector<int> v = counting(4);
    ZkVectorData *init = ZkInspector::block(v);
    for (int size : {0, 1, 4, 9, -1}) {
        SCOPED_TRACE(size);
        ZkVectorData *x = ZkVectorData::malloc(20, size, 4, init);
        EXPECT_EQ(std::memcmp(x, init, static_cast<std::size_t>(16 + 4 * std::clamp(size, 0, 4))),
                  0);
        ZkVectorData::freeData(x, 4);
    }
}

TEST(ZkVectorData, LargeAlignmentsAreKeptWithTheContents)
{
    for (int alignment : {16, 64, 4096}) {
        SCOPED_TRACE(alignment);
        const auto aligned = [alignment](void *x) {
            return reinterpret_cast<std::uintptr_t>(x) % static_cast<unsigned>(alignment) == 0;
        };
        ZkVectorData *x = ZkVectorData::allocate(10, alignment);
        ASSERT_TRUE(aligned(x));
        std::memcpy(x, "0123456789", 10);
        std::vector<ZkVectorData *> others;
        for (int size = 20; size < 200000; size = size * 3 / 2) {
            x = ZkVectorData::reallocate(x, size, size / 2, alignment);
            ASSERT_TRUE(aligned(x));
            ASSERT_EQ(std::memcmp(x, "0123456789", 10), 0);
            std::memset(reinterpret_cast<char *>(x) + 10, 0xAA,
                        static_cast<std::size_t>(size) - 10);
            others.push_back(ZkVectorData::allocate(size % 37, 8)); // stand in the way
        }
        ZkVectorData::freeData(x, alignment);
        for (ZkVectorData *other : others) {
            ZkVectorData::freeData(other, 8);
        }
        ZkVectorData *y = ZkVectorData::reallocate(nullptr, 8, 0, alignment);
        ASSERT_TRUE(aligned(y));
        ZkVectorData::freeData(y, alignment);
        EXPECT_EQ(ZkVectorData::allocate(INT_MAX, alignment), nullptr);
        ZkVectorData::freeData(nullptr, alignment);
    }
    ZkVectorData::freeData(nullptr, 8);
}

#ifndef ZK_MALLOC_IS_THE_SANITIZERS
TEST(ZkVectorData, AnAlignedBlockThatIsTooLargeIsNoneAndTheOldOneStays)
{
    inFreshProcess([] {
        ZkVectorData *x = ZkVectorData::allocate(100, 64);
        std::memset(static_cast<void *>(x), 0x5A, 100);
        rlimit limit = {};
        getrlimit(RLIMIT_AS, &limit);
        const rlimit little = {rlim_t(1) << 30, limit.rlim_max};
        if (setrlimit(RLIMIT_AS, &little) != 0 || std::malloc(INT_MAX - 4096) != nullptr) {
            return; // the emulator keeps no limit
        }
        EXPECT_EQ(ZkVectorData::reallocate(x, INT_MAX - 4096, 100, 64), nullptr);
        setrlimit(RLIMIT_AS, &limit);
        EXPECT_EQ(reinterpret_cast<const char *>(x)[99], 0x5A);
        ZkVectorData::freeData(x, 64);
    });
}
#endif

// --- Broken contracts -------------------------------------------------------

// Clang leaves the names of the template's arguments out of the class.
#ifdef __clang__
#    define SIGNATURE(result, argument, name, type)                                                \
        result "ZkVector<" argument ">::" name " \\[T = " type "\\]"
#else
#    define SIGNATURE(result, argument, name, type)                                                \
        result "ZkVector<T>::" name " \\[with T = " type "\\]"
#endif

TEST(ZkVectorDeathTest, ReportsAnIndexOutsideTheVector)
{
    ZkVector<int> v = counting(3);
    const ZkVector<int> &constant = v;
    for (int i : {-1, 3, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(i);
        EXPECT_DEATH(v[i] = 0, "\\.\\./include/pub/zkvector:257: T ?&");
        EXPECT_DEATH((void)constant[i], "\\.\\./include/pub/zkvector:250: const T ?&");
        EXPECT_DEATH((void)v.at(i), "zkvector:250: .*Assertion `i >= 0 && i < d->size' failed");
        EXPECT_DEATH(v.remove(i),
                     "\\.\\./include/pub/zkvector:284: void ZkVector<.*>::remove\\(int\\)"
                     ".*Assertion `i >= 0 && i < d->size' failed");
    }
    EXPECT_DEATH(
        v[3] = 0,
        "operator\\[\\]\\(int\\) \\[.*T = int\\]: Assertion `i >= 0 && i < d->size' failed");
    EXPECT_DEATH(
        (void)constant[3],
        "operator\\[\\]\\(int\\) const \\[.*T = int\\]: Assertion `i >= 0 && i < d->size' failed");
}

TEST(ZkVectorDeathTest, ReportsTheLastOfNone)
{
    ZkVector<Triple> v;
    const ZkVector<Triple> &constant = v;
    EXPECT_DEATH(v.last(), "\\.\\./include/pub/zkvector:147: T ?& ?ZkVector<.*>::last\\(\\) "
                           "\\[.*T = .*Triple\\]: Assertion `!isEmpty\\(\\)' failed");
    EXPECT_DEATH(constant.last(),
                 "\\.\\./include/pub/zkvector:147: const T ?& ?ZkVector<.*>::last\\(\\) const "
                 "\\[.*T = .*Triple\\]: Assertion `!isEmpty\\(\\)' failed");
}

TEST(ZkVectorDeathTest, ReportsASizeAboveTheCapacity)
{
    ZkVector<unsigned char> v;
    EXPECT_DEATH(v.realloc(4, 3), "\\.\\./include/pub/zkvector:368: " SIGNATURE(
                                      "void ", "unsigned char", "realloc\\(int, int\\)",
                                      "unsigned char") ": Assertion `asize <= aalloc' failed");
    EXPECT_DEATH(v.realloc(-3, -4), "Assertion `asize <= aalloc' failed");
    ZkVector<Counted> c;
    EXPECT_DEATH(c.realloc(1, 0),
                 "zkvector:368: .*T = Counted\\]: Assertion `asize <= aalloc' failed");
}

TEST(ZkVectorDeathTest, ReportsARangeOutsideTheVector)
{
    ZkVector<int> v = counting(3);
    EXPECT_DEATH(v.insert(4, 1), "Assertion `i >= 0 && i <= d->size' failed");
    EXPECT_DEATH(v.insert(-1, 1), "Assertion `i >= 0 && i <= d->size' failed");
    EXPECT_DEATH(v.remove(1, 3), "Assertion `i >= 0 && count >= 0 && i <= d->size - count' failed");
    EXPECT_DEATH(v.remove(1, -1), "Assertion");
    EXPECT_DEATH(v.remove(-1, 1), "Assertion");
    EXPECT_DEATH(v.remove(INT_MAX, INT_MAX), "Assertion");
}

TEST(ZkVectorDeathTest, ABlockOverTheLargestIntIsAFailedAllocation)
{
    ZkVector<int> v = counting(3);
    ZkVector<Counted> c(1, 1);
    EXPECT_DEATH(v.resize(INT_MAX / 4), "no memory for 2147483660 bytes");
    EXPECT_DEATH(v.resize(INT_MAX), "Assertion `asize <= aalloc' failed"); // growth ends below
    EXPECT_DEATH(v.realloc(0, INT_MAX), "no memory for 8589934604 bytes");
    EXPECT_DEATH(v.reserve(INT_MAX), "no memory for");
    EXPECT_DEATH(c.resize(INT_MAX), "no memory for");
    EXPECT_DEATH(v.appendUninitialized(INT_MAX), "no memory for");
    EXPECT_DEATH(v.appendUninitialized(INT_MAX / 4), "no memory for 2147483672 bytes");
    EXPECT_DEATH(ZkVector<int>(INT_MAX), "no memory for");
    EXPECT_DEATH(ZkVectorData::malloc(20, INT_MAX, 4, ZkInspector::block(v)), "no memory for");
}

// --- Threads ----------------------------------------------------------------

TEST(ZkVectorThreads, SharedBlocksAreCopiedWrittenAndDropped)
{
    for (int round = 0; round < 50; ++round) {
        ZkVector<ZkVector<int>> shared(8, counting(20));
        std::vector<std::thread> threads;
        for (int id = 0; id < 4; ++id) {
            threads.emplace_back([copy = shared, id]() mutable {
                for (int i = 0; i < 100; ++i) {
                    ZkVector<ZkVector<int>> mine = copy;
                    mine[i % 8][id] = i;
                    ASSERT_EQ(mine.at(i % 8).at(id), i);
                    ZkVector<int> row = copy.at(i % 8);
                    row.append(i);
                    ASSERT_EQ(row.size(), 21);
                }
                copy = ZkVector<ZkVector<int>>();
            });
        }
        shared.clear();
        for (std::thread &thread : threads) {
            thread.join();
        }
    }
}

} // namespace
