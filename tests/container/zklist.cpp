#include "zklist.h"

#include "livecount.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

struct ZkInspector {
    template <typename T>
    static ZkListData::Data *block(const ZkList<T> &l)
    {
        return l.p.d;
    }
};

namespace
{

using testing::ElementsAre;
using testing::ElementsAreArray;

// The capacity for `n` slots: found by walking the block sizes of a 32-bit machine.
int capacityFor(std::int64_t n)
{
    const std::int64_t needed = 4 * n + 20;
    std::int64_t block = 8;
    if (needed < 64) {
        while (block <= needed) {
            block += 8;
        }
    } else {
        for (block = needed < 4096 ? 8 : 4096; block < needed;) {
            block *= 2;
        }
    }
    return static_cast<int>((block - 20) / 4);
}

// Slots that hold numbers in place of addresses.
void *slotOf(int number)
{
    return reinterpret_cast<void *>(static_cast<std::intptr_t>(number));
}
int numberIn(void *slot)
{
    return static_cast<int>(reinterpret_cast<std::intptr_t>(slot));
}

// A raw block with a run of 0, 1, 2 ... at `begin`; freed at the end of its scope.
class Slots
{
public:
    Slots(int alloc, int begin, int size) : data{&ZkListData::shared_null}
    {
        data.detach(alloc);
        data.d->begin = begin;
        data.d->end = begin + size;
        for (int i = 0; i < size; ++i) {
            *data.at(i) = slotOf(i);
        }
    }
    ~Slots() { std::free(data.d); }
    Slots(const Slots &) = delete;
    Slots &operator=(const Slots &) = delete;

    ZkListData *operator->() { return &data; }
    ZkListData &operator*() { return data; }
    std::vector<int> run() const
    {
        std::vector<int> numbers;
        std::transform(data.begin(), data.end(), std::back_inserter(numbers), numberIn);
        return numbers;
    }
    std::vector<int> place() const { return {data.d->alloc, data.d->begin, data.d->end}; }

    ZkListData data;
};

template <typename T>
std::vector<int> numbers(const ZkList<T> &l)
{
    return std::vector<int>(l.begin(), l.end());
}

// The invariants of a block, and the elements that it must hold.
template <typename T>
void expectBlock(const ZkList<T> &l, const std::vector<int> &model)
{
    const ZkListData::Data *d = ZkInspector::block(l);
    ASSERT_NE(d, nullptr);
    ASSERT_GE(d->ref.load(), 1);
    ASSERT_LE(0, d->begin);
    ASSERT_LE(d->begin, d->end);
    ASSERT_LE(d->end, d->alloc);
    ASSERT_EQ(numbers(l), model);
}

ZkList<Counted> counting(int size)
{
    ZkList<Counted> l;
    for (int i = 0; i < size; ++i) {
        l.append(Counted(i));
    }
    return l;
}

// --- The block --------------------------------------------------------------

TEST(ZkListData, HeaderIsTwentyBytesOnTheDevice)
{
    EXPECT_EQ(offsetof(ZkListData::Data, array), sizeof(void *) == 4 ? 20u : 24u);
    EXPECT_EQ(sizeof(ZkList<int>), sizeof(void *));
    EXPECT_EQ(offsetof(ZkListData::Data, alloc), 4u);
    EXPECT_EQ(offsetof(ZkListData::Data, begin), 8u);
    EXPECT_EQ(offsetof(ZkListData::Data, end), 12u);
}

TEST(ZkListData, EmptyListsShareOneBlock)
{
    const ZkListData::Data &null = ZkListData::shared_null;
    EXPECT_EQ(null.alloc, 0);
    EXPECT_EQ(null.begin, 0);
    EXPECT_EQ(null.end, 0);
    EXPECT_EQ(null.sharable, 1u);
    const int before = null.ref;
    EXPECT_GE(before, 1);
    {
        const ZkList<int> a, b;
        EXPECT_TRUE(a.isSharedWith(b));
        EXPECT_EQ(ZkInspector::block(a), &null);
        EXPECT_EQ(null.ref, before + 2);
    }
    EXPECT_EQ(null.ref, before);
}

TEST(ZkListData, GrowsAsOnA32BitMachineEverywhere)
{
    const struct {
        int n, capacity;
    } rows[] = {
        {0, 1},
        {1, 3},
        {2, 3},
        {3, 5},
        {4, 5},
        {10, 11},
        {11, 11},
        {12, 27},
        {100, 123},
        {1019, 1019},
        {1020, 2043},
        {(0x3FFFFFFF - 20) / 4, (0x40000000 - 20) / 4},
        {-1, 1},
        {INT_MIN, 1},
        {(0x3FFFFFFF - 20) / 4 + 1, 536870911},
        {INT_MAX, 536870911},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(ZkListData::grow(row.n), row.capacity) << row.n;
    }
    for (int n = 0; n < 20000; ++n) {
        ASSERT_EQ(ZkListData::grow(n), capacityFor(n)) << n;
    }
}

TEST(ZkListData, DetachGrowPlacesTheRunByTheIndex)
{
    const struct {
        const char *what;
        int size, idx, num, newIdx, begin;
    } rows[] = {
        // 6 and 7 slots come in a block of 7, 20 slots in one of 27.
        {"below the list: in the middle, at index 0", 5, -1, 1, 0, 0},
        {"below the list, free room 7", 17, INT_MIN, 3, 0, 3},
        {"in the lower half", 17, 7, 3, 7, 3},
        {"at half: a list to append to", 17, 8, 3, 8, 0},
        {"in the upper half", 17, 12, 3, 12, 0},
        {"the end", 17, 17, 3, 17, 0},
        {"past the end", 17, INT_MAX, 3, 17, 0},
        {"a negative number of slots is none", 17, 0, -3, 0, 5},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        Slots slots(30, 4, row.size);
        ZkListData::Data *before = slots->d;
        int idx = row.idx;
        ZkListData::Data *old = slots->detach_grow(&idx, row.num);
        const int nl = row.size + std::max(row.num, 0);
        EXPECT_EQ(old, before);
        EXPECT_EQ(old->ref, 1);
        EXPECT_EQ(idx, row.newIdx);
        EXPECT_THAT(slots.place(), ElementsAre(capacityFor(nl), row.begin, row.begin + nl));
        EXPECT_EQ(slots->d->ref, 1);
        EXPECT_EQ(slots->d->sharable, 1u);
        std::free(old);
    }
}

TEST(ZkListData, DetachKeepsThePlace)
{
    Slots slots(9, 2, 4);
    ZkListData::Data *old = slots->detach(12);
    EXPECT_THAT(slots.place(), ElementsAre(12, 2, 6));
    EXPECT_EQ(old->ref, 1);
    std::free(old);

    old = slots->detach3();
    EXPECT_THAT(slots.place(), ElementsAre(12, 2, 6));
    std::free(old);

    old = slots->detach(0);
    EXPECT_THAT(slots.place(), ElementsAre(0, 0, 0));
    std::free(old);

    Slots small(9, 2, 4);
    old = small->detach(3);
    EXPECT_THAT(small.place(), ElementsAre(3, 2, 3)) << "the run stays inside the block";
    std::free(old);
    old = small->detach(INT_MIN);
    EXPECT_THAT(small.place(), ElementsAre(0, 0, 0));
    std::free(old);
}

TEST(ZkListData, DetachToACopyOfTheSlots)
{
    Slots slots(9, 2, 4);
    slots->d->ref = 3;
    slots->d->sharable = 0;
    ZkListData::Data *old = slots->detach2();
    EXPECT_EQ(old->ref, 3);
    EXPECT_THAT(slots.place(), ElementsAre(9, 2, 6));
    EXPECT_THAT(slots.run(), ElementsAre(0, 1, 2, 3));
    EXPECT_EQ(slots->d->ref, 1);
    EXPECT_EQ(slots->d->sharable, 1u);
    std::free(old);
}

TEST(ZkListData, DetachReturnsTheOldBlockOnlyToItsLastOwner)
{
    Slots slots(5, 0, 2);
    ZkListData::Data *before = slots->d;
    before->ref = 2;
    EXPECT_EQ(slots->detach(), nullptr);
    EXPECT_EQ(before->ref, 1);
    std::free(slots->d);
    slots->d = before;
    EXPECT_EQ(slots->detach(), before);
    EXPECT_THAT(slots.place(), ElementsAre(5, 0, 2));
    std::free(before);
}

TEST(ZkListData, ReallocDropsWhatDoesNotFit)
{
    Slots slots(9, 2, 4);
    slots->realloc(20);
    EXPECT_THAT(slots.place(), ElementsAre(20, 2, 6));
    EXPECT_THAT(slots.run(), ElementsAre(0, 1, 2, 3));
    slots->realloc(4);
    EXPECT_THAT(slots.place(), ElementsAre(4, 2, 4));
    slots->realloc(0);
    EXPECT_THAT(slots.place(), ElementsAre(0, 0, 0));
    slots->realloc(-7);
    EXPECT_THAT(slots.place(), ElementsAre(0, 0, 0));
}

TEST(ZkListData, AppendMovesDownAFarRunBeforeItGrows)
{
    const struct {
        const char *what;
        int alloc, begin, size, n;
        std::vector<int> place;
        int at;
    } rows[] = {
        {"room above", 9, 0, 4, 5, {9, 0, 9}, 4},
        {"the first slot", 0, 0, 0, 1, {3, 0, 1}, 0},
        {"full: room for alloc + n", 5, 0, 5, 1, {7, 0, 6}, 5},
        {"begin - n is two thirds: down", 9, 7, 2, 1, {9, 0, 3}, 2},
        {"one less: grows and stays where it is", 9, 6, 3, 1, {11, 6, 10}, 9},
        {"two thirds are rounded down", 11, 8, 3, 1, {11, 0, 4}, 3},
        {"no slot", 5, 0, 5, 0, {5, 0, 5}, 5},
        {"a negative number is none", 5, 0, 5, INT_MIN, {5, 0, 5}, 5},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        Slots slots(row.alloc, row.begin, row.size);
        void **slot = slots->append(row.n);
        EXPECT_EQ(slot - slots->d->array, row.at);
        EXPECT_THAT(slots.place(), ElementsAreArray(row.place));
        for (int i = 0; i < row.size; ++i) {
            EXPECT_EQ(numberIn(*slots->at(i)), i);
        }
    }
}

TEST(ZkListData, AppendingSlotsOfAListNeverMovesDown)
{
    Slots slots(9, 7, 2), other(9, 3, 2);
    void **slot = slots->append(*other);
    EXPECT_THAT(slots.place(), ElementsAre(11, 7, 11));
    EXPECT_THAT(slots.run(), ElementsAre(0, 1, 0, 1));
    EXPECT_EQ(slot, slots->at(2));

    Slots far(9, 7, 2);
    slot = far->append2(*other); // 7 - 2 is below two thirds of 9
    EXPECT_THAT(far.place(), ElementsAre(11, 7, 11));
    EXPECT_EQ(slot, far->at(2));

    Slots none(9, 1, 0);
    slot = slots->append(*none);
    EXPECT_EQ(slot, slots->end());
    EXPECT_THAT(slots.run(), ElementsAre(0, 1, 0, 1));

    Slots self(3, 0, 3);
    self->append(*self);
    EXPECT_THAT(self.run(), ElementsAre(0, 1, 2, 0, 1, 2));
    EXPECT_EQ(self->d->alloc, 7);
}

TEST(ZkListData, PrependLeavesRoomBelow)
{
    const struct {
        const char *what;
        int alloc, begin, size;
        std::vector<int> place;
    } rows[] = {
        {"room below", 9, 2, 4, {9, 1, 6}},
        {"an empty block of none: the top slot of three", 0, 0, 0, {3, 2, 3}},
        {"full: the upper part of the grown block", 5, 0, 5, {7, 1, 7}},
        {"a third or more: grows, the run to the top", 9, 0, 3, {11, 7, 11}},
        {"less than a third: as much room above as it is long", 9, 0, 2, {9, 4, 7}},
        {"grown past three times the run: room above it", 11, 0, 3, {27, 20, 24}},
        {"the same with four", 11, 0, 4, {27, 18, 23}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        Slots slots(row.alloc, row.begin, row.size);
        void **slot = slots->prepend();
        EXPECT_EQ(slot, slots->begin());
        *slot = slotOf(-1);
        EXPECT_THAT(slots.place(), ElementsAreArray(row.place));
        std::vector<int> run(static_cast<std::size_t>(row.size) + 1);
        std::iota(run.begin(), run.end(), -1);
        EXPECT_THAT(slots.run(), ElementsAreArray(run));
    }
}

TEST(ZkListData, InsertMovesTheShorterSideAndTheUpperOfEqualSides)
{
    const struct {
        const char *what;
        int alloc, begin, size, i;
        std::vector<int> place;
        std::vector<int> run;
    } rows[] = {
        {"no room: grows, the upper part moves", 3, 0, 3, 1, {5, 0, 4}, {0, 9, 1, 2}},
        {"room above only", 5, 0, 3, 1, {5, 0, 4}, {0, 9, 1, 2}},
        {"room below only", 5, 2, 3, 2, {5, 1, 5}, {0, 1, 9, 2}},
        {"both: nearer the front", 8, 2, 4, 1, {8, 1, 6}, {0, 9, 1, 2, 3}},
        {"both: a tie moves the upper part", 8, 2, 4, 2, {8, 2, 7}, {0, 1, 9, 2, 3}},
        {"both: nearer the end", 8, 2, 4, 3, {8, 2, 7}, {0, 1, 2, 9, 3}},
        {"index 0 prepends", 8, 2, 2, 0, {8, 1, 4}, {9, 0, 1}},
        {"a negative index prepends", 8, 2, 2, INT_MIN, {8, 1, 4}, {9, 0, 1}},
        {"the size appends", 8, 2, 2, 2, {8, 2, 5}, {0, 1, 9}},
        {"past the end appends", 8, 2, 2, INT_MAX, {8, 2, 5}, {0, 1, 9}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        Slots slots(row.alloc, row.begin, row.size);
        *slots->insert(row.i) = slotOf(9);
        EXPECT_THAT(slots.place(), ElementsAreArray(row.place));
        EXPECT_THAT(slots.run(), ElementsAreArray(row.run));
    }
}

TEST(ZkListData, RemoveMovesTheShorterSideAndTheUpperOfEqualSides)
{
    const struct {
        const char *what;
        int size, i, n;
        std::vector<int> place; // of a block of 9 with the run at 2
        std::vector<int> run;
    } rows[] = {
        {"the first", 4, 0, 1, {9, 3, 6}, {1, 2, 3}},
        {"nearer the front", 4, 1, 1, {9, 3, 6}, {0, 2, 3}},
        {"the exact middle moves the upper part", 4, 2, 1, {9, 2, 5}, {0, 1, 3}},
        {"the last", 4, 3, 1, {9, 2, 5}, {0, 1, 2}},
        {"the middle of three lies nearer the front", 3, 1, 1, {9, 3, 5}, {0, 2}},
        {"the only one", 1, 0, 1, {9, 3, 3}, {}},
        {"two at the front", 5, 0, 2, {9, 4, 7}, {2, 3, 4}},
        {"two in the middle of four move the upper part", 4, 1, 2, {9, 2, 4}, {0, 3}},
        {"three in the middle: rounded down to the front", 5, 1, 3, {9, 5, 7}, {0, 4}},
        {"two at the end", 5, 3, 2, {9, 2, 5}, {0, 1, 2}},
        {"all", 4, 0, 4, {9, 2, 2}, {}},
        {"none", 4, 1, 0, {9, 2, 6}, {0, 1, 2, 3}},
        {"outside: negative index", 4, -1, 1, {9, 2, 6}, {0, 1, 2, 3}},
        {"outside: the end", 4, 4, 1, {9, 2, 6}, {0, 1, 2, 3}},
        {"outside: too many", 4, 2, INT_MAX, {9, 2, 6}, {0, 1, 2, 3}},
        {"outside: negative count", 4, 2, INT_MIN, {9, 2, 6}, {0, 1, 2, 3}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        Slots slots(9, 2, row.size);
        slots->remove(row.i, row.n);
        EXPECT_THAT(slots.place(), ElementsAreArray(row.place));
        EXPECT_THAT(slots.run(), ElementsAreArray(row.run));
        if (row.n == 1) {
            Slots single(9, 2, row.size), erased(9, 2, row.size);
            single->remove(row.i);
            EXPECT_THAT(single.place(), ElementsAreArray(row.place));
            EXPECT_THAT(single.run(), ElementsAreArray(row.run));
            void **xi = erased->at(row.i);
            void **next = erased->erase(xi);
            EXPECT_THAT(erased.place(), ElementsAreArray(row.place));
            EXPECT_THAT(erased.run(), ElementsAreArray(row.run));
            const bool inside = row.i >= 0 && row.i < row.size;
            EXPECT_EQ(next, inside ? erased->at(row.i) : xi);
        }
    }
}

TEST(ZkListData, MoveGoesTheShorterWayWhereThereIsRoom)
{
    const struct {
        const char *what;
        int alloc, begin, from, to; // six slots
        std::vector<int> place;
        std::vector<int> run;
    } rows[] = {
        {"nowhere", 9, 2, 3, 3, {9, 2, 8}, {0, 1, 2, 3, 4, 5}},
        {"up a little", 9, 2, 1, 4, {9, 2, 8}, {0, 2, 3, 4, 1, 5}},
        {"up two thirds: the run climbs", 9, 2, 0, 4, {9, 3, 9}, {1, 2, 3, 4, 0, 5}},
        {"up from inside, far", 9, 2, 1, 5, {9, 3, 9}, {0, 2, 3, 4, 5, 1}},
        {"up far, no room above", 8, 2, 0, 5, {8, 2, 8}, {1, 2, 3, 4, 5, 0}},
        {"down a little", 9, 2, 4, 1, {9, 2, 8}, {0, 4, 1, 2, 3, 5}},
        {"down two thirds: the run sinks", 9, 2, 4, 0, {9, 1, 7}, {4, 0, 1, 2, 3, 5}},
        {"down to inside, far", 9, 2, 5, 1, {9, 1, 7}, {0, 5, 1, 2, 3, 4}},
        {"down far, no room below", 9, 0, 5, 0, {9, 0, 6}, {5, 0, 1, 2, 3, 4}},
        {"outside: from", 9, 2, 6, 0, {9, 2, 8}, {0, 1, 2, 3, 4, 5}},
        {"outside: to", 9, 2, 0, INT_MAX, {9, 2, 8}, {0, 1, 2, 3, 4, 5}},
        {"outside: negative", 9, 2, INT_MIN, -1, {9, 2, 8}, {0, 1, 2, 3, 4, 5}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        Slots slots(row.alloc, row.begin, 6);
        slots->move(row.from, row.to);
        EXPECT_THAT(slots.place(), ElementsAreArray(row.place));
        EXPECT_THAT(slots.run(), ElementsAreArray(row.run));
    }
}

TEST(ZkListData, MatchesAModelThroughRandomChanges)
{
    std::mt19937 random(4711);
    const auto below = [&random](int n) {
        return static_cast<int>(random() % static_cast<unsigned>(n));
    };
    Slots slots(0, 0, 0);
    std::vector<int> model;
    for (int round = 0; round < 50000; ++round) {
        const int n = static_cast<int>(model.size());
        // Swings between a handful and some dozens.
        const int kind = below(8) + ((round / 500) % 2 == 0 ? 0 : 3);
        if (kind < 2) {
            const int i = below(n + 1);
            *slots->insert(i) = slotOf(round);
            model.insert(model.begin() + i, round);
        } else if (kind == 2) {
            const int count = below(4);
            void **slot = slots->append(count);
            for (int i = 0; i < count; ++i) {
                slot[i] = slotOf(round + i);
                model.push_back(round + i);
            }
        } else if (kind == 3) {
            *slots->prepend() = slotOf(round);
            model.insert(model.begin(), round);
        } else if (n > 0 && kind < 6) {
            const int from = below(n), to = below(n);
            slots->move(from, to);
            const int taken = model[static_cast<std::size_t>(from)];
            model.erase(model.begin() + from);
            model.insert(model.begin() + to, taken);
        } else if (n > 0 && kind < 9) {
            const int i = below(n);
            slots->remove(i);
            model.erase(model.begin() + i);
        } else if (n > 0) {
            const int i = below(n), count = below(n - i + 1) / 3;
            slots->remove(i, count);
            model.erase(model.begin() + i, model.begin() + i + count);
        }
        ASSERT_GE(slots->d->begin, 0);
        ASSERT_LE(slots->d->end, slots->d->alloc);
        ASSERT_EQ(slots.run(), model) << "round " << round;
    }
}

// --- The list ---------------------------------------------------------------

TEST(ZkList, TheFirstAppendTakesThreeSlots)
{
    ZkList<int> l;
    l.append(7);
    EXPECT_EQ(l.capacity(), 3);
    EXPECT_EQ(ZkInspector::block(l)->begin, 0);
    EXPECT_EQ(l.at(0), 7);
    std::vector<int> steps;
    for (int i = 0; i < 120; ++i) {
        if (steps.empty() || steps.back() != l.capacity()) {
            steps.push_back(l.capacity());
        }
        l.append(i);
    }
    // Each step asks for one slot more than the block has.
    EXPECT_THAT(steps, ElementsAre(3, 5, 7, 9, 11, 27, 59, 123));
}

TEST(ZkList, PointersStandInTheSlotsOthersInNodes)
{
    int number = 5;
    const char *text = "x";
    ZkList<int *> pointers;
    ZkList<const char *> texts;
    ZkList<int> values;
    pointers.append(&number);
    texts.append(text);
    values.append(number);
    EXPECT_EQ(*ZkInspector::block(pointers)->array, &number);
    EXPECT_EQ(*ZkInspector::block(texts)->array, text);
    EXPECT_EQ(*static_cast<int *>(*ZkInspector::block(values)->array), 5);
    EXPECT_EQ(&values.at(0), *ZkInspector::block(values)->array);

    const int *node = &values.at(0);
    for (int i = 0; i < 1000; ++i) {
        values.prepend(i);
    }
    EXPECT_EQ(&values.at(1000), node) << "nodes stay where they are";
}

TEST(ZkList, CopiesShareUntilTheFirstWrite)
{
    NoLeak guard;
    ZkList<Counted> a = counting(5);
    const int alive = Counted::alive;
    ZkList<Counted> b = a, c;
    c = b;
    EXPECT_TRUE(a.isSharedWith(b) && b.isSharedWith(c));
    EXPECT_EQ(ZkInspector::block(a)->ref, 3);
    EXPECT_EQ(Counted::alive, alive);

    const ZkList<Counted> &readOnly = b;
    EXPECT_EQ(readOnly[2] + readOnly.last() + *readOnly.begin() + b.at(1) + *b.cbegin() +
                  b.value(4),
              2 + 4 + 0 + 1 + 0 + 4);
    EXPECT_TRUE(a.isSharedWith(b)) << "reading detached";

    b[2] = 20;
    EXPECT_FALSE(a.isSharedWith(b));
    expectBlock(a, {0, 1, 2, 3, 4});
    expectBlock(b, {0, 1, 20, 3, 4});
    EXPECT_EQ(b.capacity(), a.capacity());
    EXPECT_EQ(ZkInspector::block(a)->ref, 2);
    EXPECT_EQ(Counted::alive, alive + 5);
}

TEST(ZkList, EveryMutableAccessDetaches)
{
    NoLeak guard;
    void (*const writers[])(ZkList<Counted> &) = {
        [](ZkList<Counted> &l) { l[0] = 9; },
        [](ZkList<Counted> &l) { l.last() = 9; },
        [](ZkList<Counted> &l) { *l.begin() = 9; },
        [](ZkList<Counted> &l) { *(l.end() - 1) = 9; },
        [](ZkList<Counted> &l) { l.append(9); },
        [](ZkList<Counted> &l) { l.prepend(9); },
        [](ZkList<Counted> &l) { l.insert(1, 9); },
        [](ZkList<Counted> &l) { l.insert(2, 9); },
        [](ZkList<Counted> &l) { l.remove(0); },
        [](ZkList<Counted> &l) { l.remove(0, 2); },
        [](ZkList<Counted> &l) { l.move(0, 2); },
        [](ZkList<Counted> &l) { l.exchange(0, 2); },
        [](ZkList<Counted> &l) { l.clear(); },
        [](ZkList<Counted> &l) { l.append(l); },
        [](ZkList<Counted> &l) { l.reserve(1); },
        [](ZkList<Counted> &l) { l.setSharable(false); },
    };
    int row = 0;
    for (const auto write : writers) {
        SCOPED_TRACE(row++);
        const ZkList<Counted> a = counting(3);
        ZkList<Counted> b = a;
        write(b);
        EXPECT_FALSE(a.isSharedWith(b));
        expectBlock(a, {0, 1, 2});
    }
}

TEST(ZkList, ChangesOutsideTheListDoNotDetach)
{
    const ZkList<Counted> a = counting(3);
    ZkList<Counted> b = a;
    b.remove(3);
    b.remove(-1);
    b.remove(1, 3);
    b.remove(0, 0);
    b.remove(2, INT_MAX);
    b.move(1, 1);
    b.exchange(0, 3);
    b.append(ZkList<Counted>());
    EXPECT_TRUE(a.isSharedWith(b));
    b.move(0, 3);
    expectBlock(b, {0, 1, 2});
}

TEST(ZkList, DetachingInFavourOfAppending)
{
    ZkList<Counted> a = counting(16);
    a.prepend(-1); // the run now sits high in a block of 27
    ASSERT_GT(ZkInspector::block(a)->begin, 0);
    ZkList<Counted> b = a, c = a, e = a, f = a;
    b.append(9);
    EXPECT_EQ(ZkInspector::block(b)->begin, 0);
    EXPECT_EQ(b.capacity(), 27);
    c.insert(8, 9); // half of 17
    EXPECT_EQ(ZkInspector::block(c)->begin, 0);
    EXPECT_EQ(c.at(8), 9);
    e.insert(7, 9);
    EXPECT_EQ(ZkInspector::block(e)->begin, (27 - 18) / 2);
    EXPECT_EQ(e.at(7), 9);
    EXPECT_EQ(e.at(8), 7 - 1);
    f.insert(-4, 9);
    EXPECT_EQ(ZkInspector::block(f)->begin, (27 - 18) / 2);
    EXPECT_EQ(f.at(0), 9);
    ZkList<Counted> g = a;
    g[0] = 3;
    EXPECT_EQ(ZkInspector::block(g)->begin, ZkInspector::block(a)->begin);
}

TEST(ZkList, ACopyOfAnUnsharableListOwnsItsBlock)
{
    NoLeak guard;
    ZkList<Counted> a = counting(3);
    a.setSharable(false);
    const ZkList<Counted> b = a;
    EXPECT_FALSE(a.isSharedWith(b));
    expectBlock(b, {0, 1, 2});
    EXPECT_EQ(ZkInspector::block(a)->ref, 1);
    EXPECT_EQ(ZkInspector::block(b)->sharable, 1u);
    ZkList<Counted> c;
    c = a;
    EXPECT_FALSE(c.isSharedWith(a));
    a.setSharable(true);
    c = a;
    EXPECT_TRUE(c.isSharedWith(a));
}

TEST(ZkList, MovedFromListsAreUsable)
{
    NoLeak guard;
    ZkList<Counted> a = counting(3);
    const ZkListData::Data *block = ZkInspector::block(a);
    ZkList<Counted> b = std::move(a);
    EXPECT_EQ(ZkInspector::block(b), block);
    expectBlock(a, {});
    a.append(1);
    a = std::move(b);
    expectBlock(a, {0, 1, 2});
    ASSERT_NE(ZkInspector::block(b), nullptr);
    b.append(5);
    swap(a, b);
    expectBlock(a, {1, 5});
    a = *&a;
    expectBlock(a, {1, 5});
}

TEST(ZkList, TakesElementsOfItself)
{
    NoLeak guard;
    ZkList<Counted> l;
    std::vector<int> model = {1};
    l.append(1);
    for (int i = 0; i < 100; ++i) {
        const bool shared = i % 7 == 0;
        const ZkList<Counted> other = shared ? l : ZkList<Counted>();
        const auto at = static_cast<std::size_t>(i / 2);
        switch (i % 3) {
        case 0:
            l.append(l.at(i / 2));
            model.push_back(model[at]);
            break;
        case 1:
            l.prepend(l.at(i / 2));
            model.insert(model.begin(), int(model[at]));
            break;
        default:
            l.insert(i / 3, l.at(i / 2));
            model.insert(model.begin() + i / 3, int(model[at]));
            break;
        }
        expectBlock(l, model);
    }
    l.append(l);
    model.insert(model.end(), model.begin(), model.begin() + 101);
    expectBlock(l, model);
    const ZkList<Counted> other = l;
    l.append(l);
    model.insert(model.end(), model.begin(), model.begin() + 202);
    expectBlock(l, model);

    int number = 3;
    ZkList<int *> pointers = {&number, nullptr};
    for (int i = 0; i < 100; ++i) {
        pointers.append(pointers.at(0));
        pointers.prepend(pointers.at(0));
    }
    EXPECT_EQ(pointers.size(), 202);
    EXPECT_EQ(pointers.indexOf(nullptr), 101);
    EXPECT_EQ(pointers.last(), &number);
}

TEST(ZkList, FindsAndCompares)
{
    const ZkList<int> l = {4, 2, 4};
    EXPECT_EQ(l.indexOf(4), 0);
    EXPECT_EQ(l.indexOf(4, 1), 2);
    EXPECT_EQ(l.indexOf(4, -9), 0);
    EXPECT_EQ(l.indexOf(4, INT_MAX), -1);
    EXPECT_FALSE(l.contains(3));
    EXPECT_EQ(l.value(1), 2);
    EXPECT_EQ(l.value(3), 0);
    EXPECT_EQ(l.value(-1, 7), 7);
    EXPECT_EQ(l, (ZkList<int>{4, 2, 4}));
    EXPECT_NE(l, (ZkList<int>{4, 2}));
    EXPECT_NE(l, (ZkList<int>{4, 2, 5}));
    EXPECT_LT((ZkList<int>{4, 2}), l);
    EXPECT_FALSE(l < l);
}

TEST(ZkList, WorksWithAlgorithms)
{
    ZkList<int> l = {3, 1, 2};
    const ZkList<int> copy = l;
    std::sort(l.begin(), l.end());
    EXPECT_THAT(l, ElementsAre(1, 2, 3));
    EXPECT_THAT(copy, ElementsAre(3, 1, 2));
    int sum = 0;
    for (const int n : copy) {
        sum += n;
    }
    EXPECT_EQ(sum, 6);
    ZkList<int>::const_iterator it = l.begin();
    EXPECT_EQ(it[2], 3);
    EXPECT_EQ(l.cend() - it, 3);
    EXPECT_EQ(*--(it += 2), 2);
    EXPECT_EQ(*(1 + it), 3);
    EXPECT_TRUE(it > l.cbegin() && it <= l.cend() && it-- >= l.cbegin() && it++ < l.cend());
    l.exchange(0, 2);
    EXPECT_THAT(l, ElementsAre(3, 2, 1));
    const std::vector<std::string> source = {"a", "b"};
    EXPECT_THAT(ZkList<std::string>(source.begin(), source.end()), ElementsAre("a", "b"));
    l.clear();
    EXPECT_TRUE(l.isSharedWith(ZkList<int>()));
}

TEST(ZkList, MatchesAModelThroughRandomChanges)
{
    NoLeak guard;
    std::mt19937 random(20240512);
    const auto below = [&random](int n) {
        return static_cast<int>(random() % static_cast<unsigned>(n));
    };
    std::vector<ZkList<Counted>> lists(4);
    std::vector<std::vector<int>> models(4);
    for (int round = 0; round < 20000; ++round) {
        const auto which = static_cast<std::size_t>(below(4));
        ZkList<Counted> &l = lists[which];
        std::vector<int> &m = models[which];
        const int n = static_cast<int>(m.size());
        const int i = below(n + 1), j = below(n + 1);
        switch (below(10)) {
        case 0: {
            const auto other = static_cast<std::size_t>(below(4));
            l = lists[other];
            m = models[other];
            break;
        }
        case 1:
            if (n < 60) {
                const auto other = static_cast<std::size_t>(below(4));
                l.append(lists[other]);
                const std::vector<int> tail = models[other];
                m.insert(m.end(), tail.begin(), tail.end());
            }
            break;
        case 2: {
            const int count = below(n - i + 1);
            l.remove(i, count);
            m.erase(m.begin() + i, m.begin() + i + count);
            break;
        }
        case 3:
            l.remove(i);
            if (i < n) {
                m.erase(m.begin() + i);
            }
            break;
        case 4:
            if (i < n) {
                l[i] = round;
                m[static_cast<std::size_t>(i)] = round;
            }
            break;
        case 5:
            l.move(i, j);
            if (i < n && j < n) {
                const int taken = m[static_cast<std::size_t>(i)];
                m.erase(m.begin() + i);
                m.insert(m.begin() + j, taken);
            }
            break;
        case 6:
            l.prepend(round);
            m.insert(m.begin(), round);
            break;
        case 7:
            l.append(round);
            m.push_back(round);
            break;
        case 8: l.reserve(below(40)); break;
        default:
            l.insert(i, round);
            m.insert(m.begin() + i, round);
            break;
        }
        expectBlock(l, m);
        if (HasFatalFailure()) {
            FAIL() << "round " << round;
        }
    }
}

// --- Elements that throw ----------------------------------------------------

TEST(ZkList, AFailedCopyLeavesTheListAsItWas)
{
    NoLeak guard;
    ZkList<Throwing> original;
    for (int i = 0; i < 10; ++i) {
        original.append(Throwing(i));
    }
    void (*const writers[])(ZkList<Throwing> &) = {
        [](ZkList<Throwing> &l) { l.append(l.at(3)); },
        [](ZkList<Throwing> &l) { l.insert(2, l.at(3)); },
        [](ZkList<Throwing> &l) { l.last(); },
        [](ZkList<Throwing> &l) { l.reserve(50); },
    };
    const std::vector<int> model = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    int row = 0;
    for (const auto write : writers) {
        SCOPED_TRACE(row++);
        for (int allowed : {0, 1, 5, 9}) {
            SCOPED_TRACE(allowed);
            ZkList<Throwing> l = original;
            Throwing::allowance = allowed;
            EXPECT_THROW(write(l), std::runtime_error);
            Throwing::allowance = INT_MAX;
            EXPECT_TRUE(l.isSharedWith(original));
            expectBlock(l, model);
        }
    }
    Throwing::allowance = 0;
    EXPECT_THROW(original.append(original.at(3)), std::runtime_error);
    Throwing::allowance = 2;
    EXPECT_THROW(original.append(original), std::runtime_error);
    Throwing::allowance = INT_MAX;
    expectBlock(original, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 1});
}

// The count stayed too high, so the source copied itself for ever at each write and
// was never freed.
TEST(ZkList, AFailedCopyOfAnUnsharableOneLeavesTheCountAsItWas)
{
    NoLeak guard;
    ZkList<Throwing> original;
    for (int i = 0; i < 10; ++i) {
        original.append(Throwing(i));
    }
    original.setSharable(false);
    for (int allowed : {0, 1, 9}) {
        SCOPED_TRACE(allowed);
        Throwing::allowance = allowed;
        EXPECT_THROW(ZkList<Throwing>{original}, std::runtime_error);
        Throwing::allowance = INT_MAX;
        EXPECT_EQ(ZkInspector::block(original)->ref.load(), 1);
    }
}

// --- Broken contracts -------------------------------------------------------

TEST(ZkListDeathTest, ChangingSharedSlotsStopsTheProcess)
{
    Slots slots(9, 2, 4), other(9, 2, 4);
    slots->d->ref = 2;
    const struct {
        void (*change)(ZkListData &);
        const char *report;
    } rows[] = {
        {[](ZkListData &l) { l.realloc(20); }, ":141: void ZkListData::realloc\\(int\\): "},
        {[](ZkListData &l) { l.append(3); }, ":152: void\\*\\* ZkListData::append\\(int\\): "},
        {[](ZkListData &l) { l.append(); }, ":152: void\\*\\* ZkListData::append\\(int\\): "},
        {[](ZkListData &l) { l.append(l); },
         ":175: void\\*\\* ZkListData::append\\(const ZkListData&\\): "},
        {[](ZkListData &l) { l.append2(l); }, ":152: void\\*\\* ZkListData::append\\(int\\): "},
        {[](ZkListData &l) { l.prepend(); }, ":194: void\\*\\* ZkListData::prepend\\(\\): "},
        {[](ZkListData &l) { l.insert(0); }, ":212: void\\*\\* ZkListData::insert\\(int\\): "},
        {[](ZkListData &l) { l.remove(99); }, ":244: void ZkListData::remove\\(int\\): "},
        {[](ZkListData &l) { l.remove(1, 2); }, ":259: void ZkListData::remove\\(int, int\\): "},
        {[](ZkListData &l) { l.move(1, 1); }, ":275: void ZkListData::move\\(int, int\\): "},
        {[](ZkListData &l) { l.erase(l.at(1)); },
         ":317: void\\*\\* ZkListData::erase\\(void\\*\\*\\): "},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.report);
        EXPECT_DEATH(row.change(*slots),
                     std::string("\\./src/zklist") + row.report + "Assertion `d->ref == 1' failed");
    }
    slots->d->ref = 1;
}

TEST(ZkListDeathTest, TheBlockOfEmptyListsIsNeverReallocated)
{
    ZkListData data = {&ZkListData::shared_null};
    EXPECT_DEATH(data.append(), "\\./src/zklist:141: .*Assertion `d->ref == 1' failed");
}

TEST(ZkListDeathTest, ReportsAnIndexOutsideTheList)
{
    ZkList<int> l = {0, 1, 2};
    for (int i : {-1, 3, INT_MAX, INT_MIN}) {
        SCOPED_TRACE(i);
        EXPECT_DEATH((void)l.at(i),
                     "\\.\\./include/pub/zklist:446: const T ?& ?ZkList<.*>::at\\(int\\) const "
                     "\\[.*T = int\\]: Assertion `i >= 0 && i < p.size\\(\\)' failed");
        EXPECT_DEATH(l[i] = 0,
                     "\\.\\./include/pub/zklist:460: T ?& ?ZkList<.*>::operator\\[\\]\\(int\\) "
                     "\\[.*T = int\\]: Assertion `i >= 0 && i < p.size\\(\\)' failed");
    }
    ZkList<int> none;
    const ZkList<int> &constant = none;
    EXPECT_DEATH(none.last(), "\\.\\./include/pub/zklist:291: T ?& ?ZkList<.*>::last\\(\\) "
                              "\\[.*T = int\\]: Assertion `!isEmpty\\(\\)' failed");
    EXPECT_DEATH(constant.last(),
                 "\\.\\./include/pub/zklist:291: const T ?& ?ZkList<.*>::last\\(\\) "
                 "const \\[.*T = int\\]: Assertion `!isEmpty\\(\\)' failed");
}

TEST(ZkListDeathTest, ABlockOverTheLargestIntIsAFailedAllocation)
{
    ZkList<int> l = {1};
    EXPECT_DEATH(l.reserve(INT_MAX), "no memory for");
    Slots slots(5, 0, 5);
    int idx = 0;
    EXPECT_DEATH(slots->append(INT_MAX), "no memory for");
    EXPECT_DEATH(slots->append(INT_MAX / 4), "no memory for");
    EXPECT_DEATH(slots->realloc(INT_MAX), "no memory for");
    EXPECT_DEATH(slots->detach(INT_MAX), "no memory for");
    EXPECT_DEATH(slots->detach_grow(&idx, INT_MAX), "no memory for");
    EXPECT_DEATH(slots->detach_grow(&idx, INT_MAX - 5), "no memory for");
}

// --- Threads ----------------------------------------------------------------

TEST(ZkListThreads, SharedBlocksAreCopiedWrittenAndDropped)
{
    for (int round = 0; round < 50; ++round) {
        ZkList<ZkList<int>> shared;
        for (int i = 0; i < 8; ++i) {
            shared.append({1, 2, 3, 4});
        }
        std::vector<std::thread> threads;
        for (int id = 0; id < 4; ++id) {
            threads.emplace_back([copy = shared, id]() mutable {
                for (int i = 0; i < 100; ++i) {
                    ZkList<ZkList<int>> mine = copy;
                    mine[i % 8][id] = i;
                    ASSERT_EQ(mine.at(i % 8).at(id), i);
                    ZkList<int> row = copy.at(i % 8);
                    row.prepend(i);
                    ASSERT_EQ(row.size(), 5);
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
