#include "zklist.h"

#include "zkvector.h"

#include <climits>

#if UINTPTR_MAX == UINT32_MAX
static_assert(offsetof(ZkListData::Data, array) == 20, "five 32-bit words before the slots");
#else
static_assert(offsetof(ZkListData::Data, array) == 24,
              "the slots stand at a multiple of their own size");
#endif

namespace
{

// Growth is reckoned for a 20-byte header and 4-byte slots on every machine, so
// that capacity() is the same on a 64-bit desktop as on the device. sizeof(void *)
// would look right here and change every capacity.
constexpr int kGrowthHeader = 20;
constexpr int kGrowthSlot = 4;

// Bytes of a block with `alloc` slots, on this machine.
std::int64_t blockBytes(int alloc)
{
    return static_cast<std::int64_t>(offsetof(ZkListData::Data, array)) +
           static_cast<std::int64_t>(alloc) * static_cast<std::int64_t>(sizeof(void *));
}

// A block of its own with `alloc` slots, nothing of it used.
ZkListData::Data *createBlock(int alloc)
{
    auto *x = static_cast<ZkListData::Data *>(zkAllocate(blockBytes(alloc)));
    x->ref = 1;
    x->alloc = alloc;
    x->begin = 0;
    x->end = 0;
    x->sharable = 1;
    return x;
}

// A capacity from an amount that may not fit an int; then no block can hold it.
int growFor(std::int64_t n)
{
    if (n > INT_MAX) {               // no test can tell: no block holds so many
        zkAllocate(n * kGrowthSlot); // reports the size and does not return
    }
    return ZkListData::grow(static_cast<int>(n));
}

// Moves `count` slots; the two places may overlap.
void moveSlots(void **to, void *const *from, int count)
{
    std::memmove(to, from, static_cast<std::size_t>(count) * sizeof(void *));
}

} // namespace

ZkListData::Data ZkListData::shared_null = {{1}, 0, 0, 0, 1, {nullptr}};

int ZkListData::grow(int n)
{
    return ZkVectorData::grow(kGrowthHeader + kGrowthSlot, n, kGrowthSlot, false);
}

ZkListData::Data *ZkListData::detach_grow(int *idx, int num)
{
    const int l = size();
    num = std::max(num, 0);
    const std::int64_t nl = static_cast<std::int64_t>(l) + num;
    Data *x = createBlock(growFor(nl));
    const int room = x->alloc - static_cast<int>(nl);
    // An insertion in the lower half is likely to be followed by another: leave room below.
    if (*idx < 0) {
        *idx = 0;
        x->begin = room / 2;
    } else if (*idx > l) {
        *idx = l;
    } else if (*idx < l / 2) {
        x->begin = room / 2;
    }
    x->end = x->begin + static_cast<int>(nl);
    return std::exchange(d, x);
}

ZkListData::Data *ZkListData::detach()
{
    Data *old = detach3();
    return zkRelease(old, &shared_null) ? old : nullptr;
}

ZkListData::Data *ZkListData::detach2()
{
    Data *x = createBlock(d->alloc);
    x->begin = d->begin;
    x->end = d->end;
    moveSlots(x->array, d->array, d->alloc);
    return std::exchange(d, x);
}

ZkListData::Data *ZkListData::detach(int alloc)
{
    Data *x = createBlock(std::max(alloc, 0));
    x->begin = std::min(d->begin, x->alloc);
    x->end = std::min(d->end, x->alloc);
    return std::exchange(d, x);
}

ZkListData::Data *ZkListData::detach3()
{
    return detach(d->alloc);
}

void ZkListData::realloc(int alloc)
{
    // The block of empty lists is static and must not be reallocated, whatever its count.
    ZK_CHECK_AT(isUnshared(), "d->ref == 1", "./src/zklist", 141, "void ZkListData::realloc(int)");
    alloc = std::max(alloc, 0);
    d = static_cast<Data *>(zkReallocate(d, blockBytes(alloc)));
    d->alloc = alloc;
    d->begin = std::min(d->begin, alloc);
    d->end = std::min(d->end, alloc);
}

void **ZkListData::append(int n)
{
    ZK_CHECK_AT(d->ref == 1, "d->ref == 1", "./src/zklist", 152, "void** ZkListData::append(int)");
    n = std::max(n, 0);
    int e = d->end;
    if (n > d->alloc - e) {
        if (static_cast<std::int64_t>(d->begin) - n >=
            static_cast<std::int64_t>(d->alloc) * 2 / 3) {
            e -= d->begin;
            moveSlots(d->array, begin(), e);
            d->begin = 0;
        } else {
            realloc(growFor(static_cast<std::int64_t>(d->alloc) + n));
        }
    }
    d->end = e + n;
    return d->array + e;
}

void **ZkListData::append()
{
    return append(1);
}

void **ZkListData::append(const ZkListData &l)
{
    ZK_CHECK_AT(d->ref == 1, "d->ref == 1", "./src/zklist", 175,
                "void** ZkListData::append(const ZkListData&)");
    const int e = d->end;
    const int n = l.size();
    if (n != 0) {
        if (n > d->alloc - e) {
            realloc(growFor(static_cast<std::int64_t>(e) + n));
        }
        moveSlots(d->array + e, l.begin(), n); // `l` may be this list
        d->end = e + n;
    }
    return d->array + e;
}

void **ZkListData::append2(const ZkListData &l)
{
    return append(l.size());
}

void **ZkListData::prepend()
{
    ZK_CHECK_AT(d->ref == 1, "d->ref == 1", "./src/zklist", 194, "void** ZkListData::prepend()");
    if (d->begin == 0) {
        if (d->end >= d->alloc / 3) {
            realloc(growFor(static_cast<std::int64_t>(d->alloc) + 1));
        }
        // A short run leaves as much room above itself as it is long.
        const int first = d->alloc - (d->end < d->alloc / 3 ? 2 * d->end : d->end);
        moveSlots(d->array + first, d->array, d->end);
        d->begin = first;
        d->end += first;
    }
    --d->begin;
    return begin();
}

void **ZkListData::insert(int i)
{
    ZK_CHECK_AT(d->ref == 1, "d->ref == 1", "./src/zklist", 212, "void** ZkListData::insert(int)");
    const int n = size();
    if (i <= 0) {
        return prepend();
    }
    if (i >= n) {
        return append();
    }
    bool moveLower = false;
    if (d->begin == 0) {
        if (d->end == d->alloc) {
            realloc(growFor(static_cast<std::int64_t>(d->alloc) + 1));
        }
    } else {
        // Where both ends have room, the upper part of two equal ones moves.
        moveLower = d->end == d->alloc || i < n - i;
    }
    if (moveLower) {
        moveSlots(begin() - 1, begin(), i);
        --d->begin;
    } else {
        moveSlots(at(i) + 1, at(i), n - i);
        ++d->end;
    }
    return at(i);
}

void ZkListData::remove(int i)
{
    ZK_CHECK_AT(d->ref == 1, "d->ref == 1", "./src/zklist", 244, "void ZkListData::remove(int)");
    const int n = size();
    if (i < 0 || i >= n) {
        return;
    }
    if (i >= n - i) {
        moveSlots(at(i), at(i) + 1, n - i - 1);
        --d->end;
    } else {
        moveSlots(begin() + 1, begin(), i);
        ++d->begin;
    }
}

void ZkListData::remove(int i, int n)
{
    ZK_CHECK_AT(d->ref == 1, "d->ref == 1", "./src/zklist", 259,
                "void ZkListData::remove(int, int)");
    if (i < 0 || n < 0 || i > size() - n) {
        return;
    }
    const int middle = i + n / 2;
    if (middle < size() - middle) {
        moveSlots(begin() + n, begin(), i);
        d->begin += n;
    } else {
        moveSlots(at(i), at(i) + n, size() - i - n);
        d->end -= n;
    }
}

void ZkListData::move(int from, int to)
{
    ZK_CHECK_AT(d->ref == 1, "d->ref == 1", "./src/zklist", 275, "void ZkListData::move(int, int)");
    const int n = size();
    if (from == to || from < 0 || from >= n || to < 0 || to >= n) {
        return;
    }
    void **const run = begin();
    void *const taken = run[from];
    const bool upwards = from < to;
    const std::int64_t way = upwards ? to - from : from - to;
    const bool isShort = 3 * way < 2 * static_cast<std::int64_t>(n);
    // For a long distance fewer slots are copied by shifting all the others, if there is
    // room at that end: the run then starts one slot higher or lower.
    if (upwards && (d->end == d->alloc || isShort)) {
        moveSlots(run + from, run + from + 1, to - from);
    } else if (upwards) {
        moveSlots(run + 1, run, from);
        moveSlots(run + to + 2, run + to + 1, n - to - 1);
        ++d->begin;
        ++d->end;
    } else if (d->begin == 0 || isShort) {
        moveSlots(run + to + 1, run + to, from - to);
    } else {
        moveSlots(run - 1, run, to);
        moveSlots(run + from, run + from + 1, n - from - 1);
        --d->begin;
        --d->end;
    }
    *at(to) = taken;
}

void **ZkListData::erase(void **xi)
{
    ZK_CHECK_AT(d->ref == 1, "d->ref == 1", "./src/zklist", 317,
                "void** ZkListData::erase(void**)");
    const std::ptrdiff_t i = xi - begin();
    if (i < 0 || i >= size()) {
        return xi;
    }
    remove(static_cast<int>(i));
    return at(static_cast<int>(i));
}
