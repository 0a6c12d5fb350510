#ifndef ZKVECTOR_H
#define ZKVECTOR_H

#include "private/zksharing.h"
#include "zkglobal.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

/// The header of a vector's block and everything about a block that does not
/// depend on the element type. The elements follow the header directly:
///
///     | ref | alloc | size | flags | element 0 | element 1 | ... | alloc - 1 |
///
/// Sizes are counted in int; a block of more than INT_MAX bytes is a failed
/// allocation. A "typed data size" is the header plus one element.
struct ZK_EXPORT ZkVectorData {
    ZkRefCount ref;             ///< vectors that share the block
    int alloc;                  ///< element slots
    int size;                   ///< living elements, 0 <= size <= alloc
    std::uint32_t sharable : 1; ///< cleared: every copy of the vector copies the elements at once
    std::uint32_t capacity : 1; ///< set: slots were reserved, shrinking keeps them
    std::uint32_t reserved : 30;

    /// The block of every empty vector. Its own count keeps it from being freed.
    static ZkVectorData shared_null;

    /// A new block of `size` slots that starts as a byte copy of `init`: header
    /// (count included) and as many slots as both have.
    static ZkVectorData *malloc(int sizeofTypedData, int size, int sizeofT, ZkVectorData *init);

    /// `size` bytes at a multiple of `alignment`, a power of two. Up to 8 that is
    /// a plain allocation, which never returns null; above 8 the address of the
    /// raw memory stands in the word before the result, and null tells failure.
    static ZkVectorData *allocate(int size, int alignment);

    /// Gives `old` (made with the same `alignment`, or null) the new size in bytes
    /// and keeps its contents. `oldSize` is not looked at. Fails as `allocate` does.
    static ZkVectorData *reallocate(ZkVectorData *old, int newSize, int oldSize, int alignment);

    /// Frees what `allocate` or `reallocate` gave for the same `alignment`. Null is fine.
    static void freeData(ZkVectorData *x, int alignment);

    /// The capacity, in elements, of a vector that must hold `size` of them: half
    /// as many again when `excessive`, else what fits the next block size (steps of
    /// 8 bytes up to 64, then powers of two, header included).
    static int grow(int sizeofTypedData, int size, int sizeofT, bool excessive);

    /// The capacity that appending `count` elements one by one to `x` arrives at.
    static int growBy(const ZkVectorData *x, int count, int sizeofT, bool excessive);

    /// A fresh unshared block of `aalloc` slots and no element; the reserved flag is `like`'s.
    static ZkVectorData *create(const ZkVectorData *like, int aalloc, int sizeofT);

    /// The block of a vector of plain elements after a change to `asize` elements
    /// and `aalloc` slots: `x` itself, moved by the allocator, or a copy when `x` is
    /// shared. New elements are zero bytes. The caller's share of `x` is used up.
    static ZkVectorData *resizePlain(ZkVectorData *x, int asize, int aalloc, int sizeofT);

    /// The block of a vector of plain elements with room to append one: `x` moved, or
    /// a copy. The caller's share of `x` is used up.
    static ZkVectorData *makeRoom(ZkVectorData *x, int sizeofT);
};

/// An array in one heap block that copies share.
///
/// A vector is one pointer to its block, never null. Copying counts the new owner
/// and copies nothing; the first write through a vector whose block is shared
/// makes its own copy ("detaches"). Every non-const member detaches, non-const
/// `operator[]`, `last`, `data`, `begin` and `end` too; const members never do, so
/// read through a const reference or `constData`. Pointers and iterators hold until
/// the next call of a non-const member.
///
/// Numbers, enumerations and pointers are moved as bytes and start as zero; every
/// other type is constructed and destroyed element by element.
///
///     ZkVector<int> a = {1, 2, 3};
///     ZkVector<int> b = a;  // a.isSharedWith(b)
///     b.append(4);          // a.size() is 3, b.size() is 4
///
/// Distinct vectors may be used by different threads, even when they share a
/// block; one vector is used by one thread at a time.
template <typename T>
class ZkVector
{
public:
    typedef T value_type;
    typedef T &reference;
    typedef const T &const_reference;
    typedef T *pointer;
    typedef const T *const_pointer;
    typedef T *iterator;
    typedef const T *const_iterator;
    typedef int size_type;
    typedef std::ptrdiff_t difference_type;

    /// An empty vector; allocates nothing.
    ZkVector() noexcept : d(&ZkVectorData::shared_null) { zkRetain(d, &ZkVectorData::shared_null); }
    /// `size` elements, zero or default-constructed, in exactly as many slots.
    /// A negative size counts as 0.
    explicit ZkVector(int size);
    /// `size` copies of `value` in exactly as many slots. A negative size counts as 0.
    ZkVector(int size, const T &value);
    /// Copies `count` elements; the capacity is that of appending them one by one.
    ZkVector(const T *first, int count) : ZkVector() { append(first, count); }
    ZkVector(std::initializer_list<T> values)
        : ZkVector(values.begin(), static_cast<int>(values.size()))
    {
    }
    /// Shares the block, or copies the elements if the block is not sharable.
    ZkVector(const ZkVector &other) : ZkVector(other.d) { Sharing::join(*this); }
    /// Takes the block; `other` is left empty.
    ZkVector(ZkVector &&other) noexcept : ZkVector() { swap(other); }
    ~ZkVector() { Sharing::leave(d); }

    ZkVector &operator=(const ZkVector &other)
    {
        Sharing::assign(this, other);
        return *this;
    }
    /// Exchanges the blocks.
    ZkVector &operator=(ZkVector &&other) noexcept
    {
        swap(other);
        return *this;
    }
    void swap(ZkVector &other) noexcept { Sharing::swap(*this, other); }
    friend void swap(ZkVector &a, ZkVector &b) noexcept { a.swap(b); }

    int size() const { return d->size; }
    bool isEmpty() const { return d->size == 0; }
    /// Slots of the block, used or not.
    int capacity() const { return d->alloc; }
    /// True when both use one block; so do all vectors that never held an element.
    bool isSharedWith(const ZkVector &other) const { return d == other.d; }
    /// False makes each later copy of this vector copy the elements at once, so that
    /// references into this vector survive copying it.
    void setSharable(bool on) { Sharing::setSharable(*this, on); }

    /// Makes room for `count` elements in all. From then on the block keeps its
    /// slots when the vector shrinks.
    void reserve(int count);
    /// Sets the number of elements; new ones are zero or default-constructed, a
    /// negative number counts as 0. The block shrinks only when fewer than half
    /// its slots stay in use and none were reserved.
    void resize(int asize);
    /// Sets size and capacity at once and detaches: `asize` above `aalloc` stops the process.
    void realloc(int asize, int aalloc);
    /// Lets the block go: an empty vector without capacity is left.
    void clear() { ZkVector().swap(*this); }

    /// Adds a copy of `value`, which may be an element of this vector.
    void append(const T &value);
    /// Adds `count` elements, which may lie in this vector. The capacity is that of
    /// appending them one by one. A null `first` or a count below 1 adds none.
    void append(const T *first, int count);
    void append(const ZkVector &other) { append(other.constData(), other.size()); }
    /// Adds `count` elements that the caller must write, and returns the first of
    /// them; for types that are copied byte by byte. Capacity as for `append`; a
    /// count below 0 counts as 0.
    T *appendUninitialized(int count);
    /// Puts copies of elements, which may lie in this vector, before element `i`;
    /// `i` == size() appends. O(size).
    void insert(int i, const T &value) { insert(i, &value, 1); }
    void insert(int i, const T *first, int count);
    /// Takes out element `i`, or the `count` elements from `i` on. The capacity stays. O(size).
    void remove(int i);
    void remove(int i, int count);

    /// Element `i`; an index outside 0..size()-1 stops the process. The non-const
    /// form detaches.
    T &operator[](int i);
    const T &operator[](int i) const;
    const T &at(int i) const { return (*this)[i]; }
    /// Element `i`, or `fallback` (a default value) when there is none.
    T value(int i, const T &fallback = T()) const;
    /// The element at size() - 1; an empty vector stops the process. The non-const
    /// form detaches.
    T &last();
    const T &last() const;

    /// The elements. The non-const forms detach; an empty vector gives an address
    /// that must not be read or written.
    T *data();
    const T *data() const { return array(d); }
    const T *constData() const { return array(d); }
    iterator begin() { return data(); }
    iterator end() { return data() + d->size; }
    const_iterator begin() const { return array(d); }
    const_iterator end() const { return array(d) + d->size; }
    const_iterator cbegin() const { return begin(); }
    const_iterator cend() const { return end(); }

    /// The first index at or after `from` (0 when negative) that holds `value`, or -1.
    int indexOf(const T &value, int from = 0) const;
    bool contains(const T &value) const { return indexOf(value) >= 0; }

private:
    friend struct ZkInspector;
    friend struct ZkSharing<ZkVector>;
    typedef ZkSharing<ZkVector> Sharing;

    static constexpr bool kPlain =
        std::is_arithmetic<T>::value || std::is_enum<T>::value || std::is_pointer<T>::value;
    static constexpr int kHeader = static_cast<int>(sizeof(ZkVectorData));
    static constexpr int kElement = static_cast<int>(sizeof(T));
    static constexpr int kAlignment = 4; // what blocks are allocated and freed with

    // The elements start right behind the header, wherever malloc put that.
    static_assert(sizeof(ZkVectorData) % alignof(T) == 0 && alignof(T) <= alignof(std::max_align_t),
                  "ZkVector keeps no over-aligned elements");

    explicit ZkVector(ZkVectorData *block) : d(block) {}

    static T *array(ZkVectorData *x) { return reinterpret_cast<T *>(x + 1); }
    ZkVectorData *&block() { return d; }
    static ZkVectorData *emptyBlock() { return &ZkVectorData::shared_null; }
    void copyBlock() { realloc(d->size, d->alloc); }
    static void destroyBlock(ZkVectorData *x) __attribute__((noinline));
    bool isAlone() const { return zkIsUnshared(d, &ZkVectorData::shared_null); }
    static int grown(int size)
    {
        return ZkVectorData::grow(kHeader + kElement, size, kElement, !kPlain);
    }
    // One comparison: size is never negative.
    bool has(int i) const { return static_cast<unsigned>(i) < static_cast<unsigned>(d->size); }
    void detach() { Sharing::detach(*this); }
    void growAndAppend(const T &value);

    ZkVectorData *d;
};

template <typename T>
ZkVector<T>::ZkVector(int size) : ZkVector()
{
    if (size > 0) {
        realloc(size, size);
    }
}

template <typename T>
ZkVector<T>::ZkVector(int size, const T &value) : ZkVector()
{
    if (size > 0) {
        realloc(0, size);
        std::uninitialized_fill_n(array(d), size, value);
        d->size = size;
    }
}

// Destroys the elements, the last one first, and frees the block.
template <typename T>
void ZkVector<T>::destroyBlock(ZkVectorData *x)
{
    if constexpr (!std::is_trivially_destructible<T>::value) {
        for (T *element = array(x) + x->size; element != array(x);) {
            (--element)->~T();
        }
    }
    ZkVectorData::freeData(x, kAlignment);
}

template <typename T>
void ZkVector<T>::reserve(int count)
{
    if (count > d->alloc || !isAlone()) {
        realloc(d->size, std::max(count, d->size));
    }
    d->capacity = 1;
}

template <typename T>
void ZkVector<T>::resize(int asize)
{
    asize = std::max(asize, 0);
    const bool keepsBlock =
        d->alloc >= asize && (d->capacity || asize >= d->size || asize >= d->alloc / 2);
    realloc(asize, keepsBlock ? d->alloc : grown(asize));
}

template <typename T>
void ZkVector<T>::realloc(int asize, int aalloc)
{
    ZK_CHECK_AT(asize <= aalloc, "asize <= aalloc", "../include/pub/zkvector", 368,
                __PRETTY_FUNCTION__);
    asize = std::max(asize, 0);
    aalloc = std::max(aalloc, 0);
    if constexpr (kPlain) {
        d = ZkVectorData::resizePlain(d, asize, aalloc, kElement);
    } else {
        const bool mine = zkIsUnshared(d, &ZkVectorData::shared_null);
        if constexpr (!std::is_trivially_destructible<T>::value) {
            while (mine && d->size > asize) {
                array(d)[d->size - 1].~T();
                --d->size;
            }
        } else if (mine) {
            d->size = std::min(d->size, asize);
        }
        // The fresh block belongs to a vector from the start, so an element whose
        // constructor throws leaves this vector as it was.
        const bool sameBlock = mine && aalloc == d->alloc;
        ZkVector fresh(sameBlock ? d : ZkVectorData::create(d, aalloc, kElement));
        if (sameBlock) {
            d->ref.ref();
        }
        ZkVectorData *x = fresh.d;
        T *from = array(d);
        T *to = array(x);
        const int kept = std::min(asize, d->size);
        if constexpr (std::is_trivially_copyable<T>::value) {
            std::uninitialized_copy(from + x->size, from + kept, to + x->size);
            x->size = kept;
        }
        for (; x->size < kept; ++x->size) {
            if (mine) {
                new (to + x->size) T(std::move_if_noexcept(from[x->size]));
            } else {
                new (to + x->size) T(const_cast<const T *>(from)[x->size]);
            }
        }
        for (; x->size < asize; ++x->size) {
            new (to + x->size) T();
        }
        swap(fresh);
    }
}

template <typename T>
inline void ZkVector<T>::append(const T &value)
{
    ZkVectorData *x = d;
    const int n = x->size;
    const bool hasRoom = __builtin_expect(n < x->alloc, 1) && __builtin_expect(x->ref.isOne(), 1);
    if constexpr (kPlain) {
        const T copy = value; // may live in the block that goes away
        if (!hasRoom) {
            // By value and back, so that in a loop of appends the block stays in a register.
            d = x = ZkVectorData::makeRoom(x, kElement);
        }
        array(x)[static_cast<unsigned>(n)] = copy; // never negative: spares the sign extension
        x->size = n + 1;
    } else if (hasRoom) {
        new (array(x) + n) T(value);
        x->size = n + 1;
    } else {
        growAndAppend(value);
    }
}

// The rare half of append: a full or shared block.
template <typename T>
__attribute__((noinline)) void ZkVector<T>::growAndAppend(const T &value)
{
    T copy(value); // `value` may live in the block that goes away
    realloc(d->size, grown(d->size + 1));
    new (array(d) + d->size) T(std::move(copy));
    ++d->size;
}

template <typename T>
void ZkVector<T>::append(const T *first, int count)
{
    if (first == nullptr || count <= 0) {
        return;
    }
    // Elements of this very vector move with the block: remember their place, not
    // their address.
    const T *own = constData();
    const bool inside =
        !std::less<const T *>()(first, own) && std::less<const T *>()(first, own + d->size);
    const std::ptrdiff_t place = inside ? first - own : 0;

    const int aalloc = ZkVectorData::growBy(d, count, kElement, !kPlain);
    if (aalloc != d->alloc || !isAlone()) {
        realloc(d->size, aalloc);
    }
    const T *from = inside ? constData() + place : first;
    std::uninitialized_copy_n(from, count, array(d) + d->size);
    d->size += count;
}

template <typename T>
T *ZkVector<T>::appendUninitialized(int count)
{
    static_assert(std::is_trivially_copyable<T>::value,
                  "only what is copied byte by byte may start uninitialized");
    const int n = d->size;
    count = std::max(count, 0);
    if (count > d->alloc - n || !isAlone()) {
        realloc(n, ZkVectorData::growBy(d, count, kElement, !kPlain));
    }
    d->size = n + count;
    return array(d) + n;
}

template <typename T>
void ZkVector<T>::insert(int i, const T *first, int count)
{
    ZK_CHECK_AT(i >= 0 && i <= d->size, "i >= 0 && i <= d->size", "../include/pub/zkvector",
                __LINE__, __PRETTY_FUNCTION__);
    const int n = d->size;
    append(first, count);
    std::rotate(begin() + i, begin() + n, end());
}

template <typename T>
void ZkVector<T>::remove(int i)
{
    ZK_CHECK_AT(has(i), "i >= 0 && i < d->size", "../include/pub/zkvector", 284,
                __PRETTY_FUNCTION__);
    remove(i, 1);
}

template <typename T>
void ZkVector<T>::remove(int i, int count)
{
    ZK_CHECK_AT(i >= 0 && count >= 0 && i <= d->size - count,
                "i >= 0 && count >= 0 && i <= d->size - count", "../include/pub/zkvector", __LINE__,
                __PRETTY_FUNCTION__);
    detach();
    if (count == 0) {
        return; // what follows would move each element onto itself
    }
    T *const stop = array(d) + d->size;
    T *const first = array(d) + i;
    T *const left = std::move(first + count, stop, first);
    for (T *element = stop; element != left; --d->size) {
        (--element)->~T();
    }
}

template <typename T>
inline T &ZkVector<T>::operator[](int i)
{
    ZK_CHECK_AT(has(i), "i >= 0 && i < d->size", "../include/pub/zkvector", 257,
                __PRETTY_FUNCTION__);
    detach();
    return array(d)[i];
}

template <typename T>
inline const T &ZkVector<T>::operator[](int i) const
{
    ZK_CHECK_AT(has(i), "i >= 0 && i < d->size", "../include/pub/zkvector", 250,
                __PRETTY_FUNCTION__);
    return array(d)[i];
}

template <typename T>
T ZkVector<T>::value(int i, const T &fallback) const
{
    return has(i) ? array(d)[i] : fallback;
}

template <typename T>
inline T &ZkVector<T>::last()
{
    ZK_CHECK_AT(!isEmpty(), "!isEmpty()", "../include/pub/zkvector", 147, __PRETTY_FUNCTION__);
    detach();
    return array(d)[d->size - 1];
}

template <typename T>
inline const T &ZkVector<T>::last() const
{
    ZK_CHECK_AT(!isEmpty(), "!isEmpty()", "../include/pub/zkvector", 147, __PRETTY_FUNCTION__);
    return array(d)[d->size - 1];
}

template <typename T>
inline T *ZkVector<T>::data()
{
    if (d->size != 0) { // nothing to write, nothing to detach
        detach();
    }
    return array(d);
}

template <typename T>
int ZkVector<T>::indexOf(const T &value, int from) const
{
    for (int i = std::max(from, 0); i < d->size; ++i) {
        if (array(d)[i] == value) {
            return i;
        }
    }
    return -1;
}

/// Equal sizes and equal elements; two vectors on one block are equal unseen.
template <typename T>
bool operator==(const ZkVector<T> &a, const ZkVector<T> &b)
{
    return a.isSharedWith(b) || std::equal(a.begin(), a.end(), b.begin(), b.end());
}

template <typename T>
bool operator!=(const ZkVector<T> &a, const ZkVector<T> &b)
{
    return !(a == b);
}

/// The order of a dictionary.
template <typename T>
bool operator<(const ZkVector<T> &a, const ZkVector<T> &b)
{
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
}

#endif
