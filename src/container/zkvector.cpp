#include "zkvector.h"

#include "container/zkaligned.h"

#include <climits>
#include <cstdlib>
#include <cstring>

static_assert(sizeof(ZkVectorData) == 16, "four 32-bit words on every platform");
static_assert(offsetof(ZkVectorData, alloc) == 4 && offsetof(ZkVectorData, size) == 8,
              "the words stand in this order");

namespace
{

// From here on a block is taken to be as large as an int can tell.
constexpr std::int64_t kLargestExact = 0x3FFFFFFF;

// Up to here block sizes are multiples of 8, from here on powers of two.
constexpr int kSmallBlock = 64;

// Bytes of a block with `alloc` slots.
std::int64_t blockBytes(int alloc, int sizeofT)
{
    return static_cast<std::int64_t>(sizeof(ZkVectorData)) +
           static_cast<std::int64_t>(alloc) * sizeofT;
}

// The block size that takes `needed` bytes; among the small ones the next larger.
int blockFor(int needed)
{
    return needed < kSmallBlock ? 8 + needed / 8 * 8
                                : 1 << (32 - __builtin_clz(static_cast<unsigned>(needed) - 1));
}

// One and a half times `size`.
int halfAgain(int size)
{
    const std::int64_t half = static_cast<std::int64_t>(size) + size / 2;
    return static_cast<int>(std::min<std::int64_t>(half, INT_MAX));
}

} // namespace

ZkVectorData ZkVectorData::shared_null = {{1}, 0, 0, 1, 0, 0};

ZkVectorData *ZkVectorData::malloc(int sizeofTypedData, int size, int sizeofT, ZkVectorData *init)
{
    const auto bytes = [=](int slots) {
        return sizeofTypedData + (static_cast<std::int64_t>(slots) - 1) * sizeofT;
    };
    size = std::max(size, 0);
    void *block = zkAllocate(bytes(size));
    std::memcpy(block, init, static_cast<std::size_t>(bytes(std::min(size, init->alloc))));
    return static_cast<ZkVectorData *>(block);
}

ZkVectorData *ZkVectorData::allocate(int size, int alignment)
{
    return reallocate(nullptr, size, 0, alignment);
}

ZkVectorData *ZkVectorData::reallocate(ZkVectorData *old, int newSize, int /*oldSize*/,
                                       int alignment)
{
    newSize = std::max(newSize, 0);
    if (alignment <= kZkAllocatorAlignment) {
        return static_cast<ZkVectorData *>(zkReallocate(old, newSize));
    }
    if (newSize > INT_MAX - alignment) {
        return nullptr;
    }
    char *raw = old != nullptr ? static_cast<char *>(zkRawAddress(old)) : nullptr;
    const std::ptrdiff_t oldGap = old != nullptr ? reinterpret_cast<char *>(old) - raw : 0;
    const std::size_t bytes = static_cast<std::size_t>(newSize) + static_cast<unsigned>(alignment);
    raw = static_cast<char *>(std::realloc(raw, bytes));
    if (raw == nullptr) {
        return nullptr;
    }
    char *aligned = zkAlignedIn(raw, alignment);
    if (old != nullptr && aligned != raw + oldGap) {
        // The contents stand at their old offset from the raw address, but the aligned
        // address is now at another one.
        std::memmove(aligned, raw + oldGap, static_cast<std::size_t>(newSize));
    }
    zkRawAddress(aligned) = raw;
    return reinterpret_cast<ZkVectorData *>(aligned);
}

void ZkVectorData::freeData(ZkVectorData *x, int alignment)
{
    if (alignment <= kZkAllocatorAlignment) {
        std::free(x);
    } else if (x != nullptr) {
        std::free(zkRawAddress(x));
    }
}

int ZkVectorData::grow(int sizeofTypedData, int size, int sizeofT, bool excessive)
{
    size = std::max(size, 0);
    if (excessive) {
        return halfAgain(size);
    }
    const int header = sizeofTypedData - sizeofT;
    const std::int64_t needed = static_cast<std::int64_t>(size) * sizeofT + header;
    if (needed == 0 && header == 0) {
        return 0;
    }
    if (needed >= kLargestExact) {
        // Such a block cannot be allocated. The capacity is still reported, so that the
        // allocation that follows fails with its message.
        return INT_MAX / sizeofT;
    }
    return (blockFor(static_cast<int>(needed)) - header) / sizeofT;
}

int ZkVectorData::growBy(const ZkVectorData *x, int count, int sizeofT, bool excessive)
{
    const std::int64_t size = static_cast<std::int64_t>(x->size) + count;
    const std::int64_t bytes = static_cast<std::int64_t>(sizeof(ZkVectorData)) + size * sizeofT;
    if (bytes > INT_MAX) {
        zkAllocate(bytes); // reports the size and does not return
    }
    const int sizeofTypedData = static_cast<int>(sizeof(ZkVectorData)) + sizeofT;
    int capacity = x->alloc;
    if (count > 0 && !zkIsUnshared(x, &ZkVectorData::shared_null)) {
        capacity = 0; // the first append to a shared block sizes it afresh
    }
    if (capacity >= size) {
        return capacity;
    }
    if (!excessive && bytes >= kSmallBlock) {
        // Each step fills a block size, so the last one is the block that fits.
        return grow(sizeofTypedData, static_cast<int>(size), sizeofT, false);
    }
    for (int needed = capacity != 0 ? capacity : x->size; capacity < size; needed = capacity) {
        capacity =
            excessive ? halfAgain(needed + 1) : grow(sizeofTypedData, needed + 1, sizeofT, false);
    }
    return capacity;
}

ZkVectorData *ZkVectorData::create(const ZkVectorData *like, int aalloc, int sizeofT)
{
    ZkVectorData *x = static_cast<ZkVectorData *>(zkAllocate(blockBytes(aalloc, sizeofT)));
    *x = {{1}, aalloc, 0, 1, like->capacity, 0};
    return x;
}

ZkVectorData *ZkVectorData::resizePlain(ZkVectorData *x, int asize, int aalloc, int sizeofT)
{
    const int oldSize = x->size;
    if (!zkIsUnshared(x, &ZkVectorData::shared_null)) {
        ZkVectorData *copy = create(x, aalloc, sizeofT);
        const std::int64_t bytes = static_cast<std::int64_t>(std::min(asize, oldSize)) * sizeofT;
        std::memcpy(copy + 1, x + 1, static_cast<std::size_t>(bytes));
        if (zkRelease(x, &ZkVectorData::shared_null)) {
            freeData(x, kZkAllocatorAlignment); // unreachable: but between threads
        }
        x = copy;
    } else if (aalloc != x->alloc) {
        x = static_cast<ZkVectorData *>(zkReallocate(x, blockBytes(aalloc, sizeofT)));
        x->alloc = aalloc;
        x->sharable = 1;
    }
    if (asize > oldSize) {
        char *first =
            reinterpret_cast<char *>(x + 1) + static_cast<std::int64_t>(oldSize) * sizeofT;
        std::memset(first, 0,
                    static_cast<std::size_t>(asize - oldSize) * static_cast<unsigned>(sizeofT));
    }
    x->size = asize;
    return x;
}

ZkVectorData *ZkVectorData::makeRoom(ZkVectorData *x, int sizeofT)
{
    const int sizeofTypedData = static_cast<int>(sizeof(ZkVectorData)) + sizeofT;
    return resizePlain(x, x->size, grow(sizeofTypedData, x->size + 1, sizeofT, false), sizeofT);
}
